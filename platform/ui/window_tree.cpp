// Windows with procedures: creation and destruction, the parent and z-order tree, window data and
// properties, geometry, enable and show state, timers, capture, focus, keys and DefWindowProc.
#include <algorithm>
#include <cstring>

#include "platform/ui/gdi.h"
#include "platform/ui/window.h"
#include "platform/ui/window_internal.h"

using namespace qxui;

namespace qxui {

HWND TopLevelOf(HWND h) {
  Wnd* w = Find(h);
  while (w && w->IsChild()) {
    Wnd* p = Find(w->parent);
    if (!p) break;
    w = p;
  }
  return w ? w->h : nullptr;
}

POINT OriginInTop(HWND h) {
  POINT o{0, 0};
  Wnd* w = Find(h);
  while (w && w->IsChild()) {
    o.x += w->rect.left;
    o.y += w->rect.top;
    w = Find(w->parent);
  }
  return o;
}

POINT ScreenOrigin(HWND h) {
  POINT o = OriginInTop(h);
  Wnd* t = Find(TopLevelOf(h));
  if (!t) return o;
  POINT s = t->surface && t->surface->host ? t->surface->host->ScreenOrigin(t->rect) : POINT{t->rect.left, t->rect.top};
  return POINT{o.x + s.x, o.y + s.y};
}

RECT VisibleRectInTop(HWND h) {
  Wnd* w = Find(h);
  if (!w) return RECT{};
  POINT o = OriginInTop(h);
  RECT r{o.x, o.y, o.x + w->rect.right - w->rect.left, o.y + w->rect.bottom - w->rect.top};
  while (w && w->IsChild()) {
    Wnd* p = Find(w->parent);
    if (!p) break;
    POINT po = OriginInTop(p->h);
    RECT pr{po.x, po.y, po.x + p->rect.right - p->rect.left, po.y + p->rect.bottom - p->rect.top};
    IntersectRect(&r, &r, &pr);
    w = p;
  }
  return r;
}

bool IsVisibleDeep(HWND h) {
  for (Wnd* w = Find(h); w; w = w->IsChild() ? Find(w->parent) : nullptr) {
    if (!(w->style & WS_VISIBLE)) return false;
    if (!w->IsChild()) break;
  }
  return Find(h) != nullptr;
}

namespace {
HWND HitIn(Wnd* w, POINT pt, POINT screen) {
  for (HWND ch : w->children) {
    Wnd* c = Find(ch);
    if (!c || !(c->style & WS_VISIBLE) || (c->style & WS_DISABLED)) continue;
    POINT local{pt.x - c->rect.left, pt.y - c->rect.top};
    if (!PtInRect(&c->rect, pt)) continue;
    if (SendMessage(ch, WM_NCHITTEST, 0, MAKELPARAM_XY(screen.x, screen.y)) == HTTRANSPARENT) continue;
    Wnd* again = Find(ch);
    return again ? HitIn(again, local, screen) : w->h;
  }
  return w->h;
}
}  // namespace

HWND HitTest(HWND top, POINT pt) {
  Wnd* w = Find(top);
  if (!w) return nullptr;
  POINT s = ScreenOrigin(top);
  return HitIn(w, pt, POINT{s.x + pt.x, s.y + pt.y});
}

}  // namespace qxui

