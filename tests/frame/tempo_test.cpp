// CMFXTempo against a scripted host: connection, the slots of IMfxSoftSynth, tick and sample
// conversion, and the chunking at tempo and meter changes; and qxfx's tempo map text and context.
#include <gtest/gtest.h>

#include <vector>

#include "aplugins/qxppack1/frame/mfx_tempo.h"
#include "tools/qxfx/tempo_host.h"

namespace {
constexpr uint32_t kRate = 48000;

// A host whose tick is one millisecond (48 samples); measure m starts at tick 2000 x m.
// Entries may share a tick. The converter, when offered, counts 50 samples a tick instead, so a
// test can tell which way a conversion went.
struct ScriptHost : IMfxTempoMap, IMfxMeterMap, IMfxTimeConverter, IMfxTimeSource {
  struct TempoEntry { MFX_TICKS tick; int32_t bpm100; };
  struct MeterEntry { int32_t measure, num, pow2; };
  std::vector<TempoEntry> tempi{{0, 12000}};
  std::vector<MeterEntry> meters{{0, 4, 2}};
  bool offerTempo = true, offerMeter = true, offerConverter = false, offerSource = false;
  // A host whose meter lookup answers the entry before the one at the tick.
  bool meterLookupLags = false;
  long refs = 1;

  HRESULT QueryInterface(REFIID iid, void** ppv) override {
    *ppv = nullptr;
    if (iid == IID_IMfxTempoMap && offerTempo) *ppv = static_cast<IMfxTempoMap*>(this);
    if (iid == IID_IMfxMeterMap && offerMeter) *ppv = static_cast<IMfxMeterMap*>(this);
    if (iid == IID_IMfxTimeConverter && offerConverter) *ppv = static_cast<IMfxTimeConverter*>(this);
    if (iid == IID_IMfxTimeSource && offerSource) *ppv = static_cast<IMfxTimeSource*>(this);
    if (!*ppv) return E_NOINTERFACE;
    ++refs;
    return S_OK;
  }
  ULONG AddRef() override { return ++refs; }
  ULONG Release() override { return --refs; }

  int32_t TicksToMsecs(MFX_TICKS t) override { return t; }
  MFX_TICKS MsecsToTicks(int32_t ms) override { return ms; }
  int32_t GetTicksPerQuarterNote() override { return 480; }
  int32_t GetTempoCount() override { return static_cast<int32_t>(tempi.size()); }
  int32_t GetTempoIndexForTime(MFX_TICKS t) override {
    int32_t i = GetTempoCount() - 1;
    while (i > 0 && tempi[i].tick > t) --i;
    return i;
  }
  HRESULT GetTempoAt(int32_t i, MFX_TICKS* t, int32_t* bpm100) override {
    if (i < 0 || i >= GetTempoCount()) return E_INVALIDARG;
    *t = tempi[i].tick;
    *bpm100 = tempi[i].bpm100;
    return S_OK;
  }
  int32_t GetMeterCount() override { return static_cast<int32_t>(meters.size()); }
  int32_t GetMeterIndexForTime(MFX_TICKS t) override {
    int32_t i = GetMeterCount() - 1;
    while (i > 0 && (meterLookupLags ? MeasureToTicks(meters[i].measure) >= t : MeasureToTicks(meters[i].measure) > t))
      --i;
    return i;
  }
  HRESULT GetMeterAt(int32_t i, int32_t* measure, int32_t* num, int32_t* pow2) override {
    if (i < 0 || i >= GetMeterCount()) return E_INVALIDARG;
    *measure = meters[i].measure;
    *num = meters[i].num;
    *pow2 = meters[i].pow2;
    return S_OK;
  }
  MFX_TICKS MeasureToTicks(int32_t m) override { return m * 2000; }
  HRESULT ConvertTime(MFX_TIME* t, int32_t to) override {
    if (t->Kind == MFX_TIME_TICKS && to == MFX_TIME_SAMPLES) t->Value *= 50;
    else if (t->Kind == MFX_TIME_SAMPLES && to == MFX_TIME_TICKS) t->Value /= 50;
    else return E_INVALIDARG;
    t->Kind = to;
    return S_OK;
  }
  HRESULT GetMusicalPosition(int64_t samples, MFX_TICKS* t) override {
    *t = static_cast<MFX_TICKS>(samples / 48 + 7);
    return S_OK;
  }
  // Connect takes over a reference: hand it one.
  IUnknown* Handover() {
    AddRef();
    return static_cast<IMfxTempoMap*>(this);
  }
};

class TestTempo : public CMFXTempo {
 public:
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  uint32_t rate = kRate;
  bool meterCursorValid() const { return MeterCursorValid; }
  int32_t meterCursor() const { return MeterCursor; }
  bool tempoCursorValid() const { return TempoCursorValid; }
  int32_t ticksPerQuarter() const { return TicksPerQuarter; }

