// The Fader's logic: its instance record, every message it answers, the gestures of mouse, keys
// and wheel, the callbacks to its owner, and the window class whose procedure hands it all over.
#include "kernel/controls/fader.h"

#include <algorithm>
#include <cstdlib>

#include "kernel/controls/control_laws.h"
#include "kernel/controls/inst_window.h"

namespace {

// Shared by all windows of the class: set by the first, dropped with the last.
struct Shared {
  int users = 0;
  int thumbAcross = 30, thumbAlong = 10, trackInset = 6, tickOffset = 8;
  int wheelStep = 10, wheelFineStep = 1;
  HCURSOR arrow = nullptr, drag = nullptr;
} g_shared;

bool Vertical(const FaderInstRec* f) { return f->state & FDST_VERTICAL; }
bool Stereo(const FaderInstRec* f) { return f->state & FDST_STEREO; }
bool Blocked(const FaderInstRec* f) { return f->state & (FDST_DISABLED | FDST_READONLY); }
bool Ctrl() { return GetKeyState(VK_CONTROL) < 0; }
int Clamp(const FaderInstRec* f, long long v) {
  return static_cast<int>(std::clamp<long long>(v, std::min(f->minValue, f->maxValue), f->maxValue));
}
int Along(const FaderInstRec* f, POINT p) { return Vertical(f) ? p.y : p.x; }
POINT PointOf(LPARAM l) { return POINT{GET_X_LPARAM(l), GET_Y_LPARAM(l)}; }

QxValueTrack TrackOf(const FaderInstRec* f) {
  QxValueTrack t{f->minValue, f->maxValue};
  if (f->state & FDST_CURVED) t.law = QxLevelCurve, t.lawInverse = QxLevelCurveInverse;
  t.curveBase = f->curveBase;
  t.curveSpan = f->curveSpan;
  return t;
}
int TrackStart(const FaderInstRec* f) { return Vertical(f) ? f->track.top : f->track.left; }
int TrackEnd(const FaderInstRec* f) { return Vertical(f) ? f->track.bottom : f->track.right; }
int TrackLength(const FaderInstRec* f) { return std::max(TrackEnd(f) - TrackStart(f), 0); }

// Track and thumbs from the client rectangle and the values.
void Layout(FaderInstRec* f) {
  const RECT& c = f->client;
  const int inset = g_shared.trackInset;
  const int lanes = Stereo(f) ? 2 : 1;
  if (Vertical(f)) SetRect(&f->track, c.left, c.top + inset, c.right, std::max(c.bottom - inset, c.top + inset));
  else SetRect(&f->track, c.left + inset, c.top, std::max(c.right - inset, c.left + inset), c.bottom);
  const int across = Vertical(f) ? c.right - c.left : c.bottom - c.top;
  const int lane = across / lanes;
  const int size = std::max(std::min(g_shared.thumbAcross, lane - 2), std::min(lane, 4));
  const int half = g_shared.thumbAlong / 2;
  for (int ch = 0; ch < 2; ++ch) {
    const int p = FaderInst_ValueToPixel(f, f->value[ch]);
    const int mid = (Vertical(f) ? c.left : c.top) + lane * std::min(ch, lanes - 1) + lane / 2;
    RECT& r = f->thumb[ch];
    if (Vertical(f)) SetRect(&r, mid - size / 2, p - half, mid - size / 2 + size, p + half);
    else SetRect(&r, p - half, mid - size / 2, p + half, mid - size / 2 + size);
  }
  f->state = TrackLength(f) >= f->maxValue - f->minValue ? f->state | FDST_PIXELPERVALUE
                                                          : f->state & ~FDST_PIXELPERVALUE;
}

void Recompute(FaderInstRec* f) {
  QxValueTrack t = TrackOf(f);
  QxTrackRecompute(t);
  f->curveBase = t.curveBase;
  f->curveSpan = t.curveSpan;
  Layout(f);
}

void Redraw(FaderInstRec* f) {
  Layout(f);
  if (!f->window) return;
  InvalidateRect(f->window, f->embedded ? &f->client : nullptr, FALSE);
}

// State from the style bits: orientation, law, channels, and the disabled window style.
void ApplyStyle(FaderInstRec* f) {
  if (f->style & FDS_LEGACY) f->style = (f->style & ~FDS_LEGACY) | FDS_MODERN;
  const UINT look = f->style & FDS_LOOKMASK;
  const bool stereo = look == 0x40 || look == 0xC0;
  if (stereo) f->style |= FDS_MULTIVALUE;
  UINT s = f->state & ~(FDST_VERTICAL | FDST_STEREO | FDST_CURVED | FDST_DISABLED);
  if (f->style & FDS_VERTICAL) s |= FDST_VERTICAL;
  if (stereo) s |= FDST_STEREO;
  if (look == 0x80 || look == 0xC0) s |= FDST_CURVED;
  if (f->style & WS_DISABLED) s |= FDST_DISABLED;
  f->state = s;
  f->channelCount = stereo ? 2 : 1;
  if (!stereo) f->activeMask = 1, f->activeChannel = 0, f->value[1] = f->value[0];
  Recompute(f);
}

void ClampValues(FaderInstRec* f) {
  for (int& v : f->value) v = Clamp(f, v);
  f->defaultValue = Clamp(f, f->defaultValue);
}

// A new range: the default follows it (0 or the minimum for level ranges, else the middle).
void SetRange(FaderInstRec* f, int lo, int hi) {
  f->minValue = lo;
  f->maxValue = hi;
  if (lo < 0 && hi >= 0) f->defaultValue = hi == 0 ? lo : 0;
  else f->defaultValue = static_cast<int>((static_cast<long long>(lo) + hi) / 2);
  ClampValues(f);
  Recompute(f);
  Redraw(f);
}

void Callback(FaderInstRec* f, int code) {
  if (f->scrollProc)
    f->scrollProc(f, f->controlId, f->ownerData, code, f->value, f->activeMask);
}

// A scroll code from keys or the repeat: the multi-value form moves its channels itself, the
// plain form leaves that to the parent's Fader_DefScrollProc.
void Scroll(FaderInstRec* f, int code) {
  if (f->style & FDS_MULTIVALUE) {
    const int page = QxEffectivePageStep(f->minValue, f->maxValue, f->pageStep);
    for (UINT ch = 0; ch < f->channelCount; ++ch)
      if (f->activeMask & (1u << ch))
        f->value[ch] = QxScrollValue(QxScrollLaw::Fader, code, f->value[ch], f->minValue, f->maxValue,
                                     f->lineStep, page, Ctrl());
    Redraw(f);
  }
  Callback(f, code);
}

void SetActive(FaderInstRec* f, UINT mask) {
  f->activeMask = (mask & ((1u << f->channelCount) - 1)) ? mask & ((1u << f->channelCount) - 1) : 1;
  f->activeChannel = f->activeMask & 1 ? 0 : 1;
}

// What lies under a point: -1 nothing, 5 a thumb (channel and whether its inner half), else the
// page code of the track on that side of the active thumb.
int HitTest(const FaderInstRec* f, POINT p, int* channel, bool* inner) {
  if (!PtInRect(&f->client, p)) return -1;
  for (int ch = static_cast<int>(f->channelCount) - 1; ch >= 0; --ch) {
    const RECT& r = f->thumb[ch];
    if (!PtInRect(&r, p)) continue;
    *channel = ch;
    const int mid = Vertical(f) ? (r.left + r.right) / 2 : (r.top + r.bottom) / 2;
    const int across = Vertical(f) ? p.x : p.y;
    *inner = Stereo(f) && (ch == 0 ? across >= mid : across < mid);
    return 5;
  }
  const int p0 = FaderInst_ValueToPixel(f, f->value[f->activeChannel]);
  const int a = Along(f, p);
  if (a == p0) return -1;
  // Towards the maximum (up, or right) is page up.
  return (Vertical(f) ? a < p0 : a > p0) ? QX_SCROLL_PAGEUP : QX_SCROLL_PAGEDOWN;
}

void Release(FaderInstRec* f) {
  if (f->hitPart < 0) return;
  const int part = f->hitPart;
  f->hitPart = -2;  // ReleaseCapture below reports back; ignore that
  if (GetCapture() == f->window) ReleaseCapture();
  if (part == 5) Callback(f, QX_SCROLL_POSITION);
  if (f->repeatTimer) KillTimer(f->window, QX_REPEAT_TIMER), f->repeatTimer = 0;
  Callback(f, QX_SCROLL_END);
  f->hitPart = -1;
  f->state &= ~(FDST_FINE | FDST_OUTSIDE | FDST_RIGHTHELD);
  Redraw(f);
  if (f->style & FDS_CLICKNOTIFY) {
    HWND to = f->parentOverride ? f->parentOverride : f->embedded ? f->window : GetParent(f->window);
    SendMessage(to, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(f->controlId), 4),
                reinterpret_cast<LPARAM>(f->window));
  }
}

