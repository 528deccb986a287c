// Clock times of the Pitch Shift and Time Stretch pages: frames at a rate to "hh:mm:ss.xxx", the
// two ways their edit boxes read a typed time back, and the frame count a read time gives.
#pragma once
#include <cstdint>

#include "platform/com/types.h"

// Room for the longest time text, terminator included.
inline constexpr int QX_TIME_TEXT_CHARS = 32;

// How the thousandths of a time text are made: the Time Stretch page rounds them to nearest, the
// Pitch Shift page cuts them.
enum class QxMsRule { Round, Truncate };

// `frames` at `rate` as "%02u:%02u:%02u.%03u"; a rate of 0 gives "00:00:00.000". A rounding up to
// a whole second carries into the seconds, so the thousandths always have three digits.
void QxTimeText(double frames, uint32_t rate, QxMsRule rule, WCHAR* text, int size);

// A typed time; each field is a whole number (negative only where the user typed a "-").
struct QxClockTime {
  double hours = 0, minutes = 0, seconds = 0, ms = 0;
};

// Time Stretch's reading: up to three numbers separated by ":", the last one seconds with its
// fraction as thousandths, the earlier ones minutes and hours. FALSE, and *time untouched, for
// more than two ":", more than one ".", or a ":" after the ".".
BOOL QxParseClockText(const WCHAR* text, QxClockTime* time);

// Pitch Shift's reading: the text's groups of digits (up to four; any further ones are ignored)
// fill thousandths, seconds, minutes and hours from the right. Seconds and minutes above 59
// carry upwards, and the hours wrap at 24.
QxClockTime QxParseDigitGroups(const WCHAR* text);

// The frame count of a read time at `rate`, rounded up by all but a thousandth of a frame; 1.0
// when the rate is not known (0).
double QxClockFrames(const QxClockTime& time, uint32_t rate);
