// The module's door for hosts that show an effect's page: the page the filter names, opened in a
// property frame over the filter, as a window on an X display or headless for a picture and a
// description of its controls. Hosts find it by name (dlsym) like the entry points.
#pragma once
#include "platform/com/hresult.h"
#include "platform/com/types.h"
#include "platform/com/unknown.h"

struct QxPropertyFrameRequest {
  IUnknown* object = nullptr;      // the filter the page edits
  const WCHAR* caption = nullptr;  // the window's title; null: the page's own
  void* display = nullptr;         // an X Display* to open the frame on; null: headless
  bool openDisplay = false;        // with no display: open the one $DISPLAY names, close it after
  const char* pngPath = nullptr;   // headless: write a picture of the page here
  const char* jsonPath = nullptr;  // headless: write the page's controls as JSON here ("-": stdout)
  int result = 0;                  // on a display: IDOK or IDCANCEL, as the user closed the frame
};

// On a display runs the frame until OK, Cancel or close. E_POINTER for a null request or object,
// E_NOINTERFACE when the object names no page, E_NOTIMPL when its page is not built, E_HANDLE when
// openDisplay finds no display, E_FAIL when a file cannot be written.
extern "C" HRESULT QxShowPropertyFrame(QxPropertyFrameRequest* request);

// The embedded page: the page the filter names, inside a window of the host's (an LV2 UI in its
// host's window), driven from the host's own loop. All calls on the thread that opened it.
struct QxEmbeddedPage;
// Opens the page over `object` inside the X window `parent` on `display`; gives the page's size in
// pixels and its X window. Errors as QxShowPropertyFrame's.
extern "C" HRESULT QxOpenEmbeddedPage(IUnknown* object, void* display, unsigned long parent, QxEmbeddedPage** page,
                                      int* width, int* height, unsigned long* window);
// Handles what is due: the display's events, messages, timers and painting.
extern "C" int QxPumpEmbeddedPage(QxEmbeddedPage* page);
// Tells the page that parameters changed behind its back (the notification of a load), so it
// shows them again.
extern "C" void QxNotifyEmbeddedPage(QxEmbeddedPage* page);
// The page's controls as QxDescribeControls gives them, in pixels of the page (caller frees with free()).
extern "C" char* QxDescribeEmbeddedPage(QxEmbeddedPage* page);
extern "C" void QxCloseEmbeddedPage(QxEmbeddedPage* page);
