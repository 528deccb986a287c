# Multi-Tap Delay engine throughput, per sample form for 1, 2 and 6 channels with eight taps;
# included by bench/CMakeLists.txt.
add_executable(echomt_engine_bench ${CMAKE_CURRENT_LIST_DIR}/echomt_engine_bench.cpp)
target_link_libraries(echomt_engine_bench PRIVATE qx_echomt benchmark::benchmark_main)
