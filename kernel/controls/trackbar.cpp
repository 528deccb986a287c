// The Trackbar's logic (messages in, scroll codes out), its window class and its drawing: a thin
// rail filled up to a round thumb that stands exactly at value-to-pixel, with ticks underneath.
#include "kernel/controls/trackbar.h"

#include <cairo.h>

#include <algorithm>
#include <cstdlib>

#include "kernel/controls/value_control.h"

using namespace qxctl;

namespace {

// Thumb: a 15-pixel disc whose centre pixel is the value's pixel; the rail keeps 9 pixels at each
// end so the disc and its focus ring stay inside the control.
constexpr int kThumbHalf = 7;
constexpr int kMargin = 9;

bool Vertical(const TrackbarInstRec* t) { return t->style & QXTB_VERTICAL; }
bool Blocked(const TrackbarInstRec* t) { return t->state & (QXTS_DISABLED | QXTS_READONLY); }

HWND Target(const TrackbarInstRec* t) {
  if (t->parentOverride) return t->parentOverride;
  return t->embedded ? t->window : GetParent(t->window);
}

using T = TrackbarInstRec;
constexpr auto Callback = Notify<T, TrackbarInst_DefScrollProc>;
constexpr auto Invalidate = Redraw<T>;

void ApplyLaw(TrackbarInstRec* t) {
  t->law.minValue = t->minValue;
  t->law.maxValue = t->maxValue;
  switch (t->style & QXTB_LAWMASK) {
    case QXTB_OCTAVE: t->law.law = QxOctaveCurve, t->law.lawInverse = QxOctaveCurveInverse; break;
    case QXTB_LEVEL: t->law.law = QxLevelCurve, t->law.lawInverse = QxLevelCurveInverse; break;
    default: t->law.law = nullptr, t->law.lawInverse = nullptr; break;
  }
  QxTrackRecompute(t->law);
  t->curveBase = t->law.curveBase;
  t->curveSpan = t->law.curveSpan;
}

// The pixel of a value along the rail (x, or y for a vertical bar where the maximum is on top).
int PixelOf(const TrackbarInstRec* t, int value) {
  int off = QxTrackValueToOffset(t->law, value, t->trackLength);
  return Vertical(t) ? t->track.bottom - off : t->track.left + off;
}

int ValueAtPixel(const TrackbarInstRec* t, int pixel) {
  int off = Vertical(t) ? t->track.bottom - pixel : pixel - t->track.left;
  return QxTrackOffsetToValue(t->law, off, t->trackLength);
}

// Where the rail's centre line lies across the bar: near the top (left) edge when there is room
// for ticks beneath, otherwise in the middle.
int RailCross(const TrackbarInstRec* t) {
  int across = Vertical(t) ? t->client.right - t->client.left : t->client.bottom - t->client.top;
  int lead = across >= 2 * kMargin + 4 ? kMargin : across / 2;
  return (Vertical(t) ? t->client.left : t->client.top) + lead;
}

void LayoutThumb(TrackbarInstRec* t) {
  int p = PixelOf(t, t->value), c = RailCross(t);
  if (Vertical(t)) t->thumb = RECT{c - kThumbHalf - 1, p - kThumbHalf, c + kThumbHalf, p + kThumbHalf + 1};
  else t->thumb = RECT{p - kThumbHalf, c - kThumbHalf - 1, p + kThumbHalf + 1, c + kThumbHalf};
}

void Layout(TrackbarInstRec* t) {
  const RECT& r = t->client;
  int along = Vertical(t) ? r.bottom - r.top : r.right - r.left;
  t->trackLength = std::max(along - 2 * kMargin, 0);
  if (Vertical(t)) t->track = RECT{r.left, r.top + kMargin, r.right, r.top + kMargin + t->trackLength};
  else t->track = RECT{r.left + kMargin, r.top, r.left + kMargin + t->trackLength, r.bottom};
  LayoutThumb(t);
}

// The position routine: clamps and stores the value, moves the thumb, redraws when asked.
void SetPosition(TrackbarInstRec* t, int value, bool redraw) {
  t->value = Clamp(value, t->minValue, t->maxValue);
  LayoutThumb(t);
  if (redraw) Invalidate(t);
}

void RangeChanged(TrackbarInstRec* t) {
  t->defaultValue = DefaultForRange(t->minValue, t->maxValue);
  ApplyLaw(t);
  SetPosition(t, t->value, true);
}

// -1 outside, 5 on the thumb, else the page code that moves the thumb towards the point.
int HitTest(const TrackbarInstRec* t, POINT pt) {
  if (!PtInRect(&t->client, pt)) return -1;
  if (PtInRect(&t->thumb, pt)) return kThumbPart;
  int p = PixelOf(t, t->value);
  return (Vertical(t) ? pt.y : pt.x) < p ? QX_SCROLL_PAGEUP : QX_SCROLL_PAGEDOWN;
}

int Along(const TrackbarInstRec* t, POINT pt) { return Vertical(t) ? pt.y : pt.x; }

void EndGesture(TrackbarInstRec* t) {
  t->state &= ~QXTS_FINEDRAG;
  StopGesture<T, TrackbarInst_DefScrollProc>(t);
}

void Press(TrackbarInstRec* t, POINT pt, bool dbl) {
  if (t->window && GetFocus() != t->window) SetFocus(t->window);
  int part = HitTest(t, pt);
  if (part < 0 || Blocked(t) || t->hitPart >= 0) return;
  if (dbl && part == kThumbPart) {
    SetPosition(t, t->defaultValue, true);
    Callback(t, QX_SCROLL_POSITION);
    return;
  }
  t->savedValue = t->value;
  t->pressTime = GetMessageTime();
  t->dragStart = Along(t, pt);
  if (part == kThumbPart) t->dragOffset = PixelOf(t, t->value) - Along(t, pt);
  StartGesture<T, TrackbarInst_DefScrollProc>(t, part);
}

void Drag(TrackbarInstRec* t, POINT pt, WPARAM keys) {
  int pos = Along(t, pt);
  if (FineDrag(keys)) {
    t->state |= QXTS_FINEDRAG;
    SetPosition(t, t->value + HalfAway(Vertical(t) ? t->dragStart - pos : pos - t->dragStart), true);
    t->dragStart = pos;
  } else {
    // Leaving a fine drag re-anchors the thumb under the pointer where it now stands.
    if (t->state & QXTS_FINEDRAG) t->state &= ~QXTS_FINEDRAG, t->dragOffset = PixelOf(t, t->value) - pos;
    SetPosition(t, ValueAtPixel(t, pos + t->dragOffset), true);
    t->dragStart = pos;
  }
  Callback(t, QX_SCROLL_DRAGGING);
}

// The scroll code of a navigation key, -1 for others.
int KeyCode(const TrackbarInstRec* t, UINT vk) {
  bool v = Vertical(t);
  switch (vk) {
    case VK_END: return QX_SCROLL_BOTTOM;
    case VK_HOME: return QX_SCROLL_TOP;
    case VK_LEFT: case VK_F3: return QX_SCROLL_LINEUP;
    case VK_RIGHT: case VK_F9: return QX_SCROLL_LINEDOWN;
    case VK_PRIOR: return v ? QX_SCROLL_PAGEUP : QX_SCROLL_PAGEDOWN;
    case VK_NEXT: return v ? QX_SCROLL_PAGEDOWN : QX_SCROLL_PAGEUP;
    case VK_UP: return v ? QX_SCROLL_LINEUP : QX_SCROLL_LINEDOWN;
    case VK_DOWN: return v ? QX_SCROLL_LINEDOWN : QX_SCROLL_LINEUP;
  }
  return -1;
}

LRESULT KeyDown(TrackbarInstRec* t, WPARAM vk, LPARAM flags) {
  if (Blocked(t)) return 0;
  if (t->hitPart >= 0) {
    if (vk == VK_ESCAPE) {
      SetPosition(t, t->savedValue, true);
      EndGesture(t);
    }
    return 0;
  }
  if (int code = KeyCode(t, static_cast<UINT>(vk)); code >= 0) {
    Callback(t, code);
  } else if (vk >= '0' && vk <= '9') {
    long long range = static_cast<long long>(t->maxValue) - t->minValue;
    SetPosition(t, static_cast<int>(t->minValue + range * static_cast<int>(vk - '0') / 10), true);
    Callback(t, QX_SCROLL_POSITION);
  } else {
    SendKeyNotify(Target(t), t->window, t->controlId, static_cast<UINT>(vk), flags);
  }
  return 0;
}

LRESULT Wheel(TrackbarInstRec* t, WPARAM wParam) {
  int delta = GET_WHEEL_DELTA_WPARAM(wParam);
  if (Blocked(t) || delta == 0) return 0;
  int n = std::max(std::abs(delta) / WHEEL_DELTA, 1);
  bool up = delta > 0, ctrl = (wParam & MK_CONTROL) || CtrlHeld();
  // Wheel up raises the value: a vertical bar adds on codes 0 and 2, a horizontal one on 1 and 3.
  int raise = ctrl ? (Vertical(t) ? QX_SCROLL_LINEUP : QX_SCROLL_LINEDOWN)
                   : (Vertical(t) ? QX_SCROLL_PAGEUP : QX_SCROLL_PAGEDOWN);
  int lower = raise ^ 1;
  for (int i = 0; i < n; ++i) Callback(t, up ? raise : lower);
  Callback(t, QX_SCROLL_END);
  return 0;
}

const Gesture kGesture = {
    [](void* r, POINT pt, bool dbl) { Press(static_cast<T*>(r), pt, dbl); },
    [](void* r, POINT pt, WPARAM keys) { Drag(static_cast<T*>(r), pt, keys); },
    [](void* r) { EndGesture(static_cast<T*>(r)); },
    [](void* r) { Repeat<T, TrackbarInst_DefScrollProc, HitTest>(static_cast<T*>(r)); },
};

void SetOption(TrackbarInstRec* t, UINT bit, bool on, bool repaint) {
  t->state = on ? t->state | bit : t->state & ~bit;
  if (repaint) Invalidate(t);
}

}  // namespace

