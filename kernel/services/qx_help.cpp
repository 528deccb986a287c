// Help files by path and topic, opened with xdg-open (or the program $QXPPACK1_HELP_OPENER names).
#include "kernel/services/qx_help.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>

#include "kernel/services/qx_resources.h"
#include "platform/registry/utf.h"

#ifndef QX_HELP_INSTALL_DIR
#define QX_HELP_INSTALL_DIR ""
#endif

namespace {
std::mutex g_lock;
std::u16string& HelpPath() {
  static auto* p = new std::u16string;
  return *p;
}

std::string DirOf(const std::string& file) {
  size_t slash = file.rfind('/');
  return slash == std::string::npos ? std::string(".") : file.substr(0, slash);
}

std::string KernelDir() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&QxHelp_CreateHelpFilePathEX), &info) || !info.dli_fname) return ".";
  return DirOf(info.dli_fname);
}

int CopyOut(const std::u16string& text, WCHAR* out, int size) {
  if (!out || size < 1) return 0;
  int n = static_cast<int>(text.size()) < size - 1 ? static_cast<int>(text.size()) : size - 1;
  for (int i = 0; i < n; ++i) out[i] = text[static_cast<size_t>(i)];
  out[n] = 0;
  return n;
}

std::string Utf8(const WCHAR* text) {
  std::u16string_view v = text ? std::u16string_view(text) : std::u16string_view();
  return QxUtf16ToUtf8(v);
}
}  // namespace

BOOL QxHelp_CreateHelpFilePathEX(HMODULE module, const WCHAR* fileName, WCHAR* path, int size) {
  if (!path || size < 1) return FALSE;
  const char* modulePath = module ? QxResources_GetModulePath(module) : nullptr;
  std::string beside = (modulePath && *modulePath ? DirOf(modulePath) : KernelDir()) + "/" + Utf8(fileName);
  std::string chosen = beside;
  bool found = false;
  if (const char* env = std::getenv(QX_HELP_FILE_ENV); env && *env) {
    chosen = env;
    found = access(env, R_OK) == 0;
  } else if (access(beside.c_str(), R_OK) == 0) {
    found = true;
  } else if (*QX_HELP_INSTALL_DIR) {
    std::string installed = std::string(QX_HELP_INSTALL_DIR) + "/" + Utf8(fileName);
    if (access(installed.c_str(), R_OK) == 0) {
      chosen = installed;
      found = true;
    }
  }
  std::u16string wide;
  QxUtf8ToUtf16(chosen, wide);
  CopyOut(wide, path, size);
  return found;
}

void QxHelp_SetHelpFilePath(const WCHAR* path) {
  std::lock_guard<std::mutex> g(g_lock);
  HelpPath() = path ? path : u"";
}

int QxHelp_GetHelpFilePath(WCHAR* path, int size) {
  std::lock_guard<std::mutex> g(g_lock);
  return CopyOut(HelpPath(), path, size);
}

HRESULT QxHelp_ShowContext(HWND, DWORD context) {
  std::string file;
  {
    std::lock_guard<std::mutex> g(g_lock);
    file = QxUtf16ToUtf8(HelpPath());
  }
  if (file.empty()) return E_FAIL;
  std::string url = "file://" + file;
  if (context) url += "#c" + std::to_string(context);
  const char* opener = std::getenv(QX_HELP_OPENER_ENV);
  if (!opener || !*opener) opener = "xdg-open";
  // A grandchild runs the opener, so the browser is never our child to wait for.
  pid_t child = fork();
  if (child < 0) return E_FAIL;
  if (child == 0) {
    if (fork() == 0) {
      execlp(opener, opener, url.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? S_OK : E_FAIL;
}

void QxHelp_Close(HWND) {}
