// Running files through filter chains for qxfx: the temporary output, standard input and output,
// the conversion for effects that refuse the input's form, the progress bar and the verbose graph.
#include "tools/qxfx/file_graph.h"

#include <fcntl.h>
#include <sndfile.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/com/wave_format.h"
#include "platform/mediagraph/graph_runner.h"
#include "platform/mediagraph/media_type.h"
#include "tools/qxfx/file_checks.h"
#include "tools/qxfx/temp_files.h"

namespace {
using Clock = std::chrono::steady_clock;
// The highest rate qxfx takes: the highest any interface records at.
constexpr int kMaxRate = 768000;

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  if (stat(a.c_str(), &sa) != 0 || stat(b.c_str(), &sb) != 0) return false;
  return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

std::string DirOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool WriteAll(int fd, const char* p, size_t n) {
  while (n) {
    ssize_t w = write(fd, p, n);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) return false;
    p += w;
    n -= static_cast<size_t>(w);
  }
  return true;
}

// Copies everything from one descriptor to another in fixed blocks.
bool CopyFd(int from, int to) {
  std::vector<char> buf(1 << 16);
  for (;;) {
    ssize_t n = read(from, buf.data(), buf.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    if (!WriteAll(to, buf.data(), static_cast<size_t>(n))) return false;
  }
}

}  // namespace

namespace {
// Standard input read as a stream: the path the source opens (a pipe fed by a thread), and the
// start of the stream, kept to learn its format without reading the pipe twice.
struct StreamedStdin {
  std::string path;   // the pipe the source reads
  std::string probe;  // a file holding the stream's start, to learn its form from
};
StreamedStdin g_stdin;

// Copies the start and then the rest of standard input into a pipe; a reader that goes away
// ends it (the pipe's EPIPE, with SIGPIPE held off this thread).
void PumpStdin(int to, std::vector<char> head) {
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
  if (WriteAll(to, head.data(), head.size())) CopyFd(0, to);
  close(to);
}

// The raw form (--raw-input) every input is read in, 0 when inputs carry their own header.
SF_INFO g_raw{};

SNDFILE* OpenInput(const std::string& path, SF_INFO* info) {
  *info = g_raw;
  return sf_open(path.c_str(), SFM_READ, info);
}
}  // namespace

void QxfxSetRawInput(int format, int rate, int channels) {
  g_raw = {};
  g_raw.format = format ? SF_FORMAT_RAW | format : 0;
  g_raw.samplerate = rate;
  g_raw.channels = channels;
}

std::string QxfxProbePath(const std::string& in) {
  return !g_stdin.path.empty() && in == g_stdin.path ? g_stdin.probe : in;
}

bool QxfxStdinPath(std::string* path, std::string* spool, std::string* error) {
  struct stat st;
  if (fstat(0, &st) == 0 && S_ISREG(st.st_mode)) {
    *path = "/dev/stdin";
    return true;
  }
  // WAV, RF64 and AU are read as they arrive; other forms need to seek and are spooled. The start
  // is read until the header is whole (up to the audio of a WAV, 64 KiB at most) to learn the form.
  std::vector<char> head(1 << 16);
  size_t got = 0;
  auto kind = [&](const char* magic) { return got >= 4 && std::memcmp(head.data(), magic, 4) == 0; };
  auto whole = [&] {
    if (got < 4) return false;
    if (kind(".snd")) return got >= 28;
    if (!kind("RIFF") && !kind("RF64")) return true;  // not a stream: spooled as it is
    const auto end = head.begin() + static_cast<long>(got);
    const auto data = std::search(head.begin(), end, "data", "data" + 4);
    return data != end && end - data >= 8;
  };
  for (ssize_t n; got < head.size() && !whole(); got += static_cast<size_t>(n)) {
    n = read(0, head.data() + got, head.size() - got);
    if (n < 0 && errno == EINTR) n = 0;
    else if (n <= 0) break;
  }
  head.resize(got);
  const bool streams = kind("RIFF") || kind("RF64") || kind(".snd");
  int fds[2];
  if ((streams || g_raw.format) && pipe(fds) == 0) {
    *spool = QxfxMakeTemp(QxfxTempDir() + "/qxfx-head-XXXXXX");
    const int fd = spool->empty() ? -1 : open(spool->c_str(), O_WRONLY | O_TRUNC);
    const bool kept = fd >= 0 && WriteAll(fd, head.data(), head.size());
    if (fd >= 0) close(fd);
    if (!kept) {
      close(fds[0]);
      close(fds[1]);
      *error = "cannot make a temporary file in " + QxfxTempDir() + " for standard input";
      return false;
    }
    g_stdin = {"/dev/fd/" + std::to_string(fds[0]), *spool};
    std::thread(PumpStdin, fds[1], std::move(head)).detach();
    *path = g_stdin.path;
    return true;
  }
  *spool = QxfxMakeTemp(QxfxTempDir() + "/qxfx-stdin-XXXXXX");
  if (spool->empty()) {
    *error = "cannot make a temporary file in " + QxfxTempDir() + " for standard input";
    return false;
  }
  int fd = open(spool->c_str(), O_WRONLY | O_TRUNC);
  bool ok = fd >= 0 && WriteAll(fd, head.data(), head.size()) && CopyFd(0, fd);
  if (fd >= 0 && close(fd) != 0) ok = false;
  if (!ok) {
    *error = "cannot keep standard input in " + *spool + " (disk full?)";
    return false;
  }
  *path = *spool;
  return true;
}

