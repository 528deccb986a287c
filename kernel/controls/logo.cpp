// Logo strip: item layout, hit test, hover with its tracking timer, the press and release rules
// that answer the parent, and the drawing of background, emblem, title, pictures and text buttons.
#include "kernel/controls/logo.h"

#include <cairo.h>

#include <algorithm>
#include <string>

#include "kernel/controls/browse.h"
#include "kernel/controls/inst_window.h"

namespace {

constexpr UINT_PTR kTrackTimer = 1;
constexpr UINT kTrackMs = 100;
constexpr COLORREF kTransparentKey = RGB(255, 0, 255);
constexpr COLORREF kPlainBackground = RGB(33, 41, 54);
constexpr COLORREF kTitleText = RGB(241, 245, 249);
constexpr COLORREF kButtonText = RGB(226, 232, 240);
constexpr COLORREF kDimText = RGB(120, 132, 150);
constexpr COLORREF kAccent = RGB(56, 189, 248);

int OwnId(const LogoRec* r) { return GetDlgCtrlID(r->hwnd); }

std::u16string Title(HWND h) {
  std::u16string s(static_cast<size_t>(GetWindowTextLengthW(h)) + 1, u'\0');
  s.resize(static_cast<size_t>(GetWindowTextW(h, s.data(), static_cast<int>(s.size()))));
  return s;
}

LogoItem* Find(LogoRec* r, int id) {
  for (auto& it : r->items)
    if (it.id == id) return &it;
  return nullptr;
}

SIZE BitmapSize(HBITMAP b) {
  BITMAP bm{};
  if (!b || !GetObjectW(b, sizeof bm, &bm)) return SIZE{0, 0};
  return SIZE{bm.bmWidth, bm.bmHeight};
}

HFONT MakeFont(int pixels, int weight, const char16_t* face) {
  LOGFONTW lf{};
  lf.lfHeight = -pixels;
  lf.lfWeight = weight;
  std::char_traits<char16_t>::copy(lf.lfFaceName, face, std::char_traits<char16_t>::length(face) + 1);
  return CreateFontIndirectW(&lf);
}

int TextWidth(HDC dc, HFONT font, const std::u16string& text) {
  if (text.empty()) return 0;
  SelectObject(dc, font);
  SIZE sz{};
  GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &sz);
  return sz.cx;
}

// Picture items from the left, then emblem and title; text buttons from the right, in the order added.
void Layout(LogoRec* r) {
  RECT rc;
  GetClientRect(r->hwnd, &rc);
  int W = rc.right, H = rc.bottom;
  if (r->titleFont) DeleteObject(r->titleFont);
  if (r->itemFont) DeleteObject(r->itemFont);
  r->titleFont = MakeFont(std::clamp(H * 9 / 20, 10, 22), FW_BOLD, u"DejaVu Sans");
  r->itemFont = MakeFont(std::clamp(H * 7 / 20, 9, 16), FW_NORMAL, u"DejaVu Sans");
  int pad = std::max(2, H / 6), inner = std::max(0, H - 2 * pad);
  HDC dc = GetDC(r->hwnd);

  int cell = BitmapSize(r->bitmaps[1]).cx / QX_LOGO_LOOKS;
  int side = cell > 0 ? std::min(inner, cell) : inner;
  int x = pad + 2;
  for (auto& it : r->items) {
    if (it.kind != 0) continue;
    SetRect(&it.rect, x, (H - side) / 2, x + side, (H - side) / 2 + side);
    x += side + pad;
  }
  int right = W - pad - 2;
  for (auto it = r->items.rbegin(); it != r->items.rend(); ++it) {
    if (it->kind != 1) continue;
    int w = std::max(inner, TextWidth(dc, r->itemFont, it->text) + inner);
    SetRect(&it->rect, right - w, pad, right, H - pad);
    right -= w + std::max(3, pad / 2);
  }
  SIZE em = BitmapSize(r->bitmaps[2]);
  int eh = std::min<int>(inner, em.cy), ew = em.cy > 0 ? em.cx * eh / em.cy : 0;
  int tw = TextWidth(dc, r->titleFont, Title(r->hwnd));
  // A strip without a title is a banner: all of it between the items answers the strip's own id.
  int end = tw ? std::min(right - pad, x + ew + (ew ? pad : 0) + tw) : right - pad;
  SetRect(&r->titleRect, x, pad, std::max(x, end), H - pad);
  ReleaseDC(r->hwnd, dc);
}

