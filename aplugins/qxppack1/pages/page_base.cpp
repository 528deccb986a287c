// The shared page: page info, connection, strip, preset menu, help, About, timer and scroll bracket.
#include "aplugins/qxppack1/pages/page_base.h"

#include <cstring>

#include "aplugins/qxppack1/pages/page_art.h"
#include "kernel/controls/fader.h"
#include "kernel/controls/spinner.h"
#include "kernel/controls/trackbar.h"
#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/dialogs.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_help.h"
#include "kernel/services/qx_lang.h"
#include "platform/ui/gdi.h"
#include "platform/ui/menu.h"

namespace {
// The strip's messages.
constexpr UINT kLogoReset = 1536, kLogoAddText = 1537, kLogoAddPicture = 1539, kLogoBitmap0 = 1540,
               kLogoSetPressed = 1543;
constexpr int kStripBitmaps[3] = {24018, 8001, 8000};
constexpr WCHAR kHelpFile[] = u"qxppack1.html";

WCHAR* TaskCopy(const WCHAR* text) {
  size_t n = 0;
  while (text[n]) ++n;
  auto* out = static_cast<WCHAR*>(CoTaskMemAlloc((n + 1) * sizeof(WCHAR)));
  if (out) std::memcpy(out, text, (n + 1) * sizeof(WCHAR));
  return out;
}

bool IsClass(HWND w, const WCHAR* name) {
  WCHAR cls[64];
  int n = GetClassNameW(w, cls, 64);
  return n > 0 && std::u16string_view(cls, static_cast<size_t>(n)) == std::u16string_view(name);
}

// The About box: the effect's name, the pack and its version.
constexpr int kAboutName = 101;
const QxDialogItem kAboutItems[] = {
    {u"STATIC", kAboutName, u"", 10, 10, 190, 10, SS_LEFT | SS_NOPREFIX},
    {u"STATIC", 102, u"qxppack1 audio effects, version 1.0.0", 10, 24, 190, 9, SS_LEFT},
    {u"STATIC", 103, u"Time Stretch, Pitch Shift, Simple Delay, Multi-Tap Delay, Reverb and Chorus.", 10, 38,
     190, 18, SS_LEFT},
    {u"BUTTON", IDOK, u"OK", 150, 64, 50, 14, BS_DEFPUSHBUTTON | WS_TABSTOP},
};
const QxDialogTemplate kAbout{WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, 0, 0, 0, 210, 86, u"About",
                              kAboutItems, 4};

INT_PTR AboutProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_INITDIALOG:
      SetDlgItemTextW(dlg, kAboutName, reinterpret_cast<const WCHAR*>(lParam));
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) EndDialog(dlg, LOWORD(wParam));
      return TRUE;
  }
  return FALSE;
}
}  // namespace

HINSTANCE QxPages_Instance() {
  static char anchor;
  static HINSTANCE instance = [] {
    auto* h = reinterpret_cast<HINSTANCE>(&anchor);
    QxUi_AddDialogTemplate(h, QX_ABOUT_DIALOG, &kAbout);
    QxPages_AddArtResources(h);
    return h;
  }();
  return instance;
}

void QxPageScrollBracket(const QxPageBinding& b, int code, int32_t value) {
  switch (code) {
    case QX_SCROLL_LINEUP: case QX_SCROLL_LINEDOWN: case QX_SCROLL_PAGEUP: case QX_SCROLL_PAGEDOWN:
    case QX_SCROLL_TOP: case QX_SCROLL_BOTTOM: case QX_SCROLL_PRESS:
      if (b.begin) b.begin();
      break;
    default:
      break;
  }
  if (b.set) b.set(value);
  if (code == QX_SCROLL_END && b.end) b.end();
}

std::u16string QxPageStripTitle(const WCHAR* name) {
  std::u16string t = name ? name : u"";
  for (size_t at; (at = t.find(u"LUMEA ")) != std::u16string::npos;) t.erase(at, 6);
  return t;
}

CQxPropPage::CQxPropPage(const char* name, LPUNKNOWN outer, const QxPageLayout& layout)
    : CBasePropertyPage(name, outer, QxPages_Instance(), layout.dialogId, layout.titleId), layout_(layout) {}

