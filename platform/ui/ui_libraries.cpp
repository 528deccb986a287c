// The window layer's libraries (cairo, pango, X11), opened on the first call that needs them: a
// module that only processes audio never maps them, which is most of a short run's start-up time.
//
// Each function the window layer calls is defined here with the signature its header declares (the
// compiler checks it) and forwards to the library's own, found once. The module links with
// --as-needed, so a call without a forwarder here brings its library back into the module's NEEDED
// list, which the module's export test refuses.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>
#include <dlfcn.h>
#include <pango/pangocairo.h>

#include <cstdio>
#include <cstdlib>

namespace {
enum class QxUiLib { Cairo, Pango, PangoCairo, GObject, X11, Count };

constexpr const char* kLibraryFiles[] = {"libcairo.so.2", "libpango-1.0.so.0", "libpangocairo-1.0.so.0",
                                         "libgobject-2.0.so.0", "libX11.so.6"};

// A library the package depends on is missing or broken: nothing can be drawn, and the caller
// cannot be told through a drawing call, so say what is missing and stop.
[[noreturn]] void Missing(const char* what) {
  std::fprintf(stderr, "qxppack1: the window layer cannot start: %s\n", what);
  std::fflush(stderr);
  std::_Exit(127);
}

void* QxUiSymbol(QxUiLib lib, const char* name) {
  static void* handles[static_cast<int>(QxUiLib::Count)] = {};
  void*& handle = handles[static_cast<int>(lib)];
  // Racing first calls both open the library; dlopen counts references, so either handle serves.
  if (!__atomic_load_n(&handle, __ATOMIC_ACQUIRE)) {
    void* h = dlopen(kLibraryFiles[static_cast<int>(lib)], RTLD_LAZY | RTLD_LOCAL);
    if (!h) Missing(dlerror());
    __atomic_store_n(&handle, h, __ATOMIC_RELEASE);
  }
  void* symbol = dlsym(handle, name);
  if (!symbol) Missing(dlerror());
  return symbol;
}
}  // namespace

