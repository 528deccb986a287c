// The X11 backend on a real display: an Xvfb server started for the test, the sample dialog as a
// window of its own (its pixels equal the headless render) and inside a window that another
// process made, driven there by xdotool clicks and typing.
#include "x11_rig.h"
// After Xlib, which the rig brings in after gtest.
#include <X11/Xutil.h>

#include "platform/ui/headless.h"
#include "platform/ui/sample_dialog.h"
#include "platform/ui/x11.h"

using namespace x11rig;

namespace {

class X11 : public XvfbTest {
 protected:
  void SetUp() override {
    ASSERT_NE(dpy_, nullptr) << "Xvfb did not start (display '" << display_ << "')";
    QxSample_Log().clear();
  }
  static bool Logged(int id, int code) {
    for (auto [i, c] : QxSample_Log())
      if (i == id && c == code) return true;
    return false;
  }
};

TEST_F(X11, OwnWindowShowsWhatTheHeadlessBackendRenders) {
  HWND headless = CreateDialogIndirectParamW(nullptr, QxSample_Template(false), nullptr, QxSample_Proc, 0);
  RECT rc;
  GetClientRect(headless, &rc);
  std::vector<COLORREF> expected;
  for (int y = 0; y < rc.bottom; ++y)
    for (int x = 0; x < rc.right; ++x) expected.push_back(QxHeadless_Pixel(headless, x, y));
  DestroyWindow(headless);

  QxX11_SetThreadDisplay(dpy_);
  HWND dlg = CreateDialogIndirectParamW(nullptr, QxSample_Template(false), nullptr, QxSample_Proc, 0);
  QxX11_SetThreadDisplay(nullptr);
  ASSERT_NE(dlg, nullptr);
  Window w = QxX11_WindowOf(dlg);
  ASSERT_NE(w, 0u);
  int mismatches = 0;
  EXPECT_TRUE(PumpUntil([&] {
    XSync(dpy_, False);
    XImage* img = XGetImage(dpy_, w, 0, 0, rc.right, rc.bottom, AllPlanes, ZPixmap);
    if (!img) return false;
    mismatches = 0;
    for (int y = 0; y < rc.bottom; ++y)
      for (int x = 0; x < rc.right; ++x) {
        unsigned long p = XGetPixel(img, x, y);
        COLORREF c = RGB((p >> 16) & 0xFF, (p >> 8) & 0xFF, p & 0xFF);
        mismatches += c != expected[y * rc.right + x];
      }
    XDestroyImage(img);
    return mismatches == 0;
  }));
  EXPECT_EQ(mismatches, 0);
  DestroyWindow(dlg);
}

TEST_F(X11, DialogInsideAnotherProcesssWindowAnswersClicksAndTyping) {
  Child host({QXUI_SAMPLE, "--host"}, true);
  unsigned long xid = 0;
  ASSERT_NE(host.out, nullptr);
  ASSERT_EQ(fscanf(host.out, "%lu", &xid), 1);
  HWND parent = QxX11_WrapWindow(dpy_, xid);
  HWND dlg = CreateDialogIndirectParamW(nullptr, QxSample_Template(true), parent, QxSample_Proc, 0);
  ASSERT_NE(dlg, nullptr);
  PumpUntil([&] { return IsWindowVisible(dlg) != 0; });
  auto click = [&](int id) {
    RECT r;
    GetWindowRect(GetDlgItem(dlg, id), &r);  // root coordinates under X11
    Shell("xdotool mousemove --sync " + std::to_string(r.left + 5) + " " + std::to_string((r.top + r.bottom) / 2) +
        " click 1");
  };
  click(kSampleCheck);
  EXPECT_TRUE(PumpUntil([] { return Logged(kSampleCheck, BN_CLICKED); }));
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleCheck), BST_CHECKED);
  click(kSampleEdit);
  EXPECT_TRUE(PumpUntil([&] { return GetFocus() == GetDlgItem(dlg, kSampleEdit); }));
  Shell("xdotool key --clearmodifiers ctrl+a && xdotool type --delay 20 '1.5'");
  WCHAR text[32] = {};
  EXPECT_TRUE(PumpUntil([&] {
    GetDlgItemTextW(dlg, kSampleEdit, text, 32);
    return std::u16string(text) == u"1.5";
  }));
  EXPECT_TRUE(Logged(kSampleEdit, EN_CHANGE));
  Shell("xdotool key Tab");
  EXPECT_TRUE(PumpUntil([] { return Logged(kSampleEdit, EN_KILLFOCUS); }));
  DestroyWindow(dlg);
  DestroyWindow(parent);
}

}  // namespace
