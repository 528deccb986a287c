// The Fader's look: a slim groove filled up to the value, ticks at the marks and the default,
// and a cap whose centre line stands exactly on the value's pixel; focus, pressed and disabled.
#include <algorithm>

#include "kernel/controls/fader.h"

namespace {

constexpr COLORREF kAccent = RGB(0, 120, 215);
constexpr COLORREF kGroove = RGB(204, 204, 204);
constexpr COLORREF kTick = RGB(150, 150, 150);
constexpr COLORREF kCapFace = RGB(253, 253, 253);
constexpr COLORREF kCapBorder = RGB(138, 138, 138);
constexpr COLORREF kPressedFace = RGB(204, 228, 247);
constexpr COLORREF kDisabled = RGB(191, 191, 191);
constexpr COLORREF kDisabledFill = RGB(178, 178, 178);

bool Vertical(const FaderInstRec* f) { return f->state & FDST_VERTICAL; }
bool Disabled(const FaderInstRec* f) { return f->state & FDST_DISABLED; }

// A rectangle given along the track (a0..a1) and across it (c0..c1).
RECT Span(const FaderInstRec* f, int a0, int a1, int c0, int c1) {
  return Vertical(f) ? RECT{c0, a0, c1, a1} : RECT{a0, c0, a1, c1};
}

int LaneMid(const FaderInstRec* f, int ch) {
  const RECT& t = f->thumb[ch];
  return Vertical(f) ? (t.left + t.right) / 2 : (t.top + t.bottom) / 2;
}

void Fill(HDC dc, RECT r, COLORREF c) {
  HBRUSH b = CreateSolidBrush(c);
  FillRect(dc, &r, b);
  DeleteObject(b);
}

HBRUSH Background(const FaderInstRec* f, HDC dc) {
  HWND parent = f->embedded ? nullptr : GetParent(f->window);
  HBRUSH b = nullptr;
  if (parent)
    b = reinterpret_cast<HBRUSH>(SendMessage(parent, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                             reinterpret_cast<LPARAM>(f->window)));
  return b ? b : GetSysColorBrush(COLOR_3DFACE);
}

void Ticks(const FaderInstRec* f, HDC dc, int ch) {
  const RECT& t = f->thumb[ch];
  const int c0 = Vertical(f) ? t.left : t.top, c1 = Vertical(f) ? t.right : t.bottom;
  const int mid = LaneMid(f, ch), gap = 5;
  auto tick = [&](int value, COLORREF color, int inset) {
    const int p = FaderInst_ValueToPixel(f, value);
    Fill(dc, Span(f, p, p + 1, c0 + inset, mid - gap), color);
    Fill(dc, Span(f, p, p + 1, mid + gap + 1, c1 - inset), color);
  };
  const COLORREF ends = Disabled(f) ? kDisabled : RGB(190, 190, 190);
  tick(f->minValue, ends, 4);
  tick(f->maxValue, ends, 4);
  for (int i = 0; i < f->markCount; ++i) tick(f->marks[i], Disabled(f) ? kDisabled : kTick, 2);
  tick(f->defaultValue, Disabled(f) ? kDisabled : RGB(96, 96, 96), 0);
}

void Groove(const FaderInstRec* f, HDC dc, int ch) {
  const int mid = LaneMid(f, ch);
  const int a0 = Vertical(f) ? f->track.top : f->track.left;
  const int a1 = (Vertical(f) ? f->track.bottom : f->track.right) + 1;
  RECT g = Span(f, a0 - 2, a1 + 2, mid - 2, mid + 3);
  QxUi_RoundRect(dc, &g, 2.5, Disabled(f) ? RGB(230, 230, 230) : kGroove, CLR_NONE);
  // The part from the minimum up to the value, in the accent colour.
  const int p = FaderInst_ValueToPixel(f, f->value[ch]);
  RECT lit = Vertical(f) ? Span(f, p, a1 + 2, mid - 2, mid + 3) : Span(f, a0 - 2, p + 1, mid - 2, mid + 3);
  if (!IsRectEmpty(&lit)) QxUi_RoundRect(dc, &lit, 2.5, Disabled(f) ? kDisabledFill : kAccent, CLR_NONE);
}

}  // namespace

