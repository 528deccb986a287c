// Time-stretch splice engine: a synchronised overlap-add splicer that changes the duration of
// interleaved audio without changing its pitch, in 32-bit or 64-bit float working precision.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/com/hresult.h"
#include "platform/com/wave_format.h"

// ---------------------------------------------------------------------------------------------
// Mode table

// One row of the splice mode table. Only windowMs, searchMs, searchStride, fadeMs and
// acceptPercent are read; the other fields are carried with the row unchanged.
struct SpliceMode {
  int32_t windowMs;       // analysis window length, milliseconds
  int32_t refValue;
  int32_t searchMs;       // search range, milliseconds
  int32_t searchStride;   // step in frames of both the lag search and the comparison
  int32_t fadeMs;         // cross-fade length, milliseconds
  int32_t reservedA;
  int32_t acceptPercent;  // early-accept threshold x 100
  int32_t reservedB;
  int32_t reservedC;
  int32_t reservedD;
};

inline constexpr int32_t QX_SPLICE_MODE_COUNT = 19;
extern const SpliceMode SpliceModeTable[QX_SPLICE_MODE_COUNT];
// The name of each mode as the user sees it.
extern const char16_t* const SpliceModeText[QX_SPLICE_MODE_COUNT];

// A stored Mode can come from an unchecked record; it is clamped to the nearest valid row so the
// stream keeps playing rather than failing every block.
int32_t QxSplice_ClampMode(int32_t mode);

// ---------------------------------------------------------------------------------------------
// Derived sizes

// Sizes in frames derived from a mode row and the sample rate.
struct QxSpliceSizes {
  int32_t WindowFrames = 0;
  int32_t OutputHop = 0;
  int32_t FadeFrames = 0;
  int32_t SearchRange = 0;
  int32_t SearchStride = 1;
  float AcceptFactor = 0.0f;
};

// Largest analysis window the engine accepts; beyond it the rate is not a real audio rate.
inline constexpr int64_t QX_SPLICE_MAX_WINDOW = int64_t{1} << 26;

// Fills `sizes` for `mode` (clamped) at `sampleRate`. E_FAIL when the rate gives a window of fewer
// than 2 frames (no splice could emit anything) or one larger than QX_SPLICE_MAX_WINDOW.
HRESULT QxSplice_ComputeSizes(int32_t mode, uint32_t sampleRate, QxSpliceSizes* sizes);
// OutputHop / ratio + 0.5, truncated, limited to 1 .. WindowFrames. A ratio of 0, below 0 or NaN
// can't reach a float-to-int conversion: it lands on one of the limits.
int32_t QxSplice_InputHop(int32_t outputHop, int32_t windowFrames, double ratio);
// Length of the last chunk of a flush: inputFill x ratio, truncated, limited to 0 .. windowFrames.
int32_t QxSplice_ScaledLastChunk(int32_t inputFill, double ratio, int32_t windowFrames);

// ---------------------------------------------------------------------------------------------
// Sample forms and the buffer interface

enum QxSpliceForm : int32_t {
  QxSplicePcm8 = 0,   // offset binary
  QxSplicePcm16 = 1,
  QxSplicePcm32 = 2,
  QxSpliceFloat32 = 3,
  QxSpliceFloat64 = 4,
};

// 32-bit PCM and 64-bit float streams work in doubles; the other three in floats.
bool QxSplice_FormIsDouble(QxSpliceForm form);
// Maps a plain PCM or IEEE-float wave format with 1 to 32 channels and a non-zero rate to its
// form; anything else is E_FAIL.
HRESULT QxSplice_FormFromWave(const WAVEFORMATEX& format, QxSpliceForm* form);

// Converters between a stream's samples and the working precision, `samples` samples at a time.
template <typename T>
using QxSpliceReadFn = void (*)(const void* src, T* dst, size_t samples);
template <typename T>
using QxSpliceWriteFn = void (*)(const T* src, void* dst, size_t samples);

template <typename T>
struct QxSpliceCodec {
  QxSpliceReadFn<T> Read = nullptr;
  QxSpliceWriteFn<T> Write = nullptr;
  uint32_t SampleBytes = 0;
};
// The float form matching T (Float32 for float, Float64 for double) is a plain copy, which is what
// a caller feeding the engine from its own working-precision buffer wants.
template <typename T>
QxSpliceCodec<T> QxSplice_Codec(QxSpliceForm form);

