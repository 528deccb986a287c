// Internet_BrowseWebPage: the configured address of a topic handed to xdg-open as one argument,
// started and reaped on a detached thread.
#include "kernel/controls/browse.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

#include "platform/registry/registry.h"
#include "platform/registry/utf.h"

extern char** environ;

namespace {

std::string RegistryAddress() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\qxppack1", 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return {};
  WCHAR buffer[2048] = {};
  DWORD type = 0, cb = sizeof buffer - sizeof(WCHAR);
  LONG rc = RegQueryValueExW(key, u"WebAddress", nullptr, &type, reinterpret_cast<BYTE*>(buffer), &cb);
  RegCloseKey(key);
  if (rc != ERROR_SUCCESS || type != REG_SZ) return {};
  return QxUtf16ToUtf8(std::u16string(buffer));
}

bool Acceptable(const std::string& url) {
  if (url.rfind("http://", 0) != 0 && url.rfind("https://", 0) != 0) return false;
  for (unsigned char c : url)
    if (c <= 0x20 || c == 0x7F) return false;
  return true;
}

void OpenAndReap(const std::string& url) {
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  for (int fd = 0; fd <= 2; ++fd) posix_spawn_file_actions_addopen(&fa, fd, "/dev/null", fd ? O_WRONLY : O_RDONLY, 0);
  char program[] = "xdg-open";
  std::string arg = url;
  char* argv[] = {program, arg.data(), nullptr};
  pid_t pid = 0;
  if (posix_spawnp(&pid, program, &fa, nullptr, argv, environ) == 0) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
  }
  posix_spawn_file_actions_destroy(&fa);
}

}  // namespace

std::string QxBrowse_Address(int topic) {
  const char* env = std::getenv("QXPPACK1_WEB_ADDRESS");
  std::string url = env ? std::string(env) : RegistryAddress();
  for (size_t at; (at = url.find("{topic}")) != std::string::npos;) url.replace(at, 7, std::to_string(topic));
  return Acceptable(url) ? url : std::string();
}

BOOL Internet_BrowseWebPage(HWND, int topic) {
  std::string url = QxBrowse_Address(topic);
  if (url.empty()) return FALSE;
  try {
    std::thread([url] { OpenAndReap(url); }).detach();
  } catch (...) {
    return FALSE;
  }
  return TRUE;
}
