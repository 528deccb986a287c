# Resampler and anti-alias filter benchmark: nanoseconds per output frame for each Accuracy,
# stereo 44.1 kHz; included by bench/CMakeLists.txt.
add_executable(resampler_bench ${CMAKE_CURRENT_LIST_DIR}/resampler_bench.cpp)
target_link_libraries(resampler_bench PRIVATE qx_pitchtime benchmark::benchmark_main)
