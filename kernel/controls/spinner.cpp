// The Spinner's logic (presses, drags, keys, the buddy edit box's borrowed procedure), its window
// class and its drawing: two chevrons in a box that continues the buddy edit box's frame.
#include "kernel/controls/spinner.h"

#include <cairo.h>

#include <algorithm>
#include <cstdlib>

#include "kernel/controls/control_laws.h"
#include "kernel/controls/value_control.h"

using namespace qxctl;

namespace {

constexpr const WCHAR* kPropProc = u"SpinMeLo";
constexpr const WCHAR* kPropInst = u"SpinMeRound";

bool OwnWindow(const SpinnerInstRec* s) { return s->window && IsClass(s->window, QX_SPINNER_CLASS); }

HWND Target(const SpinnerInstRec* s) {
  if (s->target) return s->target;
  return OwnWindow(s) ? GetParent(s->window) : s->window;
}

using S = SpinnerInstRec;
constexpr auto Callback = Notify<S, SpinnerInst_DefScrollProc>;
constexpr auto Invalidate = Redraw<S>;

void ApplyStyle(SpinnerInstRec* s, UINT style) {
  s->style = style & 0xFFFF;
  s->vertical = s->style & QXSP_VERTICAL;
  s->notifyOnPress = s->style & QXSP_NOTIFYPRESS;
  s->embedded = s->style & QXSP_EMBEDDED;
}

// The grip between the arrows, [mid - g, mid + g) along the control; none when it is too small.
int Mid(const SpinnerInstRec* s) {
  return s->vertical ? (s->client.top + s->client.bottom) / 2 : (s->client.left + s->client.right) / 2;
}
int Grip(const SpinnerInstRec* s) {
  int along = s->vertical ? s->client.bottom - s->client.top : s->client.right - s->client.left;
  return along >= 16 ? 2 : 0;
}

// -1 outside, 5 on the grip, 0 the up (left) arrow, 1 the down (right) arrow.
int HitTest(const SpinnerInstRec* s, POINT pt) {
  if (!PtInRect(&s->client, pt)) return -1;
  int p = s->vertical ? pt.y : pt.x, m = Mid(s), g = Grip(s);
  if (p < m - g) return QX_SCROLL_LINEUP;
  if (p >= m + g) return QX_SCROLL_LINEDOWN;
  return kThumbPart;
}

int Along(const SpinnerInstRec* s, POINT pt) { return s->vertical ? pt.y : pt.x; }

void EndGesture(SpinnerInstRec* s) {
  if (StopGesture<S, SpinnerInst_DefScrollProc>(s) < 0) return;
  if (s->caretHidden) ShowCaret(nullptr), s->caretHidden = false;
  if (s->embedded && s->focusReturn && IsWindow(s->focusReturn)) SetFocus(s->focusReturn);
  s->focusReturn = nullptr;
}

void Press(SpinnerInstRec* s, POINT pt, bool dbl) {
  if (s->disabled || s->hitPart >= 0) return;
  int part = HitTest(s, pt);
  if (dbl && part == kThumbPart) {
    s->value = Clamp(s->defaultValue, s->minValue, s->maxValue);
    Callback(s, QX_SCROLL_POSITION);
    return;
  }
  HWND hadFocus = GetFocus();
  if (!s->embedded && OwnWindow(s)) SetFocus(s->window);
  if (s->notifyOnPress)
    SendMessage(Target(s), WM_COMMAND, MAKEWPARAM(static_cast<WORD>(s->controlId), 3),
                reinterpret_cast<LPARAM>(s->window));
  if (part < 0) return;
  if (!s->embedded) HideCaret(nullptr), s->caretHidden = true;
  s->dragStart = Along(s, pt);
  if (s->embedded) s->focusReturn = hadFocus;
  StartGesture<S, SpinnerInst_DefScrollProc>(s, part);
}

// The grip drags the value by the pointer's travel (up or right raises it), by half with Ctrl or
// the right button, rounded away from zero.
void Drag(SpinnerInstRec* s, POINT pt, WPARAM keys) {
  int pos = Along(s, pt);
  int delta = s->vertical ? s->dragStart - pos : pos - s->dragStart;
  if (FineDrag(keys)) delta = HalfAway(delta);
  s->dragStart = pos;
  s->value = Clamp(s->value + delta, s->minValue, s->maxValue);
  Callback(s, QX_SCROLL_DRAGGING);
}

const Gesture kGesture = {
    [](void* r, POINT pt, bool dbl) { Press(static_cast<S*>(r), pt, dbl); },
    [](void* r, POINT pt, WPARAM keys) { Drag(static_cast<S*>(r), pt, keys); },
    [](void* r) { EndGesture(static_cast<S*>(r)); },
    [](void* r) { Repeat<S, SpinnerInst_DefScrollProc, HitTest>(static_cast<S*>(r)); },
};

int KeyCode(const SpinnerInstRec* s, UINT vk) {
  // Up and Right raise the value on either orientation.
  bool v = s->vertical;
  switch (vk) {
    case VK_UP: return v ? QX_SCROLL_LINEUP : QX_SCROLL_LINEDOWN;
    case VK_DOWN: return v ? QX_SCROLL_LINEDOWN : QX_SCROLL_LINEUP;
    case VK_RIGHT: return v ? -1 : QX_SCROLL_LINEDOWN;
    case VK_LEFT: return v ? -1 : QX_SCROLL_LINEUP;
    case VK_PRIOR: return v ? QX_SCROLL_PAGEUP : QX_SCROLL_PAGEDOWN;
    case VK_NEXT: return v ? QX_SCROLL_PAGEDOWN : QX_SCROLL_PAGEUP;
    case VK_HOME: return QX_SCROLL_TOP;
    case VK_END: return QX_SCROLL_BOTTOM;
  }
  return -1;
}

void SetRange(SpinnerInstRec* s, int lo, int hi) {
  s->minValue = lo;
  s->maxValue = hi;
  s->defaultValue = DefaultForRange(lo, hi);
  s->value = Clamp(s->value, lo, hi);
  Invalidate(s);
}

// The buddy edit box's procedure while bound: Up, Down, Page Up and Page Down and the wheel step
// the Spinner; everything else goes on to the edit box's own procedure.
LRESULT BuddyProc(HWND edit, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto old = reinterpret_cast<WNDPROC>(GetPropW(edit, kPropProc));
  auto* s = static_cast<SpinnerInstRec*>(GetPropW(edit, kPropInst));
  if (!old) return DefWindowProc(edit, msg, wParam, lParam);
  bool stepKey = wParam == VK_UP || wParam == VK_DOWN || wParam == VK_PRIOR || wParam == VK_NEXT;
  switch (msg) {
    case WM_GETDLGCODE: return CallWindowProc(old, edit, msg, wParam, lParam) | DLGC_WANTARROWS;
    case WM_KEYDOWN:
    case WM_KEYUP:
      if (stepKey) return SpinnerInst_Message(s, s->window, msg, wParam, lParam);
      break;
    case WM_MOUSEWHEEL: return SpinnerInst_Message(s, s->window, msg, wParam, lParam);
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      s->buddyFocus = msg == WM_SETFOCUS;
      Invalidate(s);
      break;
    case WM_NCDESTROY: {
      SetWindowLongPtr(edit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(old));
      RemovePropW(edit, kPropProc);
      RemovePropW(edit, kPropInst);
      s->buddyEdit = nullptr;
      s->buddyProc = nullptr;
      return CallWindowProc(old, edit, msg, wParam, lParam);
    }
  }
  return CallWindowProc(old, edit, msg, wParam, lParam);
}

void Unbind(SpinnerInstRec* s) {
  if (!s->buddyEdit) return;
  if (IsWindow(s->buddyEdit)) {
    RemovePropW(s->buddyEdit, kPropProc);
    RemovePropW(s->buddyEdit, kPropInst);
    SetWindowLongPtr(s->buddyEdit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(s->buddyProc));
  }
  s->buddyEdit = nullptr;
  s->buddyProc = nullptr;
  s->buddyFocus = false;
}

void Bind(SpinnerInstRec* s, HWND edit, WORD limit) {
  Unbind(s);
  if (!edit || !IsWindow(edit)) return;
  s->buddyEdit = edit;
  s->buddyProc = reinterpret_cast<WNDPROC>(GetWindowLongPtr(edit, GWLP_WNDPROC));
  SetPropW(edit, kPropProc, reinterpret_cast<HANDLE>(s->buddyProc));
  SetPropW(edit, kPropInst, s);
  SetWindowLongPtr(edit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(BuddyProc));
  SendMessage(edit, EM_LIMITTEXT, limit, 0);
  s->buddyFocus = GetFocus() == edit;
  // Flush against the edit box's right edge, as tall as it is.
  RECT r;
  GetWindowRect(edit, &r);
  HWND parent = OwnWindow(s) ? GetParent(s->window) : s->window;
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&r), 2);
  if (OwnWindow(s)) {
    MoveWindow(s->window, r.right, r.top, QX_SPINNER_WIDTH, r.bottom - r.top, TRUE);
  } else {
    RECT place{r.right, r.top, r.right + QX_SPINNER_WIDTH, r.bottom};
    SpinnerInst_Move(s, &place);
  }
}

}  // namespace

