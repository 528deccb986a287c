// Tests of the splice engine's building blocks: mode sizes, fade table, sample conversion and the
// lag search, which must give exactly what the plain loop gives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/pitchtime/splice_test_util.h"

using namespace splice_test;

TEST(SpliceSizes, DerivedSizesAndTheirLimits) {
  QxSpliceSizes s, t;
  ASSERT_EQ(QxSplice_ComputeSizes(0, 44100, &s), S_OK);
  EXPECT_EQ(s.WindowFrames, 13230);
  EXPECT_EQ(s.OutputHop, 6615);
  EXPECT_EQ(s.FadeFrames, 661);
  EXPECT_EQ(s.SearchRange, 661);
  EXPECT_EQ(s.SearchStride, 2);
  EXPECT_EQ(s.AcceptFactor, 25.0f);
  // Below 32 kHz the stride follows the rate, but never drops below 1.
  const struct { int32_t mode; uint32_t rate; int32_t stride; } strides[] = {
      {15, 22050, 4}, {15, 32000, 8}, {3, 8000, 1}};
  for (const auto& c : strides) {
    ASSERT_EQ(QxSplice_ComputeSizes(c.mode, c.rate, &s), S_OK);
    EXPECT_EQ(s.SearchStride, c.stride) << c.rate;
  }
  // The search range is held so that every read stays inside the window.
  ASSERT_EQ(QxSplice_ComputeSizes(16, 400, &s), S_OK);
  EXPECT_EQ(s.FadeFrames, 1);
  EXPECT_EQ(s.SearchRange, 2);
  // A window below two frames could never emit anything.
  EXPECT_EQ(QxSplice_ComputeSizes(16, 39, &s), E_FAIL);
  // A mode outside the table takes the nearest row.
  ASSERT_EQ(QxSplice_ComputeSizes(25, 48000, &s), S_OK);
  ASSERT_EQ(QxSplice_ComputeSizes(18, 48000, &t), S_OK);
  EXPECT_EQ(s.WindowFrames, t.WindowFrames);
  ASSERT_EQ(QxSplice_ComputeSizes(-3, 48000, &s), S_OK);
  EXPECT_EQ(s.WindowFrames, 14400);

  // Ratios of 0, below 0 or NaN land on a limit instead of an undefined conversion.
  EXPECT_EQ(QxSplice_InputHop(6615, 13230, 2.0), 3308);
  EXPECT_EQ(QxSplice_InputHop(6615, 13230, 0.25), 13230);
  EXPECT_EQ(QxSplice_InputHop(6615, 13230, 0.0), 13230);
  EXPECT_EQ(QxSplice_InputHop(6615, 13230, -1.0), 1);
  EXPECT_EQ(QxSplice_InputHop(6615, 13230, std::nan("")), 1);
  EXPECT_EQ(QxSplice_ScaledLastChunk(1000, 1.1, 13230), 1100);
  EXPECT_EQ(QxSplice_ScaledLastChunk(6000, 5.0, 13230), 13230);
  EXPECT_EQ(QxSplice_ScaledLastChunk(1000, -2.0, 13230), 0);
  EXPECT_EQ(QxSplice_ScaledLastChunk(1000, std::nan(""), 13230), 0);
}

TEST(SpliceFadeTable, RisesHoldsFallsAndSumsToOne) {
  CQxSpliceCore<float> core;
  ASSERT_EQ(core.Rebuild(0, 44100, 1, 1.0), S_OK);
  const float* f = core.FadeTable.get();
  const int32_t hop = core.OutputHop, n = core.FadeFrames;
  EXPECT_EQ(f[0], 0.0f);
  EXPECT_EQ(f[1], 1.0f / n);
  EXPECT_EQ(f[n], 1.0f);
  EXPECT_EQ(f[hop], 1.0f);
  EXPECT_EQ(f[hop + n - 1], 1.0f / n);
  for (int32_t i = hop + n; i < core.WindowFrames; ++i) ASSERT_EQ(f[i], 0.0f) << i;
  for (int32_t i = 0; i < n; ++i) ASSERT_NEAR(f[i] + f[hop + i], 1.0f, 1e-6f) << i;
  // Too short a fade for a ramp: the join becomes a plain add.
  ASSERT_EQ(core.Rebuild(16, 400, 1, 1.0), S_OK);
  for (int32_t i = 0; i < core.WindowFrames; ++i) ASSERT_EQ(core.FadeTable[i], 1.0f);
}

