// The Pitch Shift page: the musical equivalent, the clock texts and the typed-time reader, and the
// page over a real transform: Ratio from the user's values, the 12-semitone limit, the anti-alias
// box and the time texts with and without an input pin.
#include <cmath>

#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/pitch_page.h"
#include "aplugins/qxppack1/pages/time_text.h"
#include "aplugins/qxppack1/pitchtime/pitchs_transform.h"
#include "tests/pages/page_logic_rig.h"

namespace {
std::u16string Musical(int32_t semitones, int32_t cents) {
  PagesSetUpOnce();
  WCHAR text[64];
  QxPitchsMusicalText(semitones, cents, text, 64);
  return text;
}

TEST(PitchText, MusicalEquivalent) {
  const struct {
    int32_t semitones, cents;
    const char16_t* text;
  } rows[] = {
      {0, 0, u"  "},           {0, 999, u"  "},  {1, -1000, u"  "},  {-1, 1000, u"  "},
      {0, 1000, u"Up Minor 2nd  "},  // the corrected count is -1, shown without its sign
      {0, -1000, u"Down Minor 2nd  "}, {2, -1000, u"Up Minor 2nd  "}, {7, 0, u"Up 5th  "},
      {-7, 0, u"Down 5th  "},    {12, 0, u"Up Octave  "},    {-24, 0, u"Down Octave  "},
      {5, -20, u"Up 4th -"},    {-3, 500, u"Down Minor 3rd +"}, {6, 1000, u"Up 5th  "},
  };
  for (const auto& r : rows) EXPECT_EQ(Musical(r.semitones, r.cents), r.text) << r.semitones << " " << r.cents;
}

std::u16string Clock(double frames, uint32_t rate, QxMsRule rule) {
  WCHAR text[QX_TIME_TEXT_CHARS];
  QxTimeText(frames, rate, rule, text, QX_TIME_TEXT_CHARS);
  return text;
}

TEST(PitchText, ClockTextsCutOrRoundTheThousandths) {
  EXPECT_EQ(Clock(2646000, 44100, QxMsRule::Truncate), u"00:01:00.000");
  EXPECT_EQ(Clock(44099, 44100, QxMsRule::Truncate), u"00:00:00.999");
  EXPECT_EQ(Clock(44099, 44100, QxMsRule::Round), u"00:00:01.000");  // carried, never ".1000"
  EXPECT_EQ(Clock(44100.0 * 3599.9999, 44100, QxMsRule::Round), u"01:00:00.000");
  EXPECT_EQ(Clock(8000.0 * 93784.5, 8000, QxMsRule::Round), u"26:03:04.500");
  EXPECT_EQ(Clock(1e6, 0, QxMsRule::Round), u"00:00:00.000");
}

TEST(PitchText, DigitGroupsFillFromTheRight) {
  const struct {
    const char16_t* text;
    double h, m, s, ms;
  } rows[] = {
      {u"00:01:30.250", 0, 1, 30, 250}, {u"1:30", 0, 0, 1, 30},     {u"0.90.5", 0, 1, 30, 5},
      {u"25h 0m 0s 0", 1, 0, 0, 0},     {u"1:2:3:4:5", 1, 2, 3, 4}, {u"none", 0, 0, 0, 0},
  };
  for (const auto& r : rows) {
    const QxClockTime t = QxParseDigitGroups(r.text);
    EXPECT_EQ(t.hours, r.h);
    EXPECT_EQ(t.minutes, r.m);
    EXPECT_EQ(t.seconds, r.s);
    EXPECT_EQ(t.ms, r.ms) << std::string(r.text, r.text + 4);
  }
  EXPECT_EQ(QxClockFrames(QxParseDigitGroups(u"0:0:1.001"), 44100), 44145);  // 44144.1 rounds up
  EXPECT_EQ(QxClockFrames(QxParseDigitGroups(u"0:0:1.000"), 0), 1.0);
}

class PitchPage : public PageLogicTest<CQxPitchsPageLogic, CQxPitchsTransform> {
 protected:
  void Load(int32_t semitones, int32_t cents, int32_t preserve, int32_t antiAlias = 0) {
    PitchParams p{};
    effect.GetParams(&p);
    p.Semitones = semitones, p.Cents = cents, p.PreserveDuration = preserve, p.AntiAlias = antiAlias;
    effect.SetParams(&p);
  }
  double Ratio() {
    double r = 0;
    effect.GetRatio(&r);
    return r;
  }
};

TEST_F(PitchPage, ShowsTheShiftAndComputesRatio) {
  Load(7, 120, 0);
  Open(QxPitchsPage_Template());
  EXPECT_EQ(Ratio(), QxPitchsRatio(7, 120));
  EXPECT_EQ(Text(IDC_PITCHS_SEMITONES_EDIT), u"7");
  EXPECT_EQ(Text(IDC_PITCHS_CENTS_EDIT), u"12.0");
  EXPECT_EQ(Text(IDC_PITCHS_RATIO), u"1.50873");
  EXPECT_EQ(Text(IDC_PITCHS_MUSICAL), u"Up 5th +");
  EXPECT_EQ(Text(IDC_PITCHS_SEMITONES_LABEL), u"Se&mitones to shift pitch by (-50 to 50):");
  EXPECT_TRUE(Enabled(IDC_PITCHS_ANTIALIAS));
  EXPECT_FALSE(Enabled(IDC_PITCHS_MODE));
}

TEST_F(PitchPage, PreservedDurationHoldsTheShiftToAnOctave) {
  Load(20, 0, 1);
  Open(QxPitchsPage_Template());
  int32_t semitones = 0;
  effect.GetSemitones(&semitones);
  EXPECT_EQ(semitones, 12);
  EXPECT_EQ(Ratio(), 2.0);
  EXPECT_EQ(Text(IDC_PITCHS_SEMITONES_LABEL), u"Se&mitones to shift pitch by (-12 to 12):");
  EXPECT_TRUE(Enabled(IDC_PITCHS_MODE));
  EXPECT_FALSE(Enabled(IDC_PITCHS_TIME));
  Type(IDC_PITCHS_SEMITONES_EDIT, u"-30");
  effect.GetSemitones(&semitones);
  EXPECT_EQ(semitones, -12);
  EXPECT_EQ(Ratio(), 0.5);
}

TEST_F(PitchPage, AnOutOfOctaveShiftLocksThePreserveBox) {
  Load(13, 0, 0);
  Open(QxPitchsPage_Template());
  EXPECT_FALSE(Enabled(IDC_PITCHS_PRESERVE));
  Type(IDC_PITCHS_SEMITONES_EDIT, u"12");
  EXPECT_TRUE(Enabled(IDC_PITCHS_PRESERVE));
}

TEST_F(PitchPage, NoShiftGreysTheAntiAliasBoxButKeepsItsValue) {
  Load(3, 0, 0, 1);
  Open(QxPitchsPage_Template());
  EXPECT_TRUE(Enabled(IDC_PITCHS_ANTIALIAS));
  Type(IDC_PITCHS_SEMITONES_EDIT, u"0");
  EXPECT_EQ(Ratio(), 1.0);
  EXPECT_FALSE(Enabled(IDC_PITCHS_ANTIALIAS));
  EXPECT_EQ(IsDlgButtonChecked(dlg_, IDC_PITCHS_ANTIALIAS), BST_CHECKED);
  int32_t antiAlias = 0;
  effect.GetAntiAlias(&antiAlias);
  EXPECT_EQ(antiAlias, 1);
  EXPECT_EQ(Text(IDC_PITCHS_MUSICAL), u"  ");
}

TEST_F(PitchPage, TimesNeedAnInputPin) {
  Open(QxPitchsPage_Template());
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_LABEL), u"Need input pin");
  EXPECT_EQ(Text(IDC_PITCHS_TIME), u"00:00:00.000");
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_TIME), u"00:00:00.000");
  Type(IDC_PITCHS_TIME, u"00:00:30.000");  // with no rate a typed time is one frame
  double initial = 0;
  effect.GetInitialTime(&initial);
  EXPECT_EQ(initial, 1.0);
}

