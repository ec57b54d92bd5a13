# Band quadratics and constants of the root kernels: vecmath/roots_tables.inc,
# computed in 113-bit arithmetic (libquadmath).
add_executable(roots_tables ${CMAKE_CURRENT_LIST_DIR}/roots_tables.cpp)
target_compile_options(roots_tables PRIVATE ${XEBRUK_WARNINGS})
target_link_libraries(roots_tables PRIVATE quadmath)
add_custom_target(roots_tables_out
  COMMAND roots_tables --out ${PROJECT_SOURCE_DIR}
  COMMENT "Regenerating vecmath/roots_tables.inc")
add_dependencies(tables roots_tables_out)
# tests/CMakeLists.txt runs `<generator> --check <source dir>` for each.
set_property(GLOBAL APPEND PROPERTY XEBRUK_TABLE_GENERATORS roots_tables)
