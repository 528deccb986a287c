// CQxEchosTransform: Simple Delay's parameters, snapshot and change record around its engine,
// and the IQxEchosProp2 control interface. Host-neutral apart from the notification windows.
#pragma once
#include "aplugins/qxppack1/delay/echos_engine.h"
#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/frame/mfx_tempo.h"
#include "aplugins/qxppack1/frame/plugin_params.h"
#include "aplugins/qxppack1/frame/transform_state.h"

// Index of each parameter in the automation table (not the record order).
enum EchosParamIndex : uint32_t {
  ECHOS_DELAY_TIME = 0,
  ECHOS_DECAY_TIME,
  ECHOS_MULTIPLE_DELAYS,
  ECHOS_DRY_OUT,
  ECHOS_DELAY_OUT,
  ECHOS_BYPASS,
  ECHOS_DELAY_NOTE,
  ECHOS_DELAY_MULTIPLIER,
  ECHOS_TEMPO_SYNC_DELAY,
  ECHOS_DECAY_NOTE,
  ECHOS_DECAY_MULTIPLIER,
  ECHOS_TEMPO_SYNC_DECAY,
  ECHOS_PARAM_COUNT
};

extern QxParamInfo g_EchosParamInfo[ECHOS_PARAM_COUNT];

struct QxEchosPreset {
  uint32_t Name;  // string number of the preset's name
  EchosParams Params;
};
extern const QxEchosPreset g_EchosPresets[];
extern const uint32_t g_EchosPresetCount;
// Versions of the persistent record (current first), and the presets, for the frame.
extern const QxEffectTables g_EchosTables;

class CQxEchosTransform : public CQxTransformState<IQxEchosProp2>, public CQxPlugInParams, public CMFXTempo {
 public:
  CQxEchosTransform();
  ~CQxEchosTransform() override;

  // IQxEchosProp2 (IUnknown comes from the filter that owns this transform).
  HRESULT GetAllParameters(EchosParams* record) override;
  HRESULT SetAllParameters(const EchosParams* record) override;
  QX_PROP_FIELD_IMPL(DelayTime, ECHOS_DELAY_TIME)
  QX_PROP_FIELD_IMPL(DryOut, ECHOS_DRY_OUT)
  QX_PROP_FIELD_IMPL(DelayOut, ECHOS_DELAY_OUT)
  QX_PROP_FIELD_IMPL(MultipleDelays, ECHOS_MULTIPLE_DELAYS)
  QX_PROP_FIELD_IMPL(DecayTime, ECHOS_DECAY_TIME)
  QX_PROP_FIELD_IMPL(DelayNote, ECHOS_DELAY_NOTE)
  QX_PROP_FIELD_IMPL(DelayMultiplier, ECHOS_DELAY_MULTIPLIER)
  QX_PROP_FIELD_IMPL(TempoSyncDelay, ECHOS_TEMPO_SYNC_DELAY)
  QX_PROP_FIELD_IMPL(DecayNote, ECHOS_DECAY_NOTE)
  QX_PROP_FIELD_IMPL(DecayMultiplier, ECHOS_DECAY_MULTIPLIER)
  QX_PROP_FIELD_IMPL(TempoSyncDecay, ECHOS_TEMPO_SYNC_DECAY)
  QX_PROP_FIELD_IMPL(Bypass, ECHOS_BYPASS)
  int32_t HasTempoMap() override { return CMFXTempo::HasTempoMap() ? 1 : 0; }

  // IMediaParams::SetParam: a host's change marks the record dirty and tells the pages.
  HRESULT SetParam(DWORD index, MP_DATA value) override;

  // IQxEffectCore
  HRESULT Start(const WAVEFORMATEX* format) override;
  void Stop() override;
  bool Snapshot() override;
  HRESULT Apply(QxRunMode mode, const QxTempoRecord* tempo) override;
  bool BypassGate(uint32_t frames) override;
  bool BypassOn() override;
  int ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                   int32_t tailRequest) override;
  bool ParamsValid() const override { return engine_.ParamsValid(); }
  bool TailFinished() const override { return engine_.TailFinished(); }
  const QxEffectTables& Tables() override { return g_EchosTables; }
  void GetRecord(void* record) override { GetAll(record); }
  HRESULT SetRecord(const void* record) override {
    return SetAllParameters(static_cast<const EchosParams*>(record));
  }
  QxStreamClock& Clock() override { return *this; }
  CQxPlugInParams* Params() override { return this; }
  CMFXTempo* Tempo() override { return this; }

  const CQxEchosEngine& Engine() const { return engine_; }

 protected:
  HRESULT GetField(uint32_t index, int32_t* value);
  HRESULT SetField(uint32_t index, int32_t value);
  HRESULT EndField(uint32_t index);

 private:
  CQxEchosEngine engine_;
  EchosParams snapshot_{};
};
