// Parameter store: stored/float mapping through zero, whole-record transfer, gestures and the UI
// callback, envelopes, and the per-step advance of the stream clock.
#include "aplugins/qxppack1/frame/plugin_params.h"

#include <cmath>
#include <cstring>
#include <new>

#include "kernel/services/qx_lang.h"
#include "platform/com/task_mem.h"

namespace {
float ScaleToStored(const QxParamInfo& r) {
  return static_cast<float>(r.RawMax - r.RawMin) / (r.Info.mpdMaxValue - r.Info.mpdMinValue);
}

double ReadStored(const QxParamInfo& r, const void* p) {
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

void WriteStored(const QxParamInfo& r, void* p, double v) {
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

size_t Length(const WCHAR* s) {
  size_t n = 0;
  while (s && s[n]) ++n;
  return n;
}

const WCHAR kEmpty[] = u"";
}  // namespace

CQxPlugInParams::CQxPlugInParams(QxParamInfo* table, uint32_t count) : table_(table), count_(count) {
  try {
    live_.resize(count);
  } catch (const std::bad_alloc&) {
    return;  // Initialised stays clear
  }
  for (uint32_t i = 0; i < count; ++i) live_[i].Value = table[i].Info.mpdNeutralValue;
  initialised_ = true;
}

CQxPlugInParams::~CQxPlugInParams() {
  if (callback_) callback_->Release();
}

bool CQxPlugInParams::QueryParams(REFIID riid, void** ppv) {
  if (riid == IID_IMediaParamInfo) return GetInterface(static_cast<IMediaParamInfo*>(this), ppv) == S_OK;
  if (riid == IID_IMediaParams) return GetInterface(static_cast<IMediaParams*>(this), ppv) == S_OK;
  if (riid == IID_IMediaParamsSetUICallback)
    return GetInterface(static_cast<IMediaParamsSetUICallback*>(this), ppv) == S_OK;
  return false;
}

// ---- stored and float values ----

double CQxPlugInParams::FloatToStored(uint32_t index, float value) const {
  const QxParamInfo& r = table_[index];
  float scaled = ScaleToStored(r) * value;
  if (r.StoreKind == QX_STORE_FLOAT || r.StoreKind == QX_STORE_DOUBLE) return scaled;
  return value > 0 ? std::trunc(scaled + 0.5) : std::trunc(scaled - 0.5);
}

float CQxPlugInParams::StoredToFloat(uint32_t index, double stored) const {
  const QxParamInfo& r = table_[index];
  float k = (r.Info.mpdMaxValue - r.Info.mpdMinValue) / static_cast<float>(r.RawMax - r.RawMin);
  return Clamp(index, k * static_cast<float>(stored));
}

float CQxPlugInParams::Clamp(uint32_t index, float v) const {
  const MP_PARAMINFO& r = table_[index].Info;
  if (v < r.mpdMinValue) return r.mpdMinValue;
  if (v > r.mpdMaxValue) return r.mpdMaxValue;
  return v;
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
  bool capturing;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    float v = StoredToFloat(index, ReadStored(table_[index], value));
    if (v == live_[index].Value) return S_FALSE;
    live_[index].Value = v;
    capturing = live_[index].Capturing;
  }
  if (capturing)
    Tell(index, {NOTE_CHANGED});
  else
    Tell(index, {NOTE_BEGIN, NOTE_CHANGED, NOTE_END});
  return S_OK;
}

HRESULT CQxPlugInParams::GetNormal(float* result, uint32_t index) {
  if (!result) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  const MP_PARAMINFO& r = table_[index].Info;
  *result = (live_[index].Value - r.mpdMinValue) / (r.mpdMaxValue - r.mpdMinValue);
  return S_OK;
}

HRESULT CQxPlugInParams::SetNormal(float value, uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  const MP_PARAMINFO& r = table_[index].Info;
  live_[index].Value = (r.mpdMaxValue - r.mpdMinValue) * value + r.mpdMinValue;
  return S_OK;
}

QxLiveParam CQxPlugInParams::LiveCopy(uint32_t index) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return live_.at(index);
}

// ---- gestures and the UI callback ----

