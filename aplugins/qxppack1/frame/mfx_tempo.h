// CMFXTempo: follows the host's tempo and meter for tempo-synced effects, and cuts the stream into
// chunks at tempo and meter changes. Constructed unconnected at 120 bpm, 4/4.
#pragma once
#include <cstdint>
#include <mutex>

#include "aplugins/qxppack1/frame/tempo_record.h"

class CMFXTempo {
 public:
  CMFXTempo();
  virtual ~CMFXTempo();

  // Both the tempo map and the meter map are connected: only then does the streaming path ask
  // for chunks.
  bool HasTempoMap();
  // Frames to run before the next tempo or meter change (at most `frames`), with the record for
  // them. With no host maps, the record is the default one and the whole run is one chunk.
  uint32_t NextChunk(uint32_t frames, uint32_t request, QxTempoRecord* record);
  // Moves the playback position over frames that were not run through NextChunk.
  void Skip(uint32_t frames);

  int64_t SamplePosition();

 protected:
  std::mutex tempoLock_;
  bool Connected = false;
  bool Playing = false;
  bool FirstChunk = false;
  int64_t SamplePosition_ = 0;
  int64_t LoopOffset = 0;
  double LastTempo = 120.0;
  int32_t LastBeatsPerMeasure = 4;
  int32_t LastBeatValue = 4;
  // The host's maps; null until a host connects them.
  void* tempoMap_ = nullptr;
  void* meterMap_ = nullptr;
};
