// Anti-alias filter tests: designed coefficients against values worked out independently, the
// response against the analog prototype, the per-block register flush, every sample form and
// channel count, block splits, the general bilinear routine and the complex helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "tests/pitchtime/resampler_test_util.h"

using namespace resampler_test;

namespace {

using cd = std::complex<double>;

// |H(e^j2pi f)| of the designed coefficients; the a's come negated, so A(z) = 1 - sum a_k z^-k.
double Response(const QxAntiAliasChannel& s, double f) {
  const cd z1 = std::polar(1.0, -2 * M_PI * f);
  cd num = s.b0, den = 1.0, zk = 1.0;
  for (int k = 0; k < 8; ++k) {
    zk *= z1;
    num += s.b[k] * zk;
    den -= s.a[k] * zk;
  }
  return std::abs(num / den);
}

// The prototype with its 0.1 dB boost, at `w` rad/s.
double Prototype(double w) {
  cd h = std::pow(10.0, 0.005);
  for (const QxComplex& p : QxAntiAlias_PrototypePoles) {
    for (double sign : {1.0, -1.0}) {
      const cd pole(p.re, sign * p.im);
      h *= -pole / (cd(0, w) - pole);
    }
  }
  return std::abs(h);
}

double Db(double v) { return 20 * std::log10(v); }

}  // namespace

TEST(AntiAliasDesign, CoefficientsForAStepOfOnePointFive) {
  // Worked out at 40 digits with Cartesian complex arithmetic, the same pi and the same prototype.
  const double b[9] = {0.012733936206440005895, 0.10187148965152004716, 0.35655021378032016507,
                       0.71310042756064033014,  0.89137553445080041267, 0.71310042756064033014,
                       0.35655021378032016507,  0.10187148965152004716, 0.012733936206440005895};
  const double a[8] = {-0.14473140039223652288, -1.6554058198108111779, 0.37084904997738183066,
                       -1.0026584840035279919,  0.45193108747959751944, -0.32529022218218803549,
                       0.12658568714506198803,  -0.043851941487596416193};
  CQxAntiAlias f;
  f.DesignFilter(0.5 / 1.5);
  const QxAntiAliasChannel& s = f.Channel[0];
  EXPECT_NEAR(s.b0, b[0], 1e-13);
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(s.b[k], b[k + 1], 1e-12) << k;
    EXPECT_NEAR(s.a[k], a[k], 1e-12) << k;
    EXPECT_EQ(s.d[k], 0.0);
  }
  for (int c = 1; c < QX_ANTIALIAS_MAX_CHANNELS; ++c)
    EXPECT_EQ(std::memcmp(&f.Channel[c], &s, sizeof s), 0) << c;
}

TEST(AntiAliasDesign, ResponseFollowsThePrewarpedPrototype) {
  // 1.1 is the lowest step at which the filter runs.
  for (double step : {1.1 + 1e-9, 1.25992, 1.4983, 2.0, 4.0, 17.8}) {
    const double cutoff = 0.5 / step;
    CQxAntiAlias f;
    f.DesignFilter(cutoff);
    const double warp = std::tan(cutoff * 0.9 * M_PI);
    double lo = 1e9, hi = -1e9;
    for (int i = 0; i <= 400; ++i) {
      const double fr = 0.499 * i / 400;
      const double h = Response(f.Channel[0], fr);
      ASSERT_NEAR(h, Prototype(std::tan(M_PI * fr) / warp), 1e-7 + 1e-6 * h) << step << " " << fr;
      if (fr <= 0.9 * cutoff) lo = std::min(lo, Db(h)), hi = std::max(hi, Db(h));
    }
    // The pass band, to 90 % of the new Nyquist frequency, lies between +0.1 and +0.2 dB.
    EXPECT_GT(lo, 0.1 - 1e-4) << step;  // the prototype poles are rounded to six places
    EXPECT_LT(hi, 0.2 + 1e-4) << step;
    // Attenuation grows fast past the new Nyquist frequency.
    EXPECT_LT(Db(Response(f.Channel[0], cutoff)), -9.0) << step;
    if (1.3 * cutoff < 0.5) {
      EXPECT_LT(Db(Response(f.Channel[0], 1.3 * cutoff)), -40.0) << step;
    }
  }
}

