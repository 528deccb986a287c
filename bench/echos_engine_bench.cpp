// Throughput of the Simple Delay engine in each sample form: stereo 44.1 kHz, the "Echo chamber"
// preset, 4096-frame blocks; items are frames.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "aplugins/qxppack1/delay/echos_engine.h"
#include "aplugins/qxppack1/frame/sample_form.h"

namespace {

constexpr uint32_t kFrames = 4096;
constexpr WORD kChannels = 2;
constexpr DWORD kRate = 44100;

template <class Form, int (CQxEchosEngine::*Process)(QxRunMode, typename Form::Sample*,
                                                     uint32_t*, int32_t)>
void BM_Echos(benchmark::State& state, WORD tag) {
  using Sample = typename Form::Sample;
  WAVEFORMATEX fmt{};
  fmt.wFormatTag = tag;
  fmt.nChannels = kChannels;
  fmt.nSamplesPerSec = kRate;
  fmt.wBitsPerSample = static_cast<WORD>(sizeof(Sample) * 8);
  fmt.nBlockAlign = static_cast<WORD>(sizeof(Sample) * kChannels);
  fmt.nAvgBytesPerSec = kRate * fmt.nBlockAlign;

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

  // Each block is refilled from the source, as a host hands over fresh audio; the copy is a
  // small part of the cost and keeps float output from drifting block after block.
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> noise(-0.3, 0.3);
  std::vector<Sample> source(size_t{kFrames} * kChannels);
  for (Sample& s : source) s = Form::Write(noise(rng));
  std::vector<Sample> block(source.size());

  for (auto _ : state) {
    std::memcpy(block.data(), source.data(), block.size() * sizeof(Sample));
    uint32_t n = kFrames;
    (engine.*Process)(RunContinue, block.data(), &n, 0);
    benchmark::DoNotOptimize(block.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kFrames);
  state.counters["time_per_frame"] = benchmark::Counter(
      static_cast<double>(kFrames),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

void BM_EchosPcm8(benchmark::State& s) {
  BM_Echos<QxPcm8Form, &CQxEchosEngine::ProcessPcm8>(s, WAVE_FORMAT_PCM);
}
void BM_EchosPcm16(benchmark::State& s) {
  BM_Echos<QxPcm16Form, &CQxEchosEngine::ProcessPcm16>(s, WAVE_FORMAT_PCM);
}
void BM_EchosPcm32(benchmark::State& s) {
  BM_Echos<QxPcm32Form, &CQxEchosEngine::ProcessPcm32>(s, WAVE_FORMAT_PCM);
}
void BM_EchosFloat32(benchmark::State& s) {
  BM_Echos<QxFloat32Form, &CQxEchosEngine::ProcessFloat32>(s, WAVE_FORMAT_IEEE_FLOAT);
}
void BM_EchosFloat64(benchmark::State& s) {
  BM_Echos<QxFloat64Form, &CQxEchosEngine::ProcessFloat64>(s, WAVE_FORMAT_IEEE_FLOAT);
}
BENCHMARK(BM_EchosPcm8);
BENCHMARK(BM_EchosPcm16);
BENCHMARK(BM_EchosPcm32);
BENCHMARK(BM_EchosFloat32);
BENCHMARK(BM_EchosFloat64);
