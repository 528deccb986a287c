// Time Stretch and Pitch Shift as elements that change the amount of audio: their own chain and
// event handling, output time stamps counted from the frames they give, segments and position and
// duration answers scaled by how much longer the output is, and the rest pushed at the end.
#include <algorithm>

#include "hosts/gstreamer/gst_effect.h"

#define GST_CAT_DEFAULT qxgst_debug

namespace {
struct QxGstResize {
  GstElement parent;
  GstPad* sinkpad;
  GstPad* srcpad;
  GstSegment segment;  // the input's
  GstClockTime base;   // output time of the first frame counted in `frames`
  guint64 frames;      // frames given since `base`
  bool needBase;       // the next input sets `base` (start, discontinuity, segment, flush)
  bool discont;        // the next output buffer is marked a discontinuity
};
struct QxGstResizeClass {
  GstElementClass parent;
  const QxGstElementInfo* info;
};

GstElementClass* g_parentClass = nullptr;
constexpr guint64 kStepNs = 20 * GST_MSECOND;
constexpr size_t kOutFrames = 8192;

QxGstResize* Self(gpointer p) { return reinterpret_cast<QxGstResize*>(p); }
QxGstEffect* Fx(gpointer p) { return QxGstEffectOf(p); }

guint64 Scale(guint64 t, double factor) {
  return GST_CLOCK_TIME_IS_VALID(t) ? static_cast<guint64>(static_cast<double>(t) * factor + 0.5) : t;
}

// Pushes what the effect gave, stamped from the count of frames given since `base`.
GstFlowReturn PushOutput(QxGstResize* self) {
  QxGstEffect* fx = Fx(self);
  std::vector<uint8_t> out;
  fx->graph.TakeOutput(&out);
  const int rate = GST_AUDIO_INFO_RATE(&fx->audio);
  const size_t bpf = static_cast<size_t>(GST_AUDIO_INFO_BPF(&fx->audio));
  GstFlowReturn ret = GST_FLOW_OK;
  for (size_t done = 0; done + bpf <= out.size() && ret == GST_FLOW_OK;) {
    const size_t frames = std::min(kOutFrames, (out.size() - done) / bpf);
    GstBuffer* buf = gst_buffer_new_memdup(out.data() + done, frames * bpf);
    if (GST_CLOCK_TIME_IS_VALID(self->base)) {
      const GstClockTime start = self->base + gst_util_uint64_scale(self->frames, GST_SECOND, rate);
      const GstClockTime stop = self->base + gst_util_uint64_scale(self->frames + frames, GST_SECOND, rate);
      GST_BUFFER_PTS(buf) = start;
      GST_BUFFER_DURATION(buf) = stop - start;
    }
    GST_BUFFER_OFFSET(buf) = self->frames;
    GST_BUFFER_OFFSET_END(buf) = self->frames + frames;
    if (self->discont) GST_BUFFER_FLAG_SET(buf, GST_BUFFER_FLAG_DISCONT);
    self->discont = false;
    self->frames += frames;
    done += frames * bpf;
    ret = gst_pad_push(self->srcpad, buf);
  }
  return ret;
}

GstFlowReturn Drain(QxGstResize* self) {
  QxGstEffect* fx = Fx(self);
  if (!fx->negotiated) return GST_FLOW_OK;
  fx->graph.EndOfStream();
  return PushOutput(self);
}

GstFlowReturn Chain(GstPad*, GstObject* parent, GstBuffer* buf) {
  QxGstResize* self = Self(parent);
  QxGstEffect* fx = Fx(self);
  if (!fx->negotiated) {
    gst_buffer_unref(buf);
    return GST_FLOW_NOT_NEGOTIATED;
  }
  const GstClockTime pts = GST_BUFFER_PTS(buf);
  const bool discont = GST_BUFFER_IS_DISCONT(buf);
  if (discont || self->needBase) {
    // The input's time is taken over at a discontinuity, on the stretched time line.
    if (GST_CLOCK_TIME_IS_VALID(pts)) {
      self->base = Scale(pts, QxGstLengthFactor(fx));
      self->frames = 0;
    }
    self->needBase = false;
    self->discont = true;
  }
  const int rate = GST_AUDIO_INFO_RATE(&fx->audio);
  const size_t bpf = static_cast<size_t>(GST_AUDIO_INFO_BPF(&fx->audio));
  GstMapInfo map;
  if (!gst_buffer_map(buf, &map, GST_MAP_READ)) {
    gst_buffer_unref(buf);
    return GST_FLOW_ERROR;
  }
  const size_t frames = map.size / bpf;
  size_t step = frames;
  if (GST_CLOCK_TIME_IS_VALID(pts) && QxGstSyncControls(GST_OBJECT(self), self->segment, pts))
    step = std::max<size_t>(1, gst_util_uint64_scale_int(kStepNs, rate, GST_SECOND));
  HRESULT hr = S_OK;
  GstFlowReturn ret = GST_FLOW_OK;
  for (size_t at = 0; at < frames && SUCCEEDED(hr) && ret == GST_FLOW_OK; at += step) {
    if (at > 0) QxGstSyncControls(GST_OBJECT(self), self->segment, pts + gst_util_uint64_scale(at, GST_SECOND, rate));
    hr = fx->graph.Push(map.data + at * bpf, std::min(step, frames - at) * bpf, discont && at == 0);
    if (SUCCEEDED(hr)) ret = PushOutput(self);
  }
  gst_buffer_unmap(buf, &map);
  gst_buffer_unref(buf);
  if (FAILED(hr)) {
    GST_ELEMENT_ERROR(self, STREAM, FAILED, (nullptr), ("the effect failed (0x%08x)", static_cast<unsigned>(hr)));
    return GST_FLOW_ERROR;
  }
  return ret;
}

gboolean SinkEvent(GstPad* pad, GstObject* parent, GstEvent* event) {
  QxGstResize* self = Self(parent);
  QxGstEffect* fx = Fx(self);
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_CAPS: {
      GstCaps* caps = nullptr;
      gst_event_parse_caps(event, &caps);
      GstAudioInfo info;
      if (!gst_audio_info_from_caps(&info, caps)) {
        gst_event_unref(event);
        return FALSE;
      }
      if (!fx->negotiated || !gst_audio_info_is_equal(&info, &fx->audio)) {
        Drain(self);  // the old format's rest goes out first
        if (!QxGstOpenGraph(GST_ELEMENT(self), fx, info)) {
          gst_event_unref(event);
          return FALSE;
        }
        self->needBase = true;
      }
      return gst_pad_push_event(self->srcpad, event);
    }
    case GST_EVENT_SEGMENT: {
      gst_event_copy_segment(event, &self->segment);
      gst_event_unref(event);
      GstSegment out = self->segment;
      if (out.format == GST_FORMAT_TIME) {
        const double k = QxGstLengthFactor(fx);
        out.start = Scale(out.start, k);
        out.stop = Scale(out.stop, k);
        out.time = Scale(out.time, k);
        out.position = Scale(out.position, k);
        out.base = Scale(out.base, k);
        out.duration = Scale(out.duration, k);
      }
      self->needBase = true;
      return gst_pad_push_event(self->srcpad, gst_event_new_segment(&out));
    }
    case GST_EVENT_EOS:
      Drain(self);
      break;
    case GST_EVENT_FLUSH_STOP:
      if (fx->negotiated) fx->graph.Restart();
      gst_segment_init(&self->segment, GST_FORMAT_TIME);
      self->needBase = true;
      break;
    default:
      break;
  }
  return gst_pad_event_default(pad, parent, event);
}

