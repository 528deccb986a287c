// The Python host's core, free of Python: one effect made through the module's class table, its
// presets, state and natural-unit parameters, and audio run through the same graph qxfx builds.
#pragma once
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "aplugins/qxppack1/params/param_view.h"
#include "platform/mediagraph/interfaces.h"

class CGraphRunner;
class CWavSource;
class CCollectSink;

// Interleaved audio in one of the four array forms (WavForm numbering: 1 int16, 3 int32,
// 4 float32, 5 float64).
struct PyAudio {
  int form = 0;
  int channels = 0;
  int rate = 0;
  const void* data = nullptr;  // frames * channels samples
  int64_t frames = 0;
};

// What the host says when something is wrong; the Python layer turns it into ValueError.
struct PyHostError {
  std::string message;
};

class PyEffect {
 public:
  // By command-line name or title ("reverb", "Pitch Shift"); throws PyHostError.
  explicit PyEffect(const std::string& name);
  ~PyEffect();

  const QxEffectView& View() const { return *view_; }
  bool InPlace() const;  // keeps its length, renders a tail, streams

  std::vector<std::string> Presets();
  // By name (whole, case aside) or index.
  void LoadPreset(const std::string& name);
  void LoadPreset(long index);

  const QxParamView& Param(const std::string& name) const;  // Python spelling or the view's
  double Get(const QxParamView& p);                          // natural units
  void Set(const QxParamView& p, double natural);
  void SetText(const QxParamView& p, const std::string& text);  // "-10 dB", an enumeration name

  std::vector<uint8_t> State();
  // Throws PyHostError when the bytes are not a state of this effect.
  void LoadState(const std::vector<uint8_t>& bytes);

  // One-shot: a fresh run of the whole array, the tail after it when asked (always for the two
  // effects that change length). Call without the interpreter lock; threads may share an effect.
  std::vector<uint8_t> Process(const PyAudio& in, bool tail);
  // Streaming, in-place effects only: blocks of one run, then the tail; Reset drops the run.
  std::vector<uint8_t> Stream(const PyAudio& block);
  std::vector<uint8_t> Flush();
  void Reset();
  bool Streaming() const { return stream_ != nullptr; }
  IBaseFilter* Filter() const { return filter_; }

 private:
  struct Run;
  void SetStored(const QxParamView& p, double stored);
  std::unique_ptr<Run> StartRun(const PyAudio& format);

  const QxEffectView* view_;
  IBaseFilter* filter_ = nullptr;  // holds the parameters; runs use fresh copies of it
  std::mutex lock_;                 // the stream, and reads and writes of the parameters
  std::unique_ptr<Run> stream_;
  int streamForm_ = 0, streamChannels_ = 0, streamRate_ = 0;
};

// One file through effects made from saved states, as `qxfx process IN OUT` runs it: OUT in the
// input's encoding (or its extension's container), written whole or not at all. Throws PyHostError.
struct PyFileReport {
  int64_t framesIn = 0, framesOut = 0;
  int rate = 0;
  double seconds = 0;
};
PyFileReport PyProcessFile(const std::string& in, const std::string& out, const std::vector<std::vector<uint8_t>>& states);

// The effect a state's header names, or null.
const QxEffectView* PyEffectOfState(const std::vector<uint8_t>& bytes);
// The Python spelling of a parameter name: "tapDelay[2]" is "tapDelay_2".
std::string PyParamName(const QxParamView& p);
