// CQxCopyEffectFilter: the copy-transform plumbing the effects with their own output buffers share
// (Time Stretch, Pitch Shift): pins, type negotiation, time stamps, the Receive and flush loops.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/frame/persist.h"
#include "platform/mediagraph/streams.h"

class CQxCopyEffectFilter;

// Runs the filter's own Receive under the receive lock.
class CQxCopyEffectInputPin : public CTransformInputPin {
 public:
  CQxCopyEffectInputPin(const char* objectName, CQxCopyEffectFilter* filter, HRESULT* hr, LPCWSTR pinName);
  HRESULT Receive(IMediaSample* sample) override;

 private:
  CQxCopyEffectFilter* effect_;
};

class CQxCopyEffectFilter : public CTransformFilter, public CQxPersistFrame {
 public:
  // outputPinName is the output pin's object name; the input pin comes from MakeInputPin.
  CQxCopyEffectFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, const char* outputPinName,
                      uint32_t instanceNumber);

  // Answers the persistence interfaces, then the filter's.
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

  // Stricter than the frame's: a header that cannot be read, or of no known tag and size, fails
  // and posts nothing; the record itself goes to LoadRecord.
  HRESULT Load(IStream* stream) override;

  uint32_t InstanceNumber() const { return InstanceNumber_; }

 protected:
  // The property interfaces' GetFormat and GetSampleRate (0 input, 1 output).
  HRESULT PinFormat(WAVEFORMATEX* record, int32_t direction);
  HRESULT InputSampleRate(uint32_t* value);

  // ---- What each effect supplies ----
  virtual CTransformInputPin* MakeInputPin(HRESULT* hr) = 0;
  // Binds the input format at the start of streaming; frees the engine at its stop.
  virtual HRESULT EngineStart(const WAVEFORMATEX& format) = 0;
  virtual void EngineStop() = 0;
  // Once per input block, before any Process call, when the format is one the engine takes.
  virtual HRESULT EngineBlock(bool, void*, int32_t) { return S_OK; }
  // `consumed` and `produced` hold capacities on entry, frames moved on return.
  virtual HRESULT EngineProcess(bool newRun, const void* input, int32_t* consumed, void* output,
                                int32_t* produced) = 0;
  // S_FALSE when nothing more is left to give.
  virtual HRESULT EngineFlush(void* output, int32_t* produced) = 0;
  // Whether the last Process call moved anything inside even with nothing consumed or produced.
  virtual bool EngineAdvanced() const { return false; }
  // After a header Load accepted: reads and applies the record, posts the change.
  virtual HRESULT LoadRecord(IStream* stream, const BYTE* header) = 0;

 private:
  // Stamps, fills and delivers one output sample holding `frames` frames.
  HRESULT DeliverStamped(IMediaSample* out, int32_t frames);

  const char* outputPinName_;
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
