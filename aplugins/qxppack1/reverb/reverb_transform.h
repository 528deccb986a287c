// CQxReverbTransform: Reverb's parameter store, change record and notification around its engine,
// the automation table, and the IQxReverbProp2 control interface.
#pragma once
#include <mutex>

#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/frame/effect_core.h"
#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/frame/plugin_params.h"
#include "aplugins/qxppack1/reverb/reverb_engine.h"
#include "aplugins/qxppack1/reverb/reverb_prop.h"

// Index of each parameter in the automation table (not the record order).
enum ReverbParamIndex : uint32_t {
  REVERB_PRE_DELAY = 0,
  REVERB_DECAY_TIME,
  REVERB_MODE,
  REVERB_REFLECTION_STYLE,
  REVERB_BASS_ON,
  REVERB_BASS_FREQ,
  REVERB_HIGH_ON,
  REVERB_HIGH_FREQ,
  REVERB_DRY_OUT,
  REVERB_REVERB_OUT,
  REVERB_EARLY_OUT,
  REVERB_BYPASS,
  REVERB_PARAM_COUNT
};

// Status marks of the automation table: a moving envelope ors its row's mark into the step's
// status word, and mark 2 asks the next update for a rebuild.
inline constexpr uint32_t QX_REVERB_MARK_UPDATE = 1;
inline constexpr uint32_t QX_REVERB_MARK_REBUILD = 2;

extern QxParamInfo g_ReverbParamInfo[REVERB_PARAM_COUNT];
// Readable versions of the persistent record, the one Save writes first.
inline constexpr int QX_REVERB_PERSIST_FORM_COUNT = 3;
extern const QxPersistForm g_ReverbPersistForms[QX_REVERB_PERSIST_FORM_COUNT];
// Record size, versions and presets, for the frame's persistence and preset interfaces.
extern const QxEffectTables g_ReverbTables;

class CQxReverbTransform : public IQxReverbProp2,
                           public CQxPlugInParams,
                           public IQxEffectCore,
                           private IQxReverbParamSource {
 public:
  CQxReverbTransform();
  ~CQxReverbTransform() override;

  // IQxReverbProp2 (IUnknown and GetFormat come from the filter that owns this transform).
  HRESULT GetParams(ReverbParams* record) override;
  HRESULT SetParams(const ReverbParams* record) override;
  HRESULT RegisterNotifyWindow(HWND window, uint16_t id) override;
  // Enum setters take the value as given; the others clamp to the stored range first. Mode,
  // style and pre-delay change ring layouts, so their setters also ask for a rebuild.
#define QX_REVERB_PARAM_IMPL(Name, Index, Clamp, Rebuild)                                        \
  HRESULT Get##Name(int32_t* value) override { return GetStored(value, Index); }                \
  HRESULT Set##Name(int32_t value) override { return SetField(Index, value, Clamp, Rebuild); }  \
  HRESULT Begin##Name##Edit() override { return BeginGesture(Index); }                          \
  HRESULT End##Name##Edit() override { return EndEdit(Index); }                                 \
  HRESULT Poll##Name##Changed() override { return IsIdle(Index) ? S_FALSE : S_OK; }
  QX_REVERB_PARAM_IMPL(ReverbMode, REVERB_MODE, false, true)
  QX_REVERB_PARAM_IMPL(ReflectionStyle, REVERB_REFLECTION_STYLE, false, true)
  QX_REVERB_PARAM_IMPL(DryOut, REVERB_DRY_OUT, true, false)
  QX_REVERB_PARAM_IMPL(ReverbOut, REVERB_REVERB_OUT, true, false)
  QX_REVERB_PARAM_IMPL(EarlyOut, REVERB_EARLY_OUT, true, false)
  QX_REVERB_PARAM_IMPL(DecayTime, REVERB_DECAY_TIME, true, false)
  QX_REVERB_PARAM_IMPL(PreDelay, REVERB_PRE_DELAY, true, true)
  QX_REVERB_PARAM_IMPL(AttenuateBass, REVERB_BASS_ON, true, false)
  QX_REVERB_PARAM_IMPL(AttenuateHigh, REVERB_HIGH_ON, true, false)
  QX_REVERB_PARAM_IMPL(BassFrequency, REVERB_BASS_FREQ, true, false)
  QX_REVERB_PARAM_IMPL(HighFrequency, REVERB_HIGH_FREQ, true, false)
  QX_REVERB_PARAM_IMPL(Bypass, REVERB_BYPASS, true, false)
#undef QX_REVERB_PARAM_IMPL
  HRESULT SetLicenceState(int32_t v) override { licenceState_ = v; return S_OK; }
  HRESULT GetLicenceState(int32_t* v) override { return v ? (*v = licenceState_, S_OK) : E_POINTER; }
  HRESULT SetLicenceFlags(int32_t v) override { licenceFlags_ = v; return S_OK; }
  HRESULT GetLicenceFlags(int32_t* v) override { return v ? (*v = licenceFlags_, S_OK) : E_POINTER; }

  // IQxEffectCore
  HRESULT Start(const WAVEFORMATEX* format) override;
  // The rings stay until the next rebuild.
  void Stop() override {}
  bool Snapshot() override;
  // One step's update, with the status word of the step's envelope walk.
  HRESULT Apply(QxRunMode mode, const QxTempoRecord* tempo) override { return ApplyStep(mode, stepStatus_); }
  void SetStepStatus(uint32_t status) override { stepStatus_ = status; }
  // IMediaParams::SetParam: marks the record changed and the page dirty; indices 3, 0 and all
  // ask for a rebuild, index 2 does not (unlike its setter).
  HRESULT SetParam(DWORD index, MP_DATA value) override;
  // Bypass is the engine's business: its samples pass untouched while the tail counters run.
  bool BypassGate(uint32_t frames) override { return true; }
  bool BypassOn() override { return false; }
  int ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                   int32_t tailRequest) override;
  bool ParamsValid() const override { return engine_.Applied(); }
  bool TailFinished() const override { return engine_.Asleep(); }
  void Notify(uint16_t code) override;
  const QxEffectTables& Tables() override { return g_ReverbTables; }
  void GetRecord(void* record) override { GetAll(record); }
  HRESULT SetRecord(const void* record) override { return SetParams(static_cast<const ReverbParams*>(record)); }
  bool PersistDirtyFlag() override;
  void SetPersistDirtyFlag(bool dirty) override;
  QxStreamClock& Clock() override { return *this; }
  CQxPlugInParams* Params() override { return this; }
  CMFXTempo* Tempo() override { return nullptr; }

  // The update a step makes: the rebuild request becomes the step's status word AND 2, whatever
  // a setter left, then the engine re-derives from the last snapshot.
  HRESULT ApplyStep(QxRunMode mode, uint32_t status);

  bool ParamsDirty() const { return ParamsDirty_; }
  bool PageDirty() const { return PersistDirty_; }
  uint32_t stepStatus_ = 0;
  const CQxReverbEngine& Engine() const { return engine_; }

 protected:
  HRESULT SetField(uint32_t index, int32_t value, bool clamp, bool rebuild);
  HRESULT EndEdit(uint32_t index);

  std::recursive_mutex engineLock_;
  bool ParamsDirty_ = false;    // paramsChanged: the next block re-derives
  bool PersistDirty_ = false;   // the page-dirty flag

 private:
  bool ReadParams(ReverbParams* record) override;

  CQxReverbEngine engine_;
  ReverbParams snapshot_{};
  CQxChangeNotifier notifier_;
  int32_t licenceState_ = 0;
  int32_t licenceFlags_ = 0;
};
