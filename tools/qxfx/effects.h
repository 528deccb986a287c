// What qxfx knows of each effect beyond the class table: its command-line name and the fields of
// its parameter record, each with its range and single-field setter.
#pragma once
#include <string>
#include <vector>

#include "platform/com/unknown.h"

struct QxfxField {
  std::string name;       // the record's field name, e.g. "DelayTime"
  int32_t min, max;       // stored range
  std::string unit;       // what the stored value counts
  HRESULT (*set)(IUnknown* filter, int32_t value);
  HRESULT (*get)(IUnknown* filter, int32_t* value);
};

struct QxfxEffect {
  std::string name;       // command-line name, e.g. "simple-delay"
  std::u16string title;   // class table name, e.g. "Simple Delay"
  CLSID clsid;
  std::vector<QxfxField> fields;
};

const std::vector<QxfxEffect>& QxfxEffects();
const QxfxEffect* QxfxFindEffect(const std::string& name);
const QxfxField* QxfxFindField(const QxfxEffect& effect, const std::string& name);
// The known name closest to `name`, for "did you mean" hints; empty when nothing is close.
std::string QxfxNearest(const std::string& name, const std::vector<std::string>& candidates);
