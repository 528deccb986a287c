# Reverb engine cost per frame in each sample form, mono, stereo (plain and fast forms) and six
# channels; included by bench/CMakeLists.txt.
add_executable(reverb_engine_bench ${CMAKE_CURRENT_LIST_DIR}/reverb_engine_bench.cpp)
target_link_libraries(reverb_engine_bench PRIVATE qx_reverb benchmark::benchmark_main)
