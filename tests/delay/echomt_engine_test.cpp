// Tests of the Multi-Tap Delay engine: a literal frame-by-frame model against every sample form,
// channel count and block cut, exact echoes, the design's numbers and corners, tails and the record.
#include "aplugins/qxppack1/delay/echomt_engine.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "aplugins/qxppack1/frame/sample_form.h"
#include "tests/support/engine_blocks.h"
#include "tests/support/formats.h"

namespace {

// One tap of `ms` at full gain, wet 0 dB, dry silent, nothing else.
EchomtParams OneTap(int ms, int gain = 100, int feedback = 0) {
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapDelay[0] = ms;
  p.tapGain[0] = gain;
  p.tapCount = 1;
  p.wetOut = 0;
  p.dryOut = -800;
  p.feedback = feedback;
  return p;
}

// A started engine over its own format.
struct Rig {
  WAVEFORMATEX fmt;
  CQxEchomtEngine e;
  Rig(const WAVEFORMATEX& f, const EchomtParams& p) : fmt(f) {
    e.SetFormat(&fmt);
    EXPECT_EQ(e.SetParams(p), S_OK);
    EXPECT_EQ(e.Start(), S_OK);
  }
};

// ---- A literal model of the frame loops, one frame and one tap at a time ----

bool Tiny(double v) { return ((std::bit_cast<uint64_t>(v) >> 52) & 0x7FF) < 0x3DF; }
double FlushRef(double v) { return Tiny(v) ? 0.0 : v; }
double ClampRef(double v) { return v > 16777216.0 ? 16777216.0 : v < -16777216.0 ? -16777216.0 : v; }

struct Model {
  int taps, last, w;
  int r[8];
  double swing[8], gl[8], gr[8];
  double fbs, inLin, dry, wet, a, b, phase, step;
  std::vector<std::vector<double>> line;
  double inS[32] = {}, outS[32] = {};
  int wraps = 0;

  // Taken from an engine just designed afresh.
  Model(const CQxEchomtEngine& e, const EchomtParams& p, int channels)
      : taps(p.tapCount), last(e.LastIndex()), w(e.WriteIndex()),
        fbs(e.FeedbackScale()), inLin(e.InputLin()), dry(e.DryLin()), wet(e.WetLin()),
        a(e.LowPassA()), b(e.LowPassB()), phase(0.0), step(e.LfoStep()),
        line(channels, std::vector<double>(e.LineFrames(), 0.0)) {
    for (int i = 0; i < 8; ++i) {
      r[i] = e.ReadIndex(i);
      swing[i] = e.TapSwing(i);
      gl[i] = e.TapLeftGain(i);
      gr[i] = e.TapRightGain(i);
    }
  }

  double Tap(int c, int i, double m) {
    double p = r[i] - m * swing[i];
    if (p < 0.0) {
      p += last;
      ++wraps;
    }
    const int k = static_cast<int>(std::nearbyint(p - 0.499999985));
    const double f = p - k;
    int k2 = k + 1;
    if (k2 >= last) k2 -= last;
    const std::vector<double>& l = line[c];
    const double t = (l.at(k2) - l.at(k)) * f + l.at(k);
    if (--r[i] < 0) r[i] = last;
    return t;
  }

