// CWavSink: libsndfile writing of the delivered blocks. The file lives from Pause to Stop, so
// each run writes it anew.
#include "platform/mediagraph/wav_sink.h"

#include <sndfile.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "platform/mediagraph/wav_forms.h"

namespace {
SNDFILE* File(void* p) { return static_cast<SNDFILE*>(p); }

// Samples at the top or the bottom of their type's range.
template <class T>
LONGLONG CountEnds(const T* p, sf_count_t n) {
  constexpr T top = std::numeric_limits<T>::max(), bottom = std::numeric_limits<T>::min();
  LONGLONG count = 0;
  sf_count_t i = 0;
#if defined(__SSE2__)
  if constexpr (sizeof(T) == 2) {
    // Eight at a time: each compare leaves -1 in a lane that matches, summed in 16-bit lanes for
    // at most 4096 steps at a stretch, so no lane can overflow.
    const __m128i hi = _mm_set1_epi16(top), lo = _mm_set1_epi16(bottom);
    while (n - i >= 8) {
      __m128i acc = _mm_setzero_si128();
      const sf_count_t end = i + std::min<sf_count_t>((n - i) / 8, 4096) * 8;
      for (; i < end; i += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        acc = _mm_sub_epi16(acc, _mm_or_si128(_mm_cmpeq_epi16(v, hi), _mm_cmpeq_epi16(v, lo)));
      }
      alignas(16) uint16_t lanes[8];
      _mm_store_si128(reinterpret_cast<__m128i*>(lanes), acc);
      for (uint16_t l : lanes) count += l;
    }
  }
#endif
  for (; i < n; ++i) count += (p[i] == top) | (p[i] == bottom);
  return count;
}
}  // namespace

CWavSink::CWavSink(HRESULT* hr) : CSinkFilter("Wav sink", nullptr, CLSID_QxWavSink, hr) {}

CWavSink::~CWavSink() { CloseFile(); }

HRESULT CWavSink::Create(CWavSink** out) {
  if (!out) return E_POINTER;
  HRESULT hr = S_OK;
  auto* s = new (std::nothrow) CWavSink(&hr);
  if (!s) return E_OUTOFMEMORY;
  s->NonDelegatingAddRef();
  *out = s;
  return hr;
}

HRESULT CWavSink::Fail(HRESULT hr, std::string text) {
  m_error = std::move(text);
  return hr;
}

HRESULT CWavSink::SetOutput(const std::string& path, int sfFormat) {
  CAutoLock lock(&m_Lock);
  if (m_State != State_Stopped) return VFW_E_NOT_STOPPED;
  m_path = path;
  m_requestedFormat = sfFormat;
  return S_OK;
}

