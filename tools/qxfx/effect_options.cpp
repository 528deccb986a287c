// qxfx's effect options.
#include "tools/qxfx/effect_options.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/params/param_view.h"
#include "hosts/common/effect_presets.h"
#include "platform/com/persist.h"
#include "platform/registry/utf.h"
#include "platform/com/task_mem.h"
#include "tools/qxfx/file_checks.h"

namespace {
std::string Narrow(const WCHAR* s) { return s ? QxUtf16ToUtf8(s) : std::string(); }

// Pads UTF-8 text with spaces to `width` characters, so that columns line up in any language.
std::string Pad(std::string s, size_t width) {
  size_t chars = 0;
  for (unsigned char c : s) chars += (c & 0xC0) != 0x80;
  if (chars < width) s.append(width - chars, ' ');
  return s;
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

std::string Trim(const std::string& s) {
  size_t a = s.find_first_not_of(" \t"), b = s.find_last_not_of(" \t");
  return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

template <class T>
ComPtr<T> Query(IUnknown* u, REFIID iid) {
  ComPtr<T> p;
  u->QueryInterface(iid, p.PutVoid());
  return p;
}

bool ParseDouble(const std::string& s, double* v) {
  if (s.empty()) return false;
  char* end = nullptr;
  errno = 0;
  *v = std::strtod(s.c_str(), &end);
  return !errno && *end == 0 && std::isfinite(*v);
}

std::string Quote(const std::string& s) { return "'" + s + "'"; }

std::string Json(const std::string& s) {
  std::string r = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') r += '\\';
    r += c;
  }
  return r + "\"";
}

bool LoadState(IUnknown* filter, const QxEffectView& view, const std::string& path, std::string* error) {
  // No effect's state comes near this; anything larger is not a state file.
  std::vector<char> text;
  if (!QxfxReadBoundedFile(path, 1 << 16, "the state file", &text, error)) return false;
  std::vector<BYTE> bytes(text.begin(), text.end());
  auto persist = Query<IPersistStream>(filter, IID_IPersistStream);
  if (!persist) {
    *error = "this effect keeps no state";
    return false;
  }
  uint32_t size = 0;
  if (bytes.size() >= 4) size = bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
  if (bytes.size() < 20 || size != bytes.size()) {
    *error = path + " is not a state file (" + std::to_string(bytes.size()) +
             " bytes, its header says " + std::to_string(size) + ")";
    return false;
  }
  // Loading ignores what it does not know; a clean state that stays clean tells us it was ignored.
  ComPtr<IStream> scratch(CMemoryStream::Create(), false);
  persist->Save(scratch.Get(), TRUE);
  ComPtr<IStream> stream(CMemoryStream::Create(bytes), false);
  persist->Load(stream.Get());
  if (persist->IsDirty() != S_OK) {
    *error = path + " holds a state of another effect or of an unknown version";
    return false;
  }
  if (const std::string wrong = QxParamsOutOfRange(view, filter); !wrong.empty()) {
    *error = path + " is damaged or not a state of this effect: " + wrong;
    return false;
  }
  return true;
}

bool ApplyPreset(IUnknown* filter, const std::string& which, std::string* error) {
  std::vector<std::string> names = QxPresetNames(filter);
  if (names.empty()) {
    *error = "this effect has no presets";
    return false;
  }
  std::vector<long> candidates;
  const long index = QxFindPreset(names, which, &candidates);
  if (candidates.size() > 1) {
    *error = "preset " + Quote(which) + " could be";
    for (size_t k = 0; k < candidates.size(); ++k) *error += (k ? ", " : " ") + Quote(names[candidates[k]]);
    return false;
  }
  if (index < 0) {
    std::string hint = QxfxNearest(which, names);
    *error = "no preset " + Quote(which) + (hint.empty() ? "" : " (did you mean " + Quote(hint) + "?)") +
             "; there are " + std::to_string(names.size()) + " presets, 0 to " + std::to_string(names.size() - 1) +
             " (qxfx presets EFFECT lists them)";
    return false;
  }
  HRESULT hr = QxLoadPreset(filter, index);
  if (FAILED(hr)) {
    *error = "could not load preset " + Quote(which);
    return false;
  }
  return true;
}

std::string Shortest(double v) {
  char buf[32];
  auto r = std::to_chars(buf, buf + sizeof buf, v == 0 ? 0.0 : v);
  return std::string(buf, r.ptr);
}

// What the stored value of a field counts, for --set messages: "one unit is 0.1 dB".
std::string StoredUnit(const QxParamView& p) {
  if (p.Kind == QxParamKind::Enum || p.Kind == QxParamKind::Toggle) return "an index";
  return std::string("one unit is ") + Shortest(1.0 / p.Divisor) + (*p.Unit ? std::string(" ") + p.Unit : "");
}

// How to move the sound where a page-only field was set.
std::string SoundHint(const QxfxEffect& effect) {
  if (effect.name == "pitch-shift") return "; the sound follows Ratio (--semitones, --cents or --param Ratio=+7st)";
  if (effect.name == "time-stretch") return "; the sound follows FinalLength (--percent, --tempo-from/--tempo-to)";
  return "";
}

// --set FIELD=VALUE (the stored value, exactly) and --param NAME=VALUE (natural units), in order.
bool SetFields(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& cl, std::string* error) {
  for (const QxfxSetting& s : cl.settings) {
    const char* option = s.natural ? "--param" : "--set";
    const QxParamView* p = QxFindParam(*effect.view, s.field);
    if (!p) {
      std::vector<std::string> names;
      for (const QxParamView& f : effect.view->Params) {
        names.push_back(f.Name);
        names.push_back(f.Field);
      }
      std::string hint = QxfxNearest(s.field, names);
      *error = "unknown parameter " + Quote(s.field) + " for " + effect.name +
               (hint.empty() ? "" : " (did you mean " + Quote(hint) + "?)") + "; qxfx params " + effect.name +
               " lists them";
      return false;
    }
    double stored = 0;
    if (s.natural) {
      std::string why;
      const QxParse r = QxParamParse(*p, s.value, &stored, &why);
      if (r == QxParse::Invalid || r == QxParse::OutOfRange) {
        *error = "--param: " + why;
        return false;
      }
      if (r == QxParse::Rounded && !cl.quiet) std::fprintf(stderr, "qxfx: %s\n", why.c_str());
    } else {
      const bool whole = p->Store != QxStoreType::Float64;
      double v = 0;
      if (!ParseDouble(s.value, &v) || (whole && v != std::floor(v)) || v < p->StoredMin || v > p->StoredMax) {
        *error = "bad value " + Quote(s.value) + " for --set " + p->Field + ": " +
                 (whole ? "a whole number" : "a number") + " from " + Shortest(p->StoredMin) + " to " +
                 Shortest(p->StoredMax) + " (" + StoredUnit(*p) + "); --param " + p->Name + "=" +
                 QxParamFormatValue(*p, p->StoredDefault) +
                 (p->Kind == QxParamKind::Continuous || p->Kind == QxParamKind::Integer ? p->Unit : "") +
                 " takes natural units";
        return false;
      }
      stored = v;
    }
    if (p->PageOnly && !cl.quiet)
      std::fprintf(stderr, "qxfx: %s %s: only the effect's page reads %s; it changes no sound%s\n", option,
                   p->Name, p->Name, SoundHint(effect).c_str());
    const HRESULT hr = QxParamSetLive(*p, filter, stored);
    if (FAILED(hr)) {
      *error = "the effect refused " + std::string(p->Name) + " = " + QxParamFormat(*p, stored);
      return false;
    }
  }
  return true;
}
}  // namespace

bool QxfxParseAutomation(const std::string& text, IMediaParamInfo* info, QxfxEnvelope* out, std::string* error) {
  const std::string form = " (the form is \"PARAM=CURVE:TIME:VALUE,TIME:VALUE...\", e.g. \"Dry Out=linear:0s:-60,2.5s:0\")";
  size_t eq = text.find('=');
  if (eq == std::string::npos) {
    *error = "bad --automate " + Quote(text) + form;
    return false;
  }
  std::string param = Trim(text.substr(0, eq)), rest = text.substr(eq + 1);
  DWORD count = 0;
  info->GetParamCount(&count);
  long index = -1;
  std::vector<std::string> labels;
  for (DWORD i = 0; i < count; ++i) {
    MP_PARAMINFO pi{};
    if (info->GetParamInfo(i, &pi) != S_OK) {
      labels.push_back("");
      continue;
    }
    labels.push_back(Narrow(pi.szLabel));
    if (Lower(labels.back()) == Lower(param)) index = static_cast<long>(i);
  }
  char* end = nullptr;
  long n = std::strtol(param.c_str(), &end, 10);
  if (index < 0 && !param.empty() && *end == 0 && n >= 0 && n < static_cast<long>(count)) index = n;
  if (index < 0) {
    std::string hint = QxfxNearest(param, labels);
    *error = "no parameter " + Quote(param) + " to automate" + (hint.empty() ? "" : " (did you mean " + Quote(hint) + "?)") +
             "; qxfx params EFFECT lists them";
    return false;
  }
  MP_PARAMINFO pi{};
  info->GetParamInfo(static_cast<DWORD>(index), &pi);

  size_t colon = rest.find(':');
  std::string curveName = Lower(Trim(rest.substr(0, colon)));
  struct {
    const char* name;
    MP_CURVE_TYPE curve;
  } curves[] = {{"jump", MP_CURVE_JUMP},           {"linear", MP_CURVE_LINEAR}, {"square", MP_CURVE_SQUARE},
                {"invsquare", MP_CURVE_INVSQUARE}, {"sine", MP_CURVE_SINE}};
  MP_CURVE_TYPE curve = MP_CURVE_JUMP;
  bool known = false;
  for (auto& c : curves)
    if (curveName == c.name) curve = c.curve, known = true;
  if (!known || colon == std::string::npos) {
    *error = "unknown curve " + Quote(curveName) + " in --automate: jump, linear, square, invsquare or sine";
    return false;
  }
  if (!(pi.mopCaps & static_cast<DWORD>(curve)) && curve != MP_CURVE_JUMP) {
    *error = "parameter " + Quote(labels[index]) + " does not move along a " + curveName + " curve";
    return false;
  }
  std::vector<std::pair<REFERENCE_TIME, float>> points;
  std::string list = rest.substr(colon + 1);
  size_t start = 0;
  while (start <= list.size()) {
    size_t comma = list.find(',', start);
    std::string item = Trim(list.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    size_t c = item.find(':');
    if (c == std::string::npos) {
      *error = "bad point " + Quote(item) + " in --automate: TIME:VALUE" + form;
      return false;
    }
    std::string t = Trim(item.substr(0, c)), v = Trim(item.substr(c + 1));
    double scale = 1.0;
    if (t.size() > 2 && t.compare(t.size() - 2, 2, "ms") == 0) {
      scale = 0.001;
      t.resize(t.size() - 2);
    } else if (t.size() > 1 && t.back() == 's') {
      t.pop_back();
    }
    double seconds, value;
    if (!ParseDouble(t, &seconds) || seconds < 0 || !ParseDouble(v, &value)) {
      *error = "bad point " + Quote(item) + " in --automate: a time of 0 or more and a number" + form;
      return false;
    }
    if (value < pi.mpdMinValue || value > pi.mpdMaxValue) {
      char range[96];
      std::snprintf(range, sizeof range, "%g to %g", pi.mpdMinValue, pi.mpdMaxValue);
      *error = "value " + v + " for " + Quote(labels[index]) + " is outside " + range;
      return false;
    }
    auto when = static_cast<REFERENCE_TIME>(std::llround(seconds * scale * 1e7));
    if (!points.empty() && when <= points.back().first) {
      *error = "times in --automate must rise: " + Quote(item) + " does not come after the point before it";
      return false;
    }
    points.push_back({when, static_cast<float>(value)});
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (points.size() < 2) {
    *error = "--automate needs at least two points" + form;
    return false;
  }
  out->index = static_cast<DWORD>(index);
  out->segments.clear();
  for (size_t i = 0; i + 1 < points.size(); ++i)
    out->segments.push_back({points[i].first, points[i + 1].first, points[i].second, points[i + 1].second, curve, 0});
  return true;
}

bool QxfxConfigure(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& cl, std::string* error) {
  if (cl.lang >= 0) {
    auto t = Query<IQxTranslationInfo>(filter, IID_IQxTranslationInfo);
    if (!t || FAILED(t->SetLanguage(static_cast<DWORD>(cl.lang)))) {
      *error = "could not switch the effect to language " + std::to_string(cl.lang);
      return false;
    }
  }
  if (!cl.loadState.empty() && !LoadState(filter, *effect.view, cl.loadState, error)) return false;
  if (!cl.preset.empty() && !ApplyPreset(filter, cl.preset, error)) return false;
  if (!SetFields(filter, effect, cl, error)) return false;
  if (!cl.automations.empty()) {
    auto info = Query<IMediaParamInfo>(filter, IID_IMediaParamInfo);
    auto params = Query<IMediaParams>(filter, IID_IMediaParams);
    if (!info || !params) {
      *error = effect.name + " takes no automation";
      return false;
    }
    for (const std::string& a : cl.automations) {
      QxfxEnvelope env;
      if (!QxfxParseAutomation(a, info.Get(), &env, error)) return false;
      if (FAILED(params->AddEnvelope(env.index, static_cast<DWORD>(env.segments.size()), env.segments.data()))) {
        *error = "the effect refused the envelope " + Quote(a);
        return false;
      }
    }
  }
  return true;
}

bool QxfxSaveState(IUnknown* filter, const std::string& path, std::string* error) {
  auto persist = Query<IPersistStream>(filter, IID_IPersistStream);
  if (!persist) {
    *error = "this effect keeps no state";
    return false;
  }
  auto* raw = CMemoryStream::Create();
  ComPtr<IStream> stream(raw, false);
  if (FAILED(persist->Save(stream.Get(), FALSE))) {
    *error = "the effect could not save its state";
    return false;
  }
  const std::vector<BYTE>& state = raw->Bytes();
  switch (QxfxOutputKindOf(path, "the state file", error)) {
    case QxfxOutputKind::Refuse: return false;
    case QxfxOutputKind::Stream: {
      // A device or pipe is written through, never replaced by a file.
      const int fd = QxfxOpenStream(path, error);
      if (fd < 0) return false;
      const bool ok = write(fd, state.data(), state.size()) == static_cast<ssize_t>(state.size());
      if (close(fd) != 0 || !ok) {
        *error = "cannot write the state file " + path;
        return false;
      }
      return true;
    }
    case QxfxOutputKind::Replace: break;
  }
  std::string tmp = path + ".qxfx-tmp";
  {
    std::ofstream f(tmp, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(raw->Bytes().data()), static_cast<std::streamsize>(raw->Bytes().size()));
    if (!f.flush()) {
      unlink(tmp.c_str());
      *error = "cannot write the state file " + path;
      return false;
    }
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    unlink(tmp.c_str());
    *error = "cannot write the state file " + path;
    return false;
  }
  return true;
}

std::vector<std::string> QxfxPresetNames(IUnknown* filter) { return QxPresetNames(filter); }

void QxfxPrintPresets(IUnknown* filter, bool json) {
  std::vector<std::string> names = QxfxPresetNames(filter);
  if (json) {
    std::printf("[");
    for (size_t i = 0; i < names.size(); ++i) std::printf("%s{\"index\": %zu, \"name\": %s}", i ? ", " : "", i, Json(names[i]).c_str());
    std::printf("]\n");
    return;
  }
  if (names.empty()) std::printf("no presets\n");
  for (size_t i = 0; i < names.size(); ++i) std::printf("%3zu  %s\n", i, names[i].c_str());
}

namespace {
const char* KindName(QxParamKind k) {
  switch (k) {
    case QxParamKind::Continuous: return "continuous";
    case QxParamKind::Integer: return "integer";
    case QxParamKind::Enum: return "enum";
    case QxParamKind::Toggle: return "toggle";
  }
  return "?";
}

// The value a parameter can take, as a listing shows it.
std::string RangeOf(const QxParamView& p) {
  if (p.Kind == QxParamKind::Toggle) return "on|off";
  if (p.Kind == QxParamKind::Enum) return "0.." + std::to_string(p.EnumCount - 1) + " or a name";
  std::string r = QxParamFormatValue(p, p.StoredMin + (p.MinIsSilence ? 1 : 0)) + " to " + QxParamFormat(p, p.StoredMax);
  if (p.MinIsSilence) r = "-inf, " + r;
  return r;
}
}  // namespace

void QxfxPrintView(IUnknown* filter, const QxfxEffect& effect, bool json) {
  const auto& params = effect.view->Params;
  if (json) {
    std::printf("[");
    for (size_t i = 0; i < params.size(); ++i) {
      const QxParamView& p = params[i];
      double now = p.StoredDefault;
      QxParamGetLive(p, filter, &now);
      std::printf("%s{\"name\": %s, \"field\": %s, \"unit\": %s, \"kind\": \"%s\", \"min\": %s, \"max\": %s, "
                  "\"default\": %s, \"step\": %s, \"value\": %s, \"text\": %s, \"page_only\": %s",
                  i ? ",\n " : "", Json(p.Name).c_str(), Json(p.Field).c_str(), Json(p.Unit).c_str(), KindName(p.Kind),
                  Shortest(p.NaturalMin()).c_str(), Shortest(p.NaturalMax()).c_str(),
                  Shortest(p.NaturalDefault()).c_str(), Shortest(p.Step).c_str(),
                  Shortest(QxParamToNatural(p, now)).c_str(), Json(QxParamFormat(p, now)).c_str(),
                  p.PageOnly ? "true" : "false");
      if (p.Kind == QxParamKind::Enum) {
        std::printf(", \"names\": [");
        for (int k = 0; k < p.EnumCount; ++k) std::printf("%s%s", k ? ", " : "", Json(QxParamEnumName(p, k)).c_str());
        std::printf("]");
      }
      std::printf("}");
    }
    std::printf("]\n");
    return;
  }
  std::printf("parameters (--param NAME=VALUE, VALUE in the unit shown; --set FIELD=N sets the stored value):\n");
  std::printf("  %-20s %-30s %-16s %s\n", "NAME", "RANGE", "NOW", "WHAT");
  for (const QxParamView& p : params) {
    double now = p.StoredDefault;
    QxParamGetLive(p, filter, &now);
    std::string what = p.Help;
    if (std::string(p.Name) != p.Field) what += " (field " + std::string(p.Field) + ")";
    if (p.PageOnly) what += "; page only, no sound";
    std::printf("  %-20s %-30s %-16s %s\n", p.Name, RangeOf(p).c_str(), QxParamFormat(p, now).c_str(), what.c_str());
    for (int k = 0; k < p.EnumCount; ++k) std::printf("  %24d  %s\n", k, QxParamEnumName(p, k).c_str());
  }
}

void QxfxPrintParams(IUnknown* filter, const QxfxEffect& effect, bool json) {
  auto info = Query<IMediaParamInfo>(filter, IID_IMediaParamInfo);
  if (!info) {
    if (!json) std::printf("%s has no automation parameters\n", effect.name.c_str());
    else std::printf("[]\n");
    return;
  }
  if (!json) std::printf("automation parameters (--automate \"LABEL=CURVE:T:V,...\", V in the unit shown):\n");
  DWORD count = 0;
  info->GetParamCount(&count);
  static const char* kTypes[] = {"int", "float", "bool", "enum"};
  for (DWORD i = 0; i < count; ++i) {
    MP_PARAMINFO pi{};
    if (info->GetParamInfo(i, &pi) != S_OK) continue;
    std::string curves;
    const char* names[] = {"jump", "linear", "square", "invsquare", "sine"};
    for (int b = 0; b < 5; ++b)
      if (pi.mopCaps & (1u << b)) curves += std::string(curves.empty() ? "" : ",") + names[b];
    WCHAR* text = nullptr;
    std::vector<std::string> enums;
    if (SUCCEEDED(info->GetParamText(i, &text)) && text) {
      const WCHAR* p = text;
      for (int part = 0; *p || part < 2; ++part) {
        std::string s = Narrow(p);
        while (*p) ++p;
        ++p;
        if (part >= 2) enums.push_back(s);
      }
      CoTaskMemFree(text);
    }
    std::string type = pi.mpType >= 0 && pi.mpType < 4 ? kTypes[pi.mpType] : "?";
    if (json) {
      std::printf("%s{\"index\": %u, \"label\": %s, \"unit\": %s, \"type\": \"%s\", \"min\": %g, \"max\": %g, "
                  "\"neutral\": %g, \"curves\": \"%s\"",
                  i ? ",\n " : "[", i, Json(Narrow(pi.szLabel)).c_str(), Json(Narrow(pi.szUnitText)).c_str(), type.c_str(),
                  pi.mpdMinValue, pi.mpdMaxValue, pi.mpdNeutralValue, curves.c_str());
      if (!enums.empty()) {
        std::printf(", \"names\": [");
        for (size_t k = 0; k < enums.size(); ++k) std::printf("%s%s", k ? ", " : "", Json(enums[k]).c_str());
        std::printf("]");
      }
      std::printf("}");
      continue;
    }
    std::printf("%2u  %s %s %-5s %9g .. %-9g neutral %-7g curves %s\n", i, Pad(Narrow(pi.szLabel), 32).c_str(),
                Pad(Narrow(pi.szUnitText), 4).c_str(), type.c_str(), pi.mpdMinValue, pi.mpdMaxValue,
                pi.mpdNeutralValue, curves.c_str());
    for (size_t k = 0; k < enums.size(); ++k) std::printf("      %2zu  %s\n", k, enums[k].c_str());
  }
  if (json) std::printf("%s]\n", count ? "" : "[");
}
