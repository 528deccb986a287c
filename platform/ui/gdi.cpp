// Device contexts over cairo: objects, shapes with exact pixels, pango text in the dialog font,
// memory DCs and blits, bitmap resources and image lists.
#include "platform/ui/gdi.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <string>
#include <vector>

#include "platform/registry/utf.h"
#include "platform/ui/window_internal.h"

namespace {

enum Kind { kPen = 1, kBrush, kFont, kBitmap };

struct Obj {
  int kind;
  bool stock;
};

}  // namespace

struct HPEN__ : Obj {
  int style, width;
  COLORREF color;
};
struct HBRUSH__ : Obj {
  COLORREF color;
  bool null;
};
struct HFONT__ : Obj {
  PangoFontDescription* desc;
  LOGFONTW lf;
};
struct HBITMAP__ : Obj {
  cairo_surface_t* s;  // ARGB32
};

struct DcState {
  HPEN pen;
  HBRUSH brush;
  HFONT font;
  COLORREF text, bk, dcBrush, dcPen;
  int bkMode;
  POINT cur;
  POINT org;
};

struct HDC__ {
  cairo_t* cr = nullptr;
  cairo_surface_t* target = nullptr;
  POINT base{};  // the window's client corner in the target
  RECT clip{};   // in the target
  HWND hwnd = nullptr;
  bool memory = false;
  HBITMAP bitmap = nullptr;
  DcState st{};
  std::vector<std::pair<DcState, RECT>> saved;
};

