# Chorus engine throughput per sample form and channel layout, with the time per frame; included by
# bench/CMakeLists.txt.
add_executable(chorus_bench ${CMAKE_CURRENT_LIST_DIR}/chorus_bench.cpp)
target_link_libraries(chorus_bench PRIVATE qx_chorus benchmark::benchmark_main)
