// Driving an in-place engine from tests: its Process routine picked by sample type, and a buffer
// fed through it in blocks of given sizes, as a host cuts a stream.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <type_traits>
#include <vector>

#include "aplugins/qxppack1/frame/run_mode.h"
#include "aplugins/qxppack1/frame/sample_form.h"

// The five sample forms, for typed tests that run an engine in each.
using QxSampleForms = ::testing::Types<QxPcm8Form, QxPcm16Form, QxPcm32Form, QxFloat32Form, QxFloat64Form>;

// The engine's routine for sample type S; `extra` follows the tail request (the reverb's source).
template <class E, class S, class... X>
int ProcessAs(E& e, QxRunMode m, S* b, uint32_t* n, int32_t t, X&... extra) {
  if constexpr (std::is_same_v<S, uint8_t>) return e.ProcessPcm8(m, b, n, t, extra...);
  if constexpr (std::is_same_v<S, int16_t>) return e.ProcessPcm16(m, b, n, t, extra...);
  if constexpr (std::is_same_v<S, int32_t>) return e.ProcessPcm32(m, b, n, t, extra...);
  if constexpr (std::is_same_v<S, float>) return e.ProcessFloat32(m, b, n, t, extra...);
  if constexpr (std::is_same_v<S, double>) return e.ProcessFloat64(m, b, n, t, extra...);
}

// Feeds `buf` (interleaved frames of `channels`) to `run(samples, &frames)` in blocks of the
// given sizes, cycled; each block must be taken whole with status 0.
template <class S, class Run>
void FeedInBlocks(std::vector<S>& buf, uint32_t channels, const std::vector<uint32_t>& blocks, Run run) {
  const size_t total = buf.size() / channels;
  size_t done = 0;
  for (size_t b = 0; done < total; ++b) {
    uint32_t n = static_cast<uint32_t>(std::min<size_t>(blocks[b % blocks.size()], total - done));
    const uint32_t asked = n;
    ASSERT_EQ(run(buf.data() + done * channels, &n), 0);
    ASSERT_EQ(n, asked);
    done += n;
  }
}

// The same through the engine's own routine, RunContinue, no tail request.
template <class E, class S>
void RunInBlocks(E& e, std::vector<S>& buf, uint32_t channels, const std::vector<uint32_t>& blocks) {
  FeedInBlocks(buf, channels, blocks, [&](S* b, uint32_t* n) { return ProcessAs(e, RunContinue, b, n, 0); });
}

// `n` samples of seeded uniform noise within +-amp, written in sample form F.
template <class F = QxFloat64Form>
std::vector<typename F::Sample> Noise(size_t n, unsigned seed, double amp = 0.5) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> d(-amp, amp);
  std::vector<typename F::Sample> v(n);
  for (auto& s : v) s = F::Write(d(rng));
  return v;
}
