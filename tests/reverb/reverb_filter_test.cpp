// Reverb through its control interface, the frame's persistence over its record versions, and
// the media graph: impulse, tail after the end of the stream, bypass and discontinuities.
#include "aplugins/qxppack1/reverb/reverb_filter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/support/effect_rig.h"
#include "tests/support/failing_alloc.h"

namespace {
bool Same(const ReverbParams& a, const ReverbParams& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// source -> Reverb -> collecting sink, running, 16-bit.
struct Rig : EffectRig<CQxReverb> {
  Rig(const WAVEFORMATEX& f, const ReverbParams& p, LONG bufferFrames = 256)
      : EffectRig(f, bufferFrames, [&](CQxReverb* e) { e->SetParams(&p); }) {}
};
}  // namespace

TEST(ReverbFilter, SettersClampMarkOnlyRealChangesAndAskForARebuildWhereRingsDependOnThem) {
  CQxReverb* f = NewEffect<CQxReverb>();
  auto fresh = [&] {
    f->Snapshot();  // clears the change flag
    f->SetPersistDirtyFlag(false);
    f->ApplyStep(RunContinue, 0);  // no format: fails, but the rebuild request is overwritten
  };
  fresh();
  ASSERT_FALSE(f->Engine().NeedsRebuild());

  int32_t v = 0;
  f->SetDryOut(300);  // clamped to 0, which it already is
  EXPECT_FALSE(f->ParamsDirty());
  EXPECT_FALSE(f->PageDirty());
  f->SetDryOut(-5000);
  f->GetDryOut(&v);
  EXPECT_EQ(v, -800);
  EXPECT_TRUE(f->ParamsDirty());
  EXPECT_TRUE(f->PageDirty());
  EXPECT_FALSE(f->Engine().NeedsRebuild());

  struct Case {
    HRESULT (IQxReverbProp2::*set)(int32_t);
    int32_t value;
    bool rebuild;
  } cases[] = {{&IQxReverbProp2::SetReverbMode, 5, true},       {&IQxReverbProp2::SetReflectionStyle, 7, true},
               {&IQxReverbProp2::SetPreDelay, 120, true},       {&IQxReverbProp2::SetDecayTime, 40, false},
               {&IQxReverbProp2::SetHighFrequency, 900, false}, {&IQxReverbProp2::SetAttenuateBass, 0, false},
               {&IQxReverbProp2::SetBypass, 1, false}};
  IQxReverbProp2* prop = f;
  for (const Case& c : cases) {
    fresh();
    (prop->*c.set)(c.value);
    EXPECT_TRUE(f->ParamsDirty()) << c.value;
    EXPECT_EQ(f->Engine().NeedsRebuild(), c.rebuild) << c.value;
  }
  fresh();
  f->SetReverbMode(5);  // the same mode again must not cut the reverb
  EXPECT_FALSE(f->Engine().NeedsRebuild());
  EXPECT_FALSE(f->ParamsDirty());

  f->SetPreDelay(900);
  f->GetPreDelay(&v);
  EXPECT_EQ(v, 200);
  f->SetReverbMode(40);  // the enum setter passes it on; the store keeps the table's range
  f->GetReverbMode(&v);
  EXPECT_EQ(v, 18);

  fresh();
  EXPECT_EQ(f->PollBypassChanged(), S_FALSE);
  EXPECT_EQ(f->BeginBypassEdit(), S_OK);
  EXPECT_EQ(f->EndBypassEdit(), S_OK);
  EXPECT_TRUE(f->ParamsDirty());

  fresh();
  ReverbParams p = g_ReverbPresets[8].Params;
  EXPECT_EQ(f->SetParams(&p), S_OK);
  EXPECT_TRUE(f->Engine().NeedsRebuild());
  ReverbParams back{};
  f->GetParams(&back);
  EXPECT_TRUE(Same(back, p));
  f->NonDelegatingRelease();
}

TEST(ReverbFilter, PersistentFormsLoadByTagAndSizeAndTheOldestOneLoadsWithBypassOff) {
  CQxReverb* f = NewEffect<CQxReverb>();
  ComPtr<IPersistStream> persist;
  ASSERT_EQ(f->NonDelegatingQueryInterface(IID_IPersistStream, persist.PutVoid()), S_OK);
  HWND w = CreateWindowHandle();
  f->RegisterNotifyWindow(w, 9);
  auto notified = [&] {
    MSG m;
    bool any = false;
    while (PeekMessage(&m, w, 0, 0, PM_REMOVE)) any = any || HIWORD(m.wParam) == 100;
    return any;
  };

  auto load = [&](std::vector<BYTE> bytes) { return LoadBytes(persist.Get(), std::move(bytes)); };
  ReverbParams cathedral = g_ReverbPresets[3].Params;
  f->SetBypass(1);
  EXPECT_EQ(load(PersistFrame(QX_REVERB_TAG_NO_BYPASS, 64, &cathedral, 44)), S_OK);
  ReverbParams p{};
  f->GetParams(&p);
  EXPECT_TRUE(Same(p, cathedral));  // bypass 0 though the filter had it set
  EXPECT_TRUE(notified());

  // A known tag with a wrong size changes nothing, yet the pages still hear of it.
  ReverbParams sewer = g_ReverbPresets[10].Params;
  for (auto [tag, size] : {std::pair{QX_REVERB_TAG_CURRENT, 64u}, std::pair{QX_REVERB_TAG_NO_BYPASS, 68u}}) {
    EXPECT_EQ(load(PersistFrame(tag, size, &sewer, 48)), S_OK);
    f->GetParams(&p);
    EXPECT_TRUE(Same(p, cathedral));
    EXPECT_TRUE(notified());
  }
  load(PersistFrame(QX_REVERB_TAG_ALTERNATE, 68, &sewer, 48));
  f->GetParams(&p);
  EXPECT_TRUE(Same(p, sewer));

  DestroyWindow(w);
  persist.Reset();
  f->NonDelegatingRelease();
}

TEST(ReverbFilter, ImpulseRingsOnAndTheTailFollowsTheEndOfStreamForWholeSecondsOfDecay) {
  ReverbParams p = g_ReverbPresets[0].Params;  // 2.5 s decay: a 2 s tail
  Rig rig(PlainFormat(1, 2, 16, 8000), p);
  std::vector<int16_t> in(2 * 256, 0);
  in[0] = 20000;
  in[1] = 20000;
  ASSERT_EQ(rig.Push(in, true), S_OK);
  std::vector<int16_t> out = rig.Out();
  EXPECT_EQ(out[0], 20000);  // dry at 0 dB, nothing delayed yet
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  out = rig.Out();
  EXPECT_EQ(out.size(), in.size() + 2 * 16000u);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
  int nonZero = 0;
  for (size_t i = 512; i < out.size(); ++i) nonZero += out[i] != 0;
  EXPECT_GT(nonZero, 1000);  // the tail carries the reverb
}

TEST(ReverbFilter, UnderOneSecondOfDecayTheTailEndsAtOnce) {
  ReverbParams p = g_ReverbPresets[7].Params;  // Medium room: 0.5 s
  Rig rig(PlainFormat(1, 1, 16, 8000), p);
  std::vector<int16_t> in(100, 1000);
  rig.Push(in);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  EXPECT_EQ(rig.Out().size(), in.size());
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}

TEST(ReverbFilter, BypassPassesSamplesBitExactYetStillRendersItsSilentTail) {
  ReverbParams p = g_ReverbPresets[0].Params;
  p.decayTenths = 10;
  p.bypass = 1;
  Rig rig(PlainFormat(1, 2, 16, 4000), p);
  std::vector<int16_t> ramp(2 * 200);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<int16_t>(i * 37 - 5000);
  rig.Push(ramp, true);
  EXPECT_EQ(rig.Out(), ramp);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  std::vector<int16_t> out = rig.Out();
  ASSERT_EQ(out.size(), ramp.size() + 2 * 4000u);
  for (size_t i = ramp.size(); i < out.size(); ++i) ASSERT_EQ(out[i], 0);
}

TEST(ReverbFilter, ADiscontinuityStartsTheReverbAfresh) {
  ReverbParams p = g_ReverbPresets[0].Params;
  p.dryOut = -800;
  Rig rig(PlainFormat(1, 1, 16, 8000), p);
  std::vector<int16_t> impulse(256, 0), silence(256, 0);
  impulse[0] = 30000;
  rig.Push(impulse, true);
  rig.sink->bytes.clear();
  rig.Push(silence, true);  // the comb echoes would arrive within this block
  for (int16_t v : rig.Out()) ASSERT_EQ(v, 0);
  rig.sink->bytes.clear();
  rig.Push(impulse, false);
  rig.Push(silence, false);
  int nonZero = 0;
  for (int16_t v : rig.Out()) nonZero += v != 0;
  EXPECT_GT(nonZero, 10);
  WAVEFORMATEX w{};
  EXPECT_EQ(rig.effect->GetFormat(&w), S_OK);
  EXPECT_EQ(w.nSamplesPerSec, 8000u);
  EXPECT_EQ(w.cbSize, 0);
}

TEST(ReverbFilter, RingsThatCannotBeHadFailTheBlockUntouchedAndTheNextBlockRetries) {
  for (WORD channels : {1, 2, 3}) {
    SCOPED_TRACE(channels);
    Rig rig(PlainFormat(1, channels, 16, 8000), g_ReverbPresets[0].Params);
    std::vector<int16_t> impulse(256 * channels, 0);
    impulse[0] = 30000;
    rig.Push(impulse);
    rig.sink->bytes.clear();
    g_failAfter = 0;  // the discontinuity rebuilds the rings
    EXPECT_EQ(rig.Push(impulse, true), E_OUTOFMEMORY);
    EXPECT_FALSE(rig.effect->ParamsValid());
    EXPECT_TRUE(rig.sink->bytes.empty());
    g_failAfter = -1;
    EXPECT_EQ(rig.Push(impulse, true), S_OK);
    EXPECT_TRUE(rig.effect->ParamsValid());
    EXPECT_EQ(rig.Out().size(), impulse.size());
  }
}
