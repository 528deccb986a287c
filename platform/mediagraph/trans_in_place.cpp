// CTransInPlaceFilter and its pins: the output repeats the input's type, samples pass through
// Transform unchanged in identity, and the output allocator is sized like the input's.
#include "platform/mediagraph/trans_in_place.h"

#include <algorithm>
#include <new>

// ---------------------------------------------------------------------------------------------
// CTransInPlaceInputPin

CTransInPlaceInputPin::CTransInPlaceInputPin(const char* objectName, CTransInPlaceFilter* filter, HRESULT* hr,
                                             LPCWSTR pinName)
    : CTransformInputPin(objectName, filter, hr, pinName), m_pTIPFilter(filter) {}

HRESULT CTransInPlaceInputPin::CheckMediaType(const CMediaType* mt) {
  HRESULT hr = m_pTIPFilter->CheckInputType(mt);
  if (hr != S_OK) return hr;
  CTransformOutputPin* out = m_pTIPFilter->m_pOutput;
  if (out && out->IsConnected()) {
    if (!(*mt == out->CurrentMediaType())) return VFW_E_TYPE_NOT_ACCEPTED;
    return out->GetConnected()->QueryAccept(mt);
  }
  return S_OK;
}

HRESULT CTransInPlaceInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* props) {
  if (!props) return E_POINTER;
  CTransformOutputPin* out = m_pTIPFilter->m_pOutput;
  if (out && out->PeekInputPin()) return out->PeekInputPin()->GetAllocatorRequirements(props);
  return E_NOTIMPL;
}

HRESULT CTransInPlaceInputPin::NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) {
  HRESULT hr = CTransformInputPin::NotifyAllocator(allocator, readOnly);
  if (FAILED(hr)) return hr;
  CTransformOutputPin* out = m_pTIPFilter->m_pOutput;
  if (out && out->IsConnected()) return m_pTIPFilter->OutputPin()->RenegotiateAllocator();
  return S_OK;
}

// ---------------------------------------------------------------------------------------------
// CTransInPlaceOutputPin

CTransInPlaceOutputPin::CTransInPlaceOutputPin(const char* objectName, CTransInPlaceFilter* filter,
                                               HRESULT* hr, LPCWSTR pinName)
    : CTransformOutputPin(objectName, filter, hr, pinName), m_pTIPFilter(filter) {}

HRESULT CTransInPlaceOutputPin::CheckMediaType(const CMediaType* mt) {
  CTransformInputPin* in = m_pTIPFilter->m_pInput;
  if (in && in->IsConnected()) {
    if (!(*mt == in->CurrentMediaType())) return VFW_E_TYPE_NOT_ACCEPTED;
    return m_pTIPFilter->CheckTransform(&in->CurrentMediaType(), mt);
  }
  return m_pTIPFilter->CheckInputType(mt);
}

HRESULT CTransInPlaceOutputPin::GetMediaType(int position, CMediaType* mt) {
  if (position < 0) return E_INVALIDARG;
  CTransformInputPin* in = m_pTIPFilter->m_pInput;
  if (!in || !in->IsConnected() || position > 0) return VFW_S_NO_MORE_ITEMS;
  *mt = in->CurrentMediaType();
  return S_OK;
}

HRESULT CTransInPlaceOutputPin::RenegotiateAllocator() {
  if (!IsConnected() || !m_pInputPin) return S_FALSE;
  if (!IsStopped()) return VFW_E_NOT_STOPPED;
  return DecideAllocator(m_pInputPin, &m_pAllocator);
}

// ---------------------------------------------------------------------------------------------
// CTransInPlaceFilter

CTransInPlaceFilter::CTransInPlaceFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT*,
                                         bool modifiesData)
    : CTransformFilter(name, outer, clsid), m_bModifiesData(modifiesData) {}

CBasePin* CTransInPlaceFilter::GetPin(int n) {
  if (!m_pInput) {
    HRESULT hr = S_OK;
    m_pInput = new (std::nothrow) CTransInPlaceInputPin("TransInPlace input pin", this, &hr, u"Input");
    if (!m_pInput) return nullptr;
    m_pOutput = new (std::nothrow) CTransInPlaceOutputPin("TransInPlace output pin", this, &hr, u"Output");
    if (!m_pOutput) {
      delete m_pInput;
      m_pInput = nullptr;
      return nullptr;
    }
  }
  if (n == 0) return m_pInput;
  if (n == 1) return m_pOutput;
  return nullptr;
}

HRESULT CTransInPlaceFilter::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) {
  if (!allocator || !props) return E_POINTER;
  ALLOCATOR_PROPERTIES request = *props;
  ALLOCATOR_PROPERTIES in{};
  IMemAllocator* upstream = m_pInput ? m_pInput->PeekAllocator() : nullptr;
  if (upstream && SUCCEEDED(upstream->GetProperties(&in))) {
    request.cBuffers = std::max(request.cBuffers, in.cBuffers);
    request.cbBuffer = std::max(request.cbBuffer, in.cbBuffer);
    request.cbAlign = std::max(request.cbAlign, in.cbAlign);
    request.cbPrefix = std::max(request.cbPrefix, in.cbPrefix);
  }
  request.cBuffers = std::max<LONG>(request.cBuffers, 1);
  request.cbBuffer = std::max<LONG>(request.cbBuffer, 1);
  request.cbAlign = std::max<LONG>(request.cbAlign, 1);
  ALLOCATOR_PROPERTIES actual{};
  HRESULT hr = allocator->SetProperties(&request, &actual);
  if (FAILED(hr)) return hr;
  if (actual.cBuffers < 1 || actual.cbBuffer < request.cbBuffer) return E_FAIL;
  return S_OK;
}

HRESULT CTransInPlaceFilter::Receive(IMediaSample* sample) {
  HRESULT hr = Transform(sample);
  if (FAILED(hr)) return hr;
  if (hr == S_OK) {
    m_bSampleSkipped = false;
    return m_pOutput->Deliver(sample);
  }
  m_bSampleSkipped = true;
  return S_OK;
}
