// Multi-Tap Delay engine: the parameter record and its flags, the design and the light update,
// the head of each format routine with its tail counters, and the frame loops over the sample forms.
#include "aplugins/qxppack1/delay/echomt_engine.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "aplugins/qxppack1/frame/prefault.h"
#include "aplugins/qxppack1/frame/sample_form.h"

namespace {

// How far each tap moves under modulation, and how far it sits off the millisecond grid.
constexpr double kTapSwingFactor[QX_ECHOMT_TAPS] = {0.7, 0.9, 0.4, 0.6, 0.8, 0.9, 0.1, 0.9};
constexpr double kTapOffsetMs[QX_ECHOMT_TAPS] = {0.123, 0.377, -0.411, 0.095,
                                                 -0.301, -0.253, 0.457, 0.179};

constexpr double kTwoPi = 6.28318530718;
// Feedback above 100 % saturates here instead of running off to infinity.
constexpr double kLineLimit = 16777216.0;

int32_t Slot(const EchomtParams& p, int field) {
  int32_t v;
  std::memcpy(&v, reinterpret_cast<const unsigned char*>(&p) + 4 * field, 4);
  return v;
}

void SetSlot(EchomtParams& p, int field, int32_t v) {
  std::memcpy(reinterpret_cast<unsigned char*>(&p) + 4 * field, &v, 4);
}

// Tenths of a dB to linear; -800 is exact silence, not a tiny gain.
double LevelToGain(int32_t tenthsDb) {
  return tenthsDb > -800 ? std::pow(10.0, tenthsDb / 200.0) : 0.0;
}

// Denormal protection: anything below 2^-32 in magnitude (biased exponent under 0x3DF) is 0.
inline double Flush(double v) { return QxZeroBelow(v, 0x1p-32); }

}  // namespace

CQxEchomtEngine::CQxEchomtEngine() : record_(QX_ECHOMT_DEFAULTS), p_(QX_ECHOMT_DEFAULTS) {}

CQxEchomtEngine::~CQxEchomtEngine() { FreeLines(); }

// ---- The record ----

void CQxEchomtEngine::GetParams(EchomtParams* out) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  *out = record_;
}

HRESULT CQxEchomtEngine::SetParams(const EchomtParams& record) {
  EchomtParams c = record;
  bool clamped = false;
  for (int f = 0; f < ECHOMT_FIELD_COUNT; ++f) {
    const QxEchomtFieldRange r = QxEchomtFieldRangeOf(f);
    if (!r.Clamped) continue;
    const int32_t v = Slot(c, f);
    const int32_t w = std::clamp(v, r.Min, r.Max);
    if (w != v) {
      SetSlot(c, f, w);
      clamped = true;
    }
  }
  std::lock_guard<std::recursive_mutex> g(lock_);
  record_ = c;
  changed_ = true;
  dirty_ = true;
  ++designSerial_;
  needsDesign_ = true;
  return clamped ? E_FAIL : S_OK;
}

int32_t CQxEchomtEngine::GetField(int field) {
  if (field < 0 || field >= ECHOMT_FIELD_COUNT) return 0;
  std::lock_guard<std::recursive_mutex> g(lock_);
  return Slot(record_, field);
}

void CQxEchomtEngine::SetField(int field, int32_t value) {
  if (field < 0 || field >= ECHOMT_FIELD_COUNT) return;
  const QxEchomtFieldRange r = QxEchomtFieldRangeOf(field);
  if (r.Clamped) value = std::clamp(value, r.Min, r.Max);
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (Slot(record_, field) == value) return;
  SetSlot(record_, field, value);
  changed_ = true;
  dirty_ = true;
  if (r.Designs) {
    ++designSerial_;
    needsDesign_ = true;
  }
}

bool CQxEchomtEngine::Dirty() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return dirty_;
}

void CQxEchomtEngine::SetDirty(bool dirty) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  dirty_ = dirty;
}

bool CQxEchomtEngine::TakeSnapshot() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  p_ = record_;
  snapSerial_ = designSerial_;
  const bool was = changed_;
  changed_ = false;
  return was;
}

// ---- Lines and lifecycle ----

