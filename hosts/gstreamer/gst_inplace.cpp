// Simple Delay, Multi-Tap Delay, Reverb and Chorus as in-place audio filters: each buffer goes
// through the effect and comes back rewritten; at the end of the stream (and before a format
// change) the tail follows with continuing time stamps; a flush starts the effect afresh.
#include <gst/audio/gstaudiofilter.h>

#include <algorithm>
#include <cstring>

#include "hosts/gstreamer/gst_effect.h"

#define GST_CAT_DEFAULT qxgst_debug

namespace {
struct QxGstInPlace {
  GstAudioFilter parent;
  GstClockTime next;  // where the tail goes on from: the end of the last buffer
};
struct QxGstInPlaceClass {
  GstAudioFilterClass parent;
  const QxGstElementInfo* info;
};

GstAudioFilterClass* g_parentClass = nullptr;
constexpr guint64 kStepNs = 20 * GST_MSECOND;  // the most a controlled value stands still
constexpr size_t kTailFrames = 8192;          // frames per tail buffer

QxGstEffect* Fx(gpointer self) { return QxGstEffectOf(self); }

// Pushes what the effect still holds as buffers that follow on from the last one.
GstFlowReturn PushTail(QxGstInPlace* self) {
  QxGstEffect* fx = Fx(self);
  if (!fx->negotiated) return GST_FLOW_OK;
  fx->graph.EndOfStream();
  std::vector<uint8_t> tail;
  fx->graph.TakeOutput(&tail);
  const int rate = GST_AUDIO_INFO_RATE(&fx->audio);
  const size_t bpf = static_cast<size_t>(GST_AUDIO_INFO_BPF(&fx->audio));
  GstPad* src = GST_BASE_TRANSFORM_SRC_PAD(self);
  GstFlowReturn ret = GST_FLOW_OK;
  for (size_t done = 0; done < tail.size() && ret == GST_FLOW_OK;) {
    const size_t bytes = std::min(kTailFrames * bpf, tail.size() - done);
    GstBuffer* buf = gst_buffer_new_memdup(tail.data() + done, bytes);
    const GstClockTime duration = gst_util_uint64_scale(bytes / bpf, GST_SECOND, rate);
    GST_BUFFER_PTS(buf) = self->next;
    GST_BUFFER_DURATION(buf) = duration;
    if (GST_CLOCK_TIME_IS_VALID(self->next)) self->next += duration;
    done += bytes;
    ret = gst_pad_push(src, buf);
  }
  GST_DEBUG_OBJECT(self, "tail of %zu bytes: %s", tail.size(), gst_flow_get_name(ret));
  return ret;
}

gboolean Setup(GstAudioFilter* filter, const GstAudioInfo* info) {
  QxGstEffect* fx = Fx(filter);
  if (fx->negotiated && gst_audio_info_is_equal(info, &fx->audio)) return TRUE;
  return QxGstOpenGraph(GST_ELEMENT(filter), fx, *info);
}

GstFlowReturn TransformIp(GstBaseTransform* trans, GstBuffer* buf) {
  auto* self = reinterpret_cast<QxGstInPlace*>(trans);
  QxGstEffect* fx = Fx(self);
  if (!fx->negotiated) return GST_FLOW_NOT_NEGOTIATED;
  GstMapInfo map;
  if (!gst_buffer_map(buf, &map, GST_MAP_READWRITE)) return GST_FLOW_ERROR;
  const int rate = GST_AUDIO_INFO_RATE(&fx->audio);
  const size_t bpf = static_cast<size_t>(GST_AUDIO_INFO_BPF(&fx->audio));
  const size_t frames = map.size / bpf;
  const GstClockTime pts = GST_BUFFER_PTS(buf);
  // Controlled properties move at most every 20 ms, as the effects' own envelopes do.
  size_t step = frames;
  if (GST_CLOCK_TIME_IS_VALID(pts) && QxGstSyncControls(GST_OBJECT(trans), trans->segment, pts))
    step = std::max<size_t>(1, gst_util_uint64_scale_int(kStepNs, rate, GST_SECOND));
  bool discont = GST_BUFFER_IS_DISCONT(buf);
  HRESULT hr = S_OK;
  for (size_t at = 0; at < frames && SUCCEEDED(hr); at += step) {
    if (at > 0) QxGstSyncControls(GST_OBJECT(trans), trans->segment, pts + gst_util_uint64_scale(at, GST_SECOND, rate));
    const size_t n = std::min(step, frames - at);
    hr = fx->graph.Push(map.data + at * bpf, n * bpf, discont);
    discont = false;
  }
  std::vector<uint8_t>& out = fx->graph.Output();
  std::memcpy(map.data, out.data(), std::min(out.size(), map.size));
  out.clear();
  gst_buffer_unmap(buf, &map);
  if (FAILED(hr)) {
    GST_ELEMENT_ERROR(trans, STREAM, FAILED, (nullptr), ("the effect failed (0x%08x)", static_cast<unsigned>(hr)));
    return GST_FLOW_ERROR;
  }
  if (GST_CLOCK_TIME_IS_VALID(pts))
    self->next = pts + (GST_BUFFER_DURATION_IS_VALID(buf) ? GST_BUFFER_DURATION(buf)
                                                           : gst_util_uint64_scale(frames, GST_SECOND, rate));
  return GST_FLOW_OK;
}

gboolean SinkEvent(GstBaseTransform* trans, GstEvent* event) {
  auto* self = reinterpret_cast<QxGstInPlace*>(trans);
  QxGstEffect* fx = Fx(self);
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_EOS:
      PushTail(self);
      break;
    case GST_EVENT_CAPS: {
      // The old format's tail goes out before the new format takes over.
      GstCaps* caps = nullptr;
      gst_event_parse_caps(event, &caps);
      GstAudioInfo info;
      if (fx->negotiated && gst_audio_info_from_caps(&info, caps) && !gst_audio_info_is_equal(&info, &fx->audio))
        PushTail(self);
      break;
    }
    case GST_EVENT_FLUSH_STOP:
      if (fx->negotiated) fx->graph.Restart();
      self->next = GST_CLOCK_TIME_NONE;
      break;
    default:
      break;
  }
  return GST_BASE_TRANSFORM_CLASS(g_parentClass)->sink_event(trans, event);
}

