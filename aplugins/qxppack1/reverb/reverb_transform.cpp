// Reverb's transform: automation table, setters and their rebuild requests, snapshot and the
// dispatch of blocks to the engine.
#include "aplugins/qxppack1/reverb/reverb_transform.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#include <cstddef>

namespace {
constexpr uint32_t Off(size_t o) { return static_cast<uint32_t>(o); }
constexpr uint32_t kUpdate = QX_REVERB_MARK_UPDATE;
constexpr uint32_t kRebuild = QX_REVERB_MARK_REBUILD;
}  // namespace

// Float ranges are what the host sees; raw ranges are the stored integers. Index 3 shares index
// 2's label on purpose. The neutral values are the host's, not the default preset's.
QxParamInfo g_ReverbParamInfo[REVERB_PARAM_COUNT] = {
    {MPT_FLOAT, MP_CURVES_ALL, 0, 200, 100, u"ms", u"Pre-Delay", kRebuild, 200, 0, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, preDelayMs)), 1, IDS_REVERB_LABEL0 + 0, IDS_UNIT_MS, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 0.5f, 5.0f, 2.5f, u"s", u"Decay Time", kUpdate, 50, 5, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, decayTenths)), 1, IDS_REVERB_LABEL0 + 1, IDS_UNIT_SECONDS, -1, 0},
    {MPT_ENUM, MP_CURVE_JUMP, 0, 18, 0, u"", u"Reverberation Mode", kUpdate, 18, 0, nullptr,
     QX_STORE_INT, Off(offsetof(ReverbParams, reverbMode)), 1, IDS_REVERB_LABEL0 + 2, -1, IDS_REVERB_MODES, 0},
    {MPT_ENUM, MP_CURVE_JUMP, 0, 9, 3, u"", u"Reverberation Mode", kRebuild, 9, 0, nullptr,
     QX_STORE_INT, Off(offsetof(ReverbParams, reflectionStyle)), 1, IDS_REVERB_LABEL0 + 2, -1, IDS_REVERB_STYLES, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Attenuate Bass Frequencies", kUpdate, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, bassOn)), 1, IDS_REVERB_LABEL0 + 4, -1, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 10, 5000, 500, u"Hz", u"Bass Attenuation Frequency", kUpdate, 5000, 10, nullptr,
     QX_STORE_INT, Off(offsetof(ReverbParams, bassFreqHz)), 1, IDS_REVERB_LABEL0 + 5, IDS_UNIT_HZ, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Attenuate High Frequencies", kUpdate, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, highOn)), 1, IDS_REVERB_LABEL0 + 6, -1, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, 100, 15000, 2000, u"Hz", u"High Attenuation Frequency", kUpdate, 15000, 100,
     nullptr, QX_STORE_INT, Off(offsetof(ReverbParams, highFreqHz)), 1, IDS_REVERB_LABEL0 + 7, IDS_UNIT_HZ, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, -80, 0, -6, u"dB", u"Dry Out", kUpdate, 0, -800, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, dryOut)), 1, IDS_REVERB_LABEL0 + 8, IDS_UNIT_DB, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, -80, 0, -6, u"dB", u"Reverb Out", kUpdate, 0, -800, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, reverbOut)), 1, IDS_REVERB_LABEL0 + 9, IDS_UNIT_DB, -1, 0},
    {MPT_FLOAT, MP_CURVES_ALL, -80, 0, -80, u"dB", u"Early Out", kUpdate, 0, -800, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, earlyOut)), 1, IDS_REVERB_LABEL0 + 10, IDS_UNIT_DB, -1, 0},
    {MPT_BOOL, MP_CURVE_JUMP, 0, 1, 0, u"", u"Bypass", kUpdate, 1, 0, nullptr, QX_STORE_INT,
     Off(offsetof(ReverbParams, bypass)), 1, IDS_REVERB_LABEL0 + 11, -1, -1, 0},
};

namespace {
// Only bypass is missing from an older record, and it defaults to 0 like every other field.
void ReverbDefaults(void* record) { static_cast<ReverbParams*>(record)->bypass = 0; }
// The oldest record predates the bypass switch: a loaded one always plays.
void ReverbNoBypass(void* record) { static_cast<ReverbParams*>(record)->bypass = 0; }
using ReverbPresetAccess = QxPresetAccess<QxReverbPreset, g_ReverbPresets>;
}  // namespace

