// Popup menus: the item lists, and TrackPopupMenu's modal loop with one popup window per open
// level, driven by the mouse (hover opens submenus, release chooses) and the keyboard.
#include "platform/ui/menu.h"

#include <cairo.h>

#include <algorithm>
#include <cwctype>
#include <string>
#include <vector>

#include "platform/ui/gdi.h"
#include "platform/ui/window_internal.h"

using namespace qxui;

struct HMENU__ {
  struct Item {
    UINT flags;
    UINT_PTR id;
    HMENU sub;
    std::u16string text;
  };
  std::vector<Item> items;
};

namespace {

constexpr int kItemH = 24, kSepH = 9, kPad = 4;

struct Level {
  HMENU menu;
  HWND wnd;
  int hot;
};

struct Loop {
  std::vector<Level> levels;
  HWND owner;
  bool done = false;
  UINT_PTR chosen = 0;
};

thread_local Loop* g_loop = nullptr;

HMENU__::Item* ItemAt(HMENU m, UINT item, UINT flags) {
  if (!m) return nullptr;
  if (flags & MF_BYPOSITION) return item < m->items.size() ? &m->items[item] : nullptr;
  for (auto& it : m->items) {
    if (!(it.flags & MF_POPUP) && it.id == item) return &it;
    if (it.flags & MF_POPUP)
      if (auto* in = ItemAt(it.sub, item, flags)) return in;
  }
  return nullptr;
}

int ItemTop(HMENU m, int i) {
  int y = kPad;
  for (int k = 0; k < i; ++k) y += (m->items[k].flags & MF_SEPARATOR) ? kSepH : kItemH;
  return y;
}

int ItemFromY(HMENU m, int y) {
  for (int i = 0; i < static_cast<int>(m->items.size()); ++i) {
    int t = ItemTop(m, i), h = (m->items[i].flags & MF_SEPARATOR) ? kSepH : kItemH;
    if (y >= t && y < t + h) return i;
  }
  return -1;
}

bool Selectable(const HMENU__::Item& it) { return !(it.flags & MF_SEPARATOR); }
bool Enabled(const HMENU__::Item& it) { return !(it.flags & (MF_GRAYED | MF_DISABLED)); }

SIZE MenuSize(HMENU m) {
  int w = 120;
  for (auto& it : m->items) {
    if (it.flags & MF_SEPARATOR) continue;
    SIZE s{};
    GetTextExtentPoint32W(nullptr, it.text.c_str(), static_cast<int>(it.text.size()), &s);
    w = std::max<int>(w, s.cx + 28 + 36);
  }
  return SIZE{w, ItemTop(m, static_cast<int>(m->items.size())) + kPad};
}

void CloseFrom(Loop& l, size_t depth) {
  while (l.levels.size() > depth) {
    DestroyWindow(l.levels.back().wnd);
    l.levels.pop_back();
  }
  if (!l.levels.empty()) SetCapture(l.levels.back().wnd);
}

void OpenLevel(Loop& l, HMENU m, int x, int y) {
  SIZE s = MenuSize(m);
  l.levels.push_back(Level{m, nullptr, -1});
  HWND w = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, u"#32768", u"", WS_POPUP, x, y, s.cx, s.cy, l.owner,
                           nullptr, nullptr, m);
  l.levels.back().wnd = w;
  ShowWindow(w, SW_SHOWNA);
  SetCapture(w);
}

void OpenSub(Loop& l, size_t depth, int i, bool selectFirst) {
  Level& lv = l.levels[depth];
  auto& it = lv.menu->items[i];
  if (!(it.flags & MF_POPUP) || !it.sub || !Enabled(it)) return;
  if (l.levels.size() > depth + 1 && l.levels[depth + 1].menu == it.sub) return;
  CloseFrom(l, depth + 1);
  RECT wr;
  GetWindowRect(l.levels[depth].wnd, &wr);
  OpenLevel(l, it.sub, wr.right - 2, wr.top + ItemTop(l.levels[depth].menu, i) - kPad);
  if (selectFirst) {
    Level& sub = l.levels.back();
    for (int k = 0; k < static_cast<int>(sub.menu->items.size()); ++k)
      if (Selectable(sub.menu->items[k])) {
        sub.hot = k;
        break;
      }
  }
}

void SetHot(Loop& l, size_t depth, int i) {
  Level& lv = l.levels[depth];
  if (lv.hot == i) return;
  lv.hot = i;
  InvalidateRect(lv.wnd, nullptr, TRUE);
}

void Choose(Loop& l, size_t depth, int i) {
  auto& it = l.levels[depth].menu->items[i];
  if (!Selectable(it) || !Enabled(it)) return;
  if (it.flags & MF_POPUP) {
    OpenSub(l, depth, i, true);
    return;
  }
  l.chosen = it.id;
  l.done = true;
}

void Move(Loop& l, int dir) {
  Level& lv = l.levels.back();
  int n = static_cast<int>(lv.menu->items.size());
  if (!n) return;
  int i = lv.hot;
  for (int k = 0; k < n; ++k) {
    i = i < 0 ? (dir > 0 ? 0 : n - 1) : ((i + dir) % n + n) % n;
    if (Selectable(lv.menu->items[i])) break;
  }
  SetHot(l, l.levels.size() - 1, i);
}

