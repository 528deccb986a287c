// Helpers for the resampler tests: streams of doubles written out in any sample form, read back,
// and a push loop that feeds a whole stream through a resampler in given block sizes.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "aplugins/qxppack1/pitchtime/antialias.h"
#include "aplugins/qxppack1/pitchtime/resampler.h"

namespace resampler_test {

inline constexpr QxSpliceForm kForms[] = {QxSplicePcm8, QxSplicePcm16, QxSplicePcm32,
                                          QxSpliceFloat32, QxSpliceFloat64};

// Deterministic noise in [-amp, amp).
inline std::vector<double> Noise(size_t samples, double amp = 0.5, uint32_t seed = 7) {
  std::vector<double> v(samples);
  for (auto& s : v) {
    seed = seed * 1664525u + 1013904223u;
    s = (static_cast<double>(seed >> 8) / 16777216.0 * 2.0 - 1.0) * amp;
  }
  return v;
}

// Interleaved sine, channel c at `hz` x (c + 1) and amplitude `amp`.
inline std::vector<double> Sines(int32_t frames, int32_t channels, double hz, double rate,
                                 double amp = 0.5) {
  std::vector<double> v(static_cast<size_t>(frames) * channels);
  for (int32_t i = 0; i < frames; ++i)
    for (int32_t c = 0; c < channels; ++c)
      v[static_cast<size_t>(i) * channels + c] =
          amp * std::sin(2.0 * M_PI * hz * (c + 1) * i / rate);
  return v;
}

// Calls fn(std::integral_constant<QxSpliceForm, form>) for a form known only at run time.
template <typename Fn>
void ForForm(QxSpliceForm form, Fn&& fn) {
  switch (form) {
    case QxSplicePcm8: fn(std::integral_constant<QxSpliceForm, QxSplicePcm8>{}); break;
    case QxSplicePcm16: fn(std::integral_constant<QxSpliceForm, QxSplicePcm16>{}); break;
    case QxSplicePcm32: fn(std::integral_constant<QxSpliceForm, QxSplicePcm32>{}); break;
    case QxSpliceFloat32: fn(std::integral_constant<QxSpliceForm, QxSpliceFloat32>{}); break;
    case QxSpliceFloat64: fn(std::integral_constant<QxSpliceForm, QxSpliceFloat64>{}); break;
  }
}

inline std::vector<unsigned char> Encode(const std::vector<double>& v, QxSpliceForm form) {
  const uint32_t bytes = QxResample_SampleBytes(form);
  std::vector<unsigned char> out(v.size() * bytes);
  ForForm(form, [&](auto f) {
    for (size_t i = 0; i < v.size(); ++i) QxResample_Store<f()>(out.data() + i * bytes, v[i]);
  });
  return out;
}

inline std::vector<double> Decode(const std::vector<unsigned char>& b, QxSpliceForm form) {
  const uint32_t bytes = QxResample_SampleBytes(form);
  std::vector<double> out(b.size() / bytes);
  ForForm(form, [&](auto f) {
    for (size_t i = 0; i < out.size(); ++i) out[i] = QxResample_Load<f()>(b.data() + i * bytes);
  });
  return out;
}

// Feeds `input` (interleaved, in inForm) through `r` with input blocks cycling through
// `inBlocks` and output capacities through `outBlocks`, until the input is used up and a call
// produces nothing. Returns the output bytes.
inline std::vector<unsigned char> Push(CQxResampler& r, const std::vector<unsigned char>& input,
                                       const std::vector<int32_t>& inBlocks,
                                       const std::vector<int32_t>& outBlocks) {
  const size_t inFrame = QxResample_SampleBytes(r.InputForm()) * r.Channels();
  const size_t outFrame = QxResample_SampleBytes(r.OutputForm()) * r.Channels();
  const int32_t total = static_cast<int32_t>(input.size() / inFrame);
  std::vector<unsigned char> out;
  std::vector<unsigned char> buf;
  int32_t pos = 0;
  size_t call = 0;
  for (;;) {
    const int32_t inCap = std::min(inBlocks[call % inBlocks.size()], total - pos);
    const int32_t outCap = outBlocks[call % outBlocks.size()];
    ++call;
    buf.assign(static_cast<size_t>(outCap) * outFrame, 0);
    int32_t n = inCap, m = outCap;
    EXPECT_EQ(r.Resample(input.data() + static_cast<size_t>(pos) * inFrame, &n, buf.data(), &m), 0);
    EXPECT_LE(n, inCap);
    EXPECT_LE(m, outCap);
    pos += n;
    out.insert(out.end(), buf.begin(), buf.begin() + static_cast<size_t>(m) * outFrame);
    if (pos >= total && m == 0) break;
    if (n == 0 && m == 0 && inCap > 0) ADD_FAILURE() << "no progress";
    if (call > 10'000'000) break;
  }
  return out;
}

// A resampler bound to `in` / `out`, prepared at `accuracy` and started at `ratio`.
inline void Start(CQxResampler& r, QxSpliceForm in, QxSpliceForm out, int32_t channels,
                  int32_t accuracy, double ratio) {
  ASSERT_EQ(r.SetForms(in, out, channels), S_OK);
  ASSERT_EQ(r.PrepareResampler(accuracy), S_OK);
  r.ResampleRatio = ratio;
  r.StartUp();
}

}  // namespace resampler_test