void Press(FaderInstRec* f, POINT p) {
  if (!f->embedded && f->window && GetFocus() != f->window) SetFocus(f->window);
  int ch = 0;
  bool inner = false;
  const int part = HitTest(f, p, &ch, &inner);
  if (part < 0 || Blocked(f)) return;
  if (part == 5) {
    const bool both = Stereo(f) && ((f->state & FDST_LINK1) || (inner && !(f->state & FDST_LINK2)));
    SetActive(f, both ? 3 : 1u << ch);
    for (int c = 0; c < 2; ++c) f->dragOffset[c] = FaderInst_ValueToPixel(f, f->value[c]) - Along(f, p);
    f->pressTime = static_cast<int>(GetMessageTime());
  }
  std::copy(f->value, f->value + 2, f->savedValue);
  f->hitPart = part;
  f->dragStart[0] = p.x, f->dragStart[1] = p.y;
  if (f->window) SetCapture(f->window);
  Callback(f, QX_SCROLL_PRESS);
  if (part != 5) {
    f->repeatTimer = SetTimer(f->window, QX_REPEAT_TIMER, QX_REPEAT_MS, nullptr);
    Scroll(f, part);  // a click on the track moves a page at once; holding repeats
  }
  Redraw(f);
}

// Half the pointer's travel, rounded away from zero: at least one unit for each pixel moved.
int FineDelta(int pixels) { return pixels >= 0 ? (pixels + 1) / 2 : -((1 - pixels) / 2); }

