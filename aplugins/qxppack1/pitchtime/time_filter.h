// CQxTime, the Time Stretch filter: a copy transform whose Receive loop feeds the splice engine,
// draws as many output samples as the stretched audio needs and stamps them itself.
#pragma once
#include "aplugins/qxppack1/frame/copy_filter.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pitchtime/time_transform.h"

class CQxTime;

// Runs the filter's own Receive under the receive lock.
class CQxTimeInputPin : public CQxCopyEffectInputPin {
 public:
  CQxTimeInputPin(const char* objectName, CQxTime* filter, HRESULT* hr, LPCWSTR pinName);
};

class CQxTime final : public CQxCopyEffectFilter, public CQxTimeTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxTime(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  // IQxTimeProp slots that need the pins' formats.
  HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) override { return PinFormat(record, direction); }
  HRESULT GetSampleRate(uint32_t* value) override { return InputSampleRate(value); }

 protected:
  const QxEffectTables& PersistTables() override { return g_TimeTables; }
  void PersistGetRecord(void* record) override { GetParams(static_cast<TimeParams*>(record)); }
  HRESULT PersistSetRecord(const void* record) override {
    return SetParams(static_cast<const TimeParams*>(record));
  }
  bool PersistDirty() override { return Dirty(); }
  void SetPersistDirty(bool dirty) override { SetDirty(dirty); }
  void NotifyChange(uint16_t code) override { Notify(code); }

  CTransformInputPin* MakeInputPin(HRESULT* hr) override;
  HRESULT EngineStart(const WAVEFORMATEX& format) override { return Engine().Prepare(format); }
  void EngineStop() override { Engine().Release(); }
  HRESULT EngineProcess(bool newRun, const void* input, int32_t* consumed, void* output,
                        int32_t* produced) override {
    return Engine().Process(newRun ? SpliceNewRun : SpliceContinue, input, consumed, output, produced);
  }
  HRESULT EngineFlush(void* output, int32_t* produced) override {
    return Engine().Process(SpliceFlush, nullptr, nullptr, output, produced);
  }
  // Either known form at 52 bytes: the frame applies the record, scaling the older one.
  HRESULT LoadRecord(IStream* stream, const BYTE* header) override;
};
