# Simple Delay engine throughput, one benchmark per sample form, in frames per second;
# included by bench/CMakeLists.txt.
add_executable(echos_engine_bench ${CMAKE_CURRENT_LIST_DIR}/echos_engine_bench.cpp)
target_link_libraries(echos_engine_bench PRIVATE qx_delay benchmark::benchmark_main)
