// What the six GStreamer elements share: the effect object made through the module's class table,
// its private graph, and the GObject properties and presets made from the parameter view.
#pragma once
#include <gst/audio/audio.h>
#include <gst/gst.h>

#include <string>

#include "aplugins/qxppack1/params/param_view.h"
#include "hosts/gstreamer/effect_graph.h"

// One element type.
struct QxGstElementInfo {
  const char* element;   // "qxreverb"
  const char* view;      // the parameter view's name: "reverb"
  bool resizes;          // Time Stretch, Pitch Shift: own chain, output counted
  bool tempo;            // `tempo` and `meter` properties
  const char* summary;   // the element's description
};

// The effect behind one element instance.
struct QxGstEffect {
  const QxGstElementInfo* info = nullptr;
  const QxEffectView* view = nullptr;
  ComPtr<IBaseFilter> filter;
  QxEffectGraph graph;
  GstAudioInfo audio{};
  bool negotiated = false;
  // Under the object lock: the preset last loaded, the tempo host's settings. A change of tempo
  // or meter while streaming takes effect at once.
  std::string preset;
  double tempo = 0.0;    // beats per minute, 0 for none
  std::string meter;     // "N/D", empty for none
  int tempoRate = 0;     // the stream's rate once negotiated
};

// The module and the element types. False with a message when the module cannot be loaded.
bool QxGstLoadModule(GstPlugin* plugin);
// Makes the effect of `info` for a new instance; null with a logged error when it cannot.
QxGstEffect* QxGstNewEffect(GObject* object, const QxGstElementInfo* info);
void QxGstFreeEffect(QxGstEffect* fx);
QxGstEffect* QxGstEffectOf(gpointer object);

// Caps every element takes and gives: the sample forms the effects accept, as they stand.
GstStaticCaps* QxGstCaps();
// The graph for the negotiated format; the tempo host joins when `tempo` or `meter` is set.
bool QxGstOpenGraph(GstElement* element, QxGstEffect* fx, const GstAudioInfo& info);

// What both kinds of element class share: metadata (class "Filter/Effect/Audio"), the properties
// (the view's rows as ids 1 .. n, then `preset`, `tempo`/`meter`, `rate`), and the finalizer.
void QxGstInitClass(gpointer g_class, const QxGstElementInfo* info);
// Registers an element type over `parent` with the GstPreset interface over the preset rows.
GType QxGstRegisterType(GType parent, const QxGstElementInfo* info, guint16 classSize, GClassInitFunc classInit,
                        guint16 instanceSize, GInstanceInitFunc instanceInit);

// Time Stretch and Pitch Shift: how many times longer the output is than the input.
double QxGstLengthFactor(QxGstEffect* fx);

// Moves controlled properties to stream time `ts`; true when some property has a control binding.
bool QxGstSyncControls(GstObject* object, const GstSegment& segment, GstClockTime ts);

GType QxGstInPlaceType(const QxGstElementInfo* info);
GType QxGstResizeType(const QxGstElementInfo* info);

GST_DEBUG_CATEGORY_EXTERN(qxgst_debug);
