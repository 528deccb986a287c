// Simple Delay engine: parameter derivation, line management, the bypass gate and the block
// loop, written once over the sample forms.
#include "aplugins/qxppack1/delay/echos_engine.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "aplugins/qxppack1/frame/prefault.h"
#include "aplugins/qxppack1/frame/sample_form.h"

namespace {

// Tenths of a dB to linear; -800 and below are exact silence, not a tiny gain.
double LevelToGain(int32_t tenthsDb) {
  return tenthsDb > -800 ? std::pow(10.0, tenthsDb / 200.0) : 0.0;
}

// a x b / c in 64 bits, rounded to nearest with halves away from zero; -1 when the result does
// not fit 32 bits, as the platform's MulDiv does.
int32_t MulDiv64(int64_t a, int64_t b, int64_t c) {
  const int64_t num = a * b;
  const bool negative = (num < 0) != (c < 0);
  const uint64_t un = num < 0 ? 0 - static_cast<uint64_t>(num) : static_cast<uint64_t>(num);
  const uint64_t uc = c < 0 ? 0 - static_cast<uint64_t>(c) : static_cast<uint64_t>(c);
  const uint64_t q = (un + uc / 2) / uc;
  if (q > (negative ? 0x80000000ull : 0x7FFFFFFFull)) return -1;
  return negative ? static_cast<int32_t>(0 - q) : static_cast<int32_t>(q);
}

// Truncation toward zero into [0, 2^32 - 1]; NaN and negatives give 0.
uint64_t TruncToU32Range(double v) {
  if (!(v >= 0.0)) return 0;
  if (v >= 4294967295.0) return 0xFFFFFFFFull;
  return static_cast<uint64_t>(v);
}

uint32_t SatU32(uint64_t v) { return v > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<uint32_t>(v); }

double* NewLine(uint32_t frames) {
  double* line = static_cast<double*>(std::calloc(frames, sizeof(double)));
  QxPrefault(line, static_cast<size_t>(frames) * sizeof(double));
  return line;
}

// One channel's run of `count` frames, split into stretches that do not cross the end of the
// line so the inner loop has no wrap test. Each stretch touches a line slot at most once, so the
// unrolled order gives the same bits as a plain per-sample loop.
template <class Form, bool ReadInput>
void RunChannel(typename Form::Sample* __restrict buf, uint32_t stride, uint32_t count,
                double* __restrict line, uint32_t& position, uint32_t length, double feedback,
                double wet, double dry) {
  const size_t st = stride;
  size_t off = 0;  // of the next sample from buf, in samples
  uint32_t pos = position;
  while (count > 0) {
    const uint32_t seg = count < length - pos ? count : length - pos;
    double* __restrict l = line + pos;
    uint32_t i = 0;
    for (; i + 4 <= seg; i += 4, off += 4 * st) {
      const double x0 = ReadInput ? Form::Read(buf[off]) : 0.0;
      const double x1 = ReadInput ? Form::Read(buf[off + st]) : 0.0;
      const double x2 = ReadInput ? Form::Read(buf[off + 2 * st]) : 0.0;
      const double x3 = ReadInput ? Form::Read(buf[off + 3 * st]) : 0.0;
      const double y0 = l[i];
      const double y1 = l[i + 1];
      const double y2 = l[i + 2];
      const double y3 = l[i + 3];
      l[i] = feedback * y0 + x0;
      l[i + 1] = feedback * y1 + x1;
      l[i + 2] = feedback * y2 + x2;
      l[i + 3] = feedback * y3 + x3;
      buf[off] = Form::Write(wet * y0 + dry * x0);
      buf[off + st] = Form::Write(wet * y1 + dry * x1);
      buf[off + 2 * st] = Form::Write(wet * y2 + dry * x2);
      buf[off + 3 * st] = Form::Write(wet * y3 + dry * x3);
    }
    for (; i < seg; ++i, off += st) {
      const double x = ReadInput ? Form::Read(buf[off]) : 0.0;
      const double y = l[i];
      l[i] = feedback * y + x;
      buf[off] = Form::Write(wet * y + dry * x);
    }
    pos += seg;
    if (pos == length) pos = 0;
    count -= seg;
  }
  position = pos;
}

#if defined(__SSE2__)
#if defined(__x86_64__)
// QxPairIo<QxPcm16Form>::Write's clip and rounding on four lanes; the low halves hold the samples.
__attribute__((target("avx2"), always_inline)) inline __m128i Pcm16Quad(__m256d v) {
  v = _mm256_min_pd(_mm256_set1_pd(32767.0), _mm256_mul_pd(v, _mm256_set1_pd(32768.0)));
  v = _mm256_max_pd(_mm256_set1_pd(-32768.0), v);
  const __m256i bits = _mm256_castpd_si256(_mm256_add_pd(v, _mm256_set1_pd(QX_ROUND_MAGIC)));
  const __m256i lows = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
  return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(bits, lows));
}