void Drag(FaderInstRec* f, POINT p, WPARAM keys) {
  const bool fine = (keys & (MK_CONTROL | MK_RBUTTON)) || (f->state & FDST_RIGHTHELD);
  const POINT last{f->dragStart[0], f->dragStart[1]};
  for (UINT ch = 0; ch < f->channelCount; ++ch) {
    if (!(f->activeMask & (1u << ch))) continue;
    if (fine) {
      const int moved = Vertical(f) ? last.y - p.y : p.x - last.x;
      if (moved) f->value[ch] = Clamp(f, static_cast<long long>(f->value[ch]) + FineDelta(moved));
    } else {
      // Leaving a fine drag: the thumb stays where it is and the pointer takes it from there.
      if (f->state & FDST_FINE) f->dragOffset[ch] = FaderInst_ValueToPixel(f, f->value[ch]) - Along(f, p);
      f->value[ch] = FaderInst_PixelToValue(f, Along(f, p) + f->dragOffset[ch]);
    }
  }
  f->state = fine ? f->state | FDST_FINE : f->state & ~FDST_FINE;
  f->dragStart[0] = p.x, f->dragStart[1] = p.y;
  Layout(f);
  const bool over = PtInRect(&f->thumb[f->activeChannel], p);
  f->state = over ? f->state & ~FDST_OUTSIDE : f->state | FDST_OUTSIDE;
  Redraw(f);
  Callback(f, QX_SCROLL_DRAGGING);
}