// Where the engine takes its input from and puts its output: interleaved frames of FrameBytes
// each, converted by Read / Write. Frames is what is available or what fits.
template <typename T>
struct QxSpliceSource {
  const void* Data = nullptr;
  int32_t Frames = 0;
  size_t FrameBytes = 0;
  QxSpliceReadFn<T> Read = nullptr;
};
template <typename T>
struct QxSpliceSink {
  void* Data = nullptr;
  int32_t Frames = 0;
  size_t FrameBytes = 0;
  QxSpliceWriteFn<T> Write = nullptr;
};

// ---------------------------------------------------------------------------------------------
// Lag search

// Scratch elements QxSplice_SearchLag needs for these sizes.
size_t QxSplice_SearchScratchSize(int32_t channels, int32_t searchRange, int32_t searchStride);

// Best lag at which `inputWindow` adds up with the tail at the front of `outputWindow`
// (interleaved, `channels` 1 to 32). Several lags are summed at once, each lag in its own lane and
// in the order of the plain loop, so the result is that of the plain loop bit for bit.
template <typename T>
int32_t QxSplice_SearchLag(const T* inputWindow, const T* outputWindow, int32_t channels,
                           int32_t searchRange, int32_t searchStride, float acceptFactor,
                           T* scratch);

// ---------------------------------------------------------------------------------------------
// The splicer in one working precision

// How the last chunk of a flush is sized: Time Stretch scales the remaining input by Ratio, the
// Pitch Shift copy emits it as it stands.
enum class QxSpliceLastChunk { Scaled, Unscaled };

// Buffers, sizes and running counters of one splicer, with its main loop. It knows nothing of
// parameters or stream formats: callers rebuild it, set its flags and hand it a source and a sink.
template <typename T>
class CQxSpliceCore : public QxSpliceSizes {
 public:
  explicit CQxSpliceCore(QxSpliceLastChunk lastChunk = QxSpliceLastChunk::Scaled)
      : LastChunk(lastChunk) {}
  CQxSpliceCore(const CQxSpliceCore&) = delete;
  CQxSpliceCore& operator=(const CQxSpliceCore&) = delete;

  // Full rebuild: takes the mode's row, derives every size, allocates zeroed buffers, builds the
  // fade table and resets InputFill, OutputPos, OutputPending and OutputChunk. Buffered audio is
  // dropped. Flags other than OutputPending are the caller's. On failure (E_OUTOFMEMORY, or E_FAIL
  // for an unusable rate) every buffer is freed and Allocated() is false.
  HRESULT Rebuild(int32_t mode, uint32_t sampleRate, int32_t channels, double ratio);
  // Ratio change without a rebuild: InputHop and RefillFrames only, buffered audio stays.
  void SetRatio(double ratio);
  // Runs the main loop over one source and one sink. Sets InputConsumed and OutputProduced.
  // Returns 1 when flushing has nothing more to give (or nothing is allocated), else 0.
  int32_t Splice(const QxSpliceSource<T>& in, const QxSpliceSink<T>& out);
  void Free();
  bool Allocated() const { return InputWindow != nullptr; }

  const QxSpliceLastChunk LastChunk;
  int32_t Mode = 0;         // row in use, after clamping
  uint32_t SampleRate = 0;
  int32_t Channels = 0;
  double Ratio = 1.0;       // output length over input length
  int32_t InputHop = 0;
  int32_t RefillFrames = 0;

  int32_t InputFill = 0;    // valid frames in InputWindow; negative once a flush has used them up
  int32_t OutputPos = 0;    // frames of the current chunk already written
  int32_t OutputChunk = 0;  // length of the current chunk
  int32_t InputConsumed = 0;
  int32_t OutputProduced = 0;
  bool OutputPending = false;
  bool FirstSplice = true;
  bool Flushing = false;
  bool TailDone = false;

  // WindowFrames x Channels samples each, and one fade value per frame.
  std::unique_ptr<T[]> InputWindow;
  std::unique_ptr<T[]> OutputWindow;
  std::unique_ptr<T[]> FadeTable;

 private:
  void BuildFadeTable();
  void OverlapAdd(int32_t lag);
  void AdvanceAfterChunk();

  std::unique_ptr<T[]> m_scratch;
  size_t m_windowSamples = 0;   // allocated length of each window
  size_t m_scratchSamples = 0;
};

extern template class CQxSpliceCore<float>;
extern template class CQxSpliceCore<double>;

// ---------------------------------------------------------------------------------------------
// Parameters

struct QxSpliceParams {
  int32_t Mode = 0;
  double Ratio = 1.0;
};

