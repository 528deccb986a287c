// Chorus's parameter record: sixteen little-endian int32 fields, 64 bytes, which is at once the
// snapshot, a preset row and the persistent payload; plus the preset row type.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/types.h"

struct ChorusParams {
  int32_t inputGain;             // -600 to 0 tenths of a dB into the voices; -600 is silence
  int32_t dryOut;                // -600 to 0 tenths of a dB, dry signal; -600 is silence
  int32_t chorusOut;             // -600 to 0 tenths of a dB, wet signal; -600 is silence
  int32_t chorusSize;            // 1 to 3 voices in series
  int32_t feedback;              // 0 to 100 percent
  int32_t invertChorusPhase;     // 0 or 1: negate the wet gain
  int32_t outDelay;              // 1 to 1000 tenths of a millisecond
  int32_t modRate;               // 1 to 20000 thousandths of a hertz
  int32_t modDepth;              // 1 to 100 percent of the delay
  int32_t attenuateHigh;         // 0 or 1: low pass in the feedback loop
  int32_t attenuationFrequency;  // 100 to 10000 Hz
  int32_t invertFeedbackPhase;   // 0 or 1: negate the feedback gain
  int32_t bypass;                // 0 or 1: leave samples untouched, state frozen
  int32_t modPeriodNote;         // 0 to 18 note index of the synced period; 18 is measures
  int32_t modPeriodMultiplier;   // 1 to 32000, note multiplier x 1000
  int32_t tempoSync;             // 0 or 1: period from the tempo
};
static_assert(sizeof(ChorusParams) == 64);
static_assert(offsetof(ChorusParams, bypass) == 48);
static_assert(offsetof(ChorusParams, tempoSync) == 60);

struct QxChorusPreset {
  uint32_t Name;  // string number of the preset's name
  ChorusParams Params;
};
// The 24 rows in catalogue order; row 0 is what a new filter loads.
extern const QxChorusPreset g_ChorusPresets[];
inline constexpr uint32_t QX_CHORUS_PRESET_COUNT = 24;
