// Resampler benchmark: one second of stereo 44.1 kHz noise shifted up a fifth (the step a
// whole-number virtual rate gives), per Accuracy and sample form, in nanoseconds per output frame;
// and the anti-alias filter in place, per input frame.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "aplugins/qxppack1/pitchtime/antialias.h"
#include "aplugins/qxppack1/pitchtime/resampler.h"

namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kChannels = 2;
constexpr int32_t kFrames = kRate;
constexpr int32_t kBlock = 4410;  // 100 ms host buffers
// +7 semitones: Ratio 1.4983, virtual rate 29433 Hz.
const double kStep = static_cast<double>(kRate) / static_cast<int32_t>(kRate / 1.4983);

constexpr QxSpliceForm kForms[] = {QxSplicePcm16, QxSpliceFloat32, QxSpliceFloat64};
constexpr const char* kFormNames[] = {"pcm16", "float32", "float64"};

std::vector<unsigned char> Input(QxSpliceForm form) {
  const size_t samples = static_cast<size_t>(kFrames) * kChannels;
  const uint32_t bytes = QxResample_SampleBytes(form);
  std::vector<unsigned char> out(samples * bytes);
  uint32_t seed = 1;
  for (size_t i = 0; i < samples; ++i) {
    seed = seed * 1664525u + 1013904223u;
    const double v = static_cast<double>(seed >> 8) / 16777216.0 - 0.5;
    unsigned char* p = out.data() + i * bytes;
    switch (form) {
      case QxSplicePcm16: QxResample_Store<QxSplicePcm16>(p, v); break;
      case QxSpliceFloat32: QxResample_Store<QxSpliceFloat32>(p, v); break;
      default: QxResample_Store<QxSpliceFloat64>(p, v); break;
    }
  }
  return out;
}

// Resampling straight to the stream form (range(2) 0) or to the intermediate buffer (1).
void BM_Resample(benchmark::State& state) {
  const int32_t accuracy = static_cast<int32_t>(state.range(0));
  const QxSpliceForm form = kForms[state.range(1)];
  const bool intermediate = state.range(2) != 0;
  const QxSpliceForm outForm = intermediate ? QxResample_IntermediateForm(form) : form;
  CQxResampler r;
  if (r.SetForms(form, outForm, kChannels) != S_OK || r.PrepareResampler(accuracy) != S_OK) {
    state.SkipWithError("prepare failed");
    return;
  }
  r.ResampleRatio = kStep;
  const std::vector<unsigned char> in = Input(form);
  const size_t inFrame = QxResample_SampleBytes(form) * kChannels;
  std::vector<unsigned char> out(static_cast<size_t>(kBlock) * QxResample_SampleBytes(outForm) *
                                 kChannels);
  int64_t produced = 0;
  for (auto _ : state) {
    r.ResetPositions();
    r.StartUp();
    int32_t pos = 0;
    for (;;) {
      int32_t n = std::min(kBlock, kFrames - pos), m = kBlock;
      r.Resample(in.data() + pos * inFrame, &n, out.data(), &m);
      pos += n;
      produced += m;
      if (m == 0) break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["ns_per_out_frame"] = benchmark::Counter(
      static_cast<double>(produced), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.SetLabel("accuracy " + std::to_string(accuracy) + " " + kFormNames[state.range(1)] +
                 (intermediate ? " to intermediate" : " to stream"));
}

void BM_AntiAlias(benchmark::State& state) {
  const QxSpliceForm form = kForms[state.range(0)];
  CQxAntiAlias filter;
  filter.DesignFilter(0.5 / kStep);
  std::vector<unsigned char> buf = Input(form);
  const size_t inFrame = QxResample_SampleBytes(form) * kChannels;
  int64_t frames = 0;
  for (auto _ : state) {
    for (int32_t pos = 0; pos < kFrames; pos += kBlock) {
      filter.FilterBlock(form, buf.data() + pos * inFrame, kChannels,
                         std::min(kBlock, kFrames - pos));
    }
    frames += kFrames;
    benchmark::DoNotOptimize(buf.data());
  }
  state.counters["ns_per_in_frame"] = benchmark::Counter(
      static_cast<double>(frames), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.SetLabel(kFormNames[state.range(0)]);
}

BENCHMARK(BM_Resample)
    ->ArgsProduct({{1, 2, 3}, {0, 1, 2}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AntiAlias)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace
