// Time Stretch in a graph: type negotiation, the fourfold output buffers, the Receive loop with
// its time stamps and pending flags, the flush at the end of the stream and the total length.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "tests/pitchtime/splice_test_util.h"
#include "tests/support/effect_rig.h"

namespace {
// A mono or stereo 16-bit tone with a slow level change, so that every splice has something to
// search for.
std::vector<int16_t> Tone(int frames, int channels, DWORD rate = 8000) {
  std::vector<int16_t> v(static_cast<size_t>(frames) * channels);
  for (int i = 0; i < frames; ++i)
    for (int c = 0; c < channels; ++c)
      v[static_cast<size_t>(i) * channels + c] = static_cast<int16_t>(
          std::lround(8000.0 * (1.0 + 0.5 * std::sin(i * 0.001)) * std::sin(2 * M_PI * (220.0 + 110 * c) * i / rate)));
  return v;
}

// source -> Time Stretch -> collecting sink, running.
struct Rig : EffectRig<CQxTime> {
  Rig(const WAVEFORMATEX& f, double finalLength, LONG frames = 512)
      : EffectRig(f, frames, [&](CQxTime* t) { t->SetFinalLength(finalLength); }) {}
  // Pushes `s` in blocks of the source's buffer; the first block is a sync point and may carry a
  // time and the discontinuity flag, the others carry times far from the stretched stream's.
  HRESULT PushAll(const std::vector<int16_t>& s, REFERENCE_TIME firstStart = -1) {
    const size_t block = static_cast<size_t>(bufferFrames) * format.nChannels;
    for (size_t at = 0, n = 0; at < s.size(); at += block, ++n) {
      size_t count = std::min(block, s.size() - at);
      REFERENCE_TIME start = n == 0 && firstStart >= 0 ? firstStart : 999999999 + static_cast<REFERENCE_TIME>(n);
      REFERENCE_TIME stop = start + 1;
      HRESULT hr = source->PushBytes(s.data() + at, static_cast<LONG>(count * 2), &start, &stop,
                                     n == 0 && firstStart >= 0, n == 0);
      if (FAILED(hr)) return hr;
    }
    return S_OK;
  }
  HRESULT Finish() { return source->DeliverEndOfStream(); }
};

using splice_test::SizesAt;
}  // namespace

TEST(TimeFilter, AcceptsTheSixFormsAndAsksInputAndOutputToAgree) {
  CQxTime* f = NewEffect<CQxTime>();
  ExpectTheSixFormsOnly(f);
  const WAVEFORMATEX in = PlainFormat(1, 2, 16, 44100);
  const CMediaType a = AudioType(in);
  const WAVEFORMATEX outs[] = {PlainFormat(1, 2, 16, 48000), PlainFormat(1, 1, 16, 44100), PlainFormat(1, 2, 32, 44100),
                               PlainFormat(3, 2, 32, 44100)};
  for (const WAVEFORMATEX& o : outs) {
    CMediaType b = AudioType(o);
    EXPECT_EQ(f->CheckTransform(&a, &b), E_INVALIDARG);
  }
  CMediaType same = AudioType(in);
  EXPECT_EQ(f->CheckTransform(&a, &same), S_OK);
  // The extensible form of the same stream agrees with its plain form.
  WAVEFORMATEXTENSIBLE x = ExtensibleFormat(KSDATAFORMAT_SUBTYPE_PCM, 2, 16, 44100);
  CMediaType ext = AudioType(x);
  EXPECT_EQ(f->CheckTransform(&ext, &same), S_OK);
  CMediaType t;
  EXPECT_EQ(f->GetMediaType(0, &t), E_UNEXPECTED);  // no input yet
  f->NonDelegatingRelease();
}

