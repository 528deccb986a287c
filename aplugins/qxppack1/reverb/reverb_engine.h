// Reverb's host-neutral DSP core: per channel a bank of damped feedback combs behind a one-pole
// low-pass and a bass cut, a pre-delay ring on their sum and three early-reflection taps.
#pragma once
#include <atomic>
#include <cstdint>

#include "aplugins/qxppack1/frame/run_mode.h"
#include "aplugins/qxppack1/reverb/reverb_params.h"
#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

// Where a block reads the parameters: the owner copies its record under its own lock.
class IQxReverbParamSource {
 public:
  virtual ~IQxReverbParamSource() = default;
  // Copies the current record; returns the change flag and clears it.
  virtual bool ReadParams(ReverbParams* record) = 0;
};

// A source holding one record, for hosts without a parameter store (tests, benchmarks).
struct QxReverbFixedParams final : IQxReverbParamSource {
  ReverbParams params{};
  bool changed = false;
  bool ReadParams(ReverbParams* record) override {
    *record = params;
    const bool was = changed;
    changed = false;
    return was;
  }
};

struct CombLine {
  double* base = nullptr;  // ring of f64, [base, end)
  double* cursor = nullptr;
  double* end = nullptr;
  double gain = 0.0;           // feedback gain
  double state = 0.0;          // damping one-pole state
  double lengthSamples = 0.0;  // whole number; the ring keeps the length of its last rebuild
};

struct BassFilter {
  double s1 = 0.0, s2 = 0.0;  // states
  double b1 = 0.0, b2 = 0.0, gain = 0.0;
};

struct ReverbChannel {
  double inState = 0.0;  // input one-pole state
  CombLine comb[QX_REVERB_MAX_COMBS];
  struct {
    double* base = nullptr;
    double* cursor = nullptr;
    double* end = nullptr;
  } preDelay;
  // One buffer; the three read positions and the writer move together.
  struct {
    double* base = nullptr;
    double* tap0 = nullptr;
    double* tap1 = nullptr;
    double* writer = nullptr;
    double* end = nullptr;
  } early;
  BassFilter bass;
};

class CQxReverbEngine {
 public:
  static constexpr int kMaxChannels = 32;

  // Reads the stereo form from the processor features (bit QX_CPU_SSE2 of QxGetCPUSupport(0xFF0))
  // and, for the fast form, sets flush-to-zero and denormals-are-zero on the calling thread.
  CQxReverbEngine();
  ~CQxReverbEngine();
  CQxReverbEngine(const CQxReverbEngine&) = delete;
  CQxReverbEngine& operator=(const CQxReverbEngine&) = delete;

  // Keeps the pointer; channels and rate are read from it at every parameter update.
  void SetFormat(const WAVEFORMATEX* format) { format_ = format; }
  const WAVEFORMATEX* Format() const { return format_; }

  // New stream: rebuilds from `p` in mode 0 and clears the stream-touched and asleep marks.
  HRESULT InitialiseStream(const ReverbParams& p);
  // Rebuild when one is asked for (all rings new and zero), else re-derive gains and filters with
  // no memory moving. `mode`: 0 after a discontinuity, 1 following block, 2 tail block.
  HRESULT UpdateParameters(const ReverbParams& p, int mode);
  // Setters may ask for a rebuild; the streaming path overwrites the request before its updates.
  void SetNeedsRebuild(bool on) { needsRebuild_.store(on, std::memory_order_relaxed); }
  bool NeedsRebuild() const { return needsRebuild_.load(std::memory_order_relaxed); }