 protected:
  uint32_t TempoSampleRate() override { return rate; }
};

struct Chunk {
  uint32_t frames;
  QxTempoRecord record;
};

// Runs `frames` as one block, chunk by chunk, as the streaming path does.
std::vector<Chunk> Block(CMFXTempo& t, uint32_t frames) {
  std::vector<Chunk> out;
  while (frames) {
    Chunk c{};
    c.frames = t.NextChunk(frames, QX_TEMPO_REQUEST, &c.record);
    EXPECT_GT(c.frames, 0u);
    if (!c.frames) break;
    frames -= c.frames;
    out.push_back(c);
  }
  return out;
}

TEST(MfxTempo, UnconnectedGivesOneChunkWithADefaultRecordAndTheFixedSlots) {
  TestTempo t;
  EXPECT_FALSE(t.HasTempoMap());
  QxTempoRecord r;
  r.Flags = 0xFF;
  EXPECT_EQ(t.NextChunk(1000, QX_TEMPO_REQUEST, &r), 1000u);
  EXPECT_EQ(r.Flags, 0u);
  EXPECT_EQ(r.Tempo, 120.0);
  EXPECT_EQ(r.BeatsPerMeasure, 4);
  EXPECT_EQ(r.BeatValue, 4);
  EXPECT_EQ(t.NextChunk(10, QX_TEMPO_REQUEST, &r), 10u);
  EXPECT_EQ(r.Position, 1000.0);
  EXPECT_EQ(t.TicksToSamples(480), 0);  // no musical time without a host

  IMfxSoftSynth& s = t;
  EXPECT_EQ(s.Connect(nullptr), E_POINTER);
  EXPECT_EQ(s.Flush(), S_OK);
  int32_t n = 0;
  EXPECT_EQ(s.OnMidiShortEvent(0, 0x90), E_NOTIMPL);
  EXPECT_EQ(s.OnMidiLongEvent(0, nullptr, 0), E_NOTIMPL);
  EXPECT_EQ(s.AllNotesOff(), E_NOTIMPL);
  EXPECT_EQ(s.GetVoiceCount(&n), E_NOTIMPL);
  EXPECT_EQ(s.SetPatch(0, 0, 0), E_NOTIMPL);
  EXPECT_EQ(s.GetPatchName(0, 0, nullptr, 0), E_NOTIMPL);
  EXPECT_EQ(s.GetOutputCount(&n), E_NOTIMPL);
  EXPECT_EQ(s.RenderOutput(0, nullptr, 0), E_NOTIMPL);
  EXPECT_EQ(s.SetLatency(0), E_NOTIMPL);
  WAVEFORMATEX f{};
  EXPECT_EQ(s.GetMfxWaveFormat(&f), VFW_E_NOT_CONNECTED);
}

TEST(MfxTempo, ConnectTakesOverTheContextAndHoldsWhatItAnswersUntilDisconnect) {
  ScriptHost host;
  host.offerSource = true;
  {
    TestTempo t;
    EXPECT_EQ(t.Connect(host.Handover()), S_OK);
    EXPECT_EQ(host.refs, 1 + 3);  // ours, and the three interfaces it answered
    EXPECT_TRUE(t.HasTempoMap());
    EXPECT_EQ(t.Connect(host.Handover()), E_UNEXPECTED);
    host.Release();
    EXPECT_EQ(t.Disconnect(), S_OK);
    EXPECT_EQ(host.refs, 1);
    EXPECT_FALSE(t.HasTempoMap());
    // A context without a meter map connects, but the stream is not chunked.
    host.offerMeter = false;
    EXPECT_EQ(t.Connect(host.Handover()), S_OK);
    EXPECT_FALSE(t.HasTempoMap());
  }
  EXPECT_EQ(host.refs, 1);  // released with the object
}

TEST(MfxTempo, FirstChunkAfterStartPlaybackCarriesTheChangeBits) {
  ScriptHost host;
  TestTempo t;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(t.StartPlayback(1000), S_OK);
    EXPECT_EQ(t.ticksPerQuarter(), 480);
    EXPECT_EQ(t.SamplePosition(), 48000);
    QxTempoRecord r;
    EXPECT_EQ(t.NextChunk(512, QX_TEMPO_REQUEST, &r), 512u);
    EXPECT_EQ(r.Flags, QX_TEMPO_VALID | QX_TEMPO_CHANGED | QX_METER_VALID | QX_METER_CHANGED);
    EXPECT_EQ(r.Position, 48000.0);
    EXPECT_EQ(t.NextChunk(512, QX_TEMPO_REQUEST, &r), 512u);
    EXPECT_EQ(r.Flags, QX_TEMPO_VALID | QX_METER_VALID);
  }
  // Only what is asked for is given.
  t.StartPlayback(0);
  QxTempoRecord r;
  t.NextChunk(64, QX_METER_VALID, &r);
  EXPECT_EQ(r.Flags, QX_METER_VALID | QX_METER_CHANGED);
  EXPECT_EQ(r.Tempo, 120.0);
}