bool MatchesMnemonic(const std::u16string& t, WCHAR ch) {
  for (size_t i = 0; i + 1 < t.size(); ++i)
    if (t[i] == u'&' && t[i + 1] != u'&') return std::towupper(t[i + 1]) == std::towupper(ch);
  return false;
}

void Key(Loop& l, const MSG& m) {
  size_t depth = l.levels.size() - 1;
  Level& lv = l.levels[depth];
  if (m.message == WM_CHAR || m.message == WM_SYSCHAR) {
    for (int i = 0; i < static_cast<int>(lv.menu->items.size()); ++i)
      if (MatchesMnemonic(lv.menu->items[i].text, static_cast<WCHAR>(m.wParam))) {
        SetHot(l, depth, i);
        Choose(l, depth, i);
        return;
      }
    return;
  }
  if (m.message != WM_KEYDOWN && m.message != WM_SYSKEYDOWN) return;
  switch (m.wParam) {
    case VK_DOWN: Move(l, 1); break;
    case VK_UP: Move(l, -1); break;
    case VK_RIGHT:
      if (lv.hot >= 0) OpenSub(l, depth, lv.hot, true);
      break;
    case VK_LEFT:
      if (depth > 0) CloseFrom(l, depth);
      break;
    case VK_RETURN:
    case VK_SPACE:
      if (lv.hot >= 0) Choose(l, depth, lv.hot);
      break;
    case VK_ESCAPE:
      if (depth > 0) CloseFrom(l, depth);
      else l.done = true;
      break;
    case VK_MENU:
    case VK_F10:
      l.done = true;
      break;
  }
}

void Mouse(Loop& l, const MSG& m, UINT flags) {
  // The deepest open level under the pointer.
  for (size_t d = l.levels.size(); d-- > 0;) {
    RECT wr;
    GetWindowRect(l.levels[d].wnd, &wr);
    if (!PtInRect(&wr, m.pt)) continue;
    int i = ItemFromY(l.levels[d].menu, m.pt.y - wr.top);
    bool up = m.message == WM_LBUTTONUP || (m.message == WM_RBUTTONUP && (flags & TPM_RIGHTBUTTON));
    if (i >= 0 && Selectable(l.levels[d].menu->items[i])) {
      SetHot(l, d, i);
      if (m.message == WM_MOUSEMOVE || m.message == WM_LBUTTONDOWN) {
        if (l.levels[d].menu->items[i].flags & MF_POPUP) OpenSub(l, d, i, false);
        else CloseFrom(l, d + 1);
      }
      if (up) Choose(l, d, i);
    }
    return;
  }
  if (m.message == WM_LBUTTONDOWN || m.message == WM_RBUTTONDOWN || m.message == WM_MBUTTONDOWN) l.done = true;
}

}  // namespace

namespace qxui {
LRESULT MenuWndProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_CREATE:
      SetWindowLongPtr(h, 0, reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      auto m = reinterpret_cast<HMENU>(GetWindowLongPtr(h, 0));
      int hot = -1;
      if (g_loop)
        for (auto& lv : g_loop->levels)
          if (lv.wnd == h) hot = lv.hot;
      RECT rc;
      GetClientRect(h, &rc);
      HBRUSH bg = CreateSolidBrush(RGB(249, 249, 249));
      FillRect(dc, &rc, bg);
      DeleteObject(bg);
      FrameRect(dc, &rc, GetSysColorBrush(COLOR_3DSHADOW));
      SetBkMode(dc, TRANSPARENT);
      for (int i = 0; m && i < static_cast<int>(m->items.size()); ++i) {
        auto& it = m->items[i];
        int top = ItemTop(m, i);
        if (it.flags & MF_SEPARATOR) {
          RECT line{kPad + 24, top + kSepH / 2, rc.right - kPad - 4, top + kSepH / 2 + 1};
          FillRect(dc, &line, GetSysColorBrush(COLOR_3DLIGHT));
          continue;
        }
        RECT ir{kPad, top, rc.right - kPad, top + kItemH};
        if (i == hot && Enabled(it)) QxUi_RoundRect(dc, &ir, 3, RGB(204, 232, 255), CLR_NONE);
        else if (i == hot) QxUi_RoundRect(dc, &ir, 3, RGB(235, 235, 235), CLR_NONE);
        SetTextColor(dc, Enabled(it) ? GetSysColor(COLOR_MENUTEXT) : GetSysColor(COLOR_GRAYTEXT));
        RECT tr{ir.left + 24, ir.top, ir.right - 20, ir.bottom};
        DrawTextW(dc, it.text.c_str(), -1, &tr, DT_SINGLELINE | DT_VCENTER);
        cairo_t* cr = QxUi_Cairo(dc);
        cairo_save(cr);
        cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
        cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
        cairo_set_line_width(cr, 1.3);
        double cy = (ir.top + ir.bottom) / 2.0;
        if (it.flags & MF_CHECKED) {
          cairo_move_to(cr, ir.left + 8, cy);
          cairo_line_to(cr, ir.left + 11, cy + 3);
          cairo_line_to(cr, ir.left + 16, cy - 3);
          cairo_stroke(cr);
        }
        if (it.flags & MF_POPUP) {
          cairo_move_to(cr, ir.right - 12, cy - 4);
          cairo_line_to(cr, ir.right - 8, cy);
          cairo_line_to(cr, ir.right - 12, cy + 4);
          cairo_stroke(cr);
        }
        cairo_restore(cr);
      }
      EndPaint(h, &ps);
      return 0;
    }
  }
  return DefWindowProc(h, msg, wParam, lParam);
}
}  // namespace qxui

