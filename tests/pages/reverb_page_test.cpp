// The Reverb page through its controls: value texts, typed frequencies, the force rule while
// dragging and under automation, the lists and the context menu.
#include <vector>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/reverb_page.h"
#include "aplugins/qxppack1/reverb/reverb_transform.h"
#include "kernel/services/qx_valuetext.h"
#include "platform/com/media_params.h"
#include "platform/ui/menu.h"
#include "tests/pages/page_rig.h"

namespace {
class ReverbPage : public PageTest {
 protected:
  void SetUp() override {
    Open(CLSID_QxReverb);
    object_->QueryInterface(IID_IQxReverbProp2, reinterpret_cast<void**>(&prop_));
    ASSERT_TRUE(prop_);
  }
  void TearDown() override {
    if (prop_) prop_->Release();
    PageTest::TearDown();
  }
  void Command(int id, int code) {
    SendMessage(dlg_, WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(Item(id)));
  }
  void Notify() { SendMessage(dlg_, WM_COMMAND, QX_PAGE_NOTIFY_ID, 0); }
  IQxReverbProp2* prop_ = nullptr;
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
  int32_t on = 1;
  prop_->GetAttenuateBass(&on);
  EXPECT_EQ(on, 0);
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
  IMediaParams* params = nullptr;
  IQxAudioTransformFloat* door = nullptr;
  object_->QueryInterface(IID_IMediaParams, reinterpret_cast<void**>(&params));
  object_->QueryInterface(IID_IQxAudioTransformFloat, reinterpret_cast<void**>(&door));
  ASSERT_TRUE(params && door);
  MP_ENVELOPE_SEGMENT ramp{0, 10'000'000, 1000.0f, 11000.0f, MP_CURVE_LINEAR, 0};
  ASSERT_EQ(params->AddEnvelope(REVERB_HIGH_FREQ, 1, &ramp), S_OK);
  ASSERT_EQ(door->Prepare(2, 8000), S_OK);
  std::vector<float> block(8000);
  door->Process(block.data(), 4000, 0);
  QxHeadless_Advance(60);
  int32_t high = 0;
  prop_->GetHighFrequency(&high);
  EXPECT_GT(high, 2000);
  EXPECT_EQ(Position(IDC_REVERB_HIGH), high);
  EXPECT_FALSE(Enabled(IDC_REVERB_HIGH_EDIT));
  door->Finish();
  QxHeadless_Advance(60);
  EXPECT_EQ(Enabled(IDC_REVERB_HIGH_EDIT), IsDlgButtonChecked(dlg_, IDC_REVERB_HIGH_ON) == BST_CHECKED);
  params->Release();
  door->Release();
}

TEST_F(ReverbPage, ListsHoldEveryNameAndSelectByItemData) {
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_MODE), CB_GETCOUNT, 0, 0), 19);
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_STYLE), CB_GETCOUNT, 0, 0), 10);
  SendMessage(Item(IDC_REVERB_MODE), CB_SETCURSEL, 16, 0);
  Command(IDC_REVERB_MODE, CBN_SELCHANGE);
  int32_t mode = 0;
  prop_->GetReverbMode(&mode);
  EXPECT_EQ(mode, 16);
  prop_->SetReflectionStyle(7);
  Notify();
  EXPECT_EQ(SendMessage(Item(IDC_REVERB_STYLE), CB_GETCURSEL, 0, 0), 7);
}

TEST_F(ReverbPage, ContextMenuOffersPresetRowsOneToTwelve) {
  auto* page = dynamic_cast<CQxPropPage*>(page_);
  ASSERT_TRUE(page);
  HMENU menu = page->BuildPresetMenu();
  ASSERT_EQ(GetMenuItemCount(menu), 4);
  EXPECT_EQ(GetMenuItemID(menu, 2), static_cast<UINT>(QX_PAGE_HELP));
  EXPECT_EQ(GetMenuItemID(menu, 3), static_cast<UINT>(QX_PAGE_ABOUT));
  HMENU presets = GetSubMenu(menu, 0);
  ASSERT_EQ(GetMenuItemCount(presets), 12);
  for (int n = 0; n < 12; ++n) EXPECT_EQ(GetMenuItemID(presets, n), static_cast<UINT>(QX_PAGE_PRESET_FIRST + n));
  DestroyMenu(menu);
  SendMessage(dlg_, WM_COMMAND, QX_PAGE_PRESET_FIRST + 2, 0);  // row 3, "Cathedral"
  int32_t decay = 0;
  prop_->GetDecayTime(&decay);
  EXPECT_EQ(Text(IDC_REVERB_DECAY_TEXT), std::u16string(QxGetLabeledStringFixed(decay, 1, 0, nullptr)));
  EXPECT_EQ(Position(IDC_REVERB_DECAY), decay);
  EXPECT_EQ(QxReverbPage_HelpTopic(IDC_REVERB_BASS_EDIT), 75u);
  EXPECT_EQ(QxReverbPage_HelpTopic(IDC_REVERB_HIGH_EDIT), 0u);
}
}  // namespace