TEST(MfxTempo, ATempoChangeInMidBlockSplitsTheBlockAtItsSample) {
  ScriptHost host;
  host.tempi = {{0, 12000}, {1000, 15050}};  // 150.5 bpm from sample 48000
  TestTempo t;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  t.StartPlayback(0);
  auto c = Block(t, 40000);
  ASSERT_EQ(c.size(), 1u);
  c = Block(t, 40000);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 8000u);
  EXPECT_EQ(c[0].record.Tempo, 120.0);
  EXPECT_FALSE(c[0].record.Flags & QX_TEMPO_CHANGED);
  EXPECT_EQ(c[1].frames, 32000u);
  EXPECT_EQ(c[1].record.Tempo, 150.5);
  EXPECT_EQ(c[1].record.Position, 48000.0);
  EXPECT_TRUE(c[1].record.Flags & QX_TEMPO_CHANGED);
  EXPECT_FALSE(t.tempoCursorValid());

  // A block that starts a few samples before the change, whose tick already reads as the change's:
  // the old tempo holds up to the change's own sample.
  t.StartPlayback(0);
  t.Skip(47990);
  c = Block(t, 100);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 10u);
  EXPECT_EQ(c[0].record.Tempo, 120.0);
  EXPECT_EQ(c[1].record.Tempo, 150.5);

  // A change right at the end of a block comes with the next block.
  t.StartPlayback(0);
  c = Block(t, 48000);
  ASSERT_EQ(c.size(), 1u);
  c = Block(t, 10);
  EXPECT_EQ(c[0].record.Tempo, 150.5);
  EXPECT_TRUE(c[0].record.Flags & QX_TEMPO_CHANGED);
}

