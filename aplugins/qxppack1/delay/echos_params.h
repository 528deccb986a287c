// Simple Delay's parameter record: twelve little-endian int32 fields, 48 bytes, which is at once
// the snapshot, a preset row and the persistent payload; plus the raw range of each field.
#pragma once
#include <cstddef>
#include <cstdint>

struct EchosParams {
  int32_t MultipleDelays;   // 0 or 1: on, the line feeds back; off, a single echo
  int32_t DelayTime;        // 1 to 5000 milliseconds
  int32_t DecayTime;        // 1 to 200 tenths of a second
  int32_t DelayOut;         // -800 to 0 tenths of a dB, delayed signal; -800 is silence
  int32_t DryOut;           // -800 to 0 tenths of a dB, input signal; -800 is silence
  int32_t Bypass;           // 0 or 1
  int32_t DelayNote;        // 0 to 17, note index of the tempo-synced delay
  int32_t DelayMultiplier;  // 1 to 4000, note multiplier x 1000
  int32_t TempoSyncDelay;   // 0 or 1: delay follows the tempo
  int32_t DecayNote;        // 0 to 18, note index of the tempo-synced decay; 18 is measures
  int32_t DecayMultiplier;  // 1 to 32000, note multiplier x 1000
  int32_t TempoSyncDecay;   // 0 or 1: decay follows the tempo
};
static_assert(sizeof(EchosParams) == 48);

// Raw range of one field, located by its byte offset in the record.
struct QxEchosFieldRange {
  uint32_t Offset;
  int32_t RawMin;
  int32_t RawMax;
};

inline constexpr int QX_ECHOS_FIELD_COUNT = 12;

// In the record's order.
inline constexpr QxEchosFieldRange QX_ECHOS_FIELD_RANGES[QX_ECHOS_FIELD_COUNT] = {
    {offsetof(EchosParams, MultipleDelays), 0, 1},
    {offsetof(EchosParams, DelayTime), 1, 5000},
    {offsetof(EchosParams, DecayTime), 1, 200},
    {offsetof(EchosParams, DelayOut), -800, 0},
    {offsetof(EchosParams, DryOut), -800, 0},
    {offsetof(EchosParams, Bypass), 0, 1},
    {offsetof(EchosParams, DelayNote), 0, 17},
    {offsetof(EchosParams, DelayMultiplier), 1, 4000},
    {offsetof(EchosParams, TempoSyncDelay), 0, 1},
    {offsetof(EchosParams, DecayNote), 0, 18},
    {offsetof(EchosParams, DecayMultiplier), 1, 32000},
    {offsetof(EchosParams, TempoSyncDecay), 0, 1},
};

static_assert(offsetof(EchosParams, DelayTime) == 4);
static_assert(offsetof(EchosParams, Bypass) == 20);
static_assert(offsetof(EchosParams, TempoSyncDecay) == 44);

// The range of the field at a byte offset, or nullptr when no field starts there.
constexpr const QxEchosFieldRange* QxEchosFieldRangeAt(uint32_t offset) {
  for (const QxEchosFieldRange& r : QX_ECHOS_FIELD_RANGES)
    if (r.Offset == offset) return &r;
  return nullptr;
}