struct QxSpliceSnapshot {
  QxSpliceParams Params;
  bool Changed = false;   // something changed since the last snapshot
  bool Rebuild = false;   // the change needs a full rebuild (mode, or all parameters replaced)
};

// Where the engine reads its parameters from at each call. Snapshot copies them under the owner's
// lock and reads and clears both flags there; the engine keeps a rebuild request until it is met.
class IQxSpliceParamSource {
 public:
  virtual void Snapshot(QxSpliceSnapshot* snapshot) = 0;

 protected:
  ~IQxSpliceParamSource() = default;
};

// A ready-made source for hosts that hold nothing else: setters may run on any thread.
class CQxSpliceParamStore final : public IQxSpliceParamSource {
 public:
  void SetParams(const QxSpliceParams& params);  // always a rebuild
  void SetMode(int32_t mode);                    // a real change rebuilds
  void SetRatio(double ratio);                   // a real change only recomputes the hops
  QxSpliceParams Params() const;
  void Snapshot(QxSpliceSnapshot* snapshot) override;

 private:
  mutable std::mutex m_lock;
  QxSpliceParams m_params;
  bool m_changed = true;
  bool m_rebuild = true;
};

// ---------------------------------------------------------------------------------------------
// The engine as Time Stretch drives it

enum QxSpliceFlag : int32_t {
  SpliceNewRun = 0,    // first block after a discontinuity
  SpliceContinue = 1,  // the run goes on
  SpliceFlush = 2,     // end of stream: drain what is buffered
};

class CQxSpliceEngine {
 public:
  // `params` must outlive the engine; without one the engine runs mode 0 at ratio 1.0.
  explicit CQxSpliceEngine(IQxSpliceParamSource* params);
  CQxSpliceEngine(const CQxSpliceEngine&) = delete;
  CQxSpliceEngine& operator=(const CQxSpliceEngine&) = delete;

  // Binds a plain PCM (8, 16, 32 bits) or IEEE-float (32, 64 bits) format and runs full
  // initialisation. E_FAIL for any other format; a failed initialisation is returned as well, and
  // the next Process tries again.
  HRESULT Prepare(const WAVEFORMATEX& format);
  // `inFrames` and `outFrames` hold capacities on entry and the frames consumed and produced on
  // return; a null pointer counts as 0. Returns S_OK, S_FALSE (1) once a flush has nothing more to
  // give, E_FAIL before Prepare or after Release, E_INVALIDARG for another flag, E_POINTER for a
  // missing buffer with a non-zero count, or the failure of a rebuild (E_OUTOFMEMORY).
  HRESULT Process(int32_t flag, const void* input, int32_t* inFrames, void* output,
                  int32_t* outFrames);
  // Frees every buffer and unbinds the format.
  void Release();

  bool Prepared() const { return m_prepared; }
  QxSpliceForm Form() const { return m_form; }
  bool UsesDouble() const { return QxSplice_FormIsDouble(m_form); }
  const QxSpliceParams& Params() const { return m_params; }
  const CQxSpliceCore<float>& Core32() const { return m_core32; }
  const CQxSpliceCore<double>& Core64() const { return m_core64; }
  // Sizes of the active precision's splicer.
  const QxSpliceSizes& Sizes() const;

 private:
  bool TakeSnapshot();
  template <typename T>
  HRESULT Configure(CQxSpliceCore<T>& core);
  template <typename T>
  HRESULT FullInit(CQxSpliceCore<T>& core);
  template <typename T>
  HRESULT Run(CQxSpliceCore<T>& core, int32_t flag, const void* input, int32_t inCap, void* output,
              int32_t outCap, int32_t* consumed, int32_t* produced);
  template <QxSpliceForm F>
  HRESULT ProcessAs(int32_t flag, const void* input, int32_t inCap, void* output, int32_t outCap,
                    int32_t* consumed, int32_t* produced);

  using ProcessFn = HRESULT (CQxSpliceEngine::*)(int32_t, const void*, int32_t, void*, int32_t,
                                                 int32_t*, int32_t*);

  IQxSpliceParamSource* m_source;
  QxSpliceParams m_params;
  CQxSpliceCore<float> m_core32;
  CQxSpliceCore<double> m_core64;
  ProcessFn m_process = nullptr;
  QxSpliceForm m_form = QxSpliceFloat32;
  uint32_t m_sampleRate = 0;
  int32_t m_channels = 0;
  bool m_prepared = false;
  bool m_configured = false;
  bool m_rebuildPending = true;
  bool m_workDone = false;  // audio went in or out, or a flush ran, since the last initialisation
};