  // One per sample form: reads the parameters from `source`, applies them when needed, runs the
  // tail counters and rewrites *frames interleaved frames in place. *frames becomes the count
  // processed. Returns 1 (S_FALSE) when the tail is over or the gate is asleep, else 0, or a
  // failure of the parameter update.
  int ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames, int32_t tailRequest,
                  IQxReverbParamSource& source);
  int ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames, int32_t tailRequest,
                   IQxReverbParamSource& source);
  int ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames, int32_t tailRequest,
                   IQxReverbParamSource& source);
  int ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames, int32_t tailRequest,
                     IQxReverbParamSource& source);
  int ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames, int32_t tailRequest,
                     IQxReverbParamSource& source);

  // Read-outs for the transform and tests.
  const ReverbChannel& Channel(int c) const { return channels_[c]; }
  int32_t CombCount() const { return combCount_; }
  int32_t BassOn() const { return bassOn_; }
  int32_t HighOn() const { return highOn_; }
  int32_t Bypass() const { return bypass_; }
  double InputGain() const { return inputGain_; }
  double PoleA() const { return poleA_; }
  double PoleB() const { return poleB_; }
  // Weight of tap i (after ordering) on side 0 (left) or 1 (right).
  double EarlyGain(int tap, int side) const { return earlyGain_[tap][side]; }
  // Delay of tap i in samples: the distance from its read position back to the writer.
  uint32_t EarlyTapDelay(int tap) const;
  uint32_t PreDelayLength() const;
  double EarlyOutGain() const { return earlyOutGain_; }
  double ReverbOutGain() const { return reverbOutGain_; }
  double DryOutGain() const { return dryOutGain_; }
  int32_t TailTotal() const { return tailTotal_; }
  int32_t TailLeft() const { return tailLeft_; }
  int32_t SilenceLeft() const { return silenceLeft_; }
  bool Applied() const { return applied_; }
  bool Asleep() const { return asleep_; }
  bool StreamTouched() const { return streamTouched_; }
  bool FastStereo() const { return fastStereo_; }

 private:
  template <class Form>
  int ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames, int32_t tailRequest,
                   IQxReverbParamSource& source);
  template <class Form>
  void RunStereo(typename Form::Sample* buf, uint32_t count);
  template <class Form>
  void RunChannels(typename Form::Sample* buf, uint32_t channels, uint32_t count);
  template <class Form, bool Bass>
  void RunStereoPlain(typename Form::Sample* buf, uint32_t count);
  template <class Form, bool Bass>
  void RunStereoFast(typename Form::Sample* buf, uint32_t count);
  template <class Form, bool Bass>
  void RunChannel(ReverbChannel& ch, typename Form::Sample* buf, uint32_t stride, uint32_t count);

  // False when delay memory cannot be had.
  bool Rebuild(const ReverbParams& p, const ReverbModeRow& row, const ReflectionRow& style,
               uint32_t channels, double fs, bool resetHigh, bool resetBass);
  void SetOutputGains(const ReverbParams& p);
  void SetTail(const ReverbParams& p, double fs);
  // Feedback gain and length of every comb in use, from `row`; memory is not touched.
  void TuneCombs(const ReverbModeRow& row, double T, uint32_t channels, double fs);
  void DesignOnePole(const ReverbParams& p, double fs);
  void DesignBass(const ReverbParams& p, uint32_t channels, double fs, bool reset);
  void FreeMemory();

  const WAVEFORMATEX* format_ = nullptr;
  ReverbChannel channels_[kMaxChannels];
  uint32_t builtChannels_ = 0;  // channel count the rings were laid out for
  int32_t combCount_ = 0;
  int32_t bassOn_ = 0;
  int32_t highOn_ = 0;
  int32_t bypass_ = 0;
  double inputGain_ = 0.0;
  double poleB_ = 0.0;  // input weight of the one-pole
  double poleA_ = 0.0;  // state weight
  double earlyGain_[3][2] = {};
  double earlyOutGain_ = 0.0;
  double reverbOutGain_ = 0.0;
  double dryOutGain_ = 0.0;
  int32_t tailTotal_ = 0;
  int32_t tailLeft_ = 0;
  int32_t silenceLeft_ = 0;
  std::atomic<bool> needsRebuild_{true};
  bool streamTouched_ = true;
  bool applied_ = false;
  bool asleep_ = false;
  bool fastStereo_ = false;
};

// Orders three taps by two compare-and-swaps (0 with 1, then 1 with 2), moving each tap's gain
// pair with it. There is no third comparison: the last tap ends up the longest, the first two
// may stay out of order.
void QxReverbOrderTaps(int32_t taps[3], double gains[3][2]);
