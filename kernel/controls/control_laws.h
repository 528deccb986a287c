// The value laws and scroll arithmetic the value controls share: the level curve, the octave
// curve, value-to-pixel and back, and what each scroll code does to a value.
#pragma once
#include <cstdint>

// The level law: piecewise linear in thousandths, sign kept, magnitudes above 1000 unchanged.
int QxLevelCurve(int v);
// The octave law: each doubling from 20 up takes 1000 more; above 163840 unchanged.
int QxOctaveCurve(int v);
// The inverse of either law, for reading a pixel back (truncating, sign kept).
int QxLevelCurveInverse(int c);
int QxOctaveCurveInverse(int c);

// A value range mapped onto a track of `trackLength` pixels; `law` is null for linear.
struct QxValueTrack {
  int minValue = 0, maxValue = 100;
  int (*law)(int) = nullptr;
  int (*lawInverse)(int) = nullptr;
  int curveBase = 0, curveSpan = 1;  // recomputed by QxTrackRecompute on every range or law change
};
void QxTrackRecompute(QxValueTrack& t);
// Offset in pixels from the track's low end (the caller flips vertical tracks); 0 for range 0.
int QxTrackValueToOffset(const QxValueTrack& t, int value, int trackLength);
// The value at `offset` pixels from the low end, clamped to the range.
int QxTrackOffsetToValue(const QxValueTrack& t, int offset, int trackLength);

// A page step of 0 becomes (range + 5)/10, at least 1.
int QxEffectivePageStep(int minValue, int maxValue, int pageStep);

enum class QxScrollLaw {
  Fader,             // 0/1 line +/-, 2/3 page +/-, 6 to 0 when straddling (no Ctrl) else max, 7 min
  TrackbarVertical,  // as Fader but 6 always to the maximum, 7 to the lower bound
  TrackbarHorizontal,// signs reversed: 0 -line, 1 +line, 2 -page, 3 +page, 6 lower bound, 7 maximum
  SpinnerVertical,   // TrackbarVertical with the Fader's straddle rule for 6
  SpinnerHorizontal, // TrackbarHorizontal
};
// The value after scroll `code`; Ctrl multiplies the page step by 10. Clamped to the range.
int QxScrollValue(QxScrollLaw law, int code, int value, int minValue, int maxValue, int lineStep,
                  int pageStep, bool ctrl);
