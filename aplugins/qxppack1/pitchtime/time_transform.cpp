// Time Stretch's transform: presets, persistent forms, parameter setters with their clamps and
// change flags, and the snapshot the splice engine takes at each call.
#include "aplugins/qxppack1/pitchtime/time_transform.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#include <cmath>

const QxTimePreset g_TimePresets[] = {
    {IDS_TIME_PRESET0 + 0, {10000.0, 0, 12000, 2646000.0, 0, 0}},
    {IDS_TIME_PRESET0 + 1, {10000.0, 0, 12000, 2646000.0, 0, 0}},
    {IDS_TIME_PRESET0 + 2, {11000.0, 0, 12000, 2646000.0, 0, 0}},
    {IDS_TIME_PRESET0 + 3, {8500.0, 0, 12000, 2646000.0, 0, 0}},
};
const uint32_t g_TimePresetCount = sizeof g_TimePresets / sizeof g_TimePresets[0];

namespace {
// The older form kept lengths and tempi at a tenth of today's scale.
void TimeFromTenths(void* record) {
  auto* p = static_cast<TimeParams*>(record);
  p->FinalLength *= 10.0;
  p->InitialTempo *= 10u;
}

const QxPersistForm kTimeForms[] = {
    {MakeGuid("5FF5B4A4-858F-11D0-AEBC-00A0C9053912"), 52, 32, nullptr},
    {MakeGuid("5FF5B4A3-858F-11D0-AEBC-00A0C9053912"), 52, 32, TimeFromTenths},
};
using TimePresetAccess = QxPresetAccess<QxTimePreset, g_TimePresets>;

// Each clamp answers whether it had to change the value. A NaN takes the default.
bool ClampDouble(double* v, double lo, double hi, double fallback) {
  double c = std::isnan(*v) ? fallback : *v < lo ? lo : *v > hi ? hi : *v;
  bool moved = !(c == *v);
  *v = c;
  return moved;
}
}  // namespace

const QxEffectTables g_TimeTables = {
    sizeof(TimeParams), kTimeForms, 2, nullptr, g_TimePresetCount, TimePresetAccess::Name,
    TimePresetAccess::Record,
};

CQxTimeTransform::CQxTimeTransform() { params_ = g_TimePresets[0].Params; }

HRESULT CQxTimeTransform::GetParams(TimeParams* record) {
  if (!record) return E_POINTER;
  std::lock_guard<std::recursive_mutex> g(lock_);
  *record = params_;
  return S_OK;
}

HRESULT CQxTimeTransform::SetParams(const TimeParams* record) {
  if (!record) return E_POINTER;
  std::lock_guard<std::recursive_mutex> g(lock_);
  TimeParams p = *record;
  changed_ = rebuild_ = dirty_ = true;
  bool clamped = ClampDouble(&p.FinalLength, QX_TIME_MIN_LENGTH, QX_TIME_MAX_LENGTH, 10000.0);
  clamped |= ClampDouble(&p.InitialTime, 0.0, QX_TIME_MAX_TIME, 2646000.0);
  if (p.InitialTempo > QX_TIME_MAX_TEMPO) {
    p.InitialTempo = QX_TIME_MAX_TEMPO;
    clamped = true;
  }
  StoreField(params_.FinalLength, p.FinalLength);
  StoreField(params_.Mode, p.Mode);
  StoreField(params_.InitialTempo, p.InitialTempo);
  StoreField(params_.InitialTime, p.InitialTime);
  StoreField(params_.InputFormat, p.InputFormat);
  StoreField(params_.Reserved, p.Reserved);
  return clamped ? E_FAIL : S_OK;
}

HRESULT CQxTimeTransform::GetFinalLength(double* value) {
  if (!value) return E_POINTER;
  *value = LoadField(params_.FinalLength);
  return S_OK;
}

HRESULT CQxTimeTransform::SetFinalLength(double value) {
  // A NaN (the page divides by a typed zero) leaves the length as it is.
  if (std::isnan(value)) return S_OK;
  ClampDouble(&value, QX_TIME_MIN_LENGTH, QX_TIME_MAX_LENGTH, 10000.0);
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (params_.FinalLength == value) return S_OK;
  StoreField(params_.FinalLength, value);
  changed_ = dirty_ = true;
  return S_OK;
}

HRESULT CQxTimeTransform::GetMode(int32_t* value) {
  if (!value) return E_POINTER;
  *value = LoadField(params_.Mode);
  return S_OK;
}

HRESULT CQxTimeTransform::SetMode(int32_t value) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (params_.Mode == value) return S_OK;
  StoreField(params_.Mode, value);
  changed_ = dirty_ = rebuild_ = true;
  return S_OK;
}

HRESULT CQxTimeTransform::GetInitialTempo(uint32_t* value) {
  if (!value) return E_POINTER;
  *value = LoadField(params_.InitialTempo);
  return S_OK;
}

HRESULT CQxTimeTransform::SetInitialTempo(uint32_t value) {
  if (value > QX_TIME_MAX_TEMPO) value = QX_TIME_MAX_TEMPO;
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (params_.InitialTempo == value) return S_OK;
  StoreField(params_.InitialTempo, value);
  changed_ = dirty_ = true;
  return S_OK;
}

HRESULT CQxTimeTransform::GetInitialTime(double* value) {
  if (!value) return E_POINTER;
  *value = LoadField(params_.InitialTime);
  return S_OK;
}

HRESULT CQxTimeTransform::SetInitialTime(double value) {
  if (std::isnan(value)) return S_OK;
  ClampDouble(&value, 0.0, QX_TIME_MAX_TIME, 2646000.0);
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (params_.InitialTime == value) return S_OK;
  StoreField(params_.InitialTime, value);
  changed_ = dirty_ = true;
  return S_OK;
}

HRESULT CQxTimeTransform::GetInputFormat(int32_t* value) {
  if (!value) return E_POINTER;
  *value = LoadField(params_.InputFormat);
  return S_OK;
}

HRESULT CQxTimeTransform::SetInputFormat(int32_t value) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (params_.InputFormat == value) return S_OK;
  StoreField(params_.InputFormat, value);
  changed_ = dirty_ = true;
  return S_OK;
}

void CQxTimeTransform::Snapshot(QxSpliceSnapshot* snapshot) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  snapshot->Params.Mode = params_.Mode;
  snapshot->Params.Ratio = QxTime_Ratio(params_.FinalLength);
  snapshot->Changed = changed_;
  snapshot->Rebuild = rebuild_;
  changed_ = rebuild_ = false;
}
