// Tests of CMediaSample and CMemAllocator: times and flags, the actual length limit, the free
// list with its blocking and non-blocking draws, decommit, and interfaces hung on a sample.
#include <gtest/gtest.h>

#include <thread>

#include "platform/mediagraph/sample.h"

namespace {

struct AllocatorFixture : ::testing::Test {
  IMemAllocator* alloc = nullptr;
  void SetUp() override { ASSERT_EQ(CMemAllocator::Create(&alloc), S_OK); }
  void TearDown() override {
    if (alloc) alloc->Release();
  }
  void Setup(LONG count, LONG size, LONG align = 1) {
    ALLOCATOR_PROPERTIES req{count, size, align, 0}, got{};
    ASSERT_EQ(alloc->SetProperties(&req, &got), S_OK);
    ASSERT_EQ(alloc->Commit(), S_OK);
  }
};

}  // namespace

TEST_F(AllocatorFixture, PropertiesRoundUpToAlignmentAndRefuseBadAlignment) {
  IMediaSample* s = nullptr;
  EXPECT_EQ(alloc->Commit(), VFW_E_SIZENOTSET);
  EXPECT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), VFW_E_NOT_COMMITTED);
  EXPECT_EQ(s, nullptr);
  ALLOCATOR_PROPERTIES req{2, 10, 8, 0}, got{};
  ASSERT_EQ(alloc->SetProperties(&req, &got), S_OK);
  EXPECT_EQ(got.cbBuffer, 16);
  EXPECT_EQ(got.cBuffers, 2);
  ALLOCATOR_PROPERTIES bad{2, 10, 3, 0};
  EXPECT_EQ(alloc->SetProperties(&bad, &got), VFW_E_BADALIGN);
  ASSERT_EQ(alloc->Commit(), S_OK);
  EXPECT_EQ(alloc->SetProperties(&req, &got), VFW_E_ALREADY_COMMITTED);
  ASSERT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  BYTE* p = nullptr;
  s->GetPointer(&p);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
  s->Release();
}

TEST_F(AllocatorFixture, FreeListCyclesSamplesAndNoWaitReportsTimeout) {
  Setup(2, 64);
  IMediaSample *a = nullptr, *b = nullptr, *c = nullptr;
  ASSERT_EQ(alloc->GetBuffer(&a, nullptr, nullptr, 0), S_OK);
  ASSERT_EQ(alloc->GetBuffer(&b, nullptr, nullptr, 0), S_OK);
  EXPECT_NE(a, b);
  EXPECT_EQ(a->GetSize(), 64);
  EXPECT_EQ(alloc->GetBuffer(&c, nullptr, nullptr, AM_GBF_NOWAIT), VFW_E_TIMEOUT);
  // A second reference keeps the sample out of the free list.
  a->AddRef();
  a->Release();
  EXPECT_EQ(alloc->GetBuffer(&c, nullptr, nullptr, AM_GBF_NOWAIT), VFW_E_TIMEOUT);
  a->Release();
  ASSERT_EQ(alloc->GetBuffer(&c, nullptr, nullptr, AM_GBF_NOWAIT), S_OK);
  EXPECT_EQ(c, a);
  b->Release();
  c->Release();
}

TEST_F(AllocatorFixture, BlockedGetBufferWakesOnReleaseAndOnDecommit) {
  Setup(1, 16);
  IMediaSample* held = nullptr;
  ASSERT_EQ(alloc->GetBuffer(&held, nullptr, nullptr, 0), S_OK);
  IMediaSample* got = nullptr;
  HRESULT waited = E_FAIL;
  std::thread t([&] { waited = alloc->GetBuffer(&got, nullptr, nullptr, 0); });
  held->Release();
  t.join();
  ASSERT_EQ(waited, S_OK);
  EXPECT_EQ(got, held);

  IMediaSample* none = nullptr;
  std::thread t2([&] { waited = alloc->GetBuffer(&none, nullptr, nullptr, 0); });
  alloc->Decommit();
  t2.join();
  EXPECT_EQ(waited, VFW_E_NOT_COMMITTED);
  EXPECT_EQ(none, nullptr);
  // Outstanding across a decommit: coming back frees it (checked by the sanitizer build).
  got->Release();
}

TEST_F(AllocatorFixture, SampleOutlivesItsAllocatorsLastOtherReference) {
  Setup(1, 8);
  IMediaSample* s = nullptr;
  ASSERT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  alloc->Decommit();
  alloc->Release();
  alloc = nullptr;
  BYTE* p = nullptr;
  s->GetPointer(&p);
  p[7] = 1;  // still valid memory
  s->Release();
}

