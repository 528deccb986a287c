// CMFXTempo: follows the host's tempo and meter for tempo-synced effects through IMfxSoftSynth, and
// cuts the stream into chunks at tempo and meter changes. Constructed unconnected at 120 bpm, 4/4.
#pragma once
#include <cstdint>
#include <mutex>

#include "aplugins/qxppack1/frame/mfx_interfaces.h"
#include "aplugins/qxppack1/frame/tempo_record.h"

// IUnknown is left to the effect object that derives from this class.
class CMFXTempo : public IMfxSoftSynth {
 public:
  CMFXTempo();
  virtual ~CMFXTempo();

  // IMfxSoftSynth
  HRESULT Connect(IUnknown* context) override;
  HRESULT Disconnect() override;
  HRESULT StartPlayback(MFX_TICKS ticks) override;
  HRESULT SetLoop(MFX_TICKS startTicks, MFX_TICKS endTicks) override;
  HRESULT StopPlayback() override;
  HRESULT Flush() override { return S_OK; }
  HRESULT OnMidiShortEvent(MFX_TICKS, uint32_t) override { return E_NOTIMPL; }
  HRESULT OnMidiLongEvent(MFX_TICKS, const BYTE*, uint32_t) override { return E_NOTIMPL; }
  HRESULT AllNotesOff() override { return E_NOTIMPL; }
  HRESULT GetVoiceCount(int32_t*) override { return E_NOTIMPL; }
  HRESULT SetPatch(int32_t, int32_t, int32_t) override { return E_NOTIMPL; }
  HRESULT GetPatchName(int32_t, int32_t, WCHAR*, uint32_t) override { return E_NOTIMPL; }
  HRESULT GetOutputCount(int32_t*) override { return E_NOTIMPL; }
  HRESULT RenderOutput(int32_t, float*, uint32_t) override { return E_NOTIMPL; }
  HRESULT SetLatency(int32_t) override { return E_NOTIMPL; }
  HRESULT GetMfxWaveFormat(WAVEFORMATEX* format) override { return TempoWaveFormat(format); }

  // Both the tempo map and the meter map are connected: only then does the streaming path ask
  // for chunks.
  bool HasTempoMap();
  // Frames to run before the next tempo or meter change (at least 1 and at most `frames` when
  // frames > 0), with the record for them; moves the playback position over the chunk.
  uint32_t NextChunk(uint32_t frames, uint32_t request, QxTempoRecord* record);
  // Moves the playback position over frames that were not run through NextChunk.
  void Skip(uint32_t frames);

  // Conversions between the host's ticks and sample frames at the effect's rate: through the time
  // converter when there is one, else through the tempo map's milliseconds; 0 with neither.
  int64_t TicksToSamples(MFX_TICKS ticks);
  MFX_TICKS SamplesToTicks(int64_t samples);

  int64_t SamplePosition();
  // The musical position a time source gave to the last chunk that asked for it.
  MFX_TICKS MusicalPosition();

 protected:
  // The effect supplies its wave format: the last slot of IMfxSoftSynth answers with it.
  virtual HRESULT TempoWaveFormat(WAVEFORMATEX*) { return VFW_E_NOT_CONNECTED; }
  // The rate conversions run at; by default that of the wave format, 0 when there is none.
  virtual uint32_t TempoSampleRate();

  // Lock-free forms for use under tempoLock_.
  int64_t TicksToSamplesLocked(MFX_TICKS ticks);
  MFX_TICKS SamplesToTicksLocked(int64_t samples);
  void ReleaseAll();
  // Tick at which meter entry `index` starts; false when the entry cannot be read.
  bool MeterEntry(int32_t index, MFX_TICKS* ticks, int32_t* numerator, int32_t* beatValue);
  bool TempoEntry(int32_t index, MFX_TICKS* ticks, double* tempo);

  std::mutex tempoLock_;
  bool Connected = false;
  bool Playing = false;
  bool FirstChunk = false;
  int64_t SamplePosition_ = 0;
  int64_t LoopOffset = 0;
  int64_t LoopStartSamples = 0;
  int64_t LoopEndSamples = 0;
  MFX_TICKS LoopStartTicks = 0;
  MFX_TICKS LoopEndTicks = 0;
  double LastTempo = 120.0;
  int32_t LastBeatsPerMeasure = 4;
  int32_t LastBeatValue = 4;
  bool TempoCursorValid = false;
  bool MeterCursorValid = false;
  int32_t TempoCursor = 0;
  int32_t MeterCursor = 0;
  int32_t TicksPerQuarter = 1;
  MFX_TICKS MusicalPosition_ = 0;
  // The host's interfaces; null until a host connects them, each on its own.
  IMfxTempoMap* tempoMap_ = nullptr;
  IMfxMeterMap* meterMap_ = nullptr;
  IMfxTimeConverter* converter_ = nullptr;
  IMfxTimeSource* timeSource_ = nullptr;
};
