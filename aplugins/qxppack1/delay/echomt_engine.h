// Multi-Tap Delay's host-neutral DSP core: up to eight modulated taps off one delay line per channel,
// a one-pole low pass on the tap sum, feedback into the line, and the parameter record it runs from.
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>

#include "aplugins/qxppack1/delay/echomt_params.h"
#include "aplugins/qxppack1/frame/run_mode.h"
#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

class CQxEchomtEngine {
 public:
  static constexpr int kMaxChannels = 32;
  static constexpr int kMaxTaps = QX_ECHOMT_TAPS;
  // Frames whose tap positions are worked out together before the channels run over them.
  static constexpr uint32_t kChunkFrames = 256;

  // The record starts at its defaults; the first Start designs from scratch.
  CQxEchomtEngine();
  ~CQxEchomtEngine();
  CQxEchomtEngine(const CQxEchomtEngine&) = delete;
  CQxEchomtEngine& operator=(const CQxEchomtEngine&) = delete;

  // Keeps the pointer; the filter owns the record and may rewrite it while stopped.
  void SetFormat(const WAVEFORMATEX* format) { format_ = format; }
  const WAVEFORMATEX* Format() const { return format_; }

  // The parameter record and its flags, guarded by Lock(). SetParams clamps every field but
  // lowPassOn, stores the result whatever it was, and returns E_FAIL when anything was clamped.
  // SetField clamps and stores only a value that differs.
  void GetParams(EchomtParams* out);
  HRESULT SetParams(const EchomtParams& record);
  int32_t GetField(int field);
  void SetField(int field, int32_t value);
  // Unsaved changes, for persistence.
  bool Dirty();
  void SetDirty(bool dirty);
  std::recursive_mutex& Lock() { return lock_; }

  // Stream start with the format connected: snapshot and design afresh.
  HRESULT Start();
  // Frees every line; the next block or Start designs again.
  void Stop();
  // The next ordinary block is treated as following a discontinuity (a host's reset).
  void RequestFresh() { freshPending_ = true; }

  // One per sample form: `tailOnly` is the sample's tail-request flag. Rewrites *frames
  // interleaved frames in place and leaves in *frames how many were given. Returns 1 when the
  // tail has run out, else 0, or E_OUTOFMEMORY when a line could not be had.
  int ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames, int32_t tailOnly);
  int ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames, int32_t tailOnly);
  int ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames, int32_t tailOnly);
  int ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames, int32_t tailOnly);
  int ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames, int32_t tailOnly);

  // Derived state, for tests and the page's read-outs.
  int32_t LineFrames() const { return lineFrames_; }
  int32_t LastIndex() const { return lastIndex_; }
  int32_t WriteIndex() const { return writeIndex_; }
  int32_t ReadIndex(int tap) const { return readIndex_[tap]; }
  int32_t TailLeft() const { return tailLeft_; }
  int32_t TailRequestLeft() const { return tailRequestLeft_; }
  double FeedbackScale() const { return feedbackScale_; }
  double TapLeftGain(int tap) const { return tapLeftGain_[tap]; }
  double TapRightGain(int tap) const { return tapRightGain_[tap]; }
  double TapSwing(int tap) const { return tapSwing_[tap]; }
  double WetLin() const { return wetLin_; }
  double DryLin() const { return dryLin_; }
  double InputLin() const { return inputLin_; }
  double LowPassA() const { return lowPassA_; }
  double LowPassB() const { return lowPassB_; }
  double LfoStep() const { return lfoStep_; }
  double LfoPhase() const { return lfoPhase_; }
  bool DesignValid() const { return designValid_; }
  bool TailDone() const { return tailDone_; }
  bool Started() const { return started_; }
  const double* Line(int channel) const { return line_[channel]; }

 private:
  struct TapRead {
    int32_t k;   // nearer slot
    int32_t k2;  // the slot one frame older, wrapped one short
    double f;    // weight of k2
  };

  template <class Form>
  int ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames, int32_t tailOnly);
  template <class Form>
  void RunChannel(typename Form::Sample* buf, uint32_t channels, uint32_t count, int c);
  template <class Form>
  void RunStereo(typename Form::Sample* buf, uint32_t count, const double* sums);
  // Still taps whose reads over the next `count` frames all lie clear of the slots those frames
  // write: their sums can be taken for the whole chunk before any frame runs.
  bool StillTapsClear(uint32_t count) const;
  // The plan's work for such a chunk in stereo: advances the oscillator phase and the read and
  // write positions as Plan does, and leaves each frame's left and right tap sums in `sums`.
  void SumStillTaps(uint32_t count, double* sums);
  // Advances the oscillator, the read and the write positions over `count` frames, keeping where
  // each frame reads and writes; every channel then runs over the same plan.
  void Plan(uint32_t count);

  // Copies the record for the next block; returns the change flag and clears it.
  bool TakeSnapshot();
  // Chooses between the light update and the design; `keep` is false at setup and after a
  // discontinuity.
  HRESULT Update(bool keep, QxRunMode mode);
  HRESULT Design(bool keep);
  void Light();
  bool LinesReady() const;
  void FreeLines();

  const WAVEFORMATEX* format_ = nullptr;

  // Guarded by lock_.
  std::recursive_mutex lock_;
  EchomtParams record_;
  bool changed_ = true;
  bool dirty_ = false;
  // Counts the sets that need a design, so a design clears needsDesign_ only when no such set
  // came in after the snapshot it ran from.
  uint64_t designSerial_ = 0;
  uint64_t snapSerial_ = 0;
  // Set by the setters under the lock and read at the block's update, which the streaming thread
  // alone runs.
  std::atomic<bool> needsDesign_{true};

  // The streaming thread's alone from here on.
  EchomtParams p_;  // the snapshot the DSP runs from
  uint32_t channels_ = 0;
  double* line_[kMaxChannels] = {};
  int32_t lineFrames_ = 0;
  int32_t lastIndex_ = -1;
  int32_t writeIndex_ = 0;
  int32_t readIndex_[kMaxTaps] = {};
  int32_t taps_ = 0;  // taps in use at the last design
  double tapSwing_[kMaxTaps] = {};
  double tapOffset_[kMaxTaps] = {};
  double tapLeftGain_[kMaxTaps] = {};
  double tapRightGain_[kMaxTaps] = {};
  bool modulated_ = false;  // some tap in use swings; otherwise the sine can be skipped
  double feedbackScale_ = 0.0;
  double inputLin_ = 0.0, dryLin_ = 0.0, wetLin_ = 0.0;
  double lowPassA_ = 0.0, lowPassB_ = 1.0;
  double inputState_[kMaxChannels] = {};
  double outputState_[kMaxChannels] = {};
  double lfoPhase_ = 0.0;
  double lfoStep_ = 0.0;
  int32_t tailLeft_ = 0;
  int32_t tailRequestLeft_ = 0;
  bool designValid_ = false;
  bool started_ = true;
  bool tailDone_ = false;
  bool freshPending_ = false;

  TapRead plan_[kChunkFrames][kMaxTaps];
  int32_t planWrite_[kChunkFrames];
};
