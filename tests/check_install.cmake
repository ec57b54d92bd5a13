# Installs the build into a scratch prefix (not the configured one), then
# builds and runs a consumer project through find_package(xebruk) and a C
# program through pkg-config, and runs the installed tool.
set(prefix ${BUILD}/_install_check)
file(REMOVE_RECURSE ${prefix} ${BUILD}/_consumer)
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --component Unspecified)
run(${CMAKE_COMMAND} -S ${SOURCE}/tests/consumer -B ${BUILD}/_consumer -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${BUILD}/_consumer)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${BUILD}/_consumer/consumer)
# pkg-config from the prefix it was installed to, not the configured
# one: a C program built with its flags and run with no library path set.
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB pcdir ${prefix}/lib*/pkgconfig)
foreach(query cflags libs libdir)
  set(option --${query})
  if(query STREQUAL "libdir")
    set(option --variable=libdir)
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir} ${PKG_CONFIG} ${option} xebruk
                  OUTPUT_VARIABLE out OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config ${option} failed")
  endif()
  set(pc_${query} "${out}")
endforeach()
string(REGEX MATCH "^-I([^ ]+)$" unused "${pc_cflags}")
get_filename_component(include_dir "${CMAKE_MATCH_1}" REALPATH)
get_filename_component(lib_dir "${pc_libdir}" REALPATH)
if(NOT include_dir STREQUAL "${prefix}/include" OR NOT lib_dir MATCHES "^${prefix}/lib")
  message(FATAL_ERROR "pkg-config gave '${pc_cflags}' and '${pc_libs}' for the prefix ${prefix}")
endif()
separate_arguments(flags UNIX_COMMAND "${pc_cflags} ${pc_libs}")
run(cc ${SOURCE}/tests/c_header_check.c ${flags} -Wl,-rpath,${pc_libdir} -o ${BUILD}/_consumer/pc_consumer)
run(${BUILD}/_consumer/pc_consumer)
# The installed tool finds the installed library by its own run path.
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${prefix}/bin/xebruk info
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT out MATCHES "processor class")
  message(FATAL_ERROR "installed bin/xebruk info failed (${rc}): ${out}${err}")
endif()
file(REMOVE_RECURSE ${prefix} ${BUILD}/_consumer)