// The track part under the last pointer position still being the one pressed: one more step.
void Repeat(FaderInstRec* f) {
  int ch = 0;
  bool inner = false;
  if (HitTest(f, POINT{f->dragStart[0], f->dragStart[1]}, &ch, &inner) == f->hitPart) Scroll(f, f->hitPart);
}

void DoubleClick(FaderInstRec* f, POINT p) {
  int ch = 0;
  bool inner = false;
  if (Blocked(f) || HitTest(f, p, &ch, &inner) != 5) return Press(f, p);
  const bool both = !Stereo(f) || (f->state & FDST_LINK1) || (inner && !(f->state & FDST_LINK2));
  if (both) {
    SetActive(f, Stereo(f) ? 3 : 1);
    for (UINT c = 0; c < f->channelCount; ++c) f->value[c] = Clamp(f, f->defaultValue);
  } else {
    f->value[1 - ch] = f->value[ch];
    SetActive(f, 3);
  }
  Redraw(f);
  Callback(f, QX_SCROLL_POSITION);
}

void SetAll(FaderInstRec* f, const int* values) {
  for (UINT ch = 0; ch < f->channelCount; ++ch)
    if (f->activeMask & (1u << ch)) f->value[ch] = Clamp(f, values[ch]);
  if (!Stereo(f)) f->value[1] = f->value[0];
}

LRESULT Key(FaderInstRec* f, UINT vk, LPARAM flags) {
  if (Blocked(f)) return 0;
  if (f->hitPart != -1) {
    if (vk == VK_ESCAPE) {
      std::copy(f->savedValue, f->savedValue + 2, f->value);
      Release(f);
    }
    return 0;
  }
  int code = -1;
  switch (vk) {
    case VK_PRIOR: code = QX_SCROLL_PAGEUP; break;
    case VK_NEXT: code = QX_SCROLL_PAGEDOWN; break;
    case VK_END: code = QX_SCROLL_BOTTOM; break;
    case VK_HOME: code = QX_SCROLL_TOP; break;
    case VK_LEFT: case VK_DOWN: case VK_F3: code = QX_SCROLL_LINEDOWN; break;
    case VK_UP: case VK_RIGHT: case VK_F9: code = QX_SCROLL_LINEUP; break;
  }
  if (code >= 0) {
    Scroll(f, code);
    return 0;
  }
  if (vk == VK_CLEAR || (vk >= VK_NUMPAD0 && vk <= VK_NUMPAD9)) return 0;
  if (vk >= '0' && vk <= '9') {
    const long long range = static_cast<long long>(f->maxValue) - f->minValue;
    const int v = Clamp(f, f->minValue + range * static_cast<int>(vk - '0') / 10);
    const int both[2] = {v, v};
    SetAll(f, both);
    Redraw(f);
    Callback(f, QX_SCROLL_POSITION);
    return 0;
  }
  if (Stereo(f) && (vk == 'B' || vk == 'C' || vk == 'G' || vk == 'S' || vk == 'L' || vk == 'R')) {
    SetActive(f, vk == 'L' ? 1 : vk == 'R' ? 2 : 3);
    Redraw(f);
    return 0;
  }
  QxNmKey nm{{f->window, f->controlId, static_cast<UINT>(QXN_KEY)}, vk, static_cast<UINT>(flags)};
  HWND to = f->parentOverride ? f->parentOverride : f->embedded ? f->window : GetParent(f->window);
  SendMessage(to, WM_NOTIFY, f->controlId, reinterpret_cast<LPARAM>(&nm));
  return 0;
}

LRESULT Wheel(FaderInstRec* f, WPARAM wParam) {
  if (Blocked(f)) return 105;
  const int step = (LOWORD(wParam) & MK_CONTROL) ? g_shared.wheelFineStep : g_shared.wheelStep;
  const int t = step * GET_WHEEL_DELTA_WPARAM(wParam);
  const int change = std::abs(t) < WHEEL_DELTA ? (t > 0) - (t < 0) : t / WHEEL_DELTA;
  const int moved[2] = {f->value[0] + change, f->value[1] + change};
  SetAll(f, moved);
  Redraw(f);
  Callback(f, QX_SCROLL_POSITION);
  return 105;
}

