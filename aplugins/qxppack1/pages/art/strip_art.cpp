// Drawing of the Logo strip's art. Colours: slate faces, a teal-to-violet accent, green for an
// effect that runs, grey for one that is bypassed.
#include "aplugins/qxppack1/pages/art/strip_art.h"

#include <cmath>

#include "platform/ui/gdi.h"

namespace {

constexpr double kPi = 3.14159265358979;
constexpr int kCell = 22;

struct Rgb {
  double r, g, b;
};
Rgb Hex(unsigned v) { return Rgb{((v >> 16) & 255) / 255.0, ((v >> 8) & 255) / 255.0, (v & 255) / 255.0}; }
void Stop(cairo_pattern_t* p, double at, unsigned hex, double a = 1.0) {
  Rgb c = Hex(hex);
  cairo_pattern_add_color_stop_rgba(p, at, c.r, c.g, c.b, a);
}
void Source(cairo_t* cr, unsigned hex, double a = 1.0) {
  Rgb c = Hex(hex);
  cairo_set_source_rgba(cr, c.r, c.g, c.b, a);
}

void PowerGlyph(cairo_t* cr, double cx, double cy, unsigned hex, double alpha, bool glow) {
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  for (int pass = glow ? 0 : 1; pass < 2; ++pass) {
    cairo_set_line_width(cr, pass == 0 ? 4.0 : 1.8);
    Source(cr, hex, pass == 0 ? alpha * 0.22 : alpha);
    cairo_new_path(cr);
    cairo_arc(cr, cx, cy + 0.5, 5.5, -kPi / 2 + 0.75, 3 * kPi / 2 - 0.75);
    cairo_stroke(cr);
    cairo_move_to(cr, cx, cy - 6.0);
    cairo_line_to(cr, cx, cy - 0.5);
    cairo_stroke(cr);
  }
}

// One look of the bypass toggle: raised while the effect runs, pressed in while it is bypassed.
void Toggle(cairo_t* cr, int look) {
  bool on = look == 2 || look == 3, pushed = look == 4, hot = look == 1 || look == 3, disabled = look == 5;
  double x = look * kCell + 1, y = 1, s = kCell - 2;
  cairo_save(cr);
  if (disabled) cairo_push_group(cr);
  cairo_pattern_t* face = cairo_pattern_create_linear(0, y, 0, y + s);
  if (on || pushed) {
    Stop(face, 0, pushed ? 0x141a23 : hot ? 0x232c3a : 0x1b222d);
    Stop(face, 1, pushed ? 0x1c2430 : hot ? 0x2b3646 : 0x222b38);
  } else {
    Stop(face, 0, hot ? 0x53627a : 0x435168);
    Stop(face, 1, hot ? 0x3b485d : 0x313c4e);
  }
  QxUi_RoundRectPath(cr, x, y, s, s, 5);
  cairo_set_source(cr, face);
  cairo_fill_preserve(cr);
  cairo_pattern_destroy(face);
  cairo_set_line_width(cr, 1);
  if (on || pushed) Source(cr, 0x05080c, 0.7);
  else Source(cr, 0xffffff, hot ? 0.30 : 0.18);
  cairo_stroke(cr);
  if (on || pushed) {
    // A shadow along the inside top edge reads as pressed in.
    cairo_save(cr);
    QxUi_RoundRectPath(cr, x + 0.5, y + 0.5, s - 1, s - 1, 4.5);
    cairo_clip(cr);
    Source(cr, 0x000000, 0.45);
    cairo_set_line_width(cr, 2);
    QxUi_RoundRectPath(cr, x - 0.5, y + 0.5, s + 1, s + 3, 5);
    cairo_stroke(cr);
    cairo_restore(cr);
  } else {
    Source(cr, 0xffffff, hot ? 0.22 : 0.14);
    cairo_move_to(cr, x + 5, y + 1.5);
    cairo_line_to(cr, x + s - 5, y + 1.5);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
  }
  double cx = x + s / 2, cy = y + s / 2 + (on || pushed ? 0.5 : 0);
  if (disabled) PowerGlyph(cr, cx, cy, 0x9aa5b4, 1, false);
  else if (on) PowerGlyph(cr, cx, cy, hot ? 0x8a94a3 : 0x6b7584, 1, false);
  else PowerGlyph(cr, cx, cy, pushed ? 0x3fbf72 : hot ? 0x6ef0a0 : 0x4ade80, 1, !pushed);
  if (disabled) {
    cairo_pop_group_to_source(cr);
    cairo_paint_with_alpha(cr, 0.35);
  }
  cairo_restore(cr);
}

cairo_surface_t* Canvas(int w, int h, cairo_t** cr) {
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  *cr = cairo_create(s);
  cairo_set_antialias(*cr, CAIRO_ANTIALIAS_BEST);
  return s;
}

}  // namespace

