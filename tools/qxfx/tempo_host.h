// qxfx as a tempo host: a context object with a tempo map, a meter map and a time converter built
// from --tempo, --meter and --tempo-map, handed to effects that answer IMfxSoftSynth.
#pragma once
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "aplugins/qxppack1/frame/mfx_interfaces.h"

// One line of a tempo map: a tempo or a meter from a position on.
struct QxfxTempoChange {
  bool meter = false;
  double at = 0.0;        // position, in seconds or in beats (quarter notes)
  bool inBeats = false;
  double bpm = 120.0;     // tempo changes
  int numerator = 4;      // meter changes
  int denominator = 4;
};

// The host's musical time: tempo and meter changes resolved to ticks, 960 to a quarter note.
// Reference counted; Create gives one reference.
class CQxfxTempoContext final : public IMfxTempoMap, public IMfxMeterMap, public IMfxTimeConverter {
 public:
  static constexpr int32_t kTicksPerQuarter = 960;

  // Starts at `changes`' entries at position 0, or else 120 bpm in 4/4, and adds the changes in
  // their order; each must lie at or after the one before, and a meter change must fall on the
  // start of a measure. `sampleRate` is what the converter counts samples in.
  static bool Create(const std::vector<QxfxTempoChange>& changes, uint32_t sampleRate, CQxfxTempoContext** out,
                     std::string* error);

  // IUnknown, shared by the three interfaces.
  HRESULT QueryInterface(REFIID riid, void** ppv) override;
  ULONG AddRef() override;
  ULONG Release() override;

  // IMfxTempoMap
  int32_t TicksToMsecs(MFX_TICKS ticks) override;
  MFX_TICKS MsecsToTicks(int32_t msecs) override;
  int32_t GetTicksPerQuarterNote() override { return kTicksPerQuarter; }
  int32_t GetTempoCount() override { return static_cast<int32_t>(tempi_.size()); }
  int32_t GetTempoIndexForTime(MFX_TICKS ticks) override;
  HRESULT GetTempoAt(int32_t index, MFX_TICKS* ticks, int32_t* bpm100) override;

  // IMfxMeterMap
  int32_t GetMeterCount() override { return static_cast<int32_t>(meters_.size()); }
  int32_t GetMeterIndexForTime(MFX_TICKS ticks) override;
  HRESULT GetMeterAt(int32_t index, int32_t* measure, int32_t* numerator, int32_t* denominatorPow2) override;
  MFX_TICKS MeasureToTicks(int32_t measure) override;

  // IMfxTimeConverter: ticks to the nearest sample; samples to the tick in force at that sample.
  HRESULT ConvertTime(MFX_TIME* time, int32_t toKind) override;

  double TicksToSeconds(double ticks) const;
  double SecondsToTicks(double seconds) const;
  uint32_t SampleRate() const { return rate_; }

 private:
  struct Tempo {
    MFX_TICKS tick;
    int32_t bpm100;
    double seconds;  // from tick 0 to this entry
  };
  struct Meter {
    int32_t measure;
    MFX_TICKS tick;
    int32_t numerator;
    int32_t pow2;
  };
  explicit CQxfxTempoContext(uint32_t rate) : rate_(rate) {}
  ~CQxfxTempoContext() = default;
  bool AddTempo(MFX_TICKS tick, double bpm, std::string* error);
  bool AddMeter(MFX_TICKS tick, int numerator, int denominator, std::string* error);
  static double TicksPerMeasure(const Meter& m);

  std::vector<Tempo> tempi_;
  std::vector<Meter> meters_;
  uint32_t rate_;
  std::atomic<long> refs_{1};
};

// The text form of a tempo map: one change a line, "tempo AT BPM" or "meter AT N/D", where AT is
// seconds ("1.5", "1.5s", "1500ms") or beats ("8b"); '#' starts a comment.
bool QxfxParseTempoMap(const std::string& text, std::vector<QxfxTempoChange>* out, std::string* error);
// "120", "97.5": a tempo in beats per minute from 1 to 999.
bool QxfxParseTempo(const std::string& text, double* bpm);
// "3/4": numerator 1 to 99, denominator a power of two from 1 to 64.
bool QxfxParseMeter(const std::string& text, int* numerator, int* denominator);

struct QxfxTempoOptions {
  double tempo = 0.0;      // --tempo, 0 when absent
  int numerator = 0;       // --meter, 0 when absent
  int denominator = 0;
  std::string mapFile;     // --tempo-map
  bool Any() const { return tempo > 0.0 || numerator > 0 || !mapFile.empty(); }
};

// With any tempo option given: builds the context at the input file's rate (44100 Hz when
// `inputPath` is empty, as for a page with no file), connects it to the
// filter through IMfxSoftSynth and starts playback at tick 0. A filter that does not answer
// IMfxSoftSynth is left alone (*connected false). On a mistake returns false with *error.
bool QxfxConnectTempo(IUnknown* filter, const QxfxTempoOptions& options, const std::string& inputPath,
                      bool* connected, std::string* error);