  template <class F>
  void Block(typename F::Sample* buf, int frames, int channels) {
    if (channels == 2) {
      for (int j = 0; j < frames; ++j) {
        const double inL = F::Read(buf[2 * j]) * inLin, inR = F::Read(buf[2 * j + 1]) * inLin;
        const double sL = FlushRef(inL * b + a * inS[0]), sR = FlushRef(inR * b + a * inS[1]);
        inS[0] = sL;
        inS[1] = sR;
        const double m = std::sin(phase) + 1.0;
        phase += step;
        double yL = 0.0, yR = 0.0;
        for (int i = 0; i < taps; ++i) {
          const double t = Tap(0, i, m);
          yL += t * gl[i];
          yR += t * gr[i];
        }
        yL = FlushRef(yL * b + a * outS[0]);
        outS[0] = yL;
        yR = FlushRef(yR * b + a * outS[1]);
        outS[1] = yR;
        buf[2 * j] = F::Write(FlushRef(yL * wet + inL * dry));
        buf[2 * j + 1] = F::Write(FlushRef(yR * wet + inR * dry));
        line[0][w] = ClampRef(((yR + yL) * fbs + (sR + sL)) * 0.5);
        if (--w < 0) w = last;
      }
      return;
    }
    // Channel by channel, each from the same saved oscillator and positions.
    const double savedPhase = phase;
    const int savedWrite = w;
    int savedRead[8];
    std::copy(r, r + 8, savedRead);
    for (int c = 0; c < channels; ++c) {
      phase = savedPhase;
      w = savedWrite;
      std::copy(savedRead, savedRead + 8, r);
      for (int j = 0; j < frames; ++j) {
        typename F::Sample& x = buf[j * channels + c];
        const double in = F::Read(x) * inLin;
        const double s = FlushRef(in * b + a * inS[c]);
        inS[c] = s;
        const double m = std::sin(phase) + 1.0;
        phase += step;
        double y = 0.0;
        for (int i = 0; i < taps; ++i) y += Tap(c, i, m) * gl[i];
        y = FlushRef(y * b + a * outS[c]);
        outS[c] = y;
        const double v = y * fbs + s;
        x = F::Write(FlushRef(y * wet + in * dry));
        line[c][w] = ClampRef(v);
        if (--w < 0) w = last;
      }
    }
  }
};

// Busy settings: all taps, full modulation (so reads wrap below 0), low pass, strong feedback.
EchomtParams Busy() {
  return {{3, 7, 1, 12, 5, 9, 2, 15},     {80, -60, 45, -90, 30, 100, -25, 55},
          {-100, 40, 0, 100, -30, 1, -1, 75}, 8, -20, -40, 95, -10, 1, 3000, 100, 37, 0, 0};
}
// Feedback past unity: the line saturates at its limit.
EchomtParams Runaway() {
  EchomtParams p = OneTap(4, 100, 150);
  p.tapDelay[1] = 9;
  p.tapGain[1] = 70;
  p.tapCount = 2;
  p.inputGain = 0;
  p.dryOut = -60;
  p.modDepth = 20;
  return p;
}

template <class F>
class EchomtFormTest : public ::testing::Test {};
TYPED_TEST_SUITE(EchomtFormTest, QxSampleForms);

// Whatever the channel count and however the stream is cut (across the engine's own chunks too),
// the output is the literal model's, bit for bit.
TYPED_TEST(EchomtFormTest, MatchesTheFrameByFrameModelForAnyBlockCut) {
  using F = TypeParam;
  using S = typename F::Sample;
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> amp(-0.9, 0.9);
  const EchomtParams sets[] = {Busy(), Runaway(), g_EchomtPresets[24].Params, g_EchomtPresets[3].Params};
  for (uint32_t channels : {1u, 2u, 3u, 6u, 32u}) {
    for (size_t k = 0; k < std::size(sets); ++k) {
      SCOPED_TRACE(testing::Message() << channels << " ch, set " << k);
      const DWORD rate = k < 2 ? 8000 : 2000;
      WAVEFORMATEX fmt = FormatOf<F>(static_cast<WORD>(channels), rate);
      Rig rig(fmt, sets[k]);
      Model model(rig.e, sets[k], static_cast<int>(channels));
      const int frames = channels == 32 ? 900 : 3000;
      std::vector<S> in(static_cast<size_t>(frames) * channels);
      for (S& s : in) s = F::Write(amp(rng));
      std::vector<S> want = in, got = in;
      model.Block<F>(want.data(), frames, static_cast<int>(channels));
      RunInBlocks(rig.e, got, channels, {1, 255, 7, 256, 257, 3, 1000});
      for (size_t i = 0; i < got.size(); ++i) {
        ASSERT_EQ(std::memcmp(&got[i], &want[i], sizeof(S)), 0)
            << "sample " << i << ": " << +got[i] << " against " << +want[i];
      }
      if (k == 0) {
        EXPECT_GT(model.wraps, 0);  // reads did fall below 0 and wrap by lastIndex
      }
      EXPECT_EQ(rig.e.WriteIndex(), model.w);
    }
  }
}

}  // namespace

// ---- The design ----

TEST(EchomtDesign, TapOffsetsTruncateTowardZeroOnTheWholeMillisecondGrid) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 44100);
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  for (int i = 0; i < 8; ++i) p.tapDelay[i] = 10;
  p.tapCount = 8;
  Rig rig(fmt, p);
  // 440 frames plus 0.123, 0.377, -0.411, 0.095, -0.301, -0.253, 0.457, 0.179 ms at 44.1 kHz.
  const int want[8] = {445, 456, 422, 444, 427, 429, 460, 447};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(rig.e.ReadIndex(i), want[i]) << i;
  EXPECT_EQ(rig.e.LineFrames(), static_cast<int32_t>(460 * 1.05));
  EXPECT_EQ(rig.e.TailLeft(), rig.e.LineFrames());  // feedback 0: one line length
}

