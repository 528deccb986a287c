// Tests of the reverb engine and its tables: derivations at rebuild and update, the block loops
// against a per-sample model in every sample form and channel count, block-cut independence,
// the tail counters and gate, bypass, and the two stereo forms.
#include "aplugins/qxppack1/reverb/reverb_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "aplugins/qxppack1/frame/sample_form.h"
#include "kernel/services/qx_cpu.h"
#include "tests/reverb/reverb_reference.h"
#include "tests/support/engine_blocks.h"
#include "tests/support/formats.h"

namespace {

ReverbParams Preset(int row) { return g_ReverbPresets[row].Params; }

// The engine reads its stereo form at construction; the environment mask picks it.
std::unique_ptr<CQxReverbEngine> MakeEngine(bool fast) {
  setenv(QX_CPU_MASK_ENV, fast ? "0xFFFFFFFF" : "0", 1);
  auto e = std::make_unique<CQxReverbEngine>();
  unsetenv(QX_CPU_MASK_ENV);
  return e;
}

// An engine streaming `p` on `format`: started, then fed in blocks of the given sizes (cycled).
struct Rig {
  WAVEFORMATEX format;
  QxReverbFixedParams source;
  std::unique_ptr<CQxReverbEngine> engine;
  Rig(const WAVEFORMATEX& f, const ReverbParams& p, bool fast = false) : format(f), engine(MakeEngine(fast)) {
    source.params = p;
    engine->SetFormat(&format);
    EXPECT_EQ(engine->InitialiseStream(p), S_OK);
  }
  template <class S>
  void Feed(std::vector<S>& buf, const std::vector<uint32_t>& blocks, QxRunMode mode = RunContinue) {
    FeedInBlocks(buf, format.nChannels, blocks,
                 [&](S* b, uint32_t* n) { return ProcessAs(*engine, mode, b, n, 0, source); });
  }
};

// Every field is changed from preset 0 somewhere in these; they run with a short decay so the
// tails stay busy over a few thousand frames.
std::vector<ReverbParams> Variety() {
  std::vector<ReverbParams> v;
  ReverbParams a = Preset(3);  // Cathedral: mode 8, style 5, bass and high on
  a.earlyOut = -100;
  v.push_back(a);
  ReverbParams b = Preset(9);  // Plate: highs off, 9 combs
  b.bassFreqHz = 700;          // the second bass design branch
  v.push_back(b);
  ReverbParams c = Preset(4);  // Dense room: 8 combs, 1 ms pre-delay
  c.bassOn = 0;
  c.dryOut = -60;
  v.push_back(c);
  return v;
}

template <class F>
void ExpectMatchesReference(WORD channels) {
  for (const ReverbParams& p : Variety()) {
    const DWORD fs = 22050;
    const size_t frames = 3000;
    std::vector<typename F::Sample> in = Noise<F>(frames * channels, 7 + channels);
    std::vector<typename F::Sample> whole = in, cut = in;
    Rig a(FormatOf<F>(channels, fs), p), b(FormatOf<F>(channels, fs), p);
    a.Feed(whole, {static_cast<uint32_t>(frames)});
    b.Feed(cut, {1, 7, 333, 64, 1000, 5});
    ASSERT_EQ(whole, cut) << "block cuts changed the result, " << channels << " channels";

    RefReverb ref(p, channels, fs);
    std::vector<double> frame(channels);
    for (size_t i = 0; i < frames; ++i) {
      for (int c = 0; c < channels; ++c) frame[c] = F::Read(in[i * channels + c]);
      ref.Frame(frame.data());
      for (int c = 0; c < channels; ++c)
        ASSERT_EQ(whole[i * channels + c], F::Write(frame[c])) << "frame " << i << " channel " << c << " of "
                                                                << channels << ", mode " << p.reverbMode;
    }
  }
}

}  // namespace

TEST(ReverbTaps, TwoCompareAndSwapsMoveGainsWithTapsAndLeaveTheLastLongest) {
  int32_t taps[3] = {30, 20, 10};
  double gains[3][2] = {{1, 2}, {3, 4}, {5, 6}};
  QxReverbOrderTaps(taps, gains);
  EXPECT_EQ(taps[0], 20);
  EXPECT_EQ(taps[1], 10);  // no third comparison
  EXPECT_EQ(taps[2], 30);
  EXPECT_EQ(gains[0][1], 4);
  EXPECT_EQ(gains[1][0], 5);
  EXPECT_EQ(gains[2][0], 1);
  int32_t sorted[3] = {1, 2, 3};
  QxReverbOrderTaps(sorted, gains);
  EXPECT_EQ(sorted[0], 1);
  EXPECT_EQ(sorted[2], 3);
}

