// A failed allocation in PrepareResampler: E_OUTOFMEMORY, nothing left allocated, no output, and
// a later prepare succeeds (its own binary, as it replaces nothrow array new).
#include <gtest/gtest.h>

#include <vector>

#include "aplugins/qxppack1/pitchtime/resampler.h"
#include "tests/support/failing_alloc.h"

TEST(ResamplerAlloc, EitherFailedBufferLeavesItUnprepared) {
  for (int first : {0, 1}) {  // the kernel table, then the history
    CQxResampler r;
    ASSERT_EQ(r.SetForms(QxSpliceFloat32, QxSpliceFloat32, 2), S_OK);
    ASSERT_EQ(r.PrepareResampler(2), S_OK);
    g_failAfter = first;
    EXPECT_EQ(r.PrepareResampler(3), E_OUTOFMEMORY);
    g_failAfter = -1;
    EXPECT_FALSE(r.Prepared());
    EXPECT_EQ(r.History, nullptr);
    r.StartUp();
    std::vector<float> in(200, 0.25f), out(200);
    int32_t n = 100, m = 200;
    EXPECT_EQ(r.Resample(in.data(), &n, out.data(), &m), 0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(m, 0);

    ASSERT_EQ(r.PrepareResampler(3), S_OK);
    r.StartUp();
    n = 100, m = 200;
    r.Resample(in.data(), &n, out.data(), &m);
    EXPECT_EQ(m, 100 - 7);
  }
}
