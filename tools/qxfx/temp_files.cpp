// The registry of qxfx's temporary files and the signal handler that removes them.
#include "tools/qxfx/temp_files.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {
// Fixed slots, so that the handler reads them without locks or allocation.
constexpr int kSlots = 16;
constexpr size_t kPathMax = 4096;
char g_paths[kSlots][kPathMax];
std::atomic<bool> g_used[kSlots];
std::atomic<bool> g_interrupted{false};
constexpr int kChildren = 256;
std::atomic<int> g_children[kChildren];

void OnSignal(int sig) {
  g_interrupted = true;
  for (int i = 0; i < kSlots; ++i)
    if (g_used[i].load()) unlink(g_paths[i]);
  for (int i = 0; i < kChildren; ++i)
    if (int pid = g_children[i].load(); pid > 0) kill(pid, sig);
  // Die of the same signal, so that the parent shell sees what happened.
  signal(sig, SIG_DFL);
  raise(sig);
}

int Slot(const std::string& path) {
  for (int i = 0; i < kSlots; ++i)
    if (g_used[i].load() && path == g_paths[i]) return i;
  return -1;
}
}  // namespace

void QxfxInstallCleanup() {
  struct sigaction sa {};
  sa.sa_handler = OnSignal;
  sigemptyset(&sa.sa_mask);
  for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaction(sig, &sa, nullptr);
}

std::string QxfxMakeTemp(const std::string& pattern) {
  if (pattern.size() >= kPathMax) {
    errno = ENAMETOOLONG;
    return {};
  }
  int slot = -1;
  for (int i = 0; i < kSlots && slot < 0; ++i) {
    bool expected = false;
    if (g_used[i].compare_exchange_strong(expected, true)) slot = i;
  }
  if (slot < 0) {
    errno = EMFILE;
    return {};
  }
  // The name goes into the slot before the file exists, so a signal can never miss it.
  std::strcpy(g_paths[slot], pattern.c_str());
  g_paths[slot][0] = 0;  // nothing to remove until mkstemp has named it
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  sigset_t all, old;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &old);
  int fd = mkstemp(name.data());
  if (fd >= 0) std::strcpy(g_paths[slot], name.data());
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  if (fd < 0) {
    int e = errno;
    g_used[slot] = false;
    errno = e;
    return {};
  }
  // mkstemp makes the file private; give it the permissions a new file normally gets.
  mode_t mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  close(fd);
  return name.data();
}

void QxfxRemoveTemp(const std::string& path) {
  unlink(path.c_str());
  QxfxKeepTemp(path);
}

void QxfxKeepTemp(const std::string& path) {
  int slot = Slot(path);
  if (slot >= 0) g_used[slot] = false;
}

bool QxfxPutInPlace(const std::string& temp, const std::string& path) {
  struct stat st{};
  if (lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
      renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0) {
    // The temporary name now holds the old content; it stays registered until it is gone, so an
    // interrupt here still cleans up.
    QxfxRemoveTemp(temp);
    return true;
  }
  if (std::rename(temp.c_str(), path.c_str()) != 0) return false;
  QxfxKeepTemp(temp);
  return true;
}

std::string QxfxTempDir() {
  const char* t = std::getenv("TMPDIR");
  return t && *t ? t : "/tmp";
}

void QxfxTrackChild(int pid) {
  for (int i = 0; i < kChildren; ++i) {
    int expected = 0;
    if (g_children[i].compare_exchange_strong(expected, pid)) return;
  }
}

void QxfxForgetChild(int pid) {
  for (int i = 0; i < kChildren; ++i) {
    int expected = pid;
    if (g_children[i].compare_exchange_strong(expected, 0)) return;
  }
}

void QxfxForgetAllChildren() {
  for (auto& c : g_children) c = 0;
}

bool QxfxInterrupted() { return g_interrupted.load(); }
