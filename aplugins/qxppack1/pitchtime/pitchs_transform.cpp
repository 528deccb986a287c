// Pitch Shift's transform, parameter side: presets, the persistent form, setters with their clamps
// and change flags, the ratio arithmetic and the musical-equivalent text.
#include "aplugins/qxppack1/pitchtime/pitchs_transform.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#include <cmath>
#include <cstdlib>

// Semitones, Cents, Accuracy, PreserveDuration, Mode, -, Ratio, AntiAlias, -, InitialTime. The
// ratios are the rounded values the table has always held, not computed powers.
const QxPitchsPreset g_PitchsPresets[] = {
    {IDS_PITCHS_PRESET0 + 0, {0, 0, 2, 0, 0, 0, 1.0, 0, 0, 2646000.0}},
    {IDS_PITCHS_PRESET0 + 1, {0, 0, 2, 0, 0, 0, 1.0, 0, 0, 2646000.0}},
    {IDS_PITCHS_PRESET0 + 2, {-7, 0, 2, 0, 0, 0, 0.66742, 0, 0, 2646000.0}},
    {IDS_PITCHS_PRESET0 + 3, {7, 0, 2, 0, 0, 0, 1.4983, 0, 0, 2646000.0}},
    {IDS_PITCHS_PRESET0 + 4, {-4, 0, 2, 0, 0, 0, 0.7937, 0, 0, 2646000.0}},
    {IDS_PITCHS_PRESET0 + 5, {4, 0, 2, 0, 0, 0, 1.25992, 0, 0, 2646000.0}},
};
const uint32_t g_PitchsPresetCount = sizeof g_PitchsPresets / sizeof g_PitchsPresets[0];

namespace {
const QxPersistForm kPitchsForms[] = {
    {MakeGuid("ED1B4103-93BE-11D0-AEBC-00A0C9053912"), 68, 48, nullptr},
};
using PitchsPresetAccess = QxPresetAccess<QxPitchsPreset, g_PitchsPresets>;

bool ValidRatio(double r) { return std::isfinite(r) && r > 0.0; }

template <typename T>
bool Clamp(T* v, T lo, T hi) {
  const T c = *v < lo ? lo : *v > hi ? hi : *v;
  const bool moved = !(c == *v);
  *v = c;
  return moved;
}

const char16_t* const kIntervals[12] = {
    u"Octave",    u"Minor 2nd", u"Major 2nd", u"Minor 3rd", u"Major 3rd", u"4th",
    u"Tritone",   u"5th",       u"Minor 6th", u"Major 6th", u"Minor 7th", u"Major 7th",
};
}  // namespace

const QxEffectTables g_PitchsTables = {
    sizeof(PitchParams), kPitchsForms, 1, nullptr, g_PitchsPresetCount, PitchsPresetAccess::Name,
    PitchsPresetAccess::Record,
};

// ---------------------------------------------------------------------------------------------
// Ratio arithmetic and the musical equivalent

double QxPitchs_RatioFor(int32_t semitones, int32_t cents) {
  return std::pow(2.0, (cents / 1000.0 + semitones) / 12.0);
}

uint32_t QxPitchs_VirtualRate(uint32_t sampleRate, double ratio) {
  const double v = std::trunc(static_cast<double>(sampleRate) / ratio);
  if (!(v >= 1.0)) return 1;  // NaN too
  if (v >= 4294967295.0) return 4294967295u;
  return static_cast<uint32_t>(v);
}

double QxPitchs_ResampleRatio(uint32_t sampleRate, double ratio, bool preserveDuration) {
  const double r = static_cast<double>(sampleRate) / QxPitchs_VirtualRate(sampleRate, ratio);
  return preserveDuration && r < 0.5 ? 0.5 : r;
}

QxPitchsInterval QxPitchs_MusicalParts(int32_t semitones, int32_t cents) {
  const double r = QxPitchs_RatioFor(semitones, cents);
  if ((semitones == 0 && cents >= -999 && cents <= 999) || (semitones == 1 && cents == -1000) ||
      (semitones == -1 && cents == 1000) || (r > 0.998 && r < 1.002))
    return {u"", u"", u'\0'};
  int32_t correction = 0;
  if (semitones <= 0)
    correction = cents == 1000 ? -1 : cents == -1000 ? 1 : 0;
  else
    correction = cents == 1000 ? 1 : cents == -1000 ? -1 : 0;
  const int32_t count = std::abs(semitones) + correction;
  const char16_t sign = cents > 0 && cents != 1000 ? u'+' : cents < 0 && cents != -1000 ? u'-' : u' ';
  return {r > 1.0 ? u"Up" : u"Down", kIntervals[std::abs(count % 12)], sign};
}

std::u16string QxPitchs_MusicalEquivalent(int32_t semitones, int32_t cents) {
  // "%s %s %c": a terminator as the character ends the text there.
  const QxPitchsInterval p = QxPitchs_MusicalParts(semitones, cents);
  std::u16string s = std::u16string(p.Word) + u" " + p.Interval + u" ";
  if (p.Sign) s += p.Sign;
  return s;
}

