// qxfx's commands about the module itself: the class list with each class's registration,
// registering or unregistering the module, and the language it starts in.
#pragma once
#include <string>
#include <vector>

// Each class of the module: name, identifier, qxfx's name for it, whether it can be made now,
// and whether the registry names a server for it (this module or another file).
// With `json` the same as a JSON array of objects.
int QxfxList(bool json = false);
// Run DllRegisterServer / DllUnregisterServer of the loaded module; 0 on success.
int QxfxRegister(bool quiet);
int QxfxUnregister(bool quiet);
// qxfx lang: the language the module starts in and where that choice comes from. qxfx lang LCID
// stores the choice for the current user (0 goes back to the environment's language).
int QxfxLang(const std::vector<std::string>& words, bool quiet);