CQxPropPage::~CQxPropPage() {
  if (object_) OnDisconnect();
  FreeBitmaps();
}

HRESULT CQxPropPage::GetPageInfo(PROPPAGEINFO* info) {
  if (!info) return E_POINTER;
  static_assert(sizeof(PROPPAGEINFO) == 48);
  const WCHAR* title = QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(layout_.titleId));
  if (!title || !*title) title = QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(layout_.nameId));
  WCHAR* copy = TaskCopy(title ? title : u"");
  if (!copy) return E_OUTOFMEMORY;
  WCHAR path[1024];
  QxHelp_CreateHelpFilePathEX(nullptr, kHelpFile, path, 1024);
  QxHelp_SetHelpFilePath(path);
  *info = PROPPAGEINFO{};
  info->cb = sizeof(PROPPAGEINFO);
  info->pszTitle = copy;
  info->size = SIZE{300, 150};
  info->pszHelpFile = TaskCopy(path);
  info->dwHelpContext = QX_PAGE_HELP_CONTEXT;
  QxGetDialogSize(m_module, MAKEINTRESOURCEW(m_dialogId), &info->size);
  return S_OK;
}

HRESULT CQxPropPage::Activate(HWND parent, const RECT* rect, BOOL) {
  if (!rect) return E_POINTER;
  if (m_hwnd) return E_UNEXPECTED;
  HWND dlg = QxCreateDialogParam(m_module, MAKEINTRESOURCEW(m_dialogId), parent, DialogProc,
                                 reinterpret_cast<LPARAM>(static_cast<CBasePropertyPage*>(this)));
  if (!dlg) {
    m_hwnd = nullptr;
    return E_OUTOFMEMORY;
  }
  m_hwnd = dlg;
  SetWindowLong(dlg, GWL_EXSTYLE, GetWindowLong(dlg, GWL_EXSTYLE) | WS_EX_CONTROLPARENT);
  OnActivate();
  Move(rect);
  return Show(SW_SHOWNORMAL);
}

HRESULT CQxPropPage::Help(const WCHAR*) {
  return QxHelp_ShowContext(m_hwnd, QX_PAGE_HELP_CONTEXT);
}

HRESULT CQxPropPage::OnConnect(IUnknown* object) {
  if (!object) return E_POINTER;
  if (object_) OnDisconnect();
  void* prop = nullptr;
  if (FAILED(object->QueryInterface(*layout_.controlIid, &prop)) || !prop) return E_NOINTERFACE;
  control_ = prop;
  object_ = object;
  object_->AddRef();
  if (FAILED(object->QueryInterface(IID_IStaticFilterPreset, reinterpret_cast<void**>(&presets_)))) presets_ = nullptr;
  if (m_hwnd) {
    RegisterNotify(m_hwnd, QX_PAGE_NOTIFY_ID);
    Refresh(0, true);
    ShowBypass();
  }
  return S_OK;
}

HRESULT CQxPropPage::OnDisconnect() {
  if (!control_) return E_UNEXPECTED;
  if (m_hwnd) RegisterNotify(m_hwnd, 0);
  static_cast<IUnknown*>(control_)->Release();
  control_ = nullptr;
  if (presets_) presets_->Release();
  presets_ = nullptr;
  object_->Release();
  object_ = nullptr;
  return S_OK;
}

void CQxPropPage::Enable(int id, bool on) const {
  if (HWND w = Item(id)) EnableWindow(w, on);
}

void CQxPropPage::Enable(std::initializer_list<int> ids, bool on) const {
  for (int id : ids) Enable(id, on);
}

void CQxPropPage::SetRange(int id, int lo, int hi, int mark) const {
  HWND w = Item(id);
  SendMessage(w, QXCM_SETMIN, 0, lo);
  SendMessage(w, QXCM_SETMAX, 0, hi);
  SendMessage(w, QXCM_SETDEFAULT, 0, mark);
}

void CQxPropPage::SetPosition(int id, int32_t value) const { SendMessage(Item(id), QXCM_SETVALUE, 1, value); }

