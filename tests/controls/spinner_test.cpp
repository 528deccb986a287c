// The Spinner: its scroll arithmetic, the buddy edit box it borrows and sits beside, and its
// press, key and wheel rules on the headless backend.
#include "value_rig.h"

namespace {

class SpinnerTest : public ValueControlTest {
 protected:
  HWND Edit(int x = 20, int y = 30) { return Child(page_, u"EDIT", 3023, WS_TABSTOP, x, y, 60, 21, u"1.000"); }
  HWND Spin(DWORD style = QXSP_VERTICAL) {
    HWND h = Child(page_, QX_SPINNER_CLASS, 8008, style, 0, 0, 13, 21);
    SendMessage(h, QXCM_SETMAX, 0, 4000);
    SendMessage(h, QXCM_SETVALUE, 0, 1000);
    return h;
  }
  static RECT Placed(HWND h) {
    RECT r;
    GetWindowRect(h, &r);
    MapWindowPoints(nullptr, GetParent(h), reinterpret_cast<POINT*>(&r), 2);
    return r;
  }
};

TEST_F(SpinnerTest, DefScrollProcKeepsPositionForEndAndPress) {
  struct Case {
    UINT msg;
    int code, lo, hi, value, position, want;
  } cases[] = {
      {WM_VSCROLL, QX_SCROLL_END, 0, 4000, 1000, 1234, 1234},
      {WM_VSCROLL, QX_SCROLL_PRESS, 0, 4000, 1000, 77, 77},
      {WM_VSCROLL, QX_SCROLL_LINEUP, 0, 4000, 1000, 77, 1001},
      {WM_HSCROLL, QX_SCROLL_LINEUP, 0, 4000, 1000, 77, 999},
      {WM_VSCROLL, QX_SCROLL_TOP, -10, 10, 5, 0, 0},
      {WM_HSCROLL, QX_SCROLL_TOP, -10, 10, 5, 0, -10},
      {WM_VSCROLL, QX_SCROLL_PAGEDOWN, -10, 10, -9, 0, -10},
  };
  HWND h = Spin();
  for (const Case& c : cases) {
    SendMessage(h, QXCM_SETMIN, 0, c.lo);
    SendMessage(h, QXCM_SETMAX, 0, c.hi);
    SendMessage(h, QXCM_SETVALUE, 0, c.value);
    EXPECT_EQ(Spinner_DefScrollProc(c.msg, MAKEWPARAM(c.code, 0), h, 1, 0, c.position), c.want) << c.code;
    EXPECT_EQ(Value(h), c.want);
  }
}

TEST_F(SpinnerTest, BuddySitsAtTheEditsRightEdgeAndRebindingRestoresItsProcedure) {
  HWND a = Edit(), b = Edit(120, 60), h = Spin();
  auto procA = GetWindowLongPtr(a, GWLP_WNDPROC);
  SendMessage(h, QXSP_SETBUDDY, reinterpret_cast<WPARAM>(a), 8);
  RECT s = Placed(h), e = Placed(a);
  EXPECT_EQ(s.left, e.right);
  EXPECT_EQ(s.right - s.left, QX_SPINNER_WIDTH);
  EXPECT_EQ(s.top, e.top);
  EXPECT_EQ(s.bottom, e.bottom);
  EXPECT_EQ(SendMessage(a, EM_GETLIMITTEXT, 0, 0), 8);
  EXPECT_NE(GetWindowLongPtr(a, GWLP_WNDPROC), procA);
  EXPECT_NE(GetPropW(a, u"SpinMeLo"), nullptr);
  EXPECT_EQ(GetPropW(a, u"SpinMeRound"), reinterpret_cast<HANDLE>(GetWindowLongPtr(h, 0)));

  SendMessage(h, QXSP_SETBUDDY, reinterpret_cast<WPARAM>(b), 10);
  EXPECT_EQ(GetWindowLongPtr(a, GWLP_WNDPROC), procA);
  EXPECT_EQ(GetPropW(a, u"SpinMeLo"), nullptr);
  EXPECT_EQ(GetPropW(a, u"SpinMeRound"), nullptr);
  EXPECT_NE(GetWindowLongPtr(b, GWLP_WNDPROC), procA);
  EXPECT_EQ(SendMessage(h, QXSP_GETBUDDY, 0, 0), reinterpret_cast<LRESULT>(b));
  EXPECT_EQ(Placed(h).left, Placed(b).right);

  DestroyWindow(b);  // the edit going first leaves the spinner unbound, not dangling
  EXPECT_EQ(SendMessage(h, QXSP_GETBUDDY, 0, 0), 0);
}

TEST_F(SpinnerTest, ArrowKeysInTheBuddyStepAndKeyUpEnds) {
  HWND e = Edit(), h = Spin();
  SendMessage(h, QXSP_SETBUDDY, reinterpret_cast<WPARAM>(e), 8);
  PageStep() = 1000;
  SetFocus(e);
  Seen_().clear();
  QxHeadless_Key(VK_UP);
  QxHeadless_Key(VK_PRIOR);
  EXPECT_EQ(Codes(), (std::vector<int>{QX_SCROLL_LINEUP, QX_SCROLL_END, QX_SCROLL_PAGEUP, QX_SCROLL_END}));
  EXPECT_EQ(Value(h), 2001);
  QxHeadless_Type(u"2");  // other keys still reach the edit box
  WCHAR text[16];
  GetWindowTextW(e, text, 16);
  EXPECT_EQ(std::u16string(text), u"21.000");
}

TEST_F(SpinnerTest, PressStepsAtOnceRepeatsAndEnds) {
  struct Case {
    DWORD style;
    int x, y;
    std::vector<int> codes;
    int value;
  } cases[] = {
      {QXSP_VERTICAL, 6, 3, {9, 0, 0, 8}, 1002},
      {QXSP_VERTICAL, 6, 18, {9, 1, 1, 8}, 998},
      {0, 2, 10, {9, 0, 0, 8}, 998},
  };
  for (const Case& c : cases) {
    HWND h = Spin(c.style);
    Seen_().clear();
    QxHeadless_ButtonDown(h, c.x, c.y);
    QxHeadless_Advance(260);
    QxHeadless_ButtonUp(h, c.x, c.y);
    EXPECT_EQ(Codes(), c.codes) << c.style << " " << c.y;
    EXPECT_EQ(Value(h), c.value);
    DestroyWindow(h);
  }
}

TEST_F(SpinnerTest, NotifyOnPressAndFocusRules) {
  HWND e = Edit();
  HWND plain = Spin(QXSP_VERTICAL | QXSP_NOTIFYPRESS);
  SetFocus(e);
  Seen_().clear();
  QxHeadless_Click(plain, 6, 3);
  EXPECT_EQ(Commands(page_).back(), (std::pair<int, int>{8008, 3}));
  EXPECT_EQ(GetFocus(), plain);
  DestroyWindow(plain);

  HWND embedded = Spin(QXSP_VERTICAL | QXSP_EMBEDDED);
  SetFocus(e);
  QxHeadless_ButtonDown(embedded, 6, 3);
  EXPECT_EQ(GetFocus(), e);
  QxHeadless_ButtonUp(embedded, 6, 3);
  EXPECT_EQ(GetFocus(), e);
}

TEST_F(SpinnerTest, WheelStepsAndAnswers105) {
  HWND h = Spin();
  Seen_().clear();
  EXPECT_EQ(SendMessage(h, WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-240)), 0), 105);
  EXPECT_EQ(Codes(), (std::vector<int>{1, 1, 8}));
  EXPECT_EQ(Value(h), 998);
}

}  // namespace
