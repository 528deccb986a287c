// Chorus's transform: automation table, record versions, snapshot and update, and the control
// interface with its update requests.
#include "aplugins/qxppack1/delay/chorus_transform.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#include <cstddef>

namespace {
constexpr uint32_t Off(size_t o) { return static_cast<uint32_t>(o); }
}  // namespace

// Label, unit and enumeration texts come from the string table: the label number is the row's
// index; unit and enumeration numbers are -1 where there is no text.
#define CHORUS_ROW(type, caps, lo, hi, neutral, unit, label, rawMax, rawMin, enumText, field, index, unitId, \
                   enumId)                                                                           \
  {{type, caps, lo, hi, neutral, unit, label}, 1, rawMax, rawMin, enumText, QX_STORE_INT,            \
   Off(offsetof(ChorusParams, field)), 1, IDS_CHORUS_LABEL0 + index, unitId, enumId, 0}

// In index order; float ranges are what the host sees, raw ranges the stored integers.
QxParamInfo g_ChorusParamInfo[CHORUS_PARAM_COUNT] = {
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 0.001f, 20, 5.5f, u"Hz", u"Modulation Rate", 20000, 1, nullptr,
               modRate, 0, IDS_UNIT_HZ, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 1, 100, 50, u"%", u"Modulation Depth", 100, 1, nullptr, modDepth, 1, IDS_UNIT_PERCENT, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 0.1f, 100, 50, u"ms", u"Delay", 1000, 1, nullptr, outDelay, 2, IDS_UNIT_MS, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 0, 100, 50, u"%", u"Feedback", 100, 0, nullptr, feedback, 3, IDS_UNIT_PERCENT, -1),
    CHORUS_ROW(MPT_ENUM, MP_CURVE_JUMP, 1, 3, 2, u"", u"Chorus Size", 3, 1, nullptr, chorusSize, 4, -1, -1),
    CHORUS_ROW(MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Invert Chorus Phase", 1, 0, nullptr,
               invertChorusPhase, 5, -1, -1),
    CHORUS_ROW(MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Invert Feedback Phase", 1, 0, nullptr,
               invertFeedbackPhase, 6, -1, -1),
    CHORUS_ROW(MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Attenuate High Frequencies", 1, 0, nullptr,
               attenuateHigh, 7, -1, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 100, 10000, 1000, u"Hz", u"Attenuation Frequencies", 10000, 100,
               nullptr, attenuationFrequency, 8, IDS_UNIT_HZ, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, -60, 0, 0, u"dB", u"Input Gain", 0, -600, nullptr, inputGain, 9, IDS_UNIT_DB, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, -60, 0, -6, u"dB", u"Dry Out", 0, -600, nullptr, dryOut, 10, IDS_UNIT_DB, -1),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, -60, 0, -6, u"dB", u"Chorus Out", 0, -600, nullptr, chorusOut, 11, IDS_UNIT_DB, -1),
    CHORUS_ROW(MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Bypass", 1, 0, nullptr, bypass, 12, -1, -1),
    CHORUS_ROW(MPT_ENUM, MP_CURVE_JUMP, 0, 18, 18, u"", u"Modulation Period", 18, 0, nullptr,
               modPeriodNote, 13, -1, IDS_CHORUS_PERIOD_NOTES),
    CHORUS_ROW(MPT_FLOAT, MP_CURVES_ALL, 0.001f, 32, 0.001f, u"", u"Modulation Period Multiplier", 32000, 1,
               nullptr, modPeriodMultiplier, 14, -1, -1),
    CHORUS_ROW(MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Tempo Sync", 1, 0, nullptr, tempoSync, 15, -1, -1),
};
#undef CHORUS_ROW

namespace {
// Fields the two older versions lack: a one-measure period, multiplier 1, sync off.
void ChorusDefaults(void* record) {
  auto* p = static_cast<ChorusParams*>(record);
  p->modPeriodNote = 18;
  p->modPeriodMultiplier = 1000;
  p->tempoSync = 0;
}

// The first version has no bypass either.
void ChorusVersion1(void* record) { static_cast<ChorusParams*>(record)->bypass = 0; }

const QxPersistForm kChorusForms[] = {
    {IID_IQxChorusProp2, 84, 64, nullptr},
    {MakeGuid("C9A9FEC7-8A9B-4CFE-AEBC-92EA0E505219"), 72, 52, nullptr},
    {MakeGuid("28D9F1E3-6ECC-11D0-AEBC-00A0C9053912"), 68, 48, ChorusVersion1},
};
using ChorusPresetAccess = QxPresetAccess<QxChorusPreset, g_ChorusPresets>;
}  // namespace

const QxEffectTables g_ChorusTables = {
    sizeof(ChorusParams), kChorusForms, 3, ChorusDefaults,
    QX_CHORUS_PRESET_COUNT, ChorusPresetAccess::Name, ChorusPresetAccess::Record,
};

CQxChorusTransform::CQxChorusTransform() : CQxPlugInParams(g_ChorusParamInfo, CHORUS_PARAM_COUNT) {
  SetAllParameters(&g_ChorusPresets[0].Params);
}

CQxChorusTransform::~CQxChorusTransform() = default;

HRESULT CQxChorusTransform::GetAllParameters(ChorusParams* record) {
  if (!record) return E_POINTER;
  GetAll(record);
  return S_OK;
}

HRESULT CQxChorusTransform::SetAllParameters(const ChorusParams* record) {
  if (!record) return E_POINTER;
  HRESULT hr = SetAll(record, CHORUS_PARAM_COUNT);
  // A whole new record clears the lines' first N doubles and restarts the write points.
  engine_.SetUpdateFlags(QX_CHORUS_DESIGN | QX_CHORUS_CLEAR);
  MarkDirty();
  return hr;
}

HRESULT CQxChorusTransform::SetParam(DWORD index, MP_DATA value) {
  HRESULT hr = CQxPlugInParams::SetParam(index, value);
  if (hr == S_OK) {
    MarkDirty();
    Notify(QX_CHANGE_SET_PARAM);
  }
  return hr;
}

HRESULT CQxChorusTransform::GetField(uint32_t index, int32_t* value) { return GetStored(value, index); }

HRESULT CQxChorusTransform::SetField(uint32_t index, int32_t value) {
  const QxParamInfo& r = Info(index);
  if (value < r.RawMin) value = r.RawMin;
  if (value > r.RawMax) value = r.RawMax;
  if (SetStored(&value, index) != S_OK) return S_OK;
  // Size and delay move the read points: they need a design; the rest a light update.
  const bool design = index == CHORUS_CHORUS_SIZE || index == CHORUS_OUT_DELAY;
  engine_.RequestUpdate(design ? QX_CHORUS_DESIGN : QX_CHORUS_LIGHT);
  MarkDirty();
  return S_OK;
}

HRESULT CQxChorusTransform::EndField(uint32_t index) {
  HRESULT hr = EndGesture(index);
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  ParamsDirty_ = true;
  return hr;
}

HRESULT CQxChorusTransform::Start(const WAVEFORMATEX* format) {
  engine_.SetFormat(format);
  HRESULT hr = engine_.Allocate();
  if (FAILED(hr)) return hr;
  Snapshot();
  return engine_.Update(snapshot_, false, nullptr);
}

void CQxChorusTransform::Stop() { engine_.Stop(); }

bool CQxChorusTransform::Snapshot() {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  GetAll(&snapshot_);
  bool was = ParamsDirty_;
  ParamsDirty_ = false;
  return was;
}

HRESULT CQxChorusTransform::Apply(QxRunMode mode, const QxTempoRecord* tempo) {
  return engine_.Update(snapshot_, mode != RunFresh, tempo);
}

bool CQxChorusTransform::BypassOn() {
  int32_t bypass = 0;
  GetStored(&bypass, CHORUS_BYPASS);
  return bypass != 0;
}

int CQxChorusTransform::ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                                     int32_t) {
  if (mode == RunTail) {
    *frames = 0;
    return 1;
  }
  switch (form) {
    case QxSampleForm::Pcm8: engine_.ProcessPcm8(buffer, *frames); break;
    case QxSampleForm::Pcm16: engine_.ProcessPcm16(reinterpret_cast<int16_t*>(buffer), *frames); break;
    case QxSampleForm::Pcm32: engine_.ProcessPcm32(reinterpret_cast<int32_t*>(buffer), *frames); break;
    case QxSampleForm::Float32: engine_.ProcessFloat32(reinterpret_cast<float*>(buffer), *frames); break;
    case QxSampleForm::Float64: engine_.ProcessFloat64(reinterpret_cast<double*>(buffer), *frames); break;
    case QxSampleForm::None: break;
  }
  return 0;
}
