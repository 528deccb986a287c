// The contract between an in-place effect's streaming path and its transform: what a block needs
// from the engine, the parameters and the tempo host, independent of the media graph.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/frame/run_mode.h"
#include "aplugins/qxppack1/frame/tempo_record.h"
#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

class CQxPlugInParams;
class CMFXTempo;
struct QxStreamClock;

enum class QxSampleForm { None, Pcm8, Pcm16, Pcm32, Float32, Float64 };

// An in-place engine's routine for `form` over `buffer`, as the engines name them (ProcessPcm8 to
// ProcessFloat64, taking the mode, the samples, the frames, the tail request and `extra`).
template <class Engine, class... Extra>
int QxProcessForm(Engine& e, QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                  int32_t tailRequest, Extra&... extra) {
  switch (form) {
    case QxSampleForm::Pcm8: return e.ProcessPcm8(mode, buffer, frames, tailRequest, extra...);
    case QxSampleForm::Pcm16:
      return e.ProcessPcm16(mode, reinterpret_cast<int16_t*>(buffer), frames, tailRequest, extra...);
    case QxSampleForm::Pcm32:
      return e.ProcessPcm32(mode, reinterpret_cast<int32_t*>(buffer), frames, tailRequest, extra...);
    case QxSampleForm::Float32:
      return e.ProcessFloat32(mode, reinterpret_cast<float*>(buffer), frames, tailRequest, extra...);
    case QxSampleForm::Float64:
      return e.ProcessFloat64(mode, reinterpret_cast<double*>(buffer), frames, tailRequest, extra...);
    case QxSampleForm::None: break;
  }
  return 0;
}

// The form a reduced (plain) format is processed in: tag 1 with 8/16/32 bits, tag 3 with 32/64.
inline QxSampleForm QxSampleFormOf(const WAVEFORMATEX& f) {
  if (f.wFormatTag == WAVE_FORMAT_PCM) {
    switch (f.wBitsPerSample) {
      case 8: return QxSampleForm::Pcm8;
      case 16: return QxSampleForm::Pcm16;
      case 32: return QxSampleForm::Pcm32;
    }
  } else if (f.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    switch (f.wBitsPerSample) {
      case 32: return QxSampleForm::Float32;
      case 64: return QxSampleForm::Float64;
    }
  }
  return QxSampleForm::None;
}

class IQxEffectCore {
 public:
  virtual ~IQxEffectCore() = default;
  // Keeps the format, snapshots and applies in RunFresh without tempo, clears the bypass latch.
  virtual HRESULT Start(const WAVEFORMATEX* format) = 0;
  // Frees delay memory.
  virtual void Stop() = 0;
  // Copies the parameters for the next Apply; returns the old dirty flag and clears it.
  virtual bool Snapshot() = 0;
  virtual HRESULT Apply(QxRunMode mode, const QxTempoRecord* tempo) = 0;
  // The change masks of the parameters the envelopes moved in this step, given just before the
  // step's Apply; effects whose update depends on which parameters moved keep it.
  virtual void SetStepStatus(uint32_t status) {}
  // True when the block is to be processed.
  virtual bool BypassGate(uint32_t frames) = 0;
  // True when bypass is on, so a tail would never run down.
  virtual bool BypassOn() = 0;
  // Runs one block of the given form in place; 1 when the tail is over.
  virtual int ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer, uint32_t* frames,
                           int32_t tailRequest) = 0;
  virtual bool ParamsValid() const = 0;
  virtual bool TailFinished() const = 0;
  // Posts the change notification with this code to the registered windows.
  virtual void Notify(uint16_t code) = 0;

  // The parameter record as a whole: its tables (versions and presets), reading it, and setting it
  // as one gesture that marks the parameters and the persistent state dirty.
  virtual const QxEffectTables& Tables() = 0;
  virtual void GetRecord(void* record) = 0;
  virtual HRESULT SetRecord(const void* record) = 0;
  virtual bool PersistDirtyFlag() = 0;
  virtual void SetPersistDirtyFlag(bool dirty) = 0;

  // The stream clock, the automation store (null when the effect has none) and the tempo host
  // (null when the effect does not follow tempo).
  virtual QxStreamClock& Clock() = 0;
  virtual CQxPlugInParams* Params() = 0;
  virtual CMFXTempo* Tempo() = 0;
};
