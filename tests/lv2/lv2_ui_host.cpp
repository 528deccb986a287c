// qxlv2_ui_host: hosts a plugin's X11 UI inside a window of its own, drives its idle call, clicks
// at a point of the UI with xdotool, and prints every port write and the size the UI asked for.
// With "parent-first" it destroys its window before it lets the UI go, as a host may.
#include <X11/Xlib.h>
#include <dlfcn.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {
void Write(LV2UI_Controller, uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
  if (format == 0 && size == sizeof(float)) std::printf("port %u = %g\n", port, *static_cast<const float*>(buffer));
}
int Resize(LV2UI_Feature_Handle, int width, int height) {
  std::printf("size %d x %d\n", width, height);
  return 0;
}
LV2_URID Map(LV2_URID_Map_Handle, const char*) { return 1; }
}  // namespace

int main(int argc, char** argv) {
  if (argc != 7 && argc != 8) {
    std::fprintf(stderr, "usage: qxlv2_ui_host BUNDLE PLUGIN_URI UI_URI X Y PORT=VALUE [parent-first]\n");
    return 2;
  }
  Display* display = XOpenDisplay(nullptr);
  if (!display) return std::fprintf(stderr, "no X display\n"), 1;
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 640, 480, 0, 0, 0xffffff);
  XMapWindow(display, window);
  XSync(display, False);
  const std::string bundle = std::string(argv[1]) + "/";
  void* lib = dlopen((bundle + "qxppack1_lv2ui.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  auto get = lib ? reinterpret_cast<LV2UI_DescriptorFunction>(dlsym(lib, "lv2ui_descriptor")) : nullptr;
  const LV2UI_Descriptor* d = nullptr;
  for (uint32_t i = 0; get && (d = get(i)) && std::strcmp(d->URI, argv[3]) != 0; ++i) {}
  if (!d) return std::fprintf(stderr, "no UI %s: %s\n", argv[3], dlerror()), 1;
  LV2_URID_Map map = {nullptr, Map};
  LV2UI_Resize resize = {nullptr, Resize};
  const LV2_Feature parent = {LV2_UI__parent, reinterpret_cast<void*>(window)}, mapF = {LV2_URID__map, &map},
                    idleF = {LV2_UI__idleInterface, nullptr}, resizeF = {LV2_UI__resize, &resize};
  const LV2_Feature* features[] = {&parent, &mapF, &idleF, &resizeF, nullptr};
  LV2UI_Widget widget = nullptr;
  LV2UI_Handle ui = d->instantiate(d, argv[2], bundle.c_str(), Write, nullptr, &widget, features);
  if (!ui) return std::fprintf(stderr, "the UI does not instantiate\n"), 1;
  std::fflush(stdout);
  const auto* idle = static_cast<const LV2UI_Idle_Interface*>(d->extension_data(LV2_UI__idleInterface));
  // A value from the host first: the UI must not echo it back as a write of its own.
  const std::string set = argv[6];
  const float value = std::stof(set.substr(set.find('=') + 1));
  d->port_event(ui, static_cast<uint32_t>(std::stoul(set)), sizeof value, 0, &value);
  const std::string click = "xdotool mousemove --window " + std::to_string(window) + " " + argv[4] + " " + argv[5] +
                            " click 1 >/dev/null 2>&1 &";
  for (int tick = 0; tick < 100; ++tick) {
    if (tick == 30 && std::system(click.c_str()) != 0) std::fprintf(stderr, "xdotool failed\n");
    idle->idle(ui);
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  const bool parentFirst = argc == 8 && std::strcmp(argv[7], "parent-first") == 0;
  if (parentFirst) XDestroyWindow(display, window), XSync(display, False);
  d->cleanup(ui);
  if (!parentFirst) XDestroyWindow(display, window);
  XCloseDisplay(display);
  return 0;
}
