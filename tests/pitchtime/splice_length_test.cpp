// Output length of long streams, for every mode: within one OutputHop of input x the ratio the
// splices actually obtain, and above 2.0 short by at most 3 x OutputHop as the last chunk is held.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/pitchtime/splice_test_util.h"

using namespace splice_test;

namespace {

constexpr int64_t kFrames = 30 * 44100;

struct Outcome {
  int64_t frames;
  int32_t outputHop;
  double obtained;  // OutputHop / InputHop: InputHop is whole, so this is not quite Ratio
};

Outcome Stretch(const std::vector<float>& in, WORD channels, int32_t mode, double ratio) {
  CQxSpliceParamStore params;
  params.SetParams({mode, ratio});
  CQxSpliceEngine engine(&params);
  EXPECT_EQ(engine.Prepare(FloatWave(channels, 44100)), S_OK);
  const StreamResult r =
      RunStream(engine, in.data(), kFrames, sizeof(float) * channels, 1 << 16, 1 << 16,
                SpliceNewRun, false);
  const auto& core = engine.Core32();
  return {r.frames, core.OutputHop, static_cast<double>(core.OutputHop) / core.InputHop};
}

}  // namespace

TEST(SpliceLength, WithinOneHopForEveryMode) {
  // Lengths never depend on the audio. Silence on three channels is accepted at lag 0 at once,
  // which keeps this sweep quick.
  const std::vector<float> in(kFrames * 3, 0.0f);
  for (int32_t mode = 0; mode < QX_SPLICE_MODE_COUNT; ++mode) {
    for (double ratio : {0.5, 0.85, 1.0, 1.1, 2.0}) {
      const Outcome o = Stretch(in, 3, mode, ratio);
      EXPECT_LE(std::abs(o.frames - kFrames * o.obtained), o.outputHop)
          << "mode " << mode << " ratio " << ratio;
      // Each splice may be off Ratio by up to Ratio / 2 frames; nothing else adds up.
      const double splices = kFrames * o.obtained / o.outputHop;
      EXPECT_LE(std::abs(o.frames - kFrames * ratio), o.outputHop + splices * ratio / 2)
          << "mode " << mode << " ratio " << ratio;
    }
  }
}

TEST(SpliceLength, AboveTwoTheLastChunkFallsShort) {
  const std::vector<float> in = Noise(kFrames, 4);
  for (int32_t mode : {0, 7, 16, 17}) {
    const Outcome o = Stretch(in, 1, mode, 5.0);
    const double shortfall = kFrames * o.obtained - o.frames;
    EXPECT_LE(shortfall, 3.0 * o.outputHop) << "mode " << mode;
    EXPECT_GE(shortfall, 0.0) << "mode " << mode;
  }
}