gboolean SrcQuery(GstPad* pad, GstObject* parent, GstQuery* query) {
  QxGstResize* self = Self(parent);
  const GstQueryType type = GST_QUERY_TYPE(query);
  if (type != GST_QUERY_POSITION && type != GST_QUERY_DURATION) return gst_pad_query_default(pad, parent, query);
  if (!gst_pad_peer_query(self->sinkpad, query)) return FALSE;
  GstFormat format;
  gint64 value;
  const double k = QxGstLengthFactor(Fx(self));
  if (type == GST_QUERY_POSITION) {
    gst_query_parse_position(query, &format, &value);
    if (format == GST_FORMAT_TIME && value >= 0) gst_query_set_position(query, format, Scale(value, k));
  } else {
    gst_query_parse_duration(query, &format, &value);
    if (format == GST_FORMAT_TIME && value >= 0) gst_query_set_duration(query, format, Scale(value, k));
  }
  return TRUE;
}

// A seek on the output's time line is a seek upstream on the input's.
gboolean SrcEvent(GstPad* pad, GstObject* parent, GstEvent* event) {
  QxGstResize* self = Self(parent);
  if (GST_EVENT_TYPE(event) != GST_EVENT_SEEK) return gst_pad_event_default(pad, parent, event);
  gdouble rate;
  GstFormat format;
  GstSeekFlags flags;
  GstSeekType startType, stopType;
  gint64 start, stop;
  gst_event_parse_seek(event, &rate, &format, &flags, &startType, &start, &stopType, &stop);
  if (format != GST_FORMAT_TIME) return gst_pad_event_default(pad, parent, event);
  const double k = 1.0 / QxGstLengthFactor(Fx(self));
  GstEvent* seek = gst_event_new_seek(rate, format, flags, startType, start >= 0 ? Scale(start, k) : start, stopType,
                                      stop >= 0 ? Scale(stop, k) : stop);
  gst_event_set_seqnum(seek, gst_event_get_seqnum(event));
  gst_event_unref(event);
  return gst_pad_push_event(self->sinkpad, seek);
}

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange transition) {
  QxGstResize* self = Self(element);
  if (transition == GST_STATE_CHANGE_READY_TO_PAUSED) {
    gst_segment_init(&self->segment, GST_FORMAT_TIME);
    self->base = GST_CLOCK_TIME_NONE;
    self->frames = 0;
    self->needBase = true;
  }
  GstStateChangeReturn ret = g_parentClass->change_state(element, transition);
  if (transition == GST_STATE_CHANGE_PAUSED_TO_READY) {
    QxGstEffect* fx = Fx(self);
    fx->graph.Close();
    fx->negotiated = false;
  }
  return ret;
}

