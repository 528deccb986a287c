// Parameter store: stored values survive the float view exactly, the store clamps to the host
// range, envelopes reach the engine as a staircase of at most 20 ms, gestures and the UI callback.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "aplugins/qxppack1/delay/echos_transform.h"
#include "aplugins/qxppack1/pages/string_table.h"
#include "kernel/services/qx_lang.h"
#include "platform/com/task_mem.h"

namespace {
// The texts come from the module's string table through the kernel, as after the module's start.
struct Strings : ::testing::Environment {
  HMODULE module = QxResources_CreateModule(nullptr);
  void SetUp() override {
    QxPack_AddStrings(module);
    QxLang_OpenKernelHandle(module, 0x409, 0);
  }
  void TearDown() override {
    QxLang_CloseKernelHandle();
    QxResources_FreeModule(module);
  }
};
const auto* g_strings = ::testing::AddGlobalTestEnvironment(new Strings);

class Params : public CQxPlugInParams {
 public:
  Params() : CQxPlugInParams(g_EchosParamInfo, ECHOS_PARAM_COUNT) { SetRate(44100); }
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
};

struct Recorder final : IMediaParamsUICallback {
  std::string log;
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT ParamsBeginCapture(DWORD, DWORD* i) override { return Note('B', *i); }
  HRESULT ParamsChanged(DWORD, DWORD* i, MP_DATA*) override { return Note('C', *i); }
  HRESULT ParamsEndCapture(DWORD, DWORD* i) override { return Note('E', *i); }
  HRESULT Note(char c, DWORD i) {
    log += c + std::to_string(i);
    return S_OK;
  }
};

constexpr int64_t kMs = 10000;

MP_ENVELOPE_SEGMENT Seg(int64_t startMs, int64_t endMs, float a, float b, MP_CURVE_TYPE curve) {
  return {startMs * kMs, endMs * kMs, a, b, curve, 0};
}
}  // namespace

TEST(PlugInParams, EveryStoredValueOfSimpleDelayRoundTripsThroughTheFloatView) {
  Params p;
  for (uint32_t i = 0; i < ECHOS_PARAM_COUNT; ++i) {
    const QxParamInfo& r = p.Info(i);
    for (int32_t v = r.RawMin; v <= r.RawMax; ++v) {
      p.SetStored(&v, i);
      int32_t back = 0;
      p.GetStored(&back, i);
      ASSERT_EQ(back, v) << "parameter " << i;
    }
  }
}

TEST(PlugInParams, StoreClampsToTheHostRangeAndTheRecordFollowsTheTableOffsets) {
  Params p;
  int32_t v = 9000;
  EXPECT_EQ(p.SetStored(&v, ECHOS_DELAY_TIME), S_OK);
  int32_t back = 0;
  p.GetStored(&back, ECHOS_DELAY_TIME);
  EXPECT_EQ(back, 5000);
  EXPECT_EQ(p.SetStored(&v, ECHOS_DELAY_TIME), S_FALSE);
  EXPECT_EQ(p.SetStored(&v, 99), E_INVALIDARG);

  EchosParams in{1, 400, 20, -30, -90, 0, 7, 2500, 1, 16, 31999, 1};
  p.SetAll(&in, ECHOS_PARAM_COUNT);
  EchosParams out{};
  p.GetAll(&out);
  EXPECT_EQ(std::memcmp(&in, &out, sizeof in), 0);
}