void SpinnerInst_Init(SpinnerInstRec* inst, HWND owner, UINT style, QxScrollProc scrollProc, void* ownerData) {
  *inst = SpinnerInstRec{};
  inst->window = owner;
  ApplyStyle(inst, style);
  inst->disabled = style & WS_DISABLED;
  inst->scrollProc = scrollProc;
  inst->ownerData = ownerData;
}

void SpinnerInst_Deinit(SpinnerInstRec* inst) {
  EndGesture(inst);
  Unbind(inst);
}

void SpinnerInst_SetId(SpinnerInstRec* inst, UINT controlId) { inst->controlId = controlId; }
void SpinnerInst_SetScrollProc(SpinnerInstRec* inst, QxScrollProc scrollProc, void* ownerData) {
  inst->scrollProc = scrollProc;
  inst->ownerData = ownerData;
}
void SpinnerInst_SetOwnerHwnd(SpinnerInstRec* inst, HWND target) { inst->target = target; }
void SpinnerInst_GetSize(const SpinnerInstRec* inst, SIZE* size) {
  *size = SIZE{inst->client.right - inst->client.left, inst->client.bottom - inst->client.top};
}
void SpinnerInst_Move(SpinnerInstRec* inst, const RECT* rect) {
  Invalidate(inst);
  inst->client = *rect;
  Invalidate(inst);
}

