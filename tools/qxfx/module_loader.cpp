// Where qxfx looks for the component module.
#include "tools/qxfx/module_loader.h"

std::vector<std::string> QxfxModuleCandidates() {
  std::vector<std::string> v;
  const std::string dir = QxDirectoryOf(reinterpret_cast<const void*>(&QxfxModuleCandidates));
  if (dir.empty()) return v;
  v.push_back(dir + "/libqxppack1.so");
  // Installed: the library folder beside the bin folder (the link /proc/self/exe names is
  // followed, so a symbolic link to qxfx elsewhere finds it too).
#ifdef QXFX_MODULE_INSTALL_RELPATH
  v.push_back(dir + "/" QXFX_MODULE_INSTALL_RELPATH);
#endif
#ifdef QXFX_MODULE_BUILD_RELPATH
  v.push_back(dir + "/" QXFX_MODULE_BUILD_RELPATH);
#endif
  // A copy of the binary somewhere else still finds the installed module.
#ifdef QXFX_MODULE_INSTALL_PATH
  v.push_back(QXFX_MODULE_INSTALL_PATH);
#endif
  return v;
}
