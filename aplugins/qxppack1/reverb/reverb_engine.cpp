// Reverb engine: rebuild and update of the comb network, the tail gate, and the sample loops in
// their two stereo forms and the per-channel form, written once over the sample forms.
#include "aplugins/qxppack1/reverb/reverb_engine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

#include "aplugins/qxppack1/frame/sample_form.h"
#include "kernel/services/qx_cpu.h"

namespace {
constexpr double kPi = 3.14159265358979323846;
// The one-pole's exponent constant: one fixed value of -4 pi, which puts its corner at twice the
// stated frequency. Kept as this literal so every build derives the same coefficient.
constexpr double kOnePoleExponent = -12.56637061436;
constexpr double kCombStateFloor = 1e-20;

// Tenths of a dB to linear; -800 and below are exact silence.
double LevelToGain(int32_t tenthsDb) { return tenthsDb <= -800 ? 0.0 : std::pow(10.0, tenthsDb / 200.0); }

// Any magnitude below 2^-32 (biased exponent under 0x3DF) becomes exact zero, keeping the
// recursions out of denormals without touching the processor's control word.
inline double Flush(double x) {
  const uint64_t bits = std::bit_cast<uint64_t>(x);
  return ((bits >> 52) & 0x7FF) < 0x3DF ? 0.0 : x;
}

// Zero-filled; null when the memory cannot be had.
double* NewRing(size_t samples) { return new (std::nothrow) double[samples](); }

// A comb's working copy for the length of one block.
struct CombRun {
  double* cur;
  double* base;
  double* end;
  double gain;
  double state;
};

CombRun Load(const CombLine& c) { return {c.cursor, c.base, c.end, c.gain, c.state}; }
void Store(CombLine& c, const CombRun& r) {
  c.cursor = r.cur;
  c.state = r.state;
}

// The output tap takes the line before damping; the input is scaled by the feedback gain on the
// way in, after the damped state is added.
inline void CombStepPlain(CombRun& c, double v, double& sum, double B, double A) {
  const double r = *c.cur;
  sum += r;
  double s = r * B + c.state * A;
  if (std::fabs(s) < kCombStateFloor) s = 0.0;
  c.state = s;
  *c.cur = (v + s) * c.gain;
  if (++c.cur == c.end) c.cur = c.base;
}

inline void CombStepFast(CombRun& c, double v, double& sum, double B, double A) {
  const double r = *c.cur;
  sum += r;
  c.state = r * B + c.state * A;
  *c.cur = (v + c.state) * c.gain;
  if (++c.cur == c.end) c.cur = c.base;
}

// Two combs in the lanes of one vector, for the fast form.
typedef double V2 __attribute__((vector_size(16)));
struct CombPair {
  double* cur[2];
  double* base[2];
  double* end[2];
  V2 gain;
  V2 state;
};

CombPair LoadPair(const CombLine& a, const CombLine& b) {
  return {{a.cursor, b.cursor}, {a.base, b.base}, {a.end, b.end}, V2{a.gain, b.gain}, V2{a.state, b.state}};
}
void StorePair(CombLine& a, CombLine& b, const CombPair& p) {
  a.cursor = p.cur[0];
  b.cursor = p.cur[1];
  a.state = p.state[0];
  b.state = p.state[1];
}

inline void PairStep(CombPair& p, V2 v, V2& sum, V2 B, V2 A) {
  const V2 r = {*p.cur[0], *p.cur[1]};
  sum += r;
  p.state = r * B + p.state * A;
  const V2 o = (v + p.state) * p.gain;
  *p.cur[0] = o[0];
  *p.cur[1] = o[1];
  if (++p.cur[0] == p.end[0]) p.cur[0] = p.base[0];
  if (++p.cur[1] == p.end[1]) p.cur[1] = p.base[1];
}

template <class Form>
constexpr bool kFloatForm = std::is_floating_point_v<typename Form::Sample>;

size_t Offset(const double* p, const double* base) { return static_cast<size_t>(p - base); }
}  // namespace

void QxReverbOrderTaps(int32_t taps[3], double gains[3][2]) {
  auto swap = [&](int a, int b) {
    std::swap(taps[a], taps[b]);
    std::swap(gains[a][0], gains[b][0]);
    std::swap(gains[a][1], gains[b][1]);
  };
  if (taps[0] > taps[1]) swap(0, 1);
  if (taps[1] > taps[2]) swap(1, 2);
}

