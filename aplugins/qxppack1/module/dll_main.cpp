// DllMain: the module's load and unload orders, and the module-wide globals they set and clear.
// A kernel that fails to start stops the load before any control class is registered.
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "aplugins/qxppack1/module/module_entry.h"
#include "aplugins/qxppack1/pages/string_table.h"
#include "kernel/controls/control_classes.h"
#include "kernel/services/qx_kernel.h"
#include "kernel/services/qx_lang.h"

namespace {
std::atomic<HMODULE> g_module{nullptr};
std::atomic<HMODULE> g_langInstance{nullptr};
std::atomic<QxModuleStart> g_start{QxModuleStart::NotLoaded};

void Trace(const char* step) {
  const char* path = std::getenv(QXPPACK1_TRACE_ENV);
  if (!path || !*path) return;
  if (FILE* f = std::fopen(path, "a")) {
    std::fprintf(f, "%s\n", step);
    std::fclose(f);
  }
}

BOOL ProcessAttach(HMODULE module) {
  // The English strings belong to the module itself; the kernel finds translations beside it.
  QxPack_AddStrings(module);
  Trace("QxKernel_EarlyInitialize");
  if (FAILED(QxKernel_EarlyInitialize(module, 0))) {
    // Nothing else runs: no control class exists and no class will be made.
    g_start = QxModuleStart::Failed;
    Trace("failed");
    return FALSE;
  }
  g_module = module;
  g_langInstance = QxLang_InstFromLang(QxLang_GetKernelHandle());

  // The controls cannot refuse the load; a name taken by another module only leaves that
  // control without a class.
  Trace("FaderInitialize");
  FaderInitialize(module);
  Trace("TrackbarInitialize");
  TrackbarInitialize(module);
  Trace("SpinnerInitialize");
  SpinnerInitialize(module);
  Trace("StaticInitialize");
  StaticInitialize(module);
  Trace("LogoRegisterClass");
  LogoRegisterClass(module, LoadCursorW(nullptr, IDC_ARROW));

  // The licence check would stand here; it is left out of this build.
  g_start = QxModuleStart::Started;
  return TRUE;
}

void ProcessDetach(HMODULE module) {
  // After a failed attach there is nothing to undo: the kernel closed what it had opened.
  if (g_start.load() != QxModuleStart::Started) {
    g_start = QxModuleStart::NotLoaded;
    return;
  }
  {
    Trace("FaderTerminate");
    FaderTerminate(module);
    Trace("TrackbarTerminate");
    TrackbarTerminate(module);
    Trace("SpinnerTerminate");
    SpinnerTerminate(module);
    Trace("StaticTerminate");
    StaticTerminate(module);
    Trace("LogoUnregisterClass");
    LogoUnregisterClass(module);
  }
  Trace("QxKernel_LateTerminate");
  QxKernel_LateTerminate(module);
  g_langInstance = nullptr;
  g_module = nullptr;
  g_start = QxModuleStart::NotLoaded;
}
}  // namespace

extern "C" BOOL DllMain(HMODULE module, DWORD reason, void*) {
  switch (reason) {
    case DLL_PROCESS_ATTACH: Trace("process attach"); return ProcessAttach(module);
    case DLL_PROCESS_DETACH: Trace("process detach"); ProcessDetach(module); return TRUE;
    default: return TRUE;
  }
}

QxModuleStart QxModule_StartState() { return g_start.load(); }
HMODULE QxModule_Handle() { return g_module.load(); }
HMODULE QxModule_LangInstance() { return g_langInstance.load(); }
