// Pitch Shift's resampler: reads interleaved audio at a step of ResampleRatio input frames per
// output frame through a table-driven windowed-sinc (or linear) kernel, in double precision.
#pragma once
#include <cstdint>
#include <cstring>
#include <memory>

#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "platform/com/hresult.h"

inline constexpr int32_t QX_RESAMPLE_MAX_CHANNELS = 32;
// Entries allocated for the half kernel; 0 to 4000 are built, the rest stay zero.
inline constexpr int32_t QX_KERNEL_TABLE_SIZE = 4003;
inline constexpr int32_t QX_KERNEL_TABLE_STEPS = 4000;
// The value of pi the kernel and the anti-alias design are built with. It is short of the true
// value in the eleventh digit, and the tables follow it.
inline constexpr double QX_RESAMPLE_PI = 3.14159265356;
// Steps above this are refused (Resample produces nothing): beyond it the frame counters could
// no longer hold the distance between two output positions.
inline constexpr double QX_RESAMPLE_MAX_RATIO = 1048576.0;

// Kernel length and table density for an Accuracy value. 1 is linear over 2 frames, 3 is a sinc
// over 15; 2 and anything outside 1 to 3 are a sinc over 9.
struct QxKernelShape {
  int32_t TapCount = 9;
  int32_t HalfTaps = 4;
  double TableStep = 800.0;  // table entries per input frame
};
QxKernelShape QxResample_KernelShape(int32_t accuracy);

// Builds the half kernel for `tapCount` / `halfTaps` into `table` (QX_KERNEL_TABLE_SIZE entries,
// expected zeroed): entry i is the kernel at i / TableStep input frames from the centre.
void QxResample_BuildKernel(int32_t tapCount, int32_t halfTaps, double* table);

// The sample form of the intermediate buffer that feeds the splice engine when the duration is
// preserved: 64-bit floats for streams the splice engine works on in doubles, else 32-bit floats.
QxSpliceForm QxResample_IntermediateForm(QxSpliceForm streamForm);

// One resampler. The caller binds the input and output forms, prepares the kernel, sets
// ResampleRatio, calls StartUp at the first block after a discontinuity and then Resample per
// block. Runs on one thread and takes no lock.
class CQxResampler {
 public:
  CQxResampler() = default;
  CQxResampler(const CQxResampler&) = delete;
  CQxResampler& operator=(const CQxResampler&) = delete;

  // Selects the read and write routines: input in `inputForm`, output in `outputForm` (the stream
  // form, or QxResample_IntermediateForm of it). E_INVALIDARG for channels outside 1 to 32 or an
  // unknown form; the previous binding then stays.
  HRESULT SetForms(QxSpliceForm inputForm, QxSpliceForm outputForm, int32_t channels);
  // Allocates the kernel table and the history rings and builds the kernel for `accuracy`.
  // Position counters, FramesToRead and HistoryIndex are reset. E_OUTOFMEMORY leaves nothing
  // allocated.
  HRESULT PrepareResampler(int32_t accuracy);
  // First block after a discontinuity: positions the history so that the first output frame is
  // centred on the first input frame that follows. The history is cleared.
  void StartUp();
  // Zeroes InputPos, OutputPos and OutputCount.
  void ResetPositions();
  // `inFrames` and `outFrames` hold capacities on entry and the frames consumed and produced on
  // return (a null pointer counts as 0). Returns 0. Nothing is consumed or produced before
  // SetForms and PrepareResampler, or while ResampleRatio is not a number in (0, QX_RESAMPLE_MAX_RATIO].
  int32_t Resample(const void* input, int32_t* inFrames, void* output, int32_t* outFrames);
  // Frees the kernel table and the history.
  void Free();

  bool Prepared() const { return KernelTable != nullptr; }
  QxSpliceForm InputForm() const { return m_inputForm; }
  QxSpliceForm OutputForm() const { return m_outputForm; }
  int32_t Channels() const { return m_channels; }

  int32_t Accuracy = 2;
  int32_t TapCount = 9;
  int32_t HalfTaps = 4;
  double TableStep = 800.0;
  int32_t HistoryIndex = 0;   // ring position of the newest frame; moves downward
  int32_t FramesToRead = 0;   // input frames still needed before the next output frame
  double InputPos = 0.0;      // input frames read, offset by the start-up
  double OutputPos = 0.0;     // wanted read position, in input frames
  int32_t OutputCount = 0;    // output frames since the last reset; before it would overflow it
                              // returns to 0 and InputPos moves back by the same distance
  double ResampleRatio = 1.0;

