// An effect's preset rows as every host names them: the list, and a row by index or by name.
#pragma once
#include <string>
#include <vector>

#include "platform/com/unknown.h"

// The names of the effect's presets in the present language, in row order (none without the
// preset interface).
std::vector<std::string> QxPresetNames(IUnknown* effect);
// The row `which` names: a whole number is an index, anything else a name (case and surrounding
// blanks aside), or the beginning of exactly one name. -1 when there is no such row; when the
// beginning fits several names, also -1, with their rows in *ambiguous.
long QxFindPreset(const std::vector<std::string>& names, const std::string& which,
                  std::vector<long>* ambiguous = nullptr);
// Loads row `index` through the preset interface.
HRESULT QxLoadPreset(IUnknown* effect, long index);