HRESULT CWavSink::CheckMediaType(const CMediaType* mt) {
  return SUCCEEDED(WavFormOfType(*mt, nullptr, nullptr, nullptr)) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CWavSink::Pause() {
  CAutoLock lock(&m_Lock);
  if (m_State == State_Stopped && m_Pin.IsConnected()) {
    HRESULT hr = OpenFile();
    if (FAILED(hr)) return hr;
  }
  return CSinkFilter::Pause();
}

HRESULT CWavSink::Stop() {
  CAutoLock lock(&m_Lock);
  HRESULT hr = CSinkFilter::Stop();
  CAutoLock receive(&m_csReceive);
  CloseFile();
  return hr;
}

// A pipe seen by libsndfile as a file it may seek in: writes go out in order, and what libsndfile
// writes again behind the end (the header's sizes, at close) is dropped. The first header's sizes
// become "unknown", which is how a WAV stream says it has no end yet.
struct CWavSinkPipe {
  int fd;
  int64_t* written;
  sf_count_t at = 0;
};
namespace {
using PipeWriter = CWavSinkPipe;
sf_count_t PipeLength(void* user) { return *static_cast<PipeWriter*>(user)->written; }
sf_count_t PipeSeek(sf_count_t offset, int whence, void* user) {
  auto* p = static_cast<PipeWriter*>(user);
  p->at = whence == SEEK_SET ? offset : whence == SEEK_CUR ? p->at + offset : *p->written + offset;
  return p->at;
}
sf_count_t PipeRead(void*, sf_count_t, void*) { return 0; }
sf_count_t PipeTell(void* user) { return static_cast<PipeWriter*>(user)->at; }
sf_count_t PipeWrite(const void* data, sf_count_t count, void* user) {
  auto* p = static_cast<PipeWriter*>(user);
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::vector<unsigned char> head;
  if (p->at < *p->written) {  // behind the end: only what reaches past it goes out
    const sf_count_t skip = std::min(count, *p->written - p->at);
    p->at += skip;
    bytes += skip;
    count -= skip;
    if (count == 0) return skip;
  }
  if (p->at == 0 && count >= 12 && std::memcmp(bytes, "RIFF", 4) == 0) {
    head.assign(bytes, bytes + count);
    std::memset(&head[4], 0xFF, 4);
    for (size_t i = 12; i + 8 <= head.size(); i += 1)
      if (std::memcmp(&head[i], "data", 4) == 0) {
        std::memset(&head[i + 4], 0xFF, 4);
        break;
      }
    bytes = head.data();
  }
  for (sf_count_t left = count; left > 0;) {
    const ssize_t n = ::write(p->fd, bytes + (count - left), static_cast<size_t>(left));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return count - left;
    left -= n;
  }
  p->at += count;
  *p->written = std::max(*p->written, p->at);
  return count;
}

// The file for libsndfile, emptied only when it holds something. ext4 writes out at close any file
// that was truncated to nothing, to protect programs that replace files without fsync; on a fresh
// temporary file that costs more than a short run's processing, and the caller's one-step replace
// already keeps the output whole.
SNDFILE* OpenPath(const std::string& path, SF_INFO* info, std::string* why) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  struct stat st{};
  if (fd < 0 || fstat(fd, &st) != 0 || (st.st_size > 0 && ftruncate(fd, 0) != 0)) {
    *why = std::strerror(errno);
    if (fd >= 0) close(fd);
    return nullptr;
  }
  SNDFILE* f = sf_open_fd(fd, SFM_WRITE, info, SF_TRUE);  // closes the descriptor when it fails
  if (!f) *why = sf_strerror(nullptr);
  return f;
}
}  // namespace

void* CWavSink::OpenPipe(void* sfInfo) {
  auto* info = static_cast<SF_INFO*>(sfInfo);
  const int major = info->format & SF_FORMAT_TYPEMASK;
  if (major == SF_FORMAT_AU || major == SF_FORMAT_RAW) return sf_open_fd(m_pipe, SFM_WRITE, info, SF_FALSE);
  static SF_VIRTUAL_IO io = {PipeLength, PipeSeek, PipeRead, PipeWrite, PipeTell};
  m_pipeWriter = std::make_unique<CWavSinkPipe>(CWavSinkPipe{m_pipe, &m_pipeWritten});
  m_pipeWritten = 0;
  return sf_open_virtual(&io, SFM_WRITE, info, m_pipeWriter.get());
}

