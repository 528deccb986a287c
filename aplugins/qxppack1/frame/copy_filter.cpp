// Copy-transform filter plumbing: pins, type negotiation, the fourfold output buffers, time
// stamps, the Receive and end-of-stream loops around an effect's engine, and the strict load.
#include "aplugins/qxppack1/frame/copy_filter.h"

#include <cstring>
#include <new>

#include "aplugins/qxppack1/frame/audio_format_check.h"
#include "aplugins/qxppack1/frame/change_notifier.h"
#include "kernel/services/qx_waveformat.h"

namespace {
bool EngineTag(WORD tag) { return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT; }
}  // namespace

// ---------------------------------------------------------------------------------------------
// Input pin

CQxCopyEffectInputPin::CQxCopyEffectInputPin(const char* objectName, CQxCopyEffectFilter* filter, HRESULT* hr,
                                             LPCWSTR pinName)
    : CTransformInputPin(objectName, filter, hr, pinName), effect_(filter) {}

HRESULT CQxCopyEffectInputPin::Receive(IMediaSample* sample) {
  CAutoLock lock(&effect_->m_csReceive);
  if (!sample) return E_POINTER;
  HRESULT hr = CheckStreaming();
  if (hr != S_OK) return hr;
  return effect_->Receive(sample);
}

// ---------------------------------------------------------------------------------------------
// Object

CQxCopyEffectFilter::CQxCopyEffectFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid,
                                         const char* outputPinName, uint32_t instanceNumber)
    : CTransformFilter(name, outer, clsid), outputPinName_(outputPinName), InstanceNumber_(instanceNumber) {}

HRESULT CQxCopyEffectFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (QueryPersist(riid, ppv)) return S_OK;
  return CTransformFilter::NonDelegatingQueryInterface(riid, ppv);
}

