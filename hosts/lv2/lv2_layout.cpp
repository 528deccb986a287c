// The eight LV2 plugins made from the parameter views of the four in-place effects.
#include "hosts/lv2/lv2_layout.h"

#include <cctype>
#include <vector>

std::span<const QxLv2Plugin> QxLv2Plugins() {
  static const std::vector<QxLv2Plugin> plugins = [] {
    struct Row {
      const char* name;
      bool tempo;
    };
    const Row rows[] = {{"simple-delay", true}, {"multi-tap-delay", false}, {"reverb", false}, {"chorus", true}};
    std::vector<QxLv2Plugin> all;
    for (const Row& r : rows) {
      const QxEffectView* fx = QxFindEffectView(r.name);
      all.push_back({fx, 1, r.tempo, std::string(QX_LV2_BUNDLE_URI) + r.name + "-mono"});
      all.push_back({fx, 2, r.tempo, std::string(QX_LV2_BUNDLE_URI) + r.name + "-stereo"});
    }
    return all;
  }();
  return plugins;
}

const QxLv2Plugin* QxLv2FindPlugin(std::string_view uri) {
  for (const QxLv2Plugin& p : QxLv2Plugins())
    if (p.Uri == uri) return &p;
  return nullptr;
}

std::string QxLv2Symbol(const QxParamView& p) {
  std::string s;
  for (const char* c = p.Name; *c; ++c)
    if (std::isalnum(static_cast<unsigned char>(*c))) s += *c;
    else if (*c == '[') s += '_';
  return s;
}

std::string QxLv2PresetUri(const QxEffectView& effect, long index) {
  return std::string(QX_LV2_BUNDLE_URI) + effect.Name + "-preset-" + std::to_string(index);
}

const QxHostModule* QxLv2LoadModule(const char* bundle, std::string* error) {
  const std::string dir = std::string(bundle) + (std::string_view(bundle).ends_with('/') ? "" : "/");
  return QxHostModule::Load({dir + QXLV2_MODULE_INSTALL_RELPATH, dir + QXLV2_MODULE_BUILD_RELPATH}, error);
}

std::string QxLv2UiUri(const QxEffectView& effect) { return std::string(QX_LV2_BUNDLE_URI) + effect.Name + "-ui"; }
