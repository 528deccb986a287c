// CWavSource: libsndfile reading into the graph's own sample buffers, one block per sample,
// time-stamped from the frame position in 100 ns units.
#include "platform/mediagraph/wav_source.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "platform/mediagraph/wav_forms.h"

namespace {
SNDFILE* File(void* p) { return static_cast<SNDFILE*>(p); }

REFERENCE_TIME FramesToTime(LONGLONG frames, DWORD rate) {
  if (rate == 0) return 0;
  return static_cast<REFERENCE_TIME>(static_cast<__int128>(frames) * 10000000 / rate);
}
}  // namespace

CWavSourcePin::CWavSourcePin(CWavSource* filter, CCritSec* lock, HRESULT* hr)
    : CBaseOutputPin("Wav source pin", filter, lock, hr, u"Output"), m_pSource(filter) {}

HRESULT CWavSourcePin::CheckMediaType(const CMediaType* mt) {
  if (!m_pSource->IsOpen()) return VFW_E_NOT_CONNECTED;
  return *mt == m_pSource->m_Type ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CWavSourcePin::GetMediaType(int position, CMediaType* mt) {
  if (position < 0) return E_INVALIDARG;
  if (position > 0 || !m_pSource->IsOpen()) return VFW_S_NO_MORE_ITEMS;
  *mt = m_pSource->m_Type;
  return S_OK;
}

HRESULT CWavSourcePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) {
  const WAVEFORMATEX* w = m_pSource->WaveFormat();
  if (!w) return E_UNEXPECTED;
  ALLOCATOR_PROPERTIES request = *props;
  LONG bytes = m_pSource->m_framesPerBlock * w->nBlockAlign;
  request.cBuffers = std::max<LONG>(request.cBuffers, 2);
  request.cbBuffer = std::max(request.cbBuffer, bytes);
  request.cbAlign = std::max<LONG>(request.cbAlign, 1);
  ALLOCATOR_PROPERTIES actual{};
  HRESULT hr = allocator->SetProperties(&request, &actual);
  if (FAILED(hr)) return hr;
  return actual.cbBuffer >= bytes ? S_OK : E_FAIL;
}

CWavSource::CWavSource(HRESULT* hr)
    : CBaseFilter("Wav source", nullptr, &m_Lock, CLSID_QxWavSource), m_Pin(this, &m_Lock, hr) {}

CWavSource::~CWavSource() { Close(); }

HRESULT CWavSource::Create(CWavSource** out) {
  if (!out) return E_POINTER;
  HRESULT hr = S_OK;
  auto* s = new (std::nothrow) CWavSource(&hr);
  if (!s) return E_OUTOFMEMORY;
  s->NonDelegatingAddRef();
  *out = s;
  return hr;
}

HRESULT CWavSource::Fail(HRESULT hr, std::string text) {
  m_error = std::move(text);
  return hr;
}

HRESULT CWavSource::Open(const std::string& path) {
  CAutoLock lock(&m_Lock);
  if (m_Pin.IsConnected()) return Fail(VFW_E_ALREADY_CONNECTED, "the source is connected; open the file first");
  Close();
  SF_INFO info{};
  if (m_rawFormat) {
    info.format = m_rawFormat;
    info.samplerate = m_rawRate;
    info.channels = m_rawChannels;
  }
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return Fail(STG_E_READFAULT, "cannot open \"" + path + "\": " + sf_strerror(nullptr));
  WavForm form = WavFormOfFile(info.format);
  if (info.channels < 1 || info.channels > 0xFFFF || info.samplerate <= 0) {
    sf_close(f);
    return Fail(E_INVALIDARG, "\"" + path + "\" has no usable channel count or sample rate");
  }
  CMediaType type;
  HRESULT hr = MakeWavFormType(form, static_cast<WORD>(info.channels), static_cast<DWORD>(info.samplerate), &type);
  if (FAILED(hr)) {
    sf_close(f);
    return Fail(hr, "cannot describe the format of \"" + path + "\"");
  }
  m_file = f;
  m_Type = std::move(type);
  m_fileFormat = info.format;
  m_readKind = static_cast<int>(form);
  m_totalFrames = info.frames;
  m_position = 0;
  m_error.clear();
  return S_OK;
}

HRESULT CWavSource::OpenMemory(int form, WORD channels, DWORD rate) {
  CAutoLock lock(&m_Lock);
  if (m_Pin.IsConnected()) return Fail(VFW_E_ALREADY_CONNECTED, "the source is connected; open it first");
  Close();
  if (form < static_cast<int>(WavForm::Pcm8) || form > static_cast<int>(WavForm::Float64) || channels < 1 || rate < 1)
    return Fail(E_INVALIDARG, "no usable sample form, channel count or sample rate");
  CMediaType type;
  HRESULT hr = MakeWavFormType(static_cast<WavForm>(form), channels, rate, &type);
  if (FAILED(hr)) return Fail(hr, "cannot describe the format");
  m_memory = true;
  m_Type = std::move(type);
  m_fileFormat = SfSubtypeOfForm(static_cast<WavForm>(form));
  m_readKind = form;
  m_totalFrames = 0;
  m_position = 0;
  m_error.clear();
  return S_OK;
}

