# Irreducible polynomials of the Niederr generator -> rng/niederreiter_tables.inc
add_executable(niederreiter_polys ${CMAKE_CURRENT_LIST_DIR}/niederreiter_polys.cpp)
target_compile_options(niederreiter_polys PRIVATE ${XEBRUK_WARNINGS})
add_custom_target(niederreiter_tables
  COMMAND niederreiter_polys ${PROJECT_SOURCE_DIR}/rng/niederreiter_tables.inc
  COMMENT "Regenerating rng/niederreiter_tables.inc")
add_dependencies(tables niederreiter_tables)
