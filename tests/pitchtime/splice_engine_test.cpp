// Tests of the splice engine as Time Stretch drives it: formats, the call protocol, flushing,
// lengths of short streams, joins, and what mode and ratio changes do to buffered audio.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "tests/pitchtime/splice_test_util.h"

using namespace splice_test;

namespace {

struct Fixture {
  CQxSpliceParamStore params;
  CQxSpliceEngine engine{&params};
  Fixture(int32_t mode, double ratio, const WAVEFORMATEX& wave) {
    params.SetParams({mode, ratio});
    EXPECT_EQ(engine.Prepare(wave), S_OK);
  }
  StreamResult Run(const std::vector<float>& in, int32_t channels, int32_t inBlock = 1 << 16,
                   int32_t outBlock = 1 << 18) {
    return RunStream(engine, in.data(), static_cast<int64_t>(in.size() / channels),
                     sizeof(float) * channels, inBlock, outBlock);
  }
};

}  // namespace

TEST(SpliceEngine, PrepareAcceptsOnlyPlainPcmAndFloat) {
  CQxSpliceEngine engine(nullptr);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_PCM, 24, 2, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_IEEE_FLOAT, 16, 2, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(2, 16, 2, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_EXTENSIBLE, 16, 2, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_PCM, 16, 0, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_PCM, 16, 33, 44100)), E_FAIL);
  EXPECT_EQ(engine.Prepare(Wave(WAVE_FORMAT_PCM, 16, 2, 0)), E_FAIL);
  EXPECT_FALSE(engine.Prepared());

  struct Ok {
    WORD tag, bits;
    bool dbl;
  } ok[] = {{WAVE_FORMAT_PCM, 8, false}, {WAVE_FORMAT_PCM, 16, false}, {WAVE_FORMAT_PCM, 32, true},
            {WAVE_FORMAT_IEEE_FLOAT, 32, false}, {WAVE_FORMAT_IEEE_FLOAT, 64, true}};
  for (const Ok& f : ok) {
    ASSERT_EQ(engine.Prepare(Wave(f.tag, f.bits, 2, 44100)), S_OK) << f.bits;
    EXPECT_EQ(engine.UsesDouble(), f.dbl);
    // Only the active precision holds buffers.
    EXPECT_EQ(engine.Core64().Allocated(), f.dbl);
    EXPECT_EQ(engine.Core32().Allocated(), !f.dbl);
    EXPECT_EQ(engine.Sizes().WindowFrames, 13230);
  }
}

TEST(SpliceEngine, CallProtocolFailures) {
  CQxSpliceEngine engine(nullptr);
  float buf[64] = {};
  int32_t in = 4, out = 4;
  EXPECT_EQ(engine.Process(SpliceContinue, buf, &in, buf, &out), E_FAIL);
  EXPECT_EQ(in, 0);
  EXPECT_EQ(out, 0);
  ASSERT_EQ(engine.Prepare(FloatWave(1, 44100)), S_OK);
  in = 4;
  EXPECT_EQ(engine.Process(3, buf, &in, buf, &out), E_INVALIDARG);
  in = 4;
  EXPECT_EQ(engine.Process(SpliceContinue, nullptr, &in, buf, &out), E_POINTER);
  // Absent counts are 0.
  EXPECT_EQ(engine.Process(SpliceContinue, nullptr, nullptr, nullptr, nullptr), S_OK);
  engine.Release();
  EXPECT_FALSE(engine.Core32().Allocated());
  in = 4;
  EXPECT_EQ(engine.Process(SpliceContinue, buf, &in, buf, &out), E_FAIL);
}

TEST(SpliceEngine, EmptyStreamFlushedAtOnce) {
  Fixture fx(0, 1.0, FloatWave(2, 44100));
  float out[16];
  int32_t n = 8;
  EXPECT_EQ(fx.engine.Process(SpliceFlush, nullptr, nullptr, out, &n), S_OK);
  EXPECT_EQ(n, 0);
  n = 8;
  EXPECT_EQ(fx.engine.Process(SpliceFlush, nullptr, nullptr, out, &n), S_FALSE);
  EXPECT_EQ(n, 0);
}

TEST(SpliceEngine, ShortStreamsWaitForTheFlush) {
  // Shorter than OutputHop: one chunk of frames x Ratio. Shorter than the window: nothing before
  // the flush.
  const struct {
    int32_t frames;
    double ratio;
    int64_t expected;
  } cases[] = {{1000, 1.1, 1100}, {1000, 0.85, 850}, {6000, 5.0, 13230}, {10000, 1.0, 10000}};
  for (const auto& c : cases) {
    Fixture fx(0, c.ratio, FloatWave(1, 44100));
    std::vector<float> in = Noise(c.frames), out(20000);
    int32_t n = c.frames, m = 20000;
    ASSERT_EQ(fx.engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), S_OK);
    EXPECT_EQ(n, c.frames);
    EXPECT_EQ(m, 0);
    int64_t total = 0;
    HRESULT hr;
    int calls = 0;
    do {
      m = 20000;
      hr = fx.engine.Process(SpliceFlush, nullptr, nullptr, out.data(), &m);
      total += m;
    } while (hr == S_OK && ++calls < 10);
    EXPECT_EQ(total, c.expected) << c.frames << " x " << c.ratio;
  }
}

