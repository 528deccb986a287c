// qxfx's commands about the module itself: the class list with each class's registration, and
// registering or unregistering the module.
#pragma once

// Each class of the module: name, identifier, qxfx's name for it, whether it can be made now,
// and whether the registry names a server for it (this module or another file).
// With `json` the same as a JSON array of objects.
int QxfxList(bool json = false);
// Run DllRegisterServer / DllUnregisterServer of the loaded module; 0 on success.
int QxfxRegister(bool quiet);
int QxfxUnregister(bool quiet);