void TrackbarInst_Init(TrackbarInstRec* inst, HWND owner, UINT style, QxScrollProc scrollProc, void* ownerData) {
  *inst = TrackbarInstRec{};
  inst->window = owner;
  inst->style = style & 0xFFFF;
  inst->scrollProc = scrollProc;
  inst->ownerData = ownerData;
  if (style & QXTB_VERTICAL) inst->state |= QXTS_VERTICAL;
  if ((style & QXTB_LAWMASK) == 0x30) inst->state |= QXTS_DISPLAY;
  if (style & WS_DISABLED) inst->state |= QXTS_DISABLED;
  inst->pageStep = QxEffectivePageStep(inst->minValue, inst->maxValue, 0);
  ApplyLaw(inst);
  Layout(inst);
}

void TrackbarInst_SetId(TrackbarInstRec* inst, UINT controlId) { inst->controlId = controlId; }
void TrackbarInst_SetOwnerHwnd(TrackbarInstRec* inst, HWND target) { inst->parentOverride = target; }

void TrackbarInst_Move(TrackbarInstRec* inst, const RECT* rect) {
  Invalidate(inst);
  inst->client = *rect;
  Layout(inst);
  Invalidate(inst);
}

void TrackbarInst_GetMinSize(const TrackbarInstRec* inst, SIZE* size) {
  int along = 2 * kMargin + 20, across = 2 * kMargin + 6;
  *size = Vertical(inst) ? SIZE{across, along} : SIZE{along, across};
}

