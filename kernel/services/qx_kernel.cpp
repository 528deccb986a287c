// Kernel start-up and shut-down for the module that carries the kernel: the language handle in the
// stored or the user's language, and the test hook that makes start-up fail.
#include "kernel/services/qx_kernel.h"

#include <cstdlib>
#include <cstring>

#include "kernel/services/qx_lang.h"

DWORD QxKernel_StartLCID() {
  DWORD stored = 0;
  if (QxLang_LoadUserLCIDMetric(QX_KERNEL_LANG_APPLICATION, QX_KERNEL_LANG_VERSION, &stored, TRUE) == S_OK && stored)
    return stored;
  return QxLang_GetUserDefaultUILanguage();
}

HRESULT QxKernel_EarlyInitialize(HMODULE module, DWORD flags) {
  if (const char* fail = std::getenv(QX_KERNEL_FAIL_INIT_ENV); fail && *fail && std::strcmp(fail, "0") != 0)
    return E_FAIL;
  if (!module) return E_INVALIDARG;
  const HRESULT hr = QxLang_OpenKernelHandle(module, QxKernel_StartLCID(), 0);
  if (FAILED(hr)) return hr;
  return hr == QXLANG_S_ALREADY_OPEN ? S_FALSE : S_OK;
}

void QxKernel_LateTerminate(HMODULE module) { QxLang_CloseKernelHandle(); }
