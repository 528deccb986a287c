// CQxChorusTransform: Chorus's parameters, update requests and change record around its engine,
// and the IQxChorusProp2 control interface. Host-neutral apart from the notification windows.
#pragma once
#include <mutex>

#include "aplugins/qxppack1/delay/chorus_engine.h"
#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/frame/effect_core.h"
#include "aplugins/qxppack1/frame/mfx_tempo.h"
#include "aplugins/qxppack1/frame/plugin_params.h"

// Index of each parameter in the automation table (not the record order).
enum ChorusParamIndex : uint32_t {
  CHORUS_MOD_RATE = 0,
  CHORUS_MOD_DEPTH,
  CHORUS_OUT_DELAY,
  CHORUS_FEEDBACK,
  CHORUS_CHORUS_SIZE,
  CHORUS_INVERT_CHORUS_PHASE,
  CHORUS_INVERT_FEEDBACK_PHASE,
  CHORUS_ATTENUATE_HIGH,
  CHORUS_ATTENUATION_FREQUENCY,
  CHORUS_INPUT_GAIN,
  CHORUS_DRY_OUT,
  CHORUS_CHORUS_OUT,
  CHORUS_BYPASS,
  CHORUS_MOD_PERIOD_NOTE,
  CHORUS_MOD_PERIOD_MULTIPLIER,
  CHORUS_TEMPO_SYNC,
  CHORUS_PARAM_COUNT
};

extern QxParamInfo g_ChorusParamInfo[CHORUS_PARAM_COUNT];
// Versions of the persistent record (newest first), and the presets, for the frame.
extern const QxEffectTables g_ChorusTables;

class CQxChorusTransform : public IQxChorusProp2,
                           public CQxPlugInParams,
                           public CMFXTempo,
                           public IQxEffectCore {
 public:
  // Loads preset row 0.
  CQxChorusTransform();
  ~CQxChorusTransform() override;

  // IQxChorusProp2 (IUnknown comes from the filter that owns this transform).
  HRESULT GetAllParameters(ChorusParams* record) override;
  HRESULT SetAllParameters(const ChorusParams* record) override;
  HRESULT RegisterWindow(HWND window, uint16_t commandId) override;
#define QX_CHORUS_PARAM_IMPL(Name, Index)                                          \
  HRESULT Get##Name(int32_t* value) override { return GetField(Index, value); }   \
  HRESULT Set##Name(int32_t value) override { return SetField(Index, value); }    \
  HRESULT Begin##Name() override { return BeginGesture(Index); }                  \
  HRESULT End##Name() override { return EndField(Index); }                        \
  int32_t Is##Name##Idle() override { return IsIdle(Index); }
  QX_CHORUS_PARAM_IMPL(InputGain, CHORUS_INPUT_GAIN)
  QX_CHORUS_PARAM_IMPL(DryOut, CHORUS_DRY_OUT)
  QX_CHORUS_PARAM_IMPL(ChorusOut, CHORUS_CHORUS_OUT)
  QX_CHORUS_PARAM_IMPL(ChorusSize, CHORUS_CHORUS_SIZE)
  QX_CHORUS_PARAM_IMPL(Feedback, CHORUS_FEEDBACK)
  QX_CHORUS_PARAM_IMPL(InvertChorusPhase, CHORUS_INVERT_CHORUS_PHASE)
  QX_CHORUS_PARAM_IMPL(OutDelay, CHORUS_OUT_DELAY)
  QX_CHORUS_PARAM_IMPL(ModRate, CHORUS_MOD_RATE)
  QX_CHORUS_PARAM_IMPL(ModDepth, CHORUS_MOD_DEPTH)
  QX_CHORUS_PARAM_IMPL(AttenuateHigh, CHORUS_ATTENUATE_HIGH)
  QX_CHORUS_PARAM_IMPL(AttenuationFrequency, CHORUS_ATTENUATION_FREQUENCY)
  QX_CHORUS_PARAM_IMPL(InvertFeedbackPhase, CHORUS_INVERT_FEEDBACK_PHASE)
  QX_CHORUS_PARAM_IMPL(ModPeriodNote, CHORUS_MOD_PERIOD_NOTE)
  QX_CHORUS_PARAM_IMPL(ModPeriodMultiplier, CHORUS_MOD_PERIOD_MULTIPLIER)
  QX_CHORUS_PARAM_IMPL(TempoSync, CHORUS_TEMPO_SYNC)
  QX_CHORUS_PARAM_IMPL(Bypass, CHORUS_BYPASS)
#undef QX_CHORUS_PARAM_IMPL
  HRESULT SetLicenceState(int32_t v) override { licenceState_ = v; return S_OK; }
  HRESULT GetLicenceState(int32_t* v) override { return v ? (*v = licenceState_, S_OK) : E_POINTER; }
  HRESULT SetLicenceFlags(int32_t v) override { licenceFlags_ = v; return S_OK; }
  HRESULT GetLicenceFlags(int32_t* v) override { return v ? (*v = licenceFlags_, S_OK) : E_POINTER; }
  int32_t HasTempoMap() override { return CMFXTempo::HasTempoMap() ? 1 : 0; }

  // IMediaParams::SetParam: a host's change marks the record dirty and tells the pages, but asks
  // the engine for no design, so size and delay wait for the next one.
  HRESULT SetParam(DWORD index, MP_DATA value) override;

  // IQxEffectCore
  HRESULT Start(const WAVEFORMATEX* format) override;
  void Stop() override;
  bool Snapshot() override;
  HRESULT Apply(QxRunMode mode, const QxTempoRecord* tempo) override;
  // Every span reaches the update; bypass is decided there and freezes the engine.
  bool BypassGate(uint32_t) override { return true; }
  bool BypassOn() override;
  // RunTail gives nothing back: the chorus has no tail.
  int ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                   int32_t tailRequest) override;
  bool ParamsValid() const override { return engine_.DesignValid(); }
  bool TailFinished() const override { return true; }
  void Notify(uint16_t code) override;
  const QxEffectTables& Tables() override { return g_ChorusTables; }
  void GetRecord(void* record) override { GetAll(record); }
  HRESULT SetRecord(const void* record) override {
    return SetAllParameters(static_cast<const ChorusParams*>(record));
  }
  bool PersistDirtyFlag() override;
  void SetPersistDirtyFlag(bool dirty) override;
  QxStreamClock& Clock() override { return *this; }
  CQxPlugInParams* Params() override { return this; }
  CMFXTempo* Tempo() override { return this; }

  bool ParamsDirty() const { return ParamsDirty_; }
  bool PersistDirty() const { return PersistDirty_; }
  const CQxChorusEngine& Engine() const { return engine_; }

 protected:
  HRESULT GetField(uint32_t index, int32_t* value);
  HRESULT SetField(uint32_t index, int32_t value);
  HRESULT EndField(uint32_t index);
  void MarkDirty();

  std::recursive_mutex engineLock_;
  bool ParamsDirty_ = false;   // the update is pending
  bool PersistDirty_ = false;  // the record differs from what was last saved

 private:
  CQxChorusEngine engine_;
  ChorusParams snapshot_{};
  CQxChangeNotifier notifier_;
  int32_t licenceState_ = 0;
  int32_t licenceFlags_ = 0;
};