void TrackbarInst_GetSize(const TrackbarInstRec* inst, SIZE* size) {
  *size = SIZE{inst->client.right - inst->client.left, inst->client.bottom - inst->client.top};
}

void TrackbarInst_GetThumbRect(const TrackbarInstRec* inst, RECT* rect) { *rect = inst->thumb; }
void TrackbarInst_SetThumbBitmap(TrackbarInstRec* inst, HBITMAP bitmap) {
  inst->thumbBitmap = bitmap;
  Invalidate(inst);
}
void TrackbarInst_SetThumbImageList(TrackbarInstRec* inst, HIMAGELIST images) {
  inst->thumbImages = images;
  Invalidate(inst);
}

void TrackbarInst_SetTicks(TrackbarInstRec* inst, const int* values, int count) {
  inst->ticks.assign(values, values + std::max(count, 0));
  Invalidate(inst);
}

void TrackbarInst_DefScrollProc(void* instance, UINT, void*, int code, const int* values, UINT) {
  auto* t = static_cast<TrackbarInstRec*>(instance);
  SendScroll(Target(t), t->window, Vertical(t), code, values ? values[0] : t->value);
}

int Trackbar_DefScrollProc(UINT message, WPARAM wParam, HWND window, int lineStep, int pageStep) {
  int lo = static_cast<int>(SendMessage(window, QXCM_GETMIN, 0, 0));
  int hi = static_cast<int>(SendMessage(window, QXCM_GETMAX, 0, 0));
  int v = static_cast<int>(SendMessage(window, QXCM_GETVALUE, 0, 0));
  auto law = message == WM_VSCROLL ? QxScrollLaw::TrackbarVertical : QxScrollLaw::TrackbarHorizontal;
  v = QxScrollValue(law, LOWORD(wParam), v, lo, hi, lineStep, pageStep, CtrlHeld());
  SendMessage(window, QXCM_SETVALUE, 1, v);
  return v;
}

