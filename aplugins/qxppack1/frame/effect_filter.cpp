// The in-place effects' streaming path over the media graph, and their direct float door.
#include "aplugins/qxppack1/frame/effect_filter.h"

#include <atomic>
#include <cmath>
#include <cstring>

#include "aplugins/qxppack1/frame/audio_format_check.h"
#include "aplugins/qxppack1/frame/mfx_tempo.h"
#include "aplugins/qxppack1/frame/plugin_params.h"
#include "kernel/services/qx_waveformat.h"

namespace {
std::atomic<uint32_t> g_instanceCounter{0};
}

CQxEffectInputPin::CQxEffectInputPin(const char* objectName, CQxEffectFilter* filter, HRESULT* hr,
                                     LPCWSTR pinName)
    : CTransInPlaceInputPin(objectName, filter, hr, pinName), effect_(filter) {}

HRESULT CQxEffectInputPin::Receive(IMediaSample* sample) {
  CAutoLock lock(&effect_->m_csReceive);
  if (!sample) return E_POINTER;
  HRESULT hr = CheckStreaming();
  if (hr != S_OK) return hr;
  return effect_->Receive(sample);
}

CQxEffectFilter::CQxEffectFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT* hr,
                                 IQxEffectCore* core, bool rendersTail)
    : CTransInPlaceFilter(name, outer, clsid, hr),
      core_(core),
      rendersTail_(rendersTail),
      InstanceNumber_(++g_instanceCounter) {}

CQxEffectFilter::~CQxEffectFilter() = default;

HRESULT CQxEffectFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxAudioTransformFloat) return GetInterface(static_cast<IQxAudioTransformFloat*>(this), ppv);
  if (QueryPersist(riid, ppv)) return S_OK;
  return CTransInPlaceFilter::NonDelegatingQueryInterface(riid, ppv);
}

CQxEffectInputPin* CQxEffectFilter::MakeInputPin(HRESULT* hr) {
  return new CQxEffectInputPin("effect input pin", this, hr, u"Input");
}

CBasePin* CQxEffectFilter::GetPin(int n) {
  if (!m_pInput) {
    HRESULT hr = S_OK;
    m_pInput = MakeInputPin(&hr);
    if (!m_pInput) return nullptr;
    m_pOutput = new CTransInPlaceOutputPin("effect output pin", this, &hr, u"Output");
    if (!m_pOutput) {
      delete m_pInput;
      m_pInput = nullptr;
      return nullptr;
    }
  }
  if (n == 0) return m_pInput;
  if (n == 1) return m_pOutput;
  return nullptr;
}

HRESULT CQxEffectFilter::CheckInputType(const CMediaType* mt) {
  return QxCheckAudioType(mt) ? S_OK : E_INVALIDARG;
}

HRESULT CQxEffectFilter::SetMediaType(PIN_DIRECTION direction, const CMediaType* mt) {
  if (mt && mt->pbFormat && mt->cbFormat >= 16) {
    // The reduction reads 18 bytes of a plain form; pad a 16-byte block so it never reads past it.
    BYTE block[sizeof(WAVEFORMATEXTENSIBLE)] = {};
    std::memcpy(block, mt->pbFormat, mt->cbFormat < sizeof block ? mt->cbFormat : sizeof block);
    QxAudio_CopyWfExtToWfx(&Format_, reinterpret_cast<const WAVEFORMATEX*>(block));
  }
  Format_.nBlockAlign = static_cast<WORD>(Format_.wBitsPerSample / 8 * Format_.nChannels);
  Format_.nAvgBytesPerSec = Format_.nSamplesPerSec * Format_.nBlockAlign;
  Format_.cbSize = 0;
  CTransInPlaceFilter::SetMediaType(direction, mt);
  core_->Notify(direction == PINDIR_INPUT ? 0 : 1);
  return S_OK;
}

HRESULT CQxEffectFilter::StartStreaming() {
  QxStreamClock& clock = core_->Clock();
  clock.Streaming = true;
  if (Format_.nSamplesPerSec) clock.SetRate(Format_.nSamplesPerSec);
  InTail_ = false;
  SampleSeen_ = false;
  return core_->Start(&Format_);
}

