// Dialogs: templates as C++ tables in dialog units, modeless and modal dialogs with their dialog
// procedure, the dialog font's base units, keyboard navigation and the dialog item helpers.
#pragma once
#include <cstdint>

#include "platform/ui/window.h"

#define MAKEINTRESOURCEW(i) (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(static_cast<WORD>(i))))

using INT_PTR = intptr_t;
using DLGPROC = INT_PTR (*)(HWND, UINT, WPARAM, LPARAM);

// One control of a template. WS_CHILD and WS_VISIBLE are added unless the style says WS_POPUP.
struct QxDialogItem {
  const WCHAR* className;  // u"BUTTON", u"STATIC", u"EDIT", u"COMBOBOX" or a registered class
  int id;
  const WCHAR* text;
  short x, y, cx, cy;  // dialog units
  DWORD style;
  DWORD exStyle = 0;
};

struct QxDialogTemplate {
  DWORD style;  // WS_CHILD for a page inside a host's window, WS_POPUP for a window of its own
  DWORD exStyle;
  short x, y, cx, cy;  // dialog units
  const WCHAR* title;
  const QxDialogItem* items;
  int count;
};
using LPCDLGTEMPLATEW = const QxDialogTemplate*;

// Templates a module keeps under a resource number, as CreateDialogParam finds them.
BOOL QxUi_AddDialogTemplate(HINSTANCE module, int id, const QxDialogTemplate* tmpl);
const QxDialogTemplate* QxUi_FindDialogTemplate(HINSTANCE module, LPCWSTR name);

HWND CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW tmpl, HWND parent, DLGPROC proc, LPARAM param);
HWND CreateDialogParamW(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC proc, LPARAM param);
// Modal: the owner is disabled until EndDialog; answers EndDialog's result, -1 on failure.
INT_PTR DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW tmpl, HWND owner, DLGPROC proc, LPARAM param);
INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC proc, LPARAM param);
BOOL EndDialog(HWND dialog, INT_PTR result);
inline constexpr auto& CreateDialogParam = CreateDialogParamW;
inline constexpr auto& CreateDialogIndirectParam = CreateDialogIndirectParamW;
inline constexpr auto& DialogBoxParam = DialogBoxParamW;

LRESULT DefDlgProcW(HWND dialog, UINT msg, WPARAM wParam, LPARAM lParam);
// Keyboard navigation for a dialog's messages; TRUE when the message was handled (dispatched
// included), as the platform's message loops expect.
BOOL IsDialogMessage(HWND dialog, MSG* msg);
HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous);
HWND GetNextDlgGroupItem(HWND dialog, HWND control, BOOL previous);
// Dialog units to pixels, by the dialog font's base units (about 6 by 13 pixels).
BOOL MapDialogRect(HWND dialog, RECT* rect);
// The pixel size a template makes.
SIZE QxUi_DialogPixelSize(const QxDialogTemplate* tmpl);

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text);
UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR buffer, int max);
BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned);
UINT GetDlgItemInt(HWND dialog, int id, BOOL* ok, BOOL isSigned);
LRESULT SendDlgItemMessage(HWND dialog, int id, UINT msg, WPARAM wParam, LPARAM lParam);
BOOL CheckDlgButton(HWND dialog, int id, UINT check);
UINT IsDlgButtonChecked(HWND dialog, int id);
BOOL CheckRadioButton(HWND dialog, int first, int last, int check);
inline constexpr auto& SetDlgItemText = SetDlgItemTextW;
inline constexpr auto& GetDlgItemText = GetDlgItemTextW;
