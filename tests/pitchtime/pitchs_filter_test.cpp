// Pitch Shift in a graph: lengths with and without preserved duration in every sample form, the
// pitch that comes out, the limit of 0.5, the anti-alias threshold, the zero-byte padding and the
// nearly transparent ratio 1.0.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "tests/pitchtime/splice_test_util.h"
#include "tests/support/effect_rig.h"

namespace {
// A sine in any of the five forms, all channels alike.
std::vector<BYTE> Sine(const WAVEFORMATEX& f, int frames, double hz, double amp = 0.5) {
  std::vector<BYTE> b(static_cast<size_t>(frames) * f.nBlockAlign);
  const int bytes = f.wBitsPerSample / 8;
  for (int i = 0; i < frames; ++i) {
    const double v = amp * std::sin(2 * M_PI * hz * i / f.nSamplesPerSec);
    for (int c = 0; c < f.nChannels; ++c) {
      BYTE* p = b.data() + static_cast<size_t>(i) * f.nBlockAlign + c * bytes;
      if (f.wFormatTag == WAVE_FORMAT_IEEE_FLOAT && bytes == 4) {
        const float s = static_cast<float>(v);
        std::memcpy(p, &s, 4);
      } else if (f.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
        std::memcpy(p, &v, 8);
      } else if (bytes == 1) {
        *p = static_cast<BYTE>(std::lround(v * 127) + 128);
      } else if (bytes == 2) {
        const int16_t s = static_cast<int16_t>(std::lround(v * 32767));
        std::memcpy(p, &s, 2);
      } else {
        const int32_t s = static_cast<int32_t>(std::lround(v * 2147483647.0));
        std::memcpy(p, &s, 4);
      }
    }
  }
  return b;
}

// Channel 0 of 16-bit mono or stereo output as doubles.
std::vector<double> Channel0(const std::vector<BYTE>& bytes, const WAVEFORMATEX& f) {
  std::vector<double> v(bytes.size() / f.nBlockAlign);
  for (size_t i = 0; i < v.size(); ++i) {
    int16_t s;
    std::memcpy(&s, bytes.data() + i * f.nBlockAlign, 2);
    v[i] = s / 32768.0;
  }
  return v;
}

// Power of `x[from, to)` at `hz`, by the Goertzel recursion.
double PowerAt(const std::vector<double>& x, size_t from, size_t to, double hz, double rate) {
  const double k = 2 * std::cos(2 * M_PI * hz / rate);
  double s1 = 0, s2 = 0;
  for (size_t i = from; i < to; ++i) {
    const double s = x[i] + k * s1 - s2;
    s2 = s1;
    s1 = s;
  }
  return s1 * s1 + s2 * s2 - k * s1 * s2;
}

// source -> Pitch Shift -> collecting sink, running.
struct Rig : EffectRig<CQxPitchs> {
  Rig(const WAVEFORMATEX& f, double ratio, bool preserve, LONG frames = 1000, int32_t antiAlias = 0)
      : EffectRig(f, frames, [&](CQxPitchs* p) {
          EXPECT_EQ(p->SetRatio(ratio), S_OK);
          p->SetPreserveDuration(preserve ? 1 : 0);
          p->SetAntiAlias(antiAlias);
        }),
        pitchs(effect) {}
  CQxPitchs* pitchs;
  // Pushes `bytes` in blocks of the source's buffer.
  HRESULT PushAll(const std::vector<BYTE>& bytes) {
    const size_t block = static_cast<size_t>(bufferFrames) * format.nBlockAlign;
    for (size_t at = 0; at < bytes.size(); at += block) {
      const size_t n = std::min(block, bytes.size() - at);
      HRESULT hr = source->PushBytes(bytes.data() + at, static_cast<LONG>(n));
      if (FAILED(hr)) return hr;
    }
    return S_OK;
  }
};

using splice_test::SizesAt;
}  // namespace

