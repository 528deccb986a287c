// The six elements under GstHarness: every sample form, time stamps and lengths, the tail after the
// end of the stream, a flush and a discontinuity that start afresh, a format change mid-stream,
// controlled properties in steps of at most 20 ms, and the preset rows.
#include <gst/check/gstharness.h>
#include <gst/controller/controller.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "tests/gstreamer/gst_test_env.h"

namespace {
constexpr int kRate = 8000;
constexpr int kFrames = 1024;

struct Element {
  const char* name;
  const char* property;  // set to `value` before the stream starts, unless empty
  const char* value;
  bool resizes;
  bool tail;             // gives more after the end of the stream
  double length;         // output length over input length
  bool freshAtDiscont;   // a discontinuity clears all state (Chorus's modulation runs on)
};
const Element kElements[] = {
    {"qxsimpledelay", "delay-time", "60", false, true, 1.0, true},
    {"qxmultitapdelay", "preset", "2", false, true, 1.0, true},
    {"qxreverb", "decay-time", "1", false, true, 1.0, true},
    {"qxchorus", "", "", false, false, 1.0, false},
    {"qxtimestretch", "rate", "0.5", true, true, 2.0, true},
    {"qxpitchshift", "ratio", "2", true, false, 0.5, true},
};
const char* const kForms[] = {"U8", "S16LE", "S32LE", "F32LE", "F64LE"};

int BytesPerSample(const std::string& form) {
  return form == "U8" ? 1 : form == "S16LE" ? 2 : form == "F64LE" ? 8 : 4;
}
std::string Caps(const std::string& form, int channels) {
  return "audio/x-raw,format=" + form + ",rate=" + std::to_string(kRate) + ",channels=" + std::to_string(channels) +
         ",layout=interleaved";
}

// A tone with a click every 100 ms, in the given form; `first` is the index of its first frame.
GstBuffer* Signal(const std::string& form, int channels, int frames, int first, bool constant = false) {
  const int bps = BytesPerSample(form);
  GstBuffer* buf = gst_buffer_new_allocate(nullptr, static_cast<gsize>(frames * channels * bps), nullptr);
  GstMapInfo map;
  gst_buffer_map(buf, &map, GST_MAP_WRITE);
  for (int i = 0; i < frames; ++i)
    for (int c = 0; c < channels; ++c) {
      const int n = first + i;
      const double v = constant ? 0.5 : 0.3 * std::sin(0.05 * n * (c + 1)) + ((n % 800) == 0 ? 0.6 : 0.0);
      uint8_t* p = map.data + (static_cast<size_t>(i) * channels + c) * bps;
      if (form == "U8") *p = static_cast<uint8_t>(128 + std::lround(v * 127));
      if (form == "S16LE") { const int16_t s = static_cast<int16_t>(std::lround(v * 32767)); std::memcpy(p, &s, 2); }
      if (form == "S32LE") { const int32_t s = static_cast<int32_t>(std::lround(v * 2147483647.0)); std::memcpy(p, &s, 4); }
      if (form == "F32LE") { const float s = static_cast<float>(v); std::memcpy(p, &s, 4); }
      if (form == "F64LE") std::memcpy(p, &v, 8);
    }
  gst_buffer_unmap(buf, &map);
  GST_BUFFER_PTS(buf) = gst_util_uint64_scale(first, GST_SECOND, kRate);
  GST_BUFFER_DURATION(buf) = gst_util_uint64_scale(first + frames, GST_SECOND, kRate) - GST_BUFFER_PTS(buf);
  return buf;
}

GstHarness* Start(const Element& e, const std::string& caps) {
  GstHarness* h = gst_harness_new(e.name);
  EXPECT_NE(h->element, nullptr);
  if (*e.property) gst_util_set_object_arg(G_OBJECT(h->element), e.property, e.value);
  gst_harness_set_src_caps_str(h, caps.c_str());
  return h;
}

struct Out {
  std::vector<uint8_t> bytes;
  std::vector<GstClockTime> pts, duration;
};
void Pull(GstHarness* h, Out* out) {
  while (GstBuffer* b = gst_harness_try_pull(h)) {
    GstMapInfo map;
    gst_buffer_map(b, &map, GST_MAP_READ);
    out->bytes.insert(out->bytes.end(), map.data, map.data + map.size);
    gst_buffer_unmap(b, &map);
    out->pts.push_back(GST_BUFFER_PTS(b));
    out->duration.push_back(GST_BUFFER_DURATION(b));
    gst_buffer_unref(b);
  }
}
void Eos(GstHarness* h) { gst_harness_push_event(h, gst_event_new_eos()); }

class GstElementTest : public ::testing::TestWithParam<Element> {};

// Every form: in-place elements keep each buffer's size and times; the others count their own
// times from the frames they give; all give contiguous time stamps, tail included.
TEST_P(GstElementTest, FormsTimesAndTail) {
  const Element& e = GetParam();
  for (const char* form : kForms) {
    SCOPED_TRACE(form);
    GstHarness* h = Start(e, Caps(form, 2));
    const int bpf = 2 * BytesPerSample(form);
    Out out;
    size_t before = 0;
    for (int k = 0; k < 3; ++k) {
      ASSERT_EQ(gst_harness_push(h, Signal(form, 2, kFrames, k * kFrames)), GST_FLOW_OK);
      Pull(h, &out);
      if (!e.resizes) {
        ASSERT_EQ(out.pts.size(), static_cast<size_t>(k + 1));
        EXPECT_EQ(out.pts[k], gst_util_uint64_scale(k * kFrames, GST_SECOND, kRate));
        EXPECT_EQ(out.bytes.size(), static_cast<size_t>((k + 1) * kFrames * bpf));
      }
    }
    before = out.bytes.size();
    Eos(h);
    Pull(h, &out);
    EXPECT_EQ(out.bytes.size() > before, e.tail) << out.bytes.size() << " after " << before;
    ASSERT_FALSE(out.pts.empty());
    EXPECT_EQ(out.pts[0], 0u);
    for (size_t i = 1; i < out.pts.size(); ++i) EXPECT_EQ(out.pts[i], out.pts[i - 1] + out.duration[i - 1]) << i;
    if (e.resizes) {
      const double ratio = static_cast<double>(out.bytes.size()) / (3 * kFrames * bpf);
      EXPECT_NEAR(ratio, e.length, 0.06 * e.length);
    }
    gst_harness_teardown(h);
  }
}

// What comes out for a signal pushed after a flush, or marked a discontinuity, is what a fresh
// element gives for it.
TEST_P(GstElementTest, FlushAndDiscontinuityStartAfresh) {
  const Element& e = GetParam();
  const std::string form = "S16LE";
  auto run = [&](int mode) {  // 0 fresh, 1 after a flush, 2 marked a discontinuity
    GstHarness* h = Start(e, Caps(form, 2));
    Out first, out;
    if (mode) {
      gst_harness_push(h, Signal(form, 2, kFrames, 0));
      gst_harness_push(h, Signal(form, 2, kFrames, kFrames));
      Pull(h, &first);
    }
    if (mode == 1) {
      gst_harness_push_event(h, gst_event_new_flush_start());
      gst_harness_push_event(h, gst_event_new_flush_stop(TRUE));
      GstSegment seg;
      gst_segment_init(&seg, GST_FORMAT_TIME);
      gst_harness_push_event(h, gst_event_new_segment(&seg));
    }
    GstBuffer* b = Signal(form, 2, 4 * kFrames, 0);
    if (mode == 2) GST_BUFFER_FLAG_SET(b, GST_BUFFER_FLAG_DISCONT);
    gst_harness_push(h, b);
    Pull(h, &out);
    gst_harness_teardown(h);
    return out.bytes;
  };
  const std::vector<uint8_t> fresh = run(0);
  ASSERT_FALSE(fresh.empty());
  EXPECT_EQ(run(1), fresh) << "after a flush";
  if (e.freshAtDiscont) {
    EXPECT_EQ(run(2), fresh) << "at a discontinuity";
  }
}

// A change of format mid-stream: the old format's tail first, then buffers of the new form.
TEST_P(GstElementTest, FormatChange) {
  const Element& e = GetParam();
  GstHarness* h = Start(e, Caps("S16LE", 1));
  gst_harness_push(h, Signal("S16LE", 1, kFrames, 0));
  Out old;
  gst_harness_set_src_caps_str(h, Caps("F32LE", 2).c_str());
  Pull(h, &old);
  if (!e.resizes) {
    EXPECT_EQ(old.bytes.size() > static_cast<size_t>(kFrames * 2), e.tail);
  }
  EXPECT_EQ(old.bytes.size() % 2, 0u);
  ASSERT_EQ(gst_harness_push(h, Signal("F32LE", 2, kFrames, kFrames)), GST_FLOW_OK);
  Eos(h);
  Out now;
  Pull(h, &now);
  ASSERT_FALSE(now.bytes.empty());
  EXPECT_EQ(now.bytes.size() % 8, 0u);
  if (!e.resizes) {
    EXPECT_GE(now.bytes.size(), static_cast<size_t>(kFrames * 8));
  }
  gst_harness_teardown(h);
}

// The preset rows, by the interface and by the property.
TEST_P(GstElementTest, Presets) {
  const Element& e = GetParam();
  GstElement* element = gst_element_factory_make(e.name, nullptr);
  ASSERT_NE(element, nullptr);
  gchar** names = gst_preset_get_preset_names(GST_PRESET(element));
  const guint count = g_strv_length(names);
  ASSERT_GE(count, 2u);
  EXPECT_TRUE(gst_preset_load_preset(GST_PRESET(element), names[count - 1]));
  gchar* now = nullptr;
  g_object_get(element, "preset", &now, nullptr);
  EXPECT_STREQ(now, names[count - 1]);
  g_free(now);
  g_object_set(element, "preset", "1", nullptr);
  g_object_get(element, "preset", &now, nullptr);
  EXPECT_STREQ(now, names[1]);
  g_free(now);
  EXPECT_FALSE(gst_preset_load_preset(GST_PRESET(element), "no such preset"));
  EXPECT_FALSE(gst_preset_save_preset(GST_PRESET(element), "mine"));
  g_strfreev(names);
  gst_object_unref(element);
}

void PrintTo(const Element& c, std::ostream* os) { *os << c.name; }

INSTANTIATE_TEST_SUITE_P(Elements, GstElementTest, ::testing::ValuesIn(kElements),
                         [](const ::testing::TestParamInfo<Element>& i) { return std::string(i.param.name); });

// A controlled level moves in steps of at most 20 ms: a rising dry level over a steady input gives
// a staircase.
TEST(GstControllerTest, StepsOfAtMost20ms) {
  GstHarness* h = gst_harness_new("qxsimpledelay");
  g_object_set(h->element, "delay-out", -80.0, nullptr);
  GstControlSource* cs = gst_interpolation_control_source_new();
  g_object_set(cs, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
  gst_timed_value_control_source_set(GST_TIMED_VALUE_CONTROL_SOURCE(cs), 0, 0.0);
  gst_timed_value_control_source_set(GST_TIMED_VALUE_CONTROL_SOURCE(cs), GST_SECOND, 1.0);
  gst_object_add_control_binding(GST_OBJECT(h->element), gst_direct_control_binding_new(GST_OBJECT(h->element), "dry-out", cs));
  gst_harness_set_src_caps_str(h, Caps("F32LE", 1).c_str());
  gst_harness_push(h, Signal("F32LE", 1, kRate, 0, true));
  Out out;
  Pull(h, &out);
  ASSERT_EQ(out.bytes.size(), static_cast<size_t>(kRate * 4));
  const float* s = reinterpret_cast<const float*>(out.bytes.data());
  int steps = 1, run = 1, longest = 1;
  for (int i = 1; i < kRate; ++i) {
    if (s[i] != s[i - 1]) {
      ++steps;
      run = 0;
    }
    longest = std::max(longest, ++run);
  }
  EXPECT_LE(longest, kRate / 50);
  EXPECT_GE(steps, 45);
  EXPECT_GT(s[kRate - 1], s[0]);
  gst_object_unref(cs);
  gst_harness_teardown(h);
}

// Time Stretch's segment is on the stretched time line.
TEST(GstResizeTest, SegmentScaled) {
  GstHarness* h = gst_harness_new("qxtimestretch");
  g_object_set(h->element, "rate", 0.5, nullptr);
  gst_harness_set_src_caps_str(h, Caps("S16LE", 1).c_str());
  GstSegment seg;
  gst_segment_init(&seg, GST_FORMAT_TIME);
  seg.stop = GST_SECOND;
  gst_harness_push_event(h, gst_event_new_segment(&seg));
  const GstSegment* last = nullptr;
  while (GstEvent* ev = gst_harness_try_pull_event(h)) {
    if (GST_EVENT_TYPE(ev) == GST_EVENT_SEGMENT) {
      gst_event_parse_segment(ev, &last);
      seg = *last;
    }
    gst_event_unref(ev);
  }
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(seg.stop, 2 * GST_SECOND);
  gst_harness_teardown(h);
}
}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
  QxGstTestEnvironment();
  setenv("GST_PLUGIN_SYSTEM_PATH_1_0", "", 1);  // the harness needs nothing but our plugin
  gst_init(&argc, &argv);
  const int result = RUN_ALL_TESTS();
  gst_deinit();
  return result;
}