TEST_F(AllocatorFixture, TimesAndFlagsFollowThePlatformContract) {
  Setup(1, 32);
  IMediaSample* s = nullptr;
  ASSERT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  REFERENCE_TIME st = 0, en = 0;
  EXPECT_EQ(s->GetTime(&st, &en), VFW_E_SAMPLE_TIME_NOT_SET);
  REFERENCE_TIME a = 1000, b = 2000;
  s->SetTime(&a, &b);
  EXPECT_EQ(s->GetTime(&st, &en), S_OK);
  EXPECT_EQ(st, 1000);
  EXPECT_EQ(en, 2000);
  s->SetTime(&a, nullptr);
  EXPECT_EQ(s->GetTime(&st, &en), VFW_S_NO_STOP_TIME);
  EXPECT_EQ(en, 1001);
  s->SetTime(nullptr, nullptr);
  EXPECT_EQ(s->GetTime(&st, &en), VFW_E_SAMPLE_TIME_NOT_SET);

  s->SetDiscontinuity(TRUE);
  s->SetSyncPoint(TRUE);
  LONGLONG m0 = 0, m1 = 0;
  EXPECT_EQ(s->GetMediaTime(&m0, &m1), VFW_E_MEDIA_TIME_NOT_SET);
  EXPECT_EQ(s->SetActualDataLength(33), VFW_E_BUFFER_OVERFLOW);
  EXPECT_EQ(s->SetActualDataLength(-1), VFW_E_BUFFER_OVERFLOW);
  EXPECT_EQ(s->SetActualDataLength(32), S_OK);
  EXPECT_EQ(s->SetActualDataLength(0), S_OK);
  EXPECT_EQ(s->GetActualDataLength(), 0);

  CMediaType mt(&MEDIATYPE_Audio);
  AM_MEDIA_TYPE* out = nullptr;
  s->SetMediaType(&mt);

  // Back through the free list, the sample comes out clean and full-length.
  s->Release();
  ASSERT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  EXPECT_EQ(s->GetTime(&st, &en), VFW_E_SAMPLE_TIME_NOT_SET);
  EXPECT_EQ(s->IsDiscontinuity(), S_FALSE);
  EXPECT_EQ(s->IsSyncPoint(), S_FALSE);
  EXPECT_EQ(s->GetMediaType(&out), S_FALSE);
  EXPECT_EQ(s->GetActualDataLength(), 32);
  s->Release();
}

namespace {
constexpr IID IID_ITestFlag = MakeGuid("447DA113-4AC8-4833-849A-2BA285E1E52B");
struct ITestFlag : IUnknown {
  virtual LONG Flag() = 0;
};
struct TestFlag final : ITestFlag {
  std::atomic<long> ref{1};
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return ++ref; }
  ULONG Release() override {
    long r = --ref;
    if (r == 0) delete this;
    return static_cast<ULONG>(r);
  }
  LONG Flag() override { return 7; }
};

// A host's sample class that answers the flag interface itself.
struct FlagSample : CMediaSample, ITestFlag {
  using CMediaSample::CMediaSample;
  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (riid == IID_ITestFlag) {
      *ppv = static_cast<ITestFlag*>(this);
      AddRef();
      return S_OK;
    }
    return CMediaSample::QueryInterface(riid, ppv);
  }
  ULONG AddRef() override { return CMediaSample::AddRef(); }
  ULONG Release() override { return CMediaSample::Release(); }
  LONG Flag() override { return 7; }
};
struct FlagAllocator : CMemAllocator {
  FlagAllocator(HRESULT* hr) : CMemAllocator("flag", nullptr, hr) {}
  CMediaSample* NewSample(BYTE* buffer, LONG length) override {
    HRESULT hr = S_OK;
    return new FlagSample("flag sample", this, &hr, buffer, length);
  }
};
}  // namespace

TEST_F(AllocatorFixture, AttachedInterfaceIsAnsweredByQueryInterface) {
  Setup(1, 8);
  IMediaSample* s = nullptr;
  ASSERT_EQ(alloc->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  void* p = nullptr;
  EXPECT_EQ(s->QueryInterface(IID_ITestFlag, &p), E_NOINTERFACE);
  auto* flag = new TestFlag;
  static_cast<CMediaSample*>(s)->AttachInterface(IID_ITestFlag, flag);
  flag->Release();
  ASSERT_EQ(s->QueryInterface(IID_ITestFlag, &p), S_OK);
  EXPECT_EQ(static_cast<ITestFlag*>(p)->Flag(), 7);
  static_cast<ITestFlag*>(p)->Release();
  s->Release();
}

TEST(Allocator, SubclassedSamplesComeFromNewSample) {
  HRESULT hr = S_OK;
  auto* a = new FlagAllocator(&hr);
  a->NonDelegatingAddRef();
  ALLOCATOR_PROPERTIES req{2, 8, 1, 0}, got{};
  ASSERT_EQ(a->SetProperties(&req, &got), S_OK);
  ASSERT_EQ(a->Commit(), S_OK);
  IMediaSample* s = nullptr;
  ASSERT_EQ(a->GetBuffer(&s, nullptr, nullptr, 0), S_OK);
  ITestFlag* f = nullptr;
  ASSERT_EQ(s->QueryInterface(IID_ITestFlag, reinterpret_cast<void**>(&f)), S_OK);
  EXPECT_EQ(f->Flag(), 7);
  f->Release();
  s->Release();
  a->Decommit();
  a->NonDelegatingRelease();
}
