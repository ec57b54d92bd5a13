# The frozen streams: the cases and their hashing (a library the test links
# too), and the tool that rewrites tests/data/frozen_streams.txt.  Not part
# of `tables`: changing a stream's output is a deliberate act of its own,
#   cmake --build build --target frozen_streams
# The cases call the library, which whoever links them brings: the tool
# links it here, the test has it through its support library.
add_library(xebruk_frozen_streams STATIC ${CMAKE_CURRENT_LIST_DIR}/frozen_streams.cpp)
target_compile_options(xebruk_frozen_streams PRIVATE ${XEBRUK_WARNINGS})
target_compile_definitions(xebruk_frozen_streams PUBLIC XEBRUK_STATIC=1)
target_include_directories(xebruk_frozen_streams PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${PROJECT_SOURCE_DIR}/include)
add_executable(stream_hashes ${CMAKE_CURRENT_LIST_DIR}/stream_hashes.cpp)
target_compile_options(stream_hashes PRIVATE ${XEBRUK_WARNINGS})
target_link_libraries(stream_hashes PRIVATE xebruk_frozen_streams xebruk_static)
add_custom_target(frozen_streams
  COMMAND stream_hashes --out ${PROJECT_SOURCE_DIR}
  COMMENT "Rewriting tests/data/frozen_streams.txt for the kernel class in use")
