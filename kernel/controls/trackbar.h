// The Trackbar: a slider with a linear, octave or level law, as a window class or as an instance an
// owner embeds and drives. All its logic sits in TrackbarInst_Message; drawing is separate.
#pragma once
#include <vector>

#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_laws.h"
#include "kernel/controls/control_messages.h"
#include "platform/ui/gdi.h"

// Messages only the Trackbar answers (1546..1553 are in control_messages.h).
inline constexpr UINT QXTB_GETTRACK = 1566;        // low word track length, high word thickness
inline constexpr UINT QXTB_SETDISPLAY = 1567;      // lParam bit 0 fills from zero; wParam repaints
inline constexpr UINT QXTB_SETOPTION7 = 1568;      // state bit 0x80, cleared for lParam != 0
inline constexpr UINT QXTB_SETREADONLY = 1575;     // wParam != 0 on; returns old state as 0 / -1
inline constexpr UINT QXTB_SETUSERDATA = 1577;     // lParam; returns the old data
inline constexpr UINT QXTB_GETUSERDATA = 1578;
inline constexpr UINT QXTB_SETTHUMBIMAGES = 1579;  // lParam: HIMAGELIST, null for the drawn thumb
inline constexpr UINT QXTB_COPYSTYLE11 = 1580;     // style bit 11 from wParam's bit 11
inline constexpr UINT QXTB_SETSTYLE11 = 1581;      // style bit 11 on for wParam != 0

// Style bits (the window style's low word).
inline constexpr UINT QXTB_VERTICAL = 0x0001;
inline constexpr UINT QXTB_PIXELPERVALUE = 0x0004;
inline constexpr UINT QXTB_LAWMASK = 0x00F0;  // 0x10 octave, 0x80 level, else linear; 0x30 display on
inline constexpr UINT QXTB_OCTAVE = 0x0010;
inline constexpr UINT QXTB_LEVEL = 0x0080;
inline constexpr UINT QXTB_OPTION11 = 0x0800;

// State bits.
inline constexpr UINT QXTS_DISABLED = 0x0001;
inline constexpr UINT QXTS_FOCUS = 0x0002;
inline constexpr UINT QXTS_VERTICAL = 0x0008;
inline constexpr UINT QXTS_OPTION7 = 0x0080;
inline constexpr UINT QXTS_DISPLAY = 0x0400;  // the value fill starts at 0 (pan-like ranges)
inline constexpr UINT QXTS_READONLY = 0x0800;
inline constexpr UINT QXTS_FINEDRAG = 0x4000;

struct TrackbarInstRec {
  UINT style = 0;
  UINT state = 0;
  int minValue = 0, maxValue = 100, defaultValue = 50;
  int value = 50;
  int curveBase = 0, curveSpan = 1;  // the law's offset and span over the range
  int trackLength = 0;               // pixels between the thumb centre's two extreme positions
  HWND window = nullptr;             // own window, or the owner an embedded instance draws in
  bool embedded = true;              // false for the window class's own instances
  HWND parentOverride = nullptr;     // notification target when not the parent
  UINT controlId = 0;
  RECT client{}, track{}, thumb{};  // in `window`'s client coordinates; track spans the thumb centre
  int dragOffset = 0;               // thumb centre minus pointer along the track, pixels
  int dragStart = 0;                // pointer along the track at the last fine-drag step
  DWORD pressTime = 0;
  int lineStep = 1, pageStep = 10;
  int savedValue = 0;  // value at the press, for Escape
  int hitPart = -1;    // -1 at rest, 5 the thumb, else the scroll code the press repeats
  UINT_PTR repeatTimer = 0;
  void* ownerData = nullptr;
  QxScrollProc scrollProc = nullptr;
  HBITMAP thumbBitmap = nullptr;
  HIMAGELIST thumbImages = nullptr;
  LONG_PTR userData = 0;
  std::vector<int> ticks;  // extra tick marks, in values (the ends and the default always show)
  QxValueTrack law;        // the mapping the thumb position follows
};

// Every message of the control, window or embedded; coordinates are `inst->window`'s client's.
LRESULT TrackbarInst_Message(TrackbarInstRec* inst, HWND window, UINT msg, WPARAM wParam, LPARAM lParam);
// A fresh instance: 0..100, default and value 50, steps 1 and 10. `owner` is where it draws and
// what gets notified through `scrollProc` (TrackbarInst_DefScrollProc when null).
void TrackbarInst_Init(TrackbarInstRec* inst, HWND owner, UINT style, QxScrollProc scrollProc, void* ownerData);
void TrackbarInst_SetId(TrackbarInstRec* inst, UINT controlId);
void TrackbarInst_SetOwnerHwnd(TrackbarInstRec* inst, HWND target);
// Places the control at `rect` of its window's client area and lays out track and thumb.
void TrackbarInst_Move(TrackbarInstRec* inst, const RECT* rect);
void TrackbarInst_GetMinSize(const TrackbarInstRec* inst, SIZE* size);
void TrackbarInst_GetSize(const TrackbarInstRec* inst, SIZE* size);
void TrackbarInst_GetThumbRect(const TrackbarInstRec* inst, RECT* rect);
void TrackbarInst_Draw(TrackbarInstRec* inst, HDC dc);
void TrackbarInst_DrawThumb(TrackbarInstRec* inst, HDC dc);
// A picture drawn centred on the thumb instead of the drawn knob (null restores it). Not owned.
void TrackbarInst_SetThumbBitmap(TrackbarInstRec* inst, HBITMAP bitmap);
void TrackbarInst_SetThumbImageList(TrackbarInstRec* inst, HIMAGELIST images);
// The window form's callback: WM_HSCROLL (WM_VSCROLL when vertical) to the target with the code in
// the low word, for codes 4 and 5 the value in the high word, and the control's window as lParam.
void TrackbarInst_DefScrollProc(void* instance, UINT controlId, void* ownerData, int code, const int* values,
                                UINT mask);
// What a parent calls on WM_HSCROLL/WM_VSCROLL from a trackbar: steps the value by the scroll code
// (Ctrl multiplies the page by 10), stores it with redraw and answers it.
int Trackbar_DefScrollProc(UINT message, WPARAM wParam, HWND window, int lineStep, int pageStep);

// Tick marks beyond the two ends and the default value (which always show): `values` in the
// control's units, replacing earlier ones. Pages call it after setting the range.
void TrackbarInst_SetTicks(TrackbarInstRec* inst, const int* values, int count);
BOOL Trackbar_SetTicks(HWND window, const int* values, int count);
// The record behind a trackbar window, null for another window.
TrackbarInstRec* Trackbar_Inst(HWND window);

