// Small helpers the Pitch Shift and Time Stretch pages share for their trackbars, drop lists and
// edit boxes, in the controls' own messages, the base of their page logic and their page object.
#pragma once
#include <cstdint>
#include <initializer_list>

#include "aplugins/qxppack1/pages/page_base.h"

#include "kernel/controls/window_text.h"
#include "platform/com/hresult.h"
#include "platform/ui/dialog.h"

// Range and value of a trackbar item.
void QxPage_SetTrackRange(HWND dialog, int id, int minValue, int maxValue);
void QxPage_SetTrackValue(HWND dialog, int id, int value);
// Fills a drop list with `count` texts, each with its index as item data.
void QxPage_FillList(HWND dialog, int id, const WCHAR* const* texts, int count);
// Selects the item whose data is `data`, searching from the last item down; item 0 when none is.
void QxPage_SelectByData(HWND dialog, int id, LPARAM data);
// The selected item's data; -1 when nothing is selected.
LPARAM QxPage_SelectedData(HWND dialog, int id);
// An item's text (at most size - 1 units).
void QxPage_ItemText(HWND dialog, int id, WCHAR* text, int size);
// The text of an edit box the user typed into since the page last wrote it; FALSE for one left
// as written, so that tabbing through the page never reads a rounded text back into a value.
BOOL QxPage_TypedText(HWND dialog, int id, WCHAR* text, int size);

// What both pages' logic holds: the dialog and the effect's interface (either may be null, and
// then nothing is read or written), and the input rate that the effects answer alike.
template <class Prop>
class CQxPageLogic {
 public:
  virtual ~CQxPageLogic() = default;
  void Attach(HWND dialog, Prop* prop) {
    dialog_ = dialog;
    prop_ = prop;
  }
  // Ranges, steps and lists; then everything from the interface.
  virtual void Init() = 0;
  // Rewrites what depends on `control`; 0 (or the notification identifier 32700) rewrites all.
  virtual void Refresh(int control) = 0;
  // WM_COMMAND from a control: TRUE when it was one of the page's.
  virtual BOOL OnCommand(int id, int code) = 0;
  // WM_HSCROLL from a trackbar: TRUE when it was one of the page's.
  virtual BOOL OnScroll(UINT message, WPARAM wParam, HWND control) = 0;

 protected:
  // Without a format the effect still answers 44100, with a failure: no rate is known then.
  bool SampleRate(uint32_t* rate) {
    if (FAILED(prop_->GetSampleRate(rate))) *rate = 0;
    return *rate > 0;
  }
  void SetText(int id, const WCHAR* text) { QxSetDlgItemTextNoF(dialog_, id, text); }
  // The text of edit box `id` when `code` is the user leaving it after typing. Otherwise false, and
  // the command's answer is `code == EN_KILLFOCUS`: a box left as written is never read back.
  template <int N>
  bool Typed(int id, int code, WCHAR (&text)[N]) {
    return code == EN_KILLFOCUS && QxPage_TypedText(dialog_, id, text, N);
  }

  HWND dialog_ = nullptr;
  Prop* prop_ = nullptr;
};

// The page object the class table makes: the frame's page with a logic behind it, which takes
// the initialisation, every refresh and command, and the scrolls of the trackbars `scrolled` (their
// page steps depend on the parameters).
template <class Logic, class I>
class CQxLogicPropPage : public CQxPropPage {
 protected:
  CQxLogicPropPage(const char* name, LPUNKNOWN outer, const QxPageLayout& layout, const QxDialogTemplate* dialog,
                   std::initializer_list<int> scrolled)
      : CQxPropPage(name, outer, layout) {
    QxUi_AddDialogTemplate(QxPages_Instance(), layout.dialogId, dialog);
    for (int id : scrolled) {
      QxPageBinding b;
      b.control = id;
      b.custom = [this](int, HWND control, UINT msg, WPARAM wParam) { Attached().OnScroll(msg, wParam, control); };
      bindings_.push_back(std::move(b));
    }
  }
  HRESULT RegisterNotify(HWND window, uint16_t id) override {
    return Prop<I>()->RegisterWindow(window, id, id != 0);
  }
  void InitControls() override { Attached().Init(); }
  void Refresh(int id, bool) override { Attached().Refresh(id); }
  bool OnCommand(int id, int code, HWND) override { return Attached().OnCommand(id, code) != FALSE; }

 private:
  Logic& Attached() {
    logic_.Attach(m_hwnd, Prop<I>());
    return logic_;
  }
  Logic logic_;
};
