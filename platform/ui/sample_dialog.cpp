// The sample dialog: a group of a label, an edit box, a check box and three radio buttons, a drop
// list, aligned and clickable texts, and the two push buttons.
#include "platform/ui/sample_dialog.h"

namespace {
constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
const QxDialogItem kItems[] = {
    {u"BUTTON", kSampleGroup, u"&Delay", 7, 7, 243, 96, BS_GROUPBOX},
    {u"STATIC", kSampleLabel, u"De&lay time (0.001 to 5.0 seconds):", 15, 20, 150, 9, SS_LEFT},
    {u"EDIT", kSampleEdit, u"0.250", 170, 18, 70, 14, WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL},
    {u"BUTTON", kSampleCheck, u"&Tempo sync delay", 15, 38, 120, 10, BS_AUTOCHECKBOX | WS_TABSTOP | WS_GROUP},
    {u"BUTTON", kSampleRadio1, u"&1 tap", 15, 55, 50, 10, BS_AUTORADIOBUTTON | WS_TABSTOP | WS_GROUP},
    {u"BUTTON", kSampleRadio2, u"&2 taps", 70, 55, 50, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", kSampleRadio3, u"&3 taps", 125, 55, 50, 10, BS_AUTORADIOBUTTON},
    {u"STATIC", kSampleComboLabel, u"&Note:", 15, 78, 40, 9, SS_LEFT | WS_GROUP},
    {u"COMBOBOX", kSampleCombo, u"", 60, 75, 100, 80, CBS_DROPDOWNLIST | WS_TABSTOP | WS_VSCROLL},
    {u"STATIC", kSampleRight, u"-96.0 dB", 170, 78, 70, 9, SS_RIGHT},
    {u"STATIC", kSampleCentre, u"Dr&y out\n(-Inf. to 0 dB)", 7, 112, 120, 20, SS_CENTER},
    {u"STATIC", kSampleLink, u"Click here", 140, 116, 60, 9, SS_NOTIFY},
    {u"BUTTON", kSampleOk, u"OK", 146, 186, 50, 14, BS_DEFPUSHBUTTON | WS_TABSTOP | WS_GROUP},
    {u"BUTTON", kSampleCancel, u"Cancel", 200, 186, 50, 14, BS_PUSHBUTTON | WS_TABSTOP},
};
const QxDialogTemplate kPopup{WS_POPUP | WS_VISIBLE, 0, 0, 0, 257, 208, u"Sample", kItems,
                              static_cast<int>(sizeof kItems / sizeof kItems[0])};
const QxDialogTemplate kChildTemplate{kChild, WS_EX_CONTROLPARENT, 0, 0, 257, 208, u"Sample", kItems,
                                      static_cast<int>(sizeof kItems / sizeof kItems[0])};
const WCHAR* const kNotes[] = {u"1/32", u"1/16", u"1/8", u"1/4", u"1/2", u"Whole", u"Measures"};
}  // namespace

const QxDialogTemplate* QxSample_Template(bool child) { return child ? &kChildTemplate : &kPopup; }

std::vector<std::pair<int, int>>& QxSample_Log() {
  static std::vector<std::pair<int, int>> log;
  return log;
}

INT_PTR QxSample_Proc(HWND dlg, UINT msg, WPARAM wParam, LPARAM) {
  switch (msg) {
    case WM_INITDIALOG:
      for (int i = 0; i < 7; ++i) {
        SendDlgItemMessage(dlg, kSampleCombo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(kNotes[i]));
        SendDlgItemMessage(dlg, kSampleCombo, CB_SETITEMDATA, i, 10 + i);
      }
      SendDlgItemMessage(dlg, kSampleCombo, CB_SETCURSEL, 3, 0);
      CheckDlgButton(dlg, kSampleRadio1, BST_CHECKED);
      return TRUE;
    case WM_COMMAND:
      QxSample_Log().emplace_back(LOWORD(wParam), HIWORD(wParam));
      return TRUE;
  }
  return FALSE;
}
