// What the Pitch Shift and Time Stretch page tests share: an effect whose input rate a test
// chooses, and the page's dialog made from its template with the page logic behind it.
#pragma once
#include <gtest/gtest.h>

#include <string>

#include "tests/pages/page_rig.h"

// The transform as a filter would show it: `rate` 0 means no input pin is connected.
template <class Transform>
struct RatedEffect final : Transform {
  uint32_t rate = 0;
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT GetFormat(WAVEFORMATEX*, int32_t) override { return VFW_E_NOT_CONNECTED; }
  HRESULT GetSampleRate(uint32_t* v) override {
    *v = rate ? rate : 44100;
    return rate ? S_OK : E_FAIL;
  }
};

template <class Logic, class Transform>
class PageLogicTest : public PageDialogTest {
 protected:
  void Open(const QxDialogTemplate* tmpl) {
    PagesSetUpOnce();
    QxHeadless_UseVirtualClock();
    current_ = this;
    parent_ = CreateWindowExW(0, u"#32770", u"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 420, nullptr, nullptr, nullptr, nullptr);
    dlg_ = CreateDialogIndirectParam(nullptr, tmpl, parent_, Proc, 0);
    ASSERT_NE(dlg_, nullptr);
  }
  void TearDown() override {
    if (parent_) DestroyWindow(parent_);
    QxHeadless_Pump();
  }

  RatedEffect<Transform> effect;
  Logic logic;

 private:
  static INT_PTR Proc(HWND d, UINT m, WPARAM w, LPARAM) {
    Logic& logic = current_->logic;
    if (m == WM_INITDIALOG) {
      logic.Attach(d, &current_->effect);
      logic.Init();
      return TRUE;
    }
    if (m == WM_COMMAND) return logic.OnCommand(LOWORD(w), HIWORD(w));
    return FALSE;
  }
  static inline PageLogicTest* current_ = nullptr;
  HWND parent_ = nullptr;
};
