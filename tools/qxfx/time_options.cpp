// time-stretch's --percent and --tempo-from / --tempo-to for qxfx: converted to FinalLength as the
// page converts them and set through IQxTimeProp.
#include "tools/qxfx/time_options.h"

#include <cmath>
#include <cstdio>

#include "aplugins/qxppack1/pitchtime/time_prop.h"

namespace {
std::string Fixed(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.2f", v);
  return buf;
}
}  // namespace

bool QxfxTimeSettingFor(const QxfxTimeOptions& o, QxfxTimeSetting* setting, std::string* error) {
  const bool tempo = o.hasTempoFrom || o.hasTempoTo;
  if (o.hasPercent && tempo) {
    *error = "give either --percent or --tempo-from and --tempo-to, not both";
    return false;
  }
  if (tempo && !(o.hasTempoFrom && o.hasTempoTo)) {
    *error = "--tempo-from and --tempo-to go together (e.g. --tempo-from 120 --tempo-to 110)";
    return false;
  }
  QxfxTimeSetting s;
  if (o.hasPercent) {
    s.finalLength = o.percent * 100.0;
  } else {
    // The page keeps the source tempo in hundredths, truncated, and divides it by the new tempo.
    if (o.tempoFrom <= 0.0 || o.tempoFrom > QX_TIME_MAX_TEMPO / 100.0) {
      *error = "--tempo-from takes a tempo above 0 and up to 500 bpm, not " + Fixed(o.tempoFrom);
      return false;
    }
    if (o.tempoTo <= 0.0) {
      *error = "--tempo-to takes a tempo above 0 bpm, not " + Fixed(o.tempoTo);
      return false;
    }
    s.setsTempo = true;
    s.initialTempo = static_cast<uint32_t>(std::trunc(o.tempoFrom * 100.0));
    s.finalLength = s.initialTempo / (o.tempoTo * 0.01);
  }
  if (!(s.finalLength >= QX_TIME_MIN_LENGTH && s.finalLength <= QX_TIME_MAX_LENGTH)) {
    *error = "time-stretch makes audio 50 % to 500 % of its length; " +
             (o.hasPercent ? Fixed(o.percent) + " % is outside that"
                           : Fixed(o.tempoFrom) + " to " + Fixed(o.tempoTo) + " bpm would be " +
                                 Fixed(s.finalLength / 100.0) + " %");
    return false;
  }
  *setting = s;
  return true;
}

bool QxfxApplyTimeArgs(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& cl, std::string* error) {
  const QxfxTimeOptions& o = cl.time;
  if (!o.Any()) return true;
  if (effect.clsid != MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912")) {
    *error = "--percent, --tempo-from and --tempo-to are for time-stretch, not " + effect.name;
    return false;
  }
  for (const QxfxSetting& s : cl.settings)
    if (s.field == "FinalLength") {
      *error = "--set FinalLength and --percent / --tempo-from set the same thing; give one of them";
      return false;
    }
  QxfxTimeSetting setting;
  if (!QxfxTimeSettingFor(o, &setting, error)) return false;
  ComPtr<IQxTimeProp> prop;
  if (FAILED(filter->QueryInterface(IID_IQxTimeProp, prop.PutVoid())) || !prop) {
    *error = "the time-stretch filter has no IQxTimeProp";
    return false;
  }
  // The tempo form keeps what the page would keep, so a saved state shows the same tempi.
  HRESULT hr = S_OK;
  if (setting.setsTempo) {
    hr = prop->SetInitialTempo(setting.initialTempo);
    if (SUCCEEDED(hr)) hr = prop->SetInputFormat(1);
  } else {
    hr = prop->SetInputFormat(0);
  }
  if (SUCCEEDED(hr)) hr = prop->SetFinalLength(setting.finalLength);
  if (FAILED(hr)) {
    *error = "could not set the length of time-stretch";
    return false;
  }
  if (!cl.quiet)
    std::fprintf(stderr, "qxfx: time-stretch FinalLength %.4f (output %.2f %% of the input)\n", setting.finalLength,
                 setting.finalLength / 100.0);
  return true;
}
