// The LV2 UI: the effect's own page inside the host's window. The page edits a shadow of the
// effect, an instance made through the class table that never runs audio; each edit reaches the
// plugin as a port write, and each port the host reports is set on the shadow, so automation,
// presets and saved sessions stay true in every host.
#include <X11/Xlib.h>
#include <lv2/ui/ui.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "aplugins/qxppack1/module/page_frame.h"
#include "hosts/lv2/lv2_layout.h"

namespace {
struct PageDoor {
  decltype(&QxOpenEmbeddedPage) open;
  decltype(&QxPumpEmbeddedPage) pump;
  decltype(&QxNotifyEmbeddedPage) notify;
  decltype(&QxCloseEmbeddedPage) close;
};

struct QxLv2Ui {
  const QxLv2Plugin* plugin = nullptr;
  PageDoor door{};
  LV2UI_Write_Function write = nullptr;
  LV2UI_Controller controller = nullptr;
  ComPtr<IUnknown> shadow;
  Display* display = nullptr;
  QxEmbeddedPage* page = nullptr;
  std::vector<double> known;  // the stored values last written to or reported by the ports

  ~QxLv2Ui() {
    if (page) door.close(page);
    shadow.Reset();
    if (display) XCloseDisplay(display);
  }

  // Whatever the page changed on the shadow goes out to the ports.
  void WriteChanges() {
    for (size_t k = 0; k < known.size(); ++k) {
      const QxParamView& p = plugin->Effect->Params[k];
      double stored = 0;
      if (FAILED(QxParamGetLive(p, shadow.Get(), &stored)) || stored == known[k]) continue;
      known[k] = stored;
      const float value = static_cast<float>(QxParamToNatural(p, stored));
      write(controller, plugin->FirstControl() + static_cast<uint32_t>(k), sizeof value, 0, &value);
    }
  }
};

template <class F>
bool Find(const QxHostModule* module, const char* name, F* f) {
  *f = reinterpret_cast<F>(module->Symbol(name));
  return *f != nullptr;
}

const void* Feature(const LV2_Feature* const* features, const char* uri) {
  for (; features && *features; ++features)
    if (std::strcmp((*features)->URI, uri) == 0) return (*features)->data;
  return nullptr;
}

LV2UI_Handle Instantiate(const LV2UI_Descriptor*, const char* pluginUri, const char* bundle,
                         LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                         const LV2_Feature* const* features) {
  auto ui = std::make_unique<QxLv2Ui>();
  ui->plugin = QxLv2FindPlugin(pluginUri);
  const void* parent = Feature(features, LV2_UI__parent);
  std::string error;
  const QxHostModule* module = ui->plugin && parent && write ? QxLv2LoadModule(bundle, &error) : nullptr;
  if (!module || !Find(module, "QxOpenEmbeddedPage", &ui->door.open) ||
      !Find(module, "QxPumpEmbeddedPage", &ui->door.pump) || !Find(module, "QxNotifyEmbeddedPage", &ui->door.notify) ||
      !Find(module, "QxCloseEmbeddedPage", &ui->door.close))
    return nullptr;
  ui->write = write;
  ui->controller = controller;
  if (FAILED(module->CreateInstance(ui->plugin->Effect->Clsid, IID_IUnknown, ui->shadow.PutVoid()))) return nullptr;
  ui->display = XOpenDisplay(nullptr);
  if (!ui->display) return nullptr;
  int width = 0, height = 0;
  unsigned long window = 0;
  if (FAILED(ui->door.open(ui->shadow.Get(), ui->display, reinterpret_cast<uintptr_t>(parent), &ui->page, &width,
                           &height, &window)))
    return nullptr;
  // The host reaches the page's window on its own connection: it must exist there first.
  XSync(ui->display, False);
  for (const QxParamView& p : ui->plugin->Effect->Params) {
    double stored = 0;
    QxParamGetLive(p, ui->shadow.Get(), &stored);
    ui->known.push_back(stored);
  }
  if (const auto* resize = static_cast<const LV2UI_Resize*>(Feature(features, LV2_UI__resize)))
    resize->ui_resize(resize->handle, width, height);
  *widget = reinterpret_cast<LV2UI_Widget>(static_cast<uintptr_t>(window));
  return ui.release();
}

void Cleanup(LV2UI_Handle h) { delete static_cast<QxLv2Ui*>(h); }

// A port the host reports: the shadow takes it, and the page shows it again.
void PortEvent(LV2UI_Handle h, uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
  auto* ui = static_cast<QxLv2Ui*>(h);
  const uint32_t first = ui->plugin->FirstControl();
  if (format != 0 || size != sizeof(float) || port < first || port - first >= ui->known.size()) return;
  const QxParamView& p = ui->plugin->Effect->Params[port - first];
  double stored = 0;
  if (QxParamToStored(p, *static_cast<const float*>(buffer), &stored) == QxParse::Invalid) return;
  if (stored == ui->known[port - first]) return;
  QxParamSetLive(p, ui->shadow.Get(), stored);
  QxParamGetLive(p, ui->shadow.Get(), &ui->known[port - first]);
  ui->door.notify(ui->page);
}

int Idle(LV2UI_Handle h) {
  auto* ui = static_cast<QxLv2Ui*>(h);
  ui->door.pump(ui->page);
  ui->WriteChanges();
  return 0;
}

const void* ExtensionData(const char* uri) {
  static const LV2UI_Idle_Interface idle = {Idle};
  return std::strcmp(uri, LV2_UI__idleInterface) == 0 ? &idle : nullptr;
}
}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
  static const std::vector<std::string> uris = [] {
    std::vector<std::string> all;
    const auto plugins = QxLv2Plugins();
    for (size_t i = 0; i < plugins.size(); i += 2) all.push_back(QxLv2UiUri(*plugins[i].Effect));
    return all;
  }();
  static const std::vector<LV2UI_Descriptor> descriptors = [] {
    std::vector<LV2UI_Descriptor> all;
    for (const std::string& uri : uris) all.push_back({uri.c_str(), Instantiate, Cleanup, PortEvent, ExtensionData});
    return all;
  }();
  return index < descriptors.size() ? &descriptors[index] : nullptr;
}