namespace {

HBRUSH__* MakeBrush(COLORREF c, bool null, bool stock) {
  auto* b = new HBRUSH__;
  b->kind = kBrush;
  b->stock = stock;
  b->color = c;
  b->null = null;
  return b;
}
HPEN__* MakePen(int style, int width, COLORREF c, bool stock) {
  auto* p = new HPEN__;
  p->kind = kPen;
  p->stock = stock;
  p->style = style;
  p->width = std::max(width, 1);
  p->color = c;
  return p;
}

constexpr COLORREF kPalette[31] = {
    RGB(200, 200, 200), RGB(0, 0, 0),       RGB(0, 120, 215),   RGB(191, 205, 219), RGB(249, 249, 249),
    RGB(255, 255, 255), RGB(100, 100, 100), RGB(0, 0, 0),       RGB(0, 0, 0),       RGB(0, 0, 0),
    RGB(180, 180, 180), RGB(244, 247, 252), RGB(171, 171, 171), RGB(0, 120, 215),   RGB(255, 255, 255),
    RGB(240, 240, 240), RGB(160, 160, 160), RGB(109, 109, 109), RGB(0, 0, 0),       RGB(67, 78, 84),
    RGB(255, 255, 255), RGB(105, 105, 105), RGB(227, 227, 227), RGB(0, 0, 0),       RGB(255, 255, 225),
    RGB(0, 0, 0),       RGB(0, 102, 204),   RGB(185, 209, 234), RGB(215, 228, 242), RGB(0, 120, 215),
    RGB(240, 240, 240)};

HFONT__* DialogFont() {
  static HFONT__* f = [] {
    auto* font = new HFONT__;
    font->kind = kFont;
    font->stock = true;
    font->desc = pango_font_description_from_string("DejaVu Sans Condensed 8");
    font->lf = LOGFONTW{};
    font->lf.lfHeight = -11;
    font->lf.lfWeight = FW_NORMAL;
    return font;
  }();
  return f;
}

HGDIOBJ Stock(int which) {
  static HGDIOBJ table[20] = {MakeBrush(RGB(255, 255, 255), false, true),
                              MakeBrush(RGB(192, 192, 192), false, true),
                              MakeBrush(RGB(128, 128, 128), false, true),
                              MakeBrush(RGB(64, 64, 64), false, true),
                              MakeBrush(RGB(0, 0, 0), false, true),
                              MakeBrush(0, true, true),
                              MakePen(PS_SOLID, 1, RGB(255, 255, 255), true),
                              MakePen(PS_SOLID, 1, RGB(0, 0, 0), true),
                              MakePen(PS_NULL, 1, 0, true),
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              DialogFont(),
                              MakeBrush(RGB(255, 255, 255), false, true),
                              MakePen(PS_SOLID, 1, RGB(0, 0, 0), true)};
  if (which < 0 || which >= 20) return nullptr;
  if (which == 10 || which == 13) return DialogFont();  // SYSTEM_FONT, DEFAULT_GUI and kin
  return table[which];
}

void SetSource(cairo_t* cr, COLORREF c) {
  cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
}

// Builds the DC's cairo context afresh on its target, with its origin and clip.
void Rebuild(HDC dc) {
  if (dc->cr) cairo_destroy(dc->cr);
  dc->cr = cairo_create(dc->target);
  cairo_set_antialias(dc->cr, CAIRO_ANTIALIAS_NONE);
  cairo_rectangle(dc->cr, dc->clip.left, dc->clip.top, dc->clip.right - dc->clip.left, dc->clip.bottom - dc->clip.top);
  cairo_clip(dc->cr);
  cairo_translate(dc->cr, dc->base.x + dc->st.org.x, dc->base.y + dc->st.org.y);
}

HDC NewDc(cairo_surface_t* target, POINT base, RECT clip, HWND hwnd) {
  HDC dc = new HDC__;
  dc->target = target;
  dc->base = base;
  dc->clip = clip;
  dc->hwnd = hwnd;
  dc->st = DcState{static_cast<HPEN>(Stock(BLACK_PEN)), static_cast<HBRUSH>(Stock(WHITE_BRUSH)), DialogFont(),
                   RGB(0, 0, 0), RGB(255, 255, 255), RGB(255, 255, 255), RGB(0, 0, 0), OPAQUE, POINT{0, 0}, POINT{0, 0}};
  Rebuild(dc);
  return dc;
}

void FillBox(HDC dc, double x, double y, double w, double h, COLORREF c) {
  if (w <= 0 || h <= 0) return;
  cairo_rectangle(dc->cr, x, y, w, h);
  SetSource(dc->cr, c);
  cairo_fill(dc->cr);
}

COLORREF BrushColor(HDC dc, HBRUSH b) { return b == Stock(DC_BRUSH) ? dc->st.dcBrush : b->color; }
COLORREF PenColor(HDC dc, HPEN p) { return p == Stock(DC_PEN) ? dc->st.dcPen : p->color; }

// Pango layout of a text, with '&' mnemonics taken out and the next character underlined.
PangoLayout* Layout(cairo_t* cr, HFONT font, const WCHAR* text, int count, bool prefix) {
  PangoLayout* layout = pango_cairo_create_layout(cr);
  PangoContext* ctx = pango_layout_get_context(layout);
  pango_cairo_context_set_resolution(ctx, 96);
  cairo_font_options_t* fo = cairo_font_options_create();
  cairo_font_options_set_antialias(fo, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(fo, CAIRO_HINT_STYLE_SLIGHT);
  cairo_font_options_set_hint_metrics(fo, CAIRO_HINT_METRICS_ON);
  pango_cairo_context_set_font_options(ctx, fo);
  cairo_font_options_destroy(fo);
  pango_layout_context_changed(layout);
  pango_layout_set_font_description(layout, (font ? font : DialogFont())->desc);
  if (count < 0) count = static_cast<int>(std::char_traits<char16_t>::length(text));
  std::u16string s;
  int underline = -1;
  for (int i = 0; i < count; ++i) {
    if (prefix && text[i] == u'&') {
      if (i + 1 < count && text[i + 1] == u'&') {
        s += u'&';
        ++i;
      } else if (i + 1 < count && underline < 0) {
        underline = static_cast<int>(s.size());
      }
      continue;
    }
    s += text[i];
  }
  std::string u8 = qxui::Utf8(s);
  pango_layout_set_text(layout, u8.c_str(), static_cast<int>(u8.size()));
  if (underline >= 0 && underline < static_cast<int>(s.size())) {
    int start = static_cast<int>(qxui::Utf8(std::u16string_view(s).substr(0, underline)).size());
    int len = static_cast<int>(qxui::Utf8(std::u16string_view(s).substr(underline, 1)).size());
    PangoAttrList* attrs = pango_attr_list_new();
    PangoAttribute* a = pango_attr_underline_new(PANGO_UNDERLINE_SINGLE);
    a->start_index = start;
    a->end_index = start + len;
    pango_attr_list_insert(attrs, a);
    pango_layout_set_attributes(layout, attrs);
    pango_attr_list_unref(attrs);
  }
  return layout;
}

// A context for measuring when no DC is at hand.
cairo_t* MeasureCairo() {
  thread_local cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
  thread_local cairo_t* cr = cairo_create(s);
  return cr;
}

struct ResKey {
  HINSTANCE module;
  int id;
  bool operator<(const ResKey& o) const { return module != o.module ? module < o.module : id < o.id; }
};
std::mutex g_resLock;
std::map<ResKey, std::vector<unsigned char>>& Resources() {
  static auto* m = new std::map<ResKey, std::vector<unsigned char>>;
  return *m;
}

struct PngReader {
  const unsigned char* p;
  size_t left;
};
cairo_status_t ReadPng(void* closure, unsigned char* data, unsigned int length) {
  auto* r = static_cast<PngReader*>(closure);
  if (length > r->left) return CAIRO_STATUS_READ_ERROR;
  memcpy(data, r->p, length);
  r->p += length;
  r->left -= length;
  return CAIRO_STATUS_SUCCESS;
}

std::atomic<int> g_liveBitmaps{0};

HBITMAP WrapSurface(cairo_surface_t* s) {
  ++g_liveBitmaps;
  auto* b = new HBITMAP__;
  b->kind = kBitmap;
  b->stock = false;
  b->s = s;
  return b;
}

HBITMAP NewBitmap(int cx, int cy) {
  return WrapSurface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, std::max(cx, 1), std::max(cy, 1)));
}

}  // namespace

