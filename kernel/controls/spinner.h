// The Spinner: a small up-and-down value control that can bind an edit box and sit at its right
// edge, as a window class or an embedded instance. All its logic sits in SpinnerInst_Message.
#pragma once
#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "platform/ui/gdi.h"

// Messages only the Spinner answers (1546..1553 are in control_messages.h; its 1552 never repaints).
inline constexpr UINT QXSP_GETSPARE = 1566;
inline constexpr UINT QXSP_SETSPARE = 1567;   // lParam
inline constexpr UINT QXSP_GETTARGET = 1568;
inline constexpr UINT QXSP_SETTARGET = 1569;  // lParam: the window notified instead of the parent
inline constexpr UINT QXSP_SETSTYLE = 1570;   // wParam: low 16 style bits; lParam's low word repaints
inline constexpr UINT QXSP_GETBUDDY = 1571;
inline constexpr UINT QXSP_SETBUDDY = 1572;   // wParam: the edit box (null unbinds); lParam: text limit

// Style bits (the window style's low word). The pages' spinners use 0x00B1.
inline constexpr UINT QXSP_VERTICAL = 0x0001;
inline constexpr UINT QXSP_NOTIFYPRESS = 0x0002;  // WM_COMMAND code 3 to the target on each press
inline constexpr UINT QXSP_EMBEDDED = 0x0004;     // keeps the focus where it was during a press

// The width the Spinner takes at the right edge of its buddy edit box.
inline constexpr int QX_SPINNER_WIDTH = 13;

struct SpinnerInstRec {
  UINT style = QXSP_VERTICAL;
  int minValue = 0, maxValue = 100, value = 50, defaultValue = 50;
  bool vertical = true;
  bool embedded = false;       // a press leaves the focus alone and gives it back at the release
  bool notifyOnPress = false;  // WM_COMMAND code 3 to the target at each press
  bool disabled = false, focus = false, buddyFocus = false;
  HWND window = nullptr;        // own window, or the owner an embedded instance draws in
  HWND target = nullptr;        // notification target when not the parent
  HWND buddyEdit = nullptr;
  WNDPROC buddyProc = nullptr;  // the edit box's procedure before binding
  HWND focusReturn = nullptr;   // who had the focus at an embedded press
  UINT controlId = 0;
  int spare = 0;
  RECT client{};
  int dragStart = 0;   // pointer along the control at the last drag step, pixels
  int hitPart = -1;    // -1 at rest, 5 the middle grip, else the arrow's scroll code
  bool caretHidden = false;
  UINT_PTR repeatTimer = 0;
  QxScrollProc scrollProc = nullptr;
  void* ownerData = nullptr;
};

LRESULT SpinnerInst_Message(SpinnerInstRec* inst, HWND window, UINT msg, WPARAM wParam, LPARAM lParam);
// A fresh instance: 0..100, value and default 50. `owner` is where it draws and what is notified
// through `scrollProc` (SpinnerInst_DefScrollProc when null).
void SpinnerInst_Init(SpinnerInstRec* inst, HWND owner, UINT style, QxScrollProc scrollProc, void* ownerData);
// Unbinds the buddy and stops a running press.
void SpinnerInst_Deinit(SpinnerInstRec* inst);
void SpinnerInst_SetId(SpinnerInstRec* inst, UINT controlId);
void SpinnerInst_SetScrollProc(SpinnerInstRec* inst, QxScrollProc scrollProc, void* ownerData);
void SpinnerInst_SetOwnerHwnd(SpinnerInstRec* inst, HWND target);
void SpinnerInst_GetSize(const SpinnerInstRec* inst, SIZE* size);
void SpinnerInst_Move(SpinnerInstRec* inst, const RECT* rect);
void SpinnerInst_Draw(SpinnerInstRec* inst, HDC dc);
// The window form's callback: WM_VSCROLL (WM_HSCROLL when horizontal) to the target.
void SpinnerInst_DefScrollProc(void* instance, UINT controlId, void* ownerData, int code, const int* values,
                               UINT mask);
// What a parent calls on a spinner's scroll message: codes 8 and 9 keep `position`, others step the
// value (Home goes to 0 on a range around 0 without Ctrl). Stores the result and answers it.
int Spinner_DefScrollProc(UINT message, WPARAM wParam, HWND window, int lineStep, int pageStep, int position);
