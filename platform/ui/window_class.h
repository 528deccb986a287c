// Window classes of the window layer: a name registered by a module with its procedure, styles,
// extra bytes per window, cursor and background, as CreateWindowEx and dialogs look them up.
#pragma once
#include <cstdint>

#include "platform/com/types.h"

#ifndef QX_HMODULE_DEFINED
#define QX_HMODULE_DEFINED
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
#endif
struct HCURSOR__;
using HCURSOR = HCURSOR__*;
using ATOM = WORD;
struct HBRUSH__;
using HBRUSH = HBRUSH__*;
struct HWND__;
using LRESULT_CLASS = intptr_t;
using WNDPROC_CLASS = LRESULT_CLASS (*)(HWND__*, UINT, uintptr_t, intptr_t);

struct WNDCLASSW {
  UINT style;
  WNDPROC_CLASS lpfnWndProc;  // null stands for DefWindowProc
  int cbClsExtra;
  int cbWndExtra;  // bytes each window keeps for GetWindowLongPtr at offsets 0, 8, ...
  HINSTANCE hInstance;
  void* hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;  // a brush, or a system colour index + 1
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
};

#define IDC_ARROW (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32512)))
#define IDC_IBEAM (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32513)))
#define IDC_SIZENS (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32645)))
#define IDC_SIZEWE (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32644)))
#define IDC_HAND (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32649)))

// A shared system cursor for the predefined identifiers (null module); null otherwise.
HCURSOR LoadCursorW(HINSTANCE module, LPCWSTR name);
// The predefined identifier of a system cursor (32512 for the arrow), 0 for others.
int QxUi_CursorId(HCURSOR cursor);

// Registers a class with its procedure; the same rules as RegisterClassName.
ATOM RegisterClassW(const WNDCLASSW* wc);
BOOL UnregisterClassW(LPCWSTR name, HINSTANCE module);
// Fills `wc` for a registered class (the layer's own classes included); FALSE for an unknown name.
BOOL GetClassInfoW(HINSTANCE module, LPCWSTR name, WNDCLASSW* wc);

// Registers `name` for `module`; names compare without regard to ASCII case, and one name is held
// by one module at a time. Answers the class atom, 0 when the name is taken or empty.
ATOM RegisterClassName(LPCWSTR name, HINSTANCE module, HCURSOR cursor = nullptr);
// FALSE when `name` is not registered by `module`.
BOOL UnregisterClassName(LPCWSTR name, HINSTANCE module);
// With `module` null, whether any module holds the name.
BOOL IsClassRegistered(LPCWSTR name, HINSTANCE module = nullptr);
// The cursor a class was registered with; null for an unknown class.
HCURSOR GetClassCursor(LPCWSTR name);
