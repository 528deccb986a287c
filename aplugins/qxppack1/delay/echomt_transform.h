// CQxEchomtTransform: Multi-Tap Delay's record, kept directly, and its engine behind the
// IQxEchomtProp control interface and the streaming path's core contract.
#pragma once
#include "aplugins/qxppack1/delay/echomt_engine.h"
#include "aplugins/qxppack1/delay/echomt_prop.h"
#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/frame/effect_core.h"
#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/frame/plugin_params.h"

// The record's one persistent version and the 26 presets, for the shared persistence frame.
extern const QxEffectTables g_EchomtTables;

class CQxEchomtTransform : public IQxEchomtProp, public IQxEffectCore {
 public:
  // Loads preset row 0.
  CQxEchomtTransform();
  ~CQxEchomtTransform() override;

  // IQxEchomtProp (IUnknown comes from the filter that owns this transform).
  HRESULT GetAllParameters(EchomtParams* record) override;
  HRESULT SetAllParameters(const EchomtParams* record) override;
  HRESULT RegisterWindow(HWND window, uint16_t commandId) override;
#define QX_ECHOMT_PAIR_IMPL(Name, Field)                                          \
  HRESULT Get##Name(int32_t* value) override { return GetField(Field, value); }  \
  HRESULT Set##Name(int32_t value) override { return SetField(Field, value); }
#define QX_ECHOMT_PAIRS8_IMPL(Name, Base) \
  QX_ECHOMT_PAIR_IMPL(Name##1, Base + 0)  \
  QX_ECHOMT_PAIR_IMPL(Name##2, Base + 1)  \
  QX_ECHOMT_PAIR_IMPL(Name##3, Base + 2)  \
  QX_ECHOMT_PAIR_IMPL(Name##4, Base + 3)  \
  QX_ECHOMT_PAIR_IMPL(Name##5, Base + 4)  \
  QX_ECHOMT_PAIR_IMPL(Name##6, Base + 5)  \
  QX_ECHOMT_PAIR_IMPL(Name##7, Base + 6)  \
  QX_ECHOMT_PAIR_IMPL(Name##8, Base + 7)
  QX_ECHOMT_PAIR_IMPL(InputGain, ECHOMT_INPUT_GAIN)
  QX_ECHOMT_PAIR_IMPL(DryOut, ECHOMT_DRY_OUT)
  QX_ECHOMT_PAIR_IMPL(WetOut, ECHOMT_WET_OUT)
  QX_ECHOMT_PAIR_IMPL(ModRate, ECHOMT_MOD_RATE)
  QX_ECHOMT_PAIR_IMPL(ModDepth, ECHOMT_MOD_DEPTH)
  QX_ECHOMT_PAIR_IMPL(Feedback, ECHOMT_FEEDBACK)
  QX_ECHOMT_PAIR_IMPL(LowPassOn, ECHOMT_LOW_PASS_ON)
  QX_ECHOMT_PAIR_IMPL(LowPassFrequency, ECHOMT_LOW_PASS_FREQUENCY)
  QX_ECHOMT_PAIR_IMPL(TapCount, ECHOMT_TAP_COUNT)
  QX_ECHOMT_PAIR_IMPL(CurrentTap, ECHOMT_CURRENT_TAP)
  QX_ECHOMT_PAIR_IMPL(GraphResolution, ECHOMT_GRAPH_RESOLUTION)
  QX_ECHOMT_PAIRS8_IMPL(TapGain, ECHOMT_TAP_GAIN)
  QX_ECHOMT_PAIRS8_IMPL(TapDelay, ECHOMT_TAP_DELAY)
  QX_ECHOMT_PAIRS8_IMPL(TapPan, ECHOMT_TAP_PAN)
#undef QX_ECHOMT_PAIRS8_IMPL
#undef QX_ECHOMT_PAIR_IMPL
  HRESULT SetLicenceState(int32_t v) override { licenceState_ = v; return S_OK; }
  HRESULT GetLicenceState(int32_t* v) override { return v ? (*v = licenceState_, S_OK) : E_POINTER; }
  HRESULT SetLicenceFlags(int32_t v) override { licenceFlags_ = v; return S_OK; }
  HRESULT GetLicenceFlags(int32_t* v) override { return v ? (*v = licenceFlags_, S_OK) : E_POINTER; }

  // IQxEffectCore. The engine takes its own snapshot and updates at the head of every block, so
  // Snapshot reports nothing and Apply only passes a reset on; there is no bypass.
  HRESULT Start(const WAVEFORMATEX* format) override;
  void Stop() override;
  bool Snapshot() override { return false; }
  HRESULT Apply(QxRunMode mode, const QxTempoRecord* tempo) override;
  bool BypassGate(uint32_t) override { return true; }
  bool BypassOn() override { return false; }
  int ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                   int32_t tailRequest) override;
  bool ParamsValid() const override { return engine_.DesignValid(); }
  bool TailFinished() const override { return engine_.TailDone(); }
  void Notify(uint16_t code) override;
  const QxEffectTables& Tables() override { return g_EchomtTables; }
  void GetRecord(void* record) override { engine_.GetParams(static_cast<EchomtParams*>(record)); }
  // A loaded record is clamped like any other write of the whole record.
  HRESULT SetRecord(const void* record) override {
    return SetAllParameters(static_cast<const EchomtParams*>(record));
  }
  bool PersistDirtyFlag() override { return engine_.Dirty(); }
  void SetPersistDirtyFlag(bool dirty) override { engine_.SetDirty(dirty); }
  QxStreamClock& Clock() override { return clock_; }
  CQxPlugInParams* Params() override { return nullptr; }
  CMFXTempo* Tempo() override { return nullptr; }

  const CQxEchomtEngine& Engine() const { return engine_; }

 protected:
  HRESULT GetField(int field, int32_t* value);
  HRESULT SetField(int field, int32_t value);

 private:
  CQxEchomtEngine engine_;
  CQxChangeNotifier notifier_;
  QxStreamClock clock_;
  int32_t licenceState_ = 0;
  int32_t licenceFlags_ = 0;
};
