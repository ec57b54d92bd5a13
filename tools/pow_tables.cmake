# Tables of the power kernels: vecmath/pow_tables.inc,
# computed in 113-bit arithmetic (libquadmath).
add_executable(pow_tables ${CMAKE_CURRENT_LIST_DIR}/pow_tables.cpp)
target_compile_options(pow_tables PRIVATE ${XEBRUK_WARNINGS})
target_link_libraries(pow_tables PRIVATE quadmath)
add_custom_target(pow_tables_out
  COMMAND pow_tables --out ${PROJECT_SOURCE_DIR}
  COMMENT "Regenerating vecmath/pow_tables.inc")
add_dependencies(tables pow_tables_out)
# tests/CMakeLists.txt runs `<generator> --check <source dir>` for each.
set_property(GLOBAL APPEND PROPERTY XEBRUK_TABLE_GENERATORS pow_tables)
