// Reverb's parameter record, its tables (reverberation modes, early-reflection styles, factory
// presets, automation enum lists) and the tags of the persistent forms that carry the record.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/guid.h"
#include "platform/com/types.h"

// Twelve little-endian int32 fields, 48 bytes: the snapshot, a preset row and the persistent payload.
struct ReverbParams {
  int32_t dryOut;           // -800 to 0 tenths of a dB, dry signal; -800 is silence
  int32_t reverbOut;        // -800 to 0 tenths of a dB, comb network; -800 is silence
  int32_t earlyOut;         // -800 to 0 tenths of a dB, early reflections; -800 is silence
  int32_t reverbMode;       // 0 to 18, row of g_ReverbModes
  int32_t reflectionStyle;  // 0 to 9, row of g_ReflectionStyles
  int32_t decayTenths;      // 5 to 50 tenths of a second
  int32_t preDelayMs;       // 0 to 200 ms
  int32_t bassOn;           // 0 or 1: attenuate bass
  int32_t bassFreqHz;       // 10 to 5000 Hz
  int32_t highOn;           // 0 or 1: attenuate highs
  int32_t highFreqHz;       // 100 to 15000 Hz
  int32_t bypass;           // 0 or 1
};
static_assert(sizeof(ReverbParams) == 48);
static_assert(offsetof(ReverbParams, reverbMode) == 12);
static_assert(offsetof(ReverbParams, bypass) == 44);

inline constexpr int QX_REVERB_MODE_COUNT = 19;
inline constexpr int QX_REFLECTION_STYLE_COUNT = 10;
inline constexpr int QX_REVERB_MAX_COMBS = 10;

// Comb count (a whole number held in a double) and ten comb delays in ms, comb 0 first. Delays
// past the count are never read.
struct ReverbModeRow {
  double combs;
  double delayMs[QX_REVERB_MAX_COMBS];
};
static_assert(sizeof(ReverbModeRow) == 88);

// Three taps: delays in ms before the fixed additions, gains in hundredths (negative inverts),
// pans from -100 (left) to 100 (right), used in stereo alone.
struct ReflectionRow {
  double delayMs[3];
  int32_t gain[3];
  int32_t pan[3];
};
static_assert(sizeof(ReflectionRow) == 48);

extern const ReverbModeRow g_ReverbModes[QX_REVERB_MODE_COUNT];
extern const ReflectionRow g_ReflectionStyles[QX_REFLECTION_STYLE_COUNT];
// What the page's lists show, one per row.
extern const WCHAR* const g_ReverbModeNames[QX_REVERB_MODE_COUNT];
extern const WCHAR* const g_ReflectionStyleNames[QX_REFLECTION_STYLE_COUNT];
// What automation shows is in the string table: one comma-separated item per row, in row order.

// Factory presets: 13 rows in catalogue order, then a closing row whose Name is 0.
struct QxReverbPreset {
  uint32_t Name;  // string number of the preset's name
  ReverbParams Params;
};
inline constexpr uint32_t QX_REVERB_PRESET_COUNT = 13;
extern const QxReverbPreset g_ReverbPresets[QX_REVERB_PRESET_COUNT + 1];
extern const uint32_t g_ReverbPresetCount;  // the closing row not counted

// Tags of the persistent forms: a 20-byte header (total size, then the tag) before the record.
// Current form, 68 bytes, written and read.
inline constexpr GUID QX_REVERB_TAG_CURRENT = MakeGuid("b450f727-e8fb-4f34-b53b-cc30a18c17a0");
// 68 bytes, read only.
inline constexpr GUID QX_REVERB_TAG_ALTERNATE = MakeGuid("c9a9fec7-8a9b-4cfe-aebc-92ea0e505219");
// 64 bytes, read only: the older 44-byte record without bypass.
inline constexpr GUID QX_REVERB_TAG_NO_BYPASS = MakeGuid("607682e3-6e21-11d0-aebc-00a0c9053912");