namespace {

bool IsFloat(int format) {
  int sub = format & SF_FORMAT_SUBMASK;
  return sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE;
}

// Bits of a whole-number encoding, 0 for any other.
int PcmBits(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 8;
    case SF_FORMAT_PCM_16: return 16;
    case SF_FORMAT_PCM_24: return 24;
    case SF_FORMAT_PCM_32: return 32;
    default: return 0;
  }
}

// Bits of the signal an encoding carries: floats hold more than any whole-number form.
int SignalBits(int format) {
  const int sub = format & SF_FORMAT_SUBMASK;
  if (sub == SF_FORMAT_FLOAT) return 25;
  if (sub == SF_FORMAT_DOUBLE) return 53;
  const int bits = PcmBits(format);
  return bits ? bits : 16;  // mu-law, A-law and the compressed forms hold about 16
}

// The text fields of a file (title, artist, comment, date ...), to carry to the output.
QxfxTags TagsOf(SNDFILE* f) {
  QxfxTags tags;
  for (int kind = SF_STR_FIRST; kind <= SF_STR_LAST; ++kind)
    if (const char* s = sf_get_string(f, kind); s && *s) tags.push_back({kind, s});
  return tags;
}

struct ConvertOptions {
  double scale = 1.0;      // level change
  int wholeBits = 0;       // whole numbers of this many bits made here (rounded to nearest), 0 for libsndfile's
  bool dither = false;     // with TPDF dither of one step
  bool countClips = false; // count samples beyond full scale
  const QxfxTags* tags = nullptr;
  bool autoDowngrade = false;
  bool rawInput = false;   // `in` is an input in the --raw-input form
  bool silenceNonFinite = false;  // NaN and infinity become 0
};
struct ConvertStats {
  int64_t clipped = 0;
  double peak = 0.0;
};

