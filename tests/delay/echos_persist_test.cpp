// Simple Delay's persistent record and presets: the current and older versions, the dirty rules,
// the change notification, and a stream of random bytes never harming the filter.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "aplugins/qxppack1/delay/echos_filter.h"
#include "tests/support/effect_rig.h"

namespace {
using Filter = WatchedEffect<CQxEchos, EchosParams>;

constexpr char kV1[] = "54F29263-79B1-11D0-AEBC-00A0C9053912";
constexpr char kV2[] = "C9A9FEC7-8A9B-4CFE-AEBC-92EA0E505219";
constexpr char kV3[] = "9ACB0B09-C5DB-4431-BD64-741BDDA71AE2";
}  // namespace

TEST(EchosPersist, SaveLoadRoundTripAndTheDirtyRule) {
  Filter a, b;
  auto pa = a.As<IPersistStream>(IID_IPersistStream);
  auto pb = b.As<IPersistStream>(IID_IPersistStream);
  EXPECT_EQ(pa->IsDirty(), S_OK);  // the constructor's preset made it dirty
  EchosParams rec{1, 777, 42, -123, -456, 1, 5, 2500, 1, 18, 31999, 1};
  a.f->SetAllParameters(&rec);
  auto* raw = CMemoryStream::Create();
  ComPtr<IStream> s(raw, false);
  ASSERT_EQ(pa->Save(s.Get(), TRUE), S_OK);
  EXPECT_EQ(pa->IsDirty(), S_FALSE);
  ASSERT_EQ(raw->Bytes().size(), 68u);
  ULARGE_INTEGER max;
  pa->GetSizeMax(&max);
  EXPECT_EQ(max.QuadPart, 68u);
  // Saving without clearing leaves the filter dirty, even when it was clean.
  ComPtr<IStream> s2(CMemoryStream::Create(), false);
  pa->Save(s2.Get(), FALSE);
  EXPECT_EQ(pa->IsDirty(), S_OK);

  b.Codes();
  EXPECT_EQ(LoadBytes(pb.Get(), raw->Bytes()), S_OK);
  EchosParams got = b.Record();
  EXPECT_EQ(std::memcmp(&got, &rec, sizeof rec), 0);
  EXPECT_EQ(b.Codes(), std::vector<int>{100});

  // A failing write is the result and leaves the dirty flag alone.
  pa->Save(s2.Get(), TRUE);
  raw->FailWritesAfter(0);
  EXPECT_EQ(pa->Save(s.Get(), FALSE), STG_E_WRITEFAULT);
  EXPECT_EQ(pa->IsDirty(), S_FALSE);
}

TEST(EchosPersist, OlderVersionsLoadWithTheirDefaults) {
  Filter a;
  auto p = a.As<IPersistStream>(IID_IPersistStream);
  const int32_t v1[5] = {1, 300, 15, -30, -90};
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV1, 40, v1, sizeof v1)), S_OK);
  EchosParams r = a.Record();
  EchosParams want1{1, 300, 15, -30, -90, 0, 13, 1000, 0, 18, 1000, 0};
  EXPECT_EQ(std::memcmp(&r, &want1, sizeof r), 0);
  const int32_t v2[6] = {0, 250, 7, -10, -20, 1};
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV2, 44, v2, sizeof v2)), S_OK);
  r = a.Record();
  EchosParams want2{0, 250, 7, -10, -20, 1, 13, 1000, 0, 18, 1000, 0};
  EXPECT_EQ(std::memcmp(&r, &want2, sizeof r), 0);
}

