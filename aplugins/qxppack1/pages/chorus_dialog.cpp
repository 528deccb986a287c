// The Chorus page's dialog template: the strip on top; the three level faders beside the modulation
// group (delay, rate, depth, tempo period); below them the voices and the feedback loop's group.
#include "aplugins/qxppack1/pages/chorus_page.h"
#include "aplugins/qxppack1/pages/page_styles.h"
#include "kernel/controls/control_classes.h"

namespace {
using namespace QxPageStyle;

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, QX_PAGE_LOGO, u"", 0, 0, 272, 20, 0},

    // Levels: three faders side by side, each with its label above and its value below.
    {u"BUTTON", -1, u"Levels", 4, 24, 136, 118, BS_GROUPBOX},
    {u"STATIC", -1, u"&Input gain\n(-Inf. to 0 dB)", 6, 34, 44, 20, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_INPUT, u"", 16, 56, 24, 70, kFader},
    {u"STATIC", IDC_CHORUS_INPUT_TEXT, u"", 6, 129, 44, 9, kCentre},
    {u"STATIC", -1, u"Dr&y out\n(-Inf. to 0 dB)", 50, 34, 44, 20, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_DRY, u"", 60, 56, 24, 70, kFader},
    {u"STATIC", IDC_CHORUS_DRY_TEXT, u"", 50, 129, 44, 9, kCentre},
    {u"STATIC", -1, u"&Chorus out\n(-Inf. to 0 dB)", 94, 34, 44, 20, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_WET, u"", 104, 56, 24, 70, kFader},
    {u"STATIC", IDC_CHORUS_WET_TEXT, u"", 94, 129, 44, 9, kCentre},

    // Modulation: the delay the voices swing around, how fast and how far, or a period by tempo.
    {u"BUTTON", -1, u"Modulation", 144, 24, 124, 118, BS_GROUPBOX},
    {u"STATIC", -1, u"Chorus out &delay (0.1 to 100.0 ms):", 148, 34, 119, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_DELAY, u"", 145, 43, 86, 14, kTrack},
    {u"EDIT", IDC_CHORUS_DELAY_EDIT, u"", 233, 44, 31, 12, kEdit},
    {u"STATIC", IDC_CHORUS_RATE_LABEL, u"Modulation ra&te (0.001 to 20.0 Hz):", 148, 59, 119, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_RATE, u"", 145, 68, 86, 14, kTrack},
    {u"EDIT", IDC_CHORUS_RATE_EDIT, u"", 233, 69, 31, 12, kEdit},
    {u"STATIC", -1, u"Modulation d&epth (1 to 100 %):", 148, 84, 119, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_DEPTH, u"", 145, 93, 86, 14, kTrack},
    {u"STATIC", IDC_CHORUS_DEPTH_TEXT, u"", 233, 96, 31, 9, kValue},
    {u"BUTTON", IDC_CHORUS_SYNC, u"Tempo &sync", 148, 110, 54, 10, kCheck},
    {u"STATIC", IDC_CHORUS_PERIOD_LABEL, u"Modulation &period:", 203, 111, 64, 9, SS_LEFT},
    {u"COMBOBOX", IDC_CHORUS_NOTE, u"", 148, 124, 70, 150, kList},
    {u"STATIC", -1, u"x", 218, 126, 8, 9, kCentre},
    {u"EDIT", IDC_CHORUS_MULT_EDIT, u"", 226, 124, 28, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_CHORUS_MULT, u"", 254, 124, 10, 12, kSpinner},

    // Voices: how many delay voices run in series, and the wet signal's phase.
    {u"BUTTON", -1, u"Voices", 4, 146, 96, 74, BS_GROUPBOX},
    {u"STATIC", -1, u"Chorus si&ze (1 to 3):", 9, 157, 88, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_SIZE, u"", 5, 166, 76, 14, kTrack},
    {u"STATIC", IDC_CHORUS_SIZE_TEXT, u"", 82, 169, 14, 9, kValue},
    {u"BUTTON", IDC_CHORUS_INVERT_WET, u"In&vert chorus phase", 9, 185, 88, 10, kCheck},

    // Feedback: how much of each voice goes round again, its phase, and the low pass in the loop.
    {u"BUTTON", -1, u"Feedback", 104, 146, 164, 74, BS_GROUPBOX},
    {u"STATIC", -1, u"&Feedback (0 to 100 %):", 109, 157, 120, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_FEEDBACK, u"", 105, 166, 120, 14, kTrack},
    {u"STATIC", IDC_CHORUS_FEEDBACK_TEXT, u"", 228, 169, 36, 9, kValue},
    {u"BUTTON", IDC_CHORUS_INVERT_FEEDBACK, u"Invert feedbac&k phase", 109, 181, 150, 10, kCheck},
    {u"BUTTON", IDC_CHORUS_ATTENUATE, u"Attenuate high frequencies ab&ove (Hz):", 109, 193, 155, 10, kCheck},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_FREQUENCY, u"", 105, 204, 120, 14, kTrack},
    {u"EDIT", IDC_CHORUS_FREQUENCY_EDIT, u"", 228, 205, 36, 12, kEdit},
};
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 272, 224, u"Chorus", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxChorusPage_Template() { return &kTemplate; }
