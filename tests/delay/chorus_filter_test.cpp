// Chorus through its filter: stored values through the automation table, the update each setter
// asks for, the older record versions, and the media graph and float door with no tail after the
// end of the stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_filter.h"
#include "tests/support/effect_rig.h"
#include "tests/support/engine_blocks.h"

namespace {
using Filter = WatchedEffect<CQxChorus, ChorusParams>;

bool Same(const ChorusParams& a, const ChorusParams& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

constexpr char kV1[] = "28D9F1E3-6ECC-11D0-AEBC-00A0C9053912";
constexpr char kV2[] = "C9A9FEC7-8A9B-4CFE-AEBC-92EA0E505219";

const ChorusParams kOdd{-123, -456, -78, 2, 33, 1, 777, 12345, 67, 1, 2500, 1, 1, 7, 31999, 1};

}  // namespace

TEST(ChorusParams, MediaValuesReachTheRecordAtEachFieldsOffsetAndScale) {
  Filter a;
  auto mp = a.As<IMediaParams>(IID_IMediaParams);
  EXPECT_EQ(mp->SetParam(CHORUS_MOD_RATE, 2.5f), S_OK);
  EXPECT_EQ(mp->SetParam(CHORUS_OUT_DELAY, 12.3f), S_OK);
  EXPECT_EQ(mp->SetParam(CHORUS_MOD_PERIOD_MULTIPLIER, 0.25f), S_OK);
  EXPECT_EQ(mp->SetParam(CHORUS_INPUT_GAIN, -12.5f), S_OK);
  ChorusParams r = a.Record();
  EXPECT_EQ(r.modRate, 2500);
  EXPECT_EQ(r.outDelay, 123);
  EXPECT_EQ(r.modPeriodMultiplier, 250);
  EXPECT_EQ(r.inputGain, -125);
}

TEST(ChorusParams, EveryStoredValueSurvivesTheFloatStoreAndSettersClamp) {
  Filter a;
  for (uint32_t i = 0; i < CHORUS_PARAM_COUNT; ++i) {
    const QxParamInfo& row = g_ChorusParamInfo[i];
    for (int32_t v = row.RawMin; v <= row.RawMax; ++v) {
      a.f->SetStored(&v, i);
      int32_t got = 0;
      a.f->GetStored(&got, i);
      ASSERT_EQ(got, v) << "index " << i;
    }
  }
  a.f->SetChorusSize(7);
  a.f->SetOutDelay(0);
  a.f->SetInputGain(-9999);
  ChorusParams r = a.Record();
  EXPECT_EQ(r.chorusSize, 3);
  EXPECT_EQ(r.outDelay, 1);
  EXPECT_EQ(r.inputGain, -600);
}

TEST(ChorusTransform, SettersAskForTheirKindOfUpdate) {
  Filter a;
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 6u);  // the constructor's preset
  ASSERT_EQ(a.f->Prepare(2, 8000), S_OK);
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 1u);
  std::vector<float> block(2 * 64, 0.1f);

  // Delay and size ask for a design: the read points move, the line stays.
  a.f->SetOutDelay(100);
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 3u);
  EXPECT_TRUE(a.f->ParamsDirty());
  a.f->Process(block.data(), 64, 0);
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 1u);
  EXPECT_EQ(a.f->Engine().BaseDelay(), 80.0);

  // Setting a value it already has changes nothing.
  a.f->Process(block.data(), 64, 0);
  a.f->SetOutDelay(100);
  EXPECT_FALSE(a.f->ParamsDirty());

  // A host's write reaches the engine at the next span, but only as a light update.
  a.Codes();
  auto mp = a.As<IMediaParams>(IID_IMediaParams);
  EXPECT_EQ(mp->SetParam(CHORUS_OUT_DELAY, 5.0f), S_OK);
  EXPECT_EQ(mp->SetParam(CHORUS_MOD_DEPTH, 50.0f), S_OK);
  EXPECT_EQ(a.Codes(), (std::vector<int>{0, 0}));
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 1u);
  EXPECT_TRUE(a.f->ParamsDirty());
  a.f->Process(block.data(), 64, 0);
  EXPECT_EQ(a.f->Engine().BaseDelay(), 80.0);
  EXPECT_EQ(a.f->Engine().ModAmplitude(), 40.0);
  // The next design takes the delay in.
  a.f->SetChorusSize(1);
  a.f->Process(block.data(), 64, 0);
  EXPECT_EQ(a.f->Engine().BaseDelay(), 40.0);
  EXPECT_EQ(a.f->Engine().VoiceCount(), 1);

  // End capture alone makes the next span update.
  a.f->Snapshot();
  a.f->BeginModRate();
  a.f->EndModRate();
  EXPECT_TRUE(a.f->ParamsDirty());

  // The whole record asks for a clearing design.
  a.f->SetAllParameters(&g_ChorusPresets[2].Params);
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 6u);
  a.f->Process(block.data(), 64, 0);
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 1u);
  EXPECT_EQ(a.f->Engine().WriteIndex(0), static_cast<int32_t>(a.f->Engine().DelayFrames()) - 64);
  a.f->Finish();
}

