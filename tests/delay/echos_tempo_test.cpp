// Simple Delay following the host's tempo through IMfxSoftSynth: the fallback with no maps, the
// split and re-apply at a tempo change on both doors (qxfx's --tempo is checked end to end by
// its command-line test).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "aplugins/qxppack1/delay/echos_filter.h"
#include "tests/support/effect_rig.h"
#include "tools/qxfx/tempo_host.h"

namespace {
constexpr uint32_t kRate = 8000;

// One echo of a quarter note (times `multiplier` / 1000) at full gain; the dry path silent.
EchosParams QuarterNoteEcho(int32_t multiplier = 1000) {
  return EchosParams{0, 100, 1, 0, -800, 0, 13, multiplier, 1, 18, 1000, 0};
}

// A host context from tempo map text, at kRate; one reference for Connect to take over.
IUnknown* Context(const std::string& map) {
  std::vector<QxfxTempoChange> changes;
  std::string error;
  EXPECT_TRUE(QxfxParseTempoMap(map, &changes, &error)) << error;
  CQxfxTempoContext* c = nullptr;
  EXPECT_TRUE(CQxfxTempoContext::Create(changes, kRate, &c, &error)) << error;
  return static_cast<IMfxTempoMap*>(c);
}

// An object that answers none of the tempo interfaces.
struct EmptyContext : IUnknown {
  long refs = 1;
  HRESULT QueryInterface(REFIID, void** ppv) override {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++refs; }
  ULONG Release() override { return --refs; }
};

std::vector<size_t> NonZero(const std::vector<float>& v) {
  std::vector<size_t> at;
  for (size_t i = 0; i < v.size(); ++i)
    if (v[i] != 0.0f) at.push_back(i);
  return at;
}

std::vector<float> Impulses(size_t frames, std::initializer_list<size_t> at) {
  std::vector<float> v(frames, 0.0f);
  for (size_t i : at) v[i] = 0.5f;
  return v;
}

void RunFloat(IQxAudioTransformFloat* door, std::vector<float>& buf, uint32_t block) {
  for (size_t i = 0; i < buf.size(); i += block)
    door->Process(buf.data() + i, static_cast<uint32_t>(std::min<size_t>(block, buf.size() - i)), 0);
}

TEST(EchosTempo, WithoutHostMapsASyncedQuarterNoteIsTwoSeconds) {
  for (bool emptyContext : {false, true}) {
    CQxEchos* f = NewEffect<CQxEchos>();
    EmptyContext ctx;
    if (emptyContext) {
      ComPtr<IMfxSoftSynth> synth;
      ASSERT_EQ(f->NonDelegatingQueryInterface(IID_IMfxSoftSynth, synth.PutVoid()), S_OK);
      ctx.AddRef();
      ASSERT_EQ(synth->Connect(&ctx), S_OK);
      EXPECT_EQ(ctx.refs, 1);
      synth->StartPlayback(0);
    }
    EXPECT_EQ(f->HasTempoMap(), 0);
    EchosParams p = QuarterNoteEcho();
    p.TempoSyncDelay = 0;
    f->SetAllParameters(&p);
    ASSERT_EQ(f->Prepare(1, kRate), S_OK);
    // Start applies the millisecond values; the first streamed apply takes the zeroed record.
    EXPECT_EQ(f->Engine().LineLength(), 800u);
    f->SetTempoSyncDelay(1);
    std::vector<float> buf = Impulses(20000, {0});
    RunFloat(f, buf, 1000);
    EXPECT_EQ(NonZero(buf), std::vector<size_t>{16000}) << "empty context " << emptyContext;
    f->Finish();
    f->NonDelegatingRelease();
  }
}

TEST(EchosTempo, FloatDoorSplitsABlockAtATempoChangeAndReapplies) {
  CQxEchos* f = NewEffect<CQxEchos>();
  ComPtr<IMfxSoftSynth> synth;
  ASSERT_EQ(f->NonDelegatingQueryInterface(IID_IMfxSoftSynth, synth.PutVoid()), S_OK);
  // 120 bpm, then 150 bpm from 1 s (frame 8000).
  ASSERT_EQ(synth->Connect(Context("tempo 0 120\ntempo 1s 150\n")), S_OK);
  EXPECT_EQ(f->HasTempoMap(), 1);
  EchosParams p = QuarterNoteEcho();
  f->SetAllParameters(&p);
  ASSERT_EQ(f->Prepare(1, kRate), S_OK);
  ASSERT_EQ(synth->StartPlayback(0), S_OK);
  WAVEFORMATEX wf{};
  EXPECT_EQ(synth->GetMfxWaveFormat(&wf), VFW_E_NOT_CONNECTED);  // no pins on this door
  // One block over the change: the frame before it still feeds the old line, which the change
  // then clears; from the change on, the echo is 0.4 s.
  std::vector<float> buf = Impulses(20000, {0, 7999, 8000, 9000});
  RunFloat(f, buf, 20000);
  EXPECT_EQ(NonZero(buf), (std::vector<size_t>{4000, 11200, 12200}));
  EXPECT_EQ(f->Engine().LineLength(), 3200u);
  // Unchanged tempo re-applies nothing: the line keeps running across blocks.
  buf = Impulses(20000, {19000});
  RunFloat(f, buf, 20000);
  std::vector<float> next(4000, 0.0f);
  RunFloat(f, next, 4000);
  EXPECT_EQ(NonZero(next), std::vector<size_t>{2200});
  f->Finish();
  synth.Reset();
  f->NonDelegatingRelease();
}

// source -> Simple Delay -> collecting sink, 16-bit mono at kRate, with the host context connected
// and playback started before the pins connect.
struct Rig : EffectRig<CQxEchos> {
  Rig(const EchosParams& p, IUnknown* context)
      : EffectRig(PlainFormat(WAVE_FORMAT_PCM, 1, 16, kRate), 5000, [&](CQxEchos* e) {
          e->SetAllParameters(&p);
          ComPtr<IMfxSoftSynth> synth;
          EXPECT_EQ(e->NonDelegatingQueryInterface(IID_IMfxSoftSynth, synth.PutVoid()), S_OK);
          EXPECT_EQ(synth->Connect(context), S_OK);
          EXPECT_EQ(synth->StartPlayback(0), S_OK);
        }) {}
};

TEST(EchosTempo, MediaPathSplitsASampleAtTempoAndMeterChanges) {
  // 150 bpm from 1 s; the meter turns 3/4 at beat 4 (1.8 s).
  EchosParams p = QuarterNoteEcho();
  Rig rig(p, Context("tempo 0 120\ntempo 1s 150\nmeter 4b 3/4\n"));
  ComPtr<IMfxSoftSynth> synth;
  ASSERT_EQ(rig.effect->NonDelegatingQueryInterface(IID_IMfxSoftSynth, synth.PutVoid()), S_OK);
  WAVEFORMATEX wf{};
  ASSERT_EQ(synth->GetMfxWaveFormat(&wf), S_OK);
  EXPECT_EQ(wf.nSamplesPerSec, kRate);

  std::vector<int16_t> in(20000, 0);
  for (size_t i : {0, 7999, 8000, 9000}) in[i] = 10000;
  for (size_t at = 0; at < in.size(); at += 5000)
    ASSERT_EQ(rig.source->PushBytes(in.data() + at, 5000 * 2, nullptr, nullptr, at == 0), S_OK);
  std::vector<int16_t> out = rig.Out();
  ASSERT_EQ(out.size(), in.size());
  std::vector<size_t> at;
  for (size_t i = 0; i < out.size(); ++i)
    if (out[i]) at.push_back(i);
  // The meter change at frame 14400 re-applies too, but leaves the line alone (same length).
  EXPECT_EQ(at, (std::vector<size_t>{4000, 11200, 12200}));
  EXPECT_EQ(rig.effect->Engine().LineLength(), 3200u);
}
}  // namespace
