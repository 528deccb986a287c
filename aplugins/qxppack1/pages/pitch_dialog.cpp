// Dialog 2001, the Pitch Shift page: the shift (semitones, cents and what they come to), the
// resampler's quality, and the duration (preserved by a splice mode, or the final time).
#include "aplugins/qxppack1/pages/pitch_page.h"
#include "aplugins/qxppack1/pages/page_styles.h"
#include "kernel/controls/control_classes.h"

namespace {
using namespace QxPageStyle;
const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, 2, u"", 0, 0, 257, 20, 0},

    {u"BUTTON", -1, u"Pitch", 7, 24, 243, 104, BS_GROUPBOX},
    {u"STATIC", IDC_PITCHS_SEMITONES_LABEL, u"Se&mitones to shift pitch by (-50 to 50):", 14, 36, 184, 9, SS_LEFT},
    {u"EDIT", IDC_PITCHS_SEMITONES_EDIT, u"0", 204, 34, 40, 12, kEdit},
    {QX_TRACKBAR_CLASS, IDC_PITCHS_SEMITONES, u"", 12, 47, 234, 16, kTrack},
    {u"STATIC", IDC_PITCHS_CENTS_LABEL, u"&Cents to shift pitch by (-100.0 to 100.0):", 14, 66, 184, 9, SS_LEFT},
    {u"EDIT", IDC_PITCHS_CENTS_EDIT, u"0.0", 204, 64, 40, 12, kEdit},
    {QX_TRACKBAR_CLASS, IDC_PITCHS_CENTS, u"", 12, 77, 234, 16, kTrack},
    {u"STATIC", IDC_PITCHS_MUSICAL_LABEL, u"Musical equivalent:", 14, 98, 76, 9, SS_LEFT},
    {u"STATIC", IDC_PITCHS_MUSICAL, u"", 92, 98, 110, 9, SS_LEFT | SS_NOPREFIX},
    {u"STATIC", IDC_PITCHS_RATIO_LABEL, u"Transposition ratio:", 14, 110, 76, 9, SS_LEFT},
    {u"STATIC", IDC_PITCHS_RATIO, u"1.00000", 92, 110, 60, 9, SS_LEFT},

    {u"BUTTON", -1, u"Quality", 7, 132, 243, 44, BS_GROUPBOX},
    {u"STATIC", IDC_PITCHS_ACCURACY_LABEL, u"Accurac&y (1 low to 3 high):", 14, 146, 104, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_PITCHS_ACCURACY, u"", 120, 143, 96, 16, kTrack},
    {u"STATIC", IDC_PITCHS_ACCURACY_TEXT, u"2", 222, 146, 20, 9, SS_RIGHT},
    {u"BUTTON", IDC_PITCHS_ANTIALIAS, u"Apply an anti-alias &filter during pitch shift", 14, 161, 220, 10, kCheck},

    {u"BUTTON", -1, u"Duration", 7, 180, 243, 70, BS_GROUPBOX},
    {u"BUTTON", IDC_PITCHS_PRESERVE, u"Preserve &duration", 14, 193, 120, 10, kCheck},
    {u"STATIC", IDC_PITCHS_MODE_LABEL, u"M&ode:", 14, 208, 26, 9, SS_LEFT},
    {u"COMBOBOX", IDC_PITCHS_MODE, u"", 42, 206, 202, 120, CBS_DROPDOWNLIST | WS_TABSTOP | WS_VSCROLL},
    {u"STATIC", IDC_PITCHS_TIME_LABEL, u"Initia&l time (hr:mn:sc.xxx):", 14, 224, 104, 9, SS_LEFT},
    {u"EDIT", IDC_PITCHS_TIME, u"", 184, 222, 60, 12, kEdit},
    {u"STATIC", IDC_PITCHS_FINAL_LABEL, u"", 14, 238, 166, 9, SS_LEFT},
    {u"STATIC", IDC_PITCHS_FINAL_TIME, u"", 184, 238, 58, 9, SS_RIGHT},
};
constexpr int kCount = static_cast<int>(sizeof kItems / sizeof kItems[0]);
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 257, 256, u"Pitch Shift", kItems, kCount};
}  // namespace

const QxDialogTemplate* QxPitchsPage_Template() { return &kTemplate; }
