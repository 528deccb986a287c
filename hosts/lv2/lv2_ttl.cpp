// qxlv2_ttl OUTDIR MODULE: writes the bundle's manifest.ttl, qxppack1.ttl (plugins and ports) and
// presets.ttl, from the parameter views and from the preset rows that the module's effects load.
#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "hosts/common/effect_presets.h"
#include "hosts/common/module_loader.h"
#include "hosts/lv2/lv2_layout.h"
#include "platform/com/property_pages.h"
#include "platform/registry/utf.h"

namespace {
const char kPrefixes[] =
    "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
    "@prefix bufsz: <http://lv2plug.in/ns/ext/buf-size#> .\n"
    "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
    "@prefix log: <http://lv2plug.in/ns/ext/log#> .\n"
    "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
    "@prefix opts: <http://lv2plug.in/ns/ext/options#> .\n"
    "@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .\n"
    "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
    "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
    "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
    "@prefix time: <http://lv2plug.in/ns/ext/time#> .\n"
    "@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .\n"
    "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
    "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n\n";

std::string Num(double v) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, v == 0 ? 0.0 : v, std::chars_format::fixed);
  std::string s(buf, r.ptr);
  return s.find('.') == std::string::npos ? s + ".0" : s;
}

std::string Text(std::string_view s) {
  std::string r = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') r += '\\';
    r += c;
  }
  return r + "\"";
}

std::string Unit(const char* unit) {
  static const struct {
    const char* name;
    const char* uri;
  } known[] = {{"dB", "units:db"}, {"ms", "units:ms"},   {"s", "units:s"},        {"Hz", "units:hz"},
               {"%", "units:pc"},  {"bpm", "units:bpm"}, {"cents", "units:cent"}, {"frames", "units:frame"},
               {"semitones", "units:semitone12TET"}};
  for (const auto& k : known)
    if (std::string_view(unit) == k.name) return k.uri;
  return std::string("[ a units:Unit ; rdfs:label ") + Text(unit) + " ; units:symbol " + Text(unit) +
         " ; units:render " + Text(std::string("%f ") + unit) + " ]";
}

const char* PluginClass(std::string_view effect) {
  if (effect == "reverb") return "lv2:ReverbPlugin";
  if (effect == "chorus") return "lv2:ChorusPlugin";
  return "lv2:DelayPlugin";
}

void ControlPort(std::ostream& o, const QxParamView& p, uint32_t index) {
  o << " , [\n    a lv2:InputPort , lv2:ControlPort ;\n    lv2:index " << index << " ;\n    lv2:symbol "
    << Text(QxLv2Symbol(p)) << " ;\n    lv2:name " << Text(p.Name) << " ;\n    rdfs:comment " << Text(p.Help)
    << " ;\n    lv2:default " << Num(p.NaturalDefault()) << " ;\n    lv2:minimum " << Num(p.NaturalMin())
    << " ;\n    lv2:maximum " << Num(p.NaturalMax());
  if (*p.Unit) o << " ;\n    units:unit " << Unit(p.Unit);
  switch (p.Kind) {
    case QxParamKind::Toggle: o << " ;\n    lv2:portProperty lv2:toggled , lv2:integer"; break;
    case QxParamKind::Integer: o << " ;\n    lv2:portProperty lv2:integer"; break;
    case QxParamKind::Enum:
      o << " ;\n    lv2:portProperty lv2:integer , lv2:enumeration";
      for (int k = 0; k < p.EnumCount; ++k)
        o << " ;\n    lv2:scalePoint [ rdfs:label " << Text(QxParamEnumName(p, k)) << " ; rdf:value " << k << " ]";
      break;
    case QxParamKind::Continuous: break;
  }
  if (p.PageOnly) o << " ;\n    lv2:portProperty pprops:notAutomatic";
  o << "\n  ]";
}

void Plugin(std::ostream& o, const QxLv2Plugin& pl, bool ui) {
  static const char* const kSides[2][2] = {{"in", "Input"}, {"out", "Output"}};
  static const char* const kChannels[2][2] = {{"_l", " left"}, {"_r", " right"}};
  o << "<" << pl.Uri << ">\n  a lv2:Plugin , " << PluginClass(pl.Effect->Name) << " ;\n  doap:name "
    << Text(QxUtf16ToUtf8(pl.Effect->Title) + (pl.Channels == 1 ? " (mono)" : " (stereo)"))
    << " ;\n  lv2:optionalFeature urid:map , opts:options , log:log ;\n"
    << "  opts:supportedOption bufsz:maxBlockLength ;\n  lv2:extensionData state:interface ;\n";
  if (ui) o << "  ui:ui <" << QxLv2UiUri(*pl.Effect) << "> ;\n";
  o << "  lv2:port";
  bool first = true;
  for (int side = 0; side < 2; ++side)
    for (uint32_t c = 0; c < pl.Channels; ++c) {
      o << (first ? " [\n" : " , [\n") << "    a " << (side ? "lv2:OutputPort" : "lv2:InputPort")
        << " , lv2:AudioPort ;\n    lv2:index " << (side ? pl.AudioOut(c) : pl.AudioIn(c)) << " ;\n    lv2:symbol \""
        << kSides[side][0] << (pl.Channels == 2 ? kChannels[c][0] : "") << "\" ;\n    lv2:name \"" << kSides[side][1]
        << (pl.Channels == 2 ? kChannels[c][1] : "") << "\"\n  ]";
      first = false;
    }
  if (pl.Tempo)
    o << " , [\n    a lv2:InputPort , atom:AtomPort ;\n    atom:bufferType atom:Sequence ;\n    atom:supports "
         "time:Position ;\n    lv2:designation lv2:control ;\n    lv2:portProperty lv2:connectionOptional ;\n"
         "    lv2:index "
      << pl.TempoPort() << " ;\n    lv2:symbol \"time\" ;\n    lv2:name \"Host tempo\"\n  ]";
  for (size_t k = 0; k < pl.Effect->Params.size(); ++k)
    ControlPort(o, pl.Effect->Params[k], pl.FirstControl() + static_cast<uint32_t>(k));
  o << " .\n\n";
}

