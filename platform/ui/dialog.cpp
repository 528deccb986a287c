// Dialogs: creation from templates, the dialog class's procedure around the user's dialog
// procedure, modal loops, and keyboard navigation by tab order, radio groups and mnemonics.
#include "platform/ui/dialog.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ui/gdi.h"
#include "platform/ui/window_internal.h"

using namespace qxui;

namespace {

constexpr int kDataSlot = 24;  // the dialog's own record, after DWLP_USER

struct DialogData {
  bool ended = false;
  INT_PTR result = 0;
  int defId = IDOK;
  HWND lastFocus = nullptr;
};

DialogData* Data(HWND h) { return reinterpret_cast<DialogData*>(GetWindowLongPtr(h, kDataSlot)); }

std::mutex g_lock;
std::map<std::pair<HINSTANCE, int>, const QxDialogTemplate*>& Templates() {
  static auto* m = new std::map<std::pair<HINSTANCE, int>, const QxDialogTemplate*>;
  return *m;
}

bool IsDialogWnd(HWND h) {
  Wnd* w = Find(h);
  return w && w->className == u"#32770";
}

UINT ButtonType(HWND h) {
  Wnd* w = Find(h);
  if (!w || w->className.size() != 6) return ~0u;
  std::u16string n = w->className;
  for (auto& c : n) c = static_cast<char16_t>(std::towupper(c));
  return n == u"BUTTON" ? (w->style & BS_TYPEMASK) : ~0u;
}

LRESULT DlgCode(HWND h, MSG* m = nullptr) {
  return SendMessage(h, WM_GETDLGCODE, m ? m->wParam : 0, reinterpret_cast<LPARAM>(m));
}

// A control's own state decides, so that navigation works before the dialog is shown.
bool Usable(HWND h) { return (GetWindowLong(h, GWL_STYLE) & (WS_VISIBLE | WS_DISABLED)) == WS_VISIBLE; }

// Controls of a dialog in tab order, descending into children that are control parents.
void Collect(HWND parent, std::vector<HWND>& out) {
  for (HWND c = GetWindow(parent, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    if (GetWindowLong(c, GWL_EXSTYLE) & WS_EX_CONTROLPARENT) {
      if (Usable(c)) Collect(c, out);
    } else {
      out.push_back(c);
    }
  }
}


void FocusControl(HWND h) {
  if (!h) return;
  SetFocus(h);
  if (DlgCode(h) & DLGC_HASSETSEL) SendMessage(h, EM_SETSEL, 0, -1);
}

// The outermost dialog that this one navigates with (pages nest inside hosts' dialogs).
HWND NavRoot(HWND dlg) {
  while (dlg && (GetWindowLong(dlg, GWL_STYLE) & WS_CHILD)) {
    HWND p = DialogOf(GetParent(dlg));
    if (!p) break;
    dlg = p;
  }
  return dlg;
}

bool HasMnemonic(HWND h, WCHAR ch) {
  WCHAR text[256];
  int n = GetWindowTextW(h, text, 256);
  for (int i = 0; i + 1 < n; ++i) {
    if (text[i] != u'&') continue;
    if (text[i + 1] == u'&') {
      ++i;
      continue;
    }
    return std::towupper(text[i + 1]) == std::towupper(ch);
  }
  return false;
}

bool Mnemonic(HWND dlg, WCHAR ch) {
  std::vector<HWND> items;
  Collect(dlg, items);
  HWND focus = GetFocus();
  auto start = std::find(items.begin(), items.end(), focus);
  size_t first = start == items.end() ? 0 : (start - items.begin() + 1);
  for (size_t k = 0; k < items.size(); ++k) {
    size_t i = (first + k) % items.size();
    HWND c = items[i];
    if (!Usable(c) || !HasMnemonic(c, ch)) continue;
    LRESULT code = DlgCode(c);
    UINT type = ButtonType(c);
    if ((code & DLGC_STATIC) || type == BS_GROUPBOX) {
      for (size_t j = i + 1; j < items.size(); ++j) {
        if (!Usable(items[j]) || (DlgCode(items[j]) & DLGC_STATIC)) continue;
        FocusControl(items[j]);
        return true;
      }
      return true;
    }
    if (code & DLGC_BUTTON) {
      SetFocus(c);
      SendMessage(c, BM_CLICK, 0, 0);
    } else {
      FocusControl(c);
    }
    return true;
  }
  return false;
}

INT_PTR CALL(DLGPROC p, HWND h, UINT m, WPARAM w, LPARAM l) { return p ? p(h, m, w, l) : 0; }

LRESULT DialogWndProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto proc = reinterpret_cast<DLGPROC>(GetWindowLongPtr(h, DWLP_DLGPROC));
  if (proc) {
    SetWindowLongPtr(h, DWLP_MSGRESULT, 0);
    INT_PTR r = CALL(proc, h, msg, wParam, lParam);
    if (r) {
      switch (msg) {
        case WM_CTLCOLORSTATIC: case WM_CTLCOLORBTN: case WM_CTLCOLORDLG: case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX: case WM_INITDIALOG:
          return r;
        default:
          return IsWindow(h) ? GetWindowLongPtr(h, DWLP_MSGRESULT) : 0;
      }
    }
    if (!IsWindow(h) && msg != WM_NCDESTROY) return 0;
  }
  return DefDlgProcW(h, msg, wParam, lParam);
}

}  // namespace