void FaderInst_DrawThumb(FaderInstRec* f, HDC dc, int ch) {
  if (ch < 0 || ch >= static_cast<int>(f->channelCount)) return;
  const RECT& r = f->thumb[ch];
  const bool active = (f->activeMask >> ch) & 1;
  const bool pressed = f->hitPart == 5 && active;
  if (f->thumbImages) {
    int cx = 0, cy = 0;
    ImageList_GetIconSize(f->thumbImages, &cx, &cy);
    const int n = ImageList_GetImageCount(f->thumbImages);
    const int index = Disabled(f) && n > 2 ? 2 : pressed && n > 1 ? 1 : 0;
    ImageList_Draw(f->thumbImages, index, dc, (r.left + r.right - cx) / 2, (r.top + r.bottom - cy) / 2,
                   ILD_TRANSPARENT);
    return;
  }
  if (f->thumbBitmap) {
    BITMAP bm{};
    GetObjectW(f->thumbBitmap, sizeof bm, &bm);
    HDC mem = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(mem, f->thumbBitmap);
    BitBlt(dc, (r.left + r.right - bm.bmWidth) / 2, (r.top + r.bottom - bm.bmHeight) / 2, bm.bmWidth, bm.bmHeight,
           mem, 0, 0, SRCCOPY);
    SelectObject(mem, old);
    DeleteDC(mem);
    return;
  }
  const bool focus = (f->state & FDST_FOCUS) && active && !Disabled(f);
  // The third look: a dark console cap with a light line.
  const bool dark = (f->style & FDS_LOOKMASK) == FDS_THIRDLOOK && !Disabled(f);
  const COLORREF face = Disabled(f) ? RGB(245, 245, 245) : pressed ? (dark ? RGB(0, 84, 153) : kPressedFace)
                        : dark ? RGB(68, 68, 68) : kCapFace;
  const COLORREF border = Disabled(f) ? kDisabled : focus || pressed ? kAccent : dark ? RGB(40, 40, 40) : kCapBorder;
  QxUi_RoundRect(dc, &r, 2.5, face, border);
  if (focus) {
    RECT in = r;
    InflateRect(&in, -1, -1);
    QxUi_RoundRect(dc, &in, 1.5, CLR_NONE, kAccent);
  }
  // The centre line: the value's own pixel.
  const int p = FaderInst_ValueToPixel(f, f->value[ch]);
  const int c0 = Vertical(f) ? r.left : r.top, c1 = Vertical(f) ? r.right : r.bottom;
  const COLORREF line = Disabled(f) ? kDisabled : dark ? RGB(255, 255, 255) : active ? kAccent : RGB(96, 96, 96);
  Fill(dc, Span(f, p, p + 1, c0 + 3, c1 - 3), line);
}

void FaderInst_Draw(FaderInstRec* f, HDC dc) {
  int saved = SaveDC(dc);
  IntersectClipRect(dc, f->client.left, f->client.top, f->client.right, f->client.bottom);
  FillRect(dc, &f->client, Background(f, dc));
  for (UINT ch = 0; ch < f->channelCount; ++ch) {
    Ticks(f, dc, static_cast<int>(ch));
    Groove(f, dc, static_cast<int>(ch));
  }
  // The thumb being moved is drawn last, over its neighbour.
  for (int ch = static_cast<int>(f->channelCount) - 1; ch >= 0; --ch)
    if (ch != static_cast<int>(f->activeChannel)) FaderInst_DrawThumb(f, dc, ch);
  FaderInst_DrawThumb(f, dc, static_cast<int>(f->activeChannel));
  RestoreDC(dc, saved);
}