bool CQxEchomtEngine::LinesReady() const {
  if (!format_ || channels_ == 0 || format_->nChannels != channels_ || lineFrames_ < 2) return false;
  for (uint32_t c = 0; c < channels_; ++c)
    if (!line_[c]) return false;
  return true;
}

void CQxEchomtEngine::FreeLines() {
  for (double*& l : line_) {
    std::free(l);
    l = nullptr;
  }
}

HRESULT CQxEchomtEngine::Start() {
  TakeSnapshot();
  freshPending_ = false;
  const HRESULT hr = Update(false, RunFresh);
  started_ = false;
  tailDone_ = false;
  return hr;
}

void CQxEchomtEngine::Stop() {
  FreeLines();
  needsDesign_ = true;
  designValid_ = false;
}

// ---- Design ----

HRESULT CQxEchomtEngine::Update(bool keep, QxRunMode mode) {
  if (!needsDesign_ && mode != RunFresh && LinesReady()) {
    Light();
    return S_OK;
  }
  const HRESULT hr = Design(keep);
  designValid_ = SUCCEEDED(hr);
  // A failed design, or a design-changing set that came after this block's snapshot, leaves the
  // flag up so that the next block designs again.
  if (designValid_) {
    std::lock_guard<std::recursive_mutex> g(lock_);
    if (designSerial_ == snapSerial_) needsDesign_ = false;
  }
  return hr;
}

void CQxEchomtEngine::Light() {
  if (!format_ || format_->nSamplesPerSec == 0) return;
  const uint32_t rate = format_->nSamplesPerSec;
  const double sr = rate;
  lfoStep_ = kTwoPi / (10.0 / p_.modRate * sr);
  wetLin_ = LevelToGain(p_.wetOut);
  dryLin_ = LevelToGain(p_.dryOut);
  inputLin_ = LevelToGain(p_.inputGain);
  if (p_.lowPassOn != 0 && static_cast<uint32_t>(p_.lowPassFrequency) <= rate / 2) {
    lowPassA_ = std::exp(p_.lowPassFrequency * -kTwoPi / sr);
    lowPassB_ = 1.0 - lowPassA_;
  } else {
    lowPassA_ = 0.0;
    lowPassB_ = 1.0;
  }
}