namespace qxui {

Surface::~Surface() {
  host.reset();
  if (image) cairo_surface_destroy(image);
}

void Surface::Resize(int w, int h) {
  w = std::max(w, 1);
  h = std::max(h, 1);
  if (image && w == cx && h == cy) return;
  cairo_surface_t* n = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
  cairo_t* cr = cairo_create(n);
  SetSource(cr, GetSysColor(COLOR_3DFACE));
  cairo_paint(cr);
  if (image) {
    cairo_set_source_surface(cr, image, 0, 0);
    cairo_paint(cr);
    cairo_surface_destroy(image);
  }
  cairo_destroy(cr);
  image = n;
  cx = w;
  cy = h;
}

std::string Utf8(std::u16string_view s) { return QxUtf16ToUtf8(s); }

HDC MakeWindowDc(HWND hwnd, const RECT* limitInTop) {
  Wnd* w = Find(hwnd);
  Wnd* t = Find(TopLevelOf(hwnd));
  if (!w || !t || !t->surface) return nullptr;
  RECT clip = VisibleRectInTop(hwnd);
  if (limitInTop) IntersectRect(&clip, &clip, limitInTop);
  return NewDc(t->surface->image, OriginInTop(hwnd), clip, hwnd);
}

void ReleaseWindowDc(HDC dc) {
  if (!dc) return;
  if (Wnd* t = Find(TopLevelOf(dc->hwnd)); t && t->surface) {
    cairo_surface_flush(t->surface->image);
    UnionRect(&t->surface->dirty, &t->surface->dirty, &dc->clip);
  }
  cairo_destroy(dc->cr);
  delete dc;
}

}  // namespace qxui

HDC GetDC(HWND hwnd) { return qxui::MakeWindowDc(hwnd, nullptr); }
int ReleaseDC(HWND, HDC hdc) {
  qxui::ReleaseWindowDc(hdc);
  return 1;
}

HDC CreateCompatibleDC(HDC) {
  HBITMAP one = NewBitmap(1, 1);
  HDC dc = NewDc(one->s, POINT{0, 0}, RECT{0, 0, 1, 1}, nullptr);
  dc->memory = true;
  dc->bitmap = one;
  one->stock = true;  // the DC's own placeholder, freed with it
  return dc;
}

BOOL DeleteDC(HDC hdc) {
  if (!hdc) return FALSE;
  if (hdc->hwnd) return FALSE;
  if (hdc->bitmap && hdc->bitmap->stock) {
    cairo_surface_destroy(hdc->bitmap->s);
    delete hdc->bitmap;
    --g_liveBitmaps;
  }
  cairo_destroy(hdc->cr);
  delete hdc;
  return TRUE;
}

int SaveDC(HDC hdc) {
  hdc->saved.emplace_back(hdc->st, hdc->clip);
  return static_cast<int>(hdc->saved.size());
}
BOOL RestoreDC(HDC hdc, int saved) {
  if (saved < 0) saved = static_cast<int>(hdc->saved.size()) + 1 + saved;
  if (saved < 1 || saved > static_cast<int>(hdc->saved.size())) return FALSE;
  hdc->st = hdc->saved[saved - 1].first;
  hdc->clip = hdc->saved[saved - 1].second;
  hdc->saved.resize(saved - 1);
  Rebuild(hdc);
  return TRUE;
}

int IntersectClipRect(HDC hdc, int left, int top, int right, int bottom) {
  RECT r{left, top, right, bottom};
  OffsetRect(&r, hdc->base.x + hdc->st.org.x, hdc->base.y + hdc->st.org.y);
  IntersectRect(&hdc->clip, &hdc->clip, &r);
  Rebuild(hdc);
  return IsRectEmpty(&hdc->clip) ? 1 : 2;
}

BOOL SetViewportOrgEx(HDC hdc, int x, int y, POINT* old) {
  if (old) *old = hdc->st.org;
  hdc->st.org = POINT{x, y};
  Rebuild(hdc);
  return TRUE;
}

cairo_t* QxUi_Cairo(HDC hdc) { return hdc ? hdc->cr : nullptr; }

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ obj) {
  if (!hdc || !obj) return nullptr;
  auto* o = static_cast<Obj*>(obj);
  HGDIOBJ old = nullptr;
  switch (o->kind) {
    case kPen: old = hdc->st.pen; hdc->st.pen = static_cast<HPEN>(obj); break;
    case kBrush: old = hdc->st.brush; hdc->st.brush = static_cast<HBRUSH>(obj); break;
    case kFont: old = hdc->st.font; hdc->st.font = static_cast<HFONT>(obj); break;
    case kBitmap: {
      if (!hdc->memory) return nullptr;
      old = hdc->bitmap;
      hdc->bitmap = static_cast<HBITMAP>(obj);
      hdc->target = hdc->bitmap->s;
      hdc->clip = RECT{0, 0, cairo_image_surface_get_width(hdc->target), cairo_image_surface_get_height(hdc->target)};
      Rebuild(hdc);
      break;
    }
  }
  return old;
}