// The host's own conversion: `in` rewritten in `format` block by block, at full scale both ways
// and clipped rather than wrapped when float goes to whole numbers. `format` 0 is 32-bit float
// WAV (W64 past 4 GB). Whole numbers of `wholeBits` are made here: the value at full scale,
// with dither plus triangular noise of one step, rounded to nearest and held to the range; the
// noise comes from a fixed seed, so a run repeats exactly. A NaN becomes silence whenever the
// target holds whole numbers (it would turn into a full-scale sample), and everywhere with
// `silenceNonFinite`.
bool Convert(const std::string& in, const std::string& out, int format, const ConvertOptions& opt,
             ConvertStats* stats, std::string* error) {
  SF_INFO info{};
  SNDFILE* src = opt.rawInput ? OpenInput(in, &info) : sf_open(in.c_str(), SFM_READ, &info);
  if (!src) {
    *error = "cannot read " + in + ": " + sf_strerror(nullptr);
    return false;
  }
  SF_INFO oinfo{};
  oinfo.samplerate = info.samplerate;
  oinfo.channels = info.channels;
  double bytes = static_cast<double>(info.frames) * info.channels * 4;
  oinfo.format = format ? format : (bytes > 4.0e9 ? SF_FORMAT_W64 : SF_FORMAT_WAV) | SF_FORMAT_FLOAT;
  SNDFILE* dst = sf_open(out.c_str(), SFM_WRITE, &oinfo);
  if (dst) {
    sf_command(dst, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    if (opt.autoDowngrade) sf_command(dst, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    if (opt.tags)
      for (const auto& [kind, text] : *opt.tags) sf_set_string(dst, kind, text.c_str());
  }
  if (!dst) {
    sf_close(src);
    *error = "cannot write the converted audio " + out + ": " + sf_strerror(nullptr);
    return false;
  }
  const size_t block = 8192 * static_cast<size_t>(info.channels);
  std::vector<double> buf(block);
  std::vector<int> whole(opt.wholeBits ? block : 0);
  const double steps = opt.wholeBits ? std::ldexp(1.0, opt.wholeBits - 1) : 0.0;
  const int shift = 32 - opt.wholeBits;
  uint64_t seed = 0x9E3779B97F4A7C15ull;
  auto uniform = [&seed] {  // xorshift64*, in [0, 1)
    seed ^= seed >> 12;
    seed ^= seed << 25;
    seed ^= seed >> 27;
    return static_cast<double>((seed * 0x2545F4914F6CDD1Dull) >> 11) * 0x1.0p-53;
  };
  sf_count_t n;
  bool ok = true;
  const bool toWhole = !IsFloat(oinfo.format);
  while ((n = sf_readf_double(src, buf.data(), 8192)) > 0) {
    const size_t count = static_cast<size_t>(n) * static_cast<size_t>(info.channels);
    for (size_t i = 0; i < count; ++i) {
      if ((opt.silenceNonFinite && !std::isfinite(buf[i])) || (toWhole && std::isnan(buf[i]))) buf[i] = 0.0;
      const double v = buf[i] * opt.scale;
      buf[i] = v;
      const double a = std::fabs(v);
      if (stats && a > stats->peak) stats->peak = a;
      if (opt.countClips && stats && a > 1.0) ++stats->clipped;
    }
    sf_count_t put;
    if (opt.wholeBits) {
      for (size_t i = 0; i < count; ++i) {
        const double q = std::nearbyint(buf[i] * steps + (opt.dither ? uniform() - uniform() : 0.0));
        const double held = std::clamp(q, -steps, steps - 1);
        whole[i] = static_cast<int>(static_cast<int64_t>(held) * (int64_t{1} << shift));
      }
      put = sf_writef_int(dst, whole.data(), n);
    } else {
      put = sf_writef_double(dst, buf.data(), n);
    }
    if (put != n) {
      ok = false;
      break;
    }
  }
  sf_close(src);
  if (sf_close(dst) != 0) ok = false;
  if (!ok) *error = "cannot write the converted audio " + out + " (disk full?)";
  return ok;
}

// Samples of a float file that are NaN or infinite: how many, and where the first one is.
struct NonFinite {
  int64_t count = 0;
  int64_t firstFrame = 0;
  int firstChannel = 0;
};

NonFinite ScanNonFinite(const std::string& path) {
  NonFinite r;
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return r;
  std::vector<double> buf(8192 * static_cast<size_t>(info.channels));
  int64_t frame = 0;
  for (sf_count_t n; (n = sf_readf_double(f, buf.data(), 8192)) > 0; frame += n)
    for (sf_count_t i = 0; i < n * info.channels; ++i)
      if (!std::isfinite(buf[static_cast<size_t>(i)]) && r.count++ == 0) {
        r.firstFrame = frame + i / info.channels;
        r.firstChannel = static_cast<int>(i % info.channels) + 1;
      }
  sf_close(f);
  return r;
}

// The format a file was written in (RF64 may have become WAV), or `fallback`.
int FormatOf(const std::string& path, int fallback) {
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return fallback;
  sf_close(f);
  return info.format;
}

// Largest absolute sample of a file, full scale 1.0.
double PeakOf(const std::string& path) {
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return 0.0;
  std::vector<double> buf(8192 * static_cast<size_t>(info.channels));
  double peak = 0.0;
  sf_count_t n;
  while ((n = sf_readf_double(f, buf.data(), 8192)) > 0)
    for (sf_count_t i = 0; i < n * info.channels; ++i) peak = std::max(peak, std::fabs(buf[static_cast<size_t>(i)]));
  sf_close(f);
  return peak;
}

// Samples at the ends of a whole-number file's range: what the effects' own rounding clipped.
int64_t FullScaleSamples(const std::string& path, int bits, const SF_INFO& written) {
  SF_INFO info = (written.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RAW ? written : SF_INFO{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return 0;
  const int64_t top = ((int64_t{1} << (bits - 1)) - 1) << (32 - bits);
  std::vector<int> buf(8192 * static_cast<size_t>(info.channels));
  int64_t count = 0;
  sf_count_t n;
  while ((n = sf_readf_int(f, buf.data(), 8192)) > 0)
    for (sf_count_t i = 0; i < n * info.channels; ++i) {
      const int64_t v = buf[static_cast<size_t>(i)];
      if (v >= top || v == INT32_MIN) ++count;
    }
  sf_close(f);
  return count;
}

std::string WaveFormName(const AM_MEDIA_TYPE& mt) {
  if (!mt.pbFormat || mt.cbFormat < sizeof(WAVEFORMATEX)) return "?";
  const auto* wf = reinterpret_cast<const WAVEFORMATEX*>(mt.pbFormat);
  WORD tag = wf->wFormatTag;
  if (tag == WAVE_FORMAT_EXTENSIBLE && mt.cbFormat >= sizeof(WAVEFORMATEXTENSIBLE)) {
    const auto* ext = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(mt.pbFormat);
    tag = ext->SubFormat == KSDATAFORMAT_SUBTYPE_IEEE_FLOAT ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
  }
  char buf[128];
  std::snprintf(buf, sizeof buf, "%u-bit %s, %u ch, %u Hz%s", wf->wBitsPerSample,
                tag == WAVE_FORMAT_IEEE_FLOAT ? "float" : "PCM", wf->nChannels,
                static_cast<unsigned>(wf->nSamplesPerSec), wf->wFormatTag == WAVE_FORMAT_EXTENSIBLE ? ", extensible" : "");
  return buf;
}

void PrintGraph(const std::vector<IBaseFilter*>& stages, const QxfxRunOptions& options, const std::string& in,
                const std::string& out, int inFormat, int outFormat) {
  std::fprintf(stderr, "qxfx: graph: source %s (%s)\n", in.c_str(), QxfxFormatName(inFormat).c_str());
  for (size_t i = 0; i + 1 < stages.size(); ++i) {
    IPin* pin = nullptr;
    std::string form = "not connected";
    if (SUCCEEDED(QxFindFilterPin(stages[i], u"Output", i == 0 ? 0 : 1, &pin))) {
      AM_MEDIA_TYPE mt{};
      if (SUCCEEDED(pin->ConnectionMediaType(&mt))) {
        form = WaveFormName(mt);
        FreeMediaType(mt);
      }
      pin->Release();
    }
    std::string next = i + 2 == stages.size() ? "sink " + out + " (" + QxfxFormatName(outFormat) + ")"
                                              : (i < options.names.size() ? options.names[i] : "filter");
    std::fprintf(stderr, "qxfx:   -> [%s] -> %s\n", form.c_str(), next.c_str());
  }
}

std::string ClockText(double seconds) {
  long s = std::lround(std::max(0.0, seconds));
  char buf[32];
  if (s >= 3600) std::snprintf(buf, sizeof buf, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
  else std::snprintf(buf, sizeof buf, "%ld:%02ld", s / 60, s % 60);
  return buf;
}

// A one-line bar on stderr, drawn only once the run has taken a second and at most ten times a second.
class ProgressBar {
 public:
  ProgressBar(bool enabled, int64_t total, int rate) : enabled_(enabled && isatty(2)), total_(total), rate_(rate) {}
  ~ProgressBar() { Finish(); }
  void Update(int64_t done) {
    if (!enabled_) return;
    auto now = Clock::now();
    double elapsed = std::chrono::duration<double>(now - start_).count();
    if (elapsed < 1.0 || std::chrono::duration<double>(now - last_).count() < 0.1) return;
    last_ = now;
    double audio = rate_ ? static_cast<double>(done) / rate_ : 0.0;
    double speed = elapsed > 0 ? audio / elapsed : 0.0;
    double frac = total_ > 0 ? std::min(1.0, static_cast<double>(done) / total_) : 0.0;
    int width = 24, filled = static_cast<int>(frac * width);
    std::string bar(filled, '#');
    bar.resize(width, '.');
    double left = speed > 0 && rate_ ? (static_cast<double>(total_ - done) / rate_) / speed : 0.0;
    std::fprintf(stderr, "\r[%s] %3.0f%%  %lld/%lld frames  %.0fx real time  %s left \033[K", bar.c_str(), frac * 100,
                 static_cast<long long>(done), static_cast<long long>(total_), speed, ClockText(left).c_str());
    shown_ = true;
  }
  void Finish() {
    if (shown_) std::fprintf(stderr, "\r\033[K");
    shown_ = false;
  }

 private:
  bool enabled_;
  int64_t total_;
  int rate_;
  bool shown_ = false;
  Clock::time_point start_ = Clock::now(), last_ = start_;
};

// source -> filters -> sink, pushed block by block so that the bar can follow; as CGraphRunner::Run.
HRESULT RunGraph(const std::string& in, const std::string& out, int outFormat, const std::vector<IBaseFilter*>& filters,
                 const QxfxRunOptions& options, const std::string& inName, const std::string& outName,
                 const QxfxTags& tags, bool autoDowngrade, bool rawIn, int pipeFd, int64_t* framesIn, int64_t* framesOut,
                 int64_t* fullScale, std::string* error) {
  CWavSource* source = nullptr;
  CWavSink* sink = nullptr;
  HRESULT hr = CWavSource::Create(&source);
  if (SUCCEEDED(hr)) hr = CWavSink::Create(&sink);
  if (FAILED(hr)) {
    if (source) source->Release();
    *error = "cannot make the graph" + QxfxDescribe(hr);
    return hr;
  }
  if (rawIn) source->SetRawForm(g_raw.format, g_raw.samplerate, g_raw.channels);
  hr = source->Open(in);
  if (FAILED(hr)) *error = source->LastError();
  if (SUCCEEDED(hr)) hr = source->SetFramesPerBlock(static_cast<LONG>(options.blockFrames));
  if (SUCCEEDED(hr)) hr = sink->SetOutput(out, outFormat);
  sink->SetStrings(tags);
  sink->SetRf64AutoDowngrade(autoDowngrade);
  if (pipeFd >= 0) sink->SetOutputPipe(pipeFd);
  std::vector<IBaseFilter*> stages;
  {
    CGraphRunner runner;
    if (SUCCEEDED(hr)) {
      hr = runner.Build(source, filters, sink);
      if (FAILED(hr)) *error = runner.LastError();
    }
    if (SUCCEEDED(hr)) {
      stages.push_back(source);
      stages.insert(stages.end(), filters.begin(), filters.end());
      stages.push_back(sink);
      if (options.verbose) PrintGraph(stages, options, inName, outName, source->FileFormat(), outFormat);
      hr = source->Rewind();
      // Downstream first, so every pin is ready before anything upstream can deliver.
      size_t failed = 0;
      for (size_t i = stages.size(); SUCCEEDED(hr) && i-- > 0;) hr = stages[failed = i]->Pause();
      for (size_t i = stages.size(); SUCCEEDED(hr) && i-- > 0;) hr = stages[failed = i]->Run(0);
      if (FAILED(hr) && failed > 0 && failed + 1 < stages.size()) {
        // An effect that refuses to start: name it and the audio it was given.
        const WAVEFORMATEX* wf = source->WaveFormat();
        const std::string name = failed - 1 < options.names.size() ? options.names[failed - 1] : "an effect";
        *error = name + " cannot run on " + std::to_string(wf->nSamplesPerSec) + " Hz audio with " +
                 std::to_string(wf->nChannels) + (wf->nChannels == 1 ? " channel" : " channels") + QxfxDescribe(hr);
      } else if (FAILED(hr)) {
        *error = "the graph cannot start" + QxfxDescribe(hr) + (sink->LastError().empty() ? "" : " (" + sink->LastError() + ")");
      }
      ProgressBar bar(options.progress, source->TotalFrames(), static_cast<int>(source->WaveFormat()->nSamplesPerSec));
      bool done = false;
      while (SUCCEEDED(hr) && !done) {
        hr = source->PushBlock(&done);
        bar.Update(source->FramesDelivered());
      }
      if (SUCCEEDED(hr)) hr = source->OutputPin()->DeliverEndOfStream();
      bar.Finish();
      if (FAILED(hr) && error->empty())
        *error = source->LastError() + (sink->LastError().empty() ? "" : " (" + sink->LastError() + ")");
      HRESULT stopped = S_OK;
      for (size_t i = stages.size(); i-- > 0;) {
        HRESULT s = stages[i]->Stop();
        if (FAILED(s) && SUCCEEDED(stopped)) stopped = s;
      }
      if (SUCCEEDED(hr) && FAILED(stopped)) {
        hr = stopped;
        *error = "the graph could not stop" + QxfxDescribe(hr) + (sink->LastError().empty() ? "" : " (" + sink->LastError() + ")");
      }
    }
  }
  if (FAILED(hr) && error->empty()) *error = "processing failed" + QxfxDescribe(hr);
  *framesIn = source->FramesDelivered();
  *framesOut = sink->FramesWritten();
  *fullScale = sink->FullScaleSamples();
  source->Release();
  sink->Release();
  return hr;
}

// Temporary files of one run, removed whatever way the run ends.
struct Temps {
  std::vector<std::string> paths;
  ~Temps() {
    for (const std::string& p : paths)
      if (!p.empty()) QxfxRemoveTemp(p);
  }
};
}  // namespace

std::string QxfxDescribe(HRESULT hr) {
  char buf[64];
  const char* what = hr == E_OUTOFMEMORY        ? "out of memory"
                     : hr == E_INVALIDARG       ? "invalid argument"
                     : hr == E_POINTER          ? "bad buffer"
                     : hr == VFW_E_TYPE_NOT_ACCEPTED || hr == VFW_E_INVALIDMEDIATYPE
                         ? "the effect does not accept this audio format"
                         : "error";
  std::snprintf(buf, sizeof buf, ": %s (0x%08X)", what, static_cast<unsigned>(hr));
  return buf;
}

bool QxfxRunFile(const std::string& in, const std::string& out, const std::vector<IBaseFilter*>& filters,
                 const QxfxRunOptions& options, QxfxRunResult* result, std::string* error) {
  const auto start = Clock::now();
  const bool toStdout = out == "-";
  Temps temps;
  const std::string& inPath = in;
  if (access(in.c_str(), R_OK) != 0) {
    *error = "cannot read " + in + ": no such file or no permission";
    return false;
  }
  // Standard output, a device or a pipe is written through at the end; only a regular file is
  // replaced whole.
  bool streamed = toStdout;
  if (!toStdout) {
    if (in == out || SameFile(in, out)) {
      *error = "the output " + out + " is the input; choose another output file";
      return false;
    }
    const QxfxOutputKind kind = QxfxOutputKindOf(out, "the output", error);
    if (kind == QxfxOutputKind::Refuse) return false;
    streamed = kind == QxfxOutputKind::Stream;
  }

  SF_INFO info{};
  SNDFILE* probe = OpenInput(QxfxProbePath(inPath), &info);
  const bool streamedIn = !g_stdin.path.empty() && inPath == g_stdin.path;
  if (!probe) {
    *error = "cannot read " + in + ": " + sf_strerror(nullptr);
    return false;
  }
  const QxfxTags tags = TagsOf(probe);
  sf_close(probe);
  // A header can claim anything; the effects' memory grows with the rate.
  if (info.samplerate > kMaxRate) {
    *error = in + " claims " + std::to_string(info.samplerate) + " Hz; qxfx takes rates up to " +
             std::to_string(kMaxRate) + " Hz";
    return false;
  }
  if (info.channels > 32) {
    *error = in + " has " + std::to_string(info.channels) + " channels; the effects take 1 to 32";
    return false;
  }
  int format = 0;
  if (!QxfxChooseFormat(options.form, streamed ? std::string() : out, info.format, info.channels, info.samplerate,
                        &format, error))
    return false;
  // A WAV that passes 4 GiB becomes RF64, WAV's own answer. Where the output might get there (five
  // times the input at eight bytes a sample, and a minute of tail) it is opened as RF64 and
  // libsndfile writes a plain WAV after all when it stays smaller.
  const double mostBytes = (static_cast<double>(info.frames) * 5 + info.samplerate * 60.0) * info.channels * 8;
  const bool autoDowngrade = (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV && mostBytes >= 4294967296.0;
  const int written = autoDowngrade ? (format & ~SF_FORMAT_TYPEMASK) | SF_FORMAT_RF64 : format;

  // Level changes and dither need the chain's result at full precision before it is written.
  const bool scaled = options.gainDb != 0.0 || options.norm;
  const int outBits = PcmBits(format);
  const bool fewerBits = outBits && outBits < SignalBits(info.format);
  const bool dither = options.dither && outBits && outBits <= 24 && (fewerBits || (scaled && outBits < 32));
  const bool staged = scaled || fewerBits;
  // Standard output that is a pipe takes WAV and AU as they are made, when nothing is left to do
  // after the chain.
  struct stat outStat;
  const int outMajor = format & SF_FORMAT_TYPEMASK;
  const bool streamedOut = toStdout && !staged &&
                           (outMajor == SF_FORMAT_WAV || outMajor == SF_FORMAT_AU || outMajor == SF_FORMAT_RAW) &&
                           fstat(1, &outStat) == 0 && !S_ISREG(outStat.st_mode);

  std::string tmp = QxfxMakeTemp(streamed ? QxfxTempDir() + "/qxfx-out-XXXXXX"
                                          : DirOf(out) + "/." + BaseOf(out) + ".qxfx-XXXXXX");
  if (tmp.empty()) {
    *error = "cannot write in " + (streamed ? QxfxTempDir() : DirOf(out)) + ": no such directory or no permission";
    return false;
  }
  temps.paths.push_back(tmp);
  const std::string outName = toStdout ? "standard output" : out;
  // The file being written is the output to the user: a full disk names the output, not the
  // temporary name it has until it is whole.
  struct NameTheOutput {
    std::string* error;
    const std::string& tmp;
    const std::string& name;
    ~NameTheOutput() {
      for (size_t at; (at = error->find(tmp)) != std::string::npos;) error->replace(at, tmp.size(), name);
    }
  } naming{error, tmp, outName};

  // The graph writes the form its last filter delivers; the host converts afterwards when whole
  // numbers and float meet, so that levels keep their scale and loud samples clip, not wrap.
  std::string fed = inPath, fedName = options.inName.empty() ? in : options.inName;
  auto graphFormat = [&](int fedFormat) {
    return !staged && IsFloat(fedFormat) == IsFloat(written) ? (streamedOut ? format : written) : 0;
  };
  std::string stage = tmp;
  int64_t graphIn = 0, graphFrames = 0, graphFullScale = -1;
  auto run = [&](int fedFormat) {
    int gf = graphFormat(fedFormat);
    if (gf == 0 && stage == tmp) {
      stage = QxfxMakeTemp(QxfxTempDir() + "/qxfx-stage-XXXXXX");
      temps.paths.push_back(stage);
      if (stage.empty()) {
        *error = "cannot make a temporary file in " + QxfxTempDir();
        return static_cast<HRESULT>(E_FAIL);
      }
    }
    // A file of the graph's own form, W64 so that it has no 4 GB limit.
    const bool piped = streamedOut && gf != 0;
    return RunGraph(fed, gf ? tmp : stage, gf ? gf : SF_FORMAT_W64, filters, options, fedName, outName, tags,
                    autoDowngrade && !piped, g_raw.format && fed == inPath, piped ? 1 : -1, &graphIn, &graphFrames,
                    &graphFullScale, error);
  };
  if (IsFloat(info.format) && !streamedIn) {
    // One NaN would run on through every recursive effect; say so, and by default silence it.
    const NonFinite bad = ScanNonFinite(inPath);
    if (bad.count) {
      char where[160];
      std::snprintf(where, sizeof where, "the first at %.6f s (frame %lld, channel %d)",
                    static_cast<double>(bad.firstFrame) / info.samplerate, static_cast<long long>(bad.firstFrame),
                    bad.firstChannel);
      if (!options.quiet)
        std::fprintf(stderr, "qxfx: %s has %lld %s NaN or infinite, %s; %s\n", fedName.c_str(),
                     static_cast<long long>(bad.count), bad.count == 1 ? "sample that is" : "samples that are", where,
                     options.keepNonFinite ? "passed through as they are (--keep-nonfinite)"
                                           : "replaced with silence (--keep-nonfinite keeps them)");
      if (!options.keepNonFinite) {
        std::string clean = QxfxMakeTemp(QxfxTempDir() + "/qxfx-clean-XXXXXX");
        temps.paths.push_back(clean);
        ConvertOptions opt;
        opt.silenceNonFinite = true;
        if (clean.empty() || !Convert(inPath, clean, SF_FORMAT_W64 | (info.format & SF_FORMAT_SUBMASK), opt, nullptr,
                                      error))
          return false;
        fed = clean;
      }
    }
  }
  // The host's conversion before the chain: the effects all take 32-bit float.
  auto toFloat = [&](double scale) {
    std::string converted = QxfxMakeTemp(QxfxTempDir() + "/qxfx-float-XXXXXX");
    temps.paths.push_back(converted);
    ConvertOptions opt;
    opt.scale = scale;
    opt.rawInput = fed == inPath;
    if (converted.empty() || !Convert(fed, converted, 0, opt, nullptr, error)) return false;
    fed = converted;
    fedName += " as 32-bit float";
    return true;
  };
  int fedFormat = info.format;
  if (options.gainDb != 0.0) {
    if (!toFloat(std::pow(10.0, options.gainDb / 20.0))) return false;
    fedFormat = SF_FORMAT_FLOAT;
  }
  HRESULT hr = run(fedFormat);
  if ((hr == VFW_E_TYPE_NOT_ACCEPTED || hr == VFW_E_INVALIDMEDIATYPE || hr == VFW_E_NO_ACCEPTABLE_TYPES) &&
      !streamedIn) {
    if (!toFloat(1.0)) return false;
    if (options.verbose)
      std::fprintf(stderr, "qxfx: the chain refused %s; converted the input to 32-bit float first\n",
                   QxfxFormatName(info.format).c_str());
    error->clear();
    hr = run(SF_FORMAT_FLOAT);
  }
  if (FAILED(hr)) {
    if (error->find("write error") != std::string::npos && error->find(outName) == std::string::npos)
      *error = "cannot write " + outName + ": " + *error;
    return false;
  }
  if (stage != tmp) {
    if (options.verbose) std::fprintf(stderr, "qxfx: converting to %s\n", QxfxFormatName(format).c_str());
    ConvertOptions opt;
    opt.tags = &tags;
    opt.autoDowngrade = autoDowngrade;
    opt.wholeBits = outBits;
    opt.dither = dither;
    opt.countClips = !IsFloat(format);
    if (options.norm) {
      const double peak = PeakOf(stage);
      if (peak > 0) opt.scale = std::pow(10.0, options.normDb / 20.0) / peak;
    }
    ConvertStats stats;
    if (!Convert(stage, tmp, written, opt, &stats, error)) return false;
    result->clipped = stats.clipped;
    result->peak = stats.peak;
    result->dithered = dither;
  } else if (streamedOut) {
    result->framesIn = graphIn;
    result->framesOut = graphFrames;
    result->format = format;
    result->rate = info.samplerate;
    result->seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return true;
  } else if (outBits && graphFullScale >= 0) {
    result->clipped = graphFullScale;  // counted by the sink as it wrote
  } else if (outBits) {
    SF_INFO form{};
    form.format = format;
    form.samplerate = info.samplerate;
    form.channels = info.channels;
    result->clipped = FullScaleSamples(tmp, outBits, form);
  }

  result->framesIn = streamedIn ? graphIn : info.frames;
  result->framesOut = graphFrames;
  result->format = FormatOf(tmp, format);
  result->rate = info.samplerate;
  if (streamed) {
    const int to = toStdout ? 1 : QxfxOpenStream(out, error);
    if (to < 0) return false;
    int fd = open(tmp.c_str(), O_RDONLY);
    bool ok = fd >= 0 && CopyFd(fd, to);
    if (fd >= 0) close(fd);
    if (!toStdout && close(to) != 0) ok = false;
    if (!ok) {
      *error = "cannot write to " + outName;
      return false;
    }
  } else {
    if (!QxfxPutInPlace(tmp, out)) {
      *error = "cannot create " + out;
      return false;
    }
    for (std::string& p : temps.paths)
      if (p == tmp) p.clear();
  }
  result->seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return true;
}

bool QxfxReadInfo(const std::string& path, QxfxFileInfo* info, std::string* error) {
  SF_INFO sfi{};
  SNDFILE* f = sf_open(path == "-" ? "/dev/stdin" : path.c_str(), SFM_READ, &sfi);
  if (!f) {
    *error = "cannot read " + path + ": " + sf_strerror(nullptr);
    return false;
  }
  info->form = QxfxFormatName(sfi.format);
  info->tags = TagsOf(f);
  info->channels = sfi.channels;
  info->rate = sfi.samplerate;
  info->frames = sfi.frames;
  std::vector<double> buf(4096 * static_cast<size_t>(sfi.channels));
  sf_count_t n;
  double peak = 0.0;
  int64_t nonFinite = 0;
  while ((n = sf_readf_double(f, buf.data(), 4096)) > 0)
    for (sf_count_t i = 0; i < n * sfi.channels; ++i) {
      if (!std::isfinite(buf[i])) ++nonFinite;
      else peak = std::max(peak, std::fabs(buf[i]));
    }
  info->peak = peak;
  info->nonFinite = nonFinite;
  sf_close(f);
  return true;
}

const char* QxfxTagName(int kind) {
  switch (kind) {
    case SF_STR_TITLE: return "title";
    case SF_STR_COPYRIGHT: return "copyright";
    case SF_STR_SOFTWARE: return "software";
    case SF_STR_ARTIST: return "artist";
    case SF_STR_COMMENT: return "comment";
    case SF_STR_DATE: return "date";
    case SF_STR_ALBUM: return "album";
    case SF_STR_LICENSE: return "license";
    case SF_STR_TRACKNUMBER: return "track";
    case SF_STR_GENRE: return "genre";
    default: return "text";
  }
}
