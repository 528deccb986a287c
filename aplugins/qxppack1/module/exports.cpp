// The module's shared-library face; its entry points come from the class table.
#include "aplugins/qxppack1/module/class_table.h"
