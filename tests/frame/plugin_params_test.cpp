// Parameter store: stored values survive the float view exactly, the store clamps to the host range,
// and the advance without envelopes moves the clock by whole blocks.
#include <gtest/gtest.h>

#include <cstring>

#include "aplugins/qxppack1/delay/echos_transform.h"

namespace {
class Params : public CQxPlugInParams {
 public:
  Params() : CQxPlugInParams(g_EchosParamInfo, ECHOS_PARAM_COUNT) {}
};
}  // namespace

TEST(PlugInParams, EveryStoredValueOfSimpleDelayRoundTripsThroughTheFloatView) {
  Params p;
  for (uint32_t i = 0; i < ECHOS_PARAM_COUNT; ++i) {
    const QxParamInfo& r = p.Info(i);
    for (int32_t v = r.RawMin; v <= r.RawMax; ++v) {
      p.SetStored(&v, i);
      int32_t back = 0;
      p.GetStored(&back, i);
      ASSERT_EQ(back, v) << "parameter " << i;
    }
  }
}

TEST(PlugInParams, StoreClampsToTheHostRangeAndReportsNoChange) {
  Params p;
  int32_t v = 9000;
  EXPECT_EQ(p.SetStored(&v, ECHOS_DELAY_TIME), S_OK);
  int32_t back = 0;
  p.GetStored(&back, ECHOS_DELAY_TIME);
  EXPECT_EQ(back, 5000);
  EXPECT_EQ(p.SetStored(&v, ECHOS_DELAY_TIME), S_FALSE);
  v = -1000;
  p.SetStored(&v, ECHOS_DRY_OUT);
  p.GetStored(&back, ECHOS_DRY_OUT);
  EXPECT_EQ(back, -800);
  EXPECT_EQ(p.SetStored(&v, 99), E_INVALIDARG);
}

TEST(PlugInParams, WholeRecordFollowsTheTableOffsetsNotTheIndexOrder) {
  Params p;
  EchosParams in{1, 400, 20, -30, -90, 0, 7, 2500, 1, 16, 31999, 1};
  p.SetAll(&in, ECHOS_PARAM_COUNT);
  EchosParams out{};
  p.GetAll(&out);
  EXPECT_EQ(std::memcmp(&in, &out, sizeof in), 0);
  float n = 0;
  p.GetNormal(&n, ECHOS_MULTIPLE_DELAYS);
  EXPECT_FLOAT_EQ(n, 1.0f);
}

TEST(PlugInParams, AdvanceWithoutEnvelopesTakesTheWholeBlockAndMovesTheClock) {
  Params p;
  p.SetRate(44100);
  p.CurrentTime = 1000;
  uint32_t flags = 0;
  EXPECT_EQ(p.Advance(4410, &flags), 4410u);
  EXPECT_EQ(flags, 0u);
  EXPECT_EQ(p.CurrentTime, 1000 + 1000000);
}

TEST(PlugInParams, GesturesAndIdle) {
  Params p;
  EXPECT_EQ(p.IsIdle(ECHOS_DELAY_TIME), 1);
  EXPECT_EQ(p.EnableCallback(ECHOS_DELAY_TIME, 0), S_OK);   // mutes
  EXPECT_EQ(p.EnableCallback(ECHOS_DELAY_TIME, 0), S_FALSE);
  EXPECT_EQ(p.EnableCallback(0xFFFFFFFFu, 1), S_OK);        // unmutes the one muted
}
