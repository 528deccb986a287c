// The Fader through messages and injected mouse, keys and wheel on the headless backend: where the
// thumb stands, what each gesture does to the values and which scroll codes reach the parent.
#include <vector>

#include "kernel/controls/fader.h"
#include "ui_rig.h"

namespace {

struct Event {
  int code, v0, v1;
  UINT mask;
};
std::vector<Event> g_events;
std::vector<UINT> g_keys;  // keys the fader passed on

// A parent as the pages are: scroll messages go through Fader_DefScrollProc (line 1, page 10).
LRESULT HostProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_VSCROLL || m == WM_HSCROLL) {
    const int v = Fader_DefScrollProc(m, w, reinterpret_cast<HWND>(l), 1, 10);
    g_events.push_back({LOWORD(w), v, v, 1});
    return 0;
  }
  if (m == WM_NOTIFY && reinterpret_cast<NMHDR*>(l)->code == static_cast<UINT>(QXN_MULTIVALUE)) {
    const auto* nm = reinterpret_cast<QxNmValues*>(l);
    g_events.push_back({nm->code, nm->values[0], nm->values[1], nm->mask});
    return 0;
  }
  if (m == WM_NOTIFY && reinterpret_cast<NMHDR*>(l)->code == static_cast<UINT>(QXN_KEY))
    g_keys.push_back(reinterpret_cast<QxNmKey*>(l)->key);
  return RecorderProc(h, m, w, l);
}

class FaderTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    static bool once = [] {
      WNDCLASSW wc{};
      wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(HostProc);
      wc.lpszClassName = u"FaderHost";
      RegisterClassW(&wc);
      return FaderInitialize(nullptr);
    }();
    ASSERT_TRUE(once);
    g_events.clear();
    g_keys.clear();
    host_ = CreateWindowExW(0, u"FaderHost", u"", WS_POPUP | WS_VISIBLE, 0, 0, 200, 260, nullptr, nullptr,
                            nullptr, nullptr);
    owned_.push_back(host_);
  }
  // A fader 40 by 212 at (10, 10): its track runs from y 6 to 206, 200 pixels.
  HWND Make(UINT style, int lo, int hi, int value) {
    HWND f = Child(host_, QX_FADER_CLASS, 7, style, 10, 10, 40, 212);
    SendMessage(f, QXCM_SETRANGE, 0, MAKELPARAM(static_cast<WORD>(lo), static_cast<WORD>(hi)));
    const int both[2] = {value, value};
    SendMessage(f, FDM_SETVALUES, 1, reinterpret_cast<LPARAM>(both));
    SetFocus(f);
    QxHeadless_Pump();
    g_events.clear();
    return f;
  }
  static int Value(HWND f, int ch = 0) { return static_cast<int>(SendMessage(f, FDM_GETVALUES, MAKEWPARAM(0, ch + 1), 0)); }
  static std::vector<int> Codes() {
    std::vector<int> c;
    for (auto& e : g_events) c.push_back(e.code);
    return c;
  }
  static int ThumbY(int lo, int hi, int v) { return 206 - (v - lo) * 200 / (hi - lo); }  // linear
  HWND host_ = nullptr;
};

TEST_F(FaderTest, ThumbCentreLineStandsOnTheValuesPixel) {
  struct Case {
    UINT style;
    int lo, hi, value, y;
  } cases[] = {
      {0x81, -800, 0, -800, 206},  // the minimum of a level range at the bottom
      {0x81, -800, 0, 0, 6},
      {0x81, 0, 1000, 30, 156},    // Curve(30) = 250: a quarter of the travel
      {0x01, 0, 100, 25, 156},
      {0x01, 5, 5, 5, 206},        // range 0: offset 0, no division
  };
  for (const Case& c : cases) {
    HWND f = Make(c.style, c.lo, c.hi, c.value);
    EXPECT_EQ(QxHeadless_Pixel(f, 28, c.y), RGB(0, 120, 215)) << c.lo << ".." << c.hi << " at " << c.value;
    EXPECT_NE(QxHeadless_Pixel(f, 28, c.y - 2), RGB(0, 120, 215)) << c.value;
    DestroyWindow(f);
  }
}

