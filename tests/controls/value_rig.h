// A parent for the value controls' tests that logs every message and answers scroll messages the
// way the pages do: through Trackbar_DefScrollProc or Spinner_DefScrollProc with the given steps.
#pragma once
#include "kernel/controls/spinner.h"
#include "kernel/controls/trackbar.h"
#include "ui_rig.h"

inline int& PageStep() {
  static int step = 10;
  return step;
}

inline LRESULT ValuePageProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  Seen_().push_back(Seen{h, m, w, l});
  if ((m == WM_HSCROLL || m == WM_VSCROLL) && l) {
    auto ctl = reinterpret_cast<HWND>(l);
    if (Trackbar_Inst(ctl)) Trackbar_DefScrollProc(m, w, ctl, 1, PageStep());
    else Spinner_DefScrollProc(m, w, ctl, 1, PageStep(), static_cast<int>(SendMessage(ctl, QXCM_GETVALUE, 0, 0)));
  }
  return DefWindowProc(h, m, w, l);
}

class ValueControlTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    static bool once = [] {
      WNDCLASSW wc{};
      wc.style = CS_DBLCLKS;
      wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(ValuePageProc);
      wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_3DFACE + 1);
      wc.lpszClassName = u"QxValuePage";
      RegisterClassW(&wc);
      TrackbarInitialize(nullptr);
      return SpinnerInitialize(nullptr);
    }();
    (void)once;
    PageStep() = 10;
    page_ = CreateWindowExW(0, u"QxValuePage", u"page", WS_POPUP | WS_VISIBLE, 0, 0, 320, 120, nullptr, nullptr,
                            nullptr, nullptr);
    owned_.push_back(page_);
  }
  // The scroll codes the page got, in order, and clears the log.
  std::vector<int> Codes() {
    std::vector<int> out;
    for (auto& s : Seen_())
      if (s.hwnd == page_ && (s.msg == WM_HSCROLL || s.msg == WM_VSCROLL)) out.push_back(LOWORD(s.wParam));
    Seen_().clear();
    return out;
  }
  static int Value(HWND h) { return static_cast<int>(SendMessage(h, QXCM_GETVALUE, 0, 0)); }
  HWND page_ = nullptr;
};