TEST(EchomtDesign, FeedbackIsNormalisedByTheSummedTapGains) {
  EchomtParams cancel = OneTap(5, 50, 60);
  cancel.tapDelay[1] = 7;
  cancel.tapGain[1] = -50;
  cancel.tapCount = 2;
  EchomtParams two = OneTap(5, 100, 100);
  two.tapDelay[1] = 7;
  two.tapCount = 2;
  struct Case {
    const char* name;
    EchomtParams p;
    WORD channels;
    double scale;
  } cases[] = {{"one tap at 100 %", OneTap(5, 100, 100), 1, 1.0},
               {"sum 0.5 is raised to 1.0", OneTap(5, 50, 100), 1, 1.0},
               {"gains cancel: sum 0, raised to 1.0", cancel, 1, 0.6},
               {"two centred taps at 100 %: 2 + 2 in stereo", two, 2, 0.25}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Rig rig(FormatOf<QxFloat64Form>(c.channels, 8000), c.p);
    EXPECT_EQ(rig.e.FeedbackScale(), c.scale);
  }
}

TEST(EchomtDesign, StereoPanIsLinearAndThePannedToSideStaysFull) {
  WAVEFORMATEX stereo = FormatOf<QxFloat64Form>(2, 8000);
  WAVEFORMATEX three = FormatOf<QxFloat64Form>(3, 8000);
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapCount = 4;
  const int pans[4] = {-50, 0, 1, 100};
  for (int i = 0; i < 4; ++i) {
    p.tapGain[i] = -80;
    p.tapPan[i] = pans[i];
  }
  Rig rig(stereo, p);
  const double left[4] = {-0.8, -0.8, 99.0 / 100.0 * -0.8, 0.0 * -0.8};
  const double right[4] = {50.0 / 100.0 * -0.8, -0.8, -0.8, -0.8};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(rig.e.TapLeftGain(i), left[i]) << i;
    EXPECT_EQ(rig.e.TapRightGain(i), right[i]) << i;
  }
  Rig other(three, p);  // pan is ignored off stereo
  for (int i = 0; i < 4; ++i) EXPECT_EQ(other.e.TapLeftGain(i), -0.8);
}

TEST(EchomtDesign, LevelsLowPassAndOscillator) {
  EchomtParams p = OneTap(5);
  p.wetOut = -800;
  p.dryOut = -60;
  p.inputGain = -799;
  p.lowPassOn = 7;  // any nonzero is on
  p.lowPassFrequency = 4000;
  p.modRate = 25;
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 8000);
  Rig rig(fmt, p);
  EXPECT_EQ(rig.e.WetLin(), 0.0);
  EXPECT_EQ(rig.e.DryLin(), std::pow(10.0, -60 / 200.0));
  EXPECT_GT(rig.e.InputLin(), 0.0);
  // Half the rate is still a filter.
  EXPECT_EQ(rig.e.LowPassA(), std::exp(4000 * -6.28318530718 / 8000.0));
  EXPECT_EQ(rig.e.LowPassB(), 1.0 - rig.e.LowPassA());
  EXPECT_EQ(rig.e.LfoStep(), 6.28318530718 / (10.0 / 25 * 8000.0));

  p.lowPassFrequency = 4001;  // above half the rate: off
  WAVEFORMATEX odd = FormatOf<QxFloat64Form>(1, 8001);
  Rig above(fmt, p);
  EXPECT_EQ(above.e.LowPassA(), 0.0);
  EXPECT_EQ(above.e.LowPassB(), 1.0);
  p.lowPassFrequency = 4000;  // 8001 / 2 is 4000 in whole numbers
  Rig oddRate(odd, p);
  EXPECT_GT(oddRate.e.LowPassA(), 0.0);
}

