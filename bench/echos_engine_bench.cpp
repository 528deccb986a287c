// Throughput of the Simple Delay engine in each sample form for mono, stereo and six channels at
// 44.1 kHz, the "Echo chamber" preset, 4096-frame blocks; items are frames.
#include <benchmark/benchmark.h>

#include "aplugins/qxppack1/delay/echos_engine.h"
#include "bench/bench_support.h"

namespace {

template <class Form, int (CQxEchosEngine::*Process)(QxRunMode, typename Form::Sample*,
                                                     uint32_t*, int32_t)>
void BM_Echos(benchmark::State& state) {
  const WORD channels = static_cast<WORD>(state.range(0));
  const WAVEFORMATEX fmt = BenchFormat<Form>(channels);

  EchosParams p{};
  p.MultipleDelays = 1;
  p.DelayTime = 400;
  p.DecayTime = 20;
  p.DelayOut = -30;
  p.DryOut = -90;
  p.DelayNote = 13;
  p.DelayMultiplier = 1000;
  p.DecayNote = 18;
  p.DecayMultiplier = 1000;

  CQxEchosEngine engine;
  engine.SetFormat(&fmt);
  if (engine.Apply(p, RunFresh, nullptr) != S_OK) {
    state.SkipWithError("Apply failed");
    return;
  }
  RunBenchBlocks<Form>(state, channels, [&](typename Form::Sample* block, uint32_t frames) {
    uint32_t n = frames;
    (engine.*Process)(RunContinue, block, &n, 0);
  });
}

}  // namespace

void BM_EchosPcm8(benchmark::State& s) { BM_Echos<QxPcm8Form, &CQxEchosEngine::ProcessPcm8>(s); }
void BM_EchosPcm16(benchmark::State& s) { BM_Echos<QxPcm16Form, &CQxEchosEngine::ProcessPcm16>(s); }
void BM_EchosPcm32(benchmark::State& s) { BM_Echos<QxPcm32Form, &CQxEchosEngine::ProcessPcm32>(s); }
void BM_EchosFloat32(benchmark::State& s) { BM_Echos<QxFloat32Form, &CQxEchosEngine::ProcessFloat32>(s); }
void BM_EchosFloat64(benchmark::State& s) { BM_Echos<QxFloat64Form, &CQxEchosEngine::ProcessFloat64>(s); }
// Argument: channel count.
BENCHMARK(BM_EchosPcm8)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_EchosPcm16)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_EchosPcm32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_EchosFloat32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_EchosFloat64)->Arg(1)->Arg(2)->Arg(6);
