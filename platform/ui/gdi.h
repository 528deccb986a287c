// Drawing for the window layer: device contexts over cairo with pens, brushes, fonts and bitmaps,
// exact (non-antialiased) fills, pango text in the dialog font, memory DCs, BitBlt and image lists.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/ui/window.h"
#include "platform/ui/window_class.h"

typedef struct _cairo cairo_t;

struct HDC__;
using HDC = HDC__*;
struct HPEN__;
using HPEN = HPEN__*;
struct HFONT__;
using HFONT = HFONT__*;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;
struct HIMAGELIST__;
using HIMAGELIST = HIMAGELIST__*;
using HGDIOBJ = void*;
using COLORREF = DWORD;

constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) { return r | (g << 8) | (static_cast<DWORD>(b) << 16); }
constexpr BYTE GetRValue(COLORREF c) { return c & 0xFF; }
constexpr BYTE GetGValue(COLORREF c) { return (c >> 8) & 0xFF; }
constexpr BYTE GetBValue(COLORREF c) { return (c >> 16) & 0xFF; }
inline constexpr COLORREF CLR_NONE = 0xFFFFFFFF;
inline constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

struct PAINTSTRUCT {
  HDC hdc;
  BOOL fErase;  // the background still needs erasing (WM_ERASEBKGND answered 0)
  RECT rcPaint;
  BOOL fRestore, fIncUpdate;
  BYTE rgbReserved[32];
};

struct TEXTMETRICW {
  LONG tmHeight, tmAscent, tmDescent, tmInternalLeading, tmExternalLeading, tmAveCharWidth, tmMaxCharWidth,
      tmWeight;
};

struct LOGFONTW {
  LONG lfHeight;  // negative: character height in pixels; 0: the dialog font's size
  LONG lfWidth, lfEscapement, lfOrientation, lfWeight;
  BYTE lfItalic, lfUnderline, lfStrikeOut, lfCharSet, lfOutPrecision, lfClipPrecision, lfQuality, lfPitchAndFamily;
  WCHAR lfFaceName[32];  // empty: "DejaVu Sans Condensed"
};

struct BITMAP {
  LONG bmType, bmWidth, bmHeight, bmWidthBytes;
  WORD bmPlanes, bmBitsPixel;
  void* bmBits;
};

inline constexpr int FW_NORMAL = 400, FW_BOLD = 700;
inline constexpr int TRANSPARENT = 1, OPAQUE = 2;
inline constexpr int PS_SOLID = 0, PS_DOT = 2, PS_NULL = 5;
inline constexpr int WHITE_BRUSH = 0, LTGRAY_BRUSH = 1, GRAY_BRUSH = 2, DKGRAY_BRUSH = 3, BLACK_BRUSH = 4,
                     NULL_BRUSH = 5, HOLLOW_BRUSH = 5, WHITE_PEN = 6, BLACK_PEN = 7, NULL_PEN = 8,
                     DEFAULT_GUI_FONT = 17, DC_BRUSH = 18, DC_PEN = 19;
inline constexpr DWORD SRCCOPY = 0x00CC0020;
inline constexpr UINT DT_LEFT = 0x0, DT_CENTER = 0x1, DT_RIGHT = 0x2, DT_VCENTER = 0x4, DT_BOTTOM = 0x8,
                      DT_WORDBREAK = 0x10, DT_SINGLELINE = 0x20, DT_EXPANDTABS = 0x40, DT_NOCLIP = 0x100,
                      DT_CALCRECT = 0x400, DT_NOPREFIX = 0x800, DT_END_ELLIPSIS = 0x8000, DT_HIDEPREFIX = 0x100000;
inline constexpr UINT IMAGE_BITMAP = 0;
inline constexpr UINT LR_DEFAULTCOLOR = 0, LR_CREATEDIBSECTION = 0x2000, LR_SHARED = 0x8000;
inline constexpr UINT ILC_COLOR32 = 0x20, ILC_MASK = 0x1;
inline constexpr UINT ILD_NORMAL = 0, ILD_TRANSPARENT = 1;

// Painting.
HDC BeginPaint(HWND hwnd, PAINTSTRUCT* ps);
BOOL EndPaint(HWND hwnd, const PAINTSTRUCT* ps);
HDC GetDC(HWND hwnd);  // the client area, clipped as the window is seen; give it back with ReleaseDC
int ReleaseDC(HWND hwnd, HDC hdc);
HDC CreateCompatibleDC(HDC hdc);  // a memory DC; select a bitmap into it to draw there
BOOL DeleteDC(HDC hdc);
int SaveDC(HDC hdc);
BOOL RestoreDC(HDC hdc, int saved);
int IntersectClipRect(HDC hdc, int left, int top, int right, int bottom);
BOOL SetViewportOrgEx(HDC hdc, int x, int y, POINT* old);
// The cairo context a DC draws with, origin at the window's client corner and clipped: for drawing
// beyond GDI (antialiased curves of our own controls). Shapes are not antialiased unless set.
cairo_t* QxUi_Cairo(HDC hdc);

