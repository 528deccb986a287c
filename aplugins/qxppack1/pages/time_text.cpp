// Clock times of the Pitch Shift and Time Stretch pages: the time text, the two readers of a typed
// time and the frames a time gives.
#include "aplugins/qxppack1/pages/time_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "kernel/services/qx_valuetext.h"

void QxTimeText(double frames, uint32_t rate, QxMsRule rule, WCHAR* text, int size) {
  if (!text || size < 1) return;
  double ms = rate ? frames * 1000.0 / rate : 0.0;
  // Nothing the parameters allow comes near the cap; it keeps the casts below defined.
  ms = std::isnan(ms) ? 0.0 : std::clamp(ms, 0.0, 3.6e15);
  double hours = std::trunc(ms / 3.6e6);
  ms = std::max(0.0, ms - hours * 3.6e6);
  double minutes = std::trunc(ms / 60000.0);
  ms = std::max(0.0, ms - minutes * 60000.0);
  double seconds = std::trunc(ms / 1000.0);
  ms = std::max(0.0, ms - seconds * 1000.0) + 1.5e-8;
  ms = rule == QxMsRule::Round ? std::floor(ms + 0.5) : std::trunc(ms);
  if (ms >= 1000.0) {
    ms -= 1000.0;
    if (++seconds >= 60.0) {
      seconds = 0.0;
      if (++minutes >= 60.0) {
        minutes = 0.0;
        ++hours;
      }
    }
  }
  QxCchPrintF(text, size, nullptr, u"%02u:%02u:%02u.%03u", static_cast<unsigned>(hours),
              static_cast<unsigned>(minutes), static_cast<unsigned>(seconds), static_cast<unsigned>(ms));
}

namespace {
bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

// One number of a typed time: blanks and tabs skipped, a leading "-", commas between digits
// dropped. The nudge of 5e-12 away from 0 keeps a typed 1.001 from becoming 1.000999...
double ReadNumber(const WCHAR* p, const WCHAR** end) {
  while (*p == u' ' || *p == u'\t') ++p;
  char digits[64];
  int n = 0;
  bool seenDigit = false;
  if (*p == u'-') digits[n++] = static_cast<char>(*p++);
  for (; *p; ++p) {
    if (*p == u',' && seenDigit) continue;
    if (!IsDigit(*p) && *p != u'.') break;
    seenDigit |= IsDigit(*p);
    if (n < 63) digits[n++] = static_cast<char>(*p);
  }
  digits[n] = '\0';
  *end = p;
  double v = std::strtod(digits, nullptr);
  if (v > 0) v += 5e-12;
  if (v < 0) v -= 5e-12;
  return v;
}
}  // namespace

BOOL QxParseClockText(const WCHAR* text, QxClockTime* time) {
  if (!text || !time) return FALSE;
  WCHAR buffer[80];
  int length = 0;
  while (length < 79 && text[length]) buffer[length] = text[length], ++length;
  buffer[length] = 0;

  int colons = 0, dots = 0;
  for (int i = 0; i < length; ++i) {
    if (buffer[i] == u':' && (++colons > 2 || dots > 0)) return FALSE;
    if (buffer[i] == u'.' && ++dots > 1) return FALSE;
  }
  double numbers[3] = {0, 0, 0};  // hours, minutes, seconds once pushed up
  const WCHAR* p = buffer;
  for (int i = 0; i < 3; ++i) {
    numbers[0] = numbers[1];
    numbers[1] = numbers[2];
    numbers[2] = ReadNumber(p, &p);
    while (*p && *p != u':') ++p;
    if (!*p) break;
    ++p;
  }
  time->hours = std::trunc(numbers[0]);
  time->minutes = std::trunc(numbers[1]);
  time->seconds = std::trunc(numbers[2]);
  time->ms = std::trunc((numbers[2] - time->seconds) * 1000.0);
  return TRUE;
}

QxClockTime QxParseDigitGroups(const WCHAR* text) {
  double groups[4];
  int count = 0;
  for (const WCHAR* p = text; p && *p && count < 4;) {
    if (!IsDigit(*p)) {
      ++p;
      continue;
    }
    double v = 0;
    for (; IsDigit(*p); ++p) v = std::min(v * 10 + (*p - u'0'), 1e12);
    groups[count++] = v;
  }
  QxClockTime t;
  double* fields[4] = {&t.ms, &t.seconds, &t.minutes, &t.hours};
  for (int i = 0; i < count; ++i) *fields[i] = groups[count - 1 - i];
  t.minutes += std::floor(t.seconds / 60.0);
  t.seconds = std::fmod(t.seconds, 60.0);
  t.hours += std::floor(t.minutes / 60.0);
  t.minutes = std::fmod(t.minutes, 60.0);
  t.hours = std::fmod(t.hours, 24.0);
  return t;
}

double QxClockFrames(const QxClockTime& t, uint32_t rate) {
  if (!rate) return 1.0;
  return std::trunc((((t.hours * 60 + t.minutes) * 60 + t.seconds) * 1000.0 + t.ms) * rate / 1000.0 + 0.999);
}
