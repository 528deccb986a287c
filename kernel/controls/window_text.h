// Window and dialog-item texts set through value text: pages show every number with these.
// The F forms format with QxPrintF's directives; NoF sets the text as given; NoFlash skips equal text.
#pragma once
#include <cstdarg>

#include "platform/ui/dialog.h"

// Formats `format` (QxPrintF's directives) and sets it as the window's text. Answers SetWindowText's
// result; FALSE for a null window or format.
BOOL QxSetWindowTextF(HWND hwnd, const WCHAR* format, ...);
BOOL QxSetDlgItemTextF(HWND dialog, int id, const WCHAR* format, ...);
// The text as it stands: a "$" or "%" in it is not a directive.
BOOL QxSetWindowTextNoF(HWND hwnd, const WCHAR* text);
BOOL QxSetDlgItemTextNoF(HWND dialog, int id, const WCHAR* text);
// As the F forms, but a window whose text is already that text is left alone, so a control that
// is refreshed on every timer tick does not repaint (and flicker) for nothing.
BOOL QxSetWindowTextNoFlash(HWND hwnd, const WCHAR* format, ...);
BOOL QxSetDlgItemTextNoFlash(HWND dialog, int id, const WCHAR* format, ...);

// A name as a menu item shows it: each "&" doubled so none becomes a mnemonic, tabs as spaces.
// Writes at most `size` units with the terminator; answers the length written.
int QxFixNameForMenu(const WCHAR* name, WCHAR* out, int size);
