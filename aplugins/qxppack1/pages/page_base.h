// CQxPropPage, the base every effect page stands on: page info, connection to the effect's control
// interface, the logo strip, the preset menu, help and About, the 50 ms follow timer and the
// scroll bracket around the value controls.
//
// How a page uses it (the Simple Delay page, echos_page.cpp, is the worked example):
//  1. Derive from CQxPropPage (or CQxBypassPropPage<I>) and pass a QxPageLayout: dialog number
//     n001, title string n000, the catalogue number of the effect's name (the strip's title), the
//     control interface's IID and whether the page follows automation with the 50 ms timer.
//  2. In the page's constructor register its dialog template (a QxDialogTemplate table in
//     <effect>_dialog.cpp) with QxUi_AddDialogTemplate(QxPages_Instance(), n001, &template); give the
//     page a static CreateInstance (QxCreatePage<Page>) and put it in its class table row
//     (module/class_table.cpp). Add the page's files to qx_pages in pages/CMakeLists.txt and its
//     tests as tests/pages/*_test.cpp (page_rig.h opens a filter's page in a headless frame).
//  3. Override RegisterNotify (the interface's RegisterWindow / RegisterNotifyWindow), Refresh(id,
//     force) (id 0 means all; 32700 arrives as 0), and as needed InitControls (ranges, marks, lists,
//     run once at WM_INITDIALOG before the first Refresh), OnFollow (each timer tick), OnCommand
//     (edits, check boxes, lists), and BypassState / ToggleBypass (the strip's button 41003).
//  4. Describe each fader, trackbar and spinner with a QxPageBinding in bindings_: the base then
//     handles WM_HSCROLL / WM_VSCROLL itself: the control's ..._DefScrollProc gives the new value,
//     Begin runs for codes 0, 1, 2, 3, 6, 7 and 9, Set always, End on 8, then Refresh(control).
//     A binding may leave begin and end empty, or set `custom` to take the scroll itself.
//     Bind(control, pageStep, &I::SetX, &I::BeginX, &I::EndX) makes the usual one. An effect with
//     a bypass switch derives from CQxBypassPropPage<I> instead, which shows and toggles it; typed
//     edit boxes go through TrackEdits / EditCommand / CommitEdit, note lists through ListCommand.
//  5. Reach the interface with Prop<IQxSomethingProp>(); it is null while disconnected, and every
//     handler must then do nothing.
// The base handles: 40500..40999 (preset rows 1 upward, then refresh all), 41000 (help at the
// page's context), 41001 (About, dialog 710), 41003 (ToggleBypass, then the strip's state),
// 32700 (the filter's change notification: refresh all), WM_CONTEXTMENU (the preset menu), WM_HELP,
// WM_TIMER and WM_DESTROY (unregister, free the strip's bitmaps, stop the timer).
#pragma once
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <new>
#include <string>
#include <vector>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "platform/ui/property_page.h"

// Command identifiers every page shares.
inline constexpr int QX_PAGE_NOTIFY_ID = 32700;  // the window's registration with its filter
inline constexpr int QX_PAGE_PRESET_FIRST = 40500;
inline constexpr int QX_PAGE_PRESET_LAST = 40999;
inline constexpr int QX_PAGE_HELP = 41000;
inline constexpr int QX_PAGE_ABOUT = 41001;
inline constexpr int QX_PAGE_BYPASS = 41003;
inline constexpr int QX_PAGE_LOGO = 2;            // the strip's control id
inline constexpr UINT_PTR QX_PAGE_TIMER = 0;
inline constexpr UINT QX_PAGE_TIMER_MS = 50;
inline constexpr DWORD QX_PAGE_HELP_CONTEXT = 119;
inline constexpr int QX_ABOUT_DIALOG = 710;

struct QxPageLayout {
  int dialogId;        // n001
  int titleId;         // n000
  int nameId;          // the effect's name in the catalogue, the strip's title
  const IID* controlIid;
  bool followTimer;    // the page polls Is...Idle every 50 ms
};

// One value control bound to one parameter.
struct QxPageBinding {
  int control;
  int lineStep = 1;
  int pageStep = 10;
  std::function<void(int32_t)> set;
  std::function<void()> begin;  // may be empty
  std::function<void()> end;    // may be empty
  // Takes the whole scroll event instead of the bracket (the Chorus spinner's own rule).
  std::function<void(int code, HWND control, UINT msg, WPARAM wParam)> custom;
};

// The bracket alone: Begin for codes 0, 1, 2, 3, 6, 7 and 9; Set with `value` always; End on 8.
void QxPageScrollBracket(const QxPageBinding& binding, int code, int32_t value);
// The strip's title: every "LUMEA " cut out of `name`.
std::u16string QxPageStripTitle(const WCHAR* name);

// A page's CreateInstance: the page made over `outer`, or null with E_OUTOFMEMORY.
template <class Page>
CUnknown* QxCreatePage(LPUNKNOWN outer, HRESULT* hr) {
  auto* page = new (std::nothrow) Page(outer);
  if (hr) *hr = page ? S_OK : E_OUTOFMEMORY;
  return page;
}


class CQxPropPage : public CBasePropertyPage {
 public:
  CQxPropPage(const char* name, LPUNKNOWN outer, const QxPageLayout& layout);
  ~CQxPropPage() override;

  HRESULT GetPageInfo(PROPPAGEINFO* info) override;
  HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
  HRESULT Help(const WCHAR* helpDir) override;

