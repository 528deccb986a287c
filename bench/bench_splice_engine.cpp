// Splice engine benchmark: one second of stereo 44.1 kHz noise stretched to 110 %, per sample
// form and mode class, reported as nanoseconds per output frame.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "aplugins/qxppack1/pitchtime/splice_engine.h"

namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kChannels = 2;
constexpr int32_t kFrames = kRate;

struct Form {
  WORD tag, bits;
};
constexpr Form kForms[] = {{WAVE_FORMAT_PCM, 8},
                           {WAVE_FORMAT_PCM, 16},
                           {WAVE_FORMAT_PCM, 32},
                           {WAVE_FORMAT_IEEE_FLOAT, 32},
                           {WAVE_FORMAT_IEEE_FLOAT, 64}};
constexpr const char* kFormNames[] = {"pcm8", "pcm16", "pcm32", "float32", "float64"};

// Noise in the stream's own sample form, at about half of full scale.
std::vector<unsigned char> Input(const Form& f) {
  const size_t samples = static_cast<size_t>(kFrames) * kChannels;
  std::vector<unsigned char> bytes(samples * f.bits / 8);
  uint32_t seed = 1;
  for (size_t i = 0; i < samples; ++i) {
    seed = seed * 1664525u + 1013904223u;
    const double v = (static_cast<double>(seed >> 8) / 16777216.0 - 0.5);
    unsigned char* p = bytes.data() + i * f.bits / 8;
    if (f.tag == WAVE_FORMAT_IEEE_FLOAT && f.bits == 32) {
      const float s = static_cast<float>(v);
      std::memcpy(p, &s, 4);
    } else if (f.tag == WAVE_FORMAT_IEEE_FLOAT) {
      std::memcpy(p, &v, 8);
    } else if (f.bits == 8) {
      *p = static_cast<unsigned char>(static_cast<int>(v * 256) + 128);
    } else if (f.bits == 16) {
      const int16_t s = static_cast<int16_t>(v * 65536);
      std::memcpy(p, &s, 2);
    } else {
      const int32_t s = static_cast<int32_t>(v * 4294967296.0);
      std::memcpy(p, &s, 4);
    }
  }
  return bytes;
}

void BM_Splice(benchmark::State& state) {
  const Form& form = kForms[state.range(0)];
  const int32_t mode = static_cast<int32_t>(state.range(1));
  WAVEFORMATEX wave{};
  wave.wFormatTag = form.tag;
  wave.nChannels = kChannels;
  wave.nSamplesPerSec = kRate;
  wave.wBitsPerSample = form.bits;
  wave.nBlockAlign = static_cast<WORD>(form.bits / 8 * kChannels);
  wave.nAvgBytesPerSec = kRate * wave.nBlockAlign;
  CQxSpliceParamStore params;
  params.SetParams({mode, 1.1});
  CQxSpliceEngine engine(&params);
  if (engine.Prepare(wave) != S_OK) {
    state.SkipWithError("Prepare failed");
    return;
  }
  const std::vector<unsigned char> in = Input(form);
  const size_t frameBytes = wave.nBlockAlign;
  std::vector<unsigned char> out(static_cast<size_t>(kFrames) * 2 * frameBytes);
  int64_t produced = 0;
  for (auto _ : state) {
    int32_t flag = SpliceNewRun;
    int32_t pos = 0;
    while (pos < kFrames) {
      int32_t n = kFrames - pos, m = kFrames * 2;
      engine.Process(flag, in.data() + pos * frameBytes, &n, out.data(), &m);
      flag = SpliceContinue;
      pos += n;
      produced += m;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["ns_per_out_frame"] =
      benchmark::Counter(static_cast<double>(produced), benchmark::Counter::kIsRate |
                                                            benchmark::Counter::kInvert);
  state.SetLabel(std::string(kFormNames[state.range(0)]) + " mode " + std::to_string(mode));
}

// Mode classes: music (0), music with a stride of 4 (3), speech (7), solo with a stride of 8
// (15), drums (16).
BENCHMARK(BM_Splice)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {0, 3, 7, 15, 16}})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