TEST(SpliceEngine, FirstChunkIsTheInputInEveryForm) {
  // No tail yet: the first splice takes lag 0 at full gain, so the first chunk is the input
  // itself, through the read and write conversions of each form.
  const struct {
    WORD tag, bits;
  } forms[] = {{WAVE_FORMAT_PCM, 8},
               {WAVE_FORMAT_PCM, 16},
               {WAVE_FORMAT_PCM, 32},
               {WAVE_FORMAT_IEEE_FLOAT, 32},
               {WAVE_FORMAT_IEEE_FLOAT, 64}};
  for (const auto& f : forms) {
    for (WORD ch : {1, 2, 3}) {
      CQxSpliceEngine engine(nullptr);
      ASSERT_EQ(engine.Prepare(Wave(f.tag, f.bits, ch, 44100)), S_OK);
      const size_t frameBytes = f.bits / 8 * ch;
      // Any bit pattern is a sample in PCM; float streams get real numbers.
      std::vector<unsigned char> in(13230 * frameBytes), out(13230 * frameBytes);
      const std::vector<float> noise = Noise(in.size() / 2);
      const std::vector<double> wide(noise.begin(), noise.end());
      if (f.tag == WAVE_FORMAT_IEEE_FLOAT && f.bits == 64)
        std::memcpy(in.data(), wide.data(), in.size());
      else
        std::memcpy(in.data(), noise.data(), in.size());
      int32_t n = 13230, m = 13230;
      ASSERT_EQ(engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), S_OK);
      ASSERT_EQ(m, 6615);
      EXPECT_EQ(std::memcmp(in.data(), out.data(), 6615 * frameBytes), 0)
          << f.bits << " bits, " << ch << " channels";
    }
  }
}

TEST(SpliceEngine, RatioOneKeepsTheLengthExactly) {
  for (int32_t mode : {0, 16}) {
    for (WORD ch : {1, 3}) {
      for (int32_t frames : {1, 1101, 2205, 2206, 13229, 13231, 50017}) {
        Fixture fx(mode, 1.0, FloatWave(ch, 44100));
        const StreamResult r = fx.Run(Noise(static_cast<size_t>(frames) * ch), ch, 4000, 3000);
        EXPECT_EQ(r.frames, frames) << "mode " << mode << " channels " << ch;
      }
    }
  }
}

TEST(SpliceEngine, SmallOutputBlocksGiveTheSameStream) {
  const std::vector<float> in = Noise(2 * 88200, 5);
  Fixture whole(0, 1.1, FloatWave(2, 44100));
  const StreamResult big = whole.Run(in, 2);

  Fixture pieces(0, 1.1, FloatWave(2, 44100));
  std::vector<float> out(2 * 100);
  int32_t n = 20000, m = 100;
  ASSERT_EQ(pieces.engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), S_OK);
  EXPECT_EQ(m, 100);
  EXPECT_TRUE(pieces.engine.Core32().OutputPending);  // the chunk goes on in the next call
  EXPECT_EQ(pieces.engine.Core32().OutputPos, 100);
  Fixture again(0, 1.1, FloatWave(2, 44100));
  const StreamResult small = again.Run(in, 2, 777, 100);
  EXPECT_EQ(small.frames, big.frames);
  EXPECT_TRUE(small.bytes == big.bytes);
}

TEST(SpliceEngine, ModeChangeDropsTheBufferedWindow) {
  Fixture fx(0, 1.0, FloatWave(1, 44100));
  std::vector<float> a(30000, -0.5f), b(30000, 0.25f), out(1 << 17);
  int32_t n = 30000, m = 1 << 17;
  ASSERT_EQ(fx.engine.Process(SpliceNewRun, a.data(), &n, out.data(), &m), S_OK);
  ASSERT_EQ(n, 30000);
  const int32_t before = m;
  EXPECT_LE(30000 - before, 13230);  // at most one window is held back

  fx.params.SetMode(16);
  const StreamResult r = RunStream(fx.engine, b.data(), 30000, sizeof(float), 4096, 4096,
                                   SpliceContinue);
  EXPECT_EQ(fx.engine.Sizes().WindowFrames, 2205);
  // Nothing of the first part comes out after the change; the new mode starts from silence.
  for (float v : As<float>(r)) ASSERT_TRUE(v >= -1e-6f && v <= 0.25f + 1e-6f) << v;
  EXPECT_EQ(r.frames, 30000);
}

