// What the engine benchmarks share: the stream format of one sample form, and the timed loop over a
// block refilled each time from the same noise, reporting frames, the time per frame and per
// frame and channel.
#pragma once
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

#include "aplugins/qxppack1/frame/sample_form.h"
#include "platform/com/wave_format.h"

inline constexpr uint32_t kBenchFrames = 4096;
inline constexpr DWORD kBenchRate = 44100;

// The plain format of `Form`'s samples: float forms are IEEE float, the others PCM.
template <class Form>
WAVEFORMATEX BenchFormat(WORD channels, DWORD rate = kBenchRate) {
  using Sample = typename Form::Sample;
  WAVEFORMATEX fmt{};
  fmt.wFormatTag = std::is_floating_point_v<Sample> ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
  fmt.nChannels = channels;
  fmt.nSamplesPerSec = rate;
  fmt.wBitsPerSample = static_cast<WORD>(sizeof(Sample) * 8);
  fmt.nBlockAlign = static_cast<WORD>(sizeof(Sample) * channels);
  fmt.nAvgBytesPerSec = rate * fmt.nBlockAlign;
  return fmt;
}

// Times `process(block, frames)` on kBenchFrames frames of `channels` channels per iteration. Each
// block is refilled from the source, as a host hands over fresh audio; the copy is a small part of
// the cost and keeps float output from drifting block after block.
template <class Form, class Process>
void RunBenchBlocks(benchmark::State& state, WORD channels, Process process) {
  using Sample = typename Form::Sample;
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> noise(-0.3, 0.3);
  std::vector<Sample> source(size_t{kBenchFrames} * channels);
  for (Sample& s : source) s = Form::Write(noise(rng));
  std::vector<Sample> block(source.size());

  for (auto _ : state) {
    std::memcpy(block.data(), source.data(), block.size() * sizeof(Sample));
    process(block.data(), kBenchFrames);
    benchmark::DoNotOptimize(block.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kBenchFrames);
  state.counters["time_per_frame"] = benchmark::Counter(
      static_cast<double>(kBenchFrames),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  // One sample of one channel: comparable across channel counts and effects.
  state.counters["ns_per_frame_channel"] = benchmark::Counter(
      static_cast<double>(kBenchFrames) * channels,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
