// Where qxfx looks for the component module; the loading itself is every host's.
#pragma once
#include <string>
#include <vector>

#include "hosts/common/module_loader.h"

// libqxppack1.so beside the qxfx binary, then the module's place in the build tree qxfx was built
// in, relative to the binary ($QXPPACK1_MODULE overrides both).
std::vector<std::string> QxfxModuleCandidates();
// The module, loaded from those places once per process.
inline QxHostModule* QxfxLoadModule(std::string* error) { return QxHostModule::Load(QxfxModuleCandidates(), error); }
