// The page commands over the module's page door (QxShowPropertyFrame).
#include "tools/qxfx/page_commands.h"

#include <cstdio>

#include "aplugins/qxppack1/module/page_frame.h"
#include "platform/com/property_pages.h"
#include "platform/ui/dialog.h"
#include "tools/qxfx/effect_options.h"
#include "tools/qxfx/effects.h"
#include "tools/qxfx/file_graph.h"
#include "tools/qxfx/module_loader.h"

namespace {
int Fail(const std::string& message) {
  std::fprintf(stderr, "qxfx: %s\n", message.c_str());
  return 1;
}

using ShowFrame = HRESULT (*)(QxPropertyFrameRequest*);

// The effects whose pages the module builds, for the message that refuses the others.
std::string EffectsWithPages() {
  std::string names;
  std::string error;
  const QxHostModule* module = QxfxLoadModule(&error);
  for (const QxfxEffect& e : QxfxEffects()) {
    ComPtr<IUnknown> filter;
    if (!module || FAILED(module->CreateInstance(e.clsid, IID_IUnknown, filter.PutVoid()))) continue;
    ComPtr<ISpecifyPropertyPages> specify;
    CAUUID pages{};
    if (FAILED(QueryTo(filter.Get(), IID_ISpecifyPropertyPages, specify)) || FAILED(specify->GetPages(&pages))) continue;
    ComPtr<IUnknown> page;
    const bool built = pages.cElems && SUCCEEDED(module->CreateInstance(pages.pElems[0], IID_IUnknown, page.PutVoid()));
    CoTaskMemFree(pages.pElems);
    if (built) names += (names.empty() ? "" : ", ") + e.name;
  }
  return names.empty() ? "none" : names;
}
}  // namespace

int QxfxShowPage(IUnknown* filter, const std::string& effect, const QxfxCommandLine& cl) {
  const bool edit = cl.command == "edit";
  if (!edit && cl.png.empty() && !cl.json)
    return Fail("page needs --png FILE or --json (qxfx edit opens the page as a window)");
  std::string error;
  const QxHostModule* module = QxfxLoadModule(&error);
  if (!module) return Fail(error);
  auto show = reinterpret_cast<ShowFrame>(module->Symbol("QxShowPropertyFrame"));
  if (!show) return Fail("the module " + module->Path() + " shows no pages (it has no QxShowPropertyFrame)");

  QxPropertyFrameRequest request;
  request.object = filter;
  if (edit) {
    request.openDisplay = true;
  } else {
    request.pngPath = cl.png.empty() ? nullptr : cl.png.c_str();
    request.jsonPath = cl.json ? "-" : nullptr;
  }
  const HRESULT hr = show(&request);
  if (edit && hr == E_HANDLE)
    return Fail("edit needs an X display, and none could be opened (is $DISPLAY set?); qxfx page " + effect +
                " --png FILE draws the page without one");
  if (hr == E_NOTIMPL || hr == E_NOINTERFACE)
    return Fail("the " + effect + " page is not built yet; pages exist for: " + EffectsWithPages());
  if (FAILED(hr))
    return Fail(!edit && !cl.png.empty() ? "cannot write the picture " + cl.png : "the page could not be shown" + QxfxDescribe(hr));
  if (!edit) return 0;
  if (request.result != IDOK) {
    if (cl.saveState.empty()) return 0;
    std::fprintf(stderr, "qxfx: cancelled; %s was not written\n", cl.saveState.c_str());
    return 1;
  }
  if (!cl.saveState.empty()) {
    if (!QxfxSaveState(filter, cl.saveState, &error)) return Fail(error);
    if (!cl.quiet) std::fprintf(stderr, "qxfx: %s: state saved to %s\n", effect.c_str(), cl.saveState.c_str());
  }
  return 0;
}
