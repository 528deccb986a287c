// The X11 backend: one X window per top-level showing its back buffer with XPutImage, and the
// display's events turned into the router's mouse and key input on the owning thread.
#include "platform/ui/x11.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <X11/keysym.h>

#include <algorithm>
#include <map>

#include "platform/ui/window_internal.h"

using namespace qxui;

namespace {

struct DisplayLink {
  int hosts = 0;
  Atom deleteWindow = 0;
  std::map<int, Cursor> cursors;
};

// Per thread: which X window belongs to which top-level, and the displays being read.
struct X11Thread {
  std::map<std::pair<Display*, Window>, HWND> windows;
  std::map<Display*, DisplayLink> displays;
};

X11Thread& XT() {
  thread_local X11Thread t;
  return t;
}

void PumpDisplay(Display* d);

// Destroying our window inside another client's: that client may take its window, and ours with
// it, down at any moment, even between a check and our request, so a BadWindow there is expected.
// Any other error goes to the handler that was in place.
XErrorHandler g_handlerBefore = nullptr;
int IgnoreBadWindow(Display* d, XErrorEvent* e) {
  if (e->error_code == BadWindow) return 0;
  return g_handlerBefore ? g_handlerBefore(d, e) : 0;
}

UINT VkOf(KeySym k) {
  if (k >= XK_a && k <= XK_z) return static_cast<UINT>('A' + (k - XK_a));
  if (k >= XK_A && k <= XK_Z) return static_cast<UINT>('A' + (k - XK_A));
  if (k >= XK_0 && k <= XK_9) return static_cast<UINT>('0' + (k - XK_0));
  if (k >= XK_F1 && k <= XK_F12) return static_cast<UINT>(VK_F1 + (k - XK_F1));
  if (k >= XK_KP_0 && k <= XK_KP_9) return static_cast<UINT>(VK_NUMPAD0 + (k - XK_KP_0));
  switch (k) {
    case XK_Return: case XK_KP_Enter: return VK_RETURN;
    case XK_Tab: case XK_ISO_Left_Tab: return VK_TAB;
    case XK_Escape: return VK_ESCAPE;
    case XK_BackSpace: return VK_BACK;
    case XK_Delete: case XK_KP_Delete: return VK_DELETE;
    case XK_Insert: return VK_INSERT;
    case XK_Home: case XK_KP_Home: return VK_HOME;
    case XK_End: case XK_KP_End: return VK_END;
    case XK_Left: case XK_KP_Left: return VK_LEFT;
    case XK_Right: case XK_KP_Right: return VK_RIGHT;
    case XK_Up: case XK_KP_Up: return VK_UP;
    case XK_Down: case XK_KP_Down: return VK_DOWN;
    case XK_Prior: case XK_KP_Prior: return VK_PRIOR;
    case XK_Next: case XK_KP_Next: return VK_NEXT;
    case XK_Shift_L: return VK_LSHIFT;
    case XK_Shift_R: return VK_RSHIFT;
    case XK_Control_L: return VK_LCONTROL;
    case XK_Control_R: return VK_RCONTROL;
    case XK_Alt_L: case XK_Meta_L: return VK_LMENU;
    case XK_Alt_R: case XK_Meta_R: case XK_ISO_Level3_Shift: return VK_RMENU;
    case XK_space: return VK_SPACE;
    case XK_period: return VK_OEM_PERIOD;
    case XK_comma: return VK_OEM_COMMA;
    case XK_minus: return VK_OEM_MINUS;
    case XK_KP_Decimal: return VK_DECIMAL;
    case XK_KP_Subtract: return VK_SUBTRACT;
    case XK_KP_Add: return VK_ADD;
    case XK_Menu: return VK_APPS;
    case XK_Clear: case XK_KP_Begin: return VK_CLEAR;
  }
  return 0;
}

// Shift and Ctrl as the event saw them, so that synthetic input without key events also counts.
void SyncModifiers(unsigned state) {
  BYTE* keys = Ui().keys;
  auto set = [&](UINT vk, bool down) { keys[vk] = static_cast<BYTE>((keys[vk] & 1) | (down ? 0x80 : 0)); };
  set(VK_SHIFT, state & ShiftMask);
  set(VK_CONTROL, state & ControlMask);
}

class X11Host : public NativeHost {
 public:
  X11Host(HWND top, Display* d, Window parent, bool popup) : top_(top), d_(d), popup_(popup), embedded_(parent != 0) {
    Wnd* w = Find(top);
    int screen = DefaultScreen(d);
    XSetWindowAttributes a{};
    a.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | KeyPressMask |
                   KeyReleaseMask | StructureNotifyMask | FocusChangeMask;
    a.override_redirect = popup ? True : False;
    a.background_pixel = 0xF0F0F0;
    int cx = std::max(1, static_cast<int>(w->rect.right - w->rect.left));
    int cy = std::max(1, static_cast<int>(w->rect.bottom - w->rect.top));
    visual_ = DefaultVisual(d, screen);
    depth_ = DefaultDepth(d, screen);
    // A host's window may have a visual other than the screen's default (GTK picks its own), and
    // the server refuses a child whose visual differs from the colormap it inherits: take the parent's.
    XWindowAttributes pa{};
    if (parent && XGetWindowAttributes(d, parent, &pa)) {
      visual_ = pa.visual;
      depth_ = pa.depth;
    }
    win_ = XCreateWindow(d, parent ? parent : RootWindow(d, screen), w->rect.left, w->rect.top, cx, cy, 0, depth_,
                         InputOutput, visual_, CWEventMask | CWOverrideRedirect | CWBackPixel, &a);
    gc_ = XCreateGC(d, win_, 0, nullptr);
    X11Thread& t = XT();
    t.windows[{d, win_}] = top;
    DisplayLink& link = t.displays[d];
    if (link.hosts++ == 0) {
      link.deleteWindow = XInternAtom(d, "WM_DELETE_WINDOW", False);
      EnableQueueFd();
      Ui().sources.push_back(NativeSource{ConnectionNumber(d), [d] { PumpDisplay(d); }});
    }
    if (!parent && !popup) {
      XSetWMProtocols(d, win_, &link.deleteWindow, 1);
      std::string title = Utf8(w->text);
      XStoreName(d, win_, title.empty() ? "qxppack1" : title.c_str());
    }
    XFlush(d);
  }