namespace {

WNDPROC ClassProc(const WNDCLASSW& wc) { return wc.lpfnWndProc ? reinterpret_cast<WNDPROC>(wc.lpfnWndProc) : DefWindowProc; }

std::unique_ptr<NativeHost> ChooseHost(Wnd* w) {
  ThreadUi& ui = Ui();
  if (Wnd* fp = Find(w->foreignParent); fp && fp->xDisplay) {
    w->xDisplay = fp->xDisplay;
    return MakeX11Host(w->h, fp->xDisplay, fp->xid, false);
  }
  void* display = ui.x11Display;
  if (Wnd* owner = Find(TopLevelOf(w->parent)); owner) display = owner->xDisplay;
  if (display) {
    w->xDisplay = display;
    return MakeX11Host(w->h, display, 0, (w->style & WS_POPUP) != 0);
  }
  return MakeHeadlessHost();
}

void InvalidateArea(HWND h) {
  if (!IsVisibleDeep(h)) return;
  HWND top = TopLevelOf(h);
  InvalidateTop(top, VisibleRectInTop(h), true);
}

bool InSubtree(HWND root, HWND h) {
  for (Wnd* w = Find(h); w; w = w->IsChild() ? Find(w->parent) : nullptr) {
    if (w->h == root) return true;
    if (!w->IsChild()) break;
  }
  return false;
}

void DestroyTree(HWND h) {
  ThreadUi& ui = Ui();
  // Popups owned by this window go first.
  std::vector<HWND> owned;
  for (HWND t : ui.topLevels)
    if (Wnd* o = Find(t); o && o->parent == h && t != h) owned.push_back(t);
  for (HWND t : owned) DestroyWindow(t);
  if (!Find(h)) return;
  if (ui.capture && InSubtree(h, ui.capture)) ReleaseCapture();
  if (ui.focus && InSubtree(h, ui.focus)) ui.focus = nullptr;
  if (Wnd* w = Find(h)) w->dying = true;
  SendMessage(h, WM_DESTROY, 0, 0);
  Wnd* w = Find(h);
  if (!w) return;
  std::vector<HWND> kids = w->children;
  for (HWND c : kids)
    if (Wnd* cw = Find(c); cw && !cw->dying) DestroyTree(c);
  SendMessage(h, WM_NCDESTROY, 0, 0);
  w = Find(h);
  if (!w) return;
  w->destroying = true;
  if (Wnd* p = Find(w->parent); p && w->IsChild()) {
    auto& v = p->children;
    v.erase(std::remove(v.begin(), v.end(), h), v.end());
  }
  auto& tl = ui.topLevels;
  tl.erase(std::remove(tl.begin(), tl.end(), h), tl.end());
  auto& tm = ui.timers;
  tm.erase(std::remove_if(tm.begin(), tm.end(), [h](const Timer& t) { return t.hwnd == h; }), tm.end());
  if (ui.active == h) ui.active = nullptr;
  if (ui.lastClickWnd == h) ui.lastClickWnd = nullptr;
  Unregister(h);
}

}  // namespace

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style, int x, int y, int cx,
                     int cy, HWND parent, HMENU hMenu, HINSTANCE instance, void* param) {
  EnsureSystemClasses();
  WNDCLASSW wc;
  if (!className || !GetClassInfoW(instance, className, &wc)) return nullptr;
  auto w = std::make_unique<Wnd>();
  w->cls = wc;
  w->className = className;
  w->proc = ClassProc(wc);
  w->style = style;
  w->exStyle = exStyle;
  w->instance = instance;
  w->extra.assign((std::max(wc.cbWndExtra, 0) + 7) / 8, 0);
  if (windowName) w->text = windowName;
  if (x == static_cast<int>(0x80000000)) x = 0;
  if (y == static_cast<int>(0x80000000)) y = 0;
  w->rect = RECT{x, y, x + std::max(cx, 0), y + std::max(cy, 0)};
  Wnd* pw = Find(parent);
  if ((style & WS_CHILD) && !pw && !parent) return nullptr;
  if (pw && pw->xid && !pw->proc) {
    w->foreignParent = parent;  // a host's native window: we are a top-level inside it
  } else if (style & WS_CHILD) {
    if (!pw) return nullptr;
    w->id = reinterpret_cast<LONG_PTR>(hMenu);
  }
  w->parent = parent;
  Wnd* raw = w.get();
  HWND h = Register(std::move(w));
  ThreadUi& ui = Ui();
  if (raw->IsChild()) {
    pw->children.push_back(h);
  } else {
    raw->surface = std::make_unique<Surface>();
    raw->surface->Resize(raw->rect.right - raw->rect.left, raw->rect.bottom - raw->rect.top);
    raw->surface->host = ChooseHost(raw);
    ui.topLevels.push_back(h);
  }
  CREATESTRUCTW cs{param, instance, hMenu, parent, cy, cx, y, x, static_cast<LONG>(style), windowName, className, exStyle};
  if (!SendMessage(h, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&cs)) ||
      SendMessage(h, WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) == -1) {
    DestroyWindow(h);
    return nullptr;
  }
  Wnd* again = Find(h);
  if (!again) return nullptr;
  SendMessage(h, WM_SIZE, 0, MAKELPARAM(static_cast<WORD>(cx), static_cast<WORD>(cy)));
  again = Find(h);
  if (!again) return nullptr;
  if (again->style & WS_VISIBLE) {
    if (!again->IsChild() && again->surface->host) again->surface->host->Show(true);
    InvalidateArea(h);
  }
  return h;
}

