# The layering of the library: for every part P and every other part Q, a
# source of P that includes a header of Q compiles, with the include paths
# of P's object library, exactly when P may use Q (the table in the
# top-level CMakeLists.txt).  A forbidden include fails like this:
#   rng/x.cpp:1:10: fatal error: vecmath/power.h: No such file or directory
# (g++; clang says 'vecmath/power.h' file not found).
#
#   -DCXX=<compiler> -DSOURCE=<source dir> -DWORK=<scratch dir> -DPARTS=<parts>
#   -DUSES_<part>=<parts it may use> -DINCLUDES_<part>=<its include paths>
# (lists joined by commas).
cmake_minimum_required(VERSION 3.25)
string(REPLACE "," ";" PARTS "${PARTS}")
file(MAKE_DIRECTORY ${WORK})
set(checked 0)
foreach(part IN LISTS PARTS)
  string(REPLACE "," ";" uses "${USES_${part}}")
  string(REPLACE "," ";" includes "${INCLUDES_${part}}")
  list(TRANSFORM includes PREPEND -I)
  foreach(other IN LISTS PARTS)
    if(other STREQUAL part)
      continue()
    endif()
    file(GLOB headers RELATIVE ${SOURCE} ${SOURCE}/${other}/*.h)
    list(GET headers 0 header)
    set(probe ${WORK}/${part}_includes_${other}.cpp)
    file(WRITE ${probe} "#include \"${header}\"\n")
    execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only ${includes} ${probe}
                    RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
    math(EXPR checked "${checked} + 1")
    if(other IN_LIST uses)
      if(NOT rc EQUAL 0)
        message(SEND_ERROR "${part} may use ${other}, but including ${header} fails:\n${err}")
      endif()
    elseif(rc EQUAL 0 OR NOT err MATCHES "${header}: No such file|'${header}' file not found")
      message(SEND_ERROR "${part} may not use ${other}, but including ${header} does not fail as it should:\n${err}")
    endif()
  endforeach()
endforeach()
message(STATUS "${checked} pairs of parts checked")