CQxReverbEngine::CQxReverbEngine() {
  fastStereo_ = (QxGetCPUSupport(0xFF0) & QX_CPU_SSE2) != 0;
  if (fastStereo_) QxCpu_SetFlushDenormals();
}

CQxReverbEngine::~CQxReverbEngine() { FreeMemory(); }

void CQxReverbEngine::FreeMemory() {
  for (ReverbChannel& ch : channels_) {
    for (CombLine& c : ch.comb) {
      delete[] c.base;
      c.base = c.cursor = c.end = nullptr;
    }
    delete[] ch.preDelay.base;
    ch.preDelay.base = ch.preDelay.cursor = ch.preDelay.end = nullptr;
    delete[] ch.early.base;
    ch.early.base = ch.early.tap0 = ch.early.tap1 = ch.early.writer = ch.early.end = nullptr;
  }
  builtChannels_ = 0;
}

uint32_t CQxReverbEngine::EarlyTapDelay(int tap) const {
  const auto& e = channels_[0].early;
  if (!e.base) return 0;
  const size_t n = Offset(e.end, e.base);
  const double* p = tap == 0 ? e.tap0 : tap == 1 ? e.tap1 : e.writer;
  const size_t d = (Offset(e.writer, e.base) + n - Offset(p, e.base)) % n;
  return static_cast<uint32_t>(d == 0 ? n : d);
}

uint32_t CQxReverbEngine::PreDelayLength() const {
  const auto& r = channels_[0].preDelay;
  return r.base ? static_cast<uint32_t>(Offset(r.end, r.base)) : 0;
}

HRESULT CQxReverbEngine::InitialiseStream(const ReverbParams& p) {
  SetNeedsRebuild(true);
  const HRESULT hr = UpdateParameters(p, 0);
  // A licensed build has no marker to prepare.
  streamTouched_ = false;
  asleep_ = false;
  return hr;
}

void CQxReverbEngine::SetOutputGains(const ReverbParams& p) {
  dryOutGain_ = LevelToGain(p.dryOut);
  reverbOutGain_ = LevelToGain(p.reverbOut);
  // The early level also scales the whole-number tap gains (hundredths) to unity; only exactly
  // -800 mutes it.
  earlyOutGain_ = p.earlyOut == -800 ? 0.0 : std::pow(10.0, p.earlyOut / 200.0) / 100.0;
}

void CQxReverbEngine::SetTail(const ReverbParams& p, double fs) {
  // The decay is truncated to whole seconds first: 0.9 s gives no tail, 2.5 s gives two seconds.
  const double T = p.decayTenths / 10.0;
  tailTotal_ = static_cast<int32_t>(std::trunc(T)) * static_cast<int32_t>(fs);
  tailLeft_ = tailTotal_;
}

void CQxReverbEngine::TuneCombs(const ReverbModeRow& row, double T, uint32_t channels, double fs) {
  auto tune = [&](CombLine& c, double t) {
    c.gain = std::pow(10.0, t * -3.0 / T);
    c.lengthSamples = std::trunc(fs * t + 0.5);
  };
  for (int k = 0; k < combCount_; ++k) tune(channels_[0].comb[k], row.delayMs[k] / 1000.0);
  if (channels == 2) {
    // The only difference between left and right: the two private combs of the right side.
    tune(channels_[1].comb[0], row.delayMs[0] / 1000.0 * 0.93);
    tune(channels_[1].comb[1], row.delayMs[1] / 1000.0 * 1.06);
  } else {
    for (uint32_t c = 1; c < channels; ++c)
      for (int k = 0; k < combCount_; ++k) {
        channels_[c].comb[k].gain = channels_[0].comb[k].gain;
        channels_[c].comb[k].lengthSamples = channels_[0].comb[k].lengthSamples;
      }
  }
}

void CQxReverbEngine::DesignOnePole(const ReverbParams& p, double fs) {
  if (!p.highOn || p.highFreqHz >= fs) {
    poleA_ = 0.0;  // transparent on the input and in every comb
    poleB_ = 1.0;
  } else {
    poleA_ = std::exp(p.highFreqHz * kOnePoleExponent / fs);
    poleB_ = 1.0 - poleA_;
  }
}

