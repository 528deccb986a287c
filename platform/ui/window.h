// Windows, their messages and queues: the core of the window layer. A handle is owned by the thread
// that created it; posted messages go to that thread's queue, sent messages call the procedure.
#pragma once
#include <cstdint>

#include "platform/com/types.h"
#include "platform/ui/messages.h"

using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;

// PeekMessage removal flags.
inline constexpr UINT PM_NOREMOVE = 0x0000;
inline constexpr UINT PM_REMOVE = 0x0001;

struct POINT {
  LONG x;
  LONG y;
};
struct SIZE {
  LONG cx;
  LONG cy;
};
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;  // milliseconds of a monotonic clock when posted
  POINT pt;
};

constexpr WORD LOWORD(uintptr_t v) { return static_cast<WORD>(v & 0xFFFF); }
constexpr WORD HIWORD(uintptr_t v) { return static_cast<WORD>((v >> 16) & 0xFFFF); }
constexpr DWORD MAKELONG(WORD lo, WORD hi) { return static_cast<DWORD>(lo) | (static_cast<DWORD>(hi) << 16); }
constexpr WPARAM MAKEWPARAM(WORD lo, WORD hi) { return static_cast<WPARAM>(MAKELONG(lo, hi)); }
constexpr LPARAM MAKELPARAM(WORD lo, WORD hi) { return static_cast<LPARAM>(MAKELONG(lo, hi)); }

// The calling thread's identifier in this layer (small, nonzero, never reused).
DWORD GetCurrentThreadId();

// A new live handle owned by the calling thread. Never returns a handle seen before.
HWND CreateWindowHandle();
// Only the owning thread may destroy a window (FALSE otherwise, or for a dead handle). Messages
// still queued for it are dropped.
BOOL DestroyWindow(HWND hwnd);
BOOL IsWindow(HWND hwnd);
// The owning thread's identifier, 0 for a dead handle.
DWORD GetWindowThreadId(HWND hwnd);

// Queues a message for the window's owning thread and returns at once; FALSE for a dead handle.
BOOL PostMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
// Queues a message with no window for the given thread; FALSE if that thread has no queue.
BOOL PostThreadMessage(DWORD threadId, UINT msg, WPARAM wParam, LPARAM lParam);
// Posts WM_QUIT with the exit code to the calling thread's own queue.
void PostQuitMessage(int exitCode);

// The first queued message of the calling thread that matches: `hwnd` null takes any message,
// otherwise only that window's; `first`/`last` both 0 take every message number, otherwise the
// inclusive range. PeekMessage never waits; GetMessage waits and returns FALSE for WM_QUIT,
// -1 for a filter window that is not a live window of this thread, TRUE otherwise.
BOOL PeekMessage(MSG* msg, HWND hwnd, UINT first, UINT last, UINT removeFlags);
BOOL GetMessage(MSG* msg, HWND hwnd, UINT first, UINT last);

// ---- Windows with procedures ------------------------------------------------------------------
// Everything below runs on the thread that owns the windows concerned (SendMessage to another
// thread's window answers 0 without calling it).

using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
using TIMERPROC = void (*)(HWND, UINT, uintptr_t, DWORD);
using HMENU = struct HMENU__*;
using HANDLE = void*;
using LONG_PTR = intptr_t;
using UINT_PTR = uintptr_t;
#ifndef QX_HMODULE_DEFINED
#define QX_HMODULE_DEFINED
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
#endif

constexpr short GET_X_LPARAM(LPARAM l) { return static_cast<short>(LOWORD(static_cast<uintptr_t>(l))); }
constexpr short GET_Y_LPARAM(LPARAM l) { return static_cast<short>(HIWORD(static_cast<uintptr_t>(l))); }
constexpr short GET_WHEEL_DELTA_WPARAM(WPARAM w) { return static_cast<short>(HIWORD(w)); }
constexpr LPARAM MAKELPARAM_XY(int x, int y) { return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)); }

struct CREATESTRUCTW {
  void* lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy, cx, y, x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
};

struct HELPINFO {
  UINT cbSize;
  int iContextType;
  int iCtrlId;
  HANDLE hItemHandle;
  uintptr_t dwContextId;
  POINT MousePos;
};

// Creates a window of a registered class and sends WM_NCCREATE and WM_CREATE (with a CREATESTRUCTW);
// null if the class is unknown or WM_CREATE answers -1. For a WS_CHILD window `hMenu` is its id.
// A window without WS_CHILD, or whose parent lies outside the layer (a host's native window), is a
// top-level: it gets a native window of its own from the thread's backend.
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style, int x, int y, int cx,
                     int cy, HWND parent, HMENU hMenu, HINSTANCE instance, void* param);
inline constexpr auto& CreateWindowEx = CreateWindowExW;