TEST(TimeFilter, ConnectionReducesFormatsProposesThePlainTypeAndPostsTheDirection) {
  CQxTime* f = NewEffect<CQxTime>();
  HWND w = CreateWindowHandle();
  f->RegisterWindow(w, 40, 1);
  WAVEFORMATEX got;
  EXPECT_EQ(f->GetFormat(&got, 0), VFW_E_NOT_CONNECTED);
  uint32_t rate = 0;
  EXPECT_EQ(f->GetSampleRate(&rate), E_FAIL);
  EXPECT_EQ(rate, 44100u);

  WAVEFORMATEXTENSIBLE x = ExtensibleFormat(KSDATAFORMAT_SUBTYPE_IEEE_FLOAT, 2, 32, 22050);
  x.Format.nBlockAlign = 3;  // a wrong alignment is recomputed
  CMediaType mt = AudioType(x);
  CPushSource* source = nullptr;
  CCollectSink* sink = nullptr;
  ASSERT_EQ(CPushSource::Create(mt, 4096, 2, &source), S_OK);
  ASSERT_EQ(CCollectSink::Create(&sink), S_OK);
  ASSERT_EQ(source->GetPin(0)->Connect(f->GetPin(0), &mt), S_OK);

  CMediaType proposed;
  EXPECT_EQ(f->GetMediaType(-1, &proposed), E_INVALIDARG);
  EXPECT_EQ(f->GetMediaType(1, &proposed), VFW_S_NO_MORE_ITEMS);
  ASSERT_EQ(f->GetMediaType(0, &proposed), S_OK);
  ASSERT_EQ(proposed.FormatLength(), sizeof(WAVEFORMATEX));
  WAVEFORMATEX p;
  std::memcpy(&p, proposed.Format(), sizeof p);
  EXPECT_EQ(p.wFormatTag, WAVE_FORMAT_IEEE_FLOAT);
  EXPECT_EQ(p.cbSize, 0);
  EXPECT_EQ(p.nBlockAlign, 8);
  EXPECT_EQ(p.nAvgBytesPerSec, 22050u * 8);
  EXPECT_EQ(f->CheckTransform(&mt, &proposed), S_OK);

  ASSERT_EQ(f->GetPin(1)->Connect(sink->GetPin(0), nullptr), S_OK);
  for (int dir = 0; dir < 2; ++dir) {
    ASSERT_EQ(f->GetFormat(&got, dir), S_OK);
    EXPECT_EQ(got.wFormatTag, WAVE_FORMAT_IEEE_FLOAT);
    EXPECT_EQ(got.nChannels, 2);
    EXPECT_EQ(got.nBlockAlign, 8);
    EXPECT_EQ(got.cbSize, 0);
  }
  EXPECT_EQ(f->GetFormat(&got, 2), VFW_E_NOT_CONNECTED);
  EXPECT_EQ(f->GetSampleRate(&rate), S_OK);
  EXPECT_EQ(rate, 22050u);
  std::vector<int> codes;
  MSG m;
  while (PeekMessage(&m, w, 0, 0, PM_REMOVE)) codes.push_back(HIWORD(m.wParam));
  EXPECT_EQ(codes, (std::vector<int>{0, 1}));

  f->GetPin(1)->Disconnect();
  sink->GetPin(0)->Disconnect();
  f->GetPin(0)->Disconnect();
  source->GetPin(0)->Disconnect();
  EXPECT_EQ(f->GetFormat(&got, 0), VFW_E_NOT_CONNECTED);
  source->Release();
  sink->Release();
  f->NonDelegatingRelease();
  DestroyWindow(w);
}

TEST(TimeFilter, ShortBlocksDeliverNothingUntilTheFlushWhichIsUntimed) {
  const WAVEFORMATEX f = PlainFormat(1, 1, 16);
  const QxSpliceSizes s = SizesAt(0, 8000);
  Rig rig(f, 11000.0, 512);
  // Fewer than OutputHop frames: nothing comes out while streaming.
  const int frames = s.OutputHop - 100;
  EXPECT_EQ(rig.PushAll(Tone(frames, 1), 5000), S_OK);
  EXPECT_TRUE(rig.sink->records.empty());
  EXPECT_EQ(rig.Finish(), S_OK);
  // One last chunk of frames x ratio, truncated, without times, then the end of the stream.
  EXPECT_EQ(rig.FramesOut(), static_cast<int64_t>(frames * 1.1));
  ASSERT_FALSE(rig.sink->records.empty());
  for (const CCollectSink::Record& r : rig.sink->records) EXPECT_TRUE(FAILED(r.timeResult));
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
  // Output buffers are four times the input's.
  EXPECT_EQ(rig.sink->records[0].size, 4 * 512 * 2);
}

