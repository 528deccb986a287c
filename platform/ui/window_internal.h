// Inside the window layer: the window record, the per-thread state (focus, capture, timers, keys,
// clock, top-levels) and the native host interface that each backend implements.
#pragma once
#include <cairo.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/ui/window.h"
#include "platform/ui/window_class.h"

namespace qxui {

// A backend's native window for one top-level: it shows the back buffer and reports input through
// the router (input.cpp). Headless hosts show nothing.
class NativeHost {
 public:
  virtual ~NativeHost() = default;
  virtual void Present(const RECT& dirty) = 0;  // back-buffer pixels in `dirty` changed
  virtual void Resize(int cx, int cy) {}
  virtual void Move(int x, int y) {}  // screen position of a top-level of our own
  virtual void Show(bool visible) {}
  virtual POINT ScreenOrigin(const RECT& rect) { return POINT{rect.left, rect.top}; }
  virtual void SetCursorShape(int cursorId) {}
  virtual void TakeKeyboardFocus() {}
  virtual bool IsX11() const { return false; }
};

// The back buffer of a top-level: its whole client area, opaque.
struct Surface {
  cairo_surface_t* image = nullptr;
  int cx = 0, cy = 0;
  RECT dirty{};  // changed since the last Present
  std::unique_ptr<NativeHost> host;
  ~Surface();
  void Resize(int w, int h);
};

struct Wnd {
  HWND h = nullptr;
  DWORD thread = 0;
  WNDCLASSW cls{};
  std::u16string className;
  WNDPROC proc = nullptr;
  DWORD style = 0, exStyle = 0;
  LONG_PTR id = 0, userData = 0;
  HINSTANCE instance = nullptr;
  std::vector<LONG_PTR> extra;  // cbWndExtra, in 8-byte slots
  std::u16string text;
  RECT rect{};  // children: in the parent's client; top-levels: on the screen
  HWND parent = nullptr;  // children: the parent; popups: the owner
  HWND foreignParent = nullptr;  // a top-level embedded in a host's native window
  std::vector<HWND> children;  // front is the top of the z-order (first created)
  std::map<std::u16string, HANDLE> props;
  RECT update{};  // invalid part, in top-level coordinates
  bool erase = false;
  bool dying = false;       // from WM_DESTROY on: a second DestroyWindow is refused
  bool destroying = false;  // after WM_NCDESTROY: IsWindow answers FALSE
  std::unique_ptr<Surface> surface;  // top-levels only
  void* xDisplay = nullptr;  // X11 top-levels and host windows: the connection they live on
  unsigned long xid = 0;     // a host's native window that this record stands for (no procedure)
  bool IsChild() const { return (style & WS_CHILD) && !foreignParent; }
};

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT elapse;
  DWORD due;
  TIMERPROC proc;
};

struct NativeSource {
  int fd;
  std::function<void()> pump;  // moves pending native events into the queue
};

struct ThreadUi {
  HWND focus = nullptr, capture = nullptr, active = nullptr;
  HCURSOR cursor = nullptr;
  std::vector<Timer> timers;
  BYTE keys[256] = {};
  bool virtualClock = false;
  DWORD virtualNow = 0;
  DWORD msgTime = 0;
  POINT msgPos{}, cursorPos{};
  std::vector<HWND> topLevels;  // in creation order; popups come after their owners
  // Double-click detection.
  HWND lastClickWnd = nullptr;
  UINT lastClickMsg = 0;
  DWORD lastClickTime = 0;
  POINT lastClickPos{};
  std::function<bool()> idleHook;
  std::vector<NativeSource> sources;
  void* x11Display = nullptr;  // the thread's default display for new top-levels
  int depth = 0;  // nested message calls
  int modal = 0;
  int caretHidden = 0;  // running modal loops (menus, modal dialogs), which read the input themselves
  std::vector<std::unique_ptr<Wnd>> graveyard;  // destroyed records, freed at depth 0
};

ThreadUi& Ui();
DWORD Now();
Wnd* Find(HWND h);  // null for dead handles and bare handles without a record
HWND Register(std::unique_ptr<Wnd> w);
void Unregister(HWND h);
// Queue plumbing shared with input routing.
bool PostFull(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, POINT pt);
void WakeQueue();
void EnableQueueFd();  // a readable descriptor wakes poll() when a message is posted
int QueueFd();

// Windows and coordinates.
HWND TopLevelOf(HWND h);
POINT OriginInTop(HWND h);   // client origin of `h` in its top-level's client coordinates
POINT ScreenOrigin(HWND h);  // client origin on the screen
RECT VisibleRectInTop(HWND h);  // the part of `h` its ancestors do not clip, in top-level coordinates
bool IsVisibleDeep(HWND h);
HWND HitTest(HWND top, POINT ptInTop);
// Painting.
bool NextPaint(MSG* msg, HWND filter);
void PresentAll();
void InvalidateTop(HWND top, RECT inTop, bool erase);
// Input routing, shared by every backend: a mouse event at a screen point that arrived in native
// window `from` (null: whichever top-level lies there), a key with the character it types.
void RouteMouse(HWND from, UINT msg, POINT screen, int wheelDelta);
void RouteKey(UINT vk, bool down, uint32_t ch);
// Dialog plumbing.
HWND DialogOf(HWND h);  // the innermost dialog containing h, or null
// Backends.
std::unique_ptr<NativeHost> MakeHeadlessHost();
std::unique_ptr<NativeHost> MakeX11Host(HWND top, void* display, unsigned long parentWindow, bool popup);
// Registers the layer's own classes (BUTTON, STATIC, EDIT, COMBOBOX, dialog, list and menu popups).
void EnsureSystemClasses();
// Text of the UTF-16 world as UTF-8 for pango.
std::string Utf8(std::u16string_view s);

}  // namespace qxui
