// Time Stretch filter object: its names and pins, the hooks into the splice engine, and the
// persistent record load. The copy-transform plumbing is CQxCopyEffectFilter's.
#include "aplugins/qxppack1/pitchtime/time_filter.h"

#include <atomic>
#include <cstring>
#include <new>
#include <vector>

#include "platform/com/stream.h"

namespace {
std::atomic<uint32_t> g_timeInstances{0};
}  // namespace

CQxTimeInputPin::CQxTimeInputPin(const char* objectName, CQxTime* filter, HRESULT* hr, LPCWSTR pinName)
    : CQxCopyEffectInputPin(objectName, filter, hr, pinName) {}

CUnknown* CQxTime::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxTime(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

CQxTime::CQxTime(LPUNKNOWN outer, HRESULT*)
    : CQxCopyEffectFilter("Time Stretch", outer, CLSID_QxTime, "time output pin", ++g_timeInstances) {
  LoadPreset(0);
}

HRESULT CQxTime::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxTimeProp) return GetInterface(static_cast<IQxTimeProp*>(this), ppv);
  return CQxCopyEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

CTransformInputPin* CQxTime::MakeInputPin(HRESULT* hr) {
  return new (std::nothrow) CQxTimeInputPin("time input pin", this, hr, u"Input");
}

HRESULT CQxTime::LoadRecord(IStream* stream, const BYTE* header) {
  constexpr ULONG kHeader = QX_PERSIST_HEADER;
  BYTE blob[kHeader + sizeof(TimeParams)] = {};
  std::memcpy(blob, header, kHeader);
  ULONG got = 0;
  HRESULT read = stream->Read(blob + kHeader, sizeof(TimeParams), &got);
  if (FAILED(read)) got = 0;
  // The frame applies the record (with the older form's scaling) only when it is whole, and posts
  // the change either way.
  CMemoryStream* copy = CMemoryStream::Create(std::vector<BYTE>(blob, blob + kHeader + got));
  if (!copy) return E_OUTOFMEMORY;
  CQxPersistFrame::Load(copy);
  copy->Release();
  if (FAILED(read)) return read;
  return got == sizeof(TimeParams) ? S_OK : E_FAIL;
}
