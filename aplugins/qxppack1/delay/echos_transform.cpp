// Simple Delay's transform: parameter table, presets, snapshot/apply and the control interface.
#include "aplugins/qxppack1/delay/echos_transform.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#include <cstddef>

namespace {
constexpr uint32_t Off(size_t o) { return static_cast<uint32_t>(o); }
}  // namespace

// Float ranges are what the host sees; raw ranges are the stored integers.
QxParamInfo g_EchosParamInfo[ECHOS_PARAM_COUNT] = {
    {MPT_FLOAT, MP_CURVES_ALL, 1, 5000, 2500, u"ms", u"Delay Time", 1, 5000, 1, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DelayTime)), 1, IDS_ECHOS_LABEL0 + 0, IDS_UNIT_MS, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 1, 200, 100, u"ms", u"Decay Time", 1, 200, 1, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DecayTime)), 1, IDS_ECHOS_LABEL0 + 1, IDS_UNIT_MS, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Multiple Delays", 1, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, MultipleDelays)), 1, IDS_ECHOS_LABEL0 + 2, -1, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, -80, 0, -6, u"dB", u"Dry Out", 1, 0, -800, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DryOut)), 1, IDS_ECHOS_LABEL0 + 3, IDS_UNIT_DB, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, -80, 0, -6, u"dB", u"Delay Out", 1, 0, -800, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DelayOut)), 1, IDS_ECHOS_LABEL0 + 4, IDS_UNIT_DB, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Bypass", 1, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, Bypass)), 1, IDS_ECHOS_LABEL0 + 5, -1, -1, 0},
    {MPT_ENUM, MP_CURVE_JUMP, 0, 17, 13, u"", u"Delay Time (Tempo)", 1, 17, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DelayNote)), 1, IDS_ECHOS_LABEL0 + 6, -1, IDS_ECHOS_DELAY_NOTES, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 0.001f, 4, 1, u"", u"Delay Time Multiplier (Tempo)", 1, 4000, 1, nullptr,
     QX_STORE_INT, Off(offsetof(EchosParams, DelayMultiplier)), 1, IDS_ECHOS_LABEL0 + 7, -1, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Tempo Sync Delay", 1, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, TempoSyncDelay)), 1, IDS_ECHOS_LABEL0 + 8, -1, -1, 0},
    {MPT_ENUM, MP_CURVE_JUMP, 0, 18, 18, u"", u"Decay Time (Tempo)", 1, 18, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, DecayNote)), 1, IDS_ECHOS_LABEL0 + 9, -1, IDS_ECHOS_DECAY_NOTES, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 0.001f, 32, 1, u"", u"Decay Time Multiplier (Tempo)", 1, 32000, 1, nullptr,
     QX_STORE_INT, Off(offsetof(EchosParams, DecayMultiplier)), 1, IDS_ECHOS_LABEL0 + 10, -1, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Tempo Sync Decay", 1, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(EchosParams, TempoSyncDecay)), 1, IDS_ECHOS_LABEL0 + 11, -1, -1, 0},
};

// Every row keeps the same tempo fields: quarter note x 1, measures x 1, sync off.
#define ECHOS_ROW(md, dt, dc, dout, dry, byp) {md, dt, dc, dout, dry, byp, 13, 1000, 0, 18, 1000, 0}
const QxEchosPreset g_EchosPresets[] = {
    {IDS_ECHOS_PRESET0 + 0, ECHOS_ROW(0, 100, 1, -60, -60, 0)},
    {IDS_ECHOS_PRESET0 + 1, ECHOS_ROW(0, 100, 1, -60, -60, 0)},
    {IDS_ECHOS_PRESET0 + 2, ECHOS_ROW(1, 400, 20, -30, -90, 0)},
    {IDS_ECHOS_PRESET0 + 3, ECHOS_ROW(0, 400, 20, -120, -90, 0)},
    {IDS_ECHOS_PRESET0 + 4, ECHOS_ROW(1, 1000, 30, -140, -40, 0)},
    {IDS_ECHOS_PRESET0 + 5, ECHOS_ROW(0, 1000, 20, 0, -800, 0)},
    {IDS_ECHOS_PRESET0 + 6, ECHOS_ROW(0, 10, 1, 0, -800, 0)},
};
#undef ECHOS_ROW
const uint32_t g_EchosPresetCount = sizeof g_EchosPresets / sizeof g_EchosPresets[0];

