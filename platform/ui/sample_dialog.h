// A sample dialog with every standard control, for looking at the layer's drawing (PNG or window)
// and for driving it in tests: its procedure records what it is told.
#pragma once
#include <string>
#include <vector>

#include "platform/ui/dialog.h"

enum QxSampleId {
  kSampleGroup = 100, kSampleLabel, kSampleEdit, kSampleCheck, kSampleRadio1, kSampleRadio2, kSampleRadio3,
  kSampleComboLabel, kSampleCombo, kSampleRight, kSampleCentre, kSampleLink, kSampleOk = IDOK, kSampleCancel = IDCANCEL
};

// The template, 257 by 208 dialog units, as a page's size; `child` makes it a child dialog.
const QxDialogTemplate* QxSample_Template(bool child);
// What the sample's procedure saw: one line per notification, "id code" (WM_COMMAND) in order.
std::vector<std::pair<int, int>>& QxSample_Log();
INT_PTR QxSample_Proc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);
