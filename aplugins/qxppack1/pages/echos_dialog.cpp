// The Simple Delay page's dialog template: the strip on top, the two level faders on the left,
// and on the right a delay group and a feedback group, each a trackbar with its edit box over a
// tempo row (note list, multiplier edit, spinner).
#include "aplugins/qxppack1/pages/echos_page.h"
#include "kernel/controls/control_classes.h"

namespace {
constexpr DWORD kFader = 0x0081 | WS_TABSTOP;     // vertical, curved, one value
constexpr DWORD kTrack = 0x0020 | WS_TABSTOP;     // horizontal, linear
constexpr DWORD kSpinner = 0x00B1;
constexpr DWORD kEdit = ES_RIGHT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP;
constexpr DWORD kCheck = BS_AUTOCHECKBOX | WS_TABSTOP;
constexpr DWORD kList = CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
constexpr DWORD kCentre = SS_CENTER | SS_NOPREFIX;

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, QX_PAGE_LOGO, u"", 0, 0, 257, 20, 0},

    // Levels.
    {u"BUTTON", -1, u"Levels", 5, 24, 92, 180, BS_GROUPBOX},
    {u"STATIC", IDC_ECHOS_DRY_LABEL, u"Dr&y out\n(-Inf. to 0 dB)", 9, 35, 42, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_ECHOS_DRY, u"", 18, 56, 24, 124, kFader},
    {u"STATIC", IDC_ECHOS_DRY_TEXT, u"-96.0 dB", 9, 184, 42, 9, kCentre},
    {u"STATIC", IDC_ECHOS_DELAYOUT_LABEL, u"&Delay out\n(-Inf. to 0 dB)", 51, 35, 42, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_ECHOS_DELAYOUT, u"", 60, 56, 24, 124, kFader},
    {u"STATIC", IDC_ECHOS_DELAYOUT_TEXT, u"", 51, 184, 42, 9, kCentre},

    // Delay.
    {u"BUTTON", -1, u"Delay", 102, 24, 150, 84, BS_GROUPBOX},
    {u"STATIC", IDC_ECHOS_DELAY_LABEL, u"De&lay time (0.001 to 5.0 seconds):", 108, 37, 100, 9, SS_LEFT},
    {u"EDIT", IDC_ECHOS_DELAY_EDIT, u"", 210, 35, 36, 12, kEdit},
    {QX_TRACKBAR_CLASS, IDC_ECHOS_DELAY, u"", 106, 50, 142, 16, kTrack},
    {u"BUTTON", IDC_ECHOS_SYNC_DELAY, u"&Tempo sync delay", 108, 71, 100, 10, kCheck},
    {u"COMBOBOX", IDC_ECHOS_DELAY_NOTE, u"", 108, 87, 88, 150, kList},
    {u"STATIC", -1, u"x", 198, 89, 6, 9, kCentre},
    {u"EDIT", IDC_ECHOS_DELAY_MULT_EDIT, u"", 206, 87, 30, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_ECHOS_DELAY_MULT, u"", 236, 87, 10, 12, kSpinner},

    // Feedback.
    {u"BUTTON", -1, u"", 102, 112, 150, 92, BS_GROUPBOX},
    {u"BUTTON", IDC_ECHOS_MULTIPLE, u"&Multiple delays (Feedback)", 108, 121, 120, 10, kCheck | WS_GROUP},
    {u"STATIC", IDC_ECHOS_DECAY_LABEL, u"De&cay time (0.1 to 20.0 seconds):", 108, 137, 100, 9, SS_LEFT},
    {u"EDIT", IDC_ECHOS_DECAY_EDIT, u"", 210, 135, 36, 12, kEdit},
    {QX_TRACKBAR_CLASS, IDC_ECHOS_DECAY, u"", 106, 150, 142, 16, kTrack},
    {u"BUTTON", IDC_ECHOS_SYNC_DECAY, u"Tempo &sync decay", 108, 171, 100, 10, kCheck},
    {u"COMBOBOX", IDC_ECHOS_DECAY_NOTE, u"", 108, 187, 88, 150, kList},
    {u"STATIC", -1, u"x", 198, 189, 6, 9, kCentre},
    {u"EDIT", IDC_ECHOS_DECAY_MULT_EDIT, u"", 206, 187, 30, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_ECHOS_DECAY_MULT, u"", 236, 187, 10, 12, kSpinner},
};
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 257, 208, u"Simple Delay", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxEchosPage_Template() { return &kTemplate; }
