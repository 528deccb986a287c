// Chorus engine: line setup, the update (design or light), and the voice cascade written once per
// sample form and channel layout.
#include "aplugins/qxppack1/delay/chorus_engine.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "aplugins/qxppack1/frame/prefault.h"
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {
// Each voice scales its delay and oscillator period by its entry; the stereo path weights the wet
// signal by entry 0 of the two side tables. The other entries are never read.
constexpr double kVoiceScale[10] = {1.0,      0.811731, 1.132329, 1.213153, 0.817387,
                                    0.719901, 0.311127, 1.472317, 0.911793, 1.157951};
constexpr double kLeftGain[10] = {0.9, 0.7, 0.8, 1.0, 0.7, 0.8, 1.0, 0.9, 0.0, 0.0};
constexpr double kRightGain[10] = {0.95, 0.9, 1.0, 0.7, 1.0, 1.0, 0.8, 0.1, 0.0, 0.0};

// A ten-digit 2 pi, a hair above the true value; the filter and the oscillator both use it.
constexpr double kTwoPi = 6.28318530718;

// Tenths of a dB to linear; -600 and below are exact silence.
double Level(int32_t tenthsDb) { return tenthsDb > -600 ? std::pow(10.0, tenthsDb / 200.0) : 0.0; }
}  // namespace


CQxChorusEngine::CQxChorusEngine() = default;

CQxChorusEngine::~CQxChorusEngine() { FreeLines(); }

void CQxChorusEngine::SetFormat(const WAVEFORMATEX* format) { format_ = format; }

void CQxChorusEngine::FreeLines() {
  for (double*& line : delayLine_) {
    std::free(line);
    line = nullptr;
  }
  for (SineCache& cache : sines_) {
    std::free(cache.values);
    cache = SineCache{};
  }
  channels_ = 0;
}

void CQxChorusEngine::Stop() {
  FreeLines();
  designValid_ = false;
}

HRESULT CQxChorusEngine::Allocate() {
  FreeLines();
  designValid_ = false;
  if (!format_ || format_->nChannels < 1 || format_->nChannels > kMaxChannels) return E_INVALIDARG;
  const float rate = static_cast<float>(format_->nSamplesPerSec);
  delayFrames_ = static_cast<uint32_t>(std::ceil(static_cast<double>(rate) * 2.0 / 10.0 + 100.0));
  const size_t doubles = static_cast<size_t>(delayFrames_) * format_->nChannels;
  for (double*& line : delayLine_) {
    line = static_cast<double*>(std::calloc(doubles, sizeof(double)));
    if (!line) {
      FreeLines();
      return E_OUTOFMEMORY;
    }
    QxPrefault(line, doubles * sizeof(double));
  }
  // Without room for the sines the voices call the sine directly, as fast as they ever were.
  for (SineCache& cache : sines_)
    cache.values = static_cast<double*>(std::malloc(sizeof(double) * kSineCacheFrames));
  channels_ = format_->nChannels;
  for (int v = 0; v < kVoices; ++v) {
    writeIndex_[v] = 0;
    lfoCounter_[v] = 0;
  }
  std::memset(lowPassState_, 0, sizeof lowPassState_);
  SetUpdateFlags(QX_CHORUS_DESIGN | QX_CHORUS_CLEAR);
  return S_OK;
}

HRESULT CQxChorusEngine::Update(const ChorusParams& p, bool keepMemory, const QxTempoRecord* tempo) {
  bypassed_ = p.bypass != 0;
  if (!keepMemory) SetUpdateFlags(QX_CHORUS_DESIGN | QX_CHORUS_CLEAR);
  if (UpdateFlags() & QX_CHORUS_DESIGN) {
    // Swapped, not overwritten: a setter's request arriving during the design is kept.
    const uint32_t flags = updateFlags_.exchange(QX_CHORUS_LIGHT, std::memory_order_relaxed);
    const bool ready = format_ && channels_ != 0 && delayLine_[0];
    if (ready) Design(p, (flags & QX_CHORUS_CLEAR) != 0, tempo);
    designValid_ = ready;
  } else if (UpdateFlags() & QX_CHORUS_LIGHT) {
    if (designValid_) LightUpdate(p, tempo);
  }
  return designValid_ ? S_OK : E_OUTOFMEMORY;
}