TEST_F(FaderTest, KeysScrollThroughTheParent) {
  struct Case {
    int lo, hi, value;
    bool ctrl;
    UINT key;
    int want;
  } cases[] = {
      {-800, 0, -400, true, VK_PRIOR, -300},  // Ctrl: ten pages
      {-800, 0, -400, false, VK_NEXT, -410},
      {-800, 0, -400, false, VK_HOME, 0},
      {-10, 10, 5, false, VK_HOME, 0},        // straddling: Home goes to 0
      {-10, 10, 5, true, VK_HOME, 10},        // with Ctrl to the maximum
      {-10, 10, 5, false, VK_END, -10},
      {0, 100, 50, false, VK_UP, 51},
      {0, 100, 50, false, VK_F3, 49},
      {-800, 0, -10, false, '5', -400},       // digits: tenths of the range
      {0, 100, 50, false, VK_NUMPAD9, 50},    // the pad's digits do nothing
  };
  for (const Case& c : cases) {
    HWND f = Make(0x81, c.lo, c.hi, c.value);
    if (c.ctrl) QxHeadless_KeyDown(VK_CONTROL);
    QxHeadless_Key(c.key);
    if (c.ctrl) QxHeadless_KeyUp(VK_CONTROL);
    EXPECT_EQ(Value(f), c.want) << "key " << c.key << " from " << c.value;
    DestroyWindow(f);
  }
  Make(0x81, 0, 100, 50);
  QxHeadless_Key(VK_PRIOR);
  EXPECT_EQ(Codes(), (std::vector<int>{2, 8}));
  g_keys.clear();
  QxHeadless_Key(VK_TAB);
  EXPECT_EQ(g_keys, std::vector<UINT>{VK_TAB});
}

TEST_F(FaderTest, DragFollowsThePointerAndReportsEachStep) {
  HWND f = Make(0x01, 0, 100, 50);
  const int y = ThumbY(0, 100, 50);
  QxHeadless_ButtonDown(f, 20, y + 2);  // two pixels below the centre line: that offset is kept
  QxHeadless_MouseMove(f, 20, y - 18);
  QxHeadless_MouseMove(f, 20, y - 38);
  EXPECT_EQ(Value(f), 70);  // the thumb centre 40 pixels up: +20
  QxHeadless_KeyDown(VK_CONTROL);
  QxHeadless_MouseMove(f, 20, y - 48);  // fine: half of 10 pixels
  QxHeadless_KeyUp(VK_CONTROL);
  EXPECT_EQ(Value(f), 75);
  QxHeadless_MouseMove(f, 20, y - 49);  // coarse again, from where the thumb is
  EXPECT_EQ(Value(f), 75);
  QxHeadless_ButtonUp(f, 20, y - 49);
  EXPECT_EQ(Codes(), (std::vector<int>{9, 5, 5, 5, 5, 4, 8}));
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(FaderTest, EscapeAndCancelModeRestoreOrKeepAndEndWithCodeEight) {
  for (bool escape : {true, false}) {
    HWND f = Make(0x81, -800, 0, -237);
    const int y = FaderInst_ValueToPixel(reinterpret_cast<FaderInstRec*>(GetWindowLongPtr(f, 0)), -237);
    QxHeadless_ButtonDown(f, 20, y);
    QxHeadless_MouseMove(f, 20, y - 30);
    const int dragged = Value(f);
    if (escape) QxHeadless_Key(VK_ESCAPE);
    else SendMessage(f, WM_CANCELMODE, 0, 0);
    EXPECT_EQ(Value(f), escape ? -237 : dragged);
    EXPECT_EQ(Codes(), (std::vector<int>{9, 5, 4, 8}));
    EXPECT_EQ(GetCapture(), nullptr);
    g_events.clear();
    QxHeadless_ButtonUp(f, 20, y);
    EXPECT_TRUE(g_events.empty());
    DestroyWindow(f);
  }
}

TEST_F(FaderTest, HoldingTheTrackRepeatsEveryQuarterSecondUntilTheThumbArrives) {
  HWND f = Make(0x01, 0, 100, 50);
  QxHeadless_ButtonDown(f, 20, ThumbY(0, 100, 80));
  EXPECT_EQ(Value(f), 60);
  QxHeadless_Advance(249);
  EXPECT_EQ(Value(f), 60);
  QxHeadless_Advance(1);
  EXPECT_EQ(Value(f), 70);
  QxHeadless_Advance(1000);  // 80, and then the thumb covers the pointer
  EXPECT_EQ(Value(f), 80);
  QxHeadless_ButtonUp(f, 20, ThumbY(0, 100, 80));
  EXPECT_EQ(Codes(), (std::vector<int>{9, 2, 2, 2, 8}));
}

TEST_F(FaderTest, WheelMovesByTenANotchAndAtLeastOne) {
  struct Case {
    bool ctrl;
    int delta, want;
  } cases[] = {{false, 120, 60}, {false, -240, 30}, {false, 10, 51}, {false, -1, 49}, {true, 120, 51}};
  for (const Case& c : cases) {
    HWND f = Make(0x01, 0, 100, 50);
    if (c.ctrl) QxHeadless_KeyDown(VK_CONTROL);
    QxHeadless_Wheel(f, 20, 20, c.delta);
    if (c.ctrl) QxHeadless_KeyUp(VK_CONTROL);
    EXPECT_EQ(Value(f), c.want) << c.delta;
    EXPECT_EQ(Codes(), std::vector<int>{4});
    DestroyWindow(f);
  }
}

TEST_F(FaderTest, RangeChangesPickTheDefaultAndDoubleClickAppliesIt) {
  struct Case {
    int lo, hi, def;
  } cases[] = {{-800, 0, -800}, {-10, 10, 0}, {0, 100, 50}, {-5, 3, 0}};
  for (const Case& c : cases) {
    HWND f = Make(0x81, c.lo, c.hi, c.hi);
    const int y = FaderInst_ValueToPixel(reinterpret_cast<FaderInstRec*>(GetWindowLongPtr(f, 0)), c.hi);
    QxHeadless_Click(f, 20, y);
    QxHeadless_Click(f, 20, y);
    EXPECT_EQ(Value(f), c.def) << c.lo << ".." << c.hi;
    DestroyWindow(f);
  }
  HWND f = Make(0x81, -800, 0, 0);
  EXPECT_EQ(SendMessage(f, QXCM_SETDEFAULT, 0, -60), -60);
  EXPECT_EQ(SendMessage(f, QXCM_SETDEFAULT, 0, 50), 0);
}

TEST_F(FaderTest, StereoMovesItsActiveChannelsAndNotifiesWithTheirMask) {
  HWND f = Make(0x41, 0, 100, 50);
  ASSERT_TRUE(SendMessage(f, FDM_GETSTYLE, 0, 0) & FDS_MULTIVALUE);
  int both[2] = {40, 60};
  SendMessage(f, FDM_SETVALUES, 1, reinterpret_cast<LPARAM>(both));
  struct Case {
    UINT select, key;
    int v0, v1;
    UINT mask;
  } cases[] = {{'L', VK_UP, 41, 60, 1}, {'R', VK_PRIOR, 41, 70, 2}, {'B', VK_NEXT, 31, 60, 3}};
  for (const Case& c : cases) {
    g_events.clear();
    QxHeadless_Key(c.select);
    QxHeadless_KeyDown(c.key);
    ASSERT_EQ(g_events.size(), 1u);
    EXPECT_EQ(g_events[0].code, c.key == VK_UP ? 0 : c.key == VK_PRIOR ? 2 : 3);
    EXPECT_EQ(g_events[0].v0, c.v0);
    EXPECT_EQ(g_events[0].v1, c.v1);
    EXPECT_EQ(g_events[0].mask, c.mask);
    QxHeadless_KeyUp(c.key);
  }
  // Thumbs side by side, 20 pixels each: the outer half of the left one takes it alone, and a
  // double click there gives the right channel its value; the inner half takes both.
  const auto* inst = reinterpret_cast<FaderInstRec*>(GetWindowLongPtr(f, 0));
  const int y0 = FaderInst_ValueToPixel(inst, 31), y1 = FaderInst_ValueToPixel(inst, 60);
  QxHeadless_Click(f, 3, y0);
  EXPECT_EQ(inst->activeMask, 1u);
  QxHeadless_Click(f, 3, y0);
  EXPECT_EQ(Value(f, 1), 31);
  both[1] = 60;
  SendMessage(f, FDM_SETVALUES, 1, reinterpret_cast<LPARAM>(both));
  g_events.clear();
  QxHeadless_ButtonDown(f, 22, y1);
  QxHeadless_MouseMove(f, 22, y1 - 20);
  QxHeadless_ButtonUp(f, 22, y1 - 20);
  EXPECT_EQ(g_events.back().mask, 3u);
  EXPECT_EQ(Value(f, 1) - Value(f, 0), 20);  // both moved, their distance kept
  SendMessage(f, FDM_SETLINK2, 1, 0);
  QxHeadless_Click(f, 22, FaderInst_ValueToPixel(inst, Value(f, 1)));
  EXPECT_EQ(inst->activeMask, 2u);
}

}  // namespace

