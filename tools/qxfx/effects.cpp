// Effect descriptors for qxfx.
#include "tools/qxfx/effects.h"

#include <algorithm>

#include "aplugins/qxppack1/delay/echos_prop.h"

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

std::vector<QxfxEffect> Build() {
  std::vector<QxfxEffect> e;
  e.push_back({"time-stretch", u"Time Stretch", MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912"), {}});
  e.push_back({"pitch-shift", u"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912"), {}});
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
  e.push_back({"multi-tap-delay", u"Multi-Tap Delay", MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912"), {}});
  e.push_back({"reverb", u"Reverb", MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912"), {}});
  e.push_back({"chorus", u"Chorus", MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912"), {}});
  return e;
}
#undef ECHOS_FIELD

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