TEST(PlugInParams, HostViewOfTheTable) {
  Params p;
  MP_PARAMINFO info;
  ASSERT_EQ(p.GetParamInfo(ECHOS_DRY_OUT, &info), S_OK);
  EXPECT_EQ(std::u16string(info.szLabel), u"Dry Out");
  EXPECT_EQ(std::u16string(info.szUnitText), u"dB");
  EXPECT_EQ(info.mpdMinValue, -80.0f);
  EXPECT_EQ(p.GetParamInfo(12, &info), E_INVALIDARG);
  EXPECT_EQ(p.GetParamInfo(0, nullptr), E_POINTER);

  WCHAR* text = nullptr;
  ASSERT_EQ(p.GetParamText(ECHOS_DECAY_NOTE, &text), S_OK);
  // Label, empty unit, then the 19 names, each ended by a zero, and a final zero.
  std::vector<std::u16string> parts;
  for (const WCHAR* s = text; *s || parts.size() < 2; s += parts.back().size() + 1) parts.emplace_back(s);
  CoTaskMemFree(text);
  ASSERT_EQ(parts.size(), 2u + 19u);
  EXPECT_EQ(parts[0], u"Decay Time (Tempo)");
  EXPECT_EQ(parts[1], u"");
  EXPECT_EQ(parts[2], u"64th Note Triplet");
  EXPECT_EQ(parts[20], u"Measures");

  GUID g;
  MP_TIMEDATA d;
  EXPECT_EQ(p.GetSupportedTimeFormat(1, &g), S_OK);  // index 1 answers too
  EXPECT_EQ(p.GetSupportedTimeFormat(2, &g), E_INVALIDARG);
  EXPECT_EQ(p.SetTimeFormat(GUID_TIME_REFERENCE, 0), E_FAIL);
  EXPECT_EQ(p.SetTimeFormat(GUID_NULL, 5), S_OK);
  p.GetCurrentTimeFormat(&g, &d);
  EXPECT_TRUE(g == GUID_NULL);
  EXPECT_EQ(d, 0u);
}

TEST(PlugInParams, AnEnvelopeReachesTheEngineIn20MsStepsAndReportsItsEndOnce) {
  Params p;
  MP_ENVELOPE_SEGMENT s = Seg(0, 1000, -60, 0, MP_CURVE_LINEAR);
  ASSERT_EQ(p.AddEnvelope(ECHOS_DRY_OUT, 1, &s), S_OK);
  p.Streaming = true;
  uint32_t frames = 44100, steps = 0;
  while (frames) {
    uint32_t changed = 0;
    uint32_t n = p.Advance(frames, &changed);
    EXPECT_EQ(n, 882u);
    EXPECT_EQ(changed, 1u);
    frames -= std::min(n, frames);
    ++steps;
  }
  EXPECT_EQ(steps, 50u);
  EXPECT_NEAR(p.LiveCopy(ECHOS_DRY_OUT).Value, -1.2f, 1e-4);  // the last step starts at 980 ms
  EXPECT_EQ(p.IsIdle(ECHOS_DRY_OUT), 0);
  // The segment ends exactly here: one final change, then silence.
  uint32_t changed = 0;
  EXPECT_EQ(p.Advance(4410, &changed), 882u);
  EXPECT_EQ(changed, 1u);
  changed = 0;
  p.Advance(4410, &changed);
  EXPECT_EQ(changed, 0u);
  EXPECT_EQ(p.IsIdle(ECHOS_DRY_OUT), 1);
}

TEST(PlugInParams, EachCurveGivesItsValueSlopeAndCurvature) {
  struct Case {
    MP_CURVE_TYPE curve;
    float value;
    double slope, curvature;
  } cases[] = {
      // 1 s from 0 to 10, evaluated half way.
      {MP_CURVE_LINEAR, 5.0f, 10.0, 0.0},
      {MP_CURVE_SQUARE, 2.5f, (1.0 + 1.0) * 10.0, 20.0},
      {MP_CURVE_INVSQUARE, 7.5f, (1.0 - 1.0) * -10.0, -20.0},
      {MP_CURVE_JUMP, 0.0f, 0.0, 0.0},
      {MP_CURVE_SINE, 0.0f, 0.0, 0.0},
  };
  for (const Case& c : cases) {
    Params p;
    p.SetRate(1000);
    MP_ENVELOPE_SEGMENT s = Seg(0, 1000, 0, 10, c.curve);
    p.AddEnvelope(ECHOS_DELAY_MULTIPLIER, 1, &s);
    p.CurrentTime = 500 * kMs;
    p.Advance(1, nullptr);
    QxLiveParam l = p.LiveCopy(ECHOS_DELAY_MULTIPLIER);
    EXPECT_FLOAT_EQ(l.Value, c.value) << c.curve;
    EXPECT_DOUBLE_EQ(l.Slope, c.slope) << c.curve;
    EXPECT_DOUBLE_EQ(l.Curvature, c.curvature) << c.curve;
  }
}