void ClassInit(gpointer g_class, gpointer data) {
  const auto* info = static_cast<const QxGstElementInfo*>(data);
  g_parentClass = static_cast<GstElementClass*>(g_type_class_peek_parent(g_class));
  static_cast<QxGstResizeClass*>(g_class)->info = info;
  QxGstInitClass(g_class, info);
  auto* element = GST_ELEMENT_CLASS(g_class);
  GstCaps* caps = gst_static_caps_get(QxGstCaps());
  gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
  gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);
  element->change_state = ChangeState;
}

void InstanceInit(GTypeInstance* instance, gpointer g_class) {
  QxGstResize* self = Self(instance);
  GstElementClass* element = GST_ELEMENT_CLASS(g_class);
  self->sinkpad = gst_pad_new_from_template(gst_element_class_get_pad_template(element, "sink"), "sink");
  gst_pad_set_chain_function(self->sinkpad, Chain);
  gst_pad_set_event_function(self->sinkpad, SinkEvent);
  GST_PAD_SET_PROXY_CAPS(self->sinkpad);
  gst_element_add_pad(GST_ELEMENT(self), self->sinkpad);
  self->srcpad = gst_pad_new_from_template(gst_element_class_get_pad_template(element, "src"), "src");
  gst_pad_set_query_function(self->srcpad, SrcQuery);
  gst_pad_set_event_function(self->srcpad, SrcEvent);
  GST_PAD_SET_PROXY_CAPS(self->srcpad);
  gst_element_add_pad(GST_ELEMENT(self), self->srcpad);
  gst_segment_init(&self->segment, GST_FORMAT_TIME);
  self->base = GST_CLOCK_TIME_NONE;
  self->needBase = true;
  QxGstNewEffect(G_OBJECT(instance), static_cast<QxGstResizeClass*>(g_class)->info);
}
}  // namespace

GType QxGstResizeType(const QxGstElementInfo* info) {
  return QxGstRegisterType(GST_TYPE_ELEMENT, info, sizeof(QxGstResizeClass), ClassInit, sizeof(QxGstResize), InstanceInit);
}