// Four stereo 16-bit frames at a time where the processor has AVX2: each line's four slots in one
// register, the same products and sums, clip and rounding lane by lane as the pair loop below, so
// the output is the same to the bit. Returns how many frames it did (a multiple of four).
__attribute__((target("avx2"))) uint32_t RunPcm16Quads(int16_t* __restrict buf, uint32_t count,
                                                        double* __restrict l, double* __restrict r,
                                                        double feedback, double wet, double dry) {
  const __m256d fb = _mm256_set1_pd(feedback), w = _mm256_set1_pd(wet), d = _mm256_set1_pd(dry);
  const __m256d in = _mm256_set1_pd(3.0517578125e-5);
  const __m256i split = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);  // L0..L3 | R0..R3
  uint32_t i = 0;
  for (; i + 3 < count; i += 4, buf += 8) {
    const __m256i x32 = _mm256_permutevar8x32_epi32(
        _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(buf))), split);
    const __m256d xl = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(x32)), in);
    const __m256d xr = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(x32, 1)), in);
    const __m256d yl = _mm256_loadu_pd(l + i), yr = _mm256_loadu_pd(r + i);
    _mm256_storeu_pd(l + i, _mm256_add_pd(_mm256_mul_pd(fb, yl), xl));
    _mm256_storeu_pd(r + i, _mm256_add_pd(_mm256_mul_pd(fb, yr), xr));
    const __m128i ol = Pcm16Quad(_mm256_add_pd(_mm256_mul_pd(w, yl), _mm256_mul_pd(d, xl)));
    const __m128i orr = Pcm16Quad(_mm256_add_pd(_mm256_mul_pd(w, yr), _mm256_mul_pd(d, xr)));
    // In range after the clip: the pack does not saturate.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(buf),
                     _mm_packs_epi32(_mm_unpacklo_epi32(ol, orr), _mm_unpackhi_epi32(ol, orr)));
  }
  return i;
}

const bool kHasAvx2 = __builtin_cpu_supports("avx2");
#endif

