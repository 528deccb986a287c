// The named interface colours: muted for what the program computed, strong for what the user set,
// the accent for what is being edited.
#include "kernel/controls/ui_colors.h"

COLORREF QxGetUIColor(int id) {
  switch (id) {
    case QXUI_COLOR_GRAPH_ECHO: return RGB(128, 170, 214);
    case QXUI_COLOR_GRAPH_GRID: return RGB(226, 230, 236);
    case QXUI_COLOR_GRAPH_MARK: return RGB(34, 64, 128);
    case QXUI_COLOR_GRAPH_CURRENT: return RGB(224, 96, 24);
  }
  return GetSysColor(COLOR_WINDOWTEXT);
}
