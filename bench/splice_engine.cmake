# Benchmark of the splice engine: nanoseconds per output frame for each sample form and for
# modes of each class (music, fast, speech, solo, drums).
add_executable(splice_engine_bench ${CMAKE_CURRENT_LIST_DIR}/bench_splice_engine.cpp)
target_link_libraries(splice_engine_bench PRIVATE qx_pitchtime benchmark::benchmark)