double CQxChorusEngine::PeriodSeconds(const ChorusParams& p, const QxTempoRecord* tempo) const {
  if (!p.tempoSync || !tempo) return p.modRate ? 1000.0 / p.modRate : 1.0;
  // A record without valid bits (no host maps) still counts: it gives a 2-second beat.
  const double beat = (tempo->Flags & QX_TEMPO_VALID) ? 60.0 / tempo->Tempo : 2.0;
  double length;
  if (p.modPeriodNote == QX_NOTE_MEASURES)
    length = (tempo->Flags & QX_METER_VALID) ? QxMeasureBeats(tempo->BeatsPerMeasure, tempo->BeatValue)
                                              : 4.0;
  else
    length = QxNoteBeats(p.modPeriodNote);
  return beat * length * (p.modPeriodMultiplier / 1000.0);
}

void CQxChorusEngine::Gains(const ChorusParams& p) {
  inputLin_ = Level(p.inputGain);
  dryLin_ = Level(p.dryOut);
  wet_ = Level(p.chorusOut);
  if (p.invertChorusPhase) wet_ = -wet_;
  for (int k = 0; k < 10; ++k) {
    leftGain_[k] = kLeftGain[k] * wet_;
    rightGain_[k] = kRightGain[k] * wet_;
  }
  voiceGain_[0] = 0.9 * wet_;
  voiceGain_[1] = 0.9 * voiceGain_[0];
  voiceGain_[2] = 0.9 * voiceGain_[1];
  feedbackLin_ = p.feedback / 100.0;
  if (p.invertFeedbackPhase) feedbackLin_ = -feedbackLin_;
}

void CQxChorusEngine::LowPass(const ChorusParams& p) {
  const int32_t sr = static_cast<int32_t>(format_->nSamplesPerSec);
  // At or above half the rate the filter passes everything; the denormal zeroing stays on.
  if (p.attenuateHigh && p.attenuationFrequency < sr / 2) {
    lowPassA_ = std::exp(p.attenuationFrequency * -kTwoPi / Rate());
    lowPassB_ = 1.0 - lowPassA_;
  } else {
    lowPassA_ = 0.0;
    lowPassB_ = 1.0;
  }
}

void CQxChorusEngine::Design(const ChorusParams& p, bool clear, const QxTempoRecord* tempo) {
  std::memcpy(voiceScale_, kVoiceScale, sizeof voiceScale_);
  bypassed_ = p.bypass != 0;
  // Only the first N doubles: with several channels the rest of each line keeps old audio.
  if (clear)
    for (double* line : delayLine_) std::memset(line, 0, sizeof(double) * delayFrames_);
  voiceCount_ = p.chorusSize;
  Gains(p);
  lfoSeconds_ = PeriodSeconds(p, tempo);
  LowPass(p);
  const double sr = Rate();
  baseDelay_ = std::trunc(p.outDelay * sr / 10000.0);
  modAmplitude_ = std::trunc(p.modDepth / 100.0 * baseDelay_);
  const double n = delayFrames_;
  for (int v = 0; v < kVoices; ++v) {
    for (double& s : lowPassState_[v]) s = 0.0;
    const double d = std::trunc(voiceScale_[v] * baseDelay_);
    if (clear) {
      writeIndex_[v] = 0;
      readPosition_[v] = d;
    } else {
      double r = writeIndex_[v] + d;
      if (r > n) r -= n;
      readPosition_[v] = r;
    }
    // A period below one sample stays 0 here (an infinite step); the light update repairs it.
    lfoPeriod_[v] = std::trunc(sr * lfoSeconds_ * voiceScale_[v]);
    lfoStep_[v] = kTwoPi / lfoPeriod_[v];
  }
}

void CQxChorusEngine::LightUpdate(const ChorusParams& p, const QxTempoRecord* tempo) {
  Gains(p);
  lfoSeconds_ = PeriodSeconds(p, tempo);
  const double sr = Rate();
  for (int v = 0; v < kVoices; ++v) {
    double period = std::trunc(sr * lfoSeconds_ * voiceScale_[v]);
    lfoPeriod_[v] = period < 1.0 ? 1.0 : period;
    lfoStep_[v] = kTwoPi / lfoPeriod_[v];
  }
  LowPass(p);
  modAmplitude_ = std::trunc(p.modDepth / 100.0 * baseDelay_);
}