  ~X11Host() override {
    X11Thread& t = XT();
    t.windows.erase({d_, win_});
    XFreeGC(d_, gc_);
    // A host may destroy its window, and ours with it, before it lets the page go: destroying
    // ours again would be an error on a connection whose handler the host may not forgive.
    XEvent e;
    if (embedded_ && !gone_) {
      XSync(d_, False);
      gone_ = XCheckTypedWindowEvent(d_, win_, DestroyNotify, &e);
      if (!gone_) {
        g_handlerBefore = XSetErrorHandler(IgnoreBadWindow);
        XDestroyWindow(d_, win_);
        XSync(d_, False);
        XSetErrorHandler(g_handlerBefore);
      }
    } else if (!gone_) {
      XDestroyWindow(d_, win_);
    }
    XFlush(d_);
    DisplayLink& link = t.displays[d_];
    if (--link.hosts == 0) {
      for (auto& [id, c] : link.cursors) XFreeCursor(d_, c);
      t.displays.erase(d_);
      auto& s = Ui().sources;
      int fd = ConnectionNumber(d_);
      s.erase(std::remove_if(s.begin(), s.end(), [fd](const NativeSource& n) { return n.fd == fd; }), s.end());
    }
  }

  void Present(const RECT& r) override {
    Wnd* w = Find(top_);
    if (!w || !w->surface || IsRectEmpty(&r) || gone_) return;
    Surface& s = *w->surface;
    cairo_surface_flush(s.image);
    XImage* img = XCreateImage(d_, visual_, depth_, ZPixmap, 0,
                               reinterpret_cast<char*>(cairo_image_surface_get_data(s.image)), s.cx, s.cy, 32,
                               cairo_image_surface_get_stride(s.image));
    if (!img) return;
    RECT c{std::max<LONG>(0, r.left), std::max<LONG>(0, r.top), std::min<LONG>(r.right, s.cx), std::min<LONG>(r.bottom, s.cy)};
    if (!IsRectEmpty(&c)) XPutImage(d_, win_, gc_, img, c.left, c.top, c.left, c.top, c.right - c.left, c.bottom - c.top);
    img->data = nullptr;  // the pixels stay the surface's
    XDestroyImage(img);
    XFlush(d_);
  }

  void Resize(int cx, int cy) override {
    XResizeWindow(d_, win_, std::max(cx, 1), std::max(cy, 1));
    XFlush(d_);
  }
  void Move(int x, int y) override {
    XMoveWindow(d_, win_, x, y);
    XFlush(d_);
  }
  void Show(bool visible) override {
    if (visible) XMapRaised(d_, win_);
    else XUnmapWindow(d_, win_);
    XFlush(d_);
  }
  POINT ScreenOrigin(const RECT&) override {
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(d_, win_, DefaultRootWindow(d_), 0, 0, &x, &y, &child);
    return POINT{x, y};
  }
  void SetCursorShape(int id) override {
    unsigned shape = id == 32513 ? XC_xterm : id == 32649 ? XC_hand2 : id == 32644 ? XC_sb_h_double_arrow
                   : id == 32645 ? XC_sb_v_double_arrow : XC_left_ptr;
    auto& cursors = XT().displays[d_].cursors;
    auto it = cursors.find(static_cast<int>(shape));
    if (it == cursors.end()) it = cursors.emplace(static_cast<int>(shape), XCreateFontCursor(d_, shape)).first;
    XDefineCursor(d_, win_, it->second);
  }
  bool IsX11() const override { return true; }

