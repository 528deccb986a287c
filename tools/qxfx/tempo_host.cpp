// qxfx's tempo host: the tempo and meter maps of a run, their text form, and the connection to an
// effect that follows tempo.
#include "tools/qxfx/tempo_host.h"

#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tools/qxfx/file_checks.h"

namespace {
std::string Num(double v) {
  std::ostringstream s;
  s << v;
  return s.str();
}

bool ParseDouble(const std::string& s, double* v) {
  if (s.empty()) return false;
  char* end = nullptr;
  errno = 0;
  double r = std::strtod(s.c_str(), &end);
  if (errno || *end || !std::isfinite(r)) return false;
  *v = r;
  return true;
}

// "1.5", "1.5s", "1500ms", "8b"
bool ParsePosition(const std::string& s, double* at, bool* inBeats) {
  std::string n = s;
  double scale = 1.0;
  *inBeats = false;
  if (n.size() > 2 && n.compare(n.size() - 2, 2, "ms") == 0) {
    n.resize(n.size() - 2);
    scale = 0.001;
  } else if (n.size() > 1 && n.back() == 's') {
    n.pop_back();
  } else if (n.size() > 1 && n.back() == 'b') {
    n.pop_back();
    *inBeats = true;
  }
  double v = 0.0;
  if (!ParseDouble(n, &v) || v < 0.0) return false;
  *at = v * scale;
  return true;
}
}  // namespace

bool QxfxParseTempo(const std::string& text, double* bpm) {
  double v = 0.0;
  if (!ParseDouble(text, &v) || v < 1.0 || v > 999.0) return false;
  *bpm = v;
  return true;
}

bool QxfxParseMeter(const std::string& text, int* numerator, int* denominator) {
  size_t slash = text.find('/');
  if (slash == std::string::npos) return false;
  char* end = nullptr;
  long n = std::strtol(text.c_str(), &end, 10);
  if (end != text.c_str() + slash || n < 1 || n > 99) return false;
  std::string d = text.substr(slash + 1);
  long den = std::strtol(d.c_str(), &end, 10);
  if (d.empty() || *end || den < 1 || den > 64 || (den & (den - 1))) return false;
  *numerator = static_cast<int>(n);
  *denominator = static_cast<int>(den);
  return true;
}

bool QxfxParseTempoMap(const std::string& text, std::vector<QxfxTempoChange>* out, std::string* error) {
  std::istringstream in(text);
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    size_t hash = line.find('#');
    if (hash != std::string::npos) line.resize(hash);
    std::istringstream words(line);
    std::string kind, at, value, extra;
    if (!(words >> kind)) continue;
    const std::string where = "tempo map line " + std::to_string(number) + ": ";
    if (!(words >> at >> value) || (words >> extra) || (kind != "tempo" && kind != "meter")) {
      *error = where + "expected 'tempo AT BPM' or 'meter AT N/D', not '" + line + "'";
      return false;
    }
    QxfxTempoChange c;
    c.meter = kind == "meter";
    if (!ParsePosition(at, &c.at, &c.inBeats)) {
      *error = where + "the position '" + at + "' is not seconds (1.5, 1.5s, 1500ms) or beats (8b)";
      return false;
    }
    if (c.meter ? !QxfxParseMeter(value, &c.numerator, &c.denominator) : !QxfxParseTempo(value, &c.bpm)) {
      *error = where + (c.meter ? "the meter '" + value + "' is not N/D with D a power of two up to 64"
                                : "the tempo '" + value + "' is not from 1 to 999 beats per minute");
      return false;
    }
    out->push_back(c);
  }
  return true;
}

// --- the context object ---

bool CQxfxTempoContext::Create(const std::vector<QxfxTempoChange>& changes, uint32_t sampleRate,
                               CQxfxTempoContext** out, std::string* error) {
  *out = nullptr;
  auto* c = new CQxfxTempoContext(sampleRate);
  c->tempi_.push_back({0, 12000, 0.0});
  c->meters_.push_back({0, 0, 4, 2});
  double lastTicks = 0.0;
  for (const QxfxTempoChange& ch : changes) {
    double ticks = ch.inBeats ? ch.at * kTicksPerQuarter : c->SecondsToTicks(ch.at);
    const std::string what = (ch.meter ? "the meter change at " : "the tempo change at ") + Num(ch.at) +
                             (ch.inBeats ? " beats" : " s");
    if (ticks > 2.0e9) {
      *error = what + " lies too far out";
      c->Release();
      return false;
    }
    // Rounding of a position in seconds may leave a hair's breadth off a tick.
    auto tick = static_cast<MFX_TICKS>(std::llround(ticks));
    if (tick < lastTicks) {
      *error = what + " comes before the change above it; list changes in time order";
      c->Release();
      return false;
    }
    lastTicks = tick;
    bool ok = ch.meter ? c->AddMeter(tick, ch.numerator, ch.denominator, error) : c->AddTempo(tick, ch.bpm, error);
    if (!ok) {
      *error = what + *error;
      c->Release();
      return false;
    }
  }
  *out = c;
  return true;
}