HRESULT CQxEchomtEngine::Design(bool keep) {
  if (!format_ || format_->nSamplesPerSec == 0 || format_->nChannels < 1 ||
      format_->nChannels > kMaxChannels)
    return E_UNEXPECTED;
  const uint32_t channels = format_->nChannels;
  const double sr = format_->nSamplesPerSec;

  // Oscillator, gains and low pass (the light part).
  Light();

  const double swing = p_.modDepth * 3e-5 * sr;
  for (int i = 0; i < kMaxTaps; ++i) {
    tapSwing_[i] = swing * kTapSwingFactor[i];
    tapOffset_[i] = sr * kTapOffsetMs[i] / 1000.0;
  }

  // Tap gains; in stereo the pan law is linear and the panned-to side stays at full gain. The
  // sum keeps the signs, so taps of opposite phase cancel in it.
  const int taps = std::clamp(p_.tapCount, 1, kMaxTaps);
  const bool stereo = channels == 2;
  double sum = 0.0;
  for (int i = 0; i < taps; ++i) {
    const double g = p_.tapGain[i] / 100.0;
    double left, right = 0.0;
    if (stereo) {
      if (p_.tapPan[i] < 1) {
        left = g;
        right = (p_.tapPan[i] + 100.0) / 100.0 * g;
      } else {
        right = g;
        left = (100.0 - p_.tapPan[i]) / 100.0 * g;
      }
      sum += left + right;
    } else {
      left = g;
      sum += left;
    }
    tapLeftGain_[i] = left;
    tapRightGain_[i] = right;
  }
  if (sum < 1.0) sum = 1.0;
  // 100 % feedback is unity loop gain of all taps together.
  feedbackScale_ = p_.feedback / (sum * 100.0);

  // A millisecond is a whole number of frames: 44 at 44100 Hz.
  const int64_t msFrames = static_cast<int64_t>(sr / 1000.0);
  int64_t reads[kMaxTaps];
  int64_t longest = 0;
  double widest = 0.0;
  for (int i = 0; i < taps; ++i) {
    reads[i] = p_.tapDelay[i] * msFrames + static_cast<int64_t>(tapOffset_[i]);
    longest = std::max(longest, reads[i]);
    widest = std::max(widest, tapSwing_[i]);
  }
  int64_t needed = static_cast<int64_t>(longest * 1.05 + swing * 4.0);
  // Very short taps at low rates would read past the end of the line: take the least length that
  // keeps every read inside it. Only rates under 1000 Hz need the swing and two-frame terms.
  if (needed <= longest) needed = longest + 1;
  needed = std::max<int64_t>(needed, static_cast<int64_t>(std::ceil(2.0 * widest)) + 1);
  needed = std::max<int64_t>(needed, 2);
  if (needed > 0x7FFFFFFF) return E_OUTOFMEMORY;

  for (int i = 0; i < taps; ++i) readIndex_[i] = static_cast<int32_t>(reads[i]);
  taps_ = taps;
  modulated_ = widest != 0.0;

  // Same length while streaming: the lines, the write position, the phase and the filter states
  // stay, while the read positions are now bare delays that no longer count from writeIndex, so
  // every tap shifts by writeIndex until the next full reset. That shift is the effect's sound.
  if (keep && needed == lineFrames_ && channels == channels_ && LinesReady()) return S_OK;

  FreeLines();
  lineFrames_ = static_cast<int32_t>(needed);
  const double twenty = std::trunc(sr * 20.0 + 0.5);
  const int32_t twentySeconds = twenty < 2147483647.0 ? static_cast<int32_t>(twenty) : 0x7FFFFFFF;
  int32_t tail = lineFrames_;
  const double fb = sum * feedbackScale_;
  if (fb == 0.0) {
    tail = lineFrames_;
  } else if (fb < 1.0) {
    // Time for the loop to fall by 3 decades (60 dB), in whole line lengths. Near unity the
    // count runs past 32 bits; that is taken as the twenty seconds of unity and above.
    const double lengths = std::trunc(1.0 - 3.0 / std::log(fb) + 0.5);
    const double frames = lengths * lineFrames_;
    tail = frames <= 2147483647.0 ? static_cast<int32_t>(frames) : twentySeconds;
  } else {
    tail = twentySeconds;
  }
  tailLeft_ = tail;
  tailRequestLeft_ = tail;

  channels_ = channels;
  for (uint32_t c = 0; c < channels; ++c) {
    line_[c] = static_cast<double*>(std::calloc(static_cast<size_t>(lineFrames_), sizeof(double)));
    if (!line_[c]) return E_OUTOFMEMORY;
    // In stereo only the first line is run (the two channels share it).
    if (channels != 2 || c == 0) QxPrefault(line_[c], static_cast<size_t>(lineFrames_) * sizeof(double));
  }
  writeIndex_ = 0;
  lfoPhase_ = 0.0;
  lastIndex_ = lineFrames_ - 1;
  std::fill(std::begin(inputState_), std::end(inputState_), 0.0);
  std::fill(std::begin(outputState_), std::end(outputState_), 0.0);
  return S_OK;
}

// ---- Frame loops ----

