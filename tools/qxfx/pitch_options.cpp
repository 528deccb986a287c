// pitch-shift's --semitones, --cents and --preserve-duration for qxfx: converted as the page
// converts them and set through IQxPitchsProp.
#include "tools/qxfx/pitch_options.h"

#include <cmath>
#include <cstdio>

#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"

namespace {
std::string Fixed(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%g", v);
  return buf;
}
}  // namespace

bool QxfxPitchSettingFor(const QxfxPitchOptions& o, QxfxPitchSetting* setting, std::string* error) {
  const int32_t limit = o.preserveDuration ? 12 : QX_PITCHS_MAX_SEMITONES;
  if (o.semitones != std::trunc(o.semitones) || std::fabs(o.semitones) > limit) {
    *error = "--semitones takes a whole number from -" + std::to_string(limit) + " to " + std::to_string(limit) +
             (o.preserveDuration ? " with --preserve-duration" : "") + ", not " + Fixed(o.semitones);
    return false;
  }
  if (std::fabs(o.cents) > 100.0) {
    *error = "--cents takes -100.0 to 100.0, not " + Fixed(o.cents);
    return false;
  }
  QxfxPitchSetting s;
  s.semitones = static_cast<int32_t>(o.semitones);
  // The page keeps cents in tenths.
  s.cents = static_cast<int32_t>(std::lround(o.cents * 10.0));
  s.ratio = std::pow(2.0, (s.cents / 1000.0 + s.semitones) / 12.0);
  *setting = s;
  return true;
}

bool QxfxApplyPitchArgs(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& cl, std::string* error) {
  const QxfxPitchOptions& o = cl.pitch;
  if (!o.Any()) return true;
  if (effect.clsid != MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912")) {
    *error = "--semitones, --cents and --preserve-duration are for pitch-shift, not " + effect.name;
    return false;
  }
  ComPtr<IQxPitchsProp> prop;
  if (FAILED(filter->QueryInterface(IID_IQxPitchsProp, prop.PutVoid())) || !prop) {
    *error = "the pitch-shift filter has no IQxPitchsProp";
    return false;
  }
  HRESULT hr = S_OK;
  if (o.preserveDuration) hr = prop->SetPreserveDuration(1);
  if (FAILED(hr)) {
    *error = "could not set PreserveDuration on pitch-shift";
    return false;
  }
  if (!o.hasSemitones && !o.hasCents) return true;
  for (const QxfxSetting& s : cl.settings)
    if (s.field == "Ratio") {
      *error = "--set Ratio and --semitones / --cents set the same thing; give one of them";
      return false;
    }
  QxfxPitchSetting setting;
  if (!QxfxPitchSettingFor(o, &setting, error)) return false;
  hr = prop->SetSemitones(setting.semitones);
  if (SUCCEEDED(hr)) hr = prop->SetCents(setting.cents);
  if (SUCCEEDED(hr)) hr = prop->SetRatio(setting.ratio);
  if (FAILED(hr)) {
    *error = "could not set the shift of pitch-shift";
    return false;
  }
  if (!cl.quiet)
    std::fprintf(stderr, "qxfx: pitch-shift Semitones %d Cents %d Ratio %.6f%s\n", setting.semitones, setting.cents,
                 setting.ratio, o.preserveDuration ? ", duration preserved" : "");
  return true;
}
