// Static control: a picture or a link text in the About box and the page dialogs. All its logic
// is in StaticInst_Message; the class "qxppack1Bld0StaticClass" hands it every message.
#pragma once
#include <vector>

#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "platform/ui/gdi.h"

inline constexpr UINT QXSM_LOADPICTURE = 1546;  // wParam module (0: the window's own), lParam resource; answers success
inline constexpr UINT QXSM_SETPICTURE = 1547;   // lParam HBITMAP, owned from then on; answers success
inline constexpr UINT QXSM_SETDIB = 1548;       // lParam a packed DIB (header, colour table, bits), copied; answers success
inline constexpr UINT QXSM_SETOFFSET = 1549;    // wParam, lParam: pixels right and down from the picture's placement

inline constexpr DWORD QXSS_LINK = 0x0020;          // clickable: press and release inside notifies QXN_LINK
inline constexpr DWORD QXSS_HITS = 0x0040;          // takes mouse hits; without it the mouse passes through
inline constexpr DWORD QXSS_SCALE = 0x0080;         // scale up to twice the natural size, keeping proportion
inline constexpr DWORD QXSS_CENTERIFFITS = 0x4000;  // centre only a picture that fits; a larger one starts top left
inline constexpr DWORD QXSS_FILL = 0x8000;          // stretch the picture over the whole client

// The platform's packed device-independent bitmap: this header, then the colour table, then rows
// padded to 4 bytes, bottom row first unless the height is negative. Uncompressed 1, 4, 8, 16, 24, 32 bits.
struct RGBQUAD {
  BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};
struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth, biHeight;
  WORD biPlanes, biBitCount;
  DWORD biCompression, biSizeImage;
  LONG biXPelsPerMeter, biYPelsPerMeter;
  DWORD biClrUsed, biClrImportant;
};
inline constexpr DWORD BI_RGB = 0;

struct StaticRec {
  HWND hwnd = nullptr;
  HBITMAP picture = nullptr;     // owned; drawn before the private copy below
  std::vector<BYTE> dib;         // private copy of a packed DIB, colour table (palette) included
  HBITMAP dibPicture = nullptr;  // that copy made drawable; owned
  int user[2] = {0, 0};          // message 1549: picture offset in pixels, x and y
  RECT live{};                   // the live area in client pixels: the picture, or the text
  HFONT font = nullptr;          // WM_SETFONT; not owned
  bool captured = false;         // a link press is held
  bool focused = false;
};

// Where a w by h picture stands in a W by H client under the placement bits of `style`.
RECT QxStatic_PlacePicture(DWORD style, int W, int H, int w, int h);

LRESULT StaticInst_Message(StaticRec* rec, UINT msg, WPARAM wParam, LPARAM lParam);