BOOL DeleteObject(HGDIOBJ obj) {
  if (!obj) return FALSE;
  auto* o = static_cast<Obj*>(obj);
  if (o->stock) return TRUE;
  switch (o->kind) {
    case kPen: delete static_cast<HPEN>(obj); break;
    case kBrush: delete static_cast<HBRUSH>(obj); break;
    case kFont:
      pango_font_description_free(static_cast<HFONT>(obj)->desc);
      delete static_cast<HFONT>(obj);
      break;
    case kBitmap:
      cairo_surface_destroy(static_cast<HBITMAP>(obj)->s);
      delete static_cast<HBITMAP>(obj);
      --g_liveBitmaps;
      break;
    default: return FALSE;
  }
  return TRUE;
}

HGDIOBJ GetStockObject(int which) { return Stock(which); }

int QxUi_LiveBitmapCount() { return g_liveBitmaps.load(); }

int GetObjectW(HGDIOBJ obj, int size, void* out) {
  if (!obj) return 0;
  auto* o = static_cast<Obj*>(obj);
  if (o->kind == kBitmap && out && size >= static_cast<int>(sizeof(BITMAP))) {
    cairo_surface_t* s = static_cast<HBITMAP>(obj)->s;
    auto* bm = static_cast<BITMAP*>(out);
    *bm = BITMAP{0, cairo_image_surface_get_width(s), cairo_image_surface_get_height(s),
                 cairo_image_surface_get_stride(s), 1, 32, cairo_image_surface_get_data(s)};
    return sizeof(BITMAP);
  }
  if (o->kind == kFont && out && size >= static_cast<int>(sizeof(LOGFONTW))) {
    *static_cast<LOGFONTW*>(out) = static_cast<HFONT>(obj)->lf;
    return sizeof(LOGFONTW);
  }
  return 0;
}

HPEN CreatePen(int style, int width, COLORREF color) { return MakePen(style, width, color, false); }
HBRUSH CreateSolidBrush(COLORREF color) { return MakeBrush(color, false, false); }

HFONT CreateFontIndirectW(const LOGFONTW* lf) {
  if (!lf) return nullptr;
  auto* f = new HFONT__;
  f->kind = kFont;
  f->stock = false;
  f->lf = *lf;
  f->desc = pango_font_description_copy(DialogFont()->desc);
  if (lf->lfFaceName[0]) {
    std::u16string face(lf->lfFaceName, std::char_traits<char16_t>::length(lf->lfFaceName));
    pango_font_description_set_family(f->desc, qxui::Utf8(face).c_str());
  }
  if (lf->lfHeight) pango_font_description_set_absolute_size(f->desc, std::abs(lf->lfHeight) * PANGO_SCALE);
  if (lf->lfWeight) pango_font_description_set_weight(f->desc, static_cast<PangoWeight>(lf->lfWeight));
  if (lf->lfItalic) pango_font_description_set_style(f->desc, PANGO_STYLE_ITALIC);
  return f;
}

HBITMAP CreateCompatibleBitmap(HDC, int cx, int cy) { return NewBitmap(cx, cy); }

HBITMAP CreateBitmap(int cx, int cy, UINT, UINT bitsPerPixel, const void* bits) {
  if (cx <= 0 || cy <= 0) return nullptr;
  HBITMAP b = NewBitmap(cx, cy);
  if (bits && bitsPerPixel == 32) {
    cairo_surface_flush(b->s);
    unsigned char* d = cairo_image_surface_get_data(b->s);
    int stride = cairo_image_surface_get_stride(b->s);
    const auto* src = static_cast<const uint32_t*>(bits);
    for (int y = 0; y < cy; ++y)
      for (int x = 0; x < cx; ++x) {
        uint32_t p = src[y * cx + x];
        uint32_t a = p >> 24;
        auto pre = [a](uint32_t c) { return c * a / 255; };
        reinterpret_cast<uint32_t*>(d + y * stride)[x] =
            (a << 24) | (pre((p >> 16) & 0xFF) << 16) | (pre((p >> 8) & 0xFF) << 8) | pre(p & 0xFF);
      }
    cairo_surface_mark_dirty(b->s);
  }
  return b;
}

COLORREF SetTextColor(HDC hdc, COLORREF c) { return std::exchange(hdc->st.text, c); }
COLORREF GetTextColor(HDC hdc) { return hdc->st.text; }
COLORREF SetBkColor(HDC hdc, COLORREF c) { return std::exchange(hdc->st.bk, c); }
COLORREF GetBkColor(HDC hdc) { return hdc->st.bk; }
int SetBkMode(HDC hdc, int mode) { return std::exchange(hdc->st.bkMode, mode); }
COLORREF SetDCBrushColor(HDC hdc, COLORREF c) { return std::exchange(hdc->st.dcBrush, c); }
COLORREF SetDCPenColor(HDC hdc, COLORREF c) { return std::exchange(hdc->st.dcPen, c); }

COLORREF GetSysColor(int index) { return index >= 0 && index < 31 ? kPalette[index] : 0; }

