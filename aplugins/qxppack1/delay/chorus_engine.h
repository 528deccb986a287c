// Chorus's host-neutral DSP core: up to three modulated delay voices in series, each with its own
// line, sine oscillator and feedback loop with a one-pole low pass, around input and dry gains.
#pragma once
#include <atomic>
#include <cstdint>

#include "aplugins/qxppack1/delay/chorus_params.h"
#include "aplugins/qxppack1/frame/sample_form.h"
#include "aplugins/qxppack1/frame/tempo_record.h"
#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

// Bits of the engine's update request.
enum QxChorusUpdate : uint32_t {
  QX_CHORUS_LIGHT = 1,     // recompute gains, period and filter only
  QX_CHORUS_DESIGN = 2,    // recompute everything, read points included
  QX_CHORUS_CLEAR = 4,     // with a design: clear the lines and restart the write points
};

// The two ring frames a read position falls between: i is the floor of p (the -0.499999985 bias
// tolerates a fraction minutely below a whole number) and f the distance past it. A position that
// rounds up to the ring's length is frame 0 of the ring.
inline void QxChorusReadPoint(double p, int32_t n, int32_t* i, int32_t* j, double* f) {
  int32_t k = QxRoundNearestEven(p - 0.499999985);
  *f = p - k;
  if (k == n) k = 0;
  *i = k;
  *j = k + 1 == n ? 0 : k + 1;
}

class CQxChorusEngine {
 public:
  static constexpr int kVoices = 3;
  static constexpr int kMaxChannels = 32;
  // Longest oscillator period, in frames, whose sines a voice keeps (2 MiB a voice); longer
  // periods call the sine directly.
  static constexpr uint32_t kSineCacheFrames = 1u << 18;

  CQxChorusEngine();
  ~CQxChorusEngine();
  CQxChorusEngine(const CQxChorusEngine&) = delete;
  CQxChorusEngine& operator=(const CQxChorusEngine&) = delete;

  // Keeps the pointer; the filter owns the record.
  void SetFormat(const WAVEFORMATEX* format);
  const WAVEFORMATEX* Format() const { return format_; }

  // Sizes the lines from the rate (0.2 s plus 100 frames), allocates them zero-filled, restarts
  // write points, oscillators and filters and asks for a clearing design. E_OUTOFMEMORY on failure.
  HRESULT Allocate();
  // Frees the lines; the length stays remembered.
  void Stop();

  // The update before a span. keepMemory false (setup, discontinuity) forces a clearing design.
  // `tempo` null means no tempo information at all. S_OK when the last design succeeded.
  HRESULT Update(const ChorusParams& p, bool keepMemory, const QxTempoRecord* tempo);

  // Written by the parameter setters from any thread.
  void RequestUpdate(uint32_t bits) { updateFlags_.fetch_or(bits, std::memory_order_relaxed); }
  void SetUpdateFlags(uint32_t bits) { updateFlags_.store(bits, std::memory_order_relaxed); }
  uint32_t UpdateFlags() const { return updateFlags_.load(std::memory_order_relaxed); }

  // One routine per sample form; each picks the mono, stereo or many-channel loop once per span.
  // Samples stay as they are while bypassed or without lines.
  void ProcessPcm8(uint8_t* buf, uint32_t frames);
  void ProcessPcm16(int16_t* buf, uint32_t frames);
  void ProcessPcm32(int32_t* buf, uint32_t frames);
  void ProcessFloat32(float* buf, uint32_t frames);
  void ProcessFloat64(double* buf, uint32_t frames);

  // Read-outs.
  bool DesignValid() const { return designValid_; }
  bool Bypassed() const { return bypassed_; }
  uint32_t DelayFrames() const { return delayFrames_; }
  uint32_t Channels() const { return channels_; }
  const double* Line(int v) const { return delayLine_[v]; }
  int32_t WriteIndex(int v) const { return writeIndex_[v]; }
  double ReadPosition(int v) const { return readPosition_[v]; }
  int32_t LfoCounter(int v) const { return lfoCounter_[v]; }
  double LfoPeriod(int v) const { return lfoPeriod_[v]; }
  double LfoStep(int v) const { return lfoStep_[v]; }
  double VoiceGain(int v) const { return voiceGain_[v]; }
  double LeftGain() const { return leftGain_[0]; }
  double RightGain() const { return rightGain_[0]; }
  double InputLin() const { return inputLin_; }
  double DryLin() const { return dryLin_; }
  double FeedbackLin() const { return feedbackLin_; }
  double LowPassA() const { return lowPassA_; }
  double LowPassB() const { return lowPassB_; }
  double LowPassState(int v, int c) const { return lowPassState_[v][c]; }
  double BaseDelay() const { return baseDelay_; }
  double ModAmplitude() const { return modAmplitude_; }
  double LfoSeconds() const { return lfoSeconds_; }
  int32_t VoiceCount() const { return voiceCount_; }

 private:
  // Mono, stereo, or three to 32 channels.
  enum Layout { kMono, kStereo, kMany };
  // A voice's oscillator values over one period, each the library's own sin(counter x step) for
  // its counter, stored the first time the counter passes it: values[0, filled) are known. The
  // memory is reserved with the lines and touched only as far as the period reaches.
  struct SineCache {
    double* values = nullptr;
    uint32_t filled = 0;
    uint32_t size = 0;      // frames worth keeping: the period, or 0 when it is too long
    double period = -1.0;   // what the values were taken for
    double step = 0.0;
  };

  void Design(const ChorusParams& p, bool clear, const QxTempoRecord* tempo);
  void LightUpdate(const ChorusParams& p, const QxTempoRecord* tempo);
  void Gains(const ChorusParams& p);
  void LowPass(const ChorusParams& p);
  double PeriodSeconds(const ChorusParams& p, const QxTempoRecord* tempo) const;
  void FreeLines();
  double Rate() const { return static_cast<double>(format_->nSamplesPerSec); }

  template <class Form>
  void Process(typename Form::Sample* buf, uint32_t frames);
  template <class Form, Layout L>
  void Run(typename Form::Sample* buf, uint32_t frames, bool integerForm);

  const WAVEFORMATEX* format_ = nullptr;
  uint32_t channels_ = 0;        // of the lines as allocated
  uint32_t delayFrames_ = 0;     // N
  double* delayLine_[kVoices] = {};
  SineCache sines_[kVoices];
  int32_t writeIndex_[kVoices] = {};
  double readPosition_[kVoices] = {};
  int32_t lfoCounter_[kVoices] = {};
  double lfoPeriod_[kVoices] = {};
  double lfoStep_[kVoices] = {};
  double voiceGain_[kVoices] = {};
  double voiceScale_[10] = {};
  double leftGain_[10] = {};
  double rightGain_[10] = {};
  double inputLin_ = 0.0;
  double dryLin_ = 0.0;
  double wet_ = 0.0;
  double feedbackLin_ = 0.0;
  double lowPassA_ = 0.0;
  double lowPassB_ = 1.0;
  alignas(16) double lowPassState_[kVoices][kMaxChannels] = {};
  double baseDelay_ = 0.0;
  double modAmplitude_ = 0.0;
  double lfoSeconds_ = 0.0;
  int32_t voiceCount_ = 1;
  bool bypassed_ = false;
  bool designValid_ = false;
  std::atomic<uint32_t> updateFlags_{QX_CHORUS_DESIGN | QX_CHORUS_CLEAR};
};