void CQxReverbEngine::DesignBass(const ReverbParams& p, uint32_t channels, double fs, bool reset) {
  BassFilter& b = channels_[0].bass;
  double f = p.bassFreqHz / fs;
  f = f < 0.011337868480725623 ? f / 2.2 : f / 3.3;  // 500 Hz at 44.1 kHz
  f = std::clamp(f, 0.0004, 0.49);
  const double Q = 0.1;
  b.b1 = std::exp(f * -kPi / Q) * 2.0 * std::cos(2.0 * kPi * f);
  b.b2 = std::exp(f * (-2.0 * kPi) / Q);
  b.gain = 1.0 - b.b1 + b.b2;  // unity at DC
  if (reset) b.s1 = b.s2 = 0.0;
  if (channels > 2)
    for (uint32_t c = 1; c < channels; ++c) channels_[c].bass = b;
}

HRESULT CQxReverbEngine::UpdateParameters(const ReverbParams& p, int mode) {
  if (!format_ || format_->nChannels < 1 || format_->nChannels > kMaxChannels || !format_->nSamplesPerSec)
    return E_UNEXPECTED;
  const uint32_t channels = format_->nChannels;
  const double fs = format_->nSamplesPerSec;

  const bool resetBass = mode == 0 || (p.bassOn && !bassOn_);
  const bool resetHigh = mode == 0 || (p.highOn && !highOn_);
  bassOn_ = p.bassOn;
  highOn_ = p.highOn;
  bypass_ = p.bypass;

  // The store clamps every field to its range; these guards only keep a bare engine in its tables.
  const ReverbModeRow& row = g_ReverbModes[std::clamp(p.reverbMode, 0, QX_REVERB_MODE_COUNT - 1)];
  const ReflectionRow& style = g_ReflectionStyles[std::clamp(p.reflectionStyle, 0, QX_REFLECTION_STYLE_COUNT - 1)];

  // Rings laid out for another channel count cannot be run: that also needs a rebuild.
  if (NeedsRebuild() || channels != builtChannels_) {
    if (!Rebuild(p, row, style, channels, fs, resetHigh, resetBass)) {
      // Nothing is left half built; the rebuild stays due, so the next block tries again.
      FreeMemory();
      applied_ = false;
      return E_OUTOFMEMORY;
    }
    SetNeedsRebuild(false);
    applied_ = true;
    return S_OK;
  }

  // Update: no memory moves. Ring lengths, comb count, taps and early gains stay; a mode change
  // here only re-tunes the feedback gains of the old lines.
  SetOutputGains(p);
  DesignOnePole(p, fs);
  if (p.bassOn) DesignBass(p, channels, fs, resetBass);
  SetTail(p, fs);
  TuneCombs(row, p.decayTenths / 10.0, channels, fs);
  return S_OK;
}

bool CQxReverbEngine::Rebuild(const ReverbParams& p, const ReverbModeRow& row, const ReflectionRow& style,
                              uint32_t channels, double fs, bool resetHigh, bool resetBass) {
  SetOutputGains(p);
  FreeMemory();

  combCount_ = static_cast<int32_t>(row.combs);
  SetTail(p, fs);
  TuneCombs(row, p.decayTenths / 10.0, channels, fs);

  bool ok = true;
  auto allocate = [&ok](CombLine& c) {
    const size_t n = std::max<size_t>(1, static_cast<size_t>(c.lengthSamples));
    c.base = c.cursor = NewRing(n);
    c.end = c.base ? c.base + n : nullptr;
    ok = ok && c.base;
    c.state = 0.0;
  };
  for (int k = 0; k < combCount_; ++k) allocate(channels_[0].comb[k]);
  if (channels == 2) {
    allocate(channels_[1].comb[0]);  // the right side's combs from 2 on are channel 0's
    allocate(channels_[1].comb[1]);
  } else {
    for (uint32_t c = 1; c < channels; ++c)
      for (int k = 0; k < combCount_; ++k) allocate(channels_[c].comb[k]);
  }
  if (!ok) return false;

  // Pre-delay of L samples delays the reverb by L - 1.
  const size_t L = std::max<int64_t>(1, static_cast<int64_t>(std::trunc(p.preDelayMs * (fs / 1000.0))));
  for (uint32_t c = 0; c < channels; ++c) {
    auto& r = channels_[c].preDelay;
    r.base = r.cursor = NewRing(L);
    if (!r.base) return false;
    r.end = r.base + L;
  }

  int32_t taps[3] = {
      static_cast<int32_t>(std::trunc((style.delayMs[0] + 0.051) * fs / 1000.0)),
      static_cast<int32_t>(std::trunc((style.delayMs[1] + 0.151) * fs / 1000.0)),
      static_cast<int32_t>(std::trunc((style.delayMs[2] + 0.078) * fs / 1000.0)),
  };
  for (int i = 0; i < 3; ++i) {
    const double g = static_cast<double>(style.gain[i]);
    if (channels == 2) {
      const double pan = (style.pan[i] + 100) / 200.0;
      earlyGain_[i][0] = (1.0 - pan) * g;
      earlyGain_[i][1] = pan * g;
    } else {
      earlyGain_[i][0] = earlyGain_[i][1] = g;
    }
  }
  QxReverbOrderTaps(taps, earlyGain_);
  // At very low rates a tap can round to 0 samples; the ring keeps at least one slot and a tap of
  // 0 reads at the writer, as one of the full length does.
  const size_t N = std::max<int32_t>(1, taps[2]);
  auto at = [&](double* base, int32_t tap) {
    return tap <= 0 || static_cast<size_t>(tap) >= N ? base : base + (N - static_cast<size_t>(tap));
  };
  for (uint32_t c = 0; c < channels; ++c) {
    auto& e = channels_[c].early;
    e.base = e.writer = NewRing(N);
    if (!e.base) return false;
    e.end = e.base + N;
    e.tap0 = at(e.base, taps[0]);
    e.tap1 = at(e.base, taps[1]);
  }
  builtChannels_ = channels;

  inputGain_ = 1.0;
  if (resetHigh)
    for (uint32_t c = 1; c < channels; ++c) channels_[c].inState = 0.0;  // channel 0 keeps its state
  DesignOnePole(p, fs);
  if (p.bassOn) DesignBass(p, channels, fs, resetBass);
  return true;
}

