// How qxfx reaches the effects: it loads the component module as a host does and talks to it
// only through its exported entry points and the interfaces of the objects it makes.
#pragma once
#include <string>
#include <vector>

#include "platform/com/class_factory.h"

// Names the module file to load instead of the usual places.
inline constexpr const char* QXFX_MODULE_ENV = "QXPPACK1_MODULE";

// The places the module is looked for, in order: $QXPPACK1_MODULE alone when set; otherwise
// libqxppack1.so beside the qxfx binary, in the library folder of its installation (relative to
// the binary), the module's place in the build tree qxfx was built in, relative to the binary,
// and the installation's library folder as configured.
std::vector<std::string> QxfxModuleCandidates();

// The loaded module. It stays loaded until the process exits, when its unload order runs.
class QxfxModule {
 public:
  // Loads the first candidate that exists (once per process); null with a message in *error if
  // none loads or the file lacks an entry point.
  static QxfxModule* Get(std::string* error);

  HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const { return getClassObject_(clsid, riid, ppv); }
  HRESULT CanUnloadNow() const { return canUnloadNow_(); }
  HRESULT RegisterServer() const { return registerServer_(); }
  HRESULT UnregisterServer() const { return unregisterServer_(); }
  // The full path the module was loaded from.
  const std::string& Path() const { return path_; }

  // Makes an instance of `clsid` and asks it for `riid`, as a host would through the class factory.
  HRESULT CreateInstance(REFCLSID clsid, REFIID riid, void** ppv) const;

 private:
  QxfxModule() = default;
  void* handle_ = nullptr;
  std::string path_;
  HRESULT (*getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
  HRESULT (*canUnloadNow_)() = nullptr;
  HRESULT (*registerServer_)() = nullptr;
  HRESULT (*unregisterServer_)() = nullptr;
};