TEST(TimeFilter, AnEmptyStreamEndsWithNothingButTheEndOfStream) {
  Rig rig(PlainFormat(1, 2, 16), 10000.0);
  EXPECT_EQ(rig.Finish(), S_OK);
  EXPECT_TRUE(rig.sink->records.empty());
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}

TEST(TimeFilter, OutputTimesRunOnFromTheDiscontinuityAndIgnoreLaterInputTimes) {
  const WAVEFORMATEX f = PlainFormat(1, 2, 16);
  Rig rig(f, 8500.0, 300);
  const REFERENCE_TIME t0 = 12345678;
  ASSERT_EQ(rig.PushAll(Tone(8000 * 3, 2), t0), S_OK);
  const size_t timed = rig.sink->records.size();
  ASSERT_GT(timed, 3u);
  ASSERT_EQ(rig.Finish(), S_OK);

  REFERENCE_TIME expected = t0;
  int64_t frames = 0;
  for (size_t i = 0; i < rig.sink->records.size(); ++i) {
    const CCollectSink::Record& r = rig.sink->records[i];
    const LONG n = r.length / f.nBlockAlign;
    EXPECT_GT(n, 0);
    frames += n;
    if (i >= timed) {
      EXPECT_TRUE(FAILED(r.timeResult)) << i;  // the flush
      continue;
    }
    ASSERT_EQ(r.timeResult, S_OK) << i;
    EXPECT_EQ(r.start, expected) << i;
    EXPECT_EQ(r.stop - r.start, static_cast<REFERENCE_TIME>(n / 8000.0 * 1e7 + 0.5)) << i;
    EXPECT_EQ(r.discontinuity, i == 0) << i;
    EXPECT_EQ(r.syncPoint, i == 0) << i;
    expected = r.stop;
  }
  EXPECT_NEAR(static_cast<double>(frames), 8000 * 3 * 0.85, SizesAt(0, 8000).OutputHop);
}

TEST(TimeFilter, ALongStretchDrawsSeveralOutputBuffersFromOneInput) {
  const WAVEFORMATEX f = PlainFormat(1, 1, 16);
  // 500 %: a 2400-frame input block can finish more than four of its own lengths of output.
  Rig rig(f, 50000.0, 2400);
  const std::vector<int16_t> in = Tone(2400 * 6, 1);
  size_t before = 0, most = 0;
  for (int b = 0; b < 6; ++b) {
    std::vector<int16_t> block(in.begin() + b * 2400, in.begin() + (b + 1) * 2400);
    ASSERT_EQ(rig.Push(block), S_OK);
    most = std::max(most, rig.sink->records.size() - before);
    before = rig.sink->records.size();
  }
  EXPECT_GT(most, 1u);
  for (const CCollectSink::Record& r : rig.sink->records) EXPECT_LE(r.length, r.size);
  ASSERT_EQ(rig.Finish(), S_OK);
  // Above 2.0 the last chunk is held to one window, so the total may fall short.
  const QxSpliceSizes s = SizesAt(0, 8000);
  EXPECT_LE(rig.FramesOut(), 2400 * 6 * 5);
  EXPECT_GE(rig.FramesOut(), 2400 * 6 * 5 - 3 * s.OutputHop);
}