namespace qxui {
HWND DialogOf(HWND h) {
  for (Wnd* w = Find(h); w; w = Find(w->parent)) {
    if (w->className == u"#32770") return w->h;
    if (!w->IsChild()) break;
  }
  return nullptr;
}
WNDPROC DialogClassProc() { return DialogWndProc; }
}  // namespace qxui

LRESULT DefDlgProcW(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_ERASEBKGND: {
      auto brush = reinterpret_cast<HBRUSH>(SendMessage(h, WM_CTLCOLORDLG, wParam, reinterpret_cast<LPARAM>(h)));
      RECT rc;
      GetClientRect(h, &rc);
      FillRect(reinterpret_cast<HDC>(wParam), &rc, brush ? brush : GetSysColorBrush(COLOR_3DFACE));
      return 1;
    }
    case WM_CLOSE:
      PostMessage(h, WM_COMMAND, IDCANCEL, reinterpret_cast<LPARAM>(GetDlgItem(h, IDCANCEL)));
      return 0;
    case WM_NEXTDLGCTL: {
      HWND root = NavRoot(h);
      if (root != h) return SendMessage(root, WM_NEXTDLGCTL, wParam, lParam);
      HWND target = LOWORD(lParam) ? reinterpret_cast<HWND>(wParam) : GetNextDlgTabItem(h, GetFocus(), wParam != 0);
      FocusControl(target);
      return 0;
    }
    case WM_SETFOCUS: {
      DialogData* d = Data(h);
      HWND t = d && IsChild(h, d->lastFocus) && Usable(d->lastFocus) ? d->lastFocus : GetNextDlgTabItem(h, nullptr, FALSE);
      if (t) FocusControl(t);
      return 0;
    }
    case DM_GETDEFID:
      return Data(h) ? MAKELONG(static_cast<WORD>(Data(h)->defId), DC_HASDEFID) : 0;
    case DM_SETDEFID:
      if (Data(h)) Data(h)->defId = static_cast<int>(wParam);
      return TRUE;
    case WM_NCDESTROY:
      delete Data(h);
      SetWindowLongPtr(h, kDataSlot, 0);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

BOOL QxUi_AddDialogTemplate(HINSTANCE module, int id, const QxDialogTemplate* tmpl) {
  if (!tmpl) return FALSE;
  std::lock_guard<std::mutex> g(g_lock);
  Templates()[{module, id}] = tmpl;
  return TRUE;
}

const QxDialogTemplate* QxUi_FindDialogTemplate(HINSTANCE module, LPCWSTR name) {
  if ((reinterpret_cast<uintptr_t>(name) >> 16) != 0) return nullptr;
  std::lock_guard<std::mutex> g(g_lock);
  auto it = Templates().find({module, static_cast<int>(reinterpret_cast<uintptr_t>(name))});
  return it == Templates().end() ? nullptr : it->second;
}

SIZE QxUi_DialogPixelSize(const QxDialogTemplate* t) {
  LONG u = GetDialogBaseUnits();
  return SIZE{MulDiv(t->cx, LOWORD(u), 4), MulDiv(t->cy, HIWORD(u), 8)};
}

BOOL MapDialogRect(HWND, RECT* r) {
  if (!r) return FALSE;
  LONG u = GetDialogBaseUnits();
  int bx = LOWORD(u), by = HIWORD(u);
  *r = RECT{MulDiv(r->left, bx, 4), MulDiv(r->top, by, 8), MulDiv(r->right, bx, 4), MulDiv(r->bottom, by, 8)};
  return TRUE;
}

HWND CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW t, HWND parent, DLGPROC proc, LPARAM param) {
  if (!t) return nullptr;
  EnsureSystemClasses();
  RECT r{t->x, t->y, t->x + t->cx, t->y + t->cy};
  MapDialogRect(nullptr, &r);
  DWORD style = t->style & ~WS_VISIBLE;
  HWND dlg = CreateWindowExW(t->exStyle, u"#32770", t->title ? t->title : u"", style, r.left, r.top,
                             r.right - r.left, r.bottom - r.top, parent, nullptr, module, nullptr);
  if (!dlg) return nullptr;
  SetWindowLongPtr(dlg, kDataSlot, reinterpret_cast<LONG_PTR>(new DialogData));
  SetWindowLongPtr(dlg, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(proc));
  HFONT font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  for (int i = 0; i < t->count; ++i) {
    const QxDialogItem& it = t->items[i];
    RECT ir{it.x, it.y, it.x + it.cx, it.y + it.cy};
    MapDialogRect(dlg, &ir);
    DWORD s = it.style | WS_CHILD;
    if (!(it.style & WS_POPUP)) s |= WS_VISIBLE;
    HWND c = CreateWindowExW(it.exStyle, it.className, it.text ? it.text : u"", s, ir.left, ir.top,
                             ir.right - ir.left, ir.bottom - ir.top, dlg,
                             reinterpret_cast<HMENU>(static_cast<intptr_t>(it.id)), module, nullptr);
    if (!c) {
      DestroyWindow(dlg);
      return nullptr;
    }
    if ((it.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON && ButtonType(c) == BS_DEFPUSHBUTTON) Data(dlg)->defId = it.id;
    SendMessage(c, WM_SETFONT, reinterpret_cast<WPARAM>(font), 0);
  }
  HWND first = GetNextDlgTabItem(dlg, nullptr, FALSE);
  if (SendMessage(dlg, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), param) && IsWindow(dlg)) {
    first = GetNextDlgTabItem(dlg, nullptr, FALSE);
    if (first) FocusControl(first);
  }
  if (!IsWindow(dlg)) return nullptr;
  if (t->style & WS_VISIBLE) ShowWindow(dlg, SW_SHOW);
  return dlg;
}

