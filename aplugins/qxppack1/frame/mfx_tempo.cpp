// The tempo host side of a tempo-synced effect: connection to the host's maps, tick and sample
// conversion, and the walk over tempo and meter changes that cuts the stream into chunks.
#include "aplugins/qxppack1/frame/mfx_tempo.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

CMFXTempo::CMFXTempo() = default;

CMFXTempo::~CMFXTempo() { ReleaseAll(); }

void CMFXTempo::ReleaseAll() {
  if (tempoMap_) tempoMap_->Release();
  if (meterMap_) meterMap_->Release();
  if (converter_) converter_->Release();
  if (timeSource_) timeSource_->Release();
  tempoMap_ = nullptr;
  meterMap_ = nullptr;
  converter_ = nullptr;
  timeSource_ = nullptr;
}

uint32_t CMFXTempo::TempoSampleRate() {
  WAVEFORMATEX f{};
  return SUCCEEDED(TempoWaveFormat(&f)) ? f.nSamplesPerSec : 0;
}

HRESULT CMFXTempo::Connect(IUnknown* context) {
  if (!context) return E_POINTER;
  std::lock_guard<std::mutex> g(tempoLock_);
  if (Connected) return E_UNEXPECTED;
  // A host may leave any of them out; what is missing simply stays null.
  auto query = [&](REFIID iid, auto** out) {
    void* p = nullptr;
    *out = SUCCEEDED(context->QueryInterface(iid, &p)) ? static_cast<std::remove_pointer_t<decltype(out)>>(p)
                                                       : nullptr;
  };
  query(IID_IMfxTempoMap, &tempoMap_);
  query(IID_IMfxMeterMap, &meterMap_);
  query(IID_IMfxTimeConverter, &converter_);
  query(IID_IMfxTimeSource, &timeSource_);
  context->Release();
  Connected = true;
  return S_OK;
}

HRESULT CMFXTempo::Disconnect() {
  std::lock_guard<std::mutex> g(tempoLock_);
  ReleaseAll();
  Connected = false;
  return S_OK;
}

HRESULT CMFXTempo::StartPlayback(MFX_TICKS ticks) {
  std::lock_guard<std::mutex> g(tempoLock_);
  TicksPerQuarter = tempoMap_ ? tempoMap_->GetTicksPerQuarterNote() : 1;
  SamplePosition_ = TicksToSamplesLocked(ticks);
  Playing = true;
  FirstChunk = true;
  LoopOffset = 0;
  LoopStartSamples = LoopEndSamples = 0;
  LoopStartTicks = LoopEndTicks = 0;
  TempoCursorValid = MeterCursorValid = false;
  TempoCursor = MeterCursor = 0;
  LastTempo = 120.0;
  LastBeatsPerMeasure = 4;
  LastBeatValue = 4;
  return S_OK;
}

HRESULT CMFXTempo::SetLoop(MFX_TICKS startTicks, MFX_TICKS endTicks) {
  std::lock_guard<std::mutex> g(tempoLock_);
  LoopStartSamples = TicksToSamplesLocked(startTicks);
  LoopEndSamples = TicksToSamplesLocked(endTicks);
  LoopOffset += LoopEndSamples - LoopStartSamples;
  LoopStartTicks = startTicks;
  LoopEndTicks = endTicks;
  return S_OK;
}

HRESULT CMFXTempo::StopPlayback() {
  std::lock_guard<std::mutex> g(tempoLock_);
  Playing = false;
  LoopOffset = 0;
  TempoCursorValid = MeterCursorValid = false;
  TempoCursor = MeterCursor = 0;
  return S_OK;
}

bool CMFXTempo::HasTempoMap() {
  std::lock_guard<std::mutex> g(tempoLock_);
  return tempoMap_ != nullptr && meterMap_ != nullptr;
}

int64_t CMFXTempo::TicksToSamples(MFX_TICKS ticks) {
  std::lock_guard<std::mutex> g(tempoLock_);
  return TicksToSamplesLocked(ticks);
}

MFX_TICKS CMFXTempo::SamplesToTicks(int64_t samples) {
  std::lock_guard<std::mutex> g(tempoLock_);
  return SamplesToTicksLocked(samples);
}

int64_t CMFXTempo::TicksToSamplesLocked(MFX_TICKS ticks) {
  if (converter_) {
    MFX_TIME t{MFX_TIME_TICKS, 0, ticks};
    if (SUCCEEDED(converter_->ConvertTime(&t, MFX_TIME_SAMPLES)) && t.Kind == MFX_TIME_SAMPLES) return t.Value;
  }
  const uint32_t rate = TempoSampleRate();
  if (!tempoMap_ || !rate) return 0;
  const int32_t ms = tempoMap_->TicksToMsecs(ticks);
  // Rounded to the nearest frame, halves upwards.
  return static_cast<int64_t>(std::floor(rate / 1000.0 * ms + 0.5));
}

MFX_TICKS CMFXTempo::SamplesToTicksLocked(int64_t samples) {
  if (converter_) {
    MFX_TIME t{MFX_TIME_SAMPLES, 0, samples};
    if (SUCCEEDED(converter_->ConvertTime(&t, MFX_TIME_TICKS)) && t.Kind == MFX_TIME_TICKS)
      return static_cast<MFX_TICKS>(t.Value);
  }
  const uint32_t rate = TempoSampleRate();
  if (!tempoMap_ || !rate) return 0;
  const auto ms = static_cast<int32_t>(std::llround(samples * 1000.0 / rate));
  return tempoMap_->MsecsToTicks(ms);
}