void Relayout(LogoRec* r) {
  Layout(r);
  InvalidateRect(r->hwnd, nullptr, FALSE);
}

void SetHot(LogoRec* r, int id) {
  if (id == r->hotItem) return;
  r->hotItem = id;
  for (auto& it : r->items) it.hot = it.id == id;
  InvalidateRect(r->hwnd, nullptr, FALSE);
}

void ClearPress(LogoRec* r) {
  if (r->pressedItem || r->pressStart) InvalidateRect(r->hwnd, nullptr, FALSE);
  r->pressedItem = 0;
  r->pressStart = 0;
}

void Press(LogoRec* r, POINT pt) {
  if (GetCapture() != r->hwnd) SetCapture(r->hwnd);
  r->pressedItem = 0;
  r->pressStart = 0;
  int hit = QxLogo_HitTest(r, pt);
  if (hit == OwnId(r)) {
    r->pressStart = hit;
  } else if (LogoItem* it = Find(r, hit); it && it->enabled) {
    r->pressedItem = hit;
    r->pressStart = hit;
  }
  InvalidateRect(r->hwnd, nullptr, FALSE);
}

void Release(LogoRec* r, POINT pt) {
  int start = r->pressStart;
  HWND h = r->hwnd, parent = GetParent(h);
  ClearPress(r);
  if (GetCapture() == h) ReleaseCapture();
  if (start <= 0 || QxLogo_HitTest(r, pt) != start) return;
  // The parent may rebuild or destroy the strip in answer: the record is not touched after this.
  bool own = start == OwnId(r);
  if (GetWindowTextLengthW(h) == 0) {
    if (own) SendMessage(parent, QXLM_TITLECLICK, static_cast<WPARAM>(start), reinterpret_cast<LPARAM>(h));
  } else if (own && !r->noLink) {
    Internet_BrowseWebPage(parent, QX_LOGO_WEB_TOPIC);
  } else {
    SendMessage(parent, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(start), BN_CLICKED), reinterpret_cast<LPARAM>(h));
  }
}

// ---- drawing ---------------------------------------------------------------------------------------

void Blit(HDC dc, HBITMAP b, const RECT& to, int sx, int sy, int sw, int sh) {
  HDC mem = CreateCompatibleDC(dc);
  HGDIOBJ old = SelectObject(mem, b);
  TransparentBlt(dc, to.left, to.top, to.right - to.left, to.bottom - to.top, mem, sx, sy, sw, sh, kTransparentKey);
  SelectObject(mem, old);
  DeleteDC(mem);
}

void Rgba(cairo_t* cr, COLORREF c, double a) {
  cairo_set_source_rgba(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0, a);
}

void Pill(cairo_t* cr, const RECT& rc, COLORREF fill, double fillAlpha, COLORREF line, double lineAlpha) {
  double x = rc.left + 0.5, y = rc.top + 0.5, w = rc.right - rc.left - 1.0, h = rc.bottom - rc.top - 1.0;
  QxUi_RoundRectPath(cr, x, y, w, h, std::min(h / 2, 6.0));
  Rgba(cr, fill, fillAlpha);
  cairo_fill_preserve(cr);
  Rgba(cr, line, lineAlpha);
  cairo_set_line_width(cr, 1.0);
  cairo_stroke(cr);
}

QxLogoLook LookOf(const LogoRec* r, const LogoItem& it) {
  if (!it.enabled) return QX_LOOK_DISABLED;
  if (r->pressedItem == it.id && r->hotItem == it.id) return QX_LOOK_PUSHED;
  if (it.state == 2) return it.hot ? QX_LOOK_ON_HOT : QX_LOOK_ON;
  return it.hot ? QX_LOOK_HOT : QX_LOOK_REST;
}