void SpinnerInst_DefScrollProc(void* instance, UINT, void*, int code, const int* values, UINT) {
  auto* s = static_cast<SpinnerInstRec*>(instance);
  SendScroll(Target(s), s->window, s->vertical, code, values ? values[0] : s->value);
}

int Spinner_DefScrollProc(UINT message, WPARAM wParam, HWND window, int lineStep, int pageStep, int position) {
  int code = LOWORD(wParam), v = position;
  if (code != QX_SCROLL_END && code != QX_SCROLL_PRESS) {
    int lo = static_cast<int>(SendMessage(window, QXCM_GETMIN, 0, 0));
    int hi = static_cast<int>(SendMessage(window, QXCM_GETMAX, 0, 0));
    v = static_cast<int>(SendMessage(window, QXCM_GETVALUE, 0, 0));
    auto law = message == WM_VSCROLL ? QxScrollLaw::SpinnerVertical : QxScrollLaw::SpinnerHorizontal;
    v = QxScrollValue(law, code, v, lo, hi, lineStep, pageStep, CtrlHeld());
  }
  SendMessage(window, QXCM_SETVALUE, 0, v);
  return v;
}

LRESULT SpinnerInst_Message(SpinnerInstRec* s, HWND window, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (GestureMessage(s, kGesture, msg, wParam, lParam)) return 0;
  switch (msg) {
    case WM_CREATE: {
      auto* cs = reinterpret_cast<CREATESTRUCTW*>(lParam);
      SpinnerInst_Init(s, window, static_cast<UINT>(cs->style), nullptr, nullptr);
      s->controlId = static_cast<UINT>(GetDlgCtrlID(window));
      s->client = RECT{0, 0, cs->cx, cs->cy};
      return 0;
    }
    case WM_DESTROY: SpinnerInst_Deinit(s); return 0;
    case WM_SIZE: s->client = RECT{0, 0, LOWORD(lParam), HIWORD(lParam)}; Invalidate(s); return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS: s->focus = msg == WM_SETFOCUS; Invalidate(s); return 0;
    case WM_ENABLE:
      s->disabled = !wParam;
      if (!wParam) EndGesture(s);
      Invalidate(s);
      return 0;
    case WM_GETDLGCODE: return DLGC_WANTARROWS | (s->hitPart >= 0 ? DLGC_WANTMESSAGE : 0);
    case WM_ERASEBKGND: return 1;
    case WM_KEYDOWN:
      if (s->disabled) return 0;
      if (s->hitPart >= 0) {
        if (wParam == VK_ESCAPE) EndGesture(s);
      } else if (int code = KeyCode(s, static_cast<UINT>(wParam)); code >= 0) {
        Callback(s, code);
      }
      return 0;
    case WM_KEYUP:
      if (!s->disabled && wParam >= VK_PRIOR && wParam <= VK_DOWN && !GetCapture()) Callback(s, QX_SCROLL_END);
      return 0;
    case WM_MOUSEWHEEL: {
      int delta = GET_WHEEL_DELTA_WPARAM(wParam);
      if (s->disabled || delta == 0 || s->hitPart >= 0) return 105;
      int n = std::max(std::abs(delta) / WHEEL_DELTA, 1);
      int raise = s->vertical ? QX_SCROLL_LINEUP : QX_SCROLL_LINEDOWN;
      for (int i = 0; i < n; ++i) Callback(s, delta > 0 ? raise : raise ^ 1);
      Callback(s, QX_SCROLL_END);
      return 105;
    }

    case QXCM_GETVALUE: return s->value;
    case QXCM_GETMIN: return s->minValue;
    case QXCM_GETMAX: return s->maxValue;
    case QXCM_SETRANGE:
      SetRange(s, static_cast<short>(LOWORD(static_cast<uintptr_t>(lParam))),
               static_cast<short>(HIWORD(static_cast<uintptr_t>(lParam))));
      return 0;
    case QXCM_SETMIN: SetRange(s, static_cast<int>(lParam), s->maxValue); return 0;
    case QXCM_SETMAX: SetRange(s, s->minValue, static_cast<int>(lParam)); return 0;
    case QXCM_SETVALUE: return s->value = Clamp(static_cast<int>(lParam), s->minValue, s->maxValue);
    case QXCM_SETDEFAULT: return s->defaultValue = Clamp(static_cast<int>(lParam), s->minValue, s->maxValue);
    case QXSP_GETSPARE: return s->spare;
    case QXSP_SETSPARE: s->spare = static_cast<int>(lParam); return 0;
    case QXSP_GETTARGET: return reinterpret_cast<LRESULT>(s->target);
    case QXSP_SETTARGET: s->target = reinterpret_cast<HWND>(lParam); return 0;
    case QXSP_SETSTYLE:
      ApplyStyle(s, static_cast<UINT>(wParam));
      if (LOWORD(static_cast<uintptr_t>(lParam))) Invalidate(s);
      return 0;
    case QXSP_GETBUDDY: return reinterpret_cast<LRESULT>(s->buddyEdit);
    case QXSP_SETBUDDY: Bind(s, reinterpret_cast<HWND>(wParam), LOWORD(static_cast<uintptr_t>(lParam))); return 0;
  }
  if (msg >= WM_USER && msg < WM_APP) return 0;
  return OwnWindow(s) ? DefWindowProc(window, msg, wParam, lParam) : 0;
}