LRESULT TrackbarInst_Message(TrackbarInstRec* t, HWND window, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (GestureMessage(t, kGesture, msg, wParam, lParam)) return 0;
  switch (msg) {
    case WM_CREATE: {
      auto* cs = reinterpret_cast<CREATESTRUCTW*>(lParam);
      TrackbarInst_Init(t, window, static_cast<UINT>(cs->style), nullptr, nullptr);
      t->embedded = false;
      t->controlId = static_cast<UINT>(GetDlgCtrlID(window));
      RECT r{0, 0, cs->cx, cs->cy};
      TrackbarInst_Move(t, &r);
      return 0;
    }
    case WM_SIZE: {
      RECT r{0, 0, LOWORD(lParam), HIWORD(lParam)};
      TrackbarInst_Move(t, &r);
      return 0;
    }
    case WM_SETFOCUS: SetOption(t, QXTS_FOCUS, true, true); return 0;
    case WM_KILLFOCUS: SetOption(t, QXTS_FOCUS, false, true); return 0;
    case WM_ENABLE:
      SetOption(t, QXTS_DISABLED, !wParam, true);
      if (!wParam) EndGesture(t);
      return 0;
    case WM_GETDLGCODE: return DLGC_WANTARROWS | (t->hitPart >= 0 ? DLGC_WANTMESSAGE : 0);
    case WM_ERASEBKGND: return 1;
    case WM_KEYDOWN: return KeyDown(t, wParam, lParam);
    case WM_KEYUP:
      if (!Blocked(t) && ((wParam >= VK_PRIOR && wParam <= VK_DOWN) || wParam == VK_F3 || wParam == VK_F9))
        Callback(t, QX_SCROLL_END);
      return 0;
    case WM_MOUSEWHEEL: return Wheel(t, wParam);

    case QXCM_GETVALUE: return t->value;
    case QXCM_GETMIN: return t->minValue;
    case QXCM_GETMAX: return t->maxValue;
    case QXCM_SETRANGE:
      t->minValue = static_cast<short>(LOWORD(static_cast<uintptr_t>(lParam)));
      t->maxValue = static_cast<short>(HIWORD(static_cast<uintptr_t>(lParam)));
      RangeChanged(t);
      return 0;
    case QXCM_SETMIN: t->minValue = static_cast<int>(lParam); RangeChanged(t); return 0;
    case QXCM_SETMAX: t->maxValue = static_cast<int>(lParam); RangeChanged(t); return 0;
    case QXCM_SETVALUE: {
      if (!wParam) {
        SetPosition(t, static_cast<int>(lParam), false);
      } else {
        int v = Clamp(static_cast<int>(lParam), t->minValue, t->maxValue);
        if (PixelOf(t, v) == PixelOf(t, t->value)) t->value = v;
        else SetPosition(t, v, true);
      }
      return t->value;
    }
    case QXCM_SETDEFAULT: return t->defaultValue = Clamp(static_cast<int>(lParam), t->minValue, t->maxValue);
    case QXTB_GETTRACK: {
      bool v = Vertical(t);
      int across = v ? t->client.right - t->client.left : t->client.bottom - t->client.top;
      return static_cast<LRESULT>(MAKELONG(static_cast<WORD>(t->trackLength), static_cast<WORD>(across)));
    }
    case QXTB_SETDISPLAY:
      SetOption(t, QXTS_DISPLAY, lParam & 1, wParam != 0);
      return (t->state & QXTS_DISPLAY) ? -1 : 0;
    case QXTB_SETOPTION7: SetOption(t, QXTS_OPTION7, lParam == 0, wParam != 0); return 0;
    case QXTB_SETREADONLY: {
      LRESULT old = (t->state & QXTS_READONLY) ? -1 : 0;
      SetOption(t, QXTS_READONLY, wParam != 0, true);
      return old;
    }
    case QXTB_SETUSERDATA: std::swap(t->userData, lParam); return lParam;
    case QXTB_GETUSERDATA: return t->userData;
    case QXTB_SETTHUMBIMAGES: TrackbarInst_SetThumbImageList(t, reinterpret_cast<HIMAGELIST>(lParam)); return 0;
    case QXTB_COPYSTYLE11: {
      bool wasClear = !(t->style & QXTB_OPTION11);
      t->style = (t->style & ~QXTB_OPTION11) | (wParam & QXTB_OPTION11);
      if (wasClear) Invalidate(t);
      return 0;
    }
    case QXTB_SETSTYLE11: {
      UINT old = t->style;
      t->style = wParam ? t->style | QXTB_OPTION11 : t->style & ~QXTB_OPTION11;
      if (old != t->style) Invalidate(t);
      return 0;
    }
  }
  if (msg >= WM_USER && msg < WM_APP) return 0;
  return window ? DefWindowProc(window, msg, wParam, lParam) : 0;
}