// Whether the module builds the page the effect names: only those effects get a UI.
bool HasPage(const QxHostModule& module, const QxEffectView& fx) {
  ComPtr<IUnknown> effect, page;
  ComPtr<ISpecifyPropertyPages> specify;
  CAUUID pages{};
  if (FAILED(module.CreateInstance(fx.Clsid, IID_IUnknown, effect.PutVoid())) ||
      FAILED(QueryTo(effect.Get(), IID_ISpecifyPropertyPages, specify)) || FAILED(specify->GetPages(&pages)))
    return false;
  const bool built = pages.cElems && SUCCEEDED(module.CreateInstance(pages.pElems[0], IID_IUnknown, page.PutVoid()));
  CoTaskMemFree(pages.pElems);
  return built;
}

bool Write(const std::string& path, const std::string& text) {
  std::ofstream f(path, std::ios::binary);
  f << text;
  return static_cast<bool>(f.flush());
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: qxlv2_ttl OUTDIR MODULE\n  writes the LV2 bundle's TTL files into OUTDIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  std::string error;
  const QxHostModule* module = QxHostModule::Load({argv[2]}, &error);
  if (!module) {
    std::fprintf(stderr, "qxlv2_ttl: %s\n", error.c_str());
    return 1;
  }
  std::ostringstream manifest, plugins, presets;
  manifest << kPrefixes;
  plugins << kPrefixes;
  presets << kPrefixes;
  const auto all = QxLv2Plugins();
  for (size_t i = 0; i < all.size(); ++i) {
    const QxLv2Plugin& pl = all[i];
    const bool ui = HasPage(*module, *pl.Effect);
    manifest << "<" << pl.Uri << ">\n  a lv2:Plugin ;\n  lv2:binary <qxppack1_lv2.so> ;\n  rdfs:seeAlso <qxppack1.ttl> .\n\n";
    Plugin(plugins, pl, ui);
    if (!ui || i % 2) continue;
    const std::string uri = "<" + QxLv2UiUri(*pl.Effect) + ">\n  a ui:X11UI ;\n";
    manifest << uri << "  ui:binary <qxppack1_lv2ui.so> ;\n  rdfs:seeAlso <qxppack1.ttl> .\n\n";
    plugins << uri << "  lv2:requiredFeature ui:parent , ui:idleInterface ;\n  lv2:optionalFeature ui:resize ;\n"
            << "  lv2:extensionData ui:idleInterface .\n\n";
  }
  // Presets from the rows the effects themselves load, once for both plugins of an effect.
  for (size_t i = 0; i < all.size(); i += 2) {
    const QxEffectView& fx = *all[i].Effect;
    ComPtr<IUnknown> effect;
    if (FAILED(module->CreateInstance(fx.Clsid, IID_IUnknown, effect.PutVoid()))) {
      std::fprintf(stderr, "qxlv2_ttl: cannot make %s\n", fx.Name);
      return 1;
    }
    const std::vector<std::string> names = QxPresetNames(effect.Get());
    for (size_t row = 0; row < names.size(); ++row) {
      const std::string uri = QxLv2PresetUri(fx, static_cast<long>(row));
      const std::string applies = "lv2:appliesTo <" + all[i].Uri + "> , <" + all[i + 1].Uri + "> ;\n";
      manifest << "<" << uri << ">\n  a pset:Preset ;\n  " << applies << "  rdfs:seeAlso <presets.ttl> .\n\n";
      if (FAILED(QxLoadPreset(effect.Get(), static_cast<long>(row)))) {
        std::fprintf(stderr, "qxlv2_ttl: %s cannot load preset %zu\n", fx.Name, row);
        return 1;
      }
      presets << "<" << uri << ">\n  a pset:Preset ;\n  " << applies << "  rdfs:label " << Text(names[row]) << " ;\n  lv2:port";
      for (size_t k = 0; k < fx.Params.size(); ++k) {
        double stored = 0;
        QxParamGetLive(fx.Params[k], effect.Get(), &stored);
        presets << (k ? " , " : " ") << "[ lv2:symbol " << Text(QxLv2Symbol(fx.Params[k])) << " ; pset:value "
                << Num(QxParamToNatural(fx.Params[k], stored)) << " ]";
      }
      presets << " .\n\n";
    }
  }
  if (!Write(dir + "/manifest.ttl", manifest.str()) || !Write(dir + "/qxppack1.ttl", plugins.str()) ||
      !Write(dir + "/presets.ttl", presets.str())) {
    std::fprintf(stderr, "qxlv2_ttl: cannot write into %s\n", dir.c_str());
    return 1;
  }
  return 0;
}
