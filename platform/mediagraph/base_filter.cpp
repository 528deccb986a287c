// The filter and pin base classes: state changes over the connected pins, the connection
// handshake between an output and an input pin, allocator negotiation and delivery.
#include "platform/mediagraph/base_filter.h"

#include <algorithm>
#include <cstring>

#include "platform/com/task_mem.h"

namespace {
void CopyName(WCHAR* dst, size_t cap, const std::u16string& src) {
  size_t n = std::min(src.size(), cap - 1);
  std::memcpy(dst, src.data(), n * sizeof(WCHAR));
  dst[n] = 0;
}
}  // namespace

// ---------------------------------------------------------------------------------------------
// CBaseFilter

CBaseFilter::CBaseFilter(const char* name, LPUNKNOWN outer, CCritSec* lock, REFCLSID clsid)
    : CUnknown(name, outer), m_clsid(clsid), m_pLock(lock) {}

CBaseFilter::CBaseFilter(const char* name, LPUNKNOWN outer, CCritSec* lock, REFCLSID clsid, HRESULT*)
    : CBaseFilter(name, outer, lock, clsid) {}

CBaseFilter::~CBaseFilter() {
  if (m_pClock) m_pClock->Release();
}

HRESULT CBaseFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IBaseFilter) return GetInterface(static_cast<IBaseFilter*>(this), ppv);
  if (riid == IID_IMediaFilter) return GetInterface(static_cast<IMediaFilter*>(this), ppv);
  if (riid == IID_IPersist) return GetInterface(static_cast<IPersist*>(this), ppv);
  if (riid == IID_IAMovieSetup) return GetInterface(static_cast<IAMovieSetup*>(this), ppv);
  return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseFilter::GetClassID(CLSID* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = m_clsid;
  return S_OK;
}

HRESULT CBaseFilter::Stop() {
  CAutoLock lock(m_pLock);
  HRESULT result = S_OK;
  if (m_State != State_Stopped) {
    int n = GetPinCount();
    for (int i = 0; i < n; ++i) {
      CBasePin* pin = GetPin(i);
      if (!pin || !pin->IsConnected()) continue;
      HRESULT hr = pin->Inactive();
      if (FAILED(hr) && SUCCEEDED(result)) result = hr;
    }
  }
  m_State = State_Stopped;
  return result;
}

HRESULT CBaseFilter::Pause() {
  CAutoLock lock(m_pLock);
  if (m_State == State_Stopped) {
    int n = GetPinCount();
    for (int i = 0; i < n; ++i) {
      CBasePin* pin = GetPin(i);
      if (!pin || !pin->IsConnected()) continue;
      HRESULT hr = pin->Active();
      if (FAILED(hr)) return hr;
    }
  }
  m_State = State_Paused;
  return S_OK;
}

HRESULT CBaseFilter::Run(REFERENCE_TIME start) {
  CAutoLock lock(m_pLock);
  m_tStart = start;
  if (m_State == State_Stopped) {
    HRESULT hr = Pause();
    if (FAILED(hr)) return hr;
  }
  if (m_State != State_Running) {
    int n = GetPinCount();
    for (int i = 0; i < n; ++i) {
      CBasePin* pin = GetPin(i);
      if (!pin || !pin->IsConnected()) continue;
      HRESULT hr = pin->Run(start);
      if (FAILED(hr)) return hr;
    }
  }
  m_State = State_Running;
  return S_OK;
}

HRESULT CBaseFilter::GetState(DWORD, FILTER_STATE* state) {
  if (!state) return E_POINTER;
  *state = m_State;
  return S_OK;
}

HRESULT CBaseFilter::SetSyncSource(IReferenceClock* clock) {
  CAutoLock lock(m_pLock);
  if (clock) clock->AddRef();
  if (m_pClock) m_pClock->Release();
  m_pClock = clock;
  return S_OK;
}

HRESULT CBaseFilter::GetSyncSource(IReferenceClock** clock) {
  if (!clock) return E_POINTER;
  CAutoLock lock(m_pLock);
  *clock = m_pClock;
  if (m_pClock) m_pClock->AddRef();
  return S_OK;
}

HRESULT CBaseFilter::EnumPins(IEnumPins** e) {
  if (e) *e = nullptr;
  return E_NOTIMPL;
}

HRESULT CBaseFilter::FindPin(LPCWSTR id, IPin** pin) {
  if (!id || !pin) return E_POINTER;
  *pin = nullptr;
  CAutoLock lock(m_pLock);
  int n = GetPinCount();
  for (int i = 0; i < n; ++i) {
    CBasePin* p = GetPin(i);
    if (p && std::u16string_view(p->Name()) == std::u16string_view(id)) {
      *pin = p;
      p->AddRef();
      return S_OK;
    }
  }
  return VFW_E_NOT_FOUND;
}

