// The module's strings in English, the language every other one falls back to. Translations are
// read from the satellite file beside the module.
#pragma once
#include <cstddef>

#include "aplugins/qxppack1/pages/string_ids.h"
#include "kernel/services/qx_resources.h"

extern const QxStringTableEntry g_QxPackStrings[];
extern const size_t g_QxPackStringCount;

// Gives `module` the English strings (language 0x409); the module's start-up calls it.
HRESULT QxPack_AddStrings(HMODULE module);