HWND CreateDialogParamW(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC proc, LPARAM param) {
  return CreateDialogIndirectParamW(module, QxUi_FindDialogTemplate(module, name), parent, proc, param);
}

INT_PTR DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW t, HWND owner, DLGPROC proc, LPARAM param) {
  if (!t) return -1;
  QxDialogTemplate modal = *t;
  modal.style = (modal.style & ~WS_CHILD) | WS_POPUP;
  HWND ownerTop = owner ? GetAncestor(owner, GA_ROOT) : nullptr;
  HWND dlg = CreateDialogIndirectParamW(module, &modal, ownerTop, proc, param);
  if (!dlg) return -1;
  DialogData* d = Data(dlg);
  if (d->ended) {
    INT_PTR r = d->result;
    DestroyWindow(dlg);
    return r;
  }
  bool reenable = ownerTop && !EnableWindow(ownerTop, FALSE);
  ShowWindow(dlg, SW_SHOW);
  ThreadUi& ui = Ui();
  ++ui.modal;
  MSG m;
  while (IsWindow(dlg) && !Data(dlg)->ended) {
    if (PeekMessage(&m, nullptr, 0, 0, PM_REMOVE)) {
      if (m.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(m.wParam));
        break;
      }
      if (!IsDialogMessage(dlg, &m)) {
        TranslateMessage(&m);
        DispatchMessage(&m);
      }
      continue;
    }
    if (ui.virtualClock) {
      if (!(ui.idleHook && ui.idleHook())) EndDialog(dlg, IDCANCEL);
      continue;
    }
    WaitMessage();
  }
  --ui.modal;
  INT_PTR r = IsWindow(dlg) ? Data(dlg)->result : IDCANCEL;
  if (reenable) EnableWindow(ownerTop, TRUE);
  if (IsWindow(dlg)) DestroyWindow(dlg);
  return r;
}

INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC proc, LPARAM param) {
  return DialogBoxIndirectParamW(module, QxUi_FindDialogTemplate(module, name), owner, proc, param);
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
  DialogData* d = IsDialogWnd(dialog) ? Data(dialog) : nullptr;
  if (!d) return FALSE;
  d->ended = true;
  d->result = result;
  ShowWindow(dialog, SW_HIDE);
  return TRUE;
}

HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous) {
  std::vector<HWND> items;
  Collect(dialog, items);
  if (items.empty()) return nullptr;
  auto ok = [](HWND h) { return Usable(h) && (GetWindowLong(h, GWL_STYLE) & WS_TABSTOP); };
  int n = static_cast<int>(items.size());
  int at = static_cast<int>(std::find(items.begin(), items.end(), control) - items.begin());
  if (at == n) at = previous ? 0 : n - 1;  // from the start (or the end) when there is no control
  for (int k = 1; k <= n; ++k) {
    int i = ((previous ? at - k : at + k) % n + n) % n;
    if (ok(items[i])) return items[i];
  }
  return nullptr;
}

HWND GetNextDlgGroupItem(HWND dialog, HWND control, BOOL previous) {
  std::vector<HWND> items;
  Collect(dialog, items);
  int n = static_cast<int>(items.size());
  int at = static_cast<int>(std::find(items.begin(), items.end(), control) - items.begin());
  if (at == n) return nullptr;
  auto group = [&](int i) { return (GetWindowLong(items[i], GWL_STYLE) & WS_GROUP) != 0; };
  int start = at;
  while (start > 0 && !group(start)) --start;
  int end = at + 1;
  while (end < n && !group(end)) ++end;
  int len = end - start;
  for (int k = 1; k < len; ++k) {
    int i = start + (((at - start) + (previous ? -k : k)) % len + len) % len;
    if (Usable(items[i])) return items[i];
  }
  return control;
}