template <class Form>
int CQxReverbEngine::ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames,
                                  int32_t tailRequest, IQxReverbParamSource& source) {
  if (!frames) return E_POINTER;
  if (asleep_) {
    if (tailRequest) {
      *frames = 0;
      return S_FALSE;
    }
    silenceLeft_ = tailTotal_;
    applied_ = false;
    asleep_ = false;
  }

  ReverbParams p;
  const bool changed = source.ReadParams(&p);
  if (fastStereo_ && mode == RunFresh) QxCpu_SetFlushDenormals();
  HRESULT hr = S_OK;
  if (mode == RunFresh && streamTouched_)
    hr = InitialiseStream(p);
  else if (!((!changed && applied_) || mode == RunTail))
    hr = UpdateParameters(p, mode);
  if (FAILED(hr)) return hr;
  streamTouched_ = true;

  uint32_t count = *frames;
  int status = S_OK;
  if (mode == RunTail) {
    count = std::min<uint32_t>(count, static_cast<uint32_t>(std::max(tailLeft_, 0)));
    tailLeft_ -= static_cast<int32_t>(count);
    if (tailLeft_ == 0) status = S_FALSE;
  }
  if (tailRequest) {
    count = std::min<uint32_t>(count, static_cast<uint32_t>(std::max(silenceLeft_, 0)));
    silenceLeft_ -= static_cast<int32_t>(count);
    if (silenceLeft_ == 0) asleep_ = true;
  } else {
    silenceLeft_ = tailTotal_;
  }

  // Bypass leaves the samples and the delay memory as they are; the counters above still run.
  const uint32_t channels = format_ ? format_->nChannels : 0;
  if (!bypass_ && count > 0 && buf && channels == builtChannels_ && channels > 0) {
    if (channels == 2)
      RunStereo<Form>(buf, count);
    else
      RunChannels<Form>(buf, channels, count);
  }
  // A licensed build mixes no marker into the block.
  *frames = count;
  return status;
}

template <class Form>
void CQxReverbEngine::RunStereo(typename Form::Sample* buf, uint32_t count) {
  if (fastStereo_) {
    if (bassOn_)
      RunStereoFast<Form, true>(buf, count);
    else
      RunStereoFast<Form, false>(buf, count);
  } else {
    if (bassOn_)
      RunStereoPlain<Form, true>(buf, count);
    else
      RunStereoPlain<Form, false>(buf, count);
  }
}