  // The preset menu at a point of the screen, or (null) at the window's horizontal middle and a
  // quarter of its height. Answers the chosen command (0 for none), after handling it.
  int ShowPresetMenu(const POINT* screen);
  // Builds the menu the way ShowPresetMenu shows it (the caller destroys it).
  HMENU BuildPresetMenu();

 protected:
  // ---- What each page supplies ----
  virtual HRESULT RegisterNotify(HWND window, uint16_t id) = 0;
  virtual void Refresh(int id, bool force) = 0;
  virtual void InitControls() {}
  virtual void OnFollow() {}
  // Answers true when it handled the command.
  virtual bool OnCommand(int id, int code, HWND control) { return false; }
  virtual int32_t BypassState() { return 0; }
  virtual void ToggleBypass() {}

  // ---- Helpers ----
  template <class I>
  I* Prop() const {
    return static_cast<I*>(static_cast<IUnknown*>(control_));
  }
  // A parameter through its getter; 0 when the getter leaves it alone.
  template <class I>
  int32_t Read(HRESULT (I::*get)(int32_t*)) const {
    int32_t v = 0;
    (Prop<I>()->*get)(&v);
    return v;
  }
  IStaticFilterPreset* Presets() const { return presets_; }
  IUnknown* Object() const { return object_; }
  HWND Item(int id) const { return GetDlgItem(m_hwnd, id); }
  void Enable(int id, bool on) const;
  void Enable(std::initializer_list<int> ids, bool on) const;
  // A value control's range and the mark a double click returns to, and its position.
  void SetRange(int id, int lo, int hi, int mark) const;
  void SetPosition(int id, int32_t value) const;
  // Binds a control to a parameter's setter and its Begin/End bracket, line step 1; answers the
  // binding for a page to adjust before the next one is added.
  template <class I>
  QxPageBinding& Bind(int id, int pageStep, HRESULT (I::*set)(int32_t), HRESULT (I::*begin)(),
                      HRESULT (I::*end)()) {
    QxPageBinding b;
    b.control = id;
    b.pageStep = pageStep;
    b.set = [this, set](int32_t v) { (Prop<I>()->*set)(v); };
    b.begin = [this, begin] { (Prop<I>()->*begin)(); };
    b.end = [this, end] { (Prop<I>()->*end)(); };
    bindings_.push_back(std::move(b));
    return bindings_.back();
  }
  // A drop list's notification: a pick sets the parameter to the row, opening and closing the list
  // bracket the gesture and set `open` (automation leaves an open list alone); false for others.
  template <class I>
  bool ListCommand(int id, int code, bool& open, HRESULT (I::*set)(int32_t), HRESULT (I::*begin)(),
                   HRESULT (I::*end)()) {
    I* p = Prop<I>();
    if (code == CBN_SELCHANGE) {
      const auto row = static_cast<int32_t>(SendDlgItemMessage(m_hwnd, id, CB_GETCURSEL, 0, 0));
      if (row >= 0) (p->*set)(row);
    } else if (code == CBN_DROPDOWN) {
      open = true;
      (p->*begin)();
    } else if (code == CBN_CLOSEUP) {
      open = false;
      (p->*end)();
    } else {
      return false;
    }
    return true;
  }
  // Typed edit boxes, read when focus leaves them and at Apply. Typing marks a box pending and
  // the page dirty, unless the page itself is writing it (refreshing_ set around Refresh's texts);
  // CommitEdit reads one box into its parameter.
  void TrackEdits(std::initializer_list<int> ids) { edits_.assign(ids); }
  // EN_CHANGE and EN_KILLFOCUS of a tracked box; every other code is left alone.
  void EditCommand(int id, int code);
  virtual void CommitEdit(int id) {}
  HRESULT OnApplyChanges() override;
  // The strip: reset, bitmaps, bypass button, About and "?", and the title.
  void SetupLogo();
  void ShowBypass();
  // Handles a scroll message from a bound control; false when the control is not bound.
  bool HandleScroll(UINT msg, WPARAM wParam, HWND control);
  void LoadPresetCommand(int command);
  void ShowAbout();

  HRESULT OnConnect(IUnknown* object) override;
  HRESULT OnDisconnect() override;
  INT_PTR OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) override;

  QxPageLayout layout_;
  std::vector<QxPageBinding> bindings_;
  bool refreshing_ = false;  // texts being written by Refresh, not typed

 private:
  void FreeBitmaps();
  void* control_ = nullptr;  // the control interface, as queried with layout_.controlIid
  IStaticFilterPreset* presets_ = nullptr;
  IUnknown* object_ = nullptr;
  HANDLE bitmaps_[3] = {};
  std::vector<int> edits_;  // the tracked edit boxes, in the order Apply reads them
  unsigned pending_ = 0;    // the boxes typed into since they were last read, one bit each
};

// A page over control interface I whose effect has a bypass switch (GetBypass / SetBypass): the
// strip's button shows and toggles it.
template <class I>
class CQxBypassPropPage : public CQxPropPage {
 protected:
  using CQxPropPage::CQxPropPage;
  I* P() const { return Prop<I>(); }
  int32_t BypassState() override { return Read(&I::GetBypass); }
  void ToggleBypass() override { P()->SetBypass(BypassState() ? 0 : 1); }
};

// The instance the pages' templates, bitmaps and About box are registered under; registers them
// at the first call.
HINSTANCE QxPages_Instance();
