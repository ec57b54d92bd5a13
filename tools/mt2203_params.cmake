# MT2203 parameter sets -> rng/mt2203_params.inc.  The search takes about
# two seconds per set and thread, so it is not part of `tables`: run the
# `mt2203_table` target.  Finished sets go to a progress file in the build
# tree as they come, and a run that was stopped goes on from there.
add_executable(mt2203_params ${CMAKE_CURRENT_LIST_DIR}/mt2203_params.cpp)
target_compile_options(mt2203_params PRIVATE ${XEBRUK_WARNINGS} -mpclmul)
target_link_libraries(mt2203_params PRIVATE Threads::Threads)
add_custom_target(mt2203_table
  COMMAND mt2203_params --out ${PROJECT_SOURCE_DIR} --threads 2
          --progress ${CMAKE_CURRENT_BINARY_DIR}/mt2203_params.progress
  COMMENT "Searching the MT2203 parameter sets into rng/mt2203_params.inc")