HRESULT CBaseFilter::QueryFilterInfo(FILTER_INFO* info) {
  if (!info) return E_POINTER;
  CopyName(info->achName, 128, m_pName);
  info->pGraph = m_pGraph;
  if (m_pGraph) m_pGraph->AddRef();
  return S_OK;
}

HRESULT CBaseFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
  CAutoLock lock(m_pLock);
  m_pGraph = graph;
  m_pName = (graph && name) ? std::u16string(name) : std::u16string();
  return S_OK;
}

HRESULT CBaseFilter::QueryVendorInfo(LPWSTR* info) {
  if (info) *info = nullptr;
  return E_NOTIMPL;
}

HRESULT CBaseFilter::Register() { return GetSetupData() ? S_OK : S_FALSE; }
HRESULT CBaseFilter::Unregister() { return GetSetupData() ? S_OK : S_FALSE; }

bool CBaseFilter::IsActive() {
  CAutoLock lock(m_pLock);
  return m_State != State_Stopped;
}

bool CBaseFilter::IsStopped() { return m_State == State_Stopped; }

// ---------------------------------------------------------------------------------------------
// CBasePin

CBasePin::CBasePin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT*, LPCWSTR pinName,
                   PIN_DIRECTION dir)
    : CUnknown(objectName, nullptr),
      m_pName(pinName ? pinName : u""),
      m_dir(dir),
      m_pLock(lock),
      m_pFilter(filter) {}

CBasePin::~CBasePin() {
  if (m_Connected) m_Connected->Release();
}

HRESULT CBasePin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IPin) return GetInterface(static_cast<IPin*>(this), ppv);
  return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

ULONG CBasePin::NonDelegatingAddRef() { return m_pFilter->AddRef(); }
ULONG CBasePin::NonDelegatingRelease() { return m_pFilter->Release(); }

HRESULT CBasePin::Connect(IPin* receivePin, const AM_MEDIA_TYPE* mt) {
  if (!receivePin) return E_POINTER;
  CAutoLock lock(m_pLock);
  if (m_Connected) return VFW_E_ALREADY_CONNECTED;
  if (!IsStopped()) return VFW_E_NOT_STOPPED;
  if (mt) {
    CMediaType cmt(*mt);
    return AgreeMediaType(receivePin, &cmt);
  }
  return AgreeMediaType(receivePin, nullptr);
}

HRESULT CBasePin::AgreeMediaType(IPin* receivePin, const CMediaType* mt) {
  if (mt && !mt->IsPartiallySpecified()) return AttemptConnection(receivePin, mt);
  HRESULT last = VFW_E_NO_ACCEPTABLE_TYPES;
  // Our own proposals first, then the receiver's, each filtered by the partial type.
  for (int i = 0;; ++i) {
    CMediaType candidate;
    HRESULT hr = GetMediaType(i, &candidate);
    if (hr != S_OK) break;
    if (mt && !candidate.MatchesPartial(mt)) continue;
    hr = AttemptConnection(receivePin, &candidate);
    if (SUCCEEDED(hr)) return hr;
    last = hr;
  }
  IEnumMediaTypes* e = nullptr;
  if (SUCCEEDED(receivePin->EnumMediaTypes(&e)) && e) {
    AM_MEDIA_TYPE* t = nullptr;
    ULONG got = 0;
    while (e->Next(1, &t, &got) == S_OK && got == 1) {
      CMediaType candidate(*t);
      DeleteMediaType(t);
      if (mt && !candidate.MatchesPartial(mt)) continue;
      HRESULT hr = AttemptConnection(receivePin, &candidate);
      if (SUCCEEDED(hr)) {
        e->Release();
        return hr;
      }
      last = hr;
    }
    e->Release();
  }
  return last;
}

HRESULT CBasePin::AttemptConnection(IPin* receivePin, const CMediaType* mt) {
  HRESULT hr = CheckConnect(receivePin);
  if (FAILED(hr)) {
    BreakConnect();
    return hr;
  }
  hr = CheckMediaType(mt);
  if (hr == S_OK) {
    m_Connected = receivePin;
    m_Connected->AddRef();
    hr = SetMediaType(mt);
    if (SUCCEEDED(hr)) {
      hr = receivePin->ReceiveConnection(this, mt);
      if (SUCCEEDED(hr)) {
        hr = CompleteConnect(receivePin);
        if (SUCCEEDED(hr)) return hr;
        receivePin->Disconnect();
      }
    }
  } else if (SUCCEEDED(hr) || hr == E_FAIL || hr == E_INVALIDARG) {
    hr = VFW_E_TYPE_NOT_ACCEPTED;
  }
  BreakConnect();
  if (m_Connected) {
    m_Connected->Release();
    m_Connected = nullptr;
  }
  m_mt = CMediaType();
  return hr;
}

