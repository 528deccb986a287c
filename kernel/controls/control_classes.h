// The kernel's custom control window classes: their fixed names and the calls that register and
// remove them for a module. Dialog templates name these classes as they stand.
#pragma once
#include "platform/ui/window_class.h"

inline constexpr const WCHAR* QX_FADER_CLASS = u"qxppack1Bld0FaderClass";
inline constexpr const WCHAR* QX_TRACKBAR_CLASS = u"qxppack1Bld0TrackbarClass";
inline constexpr const WCHAR* QX_SPINNER_CLASS = u"qxppack1Bld0SpinnerClass";
inline constexpr const WCHAR* QX_STATIC_CLASS = u"qxppack1Bld0StaticClass";
inline constexpr const WCHAR* QX_LOGO_CLASS = u"qxppack1Bld0LogoClass";

// Each Initialize registers its class with `module` and answers FALSE if the name is taken;
// each Terminate removes it again (nothing happens if it was never registered).
BOOL FaderInitialize(HINSTANCE module);
void FaderTerminate(HINSTANCE module);
BOOL TrackbarInitialize(HINSTANCE module);
void TrackbarTerminate(HINSTANCE module);
BOOL SpinnerInitialize(HINSTANCE module);
void SpinnerTerminate(HINSTANCE module);
BOOL StaticInitialize(HINSTANCE module);
void StaticTerminate(HINSTANCE module);
// The logo strip registers with the cursor its owner loads for it.
BOOL LogoRegisterClass(HINSTANCE module, HCURSOR cursor);
void LogoUnregisterClass(HINSTANCE module);
