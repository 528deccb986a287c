// Dialog 4001, the Multi-Tap Delay page, 290 by 265 dialog units: the logo strip, the levels, the
// tap graph with its range, the taps group and the feedback group; and the set-up table.
#include "aplugins/qxppack1/pages/echomt_page.h"
#include "kernel/controls/control_classes.h"

namespace {
constexpr DWORD kTab = WS_TABSTOP;
constexpr DWORD kFaderStyle = 0x0081;          // vertical, level law, one value
constexpr DWORD kOctaveStyle = 0x0010;         // each doubling of frequency the same travel
constexpr DWORD kLinearStyle = 0x0020;          // linear
constexpr DWORD kLabel = SS_LEFT;
constexpr DWORD kValue = SS_RIGHT | SS_NOPREFIX;
constexpr DWORD kCentred = SS_CENTER;
constexpr DWORD kEdit = ES_RIGHT | ES_AUTOHSCROLL | WS_BORDER | kTab;
constexpr int kNone = -1;  // labels no code looks up

// A fader column of the levels group: its label, the fader and the value under it.
#define QX_FADER_COLUMN(x, label, fader, text)                                                      \
  {u"STATIC", kNone, label, x, 32, 44, 17, kCentred},                                              \
  {QX_FADER_CLASS, fader, u"", x + 12, 50, 20, 60, kFaderStyle | kTab | WS_GROUP},                  \
  {u"STATIC", text, u"-96.0 dB", x, 113, 44, 8, SS_CENTER | SS_NOPREFIX}

// A trackbar item of the feedback group at row y: label, then the trackbar and its value.
#define QX_LOOP_ITEM(y, label, bar, text, init)                                                     \
  {u"STATIC", kNone, label, 186, y, 96, 8, kLabel},                                                 \
  {QX_TRACKBAR_CLASS, bar, u"", 184, y + 9, 70, 14, kLinearStyle | kTab | WS_GROUP},                 \
  {u"STATIC", text, init, 254, y + 12, 28, 8, kValue}

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, 2, u"Multi-Tap Delay", 0, 0, 290, 20, 0},

    // Levels.
    {u"BUTTON", kNone, u"Levels", 4, 22, 136, 104, BS_GROUPBOX},
    QX_FADER_COLUMN(6, u"Inpu&t gain\n(-Inf. to 0 dB)", IDC_MT_INPUT, IDC_MT_INPUT_TEXT),
    QX_FADER_COLUMN(50, u"Dr&y out\n(-Inf. to 0 dB)", IDC_MT_DRY, IDC_MT_DRY_TEXT),
    QX_FADER_COLUMN(94, u"&Wet out\n(-Inf. to 0 dB)", IDC_MT_WET, IDC_MT_WET_TEXT),

    // The tap graph: gain up the side, time along the bottom, its range chosen above it.
    {u"STATIC", kNone, u"Graph Resolut&ion (Delay ms):", 144, 26, 100, 8, kLabel},
    {u"COMBOBOX", IDC_MT_RESOLUTION, u"", 244, 23, 42, 60, CBS_DROPDOWNLIST | WS_VSCROLL | kTab | WS_GROUP},
    {u"STATIC", kNone, u"100 %", 144, 38, 24, 8, kValue},
    {u"STATIC", kNone, u"Gain", 144, 71, 24, 8, kValue},
    {u"STATIC", kNone, u"-100 %", 144, 104, 24, 8, kValue},
    {u"STATIC", IDC_MT_GRAPH, u"", 170, 38, 116, 74, SS_LEFT},
    {u"STATIC", kNone, u"0 ms", 170, 114, 40, 8, kLabel},
    {u"STATIC", IDC_MT_RANGE_MID, u"250 ms", 208, 114, 40, 8, SS_CENTER | SS_NOPREFIX},
    {u"STATIC", IDC_MT_RANGE_END, u"500 ms", 236, 114, 50, 8, kValue},

    // Taps: which one is edited, how many are used, and the current one's delay, pan and gain.
    {u"BUTTON", kNone, u"Taps", 4, 128, 172, 134, BS_GROUPBOX},
    {u"STATIC", kNone, u"&Current tap:", 10, 140, 60, 8, kLabel},
    {u"BUTTON", IDC_MT_TAP1 + 0, u"&1", 10, 150, 18, 10, BS_AUTORADIOBUTTON | kTab | WS_GROUP},
    {u"BUTTON", IDC_MT_TAP1 + 1, u"&2", 30, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 2, u"&3", 50, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 3, u"&4", 70, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 4, u"&5", 90, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 5, u"&6", 110, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 6, u"&7", 130, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"BUTTON", IDC_MT_TAP1 + 7, u"&8", 150, 150, 18, 10, BS_AUTORADIOBUTTON},
    {u"STATIC", kNone, u"Numb&er of taps (1 to 8):", 10, 166, 90, 8, kLabel},
    {QX_TRACKBAR_CLASS, IDC_MT_TAP_COUNT, u"", 8, 175, 96, 14, kLinearStyle | kTab | WS_GROUP},
    {u"STATIC", IDC_MT_TAP_COUNT_TEXT, u"8", 104, 178, 14, 8, kValue},
    {u"STATIC", kNone, u"&Delay (1 to 2,500 ms):", 10, 195, 76, 8, kLabel},
    {u"EDIT", IDC_MT_TAP_DELAY_EDIT, u"", 86, 193, 32, 12, kEdit | WS_GROUP},
    {QX_TRACKBAR_CLASS, IDC_MT_TAP_DELAY, u"", 8, 207, 110, 14, kLinearStyle | kTab | WS_GROUP},
    {u"STATIC", IDC_MT_PAN_LABEL, u"Pan:", 10, 226, 40, 8, kLabel},
    {u"STATIC", IDC_MT_PAN_TEXT, u"100 %", 80, 226, 38, 8, kValue},
    {u"STATIC", IDC_MT_PAN_L, u"L", 10, 241, 8, 8, kLabel},
    {QX_TRACKBAR_CLASS, IDC_MT_TAP_PAN, u"", 18, 238, 92, 14, kLinearStyle | kTab | WS_GROUP},
    {u"STATIC", IDC_MT_PAN_R, u"R", 112, 241, 8, 8, kLabel},
    {u"STATIC", kNone, u"Tap &gain\n(-100 to 100 %)", 120, 166, 54, 17, kCentred},
    {QX_FADER_CLASS, IDC_MT_TAP_GAIN, u"", 137, 185, 20, 56, kFaderStyle | kTab | WS_GROUP},
    {u"STATIC", IDC_MT_TAP_GAIN_TEXT, u"100 %", 120, 245, 54, 8, SS_CENTER | SS_NOPREFIX},

    // Feedback, modulation and the loop's low pass.
    {u"BUTTON", kNone, u"Feedback and modulation", 180, 128, 106, 134, BS_GROUPBOX},
    QX_LOOP_ITEM(141, u"&Mod. rate (0.1 to 10.0 Hz):", IDC_MT_MOD_RATE, IDC_MT_MOD_RATE_TEXT, u"10.0 Hz"),
    QX_LOOP_ITEM(169, u"M&od. depth (0 to 100 %):", IDC_MT_MOD_DEPTH, IDC_MT_MOD_DEPTH_TEXT, u"100 %"),
    QX_LOOP_ITEM(197, u"&Feedback (0 to 150 %):", IDC_MT_FEEDBACK, IDC_MT_FEEDBACK_TEXT, u"100 %"),
    {u"BUTTON", IDC_MT_LOW_PASS_ON, u"&Low-pass start freq. (Hz):", 186, 225, 98, 10,
     BS_AUTOCHECKBOX | kTab | WS_GROUP},
    {QX_TRACKBAR_CLASS, IDC_MT_LOW_PASS, u"", 184, 237, 64, 14, kOctaveStyle | kTab | WS_GROUP},
    {u"EDIT", IDC_MT_LOW_PASS_EDIT, u"", 250, 238, 32, 12, kEdit | WS_GROUP},
};
#undef QX_FADER_COLUMN
#undef QX_LOOP_ITEM

