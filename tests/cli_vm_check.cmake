# The `xebruk vm` subcommand: ranges, input files, pairs, events on stderr
# as the mode says, and bad input answered with a message and a non-zero
# exit.  Run as: cmake -DXEBRUK=<tool> -DWORK=<scratch dir> -P cli_vm_check.cmake
cmake_policy(SET CMP0057 NEW)
set(failures 0)

include(${CMAKE_CURRENT_LIST_DIR}/cli_run.cmake)

file(MAKE_DIRECTORY ${WORK})
run(range 0 "^1\n1.6487212707001282\n2.7182818284590451\n$" "^$" "" vm exp_ha --range 0 1 3)
run(stdin_events 0 "^0\n-inf\n-?nan\nnan\n$"
  "event 2 at element 1 in _xebdLn_HA.*event 1 at element 2 in _xebdLn_HA.*status word after the call: 1"
  "1 0\n-1 nan\n" vm ln_ha)
run(stderr_mode 0 "^-inf\n$" "^  a\\(0\\)=0\nr\\(0\\)=-inf\nstatus word after the call: 2\n$" "0" vm ln_ha --mode stderr)
run(quiet_mode 0 "^-inf\n$" "^status word after the call: 2\n$" "0" vm ln_ha --mode none)
run(pairs 0 "^0.5\n0.75\n$" "^$" "1 2\n3 4\n" vm div_ha)
run(odd_pairs 2 "^$" "pairs" "1 2 3" vm div_ha)
run(single_hex 0 "^0x0p\\+0\n0x1.8p-147\n$" "event 4 at element 0 in _xebsExp_HA" "" vm exp_ha -s --range -104 -101.5 2 --hex)
run(exported_name 0 "^0\n0.693147182\n$" "^$" "" vm xebsLn_21 --range 1 2 2)
run(band_code 0 "^8.2184074615549724e\\+307\n$" "event 54 at element 0.*status word after the call: 54" "709" vm exp_ha)
run(bad_number 1 "^$" "line 2: 'x' is not a number" "1\n2 x\n" vm exp_ha)
run(unknown_kernel 2 "^$" "no single function or kernel named 'sqrt_zz'" "" vm sqrt_zz -s)
run(missing_file 1 "^$" "cannot open '${WORK}/none'" "" vm exp_ha ${WORK}/none)
run(bad_option 2 "^$" "unknown option '--fast'" "" vm exp_ha --fast)
run(bad_range 2 "^$" "--range count" "" vm exp_ha --range 0 1 0)
run(bad_mode 2 "^$" "--mode needs" "" vm exp_ha --mode loud)
run(needs_b 2 "^$" "needs --b VALUE" "" vm div_ha --range 0 1 2)
# The other two shapes: two outputs per element, and a scalar second argument.
run(two_outputs 0 "^0 1\n0.70710678118654746 0.70710678118654757\n$" "^$" "" vm sincos_ha --range 0 0.78539816339744828 2)
run(scalar_b 0 "^1\n4\n9\n$" "^$" "" vm powx_ha --range 1 3 3 --b 2)
run(scalar_b_missing 2 "^$" "needs its scalar: --b VALUE" "" vm powx_ha --range 1 3 3)
# A function without a form runs its checked entry, whose form the accuracy
# field picks: pairs on which _HA and the lower forms differ.
set(pow_d "0x1.dfece1037ff51p+2 100.1\n")
run(entry_default 0 "^0x1.f10f4172a64dbp\\+290\n$" "^$" "${pow_d}" vm pow --hex)
# The double power's _50 has code of its own in the baseline class only (the
# SIMD classes run its _HA code): there it differs from _HA in the last bit.
set(ENV{XEBRUK_KERNEL_CLASS} baseline)
run(entry_la 0 "^0x1.f10f4172a64dap\\+290\n$" "^$" "${pow_d}" vm pow --accuracy la --hex)
run(entry_ep_export 0 "^0x1.f10f4172a64dap\\+290\n$" "^$" "${pow_d}" vm xebdPow --accuracy ep --hex)
unset(ENV{XEBRUK_KERNEL_CLASS})
run(entry_after_mode 0 "^0x1.f10f4172a64dbp\\+290\n$" "^$" "${pow_d}" vm pow --mode 0x1A01 --accuracy ha --hex)
run(entry_events 0 "^-inf\n$" "event 2 at element 0 in _xebdLn_(50|HA).*status word after the call: 2" "0" vm ln --accuracy la)
run(bad_accuracy 2 "^$" "--accuracy needs ha, la or ep, not 'hi'" "" vm exp --accuracy hi)
run(accuracy_without_value 2 "^$" "--accuracy needs ha, la or ep" "" vm exp --accuracy)
run(accuracy_of_a_form 2 "^$" "xebdExp_HA is the HA form itself.*'exp' or 'xebdExp'" "" vm exp_ha --accuracy la)
# Single precision: the entry's output is the form's, over a range.
function(same_output name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ENTRY;FORM")
  execute_process(COMMAND ${XEBRUK} ${arg_ENTRY} RESULT_VARIABLE rc1 OUTPUT_VARIABLE out1 ERROR_QUIET)
  execute_process(COMMAND ${XEBRUK} ${arg_FORM} RESULT_VARIABLE rc2 OUTPUT_VARIABLE out2 ERROR_QUIET)
  if(NOT rc1 EQUAL 0 OR NOT rc2 EQUAL 0 OR NOT out1 STREQUAL out2 OR out1 STREQUAL "")
    message(SEND_ERROR "${name}: '${arg_ENTRY}' and '${arg_FORM}' differ")
  endif()
endfunction()
set(range_s --range 0.5 3 3000 --hex)
same_output(entry_single_ha ENTRY vm ln -s ${range_s} FORM vm ln_ha -s ${range_s})
same_output(entry_single_la ENTRY vm ln -s --accuracy la ${range_s} FORM vm ln_21 -s ${range_s})
same_output(entry_single_ep ENTRY vm xebsLn --accuracy ep ${range_s} FORM vm xebsLn_11 ${range_s})
