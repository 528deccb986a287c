// Multi-Tap Delay as a filter: the control interface and its slots, echoes and the tail through the
// media graph (8-bit tails too), the float door.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "tests/support/effect_rig.h"

namespace {
// One tap of `ms`, wet 0 dB, dry as given, no feedback.
EchomtParams OneTap(int ms, int dry = -800) {
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapDelay[0] = ms;
  p.wetOut = 0;
  p.dryOut = dry;
  return p;
}

// source -> Multi-Tap Delay -> collecting sink, running.
struct Rig : EffectRig<CQxEchomt> {
  Rig(const WAVEFORMATEX& f, const EchomtParams& p, LONG bufferFrames = 16)
      : EffectRig(f, bufferFrames, [&](CQxEchomt* e) { EXPECT_EQ(e->SetAllParameters(&p), S_OK); }) {}
};
}  // namespace

TEST(EchomtFilter, ItsSetsReachTheRightFieldsAndClamp) {
  WatchedEffect<CQxEchomt, EchomtParams> a;
  auto prop = a.As<IQxEchomtProp>(IID_IQxEchomtProp);
  ASSERT_TRUE(prop);
  EchomtParams p{};
  WAVEFORMATEX w;
  EXPECT_EQ(prop->GetWaveFormat(&w), VFW_E_NOT_CONNECTED);
  EXPECT_EQ(prop->GetAllParameters(nullptr), E_POINTER);
  EXPECT_EQ(prop->SetAllParameters(nullptr), E_POINTER);

  prop->SetTapDelay3(9999); // clamped to 2500
  prop->SetTapGain8(-7);
  prop->SetTapPan1(300);    // clamped to 100
  prop->SetLowPassOn(42);   // stored as it comes
  prop->SetModRate(55);
  prop->SetGraphResolution(2);
  prop->GetAllParameters(&p);
  EXPECT_EQ(p.tapDelay[2], 2500);
  EXPECT_EQ(p.tapGain[7], -7);
  EXPECT_EQ(p.tapPan[0], 100);
  EXPECT_EQ(p.lowPassOn, 42);
  EXPECT_EQ(p.modRate, 55);
  EXPECT_EQ(p.graphResolution, 2);
  int32_t v = 0;
  EXPECT_EQ(prop->GetInputGain(nullptr), E_POINTER);

  p.feedback = 999;
  EXPECT_EQ(prop->SetAllParameters(&p), E_FAIL);
  prop->GetFeedback(&v);
  EXPECT_EQ(v, 150);
}

TEST(EchomtFilter, StereoEchoesThroughTheGraphAndTheTailIsOneLineLong) {
  WAVEFORMATEX fmt = PlainFormat(1, 2, 16, 1000);
  EchomtParams p = OneTap(10);
  p.tapPan[0] = 50;  // full right, half left
  Rig rig(fmt, p);
  WAVEFORMATEX got;
  ASSERT_EQ(rig.effect->GetWaveFormat(&got), S_OK);
  EXPECT_EQ(got.nChannels, 2);
  std::vector<int16_t> in(2 * 12, 0);
  in[0] = 8000;
  in[1] = 4000;
  ASSERT_EQ(rig.Push(in), S_OK);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
  std::vector<int16_t> out = rig.Out();
  const int32_t L = rig.effect->Engine().LineFrames();
  ASSERT_EQ(L, 11);  // 10 frames at 1000 Hz, one more so the read stays inside the line
  ASSERT_EQ(out.size(), in.size() + 2u * L);
  for (size_t i = 0; i < out.size(); ++i) {
    // The line holds the mean of both sides, 6000; the tap reads it half left, full right.
    const int16_t want = i == 20 ? 3000 : i == 21 ? 6000 : 0;
    ASSERT_EQ(out[i], want) << i;
  }
}

TEST(EchomtFilter, An8BitTailIsFilledWithTheMidpointNotZero) {
  WAVEFORMATEX fmt = PlainFormat(1, 1, 8, 1000);
  Rig rig(fmt, OneTap(20, 0));  // dry at 0 dB: a tail of zero bytes would come out at -1.0
  std::vector<uint8_t> in(8, 0x80);
  in[0] = 0xC0;  // +0.5
  ASSERT_EQ(rig.Push(in), S_OK);
  ASSERT_EQ(rig.effect->EndOfStream(), S_OK);
  const std::vector<BYTE>& out = rig.OutBytes();
  const size_t L = static_cast<size_t>(rig.effect->Engine().LineFrames());
  ASSERT_EQ(out.size(), 8 + L);
  EXPECT_EQ(out[0], 0xC0);
  for (size_t i = 1; i < out.size(); ++i) ASSERT_EQ(out[i], i == 20 ? 0xC0 : 0x80) << i;
}

TEST(EchomtFilter, FloatDoorRendersTheTailAndItsResetEmptiesTheLines) {
  WatchedEffect<CQxEchomt, EchomtParams> a;
  auto door = a.As<IQxAudioTransformFloat>(IID_IQxAudioTransformFloat);
  ASSERT_TRUE(door);
  EchomtParams p = OneTap(10);
  a.f->SetAllParameters(&p);
  ASSERT_EQ(door->Prepare(1, 1000), S_OK);
  std::vector<float> buf(4, 0.0f);
  buf[0] = 0.5f;
  EXPECT_EQ(door->Process(buf.data(), 4, 0), 0);
  std::vector<float> tail(32, 0.0f);
  uint32_t n = 32;
  EXPECT_EQ(door->RenderTail(tail.data(), &n), 1);
  EXPECT_EQ(n, 11u);
  EXPECT_EQ(tail[6], 0.5f);

  std::fill(buf.begin(), buf.end(), 0.0f);
  buf[0] = 0.5f;
  door->Process(buf.data(), 4, 0);
  EXPECT_EQ(door->Reset(1), S_OK);
  std::vector<float> after(16, 0.0f);
  door->Process(after.data(), 16, 0);
  for (float v : after) EXPECT_EQ(v, 0.0f);
  EXPECT_EQ(door->Finish(), S_OK);
}