const QxPersistForm g_ReverbPersistForms[QX_REVERB_PERSIST_FORM_COUNT] = {
    {QX_REVERB_TAG_CURRENT, 68, 48, nullptr},
    {QX_REVERB_TAG_ALTERNATE, 68, 48, nullptr},
    {QX_REVERB_TAG_NO_BYPASS, 64, 44, ReverbNoBypass},
};

const QxEffectTables g_ReverbTables = {
    sizeof(ReverbParams), g_ReverbPersistForms, QX_REVERB_PERSIST_FORM_COUNT, ReverbDefaults,
    QX_REVERB_PRESET_COUNT, ReverbPresetAccess::Name, ReverbPresetAccess::Record,
};

CQxReverbTransform::CQxReverbTransform() : CQxPlugInParams(g_ReverbParamInfo, REVERB_PARAM_COUNT) {
  // The engine starts zeroed with a rebuild due and the stream marked touched; the first preset
  // row makes the record, and the filter is dirty from it.
  ParamsDirty_ = true;
  PersistDirty_ = true;
  SetParams(&g_ReverbPresets[0].Params);
  Notify(QX_CHANGE_ALL);
}

CQxReverbTransform::~CQxReverbTransform() = default;

HRESULT CQxReverbTransform::GetParams(ReverbParams* record) {
  if (!record) return E_POINTER;
  GetAll(record);
  return S_OK;
}

HRESULT CQxReverbTransform::SetParams(const ReverbParams* record) {
  if (!record) return E_POINTER;
  const HRESULT hr = SetAll(record, REVERB_PARAM_COUNT);
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  ParamsDirty_ = true;
  PersistDirty_ = true;
  engine_.SetNeedsRebuild(true);
  return hr;
}

HRESULT CQxReverbTransform::SetParam(DWORD index, MP_DATA value) {
  const HRESULT hr = CQxPlugInParams::SetParam(index, value);
  if (hr != S_OK) return hr;
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  ParamsDirty_ = true;
  PersistDirty_ = true;
  if (index == 3 || index == 0 || index == DWORD_ALLPARAMS) engine_.SetNeedsRebuild(true);
  notifier_.Notify(QX_CHANGE_SET_PARAM);
  return hr;
}

bool CQxReverbTransform::PersistDirtyFlag() {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  return PersistDirty_;
}

void CQxReverbTransform::SetPersistDirtyFlag(bool dirty) {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  PersistDirty_ = dirty;
}

HRESULT CQxReverbTransform::RegisterNotifyWindow(HWND window, uint16_t id) {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  return notifier_.Register(window, id);
}

void CQxReverbTransform::Notify(uint16_t code) {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  notifier_.Notify(code);
}

HRESULT CQxReverbTransform::SetField(uint32_t index, int32_t value, bool clamp, bool rebuild) {
  if (clamp) {
    const QxParamInfo& r = Info(index);
    if (value < r.RawMin) value = r.RawMin;
    if (value > r.RawMax) value = r.RawMax;
  }
  // Only a value that differs marks anything: setting the same mode again must not cut the reverb.
  if (SetStored(&value, index) == S_OK) {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    ParamsDirty_ = true;
    PersistDirty_ = true;
    if (rebuild) engine_.SetNeedsRebuild(true);
  }
  return S_OK;
}

HRESULT CQxReverbTransform::EndEdit(uint32_t index) {
  const HRESULT hr = EndGesture(index);
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  ParamsDirty_ = true;
  return hr;
}

HRESULT CQxReverbTransform::Start(const WAVEFORMATEX* format) {
  engine_.SetFormat(format);
  Snapshot();
  return engine_.InitialiseStream(snapshot_);
}

bool CQxReverbTransform::Snapshot() { return ReadParams(&snapshot_); }

bool CQxReverbTransform::ReadParams(ReverbParams* record) {
  std::lock_guard<std::recursive_mutex> g(engineLock_);
  GetAll(record);
  const bool was = ParamsDirty_;
  ParamsDirty_ = false;
  return was;
}

HRESULT CQxReverbTransform::ApplyStep(QxRunMode mode, uint32_t status) {
  engine_.SetNeedsRebuild((status & QX_REVERB_MARK_REBUILD) != 0);
  return engine_.UpdateParameters(snapshot_, mode);
}

int CQxReverbTransform::ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                                     int32_t tailRequest) {
  IQxReverbParamSource& source = *this;
  return QxProcessForm(engine_, form, mode, buffer, frames, tailRequest, source);
}
