// Tests of the host side: WAV source -> pass-through in-place filter(s) -> WAV sink, bit-exact for
// every sample form and several channel counts with odd block sizes, the time stamps and the
// discontinuity flag of the pushed blocks, and the errors a host sees.
#include <gtest/gtest.h>
#include <sndfile.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "platform/mediagraph/graph_runner.h"
#include "platform/mediagraph/trans_in_place.h"

namespace {

constexpr CLSID CLSID_Recorder = MakeGuid("11111111-2222-3333-4444-555555555557");

// Leaves the audio alone and records what it was given.
class Recorder : public CTransInPlaceFilter {
 public:
  explicit Recorder(HRESULT* hr) : CTransInPlaceFilter("recorder", nullptr, CLSID_Recorder, hr) {}
  static Recorder* Make() {
    HRESULT hr = S_OK;
    auto* r = new Recorder(&hr);
    r->NonDelegatingAddRef();
    return r;
  }
  HRESULT CheckInputType(const CMediaType* mt) override {
    if (!(mt->majortype == MEDIATYPE_Audio) || mt->FormatLength() < 16) return E_INVALIDARG;
    return reinterpret_cast<const WAVEFORMATEX*>(mt->Format())->nChannels <= maxChannels ? S_OK : E_INVALIDARG;
  }
  HRESULT Transform(IMediaSample* s) override {
    Block b{};
    b.length = s->GetActualDataLength();
    b.timeResult = s->GetTime(&b.start, &b.stop);
    b.discontinuity = s->IsDiscontinuity() == S_OK;
    blocks.push_back(b);
    return S_OK;
  }
  HRESULT EndOfStream() override {
    ++eos;
    return CTransInPlaceFilter::EndOfStream();
  }
  struct Block {
    LONG length;
    HRESULT timeResult;
    REFERENCE_TIME start, stop;
    bool discontinuity;
  };
  std::vector<Block> blocks;
  int eos = 0;
  WORD maxChannels = 32;
};

struct TempDir {
  std::filesystem::path dir;
  TempDir() {
    dir = std::filesystem::temp_directory_path() / ("qx_mediagraph_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
  }
  ~TempDir() { std::filesystem::remove_all(dir); }
  std::string Path(const std::string& name) const { return (dir / name).string(); }
};

// Writes `frames` of random audio; integer files from full-range 32-bit words.
void WriteFile(const std::string& path, int format, int channels, int rate, sf_count_t frames, unsigned seed) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
  std::mt19937 rng(seed);
  size_t n = static_cast<size_t>(frames) * channels;
  int sub = format & SF_FORMAT_SUBMASK;
  if (sub == SF_FORMAT_FLOAT) {
    std::vector<float> v(n);
    std::uniform_real_distribution<float> d(-1.5f, 1.5f);
    for (auto& x : v) x = d(rng);
    sf_writef_float(f, v.data(), frames);
  } else if (sub == SF_FORMAT_DOUBLE) {
    std::vector<double> v(n);
    std::uniform_real_distribution<double> d(-1.5, 1.5);
    for (auto& x : v) x = d(rng);
    sf_writef_double(f, v.data(), frames);
  } else {
    std::vector<int> v(n);
    for (auto& x : v) x = static_cast<int>(rng());
    v[0] = INT32_MIN;  // the extremes survive too
    if (n > 1) v[1] = INT32_MAX;
    sf_writef_int(f, v.data(), frames);
  }
  sf_close(f);
}

struct Contents {
  SF_INFO info{};
  std::vector<double> d;  // float forms
  std::vector<int> i;     // integer forms
};

Contents ReadFile(const std::string& path) {
  Contents c;
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &c.info);
  if (!f) return c;
  size_t n = static_cast<size_t>(c.info.frames) * c.info.channels;
  int sub = c.info.format & SF_FORMAT_SUBMASK;
  if (sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE) {
    c.d.resize(n);
    sf_readf_double(f, c.d.data(), c.info.frames);
  } else {
    c.i.resize(n);
    sf_readf_int(f, c.i.data(), c.info.frames);
  }
  sf_close(f);
  return c;
}