TEST(ChorusTransform, StereoPresetLoadKeepsOldAudioInTheSecondHalfOfEachLine) {
  Filter a;
  auto presets = a.As<IStaticFilterPreset>(IID_IStaticFilterPreset);
  ASSERT_EQ(a.f->Prepare(2, 8000), S_OK);
  std::vector<double> n = Noise(2 * 4000, 1);
  std::vector<float> block(n.begin(), n.end());
  a.f->Process(block.data(), 4000, 0);
  ASSERT_EQ(presets->LoadPreset(11), S_OK);
  std::vector<float> silence(2, 0.0f);
  a.f->Process(silence.data(), 1, 0);
  const uint32_t frames = a.f->Engine().DelayFrames();
  for (int v = 0; v < 3; ++v) {
    const double* line = a.f->Engine().Line(v);
    EXPECT_TRUE(std::all_of(line + 2, line + frames, [](double x) { return x == 0.0; })) << v;
    EXPECT_TRUE(std::any_of(line + frames, line + 2 * frames, [](double x) { return x != 0.0; })) << v;
  }
  a.f->Finish();
}

TEST(ChorusPersist, OlderVersionsLoadWithTheirDefaults) {
  Filter a;
  auto p = a.As<IPersistStream>(IID_IPersistStream);
  ChorusParams want = kOdd;
  want.modPeriodNote = 18;
  want.modPeriodMultiplier = 1000;
  want.tempoSync = 0;
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV2, 72, &kOdd, 52)), S_OK);
  EXPECT_TRUE(Same(a.Record(), want));
  a.f->SetAllParameters(&kOdd);
  ASSERT_EQ(LoadBytes(p.Get(), PersistFrame(kV1, 68, &kOdd, 48)), S_OK);
  want.bypass = 0;
  EXPECT_TRUE(Same(a.Record(), want));
  EXPECT_EQ(a.f->Engine().UpdateFlags(), 6u);  // a load asks for a clearing design
}

namespace {
// source -> Chorus -> collecting sink, running, 16-bit.
struct Rig : EffectRig<CQxChorus> {
  Rig(const WAVEFORMATEX& f, const ChorusParams& p, LONG bufferFrames = 4096)
      : EffectRig(f, bufferFrames, [&](CQxChorus* e) { e->SetAllParameters(&p); }) {}
};

// What the engine alone makes of a fresh stream.
std::vector<int16_t> Direct(const WAVEFORMATEX& f, const ChorusParams& p, std::vector<int16_t> s) {
  CQxChorusEngine e;
  e.SetFormat(&f);
  e.Allocate();
  e.Update(p, false, nullptr);
  e.ProcessPcm16(s.data(), static_cast<uint32_t>(s.size() / f.nChannels));
  return s;
}
}  // namespace

TEST(ChorusFilter, GraphOutputIsTheEngineOutputWithNoTail) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 2, 16, 22050);
  const ChorusParams& p = g_ChorusPresets[10].Params;
  Rig rig(f, p);
  std::vector<int16_t> in = Noise<QxPcm16Form>(2 * 6000, 3);
  for (size_t at = 0; at < in.size(); at += 2 * 1500)
    ASSERT_EQ(rig.Push(std::vector<int16_t>(in.begin() + at, in.begin() + at + 2 * 1500)), S_OK);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  EXPECT_EQ(rig.Out(), Direct(f, p, in));  // nothing follows the last sample
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}

TEST(ChorusFilter, DiscontinuityStartsTheLinesAfresh) {
  const WAVEFORMATEX f = PlainFormat(WAVE_FORMAT_PCM, 1, 16, 8000);
  // The oscillators run on over a discontinuity; without modulation the rest is a fresh start.
  ChorusParams p = g_ChorusPresets[3].Params;
  p.modDepth = 1;
  Rig rig(f, p);
  std::vector<int16_t> a = Noise<QxPcm16Form>(3000, 1), b = Noise<QxPcm16Form>(3000, 2);
  ASSERT_EQ(rig.Push(a), S_OK);
  ASSERT_EQ(rig.Push(b, true), S_OK);
  std::vector<int16_t> out = rig.Out();
  ASSERT_EQ(out.size(), 6000u);
  EXPECT_EQ(std::vector<int16_t>(out.begin() + 3000, out.end()), Direct(f, p, b));
}

TEST(ChorusFilter, InterfacesFormatAndTheFloatDoorHasNoTail) {
  Filter a;
  for (const IID* iid : {&IID_IQxChorusProp2, &IID_IMediaParams, &IID_IMediaParamInfo,
                         &IID_IMediaParamsSetUICallback, &IID_IMfxSoftSynth, &IID_IPersistStream,
                         &IID_IStaticFilterPreset, &IID_IQxAudioTransformFloat}) {
    ComPtr<IUnknown> u;
    EXPECT_EQ(a.f->NonDelegatingQueryInterface(*iid, u.PutVoid()), S_OK);
  }
  WAVEFORMATEX w;
  EXPECT_EQ(a.f->GetWaveFormat(&w), VFW_E_NOT_CONNECTED);
  EXPECT_EQ(a.f->HasTempoMap(), 0);
  ASSERT_EQ(a.f->Prepare(1, 44100), S_OK);
  std::vector<float> b(64, 0.25f);
  EXPECT_EQ(a.f->Process(b.data(), 64, 0), 0);
  uint32_t n = 64;
  EXPECT_EQ(a.f->RenderTail(b.data(), &n), 1);
  EXPECT_EQ(n, 0u);
  a.f->Finish();
}
