// qxfx's effect options.
#include "tools/qxfx/effect_options.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "hosts/common/effect_presets.h"
#include "platform/com/persist.h"
#include "platform/com/task_mem.h"
#include "tools/qxfx/file_checks.h"

namespace {
std::string Narrow(const WCHAR* s) {
  std::string r;
  for (; s && *s; ++s) {
    char32_t c = *s;
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

bool LoadState(IUnknown* filter, const std::string& path, std::string* error) {
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
  return true;
}

bool ApplyPreset(IUnknown* filter, const std::string& which, std::string* error) {
  std::vector<std::string> names = QxPresetNames(filter);
  if (names.empty()) {
    *error = "this effect has no presets";
    return false;
  }
  const long index = QxFindPreset(names, which);
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

bool SetFields(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& cl, std::string* error) {
  for (const QxfxSetting& s : cl.settings) {
    const QxfxField* field = QxfxFindField(effect, s.field);
    if (!field) {
      std::vector<std::string> names;
      for (const QxfxField& f : effect.fields) names.push_back(f.name);
      std::string hint = QxfxNearest(s.field, names);
      *error = "unknown field " + Quote(s.field) + " for " + effect.name +
               (hint.empty() ? "" : " (did you mean " + Quote(hint) + "?)") + "; qxfx help " + effect.name +
               " lists them";
      return false;
    }
    char* end = nullptr;
    errno = 0;
    long v = std::strtol(s.value.c_str(), &end, 10);
    if (s.value.empty() || errno || *end || v < field->min || v > field->max) {
      *error = "bad value " + Quote(s.value) + " for " + s.field + ": a whole number from " +
               std::to_string(field->min) + " to " + std::to_string(field->max) + " (" + field->unit + ")";
      return false;
    }
    if (FAILED(field->set(filter, static_cast<int32_t>(v)))) {
      *error = "could not set " + s.field;
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
  if (!cl.loadState.empty() && !LoadState(filter, cl.loadState, error)) return false;
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

void QxfxPrintParams(IUnknown* filter, const QxfxEffect& effect, bool json) {
  auto info = Query<IMediaParamInfo>(filter, IID_IMediaParamInfo);
  if (!info) {
    std::printf("%s has no automation parameters; its fields (qxfx help %s) are set with --set\n", effect.name.c_str(),
                effect.name.c_str());
    return;
  }
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
