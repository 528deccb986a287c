// Start-up and shut-down of the kernel library inside a module: the kernel's language handle
// is opened for the module at load and closed at unload.
#pragma once
#include "kernel/services/qx_resources.h"

// Set to a non-empty value other than "0" to make QxKernel_EarlyInitialize fail (for tests of a
// module that cannot start).
inline constexpr const char* QX_KERNEL_FAIL_INIT_ENV = "QX_KERNEL_FAIL_INIT";

// Where the language choice is stored: "Software\Corvane\qxppack1\Lang", for every version.
inline constexpr const WCHAR* QX_KERNEL_LANG_APPLICATION = u"qxppack1";
inline constexpr DWORD QX_KERNEL_LANG_VERSION = 0;

// The language the kernel starts in: the stored choice (current user, then machine), else the
// user's interface language from the environment.
DWORD QxKernel_StartLCID();
// Opens the kernel's language handle for `module` in QxKernel_StartLCID's language. `flags` is
// reserved (0). E_FAIL when the test hook asks for a failure; the failure of the language open
// otherwise. Opening a second time leaves the first handle and answers S_FALSE.
HRESULT QxKernel_EarlyInitialize(HMODULE module, DWORD flags);
// Closes the kernel's language handle; safe when EarlyInitialize failed or never ran.
void QxKernel_LateTerminate(HMODULE module);
