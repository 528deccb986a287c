// The filter and pin base classes: CBaseFilter (state and pin bookkeeping), CBasePin (connection
// protocol), CBaseInputPin (IMemInputPin, flushing, streaming checks), CBaseOutputPin (allocator
// negotiation and delivery).
#pragma once
#include <string>

#include "platform/mediagraph/crit_sec.h"
#include "platform/mediagraph/interfaces.h"
#include "platform/mediagraph/media_type.h"
#include "platform/mediagraph/sample.h"

class CBasePin;

class CBaseFilter : public CUnknown, public IBaseFilter, public IAMovieSetup {
 public:
  CBaseFilter(const char* name, LPUNKNOWN outer, CCritSec* lock, REFCLSID clsid);
  CBaseFilter(const char* name, LPUNKNOWN outer, CCritSec* lock, REFCLSID clsid, HRESULT* hr);
  ~CBaseFilter() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  // IPersist
  HRESULT GetClassID(CLSID* clsid) override;
  // IMediaFilter
  HRESULT Stop() override;
  HRESULT Pause() override;
  HRESULT Run(REFERENCE_TIME start) override;
  HRESULT GetState(DWORD msTimeout, FILTER_STATE* state) override;
  HRESULT SetSyncSource(IReferenceClock* clock) override;
  HRESULT GetSyncSource(IReferenceClock** clock) override;
  // IBaseFilter
  HRESULT EnumPins(IEnumPins** e) override;
  HRESULT FindPin(LPCWSTR id, IPin** pin) override;
  HRESULT QueryFilterInfo(FILTER_INFO* info) override;
  HRESULT JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
  HRESULT QueryVendorInfo(LPWSTR* info) override;
  // IAMovieSetup: this platform keeps no system-wide filter list, so both only report whether the
  // filter has a registration record (S_OK) or not (S_FALSE).
  HRESULT Register() override;
  HRESULT Unregister() override;

  virtual int GetPinCount() = 0;
  virtual CBasePin* GetPin(int n) = 0;
  virtual const AMOVIESETUP_FILTER* GetSetupData() { return nullptr; }

  bool IsActive();
  bool IsStopped();
  IFilterGraph* GetFilterGraph() { return m_pGraph; }
  CCritSec* GetLock() { return m_pLock; }

 protected:
  FILTER_STATE m_State = State_Stopped;
  IReferenceClock* m_pClock = nullptr;
  REFERENCE_TIME m_tStart = 0;
  CLSID m_clsid;
  CCritSec* m_pLock;
  std::u16string m_pName;
  IFilterGraph* m_pGraph = nullptr;  // not counted: the graph owns its filters

  friend class CBasePin;
};

// A pin is part of its filter: its reference count is the filter's.
class CBasePin : public CUnknown, public IPin {
 public:
  CBasePin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT* hr, LPCWSTR pinName,
           PIN_DIRECTION dir);
  ~CBasePin() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
  ULONG NonDelegatingAddRef() override;
  ULONG NonDelegatingRelease() override;

  // IPin
  HRESULT Connect(IPin* receivePin, const AM_MEDIA_TYPE* mt) override;
  HRESULT ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* mt) override;
  HRESULT Disconnect() override;
  HRESULT ConnectedTo(IPin** pin) override;
  HRESULT ConnectionMediaType(AM_MEDIA_TYPE* mt) override;
  HRESULT QueryPinInfo(PIN_INFO* info) override;
  HRESULT QueryDirection(PIN_DIRECTION* dir) override;
  HRESULT QueryId(LPWSTR* id) override;
  HRESULT QueryAccept(const AM_MEDIA_TYPE* mt) override;
  HRESULT EnumMediaTypes(IEnumMediaTypes** e) override;
  HRESULT QueryInternalConnections(IPin** pins, ULONG* count) override;
  HRESULT EndOfStream() override;
  HRESULT NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  // Connection hooks.
  virtual HRESULT CheckMediaType(const CMediaType* mt) = 0;
  virtual HRESULT SetMediaType(const CMediaType* mt);
  virtual HRESULT CheckConnect(IPin* pin);
  virtual HRESULT BreakConnect();
  virtual HRESULT CompleteConnect(IPin* receivePin);
  // Types this pin proposes, from position 0; VFW_S_NO_MORE_ITEMS past the end.
  virtual HRESULT GetMediaType(int position, CMediaType* mt);
  // State hooks: Active on leaving Stopped, Inactive on entering it, Run on entering Running.
  virtual HRESULT Active();
  virtual HRESULT Inactive();
  virtual HRESULT Run(REFERENCE_TIME start);

  bool IsConnected() const { return m_Connected != nullptr; }
  IPin* GetConnected() const { return m_Connected; }
  CMediaType& CurrentMediaType() { return m_mt; }
  bool IsStopped() const { return m_pFilter->m_State == State_Stopped; }
  LPCWSTR Name() const { return m_pName.c_str(); }
  PIN_DIRECTION Direction() const { return m_dir; }
  CBaseFilter* Filter() const { return m_pFilter; }
  REFERENCE_TIME CurrentStartTime() const { return m_tStart; }
  REFERENCE_TIME CurrentStopTime() const { return m_tStop; }
  double CurrentRate() const { return m_dRate; }

 protected:
  virtual HRESULT AgreeMediaType(IPin* receivePin, const CMediaType* mt);
  virtual HRESULT AttemptConnection(IPin* receivePin, const CMediaType* mt);
  HRESULT DisconnectInternal();

  std::u16string m_pName;
  IPin* m_Connected = nullptr;
  PIN_DIRECTION m_dir;
  CCritSec* m_pLock;
  CBaseFilter* m_pFilter;
  CMediaType m_mt;
  REFERENCE_TIME m_tStart = 0;
  REFERENCE_TIME m_tStop = 0x7FFFFFFFFFFFFFFFLL;
  double m_dRate = 1.0;
  bool m_bRunTimeError = false;
};

