// CTransformFilter and its pins: connection checks go through the filter's type virtuals, state
// changes start and stop streaming, and the base Receive copies a sample through Transform.
#include "platform/mediagraph/transform_filter.h"

#include <new>

// ---------------------------------------------------------------------------------------------
// CTransformInputPin

CTransformInputPin::CTransformInputPin(const char* objectName, CTransformFilter* filter, HRESULT* hr,
                                       LPCWSTR pinName)
    : CBaseInputPin(objectName, filter, &filter->m_csFilter, hr, pinName), m_pTransformFilter(filter) {}

HRESULT CTransformInputPin::CheckConnect(IPin* pin) {
  HRESULT hr = m_pTransformFilter->CheckConnect(PINDIR_INPUT, pin);
  if (FAILED(hr)) return hr;
  return CBaseInputPin::CheckConnect(pin);
}

HRESULT CTransformInputPin::BreakConnect() {
  m_pTransformFilter->BreakConnect(PINDIR_INPUT);
  return CBaseInputPin::BreakConnect();
}

HRESULT CTransformInputPin::CompleteConnect(IPin* receivePin) {
  HRESULT hr = m_pTransformFilter->CompleteConnect(PINDIR_INPUT, receivePin);
  if (FAILED(hr)) return hr;
  return CBaseInputPin::CompleteConnect(receivePin);
}

HRESULT CTransformInputPin::CheckMediaType(const CMediaType* mt) {
  HRESULT hr = m_pTransformFilter->CheckInputType(mt);
  if (hr != S_OK) return hr;
  CTransformOutputPin* out = m_pTransformFilter->m_pOutput;
  if (out && out->IsConnected()) return m_pTransformFilter->CheckTransform(mt, &out->CurrentMediaType());
  return S_OK;
}

HRESULT CTransformInputPin::SetMediaType(const CMediaType* mt) {
  HRESULT hr = CBasePin::SetMediaType(mt);
  if (FAILED(hr)) return hr;
  return m_pTransformFilter->SetMediaType(PINDIR_INPUT, mt);
}

HRESULT CTransformInputPin::Receive(IMediaSample* sample) {
  CAutoLock lock(&m_pTransformFilter->m_csReceive);
  HRESULT hr = CBaseInputPin::Receive(sample);
  if (hr == S_OK) hr = m_pTransformFilter->Receive(sample);
  return hr;
}

HRESULT CTransformInputPin::EndOfStream() {
  CAutoLock lock(&m_pTransformFilter->m_csReceive);
  HRESULT hr = CheckStreaming();
  if (hr == S_OK) hr = m_pTransformFilter->EndOfStream();
  return hr;
}

HRESULT CTransformInputPin::BeginFlush() {
  CAutoLock lock(&m_pTransformFilter->m_csFilter);
  CTransformOutputPin* out = m_pTransformFilter->m_pOutput;
  if (!IsConnected() || !out || !out->IsConnected()) return VFW_E_NOT_CONNECTED;
  HRESULT hr = CBaseInputPin::BeginFlush();
  if (FAILED(hr)) return hr;
  return m_pTransformFilter->BeginFlush();
}

HRESULT CTransformInputPin::EndFlush() {
  CAutoLock lock(&m_pTransformFilter->m_csFilter);
  CTransformOutputPin* out = m_pTransformFilter->m_pOutput;
  if (!IsConnected() || !out || !out->IsConnected()) return VFW_E_NOT_CONNECTED;
  HRESULT hr = m_pTransformFilter->EndFlush();
  if (FAILED(hr)) return hr;
  return CBaseInputPin::EndFlush();
}

HRESULT CTransformInputPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  CBasePin::NewSegment(start, stop, rate);
  return m_pTransformFilter->NewSegment(start, stop, rate);
}

HRESULT CTransformInputPin::CheckStreaming() {
  CTransformOutputPin* out = m_pTransformFilter->m_pOutput;
  if (!out || !out->IsConnected()) return VFW_E_NOT_CONNECTED;
  return CBaseInputPin::CheckStreaming();
}