BOOL DestroyWindow(HWND hwnd) {
  Wnd* w = Find(hwnd);
  if (!w) {
    // A bare handle (no procedure): only its owner may end it.
    if (!IsWindow(hwnd) || GetWindowThreadId(hwnd) != GetCurrentThreadId()) return FALSE;
    Unregister(hwnd);
    return TRUE;
  }
  if (w->thread != GetCurrentThreadId() || w->dying) return FALSE;
  if ((w->style & WS_VISIBLE) && w->IsChild()) {
    HWND p = w->parent;
    RECT r = VisibleRectInTop(hwnd);
    w->style &= ~WS_VISIBLE;
    if (IsVisibleDeep(p)) InvalidateTop(TopLevelOf(p), r, true);
  }
  DestroyTree(hwnd);
  return TRUE;
}

LRESULT DefWindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Wnd* w = Find(hwnd);
  if (!w) return 0;
  switch (msg) {
    case WM_NCCREATE:
      return TRUE;
    case WM_SETTEXT:
      w->text = lParam ? reinterpret_cast<LPCWSTR>(lParam) : u"";
      InvalidateRect(hwnd, nullptr, TRUE);
      return TRUE;
    case WM_GETTEXT: {
      if (!wParam || !lParam) return 0;
      auto* out = reinterpret_cast<WCHAR*>(lParam);
      size_t n = std::min<size_t>(w->text.size(), wParam - 1);
      std::copy(w->text.begin(), w->text.begin() + n, out);
      out[n] = 0;
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(w->text.size());
    case WM_PAINT: {
      PAINTSTRUCT ps;
      BeginPaint(hwnd, &ps);
      EndPaint(hwnd, &ps);
      return 0;
    }
    case WM_ERASEBKGND: {
      HBRUSH b = w->cls.hbrBackground;
      if (!b) return 0;
      if (reinterpret_cast<uintptr_t>(b) <= 64) b = GetSysColorBrush(static_cast<int>(reinterpret_cast<uintptr_t>(b)) - 1);
      RECT rc;
      GetClientRect(hwnd, &rc);
      FillRect(reinterpret_cast<HDC>(wParam), &rc, b);
      return 1;
    }
    case WM_NCHITTEST:
      return HTCLIENT;
    case WM_SETCURSOR:
      if (w->IsChild() && SendMessage(w->parent, WM_SETCURSOR, wParam, lParam)) return TRUE;
      SetCursor(w->cls.hCursor ? w->cls.hCursor : LoadCursorW(nullptr, IDC_ARROW));
      return TRUE;
    case WM_CLOSE:
      DestroyWindow(hwnd);
      return 0;
    case WM_RBUTTONUP: {
      POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      ClientToScreen(hwnd, &pt);
      SendMessage(hwnd, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(hwnd), MAKELPARAM_XY(pt.x, pt.y));
      return 0;
    }
    case WM_CONTEXTMENU:
    case WM_MOUSEWHEEL:
    case WM_HELP:
      if (w->IsChild()) return SendMessage(w->parent, msg, wParam, lParam);
      return 0;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
      if (wParam == VK_F1 && !(GetKeyState(VK_SHIFT) & 0x8000)) {
        HELPINFO hi{sizeof(HELPINFO), HELPINFO_WINDOW, GetDlgCtrlID(hwnd), hwnd, 0, Ui().cursorPos};
        SendMessage(hwnd, WM_HELP, 0, reinterpret_cast<LPARAM>(&hi));
      } else if (wParam == VK_APPS || (wParam == VK_F10 && (GetKeyState(VK_SHIFT) & 0x8000))) {
        SendMessage(hwnd, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(hwnd), -1);
      }
      return 0;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
      SetTextColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOWTEXT));
      SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_3DFACE));
      return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_3DFACE));
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
      SetTextColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOWTEXT));
      SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
      return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
    case WM_CANCELMODE:
      if (GetCapture() == hwnd) ReleaseCapture();
      return 0;
    default:
      return 0;
  }
}