// Without feedback the tail is one line: checked with the tap offsets above.
TEST(EchomtDesign, TailIsTwentySecondsAtUnityAndAboveAndWholeLinesBelow) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 8000);
  for (int fb : {100, 150}) {
    Rig rig(fmt, OneTap(100, 100, fb));
    EXPECT_EQ(rig.e.TailLeft(), 160000);
  }
  {
    Rig rig(fmt, OneTap(100, 100, 50));  // 1 - 3 / ln 0.5 + 0.5 = 5.83: five line lengths
    EXPECT_EQ(rig.e.TailLeft(), 5 * rig.e.LineFrames());
    EXPECT_EQ(rig.e.TailRequestLeft(), rig.e.TailLeft());
  }
  {
    // Gains 32, 99 and 43 at 100 % land a hair below unity, and the tail formula overflows.
    EchomtParams p = OneTap(10, 32, 100);
    p.tapGain[1] = 99;
    p.tapGain[2] = 43;
    p.tapDelay[1] = p.tapDelay[2] = 20;
    p.tapCount = 3;
    double sum = 0.0;
    for (int g : {32, 99, 43}) sum += g / 100.0;
    ASSERT_LT(sum * (100 / (sum * 100.0)), 1.0);
    Rig rig(fmt, p);
    EXPECT_EQ(rig.e.TailLeft(), 160000);
  }
}

TEST(EchomtDesign, LineLengthCountsOnlyTapsInUseAndTheSwing) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 8000);
  EchomtParams p = OneTap(100);
  p.tapDelay[1] = 2500;  // past tapCount
  Rig rig(fmt, p);
  EXPECT_EQ(rig.e.ReadIndex(0), 800);
  EXPECT_EQ(rig.e.LineFrames(), 840);
  p.modDepth = 50;  // swing 12 frames, four times over
  Rig swung(fmt, p);
  EXPECT_EQ(swung.e.LineFrames(), static_cast<int32_t>(800 * 1.05 + 50 * 3e-5 * 8000.0 * 4.0));
  EXPECT_EQ(swung.e.TapSwing(1), 50 * 3e-5 * 8000.0 * 0.9);
}

TEST(EchomtDesign, VeryShortTapsAtLowRatesKeepEveryReadInsideTheLine) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 8000);
  EchomtParams p = OneTap(1);  // 8 frames: 8 x 1.05 truncates to 8, which would read past the end
  p.tapDelay[1] = 2;
  p.tapCount = 2;
  Rig rig(fmt, p);
  ASSERT_EQ(rig.e.ReadIndex(1), 19);
  EXPECT_EQ(rig.e.LineFrames(), 20);
  std::vector<double> buf(64, 0.0);
  buf[0] = 1.0;
  RunInBlocks(rig.e, buf, 1, {5, 64});
  for (int j = 0; j < 64; ++j) EXPECT_EQ(buf[j], j == 8 || j == 19 ? 1.0 : 0.0) << j;
}

// ---- Processing behaviour ----

TEST(EchomtEngine, UnityFeedbackRepeatsForeverAndHalfGainHalvesEachPass) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  for (int gain : {100, 50}) {
    Rig rig(fmt, OneTap(10, gain, 100));
    const int32_t d = rig.e.ReadIndex(0);
    ASSERT_EQ(d, 10);
    std::vector<double> buf(6 * d, 0.0);
    buf[0] = 0.5;
    RunInBlocks(rig.e, buf, 1, {7});
    double echo = 0.5;
    for (int n = 1; n < 6; ++n) {
      echo *= gain / 100.0;
      EXPECT_EQ(buf[n * d], echo) << gain << " pass " << n;
    }
  }
}

TEST(EchomtEngine, ALightChangeKeepsThePositionsAndADesignChangeShiftsEveryTap) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  EchomtParams p = OneTap(10);
  p.tapDelay[1] = 50;
  p.tapCount = 2;
  Rig rig(fmt, p);
  const int32_t L = rig.e.LineFrames();
  std::vector<double> buf(37, 0.0);
  RunInBlocks(rig.e, buf, 1, {37});
  EXPECT_EQ(rig.e.ReadIndex(1), 50 - 37);

  rig.e.SetField(ECHOMT_WET_OUT, -20);     // light: positions run on
  rig.e.SetField(ECHOMT_TAP_GAIN + 0, 100);  // the same value: no change at all
  std::vector<double> ten(10, 0.0);
  RunInBlocks(rig.e, ten, 1, {4});
  EXPECT_EQ(rig.e.ReadIndex(1), 50 - 47);
  EXPECT_EQ(rig.e.WetLin(), std::pow(10.0, -0.1));

  // A new delay for tap 1 keeps L: the read positions restart as bare delays while the write
  // position stays, so tap 2 now echoes at (50 - writeIndex) mod L.
  rig.e.SetField(ECHOMT_TAP_DELAY + 0, 20);
  const int32_t w = rig.e.WriteIndex();
  std::vector<double> imp(300, 0.0);
  imp[0] = 1.0;
  RunInBlocks(rig.e, imp, 1, {300});
  ASSERT_EQ(rig.e.LineFrames(), L);
  const int shifted = ((50 - w) % L + L) % L, shiftedFirst = ((20 - w) % L + L) % L;
  const double g = std::pow(10.0, -0.1);
  for (int j = 0; j < 300; ++j) {
    const double want = (j == shifted ? g : 0.0) + (j == shiftedFirst ? g : 0.0);
    ASSERT_EQ(imp[j], want) << j;
  }
}