HRESULT CBasePin::ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* mt) {
  if (!connector || !mt) return E_POINTER;
  CAutoLock lock(m_pLock);
  if (m_Connected) return VFW_E_ALREADY_CONNECTED;
  if (!IsStopped()) return VFW_E_NOT_STOPPED;
  HRESULT hr = CheckConnect(connector);
  if (FAILED(hr)) {
    BreakConnect();
    return hr;
  }
  CMediaType cmt(*mt);
  hr = CheckMediaType(&cmt);
  if (hr == S_OK) {
    m_Connected = connector;
    m_Connected->AddRef();
    hr = SetMediaType(&cmt);
    if (SUCCEEDED(hr)) {
      hr = CompleteConnect(connector);
      if (SUCCEEDED(hr)) return S_OK;
    }
    m_Connected->Release();
    m_Connected = nullptr;
  } else if (SUCCEEDED(hr)) {
    hr = VFW_E_TYPE_NOT_ACCEPTED;
  }
  BreakConnect();
  m_mt = CMediaType();
  return hr;
}

HRESULT CBasePin::Disconnect() {
  CAutoLock lock(m_pLock);
  if (!IsStopped()) return VFW_E_NOT_STOPPED;
  return DisconnectInternal();
}

HRESULT CBasePin::DisconnectInternal() {
  if (!m_Connected) return S_FALSE;
  HRESULT hr = BreakConnect();
  if (FAILED(hr)) return hr;
  m_Connected->Release();
  m_Connected = nullptr;
  return S_OK;
}

HRESULT CBasePin::ConnectedTo(IPin** pin) {
  if (!pin) return E_POINTER;
  *pin = m_Connected;
  if (!m_Connected) return VFW_E_NOT_CONNECTED;
  m_Connected->AddRef();
  return S_OK;
}

HRESULT CBasePin::ConnectionMediaType(AM_MEDIA_TYPE* mt) {
  if (!mt) return E_POINTER;
  CAutoLock lock(m_pLock);
  if (!m_Connected) {
    std::memset(mt, 0, sizeof *mt);
    return VFW_E_NOT_CONNECTED;
  }
  return CopyMediaType(mt, &m_mt);
}

HRESULT CBasePin::QueryPinInfo(PIN_INFO* info) {
  if (!info) return E_POINTER;
  info->pFilter = m_pFilter;
  if (m_pFilter) m_pFilter->AddRef();
  info->dir = m_dir;
  CopyName(info->achName, 128, m_pName);
  return S_OK;
}

HRESULT CBasePin::QueryDirection(PIN_DIRECTION* dir) {
  if (!dir) return E_POINTER;
  *dir = m_dir;
  return S_OK;
}

HRESULT CBasePin::QueryId(LPWSTR* id) {
  if (!id) return E_POINTER;
  size_t bytes = (m_pName.size() + 1) * sizeof(WCHAR);
  *id = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
  if (!*id) return E_OUTOFMEMORY;
  std::memcpy(*id, m_pName.c_str(), bytes);
  return S_OK;
}

HRESULT CBasePin::QueryAccept(const AM_MEDIA_TYPE* mt) {
  if (!mt) return E_POINTER;
  CMediaType cmt(*mt);
  HRESULT hr = CheckMediaType(&cmt);
  return FAILED(hr) ? S_FALSE : hr;
}

HRESULT CBasePin::EnumMediaTypes(IEnumMediaTypes** e) {
  if (!e) return E_POINTER;
  *e = nullptr;
  return E_NOTIMPL;
}

HRESULT CBasePin::QueryInternalConnections(IPin**, ULONG*) { return E_NOTIMPL; }

HRESULT CBasePin::EndOfStream() { return S_OK; }

HRESULT CBasePin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  m_tStart = start;
  m_tStop = stop;
  m_dRate = rate;
  return S_OK;
}

HRESULT CBasePin::SetMediaType(const CMediaType* mt) {
  if (!mt) return E_POINTER;
  return m_mt.Set(*mt);
}