// ---- Drawing --------------------------------------------------------------------------------------

namespace {

void Line(cairo_t* cr, bool vertical, double along, double from, double to) {
  if (vertical) cairo_move_to(cr, from, along), cairo_line_to(cr, to, along);
  else cairo_move_to(cr, along, from), cairo_line_to(cr, along, to);
}

void DrawTicks(TrackbarInstRec* t, cairo_t* cr, bool enabled) {
  bool v = Vertical(t);
  double c = RailCross(t) + 0.5;
  int limit = v ? t->client.right : t->client.bottom;
  double from = c + kThumbHalf + 2;  // just clear of the focus ring
  if (from + 3 > limit) return;       // no room beneath the thumb
  auto tick = [&](int value, double len, COLORREF col) {
    if (value < t->minValue || value > t->maxValue) return;
    Line(cr, v, PixelOf(t, value) + 0.5, from, std::min(from + len, static_cast<double>(limit)));
    SetCairoColor(cr, enabled ? col : kDisabled);
    cairo_stroke(cr);
  };
  cairo_set_line_width(cr, 1);
  for (int value : t->ticks) tick(value, 3, RGB(150, 150, 150));
  tick(t->minValue, 3, RGB(150, 150, 150));
  tick(t->maxValue, 3, RGB(150, 150, 150));
  tick(t->defaultValue, 5, RGB(96, 96, 96));
}

}  // namespace