struct Form {
  const char* name;
  int sub;
};

}  // namespace

TEST(WavRoundTrip, EveryFormAndChannelCountIsBitExactThroughAPassThroughFilter) {
  TempDir tmp;
  const Form forms[] = {{"u8", SF_FORMAT_PCM_U8},   {"s16", SF_FORMAT_PCM_16}, {"s24", SF_FORMAT_PCM_24},
                        {"s32", SF_FORMAT_PCM_32},  {"f32", SF_FORMAT_FLOAT},  {"f64", SF_FORMAT_DOUBLE}};
  const int channelCounts[] = {1, 2, 3, 6};
  const LONG blockSizes[] = {1, 37, 333};
  unsigned seed = 1;
  for (const Form& form : forms) {
    for (int ch : channelCounts) {
      LONG block = blockSizes[seed % 3];
      SCOPED_TRACE(std::string(form.name) + " ch=" + std::to_string(ch) + " block=" + std::to_string(block));
      std::string in = tmp.Path(std::string("in_") + form.name + std::to_string(ch) + ".wav");
      std::string out = tmp.Path(std::string("out_") + form.name + std::to_string(ch) + ".wav");
      const sf_count_t frames = 1001;
      WriteFile(in, SF_FORMAT_WAV | form.sub, ch, 44100, frames, seed++);
      const long objectsBefore = ComModule::objects.load();
      Recorder* rec = Recorder::Make();
      std::string error;
      ASSERT_EQ(CGraphRunner::ProcessFile(in, out, {rec}, block, &error), S_OK) << error;
      EXPECT_EQ(rec->eos, 1);
      EXPECT_EQ(rec->blocks.size(), static_cast<size_t>((frames + block - 1) / block));
      rec->Release();
      EXPECT_EQ(ComModule::objects.load(), objectsBefore);  // the chain's filter went with the graph

      Contents a = ReadFile(in), b = ReadFile(out);
      EXPECT_EQ(b.info.format, a.info.format);
      EXPECT_EQ(b.info.channels, ch);
      EXPECT_EQ(b.info.samplerate, 44100);
      ASSERT_EQ(b.info.frames, frames);
      EXPECT_TRUE(a.i == b.i);
      ASSERT_EQ(a.d.size(), b.d.size());
      for (size_t k = 0; k < a.d.size(); ++k) ASSERT_EQ(a.d[k], b.d[k]) << k;  // exact, not near
    }
  }
}

TEST(WavSource, BlocksCarryTimeStampsAndOnlyTheFirstIsADiscontinuity) {
  TempDir tmp;
  std::string in = tmp.Path("t.wav"), out = tmp.Path("t_out.wav");
  WriteFile(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 48000, 1000, 9);
  Recorder* a = Recorder::Make();
  Recorder* b = Recorder::Make();
  std::string error;
  ASSERT_EQ(CGraphRunner::ProcessFile(in, out, {a, b}, 480, &error), S_OK) << error;
  ASSERT_EQ(b->blocks.size(), 3u);
  const LONG lengths[] = {480 * 4, 480 * 4, 40 * 4};
  const REFERENCE_TIME starts[] = {0, 100000, 200000}, stops[] = {100000, 200000, 208333};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(b->blocks[i].length, lengths[i]);
    EXPECT_EQ(b->blocks[i].timeResult, S_OK);
    EXPECT_EQ(b->blocks[i].start, starts[i]);
    EXPECT_EQ(b->blocks[i].stop, stops[i]);
    EXPECT_EQ(b->blocks[i].discontinuity, i == 0);
  }
  EXPECT_EQ(a->blocks.size(), 3u);
  EXPECT_EQ(b->eos, 1);
  a->Release();
  b->Release();
}

