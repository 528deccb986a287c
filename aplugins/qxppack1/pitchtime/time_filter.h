// CQxTime, the Time Stretch filter: a copy transform whose Receive loop feeds the splice engine,
// draws as many output samples as the stretched audio needs and stamps them itself.
#pragma once
#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/pitchtime/time_transform.h"
#include "platform/mediagraph/streams.h"

inline constexpr CLSID CLSID_QxTime = MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912");
inline constexpr CLSID CLSID_QxTimePropPage = MakeGuid("5FF5B4A1-858F-11D0-AEBC-00A0C9053912");

class CQxTime;

// Runs the filter's own Receive under the receive lock.
class CQxTimeInputPin : public CTransformInputPin {
 public:
  CQxTimeInputPin(const char* objectName, CQxTime* filter, HRESULT* hr, LPCWSTR pinName);
  HRESULT Receive(IMediaSample* sample) override;

 private:
  CQxTime* time_;
};

class CQxTime final : public CTransformFilter, public CQxTimeTransform, public CQxPersistFrame {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxTime(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
  HRESULT GetClassID(CLSID* clsid) override { return CTransformFilter::GetClassID(clsid); }

  // Filter overrides.
  CBasePin* GetPin(int n) override;
  HRESULT CheckInputType(const CMediaType* mt) override;
  HRESULT CheckTransform(const CMediaType* in, const CMediaType* out) override;
  HRESULT GetMediaType(int position, CMediaType* mt) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) override;
  HRESULT SetMediaType(PIN_DIRECTION direction, const CMediaType* mt) override;
  HRESULT BreakConnect(PIN_DIRECTION direction) override;
  HRESULT StartStreaming() override;
  HRESULT StopStreaming() override;
  HRESULT Receive(IMediaSample* sample) override;
  HRESULT EndOfStream() override;

  // IQxTimeProp slots that need the pins' formats.
  HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) override;
  HRESULT GetSampleRate(uint32_t* value) override;

  // Stricter than the frame's: a header that cannot be read, or one of neither known tag at 52
  // bytes, fails and posts nothing.
  HRESULT Load(IStream* stream) override;

  uint32_t InstanceNumber() const { return InstanceNumber_; }

 protected:
  const QxEffectTables& PersistTables() override { return g_TimeTables; }
  void PersistGetRecord(void* record) override { GetParams(static_cast<TimeParams*>(record)); }
  HRESULT PersistSetRecord(const void* record) override {
    return SetParams(static_cast<const TimeParams*>(record));
  }
  bool PersistDirty() override { return Dirty(); }
  void SetPersistDirty(bool dirty) override { SetDirty(dirty); }
  void NotifyChange(uint16_t code) override { Notify(code); }

 private:
  // Stamps, fills and delivers one output sample holding `frames` frames.
  HRESULT DeliverStamped(IMediaSample* out, int32_t frames);

  uint32_t InstanceNumber_;
  WAVEFORMATEX InputFormat_{};
  WAVEFORMATEX OutputFormat_{};
  bool InputFormatSet_ = false;
  bool OutputFormatSet_ = false;
  // Time stamp state of Receive: the next output starts where the last one stopped.
  REFERENCE_TIME StreamStart_ = 0;
  REFERENCE_TIME StreamStop_ = 0;
  LONGLONG MediaStart_ = 0;
  LONGLONG MediaStop_ = 0;
  bool PendingDiscontinuity_ = false;
  bool PendingSyncPoint_ = false;
};