HRESULT CQxEffectFilter::StopStreaming() {
  core_->Clock().Streaming = false;
  if (CQxPlugInParams* p = core_->Params()) p->ClearMoved();
  core_->Stop();
  return S_OK;
}

HRESULT CQxEffectFilter::Receive(IMediaSample* sample) {
  QxStreamClock& clock = core_->Clock();
  REFERENCE_TIME start, stop;
  if (SUCCEEDED(sample->GetTime(&start, &stop))) {
    clock.StartTime = start;
    clock.StopTime = stop;
    clock.CurrentTime = start;
  }
  HRESULT hr = Transform(sample);
  if (FAILED(hr)) return hr;
  if (hr == 1) return S_OK;  // the sample is dropped
  if (hr != S_OK) return hr;
  return m_pOutput->Deliver(sample);
}

CQxEffectFilter::StepResult CQxEffectFilter::RunSteps(BYTE* buffer, uint32_t frames, QxRunMode mode,
                                                      int32_t tailRequest, bool skip, bool floatDoor) {
  StepResult r;
  const uint32_t blockAlign = Format_.nBlockAlign;
  const QxSampleForm form = QxSampleFormOf(Format_);
  CQxPlugInParams* params = core_->Params();
  CMFXTempo* tempo = core_->Tempo();
  const bool chunked = tempo && tempo->HasTempoMap();
  BYTE* pos = buffer;
  bool stop = false;

  while (!stop && r.framesDone < frames) {
    // A zeroed record: no valid bits, so synced effects take their fallback beat.
    QxTempoRecord record{};
    uint32_t chunk = frames - r.framesDone;
    bool tempoPending = false;
    if (chunked) {
      chunk = tempo->NextChunk(chunk, QX_TEMPO_REQUEST, &record);
      tempoPending = (record.Flags & (QX_TEMPO_CHANGED | QX_METER_CHANGED)) != 0;
    }
    const uint32_t chunkEnd = r.framesDone + chunk;
    while (r.framesDone < chunkEnd) {
      uint32_t moved = 0;
      uint32_t count = params ? params->Advance(chunkEnd - r.framesDone, &moved) : chunkEnd - r.framesDone;
      if (count == 0) {
        stop = true;
        break;
      }
      if (r.framesDone + count > frames) count = frames - r.framesDone;
      if (skip) {
        TailEnded_ = true;
        // The tempo position has already moved over this chunk; move it over the rest.
        if (chunked) tempo->Skip(frames - chunkEnd);
        return r;
      }
      if (!core_->BypassGate(count)) {
        pos += static_cast<size_t>(count) * blockAlign;
        r.framesDone += count;
        continue;
      }
      bool dirty = core_->Snapshot();
      bool needApply = floatDoor ? (dirty || moved || tempoPending)
                                 : !(!dirty && core_->ParamsValid() && !moved && !tempoPending &&
                                     mode != RunFresh && !TailEnded_);
      if (needApply) {
        core_->SetStepStatus(moved);
        HRESULT hr = core_->Apply(mode, &record);
        if (FAILED(hr)) {
          r.failure = hr;
          return r;
        }
        tempoPending = false;
      }
      TailEnded_ = false;
      uint32_t n = count;
      r.result = core_->ProcessBlock(form, mode, pos, &n, tailRequest);
      if (n == 0) {
        stop = true;
        break;
      }
      pos += static_cast<size_t>(n) * blockAlign;
      r.framesDone += n;
      if (mode == RunFresh) mode = RunContinue;
      if (r.result != 0) {
        stop = true;
        break;
      }
    }
    if (stop && chunked && r.result != 0 && floatDoor) tempo->Skip(frames - chunkEnd);
  }
  return r;
}

