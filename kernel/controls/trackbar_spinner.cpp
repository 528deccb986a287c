// Trackbar and Spinner controls: class registration. Their window procedures arrive with their
// own work.
#include "kernel/controls/control_classes.h"

BOOL TrackbarInitialize(HINSTANCE module) { return RegisterClassName(QX_TRACKBAR_CLASS, module) != 0; }
void TrackbarTerminate(HINSTANCE module) { UnregisterClassName(QX_TRACKBAR_CLASS, module); }
BOOL SpinnerInitialize(HINSTANCE module) { return RegisterClassName(QX_SPINNER_CLASS, module) != 0; }
void SpinnerTerminate(HINSTANCE module) { UnregisterClassName(QX_SPINNER_CLASS, module); }