// Objects.
HGDIOBJ SelectObject(HDC hdc, HGDIOBJ obj);
BOOL DeleteObject(HGDIOBJ obj);  // stock objects and system colour brushes are never deleted
HGDIOBJ GetStockObject(int which);
int GetObjectW(HGDIOBJ obj, int size, void* out);  // BITMAP and LOGFONTW
// Bitmaps made and not yet deleted, in the whole process: for checks that a picture was freed.
int QxUi_LiveBitmapCount();
HPEN CreatePen(int style, int width, COLORREF color);
HBRUSH CreateSolidBrush(COLORREF color);
HFONT CreateFontIndirectW(const LOGFONTW* lf);
HBITMAP CreateCompatibleBitmap(HDC hdc, int cx, int cy);
// A 32-bit bitmap from rows of 0xAARRGGBB pixels, top row first (bits may be null: black).
HBITMAP CreateBitmap(int cx, int cy, UINT planes, UINT bitsPerPixel, const void* bits);
COLORREF SetTextColor(HDC hdc, COLORREF color);
COLORREF GetTextColor(HDC hdc);
COLORREF SetBkColor(HDC hdc, COLORREF color);
COLORREF GetBkColor(HDC hdc);
int SetBkMode(HDC hdc, int mode);
COLORREF SetDCBrushColor(HDC hdc, COLORREF color);
COLORREF SetDCPenColor(HDC hdc, COLORREF color);

// The fixed palette of system colours and their shared brushes.
COLORREF GetSysColor(int index);
HBRUSH GetSysColorBrush(int index);

// Shapes: exact pixels, as the platform draws them (right and bottom edges excluded).
int FillRect(HDC hdc, const RECT* rect, HBRUSH brush);
int FrameRect(HDC hdc, const RECT* rect, HBRUSH brush);
BOOL Rectangle(HDC hdc, int left, int top, int right, int bottom);
BOOL Ellipse(HDC hdc, int left, int top, int right, int bottom);
BOOL MoveToEx(HDC hdc, int x, int y, POINT* old);
BOOL LineTo(HDC hdc, int x, int y);
BOOL Polyline(HDC hdc, const POINT* points, int count);
BOOL Polygon(HDC hdc, const POINT* points, int count);
COLORREF SetPixel(HDC hdc, int x, int y, COLORREF color);
COLORREF GetPixel(HDC hdc, int x, int y);
BOOL DrawFocusRect(HDC hdc, const RECT* rect);
BOOL BitBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, DWORD rop);
BOOL StretchBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, int scx, int scy, DWORD rop);
// Copies leaving out the source pixels of colour `transparent`.
BOOL TransparentBlt(HDC dst, int x, int y, int cx, int cy, HDC src, int sx, int sy, int scx, int scy, UINT transparent);

// Text: "DejaVu Sans Condensed" 8 point unless another font is selected; '&' marks a mnemonic.
int DrawTextW(HDC hdc, LPCWSTR text, int count, RECT* rect, UINT format);
BOOL TextOutW(HDC hdc, int x, int y, LPCWSTR text, int count);
BOOL GetTextExtentPoint32W(HDC hdc, LPCWSTR text, int count, SIZE* size);
BOOL GetTextMetricsW(HDC hdc, TEXTMETRICW* tm);
inline constexpr auto& DrawText = DrawTextW;
inline constexpr auto& TextOut = TextOutW;
// Dialog base units of the dialog font: width in the low word, height in the high word.
LONG GetDialogBaseUnits();

// Bitmap resources: a module's pictures are registered as PNG data under a number, and LoadImage
// finds them as the platform finds resources.
BOOL QxUi_AddBitmapResource(HINSTANCE module, int id, const void* png, size_t bytes);
HANDLE LoadImageW(HINSTANCE module, LPCWSTR name, UINT type, int cx, int cy, UINT flags);
inline constexpr auto& LoadImage = LoadImageW;
// Writes a bitmap as PNG; FALSE on failure.
BOOL QxUi_SaveBitmapPng(HBITMAP bitmap, const char* path);

// Image lists: strips of same-sized pictures with a transparent colour.
HIMAGELIST ImageList_Create(int cx, int cy, UINT flags, int initial, int grow);
BOOL ImageList_Destroy(HIMAGELIST list);
int ImageList_Add(HIMAGELIST list, HBITMAP image, HBITMAP mask);  // answers the first index, -1 on failure
int ImageList_AddMasked(HIMAGELIST list, HBITMAP image, COLORREF mask);
int ImageList_GetImageCount(HIMAGELIST list);
BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy);
BOOL ImageList_Draw(HIMAGELIST list, int index, HDC hdc, int x, int y, UINT style);

// Antialiased helpers for the layer's own look (and controls that want it).
void QxUi_RoundRect(HDC hdc, const RECT* rect, double radius, COLORREF fill, COLORREF border);
void QxUi_Circle(HDC hdc, double cx, double cy, double radius, COLORREF fill, COLORREF border);
// Adds a closed rounded rectangle to the current path of `cr`, for shapes filled or stroked there.
void QxUi_RoundRectPath(cairo_t* cr, double x, double y, double w, double h, double radius);