template <class Form>
void CQxReverbEngine::RunChannels(typename Form::Sample* buf, uint32_t channels, uint32_t count) {
  const int n = static_cast<int>(channels);
  // Channels share no writable state, so float streams fan out over a fork-join pool, one
  // channel at a time to each worker; the block waits at the loop's end. A single channel runs
  // the same loop on the calling thread alone rather than wake a worker for nothing.
  if constexpr (kFloatForm<Form>) {
    if (bassOn_) {
#pragma omp parallel for schedule(static, 1) if (n > 1)
      for (int c = 0; c < n; ++c) RunChannel<Form, true>(channels_[c], buf + c, channels, count);
    } else {
#pragma omp parallel for schedule(static, 1) if (n > 1)
      for (int c = 0; c < n; ++c) RunChannel<Form, false>(channels_[c], buf + c, channels, count);
    }
  } else {
    for (int c = 0; c < n; ++c) {
      if (bassOn_)
        RunChannel<Form, true>(channels_[c], buf + c, channels, count);
      else
        RunChannel<Form, false>(channels_[c], buf + c, channels, count);
    }
  }
}

namespace {
// The part of the stereo network both forms share: each side's pre-delay ring, the early taps
// reading both sides' rings summed and panned, and the output mix. Both sides' pre-delay rings have
// one length and one position, and so do their early rings.
struct StereoOutput {
  double* pdL;
  double* pdR;
  size_t pdLen, pd;
  double* eL;
  double* eR;
  size_t N, i0, i1, iw;
  double gl0, gl1, gl2, gr0, gr1, gr2, eog, rog, dog;

  StereoOutput(const ReverbChannel& c0, const ReverbChannel& c1, const double (&earlyGain)[3][2], double earlyOut,
               double reverbOut, double dryOut)
      : pdL(c0.preDelay.base),
        pdR(c1.preDelay.base),
        pdLen(Offset(c0.preDelay.end, pdL)),
        pd(Offset(c0.preDelay.cursor, pdL)),
        eL(c0.early.base),
        eR(c1.early.base),
        N(Offset(c0.early.end, eL)),
        i0(Offset(c0.early.tap0, eL)),
        i1(Offset(c0.early.tap1, eL)),
        iw(Offset(c0.early.writer, eL)),
        gl0(earlyGain[0][0]), gl1(earlyGain[1][0]), gl2(earlyGain[2][0]),
        gr0(earlyGain[0][1]), gr1(earlyGain[1][1]), gr2(earlyGain[2][1]),
        eog(earlyOut), rog(reverbOut), dog(dryOut) {}

  // One frame: the two reverb sums enter the pre-delay, the frame's two samples are written out.
  template <class Form>
  inline __attribute__((always_inline)) void Step(double sumL, double sumR, double xL, double xR,
                                                  typename Form::Sample* frame) {
    pdL[pd] = sumL;
    pdR[pd] = sumR;
    if (++pd == pdLen) pd = 0;
    const double rvL = pdL[pd], rvR = pdR[pd];

    const double e0 = eL[i0] + eR[i0], e1 = eL[i1] + eR[i1], e2 = eL[iw] + eR[iw];
    const double earlyL = e0 * gl0 + e1 * gl1 + e2 * gl2;
    const double earlyR = e0 * gr0 + e1 * gr1 + e2 * gr2;
    const double outL = earlyL * eog + rvL * rog + xL * dog;
    const double outR = earlyR * eog + rvR * rog + xR * dog;
    eL[iw] = xL;
    eR[iw] = xR;
    if (++i0 == N) i0 = 0;
    if (++i1 == N) i1 = 0;
    if (++iw == N) iw = 0;
    frame[0] = Form::Write(outL);
    frame[1] = Form::Write(outR);
  }

  void Save(ReverbChannel& c0, ReverbChannel& c1) const {
    c0.preDelay.cursor = pdL + pd;
    c1.preDelay.cursor = pdR + pd;
    c0.early.tap0 = eL + i0;
    c0.early.tap1 = eL + i1;
    c0.early.writer = eL + iw;
    c1.early.tap0 = eR + i0;
    c1.early.tap1 = eR + i1;
    c1.early.writer = eR + iw;
  }
};
}  // namespace