TEST(PlugInParams, GestureHidesTheEnvelopeAndAutomationWinsOverSetParam) {
  Params p;
  MP_ENVELOPE_SEGMENT s = Seg(0, 1000, -60, 0, MP_CURVE_LINEAR);
  p.AddEnvelope(ECHOS_DRY_OUT, 1, &s);
  p.Streaming = true;
  p.BeginGesture(ECHOS_DRY_OUT);
  uint32_t changed = 0;
  EXPECT_EQ(p.Advance(441, &changed), 441u);  // not cut by the segment
  EXPECT_EQ(changed, 0u);
  EXPECT_FLOAT_EQ(p.LiveCopy(ECHOS_DRY_OUT).Value, -6.0f);  // neutral, untouched
  p.EndGesture(ECHOS_DRY_OUT);
  p.Advance(441, &changed);
  EXPECT_EQ(changed, 1u);
  EXPECT_EQ(p.SetParam(ECHOS_DRY_OUT, -20.0f), S_FALSE);  // inside the segment while playing
  p.ClearMoved();
  EXPECT_EQ(p.SetParam(ECHOS_DRY_OUT, -20.0f), S_OK);
  EXPECT_EQ(p.SetParam(ECHOS_DRY_OUT, -20.0f), S_FALSE);
  EXPECT_EQ(p.SetParam(ECHOS_DRY_OUT, -90.0f), E_INVALIDARG);
}

TEST(PlugInParams, OverlappingEnvelopesReplaceWholeSegmentsInStartOrder) {
  Params p;
  MP_ENVELOPE_SEGMENT first[3] = {Seg(0, 100, 0, 1, MP_CURVE_LINEAR), Seg(100, 200, 1, 2, MP_CURVE_LINEAR),
                                  Seg(300, 400, 2, 3, MP_CURVE_LINEAR)};
  ASSERT_EQ(p.AddEnvelope(ECHOS_DRY_OUT, 3, first), S_OK);
  MP_ENVELOPE_SEGMENT cut = Seg(150, 160, -1, -1, MP_CURVE_JUMP);
  ASSERT_EQ(p.AddEnvelope(ECHOS_DRY_OUT, 1, &cut), S_OK);
  QxLiveParam l = p.LiveCopy(ECHOS_DRY_OUT);
  ASSERT_EQ(l.Segments.Count(), 3u);
  EXPECT_EQ(l.Segments.At(0).Seg.rtStart, 0);
  EXPECT_EQ(l.Segments.At(1).Seg.rtStart, 150 * kMs);  // the 100-200 segment went whole
  EXPECT_EQ(l.Segments.At(2).Seg.rtStart, 300 * kMs);
  EXPECT_EQ(p.AddEnvelope(DWORD_ALLPARAMS, 1, &cut), E_INVALIDARG);
  EXPECT_EQ(p.AddEnvelope(ECHOS_DRY_OUT, 0, &cut), E_INVALIDARG);
  EXPECT_EQ(p.AddEnvelope(ECHOS_DRY_OUT, 1, nullptr), E_POINTER);
  EXPECT_EQ(p.FlushEnvelope(DWORD_ALLPARAMS, 0, 1000 * kMs), S_OK);
  EXPECT_EQ(p.LiveCopy(ECHOS_DRY_OUT).Segments.Count(), 0u);
}

TEST(PlugInParams, UiCallbackHearsSetsAsGesturesUnlessMuted) {
  Params p;
  Recorder r;
  p.SetUICallback(&r);
  int32_t v = 500;
  p.SetStored(&v, ECHOS_DELAY_TIME);
  EXPECT_EQ(r.log, "B0C0E0");
  r.log.clear();
  p.BeginGesture(ECHOS_DRY_OUT);
  v = -100;
  p.SetStored(&v, ECHOS_DRY_OUT);
  p.EndGesture(ECHOS_DRY_OUT);
  EXPECT_EQ(r.log, "B3C3E3");
  r.log.clear();
  EXPECT_EQ(p.EnableCallback(ECHOS_DELAY_TIME, 0), S_OK);
  EXPECT_EQ(p.EnableCallback(ECHOS_DELAY_TIME, 0), S_FALSE);
  v = 600;
  p.SetStored(&v, ECHOS_DELAY_TIME);
  EXPECT_EQ(r.log, "");
  EXPECT_EQ(p.EnableCallback(DWORD_ALLPARAMS, 1), S_OK);
  p.SetUICallback(nullptr);
}