bool CMFXTempo::TempoEntry(int32_t index, MFX_TICKS* ticks, double* tempo) {
  int32_t bpm100 = 0;
  if (FAILED(tempoMap_->GetTempoAt(index, ticks, &bpm100))) return false;
  *tempo = bpm100 / 100.0;
  return true;
}

bool CMFXTempo::MeterEntry(int32_t index, MFX_TICKS* ticks, int32_t* numerator, int32_t* beatValue) {
  int32_t measure = 0, pow2 = 0;
  if (FAILED(meterMap_->GetMeterAt(index, &measure, numerator, &pow2))) return false;
  *beatValue = 1 << std::clamp(pow2, 0, 30);
  *ticks = meterMap_->MeasureToTicks(measure);
  return true;
}

uint32_t CMFXTempo::NextChunk(uint32_t frames, uint32_t request, QxTempoRecord* record) {
  std::lock_guard<std::mutex> g(tempoLock_);
  *record = QxTempoRecord{};
  record->Tempo = 120.0;
  record->BeatsPerMeasure = 4;
  record->BeatValue = 4;
  const int64_t position = SamplePosition_ - LoopOffset;
  int64_t end = position + frames;
  const MFX_TICKS tick = (tempoMap_ || converter_) ? SamplesToTicksLocked(position) : 0;

  if (tempoMap_ && (request & QX_TEMPO_VALID)) {
    const int32_t count = tempoMap_->GetTempoCount();
    if (count > 0) {
      int32_t index;
      MFX_TICKS at = 0;
      double tempo = 120.0;
      if (TempoCursorValid) {
        index = std::min(TempoCursor, count - 1);
      } else {
        index = std::clamp(tempoMap_->GetTempoIndexForTime(tick), 0, count - 1);
        // A position just before a change may round to the change's tick; the entry in force is
        // the one whose first frame is not after the position.
        while (index > 0 && TempoEntry(index, &at, &tempo) && TicksToSamplesLocked(at) > position) --index;
      }
      if (TempoEntry(index, &at, &tempo)) {
        record->Flags |= QX_TEMPO_VALID;
        record->Tempo = tempo;
        if (FirstChunk || tempo != LastTempo) record->Flags |= QX_TEMPO_CHANGED;
        LastTempo = tempo;
      }
      TempoCursorValid = false;
      for (int32_t next = index + 1; next < count; ++next) {
        if (!TempoEntry(next, &at, &tempo)) break;
        const int64_t s = TicksToSamplesLocked(at);
        if (s >= end) break;  // no change in this chunk
        if (s > position) {
          // Cut here; the next chunk starts on this entry.
          end = s;
          TempoCursor = next;
          TempoCursorValid = true;
          break;
        }
        // Already due: taken at once, and the walk goes on.
        record->Flags |= QX_TEMPO_VALID | QX_TEMPO_CHANGED;
        record->Tempo = tempo;
        LastTempo = tempo;
      }
    }
  }

  if (meterMap_ && (request & QX_METER_VALID)) {
    const int32_t count = meterMap_->GetMeterCount();
    if (count > 0) {
      int32_t index;
      MFX_TICKS at = 0;
      int32_t num = 4, beat = 4;
      if (MeterCursorValid) {
        index = std::min(MeterCursor, count - 1);
      } else {
        index = std::clamp(meterMap_->GetMeterIndexForTime(tick), 0, count - 1);
        while (index > 0 && MeterEntry(index, &at, &num, &beat) && TicksToSamplesLocked(at) > position) --index;
      }
      if (MeterEntry(index, &at, &num, &beat)) {
        record->Flags |= QX_METER_VALID;
        record->BeatsPerMeasure = num;
        record->BeatValue = beat;
        if (FirstChunk || num != LastBeatsPerMeasure || beat != LastBeatValue) record->Flags |= QX_METER_CHANGED;
        LastBeatsPerMeasure = num;
        LastBeatValue = beat;
      }
      bool walked = false;
      bool cut = false;
      for (int32_t next = index + 1; next < count; ++next) {
        if (!MeterEntry(next, &at, &num, &beat)) break;
        const int64_t s = TicksToSamplesLocked(at);
        if (s >= end) break;
        if (s > position) {
          end = s;
          cut = true;
          // Only a change reached by walking on moves the cursor; one found at the first look
          // leaves it as it was.
          if (walked) {
            MeterCursor = next;
            MeterCursorValid = true;
          }
          break;
        }
        record->Flags |= QX_METER_VALID | QX_METER_CHANGED;
        record->BeatsPerMeasure = num;
        record->BeatValue = beat;
        LastBeatsPerMeasure = num;
        LastBeatValue = beat;
        walked = true;
      }
      if (!cut) MeterCursorValid = false;
    }
  }

  record->Position = static_cast<double>(position);
  if ((request & QX_TEMPO_MUSICAL_POSITION) && timeSource_) {
    MFX_TICKS t = 0;
    if (SUCCEEDED(timeSource_->GetMusicalPosition(position, &t))) {
      record->Flags |= QX_TEMPO_MUSICAL_POSITION;
      MusicalPosition_ = t;
    }
  }
  const auto chunk = static_cast<uint32_t>(end - position);
  SamplePosition_ += chunk;
  FirstChunk = false;
  return chunk;
}

void CMFXTempo::Skip(uint32_t frames) {
  std::lock_guard<std::mutex> g(tempoLock_);
  SamplePosition_ += frames;
}

int64_t CMFXTempo::SamplePosition() {
  std::lock_guard<std::mutex> g(tempoLock_);
  return SamplePosition_;
}

MFX_TICKS CMFXTempo::MusicalPosition() {
  std::lock_guard<std::mutex> g(tempoLock_);
  return MusicalPosition_;
}
