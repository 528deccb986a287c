// Resampler tests: kernel shapes and tables, pass-through at ratio 1, pitch and length at other
// ratios, block-size independence, every sample form and channel count, and the guards.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "tests/pitchtime/resampler_test_util.h"

using namespace resampler_test;

namespace {

// Frames a whole stream of `n` input frames yields: output k needs floor(k x ratio) + halfTaps + 1
// input frames.
int32_t ExpectedFrames(int32_t n, double ratio, int32_t halfTaps) {
  int32_t k = 0;
  while (std::floor(static_cast<double>(k) * ratio) + halfTaps + 1 <= n) ++k;
  return k;
}

// Hann-windowed magnitude of a mono signal at `hz`.
double Magnitude(const std::vector<double>& v, double hz, double rate) {
  double re = 0, im = 0;
  const size_t n = v.size();
  for (size_t i = 0; i < n; ++i) {
    const double w = 0.5 - 0.5 * std::cos(2 * M_PI * i / (n - 1));
    re += w * v[i] * std::cos(2 * M_PI * hz * i / rate);
    im += w * v[i] * std::sin(2 * M_PI * hz * i / rate);
  }
  return std::hypot(re, im);
}

std::vector<double> RunStream(int32_t accuracy, double ratio, const std::vector<double>& in,
                        int32_t channels, std::vector<int32_t> inBlocks = {4096},
                        std::vector<int32_t> outBlocks = {4096}) {
  CQxResampler r;
  Start(r, QxSpliceFloat64, QxSpliceFloat64, channels, accuracy, ratio);
  return Decode(Push(r, Encode(in, QxSpliceFloat64), inBlocks, outBlocks), QxSpliceFloat64);
}

}  // namespace

TEST(ResamplerKernel, ShapePerAccuracy) {
  struct Want {
    int32_t accuracy, taps, half;
    double step;
  };
  for (const Want w : {Want{1, 2, 1, 2000.0}, Want{2, 9, 4, 800.0}, Want{3, 15, 7, 500.0},
                       Want{0, 9, 4, 800.0}, Want{4, 9, 4, 800.0}, Want{INT32_MIN, 9, 4, 800.0}}) {
    const QxKernelShape s = QxResample_KernelShape(w.accuracy);
    EXPECT_EQ(s.TapCount, w.taps) << w.accuracy;
    EXPECT_EQ(s.HalfTaps, w.half) << w.accuracy;
    EXPECT_EQ(s.TableStep, w.step) << w.accuracy;
  }
}

TEST(ResamplerKernel, SincTables) {
  for (int32_t accuracy : {2, 3}) {
    CQxResampler r;
    ASSERT_EQ(r.PrepareResampler(accuracy), S_OK);
    const double* t = r.KernelTable.get();
    const int32_t step = static_cast<int32_t>(r.TableStep);
    EXPECT_EQ(t[0], 1.0);
    EXPECT_EQ(t[4000], t[3999]);
    EXPECT_EQ(t[4001], 0.0);
    EXPECT_EQ(t[4002], 0.0);
    // Zero crossings at whole frames, up to the short value of pi.
    for (int32_t k = 1; k <= r.HalfTaps; ++k) EXPECT_NEAR(t[k * step], 0.0, 1e-9) << k;
    // The window has all but closed at the table's end.
    EXPECT_LT(std::fabs(t[3999]), 1e-6);
    // Half the kernel holds half of its unit area: sum over the table of step-wide slices.
    double sum = -0.5 * t[0];
    for (int32_t i = 0; i < 4000; ++i) sum += t[i];
    EXPECT_NEAR(sum / r.TableStep, 0.5, 1e-4) << accuracy;
    // Taps a whole frame apart add up to about 1 at any fraction: a flat pass band at DC.
    for (double frac = 0.0; frac < 1.0; frac += 0.0625) {
      double dc = 0;
      for (int32_t j = -r.HalfTaps - 1; j <= r.HalfTaps + 1; ++j) {
        const double u = std::fabs(frac + j) * r.TableStep;
        if (u >= 4000) continue;
        const int32_t n = static_cast<int32_t>(u);
        dc += (t[n + 1] - t[n]) * (u - n) + t[n];
      }
      EXPECT_NEAR(dc, 1.0, accuracy == 2 ? 1e-3 : 1e-4) << accuracy << " " << frac;
    }
  }
  // Accuracy 2, entry 2000, by hand: A = 2.5 pi, B = 1.5 pi, so the window is
  // 0.35875 - 0.14128 and sin(A) is 1 (the short pi leaves about 3e-12 of cos(B) in the window).
  CQxResampler r;
  ASSERT_EQ(r.PrepareResampler(2), S_OK);
  EXPECT_NEAR(r.KernelTable[2000], (0.35875 - 0.14128) / (2.5 * 3.14159265356), 1e-11);
  // At the first zero crossing sin(pi') is pi - pi' = 3e-11 rather than 0: the table is built with
  // the short value, about 0.8 x 3e-11 / pi here.
  EXPECT_GT(r.KernelTable[800], 5e-12);
  EXPECT_LT(r.KernelTable[800], 1e-11);
}

