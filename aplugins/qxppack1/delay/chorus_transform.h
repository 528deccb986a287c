// CQxChorusTransform: Chorus's parameters, update requests and change record around its engine,
// and the IQxChorusProp2 control interface. Host-neutral apart from the notification windows.
#pragma once
#include "aplugins/qxppack1/delay/chorus_engine.h"
#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/frame/mfx_tempo.h"
#include "aplugins/qxppack1/frame/plugin_params.h"
#include "aplugins/qxppack1/frame/transform_state.h"

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

class CQxChorusTransform : public CQxTransformState<IQxChorusProp2>, public CQxPlugInParams, public CMFXTempo {
 public:
  // Loads preset row 0.
  CQxChorusTransform();
  ~CQxChorusTransform() override;

  // IQxChorusProp2 (IUnknown comes from the filter that owns this transform).
  HRESULT GetAllParameters(ChorusParams* record) override;
  HRESULT SetAllParameters(const ChorusParams* record) override;
  QX_PROP_FIELD_IMPL(InputGain, CHORUS_INPUT_GAIN)
  QX_PROP_FIELD_IMPL(DryOut, CHORUS_DRY_OUT)
  QX_PROP_FIELD_IMPL(ChorusOut, CHORUS_CHORUS_OUT)
  QX_PROP_FIELD_IMPL(ChorusSize, CHORUS_CHORUS_SIZE)
  QX_PROP_FIELD_IMPL(Feedback, CHORUS_FEEDBACK)
  QX_PROP_FIELD_IMPL(InvertChorusPhase, CHORUS_INVERT_CHORUS_PHASE)
  QX_PROP_FIELD_IMPL(OutDelay, CHORUS_OUT_DELAY)
  QX_PROP_FIELD_IMPL(ModRate, CHORUS_MOD_RATE)
  QX_PROP_FIELD_IMPL(ModDepth, CHORUS_MOD_DEPTH)
  QX_PROP_FIELD_IMPL(AttenuateHigh, CHORUS_ATTENUATE_HIGH)
  QX_PROP_FIELD_IMPL(AttenuationFrequency, CHORUS_ATTENUATION_FREQUENCY)
  QX_PROP_FIELD_IMPL(InvertFeedbackPhase, CHORUS_INVERT_FEEDBACK_PHASE)
  QX_PROP_FIELD_IMPL(ModPeriodNote, CHORUS_MOD_PERIOD_NOTE)
  QX_PROP_FIELD_IMPL(ModPeriodMultiplier, CHORUS_MOD_PERIOD_MULTIPLIER)
  QX_PROP_FIELD_IMPL(TempoSync, CHORUS_TEMPO_SYNC)
  QX_PROP_FIELD_IMPL(Bypass, CHORUS_BYPASS)
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
  const QxEffectTables& Tables() override { return g_ChorusTables; }
  void GetRecord(void* record) override { GetAll(record); }
  HRESULT SetRecord(const void* record) override {
    return SetAllParameters(static_cast<const ChorusParams*>(record));
  }
  QxStreamClock& Clock() override { return *this; }
  CQxPlugInParams* Params() override { return this; }
  CMFXTempo* Tempo() override { return this; }

  const CQxChorusEngine& Engine() const { return engine_; }

 protected:
  HRESULT GetField(uint32_t index, int32_t* value);
  HRESULT SetField(uint32_t index, int32_t value);
  HRESULT EndField(uint32_t index);

 private:
  CQxChorusEngine engine_;
  ChorusParams snapshot_{};
};
