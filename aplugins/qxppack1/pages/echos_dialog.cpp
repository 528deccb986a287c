// The Simple Delay page's dialog template: the strip on top, the two level faders on the left,
// and on the right a delay group and a decay group, each a trackbar with its edit box over a
// tempo row (note list, multiplier edit, spinner).
#include "aplugins/qxppack1/pages/echos_page.h"
#include "aplugins/qxppack1/pages/page_styles.h"
#include "kernel/controls/control_classes.h"

namespace {
using namespace QxPageStyle;

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, QX_PAGE_LOGO, u"", 0, 0, 257, 20, 0},

    // Levels: two faders side by side, each with its label above and its value below.
    {u"BUTTON", -1, u"Levels", 4, 24, 100, 180, BS_GROUPBOX},
    {u"STATIC", IDC_ECHOS_DRY_LABEL, u"Dr&y out\n(-Inf. to 0 dB)", 8, 36, 46, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_ECHOS_DRY, u"", 19, 57, 24, 122, kFader},
    {u"STATIC", IDC_ECHOS_DRY_TEXT, u"-96.0 dB", 8, 185, 46, 9, kCentre},
    {u"STATIC", IDC_ECHOS_DELAYOUT_LABEL, u"&Delay out\n(-Inf. to 0 dB)", 54, 36, 46, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_ECHOS_DELAYOUT, u"", 65, 57, 24, 122, kFader},
    {u"STATIC", IDC_ECHOS_DELAYOUT_TEXT, u"", 54, 185, 46, 9, kCentre},

    // Delay: the time as a slider and a box, or with tempo sync a note times a multiplier.
    {u"BUTTON", -1, u"Delay", 108, 24, 145, 82, BS_GROUPBOX},
    {u"STATIC", IDC_ECHOS_DELAY_LABEL, u"De&lay time (0.001 to 5.0 seconds):", 114, 36, 134, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_ECHOS_DELAY, u"", 112, 47, 96, 16, kTrack},
    {u"EDIT", IDC_ECHOS_DELAY_EDIT, u"", 212, 49, 36, 12, kEdit},
    {u"BUTTON", IDC_ECHOS_SYNC_DELAY, u"&Tempo sync delay", 114, 70, 100, 10, kCheck},
    {u"COMBOBOX", IDC_ECHOS_DELAY_NOTE, u"", 114, 85, 88, 150, kList},
    {u"STATIC", -1, u"x", 202, 87, 8, 9, kCentre},
    {u"EDIT", IDC_ECHOS_DELAY_MULT_EDIT, u"", 210, 85, 28, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_ECHOS_DELAY_MULT, u"", 238, 85, 10, 12, kSpinner},

    // Decay: feedback on or off; the decay as a slider and a box, or by tempo.
    {u"BUTTON", -1, u"Decay", 108, 110, 145, 94, BS_GROUPBOX},
    {u"BUTTON", IDC_ECHOS_MULTIPLE, u"&Multiple delays (Feedback)", 114, 122, 120, 10, kCheck | WS_GROUP},
    {u"STATIC", IDC_ECHOS_DECAY_LABEL, u"De&cay time (0.1 to 20.0 seconds):", 114, 137, 134, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_ECHOS_DECAY, u"", 112, 148, 96, 16, kTrack},
    {u"EDIT", IDC_ECHOS_DECAY_EDIT, u"", 212, 150, 36, 12, kEdit},
    {u"BUTTON", IDC_ECHOS_SYNC_DECAY, u"Tempo &sync decay", 114, 171, 100, 10, kCheck},
    {u"COMBOBOX", IDC_ECHOS_DECAY_NOTE, u"", 114, 186, 88, 150, kList},
    {u"STATIC", -1, u"x", 202, 188, 8, 9, kCentre},
    {u"EDIT", IDC_ECHOS_DECAY_MULT_EDIT, u"", 210, 186, 28, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_ECHOS_DECAY_MULT, u"", 238, 186, 10, 12, kSpinner},
};
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 257, 208, u"Simple Delay", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxEchosPage_Template() { return &kTemplate; }