LONG_PTR GetWindowLongPtr(HWND hwnd, int index) {
  Wnd* w = Find(hwnd);
  if (!w) return 0;
  switch (index) {
    case GWLP_WNDPROC: return reinterpret_cast<LONG_PTR>(w->proc);
    case GWL_STYLE: return static_cast<LONG>(w->style);
    case GWL_EXSTYLE: return static_cast<LONG>(w->exStyle);
    case GWLP_ID: return w->id;
    case GWLP_USERDATA: return w->userData;
    case GWLP_HINSTANCE: return reinterpret_cast<LONG_PTR>(w->instance);
    case GWLP_HWNDPARENT: return w->IsChild() ? 0 : reinterpret_cast<LONG_PTR>(w->parent);
    default:
      if (index < 0 || index / 8 >= static_cast<int>(w->extra.size())) return 0;
      return w->extra[index / 8];
  }
}

LONG_PTR SetWindowLongPtr(HWND hwnd, int index, LONG_PTR value) {
  Wnd* w = Find(hwnd);
  if (!w) return 0;
  LONG_PTR old = GetWindowLongPtr(hwnd, index);
  switch (index) {
    case GWLP_WNDPROC: w->proc = reinterpret_cast<WNDPROC>(value); break;
    case GWL_STYLE: w->style = static_cast<DWORD>(value); break;
    case GWL_EXSTYLE: w->exStyle = static_cast<DWORD>(value); break;
    case GWLP_ID: w->id = value; break;
    case GWLP_USERDATA: w->userData = value; break;
    default:
      if (index < 0 || index / 8 >= static_cast<int>(w->extra.size())) return 0;
      w->extra[index / 8] = value;
  }
  return old;
}

int GetDlgCtrlID(HWND hwnd) { return static_cast<int>(GetWindowLongPtr(hwnd, GWLP_ID)); }
HINSTANCE GetWindowInstance(HWND hwnd) { return reinterpret_cast<HINSTANCE>(GetWindowLongPtr(hwnd, GWLP_HINSTANCE)); }

int GetClassNameW(HWND hwnd, LPWSTR buffer, int max) {
  Wnd* w = Find(hwnd);
  if (!w || !buffer || max <= 0) return 0;
  int n = std::min<int>(static_cast<int>(w->className.size()), max - 1);
  std::copy(w->className.begin(), w->className.begin() + n, buffer);
  buffer[n] = 0;
  return n;
}

namespace {
std::u16string PropKey(LPCWSTR name) {
  if ((reinterpret_cast<uintptr_t>(name) >> 16) == 0) {
    std::u16string k = u"#";
    for (char c : std::to_string(reinterpret_cast<uintptr_t>(name))) k += static_cast<char16_t>(c);
    return k;
  }
  return name;
}
}  // namespace

