// Trackbar, drop list and edit helpers of the Pitch Shift and Time Stretch pages.
#include "aplugins/qxppack1/pages/page_controls.h"

#include "kernel/controls/control_messages.h"

void QxPage_SetTrackRange(HWND dialog, int id, int minValue, int maxValue) {
  // One end at a time: the packed range message holds 16-bit ends, and FinalLength's reach 40000.
  // The minimum goes again last, in case the old maximum was below it.
  SendDlgItemMessage(dialog, id, QXCM_SETMIN, 0, minValue);
  SendDlgItemMessage(dialog, id, QXCM_SETMAX, 0, maxValue);
  SendDlgItemMessage(dialog, id, QXCM_SETMIN, 0, minValue);
}

void QxPage_SetTrackValue(HWND dialog, int id, int value) {
  SendDlgItemMessage(dialog, id, QXCM_SETVALUE, 1, value);
}

void QxPage_FillList(HWND dialog, int id, const WCHAR* const* texts, int count) {
  SendDlgItemMessage(dialog, id, CB_RESETCONTENT, 0, 0);
  for (int i = 0; i < count; ++i) {
    const LRESULT at = SendDlgItemMessage(dialog, id, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(texts[i]));
    SendDlgItemMessage(dialog, id, CB_SETITEMDATA, static_cast<WPARAM>(at), i);
  }
}

void QxPage_SelectByData(HWND dialog, int id, LPARAM data) {
  LRESULT i = SendDlgItemMessage(dialog, id, CB_GETCOUNT, 0, 0);
  while (--i > 0 && SendDlgItemMessage(dialog, id, CB_GETITEMDATA, static_cast<WPARAM>(i), 0) != data) {
  }
  SendDlgItemMessage(dialog, id, CB_SETCURSEL, static_cast<WPARAM>(i < 0 ? 0 : i), 0);
}

LPARAM QxPage_SelectedData(HWND dialog, int id) {
  const LRESULT at = SendDlgItemMessage(dialog, id, CB_GETCURSEL, 0, 0);
  return at < 0 ? -1 : SendDlgItemMessage(dialog, id, CB_GETITEMDATA, static_cast<WPARAM>(at), 0);
}

void QxPage_ItemText(HWND dialog, int id, WCHAR* text, int size) {
  if (size > 0) text[0] = 0;
  GetDlgItemTextW(dialog, id, text, size);
}

BOOL QxPage_TypedText(HWND dialog, int id, WCHAR* text, int size) {
  if (!SendDlgItemMessage(dialog, id, EM_GETMODIFY, 0, 0)) return FALSE;
  QxPage_ItemText(dialog, id, text, size);
  return TRUE;
}
