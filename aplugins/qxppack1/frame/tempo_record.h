// The tempo and meter record handed to an engine's Apply, and the table of note values in beats
// that tempo-synced delay, decay and modulation periods are counted in.
#pragma once
#include <cstdint>

struct QxTempoRecord {
  uint32_t Flags = 0;          // QxTempoFlags
  double Tempo = 0.0;          // beats per minute; the host default is 120.0
  int32_t BeatsPerMeasure = 0; // meter numerator; default 4
  int32_t BeatValue = 0;       // meter denominator; default 4
  double Position = 0.0;       // the chunk's position in samples
};

enum QxTempoFlags : uint32_t {
  QX_TEMPO_VALID = 1,
  QX_TEMPO_CHANGED = 2,
  QX_METER_VALID = 4,
  QX_METER_CHANGED = 8,
};
// What the streaming path asks of the tempo host per chunk.
inline constexpr uint32_t QX_TEMPO_REQUEST = QX_TEMPO_VALID | QX_METER_VALID;

inline constexpr int QX_NOTE_COUNT = 18;       // indices 0..17 have a fixed length in beats
inline constexpr int QX_NOTE_MEASURES = 18;    // index 18: one measure, from the meter

// Beats of note index 0..17; 0.0 outside.
double QxNoteBeats(int index);
// English name of note index 0..18, or nullptr outside.
const char16_t* QxNoteName(int index);
// One measure in beats: 4 / BeatValue x BeatsPerMeasure.
double QxMeasureBeats(int beatsPerMeasure, int beatValue);