void CQxPlugInParams::Tell(uint32_t index, std::initializer_list<Note> notes) {
  IMediaParamsUICallback* cb;
  MP_DATA value;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    if (!callback_ || live_[index].CallbackMuted) return;
    cb = callback_;
    cb->AddRef();
    value = live_[index].Value;
  }
  DWORD i = index;
  for (Note n : notes) {
    if (n == NOTE_BEGIN) cb->ParamsBeginCapture(1, &i);
    if (n == NOTE_CHANGED) cb->ParamsChanged(1, &i, &value);
    if (n == NOTE_END) cb->ParamsEndCapture(1, &i);
  }
  cb->Release();
}

HRESULT CQxPlugInParams::BeginGesture(uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    if (live_[index].Capturing) return S_OK;
    live_[index].Capturing = true;
  }
  Tell(index, {NOTE_BEGIN});
  return S_OK;
}

HRESULT CQxPlugInParams::EndGesture(uint32_t index) {
  if (index >= count_) return E_INVALIDARG;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    if (!live_[index].Capturing) return S_OK;
    live_[index].ForceUpdate = true;
    live_[index].Capturing = false;
  }
  Tell(index, {NOTE_END});
  return S_OK;
}

int CQxPlugInParams::IsIdle(uint32_t index) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (index >= count_) return 1;
  return Streaming && live_[index].MovedByAutomation ? 0 : 1;
}

HRESULT CQxPlugInParams::EnableCallback(uint32_t index, int flag) {
  HRESULT hr = S_FALSE;
  for (uint32_t i = 0; i < count_; ++i) {
    if (index != DWORD_ALLPARAMS && i != index) continue;
    if (!flag) EndGesture(i);
    std::lock_guard<std::recursive_mutex> g(lock_);
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

HRESULT CQxPlugInParams::SetUICallback(IMediaParamsUICallback* callback) {
  if (callback) callback->AddRef();
  IMediaParamsUICallback* old;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    old = callback_;
    callback_ = callback;
  }
  if (old) old->Release();
  return S_OK;
}

// ---- IMediaParamInfo ----

const WCHAR* CQxPlugInParams::LabelText(uint32_t index) const {
  const QxParamInfo& r = table_[index];
  if (!r.UseCatalogue) return r.Info.szLabel;
  return r.LabelId < 0 ? kEmpty : QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(r.LabelId));
}

const WCHAR* CQxPlugInParams::UnitText(uint32_t index) const {
  const QxParamInfo& r = table_[index];
  if (!r.UseCatalogue) return r.Info.szUnitText;
  return r.UnitId < 0 ? kEmpty : QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(r.UnitId));
}

const WCHAR* CQxPlugInParams::EnumTextOf(uint32_t index) const {
  const QxParamInfo& r = table_[index];
  if (!r.UseCatalogue) return r.EnumText ? r.EnumText : kEmpty;
  return r.EnumId < 0 ? kEmpty : QxGetString(QxLang_GetKernelHandle(), static_cast<UINT>(r.EnumId));
}

HRESULT CQxPlugInParams::GetParamCount(DWORD* count) {
  if (!count) return E_POINTER;
  *count = count_;
  return S_OK;
}

HRESULT CQxPlugInParams::GetParamInfo(DWORD index, MP_PARAMINFO* info) {
  if (!info) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  if (table_[index].Hidden) return S_FALSE;
  MP_PARAMINFO out = table_[index].Info;
  if (table_[index].UseCatalogue) {
    auto copy = [](WCHAR* dst, const WCHAR* src) {
      size_t n = std::min<size_t>(Length(src), 31);
      std::memcpy(dst, src, n * sizeof(WCHAR));
      dst[n] = 0;
    };
    copy(out.szLabel, LabelText(index));
    copy(out.szUnitText, UnitText(index));
  }
  *info = out;
  return S_OK;
}

HRESULT CQxPlugInParams::GetParamText(DWORD index, WCHAR** text) {
  if (!text) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  const WCHAR* label = LabelText(index);
  const WCHAR* unit = UnitText(index);
  const WCHAR* names = EnumTextOf(index);
  size_t nl = Length(label), nu = Length(unit), ne = Length(names);
  size_t total = nl + 1 + nu + 1 + (ne ? ne + 1 : 0) + 1;
  auto* block = static_cast<WCHAR*>(CoTaskMemAlloc(total * sizeof(WCHAR)));
  if (!block) return E_OUTOFMEMORY;
  WCHAR* p = block;
  std::memcpy(p, label, nl * sizeof(WCHAR));
  p += nl;
  *p++ = 0;
  std::memcpy(p, unit, nu * sizeof(WCHAR));
  p += nu;
  *p++ = 0;
  if (ne) {
    for (size_t i = 0; i < ne; ++i) *p++ = names[i] == u',' ? 0 : names[i];
    *p++ = 0;
  }
  *p = 0;
  *text = block;
  return S_OK;
}

