// The headless backend: top-levels that show nothing, the virtual clock, and injected input that
// goes through the router as a display's events do.
#include "platform/ui/headless.h"

#include <cairo.h>

#include <vector>

#include "platform/ui/window_internal.h"

using namespace qxui;

namespace qxui {
namespace {
class HeadlessHost : public NativeHost {
 public:
  void Present(const RECT&) override {}
};
}  // namespace
std::unique_ptr<NativeHost> MakeHeadlessHost() { return std::make_unique<HeadlessHost>(); }
}  // namespace qxui

namespace {
POINT ToScreen(HWND hwnd, int x, int y) {
  POINT p{x, y};
  ClientToScreen(hwnd, &p);
  return p;
}
// Input injected while a modal loop runs is left for that loop to read.
void Pump() {
  if (Ui().modal == 0) QxUi_ProcessMessages();
}
const UINT kDown[3] = {WM_LBUTTONDOWN, WM_RBUTTONDOWN, WM_MBUTTONDOWN};
const UINT kUp[3] = {WM_LBUTTONUP, WM_RBUTTONUP, WM_MBUTTONUP};

uint32_t CharOf(UINT vk) {
  bool shift = GetKeyState(VK_SHIFT) & 0x8000, ctrl = GetKeyState(VK_CONTROL) & 0x8000;
  if (vk >= 'A' && vk <= 'Z') return ctrl ? vk - 'A' + 1 : shift ? vk : vk + 32;
  if (ctrl) return 0;
  if (vk >= '0' && vk <= '9') return shift ? u")!@#$%^&*("[vk - '0'] : vk;
  if (vk >= VK_NUMPAD0 && vk <= VK_NUMPAD9) return '0' + vk - VK_NUMPAD0;
  switch (vk) {
    case VK_SPACE: return ' ';
    case VK_RETURN: return '\r';
    case VK_TAB: return '\t';
    case VK_BACK: return 8;
    case VK_ESCAPE: return 27;
    case VK_OEM_PERIOD: case VK_DECIMAL: return '.';
    case VK_OEM_COMMA: return ',';
    case VK_OEM_MINUS: case VK_SUBTRACT: return '-';
  }
  return 0;
}
}  // namespace

void QxHeadless_UseVirtualClock(DWORD startMs) {
  ThreadUi& ui = Ui();
  ui.virtualClock = true;
  ui.virtualNow = startMs;
}

void QxHeadless_Advance(DWORD ms) {
  ThreadUi& ui = Ui();
  DWORD target = Now() + ms;
  QxUi_ProcessMessages();
  for (;;) {
    DWORD next = target;
    bool any = false;
    for (const Timer& t : ui.timers)
      if (static_cast<int32_t>(t.due - next) <= 0) next = t.due, any = true;
    if (!any) break;
    if (ui.virtualClock && static_cast<int32_t>(next - ui.virtualNow) > 0) ui.virtualNow = next;
    if (!ui.virtualClock) break;
    QxUi_ProcessMessages();
  }
  if (ui.virtualClock && static_cast<int32_t>(target - ui.virtualNow) > 0) ui.virtualNow = target;
  Pump();
}

int QxHeadless_Pump() { return QxUi_ProcessMessages(); }
void QxHeadless_SetIdleHook(std::function<bool()> hook) { Ui().idleHook = std::move(hook); }