void CQxPropPage::EditCommand(int id, int code) {
  for (size_t i = 0; i < edits_.size(); ++i) {
    if (edits_[i] != id) continue;
    if (code == EN_CHANGE && !refreshing_) {
      pending_ |= 1u << i;
      SetDirty();
    } else if (code == EN_KILLFOCUS) {
      pending_ &= ~(1u << i);
      CommitEdit(id);
    }
  }
}

HRESULT CQxPropPage::OnApplyChanges() {
  for (size_t i = 0; i < edits_.size(); ++i)
    if (pending_ & (1u << i)) {
      pending_ &= ~(1u << i);
      CommitEdit(edits_[i]);
    }
  return S_OK;
}

void CQxPropPage::FreeBitmaps() {
  for (HANDLE& b : bitmaps_) {
    if (b) DeleteObject(b);
    b = nullptr;
  }
}

void CQxPropPage::SetupLogo() {
  HWND logo = Item(QX_PAGE_LOGO);
  if (!logo) return;
  SendMessage(logo, kLogoReset, 0, 0);
  FreeBitmaps();
  for (int i = 0; i < 3; ++i) {
    // The art is drawn with 0xFF00FF as its transparent colour.
    bitmaps_[i] = LoadImageW(m_module, MAKEINTRESOURCEW(kStripBitmaps[i]), IMAGE_BITMAP, 0, 0, LR_DEFAULTCOLOR);
    SendMessage(logo, kLogoBitmap0 + static_cast<UINT>(i), 0, reinterpret_cast<LPARAM>(bitmaps_[i]));
  }
  SendMessage(logo, kLogoAddPicture, QX_PAGE_BYPASS, 0);
  SendMessage(logo, kLogoAddText, MAKEWPARAM(QX_PAGE_ABOUT, 0), reinterpret_cast<LPARAM>(u"About"));
  SendMessage(logo, kLogoAddText, MAKEWPARAM(QX_PAGE_HELP, 1), reinterpret_cast<LPARAM>(u"?"));
  const std::u16string title =
      QxPageStripTitle(QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(layout_.nameId)));
  SetWindowTextW(logo, title.c_str());
  ShowBypass();
}

void CQxPropPage::ShowBypass() {
  if (HWND logo = Item(QX_PAGE_LOGO); logo && control_)
    SendMessage(logo, kLogoSetPressed, QX_PAGE_BYPASS, BypassState() ? 1 : 0);
}

bool CQxPropPage::HandleScroll(UINT msg, WPARAM wParam, HWND control) {
  const int id = GetDlgCtrlID(control);
  const QxPageBinding* b = nullptr;
  for (const QxPageBinding& x : bindings_)
    if (x.control == id) b = &x;
  if (!b) return false;
  if (!control_) return true;
  const int code = LOWORD(wParam);
  if (b->custom) {
    b->custom(code, control, msg, wParam);
  } else {
    int value;
    if (IsClass(control, QX_FADER_CLASS))
      value = Fader_DefScrollProc(msg, wParam, control, b->lineStep, b->pageStep);
    else if (IsClass(control, QX_SPINNER_CLASS))
      value = Spinner_DefScrollProc(msg, wParam, control, b->lineStep, b->pageStep,
                                    static_cast<int>(SendMessage(control, QXCM_GETVALUE, 0, 0)));
    else
      value = Trackbar_DefScrollProc(msg, wParam, control, b->lineStep, b->pageStep);
    QxPageScrollBracket(*b, code, value);
  }
  Refresh(id, false);
  return true;
}

HMENU CQxPropPage::BuildPresetMenu() {
  HMENU menu = CreatePopupMenu(), sub = CreatePopupMenu();
  LONG count = 0;
  if (presets_ && FAILED(presets_->GetPresetCount(&count))) count = 0;
  // Row n is command 40499 + n; the last command is 40999.
  const LONG cap = QX_PAGE_PRESET_LAST - (QX_PAGE_PRESET_FIRST - 1) + 1;
  if (count > cap) count = cap;
  for (LONG n = 1; n < count; ++n) {
    WCHAR name[512] = {}, fixed[1024];
    if (FAILED(presets_->GetPresetName(n, name))) continue;
    QxFixNameForMenu(name, fixed, 1024);
    AppendMenuW(sub, MF_STRING, static_cast<UINT_PTR>(QX_PAGE_PRESET_FIRST - 1 + n), fixed);
  }
  AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(sub), u"Presets");
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_STRING, QX_PAGE_HELP, u"Help");
  AppendMenuW(menu, MF_STRING, QX_PAGE_ABOUT, u"About...");
  return menu;
}

