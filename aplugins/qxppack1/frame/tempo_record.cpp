// Note values in beats and their names.
#include "aplugins/qxppack1/frame/tempo_record.h"

namespace {
constexpr double kBeats[QX_NOTE_COUNT] = {
    1.0 / 24, 0.0625, 0.09375, 1.0 / 12, 0.125, 0.1875, 1.0 / 6, 0.25, 0.375,
    1.0 / 3,  0.5,    0.75,    2.0 / 3,  1.0,   1.5,    4.0 / 3, 2.0,  3.0,
};
const char16_t* const kNames[QX_NOTE_COUNT + 1] = {
    u"64th Note Triplet",   u"64th Note",   u"Dotted 64th Note",    u"32nd Note Triplet",
    u"32nd Note",           u"Dotted 32nd Note", u"16th Note Triplet", u"16th Note",
    u"Dotted 16th Note",    u"8th Note Triplet", u"8th Note",       u"Dotted 8th Note",
    u"Quarter Note Triplet", u"Quarter Note", u"Dotted Quarter Note", u"Half Note Triplet",
    u"Half Note",           u"Dotted Half Note", u"Measures",
};
}  // namespace

double QxNoteBeats(int index) { return index >= 0 && index < QX_NOTE_COUNT ? kBeats[index] : 0.0; }

const char16_t* QxNoteName(int index) {
  return index >= 0 && index <= QX_NOTE_MEASURES ? kNames[index] : nullptr;
}

double QxMeasureBeats(int beatsPerMeasure, int beatValue) {
  return 4.0 / beatValue * beatsPerMeasure;
}
