// Effect descriptors for qxfx, made from the parameter view.
#include "tools/qxfx/effects.h"

#include <algorithm>
#include <cctype>

namespace {
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
  static const std::vector<QxfxEffect> effects = [] {
    std::vector<QxfxEffect> v;
    for (const QxEffectView& e : QxEffectViews()) v.push_back({e.Name, e.Title, e.Clsid, &e});
    return v;
  }();
  return effects;
}

const QxfxEffect* QxfxFindEffect(const std::string& name) {
  const QxEffectView* view = QxFindEffectView(name);
  for (const QxfxEffect& e : QxfxEffects())
    if (e.view == view) return &e;
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