TEST(SpliceCodec, PcmScalingLimitsAndRounding) {
  // Reads: 8-bit is offset binary; the most negative value of each form is -1.0.
  const unsigned char u8[3] = {0x00, 0x80, 0xFF};
  float f3[3];
  QxSplice_Codec<float>(QxSplicePcm8).Read(u8, f3, 3);
  EXPECT_EQ(f3[0], -1.0f);
  EXPECT_EQ(f3[1], 0.0f);
  EXPECT_EQ(f3[2], 127.0f / 128);
  const int32_t i32[2] = {INT32_MIN, INT32_MAX};
  double d2[2];
  QxSplice_Codec<double>(QxSplicePcm32).Read(i32, d2, 2);
  EXPECT_EQ(d2[0], -1.0);
  EXPECT_EQ(d2[1], 2147483647.0 / 2147483648.0);

  // Writes, in blocks and in the single-sample tail alike: against lrint in doubles, over values
  // on and between the steps (ties go to even), out of range, and NaN (written as 0).
  std::vector<float> f(1003);
  std::vector<double> d(f.size());
  for (size_t i = 0; i < f.size(); ++i) {
    f[i] = static_cast<float>((static_cast<double>(i) - 501.0) / 2.0 / 32768.0 * 70.0);
    d[i] = (static_cast<double>(i) - 501.0) / 2.0 / 2147483648.0 * 3e6;
  }
  f[5] = d[5] = 1.7;
  f[6] = d[6] = -1.7;
  f[2] = d[2] = std::nan("");
  f[1001] = d[1001] = std::nan("");
  auto ref = [](double v, double scale, double lo, double hi) {
    return v != v ? 0 : std::lrint(std::min(std::max(v * scale, lo), hi));
  };
  // Odd offsets: host buffers need not be aligned.
  std::vector<unsigned char> out(f.size() * 4 + 1);
  QxSplice_Codec<float>(QxSplicePcm8).Write(f.data(), out.data() + 1, f.size());
  for (size_t i = 0; i < f.size(); ++i) ASSERT_EQ(out[i + 1], ref(f[i], 128, -128, 127) + 128) << i;
  QxSplice_Codec<float>(QxSplicePcm16).Write(f.data(), out.data() + 1, f.size());
  for (size_t i = 0; i < f.size(); ++i) {
    int16_t got;
    std::memcpy(&got, &out[2 * i + 1], 2);
    ASSERT_EQ(got, ref(f[i], 32768, -32768, 32767)) << i;
  }
  QxSplice_Codec<double>(QxSplicePcm32).Write(d.data(), out.data() + 1, d.size());
  for (size_t i = 0; i < d.size(); ++i) {
    int32_t got;
    std::memcpy(&got, &out[4 * i + 1], 4);
    ASSERT_EQ(got, ref(d[i], 2147483648.0, -2147483648.0, 2147483647.0)) << i;
  }
  // Float streams are not limited.
  const float big = 3.0f;
  float back;
  QxSplice_Codec<float>(QxSpliceFloat32).Write(&big, &back, 1);
  EXPECT_EQ(back, 3.0f);
}

// The search written out plainly, one lag at a time, each sum in loop order.
template <typename T>
int32_t PlainSearch(const T* in, const T* out, int32_t ch, int32_t range, int32_t stride,
                    float accept) {
  T ref[32], sum[32];
  for (int32_t c = 0; c < ch; ++c) {
    T e = 0;
    for (int32_t k = 0; k < range; k += stride) e += out[k * ch + c] * out[k * ch + c];
    ref[c] = e * static_cast<T>(accept);
  }
  T best = 0;
  int32_t bestLag = 0;
  for (int32_t lag = 0; lag < range; lag += stride) {
    bool all = true;
    T total = 0;
    for (int32_t c = 0; c < ch; ++c) {
      T s = 0;
      for (int32_t k = 0; k < range; k += stride) {
        const T v = in[(lag + k) * ch + c] + out[k * ch + c];
        s += v * v;
      }
      sum[c] = s;
      all = all && (ch <= 2 ? s > ref[c] : !(s < ref[c]));
    }
    if (all) return lag;
    for (int32_t c = 0; c < ch; ++c) total += sum[c];
    if (total > best) {
      best = total;
      bestLag = lag;
    }
  }
  return bestLag;
}

