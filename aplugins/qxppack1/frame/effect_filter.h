// The streaming path every in-place effect shares: format check and reduction, the per-sample
// Transform loop over tempo chunks and automation steps, tail rendering at the end of the stream,
// and the direct float door. The effect supplies its transform through IQxEffectCore.
#pragma once
#include "aplugins/qxppack1/frame/effect_core.h"
#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/frame/persist.h"
#include "platform/mediagraph/streams.h"

class CQxEffectFilter;

// Input pin that runs the filter's own Receive under the receive lock.
class CQxEffectInputPin : public CTransInPlaceInputPin {
 public:
  CQxEffectInputPin(const char* objectName, CQxEffectFilter* filter, HRESULT* hr, LPCWSTR pinName);
  HRESULT Receive(IMediaSample* sample) override;

 private:
  CQxEffectFilter* effect_;
};

class CQxEffectFilter : public CTransInPlaceFilter, public IQxAudioTransformFloat, public CQxPersistFrame {
 public:
  // rendersTail: the effect renders its delay memory after the end of the stream.
  CQxEffectFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT* hr, IQxEffectCore* core,
                  bool rendersTail);
  ~CQxEffectFilter() override;

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  // Filter overrides.
  CBasePin* GetPin(int n) override;
  HRESULT CheckInputType(const CMediaType* mt) override;
  HRESULT CheckTransform(const CMediaType*, const CMediaType*) override { return S_OK; }
  HRESULT GetMediaType(int, CMediaType*) override { return E_UNEXPECTED; }
  HRESULT SetMediaType(PIN_DIRECTION direction, const CMediaType* mt) override;
  HRESULT StartStreaming() override;
  HRESULT StopStreaming() override;
  HRESULT Receive(IMediaSample* sample) override;
  HRESULT EndOfStream() override;
  HRESULT Transform(IMediaSample* sample) override;

  // The float door.
  HRESULT Prepare(uint16_t channels, uint32_t sampleRate) override;
  int32_t Process(float* buffer, uint32_t frames, int32_t tailRequest) override;
  int32_t RenderTail(float* buffer, uint32_t* frames) override;
  HRESULT Finish() override;
  int32_t AlwaysOne() override { return 1; }
  HRESULT Reset(int32_t clearAll) override;

  // One answer for IPersist through the filter and through IPersistStream.
  HRESULT GetClassID(CLSID* clsid) override { return CTransInPlaceFilter::GetClassID(clsid); }

  const WAVEFORMATEX& Format() const { return Format_; }
  uint32_t InstanceNumber() const { return InstanceNumber_; }
  bool InTail() const { return InTail_; }
  bool SampleSeen() const { return SampleSeen_; }

 protected:
  const QxEffectTables& PersistTables() override { return core_->Tables(); }
  void PersistGetRecord(void* record) override { core_->GetRecord(record); }
  HRESULT PersistSetRecord(const void* record) override { return core_->SetRecord(record); }
  bool PersistDirty() override { return core_->PersistDirtyFlag(); }
  void SetPersistDirty(bool dirty) override { core_->SetPersistDirtyFlag(dirty); }
  void NotifyChange(uint16_t code) override { core_->Notify(code); }

  // The default pins are named "Input" and "Output"; an effect may give its own input pin class.
  virtual CQxEffectInputPin* MakeInputPin(HRESULT* hr);

 private:
  struct StepResult {
    uint32_t framesDone = 0;
    int result = 0;       // last ProcessBlock result
    HRESULT failure = S_OK;
  };
  // Steps 8 to 12 of a block: tempo chunks, automation steps, bypass, apply and process.
  // floatDoor: apply only on change, never on the mode or validity.
  StepResult RunSteps(BYTE* buffer, uint32_t frames, QxRunMode mode, int32_t tailRequest, bool skip,
                      bool floatDoor);

  friend class CQxEffectInputPin;

  IQxEffectCore* core_;
  bool rendersTail_;
  uint32_t InstanceNumber_;
  WAVEFORMATEX Format_{};
  bool InTail_ = false;
  bool SampleSeen_ = false;
  bool TailEnded_ = false;
};
