// The media graph's interfaces as abstract classes in the platform's slot order, with their
// identifiers, the shared enums and records, and the graph status codes the com layer lacks.
#pragma once
#include "platform/com/hresult.h"
#include "platform/com/persist.h"
#include "platform/com/unknown.h"
#include "platform/mediagraph/media_type.h"

// Status codes of the media graph beyond those in platform/com/hresult.h.
inline constexpr HRESULT VFW_E_INVALID_DIRECTION = MakeHr(0x80040208);
inline constexpr HRESULT VFW_E_BADALIGN = MakeHr(0x8004020E);
inline constexpr HRESULT VFW_E_ALREADY_COMMITTED = MakeHr(0x8004020F);
inline constexpr HRESULT VFW_E_BUFFERS_OUTSTANDING = MakeHr(0x80040210);
inline constexpr HRESULT VFW_E_NOT_FOUND = MakeHr(0x80040216);
inline constexpr HRESULT VFW_E_CANNOT_CONNECT = MakeHr(0x80040217);
inline constexpr HRESULT VFW_E_TIMEOUT = MakeHr(0x8004022E);
inline constexpr HRESULT VFW_E_MEDIA_TIME_NOT_SET = MakeHr(0x80040251);
inline constexpr HRESULT VFW_S_NO_STOP_TIME = MakeHr(0x00040270);

inline constexpr IID IID_IMediaSample = MakeGuid("56A8689A-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IMemAllocator = MakeGuid("56A8689C-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IPin = MakeGuid("56A86891-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IEnumPins = MakeGuid("56A86892-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IEnumMediaTypes = MakeGuid("89C31040-846B-11CE-97D3-00AA0055595A");
inline constexpr IID IID_IMemInputPin = MakeGuid("56A8689D-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IMediaFilter = MakeGuid("56A86899-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IBaseFilter = MakeGuid("56A86895-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IReferenceClock = MakeGuid("56A86897-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IFilterGraph = MakeGuid("56A8689F-0AD4-11CE-B03A-0020AF0BA770");
inline constexpr IID IID_IAMovieSetup = MakeGuid("A3D8CEC0-7E5A-11CF-BBC5-00805F6CEF20");

enum PIN_DIRECTION { PINDIR_INPUT = 0, PINDIR_OUTPUT = 1 };
enum FILTER_STATE { State_Stopped = 0, State_Paused = 1, State_Running = 2 };

struct ALLOCATOR_PROPERTIES {
  LONG cBuffers;
  LONG cbBuffer;
  LONG cbAlign;
  LONG cbPrefix;
};

// Flags of IMemAllocator::GetBuffer.
inline constexpr DWORD AM_GBF_PREVFRAMESKIPPED = 1;
inline constexpr DWORD AM_GBF_NOTASYNCPOINT = 2;
inline constexpr DWORD AM_GBF_NOWAIT = 4;

struct IBaseFilter;
struct IFilterGraph;
struct IEnumFilters;

struct IReferenceClock : IUnknown {
  virtual HRESULT GetTime(REFERENCE_TIME* time) = 0;
  virtual HRESULT AdviseTime(REFERENCE_TIME baseTime, REFERENCE_TIME streamTime, void* event,
                             DWORD* cookie) = 0;
  virtual HRESULT AdvisePeriodic(REFERENCE_TIME start, REFERENCE_TIME period, void* semaphore,
                                 DWORD* cookie) = 0;
  virtual HRESULT Unadvise(DWORD cookie) = 0;
};

struct IMediaSample : IUnknown {
  virtual HRESULT GetPointer(BYTE** buffer) = 0;
  virtual LONG GetSize() = 0;
  virtual HRESULT GetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) = 0;
  virtual HRESULT SetTime(REFERENCE_TIME* start, REFERENCE_TIME* end) = 0;
  virtual HRESULT IsSyncPoint() = 0;
  virtual HRESULT SetSyncPoint(BOOL sync) = 0;
  virtual HRESULT IsPreroll() = 0;
  virtual HRESULT SetPreroll(BOOL preroll) = 0;
  virtual LONG GetActualDataLength() = 0;
  virtual HRESULT SetActualDataLength(LONG length) = 0;
  virtual HRESULT GetMediaType(AM_MEDIA_TYPE** type) = 0;
  virtual HRESULT SetMediaType(AM_MEDIA_TYPE* type) = 0;
  virtual HRESULT IsDiscontinuity() = 0;
  virtual HRESULT SetDiscontinuity(BOOL discontinuity) = 0;
  virtual HRESULT GetMediaTime(LONGLONG* start, LONGLONG* end) = 0;
  virtual HRESULT SetMediaTime(LONGLONG* start, LONGLONG* end) = 0;
};

struct IMemAllocator : IUnknown {
  virtual HRESULT SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) = 0;
  virtual HRESULT GetProperties(ALLOCATOR_PROPERTIES* props) = 0;
  virtual HRESULT Commit() = 0;
  virtual HRESULT Decommit() = 0;
  virtual HRESULT GetBuffer(IMediaSample** sample, REFERENCE_TIME* start, REFERENCE_TIME* end,
                            DWORD flags) = 0;
  virtual HRESULT ReleaseBuffer(IMediaSample* sample) = 0;
};

struct PIN_INFO {
  IBaseFilter* pFilter;  // carries a reference the caller releases
  PIN_DIRECTION dir;
  WCHAR achName[128];
};

struct FILTER_INFO {
  WCHAR achName[128];
  IFilterGraph* pGraph;  // carries a reference the caller releases
};

struct IEnumMediaTypes : IUnknown {
  virtual HRESULT Next(ULONG count, AM_MEDIA_TYPE** types, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumMediaTypes** out) = 0;
};

struct IPin : IUnknown {
  virtual HRESULT Connect(IPin* receivePin, const AM_MEDIA_TYPE* mt) = 0;
  virtual HRESULT ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* mt) = 0;
  virtual HRESULT Disconnect() = 0;
  virtual HRESULT ConnectedTo(IPin** pin) = 0;
  virtual HRESULT ConnectionMediaType(AM_MEDIA_TYPE* mt) = 0;
  virtual HRESULT QueryPinInfo(PIN_INFO* info) = 0;
  virtual HRESULT QueryDirection(PIN_DIRECTION* dir) = 0;
  virtual HRESULT QueryId(LPWSTR* id) = 0;
  virtual HRESULT QueryAccept(const AM_MEDIA_TYPE* mt) = 0;
  virtual HRESULT EnumMediaTypes(IEnumMediaTypes** e) = 0;
  virtual HRESULT QueryInternalConnections(IPin** pins, ULONG* count) = 0;
  virtual HRESULT EndOfStream() = 0;
  virtual HRESULT BeginFlush() = 0;
  virtual HRESULT EndFlush() = 0;
  virtual HRESULT NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) = 0;
};

