// qxfx's friendly options for pitch-shift: --semitones S, --cents C and --preserve-duration, turned
// into Semitones, Cents and Ratio the way the Pitch Shift page turns what the user types into them.
#pragma once
#include <cstdint>
#include <string>

#include "platform/com/unknown.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effects.h"

// What the options come to: the record fields to set.
struct QxfxPitchSetting {
  int32_t semitones = 0;
  int32_t cents = 0;  // tenths of a cent, as stored
  double ratio = 1.0;
};

// The stored values: Semitones a whole number in -50 to 50 (-12 to 12 with preserved duration, as
// the page holds it), Cents the cents x 10 in -1000 to 1000, and Ratio 2 ^ ((Cents / 1000 +
// Semitones) / 12).
bool QxfxPitchSettingFor(const QxfxPitchOptions& options, QxfxPitchSetting* setting, std::string* error);

// Sets one effect's pitch options on a pitch-shift filter, after its other effect options. Refuses
// them for other effects and beside --set Ratio.
bool QxfxApplyPitchArgs(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& args, std::string* error);