// ---------------------------------------------------------------------------------------------
// CTransformOutputPin

CTransformOutputPin::CTransformOutputPin(const char* objectName, CTransformFilter* filter, HRESULT* hr,
                                         LPCWSTR pinName)
    : CBaseOutputPin(objectName, filter, &filter->m_csFilter, hr, pinName), m_pTransformFilter(filter) {}

HRESULT CTransformOutputPin::CheckConnect(IPin* pin) {
  HRESULT hr = m_pTransformFilter->CheckConnect(PINDIR_OUTPUT, pin);
  if (FAILED(hr)) return hr;
  return CBaseOutputPin::CheckConnect(pin);
}

HRESULT CTransformOutputPin::BreakConnect() {
  m_pTransformFilter->BreakConnect(PINDIR_OUTPUT);
  return CBaseOutputPin::BreakConnect();
}

HRESULT CTransformOutputPin::CompleteConnect(IPin* receivePin) {
  HRESULT hr = m_pTransformFilter->CompleteConnect(PINDIR_OUTPUT, receivePin);
  if (FAILED(hr)) return hr;
  return CBaseOutputPin::CompleteConnect(receivePin);
}

HRESULT CTransformOutputPin::CheckMediaType(const CMediaType* mt) {
  CTransformInputPin* in = m_pTransformFilter->m_pInput;
  if (!in || !in->IsConnected()) return E_INVALIDARG;
  return m_pTransformFilter->CheckTransform(&in->CurrentMediaType(), mt);
}

HRESULT CTransformOutputPin::SetMediaType(const CMediaType* mt) {
  HRESULT hr = CBasePin::SetMediaType(mt);
  if (FAILED(hr)) return hr;
  return m_pTransformFilter->SetMediaType(PINDIR_OUTPUT, mt);
}

HRESULT CTransformOutputPin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) {
  return m_pTransformFilter->DecideBufferSize(allocator, props);
}

HRESULT CTransformOutputPin::GetMediaType(int position, CMediaType* mt) {
  CTransformInputPin* in = m_pTransformFilter->m_pInput;
  if (!in || !in->IsConnected()) return VFW_S_NO_MORE_ITEMS;
  return m_pTransformFilter->GetMediaType(position, mt);
}

// ---------------------------------------------------------------------------------------------
// CTransformFilter

CTransformFilter::CTransformFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid)
    : CBaseFilter(name, outer, &m_csFilter, clsid) {}

CTransformFilter::~CTransformFilter() {
  delete m_pInput;
  delete m_pOutput;
}

int CTransformFilter::GetPinCount() { return 2; }

