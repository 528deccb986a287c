// Media samples and the allocators' free list. Samples are made once at Commit and cycle between
// the free list and their users; nothing on the streaming path allocates.
#include "platform/mediagraph/sample.h"

#include <cstring>
#include <mutex>
#include <new>

CMediaSample::CMediaSample(const char* name, CBaseAllocator* allocator, HRESULT* hr, BYTE* buffer,
                           LONG length)
    : m_pName(name), m_pBuffer(buffer), m_lActual(length), m_cbBuffer(length), m_pAllocator(allocator) {
  if (hr && length < 0) *hr = VFW_E_BUFFER_OVERFLOW;
}

CMediaSample::~CMediaSample() {
  if (m_pMediaType) DeleteMediaType(m_pMediaType);
  for (auto& e : extras_) e.object->Release();
}

HRESULT CMediaSample::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IUnknown || riid == IID_IMediaSample) {
    *ppv = static_cast<IMediaSample*>(this);
    AddRef();
    return S_OK;
  }
  for (auto& e : extras_) {
    if (e.iid == riid) {
      *ppv = e.object;
      e.object->AddRef();
      return S_OK;
    }
  }
  *ppv = nullptr;
  return E_NOINTERFACE;
}

ULONG CMediaSample::AddRef() { return static_cast<ULONG>(++m_cRef); }

ULONG CMediaSample::Release() {
  long r = --m_cRef;
  if (r != 0) return static_cast<ULONG>(r);
  ResetForReuse();
  if (m_pAllocator) {
    // May delete the allocator and with it this sample: touch nothing afterwards.
    m_pAllocator->ReleaseBuffer(this);
  } else {
    delete this;
  }
  return 0;
}

void CMediaSample::ResetForReuse() {
  m_dwFlags = 0;
  m_lActual = m_cbBuffer;
  if (m_pMediaType) {
    DeleteMediaType(m_pMediaType);
    m_pMediaType = nullptr;
  }
}

HRESULT CMediaSample::GetPointer(BYTE** buffer) {
  if (!buffer) return E_POINTER;
  *buffer = m_pBuffer;
  return S_OK;
}

LONG CMediaSample::GetSize() { return m_cbBuffer; }

HRESULT CMediaSample::GetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) {
  if (!(m_dwFlags & Sample_TimeValid)) return VFW_E_SAMPLE_TIME_NOT_SET;
  if (!start || !end) return E_POINTER;
  *start = m_Start;
  if (!(m_dwFlags & Sample_StopValid)) {
    *end = m_Start + 1;
    return VFW_S_NO_STOP_TIME;
  }
  *end = m_End;
  return S_OK;
}

HRESULT CMediaSample::SetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) {
  if (!start) {
    m_dwFlags &= ~(Sample_TimeValid | Sample_StopValid);
    return S_OK;
  }
  m_Start = *start;
  m_dwFlags |= Sample_TimeValid;
  if (end) {
    m_End = *end;
    m_dwFlags |= Sample_StopValid;
  } else {
    m_dwFlags &= ~Sample_StopValid;
  }
  return S_OK;
}

HRESULT CMediaSample::IsSyncPoint() { return (m_dwFlags & Sample_SyncPoint) ? S_OK : S_FALSE; }
HRESULT CMediaSample::SetSyncPoint(BOOL sync) {
  if (sync) m_dwFlags |= Sample_SyncPoint; else m_dwFlags &= ~Sample_SyncPoint;
  return S_OK;
}
HRESULT CMediaSample::IsPreroll() { return (m_dwFlags & Sample_Preroll) ? S_OK : S_FALSE; }
HRESULT CMediaSample::SetPreroll(BOOL preroll) {
  if (preroll) m_dwFlags |= Sample_Preroll; else m_dwFlags &= ~Sample_Preroll;
  return S_OK;
}
HRESULT CMediaSample::IsDiscontinuity() { return (m_dwFlags & Sample_Discontinuity) ? S_OK : S_FALSE; }
HRESULT CMediaSample::SetDiscontinuity(BOOL discontinuity) {
  if (discontinuity) m_dwFlags |= Sample_Discontinuity; else m_dwFlags &= ~Sample_Discontinuity;
  return S_OK;
}

LONG CMediaSample::GetActualDataLength() { return m_lActual; }

HRESULT CMediaSample::SetActualDataLength(LONG length) {
  if (length < 0 || length > m_cbBuffer) return VFW_E_BUFFER_OVERFLOW;
  m_lActual = length;
  return S_OK;
}

HRESULT CMediaSample::GetMediaType(AM_MEDIA_TYPE** type) {
  if (!type) return E_POINTER;
  if (!(m_dwFlags & Sample_TypeChanged) || !m_pMediaType) {
    *type = nullptr;
    return S_FALSE;
  }
  *type = CreateMediaType(m_pMediaType);
  return *type ? S_OK : E_OUTOFMEMORY;
}