TEST(EchosPersist, UnknownOrMisSizedRecordsChangeNothingButStillNotify) {
  Filter a;
  auto p = a.As<IPersistStream>(IID_IPersistStream);
  EchosParams before = a.Record();
  a.Codes();
  const int32_t junk[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  EXPECT_EQ(LoadBytes(p.Get(), PersistFrame(kV3, 44, junk, 24)), S_OK);  // current tag, wrong size
  EXPECT_EQ(LoadBytes(p.Get(), PersistFrame("00000000-0000-0000-0000-000000000001", 68, junk, 48)), S_OK);
  EchosParams after = a.Record();
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
  EXPECT_EQ(a.Codes(), (std::vector<int>{100, 100}));
  // A header that cannot be read posts nothing.
  EXPECT_EQ(LoadBytes(p.Get(), std::vector<BYTE>(7, 0)), S_OK);
  EXPECT_TRUE(a.Codes().empty());
}

TEST(EchosPersist, PresetsByIndexWithTheirBoundsAndNotification) {
  Filter a;
  auto presets = a.As<IStaticFilterPreset>(IID_IStaticFilterPreset);
  LONG n = 0;
  presets->GetPresetCount(&n);
  EXPECT_EQ(n, 7);
  WCHAR name[256];
  ASSERT_EQ(presets->GetPresetName(4, name), S_OK);
  EXPECT_EQ(std::u16string(name), u"Grand Canyon");
  EXPECT_EQ(presets->GetPresetName(-1, name), E_INVALIDARG);
  EXPECT_EQ(presets->LoadPreset(7), E_INVALIDARG);
  a.Codes();
  ASSERT_EQ(presets->LoadPreset(2), S_OK);
  EchosParams r = a.Record();
  EXPECT_EQ(r.MultipleDelays, 1);
  EXPECT_EQ(r.DelayTime, 400);
  EXPECT_EQ(r.DryOut, -90);
  EXPECT_EQ(a.Codes(), std::vector<int>{100});
}

TEST(EchosPersist, HostSetParamMarksDirtyAndPostsCodeZero) {
  Filter a;
  auto mp = a.As<IMediaParams>(IID_IMediaParams);
  auto persist = a.As<IPersistStream>(IID_IPersistStream);
  ComPtr<IStream> s(CMemoryStream::Create(), false);
  persist->Save(s.Get(), TRUE);
  a.Codes();
  EXPECT_EQ(mp->SetParam(ECHOS_DELAY_OUT, -12.0f), S_OK);
  EXPECT_EQ(a.Record().DelayOut, -120);
  EXPECT_EQ(persist->IsDirty(), S_OK);
  EXPECT_EQ(a.Codes(), std::vector<int>{0});
  EXPECT_EQ(mp->SetParam(ECHOS_DELAY_OUT, -12.0f), S_FALSE);  // no change, no notice
  EXPECT_TRUE(a.Codes().empty());
}

TEST(EchosPersist, RandomStreamsNeverHarmTheFilter) {
  // Headers that name real versions with random sizes and bodies, and pure noise.
  Filter a;
  auto p = a.As<IPersistStream>(IID_IPersistStream);
  std::mt19937 rng(12345);
  const char* tags[] = {kV1, kV2, kV3};
  for (int i = 0; i < 20000; ++i) {
    std::vector<BYTE> bytes(rng() % 96);
    for (BYTE& b : bytes) b = static_cast<BYTE>(rng());
    if (bytes.size() >= 20 && (i & 1)) {
      GUID g = *GuidFromString(tags[rng() % 3]);
      uint32_t size = (i & 2) ? static_cast<uint32_t>(bytes.size()) : 40 + 4 * (rng() % 8);
      std::memcpy(bytes.data(), &size, 4);
      std::memcpy(bytes.data() + 4, &g, 16);
    }
    ASSERT_EQ(LoadBytes(p.Get(), bytes), S_OK);
    EchosParams r = a.Record();
    // Whatever was read, the store kept every field inside its range.
    for (const QxEchosFieldRange& f : QX_ECHOS_FIELD_RANGES) {
      int32_t v;
      std::memcpy(&v, reinterpret_cast<const BYTE*>(&r) + f.Offset, 4);
      ASSERT_GE(v, f.RawMin);
      ASSERT_LE(v, f.RawMax);
    }
  }
  a.Codes();
}