const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 290, 265, u"Multi-Tap Delay", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxEchomtPage_Template() { return &kTemplate; }

const QxEchomtSetupRow g_EchomtSetup[] = {
    {IDC_MT_INPUT, true, -800, 0, 0, EchomtBinding::InputGain, 10, IDC_MT_INPUT_TEXT, EchomtText::Decibels},
    {IDC_MT_DRY, true, -800, 0, -60, EchomtBinding::DryOut, 10, IDC_MT_DRY_TEXT, EchomtText::Decibels},
    {IDC_MT_WET, true, -800, 0, -60, EchomtBinding::WetOut, 10, IDC_MT_WET_TEXT, EchomtText::Decibels},
    {IDC_MT_TAP_GAIN, true, -100, 100, 0, EchomtBinding::TapGain, 10, IDC_MT_TAP_GAIN_TEXT, EchomtText::Percent},
    {IDC_MT_MOD_RATE, false, 1, 100, 50, EchomtBinding::ModRate, 10, IDC_MT_MOD_RATE_TEXT, EchomtText::Hertz},
    {IDC_MT_MOD_DEPTH, false, 0, 100, 50, EchomtBinding::ModDepth, 10, IDC_MT_MOD_DEPTH_TEXT, EchomtText::Percent},
    {IDC_MT_FEEDBACK, false, 0, 150, 75, EchomtBinding::Feedback, 10, IDC_MT_FEEDBACK_TEXT, EchomtText::Percent},
    {IDC_MT_LOW_PASS, false, 100, 10000, 1000, EchomtBinding::LowPassFrequency, 100, IDC_MT_LOW_PASS_EDIT,
     EchomtText::Edit},
    {IDC_MT_TAP_COUNT, false, 1, 8, 1, EchomtBinding::TapCount, 10, IDC_MT_TAP_COUNT_TEXT, EchomtText::Plain},
    {IDC_MT_TAP_DELAY, false, 1, 2500, 1250, EchomtBinding::TapDelay, 100, IDC_MT_TAP_DELAY_EDIT, EchomtText::Edit},
    {IDC_MT_TAP_PAN, false, -100, 100, 0, EchomtBinding::TapPan, 10, IDC_MT_PAN_TEXT, EchomtText::Percent},
};
const int g_EchomtSetupCount = static_cast<int>(sizeof g_EchomtSetup / sizeof g_EchomtSetup[0]);
