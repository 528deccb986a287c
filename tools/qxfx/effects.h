// What qxfx knows of each effect: its entry in the parameter view (command-line name, class and
// parameters in natural units), and the "did you mean" helper for names typed wrong.
#pragma once
#include <string>
#include <vector>

#include "aplugins/qxppack1/params/param_view.h"

struct QxfxEffect {
  std::string name;       // command-line name, e.g. "simple-delay"
  std::u16string title;   // class table name, e.g. "Simple Delay"
  CLSID clsid;
  const QxEffectView* view;
};

const std::vector<QxfxEffect>& QxfxEffects();
// By command-line name or title, case-insensitive.
const QxfxEffect* QxfxFindEffect(const std::string& name);
// The known name closest to `name`, for "did you mean" hints; empty when nothing is close.
std::string QxfxNearest(const std::string& name, const std::vector<std::string>& candidates);
