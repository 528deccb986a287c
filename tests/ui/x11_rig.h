// Shared set-up of the real-display tests: a child process helper, an Xvfb server started once per
// test suite on a free display, and a pump that waits for a condition with a safety net.
#pragma once
#include <gtest/gtest.h>
// After gtest: Xlib's macros (None, Bool) would clash with it.
#include <X11/Xlib.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "platform/ui/window.h"

extern char** environ;

namespace x11rig {

// A child process, optionally with its standard output on a pipe.
struct Child {
  pid_t pid = 0;
  FILE* out = nullptr;
  Child(std::vector<std::string> args, bool pipeOut) {
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    int fds[2] = {-1, -1};
    if (pipeOut && pipe(fds) == 0) {
      posix_spawn_file_actions_adddup2(&fa, fds[1], 1);
      posix_spawn_file_actions_addclose(&fa, fds[0]);
    }
    posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&pid, argv[0], &fa, nullptr, argv.data(), environ) != 0) pid = 0;
    posix_spawn_file_actions_destroy(&fa);
    if (fds[1] >= 0) close(fds[1]);
    if (fds[0] >= 0) out = fdopen(fds[0], "r");
  }
  ~Child() {
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
    if (out) fclose(out);
  }
};

inline int Shell(const std::string& cmd) { return std::system(cmd.c_str()); }

// Handles messages until `done` or about ten seconds have passed (a safety net, not a measure).
template <class F>
bool PumpUntil(F done) {
  for (int i = 0; i < 1000; ++i) {
    QxUi_ProcessMessages();
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class XvfbTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The server picks a free display and says which once it accepts connections.
    server_ = new Child({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"}, true);
    int n = -1;
    if (!server_->out || fscanf(server_->out, "%d", &n) != 1) return;
    display_ = ":" + std::to_string(n);
    for (int i = 0; i < 100 && !dpy_; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      dpy_ = XOpenDisplay(display_.c_str());
    }
    setenv("DISPLAY", display_.c_str(), 1);
  }
  static void TearDownTestSuite() {
    if (dpy_) XCloseDisplay(dpy_);
    dpy_ = nullptr;
    delete server_;
  }
  static inline std::string display_;
  static inline Child* server_ = nullptr;
  static inline Display* dpy_ = nullptr;
};

}  // namespace x11rig
