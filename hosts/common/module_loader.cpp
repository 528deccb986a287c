// Finding and loading the component module, and resolving its entry points.
// The module is never unloaded; the process exit runs its unload order.
#include "hosts/common/module_loader.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <mutex>

namespace {
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

std::string DirOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}
}  // namespace

std::string QxDirectoryOf(const void* address) {
  char buf[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  const std::string exe = n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
  // A shared object names itself; the main program's name in the link map may be relative.
  Dl_info info{};
  if (dladdr(address, &info) && info.dli_fname && info.dli_fname[0] == '/') {
    char full[PATH_MAX];
    const std::string path = realpath(info.dli_fname, full) ? full : info.dli_fname;
    if (path != exe) return DirOf(path);
  }
  return exe.empty() ? std::string() : DirOf(exe);
}

QxHostModule* QxHostModule::Load(const std::vector<std::string>& candidates, std::string* error) {
  static std::mutex lock;
  static QxHostModule* loaded = nullptr;
  std::lock_guard<std::mutex> hold(lock);
  if (loaded) return loaded;
  std::vector<std::string> places = candidates;
  if (const char* env = std::getenv(QX_MODULE_ENV); env && *env) places = {env};
  std::string tried;
  for (const std::string& c : places) {
    if (!IsFile(c)) {
      tried += (tried.empty() ? "" : ", ") + c;
      continue;
    }
    void* h = dlopen(c.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!h) {
      if (error) *error = "cannot load the effects module " + c + ": " + dlerror();
      return nullptr;
    }
    auto* m = new QxHostModule;
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
             "); set " + QX_MODULE_ENV + " to its path";
  return nullptr;
}

HRESULT QxHostModule::CreateInstance(REFCLSID clsid, REFIID riid, void** ppv) const {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  ComPtr<IClassFactory> factory;
  HRESULT hr = GetClassObject(clsid, IID_IClassFactory, factory.PutVoid());
  if (FAILED(hr)) return hr;
  return factory->CreateInstance(nullptr, riid, ppv);
}

void* QxHostModule::Symbol(const char* name) const { return handle_ ? dlsym(handle_, name) : nullptr; }