TEST(ReverbEngine, RebuildDerivesCombsTapsPreDelayAndTailAt44100) {
  ReverbParams p = Preset(0);  // mode 0, style 3, 2.5 s, 30 ms
  Rig st(FormatOf<QxPcm16Form>(2, 44100), p);
  const CQxReverbEngine& e = *st.engine;
  EXPECT_EQ(e.CombCount(), 10);
  EXPECT_EQ(e.TailTotal(), 2 * 44100);  // 2.5 s truncated to 2
  EXPECT_EQ(e.PreDelayLength(), 1323u);
  const CombLine& l0 = e.Channel(0).comb[0];
  EXPECT_EQ(l0.lengthSamples, std::trunc(44100 * 0.023583 + 0.5));
  EXPECT_EQ(l0.end - l0.base, 1040);
  EXPECT_DOUBLE_EQ(l0.gain, std::pow(10.0, 0.023583 * -3.0 / 2.5));
  EXPECT_EQ(e.Channel(1).comb[0].end - e.Channel(1).comb[0].base, std::lround(44100 * 0.023583 * 0.93));
  EXPECT_EQ(e.Channel(1).comb[1].lengthSamples, std::trunc(44100 * 0.047049 * 1.06 + 0.5));
  EXPECT_EQ(e.Channel(1).comb[2].base, nullptr);  // the right side shares combs from 2 on
  EXPECT_EQ(e.EarlyTapDelay(0), 708u);              // (16.011 + 0.051) ms
  EXPECT_EQ(e.EarlyTapDelay(1), 1332u);             // (30.058 + 0.151) ms
  EXPECT_EQ(e.EarlyTapDelay(2), 2429u);             // (55.013 + 0.078) ms
  EXPECT_DOUBLE_EQ(e.EarlyGain(0, 0), (1 - 0.82) * 79);  // pan 64
  EXPECT_DOUBLE_EQ(e.EarlyGain(1, 1), 0.0 * -80);        // pan -100: all left
  EXPECT_DOUBLE_EQ(e.EarlyOutGain(), std::pow(10.0, -1.0) / 100.0);
  EXPECT_DOUBLE_EQ(e.ReverbOutGain(), std::pow(10.0, -1.75));
  EXPECT_EQ(e.DryOutGain(), 1.0);
  EXPECT_DOUBLE_EQ(e.PoleA(), std::exp(12000 * -12.56637061436 / 44100));

  // Mono and more than two channels: every channel owns all combs, and pans play no part.
  Rig six(FormatOf<QxFloat32Form>(6, 44100), p);
  EXPECT_EQ(six.engine->Channel(5).comb[9].end - six.engine->Channel(5).comb[9].base, 879);
  EXPECT_EQ(six.engine->Channel(5).comb[9].gain, six.engine->Channel(0).comb[9].gain);
  EXPECT_EQ(six.engine->EarlyGain(0, 0), 79.0);
}

TEST(ReverbEngine, DecayIsTruncatedToWholeSecondsSoUnderOneSecondHasNoTail) {
  ReverbParams p = Preset(0);
  p.decayTenths = 9;
  Rig r(FormatOf<QxPcm16Form>(1, 8000), p);
  EXPECT_EQ(r.engine->TailTotal(), 0);
  std::vector<int16_t> buf(64, 0);
  uint32_t n = 64;
  EXPECT_EQ(ProcessAs(*r.engine, RunTail, buf.data(), &n, 0, r.source), 1);
  EXPECT_EQ(n, 0u);

  p.decayTenths = 19;
  Rig s(FormatOf<QxPcm16Form>(1, 8000), p);
  EXPECT_EQ(s.engine->TailTotal(), 8000);
  n = 64;
  EXPECT_EQ(ProcessAs(*s.engine, RunTail, buf.data(), &n, 0, s.source), 0);
  EXPECT_EQ(s.engine->TailLeft(), 8000 - 64);
}

