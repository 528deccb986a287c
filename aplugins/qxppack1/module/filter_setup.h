// Registration records of the six filters, and each effect's own two-row class table (filter and
// page under their "LUMEA ..." display names), beside the module's class table.
#pragma once
#include "platform/com/class_factory.h"
#include "platform/mediagraph/interfaces.h"

extern const AMOVIESETUP_FILTER g_QxTimeSetup;
extern const AMOVIESETUP_FILTER g_QxPitchsSetup;
extern const AMOVIESETUP_FILTER g_QxEchosSetup;
extern const AMOVIESETUP_FILTER g_QxEchomtSetup;
extern const AMOVIESETUP_FILTER g_QxReverbSetup;
extern const AMOVIESETUP_FILTER g_QxChorusSetup;

// One effect's table: its filter row, then its page row, with the class table's identifiers,
// creation functions and registration record.
struct QxEffectClassTable {
  const CFactoryTemplate* rows;
  int count;  // 2
};
// In class table order: Time Stretch, Pitch Shift, Simple Delay, Multi-Tap Delay, Reverb, Chorus.
inline constexpr int QX_EFFECT_TABLES = 6;
extern const QxEffectClassTable g_QxEffectTables[QX_EFFECT_TABLES];
