// Fader control: registration of its window class for a module.
// The control's window procedure arrives with its own work.
#include "kernel/controls/control_classes.h"

BOOL FaderInitialize(HINSTANCE module) { return RegisterClassName(QX_FADER_CLASS, module) != 0; }
void FaderTerminate(HINSTANCE module) { UnregisterClassName(QX_FADER_CLASS, module); }
