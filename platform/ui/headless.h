// The headless backend's controls for tests and tools: a virtual clock, input injected through the
// same routing as a display's events, pixels read back from what the layer drew, PNG output.
#pragma once
#include <functional>

#include "platform/ui/gdi.h"
#include "platform/ui/window.h"

// The calling thread's clock stops and moves only by QxHeadless_Advance (and, when GetMessage would
// wait, jumps to the next timer). Top-levels created on the thread are headless unless an X display
// is set for it.
void QxHeadless_UseVirtualClock(DWORD startMs = 1000);
// Moves the clock, handling every message, paint and timer that falls due on the way.
void QxHeadless_Advance(DWORD ms);
// Handles everything queued now (QxUi_ProcessMessages).
int QxHeadless_Pump();
// Called when a modal loop (menus, modal dialogs) has nothing to do: inject input there and answer
// true, or false to give up (a menu then closes, a modal dialog ends with IDCANCEL).
void QxHeadless_SetIdleHook(std::function<bool()> hook);

// Mouse input at a point in `hwnd`'s client area, delivered as if it happened on the screen there,
// then handled (each call pumps). `button` 0 left, 1 right, 2 middle.
void QxHeadless_MouseMove(HWND hwnd, int x, int y);
void QxHeadless_ButtonDown(HWND hwnd, int x, int y, int button = 0);
void QxHeadless_ButtonUp(HWND hwnd, int x, int y, int button = 0);
void QxHeadless_Click(HWND hwnd, int x, int y, int button = 0);
void QxHeadless_Wheel(HWND hwnd, int x, int y, int delta);
// Keys go to the focus window. The character typed follows from the key and Shift and Ctrl.
void QxHeadless_KeyDown(UINT vk);
void QxHeadless_KeyUp(UINT vk);
void QxHeadless_Key(UINT vk);  // down and up
// Each character as its key (Shift held for capitals).
void QxHeadless_Type(const WCHAR* text);

// The colour on screen at a point of `hwnd`'s client area, after painting what is pending.
COLORREF QxHeadless_Pixel(HWND hwnd, int x, int y);
// Writes the back buffer of `hwnd`'s top-level as PNG, after painting what is pending.
BOOL QxHeadless_SavePng(HWND hwnd, const char* path);
// Writes every visible top-level of the thread where it stands on the screen (popups over their
// owners), cropped to their union, as PNG.
BOOL QxHeadless_SaveScreenPng(const char* path);
