// The Chorus page's dialog template: the strip on top; on the left the three level faders over the
// voice count and the chorus phase; on the right the modulation group (delay, rate, depth, tempo
// period) over the feedback group with its low pass.
#include "aplugins/qxppack1/pages/chorus_page.h"
#include "kernel/controls/control_classes.h"

namespace {
constexpr DWORD kFader = 0x0081 | WS_TABSTOP;  // vertical, curved, one value
constexpr DWORD kTrack = 0x0020 | WS_TABSTOP;  // horizontal, linear
constexpr DWORD kSpinner = 0x00B1;
constexpr DWORD kEdit = ES_RIGHT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP;
constexpr DWORD kCheck = BS_AUTOCHECKBOX | WS_TABSTOP;
constexpr DWORD kList = CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
constexpr DWORD kCentre = SS_CENTER | SS_NOPREFIX;
constexpr DWORD kValue = SS_RIGHT | SS_NOPREFIX;

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, QX_PAGE_LOGO, u"", 0, 0, 272, 20, 0},

    // Levels: three faders side by side, each with its label above and its value below.
    {u"BUTTON", -1, u"Levels", 4, 24, 124, 144, BS_GROUPBOX},
    {u"STATIC", -1, u"&Input gain\n(-Inf. to 0 dB)", 6, 35, 40, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_INPUT, u"", 14, 55, 24, 94, kFader},
    {u"STATIC", IDC_CHORUS_INPUT_TEXT, u"", 6, 153, 40, 9, kCentre},
    {u"STATIC", -1, u"Dr&y out\n(-Inf. to 0 dB)", 46, 35, 40, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_DRY, u"", 54, 55, 24, 94, kFader},
    {u"STATIC", IDC_CHORUS_DRY_TEXT, u"", 46, 153, 40, 9, kCentre},
    {u"STATIC", -1, u"&Chorus out\n(-Inf. to 0 dB)", 86, 35, 40, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_CHORUS_WET, u"", 94, 55, 24, 94, kFader},
    {u"STATIC", IDC_CHORUS_WET_TEXT, u"", 86, 153, 40, 9, kCentre},

    // Voices: how many delay voices run in series, and the wet signal's phase.
    {u"BUTTON", -1, u"Voices", 4, 172, 124, 48, BS_GROUPBOX},
    {u"STATIC", -1, u"Chorus si&ze (1 to 3):", 10, 183, 112, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_SIZE, u"", 6, 192, 92, 14, kTrack},
    {u"STATIC", IDC_CHORUS_SIZE_TEXT, u"", 98, 195, 24, 9, kValue},
    {u"BUTTON", IDC_CHORUS_INVERT_WET, u"In&vert chorus phase", 10, 207, 112, 10, kCheck},

    // Modulation: the delay the voices swing around, how fast and how far, or a period by tempo.
    {u"BUTTON", -1, u"Modulation", 132, 24, 136, 118, BS_GROUPBOX},
    {u"STATIC", -1, u"Chorus out &delay (0.1 to 100.0 ms):", 138, 35, 128, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_DELAY, u"", 134, 44, 92, 14, kTrack},
    {u"EDIT", IDC_CHORUS_DELAY_EDIT, u"", 228, 45, 34, 12, kEdit},
    {u"STATIC", IDC_CHORUS_RATE_LABEL, u"Modulation ra&te (0.001 to 20.0 Hz):", 138, 60, 128, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_RATE, u"", 134, 69, 92, 14, kTrack},
    {u"EDIT", IDC_CHORUS_RATE_EDIT, u"", 228, 70, 34, 12, kEdit},
    {u"STATIC", -1, u"Modulation d&epth (1 to 100 %):", 138, 85, 128, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_DEPTH, u"", 134, 94, 92, 14, kTrack},
    {u"STATIC", IDC_CHORUS_DEPTH_TEXT, u"", 228, 97, 34, 9, kValue},
    {u"BUTTON", IDC_CHORUS_SYNC, u"Tempo &sync", 138, 111, 56, 10, kCheck},
    {u"STATIC", IDC_CHORUS_PERIOD_LABEL, u"Modulation &period:", 196, 112, 68, 9, SS_LEFT},
    {u"COMBOBOX", IDC_CHORUS_NOTE, u"", 138, 124, 80, 150, kList},
    {u"STATIC", -1, u"x", 218, 126, 8, 9, kCentre},
    {u"EDIT", IDC_CHORUS_MULT_EDIT, u"", 226, 124, 28, 12, kEdit},
    {QX_SPINNER_CLASS, IDC_CHORUS_MULT, u"", 254, 124, 10, 12, kSpinner},

    // Feedback: how much of each voice goes round again, its phase, and the low pass in the loop.
    {u"BUTTON", -1, u"Feedback", 132, 146, 136, 74, BS_GROUPBOX},
    {u"STATIC", -1, u"&Feedback (0 to 100 %):", 138, 157, 128, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_FEEDBACK, u"", 134, 166, 92, 14, kTrack},
    {u"STATIC", IDC_CHORUS_FEEDBACK_TEXT, u"", 228, 169, 34, 9, kValue},
    {u"BUTTON", IDC_CHORUS_INVERT_FEEDBACK, u"Invert feedbac&k phase", 138, 181, 124, 10, kCheck},
    {u"BUTTON", IDC_CHORUS_ATTENUATE, u"Attenuate high frequencies ab&ove (Hz):", 138, 193, 128, 10, kCheck},
    {QX_TRACKBAR_CLASS, IDC_CHORUS_FREQUENCY, u"", 134, 204, 92, 14, kTrack},
    {u"EDIT", IDC_CHORUS_FREQUENCY_EDIT, u"", 228, 205, 34, 12, kEdit},
};
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 272, 224, u"Chorus", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxChorusPage_Template() { return &kTemplate; }