void DrawStrip(const LogoRec* r, HDC dc, int W, int H) {
  RECT all{0, 0, W, H};
  if (SIZE bg = BitmapSize(r->bitmaps[0]); bg.cx > 0) {
    // Stretched across; a background taller than the strip keeps its bottom rows unscaled.
    int sh = std::min<int>(bg.cy, H);
    Blit(dc, r->bitmaps[0], all, 0, bg.cy - sh, bg.cx, sh);
  } else {
    HBRUSH b = CreateSolidBrush(kPlainBackground);
    FillRect(dc, &all, b);
    DeleteObject(b);
  }
  cairo_t* cr = QxUi_Cairo(dc);
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  SetBkMode(dc, TRANSPARENT);

  int cell = BitmapSize(r->bitmaps[1]).cx / QX_LOGO_LOOKS;
  for (const auto& it : r->items) {
    QxLogoLook look = LookOf(r, it);
    if (it.kind == 0) {
      if (cell > 0) {
        Blit(dc, r->bitmaps[1], it.rect, look * cell, it.bitmapIndex * cell, cell, cell);
      } else {
        bool on = look == QX_LOOK_ON || look == QX_LOOK_ON_HOT || look == QX_LOOK_PUSHED;
        Pill(cr, it.rect, on ? kAccent : kButtonText, on ? 0.5 : 0.12, kButtonText, 0.3);
      }
      continue;
    }
    switch (look) {
      case QX_LOOK_DISABLED: Pill(cr, it.rect, kButtonText, 0.04, kButtonText, 0.10); break;
      case QX_LOOK_PUSHED: Pill(cr, it.rect, kAccent, 0.45, kAccent, 0.9); break;
      case QX_LOOK_ON:
      case QX_LOOK_ON_HOT: Pill(cr, it.rect, kAccent, look == QX_LOOK_ON ? 0.28 : 0.36, kAccent, 0.7); break;
      case QX_LOOK_HOT: Pill(cr, it.rect, kButtonText, 0.20, kButtonText, 0.45); break;
      default: Pill(cr, it.rect, kButtonText, 0.08, kButtonText, 0.22);
    }
    SelectObject(dc, r->itemFont);
    SetTextColor(dc, look == QX_LOOK_DISABLED ? kDimText : kButtonText);
    RECT t = it.rect;
    DrawTextW(dc, it.text, -1, &t, DT_SINGLELINE | DT_CENTER | DT_VCENTER | DT_NOPREFIX);
  }

  RECT t = r->titleRect;
  if (SIZE em = BitmapSize(r->bitmaps[2]); em.cy > 0 && t.right > t.left) {
    int eh = std::min<int>(t.bottom - t.top, em.cy), ew = em.cx * eh / em.cy;
    int top = (H - eh) / 2;
    Blit(dc, r->bitmaps[2], RECT{t.left, top, t.left + ew, top + eh}, 0, 0, em.cx, em.cy);
    t.left += ew + std::max(2, H / 6);
  }
  std::u16string title = Title(r->hwnd);
  if (!title.empty() && t.right > t.left) {
    SelectObject(dc, r->titleFont);
    SetTextColor(dc, RGB(10, 14, 20));
    RECT s = t;
    OffsetRect(&s, 0, 1);
    UINT fmt = DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX;
    DrawTextW(dc, title.c_str(), -1, &s, fmt);
    SetTextColor(dc, kTitleText);
    DrawTextW(dc, title.c_str(), -1, &t, fmt);
    if (r->hotItem == OwnId(r) && !r->noLink) {
      RECT m = t;
      DrawTextW(dc, title.c_str(), -1, &m, fmt | DT_CALCRECT);
      int y = (H + (m.bottom - m.top)) / 2 - 1;
      RECT line{t.left, y, std::min(t.right, m.right), y + 1};
      HBRUSH b = CreateSolidBrush(kAccent);
      FillRect(dc, &line, b);
      DeleteObject(b);
    }
  }
  cairo_restore(cr);
}

void Paint(const LogoRec* r) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(r->hwnd, &ps);
  RECT rc;
  GetClientRect(r->hwnd, &rc);
  // Drawn off screen first, so the strip never shows half painted.
  HDC mem = CreateCompatibleDC(dc);
  HBITMAP buffer = CreateCompatibleBitmap(dc, rc.right, rc.bottom);
  HGDIOBJ old = SelectObject(mem, buffer);
  DrawStrip(r, mem, rc.right, rc.bottom);
  BitBlt(dc, 0, 0, rc.right, rc.bottom, mem, 0, 0, SRCCOPY);
  SelectObject(mem, old);
  DeleteObject(buffer);
  DeleteDC(mem);
  EndPaint(r->hwnd, &ps);
}

POINT PointOf(LPARAM lParam) { return POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)}; }

}  // namespace

int QxLogo_HitTest(const LogoRec* r, POINT pt) {
  for (const auto& it : r->items)
    if (PtInRect(&it.rect, pt)) return it.id;
  return PtInRect(&r->titleRect, pt) ? GetDlgCtrlID(r->hwnd) : -1;
}

