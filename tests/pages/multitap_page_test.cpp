// The Multi-Tap Delay page: the tap graph's echo response and bar geometry, and the page's
// behaviour on the headless backend against a live effect.
#include <gtest/gtest.h>

#include <algorithm>

#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/echomt_graph.h"
#include "aplugins/qxppack1/pages/echomt_page.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/ui_colors.h"
#include "kernel/services/qx_valuetext.h"
#include "tests/pages/page_rig.h"
#include "tests/support/effect_rig.h"

namespace {
EchomtParams OneTap(int delay, int gain, int feedback) {
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapDelay[0] = delay;
  p.tapGain[0] = gain;
  p.feedback = feedback;
  return p;
}

TEST(TapGraphResponse, EchoesAtMultiplesOfTheDelayTruncatingTowardZero) {
  struct Case {
    const char* name;
    EchomtParams p;
    std::vector<std::pair<int, int>> expect;  // (ms, r[ms])
  } cases[] = {
      {"half feedback halves each echo", OneTap(100, 100, 50), {{100, 5000}, {200, 2500}, {500, 312}, {150, 0}}},
      // -24.3 truncates to -24, not -25; the gain sum 0.3 counts as unity.
      {"negative gain alternates", OneTap(100, -30, 100), {{100, -3000}, {200, 900}, {400, 81}, {500, -24}}},
      {"feedback 0 leaves no echo", OneTap(100, 100, 0), {{100, 0}, {200, 0}}},
  };
  for (auto& c : cases) {
    std::vector<int> r;
    ASSERT_TRUE(QxTapGraph_Response(c.p, 500, &r)) << c.name;
    ASSERT_EQ(r.size(), 501u);
    EXPECT_EQ(r[0], QX_TAPGRAPH_FULL) << c.name;
    for (auto [ms, v] : c.expect) EXPECT_EQ(r[ms], v) << c.name << " at " << ms;
  }
  // Two half-gain taps sum to unity, so feedback 100 keeps the loop at unity.
  EchomtParams two = OneTap(100, 50, 100);
  two.tapCount = 2, two.tapDelay[1] = 200, two.tapGain[1] = 50;
  std::vector<int> r;
  ASSERT_TRUE(QxTapGraph_Response(two, 500, &r));
  EXPECT_EQ(r[100], 5000);
  EXPECT_EQ(r[200], 2500 + 5000);
}

TEST(TapGraphResponse, CancellingTapsWithLargeFeedbackStayAtTheClampToTheEnd) {
  EchomtParams p = OneTap(10, 100, 150);
  p.tapCount = 2, p.tapDelay[1] = 15, p.tapGain[1] = -100;
  std::vector<int> r;
  ASSERT_TRUE(QxTapGraph_Response(p, 5000, &r));
  for (int t = 10; t <= 5000; t += 5) ASSERT_EQ(std::abs(r[t]), QX_TAPGRAPH_FULL) << t;
  const RECT client{0, 0, 400, 200};
  auto bars = QxTapGraph_Bars(p, client);
  auto last = std::find_if(bars.begin(), bars.end(), [](const QxTapBar& b) { return b.ms == 500; });
  ASSERT_NE(last, bars.end());  // range 500 at graphResolution 0
  EXPECT_EQ(last->rect.bottom - last->rect.top, 100) << "full height at the end of the range";
}

TEST(TapGraphBars, GeometryOnTheAxisBeyondTheRangeAndDrawingOrder) {
  const RECT client{0, 0, 400, 200};  // mid 100; bars use columns 1 to 398 for 0..range
  const QxTapGraphFrame f = QxTapGraph_Frame(client);
  struct Case {
    int ms, v;
    RECT want;
  } cases[] = {
      {0, 10000, {1, 0, 2, 100}},        // full height, standing on the axis
      {500, -10000, {398, 101, 399, 201}},  // hangs below the axis
      {250, 1, {199, 99, 200, 100}},     // at least one pixel
      {250, 0, {199, 100, 200, 101}},    // on the axis
      {800, 5000, {636, 50, 637, 100}},  // beyond the range: past the right edge, not held to it
  };
  for (auto& c : cases) {
    RECT r = QxTapGraph_Bar(f, 500, c.ms, c.v);
    EXPECT_TRUE(EqualRect(&r, &c.want)) << c.ms << " " << c.v << ": " << r.left << "," << r.top << ","
                                        << r.right << "," << r.bottom;
  }
  // Three taps, the second current: no echoes at feedback 0, the current tap drawn last.
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapCount = 3, p.currentTap = 1;
  p.tapDelay[1] = 200, p.tapDelay[2] = 800;
  auto bars = QxTapGraph_Bars(p, client);
  ASSERT_EQ(bars.size(), 3u);
  EXPECT_EQ(bars[0].kind, QxTapBarKind::Tap);
  EXPECT_GT(bars[1].rect.left, client.right);
  EXPECT_EQ(bars[2].kind, QxTapBarKind::CurrentTap);
  EXPECT_EQ(bars[2].ms, 200);
}

// The page in its frame over a live Multi-Tap Delay connected with `channels` channels.
class MultiTapPage : public PageTest {
 protected:
  void Open(WORD channels) {
    PagesSetUpOnce();
    QxHeadless_UseVirtualClock();
    QxInat_Load("C");
    rig_ = std::make_unique<EffectRig<CQxEchomt>>(PlainFormat(1, channels, 16), 16);
    rig_->effect->NonDelegatingQueryInterface(IID_IQxEchomtProp, prop.PutVoid());
    rig_->effect->NonDelegatingQueryInterface(IID_IUnknown, reinterpret_cast<void**>(&object_));
    page_ = MakeFromTable<IPropertyPage>(CLSID_QxEchomtPropPage, IID_IPropertyPage);
    ASSERT_TRUE(page_);
    HRESULT hr = S_OK;
    frame_ = CQxPropertyFrame::Open(page_, object_, nullptr, false, &hr);
    ASSERT_EQ(hr, S_OK);
    dlg = dlg_ = frame_->PageWindow();
    graph = Item(IDC_MT_GRAPH);
  }
  void Close() {
    PageTest::TearDown();
    frame_ = nullptr, page_ = nullptr, object_ = nullptr;
    prop.Reset();
    rig_.reset();
  }
  void TearDown() override { Close(); }
  // How many pixels of the graph have colour `c`.
  int Count(COLORREF c) {
    RECT rc;
    GetClientRect(graph, &rc);
    int n = 0;
    for (int x = 0; x < rc.right; ++x)
      for (int y = 0; y < rc.bottom; ++y) n += QxHeadless_Pixel(graph, x, y) == c;
    return n;
  }
  std::unique_ptr<EffectRig<CQxEchomt>> rig_;
  ComPtr<IQxEchomtProp> prop;
  HWND dlg = nullptr, graph = nullptr;
};

TEST_F(MultiTapPage, ReducingTheTapCountBelowTheCurrentTapMovesTheSelectionToTheLastTap) {
  Open(2);
  prop->SetTapCount(8);
  prop->SetCurrentTap(6);
  Notify();
  EXPECT_EQ(IsDlgButtonChecked(dlg, IDC_MT_TAP1 + 6), BST_CHECKED);
  prop->SetTapDelay3(321);
  SendMessage(Item(IDC_MT_TAP_COUNT), QXCM_SETVALUE, 1, 3);  // dragged down to 3
  SendMessage(dlg, WM_HSCROLL, MAKEWPARAM(QX_SCROLL_DRAGGING, 3),
              reinterpret_cast<LPARAM>(Item(IDC_MT_TAP_COUNT)));
  int32_t tap = -1;
  prop->GetCurrentTap(&tap);
  EXPECT_EQ(tap, 2);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(IsDlgButtonChecked(dlg, IDC_MT_TAP1 + i), i == 2 ? BST_CHECKED : BST_UNCHECKED) << i;
    EXPECT_EQ(IsWindowEnabled(GetDlgItem(dlg, IDC_MT_TAP1 + i)), i < 3) << i;
  }
  EXPECT_EQ(Text(IDC_MT_TAP_DELAY_EDIT), u"321") << "the tap controls follow the selection";
}

