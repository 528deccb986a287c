// The module commands of qxfx: list, register, unregister, lang.
// All go through the loaded module's entry points and the registry, never the module's insides.
#include "tools/qxfx/module_commands.h"

#include <cstdio>
#include <string>

#include "kernel/services/qx_kernel.h"
#include "kernel/services/qx_lang.h"
#include "platform/registry/registry.h"
#include "platform/registry/utf.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effects.h"
#include "tools/qxfx/file_graph.h"
#include "tools/qxfx/module_loader.h"

namespace {
// The classes a host knows the module by, in the module's own order.
struct KnownClass {
  const char* name;
  CLSID clsid;
};
constexpr KnownClass kClasses[] = {
    {"Time Stretch", MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912")},
    {"QxTime Property Page", MakeGuid("5FF5B4A1-858F-11D0-AEBC-00A0C9053912")},
    {"Pitch Shift", MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912")},
    {"QxPitchs Property Page", MakeGuid("ED1B4101-93BE-11D0-AEBC-00A0C9053912")},
    {"Simple Delay", MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912")},
    {"QxEchos Property Page", MakeGuid("54F29261-79B1-11D0-AEBC-00A0C9053912")},
    {"Multi-Tap Delay", MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912")},
    {"QxEchomt Property Page", MakeGuid("7298A3E1-78EE-11D0-AEBC-00A0C9053912")},
    {"Reverb", MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912")},
    {"QxReverb Property Page", MakeGuid("607682E1-6E21-11D0-AEBC-00A0C9053912")},
    {"Chorus", MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912")},
    {"QxChorus Property Page", MakeGuid("28D9F1E1-6ECC-11D0-AEBC-00A0C9053912")},
};

int Fail(const std::string& message) {
  std::fprintf(stderr, "qxfx: %s\n", message.c_str());
  return 1;
}

// "yes", "no", "other: PATH" for a server registered from another file, or "?" when the
// registry cannot be read (then *problem says why).
std::string Registration(const CLSID& clsid, const std::string& modulePath, std::string* problem) {
  const std::string g = GuidToString(clsid);
  const std::u16string key = u"CLSID\\{" + std::u16string(g.begin(), g.end()) + u"}\\InprocServer32";
  HKEY h = nullptr;
  LONG e = RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &h);
  if (e == ERROR_FILE_NOT_FOUND) return "no";
  if (e) {
    *problem = QxRegistry_LastError();
    return "?";
  }
  WCHAR buf[4096] = {};
  DWORD type = 0, bytes = sizeof buf - sizeof(WCHAR);
  e = RegQueryValueExW(h, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(buf), &bytes);
  RegCloseKey(h);
  if (e == ERROR_FILE_NOT_FOUND) return "no";
  if (e || type != REG_SZ) {
    *problem = e ? QxRegistry_LastError() : "a class key holds something other than a path";
    return "?";
  }
  const std::string server = QxUtf16ToUtf8(buf);
  return server == modulePath ? "yes" : "other: " + server;
}

// A clearer reason than the status alone when the registry is what failed.
std::string RegistryProblem() {
  HKEY h = nullptr;
  const LONG e = RegOpenKeyExW(HKEY_CLASSES_ROOT, u"CLSID", 0, KEY_READ, &h);
  if (h) RegCloseKey(h);
  if (e == ERROR_SUCCESS || e == ERROR_FILE_NOT_FOUND) return {};
  return std::string(" (") + QxRegistry_LastError() + ")";
}

int RunServer(bool unregister, bool quiet) {
  std::string error;
  QxHostModule* module = QxfxLoadModule(&error);
  if (!module) return Fail(error);
  const HRESULT hr = unregister ? module->UnregisterServer() : module->RegisterServer();
  const char* what = unregister ? "unregister" : "register";
  if (FAILED(hr)) return Fail(std::string("could not ") + what + " " + module->Path() + QxfxDescribe(hr) + RegistryProblem());
  if (!quiet)
    std::fprintf(stderr, "qxfx: %sed %s in %s\n", what, module->Path().c_str(), QxRegistry_FilePath().c_str());
  return 0;
}
}  // namespace

int QxfxList(bool json) {
  std::string error;
  QxHostModule* module = QxfxLoadModule(&error);
  if (!module) return Fail(error);
  std::string problem;
  if (!json)
    std::printf("%-24s %-38s  %-16s %-10s %s\n", "class", "identifier", "qxfx name", "state", "registered");
  bool first = true;
  for (const KnownClass& c : kClasses) {
    std::string cmd;
    for (const QxfxEffect& e : QxfxEffects())
      if (e.clsid == c.clsid) cmd = e.name;
    ComPtr<IUnknown> object;
    const HRESULT hr = module->CreateInstance(c.clsid, IID_IUnknown, object.PutVoid());
    const char* state = SUCCEEDED(hr) ? "ready" : hr == E_NOTIMPL ? "not built" : "fails";
    if (json) {
      std::printf("%s{\"class\": \"%s\", \"identifier\": \"{%s}\", \"name\": %s, \"state\": \"%s\", "
                  "\"registered\": \"%s\"}",
                  first ? "[" : ",\n ", c.name, GuidToString(c.clsid).c_str(),
                  cmd.empty() ? "null" : ("\"" + cmd + "\"").c_str(), state,
                  Registration(c.clsid, module->Path(), &problem).c_str());
      first = false;
      continue;
    }
    std::printf("%-24s {%s}  %-16s %-10s %s\n", c.name, GuidToString(c.clsid).c_str(), cmd.empty() ? "-" : cmd.c_str(),
                state, Registration(c.clsid, module->Path(), &problem).c_str());
  }
  if (json) std::printf("%s]\n", first ? "[" : "");
  if (!problem.empty()) std::fprintf(stderr, "qxfx: cannot read the registry: %s\n", problem.c_str());
  return 0;
}

int QxfxRegister(bool quiet) { return RunServer(false, quiet); }
int QxfxUnregister(bool quiet) { return RunServer(true, quiet); }

int QxfxLang(const std::vector<std::string>& words, bool quiet) {
  auto show = [](DWORD lcid) {
    char text[32];
    std::snprintf(text, sizeof text, "%u (0x%04X)", static_cast<unsigned>(lcid), static_cast<unsigned>(lcid));
    return std::string(text);
  };
  if (words.size() > 1) {
    std::fprintf(stderr, "qxfx: lang takes at most one LCID, e.g. qxfx lang 1031\n");
    return 1;
  }
  if (words.size() == 1) {
    long lcid = -1;
    if (!QxfxParseLcid(words[0], &lcid)) {
      std::fprintf(stderr, "qxfx: lang takes a language identifier such as 1031 or 0x407, not '%s'\n",
                   words[0].c_str());
      return 1;
    }
    const HRESULT hr = QxLang_SaveUserLCIDMetric(QX_KERNEL_LANG_APPLICATION, QX_KERNEL_LANG_VERSION,
                                                 static_cast<DWORD>(lcid), TRUE);
    if (FAILED(hr)) {
      std::fprintf(stderr, "qxfx: cannot store the language in the registry (%s)\n", QxRegistry_LastError());
      return 1;
    }
    if (!quiet) {
      if (lcid == 0)
        std::printf("language: the environment's from now on (%s)\n", show(QxKernel_StartLCID()).c_str());
      else
        std::printf("language: %s stored; the effects start in it from now on\n", show(static_cast<DWORD>(lcid)).c_str());
    }
    return 0;
  }
  DWORD stored = 0;
  const HRESULT hr = QxLang_LoadUserLCIDMetric(QX_KERNEL_LANG_APPLICATION, QX_KERNEL_LANG_VERSION, &stored, TRUE);
  if (FAILED(hr)) {
    std::fprintf(stderr, "qxfx: cannot read the registry (%s)\n", QxRegistry_LastError());
    return 1;
  }
  if (hr == S_OK && stored)
    std::printf("language: %s, stored in the registry\n", show(stored).c_str());
  else
    std::printf("language: %s, from the environment (none stored; qxfx lang LCID stores one)\n",
                show(QxKernel_StartLCID()).c_str());
  return 0;
}