CBasePin* CQxCopyEffectFilter::GetPin(int n) {
  if (!m_pInput) {
    HRESULT hr = S_OK;
    m_pInput = MakeInputPin(&hr);
    if (!m_pInput) return nullptr;
    m_pOutput = new (std::nothrow) CTransformOutputPin(outputPinName_, this, &hr, u"Output");
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

// ---------------------------------------------------------------------------------------------
// Types and buffers

HRESULT CQxCopyEffectFilter::CheckInputType(const CMediaType* mt) {
  QxAudioForm f;
  return QxCheckAudioType(mt, &f) ? S_OK : E_INVALIDARG;
}

HRESULT CQxCopyEffectFilter::CheckTransform(const CMediaType* in, const CMediaType* out) {
  QxAudioForm a, b;
  if (!QxCheckAudioType(in, &a) || !QxCheckAudioType(out, &b)) return E_INVALIDARG;
  // An extensible type and its plain form are the same stream.
  if (a.tag != b.tag || a.bits != b.bits || a.rate != b.rate || a.channels != b.channels) return E_INVALIDARG;
  return S_OK;
}

HRESULT CQxCopyEffectFilter::GetMediaType(int position, CMediaType* mt) {
  if (!m_pInput || !m_pInput->IsConnected()) return E_UNEXPECTED;
  if (position < 0) return E_INVALIDARG;
  if (position > 0) return VFW_S_NO_MORE_ITEMS;
  if (!mt) return E_POINTER;
  const CMediaType& in = m_pInput->CurrentMediaType();
  QxAudioForm f;
  if (!QxCheckAudioType(&in, &f)) return E_UNEXPECTED;
  // The input's type in plain form: no extra format bytes, alignment and rate recomputed.
  const WAVEFORMATEX w = QxPlainFormat(f);
  *mt = in;
  mt->SetSubtype(f.tag == WAVE_FORMAT_PCM ? &MEDIASUBTYPE_PCM : &MEDIASUBTYPE_IEEE_FLOAT);
  mt->SetFormatType(&FORMAT_WaveFormatEx);
  if (!mt->SetFormat(reinterpret_cast<const BYTE*>(&w), sizeof w)) return E_OUTOFMEMORY;
  mt->SetSampleSize(w.nBlockAlign);
  return S_OK;
}

HRESULT CQxCopyEffectFilter::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) {
  if (!allocator || !props) return E_POINTER;
  IMemAllocator* upstream = m_pInput ? m_pInput->PeekAllocator() : nullptr;
  if (!upstream) return E_UNEXPECTED;
  ALLOCATOR_PROPERTIES request{};
  HRESULT hr = upstream->GetProperties(&request);
  if (FAILED(hr)) return hr;
  // Fixed at four times the input buffer whatever the ratio: the Receive loop draws more output
  // buffers when one is not enough.
  request.cbBuffer *= 4;
  ALLOCATOR_PROPERTIES actual{};
  hr = allocator->SetProperties(&request, &actual);
  if (FAILED(hr)) return hr;
  *props = actual;
  return S_OK;
}

HRESULT CQxCopyEffectFilter::SetMediaType(PIN_DIRECTION direction, const CMediaType* mt) {
  WAVEFORMATEX& target = direction == PINDIR_INPUT ? InputFormat_ : OutputFormat_;
  if (mt && mt->pbFormat && mt->cbFormat >= 16) {
    // The reduction reads 18 bytes of a plain form; pad a 16-byte block so it never reads past it.
    BYTE block[sizeof(WAVEFORMATEXTENSIBLE)] = {};
    std::memcpy(block, mt->pbFormat, mt->cbFormat < sizeof block ? mt->cbFormat : sizeof block);
    QxAudio_CopyWfExtToWfx(&target, reinterpret_cast<const WAVEFORMATEX*>(block));
  }
  target.nBlockAlign = static_cast<WORD>(target.wBitsPerSample / 8 * target.nChannels);
  target.nAvgBytesPerSec = target.nSamplesPerSec * target.nBlockAlign;
  target.cbSize = 0;
  (direction == PINDIR_INPUT ? InputFormatSet_ : OutputFormatSet_) = true;
  CTransformFilter::SetMediaType(direction, mt);
  NotifyChange(direction == PINDIR_INPUT ? QX_CHANGE_INPUT_FORMAT : QX_CHANGE_OUTPUT_FORMAT);
  return S_OK;
}

HRESULT CQxCopyEffectFilter::BreakConnect(PIN_DIRECTION direction) {
  (direction == PINDIR_INPUT ? InputFormatSet_ : OutputFormatSet_) = false;
  return CTransformFilter::BreakConnect(direction);
}

HRESULT CQxCopyEffectFilter::PinFormat(WAVEFORMATEX* record, int32_t direction) {
  if (!record) return E_POINTER;
  if (direction == 0 && InputFormatSet_) {
    *record = InputFormat_;
    return S_OK;
  }
  if (direction == 1 && OutputFormatSet_) {
    *record = OutputFormat_;
    return S_OK;
  }
  return VFW_E_NOT_CONNECTED;
}

HRESULT CQxCopyEffectFilter::InputSampleRate(uint32_t* value) {
  if (!value) return E_POINTER;
  if (!InputFormatSet_) {
    *value = 44100;
    return E_FAIL;
  }
  *value = InputFormat_.nSamplesPerSec;
  return S_OK;
}

// ---------------------------------------------------------------------------------------------
// Streaming

HRESULT CQxCopyEffectFilter::StartStreaming() {
  StreamStart_ = StreamStop_ = 0;
  MediaStart_ = MediaStop_ = 0;
  PendingDiscontinuity_ = PendingSyncPoint_ = false;
  return EngineStart(InputFormat_);
}

HRESULT CQxCopyEffectFilter::StopStreaming() {
  EngineStop();
  return S_OK;
}

HRESULT CQxCopyEffectFilter::DeliverStamped(IMediaSample* out, int32_t frames) {
  if (PendingDiscontinuity_) {
    out->SetDiscontinuity(TRUE);
    PendingDiscontinuity_ = false;
  } else {
    StreamStart_ = StreamStop_;
    MediaStart_ = MediaStop_;
  }
  const DWORD rate = OutputFormat_.nSamplesPerSec;
  const REFERENCE_TIME duration =
      rate ? static_cast<REFERENCE_TIME>(static_cast<double>(frames) / rate * 1e7 + 0.5) : 0;
  StreamStop_ = StreamStart_ + duration;
  MediaStop_ = MediaStart_ + frames;
  REFERENCE_TIME start = StreamStart_, stop = StreamStop_;
  LONGLONG mStart = MediaStart_, mStop = MediaStop_;
  out->SetTime(&start, &stop);
  out->SetMediaTime(&mStart, &mStop);
  if (PendingSyncPoint_) {
    out->SetSyncPoint(TRUE);
    PendingSyncPoint_ = false;
  }
  out->SetActualDataLength(frames * static_cast<LONG>(OutputFormat_.nBlockAlign));
  return m_pOutput->Deliver(out);
}

HRESULT CQxCopyEffectFilter::Receive(IMediaSample* sample) {
  IMediaSample* out = nullptr;
  HRESULT hr = m_pOutput->GetDeliveryBuffer(&out, nullptr, nullptr, 0);
  if (FAILED(hr)) return hr;

  const bool discontinuity = sample->IsDiscontinuity() == S_OK;
  if (discontinuity) {
    PendingDiscontinuity_ = true;
    REFERENCE_TIME start, stop;
    if (SUCCEEDED(sample->GetTime(&start, &stop))) {
      StreamStart_ = start;
      StreamStop_ = stop;
    }
    LONGLONG mStart, mStop;
    if (SUCCEEDED(sample->GetMediaTime(&mStart, &mStop))) {
      MediaStart_ = mStart;
      MediaStop_ = mStop;
    }
  }
  if (sample->IsSyncPoint() == S_OK) PendingSyncPoint_ = true;
  if (InputFormat_.nChannels != OutputFormat_.nChannels || OutputFormat_.nChannels < 1 ||
      OutputFormat_.nChannels > 32)
    out->SetMediaType(&m_pOutput->CurrentMediaType());

  BYTE* input = nullptr;
  if (FAILED(sample->GetPointer(&input))) input = nullptr;
  const LONG inAlign = InputFormat_.nBlockAlign;
  const LONG outAlign = OutputFormat_.nBlockAlign;
  const LONG inBytes = input ? sample->GetActualDataLength() : 0;
  const int32_t inTotal = inAlign ? inBytes / inAlign : 0;
  int32_t position = 0;
  bool first = true;
  hr = EngineTag(InputFormat_.wFormatTag) ? EngineBlock(discontinuity, input, inTotal) : S_OK;
  if (FAILED(hr)) {
    out->Release();
    return hr;
  }
  for (;;) {
    BYTE* output = nullptr;
    out->GetPointer(&output);
    const int32_t outCap = outAlign && output ? out->GetSize() / outAlign : 0;
    const int32_t inLeft = inTotal - position;
    int32_t consumed = inLeft, produced = 0;
    if (EngineTag(InputFormat_.wFormatTag)) {
      produced = outCap;
      hr = EngineProcess(first && discontinuity, input + static_cast<size_t>(position) * inAlign, &consumed,
                         output, &produced);
    }
    if (FAILED(hr)) break;
    bool delivered = false;
    if (produced > 0) {
      hr = DeliverStamped(out, produced);
      delivered = true;
      if (FAILED(hr)) break;
    }
    if (consumed >= inLeft) break;
    // An output buffer too small for one frame would never let the input move on, unless the call
    // moved something inside the engine.
    if (consumed == 0 && produced == 0 && !EngineAdvanced()) break;
    position += consumed;
    first = false;
    if (delivered) {
      out->Release();
      out = nullptr;
      HRESULT got = m_pOutput->GetDeliveryBuffer(&out, nullptr, nullptr, 0);
      if (FAILED(got)) return got;
    }
  }
  if (out) out->Release();
  return hr;
}

HRESULT CQxCopyEffectFilter::EndOfStream() {
  if (!m_pOutput) return S_OK;
  IMediaSample* out = nullptr;
  HRESULT hr = m_pOutput->GetDeliveryBuffer(&out, nullptr, nullptr, 0);
  if (FAILED(hr)) return hr;
  const LONG outAlign = OutputFormat_.nBlockAlign;
  int32_t produced = 0;
  for (;;) {
    // What the flush gives carries no time stamps: its place is only its order.
    out->SetTime(nullptr, nullptr);
    BYTE* output = nullptr;
    out->GetPointer(&output);
    produced = outAlign && output ? out->GetSize() / outAlign : 0;
    if (produced == 0) break;  // a buffer that holds no frame can take nothing
    hr = EngineFlush(output, &produced);
    if (hr == S_FALSE) break;
    if (FAILED(hr)) {
      // Nothing more can come out; the end of stream still goes downstream.
      produced = 0;
      break;
    }
    // As in Receive, a sample with no frames is not delivered (an empty stream's first flush
    // call gives none); the same sample serves the next call.
    if (produced == 0) continue;
    out->SetActualDataLength(produced * outAlign);
    hr = m_pOutput->Deliver(out);
    out->Release();
    out = nullptr;
    if (FAILED(hr)) {
      m_pOutput->DeliverEndOfStream();
      return hr;
    }
    hr = m_pOutput->GetDeliveryBuffer(&out, nullptr, nullptr, 0);
    if (FAILED(hr)) return hr;
  }
  if (produced > 0) {
    out->SetActualDataLength(produced * outAlign);
    m_pOutput->Deliver(out);
  }
  out->Release();
  return m_pOutput->DeliverEndOfStream();
}

// ---------------------------------------------------------------------------------------------
// Persistence

HRESULT CQxCopyEffectFilter::Load(IStream* stream) {
  if (!stream) return E_POINTER;
  constexpr ULONG kHeader = QX_PERSIST_HEADER;
  BYTE blob[kHeader] = {};
  ULONG got = 0;
  HRESULT hr = stream->Read(blob, kHeader, &got);
  if (FAILED(hr)) return hr;
  if (got != kHeader) return E_FAIL;
  uint32_t size;
  GUID tag;
  std::memcpy(&size, blob, 4);
  std::memcpy(&tag, blob + 4, 16);
  bool known = false;
  const QxEffectTables& tables = PersistTables();
  for (uint32_t i = 0; i < tables.FormCount; ++i)
    known |= tables.Forms[i].Tag == tag && tables.Forms[i].Size == size;
  if (!known) return E_FAIL;
  return LoadRecord(stream, blob);
}
