// The X11 backend on a real display: an Xvfb server started for the test, the sample dialog as a
// window of its own (its pixels equal the headless render) and inside a window that another
// process made, driven there by xdotool clicks and typing.
#include <gtest/gtest.h>
// After gtest: Xlib's macros (None, Bool) would clash with it.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "platform/ui/headless.h"
#include "platform/ui/sample_dialog.h"
#include "platform/ui/x11.h"

extern char** environ;

namespace {

// A child process, optionally with its standard output on a pipe.
struct Child {
  pid_t pid = 0;
  FILE* out = nullptr;
  Child(std::vector<std::string> args, bool pipeOut) {
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    int fds[2] = {-1, -1};
    if (pipeOut && pipe(fds) == 0) {
      posix_spawn_file_actions_adddup2(&fa, fds[1], 1);
      posix_spawn_file_actions_addclose(&fa, fds[0]);
    }
    posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&pid, argv[0], &fa, nullptr, argv.data(), environ) != 0) pid = 0;
    posix_spawn_file_actions_destroy(&fa);
    if (fds[1] >= 0) close(fds[1]);
    if (fds[0] >= 0) out = fdopen(fds[0], "r");
  }
  ~Child() {
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
    if (out) fclose(out);
  }
};

int Shell(const std::string& cmd) { return std::system(cmd.c_str()); }

// Handles messages until `done` or about ten seconds have passed (a safety net, not a measure).
template <class F>
bool PumpUntil(F done) {
  for (int i = 0; i < 1000; ++i) {
    QxUi_ProcessMessages();
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class X11 : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The server picks a free display and says which once it accepts connections.
    server_ = new Child({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"}, true);
    int n = -1;
    if (!server_->out || fscanf(server_->out, "%d", &n) != 1) return;
    display_ = ":" + std::to_string(n);
    for (int i = 0; i < 100 && !dpy_; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      dpy_ = XOpenDisplay(display_.c_str());
    }
    setenv("DISPLAY", display_.c_str(), 1);
  }
  static void TearDownTestSuite() {
    if (dpy_) XCloseDisplay(dpy_);
    dpy_ = nullptr;
    delete server_;
  }
  void SetUp() override {
    ASSERT_NE(dpy_, nullptr) << "Xvfb did not start (display '" << display_ << "')";
    QxSample_Log().clear();
  }
  static bool Logged(int id, int code) {
    for (auto [i, c] : QxSample_Log())
      if (i == id && c == code) return true;
    return false;
  }
  static inline std::string display_;
  static inline Child* server_ = nullptr;
  static inline Display* dpy_ = nullptr;
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
