// The Reverb page's dialog template: the strip on top, the three level faders beside the two
// lists, and below them the decay and pre-delay trackbars beside the two filters.
#include "aplugins/qxppack1/pages/reverb_page.h"
#include "aplugins/qxppack1/pages/page_styles.h"
#include "kernel/controls/control_classes.h"

namespace {
using namespace QxPageStyle;
constexpr DWORD kLongCheck = kCheck | BS_MULTILINE;  // its long label on two lines

const QxDialogItem kItems[] = {
    {QX_LOGO_CLASS, QX_PAGE_LOGO, u"", 0, 0, 254, 20, 0},

    // Levels: three faders, each with its label above and its value below.
    {u"BUTTON", -1, u"Levels", 3, 23, 158, 98, BS_GROUPBOX},
    {u"STATIC", IDC_REVERB_DRY_LABEL, u"&Dry out\n (-Inf. to 0 dB)", 5, 31, 50, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_REVERB_DRY, u"", 19, 50, 22, 57, kFader},
    {u"STATIC", IDC_REVERB_DRY_TEXT, u"-96 dB", 5, 109, 50, 9, kCentre},
    {u"STATIC", IDC_REVERB_WET_LABEL, u"Re&verb out\n(-Inf. to 0 dB)", 57, 31, 50, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_REVERB_WET, u"", 71, 50, 22, 57, kFader},
    {u"STATIC", IDC_REVERB_WET_TEXT, u"-96 dB", 57, 109, 50, 9, kCentre},
    {u"STATIC", IDC_REVERB_EARLY_LABEL, u"&Early out\n(-Inf. to 0 dB)", 109, 31, 50, 18, SS_CENTER},
    {QX_FADER_CLASS, IDC_REVERB_EARLY, u"", 123, 50, 22, 57, kFader},
    {u"STATIC", IDC_REVERB_EARLY_TEXT, u"-96 dB", 109, 109, 50, 9, kCentre},

    // The room: the mode and the early reflections.
    {u"STATIC", IDC_REVERB_MODE_LABEL, u"Reverbera&tion mode:", 166, 30, 84, 9, SS_LEFT},
    {u"COMBOBOX", IDC_REVERB_MODE, u"", 166, 40, 84, 150, kList},
    {u"STATIC", IDC_REVERB_STYLE_LABEL, u"Early re&flection style:", 166, 70, 84, 9, SS_LEFT},
    {u"COMBOBOX", IDC_REVERB_STYLE, u"", 166, 80, 84, 150, kList},

    // The tail: decay and pre-delay, each a trackbar with its value at the right.
    {u"STATIC", IDC_REVERB_DECAY_LABEL, u"De&cay time (0.5 to 5.0 secs.):", 6, 127, 118, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_REVERB_DECAY, u"", 2, 137, 96, 14, kTrack},
    {u"STATIC", IDC_REVERB_DECAY_TEXT, u"5.0", 96, 139, 26, 9, kValue},
    {u"STATIC", IDC_REVERB_PREDELAY_LABEL, u"Pre-dela&y (Off to 200 ms):", 6, 159, 118, 9, SS_LEFT},
    {QX_TRACKBAR_CLASS, IDC_REVERB_PREDELAY, u"", 2, 169, 96, 14, kTrack},
    {u"STATIC", IDC_REVERB_PREDELAY_TEXT, u"Off", 96, 171, 26, 9, kValue},

    // The filters: a switch, then the frequency as a trackbar and a box.
    {u"BUTTON", IDC_REVERB_BASS_ON, u"Attenuate bass freqs. belo&w (10 to 5,000 Hz):", 130, 124, 120, 17, kLongCheck},
    {QX_TRACKBAR_CLASS, IDC_REVERB_BASS, u"", 126, 141, 88, 14, kTrack},
    {u"EDIT", IDC_REVERB_BASS_EDIT, u"", 216, 142, 34, 12, kEdit},
    {u"BUTTON", IDC_REVERB_HIGH_ON, u"Attenuate high freqs. ab&ove (100 to 15,000 Hz):", 130, 158, 120, 17, kLongCheck},
    {QX_TRACKBAR_CLASS, IDC_REVERB_HIGH, u"", 126, 175, 88, 14, kTrack},
    {u"EDIT", IDC_REVERB_HIGH_EDIT, u"", 216, 176, 34, 12, kEdit},
};
const QxDialogTemplate kTemplate{WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT, 0, 0, 254, 193, u"Reverb", kItems,
                                 static_cast<int>(sizeof kItems / sizeof kItems[0])};
}  // namespace

const QxDialogTemplate* QxReverbPage_Template() { return &kTemplate; }
