// Throughput of the Chorus engine in each sample form for mono, stereo and six channels at
// 44.1 kHz with the "Chorus 1" preset (three voices), 4096-frame blocks; items are frames, and
// time_per_frame is the time of one frame.
#include <benchmark/benchmark.h>

#include "aplugins/qxppack1/delay/chorus_engine.h"
#include "bench/bench_support.h"

namespace {

template <class Form, void (CQxChorusEngine::*Process)(typename Form::Sample*, uint32_t)>
void BM_Chorus(benchmark::State& state) {
  const WORD channels = static_cast<WORD>(state.range(0));
  const WAVEFORMATEX fmt = BenchFormat<Form>(channels);

  CQxChorusEngine engine;
  engine.SetFormat(&fmt);
  if (engine.Allocate() != S_OK || engine.Update(g_ChorusPresets[10].Params, false, nullptr) != S_OK) {
    state.SkipWithError("setup failed");
    return;
  }
  RunBenchBlocks<Form>(state, channels,
                       [&](typename Form::Sample* block, uint32_t frames) { (engine.*Process)(block, frames); });
}

}  // namespace

void BM_ChorusPcm8(benchmark::State& s) { BM_Chorus<QxPcm8Form, &CQxChorusEngine::ProcessPcm8>(s); }
void BM_ChorusPcm16(benchmark::State& s) { BM_Chorus<QxPcm16Form, &CQxChorusEngine::ProcessPcm16>(s); }
void BM_ChorusPcm32(benchmark::State& s) { BM_Chorus<QxPcm32Form, &CQxChorusEngine::ProcessPcm32>(s); }
void BM_ChorusFloat32(benchmark::State& s) { BM_Chorus<QxFloat32Form, &CQxChorusEngine::ProcessFloat32>(s); }
void BM_ChorusFloat64(benchmark::State& s) { BM_Chorus<QxFloat64Form, &CQxChorusEngine::ProcessFloat64>(s); }
// Argument: channel count.
BENCHMARK(BM_ChorusPcm8)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusPcm16)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusPcm32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusFloat32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusFloat64)->Arg(1)->Arg(2)->Arg(6);
