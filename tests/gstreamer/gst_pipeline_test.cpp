// The elements in real pipelines: gst-launch-1.0 with wavparse and wavenc writes the same samples,
// bit for bit, as qxfx process with the same settings, in 16-bit and in float; gst-inspect-1.0
// lists the six with their properties and presets.
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "tests/gstreamer/gst_test_env.h"

namespace {
struct Case {
  const char* name;
  const char* element;  // the element and its properties
  const char* qxfx;     // the effect and its options
};
const Case kCases[] = {
    {"SimpleDelay", "qxsimpledelay preset='Echo chamber'", "simple-delay --preset 'Echo chamber'"},
    {"SimpleDelayTempo", "qxsimpledelay tempo=140 meter=3/4 tempo-sync-delay=true delay-note='Dotted 8th Note'",
     "simple-delay --tempo 140 --meter 3/4 --set TempoSyncDelay=1 --set DelayNote=11"},
    {"MultiTapDelay", "qxmultitapdelay preset=2", "multi-tap-delay --preset 2"},
    {"Reverb", "qxreverb preset=Cathedral", "reverb --preset Cathedral"},
    {"Chorus", "qxchorus preset='Chorus 2'", "chorus --preset 'Chorus 2'"},
    {"TimeStretch", "qxtimestretch final-length=120", "time-stretch --percent 120"},
    {"TimeStretchPreset", "qxtimestretch preset=3", "time-stretch --preset 3"},
    {"PitchShift", "qxpitchshift preset='Third up'", "pitch-shift --preset 'Third up'"},
    {"PitchShiftPreserved", "qxpitchshift preset='Fifth down' preserve-duration=true",
     "pitch-shift --preset 'Fifth down' --set PreserveDuration=1"},
};

class Work {
 public:
  Work() {
    char templ[] = "/tmp/qxgst-XXXXXX";
    dir_ = mkdtemp(templ);
  }
  ~Work() { std::system(("rm -rf '" + dir_ + "'").c_str()); }
  std::string operator/(const std::string& name) const { return dir_ + "/" + name; }
  const std::string& Dir() const { return dir_; }

 private:
  std::string dir_;
};

struct Audio {
  int format = 0, channels = 0, rate = 0;
  std::vector<char> bytes;
};
Audio Read(const std::string& path) {
  Audio a;
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return a;
  a.format = info.format & SF_FORMAT_SUBMASK;
  a.channels = info.channels;
  a.rate = info.samplerate;
  a.bytes.resize(1 << 16);
  size_t have = 0;
  for (sf_count_t n; (n = sf_read_raw(f, a.bytes.data() + have, static_cast<sf_count_t>(a.bytes.size() - have))) > 0;) {
    have += static_cast<size_t>(n);
    if (have == a.bytes.size()) a.bytes.resize(2 * have);
  }
  a.bytes.resize(have);
  sf_close(f);
  return a;
}

int Shell(const std::string& command, std::string* output = nullptr) {
  std::FILE* p = popen((QxGstToolPrefix() + command + " 2>&1").c_str(), "r");
  if (!p) return -1;
  std::string text;
  char buf[4096];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;) text.append(buf, n);
  const int status = pclose(p);
  if (output) *output = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class GstPipelineTest : public ::testing::TestWithParam<Case> {};

TEST_P(GstPipelineTest, SameSamplesAsQxfx) {
  const Case& c = GetParam();
  Work work;
  std::string log;
  // Two seconds of stereo tones under noise, and the same in float.
  ASSERT_EQ(Shell("sox -D -n -r 44100 -c 2 -b 16 '" + (work / "in16.wav") +
                  "' synth 2 sine 220 sine 330 synth pinknoise amod 0.5 0.5",
                  &log),
            0)
      << log;
  ASSERT_EQ(Shell("sox '" + (work / "in16.wav") + "' -e floating-point -b 32 '" + (work / "infloat.wav") + "'", &log), 0)
      << log;
  for (const char* form : {"16", "float"}) {
    SCOPED_TRACE(form);
    const std::string in = work / ("in" + std::string(form) + ".wav"), gst = work / "gst.wav", qx = work / "qxfx.wav";
    ASSERT_EQ(Shell(std::string(QXFX) + " process -q '" + in + "' '" + qx + "' " + c.qxfx, &log), 0) << log;
    ASSERT_EQ(Shell(std::string(GST_LAUNCH) + " -q filesrc location='" + in + "' ! wavparse ! " + c.element +
                      " ! wavenc ! filesink location='" + gst + "'",
                  &log),
              0)
        << log;
    const Audio a = Read(qx), b = Read(gst);
    EXPECT_EQ(b.format, a.format);
    EXPECT_EQ(b.channels, a.channels);
    EXPECT_EQ(b.rate, a.rate);
    ASSERT_GT(a.bytes.size(), 0u);
    EXPECT_EQ(b.bytes.size(), a.bytes.size());
    EXPECT_TRUE(a.bytes == b.bytes) << "the samples differ";
  }
}

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

INSTANTIATE_TEST_SUITE_P(Elements, GstPipelineTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& i) { return std::string(i.param.name); });

TEST(GstInspectTest, ListsElementsPropertiesAndPresets) {
  std::string text;
  ASSERT_EQ(Shell(std::string(GST_INSPECT) + " qxppack1", &text), 0) << text;
  for (const char* e : {"qxsimpledelay", "qxmultitapdelay", "qxchorus", "qxreverb", "qxtimestretch", "qxpitchshift"})
    EXPECT_NE(text.find(e), std::string::npos) << e << " missing from:\n" << text;
  struct Expect {
    const char* element;
    std::vector<const char*> words;
  };
  const Expect expects[] = {
      {"qxsimpledelay", {"Filter/Effect/Audio", "delay-time", "tempo", "meter", "Presets:", "Echo chamber"}},
      {"qxmultitapdelay", {"tap-delay-0", "tap-pan-7", "feedback", "Presets:"}},
      {"qxreverb", {"reverb-mode", "decay-time", "controllable", "Cathedral", "Presets:"}},
      {"qxchorus", {"mod-rate", "tempo", "Presets:"}},
      {"qxtimestretch", {"final-length", "rate", "Presets:"}},
      {"qxpitchshift", {"ratio", "preserve-duration", "rate", "Third up"}},
  };
  for (const Expect& x : expects) {
    ASSERT_EQ(Shell(std::string(GST_INSPECT) + " " + x.element, &text), 0) << text;
    for (const char* w : x.words) EXPECT_NE(text.find(w), std::string::npos) << x.element << ": no " << w;
  }
}
}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  QxGstTestEnvironment();
  return RUN_ALL_TESTS();
}
