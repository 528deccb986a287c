// The module's directory of classes: a filter and a property page per effect, found by class
// identifier through DllGetClassObject.
#pragma once
#include "aplugins/qxppack1/module/module_api.h"
#include "platform/com/class_factory.h"

extern const CFactoryTemplate g_Templates[];
extern const int g_cTemplates;