HBRUSH GetSysColorBrush(int index) {
  static HBRUSH brushes[31] = {};
  static std::once_flag once;
  std::call_once(once, [] {
    for (int i = 0; i < 31; ++i) brushes[i] = MakeBrush(kPalette[i], false, true);
  });
  return index >= 0 && index < 31 ? brushes[index] : nullptr;
}

int FillRect(HDC hdc, const RECT* r, HBRUSH brush) {
  if (!hdc || !r || !brush) return 0;
  if (reinterpret_cast<uintptr_t>(brush) <= 64) brush = GetSysColorBrush(static_cast<int>(reinterpret_cast<uintptr_t>(brush)) - 1);
  if (!brush || brush->null) return 1;
  FillBox(hdc, r->left, r->top, r->right - r->left, r->bottom - r->top, BrushColor(hdc, brush));
  return 1;
}

int FrameRect(HDC hdc, const RECT* r, HBRUSH brush) {
  if (!hdc || !r || !brush || brush->null || IsRectEmpty(r)) return 0;
  COLORREF c = BrushColor(hdc, brush);
  int w = r->right - r->left, h = r->bottom - r->top;
  FillBox(hdc, r->left, r->top, w, 1, c);
  FillBox(hdc, r->left, r->bottom - 1, w, 1, c);
  FillBox(hdc, r->left, r->top, 1, h, c);
  FillBox(hdc, r->right - 1, r->top, 1, h, c);
  return 1;
}

BOOL Rectangle(HDC hdc, int l, int t, int r, int b) {
  if (!hdc) return FALSE;
  HPEN pen = hdc->st.pen;
  int pw = pen->style == PS_NULL ? 0 : pen->width;
  if (!hdc->st.brush->null) FillBox(hdc, l + pw, t + pw, r - l - 2 * pw, b - t - 2 * pw, BrushColor(hdc, hdc->st.brush));
  if (pw) {
    COLORREF c = PenColor(hdc, pen);
    FillBox(hdc, l, t, r - l, pw, c);
    FillBox(hdc, l, b - pw, r - l, pw, c);
    FillBox(hdc, l, t, pw, b - t, c);
    FillBox(hdc, r - pw, t, pw, b - t, c);
  }
  return TRUE;
}

namespace {
// Fills the current path with the DC's brush and outlines it with its pen.
void FillAndStroke(HDC hdc) {
  cairo_t* cr = hdc->cr;
  if (!hdc->st.brush->null) {
    SetSource(cr, BrushColor(hdc, hdc->st.brush));
    cairo_fill_preserve(cr);
  }
  if (hdc->st.pen->style != PS_NULL) {
    SetSource(cr, PenColor(hdc, hdc->st.pen));
    cairo_set_line_width(cr, hdc->st.pen->width);
    cairo_stroke(cr);
  }
  cairo_new_path(cr);
}
}  // namespace

BOOL Ellipse(HDC hdc, int l, int t, int r, int b) {
  if (!hdc || r <= l || b <= t) return FALSE;
  cairo_t* cr = hdc->cr;
  cairo_save(cr);
  cairo_translate(cr, (l + r) / 2.0, (t + b) / 2.0);
  cairo_scale(cr, (r - l) / 2.0, (b - t) / 2.0);
  cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
  cairo_restore(cr);
  FillAndStroke(hdc);
  return TRUE;
}

BOOL MoveToEx(HDC hdc, int x, int y, POINT* old) {
  if (old) *old = hdc->st.cur;
  hdc->st.cur = POINT{x, y};
  return TRUE;
}

// Lines cover the pixels from the current point up to, not including, the end point.
BOOL LineTo(HDC hdc, int x, int y) {
  POINT a = hdc->st.cur;
  hdc->st.cur = POINT{x, y};
  HPEN pen = hdc->st.pen;
  if (pen->style == PS_NULL) return TRUE;
  COLORREF c = PenColor(hdc, pen);
  int w = pen->width;
  if (a.y == y) {
    int x0 = std::min(a.x, x), x1 = std::max(a.x, x);
    if (a.x > x) ++x0, ++x1;
    FillBox(hdc, x0, y - (w - 1) / 2, x1 - x0, w, c);
  } else if (a.x == x) {
    int y0 = std::min(a.y, y), y1 = std::max(a.y, y);
    if (a.y > y) ++y0, ++y1;
    FillBox(hdc, x - (w - 1) / 2, y0, w, y1 - y0, c);
  } else {
    cairo_t* cr = hdc->cr;
    cairo_move_to(cr, a.x + 0.5, a.y + 0.5);
    cairo_line_to(cr, x + 0.5, y + 0.5);
    SetSource(cr, c);
    cairo_set_line_width(cr, w);
    cairo_stroke(cr);
  }
  return TRUE;
}

BOOL Polyline(HDC hdc, const POINT* p, int n) {
  if (n < 2) return FALSE;
  POINT keep = hdc->st.cur;
  MoveToEx(hdc, p[0].x, p[0].y, nullptr);
  for (int i = 1; i < n; ++i) LineTo(hdc, p[i].x, p[i].y);
  hdc->st.cur = keep;
  return TRUE;
}