TEST(EchomtEngine, ADelayChangeThatMovesTheLongestTapStartsOverWithEmptyLines) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  Rig rig(fmt, OneTap(10));
  std::vector<double> buf(5, 0.0);
  buf[0] = 1.0;
  RunInBlocks(rig.e, buf, 1, {5});
  rig.e.SetField(ECHOMT_TAP_DELAY, 20);
  std::vector<double> rest(40, 0.0);
  RunInBlocks(rig.e, rest, 1, {40});
  for (double v : rest) EXPECT_EQ(v, 0.0);  // the old impulse went with the old line
  EXPECT_EQ(rig.e.LineFrames(), 21);
  EXPECT_EQ(rig.e.WriteIndex(), 21 - 40 % 21);
}

TEST(EchomtEngine, DiscontinuityResetsOnlyOnceTheStreamHasRun) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  Rig rig(fmt, OneTap(10));
  std::vector<double> buf(5, 0.0);
  buf[0] = 1.0;
  uint32_t n = 5;
  ASSERT_EQ(rig.e.ProcessFloat64(RunFresh, buf.data(), &n, 0), 0);  // first block: no second reset
  EXPECT_EQ(rig.e.WriteIndex(), 10 - 4);
  std::vector<double> more(10, 0.0);
  n = 10;
  rig.e.ProcessFloat64(RunFresh, more.data(), &n, 0);  // clears the impulse
  for (double v : more) EXPECT_EQ(v, 0.0);
  EXPECT_EQ(rig.e.WriteIndex(), 10 - 9);
  rig.e.RequestFresh();  // a host reset turns the next ordinary block into a fresh one
  n = 1;
  rig.e.ProcessFloat64(RunContinue, more.data(), &n, 0);
  EXPECT_EQ(rig.e.WriteIndex(), 10);
}

TEST(EchomtEngine, TailRunsTailLeftFramesAndWaitsForTheNextStreamForChanges) {
  WAVEFORMATEX fmt = FormatOf<QxPcm16Form>(1, 1000);
  Rig rig(fmt, OneTap(10));
  const int32_t tail = rig.e.TailLeft();
  ASSERT_EQ(tail, 11);  // 10.5 truncates to 10, not longer than the tap: one frame more
  std::vector<int16_t> buf(4, 0);
  buf[0] = 1000;
  uint32_t n = 4;
  rig.e.ProcessPcm16(RunContinue, buf.data(), &n, 0);
  rig.e.SetField(ECHOMT_WET_OUT, -800);  // not applied while the tail plays
  std::vector<int16_t> t(6, 0);
  n = 6;
  EXPECT_EQ(rig.e.ProcessPcm16(RunTail, t.data(), &n, 0), 0);
  EXPECT_EQ(n, 6u);
  n = 6;
  EXPECT_EQ(rig.e.ProcessPcm16(RunTail, t.data(), &n, 0), 1);
  EXPECT_EQ(n, static_cast<uint32_t>(tail - 6));
  EXPECT_EQ(t[10 - 4 - 6], 1000);  // the echo, still at full wet gain
  n = 6;
  EXPECT_EQ(rig.e.ProcessPcm16(RunTail, t.data(), &n, 0), 1);
  EXPECT_EQ(n, 0u);
}

TEST(EchomtEngine, TailRequestsCountDownThenGetNothingUntilOrdinaryAudio) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  Rig rig(fmt, OneTap(10));
  const int32_t tail = rig.e.TailLeft();
  std::vector<double> buf(64, 0.0);
  uint32_t n = 8;
  EXPECT_EQ(rig.e.ProcessFloat64(RunContinue, buf.data(), &n, 1), 0);
  EXPECT_EQ(n, 8u);
  n = 64;
  EXPECT_EQ(rig.e.ProcessFloat64(RunContinue, buf.data(), &n, 1), 0);
  EXPECT_EQ(n, static_cast<uint32_t>(tail - 8));
  EXPECT_TRUE(rig.e.TailDone());
  n = 64;
  EXPECT_EQ(rig.e.ProcessFloat64(RunContinue, buf.data(), &n, 1), 1);
  EXPECT_EQ(n, 0u);
  n = 3;  // ordinary audio: the count starts again
  EXPECT_EQ(rig.e.ProcessFloat64(RunContinue, buf.data(), &n, 0), 0);
  EXPECT_FALSE(rig.e.TailDone());
  EXPECT_EQ(rig.e.TailRequestLeft(), tail);
}

