// Where qxfx looks for the component module; the loading itself is every host's.
#pragma once
#include <string>
#include <vector>

#include "hosts/common/module_loader.h"

// The places the module is looked for, in order ($QXPPACK1_MODULE alone when set): libqxppack1.so
// beside the qxfx binary, in the library folder of its installation (relative to the binary), the
// module's place in the build tree qxfx was built in, relative to the binary, and the
// installation's library folder as configured.
std::vector<std::string> QxfxModuleCandidates();
// The module, loaded from those places once per process.
inline QxHostModule* QxfxLoadModule(std::string* error) { return QxHostModule::Load(QxfxModuleCandidates(), error); }
