// Fuzz target: the registry file. Arbitrary bytes stand as the file; every key is walked and its
// default value read; when the file was taken as sound, one change is written, and the file that
// the registry wrote must read back as sound.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/registry/registry.h"

namespace {
std::string g_path;

void Walk(HKEY key, int depth, int* budget) {
  BYTE value[512];
  DWORD type = 0, bytes = sizeof value;
  RegQueryValueExW(key, nullptr, nullptr, &type, value, &bytes);
  if (depth > 8) return;
  for (DWORD i = 0; --*budget > 0; ++i) {
    WCHAR name[300];
    DWORD chars = 300;
    if (RegEnumKeyExW(key, i, name, &chars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    HKEY sub = nullptr;
    if (RegOpenKeyExW(key, name, 0, KEY_READ, &sub) != ERROR_SUCCESS) continue;
    Walk(sub, depth + 1, budget);
    RegCloseKey(sub);
  }
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* dir = std::getenv("TMPDIR");
  g_path = std::string(dir && *dir ? dir : "/tmp") + "/qx-fuzz-registry-" + std::to_string(getpid());
  setenv("QX_REGISTRY_FILE", g_path.c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const int fd = open(g_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) return 0;
  const bool written = write(fd, data, size) == static_cast<ssize_t>(size);
  close(fd);
  if (!written) return 0;
  int budget = 2000;
  for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) Walk(root, 0, &budget);
  // Writing costs a synced file, so only inputs of odd length write.
  HKEY key = nullptr;
  if (size % 2 == 1 && RegCreateKeyW(HKEY_CURRENT_USER, u"Software\\Fuzz", &key) == ERROR_SUCCESS) {
    const DWORD v = static_cast<DWORD>(size);
    const bool set = RegSetValueExW(key, u"Size", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), 4) == ERROR_SUCCESS;
    RegCloseKey(key);
    HKEY again = nullptr;
    if (set && RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Fuzz", 0, KEY_READ, &again) != ERROR_SUCCESS)
      __builtin_trap();  // the registry wrote a file it cannot read
    if (again) RegCloseKey(again);
  }
  unlink(g_path.c_str());
  return 0;
}