TEST(WavSource, OffersThePlainTagUpToTwoChannelsAndTheExtensibleOneAbove) {
  TempDir tmp;
  struct Case {
    int sub, channels;
    WORD tag, bits;
  } cases[] = {{SF_FORMAT_PCM_24, 2, WAVE_FORMAT_PCM, 32},       {SF_FORMAT_PCM_U8, 1, WAVE_FORMAT_PCM, 8},
               {SF_FORMAT_DOUBLE, 2, WAVE_FORMAT_IEEE_FLOAT, 64}, {SF_FORMAT_FLOAT, 3, WAVE_FORMAT_EXTENSIBLE, 32},
               {SF_FORMAT_PCM_24, 6, WAVE_FORMAT_EXTENSIBLE, 32}};
  for (const Case& c : cases) {
    std::string path = tmp.Path("f.wav");
    WriteFile(path, SF_FORMAT_WAV | c.sub, c.channels, 22050, 10, 3);
    CWavSource* src = nullptr;
    ASSERT_EQ(CWavSource::Create(&src), S_OK);
    ASSERT_EQ(src->Open(path), S_OK);
    const WAVEFORMATEX* w = src->WaveFormat();
    EXPECT_EQ(w->wFormatTag, c.tag);
    EXPECT_EQ(w->wBitsPerSample, c.bits);
    EXPECT_EQ(w->nChannels, c.channels);
    EXPECT_EQ(w->nBlockAlign, c.channels * c.bits / 8);
    if (c.tag == WAVE_FORMAT_EXTENSIBLE) {
      auto* x = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(w);
      EXPECT_TRUE(x->SubFormat == (c.sub == SF_FORMAT_FLOAT ? KSDATAFORMAT_SUBTYPE_IEEE_FLOAT : KSDATAFORMAT_SUBTYPE_PCM));
      EXPECT_EQ(x->Format.cbSize, 22);
    }
    EXPECT_EQ(src->TotalFrames(), 10);
    src->Release();
  }
}

TEST(WavSink, TwentyFourBitOutputIsWrittenFromThirtyTwoBitSamples) {
  TempDir tmp;
  std::string in = tmp.Path("s32.wav"), out = tmp.Path("s24.wav");
  WriteFile(in, SF_FORMAT_WAV | SF_FORMAT_PCM_32, 2, 8000, 64, 5);
  std::string error;
  ASSERT_EQ(CGraphRunner::ProcessFile(in, out, {}, 7, &error, SF_FORMAT_WAV | SF_FORMAT_PCM_24), S_OK) << error;
  Contents a = ReadFile(in), b = ReadFile(out);
  EXPECT_EQ(b.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
  ASSERT_EQ(a.i.size(), b.i.size());
  for (size_t k = 0; k < a.i.size(); ++k) ASSERT_EQ(b.i[k], a.i[k] & ~0xFF) << k;
}

TEST(GraphRunner, ReportsFailuresWithAStatusAndText) {
  TempDir tmp;
  std::string error;
  EXPECT_EQ(CGraphRunner::ProcessFile(tmp.Path("missing.wav"), tmp.Path("o.wav"), {}, 64, &error), STG_E_READFAULT);
  EXPECT_NE(error.find("missing.wav"), std::string::npos);

  std::string in = tmp.Path("six.wav");
  WriteFile(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 6, 8000, 16, 2);
  Recorder* narrow = Recorder::Make();
  narrow->maxChannels = 2;
  EXPECT_EQ(CGraphRunner::ProcessFile(in, tmp.Path("o.wav"), {narrow}, 64, &error), E_INVALIDARG);
  EXPECT_NE(error.find("cannot connect"), std::string::npos) << error;
  narrow->Release();

  EXPECT_EQ(CGraphRunner::ProcessFile(in, tmp.Path("no/such/dir/o.wav"), {}, 64, &error), STG_E_WRITEFAULT);
  EXPECT_NE(error.find("cannot create"), std::string::npos) << error;
}
