// Static control: picture placement and ownership, the private DIB copy, the link's press, keys and
// cursor, and its drawing.
#include "kernel/controls/static_control.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kernel/controls/inst_window.h"
#include "platform/ui/dialog.h"

namespace {

constexpr COLORREF kLink = RGB(0, 95, 184);
constexpr COLORREF kDisabledText = RGB(160, 160, 160);
constexpr COLORREF kTransparentKey = RGB(255, 0, 255);
constexpr LONG kMaxDibSide = 16384;

DWORD Style(const StaticRec* r) { return static_cast<DWORD>(GetWindowLong(r->hwnd, GWL_STYLE)); }
bool IsLink(const StaticRec* r) { return Style(r) & QXSS_LINK; }

std::u16string Text(HWND h) {
  std::u16string s(static_cast<size_t>(GetWindowTextLengthW(h)) + 1, u'\0');
  s.resize(static_cast<size_t>(GetWindowTextW(h, s.data(), static_cast<int>(s.size()))));
  return s;
}

HBITMAP Picture(const StaticRec* r) { return r->picture ? r->picture : r->dibPicture; }

void FreePicture(HBITMAP* b) {
  if (*b) DeleteObject(*b);
  *b = nullptr;
}

// Colours of a DIB's palette entries; an index past the table is black.
struct DibView {
  BITMAPINFOHEADER hdr;
  const BYTE* table;
  DWORD colours;
  const BYTE* bits;
  size_t stride, total;
};

bool ReadDib(const BYTE* p, DibView* v) {
  std::memcpy(&v->hdr, p, sizeof v->hdr);
  const BITMAPINFOHEADER& h = v->hdr;
  LONG height = h.biHeight < 0 ? -h.biHeight : h.biHeight;
  WORD bits = h.biBitCount;
  if (h.biSize < sizeof(BITMAPINFOHEADER) || h.biSize > 4096 || h.biCompression != BI_RGB || h.biWidth <= 0 ||
      h.biWidth > kMaxDibSide || height <= 0 || height > kMaxDibSide)
    return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
  v->colours = bits <= 8 ? (h.biClrUsed && h.biClrUsed < (1u << bits) ? h.biClrUsed : 1u << bits) : 0;
  v->stride = ((static_cast<size_t>(h.biWidth) * bits + 31) / 32) * 4;
  v->table = p + h.biSize;
  v->bits = v->table + v->colours * sizeof(RGBQUAD);
  v->total = h.biSize + v->colours * sizeof(RGBQUAD) + v->stride * static_cast<size_t>(height);
  return true;
}

HBITMAP DibToBitmap(const DibView& v) {
  int w = v.hdr.biWidth, h = v.hdr.biHeight < 0 ? -v.hdr.biHeight : v.hdr.biHeight;
  std::vector<uint32_t> px(static_cast<size_t>(w) * h);
  auto entry = [&](unsigned i) -> uint32_t {
    if (i >= v.colours) return 0xFF000000u;
    const BYTE* q = v.table + i * sizeof(RGBQUAD);
    return 0xFF000000u | (q[2] << 16) | (q[1] << 8) | q[0];
  };
  for (int y = 0; y < h; ++y) {
    const BYTE* row = v.bits + v.stride * static_cast<size_t>(v.hdr.biHeight < 0 ? y : h - 1 - y);
    uint32_t* out = px.data() + static_cast<size_t>(y) * w;
    for (int x = 0; x < w; ++x) {
      switch (v.hdr.biBitCount) {
        case 1: out[x] = entry((row[x >> 3] >> (7 - (x & 7))) & 1); break;
        case 4: out[x] = entry((row[x >> 1] >> ((x & 1) ? 0 : 4)) & 15); break;
        case 8: out[x] = entry(row[x]); break;
        case 16: {
          unsigned c = row[2 * x] | (row[2 * x + 1] << 8);
          auto five = [](unsigned f) { return (f & 31) * 255 / 31; };
          out[x] = 0xFF000000u | (five(c >> 10) << 16) | (five(c >> 5) << 8) | five(c);
          break;
        }
        default: {
          const BYTE* q = row + x * (v.hdr.biBitCount / 8);
          out[x] = 0xFF000000u | (q[2] << 16) | (q[1] << 8) | q[0];
        }
      }
    }
  }
  return CreateBitmap(w, h, 1, 32, px.data());
}

UINT TextFormat(const StaticRec* r) {
  DWORD s = Style(r);
  UINT fmt = DT_NOPREFIX | DT_WORDBREAK;
  if ((s & SS_TYPEMASK) == SS_CENTER) fmt |= DT_CENTER;
  if ((s & SS_TYPEMASK) == SS_RIGHT) fmt |= DT_RIGHT;
  return fmt;
}

// The live area: the placed picture, or the extent of the text where the alignment puts it.
void Layout(StaticRec* r) {
  RECT rc;
  GetClientRect(r->hwnd, &rc);
  if (HBITMAP pic = Picture(r)) {
    BITMAP bm{};
    GetObjectW(pic, sizeof bm, &bm);
    r->live = QxStatic_PlacePicture(Style(r), rc.right, rc.bottom, bm.bmWidth, bm.bmHeight);
    OffsetRect(&r->live, r->user[0], r->user[1]);
    return;
  }
  std::u16string text = Text(r->hwnd);
  if (text.empty()) {
    SetRectEmpty(&r->live);
    return;
  }
  HDC dc = GetDC(r->hwnd);
  if (r->font) SelectObject(dc, r->font);
  RECT t = rc;
  UINT fmt = TextFormat(r);
  DrawTextW(dc, text.c_str(), -1, &t, fmt | DT_CALCRECT);
  ReleaseDC(r->hwnd, dc);
  int w = std::min<int>(t.right - t.left, rc.right), h = std::min<int>(t.bottom - t.top, rc.bottom);
  int x = (fmt & DT_CENTER) ? (rc.right - w) / 2 : (fmt & DT_RIGHT) ? rc.right - w : 0;
  int y = (Style(r) & SS_CENTERIMAGE) ? (rc.bottom - h) / 2 : 0;
  SetRect(&r->live, x, y, x + w, y + h);
}

void Changed(StaticRec* r) {
  Layout(r);
  InvalidateRect(r->hwnd, nullptr, TRUE);
}

void NotifyLink(StaticRec* r) {
  NMHDR nm{r->hwnd, static_cast<uintptr_t>(GetDlgCtrlID(r->hwnd)), static_cast<UINT>(QXN_LINK)};
  SendMessage(GetParent(r->hwnd), WM_NOTIFY, nm.idFrom, reinterpret_cast<LPARAM>(&nm));
}

bool InLive(const StaticRec* r, LPARAM lParam) {
  POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  return PtInRect(&r->live, pt);
}

void Paint(StaticRec* r, HDC dc) {
  RECT rc;
  GetClientRect(r->hwnd, &rc);
  SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(dc, GetSysColor(COLOR_3DFACE));
  auto bg = reinterpret_cast<HBRUSH>(
      SendMessage(GetParent(r->hwnd), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(r->hwnd)));
  FillRect(dc, &rc, bg ? bg : GetSysColorBrush(COLOR_3DFACE));
  if (HBITMAP pic = Picture(r)) {
    BITMAP bm{};
    GetObjectW(pic, sizeof bm, &bm);
    HDC mem = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(mem, pic);
    TransparentBlt(dc, r->live.left, r->live.top, r->live.right - r->live.left, r->live.bottom - r->live.top, mem, 0, 0,
                   bm.bmWidth, bm.bmHeight, kTransparentKey);
    SelectObject(mem, old);
    DeleteDC(mem);
  } else if (!IsRectEmpty(&r->live)) {
    if (r->font) SelectObject(dc, r->font);
    SetBkMode(dc, TRANSPARENT);
    bool enabled = IsWindowEnabled(r->hwnd);
    if (!enabled) SetTextColor(dc, kDisabledText);
    else if (IsLink(r)) SetTextColor(dc, kLink);
    std::u16string text = Text(r->hwnd);
    RECT t = r->live;
    DrawTextW(dc, text.c_str(), -1, &t, TextFormat(r));
    if (IsLink(r)) {
      TEXTMETRICW tm{};
      GetTextMetricsW(dc, &tm);
      RECT line{r->live.left, r->live.top + tm.tmAscent + 1, r->live.right, r->live.top + tm.tmAscent + 2};
      HBRUSH b = CreateSolidBrush(enabled ? kLink : kDisabledText);
      FillRect(dc, &line, b);
      DeleteObject(b);
    }
  }
  if (r->focused && IsLink(r) && !IsRectEmpty(&r->live)) {
    RECT f = r->live;
    InflateRect(&f, 1, 1);
    DrawFocusRect(dc, &f);
  }
}

}  // namespace