// Stereo, plain form: the reverb is fed by the mono sum; combs from 2 on are shared, combs 0 and 1
// are each side's own; the early taps read both sides' rings summed and pan them.
template <class Form, bool Bass>
void CQxReverbEngine::RunStereoPlain(typename Form::Sample* buf, uint32_t count) {
  ReverbChannel& c0 = channels_[0];
  ReverbChannel& c1 = channels_[1];
  CombRun shared[QX_REVERB_MAX_COMBS];
  int ns = 0;
  for (int k = 2; k < combCount_; ++k) shared[ns++] = Load(c0.comb[k]);
  CombRun l0 = Load(c0.comb[0]), l1 = Load(c0.comb[1]), r0 = Load(c1.comb[0]), r1 = Load(c1.comb[1]);
  const double B = poleB_, A = poleA_, ig = inputGain_;
  double in = c0.inState;
  BassFilter bf = c0.bass;
  StereoOutput out(c0, c1, earlyGain_, earlyOutGain_, reverbOutGain_, dryOutGain_);

  for (uint32_t i = 0; i < count; ++i) {
    const double xL = ig * Form::Read(buf[2 * size_t{i}]);
    const double xR = ig * Form::Read(buf[2 * size_t{i} + 1]);
    const double m = (xL + xR) * 0.5;
    double v = Flush(m * B + A * in);
    in = v;
    if constexpr (Bass) {
      const double o = bf.s1 * bf.b1 + v * bf.gain - bf.b2 * bf.s2;
      bf.s2 = bf.s1;
      bf.s1 = Flush(o);
      v = static_cast<double>(static_cast<float>(v - bf.s1));
    }
    double sh = 0.0;
    for (int k = 0; k < ns; ++k) CombStepPlain(shared[k], v, sh, B, A);
    double sumL = sh, sumR = sh;
    CombStepPlain(l0, v, sumL, B, A);
    CombStepPlain(l1, v, sumL, B, A);
    CombStepPlain(r0, v, sumR, B, A);
    CombStepPlain(r1, v, sumR, B, A);

    out.Step<Form>(sumL, sumR, xL, xR, buf + 2 * size_t{i});
  }

  c0.inState = in;
  c0.bass.s1 = bf.s1;
  c0.bass.s2 = bf.s2;
  ns = 0;
  for (int k = 2; k < combCount_; ++k) Store(c0.comb[k], shared[ns++]);
  Store(c0.comb[0], l0);
  Store(c0.comb[1], l1);
  Store(c1.comb[0], r0);
  Store(c1.comb[1], r1);
  out.Save(c0, c1);
}

// Stereo, fast form: the same network in full double precision with no flushes (the processor's
// flush-to-zero and denormals-are-zero keep denormals out), combs taken two at a time.
template <class Form, bool Bass>
void CQxReverbEngine::RunStereoFast(typename Form::Sample* buf, uint32_t count) {
  ReverbChannel& c0 = channels_[0];
  ReverbChannel& c1 = channels_[1];
  CombPair pairs[QX_REVERB_MAX_COMBS / 2];
  int np = 0;
  int k = 2;
  for (; k + 1 < combCount_; k += 2) pairs[np++] = LoadPair(c0.comb[k], c0.comb[k + 1]);
  const bool odd = k < combCount_;
  CombRun single = odd ? Load(c0.comb[k]) : CombRun{};
  // Lane 0 is the left side's private comb, lane 1 the right side's.
  CombPair p0 = LoadPair(c0.comb[0], c1.comb[0]);
  CombPair p1 = LoadPair(c0.comb[1], c1.comb[1]);

  const double B = poleB_, A = poleA_, ig = inputGain_;
  const V2 Bv = {B, B}, Av = {A, A};
  double in = c0.inState;
  BassFilter bf = c0.bass;
  StereoOutput out(c0, c1, earlyGain_, earlyOutGain_, reverbOutGain_, dryOutGain_);

  for (uint32_t i = 0; i < count; ++i) {
    const double xL = ig * Form::Read(buf[2 * size_t{i}]);
    const double xR = ig * Form::Read(buf[2 * size_t{i} + 1]);
    const double m = (xL + xR) * 0.5;
    double v = m * B + A * in;
    in = v;
    if constexpr (Bass) {
      const double o = bf.s1 * bf.b1 + v * bf.gain - bf.b2 * bf.s2;
      bf.s2 = bf.s1;
      bf.s1 = o;
      v = v - bf.s1;
    }
    const V2 vv = {v, v};
    V2 acc = {0.0, 0.0};
    for (int j = 0; j < np; ++j) PairStep(pairs[j], vv, acc, Bv, Av);
    double sh = acc[0] + acc[1];
    if (odd) CombStepFast(single, v, sh, B, A);
    V2 sum = {sh, sh};
    PairStep(p0, vv, sum, Bv, Av);
    PairStep(p1, vv, sum, Bv, Av);

    out.Step<Form>(sum[0], sum[1], xL, xR, buf + 2 * size_t{i});
  }

  c0.inState = in;
  c0.bass.s1 = bf.s1;
  c0.bass.s2 = bf.s2;
  np = 0;
  for (k = 2; k + 1 < combCount_; k += 2) StorePair(c0.comb[k], c0.comb[k + 1], pairs[np++]);
  if (odd) Store(c0.comb[k], single);
  StorePair(c0.comb[0], c1.comb[0], p0);
  StorePair(c0.comb[1], c1.comb[1], p1);
  out.Save(c0, c1);
}

