// Preset rows through the effect's preset interface.
#include "hosts/common/effect_presets.h"

#include <cctype>
#include <cstdlib>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "platform/registry/utf.h"

namespace {
ComPtr<IStaticFilterPreset> Presets(IUnknown* effect) {
  ComPtr<IStaticFilterPreset> p;
  if (effect) effect->QueryInterface(IID_IStaticFilterPreset, p.PutVoid());
  return p;
}

std::string Folded(const std::string& s) {
  size_t a = 0, b = s.size();
  while (a < b && std::isspace(static_cast<unsigned char>(s[a]))) ++a;
  while (b > a && std::isspace(static_cast<unsigned char>(s[b - 1]))) --b;
  std::string r = s.substr(a, b - a);
  for (char& c : r) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return r;
}
}  // namespace

std::vector<std::string> QxPresetNames(IUnknown* effect) {
  std::vector<std::string> names;
  ComPtr<IStaticFilterPreset> presets = Presets(effect);
  if (!presets) return names;
  LONG count = 0;
  presets->GetPresetCount(&count);
  for (LONG i = 0; i < count; ++i) {
    WCHAR buf[1024] = {};
    presets->GetPresetName(i, buf);
    names.push_back(QxUtf16ToUtf8(buf));
  }
  return names;
}

long QxFindPreset(const std::vector<std::string>& names, const std::string& which, std::vector<long>* ambiguous) {
  if (ambiguous) ambiguous->clear();
  char* end = nullptr;
  const long n = std::strtol(which.c_str(), &end, 10);
  if (!which.empty() && *end == 0) return n >= 0 && n < static_cast<long>(names.size()) ? n : -1;
  // The name whole first: rows 0 and 1 often begin alike.
  const std::string want = Folded(which);
  std::vector<long> starts;
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string name = Folded(names[i]);
    if (name == want) return static_cast<long>(i);
    if (!want.empty() && name.rfind(want, 0) == 0) starts.push_back(static_cast<long>(i));
  }
  if (starts.size() == 1) return starts[0];
  if (ambiguous && starts.size() > 1) *ambiguous = starts;
  return -1;
}

HRESULT QxLoadPreset(IUnknown* effect, long index) {
  ComPtr<IStaticFilterPreset> presets = Presets(effect);
  return presets ? presets->LoadPreset(index) : E_NOINTERFACE;
}