RECT QxStatic_PlacePicture(DWORD style, int W, int H, int w, int h) {
  if (w <= 0 || h <= 0) return RECT{0, 0, 0, 0};
  if (style & QXSS_FILL) return RECT{0, 0, W, H};
  int dw = w, dh = h;
  if (style & QXSS_SCALE) {
    int lw = std::max(0, std::min(2 * w, W)), lh = std::max(0, std::min(2 * h, H));
    if (static_cast<int64_t>(lw) * h <= static_cast<int64_t>(lh) * w) {
      dw = lw;
      dh = static_cast<int>(static_cast<int64_t>(h) * lw / w);
    } else {
      dh = lh;
      dw = static_cast<int>(static_cast<int64_t>(w) * lh / h);
    }
  }
  if ((style & QXSS_CENTERIFFITS) && (dw > W || dh > H)) return RECT{0, 0, dw, dh};
  int x = (W - dw) / 2, y = (H - dh) / 2;
  return RECT{x, y, x + dw, y + dh};
}

LRESULT StaticInst_Message(StaticRec* r, UINT msg, WPARAM wParam, LPARAM lParam) {
  HWND h = r->hwnd;
  switch (msg) {
    case WM_NCDESTROY:
      FreePicture(&r->picture);
      FreePicture(&r->dibPicture);
      break;
    case QXSM_LOADPICTURE: {
      // The old picture goes first, so a picture is never held twice.
      FreePicture(&r->picture);
      HINSTANCE module = wParam ? reinterpret_cast<HINSTANCE>(wParam) : GetWindowInstance(h);
      r->picture = static_cast<HBITMAP>(
          LoadImageW(module, MAKEINTRESOURCEW(static_cast<WORD>(lParam)), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION));
      Changed(r);
      return r->picture != nullptr;
    }
    case QXSM_SETPICTURE: {
      auto pic = reinterpret_cast<HBITMAP>(lParam);
      if (pic != r->picture) FreePicture(&r->picture);
      r->picture = pic;
      Changed(r);
      return pic != nullptr;
    }
    case QXSM_SETDIB: {
      FreePicture(&r->dibPicture);
      r->dib.clear();
      DibView v{};
      bool ok = lParam && ReadDib(reinterpret_cast<const BYTE*>(lParam), &v);
      if (ok) {
        auto* p = reinterpret_cast<const BYTE*>(lParam);
        r->dib.assign(p, p + v.total);
        ReadDib(r->dib.data(), &v);
        r->dibPicture = DibToBitmap(v);
      }
      Changed(r);
      return ok && r->dibPicture;
    }
    case QXSM_SETOFFSET:
      r->user[0] = static_cast<int>(wParam);
      r->user[1] = static_cast<int>(lParam);
      Changed(r);
      return 0;
    case WM_SETTEXT: {
      LRESULT res = DefWindowProc(h, msg, wParam, lParam);
      Changed(r);
      return res;
    }
    case WM_SETFONT:
      r->font = reinterpret_cast<HFONT>(wParam);
      Layout(r);
      if (lParam) InvalidateRect(h, nullptr, TRUE);
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(r->font);
    case WM_SIZE:
      Changed(r);
      return 0;
    case WM_ENABLE:
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      r->focused = msg == WM_SETFOCUS;
      InvalidateRect(h, nullptr, TRUE);
      return 0;
    case WM_NCHITTEST:
      return (Style(r) & QXSS_HITS) ? HTCLIENT : HTTRANSPARENT;
    case WM_GETDLGCODE: {
      if (!IsLink(r)) return DLGC_STATIC;
      // The dialog keeps Enter, and Escape unless it would end a held press.
      auto* m = reinterpret_cast<const MSG*>(lParam);
      if (m && m->message == WM_KEYDOWN && (m->wParam == VK_RETURN || (m->wParam == VK_ESCAPE && !r->captured)))
        return DLGC_STATIC;
      return DLGC_STATIC | DLGC_WANTALLKEYS;
    }
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      if (IsLink(r) && InLive(r, lParam)) {
        SetCapture(h);
        r->captured = true;
      }
      return 0;
    case WM_LBUTTONUP:
      if (r->captured) {
        r->captured = false;
        ReleaseCapture();
        if (InLive(r, lParam)) NotifyLink(r);
      }
      return 0;
    case WM_CAPTURECHANGED:
    case WM_CANCELMODE:
      if (r->captured) {
        r->captured = false;
        if (GetCapture() == h) ReleaseCapture();
      }
      return 0;
    case WM_SETCURSOR:
      if (IsLink(r) && reinterpret_cast<HWND>(wParam) == h) {
        POINT pt;
        GetCursorPos(&pt);
        ScreenToClient(h, &pt);
        SetCursor(LoadCursorW(nullptr, PtInRect(&r->live, pt) ? IDC_HAND : IDC_ARROW));
        return TRUE;
      }
      break;
    case WM_KEYDOWN:
      if (!IsLink(r)) break;
      if (wParam == VK_SPACE) {
        NotifyLink(r);
        return 0;
      }
      if (wParam == VK_TAB) {
        PostMessage(GetParent(h), WM_NEXTDLGCTL, (GetKeyState(VK_SHIFT) & 0x8000) ? 1 : 0, 0);
        return 0;
      }
      if (wParam == VK_ESCAPE && r->captured) {
        r->captured = false;
        ReleaseCapture();
        return 0;
      }
      break;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(h, &ps);
      Paint(r, dc);
      EndPaint(h, &ps);
      return 0;
    }
  }
  return DefWindowProc(h, msg, wParam, lParam);
}

BOOL StaticInitialize(HINSTANCE module) {
  return QxRegisterInstClass(QX_STATIC_CLASS, QxInstWindowProc<StaticRec, StaticInst_Message>, module, nullptr,
                             CS_DBLCLKS);
}
void StaticTerminate(HINSTANCE module) { UnregisterClassW(QX_STATIC_CLASS, module); }
