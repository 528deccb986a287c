// Wave formats for tests: a plain format with its alignment and byte rate worked out, from its
// fields or from a sample form.
#pragma once
#include <type_traits>

#include "platform/com/wave_format.h"

inline WAVEFORMATEX PlainFormat(WORD tag, WORD channels, WORD bits, DWORD rate = 8000) {
  WAVEFORMATEX f{};
  f.wFormatTag = tag;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = bits;
  f.nBlockAlign = static_cast<WORD>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  return f;
}

// The format of sample form F (a QxPcm16Form or the like).
template <class F>
WAVEFORMATEX FormatOf(WORD channels, DWORD rate) {
  using S = typename F::Sample;
  return PlainFormat(std::is_floating_point_v<S> ? 3 : 1, channels, sizeof(S) * 8, rate);
}