TEST(AntiAliasRun, RegistersAreFlushedOncePerBlock) {
  QxAntiAliasChannel s;
  const double keep[] = {1.0, -3e-10, std::ldexp(1.0, -32), -std::ldexp(1.0, -32)};
  const double drop[] = {std::ldexp(1.0, -33), -std::ldexp(1.7, -33), 1e-300, 4.9e-324};
  for (int i = 0; i < 4; ++i) s.d[i] = keep[i], s.d[4 + i] = drop[i];
  QxAntiAlias_FlushRegisters(s);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(s.d[i], keep[i]) << i;
    EXPECT_EQ(s.d[4 + i], 0.0) << i;
  }

  // y = w + d0 with w = x: a tiny value passes on inside a block and is dropped at the next.
  CQxAntiAlias f;
  for (auto& c : f.Channel) c = QxAntiAliasChannel{}, c.b0 = 1.0, c.b[0] = 1.0;
  const double tiny = std::ldexp(1.0, -40);
  std::vector<double> block = {tiny, 0.0, 0.0, tiny};
  f.FilterBlock(QxSpliceFloat64, block.data(), 1, 4);
  EXPECT_EQ(block, (std::vector<double>{tiny, tiny, 0.0, tiny}));
  std::vector<double> next = {0.0};
  f.FilterBlock(QxSpliceFloat64, next.data(), 1, 1);
  EXPECT_EQ(next[0], 0.0);
}

TEST(AntiAliasRun, EveryFormAndChannelCountFiltersEachChannelAlone) {
  const int32_t frames = 500;
  for (int32_t channels : {1, 2, 3, 6, 32}) {
    const std::vector<double> src = Noise(static_cast<size_t>(frames) * channels, 0.6, channels);
    for (QxSpliceForm form : kForms) {
      // Reference: each channel on its own, as a mono stream of doubles, from the values the
      // form holds; only the output rounding then differs.
      std::vector<unsigned char> bytes = Encode(src, form);
      std::vector<double> want = Decode(bytes, form), one(frames);
      for (int32_t c = 0; c < channels; ++c) {
        CQxAntiAlias mono;
        mono.DesignFilter(0.5 / 1.6);
        for (int32_t i = 0; i < frames; ++i) one[i] = want[static_cast<size_t>(i) * channels + c];
        mono.FilterBlock(QxSpliceFloat64, one.data(), 1, frames);
        for (int32_t i = 0; i < frames; ++i) want[static_cast<size_t>(i) * channels + c] = one[i];
      }
      CQxAntiAlias f;
      f.DesignFilter(0.5 / 1.6);
      f.FilterBlock(form, bytes.data(), channels, frames);
      EXPECT_EQ(bytes, Encode(want, form)) << form << " " << channels;
    }
  }
}

TEST(AntiAliasRun, BlockSplitsGiveTheSameStream) {
  const int32_t frames = 3000, channels = 2;
  const std::vector<double> src = Noise(static_cast<size_t>(frames) * channels);
  std::vector<double> whole = src;
  CQxAntiAlias f;
  f.DesignFilter(0.25);
  f.FilterBlock(QxSpliceFloat64, whole.data(), channels, frames);
  for (int32_t block : {1, 7, 333}) {
    std::vector<double> split = src;
    CQxAntiAlias g;
    g.DesignFilter(0.25);
    for (int32_t pos = 0; pos < frames; pos += block)
      g.FilterBlock(QxSpliceFloat64, split.data() + static_cast<size_t>(pos) * channels, channels,
                    std::min(block, frames - pos));
    EXPECT_EQ(split, whole) << block;
  }
}

