// How a host reaches the effects: it loads the component module and talks to it only through its
// exported entry points and the interfaces of the objects it makes.
#pragma once
#include <string>
#include <vector>

#include "platform/com/class_factory.h"

// Names the module file to load instead of the usual places, for every host.
inline constexpr const char* QX_MODULE_ENV = "QXPPACK1_MODULE";

// The loaded module. It stays loaded until the process exits, when its unload order runs.
class QxHostModule {
 public:
  // Loads the first of $QXPPACK1_MODULE (alone, when set) or else `candidates` that exists; once
  // per process, later calls give the same module. Null with a message in *error if none loads or
  // the file lacks an entry point.
  static QxHostModule* Load(const std::vector<std::string>& candidates, std::string* error);

  HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const { return getClassObject_(clsid, riid, ppv); }
  HRESULT CanUnloadNow() const { return canUnloadNow_(); }
  HRESULT RegisterServer() const { return registerServer_(); }
  HRESULT UnregisterServer() const { return unregisterServer_(); }
  // The full path the module was loaded from.
  const std::string& Path() const { return path_; }

  // Another function the module exports, by name (null when it has none).
  void* Symbol(const char* name) const;

  // Makes an instance of `clsid` and asks it for `riid`, as a host would through the class factory.
  HRESULT CreateInstance(REFCLSID clsid, REFIID riid, void** ppv) const;

 private:
  QxHostModule() = default;
  void* handle_ = nullptr;
  std::string path_;
  HRESULT (*getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
  HRESULT (*canUnloadNow_)() = nullptr;
  HRESULT (*registerServer_)() = nullptr;
  HRESULT (*unregisterServer_)() = nullptr;
};

// The directory of the executable or shared object that holds `address` ("" when unknown).
std::string QxDirectoryOf(const void* address);