namespace {
// Fields the two older versions lack: quarter-note delay, one-measure decay, sync off.
void EchosDefaults(void* record) {
  auto* p = static_cast<EchosParams*>(record);
  p->DelayNote = 13;
  p->DelayMultiplier = 1000;
  p->TempoSyncDelay = 0;
  p->DecayNote = 18;
  p->DecayMultiplier = 1000;
  p->TempoSyncDecay = 0;
}

void EchosVersion1(void* record) { static_cast<EchosParams*>(record)->Bypass = 0; }

const QxPersistForm kEchosForms[] = {
    {MakeGuid("9ACB0B09-C5DB-4431-BD64-741BDDA71AE2"), 68, 48, nullptr},
    {MakeGuid("C9A9FEC7-8A9B-4CFE-AEBC-92EA0E505219"), 44, 24, nullptr},
    {MakeGuid("54F29263-79B1-11D0-AEBC-00A0C9053912"), 40, 20, EchosVersion1},
};
using EchosPresetAccess = QxPresetAccess<QxEchosPreset, g_EchosPresets>;
}  // namespace

const QxEffectTables g_EchosTables = {
    sizeof(EchosParams), kEchosForms, 3, EchosDefaults,
    sizeof g_EchosPresets / sizeof g_EchosPresets[0], EchosPresetAccess::Name, EchosPresetAccess::Record,
    /*QuietOnUnknown=*/false,
};

CQxEchosTransform::CQxEchosTransform() : CQxPlugInParams(g_EchosParamInfo, ECHOS_PARAM_COUNT) {
  SetAllParameters(&g_EchosPresets[0].Params);
}

CQxEchosTransform::~CQxEchosTransform() = default;

HRESULT CQxEchosTransform::GetAllParameters(EchosParams* record) {
  if (!record) return E_POINTER;
  GetAll(record);
  return S_OK;
}

HRESULT CQxEchosTransform::SetAllParameters(const EchosParams* record) {
  if (!record) return E_POINTER;
  HRESULT hr = SetAll(record, ECHOS_PARAM_COUNT);
  MarkDirty();
  return hr;
}

HRESULT CQxEchosTransform::SetParam(DWORD index, MP_DATA value) {
  HRESULT hr = CQxPlugInParams::SetParam(index, value);
  if (hr == S_OK) {
    MarkDirty();
    Notify(QX_CHANGE_SET_PARAM);
  }
  return hr;
}

HRESULT CQxEchosTransform::GetField(uint32_t index, int32_t* value) { return GetStored(value, index); }

HRESULT CQxEchosTransform::SetField(uint32_t index, int32_t value) {
  const QxParamInfo& r = Info(index);
  if (value < r.RawMin) value = r.RawMin;
  if (value > r.RawMax) value = r.RawMax;
  if (SetStored(&value, index) == S_OK) MarkDirty();
  return S_OK;
}

HRESULT CQxEchosTransform::EndField(uint32_t index) {
  HRESULT hr = EndGesture(index);
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  ParamsDirty_ = true;
  return hr;
}

HRESULT CQxEchosTransform::Start(const WAVEFORMATEX* format) {
  engine_.SetFormat(format);
  engine_.ClearBypassLatch();
  Snapshot();
  return engine_.Apply(snapshot_, RunFresh, nullptr);
}

void CQxEchosTransform::Stop() { engine_.Stop(); }

bool CQxEchosTransform::Snapshot() {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  GetAll(&snapshot_);
  bool was = ParamsDirty_;
  ParamsDirty_ = false;
  return was;
}

HRESULT CQxEchosTransform::Apply(QxRunMode mode, const QxTempoRecord* tempo) {
  return engine_.Apply(snapshot_, mode, tempo);
}

bool CQxEchosTransform::BypassOn() {
  int32_t bypass = 0;
  GetStored(&bypass, ECHOS_BYPASS);
  return bypass != 0;
}

bool CQxEchosTransform::BypassGate(uint32_t) { return engine_.BypassGate(BypassOn() ? 1 : 0); }

int CQxEchosTransform::ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                                    int32_t tailRequest) {
  return QxProcessForm(engine_, form, mode, buffer, frames, tailRequest);
}