BOOL SetPropW(HWND hwnd, LPCWSTR name, HANDLE data) {
  Wnd* w = Find(hwnd);
  if (!w || !name) return FALSE;
  w->props[PropKey(name)] = data;
  return TRUE;
}
HANDLE GetPropW(HWND hwnd, LPCWSTR name) {
  Wnd* w = Find(hwnd);
  if (!w || !name) return nullptr;
  auto it = w->props.find(PropKey(name));
  return it == w->props.end() ? nullptr : it->second;
}
HANDLE RemovePropW(HWND hwnd, LPCWSTR name) {
  Wnd* w = Find(hwnd);
  if (!w || !name) return nullptr;
  auto it = w->props.find(PropKey(name));
  if (it == w->props.end()) return nullptr;
  HANDLE d = it->second;
  w->props.erase(it);
  return d;
}

BOOL SetWindowTextW(HWND hwnd, LPCWSTR text) {
  if (!Find(hwnd)) return FALSE;
  return SendMessage(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text ? text : u"")) ? TRUE : FALSE;
}
int GetWindowTextW(HWND hwnd, LPWSTR buffer, int max) {
  if (!buffer || max <= 0) return 0;
  buffer[0] = 0;
  return static_cast<int>(SendMessage(hwnd, WM_GETTEXT, max, reinterpret_cast<LPARAM>(buffer)));
}
int GetWindowTextLengthW(HWND hwnd) { return static_cast<int>(SendMessage(hwnd, WM_GETTEXTLENGTH, 0, 0)); }

HWND GetParent(HWND hwnd) {
  Wnd* w = Find(hwnd);
  return w ? w->parent : nullptr;
}

HWND GetAncestor(HWND hwnd, UINT flags) {
  Wnd* w = Find(hwnd);
  if (!w) return nullptr;
  if (flags == GA_PARENT) return w->IsChild() ? w->parent : nullptr;
  return TopLevelOf(hwnd);
}

HWND GetWindow(HWND hwnd, UINT cmd) {
  Wnd* w = Find(hwnd);
  if (!w) return nullptr;
  if (cmd == GW_CHILD) return w->children.empty() ? nullptr : w->children.front();
  if (cmd == GW_OWNER) return w->IsChild() ? nullptr : w->parent;
  Wnd* p = w->IsChild() ? Find(w->parent) : nullptr;
  if (!p) return nullptr;
  auto& v = p->children;
  auto it = std::find(v.begin(), v.end(), hwnd);
  switch (cmd) {
    case GW_HWNDFIRST: return v.front();
    case GW_HWNDLAST: return v.back();
    case GW_HWNDNEXT: return it + 1 < v.end() ? *(it + 1) : nullptr;
    case GW_HWNDPREV: return it > v.begin() ? *(it - 1) : nullptr;
  }
  return nullptr;
}

HWND GetDlgItem(HWND dialog, int id) {
  Wnd* w = Find(dialog);
  if (!w) return nullptr;
  for (HWND c : w->children)
    if (Wnd* cw = Find(c); cw && cw->id == id) return c;
  return nullptr;
}

BOOL IsChild(HWND parent, HWND hwnd) { return hwnd != parent && InSubtree(parent, hwnd); }

BOOL EnableWindow(HWND hwnd, BOOL enable) {
  Wnd* w = Find(hwnd);
  if (!w) return FALSE;
  BOOL wasDisabled = (w->style & WS_DISABLED) ? TRUE : FALSE;
  if (!enable == !!wasDisabled) return wasDisabled;
  if (enable) {
    w->style &= ~WS_DISABLED;
  } else {
    w->style |= WS_DISABLED;
    ThreadUi& ui = Ui();
    if (ui.capture && InSubtree(hwnd, ui.capture)) SendMessage(ui.capture, WM_CANCELMODE, 0, 0);
    if (ui.focus && InSubtree(hwnd, ui.focus)) SetFocus(nullptr);
  }
  SendMessage(hwnd, WM_ENABLE, enable, 0);
  InvalidateRect(hwnd, nullptr, TRUE);
  return wasDisabled;
}

