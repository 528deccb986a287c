// Message numbers, scroll codes and callback types shared by the Fader, Trackbar and Spinner.
// Each control's own header adds the numbers only it answers.
#pragma once
#include "platform/ui/messages.h"
#include "platform/ui/window.h"

// Core messages, same meaning on all three value controls.
inline constexpr UINT QXCM_GETVALUE = 1546;
inline constexpr UINT QXCM_GETMIN = 1547;
inline constexpr UINT QXCM_GETMAX = 1548;
inline constexpr UINT QXCM_SETRANGE = 1549;  // lParam: minimum low 16 bits, maximum high 16, signed
inline constexpr UINT QXCM_SETMIN = 1550;
inline constexpr UINT QXCM_SETMAX = 1551;
inline constexpr UINT QXCM_SETVALUE = 1552;    // wParam non-zero redraws; returns the value
inline constexpr UINT QXCM_SETDEFAULT = 1553;  // clamped to the range; returns it

// Scroll codes carried by callbacks and WM_VSCROLL/WM_HSCROLL (0..8 as the system's SB_ codes).
enum QxScrollCode : int {
  QX_SCROLL_LINEUP = 0,
  QX_SCROLL_LINEDOWN = 1,
  QX_SCROLL_PAGEUP = 2,
  QX_SCROLL_PAGEDOWN = 3,
  QX_SCROLL_POSITION = 4,
  QX_SCROLL_DRAGGING = 5,
  QX_SCROLL_TOP = 6,
  QX_SCROLL_BOTTOM = 7,
  QX_SCROLL_END = 8,
  QX_SCROLL_PRESS = 9,
};

// Timer of the press-and-hold repeat, and its period in milliseconds.
inline constexpr UINT_PTR QX_REPEAT_TIMER = 42;
inline constexpr UINT QX_REPEAT_MS = 250;

// WM_NOTIFY codes sent to the parent.
inline constexpr int QXN_KEY = -102;        // an unhandled key: record QxNmKey
inline constexpr int QXN_MULTIVALUE = -104; // a stereo/multi-value scroll: record QxNmValues
inline constexpr int QXN_LINK = -105;       // a Static link was clicked

struct QxNmKey {
  NMHDR hdr;
  UINT key;     // virtual key
  UINT flags;   // the key message's lParam
};

struct QxNmValues {
  NMHDR hdr;        // hwndFrom is the control's window, idFrom its id
  int code;         // scroll code
  const int* values;
  UINT mask;        // channels that moved, one bit each
};

// scrollProc(instance, controlId, ownerData, code, values, mask)
using QxScrollProc = void (*)(void* instance, UINT controlId, void* ownerData, int code,
                              const int* values, UINT mask);
