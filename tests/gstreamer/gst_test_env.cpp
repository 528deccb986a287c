// The GStreamer tests' environment: the build's plugin and a private, temporary registry.
#include "tests/gstreamer/gst_test_env.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

namespace {
std::string g_registry;
void RemoveRegistry() { std::remove(g_registry.c_str()); }
}  // namespace

void QxGstTestEnvironment() {
  const char* tmp = std::getenv("TMPDIR");
  g_registry = std::string(tmp && *tmp ? tmp : "/tmp") + "/qxgst-registry-" + std::to_string(getpid()) + ".bin";
  std::atexit(RemoveRegistry);
  setenv("GST_PLUGIN_PATH_1_0", QXGST_PLUGIN_DIR, 1);
  setenv("GST_REGISTRY_1_0", g_registry.c_str(), 1);
  setenv("GST_REGISTRY_FORK", "no", 1);
}

std::string QxGstToolPrefix() {
  std::string p = std::string("LSAN_OPTIONS='") + QXGST_LSAN + "' ";
  if (*QXGST_PRELOAD) p += std::string("LD_PRELOAD='") + QXGST_PRELOAD + "' ";
  return p;
}
