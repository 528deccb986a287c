// Tests of the sample-form traits: read scaling, write scaling with clipping and ties-to-even
// rounding, the 8-bit offset, unclipped float forms, the two-lane forms and the zeroing guard.
#include "aplugins/qxppack1/frame/sample_form.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

TEST(SampleForm, RoundNearestEvenTiesGoToEven) {
  const double in[] = {0.5, 1.5, 2.5, -0.5, -1.5, -2.5, 2.4999, -2.5001, 2147483646.5};
  const int32_t out[] = {0, 2, 2, 0, -2, -2, 2, -3, 2147483646};
  for (size_t i = 0; i < std::size(in); ++i) EXPECT_EQ(QxRoundNearestEven(in[i]), out[i]) << in[i];
  EXPECT_EQ(QxRoundNearestEven(-2147483648.0), std::numeric_limits<int32_t>::min());
}

TEST(SampleForm, Pcm8IsOffsetBinary) {
  EXPECT_EQ(QxPcm8Form::kSilenceByte, 128);
  EXPECT_EQ(QxPcm8Form::Read(128), 0.0);
  EXPECT_EQ(QxPcm8Form::Read(0), -1.0);
  EXPECT_EQ(QxPcm8Form::Read(255), 127.0 / 128.0);
  const double in[] = {0.0, -0.0, 0.5, -1.0, 1.0, -3.0, 2.5 / 128, 3.5 / 128, -2.5 / 128};
  const int out[] = {128, 128, 192, 0, 255, 0, 130, 132, 126};
  for (size_t i = 0; i < std::size(in); ++i) EXPECT_EQ(QxPcm8Form::Write(in[i]), out[i]) << in[i];
  for (int s = 0; s < 256; ++s)
    EXPECT_EQ(QxPcm8Form::Write(QxPcm8Form::Read(static_cast<uint8_t>(s))), s);
}

TEST(SampleForm, Pcm16ScalesClipsAndRounds) {
  EXPECT_EQ(QxPcm16Form::Read(-32768), -1.0);
  EXPECT_EQ(QxPcm16Form::Read(16384), 0.5);
  const double lsb = 1.0 / 32768;
  const double in[] = {1.0,       7.0,       -1.0,       -7.0,     0.5 * lsb,
                       1.5 * lsb, 2.5 * lsb, -1.5 * lsb, 0.6 * lsb};
  const int out[] = {32767, 32767, -32768, -32768, 0, 2, 2, -2, 1};
  for (size_t i = 0; i < std::size(in); ++i) EXPECT_EQ(QxPcm16Form::Write(in[i]), out[i]) << in[i];
  for (int s = -32768; s < 32768; s += 97)
    EXPECT_EQ(QxPcm16Form::Write(QxPcm16Form::Read(static_cast<int16_t>(s))), s);
}

TEST(SampleForm, Pcm32ScalesClipsAndRounds) {
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  EXPECT_EQ(QxPcm32Form::Read(kMin), -1.0);
  EXPECT_EQ(QxPcm32Form::Read(1 << 30), 0.5);
  const double lsb = 1.0 / 2147483648.0;
  const double in[] = {1.0, 1e9, -1.0, -1e9, 0.5 * lsb, 2.5 * lsb, 3.5 * lsb, -2.5 * lsb};
  const int32_t out[] = {kMax, kMax, kMin, kMin, 0, 2, 4, -2};
  for (size_t i = 0; i < std::size(in); ++i) EXPECT_EQ(QxPcm32Form::Write(in[i]), out[i]) << in[i];
  for (int32_t s : {kMin, -123456789, -1, 0, 1, 987654321, kMax})
    EXPECT_EQ(QxPcm32Form::Write(QxPcm32Form::Read(s)), s);
}

TEST(SampleForm, FloatFormsAreNotClipped) {
  EXPECT_EQ(QxFloat32Form::Read(1.5f), 1.5);
  EXPECT_EQ(QxFloat32Form::Write(-40.25), -40.25f);
  // Narrowing rounds to nearest even: 1 + 2^-24 is a tie between 1 and 1 + 2^-23.
  EXPECT_EQ(QxFloat32Form::Write(1.0 + std::ldexp(1.0, -24)), 1.0f);
  EXPECT_EQ(QxFloat32Form::Write(1.0 + 3 * std::ldexp(1.0, -24)), 1.0f + std::ldexp(1.0f, -22));
  EXPECT_EQ(QxFloat64Form::Write(1e300), 1e300);
  EXPECT_EQ(QxFloat32Form::kSilenceByte, 0);
  EXPECT_EQ(QxFloat64Form::kSilenceByte, 0);
}

// The two-lane forms must give the scalar forms' bits: the edge values are the clip bounds and
// beyond, rounding ties, signed zeros and, for the float forms, infinities and NaN.
template <class Form>
void ExpectPairMatchesScalar() {
#if defined(__SSE2__)
  using S = typename Form::Sample;
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<double> v = {0.0, -0.0, 1.0, -1.0, 7.0, -7.0, 0.99999, 2.5 / 32768, -2.5 / 32768,
                           1.5 / 128, 3.5 / 2147483648.0, 1e-300, -1e-310};
  if constexpr (std::is_floating_point_v<S>) v.insert(v.end(), {inf, -inf, std::nan("")});
  for (double a : v)
    for (double b : v) {
      S pair[2], one[2] = {Form::Write(a), Form::Write(b)};
      QxPairIo<Form>::Write(pair, _mm_set_pd(b, a));
      ASSERT_EQ(std::memcmp(pair, one, sizeof pair), 0) << a << " " << b;
      double back[2];
      _mm_storeu_pd(back, QxPairIo<Form>::Read(one));
      const double want[2] = {Form::Read(one[0]), Form::Read(one[1])};
      ASSERT_EQ(std::memcmp(back, want, sizeof back), 0) << a << " " << b;
    }
#endif
}

TEST(SampleForm, PairsReadAndWriteAsTheScalarForms) {
  ExpectPairMatchesScalar<QxPcm8Form>();
  ExpectPairMatchesScalar<QxPcm16Form>();
  ExpectPairMatchesScalar<QxPcm32Form>();
  ExpectPairMatchesScalar<QxFloat32Form>();
  ExpectPairMatchesScalar<QxFloat64Form>();
}

TEST(SampleForm, ZeroBelowKeepsWhatTheComparisonKeeps) {
  const double floor = 0x1p-32;
  for (double v : {0.0, -0.0, floor, -floor, std::nextafter(floor, 0.0), 1e-310, -1.0, 3.0,
                   std::numeric_limits<double>::infinity(), std::nan("")}) {
    const double want = std::fabs(v) < floor ? 0.0 : v, got = QxZeroBelow(v, floor);
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << v;
  }
}
