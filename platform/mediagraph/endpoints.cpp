// CPushSource, CSinkFilter and CCollectSink: the hand-driven ends of a graph.
// They keep no thread of their own; everything runs on the caller's.
#include "platform/mediagraph/endpoints.h"

#include <algorithm>
#include <cstring>
#include <new>

CPushSourcePin::CPushSourcePin(CPushSource* filter, CCritSec* lock, HRESULT* hr)
    : CBaseOutputPin("Push source pin", filter, lock, hr, u"Output"), m_pSource(filter) {}

HRESULT CPushSourcePin::CheckMediaType(const CMediaType* mt) {
  return *mt == m_pSource->m_Type ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CPushSourcePin::GetMediaType(int position, CMediaType* mt) {
  if (position < 0) return E_INVALIDARG;
  if (position > 0) return VFW_S_NO_MORE_ITEMS;
  *mt = m_pSource->m_Type;
  return S_OK;
}

HRESULT CPushSourcePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) {
  ALLOCATOR_PROPERTIES request = *props;
  request.cBuffers = std::max(request.cBuffers, m_pSource->m_cBuffers);
  request.cbBuffer = std::max(request.cbBuffer, m_pSource->m_cbBuffer);
  request.cbAlign = std::max<LONG>(request.cbAlign, 1);
  ALLOCATOR_PROPERTIES actual{};
  HRESULT hr = allocator->SetProperties(&request, &actual);
  if (FAILED(hr)) return hr;
  return actual.cbBuffer >= m_pSource->m_cbBuffer && actual.cBuffers >= 1 ? S_OK : E_FAIL;
}

CPushSource::CPushSource(const char* name, const CMediaType& type, LONG bufferBytes, LONG buffers, HRESULT* hr)
    : CBaseFilter(name, nullptr, &m_Lock, CLSID_QxPushSource),
      m_Type(type),
      m_cbBuffer(std::max<LONG>(bufferBytes, 1)),
      m_cBuffers(std::max<LONG>(buffers, 1)),
      m_Pin(this, &m_Lock, hr) {}

CPushSource::~CPushSource() = default;

HRESULT CPushSource::Create(const CMediaType& type, LONG bufferBytes, LONG buffers, CPushSource** out) {
  if (!out) return E_POINTER;
  HRESULT hr = S_OK;
  auto* s = new (std::nothrow) CPushSource("Push source", type, bufferBytes, buffers, &hr);
  if (!s) return E_OUTOFMEMORY;
  s->NonDelegatingAddRef();
  *out = s;
  return hr;
}

HRESULT CPushSource::PushBytes(const void* data, LONG bytes, const REFERENCE_TIME* start,
                               const REFERENCE_TIME* stop, bool discontinuity, bool syncPoint) {
  IMediaSample* sample = nullptr;
  HRESULT hr = GetDeliveryBuffer(&sample);
  if (FAILED(hr)) return hr;
  BYTE* p = nullptr;
  sample->GetPointer(&p);
  if (bytes < 0 || bytes > sample->GetSize()) {
    sample->Release();
    return VFW_E_BUFFER_OVERFLOW;
  }
  if (bytes > 0 && data) std::memcpy(p, data, static_cast<size_t>(bytes));
  sample->SetActualDataLength(bytes);
  REFERENCE_TIME s = start ? *start : 0, e = stop ? *stop : 0;
  sample->SetTime(start ? &s : nullptr, stop ? &e : nullptr);
  sample->SetDiscontinuity(discontinuity);
  sample->SetSyncPoint(syncPoint);
  hr = Deliver(sample);
  sample->Release();
  return hr;
}

// ---------------------------------------------------------------------------------------------

CSinkInputPin::CSinkInputPin(CSinkFilter* filter, CCritSec* lock, HRESULT* hr)
    : CBaseInputPin("Sink input pin", filter, lock, hr, u"Input"), m_pSink(filter) {}

HRESULT CSinkInputPin::CheckMediaType(const CMediaType* mt) { return m_pSink->CheckMediaType(mt); }

HRESULT CSinkInputPin::Receive(IMediaSample* sample) {
  CAutoLock lock(&m_pSink->m_csReceive);
  HRESULT hr = CBaseInputPin::Receive(sample);
  if (hr != S_OK) return hr;
  return m_pSink->OnReceive(sample);
}

HRESULT CSinkInputPin::EndOfStream() {
  CAutoLock lock(&m_pSink->m_csReceive);
  HRESULT hr = CheckStreaming();
  if (hr != S_OK) return hr;
  return m_pSink->OnEndOfStream();
}

HRESULT CSinkInputPin::BeginFlush() { return CBaseInputPin::BeginFlush(); }
HRESULT CSinkInputPin::EndFlush() { return CBaseInputPin::EndFlush(); }

CSinkFilter::CSinkFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT* hr)
    : CBaseFilter(name, outer, &m_Lock, clsid), m_Pin(this, &m_Lock, hr) {}

CSinkFilter::~CSinkFilter() = default;

HRESULT CSinkFilter::CheckMediaType(const CMediaType* mt) {
  if (!(mt->majortype == MEDIATYPE_Audio) || !(mt->formattype == FORMAT_WaveFormatEx)) return VFW_E_TYPE_NOT_ACCEPTED;
  if (mt->FormatLength() < 16) return VFW_E_TYPE_NOT_ACCEPTED;
  return S_OK;
}

// ---------------------------------------------------------------------------------------------

CCollectSink::CCollectSink(HRESULT* hr) : CSinkFilter("Collect sink", nullptr, CLSID_QxSinkFilter, hr) {}

HRESULT CCollectSink::Create(CCollectSink** out) {
  if (!out) return E_POINTER;
  HRESULT hr = S_OK;
  auto* s = new (std::nothrow) CCollectSink(&hr);
  if (!s) return E_OUTOFMEMORY;
  s->NonDelegatingAddRef();
  *out = s;
  return hr;
}

HRESULT CCollectSink::OnReceive(IMediaSample* sample) {
  Record r{};
  r.identity = sample;
  r.length = sample->GetActualDataLength();
  r.size = sample->GetSize();
  r.timeResult = sample->GetTime(&r.start, &r.stop);
  r.discontinuity = sample->IsDiscontinuity() == S_OK;
  r.syncPoint = sample->IsSyncPoint() == S_OK;
  records.push_back(r);
  BYTE* p = nullptr;
  if (r.length > 0 && SUCCEEDED(sample->GetPointer(&p))) bytes.insert(bytes.end(), p, p + r.length);
  return receiveResult;
}

HRESULT CCollectSink::OnEndOfStream() {
  ++endOfStreamCount;
  return S_OK;
}
