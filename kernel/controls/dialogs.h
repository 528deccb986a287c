// The kernel's dialog helpers that pages stand on: a page's dialog made from its module's
// template, and the pixel size that template gives (for the property frame's page size).
#pragma once
#include "platform/ui/dialog.h"

// The modeless dialog of template `name` (a resource number) registered by `module`; null if the
// template is unknown or the dialog refuses to be made.
HWND QxCreateDialogParam(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC proc, LPARAM param);
// The template's size in pixels; FALSE (and 0 by 0) for an unknown template or a null `size`.
BOOL QxGetDialogSize(HINSTANCE module, LPCWSTR name, SIZE* size);