namespace {

// An owner window drives an embedded fader through the instance functions, in its own coordinates.
TEST_F(UiTest, EmbeddedFaderDrawsAndTakesInputWhereItsOwnerPutsIt) {
  HWND owner = Top(200, 240);
  FaderInstRec f;
  FaderInst_Init(&f, FDS_VERTICAL, nullptr);
  FaderInst_SetOwnerHwnd(&f, owner);
  std::vector<int> codes;
  FaderInst_SetScrollProc(&f, [](void*, UINT id, void* data, int code, const int* values, UINT) {
    if (id == 3) static_cast<std::vector<int>*>(data)->push_back(code * 1000 + values[0]);
  }, &codes);
  FaderInst_SetId(&f, 3);
  const RECT at{100, 10, 140, 222};  // its track from y 16 to 216
  FaderInst_Move(&f, &at);
  QxHeadless_Pump();
  HDC dc = GetDC(owner);
  FaderInst_Draw(&f, dc);
  ReleaseDC(owner, dc);
  EXPECT_EQ(QxHeadless_Pixel(owner, 128, 116), RGB(0, 120, 215));
  FaderInst_Message(&f, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM_XY(120, 116));
  EXPECT_EQ(GetCapture(), owner);
  FaderInst_Message(&f, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM_XY(120, 96));
  FaderInst_Message(&f, WM_LBUTTONUP, 0, MAKELPARAM_XY(120, 96));
  EXPECT_EQ(codes, (std::vector<int>{9050, 5060, 4060, 8060}));
  EXPECT_EQ(GetCapture(), nullptr);
  FaderInst_Deinit(&f);
}

}  // namespace