HRESULT CQxPlugInParams::GetNumTimeFormats(DWORD* count) {
  if (!count) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT CQxPlugInParams::GetSupportedTimeFormat(DWORD index, GUID* format) {
  if (!format) return E_POINTER;
  // Index 1 answers too, as hosts have always seen it.
  if (index > 1) return E_INVALIDARG;
  *format = GUID_TIME_REFERENCE;
  return S_OK;
}

HRESULT CQxPlugInParams::GetCurrentTimeFormat(GUID* format, MP_TIMEDATA* data) {
  if (!format || !data) return E_POINTER;
  std::lock_guard<std::recursive_mutex> g(lock_);
  *format = timeFormat_;
  *data = timeData_;
  return S_OK;
}

// ---- IMediaParams ----

HRESULT CQxPlugInParams::GetParam(DWORD index, MP_DATA* value) {
  if (!value) return E_POINTER;
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  *value = live_[index].Value;
  return S_OK;
}

HRESULT CQxPlugInParams::SetParam(DWORD index, MP_DATA value) {
  if (index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  QxLiveParam& p = live_[index];
  // Automation wins while playing.
  if (Streaming && p.MovedByAutomation) return S_FALSE;
  const MP_PARAMINFO& r = table_[index].Info;
  if (!(value >= r.mpdMinValue && value <= r.mpdMaxValue)) return E_INVALIDARG;
  if (value == p.Value) return S_FALSE;
  p.Value = value;
  return S_OK;
}

HRESULT CQxPlugInParams::AddEnvelope(DWORD index, DWORD count, MP_ENVELOPE_SEGMENT* segments) {
  if (!segments) return E_POINTER;
  // The all-parameters index is refused here, unlike FlushEnvelope.
  if (index >= count_ || count == 0) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  QxList<QxSegment>& list = live_[index].Segments;
  for (DWORD n = 0; n < count; ++n) {
    const MP_ENVELOPE_SEGMENT& s = segments[n];
    for (uint32_t i = list.Count(); i-- > 0;) {
      const MP_ENVELOPE_SEGMENT& old = list.At(i).Seg;
      if (s.rtStart < old.rtEnd && old.rtStart < s.rtEnd) {
        HRESULT hr = list.Delete(i);
        if (FAILED(hr)) return hr;
      }
    }
  }
  for (DWORD n = 0; n < count; ++n) {
    uint32_t at = 0;
    while (at < list.Count() && list.At(at).Seg.rtStart < segments[n].rtStart) ++at;
    HRESULT hr = list.Insert(at, QxSegment{segments[n], 0});
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

HRESULT CQxPlugInParams::FlushEnvelope(DWORD index, REFERENCE_TIME start, REFERENCE_TIME end) {
  // An index past the table is refused rather than read out of bounds.
  if (index != DWORD_ALLPARAMS && index >= count_) return E_INVALIDARG;
  std::lock_guard<std::recursive_mutex> g(lock_);
  for (uint32_t p = 0; p < count_; ++p) {
    if (index != DWORD_ALLPARAMS && p != index) continue;
    QxList<QxSegment>& list = live_[p].Segments;
    for (uint32_t i = list.Count(); i-- > 0;) {
      const MP_ENVELOPE_SEGMENT& s = list.At(i).Seg;
      if (s.rtStart < end && start < s.rtEnd) list.Delete(i);
    }
    live_[p].SegmentCursor = 0;
  }
  return S_OK;
}

HRESULT CQxPlugInParams::SetTimeFormat(GUID format, MP_TIMEDATA data) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  // The test stands the other way round, as hosts have always seen it: the reference format is
  // refused and any other is taken.
  if (format == GUID_TIME_REFERENCE) return E_FAIL;
  timeFormat_ = format;
  timeData_ = 0;
  return S_OK;
}

// ---- the advance ----

bool CQxPlugInParams::AnyEnvelope() const {
  for (const QxLiveParam& p : live_)
    if (!p.Segments.Empty()) return true;
  return false;
}

bool CQxPlugInParams::Interpolate(QxLiveParam& p, int64_t now, QxSegment& seg, double rate) {
  const MP_ENVELOPE_SEGMENT& s = seg.Seg;
  const double t = static_cast<double>(now - s.rtStart) / static_cast<double>(s.rtEnd - s.rtStart);
  const double d = static_cast<double>(s.valEnd) - s.valStart;
  const double T = static_cast<double>(s.rtEnd - s.rtStart) / 10000000.0 * rate;
  switch (s.iCurve) {
    case MP_CURVE_LINEAR:
      p.Value = static_cast<float>(s.valStart + t * d);
      p.Slope = d / T;
      p.Curvature = 0.0;
      break;
    case MP_CURVE_SQUARE:
      p.Value = static_cast<float>(s.valStart + d * t * t);
      p.Slope = (1.0 / T + 2.0 * t) * d / T;
      p.Curvature = 2.0 * d / (T * T);
      break;
    case MP_CURVE_INVSQUARE: {
      const double t1 = t - 1.0, d1 = -d;
      p.Value = static_cast<float>(s.valEnd + d1 * t1 * t1);
      p.Slope = (1.0 / T + 2.0 * t1) * d1 / T;
      p.Curvature = 2.0 * d1 / (T * T);
      break;
    }
    default:
      p.Value = s.valStart;
      p.Slope = 0.0;
      p.Curvature = 0.0;
      break;
  }
  const bool changed = now == s.rtStart || !seg.Applied || p.Slope != 0.0 || p.Curvature != 0.0;
  seg.Applied = 1;
  return changed;
}

int CQxPlugInParams::Evaluate(QxLiveParam& p, int64_t now, int64_t* timeLeft) {
  if (p.Capturing) return EVAL_NOTHING;
  p.MovedByAutomation = false;
  int result = EVAL_NOTHING;
  QxList<QxSegment>& list = p.Segments;
  const int32_t n = static_cast<int32_t>(list.Count());
  if (n == 0) {
    if (p.Slope != 0.0 || p.Curvature != 0.0) {
      p.Slope = p.Curvature = 0.0;
      result |= EVAL_CHANGED;
    }
  } else {
    if (p.SegmentCursor >= n) p.SegmentCursor = 0;
    int32_t i = p.SegmentCursor;
    bool forward = true, ranOffEnd = false;
    for (;;) {
      if (i >= n) {
        ranOffEnd = true;
        break;
      }
      if (i < 0) break;
      QxSegment& seg = list.At(static_cast<uint32_t>(i));
      if (seg.Seg.rtStart <= now && now < seg.Seg.rtEnd) {
        p.SegmentCursor = i;
        p.MovedByAutomation = true;
        *timeLeft = seg.Seg.rtEnd - now;
        result |= EVAL_INSIDE;
        if (Interpolate(p, now, seg)) result |= EVAL_CHANGED;
        break;
      }
      if (forward) {
        if (seg.Seg.rtStart > now) {
          forward = false;
          --i;
        } else {
          ++i;
        }
      } else {
        if (seg.Seg.rtEnd < now) break;
        --i;
      }
    }
    if (ranOffEnd) {
      p.Slope = p.Curvature = 0.0;
      if (list.At(static_cast<uint32_t>(n - 1)).Seg.rtEnd == now) result |= EVAL_CHANGED;
    }
  }
  if (p.ForceUpdate) {
    p.ForceUpdate = false;
    result |= EVAL_CHANGED;
  }
  return result;
}

uint32_t CQxPlugInParams::Advance(uint32_t frames, uint32_t* flags) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  uint32_t changed = 0;
  if (!AnyEnvelope()) {
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
  int64_t span = std::llround(frames * HundredNsPerSample);
  for (uint32_t i = 0; i < count_; ++i) {
    int64_t left = span;
    int r = Evaluate(live_[i], CurrentTime, &left);
    if ((r & EVAL_INSIDE) && left < span) span = left;
    if (r & EVAL_CHANGED) changed |= table_[i].ChangeMask;
  }
  if (span > MaxStep) span = MaxStep;
  const int64_t oneSample = std::llround(HundredNsPerSample);
  if (span < oneSample) span = oneSample;
  CurrentTime += span;
  if (flags) *flags |= changed;
  return static_cast<uint32_t>(std::llround(span * SamplesPerHundredNs));
}