HMENU CreatePopupMenu() { return new HMENU__; }
HMENU CreateMenu() { return new HMENU__; }

BOOL DestroyMenu(HMENU menu) {
  if (!menu) return FALSE;
  for (auto& it : menu->items)
    if (it.flags & MF_POPUP) DestroyMenu(it.sub);
  delete menu;
  return TRUE;
}

BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR idOrMenu, LPCWSTR text) {
  if (!menu) return FALSE;
  HMENU__::Item it{flags & ~MF_BYPOSITION, (flags & MF_POPUP) ? 0 : idOrMenu,
                   (flags & MF_POPUP) ? reinterpret_cast<HMENU>(idOrMenu) : nullptr, text ? text : u""};
  size_t at = menu->items.size();
  if (flags & MF_BYPOSITION) at = std::min<size_t>(position, at);
  else
    for (size_t i = 0; i < menu->items.size(); ++i)
      if (menu->items[i].id == position && !(menu->items[i].flags & MF_POPUP)) at = i;
  menu->items.insert(menu->items.begin() + at, it);
  return TRUE;
}

BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR idOrMenu, LPCWSTR text) {
  return InsertMenuW(menu, ~0u, flags | MF_BYPOSITION, idOrMenu, text);
}

int GetMenuItemCount(HMENU menu) { return menu ? static_cast<int>(menu->items.size()) : -1; }
UINT GetMenuItemID(HMENU menu, int pos) {
  if (!menu || pos < 0 || pos >= static_cast<int>(menu->items.size()) || (menu->items[pos].flags & MF_POPUP)) return ~0u;
  return static_cast<UINT>(menu->items[pos].id);
}
HMENU GetSubMenu(HMENU menu, int pos) {
  if (!menu || pos < 0 || pos >= static_cast<int>(menu->items.size())) return nullptr;
  return menu->items[pos].sub;
}

DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags) {
  auto* it = ItemAt(menu, item, flags);
  if (!it) return ~0u;
  DWORD old = it->flags & MF_CHECKED;
  it->flags = (it->flags & ~MF_CHECKED) | (flags & MF_CHECKED);
  return old;
}

BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags) {
  auto* it = ItemAt(menu, item, flags);
  if (!it) return -1;
  BOOL old = it->flags & (MF_GRAYED | MF_DISABLED);
  it->flags = (it->flags & ~(MF_GRAYED | MF_DISABLED)) | (flags & (MF_GRAYED | MF_DISABLED));
  return old;
}

BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int, HWND owner, const RECT*) {
  if (!menu || menu->items.empty() || g_loop) return FALSE;
  if (HWND cap = GetCapture()) SendMessage(cap, WM_CANCELMODE, 0, 0);
  SIZE s = MenuSize(menu);
  if (flags & TPM_RIGHTALIGN) x -= s.cx;
  else if (flags & TPM_CENTERALIGN) x -= s.cx / 2;
  if (flags & TPM_BOTTOMALIGN) y -= s.cy;
  Loop loop;
  loop.owner = owner;
  g_loop = &loop;
  ++Ui().modal;
  OpenLevel(loop, menu, x, y);
  ThreadUi& ui = Ui();
  MSG m;
  while (!loop.done) {
    if (PeekMessage(&m, nullptr, 0, 0, PM_REMOVE)) {
      if (m.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(m.wParam));
        break;
      }
      if (m.message >= WM_KEYDOWN && m.message <= WM_SYSCHAR) {
        TranslateMessage(&m);  // mnemonics come as characters
        Key(loop, m);
      }
      else if (m.message >= WM_MOUSEMOVE && m.message <= WM_MBUTTONUP) Mouse(loop, m, flags);
      else DispatchMessage(&m);
      continue;
    }
    if (ui.virtualClock) {
      if (!(ui.idleHook && ui.idleHook())) break;
      continue;
    }
    WaitMessage();
  }
  CloseFrom(loop, 0);
  ReleaseCapture();
  g_loop = nullptr;
  --Ui().modal;
  if (loop.chosen && !(flags & TPM_RETURNCMD) && owner) PostMessage(owner, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(loop.chosen), 0), 0);
  return (flags & TPM_RETURNCMD) ? static_cast<BOOL>(loop.chosen) : loop.chosen != 0;
}
