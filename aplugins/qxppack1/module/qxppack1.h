// Everything a host needs to embed the effects of libqxppack1.so: the entry points and class
// identifiers, the component model, the effects' control interfaces and parameter records, the
// direct float door (IQxAudioTransformFloat), and the kernel services.
#pragma once
#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/delay/echomt_prop.h"
#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"
#include "aplugins/qxppack1/pitchtime/time_prop.h"
#include "aplugins/qxppack1/reverb/reverb_prop.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_list.h"
#include "kernel/services/qx_valuetext.h"
#include "kernel/services/qx_waveformat.h"
#include "platform/com/class_factory.h"
