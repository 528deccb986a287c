// Throughput of the Multi-Tap Delay engine in each sample form for mono, stereo and 6 channels:
// 44.1 kHz, eight taps with the low pass, 4096-frame blocks, with and without modulation. Reports
// ns per frame (time_per_frame) and frames per second.
#include <benchmark/benchmark.h>

#include "aplugins/qxppack1/delay/echomt_engine.h"
#include "bench/bench_support.h"

namespace {

template <class Form, int (CQxEchomtEngine::*Process)(QxRunMode, typename Form::Sample*,
                                                      uint32_t*, int32_t)>
void BM_Echomt(benchmark::State& state) {
  const WORD channels = static_cast<WORD>(state.range(0));
  const WAVEFORMATEX fmt = BenchFormat<Form>(channels);

  // Row 3, "Small hall 1": eight taps, 10 % modulation, 40 % feedback, here with the low pass on.
  // Row 22, "Tapped delay 1": eight taps, no modulation, the low pass on.
  EchomtParams p = g_EchomtPresets[state.range(1)].Params;
  p.lowPassOn = 1;
  CQxEchomtEngine engine;
  engine.SetFormat(&fmt);
  engine.SetParams(p);
  if (engine.Start() != S_OK) {
    state.SkipWithError("Start failed");
    return;
  }
  RunBenchBlocks<Form>(state, channels, [&](typename Form::Sample* block, uint32_t frames) {
    uint32_t n = frames;
    (engine.*Process)(RunContinue, block, &n, 0);
  });
}

}  // namespace

void BM_EchomtPcm8(benchmark::State& s) { BM_Echomt<QxPcm8Form, &CQxEchomtEngine::ProcessPcm8>(s); }
void BM_EchomtPcm16(benchmark::State& s) { BM_Echomt<QxPcm16Form, &CQxEchomtEngine::ProcessPcm16>(s); }
void BM_EchomtPcm32(benchmark::State& s) { BM_Echomt<QxPcm32Form, &CQxEchomtEngine::ProcessPcm32>(s); }
void BM_EchomtFloat32(benchmark::State& s) { BM_Echomt<QxFloat32Form, &CQxEchomtEngine::ProcessFloat32>(s); }
void BM_EchomtFloat64(benchmark::State& s) { BM_Echomt<QxFloat64Form, &CQxEchomtEngine::ProcessFloat64>(s); }
// Arguments: channel count, preset row.
#define ECHOMT_ARGS \
  ArgNames({"channels", "preset"})->ArgsProduct({{1, 2, 6}, {3, 22}})
BENCHMARK(BM_EchomtPcm8)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtPcm16)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtPcm32)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtFloat32)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtFloat64)->ECHOMT_ARGS;
