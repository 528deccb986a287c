// Window classes of the window layer: names registered by a module, as dialogs look them up.
// Only the name, the owning module and the cursor are kept; procedures come with the controls.
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

#define IDC_ARROW (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(32512)))

// A shared system cursor for the predefined identifiers (null module); null otherwise.
HCURSOR LoadCursorW(HINSTANCE module, LPCWSTR name);

// Registers `name` for `module`; names compare without regard to ASCII case, and one name is held
// by one module at a time. Answers the class atom, 0 when the name is taken or empty.
ATOM RegisterClassName(LPCWSTR name, HINSTANCE module, HCURSOR cursor = nullptr);
// FALSE when `name` is not registered by `module`.
BOOL UnregisterClassName(LPCWSTR name, HINSTANCE module);
// With `module` null, whether any module holds the name.
BOOL IsClassRegistered(LPCWSTR name, HINSTANCE module = nullptr);
// The cursor a class was registered with; null for an unknown class.
HCURSOR GetClassCursor(LPCWSTR name);
