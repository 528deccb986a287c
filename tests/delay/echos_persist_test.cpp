// Simple Delay's persistent record beyond what every effect shares: the older versions' layouts,
// a host's change marking the state dirty, and a stream of random bytes never harming the filter.
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

TEST(EchosPersist, OlderVersionsLoadWithTheirDefaults) {
  Filter a;
  auto p = a.As<IPersistStream>(IID_IPersistStream);
  const int32_t v[6] = {1, 300, 15, -30, -90, 1};
  // Version 1 has no bypass; neither version has the tempo fields, which take their defaults.
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV1, 40, v, 20)), S_OK);
  EchosParams r = a.Record(), want{1, 300, 15, -30, -90, 0, 13, 1000, 0, 18, 1000, 0};
  EXPECT_EQ(std::memcmp(&r, &want, sizeof r), 0);
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV2, 44, v, 24)), S_OK);
  r = a.Record(), want.Bypass = 1;
  EXPECT_EQ(std::memcmp(&r, &want, sizeof r), 0);
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