  std::unique_ptr<double[]> KernelTable;
  // Frame-major: ring position p of channel c is at p x QX_RESAMPLE_MAX_CHANNELS + c. Each frame
  // is stored twice, at p and p + TapCount, so the taps read forward without wrapping.
  std::unique_ptr<double[]> History;

  // Value of channel `c` at ring position `pos` (0 to TapCount - 1).
  double HistoryAt(int32_t pos, int32_t c) const {
    return History[static_cast<size_t>(pos) * QX_RESAMPLE_MAX_CHANNELS + c];
  }

 private:
  using RunFn = void (*)(CQxResampler&, const unsigned char*, int32_t, unsigned char*, int32_t,
                         int32_t*, int32_t*);
  void SelectRun();
  template <QxSpliceForm In, QxSpliceForm Out>
  RunFn PickRun() const;

  QxSpliceForm m_inputForm = QxSpliceFloat64;
  QxSpliceForm m_outputForm = QxSpliceFloat64;
  int32_t m_channels = 0;
  size_t m_inFrameBytes = 0;
  size_t m_outFrameBytes = 0;
  RunFn m_run = nullptr;

  template <QxSpliceForm In, QxSpliceForm Out, int32_t Ch, bool Linear>
  static void Run(CQxResampler& r, const unsigned char* input, int32_t inCap,
                  unsigned char* output, int32_t outCap, int32_t* consumed, int32_t* produced);
};

// ---------------------------------------------------------------------------------------------
// Sample conversion shared by the resampler and the anti-alias filter

// Size in bytes of one sample of `form`; 0 for an unknown form.
uint32_t QxResample_SampleBytes(QxSpliceForm form);

// One sample of form F as a double: PCM scaled to -1 .. 1 (8-bit is offset binary), floats as
// they are. Host buffers need not be aligned, so samples go through memcpy.
template <QxSpliceForm F>
inline double QxResample_Load(const unsigned char* p) {
  if constexpr (F == QxSplicePcm8) {
    return static_cast<double>(static_cast<int32_t>(*p) - 128) * 0.0078125;
  } else if constexpr (F == QxSplicePcm16) {
    int16_t v;
    std::memcpy(&v, p, sizeof v);
    return static_cast<double>(v) * 3.0517578125e-5;
  } else if constexpr (F == QxSplicePcm32) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return static_cast<double>(v) * 4.656612873077393e-10;
  } else if constexpr (F == QxSpliceFloat32) {
    float v;
    std::memcpy(&v, p, sizeof v);
    return static_cast<double>(v);
  } else {
    double v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
}

// Scales, limits and rounds to nearest, ties to even (the current rounding mode); NaN gives 0.
// Within the limits adding and taking away 1.5 x 2^52 rounds exactly as nearbyint would.
inline int32_t QxResample_Quantise(double v, double scale, double lo, double hi) {
  v *= scale;
  if (!(v == v)) v = 0.0;
  if (v < lo) v = lo;
  if (v > hi) v = hi;
  constexpr double kRound = 6755399441055744.0;
  return static_cast<int32_t>((v + kRound) - kRound);
}

// Stores a double as one sample of form F: PCM scaled, limited and rounded; floats not limited.
template <QxSpliceForm F>
inline void QxResample_Store(unsigned char* p, double v) {
  if constexpr (F == QxSplicePcm8) {
    *p = static_cast<unsigned char>(QxResample_Quantise(v, 128.0, -128.0, 127.0) + 128);
  } else if constexpr (F == QxSplicePcm16) {
    const auto s = static_cast<int16_t>(QxResample_Quantise(v, 32768.0, -32768.0, 32767.0));
    std::memcpy(p, &s, sizeof s);
  } else if constexpr (F == QxSplicePcm32) {
    const int32_t s = QxResample_Quantise(v, 2147483648.0, -2147483648.0, 2147483647.0);
    std::memcpy(p, &s, sizeof s);
  } else if constexpr (F == QxSpliceFloat32) {
    const float s = static_cast<float>(v);
    std::memcpy(p, &s, sizeof s);
  } else {
    std::memcpy(p, &v, sizeof v);
  }
}
