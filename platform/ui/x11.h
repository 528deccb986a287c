// The X11 backend: top-levels of the layer as X windows on a display connection the caller owns,
// either windows of their own or children of a host's X window. The layer keeps no global X state:
// each top-level uses the connection it is given, on the thread that owns it, and never calls
// XInitThreads; events are read in that thread's GetMessage/PeekMessage.
#pragma once
#include "platform/ui/window.h"

typedef struct _XDisplay Display;

// Top-levels created on the calling thread from now on open on `display` (null: headless again).
void QxX11_SetThreadDisplay(Display* display);
// A handle that stands for a host's X window, to be the parent of a WS_CHILD dialog, which then
// lives inside that window on `display`. End it with DestroyWindow after the dialog.
HWND QxX11_WrapWindow(Display* display, unsigned long xWindow);
// The X window of a top-level (0 for headless ones).
unsigned long QxX11_WindowOf(HWND topLevel);
