// Static and Logo controls: registration of their window classes for a module.
// Their window procedures arrive with their own work.
#include "kernel/controls/control_classes.h"

BOOL StaticInitialize(HINSTANCE module) { return RegisterClassName(QX_STATIC_CLASS, module) != 0; }
void StaticTerminate(HINSTANCE module) { UnregisterClassName(QX_STATIC_CLASS, module); }
BOOL LogoRegisterClass(HINSTANCE module, HCURSOR cursor) {
  return RegisterClassName(QX_LOGO_CLASS, module, cursor) != 0;
}
void LogoUnregisterClass(HINSTANCE module) { UnregisterClassName(QX_LOGO_CLASS, module); }