// Any channel count but 2: each channel on its own lines, no mono sum, all combs summed, the
// early taps on its own ring with the left weights alone, so pans play no part.
template <class Form, bool Bass>
void CQxReverbEngine::RunChannel(ReverbChannel& ch, typename Form::Sample* buf, uint32_t stride,
                                 uint32_t count) {
  CombRun combs[QX_REVERB_MAX_COMBS];
  const int cc = combCount_;
  for (int k = 0; k < cc; ++k) combs[k] = Load(ch.comb[k]);
  const double B = poleB_, A = poleA_, ig = inputGain_;
  const double eog = earlyOutGain_, rog = reverbOutGain_, dog = dryOutGain_;
  const double g0 = earlyGain_[0][0], g1 = earlyGain_[1][0], g2 = earlyGain_[2][0];
  double in = ch.inState;
  BassFilter bf = ch.bass;
  double* const pdBase = ch.preDelay.base;
  double* const pdEnd = ch.preDelay.end;
  double* pd = ch.preDelay.cursor;
  double* const eBase = ch.early.base;
  double* const eEnd = ch.early.end;
  double *t0 = ch.early.tap0, *t1 = ch.early.tap1, *w = ch.early.writer;
  const size_t st = stride;

  for (uint32_t i = 0; i < count; ++i) {
    const double x = ig * Form::Read(buf[i * st]);
    double v = Flush(x * B + A * in);
    in = v;
    if constexpr (Bass) {
      const double o = bf.s1 * bf.b1 + v * bf.gain - bf.b2 * bf.s2;
      bf.s2 = bf.s1;
      bf.s1 = Flush(o);
      v = static_cast<double>(static_cast<float>(v - bf.s1));
    }
    double sum = 0.0;
    for (int k = 0; k < cc; ++k) CombStepPlain(combs[k], v, sum, B, A);
    *pd = sum;
    if (++pd == pdEnd) pd = pdBase;
    const double rv = *pd;
    const double early = *t0 * g0 + *t1 * g1 + *w * g2;
    const double out = early * eog + rv * rog + x * dog;
    *w = x;
    if (++t0 == eEnd) t0 = eBase;
    if (++t1 == eEnd) t1 = eBase;
    if (++w == eEnd) w = eBase;
    buf[i * st] = Form::Write(out);
  }

  ch.inState = in;
  ch.bass.s1 = bf.s1;
  ch.bass.s2 = bf.s2;
  for (int k = 0; k < cc; ++k) Store(ch.comb[k], combs[k]);
  ch.preDelay.cursor = pd;
  ch.early.tap0 = t0;
  ch.early.tap1 = t1;
  ch.early.writer = w;
}

int CQxReverbEngine::ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames, int32_t tailRequest,
                                 IQxReverbParamSource& source) {
  return ProcessBlock<QxPcm8Form>(mode, buf, frames, tailRequest, source);
}
int CQxReverbEngine::ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames, int32_t tailRequest,
                                  IQxReverbParamSource& source) {
  return ProcessBlock<QxPcm16Form>(mode, buf, frames, tailRequest, source);
}
int CQxReverbEngine::ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames, int32_t tailRequest,
                                  IQxReverbParamSource& source) {
  return ProcessBlock<QxPcm32Form>(mode, buf, frames, tailRequest, source);
}
int CQxReverbEngine::ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames, int32_t tailRequest,
                                    IQxReverbParamSource& source) {
  return ProcessBlock<QxFloat32Form>(mode, buf, frames, tailRequest, source);
}
int CQxReverbEngine::ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames, int32_t tailRequest,
                                    IQxReverbParamSource& source) {
  return ProcessBlock<QxFloat64Form>(mode, buf, frames, tailRequest, source);
}