TEST(ReverbEngine, PreDelayOfLSamplesDelaysTheReverbByLMinusOne) {
  // Reverb path alone, mono float: the first comb echo shows when the reverb starts.
  auto firstNonZero = [](int preDelayMs) {
    ReverbParams p = Preset(0);
    p.dryOut = -800;
    p.earlyOut = -800;
    p.preDelayMs = preDelayMs;
    Rig r(FormatOf<QxFloat64Form>(1, 44100), p);
    std::vector<double> buf(3000, 0.0);
    buf[0] = 1.0;
    r.Feed(buf, {3000});
    for (size_t i = 0; i < buf.size(); ++i)
      if (buf[i] != 0.0) return std::pair<int, uint32_t>(static_cast<int>(i), r.engine->PreDelayLength());
    return std::pair<int, uint32_t>(-1, 0u);
  };
  auto [at0, len0] = firstNonZero(0);
  auto [at1, len1] = firstNonZero(1);
  EXPECT_EQ(len0, 1u);
  EXPECT_EQ(len1, 44u);
  EXPECT_EQ(at0, 879);  // the shortest comb of mode 0: 19.941 ms
  EXPECT_EQ(at1 - at0, 43);
}

TEST(ReverbEngine, EarlyOutAtSilenceMutesTheEarlyPathWhileItsRingsRun) {
  ReverbParams p = Preset(0);
  p.dryOut = p.reverbOut = p.earlyOut = -800;
  Rig r(FormatOf<QxFloat64Form>(1, 44100), p);
  std::vector<double> buf(1000, 0.0);
  buf[0] = 1.0;
  r.Feed(buf, {1000});
  for (double v : buf) ASSERT_EQ(v, 0.0);
  EXPECT_EQ(r.engine->EarlyOutGain(), 0.0);
  // Unmuted by an update (no rebuild), the impulse written 1000 frames ago is still in the ring:
  // it reaches the longest tap (2429 frames) on time.
  r.source.params.earlyOut = 0;
  r.source.changed = true;
  std::vector<double> more(2000, 0.0);
  r.Feed(more, {2000});
  EXPECT_DOUBLE_EQ(more[2429 - 1000], 40.0 / 100.0);
  EXPECT_DOUBLE_EQ(more[1332 - 1000], -80.0 / 100.0);  // tap 1 at 1332 frames
  // An earlyOut just above silence is a tiny gain, not a mute.
  p.earlyOut = -799;
  Rig q(FormatOf<QxFloat64Form>(1, 44100), p);
  EXPECT_GT(q.engine->EarlyOutGain(), 0.0);
}

TEST(ReverbEngine, WithHighsOffTheCombFeedbackIsUndamped) {
  ReverbParams p = Preset(0);
  p.highOn = 0;
  p.bassOn = 0;
  Rig r(FormatOf<QxFloat64Form>(1, 44100), p);
  EXPECT_EQ(r.engine->PoleA(), 0.0);
  EXPECT_EQ(r.engine->PoleB(), 1.0);
  // The shortest comb (879) reads the impulse back as its gain; its state takes that value whole.
  std::vector<double> buf(880, 0.0);
  buf[0] = 1.0;
  r.Feed(buf, {880});
  const CombLine& c = r.engine->Channel(0).comb[9];
  EXPECT_EQ(c.state, c.gain);
  // A corner at or above the rate is the same transparent stage.
  p.highOn = 1;
  p.highFreqHz = 8000;
  Rig s(FormatOf<QxFloat64Form>(1, 8000), p);
  EXPECT_EQ(s.engine->PoleA(), 0.0);
  p.highFreqHz = 7999;
  Rig t(FormatOf<QxFloat64Form>(1, 8000), p);
  EXPECT_GT(t.engine->PoleA(), 0.0);
}

TEST(ReverbEngine, MonoAndFourChannelsIgnorePanWhileStereoDoesNot) {
  // Styles 1 and 6 differ only in their pans.
  auto run = [](WORD channels, int style) {
    ReverbParams p = Preset(0);
    p.reflectionStyle = style;
    p.earlyOut = 0;
    Rig r(FormatOf<QxFloat32Form>(channels, 22050), p);
    std::vector<float> buf = Noise<QxFloat32Form>(2000 * channels, 3);
    r.Feed(buf, {2000});
    return buf;
  };
  EXPECT_EQ(run(1, 1), run(1, 6));
  EXPECT_EQ(run(4, 1), run(4, 6));
  EXPECT_NE(run(2, 1), run(2, 6));
}