TEST(PitchsFilter, RatioOneWithoutPreservationPassesNearlyUnchanged) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 2, 16);
  Rig rig(f, 1.0, false, 700);
  const std::vector<BYTE> in = Sine(f, 8000, 440.0);
  ASSERT_EQ(rig.PushAll(in), S_OK);
  EXPECT_EQ(rig.pitchs->VirtualRate(), 8000u);
  EXPECT_EQ(rig.pitchs->ResampleRatio(), 1.0);
  const size_t streamed = rig.sink->bytes.size();
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  EXPECT_EQ(rig.sink->bytes.size(), streamed);  // no tail
  // The first output frame is centred on the first input frame; the last few stay in the history.
  const int64_t out = rig.FramesOut();
  EXPECT_LE(out, 8000);
  EXPECT_GE(out, 8000 - 5);
  const std::vector<double> a = Channel0(in, f), b = Channel0(rig.sink->bytes, f);
  double worst = 0;
  for (size_t i = 0; i < b.size(); ++i) worst = std::max(worst, std::fabs(a[i] - b[i]));
  EXPECT_LT(worst, 2.0 / 32768.0);
}

TEST(PitchsFilter, RatioTwoWithoutPreservationHalvesTheLengthAndDoublesThePitch) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16);
  Rig rig(f, 2.0, false);
  ASSERT_EQ(rig.PushAll(Sine(f, 16000, 300.0)), S_OK);
  const size_t streamed = rig.sink->bytes.size();
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  EXPECT_EQ(rig.sink->bytes.size(), streamed);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
  EXPECT_NEAR(static_cast<double>(rig.FramesOut()), 8000, 4);
  const std::vector<double> y = Channel0(rig.sink->bytes, f);
  EXPECT_GT(PowerAt(y, 100, 7900, 600.0, 8000), 1000 * PowerAt(y, 100, 7900, 300.0, 8000));
}

TEST(PitchsFilter, RatioTwoWithPreservationKeepsTheLengthAndDoublesThePitch) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16);
  Rig rig(f, 2.0, true);
  const int frames = 8000 * 3;
  ASSERT_EQ(rig.PushAll(Sine(f, frames, 300.0)), S_OK);
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  const QxSpliceSizes s = SizesAt(0, 8000);
  EXPECT_NEAR(static_cast<double>(rig.FramesOut()), frames, s.OutputHop);
  EXPECT_GE(rig.FramesOut(), frames);  // a shortfall is padded; an excess shifting up stays
  const std::vector<double> y = Channel0(rig.sink->bytes, f);
  const size_t from = s.WindowFrames, to = frames - 2 * s.WindowFrames;
  EXPECT_GT(PowerAt(y, from, to, 600.0, 8000), 50 * PowerAt(y, from, to, 300.0, 8000));
}

TEST(PitchsFilter, AQuarterWithPreservationIsHeldToAHalfInResamplerAndSplicer) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16);
  Rig rig(f, 0.25, true);
  ASSERT_EQ(rig.PushAll(Sine(f, 8000, 500.0)), S_OK);
  EXPECT_EQ(rig.pitchs->ResampleRatio(), 0.5);
  EXPECT_EQ(rig.pitchs->Resampler().ResampleRatio, 0.5);
  EXPECT_EQ(rig.pitchs->Splice32().Ratio, 0.5);
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  // Shifting down, the excess of the unscaled last chunk is cut to the input's exact length.
  EXPECT_EQ(rig.FramesOut(), 8000);
}

TEST(PitchsFilter, TheAntiAliasFilterRunsOnlyAboveOnePointOne) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16);
  const std::vector<BYTE> in = Sine(f, 2000, 3500.0);  // above the new Nyquist of a shift up
  {
    Rig rig(f, 1.05, false, 1000, 1);
    std::vector<BYTE> copy = in;
    ASSERT_EQ(rig.PushAll(copy), S_OK);
    EXPECT_FALSE(rig.pitchs->FilterActive());
  }
  for (bool on : {false, true}) {
    Rig rig(f, 1.5, false, 1000, on ? 1 : 0);
    ASSERT_EQ(rig.PushAll(in), S_OK);
    EXPECT_EQ(rig.pitchs->FilterActive(), on);
    // 3500 Hz read 1.5 times as fast folds over to 2750 Hz... unless it was filtered out first.
    const std::vector<double> y = Channel0(rig.sink->bytes, f);
    const double folded = PowerAt(y, 200, y.size(), 8000 - 3500 * 1.5, 8000);
    if (on)
      EXPECT_LT(folded, 1e-3 * 0.25 * y.size() * y.size() / 4);
    else
      EXPECT_GT(folded, 0.01 * 0.25 * y.size() * y.size() / 4);
  }
}