LRESULT SendMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
LRESULT DispatchMessage(const MSG* msg);
// Posts WM_CHAR (WM_SYSCHAR) for a key-down message that carries a character.
BOOL TranslateMessage(const MSG* msg);
LRESULT DefWindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
LRESULT CallWindowProc(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
// The time and screen position of the message being handled.
DWORD GetMessageTime();
DWORD GetMessagePos();
// Milliseconds of the thread's clock (the virtual clock under the headless backend's control).
DWORD GetTickCount();

LONG_PTR GetWindowLongPtr(HWND hwnd, int index);
LONG_PTR SetWindowLongPtr(HWND hwnd, int index, LONG_PTR value);
inline LONG GetWindowLong(HWND hwnd, int index) { return static_cast<LONG>(GetWindowLongPtr(hwnd, index)); }
inline LONG SetWindowLong(HWND hwnd, int index, LONG v) { return static_cast<LONG>(SetWindowLongPtr(hwnd, index, v)); }
int GetDlgCtrlID(HWND hwnd);
HINSTANCE GetWindowInstance(HWND hwnd);
// The class name, copied like GetWindowText.
int GetClassNameW(HWND hwnd, LPWSTR buffer, int max);

BOOL SetPropW(HWND hwnd, LPCWSTR name, HANDLE data);
HANDLE GetPropW(HWND hwnd, LPCWSTR name);
HANDLE RemovePropW(HWND hwnd, LPCWSTR name);
inline constexpr auto& SetProp = SetPropW;
inline constexpr auto& GetProp = GetPropW;
inline constexpr auto& RemoveProp = RemovePropW;

BOOL SetWindowTextW(HWND hwnd, LPCWSTR text);
int GetWindowTextW(HWND hwnd, LPWSTR buffer, int max);
int GetWindowTextLengthW(HWND hwnd);
inline constexpr auto& SetWindowText = SetWindowTextW;
inline constexpr auto& GetWindowText = GetWindowTextW;
inline constexpr auto& GetWindowTextLength = GetWindowTextLengthW;

HWND GetParent(HWND hwnd);  // the parent of a child, the owner of a popup
HWND GetAncestor(HWND hwnd, UINT flags);
HWND GetWindow(HWND hwnd, UINT cmd);
HWND GetDlgItem(HWND dialog, int id);
BOOL IsChild(HWND parent, HWND hwnd);
BOOL EnableWindow(HWND hwnd, BOOL enable);  // answers whether it was disabled before
BOOL IsWindowEnabled(HWND hwnd);
BOOL ShowWindow(HWND hwnd, int cmd);  // answers whether it was visible before
BOOL IsWindowVisible(HWND hwnd);      // it and all its ancestors
BOOL MoveWindow(HWND hwnd, int x, int y, int cx, int cy, BOOL repaint);
BOOL SetWindowPos(HWND hwnd, HWND after, int x, int y, int cx, int cy, UINT flags);
BOOL GetClientRect(HWND hwnd, RECT* rect);
BOOL GetWindowRect(HWND hwnd, RECT* rect);  // in screen coordinates
BOOL ClientToScreen(HWND hwnd, POINT* pt);
BOOL ScreenToClient(HWND hwnd, POINT* pt);
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count);
// The deepest visible, enabled child under a point of `parent`'s client area (or `parent`).
HWND ChildWindowFromPoint(HWND parent, POINT pt);

BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase);
BOOL ValidateRect(HWND hwnd, const RECT* rect);
BOOL GetUpdateRect(HWND hwnd, RECT* rect, BOOL erase);
// Paints what is invalid in the window's top-level now, without waiting for the queue to empty.
BOOL UpdateWindow(HWND hwnd);
inline constexpr UINT RDW_INVALIDATE = 0x1, RDW_ERASE = 0x4, RDW_UPDATENOW = 0x100, RDW_ALLCHILDREN = 0x80;
BOOL RedrawWindow(HWND hwnd, const RECT* rect, void* region, UINT flags);

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapseMs, TIMERPROC proc);
BOOL KillTimer(HWND hwnd, UINT_PTR id);

HWND SetCapture(HWND hwnd);
BOOL ReleaseCapture();
HWND GetCapture();
HWND SetFocus(HWND hwnd);
HWND GetFocus();
HWND GetActiveWindow();
// High bit set while the key is down; bit 0 toggles with each press.
short GetKeyState(int vk);
short GetAsyncKeyState(int vk);
BOOL GetCursorPos(POINT* pt);
// The edit box's caret: hidden while HideCaret calls outnumber ShowCaret calls.
BOOL HideCaret(HWND hwnd);
BOOL ShowCaret(HWND hwnd);

struct HCURSOR__;
using HCURSOR = HCURSOR__*;
HCURSOR SetCursor(HCURSOR cursor);
HCURSOR GetCursor();
UINT GetDoubleClickTime();

// The layer's own message pump step: every queued, painting and timer message of the calling
// thread that is due, through IsDialogMessage for dialogs; answers how many were handled.
int QxUi_ProcessMessages();
// Waits until a message, a native event or a timer may be due (under the virtual clock: runs the
// idle hook, or moves the clock to the next timer).
BOOL WaitMessage();

// Rectangle helpers.
BOOL SetRect(RECT* r, int left, int top, int right, int bottom);
BOOL SetRectEmpty(RECT* r);
BOOL IsRectEmpty(const RECT* r);
BOOL PtInRect(const RECT* r, POINT pt);
BOOL OffsetRect(RECT* r, int dx, int dy);
BOOL InflateRect(RECT* r, int dx, int dy);
BOOL IntersectRect(RECT* out, const RECT* a, const RECT* b);
BOOL UnionRect(RECT* out, const RECT* a, const RECT* b);
BOOL EqualRect(const RECT* a, const RECT* b);
int MulDiv(int number, int numerator, int denominator);