bool CQxfxTempoContext::AddTempo(MFX_TICKS tick, double bpm, std::string*) {
  const auto bpm100 = static_cast<int32_t>(std::llround(bpm * 100.0));
  const double seconds = TicksToSeconds(tick);
  // A later change at the same tick replaces the earlier one.
  if (tempi_.back().tick == tick) tempi_.pop_back();
  tempi_.push_back({tick, bpm100, seconds});
  return true;
}

double CQxfxTempoContext::TicksPerMeasure(const Meter& m) {
  return static_cast<double>(m.numerator) * kTicksPerQuarter * 4.0 / (1 << m.pow2);
}

bool CQxfxTempoContext::AddMeter(MFX_TICKS tick, int numerator, int denominator, std::string* error) {
  const Meter& last = meters_.back();
  const double measures = (tick - last.tick) / TicksPerMeasure(last);
  const double whole = std::round(measures);
  if (std::fabs(measures - whole) > 1e-9) {
    *error = " does not fall on the start of a measure";
    return false;
  }
  int pow2 = 0;
  while ((1 << pow2) < denominator) ++pow2;
  const auto measure = static_cast<int32_t>(last.measure + whole);
  if (last.tick == tick) meters_.pop_back();
  meters_.push_back({measure, tick, numerator, pow2});
  return true;
}

