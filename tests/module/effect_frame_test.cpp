// What every effect shares through the frame, one table over all six: the current frame saved and
// loaded back, the dirty rule, records the effect does not know, and the presets with their bounds.
#include <gtest/gtest.h>

#include <cstring>

#include "aplugins/qxppack1/delay/chorus_filter.h"
#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "aplugins/qxppack1/delay/echos_filter.h"
#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "aplugins/qxppack1/reverb/reverb_filter.h"
#include "tests/support/effect_rig.h"


namespace {
// A new effect of class T with `window` registered (id 9) for its change notices.
template <class T>
ComPtr<IUnknown> Make(HWND window) {
  T* f = NewEffect<T>();
  if constexpr (requires { f->RegisterNotifyWindow(window, 9); })
    f->RegisterNotifyWindow(window, 9);
  else if constexpr (requires { f->RegisterWindow(window, 9, 1); })
    f->RegisterWindow(window, 9, 1);
  else
    f->RegisterWindow(window, 9);
  ComPtr<IUnknown> u;
  f->NonDelegatingQueryInterface(IID_IUnknown, u.PutVoid());
  f->NonDelegatingRelease();
  return u;
}

struct EffectRow {
  const char* name;
  ComPtr<IUnknown> (*make)(HWND);
  const QxEffectTables& tables;
  uint32_t frameBytes;
  LONG presets;
  bool quietOnUnknown;  // a record of no known version is not announced to the pages
};
const EffectRow kEffects[] = {
    {"time stretch", Make<CQxTime>, g_TimeTables, 52, 4, true},
    {"pitch shift", Make<CQxPitchs>, g_PitchsTables, 68, 6, true},
    {"simple delay", Make<CQxEchos>, g_EchosTables, 68, 7, false},
    {"multi-tap delay", Make<CQxEchomt>, g_EchomtTables, 160, 26, true},
    {"reverb", Make<CQxReverb>, g_ReverbTables, 68, 13, false},
    {"chorus", Make<CQxChorus>, g_ChorusTables, 84, 24, false},
};

// One effect with its window, its two frame interfaces and the codes posted to the window.
struct Watched {
  HWND window = CreateWindowHandle();
  ComPtr<IUnknown> effect;
  ComPtr<IPersistStream> persist;
  ComPtr<IStaticFilterPreset> presets;
  explicit Watched(const EffectRow& row) : effect(row.make(window)) {
    effect->QueryInterface(IID_IPersistStream, persist.PutVoid());
    effect->QueryInterface(IID_IStaticFilterPreset, presets.PutVoid());
  }
  ~Watched() {
    effect.Reset();
    DestroyWindow(window);
  }
  std::vector<int> Codes() {
    std::vector<int> codes;
    MSG m;
    while (PeekMessage(&m, window, 0, 0, PM_REMOVE)) codes.push_back(HIWORD(m.wParam));
    return codes;
  }
  std::vector<BYTE> Saved(BOOL clearDirty = TRUE) {
    auto* raw = CMemoryStream::Create();
    ComPtr<IStream> s(raw, false);
    EXPECT_EQ(persist->Save(s.Get(), clearDirty), S_OK);
    return raw->Bytes();
  }
};

std::vector<BYTE> Body(const std::vector<BYTE>& frame) { return {frame.begin() + 20, frame.end()}; }
std::vector<BYTE> Row(const EffectRow& e, uint32_t i) {
  const auto* p = static_cast<const BYTE*>(e.tables.PresetRecord(i));
  return {p, p + e.tables.Forms[0].DataBytes};
}

TEST(EffectFrame, EachEffectSavesItsCurrentFrameAndTheDirtyRuleHolds) {
  for (const EffectRow& e : kEffects) {
    SCOPED_TRACE(e.name);
    Watched w(e);
    ULARGE_INTEGER max{};
    ASSERT_EQ(w.persist->GetSizeMax(&max), S_OK);
    EXPECT_EQ(max.QuadPart, e.frameBytes);
    EXPECT_EQ(w.persist->IsDirty(), S_OK);  // construction loaded row 0
    const std::vector<BYTE> frame = w.Saved();
    ASSERT_EQ(frame.size(), e.frameBytes);
    uint32_t size = 0;
    GUID tag{};
    std::memcpy(&size, frame.data(), 4);
    std::memcpy(&tag, frame.data() + 4, 16);
    EXPECT_EQ(size, e.frameBytes);
    EXPECT_EQ(tag, e.tables.Forms[0].Tag);
    EXPECT_EQ(Body(frame), Row(e, 0));
    EXPECT_EQ(w.persist->IsDirty(), S_FALSE);
    w.Saved(FALSE);  // a save that keeps the state dirty, even from clean
    EXPECT_EQ(w.persist->IsDirty(), S_OK);
    // A failed write is the result and leaves the flag alone.
    w.Saved();
    auto* failing = CMemoryStream::Create();
    ComPtr<IStream> s(failing, false);
    failing->FailWritesAfter(0);
    EXPECT_EQ(w.persist->Save(s.Get(), FALSE), STG_E_WRITEFAULT);
    EXPECT_EQ(w.persist->IsDirty(), S_FALSE);
  }
}

TEST(EffectFrame, EachEffectLoadsItsFrameAndIgnoresWhatItDoesNotKnow) {
  for (const EffectRow& e : kEffects) {
    SCOPED_TRACE(e.name);
    Watched w(e);
    const std::vector<BYTE> row2 = Row(e, 2);
    const std::vector<BYTE> good = PersistFrame(e.tables.Forms[0].Tag, e.frameBytes, row2.data(), row2.size());
    w.Saved();
    w.Codes();
    ASSERT_EQ(LoadBytes(w.persist.Get(), good), S_OK);
    EXPECT_EQ(w.Codes(), std::vector<int>{100});
    EXPECT_EQ(w.persist->IsDirty(), S_OK);
    EXPECT_EQ(Body(w.Saved()), row2);

    // Unknown tag, known tag with another size, a body cut short, a header cut short: nothing
    // changes; the page still hears of it unless the effect keeps quiet about unknown records.
    const std::vector<int> unknown = e.quietOnUnknown ? std::vector<int>{} : std::vector<int>{100};
    std::vector<BYTE> foreign = good, misSized = good, cut = good, header(good.begin(), good.begin() + 12);
    foreign[4] ^= 0xFF;
    misSized[0] += 4;
    misSized.resize(misSized.size() + 4);
    cut.resize(cut.size() - 1);
    const std::vector<BYTE> row0 = Row(e, 0);
    const std::vector<BYTE> before = PersistFrame(e.tables.Forms[0].Tag, e.frameBytes, row0.data(), row0.size());
    for (const auto& [bytes, codes] : {std::pair{foreign, unknown}, std::pair{misSized, unknown},
                                       std::pair{cut, std::vector<int>{100}}, std::pair{header, std::vector<int>{}}}) {
      ASSERT_EQ(LoadBytes(w.persist.Get(), before), S_OK);
      w.Saved();
      w.Codes();
      LoadBytes(w.persist.Get(), bytes);  // the two kinds of frame answer differently; neither applies it
      EXPECT_EQ(w.Codes(), codes);
      EXPECT_EQ(w.persist->IsDirty(), S_FALSE);
      EXPECT_EQ(Body(w.Saved()), row0);
    }
  }
}

TEST(EffectFrame, EachEffectLoadsEveryPresetRowAndRefusesIndicesOutsideTheTable) {
  for (const EffectRow& e : kEffects) {
    SCOPED_TRACE(e.name);
    Watched w(e);
    LONG count = 0;
    ASSERT_EQ(w.presets->GetPresetCount(&count), S_OK);
    ASSERT_EQ(count, e.presets);
    w.Codes();
    for (LONG i = count - 1; i >= 0; --i) {
      ASSERT_EQ(w.presets->LoadPreset(i), S_OK);
      EXPECT_EQ(w.Codes(), std::vector<int>{100}) << i;
      EXPECT_EQ(Body(w.Saved()), Row(e, static_cast<uint32_t>(i))) << i;
      WCHAR name[256];
      EXPECT_EQ(w.presets->GetPresetName(i, name), S_OK);
    }
    WCHAR name[256];
    for (LONG bad : {LONG{-1}, count}) {
      EXPECT_EQ(w.presets->LoadPreset(bad), E_INVALIDARG);
      EXPECT_EQ(w.presets->GetPresetName(bad, name), E_INVALIDARG);
    }
    EXPECT_EQ(w.Codes(), std::vector<int>{});
    // Rows 0 and 1 are both the defaults.
    EXPECT_EQ(Row(e, 0), Row(e, 1));
  }
}
}  // namespace
