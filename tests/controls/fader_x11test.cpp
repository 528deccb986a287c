// A fader on a real X display, dragged by xdotool as a user would: its parent hears the press, the
// drag steps with values that follow the pointer, the final position and the end.
#include "x11_rig.h"

#include "kernel/controls/fader.h"
#include "platform/ui/x11.h"

using namespace x11rig;

namespace {

using FaderX11 = XvfbTest;

struct Heard {
  int code, carried, value;  // carried: the value in the message's high word
};
std::vector<Heard> g_heard;

LRESULT HostProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_VSCROLL) {
    const int v = Fader_DefScrollProc(m, w, reinterpret_cast<HWND>(l), 1, 10);
    g_heard.push_back({LOWORD(w), static_cast<short>(HIWORD(w)), v});
    return 0;
  }
  return DefWindowProc(h, m, w, l);
}

TEST_F(FaderX11, FaderDraggedByThePointerTellsItsParentEachStep) {
  ASSERT_NE(dpy_, nullptr) << "Xvfb did not start (display '" << display_ << "')";
  WNDCLASSW wc{};
  wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(HostProc);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_3DFACE + 1);
  wc.lpszClassName = u"FaderX11Host";
  ASSERT_TRUE(RegisterClassW(&wc));
  ASSERT_TRUE(FaderInitialize(nullptr));
  QxX11_SetThreadDisplay(dpy_);
  HWND host = CreateWindowExW(0, u"FaderX11Host", u"", WS_POPUP | WS_VISIBLE, 40, 40, 120, 260, nullptr, nullptr,
                              nullptr, nullptr);
  QxX11_SetThreadDisplay(nullptr);
  // 212 pixels high: the track runs over 200 of them, two per unit of 0..100.
  HWND fader = CreateWindowExW(0, QX_FADER_CLASS, u"", WS_CHILD | WS_VISIBLE | 0x01, 20, 20, 40, 212, host,
                               reinterpret_cast<HMENU>(7), nullptr, nullptr);
  ASSERT_NE(fader, nullptr);
  ASSERT_TRUE(PumpUntil([&] { return IsWindowVisible(fader) != 0; }));
  RECT r;
  GetWindowRect(fader, &r);  // root coordinates under X11
  const int x = r.left + 20, y = r.top + 106;  // the centre line of the value 50
  Shell("xdotool mousemove --sync " + std::to_string(x) + " " + std::to_string(y) + " mousedown 1");
  for (int dy : {20, 40, 60})
    Shell("xdotool mousemove --sync " + std::to_string(x) + " " + std::to_string(y - dy));
  Shell("xdotool mouseup 1");
  ASSERT_TRUE(PumpUntil([] { return !g_heard.empty() && g_heard.back().code == QX_SCROLL_END; }));

  ASSERT_GE(g_heard.size(), 4u);
  EXPECT_EQ(g_heard.front().code, QX_SCROLL_PRESS);
  int last = 50;
  for (size_t i = 1; i + 2 < g_heard.size(); ++i) {
    EXPECT_EQ(g_heard[i].code, QX_SCROLL_DRAGGING);
    EXPECT_GE(g_heard[i].value, last);  // up the screen, up the range, never back
    EXPECT_EQ(g_heard[i].carried, g_heard[i].value);
    last = g_heard[i].value;
  }
  const Heard& position = g_heard[g_heard.size() - 2];
  EXPECT_EQ(position.code, QX_SCROLL_POSITION);
  EXPECT_EQ(position.value, 80);  // 60 pixels up: 30 units
  EXPECT_EQ(position.carried, 80);
  EXPECT_EQ(last, 80);
  EXPECT_EQ(SendMessage(fader, QXCM_GETVALUE, 0, 0), 80);
  DestroyWindow(host);
  FaderTerminate(nullptr);
}

}  // namespace