BOOL IsWindowEnabled(HWND hwnd) {
  Wnd* w = Find(hwnd);
  return w && !(w->style & WS_DISABLED);
}

BOOL ShowWindow(HWND hwnd, int cmd) {
  Wnd* w = Find(hwnd);
  if (!w) return FALSE;
  BOOL was = (w->style & WS_VISIBLE) ? TRUE : FALSE;
  bool show = cmd != SW_HIDE;
  if (show == !!was) return was;
  if (!show) {
    InvalidateArea(hwnd);
    ThreadUi& ui = Ui();
    if (ui.focus && InSubtree(hwnd, ui.focus)) SetFocus(nullptr);
    if (ui.capture && InSubtree(hwnd, ui.capture)) ReleaseCapture();
  }
  w = Find(hwnd);
  if (!w) return was;
  if (show) w->style |= WS_VISIBLE;
  else w->style &= ~WS_VISIBLE;
  SendMessage(hwnd, WM_SHOWWINDOW, show, 0);
  w = Find(hwnd);
  if (!w) return was;
  if (!w->IsChild() && w->surface && w->surface->host) w->surface->host->Show(show);
  if (show) InvalidateArea(hwnd);
  return was;
}

BOOL IsWindowVisible(HWND hwnd) { return IsVisibleDeep(hwnd) ? TRUE : FALSE; }

BOOL SetWindowPos(HWND hwnd, HWND after, int x, int y, int cx, int cy, UINT flags) {
  Wnd* w = Find(hwnd);
  if (!w) return FALSE;
  if (flags & SWP_SHOWWINDOW) ShowWindow(hwnd, SW_SHOWNA);
  RECT old = w->rect;
  RECT r = old;
  if (!(flags & SWP_NOMOVE)) OffsetRect(&r, x - r.left, y - r.top);
  if (!(flags & SWP_NOSIZE)) {
    r.right = r.left + std::max(cx, 0);
    r.bottom = r.top + std::max(cy, 0);
  }
  bool moved = r.left != old.left || r.top != old.top;
  bool sized = (r.right - r.left) != (old.right - old.left) || (r.bottom - r.top) != (old.bottom - old.top);
  if (w->IsChild()) {
    if (!(flags & SWP_NOREDRAW)) InvalidateArea(hwnd);
    w->rect = r;
    if (!(flags & SWP_NOZORDER)) {
      if (Wnd* p = Find(w->parent)) {
        auto& v = p->children;
        v.erase(std::remove(v.begin(), v.end(), hwnd), v.end());
        if (after == reinterpret_cast<HWND>(1)) v.push_back(hwnd);
        else v.insert(v.begin(), hwnd);
      }
    }
    if (!(flags & SWP_NOREDRAW)) InvalidateArea(hwnd);
  } else {
    w->rect = r;
    if (sized) {
      w->surface->Resize(r.right - r.left, r.bottom - r.top);
      if (w->surface->host) w->surface->host->Resize(r.right - r.left, r.bottom - r.top);
      InvalidateArea(hwnd);
    }
    if (moved && w->surface->host) w->surface->host->Move(r.left, r.top);
  }
  if (moved) SendMessage(hwnd, WM_MOVE, 0, MAKELPARAM(static_cast<WORD>(r.left), static_cast<WORD>(r.top)));
  if (sized)
    SendMessage(hwnd, WM_SIZE, 0, MAKELPARAM(static_cast<WORD>(r.right - r.left), static_cast<WORD>(r.bottom - r.top)));
  if (flags & SWP_HIDEWINDOW) ShowWindow(hwnd, SW_HIDE);
  return TRUE;
}

BOOL MoveWindow(HWND hwnd, int x, int y, int cx, int cy, BOOL repaint) {
  return SetWindowPos(hwnd, nullptr, x, y, cx, cy, SWP_NOZORDER | (repaint ? 0 : SWP_NOREDRAW));
}

