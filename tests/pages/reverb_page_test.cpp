// The Reverb page through its controls: value texts, typed frequencies, the force rule while
// dragging and under automation, the lists and the context menu.
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/reverb_page.h"
#include "aplugins/qxppack1/reverb/reverb_transform.h"
#include "kernel/services/qx_valuetext.h"
#include "tests/pages/page_rig.h"

namespace {
using I = IQxReverbProp2;
class ReverbPage : public EffectPageTest<I> {
 protected:
  void SetUp() override { Open(CLSID_QxReverb, IID_IQxReverbProp2); }
};

TEST_F(ReverbPage, ValueTextsAndPreDelayOff) {
  const struct {
    int32_t preDelay, decay, level;
    const WCHAR *preText, *decayText, *levelText;
  } rows[] = {{0, 5, -800, u"Off", u"0.5", u"-Inf."}, {1, 50, 0, u"1 ms.", u"5.0", u"0.0 dB"},
              {200, 25, -60, u"200 ms.", u"2.5", u"-6.0 dB"}};
  for (const auto& r : rows) {
    prop_->SetPreDelay(r.preDelay);
    prop_->SetDecayTime(r.decay);
    prop_->SetEarlyOut(r.level);
    Notify();
    EXPECT_EQ(Text(IDC_REVERB_PREDELAY_TEXT), std::u16string(r.preText));
    EXPECT_EQ(Text(IDC_REVERB_DECAY_TEXT), std::u16string(r.decayText));
    EXPECT_EQ(Text(IDC_REVERB_EARLY_TEXT), std::u16string(r.levelText));
    EXPECT_EQ(Position(IDC_REVERB_PREDELAY), r.preDelay);
  }
}

TEST_F(ReverbPage, TypedFrequenciesComeBackClampedWhenFocusLeaves) {
  const struct {
    int edit, slider;
    const WCHAR *typed, *shown;
    int position;
  } rows[] = {{IDC_REVERB_BASS_EDIT, IDC_REVERB_BASS, u"3", u"10", 10},
              {IDC_REVERB_BASS_EDIT, IDC_REVERB_BASS, u"1234", u"1,234", 1234},
              {IDC_REVERB_HIGH_EDIT, IDC_REVERB_HIGH, u"99999", u"15,000", 15000},
              {IDC_REVERB_HIGH_EDIT, IDC_REVERB_HIGH, u"50", u"100", 100}};
  for (const auto& r : rows) {
    SetWindowTextW(Item(r.edit), r.typed);
    Command(r.edit, EN_CHANGE);  // typing alone changes nothing
    EXPECT_EQ(Text(r.edit), std::u16string(r.typed));
    Command(r.edit, EN_KILLFOCUS);
    EXPECT_EQ(Text(r.edit), std::u16string(r.shown));
    EXPECT_EQ(Position(r.slider), r.position);
  }
}

TEST_F(ReverbPage, SwitchesGreyTheSliderNotTheBox) {
  prop_->SetAttenuateBass(1);
  Notify();
  EXPECT_TRUE(Enabled(IDC_REVERB_BASS));
  CheckDlgButton(dlg_, IDC_REVERB_BASS_ON, BST_UNCHECKED);
  Command(IDC_REVERB_BASS_ON, BN_CLICKED);
  EXPECT_EQ(Get(&I::GetAttenuateBass), 0);
  EXPECT_FALSE(Enabled(IDC_REVERB_BASS));
  EXPECT_TRUE(Enabled(IDC_REVERB_BASS_EDIT));
}

TEST_F(ReverbPage, ADraggedSliderIsNotFoughtButAutomationMovesIt) {
  // Mid-drag the thumb sits where the hand holds it; a refresh of that id alone leaves it there.
  prop_->SetBassFrequency(500);
  Notify();
  SendMessage(Item(IDC_REVERB_BASS), QXCM_SETVALUE, 0, 800);
  Command(IDC_REVERB_BASS_ON, BN_CLICKED);
  EXPECT_EQ(Position(IDC_REVERB_BASS), 800);
  // Automation refreshes with force, and locks the edit box while it drives the value.
  Stream({{REVERB_HIGH_FREQ, {0, 10'000'000, 1000.0f, 11000.0f, MP_CURVE_LINEAR, 0}}}, 2);
  const int32_t high = Get(&I::GetHighFrequency);
  EXPECT_GT(high, 2000);
  EXPECT_EQ(Position(IDC_REVERB_HIGH), high);
  EXPECT_FALSE(Enabled(IDC_REVERB_HIGH_EDIT));
  StopStreaming();
  EXPECT_EQ(Enabled(IDC_REVERB_HIGH_EDIT), IsDlgButtonChecked(dlg_, IDC_REVERB_HIGH_ON) == BST_CHECKED);
}

TEST_F(ReverbPage, ListsHoldEveryNameAndSelectByItemData) {
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_MODE), CB_GETCOUNT, 0, 0), 19);
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_STYLE), CB_GETCOUNT, 0, 0), 10);
  Pick(IDC_REVERB_MODE, 16);
  EXPECT_EQ(Get(&I::GetReverbMode), 16);
  prop_->SetReflectionStyle(7);
  Notify();
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_STYLE), CB_GETCURSEL, 0, 0), 7);
}

TEST_F(ReverbPage, ContextMenuOffersPresetRowsOneToTwelve) {
  ExpectPresetMenu(12);
  SendMessage(dlg_, WM_COMMAND, QX_PAGE_PRESET_FIRST + 2, 0);  // row 3, "Cathedral"
  const int32_t decay = Get(&I::GetDecayTime);
  EXPECT_EQ(Text(IDC_REVERB_DECAY_TEXT), std::u16string(QxGetLabeledStringFixed(decay, 1, 0, nullptr)));
  EXPECT_EQ(Position(IDC_REVERB_DECAY), decay);
}
}  // namespace
