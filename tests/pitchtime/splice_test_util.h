// Helpers for the splice engine tests: wave formats, test signals and a push loop that feeds a
// whole stream through the engine the way the Time Stretch filter does, then flushes it.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "tests/support/formats.h"

namespace splice_test {

inline WAVEFORMATEX Wave(WORD tag, WORD bits, WORD channels, DWORD rate) {
  return PlainFormat(tag, channels, bits, rate);
}
// The splice sizes of `mode` at `rate`.
inline QxSpliceSizes SizesAt(int mode, DWORD rate) {
  QxSpliceSizes s;
  EXPECT_EQ(QxSplice_ComputeSizes(mode, rate, &s), S_OK);
  return s;
}
inline WAVEFORMATEX FloatWave(WORD channels, DWORD rate) {
  return Wave(WAVE_FORMAT_IEEE_FLOAT, 32, channels, rate);
}

// Deterministic noise in [-0.5, 0.5).
inline std::vector<float> Noise(size_t samples, uint32_t seed = 1) {
  std::vector<float> v(samples);
  for (auto& s : v) {
    seed = seed * 1664525u + 1013904223u;
    s = static_cast<float>(seed >> 8) / 16777216.0f - 0.5f;
  }
  return v;
}

struct StreamResult {
  std::vector<unsigned char> bytes;
  int64_t frames = 0;
  int flushCalls = 0;
};

// Feeds `frames` frames in blocks of `inBlock`, with room for `outBlock` frames per call, then
// flushes until the engine answers 1. Every call must make progress; a stall fails the test.
// With `keep` false only the frames are counted.
inline StreamResult RunStream(CQxSpliceEngine& engine, const void* input, int64_t frames,
                              size_t frameBytes, int32_t inBlock, int32_t outBlock,
                              int32_t firstFlag = SpliceNewRun, bool keep = true) {
  StreamResult r;
  std::vector<unsigned char> buf(static_cast<size_t>(outBlock) * frameBytes);
  const auto* in = static_cast<const unsigned char*>(input);
  int64_t pos = 0;
  int32_t flag = firstFlag;
  while (pos < frames) {
    const int64_t left = frames - pos;
    int32_t inF = static_cast<int32_t>(left < inBlock ? left : inBlock);
    int32_t outF = outBlock;
    const HRESULT hr = engine.Process(flag, in + pos * frameBytes, &inF, buf.data(), &outF);
    EXPECT_EQ(hr, S_OK);
    if (hr != S_OK || (inF == 0 && outF == 0)) {
      ADD_FAILURE() << "no progress at frame " << pos;
      return r;
    }
    flag = SpliceContinue;
    if (keep) r.bytes.insert(r.bytes.end(), buf.begin(), buf.begin() + outF * frameBytes);
    r.frames += outF;
    pos += inF;
  }
  for (;;) {
    int32_t outF = outBlock;
    const HRESULT hr = engine.Process(SpliceFlush, nullptr, nullptr, buf.data(), &outF);
    ++r.flushCalls;
    EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << hr;
    if (keep) r.bytes.insert(r.bytes.end(), buf.begin(), buf.begin() + outF * frameBytes);
    r.frames += outF;
    if (hr != S_OK) break;
    if (r.flushCalls > 100000) {
      ADD_FAILURE() << "flush never ends";
      break;
    }
  }
  return r;
}

template <typename S>
std::vector<S> As(const StreamResult& r) {
  std::vector<S> v(r.bytes.size() / sizeof(S));
  if (!v.empty()) std::memcpy(v.data(), r.bytes.data(), v.size() * sizeof(S));
  return v;
}

}  // namespace splice_test
