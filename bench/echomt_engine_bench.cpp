// Throughput of the Multi-Tap Delay engine in each sample form for mono, stereo and 6 channels:
// 44.1 kHz, eight taps with the low pass, 4096-frame blocks, with and without modulation. Reports
// ns per frame (time_per_frame) and frames per second.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "aplugins/qxppack1/delay/echomt_engine.h"
#include "aplugins/qxppack1/frame/sample_form.h"

namespace {

constexpr uint32_t kFrames = 4096;
constexpr DWORD kRate = 44100;

template <class Form, int (CQxEchomtEngine::*Process)(QxRunMode, typename Form::Sample*,
                                                      uint32_t*, int32_t)>
void BM_Echomt(benchmark::State& state, WORD tag) {
  using Sample = typename Form::Sample;
  const WORD channels = static_cast<WORD>(state.range(0));
  WAVEFORMATEX fmt{};
  fmt.wFormatTag = tag;
  fmt.nChannels = channels;
  fmt.nSamplesPerSec = kRate;
  fmt.wBitsPerSample = static_cast<WORD>(sizeof(Sample) * 8);
  fmt.nBlockAlign = static_cast<WORD>(sizeof(Sample) * channels);
  fmt.nAvgBytesPerSec = kRate * fmt.nBlockAlign;

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

  // Each block is refilled from the source, as a host hands over fresh audio.
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> noise(-0.3, 0.3);
  std::vector<Sample> source(size_t{kFrames} * channels);
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

void BM_EchomtPcm8(benchmark::State& s) {
  BM_Echomt<QxPcm8Form, &CQxEchomtEngine::ProcessPcm8>(s, WAVE_FORMAT_PCM);
}
void BM_EchomtPcm16(benchmark::State& s) {
  BM_Echomt<QxPcm16Form, &CQxEchomtEngine::ProcessPcm16>(s, WAVE_FORMAT_PCM);
}
void BM_EchomtPcm32(benchmark::State& s) {
  BM_Echomt<QxPcm32Form, &CQxEchomtEngine::ProcessPcm32>(s, WAVE_FORMAT_PCM);
}
void BM_EchomtFloat32(benchmark::State& s) {
  BM_Echomt<QxFloat32Form, &CQxEchomtEngine::ProcessFloat32>(s, WAVE_FORMAT_IEEE_FLOAT);
}
void BM_EchomtFloat64(benchmark::State& s) {
  BM_Echomt<QxFloat64Form, &CQxEchomtEngine::ProcessFloat64>(s, WAVE_FORMAT_IEEE_FLOAT);
}
// Arguments: channel count, preset row.
#define ECHOMT_ARGS \
  ArgNames({"channels", "preset"})->ArgsProduct({{1, 2, 6}, {3, 22}})
BENCHMARK(BM_EchomtPcm8)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtPcm16)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtPcm32)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtFloat32)->ECHOMT_ARGS;
BENCHMARK(BM_EchomtFloat64)->ECHOMT_ARGS;
