// The Chorus page through its controls: the two-region rate, the tempo-sync display, the edits'
// factors, the spinner's own codes and the follow step under automation.
#include <string>

#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/chorus_page.h"
#include "kernel/services/qx_valuetext.h"
#include "tests/pages/page_rig.h"

namespace {
class ChorusPage : public EffectPageTest<IQxChorusProp2> {
 protected:
  void SetUp() override { Open(CLSID_QxChorus, IID_IQxChorusProp2); }
};

TEST_F(ChorusPage, RateStandsInTwoRegions) {
  const struct {
    int32_t rate, position;
    const WCHAR* text;
  } rows[] = {{1, 1, u"0.001"}, {800, 800, u"0.800"}, {9999, 9999, u"9.999"},
              {12345, 10234, u"12.34"}, {20000, 11000, u"20.00"}};
  for (const auto& r : rows) {
    prop_->SetModRate(r.rate);
    Notify();
    EXPECT_EQ(Position(IDC_CHORUS_RATE), r.position) << r.rate;
    EXPECT_EQ(Text(IDC_CHORUS_RATE_EDIT), std::u16string(r.text)) << r.rate;
  }
  // Moving the trackbar in the coarse region sets hundredths of a hertz.
  SendMessage(Item(IDC_CHORUS_RATE), QXCM_SETVALUE, 0, 10500);
  Scroll(WM_HSCROLL, IDC_CHORUS_RATE, QX_SCROLL_END);
  EXPECT_EQ(Get(&IQxChorusProp2::GetModRate), 15000);
}

TEST_F(ChorusPage, TempoSyncSwitchesTheRateAndPeriodControls) {
  const int byRate[] = {IDC_CHORUS_RATE, IDC_CHORUS_RATE_EDIT, IDC_CHORUS_RATE_LABEL};
  const int byTempo[] = {IDC_CHORUS_PERIOD_LABEL, IDC_CHORUS_MULT_EDIT, IDC_CHORUS_MULT, IDC_CHORUS_NOTE};
  for (bool map : {false, true}) {
    if (map) ConnectTempo();
    for (int sync : {1, 0}) {
      prop_->SetTempoSync(sync);
      Notify();
      SCOPED_TRACE(testing::Message() << "map " << map << " sync " << sync);
      // Without a tempo interface the box stays grey, but a stored sync still rules.
      EXPECT_EQ(Enabled(IDC_CHORUS_SYNC), map);
      EXPECT_EQ(IsDlgButtonChecked(dlg_, IDC_CHORUS_SYNC), sync ? BST_CHECKED : BST_UNCHECKED);
      for (int id : byRate) EXPECT_EQ(Enabled(id), !sync) << id;
      for (int id : byTempo) EXPECT_EQ(Enabled(id), sync == 1) << id;
    }
  }
}

TEST_F(ChorusPage, EditsTruncateByTheirFactorAndComeBackClamped) {
  prop_->SetTempoSync(1);
  prop_->SetAttenuateHigh(1);
  const struct {
    int box;
    const WCHAR* typed;
    const WCHAR* shown;
  } rows[] = {
      {IDC_CHORUS_MULT_EDIT, u"0.0009", u"0.001"},   {IDC_CHORUS_MULT_EDIT, u"2.5", u"2.500"},
      {IDC_CHORUS_MULT_EDIT, u"99", u"32.000"},      {IDC_CHORUS_RATE_EDIT, u"12.3459", u"12.34"},
      {IDC_CHORUS_RATE_EDIT, u"0.0019", u"0.001"},   {IDC_CHORUS_RATE_EDIT, u"1e9", u"1.000"},
      {IDC_CHORUS_DELAY_EDIT, u"40.09", u"40.0"},    {IDC_CHORUS_DELAY_EDIT, u"-3", u"0.1"},
      {IDC_CHORUS_FREQUENCY_EDIT, u"2500.9", u"2,500"}, {IDC_CHORUS_FREQUENCY_EDIT, u"20,000", u"10,000"},
  };
  for (const auto& r : rows) {
    Type(r.box, r.typed);
    EXPECT_EQ(Text(r.box), std::u16string(r.shown)) << r.box << " " << testing::PrintToString(std::u16string(r.typed));
  }
  EXPECT_EQ(Get(&IQxChorusProp2::GetModRate), 1000);  // "1e9" reads as 1
  Type(IDC_CHORUS_MULT_EDIT, u"0.0009");  // truncates to 0, which the setter raises to 1
  EXPECT_EQ(Position(IDC_CHORUS_MULT), 1);  // and the spinner follows the box
}

TEST_F(ChorusPage, SpinnerPressOnlyBeginsAndOtherCodesStepByAThousand) {
  Scroll(WM_VSCROLL, IDC_CHORUS_MULT, QX_SCROLL_PRESS);
  EXPECT_EQ(Get(&IQxChorusProp2::GetModPeriodMultiplier), 1000);
  Scroll(WM_VSCROLL, IDC_CHORUS_MULT, QX_SCROLL_LINEUP);
  EXPECT_EQ(Get(&IQxChorusProp2::GetModPeriodMultiplier), 2000);
  EXPECT_EQ(Text(IDC_CHORUS_MULT_EDIT), u"2.000");
}

TEST_F(ChorusPage, FollowStepPlaysCurvesLocksTheirEditsAndSparesAnOpenList) {
  // Delay (2) over the first second, and Modulation Period (13).
  Stream({{2, {0, 10'000'000, 10.0f, 90.0f, MP_CURVE_LINEAR, 0}}, {13, {0, 10'000'000, 5.0f, 5.0f, MP_CURVE_JUMP, 0}}});
  const int32_t outDelay = Get(&IQxChorusProp2::GetOutDelay);
  EXPECT_GT(outDelay, 100);
  EXPECT_EQ(Position(IDC_CHORUS_DELAY), outDelay);
  EXPECT_EQ(Text(IDC_CHORUS_DELAY_EDIT), std::u16string(QxGetLabeledStringFixed(outDelay, 1, 0, nullptr)));
  EXPECT_FALSE(Enabled(IDC_CHORUS_DELAY_EDIT));
  EXPECT_EQ(SendDlgItemMessage(dlg_, IDC_CHORUS_NOTE, CB_GETCURSEL, 0, 0), 5);
  // Opened, the list keeps the row under the pointer although the curve still owns the value.
  Command(IDC_CHORUS_NOTE, CBN_DROPDOWN);
  SendDlgItemMessage(dlg_, IDC_CHORUS_NOTE, CB_SETCURSEL, 3, 0);
  QxHeadless_Advance(60);
  ASSERT_EQ(prop_->IsModPeriodNoteIdle(), 0);
  EXPECT_EQ(SendDlgItemMessage(dlg_, IDC_CHORUS_NOTE, CB_GETCURSEL, 0, 0), 3);
  Command(IDC_CHORUS_NOTE, CBN_CLOSEUP);
  StopStreaming();
  EXPECT_TRUE(Enabled(IDC_CHORUS_DELAY_EDIT));
}
}  // namespace