// Messages of the control's own range 1546..1595.
LRESULT Own(FaderInstRec* f, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case QXCM_GETVALUE: return f->value[0];
    case QXCM_GETMIN: return f->minValue;
    case QXCM_GETMAX: return f->maxValue;
    case QXCM_SETRANGE:
      SetRange(f, static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case QXCM_SETMIN: SetRange(f, static_cast<int>(lParam), f->maxValue); return 0;
    case QXCM_SETMAX: SetRange(f, f->minValue, static_cast<int>(lParam)); return 0;
    case QXCM_SETVALUE:
      f->value[0] = f->value[1] = Clamp(f, lParam);
      if (wParam) Redraw(f);
      else Layout(f);
      return f->value[0];
    case QXCM_SETDEFAULT: return f->defaultValue = Clamp(f, lParam);
    case FDM_SETOPTION: {
      const LRESULT old = (f->state & FDST_READONLY) ? -1 : 0;
      f->state = wParam ? f->state | FDST_READONLY : f->state & ~FDST_READONLY;
      return old;
    }
    case FDM_SETMARKS: {
      const int* v = reinterpret_cast<const int*>(lParam);
      f->markCount = v ? static_cast<int>(std::min<WPARAM>(wParam, FADER_MAX_MARKS)) : 0;
      std::copy(v, v + f->markCount, f->marks);
      Redraw(f);
      return f->markCount;
    }
    case FDM_SETUSERDATA: f->userData = lParam; return 0;
    case FDM_GETUSERDATA: return f->userData;
    case FDM_SETALL: {
      const auto* r = reinterpret_cast<const FaderSetAllRec*>(lParam);
      if (!r) return 0;
      f->style = (f->style & ~r->styleMask) | (r->style & r->styleMask);
      ApplyStyle(f);
      f->minValue = r->minValue, f->maxValue = r->maxValue;
      f->lineStep = r->lineStep;
      f->pageStep = QxEffectivePageStep(r->minValue, r->maxValue, r->pageStep);
      f->defaultValue = r->defaultValue;
      if (r->values) std::copy(r->values, r->values + f->channelCount, f->value);
      if (!Stereo(f)) f->value[1] = f->value[0];
      ClampValues(f);
      Recompute(f);
      Redraw(f);
      return 0;
    }
    case FDM_SETACTIVEMASK: SetActive(f, static_cast<UINT>(lParam)); Redraw(f); return 0;
    case FDM_SETVALUES: {
      const UINT which = HIWORD(wParam);
      if (which == 0 && lParam) {
        const int* v = reinterpret_cast<const int*>(lParam);
        for (UINT ch = 0; ch < f->channelCount; ++ch) f->value[ch] = Clamp(f, v[ch]);
      } else if (which >= 1 && which <= f->channelCount) {
        f->value[which - 1] = Clamp(f, lParam);
      }
      if (!Stereo(f)) f->value[1] = f->value[0];
      if (LOWORD(wParam)) Redraw(f);
      else Layout(f);
      return f->value[which >= 1 && which <= 2 ? which - 1 : 0];
    }
    case FDM_GETVALUES: {
      const UINT which = HIWORD(wParam);
      if (which >= 1 && which <= f->channelCount) return f->value[which - 1];
      if (which == 0 && lParam) std::copy(f->value, f->value + f->channelCount, reinterpret_cast<int*>(lParam));
      return f->channelCount;
    }
    case FDM_SETLINK1: case FDM_SETLINK2: {
      const UINT bit = msg == FDM_SETLINK1 ? FDST_LINK1 : FDST_LINK2;
      f->state = wParam ? f->state | bit : f->state & ~bit;
      return 0;
    }
    case FDM_GETLINK1: return (f->state & FDST_LINK1) ? 1 : 0;
    case FDM_GETLINK2: return (f->state & FDST_LINK2) ? 1 : 0;
    case FDM_SETTHUMBIMAGELIST: FaderInst_SetThumbImageList(f, reinterpret_cast<HIMAGELIST>(lParam)); return 0;
    case FDM_GETSTYLE: return LOWORD(f->style);
    case FDM_SETSTYLEBITS:
      f->style = lParam ? f->style | LOWORD(wParam) : f->style & ~static_cast<UINT>(LOWORD(wParam));
      ApplyStyle(f);
      Redraw(f);
      return 0;
    case FDM_SETHANDLE:
      f->handle = reinterpret_cast<HANDLE>(wParam);
      f->handleInt = f->handle ? static_cast<int>(lParam) : 13;
      return 0;
    case FDM_GETHANDLE:
      if (lParam) *reinterpret_cast<int*>(lParam) = f->handle ? f->handleInt : 13;
      return reinterpret_cast<LRESULT>(f->handle);
    case FDM_REPLACESTYLE:
      f->style = (f->style & ~static_cast<UINT>(lParam)) | (static_cast<UINT>(wParam) & static_cast<UINT>(lParam));
      ApplyStyle(f);
      Redraw(f);
      return 0;
    case FDM_SETSTEREO:
      f->style = (f->style & ~FDS_LOOKMASK) | (wParam ? FDS_STEREO : 0) | (f->style & FDS_CURVED);
      ApplyStyle(f);
      Redraw(f);
      return 0;
  }
  return 0;
}

}  // namespace

