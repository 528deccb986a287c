// The GStreamer tests' surroundings: the plugin from the build, a registry of their own that
// goes away at exit, no scanning in a helper process, and for child tools the sanitizer runtime.
#pragma once
#include <string>

// Sets the environment for this process and the tools it starts; call before gst_init.
void QxGstTestEnvironment();
// What to put before a command so a child tool can load the plugin as built.
std::string QxGstToolPrefix();
