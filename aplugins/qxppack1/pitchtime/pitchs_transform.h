// CQxPitchsTransform: Pitch Shift's parameters, change flags and notification windows, and its
// DSP chain: the in-place anti-alias filter, the resampler and, for preserved duration, a splice
// engine of its own that stretches the resampled audio back to the input's length.
#pragma once
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "aplugins/qxppack1/frame/persist.h"
#include "aplugins/qxppack1/pitchtime/antialias.h"
#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"
#include "aplugins/qxppack1/pitchtime/prop_plumbing.h"
#include "aplugins/qxppack1/pitchtime/resampler.h"
#include "aplugins/qxppack1/pitchtime/splice_engine.h"

struct QxPitchsPreset {
  uint32_t Name;  // string number of the preset's name
  PitchParams Params;
};
extern const QxPitchsPreset g_PitchsPresets[];
extern const uint32_t g_PitchsPresetCount;
extern const QxEffectTables g_PitchsTables;

// Ratio as the page computes it from the user's values: 2 ^ ((Cents / 1000 + Semitones) / 12).
double QxPitchs_RatioFor(int32_t semitones, int32_t cents);
// The whole-number rate the stream is read at: sampleRate / ratio, truncated, held to at least 1
// (and to the 32-bit range) so that the division after it never meets 0.
uint32_t QxPitchs_VirtualRate(uint32_t sampleRate, double ratio);
// sampleRate / VirtualRate, held to 0.5 or more when the duration is preserved.
double QxPitchs_ResampleRatio(uint32_t sampleRate, double ratio, bool preserveDuration);

// The musical equivalent the page shows: a word, an interval and a sign character, formatted with
// "%s %s %c". All three empty (the sign a terminator, so the text is two blanks) near no shift.
struct QxPitchsInterval {
  const char16_t* Word;
  const char16_t* Interval;
  char16_t Sign;
};
QxPitchsInterval QxPitchs_MusicalParts(int32_t semitones, int32_t cents);
std::u16string QxPitchs_MusicalEquivalent(int32_t semitones, int32_t cents);

// Frames of the buffer between the resampler and the splice engine.
inline constexpr int32_t QX_PITCHS_INTERMEDIATE_FRAMES = 2048;

enum QxPitchsFlag : int32_t {
  PitchsNewRun = 0,    // first block after a discontinuity
  PitchsContinue = 1,  // the run goes on
  PitchsFlush = 2,     // end of stream
};

class CQxPitchsTransform : public CQxPropPlumbing<IQxPitchsProp> {
 public:
  CQxPitchsTransform();
  CQxPitchsTransform(const CQxPitchsTransform&) = delete;
  CQxPitchsTransform& operator=(const CQxPitchsTransform&) = delete;

  // IQxPitchsProp (IUnknown, GetFormat and GetSampleRate come from the filter; RegisterWindow and
  // the licence slots from the plumbing).
  HRESULT GetParams(PitchParams* record) override;
  HRESULT SetParams(const PitchParams* record) override;
  HRESULT GetSemitones(int32_t* value) override;
  HRESULT SetSemitones(int32_t value) override;
  HRESULT GetCents(int32_t* value) override;
  HRESULT SetCents(int32_t value) override;
  HRESULT GetAccuracy(int32_t* value) override;
  HRESULT SetAccuracy(int32_t value) override;
  HRESULT GetPreserveDuration(int32_t* value) override;
  HRESULT SetPreserveDuration(int32_t value) override;
  HRESULT GetMode(int32_t* value) override;
  HRESULT SetMode(int32_t value) override;
  HRESULT GetRatio(double* value) override;
  HRESULT SetRatio(double value) override;
  HRESULT GetAntiAlias(int32_t* value) override;
  HRESULT SetAntiAlias(int32_t value) override;
  HRESULT GetInitialTime(double* value) override;
  HRESULT SetInitialTime(double value) override;

  // ---- DSP, streaming thread only ----

  // Binds a plain PCM (8, 16, 32) or IEEE-float (32, 64) format and runs full initialisation.
  // E_FAIL for any other format; a failed allocation gives E_OUTOFMEMORY and the next call tries
  // again.
  HRESULT PrepareStream(const WAVEFORMATEX& format);
  // Top of Receive: takes the snapshot, re-initialises at a discontinuity after processed audio or
  // configures when something changed, then filters `frames` input frames in place when the
  // anti-alias filter is in use.
  HRESULT PrepareBlock(bool discontinuity, void* samples, int32_t frames);
  // `inFrames` and `outFrames` hold capacities on entry and the frames consumed and produced on
  // return. S_OK, S_FALSE (1) when a flush has nothing more to give or the length correction ended
  // the stream, or a failure. LastCallAdvanced() tells whether the call moved anything inside.
  HRESULT Process(int32_t flag, const void* input, int32_t* inFrames, void* output, int32_t* outFrames);
  // Frees the history, the kernel table, the splice buffers and the intermediate buffer.
  void ReleaseStream();
  bool LastCallAdvanced() const { return m_advanced; }

  // State for tests and the filter.
  bool Prepared() const { return m_prepared; }
  bool FilterActive() const { return m_filterOn; }
  uint32_t VirtualRate() const { return m_virtualRate; }
  double ResampleRatio() const { return m_resampleRatio; }
  int64_t TotalIn() const { return TotalIn_; }
  int64_t TotalOut() const { return TotalOut_; }
  const CQxResampler& Resampler() const { return m_resampler; }
  const CQxSpliceCore<float>& Splice32() const { return m_splice32; }
  const CQxSpliceCore<double>& Splice64() const { return m_splice64; }
  const CQxAntiAlias& AntiAliasFilter() const { return m_filter; }

 private:
  struct Snapshot {
    int32_t Accuracy = 2;
    int32_t PreserveDuration = 0;
    int32_t Mode = 0;
    int32_t AntiAlias = 0;
    double Ratio = 1.0;
  };
  bool TakeSnapshot();
  HRESULT Configure();
  HRESULT FullInit();
  template <typename T>
  HRESULT ProcessPreserved(CQxSpliceCore<T>& core, bool flush, const void* input, int32_t inCap,
                           void* output, int32_t outCap, int32_t* consumed, int32_t* produced);

  // Parameters, under lock_.
  PitchParams params_{};

  // DSP state.
  Snapshot m_snap;
  QxSpliceForm m_form = QxSplicePcm16;
  uint32_t m_sampleRate = 0;
  int32_t m_channels = 0;
  bool m_prepared = false;
  bool m_configured = false;
  bool m_rebuildPending = true;
  bool m_flushed = false;        // a flush ran; the next run starts afresh
  bool m_startUpPending = true;  // the resampler starts up at the next block
  bool m_workDone = false;
  bool m_advanced = false;
  bool m_filterOn = false;
  bool m_preserve = false;       // as configured
  uint32_t m_virtualRate = 0;
  double m_resampleRatio = 1.0;
  CQxResampler m_resampler;
  CQxAntiAlias m_filter;
  CQxSpliceCore<float> m_splice32{QxSpliceLastChunk::Unscaled};
  CQxSpliceCore<double> m_splice64{QxSpliceLastChunk::Unscaled};
  std::unique_ptr<unsigned char[]> IntermediateBuffer;
  int32_t IntermediateCapacity = 0;
  int32_t IntermediateFrames = 0;  // valid frames
  int32_t IntermediatePos = 0;     // frames the splice engine has taken
  int64_t TotalIn_ = 0;
  int64_t TotalOut_ = 0;
};