BOOL Polygon(HDC hdc, const POINT* p, int n) {
  if (n < 3) return FALSE;
  cairo_t* cr = hdc->cr;
  cairo_move_to(cr, p[0].x + 0.5, p[0].y + 0.5);
  for (int i = 1; i < n; ++i) cairo_line_to(cr, p[i].x + 0.5, p[i].y + 0.5);
  cairo_close_path(cr);
  FillAndStroke(hdc);
  return TRUE;
}

COLORREF SetPixel(HDC hdc, int x, int y, COLORREF c) {
  FillBox(hdc, x, y, 1, 1, c);
  return c;
}

COLORREF GetPixel(HDC hdc, int x, int y) {
  if (!hdc) return CLR_INVALID;
  int dx = x + hdc->base.x + hdc->st.org.x, dy = y + hdc->base.y + hdc->st.org.y;
  POINT p{dx, dy};
  if (!PtInRect(&hdc->clip, p)) return CLR_INVALID;
  cairo_surface_flush(hdc->target);
  const unsigned char* d = cairo_image_surface_get_data(hdc->target);
  uint32_t px = reinterpret_cast<const uint32_t*>(d + dy * cairo_image_surface_get_stride(hdc->target))[dx];
  return RGB((px >> 16) & 0xFF, (px >> 8) & 0xFF, px & 0xFF);
}

BOOL DrawFocusRect(HDC hdc, const RECT* r) {
  if (!hdc || !r || IsRectEmpty(r)) return FALSE;
  COLORREF c = RGB(0, 0, 0);
  for (int x = r->left; x < r->right; x += 2) {
    FillBox(hdc, x, r->top, 1, 1, c);
    FillBox(hdc, x, r->bottom - 1, 1, 1, c);
  }
  for (int y = r->top; y < r->bottom; y += 2) {
    FillBox(hdc, r->left, y, 1, 1, c);
    FillBox(hdc, r->right - 1, y, 1, 1, c);
  }
  return TRUE;
}

namespace {
// Copies the source rectangle at (sx, sy) of `src`, scx by scy, onto cx by cy at (x, y).
void PaintScaled(HDC dst, cairo_surface_t* src, int sx, int sy, int x, int y, int cx, int cy, int scx, int scy) {
  cairo_t* cr = dst->cr;
  cairo_save(cr);
  cairo_rectangle(cr, x, y, cx, cy);
  cairo_clip(cr);
  cairo_translate(cr, x, y);
  cairo_scale(cr, static_cast<double>(cx) / scx, static_cast<double>(cy) / scy);
  cairo_set_source_surface(cr, src, -sx, -sy);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  cairo_paint(cr);
  cairo_restore(cr);
}
}  // namespace

BOOL StretchBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, int scx, int scy, DWORD) {
  if (!dst || !src || scx <= 0 || scy <= 0) return FALSE;
  cairo_surface_flush(src->target);
  PaintScaled(dst, src->target, sx + src->base.x + src->st.org.x, sy + src->base.y + src->st.org.y, x, y, cx, cy, scx, scy);
  return TRUE;
}

BOOL BitBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, DWORD rop) {
  return StretchBlt(dst, x, y, cx, cy, src, sx, sy, cx, cy, rop);
}

namespace {
// A copy of part of a surface in which one colour is transparent.
cairo_surface_t* KeyedCopy(cairo_surface_t* s, int sx, int sy, int w, int h, COLORREF key) {
  cairo_surface_flush(s);
  cairo_surface_t* out = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  cairo_surface_flush(out);
  const unsigned char* sd = cairo_image_surface_get_data(s);
  int ss = cairo_image_surface_get_stride(s), sw = cairo_image_surface_get_width(s), sh = cairo_image_surface_get_height(s);
  bool hasAlpha = cairo_image_surface_get_format(s) == CAIRO_FORMAT_ARGB32;
  unsigned char* od = cairo_image_surface_get_data(out);
  int os = cairo_image_surface_get_stride(out);
  uint32_t k = (GetRValue(key) << 16) | (GetGValue(key) << 8) | GetBValue(key);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int px = sx + x, py = sy + y;
      uint32_t v = 0;
      if (px >= 0 && py >= 0 && px < sw && py < sh) {
        v = reinterpret_cast<const uint32_t*>(sd + py * ss)[px];
        if (!hasAlpha) v |= 0xFF000000u;
        if ((v & 0xFFFFFF) == k && (v >> 24) == 0xFF) v = 0;
      }
      reinterpret_cast<uint32_t*>(od + y * os)[x] = v;
    }
  cairo_surface_mark_dirty(out);
  return out;
}
}  // namespace

BOOL TransparentBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, int scx, int scy, UINT key) {
  if (!dst || !src || scx <= 0 || scy <= 0) return FALSE;
  cairo_surface_t* k = KeyedCopy(src->target, sx + src->base.x, sy + src->base.y, scx, scy, key);
  PaintScaled(dst, k, 0, 0, x, y, cx, cy, scx, scy);
  cairo_surface_destroy(k);
  return TRUE;
}