template <typename T>
void CompareSearches() {
  struct Case {
    int32_t ch, range, stride;
  };
  const Case cases[] = {{1, 661, 2}, {1, 97, 1}, {2, 661, 2}, {2, 33, 3}, {3, 220, 4},
                        {5, 130, 2}, {32, 64, 2}, {32, 17, 1}, {1, 1, 1},  {2, 0, 2},
                        {7, 300, 8}};
  const float accepts[] = {0.5f, 1.0f, 10.0f, 100.0f};
  uint32_t seed = 7;
  int nonZero = 0;
  for (const Case& k : cases) {
    const size_t samples = static_cast<size_t>(2 * k.range + 16) * k.ch;
    std::vector<T> scratch(QxSplice_SearchScratchSize(k.ch, k.range, k.stride));
    for (float accept : accepts) {
      std::vector<float> a = Noise(samples, ++seed), b = Noise(samples, ++seed);
      std::vector<T> in(a.begin(), a.end()), out(b.begin(), b.end());
      // A quieter tail, as after a fade, so that some searches accept early.
      for (auto& v : out) v *= T(0.3);
      const int32_t plain = PlainSearch(in.data(), out.data(), k.ch, k.range, k.stride, accept);
      const int32_t fast = QxSplice_SearchLag(in.data(), out.data(), k.ch, k.range, k.stride,
                                              accept, scratch.data());
      ASSERT_EQ(fast, plain) << "ch " << k.ch << " range " << k.range << " accept " << accept;
      nonZero += plain != 0;
    }
  }
  EXPECT_GT(nonZero, 10);  // the cases do exercise lags other than 0
}

TEST(SpliceSearch, VectorisedEqualsPlainLoop) {
  CompareSearches<float>();
  CompareSearches<double>();
}

TEST(SpliceSearch, TieKeepsTheEarlierLag) {
  // Input with a period of 10 frames: lags 10 apart give identical sums.
  std::vector<float> in(80), out(40, 0.2f), scratch(QxSplice_SearchScratchSize(1, 40, 1));
  for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<float>((i % 10) * 0.1 - 0.45);
  const int32_t lag = QxSplice_SearchLag(in.data(), out.data(), 1, 40, 1, 100.0f, scratch.data());
  EXPECT_EQ(lag, PlainSearch(in.data(), out.data(), 1, 40, 1, 100.0f));
  EXPECT_LT(lag, 10);
}

TEST(SpliceSearch, EarlyAcceptRuleDependsOnChannelCount) {
  // Silent input over the first lags makes S equal E there: only 3 or more channels accept that.
  const int32_t range = 32;
  for (int32_t ch : {1, 2, 3, 4}) {
    std::vector<float> in(2 * range * ch, 0.0f), out(range * ch, 0.25f);
    for (int32_t f = 40; f < 2 * range; ++f)
      for (int32_t c = 0; c < ch; ++c) in[f * ch + c] = 0.5f;
    std::vector<float> scratch(QxSplice_SearchScratchSize(ch, range, 1));
    const int32_t lag = QxSplice_SearchLag(in.data(), out.data(), ch, range, 1, 1.0f, scratch.data());
    EXPECT_EQ(lag, PlainSearch(in.data(), out.data(), ch, range, 1, 1.0f)) << ch;
    if (ch <= 2)
      EXPECT_GT(lag, 0) << ch;
    else
      EXPECT_EQ(lag, 0) << ch;
  }
  // Silence on both sides gives lag 0 whatever the channel count.
  for (int32_t ch : {1, 2, 3}) {
    std::vector<double> in(2 * range * ch, 0.0), out(range * ch, 0.0);
    std::vector<double> scratch(QxSplice_SearchScratchSize(ch, range, 2));
    EXPECT_EQ(QxSplice_SearchLag(in.data(), out.data(), ch, range, 2, 25.0f, scratch.data()), 0);
  }
}
