// Tests of the Simple Delay engine: echo timing and gains in every sample form, block-cut
// independence, parameter derivation, line rules, tails, the tail-request protocol and bypass.
#include "aplugins/qxppack1/delay/echos_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "aplugins/qxppack1/frame/sample_form.h"
#include "tests/support/engine_blocks.h"
#include "tests/support/formats.h"

namespace {

// A record with the note fields that every preset row carries.
EchosParams MakeParams(int multiple, int delayMs, int decayTenths, int delayOut, int dryOut) {
  return {multiple, delayMs, decayTenths, delayOut, dryOut, 0, 13, 1000, 0, 18, 1000, 0};
}

// The plain per-sample recursion, one frame at a time, for comparison with the engine.
template <class F>
std::vector<typename F::Sample> Reference(const std::vector<typename F::Sample>& in,
                                          uint32_t channels, uint32_t length, double feedback,
                                          double wet, double dry) {
  std::vector<typename F::Sample> out(in.size());
  std::vector<std::vector<double>> lines(channels, std::vector<double>(length, 0.0));
  uint32_t pos = 0;
  for (size_t i = 0; i < in.size() / channels; ++i) {
    for (uint32_t c = 0; c < channels; ++c) {
      const double x = F::Read(in[i * channels + c]);
      const double y = lines[c][pos];
      lines[c][pos] = feedback * y + x;
      out[i * channels + c] = F::Write(wet * y + dry * x);
    }
    pos = pos + 1 == length ? 0 : pos + 1;
  }
  return out;
}

template <class F>
class EchosFormTest : public ::testing::Test {};
TYPED_TEST_SUITE(EchosFormTest, QxSampleForms);

// Random signal through an engine with short lines: whatever the form, channel count and block
// cut, the output is the plain per-sample recursion bit for bit (line lengths are checked below).
TYPED_TEST(EchosFormTest, BlockCutsMatchPerSampleRecursion) {
  using F = TypeParam;
  using S = typename F::Sample;
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> amp(-0.9, 0.9);
  for (uint32_t channels : {1u, 2u, 3u, 6u, 32u}) {
    for (int delayMs : {1, 3, 7}) {
      SCOPED_TRACE(testing::Message() << channels << " ch, " << delayMs << " ms");
      WAVEFORMATEX fmt = FormatOf<F>(channels, 1000);
      const uint32_t frames = 203;
      std::vector<S> in(size_t{frames} * channels);
      for (S& s : in) s = F::Write(amp(rng));

      std::vector<S> whole = in, cut = in;
      CQxEchosEngine a, b;
      a.SetFormat(&fmt);
      b.SetFormat(&fmt);
      const EchosParams p = MakeParams(1, delayMs, 20, -30, -50);
      ASSERT_EQ(a.Apply(p, RunFresh, nullptr), S_OK);
      ASSERT_EQ(b.Apply(p, RunFresh, nullptr), S_OK);
      RunInBlocks(a, whole, channels, {frames});
      RunInBlocks(b, cut, channels, {1, 9, 3, 17, 5, 11});
      EXPECT_EQ(whole, cut);
      EXPECT_EQ(whole, Reference<F>(in, channels, a.LineLength(), a.Feedback(), a.DelayGain(),
                                    a.DryGain()));
    }
  }
}

// A tail in RunTail gives DecaySpan / channels + LineLength frames, then result 1.
TYPED_TEST(EchosFormTest, RunTailLength) {
  using F = TypeParam;
  using S = typename F::Sample;
  const uint32_t channels = 3;
  WAVEFORMATEX fmt = FormatOf<F>(channels, 8000);
  CQxEchosEngine e;
  e.SetFormat(&fmt);
  ASSERT_EQ(e.Apply(MakeParams(1, 10, 1, 0, 0), RunFresh, nullptr), S_OK);
  ASSERT_EQ(e.DecaySpan(), 2400u);
  const uint32_t expected = 2400 / channels + 80;
  EXPECT_EQ(e.TailLeft(0), expected);

  uint32_t total = 0;
  int result = 0;
  std::vector<S> buf(size_t{97} * channels);
  while (result == 0) {
    std::fill(buf.begin(), buf.end(), F::Write(0.0));
    uint32_t n = 97;
    result = ProcessAs(e, RunTail, buf.data(), &n, 0);
    total += n;
    ASSERT_LE(total, expected);
  }
  EXPECT_EQ(total, expected);
  for (uint32_t c = 0; c < channels; ++c) EXPECT_EQ(e.TailLeft(c), 0u);
  uint32_t n = 97;
  EXPECT_EQ(ProcessAs(e, RunTail, buf.data(), &n, 0), 1);
  EXPECT_EQ(n, 0u);
}

class EchosEngineTest : public ::testing::Test {
 protected:
  void Use(WORD channels, DWORD rate) {
    fmt_ = FormatOf<QxFloat64Form>(channels, rate);
    e_.SetFormat(&fmt_);
  }
  // Feeds an impulse of `amp` on channel 0 at the start of a block of `frames`, returns the output.
  std::vector<double> Run(uint32_t frames, double amp = 0.0, QxRunMode mode = RunContinue) {
    std::vector<double> buf(size_t{frames} * fmt_.nChannels, 0.0);
    if (!buf.empty()) buf[0] = amp;
    uint32_t n = frames;
    e_.ProcessFloat64(mode, buf.data(), &n, 0);
    buf.resize(size_t{n} * fmt_.nChannels);
    return buf;
  }
  WAVEFORMATEX fmt_{};
  CQxEchosEngine e_;
};

TEST_F(EchosEngineTest, DelayFramesRoundLikeMulDivAndNeverBelowTwo) {
  struct Case {
    DWORD rate;
    int ms;
    uint32_t frames;
  } cases[] = {{8000, 1, 8}, {11025, 100, 1103}, {22050, 100, 2205}, {1000, 1, 2},
               {100, 1, 2},  {3000, 1, 3},       {2500, 1, 3},      {4500, 1, 5},
               {48000, 5000, 240000}};
  for (const Case& c : cases) {
    Use(1, c.rate);
    ASSERT_EQ(e_.Apply(MakeParams(0, c.ms, 1, 0, 0), RunFresh, nullptr), S_OK);
    EXPECT_EQ(e_.LineLength(), c.frames) << c.ms << " ms at " << c.rate;
  }
}

// -800 and below are exact silence, yet a silent wet path keeps its line running.
TEST_F(EchosEngineTest, LevelsBecomeLinearAndMinus800IsExactSilence) {
  Use(1, 1000);
  ASSERT_EQ(e_.Apply(MakeParams(0, 10, 1, -799, -60), RunFresh, nullptr), S_OK);
  EXPECT_GT(e_.DelayGain(), 0.0);
  EXPECT_EQ(e_.DryGain(), std::pow(10.0, -60 / 200.0));
  ASSERT_EQ(e_.Apply(MakeParams(0, 10, 1, -800, -5000), RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.DelayGain(), 0.0);
  EXPECT_EQ(e_.DryGain(), 0.0);
  for (double v : Run(5, 1.0)) EXPECT_EQ(v, 0.0);
  ASSERT_EQ(e_.Apply(MakeParams(0, 10, 1, 0, -800), RunContinue, nullptr), S_OK);
  EXPECT_EQ(e_.DelayGain(), 1.0);
  EXPECT_EQ(Run(10)[5], 1.0);
}

TEST_F(EchosEngineTest, FeedbackFollowsDecayRatio) {
  Use(2, 44100);
  // Off: no decay span and no feedback, whatever the decay time.
  ASSERT_EQ(e_.Apply(MakeParams(0, 100, 200, 0, 0), RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.DecaySpan(), 0u);
  EXPECT_EQ(e_.Feedback(), 0.0);
  // On, decay 0.1 s against a 5 s delay: ratio 0.02, no feedback though the switch is on.
  ASSERT_EQ(e_.Apply(MakeParams(1, 5000, 1, 0, 0), RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.DecaySpan(), 8820u);
  EXPECT_EQ(e_.Feedback(), 0.0);
  // Ratio exactly 0.1 is the smallest that feeds back.
  ASSERT_EQ(e_.Apply(MakeParams(1, 1000, 1, 0, 0), RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.Feedback(), std::pow(0.0316, 10.0));
  // Echo chamber: 2 s decay over 400 ms lines.
  ASSERT_EQ(e_.Apply(MakeParams(1, 400, 20, -30, -90), RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.LineLength(), 17640u);
  EXPECT_EQ(e_.DecaySpan(), 176400u);
  EXPECT_EQ(e_.Feedback(), std::pow(0.0316, 1.0 / (176400.0 / (2.0 * 17640.0))));
}

TEST_F(EchosEngineTest, TempoSyncUsesRecordOrFallbackBeat) {
  Use(2, 48000);
  EchosParams p = MakeParams(1, 100, 10, 0, 0);
  p.TempoSyncDelay = 1;
  p.TempoSyncDecay = 1;

  // No record at all: the millisecond values.
  ASSERT_EQ(e_.Apply(p, RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.LineLength(), 4800u);
  EXPECT_EQ(e_.DecaySpan(), 96000u);

  // A zeroed record: a quarter note is 2.0 s and a measure 8.0 s.
  QxTempoRecord none{};
  ASSERT_EQ(e_.Apply(p, RunContinue, &none), S_OK);
  EXPECT_EQ(e_.LineLength(), 96000u);
  EXPECT_EQ(e_.DecaySpan(), 48000u * 2 * 8);

  // 120 bpm: a quarter is 0.5 s; without the meter bit a measure is four beats.
  QxTempoRecord t120{QX_TEMPO_VALID, 120.0, 3, 4, 0.0};
  ASSERT_EQ(e_.Apply(p, RunContinue, &t120), S_OK);
  EXPECT_EQ(e_.LineLength(), 24000u);
  EXPECT_EQ(e_.DecaySpan(), 48000u * 2 * 2);

  // Meter 3/4: a measure is three beats.
  t120.Flags |= QX_METER_VALID;
  ASSERT_EQ(e_.Apply(p, RunContinue, &t120), S_OK);
  EXPECT_EQ(e_.DecaySpan(), static_cast<uint32_t>(48000.0 * 2 * 1.5));

  // Note and multiplier: dotted quarter x 1.5 at 120 bpm, decay on a 16th note x 3.
  p.DelayNote = 14;
  p.DelayMultiplier = 1500;
  p.DecayNote = 7;
  p.DecayMultiplier = 3000;
  ASSERT_EQ(e_.Apply(p, RunContinue, &t120), S_OK);
  EXPECT_EQ(e_.LineLength(), 54000u);
  EXPECT_EQ(e_.DecaySpan(), 36000u);

  // Frames are rounded, not truncated: a 64th-note triplet at 120 bpm and 44100 Hz is 918.75.
  Use(1, 44100);
  p.DelayNote = 0;
  p.DelayMultiplier = 1000;
  ASSERT_EQ(e_.Apply(p, RunFresh, &t120), S_OK);
  EXPECT_EQ(e_.LineLength(), 919u);
}

TEST_F(EchosEngineTest, LineRulesAcrossModes) {
  Use(1, 1000);
  const EchosParams p = MakeParams(0, 10, 1, 0, -800);
  ASSERT_EQ(e_.Apply(p, RunFresh, nullptr), S_OK);
  Run(3, 1.0);  // impulse due back at frame 10

  // Same length, RunContinue: the line stands.
  ASSERT_EQ(e_.Apply(p, RunContinue, nullptr), S_OK);
  EXPECT_EQ(e_.WritePosition(0), 3u);
  EXPECT_EQ(Run(10)[7], 1.0);

  Run(3, 1.0);
  // Same length, RunFresh: cleared and rewound.
  ASSERT_EQ(e_.Apply(p, RunFresh, nullptr), S_OK);
  EXPECT_EQ(e_.WritePosition(0), 0u);
  for (double v : Run(20)) EXPECT_EQ(v, 0.0);

  Run(3, 1.0);
  // New length in RunContinue: new empty line.
  ASSERT_EQ(e_.Apply(MakeParams(0, 11, 1, 0, -800), RunContinue, nullptr), S_OK);
  EXPECT_EQ(e_.LineLength(), 11u);
  EXPECT_EQ(e_.WritePosition(0), 0u);
  for (double v : Run(30)) EXPECT_EQ(v, 0.0);

  // Stop frees the lines but remembers the length; a block without lines passes through
  // untouched and asks for a new apply, which brings the lines back.
  e_.Stop();
  EXPECT_EQ(e_.LineLength(), 11u);
  EXPECT_EQ(Run(4, 0.25), (std::vector<double>{0.25, 0, 0, 0}));
  EXPECT_FALSE(e_.ParamsValid());
  ASSERT_EQ(e_.Apply(MakeParams(0, 11, 1, 0, 0), RunFresh, nullptr), S_OK);
  std::vector<double> out = Run(12, 0.25);
  EXPECT_EQ(out[0], 0.25);
  EXPECT_EQ(out[11], 0.25);
}

// A line too long to address fails as out of memory and keeps the old line usable.
TEST_F(EchosEngineTest, FailedAllocationKeepsOldLine) {
  Use(1, 48000);
  ASSERT_EQ(e_.Apply(MakeParams(0, 1, 1, 0, -800), RunFresh, nullptr), S_OK);
  ASSERT_EQ(e_.LineLength(), 48u);
  Run(1, 1.0);
  EchosParams huge = MakeParams(0, 1, 1, 0, -800);
  huge.TempoSyncDelay = 1;
  huge.DelayNote = 17;
  huge.DelayMultiplier = 4000;
  const QxTempoRecord slow{QX_TEMPO_VALID, 0.01, 4, 4, 0.0};
  EXPECT_EQ(e_.Apply(huge, RunContinue, &slow), E_OUTOFMEMORY);
  EXPECT_FALSE(e_.ParamsValid());
  EXPECT_EQ(e_.LineLength(), 48u);
  EXPECT_EQ(Run(48)[47], 1.0);
}

// Tail requests give at most TailFramesLeft frames, then 0 frames and result 1; an ordinary
// block afterwards forsakes the tail and asks for a new apply.
TEST_F(EchosEngineTest, TailRequestProtocol) {
  Use(2, 1000);
  ASSERT_EQ(e_.Apply(MakeParams(1, 10, 1, 0, 0), RunFresh, nullptr), S_OK);
  ASSERT_GT(e_.Feedback(), 0.0);
  const int32_t full = static_cast<int32_t>(e_.DecaySpan() + e_.LineLength());
  ASSERT_EQ(e_.TailFramesLeft(), full);
  std::vector<double> buf(64 * 2, 0.5);
  auto pull = [&](uint32_t frames, int32_t request, int expectResult) {
    uint32_t n = frames;
    EXPECT_EQ(e_.ProcessFloat64(RunContinue, buf.data(), &n, request), expectResult);
    return static_cast<int32_t>(n);
  };

  EXPECT_EQ(pull(64, 1, 0), 64);
  EXPECT_EQ(e_.TailFramesLeft(), full - 64);
  pull(5, 0, 0);  // an ordinary block in between restarts the count
  EXPECT_EQ(e_.TailFramesLeft(), full);
  int32_t given = 0;
  while (!e_.TailFinished()) given += pull(64, 1, 0);
  EXPECT_EQ(given, full);

  // Over: nothing given, buffer untouched, count ready for the next tail.
  buf.assign(buf.size(), 0.5);
  EXPECT_EQ(pull(64, 1, 1), 0);
  EXPECT_EQ(buf[0], 0.5);
  EXPECT_EQ(e_.TailFramesLeft(), full);
  EXPECT_TRUE(e_.ParamsValid());
  // Ordinary audio after the end forsakes the tail and asks for a new apply.
  EXPECT_EQ(pull(64, 0, 0), 64);
  EXPECT_FALSE(e_.ParamsValid());
  EXPECT_FALSE(e_.TailFinished());

  // Applying a new length restarts the request tail; with a single echo it is the line alone.
  while (!e_.TailFinished()) pull(64, 1, 0);
  ASSERT_EQ(e_.Apply(MakeParams(0, 12, 1, 0, 0), RunContinue, nullptr), S_OK);
  EXPECT_FALSE(e_.TailFinished());
  EXPECT_EQ(e_.TailFramesLeft(), 12);
}

// In RunTail each channel cuts the count to its own tail, and the cut holds for later channels.
TEST_F(EchosEngineTest, RunTailCutCarriesToLaterChannels) {
  Use(1, 1000);
  const EchosParams p = MakeParams(0, 10, 1, 0, 0);
  ASSERT_EQ(e_.Apply(p, RunFresh, nullptr), S_OK);
  Run(4, 0.0, RunTail);
  ASSERT_EQ(e_.TailLeft(0), 6u);
  // A second channel appears with the same line length: it gets a fresh line and a full tail.
  fmt_ = FormatOf<QxFloat64Form>(2, 1000);
  ASSERT_EQ(e_.Apply(p, RunContinue, nullptr), S_OK);
  ASSERT_EQ(e_.TailLeft(1), 10u);
  std::vector<double> buf(2 * 8, 0.0);
  uint32_t n = 8;
  EXPECT_EQ(e_.ProcessFloat64(RunTail, buf.data(), &n, 0), 1);
  EXPECT_EQ(n, 6u);
  EXPECT_EQ(e_.TailLeft(0), 0u);
  EXPECT_EQ(e_.TailLeft(1), 4u);
  EXPECT_EQ(e_.WritePosition(1), 6u);
}

// 8-bit tails ignore whatever the buffer holds and treat it as silence.
TEST_F(EchosEngineTest, Pcm8TailReadsNoInput) {
  WAVEFORMATEX f8 = FormatOf<QxPcm8Form>(1, 1000);
  e_.SetFormat(&f8);
  ASSERT_EQ(e_.Apply(MakeParams(0, 10, 1, 0, 0), RunFresh, nullptr), S_OK);
  std::vector<uint8_t> buf(5, 128);
  buf[0] = 192;
  uint32_t n = 5;
  e_.ProcessPcm8(RunContinue, buf.data(), &n, 0);
  std::vector<uint8_t> tail(10, 7);
  n = 10;
  EXPECT_EQ(e_.ProcessPcm8(RunTail, tail.data(), &n, 0), 1);
  EXPECT_EQ(n, 10u);
  for (uint32_t i = 0; i < 10; ++i) EXPECT_EQ(tail[i], i == 5 ? 192 : 128) << i;
}

TEST_F(EchosEngineTest, BypassLatchEmptiesLinesOnce) {
  Use(1, 1000);
  ASSERT_EQ(e_.Apply(MakeParams(0, 10, 1, 0, -800), RunFresh, nullptr), S_OK);
  EXPECT_TRUE(e_.BypassGate(0));
  Run(3, 1.0);
  EXPECT_FALSE(e_.BypassGate(1));
  EXPECT_TRUE(e_.BypassLatched());
  EXPECT_EQ(e_.WritePosition(0), 3u);
  // Latched: a later bypassed block does not empty the line again.
  Run(1, 1.0);
  EXPECT_FALSE(e_.BypassGate(1));
  EXPECT_TRUE(e_.BypassGate(0));
  EXPECT_FALSE(e_.BypassLatched());
  std::vector<double> out = Run(20);
  for (size_t i = 0; i < out.size(); ++i) EXPECT_EQ(out[i], i == 9 ? 1.0 : 0.0) << i;
}

}  // namespace
