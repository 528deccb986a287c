// Throughput of the Chorus engine in each sample form for mono, stereo and six channels at
// 44.1 kHz with the "Chorus 1" preset (three voices), 4096-frame blocks; items are frames, and
// time_per_frame is the time of one frame.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_engine.h"

namespace {

constexpr uint32_t kFrames = 4096;
constexpr DWORD kRate = 44100;

template <class Form, void (CQxChorusEngine::*Process)(typename Form::Sample*, uint32_t)>
void BM_Chorus(benchmark::State& state, WORD tag) {
  using Sample = typename Form::Sample;
  const WORD channels = static_cast<WORD>(state.range(0));
  WAVEFORMATEX fmt{};
  fmt.wFormatTag = tag;
  fmt.nChannels = channels;
  fmt.nSamplesPerSec = kRate;
  fmt.wBitsPerSample = static_cast<WORD>(sizeof(Sample) * 8);
  fmt.nBlockAlign = static_cast<WORD>(sizeof(Sample) * channels);
  fmt.nAvgBytesPerSec = kRate * fmt.nBlockAlign;

  CQxChorusEngine engine;
  engine.SetFormat(&fmt);
  if (engine.Allocate() != S_OK || engine.Update(g_ChorusPresets[10].Params, false, nullptr) != S_OK) {
    state.SkipWithError("setup failed");
    return;
  }

  // Each block is refilled from the source, as a host hands over fresh audio.
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> noise(-0.3, 0.3);
  std::vector<Sample> source(size_t{kFrames} * channels);
  for (Sample& s : source) s = Form::Write(noise(rng));
  std::vector<Sample> block(source.size());

  for (auto _ : state) {
    std::memcpy(block.data(), source.data(), block.size() * sizeof(Sample));
    (engine.*Process)(block.data(), kFrames);
    benchmark::DoNotOptimize(block.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kFrames);
  state.counters["time_per_frame"] = benchmark::Counter(
      static_cast<double>(kFrames),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

void BM_ChorusPcm8(benchmark::State& s) {
  BM_Chorus<QxPcm8Form, &CQxChorusEngine::ProcessPcm8>(s, WAVE_FORMAT_PCM);
}
void BM_ChorusPcm16(benchmark::State& s) {
  BM_Chorus<QxPcm16Form, &CQxChorusEngine::ProcessPcm16>(s, WAVE_FORMAT_PCM);
}
void BM_ChorusPcm32(benchmark::State& s) {
  BM_Chorus<QxPcm32Form, &CQxChorusEngine::ProcessPcm32>(s, WAVE_FORMAT_PCM);
}
void BM_ChorusFloat32(benchmark::State& s) {
  BM_Chorus<QxFloat32Form, &CQxChorusEngine::ProcessFloat32>(s, WAVE_FORMAT_IEEE_FLOAT);
}
void BM_ChorusFloat64(benchmark::State& s) {
  BM_Chorus<QxFloat64Form, &CQxChorusEngine::ProcessFloat64>(s, WAVE_FORMAT_IEEE_FLOAT);
}
// Argument: channel count.
BENCHMARK(BM_ChorusPcm8)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusPcm16)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusPcm32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusFloat32)->Arg(1)->Arg(2)->Arg(6);
BENCHMARK(BM_ChorusFloat64)->Arg(1)->Arg(2)->Arg(6);
