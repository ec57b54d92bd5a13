# Runs a table generator into OUT and fails unless OUT equals COMMITTED.
execute_process(COMMAND ${TOOL} ${OUT} RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${TOOL} failed (${rc})")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT} ${COMMITTED} RESULT_VARIABLE same)
if(NOT same EQUAL 0)
  message(FATAL_ERROR "${COMMITTED} differs from a fresh run of ${TOOL}; run the `tables` target")
endif()