CBasePin* CTransformFilter::GetPin(int n) {
  if (!m_pInput) {
    HRESULT hr = S_OK;
    m_pInput = new (std::nothrow) CTransformInputPin("Transform input pin", this, &hr, u"Input");
    if (!m_pInput) return nullptr;
    m_pOutput = new (std::nothrow) CTransformOutputPin("Transform output pin", this, &hr, u"Output");
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

HRESULT CTransformFilter::Stop() {
  CAutoLock lock(&m_csFilter);
  if (m_State == State_Stopped) return S_OK;
  if (!m_pInput || !m_pInput->IsConnected() || !m_pOutput || !m_pOutput->IsConnected()) {
    m_State = State_Stopped;
    m_bEOSDelivered = false;
    return S_OK;
  }
  // Decommitting the input first releases a streaming thread blocked on a buffer, so the receive
  // lock can then be taken.
  m_pInput->Inactive();
  CAutoLock lockReceive(&m_csReceive);
  m_pOutput->Inactive();
  HRESULT hr = StopStreaming();
  if (SUCCEEDED(hr)) {
    m_State = State_Stopped;
    m_bEOSDelivered = false;
  }
  return hr;
}

HRESULT CTransformFilter::Pause() {
  CAutoLock lock(&m_csFilter);
  HRESULT hr = S_OK;
  if (m_State == State_Paused) {
    // already there
  } else if (!m_pInput || !m_pInput->IsConnected()) {
    // Nothing can ever arrive: tell downstream at once so it does not wait.
    if (m_pOutput && m_pOutput->IsConnected() && !m_bEOSDelivered) {
      m_pOutput->DeliverEndOfStream();
      m_bEOSDelivered = true;
    }
    m_State = State_Paused;
  } else if (!m_pOutput || !m_pOutput->IsConnected()) {
    m_State = State_Paused;
  } else {
    if (m_State == State_Stopped) {
      CAutoLock lockReceive(&m_csReceive);
      hr = StartStreaming();
    }
    if (SUCCEEDED(hr)) hr = CBaseFilter::Pause();
  }
  m_bSampleSkipped = false;
  m_bQualityChanged = false;
  return hr;
}

HRESULT CTransformFilter::Transform(IMediaSample*, IMediaSample*) { return E_UNEXPECTED; }
HRESULT CTransformFilter::StartStreaming() { return S_OK; }
HRESULT CTransformFilter::StopStreaming() { return S_OK; }
HRESULT CTransformFilter::SetMediaType(PIN_DIRECTION, const CMediaType*) { return S_OK; }
HRESULT CTransformFilter::CheckConnect(PIN_DIRECTION, IPin*) { return S_OK; }
HRESULT CTransformFilter::BreakConnect(PIN_DIRECTION) { return S_OK; }
HRESULT CTransformFilter::CompleteConnect(PIN_DIRECTION, IPin*) { return S_OK; }

HRESULT CTransformFilter::InitializeOutputSample(IMediaSample* sample, IMediaSample** outSample) {
  *outSample = nullptr;
  DWORD flags = 0;
  if (m_bSampleSkipped) flags |= AM_GBF_PREVFRAMESKIPPED;
  if (sample->IsSyncPoint() != S_OK) flags |= AM_GBF_NOTASYNCPOINT;
  REFERENCE_TIME start = 0, stop = 0;
  HRESULT timeHr = sample->GetTime(&start, &stop);
  bool hasTime = SUCCEEDED(timeHr);
  IMediaSample* out = nullptr;
  HRESULT hr = m_pOutput->GetDeliveryBuffer(&out, hasTime ? &start : nullptr, hasTime ? &stop : nullptr, flags);
  if (FAILED(hr)) return hr;
  if (hasTime) out->SetTime(&start, timeHr == VFW_S_NO_STOP_TIME ? nullptr : &stop);
  out->SetSyncPoint(sample->IsSyncPoint() == S_OK);
  out->SetDiscontinuity(sample->IsDiscontinuity() == S_OK || m_bSampleSkipped);
  out->SetPreroll(sample->IsPreroll() == S_OK);
  LONGLONG mStart = 0, mStop = 0;
  if (SUCCEEDED(sample->GetMediaTime(&mStart, &mStop))) out->SetMediaTime(&mStart, &mStop);
  *outSample = out;
  return S_OK;
}

HRESULT CTransformFilter::Receive(IMediaSample* sample) {
  if (!m_pOutput || !m_pOutput->IsConnected()) return VFW_E_NOT_CONNECTED;
  IMediaSample* out = nullptr;
  HRESULT hr = InitializeOutputSample(sample, &out);
  if (FAILED(hr)) return hr;
  hr = Transform(sample, out);
  if (hr == S_OK) {
    hr = m_pOutput->Deliver(out);
    m_bSampleSkipped = false;
  } else if (hr == S_FALSE) {
    m_bSampleSkipped = true;
    hr = S_OK;
  }
  out->Release();
  return hr;
}

HRESULT CTransformFilter::EndOfStream() {
  if (!m_pOutput) return S_OK;
  return m_pOutput->DeliverEndOfStream();
}

HRESULT CTransformFilter::BeginFlush() {
  if (!m_pOutput) return S_OK;
  return m_pOutput->DeliverBeginFlush();
}

HRESULT CTransformFilter::EndFlush() {
  if (!m_pOutput) return S_OK;
  return m_pOutput->DeliverEndFlush();
}

HRESULT CTransformFilter::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  if (!m_pOutput) return S_OK;
  return m_pOutput->DeliverNewSegment(start, stop, rate);
}
