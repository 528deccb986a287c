// qxfx's pitch-shift options: taking them out of the command line, the page's conversion to
// Semitones, Cents and Ratio, the limits, and setting them on a real filter.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "tools/qxfx/pitch_options.h"

TEST(PitchsOptions, TakesItsOptionsOutOfTheLineAndLeavesTheRest) {
  std::vector<std::string> words = {"qxfx", "process", "in.wav", "--semitones", "7", "out.wav",
                                    "--cents=-12.5", "pitch-shift", "--preserve-duration", "-q"};
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  int argc = static_cast<int>(words.size());
  std::string error;
  ASSERT_TRUE(QxfxTakePitchOptions(&argc, argv.data(), &error)) << error;
  ASSERT_EQ(argc, 6);
  EXPECT_STREQ(argv[3], "out.wav");
  EXPECT_STREQ(argv[5], "-q");
  const QxfxPitchOptions& o = QxfxGivenPitchOptions();
  EXPECT_TRUE(o.hasSemitones && o.hasCents && o.preserveDuration);
  QxfxPitchSetting s;
  ASSERT_TRUE(QxfxPitchSettingFor(o, &s, &error)) << error;
  EXPECT_EQ(s.semitones, 7);
  EXPECT_EQ(s.cents, -125);
  // The same arithmetic as the transform's own.
  EXPECT_EQ(s.ratio, QxPitchs_RatioFor(7, -125));
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
  HRESULT hr = S_OK;
  auto* f = static_cast<CQxPitchs*>(CQxPitchs::CreateInstance(nullptr, &hr));
  f->NonDelegatingAddRef();
  IUnknown* u = static_cast<IQxPitchsProp*>(f);
  std::vector<std::string> words = {"qxfx", "--semitones", "-4", "--preserve-duration"};
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  int argc = static_cast<int>(words.size());
  std::string error;
  ASSERT_TRUE(QxfxTakePitchOptions(&argc, argv.data(), &error));
  QxfxEffect pitch{"pitch-shift", u"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912"), {}};
  QxfxEffect other{"reverb", u"Reverb", MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912"), {}};
  QxfxCommandLine cl;
  cl.quiet = true;
  EXPECT_FALSE(QxfxApplyPitchOptions(u, other, cl, &error));
  ASSERT_TRUE(QxfxApplyPitchOptions(u, pitch, cl, &error)) << error;
  PitchParams p{};
  f->GetParams(&p);
  EXPECT_EQ(p.Semitones, -4);
  EXPECT_EQ(p.PreserveDuration, 1);
  EXPECT_DOUBLE_EQ(p.Ratio, std::pow(2.0, -4 / 12.0));
  cl.settings.push_back({"Ratio", "15000"});
  EXPECT_FALSE(QxfxApplyPitchOptions(u, pitch, cl, &error));
  f->NonDelegatingRelease();
}