void CQxEchomtEngine::Plan(uint32_t count) {
  const int taps = taps_;
  const int32_t last = lastIndex_;
  const double lastD = last;

  // The oscillator first, one value a frame: one-sided, m runs from 0 to 2 and only ever shortens
  // a delay. With no tap swinging the sine is not needed; the phase still runs.
  double m[kChunkFrames];
  double phase = lfoPhase_;
  const double step = lfoStep_;
  if (modulated_) {
    for (uint32_t j = 0; j < count; ++j) {
      m[j] = std::sin(phase) + 1.0;
      phase += step;
    }
  } else {
    for (uint32_t j = 0; j < count; ++j) {
      m[j] = 0.0;
      phase += step;
    }
  }
  lfoPhase_ = phase;

  // Then each tap over the whole chunk, its read index held in a register.
  for (int i = 0; i < taps; ++i) {
    int32_t r = readIndex_[i];
    if (!modulated_ && last < (1 << 26)) {
      // A still tap reads whole slots: p is the read index itself, k rounds back to it and f is
      // 0 (exact while p - 0.499999985 stays clear of the half below it, which holds far past any
      // real line).
      for (uint32_t j = 0; j < count; ++j) {
        plan_[j][i] = TapRead{r, r + 1 >= last ? r + 1 - last : r + 1, 0.0};
        r = r > 0 ? r - 1 : last;
      }
    } else {
      const double swing = tapSwing_[i];
      for (uint32_t j = 0; j < count; ++j) {
        double p = r - m[j] * swing;
        // The wrap adds lastIndex, one frame short of the line, and so does the next slot's.
        if (p < 0.0) p += lastD;
        const int32_t k = QxRoundNearestEven(p - 0.499999985);
        int32_t k2 = k + 1;
        if (k2 >= last) k2 -= last;
        plan_[j][i] = TapRead{k, k2, p - k};
        r = r > 0 ? r - 1 : last;
      }
    }
    readIndex_[i] = r;
  }

  int32_t w = writeIndex_;
  for (uint32_t j = 0; j < count; ++j) {
    planWrite_[j] = w;
    w = w > 0 ? w - 1 : last;
  }
  writeIndex_ = w;
}

template <class Form>
void CQxEchomtEngine::RunChannel(typename Form::Sample* buf, uint32_t channels, uint32_t count,
                                 int c) {
  double* __restrict line = line_[c];
  const int taps = taps_;
  double gain[kMaxTaps];
  std::copy(tapLeftGain_, tapLeftGain_ + kMaxTaps, gain);
  const double inLin = inputLin_, a = lowPassA_, b = lowPassB_, fbs = feedbackScale_;
  const double wet = wetLin_, dry = dryLin_;
  double inState = inputState_[c], outState = outputState_[c];
  size_t off = 0;
  for (uint32_t j = 0; j < count; ++j, off += channels) {
    const double in = Form::Read(buf[off]) * inLin;
    const double s = Flush(in * b + a * inState);
    inState = s;
    double y = 0.0;
    const TapRead* row = plan_[j];
    for (int i = 0; i < taps; ++i) {
      const double near = line[row[i].k];
      y += ((line[row[i].k2] - near) * row[i].f + near) * gain[i];
    }
    y = Flush(y * b + a * outState);
    outState = y;
    // The dry signal enters the line through the input filter, the feedback after the output one.
    const double v = y * fbs + s;
    buf[off] = Form::Write(Flush(y * wet + in * dry));
    line[planWrite_[j]] = QxClip(v, -kLineLimit, kLineLimit);
  }
  inputState_[c] = inState;
  outputState_[c] = outState;
}

bool CQxEchomtEngine::StillTapsClear(uint32_t count) const {
  if (modulated_ || lastIndex_ >= (1 << 26)) return false;
  const int64_t slots = static_cast<int64_t>(lastIndex_) + 1;
  for (int i = 0; i < taps_; ++i) {
    // A tap reads `ahead` slots above the write position and up to two above that (the next
    // slot, wrapped one short); the chunk writes `count` slots downwards from it.
    int64_t ahead = (static_cast<int64_t>(readIndex_[i]) - writeIndex_) % slots;
    if (ahead < 0) ahead += slots;
    if (ahead < static_cast<int64_t>(count) + 1 || ahead + count + 3 > slots) return false;
  }
  return true;
}