LRESULT LogoInst_Message(LogoRec* r, UINT msg, WPARAM wParam, LPARAM lParam) {
  HWND h = r->hwnd;
  switch (msg) {
    case WM_NCDESTROY:
      if (r->trackTimer) KillTimer(h, r->trackTimer);
      if (r->titleFont) DeleteObject(r->titleFont);
      if (r->itemFont) DeleteObject(r->itemFont);
      r->titleFont = r->itemFont = nullptr;
      break;
    case QXLM_CLEAR:
      r->items.clear();
      r->hotItem = -1;
      ClearPress(r);
      Relayout(r);
      return 0;
    case QXLM_ADDTEXT: {
      LogoItem it;
      it.kind = 1;
      it.id = LOWORD(wParam);
      if (auto* text = reinterpret_cast<LPCWSTR>(lParam))
        for (int i = 0; i < 64 && text[i]; ++i) it.text[i] = text[i];
      r->items.push_back(it);
      Layout(r);
      if (HIWORD(wParam)) InvalidateRect(h, nullptr, FALSE);
      return TRUE;
    }
    case QXLM_SETNOLINK:
      r->noLink = static_cast<int>(wParam);
      return 0;
    case QXLM_ADDPICTURE: {
      LogoItem it;
      it.id = static_cast<int>(wParam);
      it.bitmapIndex = static_cast<int>(lParam);
      r->items.push_back(it);
      Relayout(r);
      return TRUE;
    }
    case QXLM_SETBACKGROUND:
    case QXLM_SETPICTURES:
    case QXLM_SETEMBLEM:
      r->bitmaps[msg - QXLM_SETBACKGROUND] = reinterpret_cast<HBITMAP>(lParam);
      Relayout(r);
      return TRUE;
    case QXLM_SETPRESSED:
    case QXLM_ENABLEITEM: {
      LogoItem* it = Find(r, static_cast<int>(wParam));
      if (!it) return FALSE;
      if (msg == QXLM_SETPRESSED) it->state = lParam ? 2 : 0;
      else it->enabled = static_cast<int>(lParam);
      InvalidateRect(h, nullptr, FALSE);
      return TRUE;
    }
    case WM_SETTEXT: {
      LRESULT res = DefWindowProc(h, msg, wParam, lParam);
      Relayout(r);
      return res;
    }
    case WM_SIZE:
      Relayout(r);
      return 0;
    case WM_MOUSEMOVE:
      SetHot(r, QxLogo_HitTest(r, PointOf(lParam)));
      if (!r->trackTimer) r->trackTimer = SetTimer(h, kTrackTimer, kTrackMs, nullptr);
      return 0;
    case WM_TIMER:
      if (wParam != kTrackTimer) break;
      {
        POINT pt;
        GetCursorPos(&pt);
        ScreenToClient(h, &pt);
        RECT rc;
        GetClientRect(h, &rc);
        int hit = PtInRect(&rc, pt) ? QxLogo_HitTest(r, pt) : -1;
        SetHot(r, hit);
        if (hit == -1 && GetCapture() != h) {
          KillTimer(h, r->trackTimer);
          r->trackTimer = 0;
        }
      }
      return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      Press(r, PointOf(lParam));
      return 0;
    case WM_LBUTTONUP:
      Release(r, PointOf(lParam));
      return 0;
    case WM_CAPTURECHANGED:
      if (reinterpret_cast<HWND>(lParam) != h) ClearPress(r);
      return 0;
    case WM_CANCELMODE:
      ClearPress(r);
      if (GetCapture() == h) ReleaseCapture();
      return 0;
    case WM_SETCURSOR:
      if (reinterpret_cast<HWND>(wParam) == h) {
        POINT pt;
        GetCursorPos(&pt);
        ScreenToClient(h, &pt);
        bool link = GetWindowTextLengthW(h) == 0 || !r->noLink;
        if (link && QxLogo_HitTest(r, pt) == OwnId(r) && OwnId(r) > 0) {
          SetCursor(LoadCursorW(nullptr, IDC_HAND));
          return TRUE;
        }
      }
      break;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT:
      Paint(r);
      return 0;
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

BOOL LogoRegisterClass(HINSTANCE module, HCURSOR cursor) {
  return QxRegisterInstClass(QX_LOGO_CLASS, QxInstWindowProc<LogoRec, LogoInst_Message>, module, cursor, 0);
}
void LogoUnregisterClass(HINSTANCE module) { UnregisterClassW(QX_LOGO_CLASS, module); }