TEST(Resampler, RatioOnePassesTheInputThroughWithoutDelay) {
  const int32_t n = 5000;
  const std::vector<double> in = Noise(n * 2);
  for (int32_t accuracy : {1, 2, 3}) {
    const int32_t half = QxResample_KernelShape(accuracy).HalfTaps;
    const std::vector<double> out = RunStream(accuracy, 1.0, in, 2);
    // The last HalfTaps frames wait for input that would centre the kernel on them.
    ASSERT_EQ(out.size(), static_cast<size_t>(n - half) * 2) << accuracy;
    double worst = 0;
    for (size_t i = 0; i < out.size(); ++i) worst = std::max(worst, std::fabs(out[i] - in[i]));
    EXPECT_LT(worst, accuracy == 1 ? 1e-300 : 1e-9) << accuracy;
  }
}

TEST(Resampler, KnownRatioSineComesOutAtTheRightPitchAndLength) {
  const double rate = 44100;
  const int32_t n = 44100;
  const std::vector<double> in = Sines(n, 1, 1000.0, rate);
  struct Case {
    int32_t accuracy;
    double ratio;
  };
  for (const Case c : {Case{2, 1.5}, Case{3, 1.5}, Case{1, 1.5}, Case{2, 0.5}, Case{3, 44100.0 / 29433}}) {
    const std::vector<double> out = RunStream(c.accuracy, c.ratio, in, 1);
    ASSERT_EQ(static_cast<int32_t>(out.size()),
              ExpectedFrames(n, c.ratio, QxResample_KernelShape(c.accuracy).HalfTaps));
    EXPECT_NEAR(static_cast<double>(out.size()), n / c.ratio, 10.0);
    // Peak at 1000 x ratio Hz, and its level kept.
    const double want = 1000.0 * c.ratio;
    const std::vector<double> ref = Sines(static_cast<int32_t>(out.size()), 1, want, rate);
    const double peak = Magnitude(out, want, rate);
    EXPECT_NEAR(peak / Magnitude(ref, want, rate), 1.0, 2e-3) << c.accuracy << " " << c.ratio;
    for (double off : {-3.0, 3.0}) EXPECT_LT(Magnitude(out, want + off, rate), peak * 0.5);
  }
}

TEST(Resampler, BlockSizesDoNotChangeTheStream) {
  const std::vector<double> in = Noise(3000 * 3);
  for (int32_t accuracy : {1, 2, 3}) {
    for (double ratio : {1.0, 0.5, 1.4983, 2.0, 44100.0 / 37000}) {
      const std::vector<double> whole = RunStream(accuracy, ratio, in, 3, {100000}, {100000});
      EXPECT_EQ(RunStream(accuracy, ratio, in, 3, {1}, {1}), whole) << accuracy << " " << ratio;
      EXPECT_EQ(RunStream(accuracy, ratio, in, 3, {7, 333, 2, 1001}, {5, 1, 999, 64}), whole)
          << accuracy << " " << ratio;
      EXPECT_EQ(RunStream(accuracy, ratio, in, 3, {2048}, {17}), whole) << accuracy << " " << ratio;
    }
  }
}

