// Cost of the reverb engine per frame: each sample form at 44.1 kHz with the "Cathedral" preset in
// 4096-frame blocks, for mono, stereo in its plain and fast forms, and six channels.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

#include "aplugins/qxppack1/reverb/reverb_engine.h"
#include "bench/bench_support.h"
#include "kernel/services/qx_cpu.h"

namespace {

template <class Form>
int Process(CQxReverbEngine& e, typename Form::Sample* b, uint32_t* n, IQxReverbParamSource& s) {
  using S = typename Form::Sample;
  if constexpr (std::is_same_v<S, uint8_t>) return e.ProcessPcm8(RunContinue, b, n, 0, s);
  if constexpr (std::is_same_v<S, int16_t>) return e.ProcessPcm16(RunContinue, b, n, 0, s);
  if constexpr (std::is_same_v<S, int32_t>) return e.ProcessPcm32(RunContinue, b, n, 0, s);
  if constexpr (std::is_same_v<S, float>) return e.ProcessFloat32(RunContinue, b, n, 0, s);
  if constexpr (std::is_same_v<S, double>) return e.ProcessFloat64(RunContinue, b, n, 0, s);
}

// `fast` picks the stereo form through the processor mask, as a user would.
template <class Form>
void BM_Reverb(benchmark::State& state, WORD channels, bool fast) {
  const WAVEFORMATEX fmt = BenchFormat<Form>(channels);

  setenv(QX_CPU_MASK_ENV, fast ? "0xFFFFFFFF" : "0", 1);
  auto engine = std::make_unique<CQxReverbEngine>();
  unsetenv(QX_CPU_MASK_ENV);
  if (channels == 2 && engine->FastStereo() != fast) {
    state.SkipWithError("this processor has no fast form");
    return;
  }
  QxReverbFixedParams source;
  source.params = g_ReverbPresets[3].Params;  // Cathedral
  engine->SetFormat(&fmt);
  if (engine->InitialiseStream(source.params) != S_OK) {
    state.SkipWithError("initialise failed");
    return;
  }

  RunBenchBlocks<Form>(state, channels, [&](typename Form::Sample* block, uint32_t frames) {
    uint32_t n = frames;
    Process<Form>(*engine, block, &n, source);
  });
}

#define REVERB_BENCH(Name, Form)                                                  \
  void BM_Reverb##Name(benchmark::State& s, WORD channels, bool fast) {           \
    BM_Reverb<Form>(s, channels, fast);                                           \
  }                                                                               \
  BENCHMARK_CAPTURE(BM_Reverb##Name, mono, WORD{1}, false);                       \
  BENCHMARK_CAPTURE(BM_Reverb##Name, stereo_plain, WORD{2}, false);               \
  BENCHMARK_CAPTURE(BM_Reverb##Name, stereo_fast, WORD{2}, true);                 \
  BENCHMARK_CAPTURE(BM_Reverb##Name, six_channels, WORD{6}, false);

REVERB_BENCH(Pcm8, QxPcm8Form)
REVERB_BENCH(Pcm16, QxPcm16Form)
REVERB_BENCH(Pcm32, QxPcm32Form)
REVERB_BENCH(Float32, QxFloat32Form)
REVERB_BENCH(Float64, QxFloat64Form)
#undef REVERB_BENCH

}  // namespace
