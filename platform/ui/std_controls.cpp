// The standard controls in one plain, modern look: BUTTON (push, check box, radio, group box),
// STATIC, single-line EDIT and the drop-list COMBOBOX with its popup list; logic first, drawing last.
#include <cairo.h>

#include <algorithm>
#include <cwctype>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ui/dialog.h"
#include "platform/ui/gdi.h"
#include "platform/ui/window_internal.h"

using namespace qxui;

namespace qxui {
WNDPROC DialogClassProc();
LRESULT MenuWndProc(HWND, UINT, WPARAM, LPARAM);
}  // namespace qxui

namespace {

constexpr COLORREF kAccent = RGB(0, 120, 215);
constexpr COLORREF kBorder = RGB(122, 122, 122);
constexpr COLORREF kFace = RGB(253, 253, 253);
constexpr COLORREF kDisabledText = RGB(160, 160, 160);
constexpr COLORREF kDisabledBorder = RGB(191, 191, 191);

template <class T>
T* State(HWND h) {
  return reinterpret_cast<T*>(GetWindowLongPtr(h, 0));
}

void Notify(HWND h, WORD code) {
  SendMessage(GetParent(h), WM_COMMAND, MAKEWPARAM(static_cast<WORD>(GetDlgCtrlID(h)), code), reinterpret_cast<LPARAM>(h));
}

std::u16string TextOf(HWND h) {
  Wnd* w = Find(h);
  return w ? w->text : std::u16string();
}

// The background and text colour the parent chooses for a control.
HBRUSH ParentBrush(HWND h, HDC dc, UINT msg) {
  SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(dc, GetSysColor(COLOR_3DFACE));
  auto b = reinterpret_cast<HBRUSH>(SendMessage(GetParent(h), msg, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(h)));
  return b ? b : GetSysColorBrush(msg == WM_CTLCOLOREDIT || msg == WM_CTLCOLORLISTBOX ? COLOR_WINDOW : COLOR_3DFACE);
}

void Chevron(HDC dc, double cx, double cy, COLORREF c) {
  cairo_t* cr = QxUi_Cairo(dc);
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  cairo_move_to(cr, cx - 4, cy - 2);
  cairo_line_to(cr, cx, cy + 2);
  cairo_line_to(cr, cx + 4, cy - 2);
  cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
  cairo_set_line_width(cr, 1.3);
  cairo_stroke(cr);
  cairo_restore(cr);
}

// What every standard control answers alike: its record's life, its font and its painting.
template <class T>
bool Common(HWND h, UINT msg, WPARAM wParam, LPARAM lParam, void (*paint)(HWND, HDC), LRESULT* r) {
  T* s = State<T>(h);
  *r = 0;
  switch (msg) {
    case WM_NCCREATE:
      SetWindowLongPtr(h, 0, reinterpret_cast<LONG_PTR>(new T));
      *r = TRUE;
      return true;
    case WM_NCDESTROY:
      delete s;
      SetWindowLongPtr(h, 0, 0);
      return true;
    case WM_SETFONT:
      s->font = reinterpret_cast<HFONT>(wParam);
      if (lParam) InvalidateRect(h, nullptr, TRUE);
      return true;
    case WM_GETFONT:
      *r = reinterpret_cast<LRESULT>(s->font);
      return true;
    case WM_ERASEBKGND:
      *r = 1;
      return true;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      paint(h, dc);
      EndPaint(h, &ps);
      return true;
    }
  }
  return false;
}

// ---- BUTTON --------------------------------------------------------------------------------------

struct Button {
  HFONT font = nullptr;
  UINT check = BST_UNCHECKED;
  bool pushed = false, tracking = false, focus = false, spaceDown = false;
};

UINT Type(HWND h) { return GetWindowLong(h, GWL_STYLE) & BS_TYPEMASK; }
bool IsCheck(UINT t) { return t == BS_CHECKBOX || t == BS_AUTOCHECKBOX || t == BS_3STATE || t == BS_AUTO3STATE; }
bool IsRadio(UINT t) { return t == BS_RADIOBUTTON || t == BS_AUTORADIOBUTTON; }