HRESULT CWavSource::Feed(const void* frames, LONGLONG count) {
  if (!m_memory) return Fail(E_UNEXPECTED, "the source reads a file");
  if (count < 0 || (count > 0 && !frames)) return E_INVALIDARG;
  m_fed = static_cast<const BYTE*>(frames);
  m_fedLeft = count;
  m_totalFrames = m_position + count;
  return S_OK;
}

void CWavSource::Close() {
  if (m_file) sf_close(File(m_file));
  m_file = nullptr;
  m_memory = false;
  m_fed = nullptr;
  m_fedLeft = 0;
  m_shortScratch.clear();
}

HRESULT CWavSource::SetFramesPerBlock(LONG frames) {
  CAutoLock lock(&m_Lock);
  if (frames < 1) return E_INVALIDARG;
  if (m_Pin.IsConnected()) return VFW_E_ALREADY_CONNECTED;
  m_framesPerBlock = frames;
  return S_OK;
}

HRESULT CWavSource::Rewind() {
  if (m_memory) {
    m_position = 0;
    return S_OK;
  }
  if (!m_file) return Fail(E_UNEXPECTED, "no file is open");
  // A stream that has not moved needs no seek, so a pipe can be played once.
  if (m_position == 0 && sf_seek(File(m_file), 0, SEEK_CUR) <= 0) return S_OK;
  if (sf_seek(File(m_file), 0, SEEK_SET) < 0) return Fail(STG_E_READFAULT, "cannot seek to the start");
  m_position = 0;
  return S_OK;
}

HRESULT CWavSource::PushBlock(bool* done) {
  if (!done) return E_POINTER;
  *done = false;
  if (!IsOpen()) return Fail(E_UNEXPECTED, "no file is open");
  const WAVEFORMATEX* w = WaveFormat();
  if (m_memory && m_fedLeft == 0) {
    *done = true;
    return S_OK;
  }
  IMediaSample* sample = nullptr;
  HRESULT hr = m_Pin.GetDeliveryBuffer(&sample, nullptr, nullptr, 0);
  if (FAILED(hr)) return Fail(hr, "cannot get a buffer from the graph");
  BYTE* p = nullptr;
  sample->GetPointer(&p);
  sf_count_t want = std::min<sf_count_t>(m_framesPerBlock, sample->GetSize() / w->nBlockAlign);
  sf_count_t got = 0;
  SNDFILE* f = File(m_file);
  if (m_memory) {
    got = std::min<sf_count_t>(want, m_fedLeft);
    std::memcpy(p, m_fed, static_cast<size_t>(got) * w->nBlockAlign);
    m_fed += static_cast<size_t>(got) * w->nBlockAlign;
    m_fedLeft -= got;
  } else switch (static_cast<WavForm>(m_readKind)) {
    case WavForm::Pcm8: {
      size_t n = static_cast<size_t>(want) * w->nChannels;
      if (m_shortScratch.size() < n) m_shortScratch.resize(n);  // once per block size
      got = sf_readf_short(f, m_shortScratch.data(), want);
      size_t count = static_cast<size_t>(got) * w->nChannels;
      for (size_t i = 0; i < count; ++i)
        p[i] = static_cast<BYTE>((m_shortScratch[i] >> 8) + 128);
      break;
    }
    case WavForm::Pcm16:
      got = sf_readf_short(f, reinterpret_cast<short*>(p), want);
      break;
    case WavForm::Pcm24In32:
    case WavForm::Pcm32:
      got = sf_readf_int(f, reinterpret_cast<int*>(p), want);
      break;
    case WavForm::Float32:
      got = sf_readf_float(f, reinterpret_cast<float*>(p), want);
      break;
    case WavForm::Float64:
      got = sf_readf_double(f, reinterpret_cast<double*>(p), want);
      break;
  }
  if (got <= 0) {
    sample->Release();
    if (f && sf_error(f) != SF_ERR_NO_ERROR) return Fail(STG_E_READFAULT, std::string("read error: ") + sf_strerror(f));
    *done = true;
    return S_OK;
  }
  sample->SetActualDataLength(static_cast<LONG>(got) * w->nBlockAlign);
  REFERENCE_TIME start = FramesToTime(m_position, w->nSamplesPerSec);
  REFERENCE_TIME stop = FramesToTime(m_position + got, w->nSamplesPerSec);
  sample->SetTime(&start, &stop);
  LONGLONG mStart = m_position, mStop = m_position + got;
  sample->SetMediaTime(&mStart, &mStop);
  sample->SetSyncPoint(TRUE);
  sample->SetDiscontinuity(m_position == 0);
  m_position += got;
  hr = m_Pin.Deliver(sample);
  sample->Release();
  if (FAILED(hr)) {
    char text[96];
    std::snprintf(text, sizeof text, "delivery failed at frame %lld: 0x%08X",
                  static_cast<long long>(m_position - got), static_cast<unsigned>(hr));
    return Fail(hr, text);
  }
  return hr;
}

HRESULT CWavSource::PushAll() {
  for (;;) {
    bool done = false;
    HRESULT hr = PushBlock(&done);
    if (FAILED(hr)) return hr;
    if (done) break;
  }
  HRESULT hr = m_Pin.DeliverEndOfStream();
  if (FAILED(hr)) {
    char text[64];
    std::snprintf(text, sizeof text, "end of stream failed: 0x%08X", static_cast<unsigned>(hr));
    return Fail(hr, text);
  }
  return S_OK;
}
