// Graph ends a host (or a test) drives by hand: CPushSource, whose one output pin delivers
// buffers the caller fills, and CSinkFilter / CCollectSink, whose one input pin takes them.
#pragma once
#include <vector>

#include "platform/mediagraph/base_filter.h"

inline constexpr CLSID CLSID_QxPushSource = MakeGuid("6E0C1A52-7B3D-4C1E-9A1F-51D0A6C2E101");
inline constexpr CLSID CLSID_QxSinkFilter = MakeGuid("6E0C1A52-7B3D-4C1E-9A1F-51D0A6C2E102");

class CPushSource;

class CPushSourcePin : public CBaseOutputPin {
 public:
  CPushSourcePin(CPushSource* filter, CCritSec* lock, HRESULT* hr);
  // Only the source's own type.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT GetMediaType(int position, CMediaType* mt) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) override;

 private:
  CPushSource* m_pSource;
};

// A source of one fixed media type, pushing on the caller's thread. Buffers are `bufferBytes`
// large, `buffers` of them (at least what downstream asks).
class CPushSource : public CBaseFilter {
 public:
  CPushSource(const char* name, const CMediaType& type, LONG bufferBytes, LONG buffers, HRESULT* hr);
  ~CPushSource() override;
  // A new source with one reference, which the caller releases.
  static HRESULT Create(const CMediaType& type, LONG bufferBytes, LONG buffers, CPushSource** out);

  int GetPinCount() override { return 1; }
  CBasePin* GetPin(int n) override { return n == 0 ? &m_Pin : nullptr; }

  // Draws a sample, copies `bytes` into it, sets the times (either may be null) and flags, delivers
  // it and releases it. Fails with VFW_E_BUFFER_OVERFLOW when `bytes` exceeds the buffer size.
  HRESULT PushBytes(const void* data, LONG bytes, const REFERENCE_TIME* start = nullptr,
                    const REFERENCE_TIME* stop = nullptr, bool discontinuity = false, bool syncPoint = true);
  // For callers that fill a sample themselves (or deliver foreign samples).
  HRESULT GetDeliveryBuffer(IMediaSample** sample) { return m_Pin.GetDeliveryBuffer(sample, nullptr, nullptr, 0); }
  HRESULT Deliver(IMediaSample* sample) { return m_Pin.Deliver(sample); }
  HRESULT DeliverEndOfStream() { return m_Pin.DeliverEndOfStream(); }
  CBaseOutputPin* OutputPin() { return &m_Pin; }
  const CMediaType& MediaType() const { return m_Type; }
  LONG BufferBytes() const { return m_cbBuffer; }

 protected:
  friend class CPushSourcePin;
  CCritSec m_Lock;
  CMediaType m_Type;
  LONG m_cbBuffer;
  LONG m_cBuffers;
  CPushSourcePin m_Pin;
};

class CSinkFilter;

class CSinkInputPin : public CBaseInputPin {
 public:
  CSinkInputPin(CSinkFilter* filter, CCritSec* lock, HRESULT* hr);
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT Receive(IMediaSample* sample) override;
  HRESULT EndOfStream() override;
  HRESULT BeginFlush() override;
  HRESULT EndFlush() override;

 private:
  CSinkFilter* m_pSink;
};

// A filter with one input pin named "Input" that hands every sample and the end of stream to
// its virtuals, under its receive lock.
class CSinkFilter : public CBaseFilter {
 public:
  CSinkFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT* hr);
  ~CSinkFilter() override;

  int GetPinCount() override { return 1; }
  CBasePin* GetPin(int n) override { return n == 0 ? &m_Pin : nullptr; }
  CSinkInputPin* InputPin() { return &m_Pin; }

  // Default: any audio type with a WAVEFORMATEX block.
  virtual HRESULT CheckMediaType(const CMediaType* mt);
  virtual HRESULT OnReceive(IMediaSample* sample) = 0;
  virtual HRESULT OnEndOfStream() { return S_OK; }
  virtual HRESULT OnSetMediaType(const CMediaType* mt) { return S_OK; }

 protected:
  friend class CSinkInputPin;
  CCritSec m_Lock;
  CCritSec m_csReceive;
  CSinkInputPin m_Pin;
};

// Keeps everything it is given: the bytes in order and a record of each sample.
class CCollectSink : public CSinkFilter {
 public:
  struct Record {
    IMediaSample* identity;  // not counted: for comparing only
    LONG length;
    LONG size;
    HRESULT timeResult;
    REFERENCE_TIME start;
    REFERENCE_TIME stop;
    bool discontinuity;
    bool syncPoint;
  };
  explicit CCollectSink(HRESULT* hr);
  static HRESULT Create(CCollectSink** out);

  HRESULT OnReceive(IMediaSample* sample) override;
  HRESULT OnEndOfStream() override;

  std::vector<BYTE> bytes;
  std::vector<Record> records;
  int endOfStreamCount = 0;
  // Returned by OnReceive instead of S_OK when set, to test failure paths upstream.
  HRESULT receiveResult = S_OK;
};
