// The Fader: a level slider with an optional perceptual law and an optional second, linked value,
// as a window of class "qxppack1Bld0FaderClass" or as an instance an owner window drives.
#pragma once
#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "platform/ui/gdi.h"

// Messages beyond the common 1546..1553 (values of 1550..1553 travel in lParam).
inline constexpr UINT FDM_SETOPTION = 1575;      // wParam non-zero: read-only on; returns old state 0/-1
inline constexpr UINT FDM_SETMARKS = 1576;       // wParam count, lParam const int* values: tick marks
inline constexpr UINT FDM_SETUSERDATA = 1577;    // lParam
inline constexpr UINT FDM_GETUSERDATA = 1578;
inline constexpr UINT FDM_SETALL = 1581;         // lParam FaderSetAllRec*
inline constexpr UINT FDM_SETACTIVEMASK = 1582;  // lParam mask; 0 means channel 0
inline constexpr UINT FDM_SETVALUES = 1583;      // wParam MAKEWPARAM(redraw, 0 all | channel + 1)
inline constexpr UINT FDM_GETVALUES = 1584;      // wParam as 1583; all: lParam int[2], answers count
inline constexpr UINT FDM_SETLINK1 = 1585;       // wParam non-zero on: a gesture always takes both thumbs
inline constexpr UINT FDM_GETLINK1 = 1586;
inline constexpr UINT FDM_SETLINK2 = 1587;       // wParam non-zero on: no pair grab by a thumb's inner half
inline constexpr UINT FDM_GETLINK2 = 1588;
inline constexpr UINT FDM_SETTHUMBIMAGELIST = 1589;  // lParam HIMAGELIST (null: the drawn thumb)
inline constexpr UINT FDM_GETSTYLE = 1590;           // the style's low word
inline constexpr UINT FDM_SETSTYLEBITS = 1591;       // LOWORD(wParam) set (lParam non-zero) or cleared
inline constexpr UINT FDM_SETHANDLE = 1592;          // wParam handle, lParam integer
inline constexpr UINT FDM_GETHANDLE = 1593;          // answers the handle; int* lParam gets the integer
inline constexpr UINT FDM_REPLACESTYLE = 1594;       // bits under mask lParam become wParam's
inline constexpr UINT FDM_SETSTEREO = 1595;          // wParam non-zero: two channels

// Style bits (the window style's low bits).
inline constexpr UINT FDS_VERTICAL = 0x0001;
inline constexpr UINT FDS_LOOKMASK = 0x00F0;  // 0x40 stereo, 0x80 curved, 0xC0 both, 0x30 third look
inline constexpr UINT FDS_STEREO = 0x0040;
inline constexpr UINT FDS_CURVED = 0x0080;
inline constexpr UINT FDS_THIRDLOOK = 0x0030;
inline constexpr UINT FDS_MODERN = 0x0100;      // what the legacy bit 0x1000 becomes at init
inline constexpr UINT FDS_LEGACY = 0x1000;
inline constexpr UINT FDS_MULTIVALUE = 0x2000;  // WM_NOTIFY QXN_MULTIVALUE instead of scroll messages
inline constexpr UINT FDS_CLICKNOTIFY = 0x8000; // WM_COMMAND code 4 after each release

// State bits.
inline constexpr UINT FDST_DISABLED = 0x0001;
inline constexpr UINT FDST_VERTICAL = 0x0008;
inline constexpr UINT FDST_STEREO = 0x0010;
inline constexpr UINT FDST_CURVED = 0x0020;
inline constexpr UINT FDST_READONLY = 0x0800;
inline constexpr UINT FDST_PIXELPERVALUE = 0x2000;
inline constexpr UINT FDST_FINE = 0x4000;
inline constexpr UINT FDST_OUTSIDE = 0x8000;
inline constexpr UINT FDST_RIGHTHELD = 0x20000;
inline constexpr UINT FDST_LINK1 = 0x100000;
inline constexpr UINT FDST_LINK2 = 0x200000;
inline constexpr UINT FDST_FOCUS = 0x40000000;  // drawing only: the window has the focus

inline constexpr int FADER_MAX_MARKS = 16;