HRESULT CQxfxTempoContext::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IUnknown || riid == IID_IMfxTempoMap)
    *ppv = static_cast<IMfxTempoMap*>(this);
  else if (riid == IID_IMfxMeterMap)
    *ppv = static_cast<IMfxMeterMap*>(this);
  else if (riid == IID_IMfxTimeConverter)
    *ppv = static_cast<IMfxTimeConverter*>(this);
  else {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG CQxfxTempoContext::AddRef() { return static_cast<ULONG>(++refs_); }

ULONG CQxfxTempoContext::Release() {
  long r = --refs_;
  if (r == 0) delete this;
  return static_cast<ULONG>(r);
}

namespace {
// The index of the last entry whose key is not past `key` (0 when none is): a binary search, since
// an effect asks once a chunk and a long map cuts the stream into as many chunks as it has lines.
template <class Entries, class Key>
size_t LastNotAfter(const Entries& v, Key key, auto field) {
  auto at = std::upper_bound(v.begin() + 1, v.end(), key, [&](Key k, const auto& e) { return k < e.*field; });
  return static_cast<size_t>(at - v.begin()) - 1;
}
}  // namespace

double CQxfxTempoContext::TicksToSeconds(double ticks) const {
  const Tempo& t = tempi_[LastNotAfter(tempi_, ticks, &Tempo::tick)];
  return t.seconds + (ticks - t.tick) * 60.0 / (t.bpm100 / 100.0 * kTicksPerQuarter);
}

double CQxfxTempoContext::SecondsToTicks(double seconds) const {
  const Tempo& t = tempi_[LastNotAfter(tempi_, seconds, &Tempo::seconds)];
  return t.tick + (seconds - t.seconds) * (t.bpm100 / 100.0 * kTicksPerQuarter) / 60.0;
}

int32_t CQxfxTempoContext::TicksToMsecs(MFX_TICKS ticks) {
  return static_cast<int32_t>(std::llround(TicksToSeconds(ticks) * 1000.0));
}

MFX_TICKS CQxfxTempoContext::MsecsToTicks(int32_t msecs) {
  return static_cast<MFX_TICKS>(std::llround(SecondsToTicks(msecs / 1000.0)));
}

int32_t CQxfxTempoContext::GetTempoIndexForTime(MFX_TICKS ticks) {
  return static_cast<int32_t>(LastNotAfter(tempi_, ticks, &Tempo::tick));
}

HRESULT CQxfxTempoContext::GetTempoAt(int32_t index, MFX_TICKS* ticks, int32_t* bpm100) {
  if (!ticks || !bpm100) return E_POINTER;
  if (index < 0 || index >= GetTempoCount()) return E_INVALIDARG;
  *ticks = tempi_[index].tick;
  *bpm100 = tempi_[index].bpm100;
  return S_OK;
}

int32_t CQxfxTempoContext::GetMeterIndexForTime(MFX_TICKS ticks) {
  return static_cast<int32_t>(LastNotAfter(meters_, ticks, &Meter::tick));
}

HRESULT CQxfxTempoContext::GetMeterAt(int32_t index, int32_t* measure, int32_t* numerator, int32_t* pow2) {
  if (!measure || !numerator || !pow2) return E_POINTER;
  if (index < 0 || index >= GetMeterCount()) return E_INVALIDARG;
  *measure = meters_[index].measure;
  *numerator = meters_[index].numerator;
  *pow2 = meters_[index].pow2;
  return S_OK;
}

MFX_TICKS CQxfxTempoContext::MeasureToTicks(int32_t measure) {
  const Meter& m = meters_[LastNotAfter(meters_, measure, &Meter::measure)];
  return static_cast<MFX_TICKS>(std::llround(m.tick + (measure - m.measure) * TicksPerMeasure(m)));
}

HRESULT CQxfxTempoContext::ConvertTime(MFX_TIME* time, int32_t toKind) {
  if (!time) return E_POINTER;
  if (!rate_) return E_FAIL;
  if (time->Kind == toKind) return S_OK;
  if (time->Kind == MFX_TIME_TICKS && toKind == MFX_TIME_SAMPLES) {
    time->Value = std::llround(TicksToSeconds(static_cast<double>(time->Value)) * rate_);
  } else if (time->Kind == MFX_TIME_SAMPLES && toKind == MFX_TIME_TICKS) {
    // The tick in force at the sample: the last whole tick that does not start after it.
    time->Value = static_cast<int64_t>(
        std::floor(SecondsToTicks(static_cast<double>(time->Value) / rate_) + 1e-6));
  } else {
    return E_INVALIDARG;
  }
  time->Kind = toKind;
  return S_OK;
}

// --- connecting a filter ---

bool QxfxConnectTempo(IUnknown* filter, const QxfxTempoOptions& options, const std::string& inputPath,
                      bool* connected, std::string* error) {
  *connected = false;
  if (!options.Any()) return true;
  std::vector<QxfxTempoChange> changes;
  // --tempo and --meter give the values at the start; the map may change them later on.
  if (options.tempo > 0.0) {
    QxfxTempoChange c;
    c.bpm = options.tempo;
    changes.push_back(c);
  }
  if (options.numerator > 0) {
    QxfxTempoChange c;
    c.meter = true;
    c.numerator = options.numerator;
    c.denominator = options.denominator;
    changes.push_back(c);
  }
  if (!options.mapFile.empty()) {
    // A map of a million lines is far longer than any piece; larger files are a mistake.
    std::vector<char> text;
    if (!QxfxReadBoundedFile(options.mapFile, 64 << 20, "the tempo map", &text, error)) return false;
    if (!QxfxParseTempoMap(std::string(text.begin(), text.end()), &changes, error)) {
      *error = options.mapFile + ": " + *error;
      return false;
    }
  }
  ComPtr<IMfxSoftSynth> synth;
  if (FAILED(filter->QueryInterface(IID_IMfxSoftSynth, synth.PutVoid())) || !synth) return true;

  SF_INFO info{};
  info.samplerate = 44100;
  if (!inputPath.empty()) {
    SNDFILE* probe = sf_open(inputPath.c_str(), SFM_READ, &info);
    if (!probe) {
      *error = "cannot read " + inputPath + ": " + sf_strerror(nullptr);
      return false;
    }
    sf_close(probe);
  }

  CQxfxTempoContext* context = nullptr;
  if (!CQxfxTempoContext::Create(changes, static_cast<uint32_t>(info.samplerate), &context, error)) return false;
  // Connect takes over this reference.
  HRESULT hr = synth->Connect(static_cast<IMfxTempoMap*>(context));
  if (FAILED(hr)) {
    context->Release();
    *error = "the effect refused the tempo host";
    return false;
  }
  synth->StartPlayback(0);
  *connected = true;
  return true;
}