TEST_F(PitchPage, TimesFollowTheRatioAndTheTypedTime) {
  effect.rate = 44100;
  Load(12, 0, 0);
  Open(QxPitchsPage_Template());
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_LABEL), u"Final time (00:00:03.148 to 00:19:03.540):");
  EXPECT_EQ(Text(IDC_PITCHS_TIME), u"00:01:00.000");
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_TIME), u"00:00:30.000");
  Type(IDC_PITCHS_TIME, u"0:2:0.0");
  double initial = 0;
  effect.GetInitialTime(&initial);
  EXPECT_EQ(initial, 5292000.0);
  EXPECT_EQ(Text(IDC_PITCHS_TIME), u"00:02:00.000");
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_TIME), u"00:01:00.000");
}

TEST_F(PitchPage, CommandsReachTheEffect) {
  Open(QxPitchsPage_Template());
  Type(IDC_PITCHS_CENTS_EDIT, u"-12.34");
  int32_t cents = 0, mode = 0, preserve = 0;
  effect.GetCents(&cents);
  EXPECT_EQ(cents, -123);
  EXPECT_EQ(Text(IDC_PITCHS_CENTS_EDIT), u"-12.3");
  EXPECT_EQ(Ratio(), QxPitchsRatio(0, -123));
  Pick(IDC_PITCHS_MODE, 16);
  effect.GetMode(&mode);
  EXPECT_EQ(mode, 16);
  CheckDlgButton(dlg_, IDC_PITCHS_PRESERVE, BST_CHECKED);
  Command(IDC_PITCHS_PRESERVE, BN_CLICKED);
  effect.GetPreserveDuration(&preserve);
  EXPECT_EQ(preserve, 1);
  EXPECT_FALSE(Enabled(IDC_PITCHS_TIME));
}

// The page as a host gets it: named by the filter, made by the class table, in a property frame.
class PitchFromTable : public EffectPageTest<IQxPitchsProp> {};

TEST_F(PitchFromTable, OpensForTheFilterAndSetsWhatIsTyped) {
  Open(CLSID_QxPitchs, IID_IQxPitchsProp);
  EXPECT_EQ(Text(IDC_PITCHS_FINAL_LABEL), u"Need input pin");
  Type(IDC_PITCHS_SEMITONES_EDIT, u"-7");
  double ratio = 0;
  prop_->GetRatio(&ratio);
  EXPECT_EQ(Get(&IQxPitchsProp::GetSemitones), -7);
  EXPECT_EQ(ratio, QxPitchsRatio(-7, 0));
  EXPECT_EQ(Text(IDC_PITCHS_MUSICAL), u"Down 5th  ");
  EXPECT_EQ(Position(IDC_PITCHS_SEMITONES), -7);
  Scroll(WM_HSCROLL, IDC_PITCHS_SEMITONES, QX_SCROLL_PAGEDOWN);
  EXPECT_EQ(Get(&IQxPitchsProp::GetSemitones), 3);  // a page is 10 semitones while the duration is free
  EXPECT_EQ(Text(IDC_PITCHS_SEMITONES_EDIT), u"3");
}
}  // namespace
