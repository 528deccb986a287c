// The plugin: six elements, one for each effect, made through the module's class table.
#include "hosts/gstreamer/gst_effect.h"

namespace {
const QxGstElementInfo kElements[] = {
    {"qxtimestretch", "time-stretch", true, false, "Changes the length of audio without changing its pitch"},
    {"qxpitchshift", "pitch-shift", true, false, "Transposes audio, keeping or changing its length"},
    {"qxsimpledelay", "simple-delay", false, true, "An echo, once or repeating, free or in time with a tempo"},
    {"qxmultitapdelay", "multi-tap-delay", false, false, "Up to eight echoes with their own delay, level and pan"},
    {"qxreverb", "reverb", false, false, "Reverberation with early reflections"},
    {"qxchorus", "chorus", false, true, "Chorus of one to three modulated voices, free or in time with a tempo"},
};

gboolean PluginInit(GstPlugin* plugin) {
  if (!QxGstLoadModule(plugin)) return FALSE;
  for (const QxGstElementInfo& e : kElements) {
    const GType type = e.resizes ? QxGstResizeType(&e) : QxGstInPlaceType(&e);
    if (!gst_element_register(plugin, e.element, GST_RANK_NONE, type)) return FALSE;
  }
  return TRUE;
}
}  // namespace

#define PACKAGE "qxppack1"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qxppack1, "Six audio effects: delays, reverb, chorus, time and pitch",
                  PluginInit, "1.0", "Proprietary", "qxppack1", "https://localhost/qxppack1")