TEST(Resampler, EverySampleFormAndChannelCount) {
  const int32_t n = 600;
  for (QxSpliceForm form : kForms) {
    for (int32_t channels : {1, 2, 3, 6, 32}) {
      // Each channel its own pitch, so a channel mix-up shows.
      const std::vector<double> src = Sines(n, channels, 300.0, 44100.0, 0.7);
      const std::vector<unsigned char> bytes = Encode(src, form);
      const std::vector<double> exact = Decode(bytes, form);
      for (QxSpliceForm out : {form, QxResample_IntermediateForm(form)}) {
        CQxResampler r;
        Start(r, form, out, channels, 2, 1.0);
        const std::vector<double> got = Decode(Push(r, bytes, {97}, {61}), out);
        ASSERT_EQ(got.size(), static_cast<size_t>(n - 4) * channels) << form << " " << channels;
        // PCM rounds back to the very samples that went in.
        const double tol = out == QxSpliceFloat32 ? 1e-7 : out == QxSpliceFloat64 ? 1e-9 : 0.0;
        for (size_t i = 0; i < got.size(); ++i)
          ASSERT_NEAR(got[i], exact[i], tol) << form << "->" << out << " ch " << channels << " @" << i;
      }
      // Resampled, every channel carries its own pitch scaled by the ratio.
      CQxResampler r;
      Start(r, form, form, channels, 3, 2.0);
      const std::vector<double> got = Decode(Push(r, bytes, {128}, {128}), form);
      const size_t frames = got.size() / channels;
      for (int32_t c = 0; c < channels; c += std::max(1, channels / 4)) {
        const double hz = 300.0 * (c + 1) * 2.0;
        if (hz > 20000) continue;
        for (size_t i = 8; i < frames; ++i)
          ASSERT_NEAR(got[i * channels + c], 0.7 * std::sin(2 * M_PI * hz * i / 44100.0), 2e-2)
              << form << " ch " << c << "/" << channels << " @" << i;
      }
    }
  }
}

TEST(Resampler, PcmOutputIsLimitedAndRoundedToEven) {
  // The linear kernel at ratio 1 passes values exactly, so only the writer acts on them.
  const std::vector<double> in = {1.5, -2.0, 0.5 / 32768, 1.5 / 32768, -2.5 / 32768, 0.0, 0.0};
  CQxResampler r;
  Start(r, QxSpliceFloat64, QxSplicePcm16, 1, 1, 1.0);
  const std::vector<unsigned char> out = Push(r, Encode(in, QxSpliceFloat64), {64}, {64});
  ASSERT_EQ(out.size(), 6u * 2);
  std::vector<int16_t> s(6);
  std::memcpy(s.data(), out.data(), out.size());
  EXPECT_EQ(s, (std::vector<int16_t>{32767, -32768, 0, 2, -2, 0}));

  CQxResampler r8;
  Start(r8, QxSpliceFloat64, QxSplicePcm8, 1, 1, 1.0);
  const std::vector<unsigned char> b = Push(r8, Encode({0.0, 1.0, -1.0, 0.0}, QxSpliceFloat64), {8}, {8});
  EXPECT_EQ(b, (std::vector<unsigned char>{128, 255, 0}));
}

TEST(Resampler, AccuracyOutsideOneToThreeRunsNineTaps) {
  const std::vector<double> in = Noise(2000 * 2);
  const std::vector<double> ref = RunStream(2, 1.2599, in, 2);
  for (int32_t accuracy : {0, 4, -3}) {
    CQxResampler r;
    ASSERT_EQ(r.PrepareResampler(accuracy), S_OK);
    EXPECT_EQ(r.TapCount, 9);
    EXPECT_EQ(r.Accuracy, accuracy);
    EXPECT_EQ(RunStream(accuracy, 1.2599, in, 2), ref) << accuracy;
  }
}