HRESULT CBasePin::CheckConnect(IPin* pin) {
  PIN_DIRECTION other;
  HRESULT hr = pin->QueryDirection(&other);
  if (FAILED(hr)) return hr;
  return other == m_dir ? VFW_E_INVALID_DIRECTION : S_OK;
}

HRESULT CBasePin::BreakConnect() { return S_OK; }
HRESULT CBasePin::CompleteConnect(IPin*) { return S_OK; }
HRESULT CBasePin::GetMediaType(int position, CMediaType*) {
  return position < 0 ? E_INVALIDARG : VFW_S_NO_MORE_ITEMS;
}
HRESULT CBasePin::Active() { return S_OK; }
HRESULT CBasePin::Inactive() {
  m_bRunTimeError = false;
  return S_OK;
}
HRESULT CBasePin::Run(REFERENCE_TIME) { return S_OK; }

// ---------------------------------------------------------------------------------------------
// CBaseInputPin

CBaseInputPin::CBaseInputPin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT* hr,
                             LPCWSTR pinName)
    : CBasePin(objectName, filter, lock, hr, pinName, PINDIR_INPUT) {}

CBaseInputPin::~CBaseInputPin() {
  if (m_pAllocator) m_pAllocator->Release();
}

HRESULT CBaseInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IMemInputPin) return GetInterface(static_cast<IMemInputPin*>(this), ppv);
  return CBasePin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseInputPin::GetAllocator(IMemAllocator** allocator) {
  if (!allocator) return E_POINTER;
  CAutoLock lock(m_pLock);
  if (!m_pAllocator) {
    HRESULT hr = CMemAllocator::Create(&m_pAllocator);
    if (FAILED(hr)) return hr;
  }
  *allocator = m_pAllocator;
  m_pAllocator->AddRef();
  return S_OK;
}

HRESULT CBaseInputPin::NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) {
  if (!allocator) return E_POINTER;
  CAutoLock lock(m_pLock);
  allocator->AddRef();
  if (m_pAllocator) m_pAllocator->Release();
  m_pAllocator = allocator;
  m_bReadOnly = readOnly != FALSE;
  return S_OK;
}

HRESULT CBaseInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) { return E_NOTIMPL; }

HRESULT CBaseInputPin::Receive(IMediaSample* sample) {
  if (!sample) return E_POINTER;
  HRESULT hr = CheckStreaming();
  if (hr != S_OK) return hr;
  AM_MEDIA_TYPE* type = nullptr;
  if (sample->GetMediaType(&type) == S_OK && type) {
    CMediaType cmt(*type);
    DeleteMediaType(type);
    if (CheckMediaType(&cmt) != S_OK) {
      m_bRunTimeError = true;
      return VFW_E_INVALIDMEDIATYPE;
    }
  }
  return S_OK;
}

HRESULT CBaseInputPin::ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) {
  if (!samples || !processed) return E_POINTER;
  HRESULT hr = S_OK;
  *processed = 0;
  while (count-- > 0) {
    hr = Receive(samples[*processed]);
    if (hr != S_OK) break;
    ++*processed;
  }
  return hr;
}

HRESULT CBaseInputPin::ReceiveCanBlock() { return S_OK; }

HRESULT CBaseInputPin::BeginFlush() {
  CAutoLock lock(m_pLock);
  m_bFlushing = true;
  return S_OK;
}

HRESULT CBaseInputPin::EndFlush() {
  CAutoLock lock(m_pLock);
  m_bFlushing = false;
  m_bRunTimeError = false;
  return S_OK;
}

HRESULT CBaseInputPin::BreakConnect() {
  if (m_pAllocator) {
    m_pAllocator->Decommit();
    m_pAllocator->Release();
    m_pAllocator = nullptr;
  }
  return S_OK;
}

HRESULT CBaseInputPin::Inactive() {
  m_bRunTimeError = false;
  m_bFlushing = false;
  if (!m_pAllocator) return VFW_E_NO_ALLOCATOR;
  return m_pAllocator->Decommit();
}

HRESULT CBaseInputPin::CheckStreaming() {
  if (!IsConnected()) return VFW_E_NOT_CONNECTED;
  if (IsStopped()) return VFW_E_WRONG_STATE;
  if (m_bFlushing) return S_FALSE;
  if (m_bRunTimeError) return VFW_E_RUNTIME_ERROR;
  return S_OK;
}

// ---------------------------------------------------------------------------------------------
// CBaseOutputPin

CBaseOutputPin::CBaseOutputPin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT* hr,
                               LPCWSTR pinName)
    : CBasePin(objectName, filter, lock, hr, pinName, PINDIR_OUTPUT) {}

