// The six effects' parameter views, and the one conversion between stored, natural and text values
// that every host shares.
#include "aplugins/qxppack1/params/param_view.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/delay/echomt_prop.h"
#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/frame/tempo_record.h"
#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"
#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "aplugins/qxppack1/pitchtime/time_prop.h"
#include "aplugins/qxppack1/reverb/reverb_prop.h"

namespace {

// ---- The live door: one getter and setter pair of an effect's control interface -------------

template <class I> struct ControlIid;
template <> struct ControlIid<IQxEchosProp2> { static constexpr const IID& iid = IID_IQxEchosProp2; };
template <> struct ControlIid<IQxEchomtProp> { static constexpr const IID& iid = IID_IQxEchomtProp; };
template <> struct ControlIid<IQxChorusProp2> { static constexpr const IID& iid = IID_IQxChorusProp2; };
template <> struct ControlIid<IQxReverbProp2> { static constexpr const IID& iid = IID_IQxReverbProp2; };
template <> struct ControlIid<IQxTimeProp> { static constexpr const IID& iid = IID_IQxTimeProp; };
template <> struct ControlIid<IQxPitchsProp> { static constexpr const IID& iid = IID_IQxPitchsProp; };

template <class> struct SetterOf;
template <class I, class V> struct SetterOf<HRESULT (I::*)(V)> {
  using Iface = I;
  using Value = V;
};

// The interface without a reference kept: the caller holds the effect for the call's length.
template <class I>
I* Control(IUnknown* effect) {
  void* p = nullptr;
  if (!effect || FAILED(effect->QueryInterface(ControlIid<I>::iid, &p)) || !p) return nullptr;
  static_cast<I*>(p)->Release();
  return static_cast<I*>(p);
}

template <auto Get, auto Set>
HRESULT LiveGet(IUnknown* effect, double* stored) {
  using I = typename SetterOf<decltype(Set)>::Iface;
  using V = typename SetterOf<decltype(Set)>::Value;
  I* c = Control<I>(effect);
  if (!c) return E_NOINTERFACE;
  if (!stored) return E_POINTER;
  V v{};
  HRESULT hr = (c->*Get)(&v);
  if (SUCCEEDED(hr)) *stored = static_cast<double>(v);
  return hr;
}

template <auto Get, auto Set>
HRESULT LiveSet(IUnknown* effect, double stored) {
  using I = typename SetterOf<decltype(Set)>::Iface;
  using V = typename SetterOf<decltype(Set)>::Value;
  I* c = Control<I>(effect);
  if (!c) return E_NOINTERFACE;
  return (c->*Set)(static_cast<V>(stored));
}

struct Live {
  HRESULT (*Get)(IUnknown*, double*);
  HRESULT (*Set)(IUnknown*, double);
};
#define LIVE(I, Name) \
  Live { &LiveGet<&I::Get##Name, &I::Set##Name>, &LiveSet<&I::Get##Name, &I::Set##Name> }

// ---- Row builders ----------------------------------------------------------------------------

using K = QxParamKind;
using T = QxStoreType;

QxParamView Row(const char* name, const char* field, const char* unit, const char* help, K kind, T store,
                size_t offset, double divisor, double lo, double hi, double def, Live live) {
  QxParamView v{};
  v.Name = name;
  v.Field = field;
  v.Unit = unit;
  v.Help = help;
  v.Kind = kind;
  v.Store = store;
  v.Offset = static_cast<uint32_t>(offset);
  v.Divisor = divisor;
  v.StoredMin = lo;
  v.StoredMax = hi;
  v.StoredDefault = def;
  v.Step = 1.0 / divisor;
  v.Get = live.Get;
  v.Set = live.Set;
  return v;
}
// A level in tenths of a dB whose minimum is silence.
QxParamView Level(const char* name, const char* field, const char* help, size_t offset, double lo, double def,
                  Live live) {
  QxParamView v = Row(name, field, "dB", help, K::Continuous, T::Int32, offset, 10, lo, 0, def, live);
  v.MinIsSilence = true;
  return v;
}
QxParamView Number(const char* name, const char* field, const char* unit, const char* help, size_t offset,
                   double divisor, double lo, double hi, double def, Live live, K kind = K::Continuous) {
  return Row(name, field, unit, help, kind, T::Int32, offset, divisor, lo, hi, def, live);
}
QxParamView Toggle(const char* name, const char* field, const char* help, size_t offset, double def, Live live) {
  return Row(name, field, "", help, K::Toggle, T::Int32, offset, 1, 0, 1, def, live);
}
QxParamView Choice(const char* name, const char* field, const char* help, size_t offset, int count,
                   const char16_t* (*names)(int), double def, Live live) {
  QxParamView v = Row(name, field, "", help, K::Enum, T::Int32, offset, 1, 0, count - 1, def, live);
  v.EnumCount = count;
  v.EnumName = names;
  return v;
}
QxParamView PageOnly(QxParamView v) {
  v.PageOnly = true;
  return v;
}

const char16_t* NoteName(int i) { return QxNoteName(i); }
const char16_t* ReverbModeName(int i) { return i >= 0 && i < QX_REVERB_MODE_COUNT ? g_ReverbModeNames[i] : nullptr; }
const char16_t* StyleName(int i) {
  return i >= 0 && i < QX_REFLECTION_STYLE_COUNT ? g_ReflectionStyleNames[i] : nullptr;
}
const char16_t* SpliceName(int i) { return i >= 0 && i < QX_SPLICE_MODE_COUNT ? SpliceModeText[i] : nullptr; }

// ---- The tables, in record order --------------------------------------------------------------

#define SD(F) #F, #F
#define SD_AT(F) offsetof(EchosParams, F)
#define SD_LIVE(F) LIVE(IQxEchosProp2, F)
const QxParamView kEchos[] = {
    Toggle(SD(MultipleDelays), "repeating echoes; off gives one echo", SD_AT(MultipleDelays), 0, SD_LIVE(MultipleDelays)),
    Number(SD(DelayTime), "ms", "delay", SD_AT(DelayTime), 1, 1, 5000, 100, SD_LIVE(DelayTime)),
    Number(SD(DecayTime), "s", "time for the echoes to fall 30 dB", SD_AT(DecayTime), 10, 1, 200, 1, SD_LIVE(DecayTime)),
    Level(SD(DelayOut), "echo level", SD_AT(DelayOut), -800, -60, SD_LIVE(DelayOut)),
    Level(SD(DryOut), "dry level", SD_AT(DryOut), -800, -60, SD_LIVE(DryOut)),
    Toggle(SD(Bypass), "leave the audio untouched", SD_AT(Bypass), 0, SD_LIVE(Bypass)),
    Choice(SD(DelayNote), "delay as a note, with TempoSyncDelay", SD_AT(DelayNote), QX_NOTE_COUNT, NoteName, 13,
           SD_LIVE(DelayNote)),
    Number(SD(DelayMultiplier), "x", "times the delay note", SD_AT(DelayMultiplier), 1000, 1, 4000, 1000,
           SD_LIVE(DelayMultiplier)),
    Toggle(SD(TempoSyncDelay), "delay follows the tempo", SD_AT(TempoSyncDelay), 0, SD_LIVE(TempoSyncDelay)),
    Choice(SD(DecayNote), "decay as a note, with TempoSyncDecay", SD_AT(DecayNote), QX_NOTE_COUNT + 1, NoteName, 18,
           SD_LIVE(DecayNote)),
    Number(SD(DecayMultiplier), "x", "times the decay note", SD_AT(DecayMultiplier), 1000, 1, 32000, 1000,
           SD_LIVE(DecayMultiplier)),
    Toggle(SD(TempoSyncDecay), "decay follows the tempo", SD_AT(TempoSyncDecay), 0, SD_LIVE(TempoSyncDecay)),
};
#undef SD
#undef SD_AT
#undef SD_LIVE

#define MT_AT(F) offsetof(EchomtParams, F)
#define MT_LIVE(F) LIVE(IQxEchomtProp, F)


// Eight taps of one kind: delays (ms), gains (%, the sign is the phase) or pans (%, negative left).
#define MT_TAP_ROWS(field, Slot, unit, help, lo, hi, def0, def)                                                   \
  Number(#field "[0]", #field "[0]", unit, help, MT_AT(field[0]), 1, lo, hi, def0, MT_LIVE(Slot##1), K::Integer), \
  Number(#field "[1]", #field "[1]", unit, help, MT_AT(field[1]), 1, lo, hi, def, MT_LIVE(Slot##2), K::Integer),  \
  Number(#field "[2]", #field "[2]", unit, help, MT_AT(field[2]), 1, lo, hi, def, MT_LIVE(Slot##3), K::Integer),  \
  Number(#field "[3]", #field "[3]", unit, help, MT_AT(field[3]), 1, lo, hi, def, MT_LIVE(Slot##4), K::Integer),  \
  Number(#field "[4]", #field "[4]", unit, help, MT_AT(field[4]), 1, lo, hi, def, MT_LIVE(Slot##5), K::Integer),  \
  Number(#field "[5]", #field "[5]", unit, help, MT_AT(field[5]), 1, lo, hi, def, MT_LIVE(Slot##6), K::Integer),  \
  Number(#field "[6]", #field "[6]", unit, help, MT_AT(field[6]), 1, lo, hi, def, MT_LIVE(Slot##7), K::Integer),  \
  Number(#field "[7]", #field "[7]", unit, help, MT_AT(field[7]), 1, lo, hi, def, MT_LIVE(Slot##8), K::Integer)
#define MT(F) #F, #F
const QxParamView kEchomt[] = {
    MT_TAP_ROWS(tapDelay, TapDelay, "ms", "tap delay", 1, 2500, 100, 1),
    MT_TAP_ROWS(tapGain, TapGain, "%", "tap gain; negative inverts the phase", -100, 100, 100, 100),
    MT_TAP_ROWS(tapPan, TapPan, "%", "tap pan; -100 left, 100 right", -100, 100, 0, 0),
    Number(MT(tapCount), "taps", "taps in use, the first so many", MT_AT(tapCount), 1, 1, 8, 1, MT_LIVE(TapCount),
           K::Integer),
    Level(MT(wetOut), "echo level", MT_AT(wetOut), -800, -60, MT_LIVE(WetOut)),
    Level(MT(dryOut), "dry level", MT_AT(dryOut), -800, -60, MT_LIVE(DryOut)),
    Number(MT(feedback), "%", "feedback; 100 is unity loop gain", MT_AT(feedback), 1, 0, 150, 0, MT_LIVE(Feedback)),
    Level(MT(inputGain), "input level", MT_AT(inputGain), -800, 0, MT_LIVE(InputGain)),
    Toggle(MT(lowPassOn), "low pass on the taps", MT_AT(lowPassOn), 0, MT_LIVE(LowPassOn)),
    Number(MT(lowPassFrequency), "Hz", "low pass corner", MT_AT(lowPassFrequency), 1, 100, 10000, 5000,
           MT_LIVE(LowPassFrequency)),
    Number(MT(modDepth), "%", "modulation depth; 100 swings 3 ms", MT_AT(modDepth), 1, 0, 100, 0, MT_LIVE(ModDepth)),
    Number(MT(modRate), "Hz", "modulation rate", MT_AT(modRate), 10, 1, 100, 1, MT_LIVE(ModRate)),
    PageOnly(Number(MT(currentTap), "", "the tap the page edits", MT_AT(currentTap), 1, 0, 7, 0,
                    MT_LIVE(CurrentTap), K::Integer)),
    PageOnly(Number(MT(graphResolution), "", "the page's graph range", MT_AT(graphResolution), 1, 0, 3, 0,
                    MT_LIVE(GraphResolution), K::Integer)),
};
#undef MT
#undef MT_TAP_ROWS
#undef MT_AT
#undef MT_LIVE

#define CH(F) #F, #F
#define CH_AT(F) offsetof(ChorusParams, F)
#define CH_LIVE(F) LIVE(IQxChorusProp2, F)
const QxParamView kChorus[] = {
    Level(CH(inputGain), "input level", CH_AT(inputGain), -600, 0, CH_LIVE(InputGain)),
    Level(CH(dryOut), "dry level", CH_AT(dryOut), -600, -60, CH_LIVE(DryOut)),
    Level(CH(chorusOut), "chorus level", CH_AT(chorusOut), -600, -44, CH_LIVE(ChorusOut)),
    Number(CH(chorusSize), "voices", "voices in series", CH_AT(chorusSize), 1, 1, 3, 3, CH_LIVE(ChorusSize),
           K::Integer),
    Number(CH(feedback), "%", "feedback", CH_AT(feedback), 1, 0, 100, 0, CH_LIVE(Feedback)),
    Toggle(CH(invertChorusPhase), "invert the chorus", CH_AT(invertChorusPhase), 0, CH_LIVE(InvertChorusPhase)),
    Number(CH(outDelay), "ms", "delay", CH_AT(outDelay), 10, 1, 1000, 400, CH_LIVE(OutDelay)),
    Number(CH(modRate), "Hz", "modulation rate", CH_AT(modRate), 1000, 1, 20000, 800, CH_LIVE(ModRate)),
    Number(CH(modDepth), "%", "modulation depth, of the delay", CH_AT(modDepth), 1, 1, 100, 3, CH_LIVE(ModDepth)),
    Toggle(CH(attenuateHigh), "low pass in the feedback", CH_AT(attenuateHigh), 0, CH_LIVE(AttenuateHigh)),
    Number(CH(attenuationFrequency), "Hz", "low pass corner", CH_AT(attenuationFrequency), 1, 100, 10000, 5000,
           CH_LIVE(AttenuationFrequency)),
    Toggle(CH(invertFeedbackPhase), "invert the feedback", CH_AT(invertFeedbackPhase), 0,
           CH_LIVE(InvertFeedbackPhase)),
    Toggle(CH(bypass), "leave the audio untouched", CH_AT(bypass), 0, CH_LIVE(Bypass)),
    Choice(CH(modPeriodNote), "modulation period as a note, with tempoSync", CH_AT(modPeriodNote),
           QX_NOTE_COUNT + 1, NoteName, 18, CH_LIVE(ModPeriodNote)),
    Number(CH(modPeriodMultiplier), "x", "times the period note", CH_AT(modPeriodMultiplier), 1000, 1, 32000, 1000,
           CH_LIVE(ModPeriodMultiplier)),
    Toggle(CH(tempoSync), "modulation follows the tempo", CH_AT(tempoSync), 0, CH_LIVE(TempoSync)),
};
#undef CH
#undef CH_AT
#undef CH_LIVE

#define RV_AT(F) offsetof(ReverbParams, F)
#define RV_LIVE(F) LIVE(IQxReverbProp2, F)
const QxParamView kReverb[] = {
    Level("DryOut", "dryOut", "dry level", RV_AT(dryOut), -800, 0, RV_LIVE(DryOut)),
    Level("ReverbOut", "reverbOut", "reverb level", RV_AT(reverbOut), -800, -350, RV_LIVE(ReverbOut)),
    Level("EarlyOut", "earlyOut", "early reflections level", RV_AT(earlyOut), -800, -200, RV_LIVE(EarlyOut)),
    Choice("ReverbMode", "reverbMode", "reverberation mode", RV_AT(reverbMode), QX_REVERB_MODE_COUNT, ReverbModeName,
           0, RV_LIVE(ReverbMode)),
    Choice("ReflectionStyle", "reflectionStyle", "early reflection style", RV_AT(reflectionStyle),
           QX_REFLECTION_STYLE_COUNT, StyleName, 3, RV_LIVE(ReflectionStyle)),
    Number("DecayTime", "decayTenths", "s", "decay time", RV_AT(decayTenths), 10, 5, 50, 25, RV_LIVE(DecayTime)),
    Number("PreDelay", "preDelayMs", "ms", "pre-delay", RV_AT(preDelayMs), 1, 0, 200, 30, RV_LIVE(PreDelay)),
    Toggle("AttenuateBass", "bassOn", "low cut on", RV_AT(bassOn), 1, RV_LIVE(AttenuateBass)),
    Number("BassFrequency", "bassFreqHz", "Hz", "low cut corner", RV_AT(bassFreqHz), 1, 10, 5000, 20,
           RV_LIVE(BassFrequency)),
    Toggle("AttenuateHigh", "highOn", "high cut on", RV_AT(highOn), 1, RV_LIVE(AttenuateHigh)),
    Number("HighFrequency", "highFreqHz", "Hz", "high cut corner", RV_AT(highFreqHz), 1, 100, 15000, 12000,
           RV_LIVE(HighFrequency)),
    Toggle("Bypass", "bypass", "leave the audio untouched", RV_AT(bypass), 0, RV_LIVE(Bypass)),
};
#undef RV_AT
#undef RV_LIVE

// A 64-bit float field: any value in range is stored as typed.
QxParamView Real(QxParamView v, double step) {
  v.Store = T::Float64;
  v.Step = step;
  return v;
}

#define TS(F) #F, #F
#define TS_AT(F) offsetof(TimeParams, F)
#define TS_LIVE(F) LIVE(IQxTimeProp, F)
const QxParamView kTime[] = {
    Real(Number(TS(FinalLength), "%", "output length, of the input", TS_AT(FinalLength), 100, QX_TIME_MIN_LENGTH,
                QX_TIME_MAX_LENGTH, 10000, TS_LIVE(FinalLength)),
         0.01),
    Choice(TS(Mode), "splice mode", TS_AT(Mode), QX_SPLICE_MODE_COUNT, SpliceName, 0, TS_LIVE(Mode)),
    [] {
      QxParamView v = PageOnly(Number(TS(InitialTempo), "bpm", "source tempo", TS_AT(InitialTempo), 100, 0,
                                      QX_TIME_MAX_TEMPO, 12000, TS_LIVE(InitialTempo)));
      v.Store = T::UInt32;
      return v;
    }(),
    PageOnly(Real(Number(TS(InitialTime), "frames", "source length", TS_AT(InitialTime), 1, 0, QX_TIME_MAX_TIME,
                         2646000, TS_LIVE(InitialTime)),
                  1)),
    PageOnly(Number(TS(InputFormat), "", "page shows 0 percent, 1 tempo, 2 time", TS_AT(InputFormat), 1, 0, 2, 0,
                    TS_LIVE(InputFormat), K::Integer)),
};
#undef TS
#undef TS_AT
#undef TS_LIVE

#define PS(F) #F, #F
#define PS_AT(F) offsetof(PitchParams, F)
#define PS_LIVE(F) LIVE(IQxPitchsProp, F)
const QxParamView kPitch[] = {
    PageOnly(Number(PS(Semitones), "semitones", "shown shift; the sound follows Ratio", PS_AT(Semitones), 1,
                    -QX_PITCHS_MAX_SEMITONES, QX_PITCHS_MAX_SEMITONES, 0, PS_LIVE(Semitones), K::Integer)),
    PageOnly(Number(PS(Cents), "cents", "shown fine shift; the sound follows Ratio", PS_AT(Cents), 10,
                    -QX_PITCHS_MAX_CENTS, QX_PITCHS_MAX_CENTS, 0, PS_LIVE(Cents))),
    Number(PS(Accuracy), "", "1 linear, 2 sinc over 9, 3 sinc over 15", PS_AT(Accuracy), 1, 1, 3, 2,
           PS_LIVE(Accuracy), K::Integer),
    Toggle(PS(PreserveDuration), "keep the length", PS_AT(PreserveDuration), 0, PS_LIVE(PreserveDuration)),
    Choice(PS(Mode), "splice mode, with PreserveDuration", PS_AT(Mode), QX_SPLICE_MODE_COUNT, SpliceName, 0,
           PS_LIVE(Mode)),
    Real(Number(PS(Ratio), "x", "transposition; 2 is an octave up", PS_AT(Ratio), 1, 0.01, 100, 1, PS_LIVE(Ratio)),
         0.0001),
    Toggle(PS(AntiAlias), "low pass before shifting up", PS_AT(AntiAlias), 0, PS_LIVE(AntiAlias)),
    PageOnly(Real(Number(PS(InitialTime), "frames", "source length", PS_AT(InitialTime), 1, 0, QX_PITCHS_MAX_TIME,
                         2646000, PS_LIVE(InitialTime)),
                  1)),
};
#undef PS
#undef PS_AT
#undef PS_LIVE

const QxEffectView kEffects[] = {
    {"time-stretch", u"Time Stretch", MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912"), IID_IQxTimeProp,
     sizeof(TimeParams), kTime},
    {"pitch-shift", u"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912"), IID_IQxPitchsProp,
     sizeof(PitchParams), kPitch},
    {"simple-delay", u"Simple Delay", MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912"), IID_IQxEchosProp2,
     sizeof(EchosParams), kEchos},
    {"multi-tap-delay", u"Multi-Tap Delay", MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912"), IID_IQxEchomtProp,
     sizeof(EchomtParams), kEchomt},
    {"reverb", u"Reverb", MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912"), IID_IQxReverbProp2,
     sizeof(ReverbParams), kReverb},
    {"chorus", u"Chorus", MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912"), IID_IQxChorusProp2,
     sizeof(ChorusParams), kChorus},
};

// ---- Text helpers -----------------------------------------------------------------------------

std::string Lower(std::string_view s) {
  std::string r(s);
  for (char& c : r) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return r;
}
std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}
// Lower case, runs of blanks as one, no blanks at the ends: how names compare.
std::string Folded(std::string_view s) {
  std::string r;
  for (char c : Trim(s)) {
    if (std::isspace(static_cast<unsigned char>(c))) {
      if (!r.empty() && r.back() != ' ') r += ' ';
    } else {
      r += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return r;
}
std::string Utf8(const char16_t* s) {
  std::string r;
  for (; s && *s; ++s) {
    const uint32_t c = *s;
    if (c < 0x80) {
      r += static_cast<char>(c);
    } else if (c < 0x800) {
      r += static_cast<char>(0xC0 | (c >> 6));
      r += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      r += static_cast<char>(0xE0 | (c >> 12));
      r += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      r += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return r;
}
// The shortest text that reads back as the same double.
std::string Shortest(double v) {
  if (v == 0) v = 0;  // no "-0"
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}
// A whole finite number at the start of `s`; the rest goes to *rest.
bool LeadingNumber(std::string_view s, double* v, std::string_view* rest) {
  std::string text(s);
  if (!text.empty() && text[0] == '+') text.erase(0, 1);
  const char* begin = text.c_str();
  char* end = nullptr;
  const double r = std::strtod(begin, &end);
  if (end == begin || !std::isfinite(r)) return false;
  // strtod reads "inf", "nan" and hex; only plain decimals are numbers here.
  for (const char* c = begin; c < end; ++c)
    if (std::isalpha(static_cast<unsigned char>(*c)) && *c != 'e' && *c != 'E') return false;
  *v = r;
  *rest = Trim(s.substr((s.size() - text.size()) + static_cast<size_t>(end - begin)));
  return true;
}

std::string RangeText(const QxParamView& p) {
  std::string r = Shortest(p.NaturalMin()) + " to " + Shortest(p.NaturalMax());
  if (*p.Unit) r += std::string(" ") + p.Unit;
  if (p.MinIsSilence) r += " (" + Shortest(p.NaturalMin()) + " or -inf is silence)";
  return r;
}
std::string EnumList(const QxParamView& p) {
  std::string r;
  for (int i = 0; i < p.EnumCount; ++i) r += (i ? ", " : "") + std::to_string(i) + " " + Utf8(p.EnumName(i));
  return r;
}

// Other units a value may be typed in, as factors to the parameter's own unit; the ratio's
// semitones and cents are a power instead.
struct UnitAlias {
  const char* unit;
  const char* alias;
  double factor;
};
const UnitAlias kAliases[] = {
    {"ms", "s", 1000},      {"ms", "sec", 1000},   {"ms", "msec", 1},   {"s", "ms", 0.001},
    {"s", "sec", 1},        {"s", "msec", 0.001},  {"Hz", "khz", 1000}, {"cents", "cent", 1},
    {"cents", "ct", 1},     {"semitones", "st", 1}, {"semitones", "semitone", 1},
    {"semitones", "semi", 1}, {"voices", "voice", 1}, {"taps", "tap", 1}, {"x", "times", 1},
};

// Converts `value` typed in `unit` to the parameter's unit; false when the unit doesn't fit.
bool ToOwnUnit(const QxParamView& p, std::string_view unit, double* value) {
  const std::string u = Lower(unit);
  if (u.empty() || u == Lower(p.Unit)) return true;
  if (std::strcmp(p.Unit, "x") == 0) {
    if (u == "st" || u == "semi" || u == "semitone" || u == "semitones") {
      *value = std::pow(2.0, *value / 12.0);
      return true;
    }
    if (u == "ct" || u == "cent" || u == "cents") {
      *value = std::pow(2.0, *value / 1200.0);
      return true;
    }
    return false;
  }
  for (const UnitAlias& a : kAliases)
    if (std::strcmp(a.unit, p.Unit) == 0 && u == a.alias) {
      *value *= a.factor;
      return true;
    }
  return false;
}

std::string UnitsAccepted(const QxParamView& p) {
  std::string r = p.Unit;
  if (std::strcmp(p.Unit, "x") == 0) r += ", st (semitones), cents";
  for (const UnitAlias& a : kAliases)
    if (std::strcmp(a.unit, p.Unit) == 0 && std::strcmp(a.alias, "msec") && std::strcmp(a.alias, "sec"))
      r += std::string(", ") + a.alias;
  return r;
}

QxParse ParseEnum(const QxParamView& p, std::string_view text, double* stored, std::string* why) {
  const std::string want = Folded(text);
  std::vector<int> prefix, wordPrefix;
  for (int i = 0; i < p.EnumCount; ++i) {
    std::string name = Folded(Utf8(p.EnumName(i)));
    // A splice mode may be named without its code: "speech 2" is "A08. Speech 2".
    const size_t code = name.find(". ");
    if (code != std::string::npos && code <= 4 && want.find(". ") == std::string::npos &&
        !name.starts_with(want)) name.erase(0, code + 2);
    // A note may be named without its trailing " note": "dotted 8th" is "Dotted 8th Note".
    if (name == want || (name.size() > 5 && name.ends_with(" note") && name.substr(0, name.size() - 5) == want)) {
      *stored = i;
      return QxParse::Ok;
    }
    if (!want.empty() && name.starts_with(want)) {
      prefix.push_back(i);
      const char next = name.size() > want.size() ? name[want.size()] : ' ';
      if (!std::isalnum(static_cast<unsigned char>(next))) wordPrefix.push_back(i);
    }
  }
  for (const std::vector<int>* hits : {&wordPrefix, &prefix})
    if (hits->size() == 1) {
      *stored = (*hits)[0];
      return QxParse::Ok;
    }
  if (why) {
    const std::vector<int>& hits = wordPrefix.empty() ? prefix : wordPrefix;
    if (hits.size() > 1) {
      *why = std::string(p.Name) + ": '" + std::string(text) + "' could be";
      for (size_t k = 0; k < hits.size(); ++k) *why += (k ? ", " : " ") + Utf8(p.EnumName(hits[k]));
    } else {
      *why = std::string(p.Name) + " has no '" + std::string(text) + "'; it takes " + EnumList(p);
    }
  }
  return QxParse::Invalid;
}

}  // namespace

// ---- The API ----------------------------------------------------------------------------------

std::span<const QxEffectView> QxEffectViews() { return kEffects; }

const QxEffectView* QxFindEffectView(std::string_view name) {
  const std::string want = Lower(name);
  for (const QxEffectView& e : kEffects)
    if (want == e.Name || want == Lower(Utf8(e.Title))) return &e;
  return nullptr;
}

const QxParamView* QxFindParam(const QxEffectView& effect, std::string_view name) {
  const std::string want = Lower(name);
  for (const QxParamView& p : effect.Params)
    if (want == Lower(p.Name) || want == Lower(p.Field)) return &p;
  return nullptr;
}

double QxParamToNatural(const QxParamView& p, double stored) { return stored / p.Divisor; }

QxParse QxParamToStored(const QxParamView& p, double natural, double* stored) {
  if (!std::isfinite(natural)) return QxParse::Invalid;
  double s = natural * p.Divisor;
  QxParse result = QxParse::Ok;
  if (p.Store == QxStoreType::Float64) {
    // Of the product and its neighbours, those that read back as the same natural value; the one
    // written shortest wins, so 64.01 % is stored as 6401 and not as 6400.999999999999.
    double best = s;
    size_t bestLength = SIZE_MAX;
    for (double t : {s, std::nextafter(s, -INFINITY), std::nextafter(s, INFINITY)})
      if (t / p.Divisor == natural && Shortest(t).size() < bestLength) {
        best = t;
        bestLength = Shortest(t).size();
      }
    s = best;
  } else {
    const double r = std::round(s);
    if (std::fabs(r - s) > 1e-9 * std::max(1.0, std::fabs(s))) result = QxParse::Rounded;
    s = r;
  }
  if (s < p.StoredMin || s > p.StoredMax) {
    s = std::clamp(s, p.StoredMin, p.StoredMax);
    result = QxParse::OutOfRange;
  }
  *stored = s;
  return result;
}

std::string QxParamEnumName(const QxParamView& p, int index) {
  if (p.Kind != QxParamKind::Enum || index < 0 || index >= p.EnumCount) return "";
  return Utf8(p.EnumName(index));
}

std::string QxParamFormatValue(const QxParamView& p, double stored) {
  switch (p.Kind) {
    case QxParamKind::Toggle:
      return stored != 0 ? "on" : "off";
    case QxParamKind::Enum:
      if (stored >= 0 && stored < p.EnumCount && stored == std::floor(stored))
        return QxParamEnumName(p, static_cast<int>(stored));
      return Shortest(stored);
    default:
      if (p.MinIsSilence && stored <= p.StoredMin) return "-inf";
      return Shortest(QxParamToNatural(p, stored));
  }
}

std::string QxParamFormat(const QxParamView& p, double stored) {
  std::string r = QxParamFormatValue(p, stored);
  if (p.Kind != QxParamKind::Enum && p.Kind != QxParamKind::Toggle && *p.Unit) r += std::string(" ") + p.Unit;
  return r;
}

QxParse QxParamParse(const QxParamView& p, std::string_view text, double* stored, std::string* why) {
  const std::string_view t = Trim(text);
  const std::string low = Folded(t);
  auto fail = [&](QxParse r, const std::string& msg) {
    if (why) *why = msg;
    return r;
  };
  if (t.empty()) return fail(QxParse::Invalid, std::string(p.Name) + " needs a value");
  if (p.Kind == QxParamKind::Toggle) {
    for (const char* on : {"on", "yes", "true", "1"})
      if (low == on) return *stored = 1, QxParse::Ok;
    for (const char* off : {"off", "no", "false", "0"})
      if (low == off) return *stored = 0, QxParse::Ok;
    return fail(QxParse::Invalid, std::string(p.Name) + " is on or off, not '" + std::string(t) + "'");
  }
  double v = 0;
  std::string_view unit;
  if (p.Kind == QxParamKind::Enum) {
    if (LeadingNumber(t, &v, &unit) && unit.empty()) {
      if (v != std::floor(v) || v < 0 || v >= p.EnumCount)
        return fail(QxParse::OutOfRange, std::string(p.Name) + " takes 0 to " + std::to_string(p.EnumCount - 1) +
                                             " or a name: " + EnumList(p));
      *stored = v;
      return QxParse::Ok;
    }
    return ParseEnum(p, t, stored, why);
  }
  const std::string accepted = std::string(p.Name) + " takes " + RangeText(p);
  if (p.MinIsSilence) {
    for (const char* silent : {"-inf", "off", "silence", "silent"})
      if (low.starts_with(silent) && ToOwnUnit(p, Trim(std::string_view(low).substr(std::strlen(silent))), &v)) {
        *stored = p.StoredMin;
        return QxParse::Ok;
      }
  }
  if (!LeadingNumber(t, &v, &unit)) return fail(QxParse::Invalid, accepted + ", not '" + std::string(t) + "'");
  if (!ToOwnUnit(p, unit, &v)) {
    const std::string own = *p.Unit ? "units: " + UnitsAccepted(p) : "no unit";
    return fail(QxParse::Invalid,
                std::string(p.Name) + ": '" + std::string(unit) + "' is not a unit of it (" + own + ")");
  }
  const QxParse r = QxParamToStored(p, v, stored);
  if (r == QxParse::OutOfRange) return fail(r, accepted + ", not '" + std::string(t) + "'");
  if (r == QxParse::Rounded && why)
    *why = std::string(p.Name) + ": '" + std::string(t) + "' is between steps of " + Shortest(p.Step) +
           (*p.Unit ? std::string(" ") + p.Unit : "") + "; it becomes " + QxParamFormat(p, *stored);
  return r;
}

double QxParamReadRecord(const QxParamView& p, const void* record) {
  const auto* at = static_cast<const unsigned char*>(record) + p.Offset;
  switch (p.Store) {
    case QxStoreType::Int32: {
      int32_t v;
      std::memcpy(&v, at, 4);
      return v;
    }
    case QxStoreType::UInt32: {
      uint32_t v;
      std::memcpy(&v, at, 4);
      return v;
    }
    case QxStoreType::Float64: {
      double v;
      std::memcpy(&v, at, 8);
      return v;
    }
  }
  return 0;
}

void QxParamWriteRecord(const QxParamView& p, void* record, double stored) {
  auto* at = static_cast<unsigned char*>(record) + p.Offset;
  switch (p.Store) {
    case QxStoreType::Int32: {
      const int32_t v = static_cast<int32_t>(stored);
      std::memcpy(at, &v, 4);
      break;
    }
    case QxStoreType::UInt32: {
      const uint32_t v = static_cast<uint32_t>(stored);
      std::memcpy(at, &v, 4);
      break;
    }
    case QxStoreType::Float64:
      std::memcpy(at, &stored, 8);
      break;
  }
}

HRESULT QxParamGetLive(const QxParamView& p, IUnknown* effect, double* stored) { return p.Get(effect, stored); }

HRESULT QxParamSetLive(const QxParamView& p, IUnknown* effect, double stored) {
  if (!std::isfinite(stored)) return E_INVALIDARG;
  return p.Set(effect, std::clamp(stored, p.StoredMin, p.StoredMax));
}

std::string QxParamsOutOfRange(const QxEffectView& view, IUnknown* effect) {
  for (const QxParamView& p : view.Params) {
    double stored = 0.0;
    if (FAILED(p.Get(effect, &stored)) || (stored >= p.StoredMin && stored <= p.StoredMax)) continue;
    char value[32];
    std::snprintf(value, sizeof value, "%.6g", QxParamToNatural(p, stored));
    return std::string(p.Name) + " is " + value + ", outside " + QxParamFormat(p, p.StoredMin) + " to " +
           QxParamFormat(p, p.StoredMax);
  }
  return {};
}