TEST(SpliceEngine, RatioChangeKeepsTheBufferedAudio) {
  // At 0.5 each window is entirely new input.
  Fixture half(0, 0.5, FloatWave(1, 44100));
  EXPECT_EQ(half.engine.Core32().InputHop, 13230);
  EXPECT_EQ(half.engine.Core32().RefillFrames, 0);

  Fixture fx(0, 1.0, FloatWave(1, 44100));
  std::vector<float> in = Noise(13330), out(20000);
  int32_t n = 13330, m = 20000;
  ASSERT_EQ(fx.engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), S_OK);
  const auto& core = fx.engine.Core32();
  ASSERT_EQ(core.InputFill, 6715);
  fx.params.SetRatio(2.0);
  n = 0;
  ASSERT_EQ(fx.engine.Process(SpliceContinue, nullptr, &n, out.data(), &m), S_OK);
  EXPECT_EQ(core.InputFill, 6715);
  EXPECT_EQ(core.InputHop, 3308);
  EXPECT_EQ(core.RefillFrames, 13230 - 3308);
  EXPECT_EQ(core.WindowFrames, 13230);
}

TEST(SpliceEngine, NewRunAfterWorkStartsAfresh) {
  Fixture fx(0, 1.0, FloatWave(1, 44100));
  std::vector<float> in = Noise(100);
  int32_t n = 100, m = 0;
  ASSERT_EQ(fx.engine.Process(SpliceNewRun, in.data(), &n, nullptr, &m), S_OK);
  EXPECT_EQ(fx.engine.Core32().InputFill, 100);  // right after Prepare nothing is dropped
  ASSERT_EQ(fx.engine.Process(SpliceContinue, in.data(), &n, nullptr, &m), S_OK);
  EXPECT_EQ(fx.engine.Core32().InputFill, 200);
  ASSERT_EQ(fx.engine.Process(SpliceNewRun, in.data(), &n, nullptr, &m), S_OK);
  EXPECT_EQ(fx.engine.Core32().InputFill, 100);

  // A run that goes on after a finished flush starts afresh too.
  fx.Run(Noise(1000), 1);
  n = 100;
  ASSERT_EQ(fx.engine.Process(SpliceContinue, in.data(), &n, nullptr, &m), S_OK);
  EXPECT_EQ(fx.engine.Core32().InputFill, 100);
  EXPECT_FALSE(fx.engine.Core32().TailDone);
}

TEST(SpliceEngine, JoinsCrossFadeToUnityGain) {
  Fixture fx(12, 0.85, FloatWave(1, 44100));
  const StreamResult r = fx.Run(std::vector<float>(88200, 0.25f), 1);
  const std::vector<float> out = As<float>(r);
  const size_t hop = static_cast<size_t>(fx.engine.Sizes().OutputHop);
  ASSERT_GT(out.size(), 2 * hop);
  for (size_t i = 0; i + hop < out.size(); ++i) ASSERT_NEAR(out[i], 0.25f, 1e-6f) << i;
}

TEST(SpliceEngine, WithoutFadeTheJoinIsAPlainAdd) {
  Fixture fx(16, 1.0, FloatWave(1, 400));
  ASSERT_EQ(fx.engine.Sizes().FadeFrames, 1);
  const std::vector<float> out = As<float>(fx.Run(std::vector<float>(200, 0.25f), 1));
  ASSERT_EQ(out.size(), 200u);
  EXPECT_EQ(out[9], 0.25f);
  EXPECT_EQ(out[10], 0.5f);  // faded tail at 1.0 plus new input at 1.0
  EXPECT_EQ(out[11], 0.25f);
}

TEST(SpliceEngine, SineStaysInPhaseAcrossJoins) {
  // The search lines up the phase at each join, so the level never collapses.
  std::vector<float> in(88200);
  for (size_t i = 0; i < in.size(); ++i)
    in[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * i / 100.0));
  for (double ratio : {0.8, 1.25}) {
    Fixture fx(12, ratio, FloatWave(1, 44100));
    const std::vector<float> out = As<float>(fx.Run(in, 1));
    const size_t hop = static_cast<size_t>(fx.engine.Sizes().OutputHop);
    for (size_t p = hop; p + 100 + hop < out.size(); p += 100) {
      float peak = 0;
      for (size_t i = p; i < p + 100; ++i) peak = std::max(peak, std::fabs(out[i]));
      ASSERT_GT(peak, 0.45f) << "ratio " << ratio << " at " << p;
      ASSERT_LT(peak, 0.55f) << "ratio " << ratio << " at " << p;
    }
  }
}

TEST(SpliceEngine, ChannelsStaySeparate) {
  // Channel c carries channel 0 scaled by 2^-c: every step scales exactly, so any mixing or
  // misplaced frame shows as a mismatch.
  for (WORD ch : {2, 3, 32}) {
    const std::vector<float> mono = Noise(44100, 11);
    std::vector<float> in(mono.size() * ch);
    for (size_t f = 0; f < mono.size(); ++f)
      for (int c = 0; c < ch; ++c) in[f * ch + c] = std::ldexp(mono[f], -c);
    Fixture fx(12, 1.1, FloatWave(ch, 44100));
    const std::vector<float> out = As<float>(fx.Run(in, ch, 3000, 2000));
    ASSERT_EQ(out.size() % ch, 0u);
    for (size_t f = 0; f < out.size() / ch; ++f)
      for (int c = 1; c < ch; ++c)
        ASSERT_EQ(out[f * ch + c], std::ldexp(out[f * ch], -c)) << "frame " << f << " ch " << c;
  }
}