HRESULT CMediaSample::SetMediaType(AM_MEDIA_TYPE* type) {
  if (m_pMediaType) {
    DeleteMediaType(m_pMediaType);
    m_pMediaType = nullptr;
  }
  if (!type) {
    m_dwFlags &= ~Sample_TypeChanged;
    return S_OK;
  }
  m_pMediaType = CreateMediaType(type);
  if (!m_pMediaType) {
    m_dwFlags &= ~Sample_TypeChanged;
    return E_OUTOFMEMORY;
  }
  m_dwFlags |= Sample_TypeChanged;
  return S_OK;
}

HRESULT CMediaSample::GetMediaTime(LONGLONG* start, LONGLONG* end) {
  if (!(m_dwFlags & Sample_MediaTimeValid)) return VFW_E_MEDIA_TIME_NOT_SET;
  if (!start || !end) return E_POINTER;
  *start = m_MediaStart;
  *end = m_MediaEnd;
  return S_OK;
}

HRESULT CMediaSample::SetMediaTime(LONGLONG* start, LONGLONG* end) {
  if (!start) {
    m_dwFlags &= ~Sample_MediaTimeValid;
    return S_OK;
  }
  if (!end) return E_POINTER;
  m_MediaStart = *start;
  m_MediaEnd = *end;
  m_dwFlags |= Sample_MediaTimeValid;
  return S_OK;
}

HRESULT CMediaSample::SetPointer(BYTE* buffer, LONG length) {
  if (length < 0) return VFW_E_BUFFER_OVERFLOW;
  m_pBuffer = buffer;
  m_cbBuffer = length;
  m_lActual = length;
  return S_OK;
}

HRESULT CMediaSample::AttachInterface(REFIID iid, IUnknown* object) {
  for (auto it = extras_.begin(); it != extras_.end(); ++it) {
    if (it->iid == iid) {
      it->object->Release();
      extras_.erase(it);
      break;
    }
  }
  if (object) {
    object->AddRef();
    extras_.push_back({iid, object});
  }
  return S_OK;
}

// ---------------------------------------------------------------------------------------------

CBaseAllocator::CBaseAllocator(const char* name, LPUNKNOWN outer, HRESULT* hr) : CUnknown(name, outer) {}

CBaseAllocator::~CBaseAllocator() { DeleteAllSamples(); }

HRESULT CBaseAllocator::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (riid == IID_IMemAllocator) return GetInterface(static_cast<IMemAllocator*>(this), ppv);
  return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseAllocator::SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) {
  if (!request || !actual) return E_POINTER;
  CAutoLock lock(&m_Lock);
  if (m_bCommitted) return VFW_E_ALREADY_COMMITTED;
  if (static_cast<LONG>(m_Free.size()) != static_cast<LONG>(m_All.size())) return VFW_E_BUFFERS_OUTSTANDING;
  m_lCount = request->cBuffers;
  m_lSize = request->cbBuffer;
  m_lAlignment = request->cbAlign;
  m_lPrefix = request->cbPrefix;
  m_bChanged = true;
  *actual = *request;
  return S_OK;
}

HRESULT CBaseAllocator::GetProperties(ALLOCATOR_PROPERTIES* props) {
  if (!props) return E_POINTER;
  CAutoLock lock(&m_Lock);
  props->cBuffers = m_lCount;
  props->cbBuffer = m_lSize;
  props->cbAlign = m_lAlignment;
  props->cbPrefix = m_lPrefix;
  return S_OK;
}

HRESULT CBaseAllocator::Commit() {
  CAutoLock lock(&m_Lock);
  if (m_bCommitted) return S_OK;
  if (m_bDecommitInProgress) {
    // Samples of the last run are still out; they come back to a live list again.
    m_bDecommitInProgress = false;
    m_bCommitted = true;
    return S_OK;
  }
  if (m_lCount <= 0 || m_lSize <= 0) return VFW_E_SIZENOTSET;
  HRESULT hr = Alloc();
  if (FAILED(hr)) return hr;
  m_bCommitted = true;
  return S_OK;
}

HRESULT CBaseAllocator::Decommit() {
  {
    CAutoLock lock(&m_Lock);
    if (!m_bCommitted) return S_OK;
    m_bCommitted = false;
    if (m_Free.size() == m_All.size()) {
      Free();
    } else {
      m_bDecommitInProgress = true;
    }
  }
  m_Wake.notify_all();
  return S_OK;
}

HRESULT CBaseAllocator::GetBuffer(IMediaSample** sample, REFERENCE_TIME*, REFERENCE_TIME*, DWORD flags) {
  if (!sample) return E_POINTER;
  *sample = nullptr;
  CMediaSample* s = nullptr;
  {
    std::unique_lock<CCritSec> lock(m_Lock);
    for (;;) {
      if (!m_bCommitted) return VFW_E_NOT_COMMITTED;
      if (!m_Free.empty()) break;
      if (flags & AM_GBF_NOWAIT) return VFW_E_TIMEOUT;
      m_Wake.wait(lock);
    }
    s = m_Free.back();
    m_Free.pop_back();
    s->m_cRef = 1;
  }
  AddRef();  // held by the sample until it comes back
  *sample = s;
  return S_OK;
}

