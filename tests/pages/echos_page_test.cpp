// The Simple Delay page through its controls: value texts, the enabling table, typing, presets,
// the notification and the follow timer.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/echos_page.h"
#include "kernel/services/qx_help.h"
#include "kernel/services/qx_valuetext.h"
#include "tests/pages/page_rig.h"

namespace {
using I = IQxEchosProp2;
class EchosPage : public EffectPageTest<I> {
 protected:
  void SetUp() override { Open(CLSID_QxEchos, IID_IQxEchosProp2); }
};

TEST_F(EchosPage, LevelsShowDecibelsAndSilenceAsMinusInfinity) {
  const struct {
    int32_t value;
    const WCHAR* text;
  } rows[] = {{-60, u"-6.0 dB"}, {0, u"0.0 dB"}, {-799, u"-79.9 dB"}, {-800, u"-Inf."}};
  for (const auto& r : rows) {
    prop_->SetDryOut(r.value);
    prop_->SetDelayOut(r.value);
    Notify();
    EXPECT_EQ(Text(IDC_ECHOS_DRY_TEXT), std::u16string(r.text));
    EXPECT_EQ(Text(IDC_ECHOS_DELAYOUT_TEXT), std::u16string(r.text));
  }
}

TEST_F(EchosPage, PresetLoadRedrawsEveryControl) {
  IStaticFilterPreset* presets = nullptr;
  object_->QueryInterface(IID_IStaticFilterPreset, reinterpret_cast<void**>(&presets));
  ASSERT_EQ(presets->LoadPreset(4), S_OK);  // "Grand Canyon": posts the change to the page
  presets->Release();
  QxHeadless_Pump();
  EXPECT_EQ(Text(IDC_ECHOS_DRY_TEXT), u"-4.0 dB");
  EXPECT_EQ(Text(IDC_ECHOS_DELAYOUT_TEXT), u"-14.0 dB");
  EXPECT_EQ(Text(IDC_ECHOS_DELAY_EDIT), u"1.000");
  EXPECT_EQ(Text(IDC_ECHOS_DECAY_EDIT), u"3.0");
  EXPECT_EQ(IsDlgButtonChecked(dlg_, IDC_ECHOS_MULTIPLE), BST_CHECKED);
  EXPECT_TRUE(Enabled(IDC_ECHOS_DECAY));
  const int positions[][2] = {{IDC_ECHOS_DRY, -40}, {IDC_ECHOS_DELAYOUT, -140}, {IDC_ECHOS_DELAY, 1000},
                              {IDC_ECHOS_DECAY, 30}, {IDC_ECHOS_DELAY_MULT, 1000}, {IDC_ECHOS_DECAY_MULT, 1000}};
  for (const auto& p : positions) EXPECT_EQ(Position(p[0]), p[1]) << p[0];
  // The preset menu lists rows 1 upward and loads the chosen one.
  ExpectPresetMenu(6);
  SendMessage(dlg_, WM_COMMAND, QX_PAGE_PRESET_FIRST + 2, 0);  // row 3, "Slap-back echo"
  EXPECT_EQ(Text(IDC_ECHOS_DELAYOUT_TEXT), u"-12.0 dB");
  EXPECT_EQ(IsDlgButtonChecked(dlg_, IDC_ECHOS_MULTIPLE), BST_UNCHECKED);
}

// T tempo sync delay, M multiple delays, D tempo sync decay, with and without a tempo map.
TEST_F(EchosPage, EnablingFollowsTheSwitchesAndTheTempoMap) {
  const int delayByTime[] = {IDC_ECHOS_DELAY, IDC_ECHOS_DELAY_EDIT, IDC_ECHOS_DELAY_LABEL};
  const int delayByTempo[] = {IDC_ECHOS_DELAY_MULT_EDIT, IDC_ECHOS_DELAY_MULT, IDC_ECHOS_DELAY_NOTE};
  const int decayByTime[] = {IDC_ECHOS_DECAY, IDC_ECHOS_DECAY_LABEL, IDC_ECHOS_DECAY_EDIT};
  const int decayByTempo[] = {IDC_ECHOS_DECAY_MULT_EDIT, IDC_ECHOS_DECAY_MULT, IDC_ECHOS_DECAY_NOTE};
  for (bool map : {false, true}) {
    if (map) ConnectTempo();
    for (int bits = 0; bits < 8; ++bits) {
      const bool t = bits & 1, m = bits & 2, d = bits & 4;
      prop_->SetTempoSyncDelay(t);
      prop_->SetMultipleDelays(m);
      prop_->SetTempoSyncDecay(d);
      Notify();
      SCOPED_TRACE(testing::Message() << "map " << map << " T " << t << " M " << m << " D " << d);
      for (int id : delayByTime) EXPECT_EQ(Enabled(id), !t) << id;
      for (int id : delayByTempo) EXPECT_EQ(Enabled(id), t) << id;
      for (int id : decayByTime) EXPECT_EQ(Enabled(id), m && !d) << id;
      for (int id : decayByTempo) EXPECT_EQ(Enabled(id), m && d) << id;
      EXPECT_EQ(Enabled(IDC_ECHOS_SYNC_DELAY), map);
      EXPECT_EQ(Enabled(IDC_ECHOS_SYNC_DECAY), m && map);
    }
  }
}

TEST_F(EchosPage, ScrollingAControlSetsItsParameterAndText) {
  const struct {
    int control;
    UINT msg;
    int code;
    HRESULT (I::*get)(int32_t*);
    int32_t want;
    int text;
    const WCHAR* shown;
  } rows[] = {
      {IDC_ECHOS_DRY, WM_VSCROLL, QX_SCROLL_LINEDOWN, &I::GetDryOut, -61, IDC_ECHOS_DRY_TEXT, u"-6.1 dB"},
      {IDC_ECHOS_DELAYOUT, WM_VSCROLL, QX_SCROLL_BOTTOM, &I::GetDelayOut, -800, IDC_ECHOS_DELAYOUT_TEXT, u"-Inf."},
      {IDC_ECHOS_DELAY, WM_HSCROLL, QX_SCROLL_PAGEDOWN, &I::GetDelayTime, 200, IDC_ECHOS_DELAY_EDIT, u"0.200"},
  };
  for (const auto& r : rows) {
    Scroll(r.msg, r.control, r.code);
    Scroll(r.msg, r.control, QX_SCROLL_END);
    EXPECT_EQ(Get(r.get), r.want) << r.control;
    EXPECT_EQ(Position(r.control), r.want) << r.control;
    EXPECT_EQ(Text(r.text), std::u16string(r.shown)) << r.control;
  }
}

TEST_F(EchosPage, CheckBoxesSetTheirSwitch) {
  CheckDlgButton(dlg_, IDC_ECHOS_MULTIPLE, BST_CHECKED);
  Command(IDC_ECHOS_MULTIPLE, BN_CLICKED);
  EXPECT_EQ(Get(&I::GetMultipleDelays), 1);
  EXPECT_TRUE(Enabled(IDC_ECHOS_DECAY_EDIT));
}

TEST_F(EchosPage, TypedValuesComeBackClampedAndRounded) {
  prop_->SetMultipleDelays(1);
  prop_->SetTempoSyncDelay(1);
  prop_->SetTempoSyncDecay(1);
  const struct {
    int box;
    const WCHAR* typed;
    const WCHAR* shown;
  } rows[] = {
      {IDC_ECHOS_DELAY_EDIT, u"9", u"5.000"},      {IDC_ECHOS_DELAY_EDIT, u"0", u"0.001"},
      {IDC_ECHOS_DELAY_EDIT, u"0.0355", u"0.036"}, {IDC_ECHOS_DELAY_EDIT, u"1,2", u"5.000"},
      {IDC_ECHOS_DELAY_EDIT, u" 1.5s", u"1.500"},  {IDC_ECHOS_DELAY_EDIT, u"1e12", u"1.000"},
      {IDC_ECHOS_DELAY_EDIT, u"abc", u"0.001"},
      {IDC_ECHOS_DECAY_EDIT, u"0.04", u"0.1"},     {IDC_ECHOS_DECAY_EDIT, u"99", u"20.0"},
      {IDC_ECHOS_DECAY_EDIT, u"2.25", u"2.3"},     {IDC_ECHOS_DELAY_MULT_EDIT, u"5", u"4.000"},
      {IDC_ECHOS_DELAY_MULT_EDIT, u"-1", u"0.001"}, {IDC_ECHOS_DECAY_MULT_EDIT, u"40", u"32.000"},
      {IDC_ECHOS_DECAY_MULT_EDIT, u"1.5", u"1.500"},
  };
  for (const auto& r : rows) {
    Type(r.box, r.typed);
    EXPECT_EQ(Text(r.box), std::u16string(r.shown)) << r.box;
  }
  EXPECT_EQ(Get(&I::GetDelayTime), 1);  // "abc" reads 0, and the setter raised it
}

// Apply reads a box typed into and not yet left, and no box the page itself wrote.
TEST_F(EchosPage, ApplyReadsOnlyTheBoxesTypedInto) {
  prop_->SetDecayTime(50);
  Notify();
  SetWindowTextW(Item(IDC_ECHOS_DELAY_EDIT), u"2");
  Command(IDC_ECHOS_DELAY_EDIT, EN_CHANGE);
  prop_->SetDecayTime(70);  // behind the page's back: its box still shows 5.0
  frame_->Apply();
  EXPECT_EQ(Get(&I::GetDelayTime), 2000);
  EXPECT_EQ(Get(&I::GetDecayTime), 70);
}

TEST_F(EchosPage, TheTimerFollowsAnEnvelopeAndLocksTheTimeBox) {
  Stream({{0, {0, 10'000'000, 100.0f, 4100.0f, MP_CURVE_LINEAR, 0}}});  // Delay Time over the first second
  EXPECT_FALSE(Enabled(IDC_ECHOS_DELAY_EDIT));
  const int32_t delay = Get(&I::GetDelayTime);
  EXPECT_GT(delay, 100);
  EXPECT_EQ(Text(IDC_ECHOS_DELAY_EDIT), std::u16string(QxGetLabeledStringFixed(delay, 3, 0, nullptr)));
  StopStreaming();
  EXPECT_TRUE(Enabled(IDC_ECHOS_DELAY_EDIT));
}

TEST_F(EchosPage, PageInfoAndStripTitle) {
  PROPPAGEINFO info{};
  ASSERT_EQ(page_->GetPageInfo(&info), S_OK);
  EXPECT_EQ(std::u16string(info.pszTitle), u"Simple Delay");
  const SIZE expected = QxUi_DialogPixelSize(QxEchosPage_Template());
  EXPECT_EQ(info.size.cx, expected.cx);
  EXPECT_EQ(info.size.cy, expected.cy);
  CoTaskMemFree(info.pszTitle);
  CoTaskMemFree(info.pszHelpFile);
  EXPECT_EQ(page_->GetPageInfo(nullptr), E_POINTER);
  EXPECT_EQ(Text(QX_PAGE_LOGO), u"Simple Delay");
  EXPECT_EQ(QxPageStripTitle(u"LUMEA Simple Delay"), u"Simple Delay");
  EXPECT_EQ(QxPageStripTitle(u"Reverb"), u"Reverb");  // a title without it stays as it is
  EXPECT_EQ(QxPageStripTitle(u"Echo LUMEA LUMEA x"), u"Echo x");
}

TEST_F(EchosPage, CancelPutsBackTheStateTheFrameOpenedWith) {
  prop_->SetDelayTime(2000);
  frame_->Apply();  // the restore point moves here
  prop_->SetDelayTime(3000);
  frame_->Cancel();
  EXPECT_EQ(Get(&I::GetDelayTime), 2000);
  EXPECT_EQ(frame_->Result(), IDCANCEL);
}

TEST_F(EchosPage, HelpOpensThePacksHelpAtThePagesTopic) {
  const std::string dir = testing::TempDir(), seen = dir + "qx_help_seen.txt", opener = dir + "qx_help_opener.sh";
  std::remove(seen.c_str());
  FILE* f = std::fopen(opener.c_str(), "w");
  ASSERT_TRUE(f);
  std::fprintf(f, "#!/bin/sh\necho \"$1\" > %s.part && mv %s.part %s\n", seen.c_str(), seen.c_str(), seen.c_str());
  std::fclose(f);
  chmod(opener.c_str(), 0755);
  setenv(QX_HELP_OPENER_ENV, opener.c_str(), 1);
  SendMessage(dlg_, WM_COMMAND, QX_PAGE_HELP, 0);  // the strip's "?"
  unsetenv(QX_HELP_OPENER_ENV);
  std::string url;
  for (int i = 0; i < 500 && url.empty(); ++i) {  // the opener runs detached; wait for its word
    if (FILE* in = std::fopen(seen.c_str(), "r")) {
      char line[4096] = {};
      if (std::fgets(line, sizeof line, in)) url = line;
      std::fclose(in);
    }
    if (url.empty()) usleep(10000);
  }
  EXPECT_EQ(url.rfind("file://", 0), 0u) << url;
  EXPECT_NE(url.find("qxppack1.html#c119"), std::string::npos) << url;
}

TEST(PageBase, ScrollBracketBeginsOnlyWhereAGestureStarts) {
  std::string log;
  QxPageBinding b;
  b.set = [&](int32_t v) { log += "S" + std::to_string(v); };
  b.begin = [&] { log += "B"; };
  b.end = [&] { log += "E"; };
  const char* expected[] = {"BS7", "BS7", "BS7", "BS7", "S7", "S7", "BS7", "BS7", "S7E", "BS7"};
  for (int code = 0; code <= 9; ++code) {
    log.clear();
    QxPageScrollBracket(b, code, 7);
    EXPECT_EQ(log, expected[code]) << code;
  }
}
}  // namespace
