// CQxPitchs, the Pitch Shift filter: a copy transform whose Receive loop filters each input block in
// place, feeds the resampler (and the splice engine), draws output samples and stamps them itself.
#pragma once
#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/pitchtime/pitchs_transform.h"
#include "platform/mediagraph/streams.h"

inline constexpr CLSID CLSID_QxPitchs = MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxPitchsPropPage = MakeGuid("ED1B4101-93BE-11D0-AEBC-00A0C9053912");

class CQxPitchs;

// Runs the filter's own Receive under the receive lock.
class CQxPitchsInputPin : public CTransformInputPin {
 public:
  CQxPitchsInputPin(const char* objectName, CQxPitchs* filter, HRESULT* hr, LPCWSTR pinName);
  HRESULT Receive(IMediaSample* sample) override;

 private:
  CQxPitchs* pitchs_;
};

class CQxPitchs final : public CTransformFilter, public CQxPitchsTransform, public CQxPersistFrame {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxPitchs(LPUNKNOWN outer, HRESULT* hr);

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

  // IQxPitchsProp slots that need the pins' formats.
  HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) override;
  HRESULT GetSampleRate(uint32_t* value) override;

  // Stricter than the frame's: a header that cannot be read, or not the 68-byte form, fails and
  // posts nothing.
  HRESULT Load(IStream* stream) override;

  uint32_t InstanceNumber() const { return InstanceNumber_; }

 protected:
  const QxEffectTables& PersistTables() override { return g_PitchsTables; }
  void PersistGetRecord(void* record) override { GetParams(static_cast<PitchParams*>(record)); }
  HRESULT PersistSetRecord(const void* record) override {
    return SetParams(static_cast<const PitchParams*>(record));
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