#define QX_LAZY(lib, ret, name, params, args)                                                    \
  extern "C" ret name params {                                                                   \
    static const auto real = reinterpret_cast<decltype(&name)>(QxUiSymbol(QxUiLib::lib, #name)); \
    return real args;                                                                            \
  }

QX_LAZY(Cairo, void, cairo_arc, (cairo_t* a, double b, double c, double d, double e, double f), (a, b, c, d, e, f))
QX_LAZY(Cairo, void, cairo_clip, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_close_path, (cairo_t* a), (a))
QX_LAZY(Cairo, cairo_t*, cairo_create, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, void, cairo_destroy, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_fill, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_fill_preserve, (cairo_t* a), (a))
QX_LAZY(Cairo, cairo_font_options_t*, cairo_font_options_create, (), ())
QX_LAZY(Cairo, void, cairo_font_options_destroy, (cairo_font_options_t* a), (a))
QX_LAZY(Cairo, void, cairo_font_options_set_antialias, (cairo_font_options_t* a, cairo_antialias_t b), (a, b))
QX_LAZY(Cairo, void, cairo_font_options_set_hint_metrics, (cairo_font_options_t* a, cairo_hint_metrics_t b), (a, b))
QX_LAZY(Cairo, void, cairo_font_options_set_hint_style, (cairo_font_options_t* a, cairo_hint_style_t b), (a, b))
QX_LAZY(Cairo, cairo_pattern_t*, cairo_get_source, (cairo_t* a), (a))
QX_LAZY(Cairo, cairo_surface_t*, cairo_image_surface_create, (cairo_format_t a, int b, int c), (a, b, c))
QX_LAZY(Cairo, cairo_surface_t*, cairo_image_surface_create_from_png_stream, (cairo_read_func_t a, void* b), (a, b))
QX_LAZY(Cairo, unsigned char*, cairo_image_surface_get_data, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, cairo_format_t, cairo_image_surface_get_format, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, int, cairo_image_surface_get_height, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, int, cairo_image_surface_get_stride, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, int, cairo_image_surface_get_width, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, void, cairo_line_to, (cairo_t* a, double b, double c), (a, b, c))
QX_LAZY(Cairo, void, cairo_move_to, (cairo_t* a, double b, double c), (a, b, c))
QX_LAZY(Cairo, void, cairo_new_path, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_new_sub_path, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_paint, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_paint_with_alpha, (cairo_t* a, double b), (a, b))
QX_LAZY(Cairo, void, cairo_pattern_add_color_stop_rgba,
        (cairo_pattern_t* a, double b, double c, double d, double e, double f), (a, b, c, d, e, f))
QX_LAZY(Cairo, cairo_pattern_t*, cairo_pattern_create_linear, (double a, double b, double c, double d), (a, b, c, d))
QX_LAZY(Cairo, void, cairo_pattern_destroy, (cairo_pattern_t* a), (a))
QX_LAZY(Cairo, void, cairo_pattern_set_filter, (cairo_pattern_t* a, cairo_filter_t b), (a, b))
QX_LAZY(Cairo, void, cairo_pop_group_to_source, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_push_group, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_rectangle, (cairo_t* a, double b, double c, double d, double e), (a, b, c, d, e))
QX_LAZY(Cairo, void, cairo_restore, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_save, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_scale, (cairo_t* a, double b, double c), (a, b, c))
QX_LAZY(Cairo, void, cairo_set_antialias, (cairo_t* a, cairo_antialias_t b), (a, b))
QX_LAZY(Cairo, void, cairo_set_line_cap, (cairo_t* a, cairo_line_cap_t b), (a, b))
QX_LAZY(Cairo, void, cairo_set_line_join, (cairo_t* a, cairo_line_join_t b), (a, b))
QX_LAZY(Cairo, void, cairo_set_line_width, (cairo_t* a, double b), (a, b))
QX_LAZY(Cairo, void, cairo_set_operator, (cairo_t* a, cairo_operator_t b), (a, b))
QX_LAZY(Cairo, void, cairo_set_source, (cairo_t* a, cairo_pattern_t* b), (a, b))
QX_LAZY(Cairo, void, cairo_set_source_rgb, (cairo_t* a, double b, double c, double d), (a, b, c, d))
QX_LAZY(Cairo, void, cairo_set_source_rgba, (cairo_t* a, double b, double c, double d, double e), (a, b, c, d, e))
QX_LAZY(Cairo, void, cairo_set_source_surface, (cairo_t* a, cairo_surface_t* b, double c, double d), (a, b, c, d))
QX_LAZY(Cairo, void, cairo_stroke, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_stroke_preserve, (cairo_t* a), (a))
QX_LAZY(Cairo, void, cairo_surface_destroy, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, void, cairo_surface_flush, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, void, cairo_surface_mark_dirty, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, cairo_status_t, cairo_surface_status, (cairo_surface_t* a), (a))
QX_LAZY(Cairo, cairo_status_t, cairo_surface_write_to_png, (cairo_surface_t* a, const char* b), (a, b))
QX_LAZY(Cairo, cairo_status_t, cairo_surface_write_to_png_stream, (cairo_surface_t* a, cairo_write_func_t b, void* c),
        (a, b, c))
QX_LAZY(Cairo, void, cairo_translate, (cairo_t* a, double b, double c), (a, b, c))

QX_LAZY(Pango, void, pango_attr_list_insert, (PangoAttrList* a, PangoAttribute* b), (a, b))
QX_LAZY(Pango, PangoAttrList*, pango_attr_list_new, (), ())
QX_LAZY(Pango, void, pango_attr_list_unref, (PangoAttrList* a), (a))
QX_LAZY(Pango, PangoAttribute*, pango_attr_underline_new, (PangoUnderline a), (a))
QX_LAZY(Pango, PangoFontDescription*, pango_font_description_copy, (const PangoFontDescription* a), (a))
QX_LAZY(Pango, void, pango_font_description_free, (PangoFontDescription* a), (a))
QX_LAZY(Pango, PangoFontDescription*, pango_font_description_from_string, (const char* a), (a))
QX_LAZY(Pango, void, pango_font_description_set_absolute_size, (PangoFontDescription* a, double b), (a, b))
QX_LAZY(Pango, void, pango_font_description_set_family, (PangoFontDescription* a, const char* b), (a, b))
QX_LAZY(Pango, void, pango_font_description_set_style, (PangoFontDescription* a, PangoStyle b), (a, b))
QX_LAZY(Pango, void, pango_font_description_set_weight, (PangoFontDescription* a, PangoWeight b), (a, b))
QX_LAZY(Pango, void, pango_layout_context_changed, (PangoLayout* a), (a))
QX_LAZY(Pango, int, pango_layout_get_baseline, (PangoLayout* a), (a))
QX_LAZY(Pango, PangoContext*, pango_layout_get_context, (PangoLayout* a), (a))
QX_LAZY(Pango, void, pango_layout_get_pixel_extents, (PangoLayout* a, PangoRectangle* b, PangoRectangle* c), (a, b, c))
QX_LAZY(Pango, int, pango_layout_get_width, (PangoLayout* a), (a))
QX_LAZY(Pango, void, pango_layout_set_alignment, (PangoLayout* a, PangoAlignment b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_attributes, (PangoLayout* a, PangoAttrList* b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_ellipsize, (PangoLayout* a, PangoEllipsizeMode b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_font_description, (PangoLayout* a, const PangoFontDescription* b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_single_paragraph_mode, (PangoLayout* a, gboolean b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_text, (PangoLayout* a, const char* b, int c), (a, b, c))
QX_LAZY(Pango, void, pango_layout_set_width, (PangoLayout* a, int b), (a, b))
QX_LAZY(Pango, void, pango_layout_set_wrap, (PangoLayout* a, PangoWrapMode b), (a, b))

QX_LAZY(PangoCairo, void, pango_cairo_context_set_font_options, (PangoContext* a, const cairo_font_options_t* b),
        (a, b))
QX_LAZY(PangoCairo, void, pango_cairo_context_set_resolution, (PangoContext* a, double b), (a, b))
QX_LAZY(PangoCairo, PangoLayout*, pango_cairo_create_layout, (cairo_t* a), (a))
QX_LAZY(PangoCairo, void, pango_cairo_show_layout, (cairo_t* a, PangoLayout* b), (a, b))

QX_LAZY(GObject, void, g_object_unref, (gpointer a), (a))

QX_LAZY(X11, int, XCheckTypedWindowEvent, (Display* a, Window b, int c, XEvent* d), (a, b, c, d))
QX_LAZY(X11, int, XCloseDisplay, (Display* a), (a))
QX_LAZY(X11, Cursor, XCreateFontCursor, (Display* a, unsigned int b), (a, b))
QX_LAZY(X11, GC, XCreateGC, (Display* a, Drawable b, long unsigned int c, XGCValues* d), (a, b, c, d))
QX_LAZY(X11, XImage*, XCreateImage,
        (Display* a, Visual* b, unsigned int c, int d, int e, char* f, unsigned int g, unsigned int h, int i, int j),
        (a, b, c, d, e, f, g, h, i, j))
QX_LAZY(X11, Window, XCreateWindow,
        (Display* a, Window b, int c, int d, unsigned int e, unsigned int f, unsigned int g, int h, unsigned int i,
         Visual* j, long unsigned int k, XSetWindowAttributes* l),
        (a, b, c, d, e, f, g, h, i, j, k, l))
QX_LAZY(X11, int, XDefineCursor, (Display* a, Window b, Cursor c), (a, b, c))
QX_LAZY(X11, int, XDestroyWindow, (Display* a, Window b), (a, b))
QX_LAZY(X11, int, XFlush, (Display* a), (a))
QX_LAZY(X11, int, XFreeCursor, (Display* a, Cursor b), (a, b))
QX_LAZY(X11, int, XFreeGC, (Display* a, GC b), (a, b))
QX_LAZY(X11, int, XGetGeometry,
        (Display* a, Drawable b, Window* c, int* d, int* e, unsigned int* f, unsigned int* g, unsigned int* h,
         unsigned int* i),
        (a, b, c, d, e, f, g, h, i))
QX_LAZY(X11, int, XGetWindowAttributes, (Display* a, Window b, XWindowAttributes* c), (a, b, c))
QX_LAZY(X11, Atom, XInternAtom, (Display* a, const char* b, int c), (a, b, c))
QX_LAZY(X11, int, XLookupString, (XKeyEvent* a, char* b, int c, KeySym* d, XComposeStatus* e), (a, b, c, d, e))
QX_LAZY(X11, int, XMapRaised, (Display* a, Window b), (a, b))
QX_LAZY(X11, int, XMoveWindow, (Display* a, Window b, int c, int d), (a, b, c, d))
QX_LAZY(X11, int, XNextEvent, (Display* a, XEvent* b), (a, b))
QX_LAZY(X11, Display*, XOpenDisplay, (const char* a), (a))
QX_LAZY(X11, int, XPending, (Display* a), (a))
QX_LAZY(X11, int, XPutImage,
        (Display* a, Drawable b, GC c, XImage* d, int e, int f, int g, int h, unsigned int i, unsigned int j),
        (a, b, c, d, e, f, g, h, i, j))
QX_LAZY(X11, int, XResizeWindow, (Display* a, Window b, unsigned int c, unsigned int d), (a, b, c, d))
QX_LAZY(X11, XErrorHandler, XSetErrorHandler, (XErrorHandler a), (a))
QX_LAZY(X11, int, XSetInputFocus, (Display* a, Window b, int c, Time d), (a, b, c, d))
QX_LAZY(X11, int, XSetWMProtocols, (Display* a, Window b, Atom* c, int d), (a, b, c, d))
QX_LAZY(X11, int, XStoreName, (Display* a, Window b, const char* c), (a, b, c))
QX_LAZY(X11, int, XSync, (Display* a, int b), (a, b))
QX_LAZY(X11, int, XTranslateCoordinates, (Display* a, Window b, Window c, int d, int e, int* f, int* g, Window* h),
        (a, b, c, d, e, f, g, h))
QX_LAZY(X11, int, XUnmapWindow, (Display* a, Window b), (a, b))