// ---- Drawing --------------------------------------------------------------------------------------

namespace {

void Chevron(cairo_t* cr, double cx, double cy, bool vertical, bool forward, COLORREF c) {
  // forward: pointing up (vertical) or right (horizontal).
  double s = forward ? -1 : 1, a = 3, b = 1.75;
  if (vertical) {
    cairo_move_to(cr, cx - a, cy - s * b);
    cairo_line_to(cr, cx, cy + s * b);
    cairo_line_to(cr, cx + a, cy - s * b);
  } else {
    cairo_move_to(cr, cx + s * b, cy - a);
    cairo_line_to(cr, cx - s * b, cy);
    cairo_line_to(cr, cx + s * b, cy + a);
  }
  SetCairoColor(cr, c);
  cairo_set_line_width(cr, 1.3);
  cairo_stroke(cr);
}

}  // namespace

void SpinnerInst_Draw(SpinnerInstRec* s, HDC dc) {
  const RECT& r = s->client;
  bool enabled = !s->disabled, bound = s->buddyEdit != nullptr;
  if (OwnWindow(s)) FillRect(dc, &r, ParentBrush(s->window, dc));
  COLORREF fill = enabled ? RGB(255, 255, 255) : GetSysColor(COLOR_3DFACE);
  COLORREF border = !enabled ? kDisabled : (s->focus || s->buddyFocus) ? kAccent : kBorder;
  // Bound, the box shares the edit box's right border: its own left side lies outside.
  RECT box{bound ? r.left - 3 : r.left, r.top, r.right, r.bottom};
  int saved = SaveDC(dc);
  IntersectClipRect(dc, r.left, r.top, r.right, r.bottom);
  QxUi_RoundRect(dc, &box, 2, fill, border);
  int m = Mid(s), g = Grip(s);
  if (s->hitPart == 0 || s->hitPart == 1) {
    RECT hot = s->vertical ? RECT{r.left + (bound ? 0 : 1), s->hitPart == 0 ? r.top + 1 : m, r.right - 1,
                                  s->hitPart == 0 ? m : r.bottom - 1}
                           : RECT{s->hitPart == 0 ? r.left + 1 : m, r.top + 1, s->hitPart == 0 ? m : r.right - 1,
                                  r.bottom - 1};
    HBRUSH b = CreateSolidBrush(RGB(204, 228, 247));
    FillRect(dc, &hot, b);
    DeleteObject(b);
  }
  cairo_t* cr = QxUi_Cairo(dc);
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  COLORREF ink = enabled ? RGB(64, 64, 64) : RGB(160, 160, 160);
  double cx = (r.left + r.right) / 2.0 + (bound ? -0.5 : 0), cy = (r.top + r.bottom) / 2.0;
  if (s->vertical) {
    double upC = (r.top + m - g) / 2.0 + 0.5, downC = (m + g + r.bottom) / 2.0 - 0.5;
    Chevron(cr, cx, upC, true, true, ink);
    Chevron(cr, cx, downC, true, false, ink);
  } else {
    Chevron(cr, (r.left + m - g) / 2.0 + 0.5, cy, false, false, ink);
    Chevron(cr, (m + g + r.right) / 2.0 - 0.5, cy, false, true, ink);
  }
  cairo_restore(cr);
  RestoreDC(dc, saved);
}

// ---- Window class ---------------------------------------------------------------------------------

BOOL SpinnerInitialize(HINSTANCE module) {
  return QxRegisterInstClass(QX_SPINNER_CLASS, ControlWndProc<S, SpinnerInst_Draw, SpinnerInst_Message>, module,
                             LoadCursorW(nullptr, IDC_ARROW), CS_DBLCLKS);
}

void SpinnerTerminate(HINSTANCE module) { UnregisterClassW(QX_SPINNER_CLASS, module); }