BOOL GetClientRect(HWND hwnd, RECT* rect) {
  Wnd* w = Find(hwnd);
  if (!w || !rect) return FALSE;
  *rect = RECT{0, 0, w->rect.right - w->rect.left, w->rect.bottom - w->rect.top};
  return TRUE;
}

BOOL GetWindowRect(HWND hwnd, RECT* rect) {
  Wnd* w = Find(hwnd);
  if (!w || !rect) return FALSE;
  POINT o = ScreenOrigin(hwnd);
  *rect = RECT{o.x, o.y, o.x + w->rect.right - w->rect.left, o.y + w->rect.bottom - w->rect.top};
  return TRUE;
}

BOOL ClientToScreen(HWND hwnd, POINT* pt) {
  if (!Find(hwnd) || !pt) return FALSE;
  POINT o = ScreenOrigin(hwnd);
  pt->x += o.x;
  pt->y += o.y;
  return TRUE;
}

BOOL ScreenToClient(HWND hwnd, POINT* pt) {
  if (!Find(hwnd) || !pt) return FALSE;
  POINT o = ScreenOrigin(hwnd);
  pt->x -= o.x;
  pt->y -= o.y;
  return TRUE;
}

int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count) {
  POINT a = from ? ScreenOrigin(from) : POINT{0, 0};
  POINT b = to ? ScreenOrigin(to) : POINT{0, 0};
  for (UINT i = 0; i < count; ++i) {
    points[i].x += a.x - b.x;
    points[i].y += a.y - b.y;
  }
  return MAKELONG(static_cast<WORD>(a.x - b.x), static_cast<WORD>(a.y - b.y));
}

HWND ChildWindowFromPoint(HWND parent, POINT pt) {
  Wnd* w = Find(parent);
  if (!w) return nullptr;
  for (HWND c : w->children) {
    Wnd* cw = Find(c);
    if (cw && (cw->style & WS_VISIBLE) && PtInRect(&cw->rect, pt)) return c;
  }
  RECT rc;
  GetClientRect(parent, &rc);
  return PtInRect(&rc, pt) ? parent : nullptr;
}

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapseMs, TIMERPROC proc) {
  ThreadUi& ui = Ui();
  if (hwnd && !Find(hwnd)) return 0;
  if (!hwnd) {
    static UINT_PTR next = 0x7F00;
    id = ++next;
  }
  DWORD due = Now() + std::max<UINT>(elapseMs, 1);
  for (Timer& t : ui.timers)
    if (t.hwnd == hwnd && t.id == id) {
      t = Timer{hwnd, id, elapseMs, due, proc};
      return id ? id : 1;
    }
  ui.timers.push_back(Timer{hwnd, id, elapseMs, due, proc});
  return id ? id : 1;
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  auto& v = Ui().timers;
  auto it = std::find_if(v.begin(), v.end(), [&](const Timer& t) { return t.hwnd == hwnd && t.id == id; });
  if (it == v.end()) return FALSE;
  v.erase(it);
  return TRUE;
}

HWND SetCapture(HWND hwnd) {
  ThreadUi& ui = Ui();
  HWND prev = ui.capture;
  if (hwnd && !Find(hwnd)) return prev;
  ui.capture = hwnd;
  if (prev && prev != hwnd) SendMessage(prev, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(hwnd));
  return prev;
}

BOOL ReleaseCapture() {
  ThreadUi& ui = Ui();
  HWND prev = ui.capture;
  ui.capture = nullptr;
  if (prev) SendMessage(prev, WM_CAPTURECHANGED, 0, 0);
  return TRUE;
}

HWND GetCapture() { return Ui().capture; }

HWND SetFocus(HWND hwnd) {
  ThreadUi& ui = Ui();
  HWND prev = ui.focus;
  if (hwnd == prev) return prev;
  if (hwnd && !Find(hwnd)) return nullptr;
  ui.focus = hwnd;
  if (hwnd) ui.active = TopLevelOf(hwnd);
  if (prev) SendMessage(prev, WM_KILLFOCUS, reinterpret_cast<WPARAM>(hwnd), 0);
  if (hwnd && ui.focus == hwnd) {
    SendMessage(hwnd, WM_SETFOCUS, reinterpret_cast<WPARAM>(prev), 0);
    if (Wnd* t = Find(TopLevelOf(hwnd)); t && t->surface && t->surface->host) t->surface->host->TakeKeyboardFocus();
  }
  return prev;
}

