// A dialog's controls as JSON, for tools and tests that read a page without looking at it: each
// child's id, class, text, state, value range and list selection.
#pragma once
#include <string>

#include "platform/ui/window.h"

// A JSON array with one object per child window of `dialog`, in tab order:
//   {"id", "class", "text", "enabled", "visible", "rect": [x, y, w, h] in the dialog's pixels,
//    "checked" (check boxes and radio buttons), "value", "min", "max" (faders, trackbars,
//    spinners), "selected" and "selectedText" (lists, -1 and "" for none), "items" (lists)}
std::string QxDescribeControls(HWND dialog);
