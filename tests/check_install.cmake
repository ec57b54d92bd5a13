# Installs the build into a scratch prefix, then builds and runs a consumer
# project through find_package(xebruk) and a C program through pkg-config.
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
# pkg-config: the .pc file names the include and library directories.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB pcdir ${prefix}/lib*/pkgconfig)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir}
                  ${PKG_CONFIG} --define-prefix --cflags --libs xebruk
                  OUTPUT_VARIABLE flags RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0 OR NOT flags MATCHES "-lxebruk")
    message(FATAL_ERROR "pkg-config gave '${flags}'")
  endif()
endif()
file(REMOVE_RECURSE ${prefix} ${BUILD}/_consumer)
