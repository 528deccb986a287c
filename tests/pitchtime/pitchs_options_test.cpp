// qxfx's pitch-shift options: the page's conversion to Semitones, Cents and Ratio, the limits, and
// setting them on a real filter (the parsing is qxfx's command-line test's).
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "tests/support/effect_rig.h"
#include "tools/qxfx/pitch_options.h"

TEST(PitchsOptions, ConvertAsThePageDoes) {
  QxfxPitchOptions o;
  o.hasSemitones = o.hasCents = o.preserveDuration = true;
  o.semitones = 7;
  o.cents = -12.5;
  QxfxPitchSetting s;
  std::string error;
  ASSERT_TRUE(QxfxPitchSettingFor(o, &s, &error)) << error;
  EXPECT_EQ(s.semitones, 7);
  EXPECT_EQ(s.cents, -125);
  EXPECT_EQ(s.ratio, QxPitchs_RatioFor(7, -125));  // the same arithmetic as the transform's own
}

TEST(PitchsOptions, RefusesWhatThePageWouldNotTake) {
  std::string error;
  QxfxPitchSetting s;
  QxfxPitchOptions o;
  o.hasSemitones = true;
  o.semitones = 2.5;
  EXPECT_FALSE(QxfxPitchSettingFor(o, &s, &error));
  o.semitones = 13;
  EXPECT_TRUE(QxfxPitchSettingFor(o, &s, &error));
  o.preserveDuration = true;  // the page holds the shift to an octave then
  EXPECT_FALSE(QxfxPitchSettingFor(o, &s, &error));
  EXPECT_NE(error.find("-12 to 12"), std::string::npos);
  o.semitones = 0;
  o.hasCents = true;
  o.cents = 100.5;
  EXPECT_FALSE(QxfxPitchSettingFor(o, &s, &error));
}

TEST(PitchsOptions, AppliesToPitchShiftOnly) {
  CQxPitchs* f = NewEffect<CQxPitchs>();
  IUnknown* u = static_cast<IQxPitchsProp*>(f);
  QxfxEffectArgs args;
  args.quiet = true;
  args.pitch.hasSemitones = args.pitch.preserveDuration = true;
  args.pitch.semitones = -4;
  QxfxEffect pitch{"pitch-shift", u"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912"), {}};
  QxfxEffect other{"reverb", u"Reverb", MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912"), {}};
  std::string error;
  EXPECT_FALSE(QxfxApplyPitchArgs(u, other, args, &error));
  ASSERT_TRUE(QxfxApplyPitchArgs(u, pitch, args, &error)) << error;
  PitchParams p{};
  f->GetParams(&p);
  EXPECT_EQ(p.Semitones, -4);
  EXPECT_EQ(p.PreserveDuration, 1);
  EXPECT_DOUBLE_EQ(p.Ratio, std::pow(2.0, -4 / 12.0));
  args.settings.push_back({"Ratio", "15000"});
  EXPECT_FALSE(QxfxApplyPitchArgs(u, pitch, args, &error));
  f->NonDelegatingRelease();
}