int DrawTextW(HDC hdc, LPCWSTR text, int count, RECT* rect, UINT format) {
  if (!hdc || !text || !rect) return 0;
  cairo_t* cr = hdc->cr;
  PangoLayout* layout = Layout(cr, hdc->st.font, text, count, !(format & DT_NOPREFIX));
  int width = rect->right - rect->left;
  bool single = format & DT_SINGLELINE;
  if ((format & DT_WORDBREAK) && !single && width > 0) {
    pango_layout_set_width(layout, width * PANGO_SCALE);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  }
  if ((format & DT_END_ELLIPSIS) && width > 0) {
    pango_layout_set_width(layout, width * PANGO_SCALE);
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
  }
  if (single) pango_layout_set_single_paragraph_mode(layout, TRUE);
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout, nullptr, &logical);
  int tw = logical.width, th = logical.height;
  if (format & DT_CALCRECT) {
    rect->right = rect->left + tw;
    rect->bottom = rect->top + th;
    g_object_unref(layout);
    return th;
  }
  if (pango_layout_get_width(layout) > 0) {
    pango_layout_set_alignment(layout, (format & DT_CENTER) ? PANGO_ALIGN_CENTER
                                       : (format & DT_RIGHT) ? PANGO_ALIGN_RIGHT : PANGO_ALIGN_LEFT);
  }
  double x = rect->left, y = rect->top;
  if (pango_layout_get_width(layout) <= 0) {
    if (format & DT_CENTER) x = rect->left + (width - tw) / 2;
    else if (format & DT_RIGHT) x = rect->right - tw;
  } else {
    x = rect->left;
  }
  if (single && (format & DT_VCENTER)) y = rect->top + (rect->bottom - rect->top - th) / 2;
  else if (single && (format & DT_BOTTOM)) y = rect->bottom - th;
  cairo_save(cr);
  if (!(format & DT_NOCLIP)) {
    cairo_rectangle(cr, rect->left, rect->top, width, rect->bottom - rect->top);
    cairo_clip(cr);
  }
  if (hdc->st.bkMode == OPAQUE) FillBox(hdc, x + logical.x, y, tw, th, hdc->st.bk);
  SetSource(cr, hdc->st.text);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, layout);
  cairo_restore(cr);
  g_object_unref(layout);
  return th;
}

BOOL TextOutW(HDC hdc, int x, int y, LPCWSTR text, int count) {
  RECT r{x, y, x + 10000, y + 10000};
  return DrawTextW(hdc, text, count, &r, DT_NOPREFIX | DT_SINGLELINE | DT_NOCLIP) > 0;
}

BOOL GetTextExtentPoint32W(HDC hdc, LPCWSTR text, int count, SIZE* size) {
  if (!text || !size) return FALSE;
  PangoLayout* layout = Layout(hdc ? hdc->cr : MeasureCairo(), hdc ? hdc->st.font : nullptr, text, count, false);
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout, nullptr, &logical);
  g_object_unref(layout);
  *size = SIZE{logical.width, logical.height};
  return TRUE;
}

BOOL GetTextMetricsW(HDC hdc, TEXTMETRICW* tm) {
  if (!tm) return FALSE;
  PangoLayout* layout = Layout(hdc ? hdc->cr : MeasureCairo(), hdc ? hdc->st.font : nullptr,
                               u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", 52, false);
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout, nullptr, &logical);
  int baseline = pango_layout_get_baseline(layout) / PANGO_SCALE;
  g_object_unref(layout);
  *tm = TEXTMETRICW{logical.height, baseline, logical.height - baseline, 0, 0, (logical.width / 26 + 1) / 2,
                    logical.width / 26 * 2, FW_NORMAL};
  return TRUE;
}

LONG GetDialogBaseUnits() {
  static LONG units = [] {
    TEXTMETRICW tm;
    GetTextMetricsW(nullptr, &tm);
    return static_cast<LONG>(MAKELONG(static_cast<WORD>(tm.tmAveCharWidth), static_cast<WORD>(tm.tmHeight)));
  }();
  return units;
}

BOOL QxUi_AddBitmapResource(HINSTANCE module, int id, const void* png, size_t bytes) {
  if (!png || !bytes) return FALSE;
  std::lock_guard<std::mutex> g(g_resLock);
  auto* p = static_cast<const unsigned char*>(png);
  Resources()[ResKey{module, id}] = std::vector<unsigned char>(p, p + bytes);
  return TRUE;
}

