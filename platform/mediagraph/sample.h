// Media samples and the allocator that owns them: CMediaSample (a slice of the allocator's memory
// with times, flags and a reference count) and CBaseAllocator / CMemAllocator (a free list of them).
#pragma once
#include <atomic>
#include <condition_variable>
#include <vector>

#include "platform/mediagraph/crit_sec.h"
#include "platform/mediagraph/interfaces.h"

class CBaseAllocator;

// Flag bits of a sample.
enum : DWORD {
  Sample_SyncPoint = 0x01,
  Sample_Preroll = 0x02,
  Sample_Discontinuity = 0x04,
  Sample_TypeChanged = 0x08,
  Sample_TimeValid = 0x10,
  Sample_MediaTimeValid = 0x20,
  Sample_StopValid = 0x100,
};

// A sample goes back to its allocator's free list when its last reference is released; with no
// allocator it deletes itself. A host can give samples extra interfaces either by deriving and
// overriding QueryInterface (and the allocator's NewSample) or by attaching an object with
// AttachInterface.
class CMediaSample : public IMediaSample {
 public:
  CMediaSample(const char* name, CBaseAllocator* allocator, HRESULT* hr, BYTE* buffer = nullptr,
               LONG length = 0);
  virtual ~CMediaSample();
  CMediaSample(const CMediaSample&) = delete;
  CMediaSample& operator=(const CMediaSample&) = delete;

  HRESULT QueryInterface(REFIID riid, void** ppv) override;
  ULONG AddRef() override;
  ULONG Release() override;

  HRESULT GetPointer(BYTE** buffer) override;
  LONG GetSize() override;
  HRESULT GetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) override;
  HRESULT SetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) override;
  HRESULT IsSyncPoint() override;
  HRESULT SetSyncPoint(BOOL sync) override;
  HRESULT IsPreroll() override;
  HRESULT SetPreroll(BOOL preroll) override;
  LONG GetActualDataLength() override;
  HRESULT SetActualDataLength(LONG length) override;
  HRESULT GetMediaType(AM_MEDIA_TYPE** type) override;
  HRESULT SetMediaType(AM_MEDIA_TYPE* type) override;
  HRESULT IsDiscontinuity() override;
  HRESULT SetDiscontinuity(BOOL discontinuity) override;
  HRESULT GetMediaTime(LONGLONG* start, LONGLONG* end) override;
  HRESULT SetMediaTime(LONGLONG* start, LONGLONG* end) override;

  // Points the sample at other memory (for samples that wrap a host's buffer).
  HRESULT SetPointer(BYTE* buffer, LONG length);
  // Answers `iid` from QueryInterface with `object` (a reference is kept); null removes it.
  // Meant for setup time, not for the streaming path.
  HRESULT AttachInterface(REFIID iid, IUnknown* object);
  DWORD Flags() const { return m_dwFlags; }

 protected:
  friend class CBaseAllocator;
  // Clears times, flags and type when the sample goes back to the free list.
  virtual void ResetForReuse();

  const char* m_pName;
  DWORD m_dwFlags = 0;
  BYTE* m_pBuffer;
  LONG m_lActual;
  LONG m_cbBuffer;
  CBaseAllocator* m_pAllocator;
  REFERENCE_TIME m_Start = 0;
  REFERENCE_TIME m_End = 0;
  LONGLONG m_MediaStart = 0;
  LONGLONG m_MediaEnd = 0;
  AM_MEDIA_TYPE* m_pMediaType = nullptr;
  std::atomic<long> m_cRef{0};

 private:
  struct Extra {
    IID iid;
    IUnknown* object;
  };
  std::vector<Extra> extras_;
};

// Free list, commit state and blocking GetBuffer; subclasses supply the memory.
// Every sample handed out holds a reference on its allocator until it comes back.
class CBaseAllocator : public CUnknown, public IMemAllocator {
 public:
  CBaseAllocator(const char* name, LPUNKNOWN outer, HRESULT* hr);
  ~CBaseAllocator() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) override;
  HRESULT GetProperties(ALLOCATOR_PROPERTIES* props) override;
  HRESULT Commit() override;
  HRESULT Decommit() override;
  HRESULT GetBuffer(IMediaSample** sample, REFERENCE_TIME* start, REFERENCE_TIME* end,
                    DWORD flags) override;
  HRESULT ReleaseBuffer(IMediaSample* sample) override;

  bool IsCommitted();
  LONG FreeCount();
  LONG OutstandingCount();

 protected:
  // Makes the samples and their memory; called under the lock at Commit.
  virtual HRESULT Alloc() = 0;
  // Deletes the samples and memory; called under the lock when decommitted with none out.
  virtual void Free() = 0;
  // Creates one sample over `buffer`; override to give samples a subclass.
  virtual CMediaSample* NewSample(BYTE* buffer, LONG length);
  // For Alloc/Free of subclasses.
  void AddSample(CMediaSample* s);
  void DeleteAllSamples();

  CCritSec m_Lock;
  std::condition_variable_any m_Wake;
  std::vector<CMediaSample*> m_All;
  std::vector<CMediaSample*> m_Free;
  LONG m_lCount = 0;
  LONG m_lSize = 0;
  LONG m_lAlignment = 1;
  LONG m_lPrefix = 0;
  bool m_bCommitted = false;
  bool m_bDecommitInProgress = false;
  bool m_bChanged = false;
};

// The allocator of ordinary memory: one zero-filled block cut into cBuffers slices of cbBuffer
// bytes (plus prefix, rounded up to the alignment).
class CMemAllocator : public CBaseAllocator {
 public:
  CMemAllocator(const char* name, LPUNKNOWN outer, HRESULT* hr);
  ~CMemAllocator() override;
  // A new allocator with one reference taken, for callers that just need one.
  static HRESULT Create(IMemAllocator** out);

  HRESULT SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) override;

 protected:
  HRESULT Alloc() override;
  void Free() override;

 private:
  BYTE* m_pMemory = nullptr;
  size_t m_cbMemory = 0;
  size_t m_memAlign = 0;
};
