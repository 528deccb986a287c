// Shared set-up of the window layer's tests: a virtual clock, a recording window class and a
// parent that logs the commands and notifications its children send.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/ui/dialog.h"
#include "platform/ui/gdi.h"
#include "platform/ui/headless.h"
#include "platform/ui/window_class.h"

struct Seen {
  HWND hwnd;
  UINT msg;
  WPARAM wParam;
  LPARAM lParam;
};

// Every message the "QxRecorder" class gets, in order (WM_PAINT validates by DefWindowProc).
inline std::vector<Seen>& Seen_() {
  static std::vector<Seen> v;
  return v;
}

inline LRESULT RecorderProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  Seen_().push_back(Seen{h, m, w, l});
  return DefWindowProc(h, m, w, l);
}

inline void RegisterRecorder() {
  static bool done = [] {
    WNDCLASSW wc{};
    wc.style = CS_DBLCLKS;
    wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(RecorderProc);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    wc.lpszClassName = u"QxRecorder";
    return RegisterClassW(&wc) != 0;
  }();
  (void)done;
}

// The messages of one kind that a window saw, in order.
inline std::vector<Seen> Of(HWND h, UINT msg) {
  std::vector<Seen> out;
  for (auto& s : Seen_())
    if ((!h || s.hwnd == h) && s.msg == msg) out.push_back(s);
  return out;
}

class UiTest : public ::testing::Test {
 protected:
  void SetUp() override {
    QxHeadless_UseVirtualClock();
    RegisterRecorder();
    Seen_().clear();
  }
  void TearDown() override {
    for (HWND h : owned_) DestroyWindow(h);
    QxHeadless_Pump();
    QxHeadless_SetIdleHook(nullptr);
  }
  HWND Top(int cx = 200, int cy = 100) {
    HWND h = CreateWindowExW(0, u"QxRecorder", u"top", WS_POPUP | WS_VISIBLE, 0, 0, cx, cy, nullptr, nullptr, nullptr, nullptr);
    owned_.push_back(h);
    return h;
  }
  static HWND Child(HWND parent, LPCWSTR cls, int id, DWORD style, int x, int y, int cx, int cy, LPCWSTR text = u"") {
    return CreateWindowExW(0, cls, text, WS_CHILD | WS_VISIBLE | style, x, y, cx, cy, parent,
                           reinterpret_cast<HMENU>(static_cast<intptr_t>(id)), nullptr, nullptr);
  }
  // WM_COMMAND (id, code) pairs a parent saw.
  static std::vector<std::pair<int, int>> Commands(HWND parent) {
    std::vector<std::pair<int, int>> out;
    for (auto& s : Of(parent, WM_COMMAND)) out.emplace_back(LOWORD(s.wParam), HIWORD(s.wParam));
    return out;
  }
  std::vector<HWND> owned_;
};