HANDLE LoadImageW(HINSTANCE module, LPCWSTR name, UINT type, int cx, int cy, UINT) {
  if (type != IMAGE_BITMAP || (reinterpret_cast<uintptr_t>(name) >> 16) != 0) return nullptr;
  std::vector<unsigned char> data;
  {
    std::lock_guard<std::mutex> g(g_resLock);
    auto it = Resources().find(ResKey{module, static_cast<int>(reinterpret_cast<uintptr_t>(name))});
    if (it == Resources().end()) return nullptr;
    data = it->second;
  }
  PngReader r{data.data(), data.size()};
  cairo_surface_t* s = cairo_image_surface_create_from_png_stream(ReadPng, &r);
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(s);
    return nullptr;
  }
  int w = cairo_image_surface_get_width(s), h = cairo_image_surface_get_height(s);
  HBITMAP b = NewBitmap(cx > 0 ? cx : w, cy > 0 ? cy : h);
  cairo_t* cr = cairo_create(b->s);
  cairo_scale(cr, static_cast<double>(cx > 0 ? cx : w) / w, static_cast<double>(cy > 0 ? cy : h) / h);
  cairo_set_source_surface(cr, s, 0, 0);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_destroy(s);
  return b;
}

BOOL QxUi_SaveBitmapPng(HBITMAP bitmap, const char* path) {
  return bitmap && path && cairo_surface_write_to_png(bitmap->s, path) == CAIRO_STATUS_SUCCESS;
}

struct HIMAGELIST__ {
  int cx, cy;
  std::vector<cairo_surface_t*> images;
};

HIMAGELIST ImageList_Create(int cx, int cy, UINT, int, int) {
  if (cx <= 0 || cy <= 0) return nullptr;
  return new HIMAGELIST__{cx, cy, {}};
}

BOOL ImageList_Destroy(HIMAGELIST list) {
  if (!list) return FALSE;
  for (auto* s : list->images) cairo_surface_destroy(s);
  delete list;
  return TRUE;
}

int ImageList_AddMasked(HIMAGELIST list, HBITMAP image, COLORREF mask) {
  if (!list || !image) return -1;
  int w = cairo_image_surface_get_width(image->s), h = cairo_image_surface_get_height(image->s);
  int first = static_cast<int>(list->images.size());
  for (int x = 0; x + list->cx <= w; x += list->cx)
    list->images.push_back(KeyedCopy(image->s, x, 0, list->cx, std::min(h, list->cy), mask));
  return static_cast<int>(list->images.size()) > first ? first : -1;
}

int ImageList_Add(HIMAGELIST list, HBITMAP image, HBITMAP) { return ImageList_AddMasked(list, image, CLR_NONE); }
int ImageList_GetImageCount(HIMAGELIST list) { return list ? static_cast<int>(list->images.size()) : 0; }
BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy) {
  if (!list) return FALSE;
  if (cx) *cx = list->cx;
  if (cy) *cy = list->cy;
  return TRUE;
}

BOOL ImageList_Draw(HIMAGELIST list, int index, HDC hdc, int x, int y, UINT) {
  if (!list || !hdc || index < 0 || index >= static_cast<int>(list->images.size())) return FALSE;
  cairo_t* cr = hdc->cr;
  cairo_save(cr);
  cairo_set_source_surface(cr, list->images[index], x, y);
  cairo_rectangle(cr, x, y, list->cx, list->cy);
  cairo_fill(cr);
  cairo_restore(cr);
  return TRUE;
}

namespace {
// Fills and outlines the antialiased path begun after cairo_save, then restores.
void PaintSmooth(cairo_t* cr, COLORREF fill, COLORREF border) {
  if (fill != CLR_NONE) {
    SetSource(cr, fill);
    cairo_fill_preserve(cr);
  }
  if (border != CLR_NONE) {
    SetSource(cr, border);
    cairo_set_line_width(cr, 1);
    cairo_stroke_preserve(cr);
  }
  cairo_new_path(cr);
  cairo_restore(cr);
}
}  // namespace

void QxUi_RoundRect(HDC hdc, const RECT* r, double radius, COLORREF fill, COLORREF border) {
  if (!hdc || !r || IsRectEmpty(r)) return;
  cairo_t* cr = hdc->cr;
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  double x = r->left + 0.5, y = r->top + 0.5, w = r->right - r->left - 1.0, h = r->bottom - r->top - 1.0;
  QxUi_RoundRectPath(cr, x, y, w, h, std::min({radius, w / 2, h / 2}));
  PaintSmooth(cr, fill, border);
}

void QxUi_RoundRectPath(cairo_t* cr, double x, double y, double w, double h, double radius) {
  cairo_new_sub_path(cr);
  cairo_arc(cr, x + w - radius, y + radius, radius, -M_PI / 2, 0);
  cairo_arc(cr, x + w - radius, y + h - radius, radius, 0, M_PI / 2);
  cairo_arc(cr, x + radius, y + h - radius, radius, M_PI / 2, M_PI);
  cairo_arc(cr, x + radius, y + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

void QxUi_Circle(HDC hdc, double cx, double cy, double radius, COLORREF fill, COLORREF border) {
  if (!hdc) return;
  cairo_t* cr = hdc->cr;
  cairo_save(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
  cairo_arc(cr, cx, cy, radius, 0, 2 * M_PI);
  PaintSmooth(cr, fill, border);
}