TEST(ReverbEngine, BassOffThenOnClearsItsStatesAndAFrequencyChangeKeepsThem) {
  ReverbParams p = Preset(0);
  Rig r(FormatOf<QxFloat64Form>(1, 44100), p);
  std::vector<double> buf = Noise<QxFloat64Form>(500, 5);
  r.Feed(buf, {500});
  const BassFilter before = r.engine->Channel(0).bass;
  ASSERT_NE(before.s1, 0.0);

  r.source.params.bassFreqHz = 300;  // redesign while on: states stay
  r.source.changed = true;
  uint32_t n = 0;
  ProcessAs(*r.engine, RunContinue, buf.data(), &n, 0, r.source);
  EXPECT_EQ(r.engine->Channel(0).bass.s1, before.s1);
  EXPECT_NE(r.engine->Channel(0).bass.b1, before.b1);

  r.source.params.bassOn = 0;
  r.source.changed = true;
  ProcessAs(*r.engine, RunContinue, buf.data(), &n, 0, r.source);
  EXPECT_EQ(r.engine->Channel(0).bass.s1, before.s1);  // off: nothing is designed or cleared
  r.source.params.bassOn = 1;
  r.source.changed = true;
  ProcessAs(*r.engine, RunContinue, buf.data(), &n, 0, r.source);
  EXPECT_EQ(r.engine->Channel(0).bass.s1, 0.0);
  EXPECT_EQ(r.engine->Channel(0).bass.s2, 0.0);
}

TEST(ReverbEngine, BypassLeavesSamplesBitExactWhileTheTailCountersRun) {
  ReverbParams p = Preset(0);
  p.decayTenths = 10;
  p.bypass = 1;
  Rig r(FormatOf<QxPcm16Form>(2, 1000), p);  // a one-second tail is 1000 frames
  std::vector<int16_t> in = Noise<QxPcm16Form>(2 * 300, 9);
  std::vector<int16_t> buf = in;
  r.Feed(buf, {300});
  EXPECT_EQ(buf, in);
  const CombLine before = r.engine->Channel(0).comb[3];
  std::vector<int16_t> tail(2 * 600, 123);
  uint32_t n = 600;
  EXPECT_EQ(ProcessAs(*r.engine, RunTail, tail.data(), &n, 0, r.source), 0);
  EXPECT_EQ(n, 600u);
  n = 600;
  EXPECT_EQ(ProcessAs(*r.engine, RunTail, tail.data(), &n, 0, r.source), 1);
  EXPECT_EQ(n, 400u);
  for (int16_t v : tail) ASSERT_EQ(v, 123);
  EXPECT_EQ(r.engine->Channel(0).comb[3].cursor, before.cursor);  // no delay memory moved
}

TEST(ReverbEngine, TailRequestBlocksRunForTheTailThenTheGateSleepsUntilAnOrdinaryBlock) {
  ReverbParams p = Preset(0);
  p.decayTenths = 10;
  Rig r(FormatOf<QxPcm16Form>(1, 1000), p);
  std::vector<int16_t> buf(700, 0);
  uint32_t n = 1;
  // The gate's count is loaded by ordinary blocks, not by the start of a stream.
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 1, r.source), 0);
  EXPECT_EQ(n, 0u);
  EXPECT_TRUE(r.engine->Asleep());
  n = 1;
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 0, r.source), 0);
  n = 700;
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 1, r.source), 0);
  EXPECT_EQ(n, 700u);
  n = 700;
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 1, r.source), 0);
  EXPECT_EQ(n, 300u);
  EXPECT_TRUE(r.engine->Asleep());
  n = 700;
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 1, r.source), 1);
  EXPECT_EQ(n, 0u);
  n = 10;  // an ordinary block wakes it with a full count
  EXPECT_EQ(ProcessAs(*r.engine, RunContinue, buf.data(), &n, 0, r.source), 0);
  EXPECT_EQ(n, 10u);
  EXPECT_FALSE(r.engine->Asleep());
  EXPECT_EQ(r.engine->SilenceLeft(), 1000);
}

