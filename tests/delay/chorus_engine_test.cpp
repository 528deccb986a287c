// Chorus engine: exact impulse responses per layout, which voices run per form, agreement of the
// five sample forms and the channel layouts, block-size independence, the update's asymmetries,
// tempo-synced periods and the edge cases of gains, delays and the read point.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_engine.h"
#include "tests/support/engine_blocks.h"
#include "tests/support/formats.h"

namespace {
double Level(int g) { return g > -600 ? std::pow(10.0, g / 200.0) : 0.0; }

ChorusParams Base() { return g_ChorusPresets[0].Params; }

// 8000 Hz and outDelay 50 give delays of 40, 32 and 45 frames, and modDepth 1 no modulation.
ChorusParams Fixed(int size, int feedback = 0) {
  ChorusParams p = Base();
  p.chorusSize = size;
  p.feedback = feedback;
  p.outDelay = 50;
  p.modDepth = 1;
  return p;
}

struct Rig {
  WAVEFORMATEX f;
  CQxChorusEngine e;
  Rig(WORD tag, WORD channels, WORD bits, DWORD rate, const ChorusParams& p) : f(PlainFormat(tag, channels, bits, rate)) {
    e.SetFormat(&f);
    EXPECT_EQ(e.Allocate(), S_OK);
    EXPECT_EQ(e.Update(p, false, nullptr), S_OK);
  }
  void Run(double* b, uint32_t n) { e.ProcessFloat64(b, n); }
  void Run(float* b, uint32_t n) { e.ProcessFloat32(b, n); }
  void Run(int32_t* b, uint32_t n) { e.ProcessPcm32(b, n); }
  void Run(int16_t* b, uint32_t n) { e.ProcessPcm16(b, n); }
  void Run(uint8_t* b, uint32_t n) { e.ProcessPcm8(b, n); }
};

std::unique_ptr<Rig> Float64(WORD channels, const ChorusParams& p, DWORD rate = 8000) {
  return std::make_unique<Rig>(WAVE_FORMAT_IEEE_FLOAT, channels, 64, rate, p);
}

}  // namespace

TEST(ChorusEngine, LineLengthIsFifthOfASecondPlus100AndSetupDesignsOnce) {
  for (auto [rate, n] : {std::pair<DWORD, uint32_t>{44100, 8920}, {8000, 1700}, {22050, 4510}, {96000, 19300}}) {
    auto r = Float64(2, Base(), rate);
    EXPECT_EQ(r->e.DelayFrames(), n) << rate;
    EXPECT_TRUE(r->e.DesignValid());
    EXPECT_EQ(r->e.UpdateFlags(), QX_CHORUS_LIGHT);  // never 0 after a design
    for (int v = 0; v < 3; ++v) EXPECT_EQ(r->e.WriteIndex(v), 0);
  }
}

TEST(ChorusEngine, OneVoiceMonoImpulseIsExactWithFeedback) {
  ChorusParams p = Fixed(1, 50);
  p.inputGain = -20;
  auto r = Float64(1, p);
  EXPECT_EQ(r->e.BaseDelay(), 40.0);
  EXPECT_EQ(r->e.ModAmplitude(), 0.0);  // truncated: a fixed delay with the oscillator running
  std::vector<double> b(200, 0.0);
  b[0] = 1.0;
  r->Run(b.data(), 200);
  const double in = Level(-20), dry = Level(-60), g0 = 0.9 * Level(-44);
  for (int t = 0; t < 200; ++t) {
    double want = 0.0;
    if (t == 0) want = in * dry;
    if (t == 40) want = in * g0;
    if (t == 80) want = in * 0.5 * g0;
    if (t == 120) want = in * 0.5 * 0.5 * g0;
    if (t == 160) want = in * 0.5 * 0.5 * 0.5 * g0;
    EXPECT_EQ(b[t], want) << t;
  }
}

TEST(ChorusEngine, StereoVoiceZeroTakesTheWetGainTwiceAndIgnoresThePhaseFlip) {
  for (int invert : {0, 1}) {
    ChorusParams p = Fixed(1);
    p.invertChorusPhase = invert;
    auto st = Float64(2, p);
    auto mono = Float64(1, p);
    std::vector<double> s(2 * 60, 0.0), m(60, 0.0);
    s[0] = s[1] = m[0] = 1.0;
    st->Run(s.data(), 60);
    mono->Run(m.data(), 60);
    const double wet = invert ? -Level(-44) : Level(-44);
    EXPECT_EQ(s[80], 0.9 * wet * (0.9 * wet));
    EXPECT_EQ(s[81], 0.9 * wet * (0.95 * wet));
    EXPECT_EQ(m[40], 0.9 * wet);  // mono follows the flip
  }
}

