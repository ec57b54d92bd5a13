# Tables of the trigonometric family (vecmath/trig_tables.inc), computed
# with MPFR.  `tables` rewrites the committed file; the test
# trig_tables_up_to_date regenerates it into the build tree and compares.
find_path(MPFR_INCLUDE_DIR mpfr.h)
find_library(MPFR_LIBRARY mpfr)
find_library(GMP_LIBRARY gmp)
if(MPFR_INCLUDE_DIR AND MPFR_LIBRARY AND GMP_LIBRARY)
  add_executable(trig_tables ${CMAKE_CURRENT_LIST_DIR}/trig_tables.cpp)
  target_include_directories(trig_tables PRIVATE ${MPFR_INCLUDE_DIR})
  target_compile_options(trig_tables PRIVATE ${XEBRUK_WARNINGS})
  target_link_libraries(trig_tables PRIVATE ${MPFR_LIBRARY} ${GMP_LIBRARY})
  add_custom_target(trig_tables_inc
    COMMAND trig_tables ${PROJECT_SOURCE_DIR}/vecmath/trig_tables.inc
    COMMENT "Regenerating vecmath/trig_tables.inc")
  add_dependencies(tables trig_tables_inc)
  if(XEBRUK_BUILD_TESTS)
    enable_testing()
    add_test(NAME trig_tables_up_to_date
      COMMAND ${CMAKE_COMMAND} -DTOOL=$<TARGET_FILE:trig_tables>
              -DOUT=${CMAKE_CURRENT_BINARY_DIR}/trig_tables.inc
              -DCOMMITTED=${PROJECT_SOURCE_DIR}/vecmath/trig_tables.inc
              -P ${CMAKE_CURRENT_LIST_DIR}/scripts/compare_generated.cmake)
  endif()
else()
  message(STATUS "MPFR not found: trig_tables generator and its check are not built")
endif()
