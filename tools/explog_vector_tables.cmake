# Tables of the exponential and logarithms of the SIMD kernel classes
# (vecmath/explog_vector_tables.inc), computed with MPFR.
find_library(XEBRUK_MPFR_LIB mpfr)
find_library(XEBRUK_GMP_LIB gmp)
if(XEBRUK_MPFR_LIB AND XEBRUK_GMP_LIB)
  add_executable(explog_vector_tables ${CMAKE_CURRENT_LIST_DIR}/explog_vector_tables.cpp)
  target_compile_options(explog_vector_tables PRIVATE ${XEBRUK_WARNINGS})
  target_link_libraries(explog_vector_tables PRIVATE ${XEBRUK_MPFR_LIB} ${XEBRUK_GMP_LIB})
  add_custom_target(explog_vector_tables_out
    COMMAND explog_vector_tables --out ${PROJECT_SOURCE_DIR}
    COMMENT "Regenerating vecmath/explog_vector_tables.inc")
  add_dependencies(tables explog_vector_tables_out)
  set_property(GLOBAL APPEND PROPERTY XEBRUK_TABLE_GENERATORS explog_vector_tables)
endif()