gboolean Stop(GstBaseTransform* trans) {
  QxGstEffect* fx = Fx(trans);
  fx->graph.Close();
  fx->negotiated = false;
  return TRUE;
}

void ClassInit(gpointer g_class, gpointer data) {
  const auto* info = static_cast<const QxGstElementInfo*>(data);
  g_parentClass = static_cast<GstAudioFilterClass*>(g_type_class_peek_parent(g_class));
  auto* klass = static_cast<QxGstInPlaceClass*>(g_class);
  klass->info = info;
  QxGstInitClass(g_class, info);
  GstCaps* caps = gst_static_caps_get(QxGstCaps());
  gst_audio_filter_class_add_pad_templates(GST_AUDIO_FILTER_CLASS(g_class), caps);
  gst_caps_unref(caps);
  auto* bt = GST_BASE_TRANSFORM_CLASS(g_class);
  bt->transform_ip = TransformIp;
  bt->sink_event = SinkEvent;
  bt->stop = Stop;
  bt->transform_ip_on_passthrough = FALSE;
  GST_AUDIO_FILTER_CLASS(g_class)->setup = Setup;
}

void InstanceInit(GTypeInstance* instance, gpointer g_class) {
  auto* self = reinterpret_cast<QxGstInPlace*>(instance);
  self->next = GST_CLOCK_TIME_NONE;
  QxGstNewEffect(G_OBJECT(instance), static_cast<QxGstInPlaceClass*>(g_class)->info);
  gst_base_transform_set_in_place(GST_BASE_TRANSFORM(instance), TRUE);
}
}  // namespace

GType QxGstInPlaceType(const QxGstElementInfo* info) {
  return QxGstRegisterType(GST_TYPE_AUDIO_FILTER, info, sizeof(QxGstInPlaceClass), ClassInit, sizeof(QxGstInPlace), InstanceInit);
}
