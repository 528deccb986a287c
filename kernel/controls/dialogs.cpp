// The kernel's dialog helpers over the window layer's template table.
#include "kernel/controls/dialogs.h"

HWND QxCreateDialogParam(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC proc, LPARAM param) {
  return CreateDialogParamW(module, name, parent, proc, param);
}

BOOL QxGetDialogSize(HINSTANCE module, LPCWSTR name, SIZE* size) {
  if (!size) return FALSE;
  const QxDialogTemplate* t = QxUi_FindDialogTemplate(module, name);
  *size = t ? QxUi_DialogPixelSize(t) : SIZE{0, 0};
  return t != nullptr;
}
