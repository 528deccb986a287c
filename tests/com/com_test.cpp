// Component-model stand-ins: GUID text and layout, identity and aggregation, class factory,
// memory stream.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/com/class_factory.h"
#include "platform/com/stream.h"

TEST(Guid, TextRoundTripAndBinaryLayout) {
  constexpr GUID g = MakeGuid("9ACB0B09-C5DB-4431-BD64-741BDDA71AE2");
  EXPECT_EQ(GuidToString(g), "9ACB0B09-C5DB-4431-BD64-741BDDA71AE2");
  // Data1..Data3 little endian, Data4 as written.
  const uint8_t expected[16] = {0x09, 0x0B, 0xCB, 0x9A, 0xDB, 0xC5, 0x31, 0x44,
                                0xBD, 0x64, 0x74, 0x1B, 0xDD, 0xA7, 0x1A, 0xE2};
  EXPECT_EQ(std::memcmp(&g, expected, 16), 0);
  auto parsed = GuidFromString("{9acb0b09-c5db-4431-bd64-741bdda71ae2}");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_TRUE(*parsed == g);
  for (const char* bad : {"", "9ACB0B09-C5DB-4431-BD64-741BDDA71AE", "9ACB0B09C5DB-4431-BD64-741BDDA71AE2X",
                          "9ACB0B09-C5DB-4431-BD64-741BDDA71AG2", "{9ACB0B09-C5DB-4431-BD64-741BDDA71AE2"})
    EXPECT_FALSE(GuidFromString(bad).has_value()) << bad;
}

namespace {
const IID IID_ITestThing = MakeGuid("11111111-2222-3333-4444-555555555555");
struct ITestThing : IUnknown {
  virtual int Value() = 0;
};
int g_destroyed = 0;

class Thing final : public CUnknown, public ITestThing {
 public:
  Thing(LPUNKNOWN outer) : CUnknown("thing", outer) {}
  ~Thing() override { ++g_destroyed; }
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
    if (riid == IID_ITestThing) return GetInterface(static_cast<ITestThing*>(this), ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
  }
  int Value() override { return 42; }
};

CUnknown* MakeThing(LPUNKNOWN outer, HRESULT* hr) { return new Thing(outer); }
CUnknown* FailThing(LPUNKNOWN, HRESULT* hr) {
  *hr = E_NOTIMPL;
  return nullptr;
}
const CLSID kThing = MakeGuid("AAAAAAAA-2222-3333-4444-555555555555");
const CFactoryTemplate kRow{u"Thing", &kThing, MakeThing, nullptr, nullptr};
const CFactoryTemplate kFailRow{u"Fail", &kThing, FailThing, nullptr, nullptr};
}  // namespace

TEST(Unknown, FactoryMakesObjectsThatDieWithTheirLastReference) {
  g_destroyed = 0;
  ComPtr<IClassFactory> f(new CClassFactory(&kRow));
  ComPtr<ITestThing> thing;
  ASSERT_EQ(f->CreateInstance(nullptr, IID_ITestThing, thing.PutVoid()), S_OK);
  EXPECT_EQ(thing->Value(), 42);
  ComPtr<IUnknown> unk;
  EXPECT_EQ(thing->QueryInterface(IID_IUnknown, unk.PutVoid()), S_OK);
  ComPtr<IUnknown> other;
  EXPECT_EQ(thing->QueryInterface(IID_IClassFactory, other.PutVoid()), E_NOINTERFACE);
  EXPECT_EQ(other.Get(), nullptr);
  thing.Reset();
  EXPECT_EQ(g_destroyed, 0);
  unk.Reset();
  EXPECT_EQ(g_destroyed, 1);

  ComPtr<IClassFactory> failing(new CClassFactory(&kFailRow));
  ComPtr<IUnknown> none;
  EXPECT_EQ(failing->CreateInstance(nullptr, IID_IUnknown, none.PutVoid()), E_NOTIMPL);
}

TEST(Unknown, AggregatedObjectDelegatesToItsOuterUnknown) {
  // The outer object is itself a plain Thing; the inner one forwards AddRef/QI to it.
  g_destroyed = 0;
  ComPtr<IClassFactory> f(new CClassFactory(&kRow));
  auto* outer = new Thing(nullptr);
  outer->NonDelegatingAddRef();
  LPUNKNOWN outerUnk = outer->GetInner();
  ComPtr<ITestThing> wrong;
  EXPECT_EQ(f->CreateInstance(outerUnk, IID_ITestThing, wrong.PutVoid()), E_NOINTERFACE);
  ComPtr<IUnknown> inner;
  ASSERT_EQ(f->CreateInstance(outerUnk, IID_IUnknown, inner.PutVoid()), S_OK);
  // Asking the inner object's interface for IUnknown yields the outer identity.
  ComPtr<ITestThing> innerThing;
  ASSERT_EQ(inner->QueryInterface(IID_ITestThing, innerThing.PutVoid()), S_OK);
  ComPtr<IUnknown> identity;
  innerThing->QueryInterface(IID_IUnknown, identity.PutVoid());
  EXPECT_EQ(identity.Get(), outerUnk);
  identity.Reset();
  innerThing.Reset();
  inner.Reset();
  EXPECT_EQ(g_destroyed, 1);
  outer->NonDelegatingRelease();
  EXPECT_EQ(g_destroyed, 2);
}

TEST(MemoryStream, ReadsWritesSeeksAndFailsWritesOnRequest) {
  ComPtr<IStream> s(CMemoryStream::Create(), false);
  ULONG n = 0;
  EXPECT_EQ(s->Write("abcdef", 6, &n), S_OK);
  EXPECT_EQ(n, 6u);
  LARGE_INTEGER zero{};
  ULARGE_INTEGER pos{};
  EXPECT_EQ(s->Seek(zero, STREAM_SEEK_SET, &pos), S_OK);
  char buf[8] = {};
  EXPECT_EQ(s->Read(buf, 4, &n), S_OK);
  EXPECT_STREQ(buf, "abcd");
  EXPECT_EQ(s->Read(buf, 4, &n), S_FALSE);  // short read at the end
  EXPECT_EQ(n, 2u);
  auto* raw = static_cast<CMemoryStream*>(static_cast<IStream*>(s.Get()));
  raw->FailWritesAfter(6);
  EXPECT_EQ(s->Write("x", 1, &n), STG_E_WRITEFAULT);
  EXPECT_EQ(raw->Bytes().size(), 6u);
}