CBaseOutputPin::~CBaseOutputPin() {
  if (m_pAllocator) m_pAllocator->Release();
  if (m_pInputPin) m_pInputPin->Release();
}

HRESULT CBaseOutputPin::CompleteConnect(IPin*) {
  if (!m_pInputPin) return VFW_E_NOT_CONNECTED;
  return DecideAllocator(m_pInputPin, &m_pAllocator);
}

HRESULT CBaseOutputPin::CheckConnect(IPin* pin) {
  HRESULT hr = CBasePin::CheckConnect(pin);
  if (FAILED(hr)) return hr;
  IMemInputPin* input = nullptr;
  hr = pin->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&input));
  if (FAILED(hr) || !input) return E_NOINTERFACE;
  if (m_pInputPin) m_pInputPin->Release();
  m_pInputPin = input;
  return S_OK;
}

HRESULT CBaseOutputPin::BreakConnect() {
  if (m_pAllocator) {
    m_pAllocator->Decommit();
    m_pAllocator->Release();
    m_pAllocator = nullptr;
  }
  if (m_pInputPin) {
    m_pInputPin->Release();
    m_pInputPin = nullptr;
  }
  return S_OK;
}

HRESULT CBaseOutputPin::Active() {
  if (!m_pAllocator) return VFW_E_NO_ALLOCATOR;
  return m_pAllocator->Commit();
}

HRESULT CBaseOutputPin::Inactive() {
  m_bRunTimeError = false;
  if (!m_pAllocator) return VFW_E_NO_ALLOCATOR;
  return m_pAllocator->Decommit();
}

HRESULT CBaseOutputPin::EndOfStream() { return E_UNEXPECTED; }
HRESULT CBaseOutputPin::BeginFlush() { return E_UNEXPECTED; }
HRESULT CBaseOutputPin::EndFlush() { return E_UNEXPECTED; }

HRESULT CBaseOutputPin::DecideAllocator(IMemInputPin* pin, IMemAllocator** allocator) {
  ALLOCATOR_PROPERTIES props{};
  pin->GetAllocatorRequirements(&props);
  if (props.cbAlign == 0) props.cbAlign = 1;
  if (*allocator) {
    (*allocator)->Release();
    *allocator = nullptr;
  }
  HRESULT hr = pin->GetAllocator(allocator);
  if (SUCCEEDED(hr) && *allocator) {
    hr = DecideBufferSize(*allocator, &props);
    if (SUCCEEDED(hr)) {
      hr = pin->NotifyAllocator(*allocator, FALSE);
      if (SUCCEEDED(hr)) return S_OK;
    }
  }
  if (*allocator) {
    (*allocator)->Release();
    *allocator = nullptr;
  }
  hr = InitAllocator(allocator);
  if (SUCCEEDED(hr)) {
    hr = DecideBufferSize(*allocator, &props);
    if (SUCCEEDED(hr)) {
      hr = pin->NotifyAllocator(*allocator, FALSE);
      if (SUCCEEDED(hr)) return S_OK;
    }
  }
  if (*allocator) {
    (*allocator)->Release();
    *allocator = nullptr;
  }
  return hr;
}

HRESULT CBaseOutputPin::InitAllocator(IMemAllocator** allocator) { return CMemAllocator::Create(allocator); }

HRESULT CBaseOutputPin::GetDeliveryBuffer(IMediaSample** sample, REFERENCE_TIME* start, REFERENCE_TIME* stop,
                                          DWORD flags) {
  if (!sample) return E_POINTER;
  *sample = nullptr;
  if (!m_pAllocator) return VFW_E_NO_ALLOCATOR;
  return m_pAllocator->GetBuffer(sample, start, stop, flags);
}

HRESULT CBaseOutputPin::Deliver(IMediaSample* sample) {
  if (!m_pInputPin) return VFW_E_NOT_CONNECTED;
  return m_pInputPin->Receive(sample);
}

HRESULT CBaseOutputPin::DeliverEndOfStream() {
  if (!m_Connected) return VFW_E_NOT_CONNECTED;
  return m_Connected->EndOfStream();
}

HRESULT CBaseOutputPin::DeliverBeginFlush() {
  if (!m_Connected) return VFW_E_NOT_CONNECTED;
  return m_Connected->BeginFlush();
}

HRESULT CBaseOutputPin::DeliverEndFlush() {
  if (!m_Connected) return VFW_E_NOT_CONNECTED;
  return m_Connected->EndFlush();
}

HRESULT CBaseOutputPin::DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  if (!m_Connected) return VFW_E_NOT_CONNECTED;
  return m_Connected->NewSegment(start, stop, rate);
}