TEST(TimeFilter, TotalLengthFollowsTheRatioInEveryForm) {
  const WAVEFORMATEX forms[] = {PlainFormat(1, 1, 8), PlainFormat(1, 2, 16), PlainFormat(1, 3, 32),
                                PlainFormat(3, 2, 32), PlainFormat(3, 1, 64)};
  const double lengths[] = {5000.0, 10000.0, 11000.0, 20000.0};
  const int frames = 8000 * 4;
  const QxSpliceSizes s = SizesAt(0, 8000);
  for (const WAVEFORMATEX& f : forms) {
    for (double length : lengths) {
      Rig rig(f, length, 700);
      // Content does not matter to the length: silence in the stream's own bytes.
      std::vector<BYTE> zero(static_cast<size_t>(700) * f.nBlockAlign, f.wBitsPerSample == 8 ? 128 : 0);
      for (int at = 0; at < frames; at += 700)
        ASSERT_EQ(rig.source->PushBytes(zero.data(), std::min(700, frames - at) * f.nBlockAlign), S_OK);
      ASSERT_EQ(rig.Finish(), S_OK);
      EXPECT_NEAR(static_cast<double>(rig.FramesOut()), frames * length / 10000.0, s.OutputHop)
          << f.wBitsPerSample << "-bit x" << f.nChannels << " at " << length;
      if (f.wBitsPerSample == 8) {
        for (BYTE b : rig.sink->bytes) ASSERT_EQ(b, 128);
      }
    }
  }
}

TEST(TimeFilter, ARatioChangeMidStreamKeepsTheAudioAndAModeChangeDropsAWindow) {
  const WAVEFORMATEX f = PlainFormat(1, 1, 16);
  const QxSpliceSizes s = SizesAt(0, 8000);
  const std::vector<int16_t> half = Tone(8000 * 2, 1);
  auto run = [&](bool changeMode) {
    Rig rig(f, 10000.0, 500);
    EXPECT_EQ(rig.PushAll(half), S_OK);
    if (changeMode)
      rig.effect->SetMode(2);
    else
      rig.effect->SetFinalLength(20000.0);
    EXPECT_EQ(rig.PushAll(half), S_OK);
    EXPECT_EQ(rig.Finish(), S_OK);
    return rig.FramesOut();
  };
  const int64_t stretched = run(false);
  EXPECT_NEAR(static_cast<double>(stretched), 16000 + 32000, 2 * s.OutputHop);
  const int64_t remode = run(true);
  EXPECT_LE(remode, 32000);
  EXPECT_GE(remode, 32000 - s.WindowFrames - s.OutputHop);
}

TEST(TimeFilter, AStoredModeOutOfRangeStillStreams) {
  Rig rig(PlainFormat(1, 1, 16), 10000.0);
  rig.effect->SetMode(99);
  ASSERT_EQ(rig.PushAll(Tone(8000, 1)), S_OK);
  ASSERT_EQ(rig.Finish(), S_OK);
  const QxSpliceSizes s = SizesAt(18, 8000);
  EXPECT_NEAR(static_cast<double>(rig.FramesOut()), 8000, s.OutputHop);
}

TEST(TimeFilter, AFailedDeliveryEndsReceiveAndTheFlushStillEndsTheStream) {
  Rig rig(PlainFormat(1, 1, 16), 10000.0, 1000);
  rig.sink->receiveResult = E_FAIL;
  // The first deliveries come once a window is full.
  HRESULT hr = rig.PushAll(Tone(8000, 1));
  EXPECT_EQ(hr, E_FAIL);
  EXPECT_EQ(rig.Finish(), E_FAIL);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}

TEST(TimeFilter, StoppingDropsTheBufferedAudioAndAFreshRunStartsOver) {
  const WAVEFORMATEX f = PlainFormat(1, 1, 16);
  Rig rig(f, 10000.0, 400);
  ASSERT_EQ(rig.PushAll(Tone(1000, 1)), S_OK);
  for (IBaseFilter* b : rig.Filters()) b->Stop();
  EXPECT_FALSE(rig.effect->Engine().Prepared());
  for (IBaseFilter* b : rig.Filters()) ASSERT_EQ(b->Run(0), S_OK);
  ASSERT_EQ(rig.Finish(), S_OK);
  EXPECT_EQ(rig.FramesOut(), 0);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}