TEST(MfxTempo, TwoChangesAtOnePlaceTheLaterWinsWithNoChunkBetween) {
  ScriptHost host;
  host.tempi = {{0, 12000}, {1000, 13000}, {1000, 14000}, {3000, 9000}};
  TestTempo t;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  t.StartPlayback(0);
  auto c = Block(t, 100000);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 48000u);
  EXPECT_EQ(c[1].frames, 52000u);
  EXPECT_EQ(c[1].record.Tempo, 140.0);
  EXPECT_EQ(c[1].record.Flags & (QX_TEMPO_VALID | QX_TEMPO_CHANGED), QX_TEMPO_VALID | QX_TEMPO_CHANGED);
  c = Block(t, 100000);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 44000u);  // to tick 3000
  EXPECT_EQ(c[1].record.Tempo, 90.0);
}

TEST(MfxTempo, OnlyAMeterChangeReachedByWalkingMovesTheMeterCursor) {
  ScriptHost host;
  host.meters = {{0, 4, 2}, {1, 3, 2}, {2, 6, 3}};  // 3/4 from sample 96000, 6/8 from 192000
  TestTempo t;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  t.StartPlayback(0);
  // Found at the first look: the chunk is cut, the cursor left as it was.
  auto c = Block(t, 100000);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 96000u);
  EXPECT_FALSE(t.meterCursorValid());
  EXPECT_EQ(c[1].record.BeatsPerMeasure, 3);
  EXPECT_EQ(c[1].record.BeatValue, 4);
  EXPECT_TRUE(c[1].record.Flags & QX_METER_CHANGED);

  // With a host whose lookup lags, the walk passes 3/4 at the position and cuts at 6/8: that one
  // sets the cursor, and the next chunk starts on it.
  host.meterLookupLags = true;
  t.StartPlayback(0);
  t.Skip(96000);
  QxTempoRecord r;
  EXPECT_EQ(t.NextChunk(200000, QX_TEMPO_REQUEST, &r), 96000u);
  EXPECT_EQ(r.BeatsPerMeasure, 3);
  EXPECT_TRUE(t.meterCursorValid());
  EXPECT_EQ(t.meterCursor(), 2);
  EXPECT_EQ(t.NextChunk(1000, QX_TEMPO_REQUEST, &r), 1000u);
  EXPECT_EQ(r.BeatsPerMeasure, 6);
  EXPECT_EQ(r.BeatValue, 8);
  EXPECT_EQ(r.Flags & QX_METER_CHANGED, QX_METER_CHANGED);
  EXPECT_FALSE(t.meterCursorValid());

  // The tempo walk sets its cursor at the first look already.
  host.tempi = {{0, 12000}, {1000, 6000}};
  t.StartPlayback(0);
  t.NextChunk(50000, QX_TEMPO_REQUEST, &r);
  EXPECT_TRUE(t.tempoCursorValid());
}

TEST(MfxTempo, ConversionsGoThroughTheConverterWhenThereIsOne) {
  ScriptHost host;
  TestTempo t;
  t.rate = 44100;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  // Through milliseconds: 44.1 frames a millisecond, rounded to nearest.
  EXPECT_EQ(t.TicksToSamples(1000), 44100);
  EXPECT_EQ(t.TicksToSamples(5), 221);  // 220.5
  EXPECT_EQ(t.SamplesToTicks(44100), 1000);
  EXPECT_EQ(t.SamplesToTicks(66), 1);  // 1.497 ms
  t.Disconnect();
  host.offerConverter = true;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  EXPECT_EQ(t.TicksToSamples(1000), 50000);
  EXPECT_EQ(t.SamplesToTicks(50000), 1000);
  // And chunks follow the converter: the change at tick 1000 lies at 50000.
  host.tempi = {{0, 12000}, {1000, 15000}};
  t.StartPlayback(0);
  auto c = Block(t, 60000);
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].frames, 50000u);
}