namespace {
// What a span's cascade reads but never writes, passed by value so it stays in registers.
struct CascadeConstants {
  double amp, a, b, fb, inGain, dry, side[2];
  double Nd;
  int32_t N;
  uint32_t C;
};

// A running voice, copied into locals for one stretch of frames.
struct Lane {
  double* line;
  double read;
  double gain;
  int32_t write;

  // This frame's read point: the position moved by `swing` and wrapped into the line, as two frames and the
  // fraction between them.
  void ReadPoint(double swing, double Nd, int32_t N, int32_t* i, int32_t* j, double* f) const {
    double p = swing + read;
    if (p >= Nd) p -= Nd;
    else if (p < 0.0) p += Nd;
    QxChorusReadPoint(p, N, i, j, f);
  }
  // One frame on: the read and write positions step back, wrapping.
  void Step(double Nd, int32_t N) {
    read -= 1.0;
    if (read < 0.0) read = Nd - 1.0;
    if (--write < 0) write = N - 1;
  }
};

// V voices in series over n frames, their sines given. Each voice: modulated read, filter,
// feedback write, and mix into the frame. `state` is the voices' filter states, copied out of the
// engine for the span, so that no store into a line can be taken to touch them.
template <class Form, bool Stereo, bool Narrow, int V, uint32_t FixedC>
void Cascade(typename Form::Sample* buf, uint32_t n, Lane* lanes, double (*state)[32],
             const double* const (&sines)[3], CascadeConstants k) {
  const uint32_t C = FixedC ? FixedC : k.C;
  const int32_t N = k.N;
  const double Nd = k.Nd;
  Lane lv[V];
  for (int v = 0; v < V; ++v) lv[v] = lanes[v];
#if defined(__SSE2__)
  if constexpr (FixedC == 2) {
    // Stereo: the two channels of a frame are the two lanes of one register, each lane computing
    // exactly what the per-channel loop below computes.
    const __m128d a = _mm_set1_pd(k.a), b = _mm_set1_pd(k.b), fb = _mm_set1_pd(k.fb);
    const __m128d inGain = _mm_set1_pd(k.inGain), dry = _mm_set1_pd(k.dry);
    const __m128d side = _mm_set_pd(k.side[1], k.side[0]);
    __m128d st[V];
    for (int v = 0; v < V; ++v) st[v] = _mm_loadu_pd(state[v]);
    for (uint32_t t = 0; t < n; ++t, buf += 2) {
      __m128d x = QxPairIo<Form>::Read(buf);
#pragma GCC unroll 3
      for (int v = 0; v < V; ++v) {
        Lane& l = lv[v];
        int32_t i, j;
        double f;
        l.ReadPoint(sines[v][t] * k.amp, Nd, N, &i, &j, &f);
        const __m128d li = _mm_loadu_pd(l.line + 2 * static_cast<size_t>(i));
        const __m128d lj = _mm_loadu_pd(l.line + 2 * static_cast<size_t>(j));
        const __m128d s = _mm_add_pd(_mm_mul_pd(_mm_sub_pd(lj, li), _mm_set1_pd(f)), li);
        __m128d y = _mm_add_pd(_mm_mul_pd(s, b), _mm_mul_pd(st[v], a));
        y = QxZeroBelowPair(y, 2e-11);
        st[v] = y;
        const __m128d in = v == 0 ? _mm_mul_pd(inGain, x) : x;
        _mm_storeu_pd(l.line + 2 * static_cast<size_t>(l.write), _mm_add_pd(_mm_mul_pd(y, fb), in));
        x = v == 0 ? _mm_add_pd(_mm_mul_pd(_mm_mul_pd(y, _mm_set1_pd(l.gain)), side), _mm_mul_pd(in, dry))
                   : _mm_add_pd(_mm_mul_pd(y, side), in);
        l.Step(Nd, N);
      }
      QxPairIo<Form>::Write(buf, x);
    }
    for (int v = 0; v < V; ++v) _mm_storeu_pd(state[v], st[v]);
    for (int v = 0; v < V; ++v) lanes[v] = lv[v];
    return;
  }
#endif
  double x[32];
  for (uint32_t t = 0; t < n; ++t, buf += C) {
    for (uint32_t c = 0; c < C; ++c) x[c] = Form::Read(buf[c]);
    // Unrolled, so that each voice's and each channel's values live in registers of their own.
#pragma GCC unroll 3
    for (int v = 0; v < V; ++v) {
      Lane& l = lv[v];
      int32_t i, j;
      double f;
      l.ReadPoint(sines[v][t] * k.amp, Nd, N, &i, &j, &f);
      const double* li = l.line + static_cast<size_t>(i) * C;
      const double* lj = l.line + static_cast<size_t>(j) * C;
      double* lw = l.line + static_cast<size_t>(l.write) * C;
#pragma GCC unroll 2
      for (uint32_t c = 0; c < C; ++c) {
        const double s = (lj[c] - li[c]) * f + li[c];
        const double y = QxZeroBelow(s * k.b + state[v][c] * k.a, 2e-11);
        state[v][c] = y;
        const double in = v == 0 ? k.inGain * x[c] : x[c];
        lw[c] = y * k.fb + in;
        if constexpr (Stereo) {
          x[c] = v == 0 ? y * l.gain * k.side[c & 1] + in * k.dry : y * k.side[c & 1] + in;
        } else {
          x[c] = v == 0 ? y * l.gain + in * k.dry : y * l.gain + in;
        }
      }
      // The mono single-precision routine keeps the frame in the buffer's precision between
      // voices.
      if constexpr (Narrow) x[0] = static_cast<float>(x[0]);
      l.Step(Nd, N);
    }
    for (uint32_t c = 0; c < C; ++c) buf[c] = Form::Write(x[c]);
  }
  for (int v = 0; v < V; ++v) lanes[v] = lv[v];
}
}  // namespace

