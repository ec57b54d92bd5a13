# The `xebruk conv` subcommand: results of small convolutions and
# correlations worked out by hand, output modes, decimation, two dimensions,
# round trips through .npy and raw files, and bad input answered with a
# message and a non-zero exit.
# Run as: cmake -DXEBRUK=<tool> -DWORK=<scratch dir> -P cli_conv_check.cmake
set(failures 0)

include(${CMAKE_CURRENT_LIST_DIR}/cli_run.cmake)

file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/x.txt "1 2 3\n")
file(WRITE ${WORK}/y.txt "1\n10\n100\n1000\n")
file(WRITE ${WORK}/one.txt "1\n")
file(WRITE ${WORK}/x5.txt "1 2 3 4 5\n")
file(WRITE ${WORK}/y2.txt "1 10\n")
file(WRITE ${WORK}/a.txt "1 2\n3 4\n")
file(WRITE ${WORK}/b.txt "1 1\n1 1\n")
file(WRITE ${WORK}/bad.txt "1 2\nthree\n")
file(WRITE ${WORK}/fake.npy "1 2 3\n")
file(WRITE ${WORK}/ragged.txt "1 2 3\n4 5\n")

# z[k] = sum_i x[i] y[k - i], k = 0 .. 5; correlation at lags -2 .. 3.
set(conv_full "^1\n12\n123\n1230\n2300\n3000\n$")
run(conv_full 0 "${conv_full}" "^$" "" conv x.txt y.txt)
run(conv_direct 0 "${conv_full}" "^$" "" conv x.txt y.txt --method direct --double)
run(corr_full 0 "^3\n32\n321\n3210\n2100\n1000\n$" "^$" "" conv --corr x.txt y.txt)
run(conv_same 0 "^12\n123\n1230\n$" "^$" "" conv x.txt y.txt --mode same)
run(conv_valid 0 "^123\n1230\n$" "^$" "" conv x.txt y.txt --mode valid)
run(corr_valid 0 "^321\n3210\n$" "^$" "" conv --corr x.txt y.txt --mode valid)
run(corr_same 0 "^32\n321\n3210\n$" "^$" "" conv --corr x.txt y.txt --mode same)
# x longer than y: 1 12 23 34 45 50 in full; lags -4 .. 1 are 5 54 43 32 21 10.
run(conv_same_long_x 0 "^1\n12\n23\n34\n45\n$" "^$" "" conv x5.txt y2.txt --mode same)
run(conv_valid_long_x 0 "^12\n23\n34\n45\n$" "^$" "" conv x5.txt y2.txt --mode valid)
run(corr_same_long_x 0 "^5\n54\n43\n32\n21\n$" "^$" "" conv --corr x5.txt y2.txt --mode same)
run(corr_valid_long_x 0 "^54\n43\n32\n21\n$" "^$" "" conv --corr x5.txt y2.txt --mode valid)
run(conv_decimated 0 "^1\n123\n2300\n$" "^$" "" conv x.txt y.txt --decimation 2)
# Every fifth output: the last step passes the end by more than the
# one-dimensional kernels let through, so the tool runs it as two dimensions.
run(conv_step_five 0 "^1\n3000\n$" "^$" "" conv x.txt y.txt --decimation 5)
run(corr_step_four 0 "^3\n2100\n$" "^$" "" conv --corr x.txt y.txt --decimation 4)
run(conv_start_count 0 "^1230\n2300\n$" "^$" "" conv x.txt y.txt --start 3 --count 2)
run(corr_lags 0 "^3210\n1000\n$" "^$" "" conv --corr x.txt y.txt --start 1 --decimation 2)
# Two dimensions: rows on lines.
run(conv_2d 0 "^1 3 2\n4 10 6\n3 7 4\n$" "^$" "" conv a.txt b.txt)
run(corr_2d 0 "^4 7 3\n6 10 4\n2 3 1\n$" "^$" "" conv --corr a.txt b.txt)

# Round trips: the result written as .npy or raw and convolved with [1].
run(write_npy 0 "^$" "^$" "" conv x.txt y.txt -o r.npy)
run(read_npy 0 "${conv_full}" "^$" "" conv r.npy one.txt)
run(write_raw 0 "^$" "^$" "" conv x.txt y.txt --double -o r.f64)
run(read_raw 0 "${conv_full}" "^$" "" conv r.f64 one.txt --double)
# .f64 says float64: read as such without --double (it was read as float32).
run(read_raw_f64 0 "${conv_full}" "^$" "" conv r.f64 one.txt)
run(write_npy_2d 0 "^$" "^$" "" conv a.txt b.txt -o r2.npy --double)
run(read_npy_2d 0 "^1 3 2\n4 10 6\n3 7 4\n$" "^$" "" conv r2.npy one.txt --y-shape 1,1)
file(READ ${WORK}/r2.npy dict OFFSET 10 LIMIT 60)
if(NOT dict MATCHES "^{'descr': '<f8', 'fortran_order': False, 'shape': \\(3, 3\\), }")
  message(SEND_ERROR "r2.npy header: ${dict}")
endif()

# Bad input.
run(ragged_rows 1 "^$" "ragged.txt, line 2: 2 numbers, but 3 on the first line" "" conv ragged.txt y.txt)
# A full disk: a message and exit 1 (it was exit 0 with nothing written),
# and no file left behind by a failed run.
run(full_disk 1 "^$" "cannot write '/dev/full': No space left on device" "" conv x.txt y.txt -o /dev/full)
run(no_partial_file 1 "^$" "ragged.txt" "" conv ragged.txt y.txt -o partial.npy)
if(EXISTS ${WORK}/partial.npy)
  message(SEND_ERROR "a failed run left partial.npy")
endif()
file(GLOB temporaries ${WORK}/*.tmp*)
if(temporaries)
  message(SEND_ERROR "temporary files left: ${temporaries}")
endif()
run(help_option 0 "^usage: xebruk conv" "^$" "" conv --help)
run(help_command 0 "^usage: xebruk conv" "^$" "" help conv)
run(shape_mismatch 1 "^$" "x has 2 dimension\\(s\\) and y 1" "" conv a.txt y.txt)
run(missing_file 1 "^$" "cannot open 'none.txt'" "" conv none.txt y.txt)
run(bad_number 1 "^$" "line 2: 'three' is not a number" "" conv bad.txt y.txt)
run(not_npy 1 "^$" "'fake.npy' is not a readable .npy file" "" conv fake.npy y.txt)
run(shape_unfilled 1 "^$" "holds 3 values, which do not fill" "" conv x.txt y.txt --x-shape 2,2)
run(start_outside 1 "^$" "start 6 lies outside the defined outputs 0 to 5" "" conv x.txt y.txt --start 6)
run(past_end 1 "^$" "run past the last defined one" "" conv x.txt y.txt --start 4 --count 3)
run(bad_option 2 "^$" "unknown option '--fast'" "" conv x.txt y.txt --fast)
run(one_input 2 "^$" "two input files" "" conv x.txt)
# The FFT method serves undecimated work only: the library's refusal is
# reported with its status.
run(fft_refuses 1 "^$" "status -2000 \\(no kernel for this method" "" conv x.txt y.txt --method fft --decimation 2)