void QxHeadless_MouseMove(HWND hwnd, int x, int y) {
  RouteMouse(nullptr, WM_MOUSEMOVE, ToScreen(hwnd, x, y), 0);
  Pump();
}
void QxHeadless_ButtonDown(HWND hwnd, int x, int y, int button) {
  RouteMouse(nullptr, kDown[button % 3], ToScreen(hwnd, x, y), 0);
  Pump();
}
void QxHeadless_ButtonUp(HWND hwnd, int x, int y, int button) {
  RouteMouse(nullptr, kUp[button % 3], ToScreen(hwnd, x, y), 0);
  Pump();
}
void QxHeadless_Click(HWND hwnd, int x, int y, int button) {
  POINT s = ToScreen(hwnd, x, y);  // both halves at the same place, even if the press moves windows
  RouteMouse(nullptr, kDown[button % 3], s, 0);
  Pump();
  RouteMouse(nullptr, kUp[button % 3], s, 0);
  Pump();
}
void QxHeadless_Wheel(HWND hwnd, int x, int y, int delta) {
  RouteMouse(nullptr, WM_MOUSEWHEEL, ToScreen(hwnd, x, y), delta);
  Pump();
}
void QxHeadless_KeyDown(UINT vk) {
  uint32_t ch = CharOf(vk);
  RouteKey(vk, true, ch);
  Pump();
}
void QxHeadless_KeyUp(UINT vk) {
  RouteKey(vk, false, 0);
  Pump();
}
void QxHeadless_Key(UINT vk) {
  QxHeadless_KeyDown(vk);
  QxHeadless_KeyUp(vk);
}
void QxHeadless_Type(const WCHAR* text) {
  for (; text && *text; ++text) {
    WCHAR c = *text;
    UINT vk = 0;
    bool shift = false;
    if (c >= 'a' && c <= 'z') vk = c - 32;
    else if (c >= 'A' && c <= 'Z') vk = c, shift = true;
    else if (c >= '0' && c <= '9') vk = c;
    else if (c == ' ') vk = VK_SPACE;
    else if (c == '.') vk = VK_OEM_PERIOD;
    else if (c == ',') vk = VK_OEM_COMMA;
    else if (c == '-') vk = VK_OEM_MINUS;
    if (shift) RouteKey(VK_SHIFT, true, 0);
    RouteKey(vk, true, vk ? CharOf(vk) : c);
    Pump();
    RouteKey(vk, false, 0);
    if (shift) RouteKey(VK_SHIFT, false, 0);
    Pump();
  }
}

COLORREF QxHeadless_Pixel(HWND hwnd, int x, int y) {
  UpdateWindow(hwnd);
  Wnd* t = Find(TopLevelOf(hwnd));
  if (!t || !t->surface) return CLR_INVALID;
  POINT o = OriginInTop(hwnd);
  x += o.x;
  y += o.y;
  cairo_surface_t* s = t->surface->image;
  if (x < 0 || y < 0 || x >= t->surface->cx || y >= t->surface->cy) return CLR_INVALID;
  cairo_surface_flush(s);
  uint32_t px = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s))[x];
  return RGB((px >> 16) & 0xFF, (px >> 8) & 0xFF, px & 0xFF);
}

BOOL QxHeadless_SaveScreenPng(const char* path) {
  RECT all{};
  std::vector<HWND> tops = Ui().topLevels;
  for (HWND t : tops) {
    RECT r;
    if (IsWindowVisible(t) && GetWindowRect(t, &r)) UnionRect(&all, &all, &r);
  }
  if (IsRectEmpty(&all)) return FALSE;
  cairo_surface_t* out = cairo_image_surface_create(CAIRO_FORMAT_RGB24, all.right - all.left, all.bottom - all.top);
  cairo_t* cr = cairo_create(out);
  for (HWND t : tops) {
    RECT r;
    if (!IsWindowVisible(t) || !GetWindowRect(t, &r)) continue;
    UpdateWindow(t);
    cairo_set_source_surface(cr, Find(t)->surface->image, r.left - all.left, r.top - all.top);
    cairo_paint(cr);
  }
  cairo_destroy(cr);
  bool ok = cairo_surface_write_to_png(out, path) == CAIRO_STATUS_SUCCESS;
  cairo_surface_destroy(out);
  return ok;
}

BOOL QxHeadless_SavePng(HWND hwnd, const char* path) {
  UpdateWindow(hwnd);
  Wnd* t = Find(TopLevelOf(hwnd));
  return t && t->surface && cairo_surface_write_to_png(t->surface->image, path) == CAIRO_STATUS_SUCCESS;
}