TEST_F(MultiTapPage, PanIsForStereoAloneAndNeverMovesTheGraph) {
  for (WORD channels : {1, 2, 6}) {
    Open(channels);
    EXPECT_EQ(IsWindowEnabled(GetDlgItem(dlg, IDC_MT_TAP_PAN)), channels == 2) << channels;
    EXPECT_EQ(IsWindowEnabled(GetDlgItem(dlg, IDC_MT_PAN_TEXT)), channels == 2) << channels;
    Close();
  }
  Open(2);
  rig_->effect->LoadPreset(24);  // stereo-panned taps with feedback
  QxHeadless_Pump();
  RECT rc;
  GetClientRect(graph, &rc);
  std::vector<COLORREF> before;
  for (int x = 0; x < rc.right; ++x) before.push_back(QxHeadless_Pixel(graph, x, rc.bottom / 4));
  for (int pan : {-100, 37, 100}) {
    EchomtParams p;
    prop->GetAllParameters(&p);
    for (int& v : p.tapPan) v = pan;
    prop->SetAllParameters(&p);
    Notify();
    for (int x = 0; x < rc.right; ++x) ASSERT_EQ(QxHeadless_Pixel(graph, x, rc.bottom / 4), before[x]) << pan << " " << x;
  }
}

TEST_F(MultiTapPage, GraphDrawsTapsAloneWithoutFeedbackAndClipsTapsBeyondTheRange) {
  Open(1);
  const COLORREF echo = QxGetUIColor(QXUI_COLOR_GRAPH_ECHO), tap = QxGetUIColor(QXUI_COLOR_GRAPH_MARK),
                 current = QxGetUIColor(QXUI_COLOR_GRAPH_CURRENT);
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapCount = 2, p.tapDelay[0] = 100, p.tapDelay[1] = 800;  // the second lies past 500 ms
  prop->SetAllParameters(&p);
  Notify();
  EXPECT_EQ(Count(echo), 0);
  EXPECT_GT(Count(current), 0);
  EXPECT_EQ(Count(tap), 0) << "the tap at 800 ms lies beyond the right edge, not on it";
  prop->SetFeedback(50);
  Notify();
  EXPECT_GT(Count(echo), 0);
  SendDlgItemMessage(dlg, IDC_MT_RESOLUTION, CB_SETCURSEL, 1, 0);
  Command(IDC_MT_RESOLUTION, CBN_SELCHANGE);
  EXPECT_GT(Count(tap), 0) << "at 1,000 ms the second tap shows";
  EXPECT_EQ(Text(IDC_MT_RANGE_END), u"1,000 ms");
}

TEST_F(MultiTapPage, TypedValuesAreHeldByTheSettersAndMoveTheirTrackbars) {
  Open(2);
  struct Case {
    int edit, bar;
    const char16_t* typed;
    const char16_t* shown;
    int position;
  } cases[] = {{IDC_MT_TAP_DELAY_EDIT, IDC_MT_TAP_DELAY, u"9999", u"2,500", 2500},
               {IDC_MT_TAP_DELAY_EDIT, IDC_MT_TAP_DELAY, u"1,234", u"1,234", 1234},
               {IDC_MT_LOW_PASS_EDIT, IDC_MT_LOW_PASS, u"12", u"100", 100}};
  for (auto& c : cases) {
    Type(c.edit, c.typed);
    EXPECT_EQ(Text(c.edit), c.shown);
    EXPECT_EQ(Position(c.bar), c.position);
  }
}
}  // namespace