int FaderInst_ValueToPixel(const FaderInstRec* f, int value) {
  const int offset = QxTrackValueToOffset(TrackOf(f), value, TrackLength(f));
  return Vertical(f) ? TrackEnd(f) - offset : TrackStart(f) + offset;
}

int FaderInst_PixelToValue(const FaderInstRec* f, int pixel) {
  const int t = Vertical(f) ? TrackEnd(f) - pixel : pixel - TrackStart(f);
  return QxTrackOffsetToValue(TrackOf(f), t, TrackLength(f));
}

void FaderInst_GetMinSize(UINT style, SIZE* size) {
  const bool stereo = (style & 0x40) != 0;
  const LONG across = stereo ? 2 * 16 : 16, along = 2 * g_shared.trackInset + 24;
  *size = (style & FDS_VERTICAL) ? SIZE{across, along} : SIZE{along, across};
}

void FaderInst_GetSize(const FaderInstRec* f, SIZE* size) {
  *size = SIZE{f->client.right - f->client.left, f->client.bottom - f->client.top};
}

void FaderInst_Init(FaderInstRec* f, UINT style, HWND window) {
  *f = FaderInstRec{};
  f->window = window;
  f->style = style;
  f->pageStep = QxEffectivePageStep(f->minValue, f->maxValue, 0);
  f->scrollProc = FaderInst_DefScrollProc;
  ApplyStyle(f);
}

void FaderInst_Deinit(FaderInstRec* f) {
  if (f->hitPart >= 0) Release(f);
  f->scrollProc = nullptr;
}

void FaderInst_SetId(FaderInstRec* f, UINT id) { f->controlId = id; }
void FaderInst_SetScrollProc(FaderInstRec* f, QxScrollProc proc, void* ownerData) {
  f->scrollProc = proc;
  f->ownerData = ownerData;
}
void FaderInst_SetOwnerHwnd(FaderInstRec* f, HWND owner) {
  f->window = owner;
  f->embedded = true;
}
void FaderInst_Move(FaderInstRec* f, const RECT* rect) {
  if (f->embedded && f->window) InvalidateRect(f->window, &f->client, FALSE);
  f->client = *rect;
  Layout(f);
  Redraw(f);
}
void FaderInst_SetThumbBitmap(FaderInstRec* f, HBITMAP bitmap) {
  f->thumbBitmap = bitmap;
  Redraw(f);
}
void FaderInst_SetThumbImageList(FaderInstRec* f, HIMAGELIST images) {
  f->thumbImages = images;
  Redraw(f);
}
BOOL FaderInst_IsStereo(const FaderInstRec* f) { return Stereo(f) ? TRUE : FALSE; }

