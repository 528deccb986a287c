// A failed buffer allocation during a rebuild: E_OUTOFMEMORY comes out of Prepare and Process, and
// the engine recovers on a later call once memory is there again.
#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/pitchtime/splice_test_util.h"

using namespace splice_test;

namespace {
bool g_failNothrowArrays = false;
}

// The engine allocates with nothrow array new; this binary can make that fail on demand. The
// allocation itself goes through the ordinary array new, so deletes still match.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (g_failNothrowArrays) return nullptr;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}

TEST(SpliceAlloc, FailedRebuildReportsOutOfMemoryAndRecovers) {
  CQxSpliceParamStore params;
  CQxSpliceEngine engine(&params);
  std::vector<float> in = Noise(20000), out(20000);

  g_failNothrowArrays = true;
  EXPECT_EQ(engine.Prepare(FloatWave(2, 44100)), E_OUTOFMEMORY);
  EXPECT_FALSE(engine.Core32().Allocated());
  int32_t n = 10000, m = 10000;
  EXPECT_EQ(engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), E_OUTOFMEMORY);
  EXPECT_EQ(n, 0);
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceFlush, nullptr, nullptr, out.data(), &m), S_FALSE);

  g_failNothrowArrays = false;
  n = 10000;
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), S_OK);
  EXPECT_EQ(n, 10000);

  // A mode change that needs new buffers fails the same way, and the next call retries.
  params.SetMode(16);
  g_failNothrowArrays = true;
  n = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), E_OUTOFMEMORY);
  g_failNothrowArrays = false;
  n = 10000;
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), S_OK);
  EXPECT_EQ(engine.Sizes().WindowFrames, 2205);
  EXPECT_EQ(n, 10000);
}