// ---------------------------------------------------------------------------------------------
// Parameters

CQxPitchsTransform::CQxPitchsTransform() { params_ = g_PitchsPresets[0].Params; }

HRESULT CQxPitchsTransform::GetParams(PitchParams* record) {
  if (!record) return E_POINTER;
  std::lock_guard<std::recursive_mutex> g(lock_);
  *record = params_;
  return S_OK;
}

HRESULT CQxPitchsTransform::SetParams(const PitchParams* record) {
  if (!record) return E_POINTER;
  // The transform divides by Ratio; a record without a usable one is refused whole.
  if (!ValidRatio(record->Ratio)) return E_INVALIDARG;
  PitchParams p = *record;
  bool clamped = Clamp(&p.Semitones, -QX_PITCHS_MAX_SEMITONES, QX_PITCHS_MAX_SEMITONES);
  clamped |= Clamp(&p.Cents, -QX_PITCHS_MAX_CENTS, QX_PITCHS_MAX_CENTS);
  if (std::isnan(p.InitialTime)) {
    p.InitialTime = 2646000.0;
    clamped = true;
  }
  clamped |= Clamp(&p.InitialTime, 0.0, QX_PITCHS_MAX_TIME);
  std::lock_guard<std::recursive_mutex> g(lock_);
  StoreField(params_.Semitones, p.Semitones);
  StoreField(params_.Cents, p.Cents);
  StoreField(params_.Accuracy, p.Accuracy);
  StoreField(params_.PreserveDuration, p.PreserveDuration);
  StoreField(params_.Mode, p.Mode);
  StoreField(params_.Reserved1, p.Reserved1);
  StoreField(params_.Ratio, p.Ratio);
  StoreField(params_.AntiAlias, p.AntiAlias);
  StoreField(params_.Reserved2, p.Reserved2);
  StoreField(params_.InitialTime, p.InitialTime);
  changed_ = rebuild_ = dirty_ = true;
  return clamped ? E_FAIL : S_OK;
}

#define QX_PITCHS_GETTER(Name, T)                          \
  HRESULT CQxPitchsTransform::Get##Name(T* value) {        \
    if (!value) return E_POINTER;                          \
    *value = LoadField(params_.Name);                      \
    return S_OK;                                           \
  }
QX_PITCHS_GETTER(Semitones, int32_t)
QX_PITCHS_GETTER(Cents, int32_t)
QX_PITCHS_GETTER(Accuracy, int32_t)
QX_PITCHS_GETTER(PreserveDuration, int32_t)
QX_PITCHS_GETTER(Mode, int32_t)
QX_PITCHS_GETTER(Ratio, double)
QX_PITCHS_GETTER(AntiAlias, int32_t)
QX_PITCHS_GETTER(InitialTime, double)
#undef QX_PITCHS_GETTER

// Stores a single field on a real change, with the flags its kind of change needs.
#define QX_PITCHS_STORE(Name, rebuild)                     \
  std::lock_guard<std::recursive_mutex> g(lock_);          \
  if (params_.Name == value) return S_OK;                  \
  StoreField(params_.Name, value);                         \
  changed_ = dirty_ = true;                                \
  if (rebuild) rebuild_ = true;                            \
  return S_OK

HRESULT CQxPitchsTransform::SetSemitones(int32_t value) {
  Clamp(&value, -QX_PITCHS_MAX_SEMITONES, QX_PITCHS_MAX_SEMITONES);
  QX_PITCHS_STORE(Semitones, false);
}
HRESULT CQxPitchsTransform::SetCents(int32_t value) {
  Clamp(&value, -QX_PITCHS_MAX_CENTS, QX_PITCHS_MAX_CENTS);
  QX_PITCHS_STORE(Cents, false);
}
HRESULT CQxPitchsTransform::SetAccuracy(int32_t value) { QX_PITCHS_STORE(Accuracy, true); }
HRESULT CQxPitchsTransform::SetPreserveDuration(int32_t value) { QX_PITCHS_STORE(PreserveDuration, true); }
HRESULT CQxPitchsTransform::SetMode(int32_t value) { QX_PITCHS_STORE(Mode, true); }
HRESULT CQxPitchsTransform::SetRatio(double value) {
  if (!ValidRatio(value)) return E_INVALIDARG;
  QX_PITCHS_STORE(Ratio, false);
}
HRESULT CQxPitchsTransform::SetAntiAlias(int32_t value) { QX_PITCHS_STORE(AntiAlias, true); }
HRESULT CQxPitchsTransform::SetInitialTime(double value) {
  if (std::isnan(value)) return S_OK;
  Clamp(&value, 0.0, QX_PITCHS_MAX_TIME);
  QX_PITCHS_STORE(InitialTime, false);
}
#undef QX_PITCHS_STORE
