// What the Trackbar and the Spinner do alike: notifications, the press-drag-release gesture with
// its 250 ms repeat, the routing of mouse messages and the class procedure that paints and dispatches.
#pragma once
#include "kernel/controls/control_messages.h"
#include "kernel/controls/inst_window.h"
#include "platform/ui/gdi.h"

namespace qxctl {

int Clamp(int v, int lo, int hi);
// The range-change rule: 0 when the range straddles 0 (the minimum when the maximum is 0),
// otherwise the middle.
int DefaultForRange(int minValue, int maxValue);
// WM_HSCROLL or WM_VSCROLL with the code, the value for codes 4 and 5, and the control as lParam.
void SendScroll(HWND target, HWND control, bool vertical, int code, int value);
// An unhandled key to the parent as WM_NOTIFY -102.
void SendKeyNotify(HWND target, HWND control, UINT id, UINT key, LPARAM flags);
bool CtrlHeld();
// A fine drag: Ctrl or the right button held. Its step is half the travel, rounded away from zero.
bool FineDrag(WPARAM mouseKeys);
int HalfAway(int delta);
bool IsClass(HWND window, const WCHAR* name);
// The parent's WM_CTLCOLORSTATIC brush for the control, the dialog face when it gives none.
HBRUSH ParentBrush(HWND control, HDC dc);
void SetCairoColor(cairo_t* cr, COLORREF c);
inline constexpr COLORREF kAccent = RGB(0, 120, 215);
inline constexpr COLORREF kBorder = RGB(122, 122, 122);
inline constexpr COLORREF kDisabled = RGB(191, 191, 191);
inline constexpr int kThumbPart = 5;  // hitPart of a thumb or grip; other parts are scroll codes

// The records share `window`, `client`, `value`, `controlId`, `hitPart`, `repeatTimer`,
// `scrollProc` and `ownerData`; `Def` is the control's window-form callback.
template <class R>
void Redraw(R* r) {
  if (r->window) InvalidateRect(r->window, &r->client, FALSE);
}

template <class R, QxScrollProc Def>
void Notify(R* r, int code) {
  int v = r->value;
  (r->scrollProc ? r->scrollProc : Def)(r, r->controlId, r->ownerData, code, &v, 1);
}

// A hit part starts the gesture: capture, code 9, and on an arrow or the rail one step at once
// with the repeat timer running for more.
template <class R, QxScrollProc Def>
void StartGesture(R* r, int part) {
  r->hitPart = part;
  SetCapture(r->window);
  Notify<R, Def>(r, QX_SCROLL_PRESS);
  if (part != kThumbPart) {
    r->repeatTimer = SetTimer(r->window, QX_REPEAT_TIMER, QX_REPEAT_MS, nullptr);
    Notify<R, Def>(r, part);
  }
  Redraw(r);
}

// Release, Escape or cancel: code 4 after a thumb drag, then 8. Answers the part that ended, -1
// when nothing ran.
template <class R, QxScrollProc Def>
int StopGesture(R* r) {
  int part = r->hitPart;
  if (part < 0) return -1;
  r->hitPart = -1;
  if (GetCapture() == r->window) ReleaseCapture();
  KillTimer(r->window, QX_REPEAT_TIMER);
  r->repeatTimer = 0;
  if (part == kThumbPart) Notify<R, Def>(r, QX_SCROLL_POSITION);
  Notify<R, Def>(r, QX_SCROLL_END);
  Redraw(r);
  return part;
}

// While held off the thumb, each tick or move repeats the part's code if the pointer is still there.
template <class R, QxScrollProc Def, int (*Hit)(const R*, POINT)>
void Repeat(R* r) {
  POINT pt;
  GetCursorPos(&pt);
  ScreenToClient(r->window, &pt);
  if (r->hitPart >= 0 && r->hitPart != kThumbPart && Hit(r, pt) == r->hitPart) Notify<R, Def>(r, r->hitPart);
}

struct Gesture {
  void (*press)(void* r, POINT pt, bool dbl);
  void (*drag)(void* r, POINT pt, WPARAM keys);
  void (*stop)(void* r);
  void (*repeat)(void* r);
};

// The mouse and timer messages of a gesture; true when `msg` was one of them.
template <class R>
bool GestureMessage(R* r, const Gesture& g, UINT msg, WPARAM wParam, LPARAM lParam) {
  POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  switch (msg) {
    case WM_LBUTTONDOWN: g.press(r, pt, false); return true;
    case WM_LBUTTONDBLCLK: g.press(r, pt, true); return true;
    case WM_MOUSEMOVE:
      if (r->hitPart == kThumbPart) g.drag(r, pt, wParam);
      else if (r->hitPart >= 0) g.repeat(r);
      return true;
    case WM_LBUTTONUP:
    case WM_CANCELMODE: g.stop(r); return true;
    case WM_CAPTURECHANGED:
      if (reinterpret_cast<HWND>(lParam) != r->window) g.stop(r);
      return true;
    case WM_TIMER:
      if (wParam == QX_REPEAT_TIMER) g.repeat(r);
      return true;
  }
  return false;
}

// The class procedure: painting goes to `Draw`, everything else to `Message`.
template <class R, void (*Draw)(R*, HDC), LRESULT (*Message)(R*, HWND, UINT, WPARAM, LPARAM)>
LRESULT ControlWndProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  R* r = QxInstRecord<R>(h, msg);
  switch (msg) {
    case WM_NCCREATE: return r != nullptr;
    case WM_NCDESTROY:
      QxInstFree(h, r);
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      if (r) Draw(r, dc);
      EndPaint(h, &ps);
      return 0;
    }
  }
  return r ? Message(r, h, msg, wParam, lParam) : DefWindowProc(h, msg, wParam, lParam);
}

}  // namespace qxctl