TEST(MfxTempo, SkipLoopsAndStopMoveThePositionAsTheHostSays) {
  ScriptHost host;
  host.offerSource = true;
  TestTempo t;
  ASSERT_EQ(t.Connect(host.Handover()), S_OK);
  t.StartPlayback(0);
  t.Skip(480);
  QxTempoRecord r;
  t.NextChunk(10, QX_TEMPO_REQUEST | QX_TEMPO_MUSICAL_POSITION, &r);
  EXPECT_EQ(r.Position, 480.0);
  EXPECT_TRUE(r.Flags & QX_TEMPO_MUSICAL_POSITION);
  EXPECT_EQ(t.MusicalPosition(), 17);
  // A loop from tick 100 to 300 moves the position back by 200 ticks.
  EXPECT_EQ(t.SetLoop(100, 300), S_OK);
  t.NextChunk(10, QX_TEMPO_REQUEST, &r);
  EXPECT_EQ(r.Position, 490.0 - 9600.0);
  EXPECT_EQ(t.StopPlayback(), S_OK);
  t.NextChunk(10, QX_TEMPO_REQUEST, &r);
  EXPECT_EQ(r.Position, 500.0);
}

// --- qxfx's tempo map ---

TEST(QxfxTempoMap, ParsesChangesAndRefusesMistakes) {
  std::vector<QxfxTempoChange> v;
  std::string error;
  ASSERT_TRUE(QxfxParseTempoMap("# a song\ntempo 0 120\n\n  tempo 1.5s 97.5  # faster\nmeter 8b 6/8\ntempo 250ms 60\n",
                                &v, &error))
      << error;
  ASSERT_EQ(v.size(), 4u);
  EXPECT_EQ(v[1].at, 1.5);
  EXPECT_EQ(v[1].bpm, 97.5);
  EXPECT_TRUE(v[2].meter && v[2].inBeats);
  EXPECT_EQ(v[2].numerator, 6);
  EXPECT_EQ(v[2].denominator, 8);
  EXPECT_DOUBLE_EQ(v[3].at, 0.25);
  for (const char* bad : {"tempo 0", "tempo x 120", "tempo 0 0", "meter 0 3/5", "meter 0 3", "swing 0 1",
                          "tempo 0 120 extra", "tempo -1 120"}) {
    std::vector<QxfxTempoChange> w;
    EXPECT_FALSE(QxfxParseTempoMap(bad, &w, &error)) << bad;
    EXPECT_NE(error.find("line 1"), std::string::npos);
  }
}

TEST(QxfxTempoMap, ContextResolvesSecondsAndBeatsAndChecksMeterPlaces) {
  std::vector<QxfxTempoChange> v;
  std::string error;
  ASSERT_TRUE(QxfxParseTempoMap("tempo 1s 150\nmeter 4b 3/4\ntempo 4b 60\n", &v, &error));
  CQxfxTempoContext* c = nullptr;
  ASSERT_TRUE(CQxfxTempoContext::Create(v, 8000, &c, &error)) << error;
  // 120 bpm for 1 s (2 beats), then 150 bpm: beat 4 at 1.8 s.
  EXPECT_EQ(c->GetTempoCount(), 3);
  EXPECT_EQ(c->TicksToMsecs(4 * 960), 1800);
  EXPECT_EQ(c->MeasureToTicks(1), 4 * 960);
  EXPECT_EQ(c->MeasureToTicks(2), 7 * 960);
  MFX_TIME time{MFX_TIME_TICKS, 0, 5 * 960};
  ASSERT_EQ(c->ConvertTime(&time, MFX_TIME_SAMPLES), S_OK);
  EXPECT_EQ(time.Value, 8000 * 28 / 10);  // one beat at 60 bpm after 1.8 s
  ASSERT_EQ(c->ConvertTime(&time, MFX_TIME_TICKS), S_OK);
  EXPECT_EQ(time.Value, 5 * 960);
  c->Release();

  v.clear();
  ASSERT_TRUE(QxfxParseTempoMap("meter 3b 3/4\n", &v, &error));
  EXPECT_FALSE(CQxfxTempoContext::Create(v, 8000, &c, &error));
  EXPECT_NE(error.find("start of a measure"), std::string::npos);
  v.clear();
  ASSERT_TRUE(QxfxParseTempoMap("tempo 2s 100\ntempo 1s 90\n", &v, &error));
  EXPECT_FALSE(CQxfxTempoContext::Create(v, 8000, &c, &error));
}
}  // namespace