TEST(AntiAliasRun, RedesignRestartsFromSilence) {
  CQxAntiAlias f;
  f.DesignFilter(0.3);
  std::vector<double> a = Noise(400);
  f.FilterBlock(QxSpliceFloat64, a.data(), 2, 200);
  EXPECT_NE(f.Channel[1].d[0], 0.0);
  f.DesignFilter(0.3);
  for (const auto& c : f.Channel)
    for (double d : c.d) EXPECT_EQ(d, 0.0);
  // Unsupported channel counts leave the samples alone.
  std::vector<double> b = Noise(66), keep = b;
  f.FilterBlock(QxSpliceFloat64, b.data(), 33, 2);
  f.FilterBlock(QxSpliceFloat64, b.data(), 0, 2);
  EXPECT_EQ(b, keep);
}

TEST(BilinearDesign, DcGainAndNyquistZerosOfAGeneralCase) {
  // H(s) = 3 (s + 0.5) / ((s + 1)(s + 2 + j)(s + 2 - j)) at a period of 0.5: the bilinear map
  // keeps the DC gain, and the two excess zeros land at z = -1.
  const QxComplex poles[] = {{-1, 0}, {-2, 1}, {-2, -1}};
  const QxComplex zeros[] = {{-0.5, 0}};
  QxComplex num[4], den[4];
  ASSERT_EQ(BilinearDesign(poles, 3, zeros, 1, 3.0, 0.5, num, den), S_OK);
  cd b = 0, a = 1, bn = 0;
  for (int k = 0; k < 4; ++k) {
    b += cd(num[k].re, num[k].im);
    bn += cd(num[k].re, num[k].im) * std::pow(-1.0, k);
    if (k > 0) a -= cd(den[k].re, den[k].im);
  }
  const double analogDc = 3.0 * 0.5 / (1.0 * 5.0);
  EXPECT_NEAR(std::abs(b / a), analogDc, 1e-12);
  EXPECT_NEAR(std::abs(bn), 0.0, 1e-12);
  EXPECT_EQ(den[0].re, 1.0);

  // All poles, no zeros: the numerator is binomial.
  QxComplex n2[3], d2[3];
  const QxComplex p2[] = {{-1, 2}, {-1, -2}};
  ASSERT_EQ(BilinearDesign(p2, 2, nullptr, 0, 5.0, 1.0, n2, d2), S_OK);
  EXPECT_NEAR(n2[1].re, 2 * n2[0].re, 1e-15);
  EXPECT_NEAR(n2[2].re, n2[0].re, 1e-15);

  EXPECT_EQ(BilinearDesign(p2, -1, nullptr, 0, 1.0, 1.0, n2, d2), E_INVALIDARG);
  EXPECT_EQ(BilinearDesign(nullptr, 2, nullptr, 0, 1.0, 1.0, n2, d2), E_INVALIDARG);
  EXPECT_EQ(BilinearDesign(p2, 2, nullptr, 1, 1.0, 1.0, n2, d2), E_INVALIDARG);
  EXPECT_EQ(BilinearDesign(p2, QX_BILINEAR_MAX_ORDER + 1, nullptr, 0, 1.0, 1.0, n2, d2), E_INVALIDARG);
}

TEST(ComplexHelpers, PolarStyleWithTheRealPartShortcut) {
  const QxComplex q = QxComplex_Div({3, 4}, {1, -2});
  EXPECT_NEAR(q.re, -1.0, 1e-14);
  EXPECT_NEAR(q.im, 2.0, 1e-14);
  // A zero real part on either side takes the angle as 0: only the magnitudes divide.
  for (const QxComplex s : {QxComplex_Div({0, 2}, {1, 1}), QxComplex_Div({1, 1}, {0, -1})}) {
    EXPECT_NEAR(s.re, std::sqrt(2.0), 1e-14);
    EXPECT_EQ(s.im, 0.0);
  }
  const QxComplex r = QxComplex_Sqrt({-3, 4});
  EXPECT_NEAR(r.re, 1.0, 1e-14);
  EXPECT_NEAR(r.im, 2.0, 1e-14);
  const QxComplex r0 = QxComplex_Sqrt({0, 4});
  EXPECT_NEAR(r0.re, 2.0, 1e-14);
  EXPECT_EQ(r0.im, 0.0);
  const QxComplex e = QxComplex_Exp({std::log(2.0), M_PI / 2});
  EXPECT_NEAR(e.re, 0.0, 1e-14);
  EXPECT_NEAR(e.im, 2.0, 1e-14);
}
