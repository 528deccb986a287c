// A failed buffer allocation during a rebuild: E_OUTOFMEMORY comes out of Prepare and Process, and
// the engine recovers on a later call once memory is there again.
#include <gtest/gtest.h>

#include <vector>

#include "tests/pitchtime/splice_test_util.h"
#include "tests/support/failing_alloc.h"

using namespace splice_test;

TEST(SpliceAlloc, FailedRebuildReportsOutOfMemoryAndRecovers) {
  CQxSpliceParamStore params;
  CQxSpliceEngine engine(&params);
  std::vector<float> in = Noise(20000), out(20000);

  g_failAfter = 0;
  EXPECT_EQ(engine.Prepare(FloatWave(2, 44100)), E_OUTOFMEMORY);
  EXPECT_FALSE(engine.Core32().Allocated());
  int32_t n = 10000, m = 10000;
  EXPECT_EQ(engine.Process(SpliceNewRun, in.data(), &n, out.data(), &m), E_OUTOFMEMORY);
  EXPECT_EQ(n, 0);
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceFlush, nullptr, nullptr, out.data(), &m), S_FALSE);

  g_failAfter = -1;
  n = 10000;
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), S_OK);
  EXPECT_EQ(n, 10000);

  // A mode change that needs new buffers fails the same way, and the next call retries.
  params.SetMode(16);
  g_failAfter = 0;
  n = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), E_OUTOFMEMORY);
  g_failAfter = -1;
  n = 10000;
  m = 10000;
  EXPECT_EQ(engine.Process(SpliceContinue, in.data(), &n, out.data(), &m), S_OK);
  EXPECT_EQ(engine.Sizes().WindowFrames, 2205);
  EXPECT_EQ(n, 10000);
}