TEST(Resampler, StartUpAfterResetRepeatsAFreshRun) {
  const std::vector<double> in = Noise(1500 * 2);
  const std::vector<unsigned char> bytes = Encode(in, QxSpliceFloat64);
  CQxResampler r;
  Start(r, QxSpliceFloat64, QxSpliceFloat64, 2, 3, 0.75);
  const std::vector<unsigned char> first = Push(r, bytes, {100}, {100});
  r.ResetPositions();
  r.StartUp();
  EXPECT_EQ(Push(r, bytes, {100}, {100}), first);
}

TEST(Resampler, CountRebaseKeepsTheStreamGoing) {
  // At ratio 1 every position is a whole number, so a run placed just below the count's limit
  // must behave like one that starts at 0.
  const std::vector<double> in = Noise(200);
  CQxResampler r;
  Start(r, QxSpliceFloat64, QxSpliceFloat64, 1, 2, 1.0);
  r.OutputCount = INT32_MAX - 50;
  r.OutputPos = static_cast<double>(r.OutputCount);
  r.InputPos += r.OutputPos;
  const std::vector<double> out = Decode(Push(r, Encode(in, QxSpliceFloat64), {13}, {11}), QxSpliceFloat64);
  ASSERT_EQ(out.size(), in.size() - 4);
  for (size_t i = 0; i < out.size(); ++i) ASSERT_NEAR(out[i], in[i], 1e-9) << i;
  EXPECT_LT(r.OutputCount, 200);
}

TEST(Resampler, PositionResetInMidStreamStaysInsideTheTable) {
  // A ratio-only reconfiguration zeroes the positions with frames still owed; the taps that then
  // fall past the kernel's end read zero.
  const std::vector<double> in = Noise(4000);
  for (int32_t accuracy : {1, 2, 3}) {
    CQxResampler r;
    Start(r, QxSpliceFloat64, QxSpliceFloat64, 1, accuracy, 3.7);
    std::vector<double> out(4000);
    int32_t n = 1000, m = 4000;
    r.Resample(in.data(), &n, out.data(), &m);
    r.ResetPositions();
    r.ResampleRatio = 0.3;
    int32_t n2 = 3000, m2 = 4000;
    r.Resample(in.data() + n, &n2, out.data(), &m2);
    EXPECT_GT(m2, 0);
    for (int32_t i = 0; i < m2; ++i) ASSERT_TRUE(std::isfinite(out[i]));
  }
}

TEST(Resampler, RefusedCallsTouchNothing) {
  std::vector<double> in = Noise(100), out(100);
  CQxResampler r;
  int32_t n = 100, m = 100;
  r.Resample(in.data(), &n, out.data(), &m);  // not prepared
  EXPECT_EQ(n + m, 0);
  Start(r, QxSpliceFloat64, QxSpliceFloat64, 1, 2, 1.0);
  for (double ratio : {0.0, -1.0, std::nan(""), HUGE_VAL, QX_RESAMPLE_MAX_RATIO * 2}) {
    r.ResampleRatio = ratio;
    n = 100, m = 100;
    EXPECT_EQ(r.Resample(in.data(), &n, out.data(), &m), 0);
    EXPECT_EQ(n + m, 0) << ratio;
  }
  r.ResampleRatio = 1.0;
  n = 100, m = 0;
  r.Resample(in.data(), &n, out.data(), &m);
  EXPECT_EQ(n, 0);  // no room for output: no input taken either
  EXPECT_EQ(r.SetForms(QxSpliceFloat64, QxSpliceFloat64, 33), E_INVALIDARG);
  EXPECT_EQ(r.SetForms(static_cast<QxSpliceForm>(9), QxSpliceFloat64, 2), E_INVALIDARG);
  EXPECT_EQ(r.Channels(), 1);
}
