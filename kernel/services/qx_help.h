// Help: the pack's HTML help file, found beside the module (or where it was installed) and opened
// in the user's browser at a topic, each topic an anchor "cNNN" of the file.
#pragma once
#include "platform/com/hresult.h"
#include "platform/com/types.h"
#include "platform/com/unknown.h"

#ifndef QX_HMODULE_DEFINED
#define QX_HMODULE_DEFINED
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
#endif

// Names the help file to use instead of the usual places.
inline constexpr const char* QX_HELP_FILE_ENV = "QXPPACK1_HELP";
// Names the program that opens the help instead of xdg-open; it is given the file's URL.
inline constexpr const char* QX_HELP_OPENER_ENV = "QXPPACK1_HELP_OPENER";

// The path of help file `fileName` for `module` (the module's folder; null: the folder of the
// binary holding the kernel), or of $QXPPACK1_HELP when set, or else of the installed copy.
// Writes at most `size` units with the terminator; FALSE when none of them exists (the path
// written is then the one beside the module).
BOOL QxHelp_CreateHelpFilePathEX(HMODULE module, const WCHAR* fileName, WCHAR* path, int size);
// The help file topics open in, for the whole process (empty until set).
void QxHelp_SetHelpFilePath(const WCHAR* path);
int QxHelp_GetHelpFilePath(WCHAR* path, int size);
// Opens the help file at topic `context` (0: its top) without waiting for the browser. E_FAIL when
// no help file is set or the opener cannot be started.
HRESULT QxHelp_ShowContext(HWND owner, DWORD context);
// Closing help a browser shows is the browser's business; pages call it as they go.
void QxHelp_Close(HWND owner);
