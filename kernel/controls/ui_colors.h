// The kernel's named interface colours: the few colours the pages draw with that are not the
// system's, looked up by number so every page shows a thing in the same colour.
#pragma once
#include "platform/ui/gdi.h"

enum QxUIColorId : int {
  QXUI_COLOR_GRAPH_ECHO = 110,     // a computed echo in a response graph
  QXUI_COLOR_GRAPH_GRID = 111,     // grid lines behind a graph
  QXUI_COLOR_GRAPH_MARK = 112,     // a mark the user placed (a tap)
  QXUI_COLOR_GRAPH_CURRENT = 113,  // the mark being edited
};
// The colour of `id`; the window text colour for a number that names none.
COLORREF QxGetUIColor(int id);