HRESULT CQxEffectFilter::Transform(IMediaSample* sample) {
  long length = sample->GetActualDataLength();
  int32_t tailRequest = 0;
  {
    ComPtr<IQxSampleTailFlag> flag;
    if (SUCCEEDED(sample->QueryInterface(IID_IQxSampleTailFlag, flag.PutVoid())) && flag)
      tailRequest = flag->GetTailRequest();
  }
  const bool skip = tailRequest && core_->TailFinished();
  BYTE* buffer = nullptr;
  if (!skip && FAILED(sample->GetPointer(&buffer))) return E_POINTER;
  SampleSeen_ = true;

  QxRunMode mode;
  if (!InTail_) {
    mode = sample->IsDiscontinuity() == S_OK ? RunFresh : RunContinue;
  } else {
    mode = RunTail;
    length = sample->GetSize();
    if (!tailRequest && buffer)
      std::memset(buffer, Format_.wBitsPerSample == 8 ? 128 : 0, static_cast<size_t>(length));
  }
  if (TailEnded_ && !tailRequest) mode = RunFresh;

  const uint32_t blockAlign = Format_.nBlockAlign;
  const uint32_t frames = blockAlign ? static_cast<uint32_t>(length) / blockAlign : 0;
  StepResult r = RunSteps(buffer, frames, mode, tailRequest, skip, false);
  if (FAILED(r.failure)) return r.failure;
  uint32_t done = tailRequest ? frames : r.framesDone;
  sample->SetActualDataLength(static_cast<long>(blockAlign * done));
  return r.result;
}

HRESULT CQxEffectFilter::EndOfStream() {
  if (!m_pOutput || !SampleSeen_) return S_OK;
  InTail_ = true;
  HRESULT firstFailure = S_OK;
  // A bypassed effect never runs its lines down, so it has no tail to give.
  bool ended = !rendersTail_ || core_->BypassOn();
  while (!ended) {
    IMediaSample* sample = nullptr;
    HRESULT hr = m_pOutput->GetDeliveryBuffer(&sample, nullptr, nullptr, 0);
    if (FAILED(hr)) return hr;
    sample->SetTime(nullptr, nullptr);
    sample->SetActualDataLength(0);
    hr = Transform(sample);
    if (FAILED(hr)) {
      sample->Release();
      firstFailure = hr;
      break;
    }
    if (hr == 1) ended = true;
    hr = m_pOutput->Deliver(sample);
    sample->Release();
    if (FAILED(hr)) {
      firstFailure = hr;
      break;
    }
  }
  InTail_ = false;
  SampleSeen_ = false;
  HRESULT hr = m_pOutput->DeliverEndOfStream();
  return FAILED(firstFailure) ? firstFailure : hr;
}

HRESULT CQxEffectFilter::Prepare(uint16_t channels, uint32_t sampleRate) {
  core_->Clock().Streaming = true;
  Format_ = WAVEFORMATEX{};
  Format_.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  Format_.nChannels = channels;
  Format_.nSamplesPerSec = sampleRate;
  Format_.nBlockAlign = static_cast<WORD>(channels * 4);
  Format_.wBitsPerSample = 32;
  Format_.nAvgBytesPerSec = sampleRate * Format_.nBlockAlign;
  Format_.cbSize = 0;
  if (sampleRate) core_->Clock().SetRate(sampleRate);
  return StartStreaming();
}

int32_t CQxEffectFilter::Process(float* buffer, uint32_t frames, int32_t tailRequest) {
  QxStreamClock& clock = core_->Clock();
  SampleSeen_ = true;
  clock.StartTime = clock.CurrentTime;
  clock.StopTime = clock.CurrentTime + std::llround(frames * clock.HundredNsPerSample);
  StepResult r = RunSteps(reinterpret_cast<BYTE*>(buffer), frames, RunContinue, tailRequest, false, true);
  if (FAILED(r.failure)) return r.failure;
  if (r.result == 1) clock.CurrentTime = clock.StopTime + std::llround(clock.HundredNsPerSample);
  return r.result;
}

int32_t CQxEffectFilter::RenderTail(float* buffer, uint32_t* frames) {
  if (!frames) return E_POINTER;
  if (!SampleSeen_) {
    *frames = 0;
    return 1;
  }
  return core_->ProcessBlock(QxSampleForm::Float32, RunTail, reinterpret_cast<BYTE*>(buffer), frames, 0);
}

HRESULT CQxEffectFilter::Finish() { return StopStreaming(); }

HRESULT CQxEffectFilter::Reset(int32_t clearAll) {
  if (clearAll) core_->Clock().CurrentTime = 0;
  bool dirty = core_->Snapshot();
  if (!dirty && !clearAll) return S_OK;
  return core_->Apply(clearAll ? RunFresh : RunContinue, nullptr);
}
