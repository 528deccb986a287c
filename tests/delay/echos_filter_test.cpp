// Simple Delay through the media graph and the float door: format acceptance and reduction, the
// per-sample loop, discontinuities, bypass, the tail after the end of the stream, the tail-request
// protocol and change notification.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "aplugins/qxppack1/delay/echos_filter.h"
#include "tests/support/effect_rig.h"

namespace {
// source -> Simple Delay -> collecting sink, running.
struct Rig : EffectRig<CQxEchos> {
  Rig(const WAVEFORMATEX& f, const EchosParams& p, LONG bufferFrames = 64)
      : EffectRig(f, bufferFrames, [&](CQxEchos* e) { e->SetAllParameters(&p); }) {}
};

EchosParams PureDelay(int ms, int multiple = 0, int decay = 20) {
  return {multiple, ms, decay, 0, -800, 0, 13, 1000, 0, 18, 1000, 0};
}

struct TailFlag final : IQxSampleTailFlag {
  int32_t request = 1;
  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (riid == IID_IUnknown || riid == IID_IQxSampleTailFlag) {
      *ppv = static_cast<IQxSampleTailFlag*>(this);
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  int32_t GetTailRequest() override { return request; }
};
}  // namespace

TEST(EchosFilter, AcceptsTheSixFormsUpTo32ChannelsAndNothingElse) {
  CQxEchos* f = NewEffect<CQxEchos>();
  ExpectTheSixFormsOnly(f);
  f->NonDelegatingRelease();
}

TEST(EchosFilter, ExtensibleFormatIsReducedToThePlainFormAndTheChangeIsPosted) {
  WatchedEffect<CQxEchos, EchosParams> a;  // its window registered as 9
  CQxEchos* f = a.f;
  HWND w = a.window;
  WAVEFORMATEXTENSIBLE x = ExtensibleFormat(KSDATAFORMAT_SUBTYPE_IEEE_FLOAT, 6, 32, 48000);
  x.Format.nBlockAlign = 99;  // recomputed, not trusted
  CMediaType xt = AudioType(x);
  EXPECT_EQ(f->SetMediaType(PINDIR_OUTPUT, &xt), S_OK);
  EXPECT_EQ(f->Format().wFormatTag, WAVE_FORMAT_IEEE_FLOAT);
  EXPECT_EQ(f->Format().nBlockAlign, 24);
  EXPECT_EQ(f->Format().nAvgBytesPerSec, 48000u * 24);
  EXPECT_EQ(f->Format().cbSize, 0);
  MSG m;
  ASSERT_TRUE(PeekMessage(&m, w, 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, static_cast<UINT>(WM_COMMAND));
  EXPECT_EQ(LOWORD(m.wParam), 9);
  EXPECT_EQ(HIWORD(m.wParam), 1);  // output pin direction

  // Two slots; a third window is refused, a dead one frees its slot at the next notification.
  HWND w2 = CreateWindowHandle(), w3 = CreateWindowHandle();
  EXPECT_EQ(f->RegisterWindow(w2, 5), S_OK);
  EXPECT_EQ(f->RegisterWindow(w3, 6), E_OUTOFMEMORY);
  EXPECT_EQ(f->RegisterWindow(w3, 0), S_OK);
  DestroyWindow(w2);
  f->Notify(100);
  EXPECT_EQ(f->RegisterWindow(w3, 6), S_OK);
  DestroyWindow(w3);
}

TEST(EchosFilter, ImpulseEchoesAndTheTailFollowsTheEndOfStream) {
  // 2 ms at 8000 Hz: a 16-frame line, single echo at full gain, dry silent.
  Rig rig(PlainFormat(1, 2, 16), PureDelay(2));
  std::vector<int16_t> in(2 * 40, 0);
  in[0] = 1000;
  in[1] = -2000;
  ASSERT_EQ(rig.Push(in, true), S_OK);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  std::vector<int16_t> out = rig.Out();
  ASSERT_EQ(out.size(), in.size() + 2 * 16u);  // the tail is one line length
  for (size_t i = 0; i < out.size(); ++i) {
    int16_t want = i == 32 ? 1000 : i == 33 ? -2000 : 0;
    ASSERT_EQ(out[i], want) << i;
  }
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
  // Tail samples carry no times.
  EXPECT_TRUE(FAILED(rig.sink->records.back().timeResult));
}

TEST(EchosFilter, PartialFramesAreCutAndEmptySamplesPassUnchanged) {
  Rig rig(PlainFormat(1, 2, 16), PureDelay(2));
  BYTE ten[10] = {};
  ASSERT_EQ(rig.source->PushBytes(ten, 10), S_OK);
  ASSERT_EQ(rig.source->PushBytes(ten, 0), S_OK);
  ASSERT_EQ(rig.sink->records.size(), 2u);
  EXPECT_EQ(rig.sink->records[0].length, 8);
  EXPECT_EQ(rig.sink->records[1].length, 0);
}

TEST(EchosFilter, EndOfStreamBeforeAnySampleDeliversNothing) {
  Rig rig(PlainFormat(1, 1, 16), PureDelay(2));
  EXPECT_EQ(rig.effect->EndOfStream(), S_OK);
  EXPECT_EQ(rig.sink->endOfStreamCount, 0);
  EXPECT_TRUE(rig.sink->records.empty());
}

TEST(EchosFilter, DiscontinuityClearsTheLineEvenWithNoParameterChange) {
  Rig rig(PlainFormat(1, 1, 16), PureDelay(2));
  std::vector<int16_t> impulse(8, 0), silence(24, 0);
  impulse[0] = 5000;
  rig.Push(impulse, true);
  rig.Push(silence, true);  // before the echo at frame 16
  for (int16_t v : rig.Out()) ASSERT_EQ(v, 0);
  rig.sink->bytes.clear();
  rig.Push(impulse, false);
  rig.Push(silence, false);
  std::vector<int16_t> out = rig.Out();
  EXPECT_EQ(out[16], 5000);
}

TEST(EchosFilter, BypassPassesSamplesUntouchedHasNoTailAndLeavesEmptyLines) {
  EchosParams p = PureDelay(2, 1, 200);
  p.DryOut = -60;
  Rig rig(PlainFormat(1, 1, 16), p);
  std::vector<int16_t> impulse(8, 0), silence(40, 0);
  impulse[0] = 5000;
  rig.Push(impulse, true);  // fills the line
  rig.effect->SetBypass(1);
  rig.sink->bytes.clear();
  std::vector<int16_t> ramp(40);
  for (int i = 0; i < 40; ++i) ramp[i] = static_cast<int16_t>(i * 100 - 2000);
  rig.Push(ramp);
  EXPECT_EQ(rig.Out(), ramp);
  rig.effect->SetBypass(0);
  rig.sink->bytes.clear();
  rig.Push(silence);
  for (int16_t v : rig.Out()) ASSERT_EQ(v, 0);  // the old echo was forgotten
  rig.effect->SetBypass(1);
  rig.Push(silence);
  size_t before = rig.sink->records.size();
  EXPECT_EQ(rig.effect->EndOfStream(), S_OK);
  EXPECT_EQ(rig.sink->records.size(), before);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}

TEST(EchosFilter, TailRequestSamplesGetTheRemainingTailThenAreLeftUnread) {
  CQxEchos* f = NewEffect<CQxEchos>();
  EchosParams p = PureDelay(2);
  f->SetAllParameters(&p);
  WAVEFORMATEX w = PlainFormat(1, 1, 16);
  CMediaType mt = AudioType(w);
  f->SetMediaType(PINDIR_INPUT, &mt);
  ASSERT_EQ(f->StartStreaming(), S_OK);
  TailFlag flag;
  std::vector<int16_t> buf(10, 0);
  buf[0] = 300;
  auto sample = [&](LONG bytes) {
    HRESULT hr = S_OK;
    auto* s = new CMediaSample("tail", nullptr, &hr, reinterpret_cast<BYTE*>(buf.data()), 20);
    s->AddRef();
    s->SetActualDataLength(bytes);
    s->AttachInterface(IID_IQxSampleTailFlag, &flag);
    return s;
  };
  // 16 frames of tail: 10, then 6 with the end reported, then nothing is touched.
  IMediaSample* s = sample(20);
  EXPECT_EQ(f->Transform(s), S_OK);
  EXPECT_EQ(s->GetActualDataLength(), 20);
  s->Release();
  s = sample(20);
  EXPECT_EQ(f->Transform(s), 1);
  s->Release();
  std::fill(buf.begin(), buf.end(), 1234);
  s = sample(19);
  EXPECT_EQ(f->Transform(s), S_OK);  // no block ran, so nothing reports the end again
  EXPECT_EQ(s->GetActualDataLength(), 18);  // whole frames of the sample
  for (int16_t v : buf) EXPECT_EQ(v, 1234);
  s->Release();
  f->StopStreaming();
  f->NonDelegatingRelease();
}

TEST(EchosFilter, FloatDoorMatchesTheGraphAndRendersTheTail) {
  WatchedEffect<CQxEchos, EchosParams> a;
  CQxEchos* f = a.f;
  auto door = a.As<IQxAudioTransformFloat>(IID_IQxAudioTransformFloat);
  ASSERT_TRUE(door);
  EchosParams p = PureDelay(2, 1, 1);  // 0.1 s decay over a 16-frame line: feedback on
  f->SetAllParameters(&p);
  uint32_t n = 8;
  std::vector<float> tail(64, 0.0f);
  EXPECT_EQ(door->RenderTail(tail.data(), &n), 1);  // nothing processed yet
  EXPECT_EQ(n, 0u);
  ASSERT_EQ(door->Prepare(1, 8000), S_OK);
  std::vector<float> buf(16, 0.0f);
  buf[0] = 0.5f;
  EXPECT_EQ(door->Process(buf.data(), 16, 0), 0);
  EXPECT_EQ(f->Engine().LineLength(), 16u);
  n = 64;
  door->RenderTail(tail.data(), &n);
  EXPECT_EQ(n, 64u);
  EXPECT_FLOAT_EQ(tail[0], 0.5f);  // first echo at frame 16 overall
  const double fb = f->Engine().Feedback();
  EXPECT_GT(fb, 0.0);
  EXPECT_FLOAT_EQ(tail[16], static_cast<float>(0.5 * fb));
  EXPECT_EQ(door->Reset(1), S_OK);  // clears the line
  std::fill(buf.begin(), buf.end(), 0.0f);
  door->Process(buf.data(), 16, 0);
  for (float v : buf) EXPECT_EQ(v, 0.0f);
  EXPECT_EQ(door->AlwaysOne(), 1);
  EXPECT_EQ(door->Finish(), S_OK);
}