// Both channels of a stereo run whose lines stand at the same position: the per-sample steps of
// RunChannel on the two lanes of one register.
template <class Form>
void RunPair(typename Form::Sample* __restrict buf, uint32_t count, double* __restrict left,
             double* __restrict right, uint32_t& position, uint32_t length, double feedback,
             double wet, double dry) {
  const __m128d fb = _mm_set1_pd(feedback), w = _mm_set1_pd(wet), d = _mm_set1_pd(dry);
  uint32_t pos = position;
  while (count > 0) {
    const uint32_t seg = count < length - pos ? count : length - pos;
    double* __restrict l = left + pos;
    double* __restrict r = right + pos;
    uint32_t i = 0;
#if defined(__x86_64__)
    if constexpr (std::is_same_v<Form, QxPcm16Form>) {
      if (kHasAvx2) {
        i = RunPcm16Quads(buf, seg, l, r, feedback, wet, dry);
        buf += 2 * i;
      }
    }
#endif
    // Two frames at a time: each line's two slots in one register, the same products and sums
    // lane by lane as the one-frame loop below.
    for (; i + 1 < seg; i += 2, buf += 4) {
      const __m128d x0 = QxPairIo<Form>::Read(buf), x1 = QxPairIo<Form>::Read(buf + 2);
      const __m128d xl = _mm_unpacklo_pd(x0, x1), xr = _mm_unpackhi_pd(x0, x1);
      const __m128d yl = _mm_loadu_pd(l + i), yr = _mm_loadu_pd(r + i);
      _mm_storeu_pd(l + i, _mm_add_pd(_mm_mul_pd(fb, yl), xl));
      _mm_storeu_pd(r + i, _mm_add_pd(_mm_mul_pd(fb, yr), xr));
      const __m128d ol = _mm_add_pd(_mm_mul_pd(w, yl), _mm_mul_pd(d, xl));
      const __m128d orr = _mm_add_pd(_mm_mul_pd(w, yr), _mm_mul_pd(d, xr));
      QxPairIo<Form>::Write(buf, _mm_unpacklo_pd(ol, orr));
      QxPairIo<Form>::Write(buf + 2, _mm_unpackhi_pd(ol, orr));
    }
    for (; i < seg; ++i, buf += 2) {
      const __m128d x = QxPairIo<Form>::Read(buf);
      const __m128d y = _mm_loadh_pd(_mm_load_sd(l + i), r + i);
      const __m128d in = _mm_add_pd(_mm_mul_pd(fb, y), x);
      _mm_storel_pd(l + i, in);
      _mm_storeh_pd(r + i, in);
      QxPairIo<Form>::Write(buf, _mm_add_pd(_mm_mul_pd(w, y), _mm_mul_pd(d, x)));
    }
    pos += seg;
    if (pos == length) pos = 0;
    count -= seg;
  }
  position = pos;
}
#endif

}  // namespace

CQxEchosEngine::CQxEchosEngine() = default;

CQxEchosEngine::~CQxEchosEngine() { FreeLines(); }

void CQxEchosEngine::SetFormat(const WAVEFORMATEX* format) { format_ = format; }

uint32_t CQxEchosEngine::Channels() const {
  if (!format_) return 0;
  const uint32_t n = format_->nChannels;
  return n <= kMaxChannels ? n : 0;
}

bool CQxEchosEngine::LinesReady(uint32_t channels) const {
  if (channels == 0) return false;
  for (uint32_t c = 0; c < channels; ++c)
    if (!line_[c]) return false;
  return true;
}

void CQxEchosEngine::FreeLines() {
  for (int c = 0; c < kMaxChannels; ++c) {
    std::free(line_[c]);
    line_[c] = nullptr;
    writePosition_[c] = 0;
  }
}

void CQxEchosEngine::Stop() { FreeLines(); }

uint32_t CQxEchosEngine::TailLeft(int channel) const {
  return channel >= 0 && channel < kMaxChannels ? tailLeft_[channel] : 0;
}

uint32_t CQxEchosEngine::WritePosition(int channel) const {
  return channel >= 0 && channel < kMaxChannels ? writePosition_[channel] : 0;
}

uint32_t CQxEchosEngine::FreshTailLeft() const {
  const uint32_t channels = Channels();
  return SatU32(uint64_t{decaySpan_} / channels + lineLength_);
}

void CQxEchosEngine::ResetTailFramesLeft() {
  const uint64_t v = uint64_t{lineLength_} + (feedback_ == 0.0 ? 0 : decaySpan_);
  tailFramesLeft_ = v > 0x7FFFFFFFull ? 0x7FFFFFFF : static_cast<int32_t>(v);
}

HRESULT CQxEchosEngine::Apply(const EchosParams& p, QxRunMode mode, const QxTempoRecord* tempo) {
  const HRESULT hr = Rederive(p, mode, tempo);
  paramsValid_ = !FAILED(hr);
  return hr;
}

