// The helpers the Trackbar and the Spinner share: notifications, range defaults, fine-drag steps,
// the parent's background.
#include "kernel/controls/value_control.h"

#include <cairo.h>

#include <cstdlib>

namespace qxctl {

int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

int DefaultForRange(int minValue, int maxValue) {
  if (minValue < 0 && maxValue >= 0) return maxValue == 0 ? minValue : 0;
  return static_cast<int>((static_cast<long long>(minValue) + maxValue) / 2);
}

void SendScroll(HWND target, HWND control, bool vertical, int code, int value) {
  WORD high = code == QX_SCROLL_POSITION || code == QX_SCROLL_DRAGGING ? static_cast<WORD>(value) : 0;
  SendMessage(target, vertical ? WM_VSCROLL : WM_HSCROLL, MAKEWPARAM(static_cast<WORD>(code), high),
              reinterpret_cast<LPARAM>(control));
}

void SendKeyNotify(HWND target, HWND control, UINT id, UINT key, LPARAM flags) {
  QxNmKey nm{};
  nm.hdr.hwndFrom = control;
  nm.hdr.idFrom = id;
  nm.hdr.code = static_cast<UINT>(QXN_KEY);
  nm.key = key;
  nm.flags = static_cast<UINT>(flags);
  SendMessage(target, WM_NOTIFY, id, reinterpret_cast<LPARAM>(&nm));
}

bool CtrlHeld() { return GetKeyState(VK_CONTROL) & 0x8000; }
bool FineDrag(WPARAM mouseKeys) { return (mouseKeys & (MK_CONTROL | MK_RBUTTON)) || CtrlHeld(); }
int HalfAway(int delta) { return delta < 0 ? -((1 - delta) / 2) : (delta + 1) / 2; }

bool IsClass(HWND window, const WCHAR* name) {
  WCHAR buf[64];
  int n = GetClassNameW(window, buf, 64);
  for (int i = 0; i < n; ++i) {
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    if (!name[i] || lower(buf[i]) != lower(name[i])) return false;
  }
  return n > 0 && !name[n];
}

HBRUSH ParentBrush(HWND control, HDC dc) {
  HWND parent = GetParent(control);
  auto b = parent ? reinterpret_cast<HBRUSH>(SendMessage(parent, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                                         reinterpret_cast<LPARAM>(control)))
                  : nullptr;
  return b ? b : GetSysColorBrush(COLOR_3DFACE);
}

void SetCairoColor(cairo_t* cr, COLORREF c) {
  cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
}

}  // namespace qxctl