TEST(EchomtEngine, OnlyThe32BitFloatRoutineSkipsTheUpdateOnTailRequests) {
  WAVEFORMATEX f32 = FormatOf<QxFloat32Form>(1, 1000);
  WAVEFORMATEX f64 = FormatOf<QxFloat64Form>(1, 1000);
  EchomtParams p = OneTap(10);
  p.dryOut = 0;
  Rig a(f32, p), b(f64, p);
  a.e.SetField(ECHOMT_DRY_OUT, -800);
  b.e.SetField(ECHOMT_DRY_OUT, -800);
  std::vector<float> fa(4, 0.5f);
  std::vector<double> fb(4, 0.5);
  uint32_t n = 4;
  a.e.ProcessFloat32(RunContinue, fa.data(), &n, 1);
  n = 4;
  b.e.ProcessFloat64(RunContinue, fb.data(), &n, 1);
  EXPECT_EQ(fa[0], 0.5f);  // the old dry gain still applies
  EXPECT_EQ(fb[0], 0.0);
}

TEST(EchomtEngine, AfterStopBlocksPassUntouchedAndTheNextStartDesignsAgain) {
  WAVEFORMATEX fmt = FormatOf<QxFloat64Form>(1, 1000);
  Rig rig(fmt, OneTap(10));
  rig.e.Stop();
  EXPECT_EQ(rig.e.Line(0), nullptr);
  std::vector<double> buf = {0.25, 0.5};
  uint32_t n = 2;
  EXPECT_EQ(rig.e.ProcessFloat64(RunTail, buf.data(), &n, 0), 1);
  EXPECT_EQ(n, 0u);
  ASSERT_EQ(rig.e.Start(), S_OK);
  EXPECT_NE(rig.e.Line(0), nullptr);
  EXPECT_EQ(rig.e.WriteIndex(), 0);
}

TEST(EchomtEngine, NoFormatIsAFailureNotACrash) {
  CQxEchomtEngine e;
  EXPECT_EQ(e.Start(), E_UNEXPECTED);
  double x = 0.5;
  uint32_t n = 1;
  EXPECT_EQ(e.ProcessFloat64(RunContinue, &x, &n, 0), E_UNEXPECTED);
  EXPECT_EQ(n, 0u);
}

// ---- The record ----

TEST(EchomtRecord, OutOfRangeFieldsAreClampedStoredAndReportedWithFail) {
  CQxEchomtEngine e;
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  EXPECT_EQ(e.SetParams(p), S_OK);
  p.tapDelay[3] = 0;
  p.tapGain[7] = 101;
  p.tapPan[0] = -300;
  p.tapCount = 9;
  p.feedback = 151;
  p.lowPassOn = -12345;  // never clamped
  p.modRate = 0;
  p.graphResolution = 4;
  EXPECT_EQ(e.SetParams(p), E_FAIL);
  EchomtParams got;
  e.GetParams(&got);
  EXPECT_EQ(got.tapDelay[3], 1);
  EXPECT_EQ(got.tapGain[7], 100);
  EXPECT_EQ(got.tapPan[0], -100);
  EXPECT_EQ(got.tapCount, 8);
  EXPECT_EQ(got.feedback, 150);
  EXPECT_EQ(got.lowPassOn, -12345);
  EXPECT_EQ(got.modRate, 1);
  EXPECT_EQ(got.graphResolution, 3);
  EXPECT_EQ(got.tapDelay[0], 100);

  e.SetField(ECHOMT_TAP_PAN + 2, 250);
  e.SetField(ECHOMT_LOW_PASS_FREQUENCY, 5);
  EXPECT_EQ(e.GetField(ECHOMT_TAP_PAN + 2), 100);
  EXPECT_EQ(e.GetField(ECHOMT_LOW_PASS_FREQUENCY), 100);
  e.SetDirty(false);
  e.SetField(ECHOMT_TAP_PAN + 2, 100);  // unchanged: not dirty
  EXPECT_FALSE(e.Dirty());
  e.SetField(ECHOMT_CURRENT_TAP, 5);
  EXPECT_TRUE(e.Dirty());
}