void TrackbarInst_DrawThumb(TrackbarInstRec* t, HDC dc) {
  bool enabled = !(t->state & QXTS_DISABLED), pressed = t->hitPart == kThumbPart;
  const RECT& r = t->thumb;
  double cx = (r.left + r.right) / 2.0, cy = (r.top + r.bottom) / 2.0;
  if (t->thumbImages && ImageList_GetImageCount(t->thumbImages) > 0) {
    int w = 0, h = 0, n = ImageList_GetImageCount(t->thumbImages);
    ImageList_GetIconSize(t->thumbImages, &w, &h);
    ImageList_Draw(t->thumbImages, pressed && n > 1 ? 1 : 0, dc, static_cast<int>(cx - w / 2.0),
                   static_cast<int>(cy - h / 2.0), ILD_TRANSPARENT);
    return;
  }
  if (t->thumbBitmap) {
    BITMAP bm{};
    GetObjectW(t->thumbBitmap, sizeof bm, &bm);
    HDC mem = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(mem, t->thumbBitmap);
    BitBlt(dc, static_cast<int>(cx - bm.bmWidth / 2.0), static_cast<int>(cy - bm.bmHeight / 2.0), bm.bmWidth,
           bm.bmHeight, mem, 0, 0, SRCCOPY);
    SelectObject(mem, old);
    DeleteDC(mem);
    return;
  }
  if (t->state & QXTS_FOCUS) QxUi_Circle(dc, cx, cy, kThumbHalf + 1.5, CLR_NONE, RGB(0, 0, 0));
  QxUi_Circle(dc, cx, cy, kThumbHalf, RGB(255, 255, 255), enabled ? RGB(160, 160, 160) : kDisabled);
  QxUi_Circle(dc, cx, cy, pressed ? 3.5 : 4.5, enabled ? (pressed ? RGB(0, 90, 158) : kAccent) : kDisabled,
              CLR_NONE);
}

void TrackbarInst_Draw(TrackbarInstRec* t, HDC dc) {
  bool enabled = !(t->state & QXTS_DISABLED), v = Vertical(t);
  if (!t->embedded) FillRect(dc, &t->client, ParentBrush(t->window, dc));
  cairo_t* cr = QxUi_Cairo(dc);
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  double c = RailCross(t) + 0.5;
  int lo = v ? t->track.top : t->track.left, hi = v ? t->track.bottom : t->track.right;
  // The rail: the whole range in grey, the filled part from the origin (the minimum, or 0 with the
  // display option) to the thumb in the accent colour.
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_width(cr, 4);
  Line(cr, !v, c, lo + 0.5, hi + 0.5);
  SetCairoColor(cr, enabled ? RGB(200, 200, 200) : RGB(225, 225, 225));
  cairo_stroke(cr);
  int origin = t->minValue;
  if ((t->state & QXTS_DISPLAY) && t->minValue <= 0 && t->maxValue >= 0) origin = 0;
  int a = PixelOf(t, origin), b = PixelOf(t, t->value);
  if (a != b) {
    Line(cr, !v, c, a + 0.5, b + 0.5);
    SetCairoColor(cr, enabled ? kAccent : kDisabled);
    cairo_stroke(cr);
  }
  DrawTicks(t, cr, enabled);
  cairo_restore(cr);
  TrackbarInst_DrawThumb(t, dc);
}

// ---- Window class ---------------------------------------------------------------------------------

TrackbarInstRec* Trackbar_Inst(HWND window) {
  return IsClass(window, QX_TRACKBAR_CLASS) ? reinterpret_cast<TrackbarInstRec*>(GetWindowLongPtr(window, 0))
                                            : nullptr;
}

BOOL Trackbar_SetTicks(HWND window, const int* values, int count) {
  TrackbarInstRec* t = Trackbar_Inst(window);
  if (t) TrackbarInst_SetTicks(t, values, count);
  return t != nullptr;
}

BOOL TrackbarInitialize(HINSTANCE module) {
  return QxRegisterInstClass(QX_TRACKBAR_CLASS, ControlWndProc<T, TrackbarInst_Draw, TrackbarInst_Message>, module,
                             LoadCursorW(nullptr, IDC_ARROW), CS_DBLCLKS);
}

void TrackbarTerminate(HINSTANCE module) { UnregisterClassW(QX_TRACKBAR_CLASS, module); }