#if defined(__x86_64__)
namespace {
// One still tap over a stretch read downwards from `at`, four frames at a time where the processor
// has AVX2: per frame the same t, product and sum as the pair loop in SumStillTaps, so the sums
// are the same to the bit. `sums` holds left and right of each frame; returns the frames done.
__attribute__((target("avx2"))) uint32_t AddTapQuads(const double* at, uint32_t len, double gl, double gr,
                                                     double* sums) {
  const __m256d g = _mm256_setr_pd(gl, gr, gl, gr), zero = _mm256_set1_pd(0.0);
  uint32_t m = 0;
  for (; m + 3 < len; m += 4, sums += 8) {
    // Lane k holds frame m + 3 - k: the line runs downwards.
    const __m256d near = _mm256_loadu_pd(at - m - 3), next = _mm256_loadu_pd(at - m - 2);
    const __m256d t = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(next, near), zero), near);
    const __m256d t01 = _mm256_permute4x64_pd(t, 0xAF), t23 = _mm256_permute4x64_pd(t, 0x05);
    _mm256_storeu_pd(sums, _mm256_add_pd(_mm256_loadu_pd(sums), _mm256_mul_pd(t01, g)));
    _mm256_storeu_pd(sums + 4, _mm256_add_pd(_mm256_loadu_pd(sums + 4), _mm256_mul_pd(t23, g)));
  }
  return m;
}

const bool kHasAvx2 = __builtin_cpu_supports("avx2");
}  // namespace
#endif

#if defined(__SSE2__)
void CQxEchomtEngine::SumStillTaps(uint32_t count, double* sums) {
  const int32_t last = lastIndex_;
  double phase = lfoPhase_;
  for (uint32_t j = 0; j < count; ++j) phase += lfoStep_;
  lfoPhase_ = phase;

  __m128d* sum = reinterpret_cast<__m128d*>(sums);
  for (uint32_t j = 0; j < count; ++j) sum[j] = _mm_setzero_pd();
  double* __restrict line = line_[0];
  for (int i = 0; i < taps_; ++i) {
    const __m128d g = _mm_set_pd(tapRightGain_[i], tapLeftGain_[i]);
    int32_t r = readIndex_[i];
    for (uint32_t j = 0; j < count;) {
      if (r <= last - 2) {
        // Down to slot 0 at most, the next slot is r + 1 with no wrap: one contiguous stretch.
        const uint32_t len = std::min(count - j, static_cast<uint32_t>(r) + 1);
        const double* at = line + r;
        uint32_t m = 0;
#if defined(__x86_64__)
        if (kHasAvx2) m = AddTapQuads(at, len, tapLeftGain_[i], tapRightGain_[i], sums + 2 * j);
#endif
        for (; m < len; ++m) {
          const double near = at[-static_cast<ptrdiff_t>(m)];
          const double t = (at[1 - static_cast<ptrdiff_t>(m)] - near) * 0.0 + near;
          sum[j + m] = _mm_add_pd(sum[j + m], _mm_mul_pd(_mm_set1_pd(t), g));
        }
        j += len;
        r = r - static_cast<int32_t>(len) < 0 ? last : r - static_cast<int32_t>(len);
      } else {
        const double near = line[r];
        const int32_t k2 = r + 1 >= last ? r + 1 - last : r + 1;
        const double t = (line[k2] - near) * 0.0 + near;
        sum[j] = _mm_add_pd(sum[j], _mm_mul_pd(_mm_set1_pd(t), g));
        ++j;
        r = r > 0 ? r - 1 : last;
      }
    }
    readIndex_[i] = r;
  }
}
#endif