class CBaseInputPin : public CBasePin, public IMemInputPin {
 public:
  CBaseInputPin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT* hr, LPCWSTR pinName);
  ~CBaseInputPin() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  // IMemInputPin
  HRESULT GetAllocator(IMemAllocator** allocator) override;
  HRESULT NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
  HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* props) override;
  // The base checks the streaming state and a type change carried by the sample.
  HRESULT Receive(IMediaSample* sample) override;
  HRESULT ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) override;
  HRESULT ReceiveCanBlock() override;

  HRESULT BeginFlush() override;
  HRESULT EndFlush() override;
  HRESULT BreakConnect() override;
  HRESULT Inactive() override;

  // S_OK while connected, not stopped and not flushing; VFW_E_NOT_CONNECTED, VFW_E_WRONG_STATE,
  // S_FALSE (flushing) or VFW_E_RUNTIME_ERROR otherwise.
  virtual HRESULT CheckStreaming();
  bool IsFlushing() const { return m_bFlushing; }
  bool IsReadOnly() const { return m_bReadOnly; }
  // The allocator the upstream pin chose, without a reference.
  IMemAllocator* PeekAllocator() const { return m_pAllocator; }

 protected:
  IMemAllocator* m_pAllocator = nullptr;
  bool m_bReadOnly = false;
  bool m_bFlushing = false;
};

class CBaseOutputPin : public CBasePin {
 public:
  CBaseOutputPin(const char* objectName, CBaseFilter* filter, CCritSec* lock, HRESULT* hr, LPCWSTR pinName);
  ~CBaseOutputPin() override;

  HRESULT CompleteConnect(IPin* receivePin) override;
  HRESULT CheckConnect(IPin* pin) override;
  HRESULT BreakConnect() override;
  HRESULT Active() override;
  HRESULT Inactive() override;
  // An output pin receives no stream control from downstream.
  HRESULT EndOfStream() override;
  HRESULT BeginFlush() override;
  HRESULT EndFlush() override;

  // Proposes the input pin's allocator, then one of our own; DecideBufferSize sets the sizes.
  virtual HRESULT DecideAllocator(IMemInputPin* pin, IMemAllocator** allocator);
  virtual HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) = 0;
  virtual HRESULT InitAllocator(IMemAllocator** allocator);

  virtual HRESULT GetDeliveryBuffer(IMediaSample** sample, REFERENCE_TIME* start, REFERENCE_TIME* stop,
                                    DWORD flags);
  virtual HRESULT Deliver(IMediaSample* sample);
  virtual HRESULT DeliverEndOfStream();
  virtual HRESULT DeliverBeginFlush();
  virtual HRESULT DeliverEndFlush();
  virtual HRESULT DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);

  IMemAllocator* PeekAllocator() const { return m_pAllocator; }
  IMemInputPin* PeekInputPin() const { return m_pInputPin; }

 protected:
  IMemAllocator* m_pAllocator = nullptr;
  IMemInputPin* m_pInputPin = nullptr;
};