HRESULT CQxEchosEngine::Rederive(const EchosParams& p, QxRunMode mode,
                                 const QxTempoRecord* tempo) {
  const uint32_t channels = Channels();
  if (channels == 0) return E_UNEXPECTED;
  const uint32_t rate = format_->nSamplesPerSec;

  delayGain_ = LevelToGain(p.DelayOut);
  dryGain_ = LevelToGain(p.DryOut);

  // Without a tempo map the streaming path still hands over a record, with no valid bit; a beat
  // is then 2.0 seconds as it stands, not 120 bpm.
  const double beat =
      tempo ? ((tempo->Flags & QX_TEMPO_VALID) ? 60.0 / tempo->Tempo : 2.0) : 0.0;

  uint64_t frames;
  if (p.TempoSyncDelay && tempo) {
    const double seconds = beat * QxNoteBeats(p.DelayNote) * p.DelayMultiplier / 1000.0;
    frames = TruncToU32Range(seconds * rate + 0.5);
  } else {
    const int32_t f = MulDiv64(p.DelayTime, rate, 1000);
    frames = f < 0 ? 0 : static_cast<uint64_t>(f);
  }
  if (frames < 2) frames = 2;

  double span;
  if (!p.MultipleDelays) {
    span = 0.0;
  } else if (p.TempoSyncDecay && tempo) {
    double length;
    if (p.DecayNote == QX_NOTE_MEASURES) {
      length = (tempo->Flags & QX_METER_VALID)
                   ? QxMeasureBeats(tempo->BeatsPerMeasure, tempo->BeatValue)
                   : 4.0;
      length = length * beat;
    } else {
      length = beat * QxNoteBeats(p.DecayNote);
    }
    span = static_cast<double>(rate) * channels * length * p.DecayMultiplier / 1000.0;
  } else {
    span = static_cast<double>(rate) * channels * p.DecayTime / 10.0;
  }
  decaySpan_ = static_cast<uint32_t>(TruncToU32Range(span));

  const double ratio = decaySpan_ / (static_cast<double>(channels) * static_cast<double>(frames));
  feedback_ = ratio < 0.1 ? 0.0 : std::pow(0.0316, 1.0 / ratio);

  if (frames == lineLength_) {
    // Same length: lines keep their content, except after a discontinuity. A channel with no
    // memory (after Stop, or a wider format) gets a zeroed line in any mode.
    const uint32_t tailLeft = FreshTailLeft();
    for (uint32_t c = 0; c < channels; ++c) {
      if (!line_[c]) {
        line_[c] = NewLine(lineLength_);
        if (!line_[c]) return E_OUTOFMEMORY;
      } else if (mode == RunFresh) {
        std::memset(line_[c], 0, sizeof(double) * lineLength_);
      } else {
        continue;
      }
      writePosition_[c] = 0;
      tailLeft_[c] = tailLeft;
    }
    return S_OK;
  }

  // New length: build every new line before dropping the old ones, so a failure leaves the old
  // lines and length intact and usable.
  if (frames > kMaxLineLength) return E_OUTOFMEMORY;
  const uint32_t newLength = static_cast<uint32_t>(frames);
  double* fresh[kMaxChannels] = {};
  for (uint32_t c = 0; c < channels; ++c) {
    fresh[c] = NewLine(newLength);
    if (!fresh[c]) {
      for (uint32_t k = 0; k < c; ++k) std::free(fresh[k]);
      return E_OUTOFMEMORY;
    }
  }
  FreeLines();
  lineLength_ = newLength;
  const uint32_t tailLeft = FreshTailLeft();
  for (int c = 0; c < kMaxChannels; ++c) {
    line_[c] = fresh[c];
    tailLeft_[c] = static_cast<uint32_t>(c) < channels ? tailLeft : 0;
  }
  ResetTailFramesLeft();
  tailFinished_ = false;
  return S_OK;
}

