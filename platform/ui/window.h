// Window handles and per-thread message queues: the first piece of the window layer.
// A handle is owned by the thread that created it; posted messages go to that thread's queue.
#pragma once
#include <cstdint>

#include "platform/com/types.h"

using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_USER = 0x0400;

// PeekMessage removal flags.
inline constexpr UINT PM_NOREMOVE = 0x0000;
inline constexpr UINT PM_REMOVE = 0x0001;

struct POINT {
  LONG x;
  LONG y;
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