TEST(PitchsFilter, EightBitPaddingIsZeroNotSilence) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 8);
  Rig rig(f, 2.0, true);
  std::vector<BYTE> quiet(8000, 128);
  ASSERT_EQ(rig.PushAll(quiet), S_OK);
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  const std::vector<BYTE>& out = rig.sink->bytes;
  ASSERT_GE(out.size(), 8000u);
  ASSERT_EQ(out.front(), 128);
  // The frames the splice engine could not give are padded with zero bytes at the very end.
  size_t zeros = 0;
  while (zeros < out.size() && out[out.size() - 1 - zeros] == 0) ++zeros;
  EXPECT_GT(zeros, 0u);
  for (size_t i = 0; i < out.size() - zeros; ++i) ASSERT_EQ(out[i], 128) << i;
}

TEST(PitchsFilter, EveryFormLengthFollowsTheRatioAndPreservationRestoresIt) {
  const WAVEFORMATEX forms[] = {PlainFormat(WAVE_FORMAT_PCM, 1, 8), PlainFormat(WAVE_FORMAT_PCM, 2, 16),
                                PlainFormat(WAVE_FORMAT_PCM, 3, 32), PlainFormat(WAVE_FORMAT_IEEE_FLOAT, 2, 32),
                                PlainFormat(WAVE_FORMAT_IEEE_FLOAT, 1, 64)};
  const double ratios[] = {0.75, 1.5};
  const int frames = 8000 * 2;
  const QxSpliceSizes s = SizesAt(0, 8000);
  for (const WAVEFORMATEX& f : forms) {
    for (double ratio : ratios) {
      for (bool preserve : {false, true}) {
        Rig rig(f, ratio, preserve, 700);
        ASSERT_EQ(rig.PushAll(Sine(f, frames, 250.0)), S_OK);
        ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
        const double rr = QxPitchs_ResampleRatio(8000, ratio, preserve);
        const double expected = preserve ? frames : frames / rr;
        EXPECT_NEAR(static_cast<double>(rig.FramesOut()), expected, preserve ? s.OutputHop : 8)
            << f.wBitsPerSample << "-bit x" << f.nChannels << " ratio " << ratio << " preserve " << preserve;
      }
    }
  }
}

TEST(PitchsFilter, AFifthUpPeaksWhereTheQuantisedRatioSays) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16, 44100);
  const double ratio = QxPitchs_RatioFor(7, 0);
  Rig rig(f, ratio, false, 4096);
  ASSERT_EQ(rig.PushAll(Sine(f, 44100 * 3, 440.0)), S_OK);
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  const double rr = 44100.0 / 29433.0;
  const std::vector<double> y = Channel0(rig.sink->bytes, f);
  ASSERT_GT(y.size(), 80000u);
  // Scan 0.05 Hz steps around the expected tone over 1.8 s of output.
  double best = 0, bestHz = 0;
  for (double hz = 440 * rr - 3; hz <= 440 * rr + 3; hz += 0.05) {
    const double p = PowerAt(y, 1000, 1000 + 80000, hz, 44100);
    if (p > best) best = p, bestHz = hz;
  }
  EXPECT_NEAR(bestHz, 440 * rr, 0.3);
}

TEST(PitchsFilter, AChangeOfRatioMidStreamKeepsTheStreamGoing) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16);
  Rig rig(f, 1.0, true, 500);
  ASSERT_EQ(rig.PushAll(Sine(f, 8000, 300.0)), S_OK);
  const int64_t totalIn = rig.pitchs->TotalIn();
  rig.pitchs->SetRatio(1.5);
  ASSERT_EQ(rig.PushAll(Sine(f, 8000, 300.0)), S_OK);
  // The totals run on across a ratio change; only a rebuild clears them.
  EXPECT_GT(rig.pitchs->TotalIn(), totalIn);
  ASSERT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  EXPECT_NEAR(static_cast<double>(rig.FramesOut()), 16000, SizesAt(0, 8000).OutputHop);
}