cairo_surface_t* QxArt_StripBackground() {
  const int w = 256, h = 64;
  cairo_t* cr;
  cairo_surface_t* s = Canvas(w, h, &cr);
  cairo_pattern_t* base = cairo_pattern_create_linear(0, 0, 0, h);
  Stop(base, 0, 0x2e3a4e);
  Stop(base, 0.55, 0x222c3c);
  Stop(base, 1, 0x171e2a);
  cairo_set_source(cr, base);
  cairo_paint(cr);
  cairo_pattern_destroy(base);
  // A soft teal light from the left, behind the toggle and the title.
  cairo_pattern_t* glow = cairo_pattern_create_linear(0, 0, w, 0);
  Stop(glow, 0, 0x2dd4bf, 0.16);
  Stop(glow, 0.45, 0x38bdf8, 0.05);
  Stop(glow, 1, 0x818cf8, 0.0);
  cairo_set_source(cr, glow);
  cairo_paint(cr);
  cairo_pattern_destroy(glow);
  // The accent edge along the bottom, with a dark seam above it.
  cairo_rectangle(cr, 0, h - 3, w, 1);
  Source(cr, 0x0b0f16, 0.8);
  cairo_fill(cr);
  cairo_pattern_t* edge = cairo_pattern_create_linear(0, 0, w, 0);
  Stop(edge, 0, 0x2dd4bf);
  Stop(edge, 0.5, 0x38bdf8);
  Stop(edge, 1, 0x818cf8);
  cairo_rectangle(cr, 0, h - 2, w, 2);
  cairo_set_source(cr, edge);
  cairo_fill(cr);
  cairo_pattern_destroy(edge);
  cairo_destroy(cr);
  return s;
}

cairo_surface_t* QxArt_StripPictures() {
  cairo_t* cr;
  cairo_surface_t* s = Canvas(6 * kCell, kCell, &cr);
  for (int look = 0; look < 6; ++look) Toggle(cr, look);
  cairo_destroy(cr);
  return s;
}

cairo_surface_t* QxArt_StripEmblem() {
  cairo_t* cr;
  cairo_surface_t* s = Canvas(kCell, kCell, &cr);
  cairo_pattern_t* fill = cairo_pattern_create_linear(0, 0, kCell, kCell);
  Stop(fill, 0, 0x2dd4bf);
  Stop(fill, 1, 0x6366f1);
  QxUi_RoundRectPath(cr, 1, 1, kCell - 2, kCell - 2, 5);
  cairo_set_source(cr, fill);
  cairo_fill(cr);
  cairo_pattern_destroy(fill);
  // A wave that fades as it travels: the sound and its echo.
  cairo_set_line_width(cr, 1.7);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  Source(cr, 0xffffff, 0.95);
  for (int i = 0; i <= 28; ++i) {
    double t = i / 28.0, px = 4.5 + 13 * t;
    double py = 11 - 6.0 * std::exp(-2.2 * t) * std::sin(t * 3.5 * kPi);
    if (i == 0) cairo_move_to(cr, px, py);
    else cairo_line_to(cr, px, py);
  }
  cairo_stroke(cr);
  cairo_destroy(cr);
  return s;
}
