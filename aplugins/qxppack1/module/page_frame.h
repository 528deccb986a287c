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
  const char* pngPath = nullptr;   // headless: write a picture of the page here
  const char* jsonPath = nullptr;  // headless: write the page's controls as JSON here ("-": stdout)
  int result = 0;                  // on a display: IDOK or IDCANCEL, as the user closed the frame
};

// On a display runs the frame until OK, Cancel or close. E_POINTER for a null request or object,
// E_NOINTERFACE when the object names no page, E_NOTIMPL when its page is not built, E_FAIL when a
// file cannot be written.
extern "C" HRESULT QxShowPropertyFrame(QxPropertyFrameRequest* request);
