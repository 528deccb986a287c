// Finding and loading the component module, and resolving its entry points.
// The module is never unloaded by qxfx; the process exit runs its unload order.
#include "tools/qxfx/module_loader.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace {
std::string ExecutableDir() {
  char buf[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return {};
  std::string path(buf, static_cast<size_t>(n));
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

bool IsFile(const std::string& path) {
  struct stat st{};
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

template <class F>
bool Resolve(void* handle, const char* name, F* out, std::string* missing) {
  *out = reinterpret_cast<F>(dlsym(handle, name));
  if (!*out) *missing = name;
  return *out != nullptr;
}
}  // namespace

std::vector<std::string> QxfxModuleCandidates() {
  if (const char* env = std::getenv(QXFX_MODULE_ENV); env && *env) return {env};
  std::vector<std::string> v;
  const std::string dir = ExecutableDir();
  if (dir.empty()) return v;
  v.push_back(dir + "/libqxppack1.so");
  // Installed: the library folder beside the bin folder (the link /proc/self/exe names is
  // followed, so a symbolic link to qxfx elsewhere finds it too).
#ifdef QXFX_MODULE_INSTALL_RELPATH
  v.push_back(dir + "/" QXFX_MODULE_INSTALL_RELPATH);
#endif
#ifdef QXFX_MODULE_BUILD_RELPATH
  v.push_back(dir + "/" QXFX_MODULE_BUILD_RELPATH);
#endif
  // A copy of the binary somewhere else still finds the installed module.
#ifdef QXFX_MODULE_INSTALL_PATH
  v.push_back(QXFX_MODULE_INSTALL_PATH);
#endif
  return v;
}

QxfxModule* QxfxModule::Get(std::string* error) {
  static QxfxModule* loaded = nullptr;
  if (loaded) return loaded;
  const std::vector<std::string> candidates = QxfxModuleCandidates();
  std::string tried;
  for (const std::string& c : candidates) {
    if (!IsFile(c)) {
      tried += (tried.empty() ? "" : ", ") + c;
      continue;
    }
    void* h = dlopen(c.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!h) {
      if (error) *error = "cannot load the effects module " + c + ": " + dlerror();
      return nullptr;
    }
    auto* m = new QxfxModule;
    m->handle_ = h;
    char full[PATH_MAX];
    m->path_ = realpath(c.c_str(), full) ? full : c;
    std::string missing;
    if (!Resolve(h, "DllGetClassObject", &m->getClassObject_, &missing) ||
        !Resolve(h, "DllCanUnloadNow", &m->canUnloadNow_, &missing) ||
        !Resolve(h, "DllRegisterServer", &m->registerServer_, &missing) ||
        !Resolve(h, "DllUnregisterServer", &m->unregisterServer_, &missing)) {
      if (error) *error = c + " is not an effects module: it has no " + missing;
      delete m;
      dlclose(h);
      return nullptr;
    }
    // Kept for the life of the process (hosts keep in-process servers loaded); the module's unload
    // order still runs at exit.
    loaded = m;
    return loaded;
  }
  if (error)
    *error = "cannot find the effects module (looked for " + (tried.empty() ? std::string("nothing") : tried) +
             "); set " + QXFX_MODULE_ENV + " to its path";
  return nullptr;
}

HRESULT QxfxModule::CreateInstance(REFCLSID clsid, REFIID riid, void** ppv) const {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  ComPtr<IClassFactory> factory;
  HRESULT hr = GetClassObject(clsid, IID_IClassFactory, factory.PutVoid());
  if (FAILED(hr)) return hr;
  return factory->CreateInstance(nullptr, riid, ppv);
}