HRESULT CWavSink::OpenFile() {
  CloseFile();
  if (m_path.empty()) return Fail(E_UNEXPECTED, "the sink has no output file");
  WavForm form;
  WORD channels = 0;
  DWORD rate = 0;
  HRESULT hr = WavFormOfType(m_Pin.CurrentMediaType(), &form, &channels, &rate);
  if (FAILED(hr)) return Fail(hr, "the connection's type is not a writable audio form");
  int major = m_requestedFormat & SF_FORMAT_TYPEMASK;
  int sub = m_requestedFormat & SF_FORMAT_SUBMASK;
  if (major == 0) major = SF_FORMAT_WAV;
  if (sub == 0) sub = SfSubtypeOfForm(form);
  // The file's encoding decides the conversion on write; the form decides the buffer layout.
  SF_INFO info{};
  info.samplerate = static_cast<int>(rate);
  info.channels = channels;
  info.format = major | sub;
  if (!sf_format_check(&info)) return Fail(E_INVALIDARG, "libsndfile cannot write that format to \"" + m_path + "\"");
  std::string why;
  SNDFILE* f = m_pipe >= 0 ? static_cast<SNDFILE*>(OpenPipe(&info)) : OpenPath(m_path, &info, &why);
  if (!f) return Fail(STG_E_WRITEFAULT, "cannot create \"" + m_path + "\": " + (m_pipe >= 0 ? sf_strerror(nullptr) : why));
  if (m_autoDowngrade && major == SF_FORMAT_RF64) sf_command(f, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
  // A stream of unknown length keeps no text chunk: it would follow the audio and be read as audio.
  if (m_pipe < 0)
    for (const auto& [kind, text] : m_strings) sf_set_string(f, kind, text.c_str());
  m_file = f;
  m_form = static_cast<int>(form);
  m_channels = channels;
  m_blockAlign = reinterpret_cast<const WAVEFORMATEX*>(m_Pin.CurrentMediaType().Format())->nBlockAlign;
  m_frames = 0;
  m_countFullScale = (form == WavForm::Pcm16 && sub == SF_FORMAT_PCM_16) ||
                     (form == WavForm::Pcm32 && sub == SF_FORMAT_PCM_32);
  m_fullScale = 0;
  m_eos = false;
  m_error.clear();
  return S_OK;
}

void CWavSink::CloseFile() {
  if (m_file) sf_close(File(m_file));
  m_file = nullptr;
}

HRESULT CWavSink::OnReceive(IMediaSample* sample) {
  if (!m_file) return Fail(E_UNEXPECTED, "sample received with no file open");
  BYTE* p = nullptr;
  HRESULT hr = sample->GetPointer(&p);
  if (FAILED(hr)) return Fail(hr, "sample without a buffer");
  sf_count_t frames = sample->GetActualDataLength() / m_blockAlign;
  if (frames <= 0) return S_OK;
  SNDFILE* f = File(m_file);
  sf_count_t put = 0;
  switch (static_cast<WavForm>(m_form)) {
    case WavForm::Pcm8: {
      size_t n = static_cast<size_t>(frames) * m_channels;
      if (m_shortScratch.size() < n) m_shortScratch.resize(n);  // grows to the block size once
      for (size_t i = 0; i < n; ++i) m_shortScratch[i] = static_cast<short>((p[i] - 128) * 256);
      put = sf_writef_short(f, m_shortScratch.data(), frames);
      break;
    }
    case WavForm::Pcm16:
      put = sf_writef_short(f, reinterpret_cast<const short*>(p), frames);
      if (m_countFullScale) m_fullScale += CountEnds(reinterpret_cast<const int16_t*>(p), put * m_channels);
      break;
    case WavForm::Pcm24In32:
    case WavForm::Pcm32:
      put = sf_writef_int(f, reinterpret_cast<const int*>(p), frames);
      if (m_countFullScale) m_fullScale += CountEnds(reinterpret_cast<const int32_t*>(p), put * m_channels);
      break;
    case WavForm::Float32:
      put = sf_writef_float(f, reinterpret_cast<const float*>(p), frames);
      break;
    case WavForm::Float64:
      put = sf_writef_double(f, reinterpret_cast<const double*>(p), frames);
      break;
  }
  if (put != frames) return Fail(STG_E_WRITEFAULT, std::string("write error: ") + sf_strerror(f));
  m_frames += put;
  return S_OK;
}

HRESULT CWavSink::OnEndOfStream() {
  // No fsync: forcing the file to disk costs a quarter of a second on a large output and guards
  // only against a power cut; write-back is left to the system, as ordinary tools leave it.
  m_eos = true;
  return S_OK;
}