// What FDM_SETALL sets at once; a page step of 0 becomes (range + 5)/10, at least 1.
struct FaderSetAllRec {
  int minValue, maxValue, defaultValue, lineStep, pageStep;
  UINT style, styleMask;  // style bits under styleMask are replaced
  const int* values;      // one per channel, or null to keep (clamped)
};

struct FaderInstRec {
  UINT style = 0;
  UINT state = 0;
  int minValue = 0, maxValue = 100, defaultValue = 50;
  int value[2] = {50, 50};
  UINT channelCount = 1;
  int curveBase = 0, curveSpan = 1;
  HWND window = nullptr;          // own window, or the owner of an embedded instance
  HWND parentOverride = nullptr;  // notification target when not the parent
  bool embedded = false;          // drawn inside `window` at `client`
  UINT controlId = 0;
  RECT client{}, track{};  // track: the span the thumb's centre line travels, both ends included
  RECT thumb[2]{};
  int dragOffset[2]{};     // thumb centre minus pointer, along the track, in pixels
  int dragStart[2]{};      // last pointer position of the gesture (x, y)
  int pressTime = 0;
  int lineStep = 1, pageStep = 10;
  int savedValue[2]{};
  int hitPart = -1;        // -1 at rest, 5 the thumb, else the scroll code of the part pressed
  UINT_PTR repeatTimer = 0;
  UINT activeMask = 1, activeChannel = 0;
  void* ownerData = nullptr;
  QxScrollProc scrollProc = nullptr;
  HBITMAP thumbBitmap = nullptr;
  HIMAGELIST thumbImages = nullptr;
  LONG_PTR userData = 0;
  HANDLE handle = nullptr;
  int handleInt = 13;
  int markCount = 0;
  int marks[FADER_MAX_MARKS]{};
};

// Smallest useful size of a fader of `style`.
void FaderInst_GetMinSize(UINT style, SIZE* size);
// The size of the instance's client rectangle.
void FaderInst_GetSize(const FaderInstRec* f, SIZE* size);
// A fresh instance of `style` (window style bits) hosted by `window`, whose callback is
// FaderInst_DefScrollProc until another is set.
void FaderInst_Init(FaderInstRec* f, UINT style, HWND window);
void FaderInst_Deinit(FaderInstRec* f);
void FaderInst_SetId(FaderInstRec* f, UINT id);
void FaderInst_SetScrollProc(FaderInstRec* f, QxScrollProc proc, void* ownerData);
// Makes the instance an embedded one, drawn in and taking input through `owner`; FaderInst_Move
// places it there. The owner forwards mouse, key, timer 42 and paint to FaderInst_Message.
void FaderInst_SetOwnerHwnd(FaderInstRec* f, HWND owner);
void FaderInst_Move(FaderInstRec* f, const RECT* rect);
void FaderInst_Draw(FaderInstRec* f, HDC dc);
void FaderInst_DrawThumb(FaderInstRec* f, HDC dc, int channel);
void FaderInst_SetThumbBitmap(FaderInstRec* f, HBITMAP bitmap);
void FaderInst_SetThumbImageList(FaderInstRec* f, HIMAGELIST images);
BOOL FaderInst_IsStereo(const FaderInstRec* f);
// The window form's callback: WM_NOTIFY QXN_MULTIVALUE with multi-value style, else WM_VSCROLL or
// WM_HSCROLL (code, and the value for codes 4 and 5, in wParam), to parentOverride or the parent.
void FaderInst_DefScrollProc(void* instance, UINT controlId, void* ownerData, int code, const int* values,
                             UINT mask);
// Every message of the control: the window procedure hands them all here.
LRESULT FaderInst_Message(FaderInstRec* f, UINT msg, WPARAM wParam, LPARAM lParam);
// What a parent calls on WM_VSCROLL/WM_HSCROLL from a fader: applies the scroll code to its
// value with these steps (Ctrl: ten pages), sets it with redraw and answers it.
int Fader_DefScrollProc(UINT message, WPARAM wParam, HWND window, int lineStep, int pageStep);

// Where a value's thumb centre line stands (x for horizontal, y for vertical), and back.
int FaderInst_ValueToPixel(const FaderInstRec* f, int value);
int FaderInst_PixelToValue(const FaderInstRec* f, int pixel);
