// qxfx's friendly length options for time-stretch: --percent P and --tempo-from A --tempo-to B,
// turned into FinalLength the way the Time Stretch page turns what the user types into it.
#pragma once
#include <cstdint>
#include <string>

#include "platform/com/unknown.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effects.h"

// What the options come to: the record fields to set.
struct QxfxTimeSetting {
  double finalLength = 10000.0;
  bool setsTempo = false;     // tempo form: InitialTempo and InputFormat 1 go with it
  uint32_t initialTempo = 0;
};

// FinalLength from the options as the page computes it: P x 100 for a percentage, and
// trunc(A x 100) / (B x 0.01) for tempi. Refuses values outside the effect's 50 % to 500 %.
bool QxfxTimeSettingFor(const QxfxTimeOptions& options, QxfxTimeSetting* setting, std::string* error);

// Sets an effect's time options on a time-stretch filter, after the other effect options. Refuses
// them for other effects and beside --set FinalLength.
bool QxfxApplyTimeArgs(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& args, std::string* error);
