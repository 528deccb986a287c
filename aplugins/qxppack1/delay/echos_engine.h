// Simple Delay's host-neutral DSP core: one recirculating delay line per channel with separate
// wet and dry gains, derived from the parameter record and an optional tempo record.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/delay/echos_params.h"
#include "aplugins/qxppack1/frame/run_mode.h"
#include "aplugins/qxppack1/frame/tempo_record.h"
#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

class CQxEchosEngine {
 public:
  static constexpr int kMaxChannels = 32;
  // Longest line; the tail counters are 32-bit signed, so a longer one is refused as out of memory.
  static constexpr uint32_t kMaxLineLength = 0x7FFFFFFFu;

  CQxEchosEngine();
  ~CQxEchosEngine();
  CQxEchosEngine(const CQxEchosEngine&) = delete;
  CQxEchosEngine& operator=(const CQxEchosEngine&) = delete;

  // Keeps the pointer; the filter owns the record and may rewrite it while stopped.
  void SetFormat(const WAVEFORMATEX* format);
  const WAVEFORMATEX* Format() const { return format_; }

  // Rederives gains, line length, decay span and feedback, and (re)builds the lines. `tempo` may
  // be null. Sets ParamsValid to !FAILED(result).
  HRESULT Apply(const EchosParams& p, QxRunMode mode, const QxTempoRecord* tempo);
  // `bypass` is the record's Bypass field. True: process the block. False: leave it alone; the
  // first bypassed block empties the lines.
  bool BypassGate(int32_t bypass);
  void ClearBypassLatch() { bypassLatched_ = false; }
  // Frees all line memory; LineLength stays remembered.
  void Stop();

  // One per sample form: rewrites *frames interleaved frames in place, leaves in *frames how many
  // were given, and returns 1 when the tail is over, else 0.
  int ProcessPcm8(QxRunMode mode, uint8_t* buf, uint32_t* frames, int32_t tailRequest);
  int ProcessPcm16(QxRunMode mode, int16_t* buf, uint32_t* frames, int32_t tailRequest);
  int ProcessPcm32(QxRunMode mode, int32_t* buf, uint32_t* frames, int32_t tailRequest);
  int ProcessFloat32(QxRunMode mode, float* buf, uint32_t* frames, int32_t tailRequest);
  int ProcessFloat64(QxRunMode mode, double* buf, uint32_t* frames, int32_t tailRequest);

  double DelayGain() const { return delayGain_; }
  double DryGain() const { return dryGain_; }
  double Feedback() const { return feedback_; }
  uint32_t LineLength() const { return lineLength_; }
  uint32_t DecaySpan() const { return decaySpan_; }
  int32_t TailFramesLeft() const { return tailFramesLeft_; }
  bool TailFinished() const { return tailFinished_; }
  bool ParamsValid() const { return paramsValid_; }
  void SetParamsValid(bool valid) { paramsValid_ = valid; }
  bool BypassLatched() const { return bypassLatched_; }
  uint32_t TailLeft(int channel) const;
  uint32_t WritePosition(int channel) const;

 private:
  HRESULT Rederive(const EchosParams& p, QxRunMode mode, const QxTempoRecord* tempo);
  template <class Form>
  int ProcessBlock(QxRunMode mode, typename Form::Sample* buf, uint32_t* frames,
                   int32_t tailRequest);
  uint32_t Channels() const;
  bool LinesReady(uint32_t channels) const;
  void FreeLines();
  void ResetTailFramesLeft();
  uint32_t FreshTailLeft() const;

  const WAVEFORMATEX* format_ = nullptr;
  double delayGain_ = 0.0;
  double dryGain_ = 0.0;
  double feedback_ = 0.0;
  uint32_t lineLength_ = 0;
  uint32_t decaySpan_ = 0;
  int32_t tailFramesLeft_ = 0;
  bool tailFinished_ = false;
  bool bypassLatched_ = false;
  bool paramsValid_ = false;
  uint32_t writePosition_[kMaxChannels] = {};
  uint32_t tailLeft_[kMaxChannels] = {};
  double* line_[kMaxChannels] = {};
};
