// A failed allocation in PrepareResampler: E_OUTOFMEMORY, nothing left allocated, no output, and
// a later prepare succeeds (its own binary, as it replaces nothrow array new).
#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "aplugins/qxppack1/pitchtime/resampler.h"

namespace {
int g_failAfter = -1;  // nothrow array allocations to let through before failing; -1 never fails
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (g_failAfter == 0) return nullptr;
  if (g_failAfter > 0) --g_failAfter;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}

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
