// The shared library's load and unload hooks: dlopen and dlclose run DllMain with a module handle
// made from the library's own path, the handle the resource layer knows this module by.
#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "aplugins/qxppack1/module/module_entry.h"

namespace {
HMODULE g_self = nullptr;

std::string OwnPath() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&OwnPath), &info) || !info.dli_fname) return {};
  // dlopen may have been given a relative name; registration wants the full path.
  char full[PATH_MAX];
  return realpath(info.dli_fname, full) ? std::string(full) : std::string(info.dli_fname);
}

// The code DllMain reaches keeps only constant-initialised or function-local globals, so it is
// safe to run before the library's other static initialisers.
__attribute__((constructor)) void OnLoad() {
  g_self = QxResources_CreateModule(OwnPath().c_str());
  // A failed attach cannot refuse dlopen; the module stays loaded and refuses to make classes.
  DllMain(g_self, DLL_PROCESS_ATTACH, nullptr);
}

__attribute__((destructor)) void OnUnload() {
  DllMain(g_self, DLL_PROCESS_DETACH, nullptr);
  QxResources_FreeModule(g_self);
  g_self = nullptr;
}
}  // namespace