BOOL IsDialogMessage(HWND dialog, MSG* m) {
  if (!dialog || !m || (m->hwnd != dialog && !IsChild(dialog, m->hwnd))) return FALSE;
  HWND focus = GetFocus();
  bool shift = GetKeyState(VK_SHIFT) & 0x8000;
  switch (m->message) {
    case WM_KEYDOWN: {
      LRESULT code = DlgCode(m->hwnd, m);
      if (code & DLGC_WANTMESSAGE) break;
      switch (m->wParam) {
        case VK_TAB:
          if (code & DLGC_WANTTAB) break;
          FocusControl(GetNextDlgTabItem(dialog, focus, shift));
          return TRUE;
        case VK_LEFT: case VK_UP: case VK_RIGHT: case VK_DOWN: {
          if (code & DLGC_WANTARROWS) break;
          HWND next = GetNextDlgGroupItem(dialog, focus, m->wParam == VK_LEFT || m->wParam == VK_UP);
          if (next && next != focus) {
            FocusControl(next);
            if (ButtonType(next) == BS_AUTORADIOBUTTON) SendMessage(next, BM_CLICK, 0, 0);
          }
          return TRUE;
        }
        case VK_RETURN: {
          HWND target = nullptr;
          UINT t = ButtonType(focus);
          if (IsChild(dialog, focus) && (t == BS_PUSHBUTTON || t == BS_DEFPUSHBUTTON)) {
            target = focus;
          } else {
            LRESULT def = SendMessage(dialog, DM_GETDEFID, 0, 0);
            if (HIWORD(def) == DC_HASDEFID) target = GetDlgItem(dialog, LOWORD(def));
            if (!target) {
              SendMessage(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
              return TRUE;
            }
          }
          if (Usable(target)) SendMessage(dialog, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(target), BN_CLICKED), reinterpret_cast<LPARAM>(target));
          return TRUE;
        }
        case VK_ESCAPE:
          SendMessage(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDCANCEL)));
          return TRUE;
      }
      break;
    }
    case WM_CHAR: {
      LRESULT code = DlgCode(m->hwnd, m);
      if (code & (DLGC_WANTCHARS | DLGC_WANTMESSAGE)) break;
      if (m->wParam == '\t' || m->wParam == '\r' || m->wParam == 27) return TRUE;
      if (Mnemonic(dialog, static_cast<WCHAR>(m->wParam))) return TRUE;
      break;
    }
    case WM_SYSCHAR:
      if (Mnemonic(dialog, static_cast<WCHAR>(m->wParam))) return TRUE;
      break;
  }
  if (HWND f = GetFocus(); f && IsChild(dialog, f))
    if (HWND d = DialogOf(f); d && Data(d)) Data(d)->lastFocus = f;
  TranslateMessage(m);
  DispatchMessage(m);
  return TRUE;
}

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) { return SetWindowTextW(GetDlgItem(dialog, id), text); }
UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR buffer, int max) {
  if (buffer && max > 0) buffer[0] = 0;
  return static_cast<UINT>(GetWindowTextW(GetDlgItem(dialog, id), buffer, max));
}
BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) {
  std::string s = isSigned ? std::to_string(static_cast<int>(value)) : std::to_string(value);
  std::u16string w(s.begin(), s.end());
  return SetDlgItemTextW(dialog, id, w.c_str());
}
UINT GetDlgItemInt(HWND dialog, int id, BOOL* ok, BOOL isSigned) {
  WCHAR buf[64];
  GetDlgItemTextW(dialog, id, buf, 64);
  const WCHAR* p = buf;
  while (*p == ' ') ++p;
  bool neg = isSigned && *p == '-';
  if (neg) ++p;
  long long v = 0;
  bool digits = false;
  while (*p >= '0' && *p <= '9') v = v * 10 + (*p++ - '0'), digits = true;
  if (ok) *ok = digits && *p == 0;
  return static_cast<UINT>(neg ? -v : v);
}
LRESULT SendDlgItemMessage(HWND dialog, int id, UINT msg, WPARAM wParam, LPARAM lParam) {
  return SendMessage(GetDlgItem(dialog, id), msg, wParam, lParam);
}
BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
  HWND c = GetDlgItem(dialog, id);
  if (!c) return FALSE;
  SendMessage(c, BM_SETCHECK, check, 0);
  return TRUE;
}
UINT IsDlgButtonChecked(HWND dialog, int id) { return static_cast<UINT>(SendDlgItemMessage(dialog, id, BM_GETCHECK, 0, 0)); }
BOOL CheckRadioButton(HWND dialog, int first, int last, int check) {
  for (int id = first; id <= last; ++id) CheckDlgButton(dialog, id, id == check ? BST_CHECKED : BST_UNCHECKED);
  return TRUE;
}