TEST(ReverbEngine, UpdateRetunesGainsOnlyAndARebuildOrAFreshStreamRenewsTheRings) {
  ReverbParams p = Preset(0);  // mode 0: 10 combs
  p.highOn = 0;  // channel 0's input state outlives a fresh start; with highs off it holds nothing
  Rig r(FormatOf<QxFloat64Form>(1, 44100), p);
  std::vector<double> buf = Noise<QxFloat64Form>(200, 2);
  r.Feed(buf, {200});
  const double* ring = r.engine->Channel(0).comb[0].base;
  r.source.params.reverbMode = 1;  // 8 combs, other delays
  r.source.changed = true;
  r.Feed(buf, {200});
  const CombLine& c = r.engine->Channel(0).comb[0];
  EXPECT_EQ(r.engine->CombCount(), 10);
  EXPECT_EQ(c.base, ring);
  EXPECT_EQ(c.end - c.base, 1040);                                 // old length
  EXPECT_EQ(c.lengthSamples, std::trunc(44100 * 0.023161 + 0.5));  // new, not yet in force
  EXPECT_DOUBLE_EQ(c.gain, std::pow(10.0, 0.023161 * -3.0 / 2.5));
  EXPECT_EQ(r.engine->Channel(0).comb[9].gain, std::pow(10.0, 0.0099256 * -3.0 / 2.5));

  r.engine->SetNeedsRebuild(true);
  r.source.changed = true;
  r.Feed(buf, {200});
  EXPECT_EQ(r.engine->CombCount(), 8);
  EXPECT_EQ(r.engine->Channel(0).comb[0].end - r.engine->Channel(0).comb[0].base, 1021);

  // RunFresh on a touched stream starts afresh: all rings zero, so silence in gives silence out.
  std::vector<double> silence(3000, 0.0);
  r.Feed(silence, {3000}, RunFresh);
  for (double v : silence) ASSERT_EQ(v, 0.0);
}

TEST(ReverbEngine, EveryFormAndChannelCountMatchesThePerSampleModelWhateverTheBlockCuts) {
  for (WORD ch : {1, 2, 3, 6, 32}) {
    ExpectMatchesReference<QxPcm8Form>(ch);
    ExpectMatchesReference<QxPcm16Form>(ch);
    ExpectMatchesReference<QxPcm32Form>(ch);
    ExpectMatchesReference<QxFloat32Form>(ch);
    ExpectMatchesReference<QxFloat64Form>(ch);
  }
}

TEST(ReverbEngine, PlainAndFastStereoFormsAgreeWithinTheirStatedDifferences) {
  for (int bass : {0, 1}) {
    ReverbParams p = Preset(3);
    p.bassOn = bass;
    Rig plain(FormatOf<QxFloat64Form>(2, 44100), p, false);
    Rig fast(FormatOf<QxFloat64Form>(2, 44100), p, true);
    if (!fast.engine->FastStereo()) GTEST_SKIP() << "no fast form on this processor";
    ASSERT_FALSE(plain.engine->FastStereo());
    std::vector<double> a = Noise<QxFloat64Form>(2 * 20000, 11), b = a;
    plain.Feed(a, {4096});
    fast.Feed(b, {4096});
    // Without the bass stage only the flushes (below 2^-32) and the comb pairing's summing order
    // differ; with it the plain form also rounds v - s1 to single precision.
    const double tol = bass ? 1e-5 : 1e-9;
    double worst = 0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::fabs(a[i] - b[i]));
    EXPECT_LT(worst, tol) << "bass " << bass;
    EXPECT_GT(worst, 0.0) << "the two forms should not be the same code";
  }
}

TEST(ReverbEngine, TheProcessorMaskPicksTheFormAndTheFastFormSetsTheDenormalFlags) {
  EXPECT_FALSE(MakeEngine(false)->FastStereo());
  setenv(QX_CPU_MASK_ENV, "0xFBF", 1);  // everything but bit 0x40
  EXPECT_EQ(QxGetCPUSupport(QX_CPU_SSE2), 0u);
  unsetenv(QX_CPU_MASK_ENV);
#if defined(__x86_64__)
  EXPECT_NE(QxGetCPUSupport(0xFF0) & QX_CPU_SSE2, 0u);  // every x86-64 processor has it
  EXPECT_TRUE(MakeEngine(true)->FastStereo());
  EXPECT_TRUE(QxCpu_FlushDenormalsOn());
#endif
}
