// The filters' registration records and the per-effect "LUMEA ..." class tables.
// Both follow the class table's identifiers and creation functions.
#include "aplugins/qxppack1/module/filter_setup.h"

#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/module/module_api.h"

namespace {
// Every filter takes and gives audio of any subtype on "Input" and "Output", each pin naming the
// other filter's opposite pin.
constexpr AMOVIESETUP_MEDIATYPE kAudioAnySubtype = {&MEDIATYPE_Audio, &GUID_NULL};
constexpr AMOVIESETUP_PIN kPins[2] = {
    {u"Input", FALSE, FALSE, FALSE, FALSE, &GUID_NULL, u"Output", 1, &kAudioAnySubtype},
    {u"Output", FALSE, TRUE, FALSE, FALSE, &GUID_NULL, u"Input", 1, &kAudioAnySubtype},
};

// The class table row of an effect's filter (its page is the next row).
constexpr int kFilterRow[QX_EFFECT_TABLES] = {0, 2, 4, 6, 8, 10};
constexpr const WCHAR* kLongNames[QX_EFFECT_TABLES][2] = {
    {u"LUMEA Time Stretch", u"LUMEA Time Stretch Property Page"},
    {u"LUMEA Pitch Shift", u"LUMEA Pitch Shift Property Page"},
    {u"LUMEA Simple Delay", u"LUMEA Simple Delay Property Page"},
    {u"LUMEA Multi-Tap Delay", u"LUMEA Multi-Tap Delay Property Page"},
    {u"LUMEA Reverb", u"LUMEA Reverb Property Page"},
    {u"LUMEA Chorus", u"LUMEA Chorus Property Page"},
};

// Copies the two rows from the class table, so a class that lands there is made here too. The
// class table is constant-initialised, so reading it during dynamic initialisation is safe.
struct Tables {
  CFactoryTemplate rows[QX_EFFECT_TABLES][2];
  Tables() {
    for (int e = 0; e < QX_EFFECT_TABLES; ++e)
      for (int r = 0; r < 2; ++r) {
        rows[e][r] = g_Templates[kFilterRow[e] + r];
        rows[e][r].m_Name = kLongNames[e][r];
      }
  }
};
const Tables kTables;
}  // namespace

const AMOVIESETUP_FILTER g_QxTimeSetup = {&CLSID_QxTime, u"LUMEA Time Stretch", MERIT_DO_NOT_USE, 2, kPins};
const AMOVIESETUP_FILTER g_QxPitchsSetup = {&CLSID_QxPitchs, u"LUMEA Pitch Shift", MERIT_DO_NOT_USE, 2, kPins};
const AMOVIESETUP_FILTER g_QxEchosSetup = {&CLSID_QxEchos, u"LUMEA Simple Delay", MERIT_DO_NOT_USE, 2, kPins};
const AMOVIESETUP_FILTER g_QxEchomtSetup = {&CLSID_QxEchomt, u"LUMEA Multi-Tap Delay", MERIT_DO_NOT_USE, 2, kPins};
const AMOVIESETUP_FILTER g_QxReverbSetup = {&CLSID_QxReverb, u"LUMEA Reverb", MERIT_DO_NOT_USE, 2, kPins};
const AMOVIESETUP_FILTER g_QxChorusSetup = {&CLSID_QxChorus, u"LUMEA Chorus", MERIT_DO_NOT_USE, 2, kPins};

const QxEffectClassTable g_QxEffectTables[QX_EFFECT_TABLES] = {
    {kTables.rows[0], 2}, {kTables.rows[1], 2}, {kTables.rows[2], 2},
    {kTables.rows[3], 2}, {kTables.rows[4], 2}, {kTables.rows[5], 2},
};
