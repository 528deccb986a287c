// Dialog 1001, the Time Stretch page: the splice mode, and the final length in the chosen input
// form beside the initial value it is measured against.
#include "aplugins/qxppack1/pages/time_page.h"
#include "aplugins/qxppack1/pages/page_styles.h"
#include "kernel/controls/control_classes.h"

namespace {
using namespace QxPageStyle;
const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, 2, u"", 0, 0, 257, 20, 0},

    {u"STATIC", IDC_TIME_MODE_LABEL, u"&Mode:", 14, 31, 28, 9, SS_LEFT},
    {u"COMBOBOX", IDC_TIME_MODE, u"", 46, 29, 198, 120, kList},

    {u"BUTTON", -1, u"Length", 7, 48, 243, 98, BS_GROUPBOX},
    {u"STATIC", IDC_TIME_FORMAT_LABEL, u"Input forma&t:", 14, 62, 100, 9, SS_LEFT},
    {u"COMBOBOX", IDC_TIME_FORMAT, u"", 144, 60, 100, 60, kList},
    {u"STATIC", IDC_TIME_INITIAL_LABEL, u"", 14, 78, 166, 9, SS_LEFT},
    {u"EDIT", IDC_TIME_INITIAL, u"", 184, 76, 60, 12, kEdit},
    {u"STATIC", IDC_TIME_FINAL_LABEL, u"", 14, 94, 166, 9, SS_LEFT},
    {u"EDIT", IDC_TIME_FINAL, u"", 184, 92, 60, 12, kEdit},
    {QX_TRACKBAR_CLASS, IDC_TIME_FINAL_TRACK, u"", 12, 108, 234, 16, 0x0020 | WS_TABSTOP},
    {u"STATIC", IDC_TIME_PERCENT_LABEL, u"Percent of original:", 14, 130, 76, 9, SS_LEFT},
    {u"STATIC", IDC_TIME_PERCENT, u"", 92, 130, 60, 9, SS_LEFT | SS_NOPREFIX},
};
constexpr int kCount = static_cast<int>(sizeof kItems / sizeof kItems[0]);
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 257, 152, u"Time Stretch", kItems, kCount};
}  // namespace

const QxDialogTemplate* QxTimePage_Template() { return &kTemplate; }