void ClickButton(HWND h) {
  Button* b = State<Button>(h);
  UINT t = Type(h);
  if (t == BS_AUTOCHECKBOX) {
    SendMessage(h, BM_SETCHECK, b->check == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
  } else if (t == BS_AUTO3STATE) {
    SendMessage(h, BM_SETCHECK, (b->check + 1) % 3, 0);
  } else if (t == BS_AUTORADIOBUTTON) {
    // The group runs from the nearest WS_GROUP sibling at or before this one to the next.
    HWND first = h;
    while (!(GetWindowLong(first, GWL_STYLE) & WS_GROUP) && GetWindow(first, GW_HWNDPREV)) first = GetWindow(first, GW_HWNDPREV);
    for (HWND s = first; s; s = GetWindow(s, GW_HWNDNEXT)) {
      if (s != first && (GetWindowLong(s, GWL_STYLE) & WS_GROUP)) break;
      if (s != h && Find(s) && Find(s)->className == u"BUTTON" && Type(s) == BS_AUTORADIOBUTTON)
        SendMessage(s, BM_SETCHECK, BST_UNCHECKED, 0);
    }
    SendMessage(h, BM_SETCHECK, BST_CHECKED, 0);
  }
  Notify(h, BN_CLICKED);
}

void PaintButton(HWND h, HDC dc) {
  Button* b = State<Button>(h);
  UINT t = Type(h);
  DWORD style = GetWindowLong(h, GWL_STYLE);
  bool enabled = IsWindowEnabled(h);
  RECT rc;
  GetClientRect(h, &rc);
  HBRUSH bg = ParentBrush(h, dc, t == BS_PUSHBUTTON || t == BS_DEFPUSHBUTTON ? WM_CTLCOLORBTN : WM_CTLCOLORSTATIC);
  COLORREF text = enabled ? GetTextColor(dc) : kDisabledText;
  if (b->font) SelectObject(dc, b->font);
  SetBkMode(dc, TRANSPARENT);
  std::u16string label = TextOf(h);
  if (t == BS_GROUPBOX) {
    SIZE sz{};
    GetTextExtentPoint32W(dc, label.c_str(), static_cast<int>(label.size()), &sz);
    int mid = sz.cy / 2;
    RECT frame{0, mid, rc.right, rc.bottom};
    QxUi_RoundRect(dc, &frame, 3, CLR_NONE, RGB(213, 213, 213));
    if (!label.empty()) {
      RECT tr{6, 0, 6 + sz.cx + 6, sz.cy};
      FillRect(dc, &tr, bg);
      SetTextColor(dc, text);
      OffsetRect(&tr, 3, 0);
      DrawTextW(dc, label.c_str(), -1, &tr, DT_LEFT | DT_SINGLELINE);
    }
    return;
  }
  FillRect(dc, &rc, bg);
  if (t == BS_PUSHBUTTON || t == BS_DEFPUSHBUTTON || (style & BS_PUSHLIKE)) {
    bool down = b->pushed || ((style & BS_PUSHLIKE) && b->check == BST_CHECKED);
    COLORREF fill = !enabled ? RGB(245, 245, 245) : down ? RGB(204, 228, 247) : kFace;
    COLORREF border = !enabled ? kDisabledBorder : (b->focus || t == BS_DEFPUSHBUTTON || down) ? kAccent : RGB(173, 173, 173);
    QxUi_RoundRect(dc, &rc, 3, fill, border);
    if (b->focus && enabled) {
      RECT in = rc;
      InflateRect(&in, -1, -1);
      QxUi_RoundRect(dc, &in, 2, CLR_NONE, kAccent);
    }
    SetTextColor(dc, text);
    DrawTextW(dc, label.c_str(), -1, &rc, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    return;
  }
  // Check boxes and radio buttons: a 13-pixel mark, then the label.
  const int box = 13;
  int top = (rc.bottom - box) / 2;
  bool left = style & BS_LEFTTEXT;
  int bx = left ? rc.right - box : 0;
  if (IsRadio(t)) {
    double cx = bx + box / 2.0, cy = top + box / 2.0;
    bool on = b->check == BST_CHECKED;
    QxUi_Circle(dc, cx, cy, box / 2.0 - 0.5, enabled ? RGB(255, 255, 255) : RGB(245, 245, 245),
                !enabled ? kDisabledBorder : on || b->pushed ? kAccent : RGB(51, 51, 51));
    if (on) QxUi_Circle(dc, cx, cy, 3.5, enabled ? kAccent : kDisabledText, CLR_NONE);
  } else {
    RECT br{bx, top, bx + box, top + box};
    bool on = b->check != BST_UNCHECKED;
    COLORREF mark = enabled ? kAccent : kDisabledText;
    QxUi_RoundRect(dc, &br, 2, on ? mark : enabled ? RGB(255, 255, 255) : RGB(245, 245, 245),
                   on ? mark : !enabled ? kDisabledBorder : b->pushed ? kAccent : RGB(51, 51, 51));
    cairo_t* cr = QxUi_Cairo(dc);
    cairo_save(cr);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_set_line_width(cr, 1.6);
    if (b->check == BST_CHECKED) {
      cairo_move_to(cr, bx + 3, top + 6.5);
      cairo_line_to(cr, bx + 5.5, top + 9);
      cairo_line_to(cr, bx + 10, top + 4);
      cairo_stroke(cr);
    } else if (b->check == BST_INDETERMINATE) {
      cairo_move_to(cr, bx + 3, top + 6.5);
      cairo_line_to(cr, bx + 10, top + 6.5);
      cairo_stroke(cr);
    }
    cairo_restore(cr);
  }
  RECT tr = rc;
  if (left) tr.right -= box + 5;
  else tr.left = box + 5;
  SetTextColor(dc, text);
  UINT fmt = (style & BS_MULTILINE) ? DT_WORDBREAK : (DT_SINGLELINE | DT_VCENTER);
  if (style & BS_MULTILINE) {
    RECT calc = tr;
    DrawTextW(dc, label.c_str(), -1, &calc, DT_WORDBREAK | DT_CALCRECT);
    OffsetRect(&tr, 0, (rc.bottom - (calc.bottom - calc.top)) / 2);
  }
  DrawTextW(dc, label.c_str(), -1, &tr, fmt);
  if (b->focus && !label.empty()) {
    RECT fr = tr;
    DrawTextW(dc, label.c_str(), -1, &fr, DT_SINGLELINE | DT_CALCRECT);
    int h = fr.bottom - fr.top;
    fr.top = (rc.bottom - h) / 2;
    fr.bottom = fr.top + h;
    InflateRect(&fr, 1, 0);
    IntersectRect(&fr, &fr, &rc);
    DrawFocusRect(dc, &fr);
  }
}

LRESULT ButtonProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (LRESULT r; Common<Button>(h, msg, wParam, lParam, PaintButton, &r)) return r;
  Button* b = State<Button>(h);
  switch (msg) {
    case WM_NCHITTEST:
      return Type(h) == BS_GROUPBOX ? HTTRANSPARENT : HTCLIENT;
    case WM_GETDLGCODE: {
      UINT t = Type(h);
      if (t == BS_GROUPBOX) return DLGC_STATIC;
      if (t == BS_DEFPUSHBUTTON) return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
      if (t == BS_PUSHBUTTON) return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
      if (IsRadio(t)) return DLGC_BUTTON | DLGC_RADIOBUTTON;
      return DLGC_BUTTON;
    }
    case BM_GETCHECK:
      return b->check;
    case BM_SETCHECK: {
      UINT t = Type(h);
      if (!IsCheck(t) && !IsRadio(t)) return 0;
      UINT v = std::min<UINT>(static_cast<UINT>(wParam), (t == BS_3STATE || t == BS_AUTO3STATE) ? 2 : 1);
      if (v != b->check) {
        b->check = v;
        InvalidateRect(h, nullptr, TRUE);
      }
      return 0;
    }
    case BM_GETSTATE:
      return b->check | (b->pushed ? BST_PUSHED : 0) | (b->focus ? BST_FOCUS : 0);
    case BM_SETSTATE:
      if (b->pushed != (wParam != 0)) {
        b->pushed = wParam != 0;
        InvalidateRect(h, nullptr, TRUE);
      }
      return 0;
    case BM_SETSTYLE:
      SetWindowLong(h, GWL_STYLE, (GetWindowLong(h, GWL_STYLE) & ~0xFFFF) | (wParam & 0xFFFF));
      if (lParam) InvalidateRect(h, nullptr, TRUE);
      return 0;
    case BM_CLICK:
      if (IsWindowEnabled(h)) ClickButton(h);
      return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      SetFocus(h);
      if (!IsWindow(h)) return 0;
      SetCapture(h);
      b->tracking = b->pushed = true;
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    case WM_MOUSEMOVE:
      if (b->tracking) {
        RECT rc;
        GetClientRect(h, &rc);
        bool in = PtInRect(&rc, POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (in != b->pushed) {
          b->pushed = in;
          InvalidateRect(h, nullptr, TRUE);
        }
      }
      return 0;
    case WM_LBUTTONUP:
      if (b->tracking) {
        RECT rc;
        GetClientRect(h, &rc);
        bool click = b->pushed && PtInRect(&rc, POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        b->tracking = b->pushed = false;
        ReleaseCapture();
        InvalidateRect(h, nullptr, TRUE);
        if (click) ClickButton(h);
      }
      return 0;
    case WM_CAPTURECHANGED:
      if (b->tracking && reinterpret_cast<HWND>(lParam) != h) {
        b->tracking = b->pushed = false;
        InvalidateRect(h, nullptr, TRUE);
      }
      return 0;
    case WM_KEYDOWN:
      if (wParam == VK_SPACE && !b->spaceDown) {
        b->spaceDown = b->pushed = true;
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      }
      return DefWindowProc(h, msg, wParam, lParam);
    case WM_KEYUP:
      if (wParam == VK_SPACE && b->spaceDown) {
        b->spaceDown = b->pushed = false;
        InvalidateRect(h, nullptr, TRUE);
        ClickButton(h);
      }
      return 0;
    case WM_CHAR:
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      b->focus = msg == WM_SETFOCUS;
      if (!b->focus) b->pushed = b->spaceDown = false;
      InvalidateRect(h, nullptr, TRUE);
      if (GetWindowLong(h, GWL_STYLE) & BS_NOTIFY) Notify(h, b->focus ? BN_SETFOCUS : BN_KILLFOCUS);
      return 0;
    case WM_ENABLE:
      InvalidateRect(h, nullptr, TRUE);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

// ---- STATIC --------------------------------------------------------------------------------------

struct Static {
  HFONT font = nullptr;
  HANDLE image = nullptr;
};

void PaintStatic(HWND h, HDC dc) {
  Static* s = State<Static>(h);
  DWORD style = GetWindowLong(h, GWL_STYLE);
  DWORD type = style & SS_TYPEMASK;
  RECT rc;
  GetClientRect(h, &rc);
  HBRUSH bg = ParentBrush(h, dc, WM_CTLCOLORSTATIC);
  switch (type) {
    case SS_BLACKRECT: FillRect(dc, &rc, GetSysColorBrush(COLOR_3DDKSHADOW)); return;
    case SS_GRAYRECT: FillRect(dc, &rc, GetSysColorBrush(COLOR_3DSHADOW)); return;
    case SS_WHITERECT: FillRect(dc, &rc, GetSysColorBrush(COLOR_3DHILIGHT)); return;
  }
  FillRect(dc, &rc, bg);
  if (type == SS_BLACKFRAME || type == SS_ETCHEDFRAME) {
    FrameRect(dc, &rc, GetSysColorBrush(type == SS_BLACKFRAME ? COLOR_3DDKSHADOW : COLOR_3DSHADOW));
    return;
  }
  if (type == SS_ETCHEDHORZ) {
    RECT line{0, 0, rc.right, 1};
    FillRect(dc, &line, GetSysColorBrush(COLOR_3DLIGHT));
    return;
  }
  if (type == SS_BITMAP) {
    if (s->image) {
      HDC mem = CreateCompatibleDC(dc);
      HGDIOBJ old = SelectObject(mem, s->image);
      BITMAP bm{};
      GetObjectW(s->image, sizeof bm, &bm);
      BitBlt(dc, (rc.right - bm.bmWidth) / 2, (rc.bottom - bm.bmHeight) / 2, bm.bmWidth, bm.bmHeight, mem, 0, 0, SRCCOPY);
      SelectObject(mem, old);
      DeleteDC(mem);
    }
    return;
  }
  if (s->font) SelectObject(dc, s->font);
  SetBkMode(dc, TRANSPARENT);
  if (!IsWindowEnabled(h)) SetTextColor(dc, kDisabledText);
  UINT fmt = (style & SS_NOPREFIX) ? DT_NOPREFIX : 0;
  if (type == SS_CENTER) fmt |= DT_CENTER;
  else if (type == SS_RIGHT) fmt |= DT_RIGHT;
  if (type == SS_SIMPLE || type == SS_LEFTNOWORDWRAP) fmt |= DT_SINGLELINE;
  else if (style & SS_CENTERIMAGE) fmt |= DT_SINGLELINE | DT_VCENTER;
  else fmt |= DT_WORDBREAK;
  std::u16string text = TextOf(h);
  DrawTextW(dc, text.c_str(), -1, &rc, fmt);
  if (style & SS_SUNKEN) FrameRect(dc, &rc, GetSysColorBrush(COLOR_3DSHADOW));
}

LRESULT StaticProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (LRESULT r; Common<Static>(h, msg, wParam, lParam, PaintStatic, &r)) return r;
  Static* s = State<Static>(h);
  switch (msg) {
    case WM_NCHITTEST:
      return (GetWindowLong(h, GWL_STYLE) & SS_NOTIFY) ? HTCLIENT : HTTRANSPARENT;
    case WM_GETDLGCODE:
      return DLGC_STATIC;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      if (GetWindowLong(h, GWL_STYLE) & SS_NOTIFY) Notify(h, msg == WM_LBUTTONDOWN ? STN_CLICKED : STN_DBLCLK);
      return 0;
    case STM_SETIMAGE: {
      HANDLE old = s->image;
      s->image = reinterpret_cast<HANDLE>(lParam);
      InvalidateRect(h, nullptr, TRUE);
      return reinterpret_cast<LRESULT>(old);
    }
    case STM_GETIMAGE:
      return reinterpret_cast<LRESULT>(s->image);
    case WM_ENABLE:
      InvalidateRect(h, nullptr, TRUE);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

// ---- EDIT ----------------------------------------------------------------------------------------

struct Edit {
  HFONT font = nullptr;
  std::u16string text;
  int anchor = 0, caret = 0;
  size_t limit = 30000;
  bool focus = false, modified = false, dragging = false;
  int scroll = 0;  // pixels of text left of the visible area
};

std::u16string& Clipboard() {
  static std::u16string c;
  return c;
}

constexpr int kEditPad = 4;

int Advance(HWND h, const std::u16string& s, int n) {
  if (n <= 0) return 0;
  HDC dc = GetDC(h);
  if (State<Edit>(h)->font) SelectObject(dc, State<Edit>(h)->font);
  SIZE sz{};
  GetTextExtentPoint32W(dc, s.c_str(), n, &sz);
  ReleaseDC(h, dc);
  return sz.cx;
}

int CharAt(HWND h, int x) {
  Edit* e = State<Edit>(h);
  int target = x - kEditPad + e->scroll;
  int n = static_cast<int>(e->text.size());
  int prev = 0;
  for (int i = 1; i <= n; ++i) {
    int a = Advance(h, e->text, i);
    if (target < (prev + a) / 2) return i - 1;
    prev = a;
  }
  return n;
}

void EnsureCaretVisible(HWND h) {
  Edit* e = State<Edit>(h);
  RECT rc;
  GetClientRect(h, &rc);
  int width = rc.right - 2 * kEditPad;
  int x = Advance(h, e->text, e->caret);
  if (x - e->scroll > width) e->scroll = x - width;
  if (x < e->scroll) e->scroll = x;
  e->scroll = std::max(e->scroll, 0);
}

void EditChanged(HWND h, bool notify) {
  Edit* e = State<Edit>(h);
  e->modified = true;
  EnsureCaretVisible(h);
  InvalidateRect(h, nullptr, TRUE);
  if (notify) {
    Notify(h, EN_UPDATE);
    if (IsWindow(h)) Notify(h, EN_CHANGE);
  }
}

bool ReplaceSel(HWND h, const std::u16string& with) {
  Edit* e = State<Edit>(h);
  int a = std::min(e->anchor, e->caret), b = std::max(e->anchor, e->caret);
  std::u16string ins = with;
  size_t room = e->limit > e->text.size() - (b - a) ? e->limit - (e->text.size() - (b - a)) : 0;
  bool cut = ins.size() > room;
  if (cut) ins.resize(room);
  if (cut && ins.empty()) {
    Notify(h, EN_MAXTEXT);
    return false;
  }
  e->text.replace(a, b - a, ins);
  e->anchor = e->caret = a + static_cast<int>(ins.size());
  if (cut) Notify(h, EN_MAXTEXT);
  return true;
}

bool IsWordChar(char16_t c) { return std::iswalnum(c) || c == u'_'; }

void PaintEdit(HWND h, HDC dc) {
  Edit* e = State<Edit>(h);
  DWORD style = GetWindowLong(h, GWL_STYLE);
  bool enabled = IsWindowEnabled(h), ro = style & ES_READONLY;
  RECT rc;
  GetClientRect(h, &rc);
  HBRUSH bg = ParentBrush(h, dc, enabled && !ro ? WM_CTLCOLOREDIT : WM_CTLCOLORSTATIC);
  COLORREF textColor = enabled ? GetTextColor(dc) : kDisabledText;
  FillRect(dc, &rc, bg);
  QxUi_RoundRect(dc, &rc, 2, CLR_NONE, !enabled ? kDisabledBorder : e->focus ? kAccent : kBorder);
  if (e->focus) {
    RECT line{1, rc.bottom - 2, rc.right - 1, rc.bottom - 1};
    FillRect(dc, &line, GetSysColorBrush(COLOR_HIGHLIGHT));
  }
  if (e->font) SelectObject(dc, e->font);
  SetBkMode(dc, TRANSPARENT);
  RECT inner{kEditPad, 1, rc.right - kEditPad, rc.bottom - 1};
  IntersectClipRect(dc, inner.left - 1, inner.top, inner.right + 1, inner.bottom);
  int full = Advance(h, e->text, static_cast<int>(e->text.size()));
  int x0 = inner.left - e->scroll;
  if (full <= inner.right - inner.left) {
    if ((style & 3) == ES_CENTER) x0 = inner.left + (inner.right - inner.left - full) / 2;
    else if ((style & 3) == ES_RIGHT) x0 = inner.right - full;
  }
  RECT tr{x0, inner.top, x0 + full + 10, inner.bottom};
  SetTextColor(dc, textColor);
  DrawTextW(dc, e->text.c_str(), -1, &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_NOCLIP);
  int a = std::min(e->anchor, e->caret), b = std::max(e->anchor, e->caret);
  if (e->focus && a != b) {
    int sx = x0 + Advance(h, e->text, a), ex = x0 + Advance(h, e->text, b);
    RECT sel{sx, inner.top + 2, ex, inner.bottom - 2};
    int saved = SaveDC(dc);
    IntersectClipRect(dc, sel.left, sel.top, sel.right, sel.bottom);
    FillRect(dc, &sel, GetSysColorBrush(COLOR_HIGHLIGHT));
    SetTextColor(dc, GetSysColor(COLOR_HIGHLIGHTTEXT));
    DrawTextW(dc, e->text.c_str(), -1, &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_NOCLIP);
    RestoreDC(dc, saved);
  }
  if (e->focus && Ui().caretHidden == 0) {
    int cx = x0 + Advance(h, e->text, e->caret);
    RECT caret{cx, inner.top + 3, cx + 1, inner.bottom - 3};
    HBRUSH cb = CreateSolidBrush(textColor);
    FillRect(dc, &caret, cb);
    DeleteObject(cb);
  }
}

LRESULT EditProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (LRESULT r; Common<Edit>(h, msg, wParam, lParam, PaintEdit, &r)) return r;
  Edit* e = State<Edit>(h);
  auto len = [&] { return static_cast<int>(e->text.size()); };
  bool ro = GetWindowLong(h, GWL_STYLE) & ES_READONLY;
  switch (msg) {
    case WM_CREATE:
      if (auto* cs = reinterpret_cast<CREATESTRUCTW*>(lParam); cs && cs->lpszName) e->text = cs->lpszName;
      return 0;
    case WM_SETTEXT:
      e->text = lParam ? reinterpret_cast<LPCWSTR>(lParam) : u"";
      e->anchor = e->caret = 0;
      e->scroll = 0;
      e->modified = false;
      InvalidateRect(h, nullptr, TRUE);
      Notify(h, EN_UPDATE);
      if (IsWindow(h)) Notify(h, EN_CHANGE);
      return TRUE;
    case WM_GETTEXT: {
      if (!wParam || !lParam) return 0;
      auto* out = reinterpret_cast<WCHAR*>(lParam);
      size_t n = std::min<size_t>(e->text.size(), wParam - 1);
      std::copy(e->text.begin(), e->text.begin() + n, out);
      out[n] = 0;
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH:
      return len();
    case EM_GETSEL: {
      DWORD a = std::min(e->anchor, e->caret), b = std::max(e->anchor, e->caret);
      if (wParam) *reinterpret_cast<DWORD*>(wParam) = a;
      if (lParam) *reinterpret_cast<DWORD*>(lParam) = b;
      return MAKELONG(static_cast<WORD>(a), static_cast<WORD>(b));
    }
    case EM_SETSEL: {
      int a = static_cast<int>(static_cast<intptr_t>(wParam)), b = static_cast<int>(lParam);
      if (a < 0) {
        e->anchor = e->caret;
      } else {
        if (b < 0 || b > len()) b = len();
        e->anchor = std::min(a, len());
        e->caret = b;
      }
      EnsureCaretVisible(h);
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    }
    case EM_REPLACESEL:
      if (lParam && ReplaceSel(h, reinterpret_cast<LPCWSTR>(lParam))) EditChanged(h, true);
      return 0;
    case EM_LIMITTEXT:
      e->limit = wParam ? wParam : 0x7FFFFFFE;
      return 0;
    case EM_GETLIMITTEXT:
      return static_cast<LRESULT>(e->limit);
    case EM_SETREADONLY:
      SetWindowLong(h, GWL_STYLE, wParam ? (GetWindowLong(h, GWL_STYLE) | ES_READONLY) : (GetWindowLong(h, GWL_STYLE) & ~ES_READONLY));
      InvalidateRect(h, nullptr, TRUE);
      return TRUE;
    case EM_GETMODIFY:
      return e->modified;
    case EM_SETMODIFY:
      e->modified = wParam != 0;
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS;
    case WM_SETCURSOR:
      SetCursor(LoadCursorW(nullptr, IDC_IBEAM));
      return TRUE;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      e->focus = msg == WM_SETFOCUS;
      InvalidateRect(h, nullptr, TRUE);
      Notify(h, e->focus ? EN_SETFOCUS : EN_KILLFOCUS);
      return 0;
    case WM_LBUTTONDOWN: {
      SetFocus(h);
      if (!IsWindow(h) || GetFocus() != h) return 0;
      int at = CharAt(h, GET_X_LPARAM(lParam));
      e->caret = at;
      if (!(wParam & MK_SHIFT)) e->anchor = at;
      e->dragging = true;
      SetCapture(h);
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    }
    case WM_LBUTTONDBLCLK: {
      int at = std::min(CharAt(h, GET_X_LPARAM(lParam)), len());
      int a = at, b = at;
      while (a > 0 && IsWordChar(e->text[a - 1])) --a;
      while (b < len() && IsWordChar(e->text[b])) ++b;
      e->anchor = a;
      e->caret = b;
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    }
    case WM_MOUSEMOVE:
      if (e->dragging) {
        e->caret = CharAt(h, GET_X_LPARAM(lParam));
        EnsureCaretVisible(h);
        InvalidateRect(h, nullptr, TRUE);
      }
      return 0;
    case WM_LBUTTONUP:
      if (e->dragging) {
        e->dragging = false;
        ReleaseCapture();
      }
      return 0;
    case WM_CAPTURECHANGED:
      e->dragging = false;
      return 0;
    case WM_CHAR: {
      WCHAR c = static_cast<WCHAR>(wParam);
      bool hasSel = e->anchor != e->caret;
      if (c == 1) {  // Ctrl+A
        e->anchor = 0;
        e->caret = len();
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      }
      if (c == 3 || c == 24) {  // Ctrl+C, Ctrl+X
        int a = std::min(e->anchor, e->caret), b = std::max(e->anchor, e->caret);
        if (a != b) Clipboard() = e->text.substr(a, b - a);
        if (c == 24 && hasSel && !ro && ReplaceSel(h, u"") == true) EditChanged(h, true);
        return 0;
      }
      if (ro) return 0;
      if (c == 22) {  // Ctrl+V
        if (ReplaceSel(h, Clipboard())) EditChanged(h, true);
        return 0;
      }
      if (c == 8) {
        if (!hasSel && e->caret > 0) e->anchor = e->caret - 1;
        if (e->anchor != e->caret && ReplaceSel(h, u"")) EditChanged(h, true);
        return 0;
      }
      if (c < 32) return 0;
      if ((GetWindowLong(h, GWL_STYLE) & ES_NUMBER) && (c < u'0' || c > u'9')) return 0;
      if (ReplaceSel(h, std::u16string(1, c))) EditChanged(h, true);
      return 0;
    }
    case WM_KEYDOWN: {
      bool shift = GetKeyState(VK_SHIFT) & 0x8000, ctrl = GetKeyState(VK_CONTROL) & 0x8000;
      int to = e->caret;
      switch (wParam) {
        case VK_LEFT:
          if (!shift && e->anchor != e->caret) to = std::min(e->anchor, e->caret);
          else if (ctrl) {
            while (to > 0 && !IsWordChar(e->text[to - 1])) --to;
            while (to > 0 && IsWordChar(e->text[to - 1])) --to;
          } else {
            to = std::max(0, to - 1);
          }
          break;
        case VK_RIGHT:
          if (!shift && e->anchor != e->caret) to = std::max(e->anchor, e->caret);
          else if (ctrl) {
            while (to < len() && IsWordChar(e->text[to])) ++to;
            while (to < len() && !IsWordChar(e->text[to])) ++to;
          } else {
            to = std::min(len(), to + 1);
          }
          break;
        case VK_HOME: case VK_UP: to = 0; break;
        case VK_END: case VK_DOWN: to = len(); break;
        case VK_DELETE:
          if (ro) return 0;
          if (e->anchor == e->caret && e->caret < len()) e->anchor = e->caret + 1;
          if (e->anchor != e->caret && ReplaceSel(h, u"")) EditChanged(h, true);
          return 0;
        default:
          return DefWindowProc(h, msg, wParam, lParam);
      }
      e->caret = to;
      if (!shift) e->anchor = to;
      EnsureCaretVisible(h);
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    }
    case WM_ENABLE:
      InvalidateRect(h, nullptr, TRUE);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

// ---- COMBOBOX (drop list) ------------------------------------------------------------------------

constexpr int kFieldHeight = 21, kItemHeight = 18;

struct ComboItem {
  std::u16string text;
  LONG_PTR data;
};

struct Combo {
  HFONT font = nullptr;
  std::vector<ComboItem> items;
  int sel = -1, hot = -1, top = 0;
  int dropHeight = 100;
  bool dropped = false, focus = false;
  HWND list = nullptr;
};

int VisibleRows(Combo* c) {
  int rows = std::max(1, (c->dropHeight - kFieldHeight) / kItemHeight);
  return std::max(1, std::min<int>(rows, static_cast<int>(c->items.size())));
}

void ComboClose(HWND h, bool ok);

void SetSelNotify(HWND h, int i) {
  Combo* c = State<Combo>(h);
  int n = static_cast<int>(c->items.size());
  if (n == 0) return;
  i = std::clamp(i, 0, n - 1);
  if (i == c->sel) return;
  c->sel = i;
  InvalidateRect(h, nullptr, TRUE);
  Notify(h, CBN_SELCHANGE);
}

void ListEnsureVisible(Combo* c) {
  int rows = VisibleRows(c);
  if (c->hot < c->top) c->top = std::max(c->hot, 0);
  if (c->hot >= c->top + rows) c->top = c->hot - rows + 1;
}

void ComboOpen(HWND h) {
  Combo* c = State<Combo>(h);
  if (c->dropped) return;
  Notify(h, CBN_DROPDOWN);
  if (!IsWindow(h)) return;
  RECT wr;
  GetWindowRect(h, &wr);
  int rows = VisibleRows(c);
  c->hot = c->sel;
  c->top = 0;
  ListEnsureVisible(c);
  c->dropped = true;
  c->list = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, u"ComboLBox", u"", WS_POPUP, wr.left, wr.bottom + 1,
                            wr.right - wr.left, rows * kItemHeight + 2, h, nullptr, nullptr, h);
  ShowWindow(c->list, SW_SHOWNA);
  SetCapture(c->list);
  InvalidateRect(h, nullptr, TRUE);
}

void ComboClose(HWND h, bool ok) {
  Combo* c = State<Combo>(h);
  if (!c || !c->dropped) return;
  c->dropped = false;
  HWND list = c->list;
  c->list = nullptr;
  if (GetCapture() == list) ReleaseCapture();
  DestroyWindow(list);
  InvalidateRect(h, nullptr, TRUE);
  if (ok && c->hot >= 0 && c->hot != c->sel) {
    c->sel = c->hot;
    Notify(h, CBN_SELCHANGE);
  }
  if (!IsWindow(h)) return;
  Notify(h, ok ? CBN_SELENDOK : CBN_SELENDCANCEL);
  if (IsWindow(h)) Notify(h, CBN_CLOSEUP);
}

int FindItem(Combo* c, int after, LPCWSTR s, bool exact) {
  if (!s) return static_cast<int>(CB_ERR);
  std::u16string key = s;
  int n = static_cast<int>(c->items.size());
  for (int k = 1; k <= n; ++k) {
    int i = (after + k) % n;
    if (i < 0) i += n;
    const std::u16string& t = c->items[i].text;
    if (exact ? t.size() != key.size() : t.size() < key.size()) continue;
    bool same = true;
    for (size_t j = 0; j < key.size() && same; ++j) same = std::towupper(t[j]) == std::towupper(key[j]);
    if (same) return i;
  }
  return static_cast<int>(CB_ERR);
}

void PaintCombo(HWND h, HDC dc) {
  Combo* c = State<Combo>(h);
  bool enabled = IsWindowEnabled(h);
  RECT rc;
  GetClientRect(h, &rc);
  HBRUSH bg = ParentBrush(h, dc, WM_CTLCOLORSTATIC);
  COLORREF text = enabled ? GetSysColor(COLOR_WINDOWTEXT) : kDisabledText;
  FillRect(dc, &rc, bg);
  bool active = c->focus || c->dropped;
  QxUi_RoundRect(dc, &rc, 3, enabled ? (c->dropped ? RGB(229, 241, 251) : kFace) : RGB(245, 245, 245),
                 !enabled ? kDisabledBorder : active ? kAccent : RGB(173, 173, 173));
  if (c->focus && !c->dropped && enabled) {
    RECT line{1, rc.bottom - 2, rc.right - 1, rc.bottom - 1};
    FillRect(dc, &line, GetSysColorBrush(COLOR_HIGHLIGHT));
  }
  if (c->font) SelectObject(dc, c->font);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, text);
  if (c->sel >= 0 && c->sel < static_cast<int>(c->items.size())) {
    RECT tr{6, 0, rc.right - 22, rc.bottom};
    DrawTextW(dc, c->items[c->sel].text.c_str(), -1, &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  }
  Chevron(dc, rc.right - 12.5, rc.bottom / 2.0, enabled ? RGB(96, 96, 96) : kDisabledText);
}

LRESULT ComboProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (LRESULT r; Common<Combo>(h, msg, wParam, lParam, PaintCombo, &r)) return r;
  Combo* c = State<Combo>(h);
  int n = c ? static_cast<int>(c->items.size()) : 0;
  switch (msg) {
    case WM_CREATE: {
      auto* cs = reinterpret_cast<CREATESTRUCTW*>(lParam);
      c->dropHeight = std::max(cs->cy, kFieldHeight + kItemHeight);
      SetWindowPos(h, nullptr, 0, 0, cs->cx, kFieldHeight, SWP_NOMOVE | SWP_NOZORDER);
      return 0;
    }
    case WM_DESTROY:
      if (c->dropped) {
        c->dropped = false;
        DestroyWindow(c->list);
      }
      return 0;
    case CB_ADDSTRING:
    case CB_INSERTSTRING: {
      if (!lParam) return CB_ERR;
      std::u16string s = reinterpret_cast<LPCWSTR>(lParam);
      int at = n;
      if (msg == CB_INSERTSTRING && static_cast<int>(wParam) >= 0) {
        if (static_cast<int>(wParam) > n) return CB_ERR;
        at = static_cast<int>(wParam);
      } else if (msg == CB_ADDSTRING && (GetWindowLong(h, GWL_STYLE) & CBS_SORT)) {
        at = 0;
        auto lower = [](std::u16string v) {
          for (auto& ch : v) ch = static_cast<char16_t>(std::towlower(ch));
          return v;
        };
        while (at < n && lower(c->items[at].text) <= lower(s)) ++at;
      }
      c->items.insert(c->items.begin() + at, ComboItem{s, 0});
      if (c->sel >= at) ++c->sel;
      return at;
    }
    case CB_DELETESTRING:
      if (static_cast<int>(wParam) < 0 || static_cast<int>(wParam) >= n) return CB_ERR;
      c->items.erase(c->items.begin() + wParam);
      if (c->sel == static_cast<int>(wParam)) c->sel = -1;
      else if (c->sel > static_cast<int>(wParam)) --c->sel;
      InvalidateRect(h, nullptr, TRUE);
      return n - 1;
    case CB_RESETCONTENT:
      c->items.clear();
      c->sel = -1;
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    case CB_GETCOUNT:
      return n;
    case CB_GETCURSEL:
      return c->sel;
    case CB_SETCURSEL: {
      int i = static_cast<int>(static_cast<intptr_t>(wParam));
      c->sel = i >= 0 && i < n ? i : -1;
      InvalidateRect(h, nullptr, TRUE);
      return c->sel < 0 ? CB_ERR : c->sel;
    }
    case CB_GETLBTEXT:
    case CB_GETLBTEXTLEN: {
      if (static_cast<int>(wParam) < 0 || static_cast<int>(wParam) >= n) return CB_ERR;
      const std::u16string& t = c->items[wParam].text;
      if (msg == CB_GETLBTEXT && lParam) {
        std::copy(t.begin(), t.end(), reinterpret_cast<WCHAR*>(lParam));
        reinterpret_cast<WCHAR*>(lParam)[t.size()] = 0;
      }
      return static_cast<LRESULT>(t.size());
    }
    case CB_SETITEMDATA:
      if (static_cast<int>(wParam) < 0 || static_cast<int>(wParam) >= n) return CB_ERR;
      c->items[wParam].data = lParam;
      return TRUE;
    case CB_GETITEMDATA:
      if (static_cast<int>(wParam) < 0 || static_cast<int>(wParam) >= n) return CB_ERR;
      return c->items[wParam].data;
    case CB_FINDSTRING:
    case CB_FINDSTRINGEXACT:
      return n ? FindItem(c, static_cast<int>(static_cast<intptr_t>(wParam)), reinterpret_cast<LPCWSTR>(lParam), msg == CB_FINDSTRINGEXACT) : CB_ERR;
    case CB_SELECTSTRING: {
      int i = n ? FindItem(c, static_cast<int>(static_cast<intptr_t>(wParam)), reinterpret_cast<LPCWSTR>(lParam), false) : -1;
      if (i >= 0) {
        c->sel = i;
        InvalidateRect(h, nullptr, TRUE);
      }
      return i;
    }
    case CB_SHOWDROPDOWN:
      if (wParam) ComboOpen(h);
      else ComboClose(h, false);
      return TRUE;
    case CB_GETDROPPEDSTATE:
      return c->dropped;
    case CB_GETITEMHEIGHT:
      return static_cast<int>(wParam) == -1 ? kFieldHeight : kItemHeight;
    case CB_GETDROPPEDCONTROLRECT: {
      RECT wr;
      GetWindowRect(h, &wr);
      wr.bottom = wr.top + c->dropHeight;
      if (lParam) *reinterpret_cast<RECT*>(lParam) = wr;
      return TRUE;
    }
    case WM_GETTEXT:
    case WM_GETTEXTLENGTH: {
      std::u16string t = c->sel >= 0 ? c->items[c->sel].text : u"";
      if (msg == WM_GETTEXTLENGTH) return static_cast<LRESULT>(t.size());
      if (!wParam || !lParam) return 0;
      size_t k = std::min<size_t>(t.size(), wParam - 1);
      std::copy(t.begin(), t.begin() + k, reinterpret_cast<WCHAR*>(lParam));
      reinterpret_cast<WCHAR*>(lParam)[k] = 0;
      return static_cast<LRESULT>(k);
    }
    case WM_SETTEXT:
      return CB_ERR;
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS | DLGC_WANTCHARS | (c->dropped ? DLGC_WANTMESSAGE : 0);
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      SetFocus(h);
      if (!IsWindow(h)) return 0;
      if (c->dropped) ComboClose(h, false);
      else ComboOpen(h);
      return 0;
    case WM_SYSKEYDOWN:
      if (wParam == VK_DOWN || wParam == VK_UP) {
        if (c->dropped) ComboClose(h, true);
        else ComboOpen(h);
        return 0;
      }
      return DefWindowProc(h, msg, wParam, lParam);
    case WM_KEYDOWN: {
      if (wParam == VK_F4) {
        if (c->dropped) ComboClose(h, true);
        else ComboOpen(h);
        return 0;
      }
      int page = VisibleRows(c);
      int cur = c->dropped ? c->hot : c->sel;
      int to = cur;
      switch (wParam) {
        case VK_UP: case VK_LEFT: to = cur - 1; break;
        case VK_DOWN: case VK_RIGHT: to = cur + 1; break;
        case VK_HOME: to = 0; break;
        case VK_END: to = n - 1; break;
        case VK_PRIOR: to = cur - page; break;
        case VK_NEXT: to = cur + page; break;
        case VK_RETURN: if (c->dropped) ComboClose(h, true); return 0;
        case VK_ESCAPE: if (c->dropped) ComboClose(h, false); return 0;
        default: return DefWindowProc(h, msg, wParam, lParam);
      }
      if (n == 0) return 0;
      to = std::clamp(to, 0, n - 1);
      if (c->dropped) {
        c->hot = to;
        ListEnsureVisible(c);
        InvalidateRect(c->list, nullptr, TRUE);
      } else {
        SetSelNotify(h, to);
      }
      return 0;
    }
    case WM_CHAR: {
      WCHAR ch[2] = {static_cast<WCHAR>(wParam), 0};
      if (wParam < 32 || n == 0) return 0;
      int i = FindItem(c, c->dropped ? c->hot : c->sel, ch, false);
      if (i < 0) return 0;
      if (c->dropped) {
        c->hot = i;
        ListEnsureVisible(c);
        InvalidateRect(c->list, nullptr, TRUE);
      } else {
        SetSelNotify(h, i);
      }
      return 0;
    }
    case WM_MOUSEWHEEL:
      if (!c->dropped && n) SetSelNotify(h, (c->sel < 0 ? 0 : c->sel) - GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA);
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      c->focus = msg == WM_SETFOCUS;
      if (!c->focus) ComboClose(h, false);
      InvalidateRect(h, nullptr, TRUE);
      if (IsWindow(h)) Notify(h, c->focus ? CBN_SETFOCUS : CBN_KILLFOCUS);
      return 0;
    case WM_CANCELMODE:
      ComboClose(h, false);
      return 0;
    case WM_ENABLE:
      if (!wParam) ComboClose(h, false);
      InvalidateRect(h, nullptr, TRUE);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

// The drop-down list: a popup of its own that holds the capture while it is open.
LRESULT ComboListProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  HWND combo = reinterpret_cast<HWND>(GetWindowLongPtr(h, GWLP_USERDATA));
  Combo* c = combo ? State<Combo>(combo) : nullptr;
  switch (msg) {
    case WM_CREATE:
      SetWindowLongPtr(h, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
      return 0;
    case WM_MOUSEMOVE:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP: {
      if (!c) return 0;
      RECT rc;
      GetClientRect(h, &rc);
      POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      bool in = PtInRect(&rc, pt);
      if (msg == WM_LBUTTONDOWN && !in) {
        ComboClose(combo, false);
        return 0;
      }
      if (!in) return 0;
      int i = c->top + (pt.y - 1) / kItemHeight;
      if (i >= static_cast<int>(c->items.size())) return 0;
      if (i != c->hot) {
        c->hot = i;
        InvalidateRect(h, nullptr, TRUE);
      }
      if (msg == WM_LBUTTONUP) ComboClose(combo, true);
      return 0;
    }
    case WM_MOUSEWHEEL:
      if (c) {
        int rows = VisibleRows(c), n = static_cast<int>(c->items.size());
        c->top = std::clamp(c->top - GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA, 0, std::max(0, n - rows));
        InvalidateRect(h, nullptr, TRUE);
      }
      return 0;
    case WM_CAPTURECHANGED:
      if (c && c->dropped && reinterpret_cast<HWND>(lParam) != h) ComboClose(combo, false);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      RECT rc;
      GetClientRect(h, &rc);
      FillRect(dc, &rc, GetSysColorBrush(COLOR_WINDOW));
      if (c) {
        if (c->font) SelectObject(dc, c->font);
        SetBkMode(dc, TRANSPARENT);
        int rows = VisibleRows(c);
        for (int r = 0; r < rows && c->top + r < static_cast<int>(c->items.size()); ++r) {
          int i = c->top + r;
          RECT ir{1, 1 + r * kItemHeight, rc.right - 1, 1 + (r + 1) * kItemHeight};
          bool hot = i == c->hot;
          if (hot) FillRect(dc, &ir, GetSysColorBrush(COLOR_HIGHLIGHT));
          SetTextColor(dc, GetSysColor(hot ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
          RECT tr = ir;
          tr.left += 6;
          DrawTextW(dc, c->items[i].text.c_str(), -1, &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
        }
        int n = static_cast<int>(c->items.size());
        if (n > rows) {  // a slim position mark in place of a scroll bar
          int track = rc.bottom - 4, len = std::max(12, track * rows / n);
          int y = 2 + (track - len) * c->top / std::max(1, n - rows);
          RECT th{rc.right - 5, y, rc.right - 2, y + len};
          QxUi_RoundRect(dc, &th, 1.5, RGB(194, 194, 194), CLR_NONE);
        }
      }
      FrameRect(dc, &rc, GetSysColorBrush(COLOR_3DSHADOW));
      EndPaint(h, &ps);
      return 0;
    }
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

void RegisterSystemClass(LPCWSTR name, WNDPROC proc, int extra, UINT style, HBRUSH bg) {
  WNDCLASSW wc{};
  wc.style = style | CS_GLOBALCLASS;
  wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(proc);
  wc.cbWndExtra = extra;
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = bg;
  wc.lpszClassName = name;
  RegisterClassW(&wc);
}

}  // namespace

namespace qxui {
void EnsureSystemClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    RegisterSystemClass(u"BUTTON", ButtonProc, 8, CS_DBLCLKS, nullptr);
    RegisterSystemClass(u"STATIC", StaticProc, 8, CS_DBLCLKS, nullptr);
    RegisterSystemClass(u"EDIT", EditProc, 8, CS_DBLCLKS, nullptr);
    RegisterSystemClass(u"COMBOBOX", ComboProc, 8, CS_DBLCLKS, nullptr);
    RegisterSystemClass(u"ComboLBox", ComboListProc, 0, 0, nullptr);
    RegisterSystemClass(u"#32770", DialogClassProc(), DLGWINDOWEXTRA, CS_DBLCLKS, reinterpret_cast<HBRUSH>(COLOR_3DFACE + 1));
    RegisterSystemClass(u"#32768", MenuWndProc, 8, 0, nullptr);
  });
}
}  // namespace qxui
