// The level and octave laws as piecewise linear tables, value-to-pixel mapping and the scroll
// arithmetic of the value controls. Integer arithmetic throughout: positions are exact.
#include "kernel/controls/control_laws.h"

#include <algorithm>
#include <cstdlib>

namespace {

struct Row {
  int in, out;
};
constexpr Row kLevel[] = {{0, 0},     {30, 250},  {60, 400},  {120, 500},
                          {250, 600}, {400, 800}, {700, 950}, {1000, 1000}};
constexpr Row kOctave[] = {{0, 0},         {20, 1000},    {40, 2000},    {80, 3000},
                           {160, 4000},    {320, 5000},   {640, 6000},   {1280, 7000},
                           {2560, 8000},   {5120, 9000},  {10240, 10000}, {20480, 11000},
                           {40960, 12000}, {81920, 13000}, {163840, 14000}};

// Interpolates |v| through the table (from column `from` to column `to`), truncating towards zero.
template <size_t N>
int Interpolate(const Row (&t)[N], int v, bool inverse) {
  auto key = [&](const Row& r) { return inverse ? r.out : r.in; };
  auto val = [&](const Row& r) { return inverse ? r.in : r.out; };
  const long long m = std::llabs(static_cast<long long>(v));
  if (m > key(t[N - 1])) return v;
  size_t i = 0;
  while (key(t[i]) < m) ++i;
  long long r = val(t[i]);
  if (i > 0) {
    const Row& a = t[i - 1];
    const Row& b = t[i];
    r = val(a) + (m - key(a)) * (val(b) - val(a)) / (key(b) - key(a));
  }
  return static_cast<int>(v < 0 ? -r : r);
}

}  // namespace

int QxLevelCurve(int v) { return Interpolate(kLevel, v, false); }
int QxOctaveCurve(int v) { return Interpolate(kOctave, v, false); }
int QxLevelCurveInverse(int c) { return Interpolate(kLevel, c, true); }
int QxOctaveCurveInverse(int c) { return Interpolate(kOctave, c, true); }

void QxTrackRecompute(QxValueTrack& t) {
  if (!t.law) {
    t.curveBase = 0;
    t.curveSpan = 1;
    return;
  }
  const long long range = static_cast<long long>(t.maxValue) - t.minValue;
  const int top = t.law(t.maxValue);
  t.curveSpan = std::max(top - t.law(t.minValue), 1);
  t.curveBase = static_cast<int>(t.maxValue - range * top / t.curveSpan);
}

int QxTrackValueToOffset(const QxValueTrack& t, int value, int trackLength) {
  const long long range = static_cast<long long>(t.maxValue) - t.minValue;
  if (range == 0) return 0;
  long long c = value;
  if (t.law) c = static_cast<long long>(t.law(value)) * range / t.curveSpan + t.curveBase;
  return static_cast<int>((c - t.minValue) * trackLength / range);
}

int QxTrackOffsetToValue(const QxValueTrack& t, int offset, int trackLength) {
  const long long range = static_cast<long long>(t.maxValue) - t.minValue;
  if (range == 0 || trackLength <= 0) return t.minValue;
  // The track's ends are the range's ends exactly; the law's truncation must not keep a drag
  // to the bottom off the minimum.
  if (offset <= 0) return t.minValue;
  if (offset >= trackLength) return t.maxValue;
  long long v = offset * range / trackLength + t.minValue;
  if (t.law && t.lawInverse)
    v = t.lawInverse(static_cast<int>((v - t.curveBase) * t.curveSpan / range));
  return static_cast<int>(std::clamp<long long>(v, t.minValue, t.maxValue));
}

int QxEffectivePageStep(int minValue, int maxValue, int pageStep) {
  if (pageStep != 0) return pageStep;
  return std::max((maxValue - minValue + 5) / 10, 1);
}

int QxScrollValue(QxScrollLaw law, int code, int value, int minValue, int maxValue, int lineStep,
                  int pageStep, bool ctrl) {
  int page = QxEffectivePageStep(minValue, maxValue, pageStep);
  if (ctrl) page *= 10;
  const bool horizontal =
      law == QxScrollLaw::TrackbarHorizontal || law == QxScrollLaw::SpinnerHorizontal;
  const bool straddleHome = law == QxScrollLaw::Fader || law == QxScrollLaw::SpinnerVertical;
  const int sign = horizontal ? -1 : 1;
  long long v = value;
  switch (code) {
    case 0: v += sign * static_cast<long long>(lineStep); break;
    case 1: v -= sign * static_cast<long long>(lineStep); break;
    case 2: v += sign * static_cast<long long>(page); break;
    case 3: v -= sign * static_cast<long long>(page); break;
    case 6:
      if (horizontal) v = minValue;
      else if (straddleHome && !ctrl && minValue < 0 && maxValue >= 1) v = 0;
      else v = maxValue;
      break;
    case 7: v = horizontal ? maxValue : minValue; break;
    default: break;
  }
  return static_cast<int>(std::clamp<long long>(v, minValue, maxValue));
}