TEST(ChorusEngine, MonoIntegerAtSizeThreeSkipsVoiceOne) {
  // Voice 1 (32 frames) passes the dry impulse on at frame 32; voice 2 (45 frames) at frame 45.
  struct Case {
    const char* name;
    WORD tag, channels;
    int size;
    bool voiceOne;
  } cases[] = {{"mono pcm32 at size 3", 1, 1, 3, false}, {"stereo pcm32", 1, 2, 3, true},
               {"three-channel pcm32", 1, 3, 3, true},    {"mono float32", 3, 1, 3, true},
               {"mono pcm32 at size 2", 1, 1, 2, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Rig r(c.tag, c.channels, 32, 8000, Fixed(c.size));
    std::vector<int32_t> i32(64 * c.channels, 0);
    std::vector<float> f32(64 * c.channels, 0.0f);
    for (int ch = 0; ch < c.channels; ++ch) i32[ch] = 1 << 30, f32[ch] = 0.5f;
    if (c.tag == 1) r.Run(i32.data(), 64); else r.Run(f32.data(), 64);
    auto heard = [&](int t) { return c.tag == 1 ? i32[t * c.channels] != 0 : f32[t * c.channels] != 0.0f; };
    EXPECT_EQ(heard(32), c.voiceOne);
    EXPECT_TRUE(c.size != 3 || heard(45));  // size 2 has no voice 2
  }
}

namespace {
// Every form gives the double routine's result written in that form, for any channel count; the
// mono single-precision routine alone differs, as it narrows between voices.
template <class Form>
void FormAgreesWithDouble(WORD channels, const ChorusParams& p) {
  using S = typename Form::Sample;
  const uint32_t frames = 3000;
  std::vector<double> src = Noise(size_t{frames} * channels, 7 + channels, 0.7);
  std::vector<S> in(src.size());
  std::vector<double> ref(src.size());
  for (size_t k = 0; k < src.size(); ++k) {
    in[k] = Form::Write(src[k]);
    ref[k] = Form::Read(in[k]);
  }
  const WAVEFORMATEX f = FormatOf<Form>(channels, 44100);
  Rig a(f.wFormatTag, channels, f.wBitsPerSample, 44100, p);
  auto b = Float64(channels, p, 44100);
  a.Run(in.data(), frames);
  b->Run(ref.data(), frames);
  for (size_t k = 0; k < in.size(); ++k) ASSERT_EQ(in[k], Form::Write(ref[k])) << k << " ch " << channels;
}
}  // namespace

TEST(ChorusEngine, AllFormsAndChannelCountsAgreeWithTheDoubleRoutine) {
  ChorusParams p = g_ChorusPresets[11].Params;  // "Chorus 2": two voices, feedback, modulation
  p.attenuateHigh = 1;
  p.attenuationFrequency = 3000;
  for (WORD ch : {1, 2, 3, 6, 32}) {
    FormAgreesWithDouble<QxPcm8Form>(ch, p);
    FormAgreesWithDouble<QxPcm16Form>(ch, p);
    FormAgreesWithDouble<QxPcm32Form>(ch, p);
    if (ch != 1) FormAgreesWithDouble<QxFloat32Form>(ch, p);
  }
  // A single voice has nothing to narrow between.
  p.chorusSize = 1;
  FormAgreesWithDouble<QxFloat32Form>(1, p);
}

TEST(ChorusEngine, MonoFloat32NarrowsBetweenVoices) {
  ChorusParams p = g_ChorusPresets[10].Params;
  const uint32_t frames = 4000;
  std::vector<double> src = Noise(frames, 3);
  std::vector<float> f(src.begin(), src.end());
  std::vector<double> d(f.begin(), f.end());
  Rig a(3, 1, 32, 44100, p);
  auto b = Float64(1, p, 44100);
  a.Run(f.data(), frames);
  b->Run(d.data(), frames);
  int differ = 0;
  for (uint32_t t = 0; t < frames; ++t) {
    ASSERT_NEAR(f[t], d[t], 1e-6);
    differ += f[t] != static_cast<float>(d[t]);
  }
  EXPECT_GT(differ, 0);
}

TEST(ChorusEngine, ManyChannelsRunEachChannelAsMonoWithOneSharedOscillator) {
  ChorusParams p = g_ChorusPresets[12].Params;  // three voices
  const uint32_t frames = 2500;
  for (WORD ch : {3, 6, 32}) {
    std::vector<double> all = Noise(size_t{frames} * ch, ch);
    auto many = Float64(ch, p, 44100);
    std::vector<double> out = all;
    many->Run(out.data(), frames);
    for (WORD c : {WORD(0), WORD(ch - 1)}) {
      std::vector<double> one(frames);
      for (uint32_t t = 0; t < frames; ++t) one[t] = all[size_t{t} * ch + c];
      auto mono = Float64(1, p, 44100);
      mono->Run(one.data(), frames);
      for (uint32_t t = 0; t < frames; ++t) ASSERT_EQ(out[size_t{t} * ch + c], one[t]) << ch << "/" << c;
    }
  }
}

TEST(ChorusEngine, ResultDoesNotDependOnBlockSizes) {
  ChorusParams p = g_ChorusPresets[23].Params;  // "Hard flange": deep modulation, 90 % feedback
  p.chorusSize = 3;
  const uint32_t frames = 6000;
  std::vector<double> src = Noise(frames * 2, 11);
  auto whole = Float64(2, p, 44100);
  std::vector<double> a = src;
  whole->Run(a.data(), frames);
  auto cut = Float64(2, p, 44100);
  std::vector<double> b = src;
  FeedInBlocks(b, 2, {1, 7, 13, 64, 333, 1}, [&](double* s, uint32_t* n) { return cut->Run(s, *n), 0; });
  EXPECT_EQ(a, b);
}

TEST(ChorusEngine, AttenuationAtHalfTheRateIsAPassThroughThatStillZeroesTinyValues) {
  ChorusParams p = Fixed(1);
  p.attenuateHigh = 1;
  p.attenuationFrequency = 4000;
  p.dryOut = -600;
  auto r = Float64(1, p);
  EXPECT_EQ(r->e.LowPassA(), 0.0);
  EXPECT_EQ(r->e.LowPassB(), 1.0);
  std::vector<double> tiny(200, 1e-11), loud(200, 1e-9);
  r->Run(tiny.data(), 200);
  for (double x : tiny) EXPECT_EQ(x, 0.0);
  auto r2 = Float64(1, p);
  r2->Run(loud.data(), 200);
  EXPECT_EQ(loud[100], 1e-9 * (0.9 * Level(-44)));
  p.attenuationFrequency = 3999;
  auto r3 = Float64(1, p);
  EXPECT_EQ(r3->e.LowPassA(), std::exp(3999 * -6.28318530718 / 8000));
  EXPECT_EQ(r3->e.LowPassB(), 1.0 - r3->e.LowPassA());
}

TEST(ChorusEngine, InputGainAtMinus600IsExactSilenceAndMinus599IsNot) {
  for (int g : {-600, -599}) {
    ChorusParams p = g_ChorusPresets[11].Params;
    p.inputGain = g;
    auto r = Float64(2, p, 44100);
    std::vector<double> b = Noise(2 * 4000, 5);
    r->Run(b.data(), 4000);
    bool silent = true;
    for (double x : b) silent = silent && x == 0.0;
    for (uint32_t k = 0; k < 2 * r->e.DelayFrames(); ++k)
      silent = silent && r->e.Line(0)[k] == 0.0 && r->e.Line(1)[k] == 0.0;
    EXPECT_EQ(silent, g == -600);
  }
}

TEST(ChorusEngine, ShortestDelayBelow10kHzReadsTheFrameAboutToBeOverwritten) {
  ChorusParams p = Fixed(1);
  p.outDelay = 1;
  p.dryOut = -600;
  auto r = Float64(1, p);
  EXPECT_EQ(r->e.BaseDelay(), 0.0);
  const uint32_t n = r->e.DelayFrames();
  std::vector<double> b(n + 10, 0.0);
  b[0] = 1.0;
  r->Run(b.data(), n + 10);
  for (uint32_t t = 0; t < n + 10; ++t) EXPECT_EQ(b[t], t == n ? 0.9 * Level(-44) : 0.0) << t;
}

TEST(ChorusEngine, ReadPointRoundingUpToTheLineLengthIsFrameZero) {
  int32_t i, j;
  double f;
  QxChorusReadPoint(1700.0 - 1.6e-12, 1700, &i, &j, &f);
  EXPECT_EQ(i, 0);
  EXPECT_EQ(j, 1);
  EXPECT_LT(std::fabs(f), 1e-11);
  QxChorusReadPoint(1699.75, 1700, &i, &j, &f);
  EXPECT_EQ(i, 1699);
  EXPECT_EQ(j, 0);
  EXPECT_EQ(f, 0.75);
  QxChorusReadPoint(12.0 - 1e-12, 1700, &i, &j, &f);  // just below a whole number: still its floor
  EXPECT_EQ(i, 12);
  EXPECT_LT(f, 0.0);
  // "Echo-vibrato 4" at 8000 Hz reaches read position 0 at a half period (frame 4200), where the
  // ten-digit 2 pi puts the sine a hair below zero.
  auto r = Float64(1, g_ChorusPresets[19].Params);
  std::vector<double> b = Noise(5000, 9);
  r->Run(b.data(), 5000);
  for (double x : b) ASSERT_TRUE(std::isfinite(x));
}

TEST(ChorusEngine, SubSamplePeriodFromTempoIsLeftZeroByTheDesignAndRepairedByTheLightUpdate) {
  ChorusParams p = Fixed(1);
  p.modDepth = 100;
  p.tempoSync = 1;
  p.modPeriodNote = 0;         // a 64th-note triplet
  p.modPeriodMultiplier = 1;   // times 0.001
  auto r = Float64(1, p);
  // Setup has no tempo record at all: the rate decides.
  EXPECT_EQ(r->e.LfoSeconds(), 1000.0 / 800);
  const QxTempoRecord none{};  // no host maps: a 2-second beat
  r->e.SetUpdateFlags(QX_CHORUS_DESIGN);
  ASSERT_EQ(r->e.Update(p, true, &none), S_OK);
  EXPECT_EQ(r->e.LfoSeconds(), 2.0 * (1.0 / 24) * 0.001);
  EXPECT_EQ(r->e.LfoPeriod(0), 0.0);
  EXPECT_TRUE(std::isinf(r->e.LfoStep(0)));
  std::vector<double> b(300, 0.0);
  b[0] = 1.0;
  r->Run(b.data(), 300);
  // The sine counts as 0: the voice reads at its unmodulated point, 40 frames back.
  EXPECT_EQ(b[40], 0.9 * Level(-44));
  ASSERT_EQ(r->e.Update(p, true, &none), S_OK);  // light
  EXPECT_EQ(r->e.LfoPeriod(0), 1.0);
  EXPECT_EQ(r->e.LfoStep(0), 6.28318530718);
}

TEST(ChorusEngine, TempoSyncedPeriodFollowsBeatAndMeter) {
  ChorusParams p = Base();
  p.tempoSync = 1;
  p.modPeriodMultiplier = 2000;
  auto r = Float64(2, p, 44100);
  QxTempoRecord t{QX_TEMPO_VALID | QX_METER_VALID, 90.0, 3, 8, 0.0};
  r->e.Update(p, true, &t);
  EXPECT_EQ(r->e.LfoSeconds(), 60.0 / 90.0 * (4.0 / 8 * 3) * 2.0);
  t.Flags = QX_TEMPO_VALID;  // no meter: four beats a measure
  r->e.Update(p, true, &t);
  EXPECT_EQ(r->e.LfoSeconds(), 60.0 / 90.0 * 4.0 * 2.0);
  p.modPeriodNote = 11;  // dotted eighth
  r->e.Update(p, true, &t);
  EXPECT_EQ(r->e.LfoSeconds(), 60.0 / 90.0 * 0.75 * 2.0);
  EXPECT_EQ(r->e.LfoPeriod(1), std::trunc(44100.0 * r->e.LfoSeconds() * 0.811731));
  p.tempoSync = 0;
  r->e.Update(p, true, &t);
  EXPECT_EQ(r->e.LfoSeconds(), 1000.0 / 800);
}

TEST(ChorusEngine, LightUpdateLeavesSizeAndDelayAloneUntilADesign) {
  ChorusParams p = Fixed(1);
  auto r = Float64(1, p);
  std::vector<double> b = Noise(777, 2);
  r->Run(b.data(), 777);
  ChorusParams q = p;
  q.outDelay = 100;
  q.chorusSize = 3;
  q.modDepth = 50;
  r->e.Update(q, true, nullptr);  // light
  EXPECT_EQ(r->e.BaseDelay(), 40.0);
  EXPECT_EQ(r->e.VoiceCount(), 1);
  EXPECT_EQ(r->e.ModAmplitude(), 20.0);  // depth of the delay already held
  std::vector<double> line(r->e.Line(0), r->e.Line(0) + r->e.DelayFrames());
  const int32_t w = r->e.WriteIndex(0);
  r->e.RequestUpdate(QX_CHORUS_DESIGN);
  r->e.Update(q, true, nullptr);
  EXPECT_EQ(r->e.BaseDelay(), 80.0);
  EXPECT_EQ(r->e.VoiceCount(), 3);
  EXPECT_EQ(r->e.WriteIndex(0), w);
  EXPECT_EQ(r->e.ReadPosition(0), w + 80.0);  // the read point jumps, the line stays
  // Voice 1 never ran at size 1: its write point is still at 0.
  EXPECT_EQ(r->e.ReadPosition(1), r->e.WriteIndex(1) + std::trunc(0.811731 * 80));
  EXPECT_TRUE(std::equal(line.begin(), line.end(), r->e.Line(0)));
}

TEST(ChorusEngine, ClearingDesignOnStereoClearsOnlyTheFirstNDoubles) {
  ChorusParams p = g_ChorusPresets[10].Params;
  auto r = Float64(2, p, 44100);
  std::vector<double> b = Noise(2 * 20000, 4);
  r->Run(b.data(), 20000);
  r->e.SetUpdateFlags(QX_CHORUS_DESIGN | QX_CHORUS_CLEAR);  // as a preset load asks
  r->e.Update(p, true, nullptr);
  const uint32_t n = r->e.DelayFrames();
  for (int v = 0; v < 3; ++v) {
    const double* line = r->e.Line(v);
    EXPECT_TRUE(std::all_of(line, line + n, [](double x) { return x == 0.0; }));
    EXPECT_TRUE(std::any_of(line + n, line + 2 * n, [](double x) { return x != 0.0; })) << v;
    EXPECT_EQ(r->e.WriteIndex(v), 0);
  }
}

TEST(ChorusEngine, BypassFreezesTheStateAndResumesWithTheOldLines) {
  ChorusParams p = g_ChorusPresets[13].Params;
  auto a = Float64(2, p, 44100), b = Float64(2, p, 44100);
  std::vector<double> s1 = Noise(2 * 3000, 1), s2 = Noise(2 * 1000, 2), s3 = Noise(2 * 3000, 3);
  std::vector<double> x = s1, y = s1;
  a->Run(x.data(), 3000);
  b->Run(y.data(), 3000);
  ChorusParams off = p;
  off.bypass = 1;
  a->e.Update(off, true, nullptr);
  std::vector<double> z = s2;
  a->Run(z.data(), 1000);
  EXPECT_EQ(z, s2);
  EXPECT_EQ(a->e.WriteIndex(0), b->e.WriteIndex(0));
  EXPECT_EQ(a->e.LfoCounter(1), b->e.LfoCounter(1));
  a->e.Update(p, true, nullptr);
  x = s3, y = s3;
  a->Run(x.data(), 3000);
  b->Run(y.data(), 3000);
  EXPECT_EQ(x, y);
}

TEST(ChorusEngine, RaisedSizeBringsInVoicesThatStoodStill) {
  ChorusParams p = Fixed(1);
  auto r = Float64(1, p);
  std::vector<double> b = Noise(500, 8);
  r->Run(b.data(), 500);
  EXPECT_EQ(r->e.WriteIndex(2), 0);
  EXPECT_EQ(r->e.LfoCounter(2), 0);
  p.chorusSize = 3;
  r->e.RequestUpdate(QX_CHORUS_DESIGN);
  r->e.Update(p, true, nullptr);
  EXPECT_EQ(r->e.WriteIndex(2), 0);
  EXPECT_EQ(r->e.ReadPosition(2), 45.0);
  r->Run(b.data(), 10);
  EXPECT_EQ(r->e.WriteIndex(2), 1700 - 10);
}

TEST(ChorusEngine, NothingHappensWithoutLines) {
  auto r = Float64(2, Base());
  r->e.Stop();
  EXPECT_FALSE(r->e.DesignValid());
  std::vector<double> b = Noise(20, 1), c = b;
  r->Run(b.data(), 10);
  EXPECT_EQ(b, c);
  EXPECT_EQ(r->e.Update(Base(), false, nullptr), E_OUTOFMEMORY);
}