struct IEnumPins : IUnknown {
  virtual HRESULT Next(ULONG count, IPin** pins, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumPins** out) = 0;
};

struct IMemInputPin : IUnknown {
  virtual HRESULT GetAllocator(IMemAllocator** allocator) = 0;
  virtual HRESULT NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) = 0;
  virtual HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* props) = 0;
  virtual HRESULT Receive(IMediaSample* sample) = 0;
  virtual HRESULT ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) = 0;
  virtual HRESULT ReceiveCanBlock() = 0;
};

struct IMediaFilter : IPersist {
  virtual HRESULT Stop() = 0;
  virtual HRESULT Pause() = 0;
  virtual HRESULT Run(REFERENCE_TIME start) = 0;
  virtual HRESULT GetState(DWORD msTimeout, FILTER_STATE* state) = 0;
  virtual HRESULT SetSyncSource(IReferenceClock* clock) = 0;
  virtual HRESULT GetSyncSource(IReferenceClock** clock) = 0;
};

struct IBaseFilter : IMediaFilter {
  virtual HRESULT EnumPins(IEnumPins** e) = 0;
  virtual HRESULT FindPin(LPCWSTR id, IPin** pin) = 0;
  virtual HRESULT QueryFilterInfo(FILTER_INFO* info) = 0;
  virtual HRESULT JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) = 0;
  virtual HRESULT QueryVendorInfo(LPWSTR* info) = 0;
};

// Declared for JoinFilterGraph; this platform has no graph manager object.
struct IFilterGraph : IUnknown {
  virtual HRESULT AddFilter(IBaseFilter* filter, LPCWSTR name) = 0;
  virtual HRESULT RemoveFilter(IBaseFilter* filter) = 0;
  virtual HRESULT EnumFilters(IEnumFilters** e) = 0;
  virtual HRESULT FindFilterByName(LPCWSTR name, IBaseFilter** filter) = 0;
  virtual HRESULT ConnectDirect(IPin* out, IPin* in, const AM_MEDIA_TYPE* mt) = 0;
  virtual HRESULT Reconnect(IPin* pin) = 0;
  virtual HRESULT Disconnect(IPin* pin) = 0;
  virtual HRESULT SetDefaultSyncSource() = 0;
};

struct IAMovieSetup : IUnknown {
  virtual HRESULT Register() = 0;
  virtual HRESULT Unregister() = 0;
};

// Filter registration records, as a module's class table refers to them.
inline constexpr DWORD MERIT_PREFERRED = 0x00800000;
inline constexpr DWORD MERIT_NORMAL = 0x00600000;
inline constexpr DWORD MERIT_UNLIKELY = 0x00400000;
inline constexpr DWORD MERIT_DO_NOT_USE = 0x00200000;

struct AMOVIESETUP_MEDIATYPE {
  const CLSID* clsMajorType;
  const CLSID* clsMinorType;
};
struct AMOVIESETUP_PIN {
  const WCHAR* strName;
  BOOL bRendered;
  BOOL bOutput;
  BOOL bZero;
  BOOL bMany;
  const CLSID* clsConnectsToFilter;
  const WCHAR* strConnectsToPin;
  UINT nMediaTypes;
  const AMOVIESETUP_MEDIATYPE* lpMediaType;
};
struct AMOVIESETUP_FILTER {
  const CLSID* clsID;
  const WCHAR* strName;
  DWORD dwMerit;
  UINT nPins;
  const AMOVIESETUP_PIN* lpPin;
};