template <class Form, CQxChorusEngine::Layout L>
void CQxChorusEngine::Run(typename Form::Sample* buf, uint32_t frames, bool integerForm) {
  constexpr bool kStereoMix = L == kStereo;
  constexpr bool kNarrow = std::is_same_v<Form, QxFloat32Form> && L == kMono;
  constexpr uint32_t kFixedC = L == kMono ? 1u : L == kStereo ? 2u : 0u;
  const uint32_t C = kFixedC ? kFixedC : channels_;

  // Voice 0 always runs; the mono integer routines take voice 1 only at size 2.
  int count = 0;
  int index[kVoices];
  index[count++] = 0;
  if (integerForm && L == kMono ? voiceCount_ == 2 : voiceCount_ >= 2) index[count++] = 1;
  if (voiceCount_ == 3) index[count++] = 2;

  Lane lanes[kVoices];
  double state[kVoices][kMaxChannels];
  int32_t counter[kVoices];
  double period[kVoices], step[kVoices];
  SineCache* caches[kVoices];
  for (int k = 0; k < count; ++k) {
    const int v = index[k];
    lanes[k] = {delayLine_[v], readPosition_[v], voiceGain_[v], writeIndex_[v]};
    for (uint32_t c = 0; c < C; ++c) state[k][c] = lowPassState_[v][c];
    counter[k] = lfoCounter_[v];
    period[k] = lfoPeriod_[v];
    // An infinite step (a design's sub-sample period) would make the sine NaN: read unmodulated.
    step[k] = std::isfinite(lfoStep_[v]) ? lfoStep_[v] : 0.0;
    // Kept values stand only for the period and step they were taken with.
    SineCache& cache = sines_[v];
    if (cache.period != period[k] || cache.step != step[k]) {
      cache.period = period[k];
      cache.step = step[k];
      cache.filled = 0;
      cache.size = cache.values && period[k] >= 1.0 && period[k] <= kSineCacheFrames
                       ? static_cast<uint32_t>(period[k])
                       : 0;
      QxPrefault(cache.values, cache.size * sizeof(double));
    }
    caches[k] = &cache;
  }
  const CascadeConstants constants{modAmplitude_, lowPassA_, lowPassB_, feedbackLin_,
                                   inputLin_, dryLin_, {leftGain_[0], rightGain_[0]},
                                   static_cast<double>(delayFrames_),
                                   static_cast<int32_t>(delayFrames_), C};

  // The oscillators depend on nothing but their counters, so their sines are taken a stretch at a
  // time in a loop of their own, away from the live state of the cascade. A counter's sine is the
  // same call whether it comes from the cache or not; the cache only saves calling it again.
  constexpr uint32_t kStretch = 256;
  double taken[kVoices][kStretch];
  const double* sines[kVoices] = {taken[0], taken[1], taken[2]};
  // For a whole-number counter, ctr + 1 >= per is ctr + 1 >= ceil(per): the counter runs in
  // stretches up to its wrap. Other periods (none a design makes) take the frame-by-frame test.
  bool spans[kVoices];
  int32_t wrapAt[kVoices];
  for (int k = 0; k < count; ++k) {
    spans[k] = period[k] >= 1.0 && period[k] <= 2147483647.0;
    wrapAt[k] = spans[k] ? static_cast<int32_t>(std::ceil(period[k])) : 0;
  }
  for (uint32_t done = 0; done < frames;) {
    uint32_t n = frames - done < kStretch ? frames - done : kStretch;
    // A stretch stops where a voice reading kept values would wrap or run out of them, so that
    // such a voice reads its values for the whole stretch where they are kept.
    bool kept[kVoices];
    for (int k = 0; k < count; ++k) {
      const int32_t ctr = counter[k];
      kept[k] = spans[k] && ctr >= 0 && ctr < wrapAt[k] && static_cast<uint32_t>(ctr) < caches[k]->filled;
      if (kept[k]) {
        n = std::min(n, static_cast<uint32_t>(wrapAt[k] - ctr));
        n = std::min(n, caches[k]->filled - static_cast<uint32_t>(ctr));
      }
    }
    for (int k = 0; k < count; ++k) {
      SineCache& cache = *caches[k];
      int32_t ctr = counter[k];
      if (kept[k]) {
        sines[k] = cache.values + ctr;
        ctr += static_cast<int32_t>(n);
        counter[k] = ctr >= wrapAt[k] ? 0 : ctr;
        continue;
      }
      sines[k] = taken[k];
      const double st = step[k], per = period[k];
      for (uint32_t t = 0; t < n; ++t) {
        const uint32_t at = static_cast<uint32_t>(ctr);
        double s;
        if (at < cache.filled) {
          s = cache.values[at];
        } else {
          s = std::sin(ctr * st);
          if (at == cache.filled && at < cache.size) cache.values[cache.filled++] = s;
        }
        taken[k][t] = s;
        if (spans[k]) ctr = ctr + 1 >= wrapAt[k] ? 0 : ctr + 1;
        else if (++ctr >= per) ctr = 0;
      }
      counter[k] = ctr;
    }
    typename Form::Sample* b = buf + static_cast<size_t>(done) * C;
    // The voice count is a template argument so that each voice's position stays in registers.
    if (count == 1)
      Cascade<Form, kStereoMix, kNarrow, 1, kFixedC>(b, n, lanes, state, sines, constants);
    else if (count == 2)
      Cascade<Form, kStereoMix, kNarrow, 2, kFixedC>(b, n, lanes, state, sines, constants);
    else
      Cascade<Form, kStereoMix, kNarrow, 3, kFixedC>(b, n, lanes, state, sines, constants);
    done += n;
  }

  for (int k = 0; k < count; ++k) {
    const int v = index[k];
    readPosition_[v] = lanes[k].read;
    writeIndex_[v] = lanes[k].write;
    lfoCounter_[v] = counter[k];
    for (uint32_t c = 0; c < C; ++c) lowPassState_[v][c] = state[k][c];
  }
}

