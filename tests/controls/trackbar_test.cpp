// The Trackbar through its messages and injected keys, wheel and mouse on the headless backend,
// with a parent that steps values as the pages do.
#include "value_rig.h"

namespace {

class TrackbarTest : public ValueControlTest {
 protected:
  // A 118-pixel bar: a 100-pixel track, one pixel per value on 0..100.
  HWND Bar(DWORD style = 0, int cx = 118, int cy = 28) {
    HWND h = Child(page_, QX_TRACKBAR_CLASS, 7, style, 10, 10, cx, cy);
    SetFocus(h);
    QxHeadless_Pump();
    Seen_().clear();
    return h;
  }
  static POINT ThumbCentre(HWND h) {
    RECT r;
    TrackbarInst_GetThumbRect(Trackbar_Inst(h), &r);
    return POINT{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
  }
};

TEST_F(TrackbarTest, PageKeysRaiseTheValueOnBothOrientations) {
  struct Case {
    DWORD style;
    UINT key;
    int code, value;
  } cases[] = {
      {0, VK_PRIOR, QX_SCROLL_PAGEDOWN, 60},
      {0, VK_NEXT, QX_SCROLL_PAGEUP, 40},
      {QXTB_VERTICAL, VK_PRIOR, QX_SCROLL_PAGEUP, 60},
      {QXTB_VERTICAL, VK_NEXT, QX_SCROLL_PAGEDOWN, 40},
      {0, VK_RIGHT, QX_SCROLL_LINEDOWN, 51},
      {0, VK_HOME, QX_SCROLL_TOP, 0},
      {QXTB_VERTICAL, VK_HOME, QX_SCROLL_TOP, 100},
  };
  for (const Case& c : cases) {
    HWND h = Bar(c.style);
    QxHeadless_Key(c.key);
    EXPECT_EQ(Codes(), (std::vector<int>{c.code, QX_SCROLL_END})) << c.style << " key " << c.key;
    EXPECT_EQ(Value(h), c.value) << c.style << " key " << c.key;
    DestroyWindow(h);
  }
}

TEST_F(TrackbarTest, DigitsJumpToTenthsAndOtherKeysGoToTheParent) {
  HWND h = Bar();
  QxHeadless_Key('3');
  EXPECT_EQ(Value(h), 30);
  EXPECT_EQ(Codes(), (std::vector<int>{QX_SCROLL_POSITION}));
  QxHeadless_KeyDown(VK_NUMPAD0);
  auto n = Of(page_, WM_NOTIFY);
  ASSERT_EQ(n.size(), 1u);
  EXPECT_EQ(n[0].wParam, 7u);
  EXPECT_EQ(Value(h), 30);
}

TEST_F(TrackbarTest, OctaveLawGivesEachDoublingTheSameTravel) {
  HWND h = Bar(QXTB_OCTAVE, 318);
  SendMessage(h, QXCM_SETMIN, 0, 10);
  SendMessage(h, QXCM_SETMAX, 0, 5000);
  int x[3];
  for (int i = 0; i < 3; ++i) {
    SendMessage(h, QXCM_SETVALUE, 1, 20 << i);
    x[i] = ThumbCentre(h).x;
  }
  EXPECT_GT(x[1] - x[0], 20);
  EXPECT_NEAR(x[1] - x[0], x[2] - x[1], 1);
}

TEST_F(TrackbarTest, RangeChangeSetsTheDefault) {
  struct Case {
    short lo, hi;
    int def;
  } cases[] = {{-800, 0, -800}, {-10, 10, 0}, {10, 5000, 2505}, {-100, 100, 0}};
  HWND h = Bar();
  for (const Case& c : cases) {
    SendMessage(h, QXCM_SETRANGE, 0, MAKELPARAM(static_cast<WORD>(c.lo), static_cast<WORD>(c.hi)));
    EXPECT_EQ(Trackbar_Inst(h)->defaultValue, c.def) << c.lo << ".." << c.hi;
  }
}

TEST_F(TrackbarTest, WheelSendsPageCodesOrLineCodesWithCtrl) {
  struct Case {
    DWORD style;
    int delta;
    bool ctrl;
    std::vector<int> codes;
  } cases[] = {
      {0, 120, false, {3, 8}},
      {0, 240, false, {3, 3, 8}},
      {0, 30, false, {3, 8}},
      {0, -120, false, {2, 8}},
      {QXTB_VERTICAL, 120, false, {2, 8}},
      {0, 120, true, {1, 8}},
  };
  for (const Case& c : cases) {
    HWND h = Bar(c.style);
    if (c.ctrl) QxHeadless_KeyDown(VK_CONTROL);
    Seen_().clear();
    QxHeadless_Wheel(h, 50, 10, c.delta);
    if (c.ctrl) QxHeadless_KeyUp(VK_CONTROL);
    EXPECT_EQ(Codes(), c.codes) << c.style << " " << c.delta << " " << c.ctrl;
    DestroyWindow(h);
  }
}

TEST_F(TrackbarTest, DragFollowsThePointerAndCtrlMakesItFine) {
  HWND h = Bar();
  POINT p = ThumbCentre(h);
  EXPECT_EQ(p.x, 9 + 50);
  QxHeadless_ButtonDown(h, p.x + 2, p.y);
  QxHeadless_MouseMove(h, p.x + 22, p.y);
  EXPECT_EQ(Value(h), 70);
  QxHeadless_KeyDown(VK_CONTROL);
  QxHeadless_MouseMove(h, p.x + 33, p.y);  // 11 pixels: 6 values, rounded away from zero
  EXPECT_EQ(Value(h), 76);
  QxHeadless_KeyUp(VK_CONTROL);
  QxHeadless_ButtonUp(h, p.x + 33, p.y);
  std::vector<int> codes = Codes();
  EXPECT_EQ(codes.front(), QX_SCROLL_PRESS);
  EXPECT_EQ(std::vector<int>(codes.end() - 2, codes.end()), (std::vector<int>{QX_SCROLL_POSITION, QX_SCROLL_END}));
  EXPECT_EQ(Value(h), 76);
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(TrackbarTest, EscapeRestoresTheValueAndEnds) {
  HWND h = Bar();
  POINT p = ThumbCentre(h);
  QxHeadless_ButtonDown(h, p.x, p.y);
  QxHeadless_MouseMove(h, p.x - 37, p.y);
  EXPECT_EQ(Value(h), 13);
  QxHeadless_Key(VK_ESCAPE);
  EXPECT_EQ(Value(h), 50);
  EXPECT_EQ(Codes().back(), QX_SCROLL_END);
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(TrackbarTest, HeldPressOnTheTrackRepeatsEvery250Ms) {
  HWND h = Bar();
  QxHeadless_ButtonDown(h, 100, 10);  // right of the thumb: towards the maximum
  EXPECT_EQ(Codes(), (std::vector<int>{QX_SCROLL_PRESS, QX_SCROLL_PAGEDOWN}));
  QxHeadless_Advance(260);
  QxHeadless_ButtonUp(h, 100, 10);
  EXPECT_EQ(Codes(), (std::vector<int>{QX_SCROLL_PAGEDOWN, QX_SCROLL_END}));
  EXPECT_EQ(Value(h), 70);
}

TEST_F(TrackbarTest, DoubleClickOnTheThumbGoesToTheDefault) {
  HWND h = Bar();
  SendMessage(h, QXCM_SETVALUE, 1, 80);
  SendMessage(h, QXCM_SETDEFAULT, 0, 25);
  POINT p = ThumbCentre(h);
  QxHeadless_Click(h, p.x, p.y);
  QxHeadless_Click(h, p.x, p.y);
  EXPECT_EQ(Value(h), 25);
}

TEST_F(TrackbarTest, ThumbIsDrawnWhereTheValueIs) {
  HWND h = Bar();
  SendMessage(h, QXCM_SETVALUE, 1, 0);
  POINT p = ThumbCentre(h);
  EXPECT_EQ(p.x, 9);
  EXPECT_EQ(QxHeadless_Pixel(h, p.x, p.y), RGB(0, 120, 215));
  EXPECT_EQ(QxHeadless_Pixel(h, 9 + 60, p.y), RGB(200, 200, 200));
  SendMessage(h, QXCM_SETVALUE, 1, 100);
  EXPECT_EQ(QxHeadless_Pixel(h, 9 + 60, p.y), RGB(0, 120, 215));
  EnableWindow(h, FALSE);
  EXPECT_EQ(QxHeadless_Pixel(h, 9 + 60, p.y), RGB(191, 191, 191));
}

// Two far-apart repaints in one pass (focus leaving an edit box for a bar) must not wipe a control
// standing between them: the parent repaints their whole bounding box.
TEST_F(TrackbarTest, ControlsBetweenTwoRepaintsStayDrawn) {
  HWND v = Child(page_, QX_TRACKBAR_CLASS, 8, QXTB_VERTICAL, 200, 5, 24, 110);
  HWND e = Child(page_, u"EDIT", 9, 0, 240, 60, 50, 21);
  HWND h = Bar();
  SetFocus(e);
  QxHeadless_Pump();
  SetFocus(h);
  EXPECT_EQ(QxHeadless_Pixel(v, 9, 30), RGB(200, 200, 200));
}

}  // namespace
