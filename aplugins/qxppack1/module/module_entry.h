// The module's entry points beyond the class table: DllMain's load and unload orders, component
// registration, and the module-wide state they leave for the classes.
#pragma once
#include "aplugins/qxppack1/module/module_api.h"
#include "kernel/services/qx_resources.h"
#include "platform/com/class_factory.h"

inline constexpr DWORD DLL_PROCESS_DETACH = 0;
inline constexpr DWORD DLL_PROCESS_ATTACH = 1;
inline constexpr DWORD DLL_THREAD_ATTACH = 2;
inline constexpr DWORD DLL_THREAD_DETACH = 3;

// Set to a file path to have DllMain append the name of each step it takes, one per line (for
// tests that watch a load and unload from outside the module).
inline constexpr const char* QXPPACK1_TRACE_ENV = "QXPPACK1_TRACE";

// What DllGetClassObject and the registration calls answer when the module failed to start.
inline constexpr HRESULT QXPPACK1_E_NOT_STARTED = E_UNEXPECTED;

enum class QxModuleStart {
  NotLoaded,  // DllMain has not run (the table linked straight into a program)
  Started,
  Failed,     // the kernel did not start: no class is made
};

QxModuleStart QxModule_StartState();
// The handle DllMain was given at attach (null before and after).
HMODULE QxModule_Handle();
// The language module the kernel serves this module's strings from (null before and after).
HMODULE QxModule_LangInstance();