template <class Form>
void CQxChorusEngine::Process(typename Form::Sample* buf, uint32_t frames) {
  // Bypass freezes lines, oscillators and filters along with the samples.
  if (bypassed_ || !designValid_ || !format_ || channels_ == 0 || format_->nChannels != channels_) return;
  constexpr bool integerForm = !std::is_floating_point_v<typename Form::Sample>;
  if (channels_ == 1)
    Run<Form, kMono>(buf, frames, integerForm);
  else if (channels_ == 2)
    Run<Form, kStereo>(buf, frames, integerForm);
  else
    Run<Form, kMany>(buf, frames, integerForm);
}

void CQxChorusEngine::ProcessPcm8(uint8_t* buf, uint32_t frames) { Process<QxPcm8Form>(buf, frames); }
void CQxChorusEngine::ProcessPcm16(int16_t* buf, uint32_t frames) { Process<QxPcm16Form>(buf, frames); }
void CQxChorusEngine::ProcessPcm32(int32_t* buf, uint32_t frames) { Process<QxPcm32Form>(buf, frames); }
void CQxChorusEngine::ProcessFloat32(float* buf, uint32_t frames) { Process<QxFloat32Form>(buf, frames); }
void CQxChorusEngine::ProcessFloat64(double* buf, uint32_t frames) { Process<QxFloat64Form>(buf, frames); }