void FaderInst_DefScrollProc(void* instance, UINT controlId, void*, int code, const int* values, UINT mask) {
  auto* f = static_cast<FaderInstRec*>(instance);
  HWND to = f->parentOverride ? f->parentOverride : f->embedded ? f->window : GetParent(f->window);
  if (!to) return;
  if (f->style & FDS_MULTIVALUE) {
    QxNmValues nm{{f->window, controlId, static_cast<UINT>(QXN_MULTIVALUE)}, code, values, mask};
    SendMessage(to, WM_NOTIFY, controlId, reinterpret_cast<LPARAM>(&nm));
    return;
  }
  const WORD high = code == QX_SCROLL_POSITION || code == QX_SCROLL_DRAGGING ? static_cast<WORD>(values[0]) : 0;
  SendMessage(to, Vertical(f) ? WM_VSCROLL : WM_HSCROLL, MAKEWPARAM(static_cast<WORD>(code), high),
              reinterpret_cast<LPARAM>(f->window));
}

int Fader_DefScrollProc(UINT, WPARAM wParam, HWND window, int lineStep, int pageStep) {
  const int lo = static_cast<int>(SendMessage(window, QXCM_GETMIN, 0, 0));
  const int hi = static_cast<int>(SendMessage(window, QXCM_GETMAX, 0, 0));
  int v = static_cast<int>(SendMessage(window, FDM_GETVALUES, MAKEWPARAM(0, 1), 0));
  v = QxScrollValue(QxScrollLaw::Fader, LOWORD(wParam), v, lo, hi, lineStep, pageStep, Ctrl());
  return static_cast<int>(SendMessage(window, FDM_SETVALUES, MAKEWPARAM(1, 1), v));
}

LRESULT FaderInst_Message(FaderInstRec* f, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg >= QXCM_GETVALUE && msg <= FDM_SETSTEREO) return Own(f, msg, wParam, lParam);
  if (msg >= WM_USER && msg < WM_APP) return 0;
  switch (msg) {
    case WM_LBUTTONDOWN: Press(f, PointOf(lParam)); return 0;
    case WM_LBUTTONDBLCLK: DoubleClick(f, PointOf(lParam)); return 0;
    case WM_MOUSEMOVE:
      if (f->hitPart == 5) Drag(f, PointOf(lParam), wParam);
      else if (f->hitPart >= 0) f->dragStart[0] = PointOf(lParam).x, f->dragStart[1] = PointOf(lParam).y, Repeat(f);
      return 0;
    case WM_LBUTTONUP: Release(f); return 0;
    case WM_RBUTTONDOWN:
      if (f->hitPart == 5) f->state |= FDST_RIGHTHELD;
      return 0;
    case WM_RBUTTONUP:
      if (f->state & FDST_RIGHTHELD) {
        f->state &= ~FDST_RIGHTHELD;
        f->dragOffset[f->activeChannel] = FaderInst_ValueToPixel(f, f->value[f->activeChannel]) - Along(f, PointOf(lParam));
      }
      return 0;
    case WM_CANCELMODE: Release(f); return 0;
    case WM_CAPTURECHANGED:
      if (f->hitPart >= 0 && reinterpret_cast<HWND>(lParam) != f->window) Release(f);
      return 0;
    case WM_TIMER:
      if (wParam == QX_REPEAT_TIMER && f->hitPart >= 0 && f->hitPart != 5) Repeat(f);
      return 0;
    case WM_KEYDOWN: return Key(f, static_cast<UINT>(wParam), lParam);
    case WM_KEYUP:
      if (!Blocked(f) && f->hitPart == -1 &&
          ((wParam >= VK_PRIOR && wParam <= VK_DOWN) || wParam == VK_F3 || wParam == VK_F9))
        Callback(f, QX_SCROLL_END);
      return 0;
    case WM_MOUSEWHEEL: return Wheel(f, wParam);
    case WM_SETFOCUS: f->state |= FDST_FOCUS; Redraw(f); return 0;
    case WM_KILLFOCUS: f->state &= ~FDST_FOCUS; Redraw(f); return 0;
    case WM_ENABLE:
      f->style = wParam ? f->style & ~WS_DISABLED : f->style | WS_DISABLED;
      f->state = wParam ? f->state & ~FDST_DISABLED : f->state | FDST_DISABLED;
      if (!wParam) Release(f);
      Redraw(f);
      return 0;
  }
  return 0;
}

