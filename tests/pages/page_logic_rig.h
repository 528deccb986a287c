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
class PageLogicTest : public ::testing::Test {
 protected:
  void Open(const QxDialogTemplate* tmpl) {
    PagesSetUpOnce();
    QxHeadless_UseVirtualClock();
    current_ = this;
    parent_ = CreateWindowExW(0, u"#32770", u"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 420, nullptr, nullptr, nullptr, nullptr);
    dialog = CreateDialogIndirectParam(nullptr, tmpl, parent_, Proc, 0);
    ASSERT_NE(dialog, nullptr);
  }
  void TearDown() override {
    if (parent_) DestroyWindow(parent_);
    QxHeadless_Pump();
  }
  std::u16string TextOf(int id) {
    WCHAR text[200] = {};
    GetDlgItemTextW(dialog, id, text, 200);
    return text;
  }
  bool Enabled(int id) { return IsWindowEnabled(GetDlgItem(dialog, id)) != FALSE; }
  // The user types `text` over an edit box's text and leaves it.
  void Type(int id, const WCHAR* text) {
    SendDlgItemMessage(dialog, id, EM_SETSEL, 0, -1);
    SendDlgItemMessage(dialog, id, EM_REPLACESEL, 1, reinterpret_cast<LPARAM>(text));
    SendMessage(dialog, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), EN_KILLFOCUS),
                reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
  }
  // The user picks item `index` of a drop list.
  void Pick(int id, int index) {
    SendDlgItemMessage(dialog, id, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    SendMessage(dialog, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), CBN_SELCHANGE),
                reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
  }

  RatedEffect<Transform> effect;
  Logic logic;
  HWND dialog = nullptr;

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
