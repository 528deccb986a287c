// CQxTimeTransform: Time Stretch's parameters, change flags and notification windows around the
// splice engine, and the IQxTimeProp setters and getters. Host-neutral apart from the windows.
#pragma once
#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/pitchtime/prop_plumbing.h"
#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "aplugins/qxppack1/pitchtime/time_prop.h"

struct QxTimePreset {
  uint32_t Name;  // string number of the preset's name
  TimeParams Params;
};
extern const QxTimePreset g_TimePresets[];
extern const uint32_t g_TimePresetCount;
// The current persistent form first, then the older one whose lengths and tempi were stored at a
// tenth of today's scale; and the presets.
extern const QxEffectTables g_TimeTables;

// Stretch ratio (output over input length) of a FinalLength.
inline double QxTime_Ratio(double finalLength) { return finalLength / 10000.0; }

class CQxTimeTransform : public CQxPropPlumbing<IQxTimeProp>, public IQxSpliceParamSource {
 public:
  CQxTimeTransform();
  CQxTimeTransform(const CQxTimeTransform&) = delete;
  CQxTimeTransform& operator=(const CQxTimeTransform&) = delete;

  // IQxTimeProp (IUnknown, GetFormat and GetSampleRate come from the filter; RegisterWindow and the
  // licence slots from the plumbing).
  HRESULT GetParams(TimeParams* record) override;
  HRESULT SetParams(const TimeParams* record) override;
  HRESULT GetFinalLength(double* value) override;
  HRESULT SetFinalLength(double value) override;
  HRESULT GetMode(int32_t* value) override;
  HRESULT SetMode(int32_t value) override;
  HRESULT GetInitialTempo(uint32_t* value) override;
  HRESULT SetInitialTempo(uint32_t value) override;
  HRESULT GetInitialTime(double* value) override;
  HRESULT SetInitialTime(double value) override;
  HRESULT GetInputFormat(int32_t* value) override;
  HRESULT SetInputFormat(int32_t value) override;

  // IQxSpliceParamSource: Mode and ratio under the lock; reads and clears changed and rebuild.
  void Snapshot(QxSpliceSnapshot* snapshot) override;

  CQxSpliceEngine& Engine() { return engine_; }

 private:
  TimeParams params_{};
  CQxSpliceEngine engine_{this};
};
