# Tables of the exponential and logarithm kernels (vecmath/exp_tables.inc,
# vecmath/log_tables.inc), computed with MPFR.
find_library(XEBRUK_MPFR_LIB mpfr)
find_library(XEBRUK_GMP_LIB gmp)
if(XEBRUK_MPFR_LIB AND XEBRUK_GMP_LIB)
  add_executable(explog_tables ${CMAKE_CURRENT_LIST_DIR}/explog_tables.cpp)
  target_compile_options(explog_tables PRIVATE ${XEBRUK_WARNINGS})
  target_link_libraries(explog_tables PRIVATE ${XEBRUK_MPFR_LIB} ${XEBRUK_GMP_LIB})
  add_custom_target(explog_tables_out
    COMMAND explog_tables --out ${PROJECT_SOURCE_DIR}
    COMMENT "Regenerating vecmath/exp_tables.inc and vecmath/log_tables.inc")
  add_dependencies(tables explog_tables_out)
  # tests/CMakeLists.txt runs `<generator> --check <source dir>` for each.
  set_property(GLOBAL APPEND PROPERTY XEBRUK_TABLE_GENERATORS explog_tables)
endif()
