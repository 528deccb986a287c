// CQxPitchs, the Pitch Shift filter: a copy transform whose Receive loop filters each input block in
// place, feeds the resampler (and the splice engine), draws output samples and stamps them itself.
#pragma once
#include "aplugins/qxppack1/frame/copy_filter.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pitchtime/pitchs_transform.h"

class CQxPitchs;

// Runs the filter's own Receive under the receive lock.
class CQxPitchsInputPin : public CQxCopyEffectInputPin {
 public:
  CQxPitchsInputPin(const char* objectName, CQxPitchs* filter, HRESULT* hr, LPCWSTR pinName);
};

class CQxPitchs final : public CQxCopyEffectFilter, public CQxPitchsTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxPitchs(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  // IQxPitchsProp slots that need the pins' formats.
  HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) override { return PinFormat(record, direction); }
  HRESULT GetSampleRate(uint32_t* value) override { return InputSampleRate(value); }

 protected:
  const QxEffectTables& PersistTables() override { return g_PitchsTables; }
  void PersistGetRecord(void* record) override { GetParams(static_cast<PitchParams*>(record)); }
  HRESULT PersistSetRecord(const void* record) override {
    return SetParams(static_cast<const PitchParams*>(record));
  }
  bool PersistDirty() override { return Dirty(); }
  void SetPersistDirty(bool dirty) override { SetDirty(dirty); }
  void NotifyChange(uint16_t code) override { Notify(code); }

  CTransformInputPin* MakeInputPin(HRESULT* hr) override;
  HRESULT EngineStart(const WAVEFORMATEX& format) override { return PrepareStream(format); }
  void EngineStop() override { ReleaseStream(); }
  // Configure and the anti-alias pass run on the whole block, in the upstream sample's memory.
  HRESULT EngineBlock(bool discontinuity, void* samples, int32_t frames) override {
    return PrepareBlock(discontinuity, samples, frames);
  }
  HRESULT EngineProcess(bool newRun, const void* input, int32_t* consumed, void* output,
                        int32_t* produced) override {
    return Process(newRun ? PitchsNewRun : PitchsContinue, input, consumed, output, produced);
  }
  HRESULT EngineFlush(void* output, int32_t* produced) override {
    return Process(PitchsFlush, nullptr, nullptr, output, produced);
  }
  // A call that only moved audio from the intermediate buffer into the splice engine did move on.
  bool EngineAdvanced() const override { return LastCallAdvanced(); }
  HRESULT LoadRecord(IStream* stream, const BYTE* header) override;
};