bool CQxEchosEngine::BypassGate(int32_t bypass) {
  if (!bypass) {
    bypassLatched_ = false;
    return true;
  }
  if (!bypassLatched_) {
    const uint32_t channels = Channels();
    for (uint32_t c = 0; c < channels; ++c)
      if (line_[c]) std::memset(line_[c], 0, sizeof(double) * lineLength_);
    bypassLatched_ = true;
  }
  return false;
}

template <class Form>
int CQxEchosEngine::ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames,
                                 int32_t tailRequest) {
  if (!frames) return 0;
  const uint32_t channels = Channels();
  // Blocks that reach an engine with no lines (processing after Stop) pass through untouched;
  // clearing ParamsValid makes the caller apply again, which rebuilds the missing lines.
  if (!LinesReady(channels) || (!buf && *frames > 0)) {
    paramsValid_ = false;
    return 0;
  }

  uint32_t count = *frames;
  if (!tailFinished_ && tailRequest) {
    const uint32_t left = tailFramesLeft_ > 0 ? static_cast<uint32_t>(tailFramesLeft_) : 0;
    if (count > left) count = left;
    tailFramesLeft_ -= static_cast<int32_t>(count);
    if (tailFramesLeft_ <= 0) tailFinished_ = true;
  } else {
    if (tailFinished_ && tailRequest) {
      ResetTailFramesLeft();
      *frames = 0;
      return 1;
    }
    if (tailFinished_) {
      // The host stopped pulling the tail and streams again.
      paramsValid_ = false;
      tailFinished_ = false;
    }
    ResetTailFramesLeft();
  }

  int result = 0;
  const bool tail = mode == RunTail;
#if defined(__SSE2__)
  // Stereo outside the tail, both lines in step (as they always are but after a wider format's
  // first block): one pass over the frames for both channels.
  if (channels == 2 && !tail && count > 0 && writePosition_[0] == writePosition_[1]) {
    RunPair<Form>(buf, count, line_[0], line_[1], writePosition_[0], lineLength_, feedback_,
                  delayGain_, dryGain_);
    writePosition_[1] = writePosition_[0];
    *frames = count;
    return result;
  }
#endif
  for (uint32_t c = 0; c < channels; ++c) {
    if (tail) {
      if (count > tailLeft_[c]) count = tailLeft_[c];
      tailLeft_[c] -= count;
      if (tailLeft_[c] == 0) result = 1;
    }
    if (count == 0) continue;
    // 8-bit tails are not read: the buffer is known silence.
    if constexpr (std::is_same_v<Form, QxPcm8Form>) {
      if (tail) {
        RunChannel<Form, false>(buf + c, channels, count, line_[c], writePosition_[c],
                                lineLength_, feedback_, delayGain_, dryGain_);
        continue;
      }
    }
    RunChannel<Form, true>(buf + c, channels, count, line_[c], writePosition_[c], lineLength_,
                           feedback_, delayGain_, dryGain_);
  }
  *frames = count;
  return result;
}

int CQxEchosEngine::ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames,
                                int32_t tailRequest) {
  return ProcessBlock<QxPcm8Form>(mode, buf, frames, tailRequest);
}

int CQxEchosEngine::ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames,
                                 int32_t tailRequest) {
  return ProcessBlock<QxPcm16Form>(mode, buf, frames, tailRequest);
}

int CQxEchosEngine::ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames,
                                 int32_t tailRequest) {
  return ProcessBlock<QxPcm32Form>(mode, buf, frames, tailRequest);
}

int CQxEchosEngine::ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames,
                                   int32_t tailRequest) {
  return ProcessBlock<QxFloat32Form>(mode, buf, frames, tailRequest);
}

int CQxEchosEngine::ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames,
                                   int32_t tailRequest) {
  return ProcessBlock<QxFloat64Form>(mode, buf, frames, tailRequest);
}