// ---- The window class --------------------------------------------------------------------------

namespace {

LRESULT FaderWindowProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  FaderInstRec* f = QxInstRecord<FaderInstRec>(h, msg);
  switch (msg) {
    case WM_NCCREATE: return f != nullptr;
    case WM_CREATE: {
      const auto* cs = reinterpret_cast<const CREATESTRUCTW*>(lParam);
      if (g_shared.users++ == 0) {
        g_shared = Shared{};
        g_shared.users = 1;
        g_shared.arrow = LoadCursorW(nullptr, IDC_ARROW);
      }
      g_shared.drag = LoadCursorW(nullptr, (cs->style & FDS_VERTICAL) ? IDC_SIZENS : IDC_SIZEWE);
      FaderInst_Init(f, static_cast<UINT>(cs->style), h);
      FaderInst_SetId(f, static_cast<UINT>(GetDlgCtrlID(h)));
      RECT rc;
      GetClientRect(h, &rc);
      f->client = rc;
      Layout(f);
      return 0;
    }
    case WM_DESTROY:
      if (f) FaderInst_Deinit(f);
      if (g_shared.users > 0) --g_shared.users;
      return 0;
    case WM_NCDESTROY:
      QxInstFree(h, f);
      return 0;
    case WM_SIZE: {
      RECT rc;
      GetClientRect(h, &rc);
      FaderInst_Move(f, &rc);
      return 0;
    }
    case WM_GETDLGCODE:
      // Escape belongs to a running gesture, and a stereo fader's letters are its own.
      return DLGC_WANTARROWS | (f && f->hitPart >= 0 ? DLGC_WANTALLKEYS : 0) |
             (f && Stereo(f) ? DLGC_WANTCHARS : 0);
    case WM_ERASEBKGND: return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      FaderInst_Draw(f, dc);
      EndPaint(h, &ps);
      return 0;
    }
    case WM_SETCURSOR: {
      POINT p;
      GetCursorPos(&p);
      ScreenToClient(h, &p);
      int ch = 0;
      bool inner = false;
      SetCursor(!Blocked(f) && HitTest(f, p, &ch, &inner) == 5 ? g_shared.drag : g_shared.arrow);
      return TRUE;
    }
    case WM_SETFOCUS: case WM_KILLFOCUS: case WM_ENABLE:
      FaderInst_Message(f, msg, wParam, lParam);
      return DefWindowProc(h, msg, wParam, lParam);
    case WM_LBUTTONDOWN: case WM_LBUTTONUP: case WM_LBUTTONDBLCLK: case WM_RBUTTONDOWN: case WM_RBUTTONUP:
    case WM_MOUSEMOVE: case WM_MOUSEWHEEL: case WM_KEYDOWN: case WM_KEYUP: case WM_TIMER: case WM_CANCELMODE:
    case WM_CAPTURECHANGED:
      return f ? FaderInst_Message(f, msg, wParam, lParam) : 0;
  }
  if (f && msg >= WM_USER && msg < WM_APP) return FaderInst_Message(f, msg, wParam, lParam);
  return DefWindowProc(h, msg, wParam, lParam);
}

}  // namespace

BOOL FaderInitialize(HINSTANCE module) {
  return QxRegisterInstClass(QX_FADER_CLASS, FaderWindowProc, module, LoadCursorW(nullptr, IDC_ARROW),
                             CS_DBLCLKS | CS_GLOBALCLASS);
}

void FaderTerminate(HINSTANCE module) { UnregisterClassW(QX_FADER_CLASS, module); }