// Both channels share line[0]: pan acts only where the taps are read, and the line is mono.
// `sums` holds each frame's tap sums when SumStillTaps took them; else the plan is read.
template <class Form>
void CQxEchomtEngine::RunStereo(typename Form::Sample* buf, uint32_t count, const double* sums) {
  double* __restrict line = line_[0];
  const int taps = taps_;
  double gl[kMaxTaps], gr[kMaxTaps];
  std::copy(tapLeftGain_, tapLeftGain_ + kMaxTaps, gl);
  std::copy(tapRightGain_, tapRightGain_ + kMaxTaps, gr);
  const double inLin = inputLin_, a = lowPassA_, b = lowPassB_, fbs = feedbackScale_;
  const double wet = wetLin_, dry = dryLin_;
  double inL = inputState_[0], inR = inputState_[1];
  double outL = outputState_[0], outR = outputState_[1];
#if defined(__SSE2__)
  {
    // Left and right in the two lanes of one register, each lane computing what the scalar loop
    // below computes.
    const __m128d A = _mm_set1_pd(a), B = _mm_set1_pd(b), In = _mm_set1_pd(inLin);
    const __m128d Wet = _mm_set1_pd(wet), Dry = _mm_set1_pd(dry);
    __m128d g[kMaxTaps];
    for (int i = 0; i < kMaxTaps; ++i) g[i] = _mm_set_pd(gr[i], gl[i]);
    __m128d inS = _mm_set_pd(inR, inL), outS = _mm_set_pd(outR, outL);
    int32_t w = writeIndex_;
    for (uint32_t j = 0; j < count; ++j) {
      typename Form::Sample* frame = buf + 2 * static_cast<size_t>(j);
      const __m128d x = _mm_mul_pd(QxPairIo<Form>::Read(frame), In);
      const __m128d s = QxZeroBelowPair(_mm_add_pd(_mm_mul_pd(x, B), _mm_mul_pd(A, inS)), 0x1p-32);
      inS = s;
      __m128d y = _mm_setzero_pd();
      if (sums) {
        y = _mm_loadu_pd(sums + 2 * static_cast<size_t>(j));
      } else {
        const TapRead* row = plan_[j];
        for (int i = 0; i < taps; ++i) {
          const double near = line[row[i].k];
          const double t = (line[row[i].k2] - near) * row[i].f + near;
          y = _mm_add_pd(y, _mm_mul_pd(_mm_set1_pd(t), g[i]));
        }
      }
      y = QxZeroBelowPair(_mm_add_pd(_mm_mul_pd(y, B), _mm_mul_pd(A, outS)), 0x1p-32);
      outS = y;
      QxPairIo<Form>::Write(frame, QxZeroBelowPair(_mm_add_pd(_mm_mul_pd(y, Wet), _mm_mul_pd(x, Dry)), 0x1p-32));
      const double yL = _mm_cvtsd_f64(y), yR = _mm_cvtsd_f64(_mm_unpackhi_pd(y, y));
      const double sL = _mm_cvtsd_f64(s), sR = _mm_cvtsd_f64(_mm_unpackhi_pd(s, s));
      const double v = ((yR + yL) * fbs + (sR + sL)) * 0.5;
      if (sums) {
        line[w] = QxClip(v, -kLineLimit, kLineLimit);
        w = w > 0 ? w - 1 : lastIndex_;
      } else {
        line[planWrite_[j]] = QxClip(v, -kLineLimit, kLineLimit);
      }
    }
    if (sums) writeIndex_ = w;
    inputState_[0] = _mm_cvtsd_f64(inS);
    inputState_[1] = _mm_cvtsd_f64(_mm_unpackhi_pd(inS, inS));
    outputState_[0] = _mm_cvtsd_f64(outS);
    outputState_[1] = _mm_cvtsd_f64(_mm_unpackhi_pd(outS, outS));
    return;
  }
#endif
  for (uint32_t j = 0; j < count; ++j) {
    typename Form::Sample* frame = buf + 2 * static_cast<size_t>(j);
    const double xL = Form::Read(frame[0]) * inLin;
    const double xR = Form::Read(frame[1]) * inLin;
    const double sL = Flush(xL * b + a * inL);
    inL = sL;
    const double sR = Flush(xR * b + a * inR);
    inR = sR;
    double yL = 0.0, yR = 0.0;
    const TapRead* row = plan_[j];
    for (int i = 0; i < taps; ++i) {
      const double near = line[row[i].k];
      const double t = (line[row[i].k2] - near) * row[i].f + near;
      yL += t * gl[i];
      yR += t * gr[i];
    }
    yL = Flush(yL * b + a * outL);
    outL = yL;
    yR = Flush(yR * b + a * outR);
    outR = yR;
    frame[0] = Form::Write(Flush(yL * wet + xL * dry));
    frame[1] = Form::Write(Flush(yR * wet + xR * dry));
    const double v = ((yR + yL) * fbs + (sR + sL)) * 0.5;
    line[planWrite_[j]] = QxClip(v, -kLineLimit, kLineLimit);
  }
  inputState_[0] = inL;
  inputState_[1] = inR;
  outputState_[0] = outL;
  outputState_[1] = outR;
}