HRESULT CBaseAllocator::ReleaseBuffer(IMediaSample* sample) {
  if (!sample) return E_POINTER;
  {
    CAutoLock lock(&m_Lock);
    m_Free.push_back(static_cast<CMediaSample*>(sample));
    if (m_bDecommitInProgress && m_Free.size() == m_All.size()) {
      m_bDecommitInProgress = false;
      Free();
    }
  }
  m_Wake.notify_one();
  Release();
  return S_OK;
}

bool CBaseAllocator::IsCommitted() {
  CAutoLock lock(&m_Lock);
  return m_bCommitted;
}

LONG CBaseAllocator::FreeCount() {
  CAutoLock lock(&m_Lock);
  return static_cast<LONG>(m_Free.size());
}

LONG CBaseAllocator::OutstandingCount() {
  CAutoLock lock(&m_Lock);
  return static_cast<LONG>(m_All.size() - m_Free.size());
}

CMediaSample* CBaseAllocator::NewSample(BYTE* buffer, LONG length) {
  HRESULT hr = S_OK;
  return new (std::nothrow) CMediaSample("sample", this, &hr, buffer, length);
}

void CBaseAllocator::AddSample(CMediaSample* s) {
  m_All.push_back(s);
  m_Free.push_back(s);
}

void CBaseAllocator::DeleteAllSamples() {
  for (CMediaSample* s : m_All) delete s;
  m_All.clear();
  m_Free.clear();
}

// ---------------------------------------------------------------------------------------------

CMemAllocator::CMemAllocator(const char* name, LPUNKNOWN outer, HRESULT* hr)
    : CBaseAllocator(name, outer, hr) {}

CMemAllocator::~CMemAllocator() {
  DeleteAllSamples();
  if (m_pMemory) ::operator delete(m_pMemory, std::align_val_t(m_memAlign));
}

HRESULT CMemAllocator::Create(IMemAllocator** out) {
  if (!out) return E_POINTER;
  HRESULT hr = S_OK;
  auto* a = new (std::nothrow) CMemAllocator("allocator", nullptr, &hr);
  if (!a) return E_OUTOFMEMORY;
  a->NonDelegatingAddRef();
  *out = a;
  return S_OK;
}

HRESULT CMemAllocator::SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) {
  if (!request || !actual) return E_POINTER;
  LONG align = request->cbAlign;
  if (align <= 0 || (align & (align - 1)) != 0) return VFW_E_BADALIGN;
  if (request->cbBuffer < 0 || request->cBuffers < 0 || request->cbPrefix < 0) return E_INVALIDARG;
  ALLOCATOR_PROPERTIES granted = *request;
  // Each slice starts on the alignment; the slack becomes usable buffer.
  LONG slice = request->cbBuffer + request->cbPrefix;
  if (slice % align) slice += align - slice % align;
  granted.cbBuffer = slice - request->cbPrefix;
  return CBaseAllocator::SetProperties(&granted, actual);
}

HRESULT CMemAllocator::Alloc() {
  LONG slice = m_lSize + m_lPrefix;
  if (slice % m_lAlignment) slice += m_lAlignment - slice % m_lAlignment;
  size_t total = static_cast<size_t>(slice) * static_cast<size_t>(m_lCount);
  size_t align = m_lAlignment < 16 ? 16 : static_cast<size_t>(m_lAlignment);
  if (m_pMemory && !m_bChanged && m_All.size() == static_cast<size_t>(m_lCount)) return S_OK;
  Free();
  m_pMemory = static_cast<BYTE*>(::operator new(total, std::align_val_t(align), std::nothrow));
  if (!m_pMemory) return E_OUTOFMEMORY;
  m_cbMemory = total;
  m_memAlign = align;
  std::memset(m_pMemory, 0, total);
  m_All.reserve(static_cast<size_t>(m_lCount));
  m_Free.reserve(static_cast<size_t>(m_lCount));
  for (LONG i = 0; i < m_lCount; ++i) {
    CMediaSample* s = NewSample(m_pMemory + static_cast<size_t>(i) * slice + m_lPrefix, m_lSize);
    if (!s) {
      Free();
      return E_OUTOFMEMORY;
    }
    AddSample(s);
  }
  m_bChanged = false;
  return S_OK;
}

void CMemAllocator::Free() {
  DeleteAllSamples();
  if (m_pMemory) ::operator delete(m_pMemory, std::align_val_t(m_memAlign));
  m_pMemory = nullptr;
  m_cbMemory = 0;
}
