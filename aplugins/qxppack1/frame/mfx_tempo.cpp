// Tempo host state and chunking while no host maps are present.
#include "aplugins/qxppack1/frame/mfx_tempo.h"

CMFXTempo::CMFXTempo() = default;
CMFXTempo::~CMFXTempo() = default;

bool CMFXTempo::HasTempoMap() {
  std::lock_guard<std::mutex> g(tempoLock_);
  return tempoMap_ != nullptr && meterMap_ != nullptr;
}

uint32_t CMFXTempo::NextChunk(uint32_t frames, uint32_t request, QxTempoRecord* record) {
  std::lock_guard<std::mutex> g(tempoLock_);
  *record = QxTempoRecord{};
  record->Tempo = 120.0;
  record->BeatsPerMeasure = 4;
  record->BeatValue = 4;
  record->Position = static_cast<double>(SamplePosition_ - LoopOffset);
  SamplePosition_ += frames;
  FirstChunk = false;
  return frames;
}

void CMFXTempo::Skip(uint32_t frames) {
  std::lock_guard<std::mutex> g(tempoLock_);
  SamplePosition_ += frames;
}

int64_t CMFXTempo::SamplePosition() {
  std::lock_guard<std::mutex> g(tempoLock_);
  return SamplePosition_;
}
