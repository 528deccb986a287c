// Effect descriptors for qxfx.
#include "tools/qxfx/effects.h"

#include <algorithm>
#include <cmath>

#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/pitchtime/time_prop.h"
#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"
#include "aplugins/qxppack1/delay/echomt_prop.h"
#include "aplugins/qxppack1/reverb/reverb_prop.h"
#include "aplugins/qxppack1/delay/chorus_prop.h"

namespace {
template <class Iface>
Iface* As(IUnknown* u, REFIID iid) {
  void* p = nullptr;
  if (FAILED(u->QueryInterface(iid, &p)) || !p) return nullptr;
  static_cast<IUnknown*>(static_cast<Iface*>(p))->Release();  // the filter outlives the call
  return static_cast<Iface*>(p);
}

#define ECHOS_FIELD(Name, lo, hi, unit)                                                      \
  QxfxField {                                                                                \
    #Name, lo, hi, unit,                                                                     \
        [](IUnknown* f, int32_t v) -> HRESULT {                                              \
          auto* p = As<IQxEchosProp2>(f, IID_IQxEchosProp2);                                 \
          return p ? p->Set##Name(v) : E_NOINTERFACE;                                        \
        },                                                                                   \
        [](IUnknown* f, int32_t* v) -> HRESULT {                                             \
          auto* p = As<IQxEchosProp2>(f, IID_IQxEchosProp2);                                 \
          return p ? p->Get##Name(v) : E_NOINTERFACE;                                        \
        }                                                                                    \
  }

// Reverb's fields go by the record's names and through IQxReverbProp2's setters.
#define REVERB_FIELD(Field, Name, lo, hi, unit)                                              \
  QxfxField {                                                                                \
    #Field, lo, hi, unit,                                                                    \
        [](IUnknown* f, int32_t v) -> HRESULT {                                              \
          auto* p = As<IQxReverbProp2>(f, IID_IQxReverbProp2);                               \
          return p ? p->Set##Name(v) : E_NOINTERFACE;                                        \
        },                                                                                   \
        [](IUnknown* f, int32_t* v) -> HRESULT {                                             \
          auto* p = As<IQxReverbProp2>(f, IID_IQxReverbProp2);                               \
          return p ? p->Get##Name(v) : E_NOINTERFACE;                                        \
        }                                                                                    \
  }

// Multi-Tap Delay's fields, in record order, through IQxEchomtProp's pairs; taps are name[i].
template <HRESULT (IQxEchomtProp::*Set)(int32_t), HRESULT (IQxEchomtProp::*Get)(int32_t*)>
QxfxField EchomtField(std::string name, int32_t lo, int32_t hi, std::string unit) {
  return {std::move(name), lo, hi, std::move(unit),
          [](IUnknown* f, int32_t v) -> HRESULT {
            auto* p = As<IQxEchomtProp>(f, IID_IQxEchomtProp);
            return p ? (p->*Set)(v) : E_NOINTERFACE;
          },
          [](IUnknown* f, int32_t* v) -> HRESULT {
            auto* p = As<IQxEchomtProp>(f, IID_IQxEchomtProp);
            return p ? (p->*Get)(v) : E_NOINTERFACE;
          }};
}
#define ECHOMT_FIELD(name, Name, lo, hi, unit) \
  EchomtField<&IQxEchomtProp::Set##Name, &IQxEchomtProp::Get##Name>(name, lo, hi, unit)
#define ECHOMT_TAPS(name, Name, lo, hi, unit)                                                    \
  ECHOMT_FIELD(name "[0]", Name##1, lo, hi, unit), ECHOMT_FIELD(name "[1]", Name##2, lo, hi, unit), \
      ECHOMT_FIELD(name "[2]", Name##3, lo, hi, unit), ECHOMT_FIELD(name "[3]", Name##4, lo, hi, unit), \
      ECHOMT_FIELD(name "[4]", Name##5, lo, hi, unit), ECHOMT_FIELD(name "[5]", Name##6, lo, hi, unit), \
      ECHOMT_FIELD(name "[6]", Name##7, lo, hi, unit), ECHOMT_FIELD(name "[7]", Name##8, lo, hi, unit)
std::vector<QxfxField> EchomtFields() {
  return {
      ECHOMT_TAPS("tapDelay", TapDelay, 1, 2500, "ms"),
      ECHOMT_TAPS("tapGain", TapGain, -100, 100, "percent, sign is phase"),
      ECHOMT_TAPS("tapPan", TapPan, -100, 100, "percent, negative is left"),
      ECHOMT_FIELD("tapCount", TapCount, 1, 8, "taps in use"),
      ECHOMT_FIELD("wetOut", WetOut, -800, 0, "tenths of a dB, -800 silent"),
      ECHOMT_FIELD("dryOut", DryOut, -800, 0, "tenths of a dB, -800 silent"),
      ECHOMT_FIELD("feedback", Feedback, 0, 150, "percent"),
      ECHOMT_FIELD("inputGain", InputGain, -800, 0, "tenths of a dB, -800 silent"),
      ECHOMT_FIELD("lowPassOn", LowPassOn, 0, 1, "0 or 1 (any nonzero is on)"),
      ECHOMT_FIELD("lowPassFrequency", LowPassFrequency, 100, 10000, "Hz"),
      ECHOMT_FIELD("modDepth", ModDepth, 0, 100, "percent, 100 is 3 ms"),
      ECHOMT_FIELD("modRate", ModRate, 1, 100, "tenths of a Hz"),
      ECHOMT_FIELD("currentTap", CurrentTap, 0, 7, "tap the page edits, no sound"),
      ECHOMT_FIELD("graphResolution", GraphResolution, 0, 3, "page graph range, no sound"),
  };
}
#undef ECHOMT_TAPS
#undef ECHOMT_FIELD

// Time Stretch's fields through IQxTimeProp; the two 64-bit float fields go as whole numbers.
template <typename V, HRESULT (IQxTimeProp::*Set)(V), HRESULT (IQxTimeProp::*Get)(V*)>
QxfxField TimeField(std::string name, int32_t lo, int32_t hi, std::string unit) {
  return {std::move(name), lo, hi, std::move(unit),
          [](IUnknown* f, int32_t v) -> HRESULT {
            auto* p = As<IQxTimeProp>(f, IID_IQxTimeProp);
            return p ? (p->*Set)(static_cast<V>(v)) : E_NOINTERFACE;
          },
          [](IUnknown* f, int32_t* v) -> HRESULT {
            auto* p = As<IQxTimeProp>(f, IID_IQxTimeProp);
            if (!p) return E_NOINTERFACE;
            V value{};
            HRESULT hr = (p->*Get)(&value);
            if (SUCCEEDED(hr)) *v = static_cast<int32_t>(std::llround(static_cast<double>(value)));
            return hr;
          }};
}
#define TIME_FIELD(Name, V, lo, hi, unit) \
  TimeField<V, &IQxTimeProp::Set##Name, &IQxTimeProp::Get##Name>(#Name, lo, hi, unit)
std::vector<QxfxField> TimeFields() {
  return {
      TIME_FIELD(FinalLength, double, 5000, 50000, "output length, percent x 100 (11000 is 110 %)"),
      TIME_FIELD(Mode, int32_t, 0, 18, "splice mode row, 0 music 1"),
      TIME_FIELD(InitialTempo, uint32_t, 0, 50000, "source tempo, bpm x 100 (page only)"),
      TIME_FIELD(InitialTime, double, 0, 793800000, "source length in frames (page only)"),
      TIME_FIELD(InputFormat, int32_t, 0, 2, "page shows 0 percent, 1 tempo, 2 time"),
  };
}
#undef TIME_FIELD

// Pitch Shift's fields through IQxPitchsProp. Ratio goes in ten-thousandths; InitialTime as a whole
// number of frames.
template <typename V, HRESULT (IQxPitchsProp::*Set)(V), HRESULT (IQxPitchsProp::*Get)(V*), int32_t Scale>
QxfxField PitchField(std::string name, int32_t lo, int32_t hi, std::string unit) {
  constexpr double s = Scale;
  return {std::move(name), lo, hi, std::move(unit),
          [](IUnknown* f, int32_t v) -> HRESULT {
            auto* p = As<IQxPitchsProp>(f, IID_IQxPitchsProp);
            return p ? (p->*Set)(static_cast<V>(v / s)) : E_NOINTERFACE;
          },
          [](IUnknown* f, int32_t* v) -> HRESULT {
            auto* p = As<IQxPitchsProp>(f, IID_IQxPitchsProp);
            if (!p) return E_NOINTERFACE;
            V value{};
            HRESULT hr = (p->*Get)(&value);
            if (SUCCEEDED(hr)) *v = static_cast<int32_t>(std::llround(static_cast<double>(value) * s));
            return hr;
          }};
}
#define PITCH_FIELD(Name, V, lo, hi, unit, scale) \
  PitchField<V, &IQxPitchsProp::Set##Name, &IQxPitchsProp::Get##Name, scale>(#Name, lo, hi, unit)
std::vector<QxfxField> PitchFields() {
  return {
      PITCH_FIELD(Semitones, int32_t, -50, 50, "semitones (page only; the sound follows Ratio)", 1),
      PITCH_FIELD(Cents, int32_t, -1000, 1000, "tenths of a cent (page only)", 1),
      PITCH_FIELD(Accuracy, int32_t, 1, 3, "1 linear, 2 sinc 9 taps, 3 sinc 15 taps", 1),
      PITCH_FIELD(PreserveDuration, int32_t, 0, 1, "0 or 1: keep the length", 1),
      PITCH_FIELD(Mode, int32_t, 0, 18, "splice mode row, with PreserveDuration", 1),
      PITCH_FIELD(Ratio, double, 1, 1000000, "ratio x 10000 (20000 is an octave up)", 10000),
      PITCH_FIELD(AntiAlias, int32_t, 0, 1, "0 or 1: low-pass before shifting up", 1),
      PITCH_FIELD(InitialTime, double, 0, 225306900, "source length in frames (page only)", 1),
  };
}
#undef PITCH_FIELD

// Chorus's fields, in record order, through IQxChorusProp2's setters.
template <HRESULT (IQxChorusProp2::*Set)(int32_t), HRESULT (IQxChorusProp2::*Get)(int32_t*)>
QxfxField ChorusField(std::string name, int32_t lo, int32_t hi, std::string unit) {
  return {std::move(name), lo, hi, std::move(unit),
          [](IUnknown* f, int32_t v) -> HRESULT {
            auto* p = As<IQxChorusProp2>(f, IID_IQxChorusProp2);
            return p ? (p->*Set)(v) : E_NOINTERFACE;
          },
          [](IUnknown* f, int32_t* v) -> HRESULT {
            auto* p = As<IQxChorusProp2>(f, IID_IQxChorusProp2);
            return p ? (p->*Get)(v) : E_NOINTERFACE;
          }};
}
#define CHORUS_FIELD(name, Name, lo, hi, unit) \
  ChorusField<&IQxChorusProp2::Set##Name, &IQxChorusProp2::Get##Name>(#name, lo, hi, unit)
std::vector<QxfxField> ChorusFields() {
  return {
      CHORUS_FIELD(inputGain, InputGain, -600, 0, "tenths of a dB, -600 silent"),
      CHORUS_FIELD(dryOut, DryOut, -600, 0, "tenths of a dB, -600 silent"),
      CHORUS_FIELD(chorusOut, ChorusOut, -600, 0, "tenths of a dB, -600 silent"),
      CHORUS_FIELD(chorusSize, ChorusSize, 1, 3, "voices"),
      CHORUS_FIELD(feedback, Feedback, 0, 100, "percent"),
      CHORUS_FIELD(invertChorusPhase, InvertChorusPhase, 0, 1, "0 or 1"),
      CHORUS_FIELD(outDelay, OutDelay, 1, 1000, "tenths of a ms"),
      CHORUS_FIELD(modRate, ModRate, 1, 20000, "thousandths of a Hz"),
      CHORUS_FIELD(modDepth, ModDepth, 1, 100, "percent of the delay"),
      CHORUS_FIELD(attenuateHigh, AttenuateHigh, 0, 1, "0 or 1"),
      CHORUS_FIELD(attenuationFrequency, AttenuationFrequency, 100, 10000, "Hz"),
      CHORUS_FIELD(invertFeedbackPhase, InvertFeedbackPhase, 0, 1, "0 or 1"),
      CHORUS_FIELD(bypass, Bypass, 0, 1, "0 or 1"),
      CHORUS_FIELD(modPeriodNote, ModPeriodNote, 0, 18, "note index, 18 measures"),
      CHORUS_FIELD(modPeriodMultiplier, ModPeriodMultiplier, 1, 32000, "thousandths"),
      CHORUS_FIELD(tempoSync, TempoSync, 0, 1, "0 or 1"),
  };
}
#undef CHORUS_FIELD

std::vector<QxfxEffect> Build() {
  std::vector<QxfxEffect> e;
  e.push_back({"time-stretch", u"Time Stretch", MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912"), TimeFields()});
  e.push_back({"pitch-shift", u"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912"), PitchFields()});
  e.push_back({"simple-delay",
               u"Simple Delay",
               MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912"),
               {
                   ECHOS_FIELD(MultipleDelays, 0, 1, "0 single echo, 1 repeating echoes"),
                   ECHOS_FIELD(DelayTime, 1, 5000, "ms"),
                   ECHOS_FIELD(DecayTime, 1, 200, "tenths of a second"),
                   ECHOS_FIELD(DelayOut, -800, 0, "tenths of a dB, -800 silent"),
                   ECHOS_FIELD(DryOut, -800, 0, "tenths of a dB, -800 silent"),
                   ECHOS_FIELD(Bypass, 0, 1, "0 or 1"),
                   ECHOS_FIELD(DelayNote, 0, 17, "note index, 13 quarter note"),
                   ECHOS_FIELD(DelayMultiplier, 1, 4000, "thousandths"),
                   ECHOS_FIELD(TempoSyncDelay, 0, 1, "0 or 1"),
                   ECHOS_FIELD(DecayNote, 0, 18, "note index, 18 measures"),
                   ECHOS_FIELD(DecayMultiplier, 1, 32000, "thousandths"),
                   ECHOS_FIELD(TempoSyncDecay, 0, 1, "0 or 1"),
               }});
  e.push_back({"multi-tap-delay", u"Multi-Tap Delay", MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912"),
               EchomtFields()});
  e.push_back({"reverb",
               u"Reverb",
               MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912"),
               {
                   REVERB_FIELD(dryOut, DryOut, -800, 0, "tenths of a dB, -800 silent"),
                   REVERB_FIELD(reverbOut, ReverbOut, -800, 0, "tenths of a dB, -800 silent"),
                   REVERB_FIELD(earlyOut, EarlyOut, -800, 0, "tenths of a dB, -800 silent"),
                   REVERB_FIELD(reverbMode, ReverbMode, 0, 18, "mode row, 0 rich hall"),
                   REVERB_FIELD(reflectionStyle, ReflectionStyle, 0, 9, "early-reflection row"),
                   REVERB_FIELD(decayTenths, DecayTime, 5, 50, "tenths of a second"),
                   REVERB_FIELD(preDelayMs, PreDelay, 0, 200, "ms"),
                   REVERB_FIELD(bassOn, AttenuateBass, 0, 1, "0 or 1"),
                   REVERB_FIELD(bassFreqHz, BassFrequency, 10, 5000, "Hz"),
                   REVERB_FIELD(highOn, AttenuateHigh, 0, 1, "0 or 1"),
                   REVERB_FIELD(highFreqHz, HighFrequency, 100, 15000, "Hz"),
                   REVERB_FIELD(bypass, Bypass, 0, 1, "0 or 1"),
               }});
  e.push_back({"chorus", u"Chorus", MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912"), ChorusFields()});
  return e;
}
#undef ECHOS_FIELD
#undef REVERB_FIELD

size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diag = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t up = row[j];
      bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                  std::tolower(static_cast<unsigned char>(b[j - 1]));
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diag + (same ? 0 : 1)});
      diag = up;
    }
  }
  return row[b.size()];
}
}  // namespace

const std::vector<QxfxEffect>& QxfxEffects() {
  static const std::vector<QxfxEffect> effects = Build();
  return effects;
}

const QxfxEffect* QxfxFindEffect(const std::string& name) {
  for (const QxfxEffect& e : QxfxEffects())
    if (e.name == name) return &e;
  return nullptr;
}

const QxfxField* QxfxFindField(const QxfxEffect& effect, const std::string& name) {
  for (const QxfxField& f : effect.fields)
    if (f.name == name) return &f;
  return nullptr;
}

std::string QxfxNearest(const std::string& name, const std::vector<std::string>& candidates) {
  std::string best;
  size_t bestD = name.size() / 2 + 2;
  for (const std::string& c : candidates) {
    size_t d = Distance(name, c);
    if (d < bestD) {
      bestD = d;
      best = c;
    }
  }
  return best;
}