HWND GetFocus() { return Ui().focus; }
HWND GetActiveWindow() { return Ui().active; }

short GetKeyState(int vk) {
  if (vk < 0 || vk > 255) return 0;
  BYTE k = Ui().keys[vk];
  return static_cast<short>(((k & 0x80) ? 0x8000 : 0) | (k & 1));
}
short GetAsyncKeyState(int vk) { return GetKeyState(vk); }

BOOL GetCursorPos(POINT* pt) {
  if (!pt) return FALSE;
  *pt = Ui().cursorPos;
  return TRUE;
}

BOOL HideCaret(HWND) {
  ThreadUi& ui = Ui();
  if (ui.caretHidden++ == 0 && ui.focus) InvalidateRect(ui.focus, nullptr, FALSE);
  return TRUE;
}
BOOL ShowCaret(HWND) {
  ThreadUi& ui = Ui();
  if (ui.caretHidden == 0) return FALSE;
  if (--ui.caretHidden == 0 && ui.focus) InvalidateRect(ui.focus, nullptr, FALSE);
  return TRUE;
}

HCURSOR SetCursor(HCURSOR cursor) {
  ThreadUi& ui = Ui();
  HCURSOR prev = ui.cursor;
  ui.cursor = cursor;
  if (cursor != prev)
    if (Wnd* t = Find(ui.capture ? TopLevelOf(ui.capture) : ui.active); t && t->surface && t->surface->host)
      t->surface->host->SetCursorShape(QxUi_CursorId(cursor));
  return prev;
}
HCURSOR GetCursor() { return Ui().cursor; }
UINT GetDoubleClickTime() { return 500; }

BOOL SetRect(RECT* r, int left, int top, int right, int bottom) {
  if (!r) return FALSE;
  *r = RECT{left, top, right, bottom};
  return TRUE;
}
BOOL SetRectEmpty(RECT* r) { return SetRect(r, 0, 0, 0, 0); }
BOOL IsRectEmpty(const RECT* r) { return !r || r->right <= r->left || r->bottom <= r->top; }
BOOL PtInRect(const RECT* r, POINT pt) {
  return r && pt.x >= r->left && pt.x < r->right && pt.y >= r->top && pt.y < r->bottom;
}
BOOL OffsetRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left += dx;
  r->right += dx;
  r->top += dy;
  r->bottom += dy;
  return TRUE;
}
BOOL InflateRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left -= dx;
  r->right += dx;
  r->top -= dy;
  r->bottom += dy;
  return TRUE;
}
BOOL IntersectRect(RECT* out, const RECT* a, const RECT* b) {
  RECT r{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right), std::min(a->bottom, b->bottom)};
  if (IsRectEmpty(&r)) r = RECT{};
  *out = r;
  return !IsRectEmpty(&r);
}
BOOL UnionRect(RECT* out, const RECT* a, const RECT* b) {
  if (IsRectEmpty(a)) *out = IsRectEmpty(b) ? RECT{} : *b;
  else if (IsRectEmpty(b)) *out = *a;
  else *out = RECT{std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right), std::max(a->bottom, b->bottom)};
  return !IsRectEmpty(out);
}
BOOL EqualRect(const RECT* a, const RECT* b) {
  return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}
int MulDiv(int number, int numerator, int denominator) {
  if (denominator == 0) return -1;
  long long p = static_cast<long long>(number) * numerator;
  long long d = denominator;
  if (d < 0) {
    p = -p;
    d = -d;
  }
  long long q = p >= 0 ? (p + d / 2) / d : -((-p + d / 2) / d);
  return static_cast<int>(q);
}
