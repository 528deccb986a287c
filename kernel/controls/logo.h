// Logo strip: the title strip along the top of every page, with a background picture, an emblem,
// the title, picture items (the bypass toggle) and text buttons. Logic in LogoInst_Message.
#pragma once
#include <vector>

#include "kernel/controls/control_classes.h"
#include "platform/ui/gdi.h"

inline constexpr UINT QXLM_CLEAR = 1536;          // remove every item; the title stays
inline constexpr UINT QXLM_ADDTEXT = 1537;        // wParam low word id, high word repaint; lParam text
inline constexpr UINT QXLM_SETNOLINK = 1538;      // wParam: non-zero stops the title from browsing
inline constexpr UINT QXLM_ADDPICTURE = 1539;     // wParam id, lParam row of the picture strip
inline constexpr UINT QXLM_SETBACKGROUND = 1540;  // lParam HBITMAP stretched under everything
inline constexpr UINT QXLM_SETPICTURES = 1541;    // lParam HBITMAP: rows of picture items, columns by QxLogoLook
inline constexpr UINT QXLM_SETEMBLEM = 1542;      // lParam HBITMAP drawn before the title
inline constexpr UINT QXLM_SETPRESSED = 1543;     // wParam id, lParam non-zero pressed (state 2)
inline constexpr UINT QXLM_ENABLEITEM = 1544;     // wParam id, lParam enabled flag
inline constexpr UINT QXLM_TITLECLICK = 1556;     // to the parent: the title of a strip without text was clicked
inline constexpr int QX_LOGO_WEB_TOPIC = 0x68;    // the web topic the title opens

// The picture strip (1541) holds one row per picture index, each of QX_LOGO_LOOKS square cells
// (side = bitmap width / QX_LOGO_LOOKS), one per look of the item, in this order.
enum QxLogoLook : int {
  QX_LOOK_REST = 0,       // state 0
  QX_LOOK_HOT = 1,        // state 0, pointer over it
  QX_LOOK_ON = 2,         // state 2 (for the bypass toggle: bypassed)
  QX_LOOK_ON_HOT = 3,     // state 2, pointer over it
  QX_LOOK_PUSHED = 4,     // the mouse holds it down
  QX_LOOK_DISABLED = 5,
  QX_LOGO_LOOKS = 6,
};

struct LogoItem {
  int kind = 0;           // 1 text button, 0 picture item
  int id = 0;
  WCHAR text[65] = {};    // up to 64 characters
  int state = 0;          // 0, or 2 pressed
  int enabled = 1;
  int hot = 0;            // the pointer is over it
  int bitmapIndex = 0;    // row in the picture strip
  RECT rect{};            // laid out on WM_SIZE and WM_SETTEXT
};

struct LogoRec {
  HWND hwnd = nullptr;
  int hotItem = -1;                      // id under the pointer (an item's or the strip's own), or -1
  UINT_PTR trackTimer = 0;               // the hover timer while it runs, else 0
  std::vector<LogoItem> items;
  HBITMAP bitmaps[3] = {};               // background, picture strip, emblem; the page owns them
  int pressedItem = 0;                   // the item the mouse holds down, 0 none
  int noLink = 0;
  int pressStart = 0;                    // id the held press began on (the strip's own included), 0 none
  RECT titleRect{};                      // emblem and title, or all the span between items when untitled
  HFONT titleFont = nullptr, itemFont = nullptr;  // made for the strip's height; owned
};

// The id at a client point: an item's, the strip's own over the title, or -1.
int QxLogo_HitTest(const LogoRec* rec, POINT pt);

LRESULT LogoInst_Message(LogoRec* rec, UINT msg, WPARAM wParam, LPARAM lParam);
