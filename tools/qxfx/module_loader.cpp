// Where qxfx looks for the component module.
#include "tools/qxfx/module_loader.h"

std::vector<std::string> QxfxModuleCandidates() {
  std::vector<std::string> v;
  const std::string dir = QxDirectoryOf(reinterpret_cast<const void*>(&QxfxModuleCandidates));
  if (dir.empty()) return v;
  v.push_back(dir + "/libqxppack1.so");
#ifdef QXFX_MODULE_BUILD_RELPATH
  v.push_back(dir + "/" QXFX_MODULE_BUILD_RELPATH);
#endif
  return v;
}