template <class Form>
int CQxEchomtEngine::ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames,
                                  int32_t tailOnly) {
  using Sample = typename Form::Sample;
  constexpr bool kFloat = std::is_floating_point_v<Sample>;
  constexpr bool kFloat32 = std::is_same_v<Sample, float>;
  if (!frames) return E_POINTER;
  if (freshPending_ && mode == RunContinue) mode = RunFresh;
  if (mode != RunTail) freshPending_ = false;

  // A finished tail: a tail-pulling sample gets nothing; ordinary audio starts the count again
  // (from the tail in the integer forms, from one line length in the float forms).
  if (tailDone_) {
    if (tailOnly) {
      *frames = 0;
      return 1;
    }
    tailDone_ = false;
    designValid_ = false;
    tailRequestLeft_ = kFloat ? lineFrames_ : tailLeft_;
  }

  const bool changed = TakeSnapshot();
  if (mode == RunFresh && started_) {
    TakeSnapshot();
    const HRESULT hr = Update(false, RunFresh);
    if (FAILED(hr)) {
      *frames = 0;
      return hr;
    }
    started_ = false;
    tailDone_ = false;
  } else if ((changed || !designValid_) && mode != RunTail && !(kFloat32 && tailOnly)) {
    // While the tail plays out nothing is updated: changes wait for the next stream.
    const HRESULT hr = Update(mode != RunFresh, mode);
    if (FAILED(hr)) {
      *frames = 0;
      return hr;
    }
  }
  started_ = true;

  uint32_t n = *frames;
  int result = 0;
  if (mode == RunTail) {
    const uint32_t left = tailLeft_ > 0 ? static_cast<uint32_t>(tailLeft_) : 0;
    n = std::min(n, left);
    tailLeft_ -= static_cast<int32_t>(n);
    if (tailLeft_ <= 0) result = 1;
  }
  if (tailOnly) {
    const uint32_t left = tailRequestLeft_ > 0 ? static_cast<uint32_t>(tailRequestLeft_) : 0;
    n = std::min(n, left);
    tailRequestLeft_ -= static_cast<int32_t>(n);
    if (tailRequestLeft_ <= 0) tailDone_ = true;
  } else {
    tailRequestLeft_ = tailLeft_;
  }

  // No lines (a block after Stop, or a tail with nothing designed): ordinary audio passes as it
  // is, and a tail has nothing to give.
  if (!LinesReady() || (!buf && n > 0)) {
    if (mode == RunTail) {
      *frames = 0;
      return 1;
    }
    *frames = n;
    return result;
  }

  const uint32_t channels = channels_;
  for (uint32_t done = 0; done < n;) {
    const uint32_t count = std::min(kChunkFrames, n - done);
    Sample* b = buf + static_cast<size_t>(done) * channels;
#if defined(__SSE2__)
    if (channels == 2 && StillTapsClear(count)) {
      alignas(16) double sums[2 * kChunkFrames];
      SumStillTaps(count, sums);
      RunStereo<Form>(b, count, sums);
      done += count;
      continue;
    }
#endif
    Plan(count);
    if (channels == 2) {
      RunStereo<Form>(b, count, nullptr);
    } else {
      for (uint32_t c = 0; c < channels; ++c) RunChannel<Form>(b + c, channels, count, static_cast<int>(c));
    }
    done += count;
  }
  *frames = n;
  return result;
}

int CQxEchomtEngine::ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames, int32_t tailOnly) {
  return ProcessBlock<QxPcm8Form>(mode, buf, frames, tailOnly);
}

int CQxEchomtEngine::ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames, int32_t tailOnly) {
  return ProcessBlock<QxPcm16Form>(mode, buf, frames, tailOnly);
}

int CQxEchomtEngine::ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames, int32_t tailOnly) {
  return ProcessBlock<QxPcm32Form>(mode, buf, frames, tailOnly);
}

int CQxEchomtEngine::ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames, int32_t tailOnly) {
  return ProcessBlock<QxFloat32Form>(mode, buf, frames, tailOnly);
}

int CQxEchomtEngine::ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames, int32_t tailOnly) {
  return ProcessBlock<QxFloat64Form>(mode, buf, frames, tailOnly);
}
