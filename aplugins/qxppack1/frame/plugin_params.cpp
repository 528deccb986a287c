// Parameter store: stored/float mapping through zero, whole-record transfer, gestures, and the
// per-step advance of the stream clock.
#include "aplugins/qxppack1/frame/plugin_params.h"

#include <cmath>
#include <cstring>

namespace {
constexpr uint32_t kAllParams = 0xFFFFFFFFu;

float ScaleToStored(const QxParamInfo& r) {
  return static_cast<float>(r.RawMax - r.RawMin) / (r.mpdMaxValue - r.mpdMinValue);
}
}  // namespace

CQxPlugInParams::CQxPlugInParams(QxParamInfo* table, uint32_t count)
    : live_(count), table_(table), count_(count) {
  for (uint32_t i = 0; i < count; ++i) live_[i].Value = table[i].mpdNeutralValue;
}

CQxPlugInParams::~CQxPlugInParams() = default;

double CQxPlugInParams::FloatToStored(uint32_t index, float value) const {
  const QxParamInfo& r = table_[index];
  float scaled = ScaleToStored(r) * value;
  if (r.StoreKind == QX_STORE_FLOAT || r.StoreKind == QX_STORE_DOUBLE) return scaled;
  // Integers round half away from zero.
  return value > 0 ? std::trunc(scaled + 0.5) : std::trunc(scaled - 0.5);
}

float CQxPlugInParams::StoredToFloat(uint32_t index, double stored) const {
  const QxParamInfo& r = table_[index];
  float k = (r.mpdMaxValue - r.mpdMinValue) / static_cast<float>(r.RawMax - r.RawMin);
  return Clamp(index, k * static_cast<float>(stored));
}

float CQxPlugInParams::Clamp(uint32_t index, float v) const {
  const QxParamInfo& r = table_[index];
  if (v < r.mpdMinValue) return r.mpdMinValue;
  if (v > r.mpdMaxValue) return r.mpdMaxValue;
  return v;
}

static double ReadStored(const QxParamInfo& r, const void* p) {
  switch (r.StoreKind) {
    case QX_STORE_FLOAT: {
      float f;
      std::memcpy(&f, p, sizeof f);
      return f;
    }
    case QX_STORE_DOUBLE: {
      double d;
      std::memcpy(&d, p, sizeof d);
      return d;
    }
    default: {
      int32_t i;
      std::memcpy(&i, p, sizeof i);
      return i;
    }
  }
}

static void WriteStored(const QxParamInfo& r, void* p, double v) {
  switch (r.StoreKind) {
    case QX_STORE_FLOAT: {
      float f = static_cast<float>(v);
      std::memcpy(p, &f, sizeof f);
      break;
    }
    case QX_STORE_DOUBLE:
      std::memcpy(p, &v, sizeof v);
      break;
    default: {
      int32_t i = static_cast<int32_t>(v);
      std::memcpy(p, &i, sizeof i);
      break;
    }
  }
}

void CQxPlugInParams::GetAll(void* record) {
  auto* base = static_cast<BYTE*>(record);
  for (uint32_t i = 0; i < count_; ++i) GetStored(base + table_[i].RecordOffset, i);
}

HRESULT CQxPlugInParams::SetAll(const void* record, uint32_t count) {
  if (!record) return E_POINTER;
  if (count > count_) count = count_;
  const auto* base = static_cast<const BYTE*>(record);
  for (uint32_t i = 0; i < count; ++i) BeginGesture(i);
  for (uint32_t i = 0; i < count; ++i) SetStored(base + table_[i].RecordOffset, i);
  for (uint32_t i = 0; i < count; ++i) EndGesture(i);
  return S_OK;
}

HRESULT CQxPlugInParams::GetStored(void* value, uint32_t index) {
  if (!value) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  WriteStored(table_[index], value, FloatToStored(index, live_[index].Value));
  return S_OK;
}

HRESULT CQxPlugInParams::SetStored(const void* value, uint32_t index) {
  if (!value) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  float v = StoredToFloat(index, ReadStored(table_[index], value));
  if (v == live_[index].Value) return S_FALSE;
  live_[index].Value = v;
  return S_OK;
}

HRESULT CQxPlugInParams::GetNormal(float* result, uint32_t index) {
  if (!result) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  const QxParamInfo& r = table_[index];
  *result = (live_[index].Value - r.mpdMinValue) / (r.mpdMaxValue - r.mpdMinValue);
  return S_OK;
}

HRESULT CQxPlugInParams::SetNormal(float value, uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  const QxParamInfo& r = table_[index];
  live_[index].Value = (r.mpdMaxValue - r.mpdMinValue) * value + r.mpdMinValue;
  return S_OK;
}

float CQxPlugInParams::GetValue(uint32_t index) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return index < count_ ? live_[index].Value : 0.0f;
}

HRESULT CQxPlugInParams::BeginGesture(uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  live_[index].Capturing = true;
  return S_OK;
}

HRESULT CQxPlugInParams::EndGesture(uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (live_[index].Capturing) {
    live_[index].ForceUpdate = true;
    live_[index].Capturing = false;
  }
  return S_OK;
}

int CQxPlugInParams::IsIdle(uint32_t index) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (index >= count_) return 1;
  return Streaming && live_[index].MovedByAutomation ? 0 : 1;
}

HRESULT CQxPlugInParams::EnableCallback(uint32_t index, int flag) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  HRESULT hr = S_FALSE;
  for (uint32_t i = 0; i < count_; ++i) {
    if (index != kAllParams && i != index) continue;
    if (!flag) EndGesture(i);
    if (live_[i].CallbackMuted == (flag != 0)) {
      live_[i].CallbackMuted = !live_[i].CallbackMuted;
      hr = S_OK;
    }
  }
  return hr;
}

void CQxPlugInParams::ClearMoved() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  Streaming = false;
  for (auto& p : live_) p.MovedByAutomation = false;
}

uint32_t CQxPlugInParams::Advance(uint32_t frames, uint32_t* flags) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  uint32_t changed = 0;
  if (!HasEnvelopes()) {
    for (uint32_t i = 0; i < count_; ++i) {
      QxLiveParam& p = live_[i];
      p.MovedByAutomation = false;
      if (p.Slope != 0.0 || p.Curvature != 0.0) {
        p.Slope = p.Curvature = 0.0;
        changed |= table_[i].ChangeMask;
      }
    }
    CurrentTime += std::llround(frames * HundredNsPerSample);
    if (flags) *flags |= changed;
    return frames;
  }
  return frames;
}
