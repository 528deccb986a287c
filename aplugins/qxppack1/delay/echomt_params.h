// Multi-Tap Delay's parameter record: 35 little-endian int32 fields, 140 bytes, which is at once the
// control interface's view, a preset row and the persistent payload; plus ranges, presets and tag.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/guid.h"
#include "platform/com/types.h"

inline constexpr int QX_ECHOMT_TAPS = 8;

struct EchomtParams {
  int32_t tapDelay[QX_ECHOMT_TAPS];  // 1 to 2500 milliseconds
  int32_t tapGain[QX_ECHOMT_TAPS];   // -100 to 100 percent; the sign is the phase
  int32_t tapPan[QX_ECHOMT_TAPS];    // -100 to 100 percent; negative is left
  int32_t tapCount;                  // 1 to 8: the first so many taps are in use
  int32_t wetOut;                    // -800 to 0 tenths of a dB; -800 is silence
  int32_t dryOut;                    // -800 to 0 tenths of a dB; -800 is silence
  int32_t feedback;                  // 0 to 150 percent of unity loop gain
  int32_t inputGain;                 // -800 to 0 tenths of a dB; -800 is silence
  int32_t lowPassOn;                 // any value; nonzero is on
  int32_t lowPassFrequency;          // 100 to 10000 hertz
  int32_t modDepth;                  // 0 to 100 percent (100 is 3 ms of swing)
  int32_t modRate;                   // 1 to 100 tenths of a hertz
  int32_t currentTap;                // 0 to 7: the tap the page edits; no effect on sound
  int32_t graphResolution;           // 0 to 3: the page's graph range; no effect on sound
};
static_assert(sizeof(EchomtParams) == 140);
static_assert(offsetof(EchomtParams, tapGain) == 32);
static_assert(offsetof(EchomtParams, tapPan) == 64);
static_assert(offsetof(EchomtParams, tapCount) == 96);
static_assert(offsetof(EchomtParams, lowPassOn) == 116);
static_assert(offsetof(EchomtParams, graphResolution) == 136);

// Position of each field in the record, counted in int32 slots (byte offset / 4).
enum EchomtField : int {
  ECHOMT_TAP_DELAY = 0,  // + tap index
  ECHOMT_TAP_GAIN = 8,   // + tap index
  ECHOMT_TAP_PAN = 16,   // + tap index
  ECHOMT_TAP_COUNT = 24,
  ECHOMT_WET_OUT,
  ECHOMT_DRY_OUT,
  ECHOMT_FEEDBACK,
  ECHOMT_INPUT_GAIN,
  ECHOMT_LOW_PASS_ON,
  ECHOMT_LOW_PASS_FREQUENCY,
  ECHOMT_MOD_DEPTH,
  ECHOMT_MOD_RATE,
  ECHOMT_CURRENT_TAP,
  ECHOMT_GRAPH_RESOLUTION,
  ECHOMT_FIELD_COUNT
};
static_assert(ECHOMT_FIELD_COUNT * 4 == sizeof(EchomtParams));

struct QxEchomtFieldRange {
  int32_t Min;
  int32_t Max;
  bool Clamped;   // lowPassOn alone is stored as it comes
  bool Designs;   // a change needs the full design (line length, tap gains, feedback)
};

// The range of the field in slot `field` (an EchomtField value, tap index added).
constexpr QxEchomtFieldRange QxEchomtFieldRangeOf(int field) {
  if (field < ECHOMT_TAP_GAIN) return {1, 2500, true, true};
  if (field < ECHOMT_TAP_PAN) return {-100, 100, true, true};
  if (field < ECHOMT_TAP_COUNT) return {-100, 100, true, true};
  switch (field) {
    case ECHOMT_TAP_COUNT: return {1, 8, true, true};
    case ECHOMT_WET_OUT:
    case ECHOMT_DRY_OUT:
    case ECHOMT_INPUT_GAIN: return {-800, 0, true, false};
    case ECHOMT_FEEDBACK: return {0, 150, true, true};
    case ECHOMT_LOW_PASS_ON: return {INT32_MIN, INT32_MAX, false, false};
    case ECHOMT_LOW_PASS_FREQUENCY: return {100, 10000, true, false};
    case ECHOMT_MOD_DEPTH: return {0, 100, true, true};
    case ECHOMT_MOD_RATE: return {1, 100, true, false};
    case ECHOMT_CURRENT_TAP: return {0, 7, true, false};
    case ECHOMT_GRAPH_RESOLUTION: return {0, 3, true, false};
  }
  return {0, 0, false, false};
}

// The values of a fresh effect (the same as preset row 0).
inline constexpr EchomtParams QX_ECHOMT_DEFAULTS = {
    {100, 1, 1, 1, 1, 1, 1, 1},
    {100, 100, 100, 100, 100, 100, 100, 100},
    {0, 0, 0, 0, 0, 0, 0, 0},
    1, -60, -60, 0, 0, 0, 5000, 0, 1, 0, 0};

// One preset row: the catalogue name and the whole record.
struct QxEchomtPreset {
  uint32_t Name;  // string number of the preset's name
  EchomtParams Params;
};
extern const QxEchomtPreset g_EchomtPresets[];
extern const uint32_t g_EchomtPresetCount;  // 26

// The persistent form's tag: one version, 20-byte header plus the record, 160 bytes in all.
inline constexpr GUID QX_ECHOMT_PERSIST_TAG = MakeGuid("7298A3E3-78EE-11D0-AEBC-00A0C9053912");
inline constexpr uint32_t QX_ECHOMT_PERSIST_SIZE = 160;
static_assert(20 + sizeof(EchomtParams) == QX_ECHOMT_PERSIST_SIZE);
