// Input routing: turns a backend's mouse and key events into queued window messages, choosing the
// target by capture, hit test or focus, keeping key state and making double clicks.
#include <cstdlib>

#include "platform/ui/window_internal.h"

using namespace qxui;

namespace {

WPARAM MouseKeys() {
  ThreadUi& ui = Ui();
  WPARAM k = 0;
  if (ui.keys[VK_LBUTTON] & 0x80) k |= MK_LBUTTON;
  if (ui.keys[VK_RBUTTON] & 0x80) k |= MK_RBUTTON;
  if (ui.keys[VK_MBUTTON] & 0x80) k |= MK_MBUTTON;
  if (ui.keys[VK_SHIFT] & 0x80) k |= MK_SHIFT;
  if (ui.keys[VK_CONTROL] & 0x80) k |= MK_CONTROL;
  return k;
}

void SetKey(UINT vk, bool down) {
  BYTE& k = Ui().keys[vk & 0xFF];
  if (down && !(k & 0x80)) k ^= 1;
  k = static_cast<BYTE>((k & 1) | (down ? 0x80 : 0));
}

HWND TopAt(POINT screen) {
  auto& tl = Ui().topLevels;
  for (auto it = tl.rbegin(); it != tl.rend(); ++it) {
    RECT r;
    if (IsWindowVisible(*it) && GetWindowRect(*it, &r) && PtInRect(&r, screen)) return *it;
  }
  return nullptr;
}

}  // namespace

namespace qxui {

void RouteMouse(HWND from, UINT msg, POINT screen, int wheelDelta) {
  ThreadUi& ui = Ui();
  ui.cursorPos = screen;
  switch (msg) {
    case WM_LBUTTONDOWN: SetKey(VK_LBUTTON, true); break;
    case WM_LBUTTONUP: SetKey(VK_LBUTTON, false); break;
    case WM_RBUTTONDOWN: SetKey(VK_RBUTTON, true); break;
    case WM_RBUTTONUP: SetKey(VK_RBUTTON, false); break;
    case WM_MBUTTONDOWN: SetKey(VK_MBUTTON, true); break;
    case WM_MBUTTONUP: SetKey(VK_MBUTTON, false); break;
  }
  HWND target = ui.capture;
  if (!target || msg == WM_MOUSEWHEEL) {
    HWND top = nullptr;
    RECT r;
    if (from && GetWindowRect(from, &r) && PtInRect(&r, screen)) top = from;
    if (!top) top = TopAt(screen);
    if (!top) {
      target = msg == WM_MOUSEWHEEL ? ui.capture : nullptr;
    } else {
      POINT o = ScreenOrigin(top);
      target = HitTest(top, POINT{screen.x - o.x, screen.y - o.y});
    }
  }
  if (!target || !IsWindowEnabled(TopLevelOf(target))) return;
  if (!ui.capture && msg == WM_MOUSEMOVE)
    SendMessage(target, WM_SETCURSOR, reinterpret_cast<WPARAM>(target), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
  if (msg == WM_LBUTTONDOWN || msg == WM_RBUTTONDOWN) {
    Wnd* w = Find(target);
    DWORD now = Now();
    bool dbl = w && (w->cls.style & CS_DBLCLKS) && ui.lastClickWnd == target && ui.lastClickMsg == msg &&
               now - ui.lastClickTime <= GetDoubleClickTime() && std::abs(screen.x - ui.lastClickPos.x) <= 4 &&
               std::abs(screen.y - ui.lastClickPos.y) <= 4;
    if (dbl) {
      ui.lastClickWnd = nullptr;
      msg += 2;  // WM_LBUTTONDBLCLK, WM_RBUTTONDBLCLK
    } else {
      ui.lastClickWnd = target;
      ui.lastClickMsg = msg;
      ui.lastClickTime = now;
      ui.lastClickPos = screen;
    }
  }
  if (msg == WM_MOUSEWHEEL) {
    PostFull(target, msg, MAKEWPARAM(static_cast<WORD>(MouseKeys()), static_cast<WORD>(wheelDelta)),
             MAKELPARAM_XY(screen.x, screen.y), screen);
    return;
  }
  POINT o = ScreenOrigin(target);
  PostFull(target, msg, MouseKeys(), MAKELPARAM_XY(screen.x - o.x, screen.y - o.y), screen);
}

void RouteKey(UINT vk, bool down, uint32_t ch) {
  ThreadUi& ui = Ui();
  bool wasDown = ui.keys[vk & 0xFF] & 0x80;
  SetKey(vk, down);
  if (vk == VK_LSHIFT || vk == VK_RSHIFT) SetKey(VK_SHIFT, down), vk = VK_SHIFT;
  if (vk == VK_LCONTROL || vk == VK_RCONTROL) SetKey(VK_CONTROL, down), vk = VK_CONTROL;
  if (vk == VK_LMENU || vk == VK_RMENU) SetKey(VK_MENU, down), vk = VK_MENU;
  HWND target = ui.focus ? ui.focus : ui.active;
  if (!target || !Find(target)) return;
  bool alt = (ui.keys[VK_MENU] & 0x80) && !(ui.keys[VK_CONTROL] & 0x80);
  UINT msg = alt || vk == VK_MENU || vk == VK_F10 ? (down ? WM_SYSKEYDOWN : WM_SYSKEYUP) : (down ? WM_KEYDOWN : WM_KEYUP);
  uint64_t l = 1 | (static_cast<uint64_t>(alt) << 29) | (static_cast<uint64_t>(wasDown) << 30) |
               (static_cast<uint64_t>(!down) << 31);
  if (down) l |= static_cast<uint64_t>(ch & 0x1FFFFF) << 32;
  PostFull(target, msg, vk, static_cast<LPARAM>(l), ui.cursorPos);
}

}  // namespace qxui