int CQxPropPage::ShowPresetMenu(const POINT* screen) {
  if (!m_hwnd) return 0;
  POINT at;
  if (screen) {
    at = *screen;
  } else {
    RECT rc;
    GetClientRect(m_hwnd, &rc);
    at = POINT{(rc.left + rc.right) / 2, rc.top + (rc.bottom - rc.top) / 4};
    ClientToScreen(m_hwnd, &at);
  }
  HMENU menu = BuildPresetMenu();
  const int cmd = TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, m_hwnd, nullptr);
  DestroyMenu(menu);
  if (cmd) SendMessage(m_hwnd, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(cmd), 0), 0);
  return cmd;
}

void CQxPropPage::LoadPresetCommand(int command) {
  if (presets_) presets_->LoadPreset(command - (QX_PAGE_PRESET_FIRST - 1));
  Refresh(0, true);
  ShowBypass();
}

void CQxPropPage::ShowAbout() {
  const std::u16string name =
      u"LUMEA " + QxPageStripTitle(QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(layout_.nameId)));
  DialogBoxParamW(QxPages_Instance(), MAKEINTRESOURCEW(QX_ABOUT_DIALOG), m_hwnd, AboutProc,
                  reinterpret_cast<LPARAM>(name.c_str()));
}

INT_PTR CQxPropPage::OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_INITDIALOG:
      if (control_) RegisterNotify(hwnd, QX_PAGE_NOTIFY_ID);
      InitControls();
      SetupLogo();
      if (layout_.followTimer) SetTimer(hwnd, QX_PAGE_TIMER, QX_PAGE_TIMER_MS, nullptr);
      if (control_) Refresh(0, true);
      return TRUE;
    case WM_TIMER:
      if (wParam == QX_PAGE_TIMER && control_) OnFollow();
      return TRUE;
    case WM_HSCROLL:
    case WM_VSCROLL:
      return HandleScroll(msg, wParam, reinterpret_cast<HWND>(lParam));
    case WM_CONTEXTMENU: {
      const int x = GET_X_LPARAM(lParam), y = GET_Y_LPARAM(lParam);
      POINT at{x, y};
      ShowPresetMenu(x < 0 || y < 0 ? nullptr : &at);
      return TRUE;
    }
    case WM_HELP:
      QxHelp_ShowContext(hwnd, QX_PAGE_HELP_CONTEXT);
      return TRUE;
    case WM_DESTROY:
      if (control_) RegisterNotify(hwnd, 0);
      if (layout_.followTimer) KillTimer(hwnd, QX_PAGE_TIMER);
      FreeBitmaps();
      QxHelp_Close(hwnd);
      return FALSE;
    case WM_COMMAND: {
      const int id = LOWORD(wParam), code = HIWORD(wParam);
      if (id == QX_PAGE_NOTIFY_ID) {
        if (control_) Refresh(0, true), ShowBypass();
      } else if (id >= QX_PAGE_PRESET_FIRST && id <= QX_PAGE_PRESET_LAST) {
        LoadPresetCommand(id);
      } else if (id == QX_PAGE_HELP) {
        QxHelp_ShowContext(hwnd, QX_PAGE_HELP_CONTEXT);
      } else if (id == QX_PAGE_ABOUT) {
        ShowAbout();
      } else if (id == QX_PAGE_BYPASS) {
        if (control_) ToggleBypass(), ShowBypass();
      } else {
        return control_ ? OnCommand(id, code, reinterpret_cast<HWND>(lParam)) : FALSE;
      }
      return TRUE;
    }
  }
  return FALSE;
}