  void Handle(XEvent& e) {
    switch (e.type) {
      case Expose: {
        RECT r{e.xexpose.x, e.xexpose.y, e.xexpose.x + e.xexpose.width, e.xexpose.y + e.xexpose.height};
        Present(r);
        break;
      }
      case ButtonPress:
      case ButtonRelease: {
        SyncModifiers(e.xbutton.state);
        POINT p{e.xbutton.x_root, e.xbutton.y_root};
        bool down = e.type == ButtonPress;
        if (down && !popup_) XSetInputFocus(d_, win_, RevertToParent, CurrentTime);
        switch (e.xbutton.button) {
          case 1: RouteMouse(top_, down ? WM_LBUTTONDOWN : WM_LBUTTONUP, p, 0); break;
          case 2: RouteMouse(top_, down ? WM_MBUTTONDOWN : WM_MBUTTONUP, p, 0); break;
          case 3: RouteMouse(top_, down ? WM_RBUTTONDOWN : WM_RBUTTONUP, p, 0); break;
          case 4: if (down) RouteMouse(top_, WM_MOUSEWHEEL, p, WHEEL_DELTA); break;
          case 5: if (down) RouteMouse(top_, WM_MOUSEWHEEL, p, -WHEEL_DELTA); break;
        }
        break;
      }
      case MotionNotify:
        SyncModifiers(e.xmotion.state);
        RouteMouse(top_, WM_MOUSEMOVE, POINT{e.xmotion.x_root, e.xmotion.y_root}, 0);
        break;
      case KeyPress:
      case KeyRelease: {
        char buf[16] = {};
        KeySym sym = 0;
        int n = XLookupString(&e.xkey, buf, sizeof buf - 1, &sym, nullptr);
        UINT vk = VkOf(sym);
        if (!vk) break;
        uint32_t ch = 0;
        // XLookupString answers Latin-1 in the C locale, which is also the first page of UTF-16.
        if (e.type == KeyPress && n >= 1) ch = static_cast<unsigned char>(buf[0]);
        if (vk == VK_TAB && ch == 0) ch = '\t';
        RouteKey(vk, e.type == KeyPress, ch);
        break;
      }
      case ConfigureNotify: {
        Wnd* w = Find(top_);
        if (w && !embedded_ && !popup_ &&
            (e.xconfigure.width != w->rect.right - w->rect.left || e.xconfigure.height != w->rect.bottom - w->rect.top))
          SetWindowPos(top_, nullptr, 0, 0, e.xconfigure.width, e.xconfigure.height, SWP_NOMOVE | SWP_NOZORDER);
        break;
      }
      case DestroyNotify:
        gone_ = gone_ || e.xdestroywindow.window == win_;
        break;
      case ClientMessage:
        if (static_cast<Atom>(e.xclient.data.l[0]) == XT().displays[d_].deleteWindow) PostMessage(top_, WM_CLOSE, 0, 0);
        break;
    }
  }

 private:
  HWND top_;
  Display* d_;
  Window win_ = 0;
  GC gc_ = nullptr;
  Visual* visual_ = nullptr;
  int depth_ = 0;
  bool popup_, embedded_;
  bool gone_ = false;  // the server destroyed our window with its parent
};

void PumpDisplay(Display* d) {
  while (XPending(d)) {
    XEvent e;
    XNextEvent(d, &e);
    auto& windows = XT().windows;
    auto it = windows.find({d, e.xany.window});
    if (it == windows.end()) continue;
    Wnd* w = Find(it->second);
    if (!w || !w->surface || !w->surface->host) continue;
    static_cast<X11Host*>(w->surface->host.get())->Handle(e);
  }
}

}  // namespace

namespace qxui {
std::unique_ptr<NativeHost> MakeX11Host(HWND top, void* display, unsigned long parent, bool popup) {
  return std::make_unique<X11Host>(top, static_cast<Display*>(display), parent, popup);
}
}  // namespace qxui

void QxX11_SetThreadDisplay(Display* display) { Ui().x11Display = display; }

HWND QxX11_WrapWindow(Display* display, unsigned long xWindow) {
  if (!display || !xWindow) return nullptr;
  auto w = std::make_unique<Wnd>();
  w->xDisplay = display;
  w->xid = xWindow;
  Window root;
  int x, y;
  unsigned cx = 0, cy = 0, border, depth;
  if (XGetGeometry(display, xWindow, &root, &x, &y, &cx, &cy, &border, &depth))
    w->rect = RECT{0, 0, static_cast<LONG>(cx), static_cast<LONG>(cy)};
  w->style = WS_VISIBLE;
  return Register(std::move(w));
}

unsigned long QxX11_WindowOf(HWND topLevel) {
  for (auto& [key, h] : XT().windows)
    if (h == topLevel) return key.second;
  return 0;
}
