// Invalidation and lazy painting: an invalid area marks every window that shows there, WM_PAINT
// goes to them parent first and bottom sibling first, and the back buffer reaches the screen when
// a top-level has nothing left to paint.
#include <algorithm>

#include "platform/ui/gdi.h"
#include "platform/ui/window_internal.h"

namespace qxui {
HDC MakeWindowDc(HWND hwnd, const RECT* limitInTop);
void ReleaseWindowDc(HDC dc);
}  // namespace qxui

using namespace qxui;

namespace {

void MarkTree(HWND h, const RECT& area, bool erase) {
  Wnd* w = Find(h);
  if (!w || !(w->style & WS_VISIBLE)) return;
  RECT vis = VisibleRectInTop(h), part;
  if (!IntersectRect(&part, &vis, &area)) return;
  UnionRect(&w->update, &w->update, &part);
  w->erase = w->erase || erase;
  // The update is one rectangle, so it may now cover children that `area` missed; the parent
  // paints all of it, and every child under it must paint again on top.
  RECT grown = w->update;
  for (HWND c : w->children) MarkTree(c, grown, erase);
}

// Pre-order: the parent, then its children from the bottom of the z-order up.
HWND FirstInvalid(HWND h) {
  Wnd* w = Find(h);
  if (!w || !(w->style & WS_VISIBLE)) return nullptr;
  if (!IsRectEmpty(&w->update)) return h;
  for (auto it = w->children.rbegin(); it != w->children.rend(); ++it)
    if (HWND f = FirstInvalid(*it)) return f;
  return nullptr;
}

}  // namespace

namespace qxui {

void InvalidateTop(HWND top, RECT inTop, bool erase) { MarkTree(top, inTop, erase); }

bool NextPaint(MSG* msg, HWND filter) {
  for (HWND top : Ui().topLevels) {
    HWND h = FirstInvalid(top);
    if (!h || (filter && h != filter)) continue;
    *msg = MSG{h, WM_PAINT, 0, 0, Now(), Ui().cursorPos};
    return true;
  }
  return false;
}

void PresentAll() {
  for (HWND top : std::vector<HWND>(Ui().topLevels)) {
    Wnd* t = Find(top);
    if (!t || !t->surface || IsRectEmpty(&t->surface->dirty) || FirstInvalid(top)) continue;
    RECT d = t->surface->dirty;
    t->surface->dirty = RECT{};
    if (t->surface->host && (t->style & WS_VISIBLE)) t->surface->host->Present(d);
  }
}

}  // namespace qxui

BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase) {
  if (!hwnd) {
    for (HWND t : Ui().topLevels) InvalidateRect(t, nullptr, erase);
    return TRUE;
  }
  if (!Find(hwnd)) return FALSE;
  if (!IsVisibleDeep(hwnd)) return TRUE;
  RECT area = VisibleRectInTop(hwnd);
  if (rect) {
    POINT o = OriginInTop(hwnd);
    RECT r = *rect;
    OffsetRect(&r, o.x, o.y);
    IntersectRect(&area, &area, &r);
  }
  InvalidateTop(TopLevelOf(hwnd), area, erase);
  return TRUE;
}

BOOL ValidateRect(HWND hwnd, const RECT* rect) {
  Wnd* w = Find(hwnd);
  if (!w) return FALSE;
  if (rect) {
    POINT o = OriginInTop(hwnd);
    RECT r = *rect, u = w->update;
    OffsetRect(&r, o.x, o.y);
    // Only an area that covers the whole invalid part validates it: the update is one rectangle.
    if (r.left <= u.left && r.top <= u.top && r.right >= u.right && r.bottom >= u.bottom) w->update = RECT{};
    return TRUE;
  }
  w->update = RECT{};
  w->erase = false;
  return TRUE;
}

BOOL GetUpdateRect(HWND hwnd, RECT* rect, BOOL) {
  Wnd* w = Find(hwnd);
  if (!w) return FALSE;
  RECT u = w->update;
  if (!IsRectEmpty(&u)) {
    POINT o = OriginInTop(hwnd);
    OffsetRect(&u, -o.x, -o.y);
  }
  if (rect) *rect = u;
  return !IsRectEmpty(&u);
}

BOOL UpdateWindow(HWND hwnd) {
  HWND top = TopLevelOf(hwnd);
  if (!top) return FALSE;
  while (HWND h = FirstInvalid(top)) {
    MSG m{h, WM_PAINT, 0, 0, Now(), Ui().cursorPos};
    DispatchMessage(&m);
  }
  PresentAll();
  return TRUE;
}

BOOL RedrawWindow(HWND hwnd, const RECT* rect, void*, UINT flags) {
  if (flags & RDW_INVALIDATE) InvalidateRect(hwnd, rect, (flags & RDW_ERASE) != 0);
  if (flags & RDW_UPDATENOW) UpdateWindow(hwnd);
  return TRUE;
}

HDC BeginPaint(HWND hwnd, PAINTSTRUCT* ps) {
  Wnd* w = Find(hwnd);
  if (!w || !ps) return nullptr;
  RECT area = w->update;
  bool erase = w->erase;
  w->update = RECT{};
  w->erase = false;
  if (IsRectEmpty(&area)) area = RECT{};
  HDC dc = MakeWindowDc(hwnd, &area);
  *ps = PAINTSTRUCT{};
  ps->hdc = dc;
  POINT o = OriginInTop(hwnd);
  ps->rcPaint = area;
  OffsetRect(&ps->rcPaint, -o.x, -o.y);
  ps->fErase = erase ? !SendMessage(hwnd, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0) : FALSE;
  return dc;
}

BOOL EndPaint(HWND, const PAINTSTRUCT* ps) {
  if (!ps) return FALSE;
  ReleaseWindowDc(ps->hdc);
  return TRUE;
}
