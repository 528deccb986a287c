// The streaming thread against a host thread: while samples go through a running graph and its
// tail is rendered, the host sets parameters, loads presets, adds and flushes envelopes, and saves
// and loads the state. Meant for the ThreadSanitizer build, where a race is a failure.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_filter.h"
#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "aplugins/qxppack1/delay/echos_filter.h"
#include "aplugins/qxppack1/reverb/reverb_filter.h"
#include "platform/com/media_params.h"
#include "tests/support/effect_rig.h"

namespace {
// One pass of the host's work, varied by `i`. An effect without automation gets presets and
// state only.
void HostStep(IMediaParamInfo* info, IMediaParams* params, IStaticFilterPreset* presets, IPersistStream* persist,
              int i) {
  DWORD count = 0;
  if (info && params) info->GetParamCount(&count);
  const DWORD index = count ? static_cast<DWORD>(i) % count : 0;
  MP_PARAMINFO pi{};
  if (count) {
    info->GetParamInfo(index, &pi);
    params->SetParam(index, pi.mpdMinValue + (pi.mpdMaxValue - pi.mpdMinValue) * static_cast<float>(i % 10) / 9.0f);
  }
  if (i % 7 == 0) {
    LONG presetCount = 0;
    presets->GetPresetCount(&presetCount);
    presets->LoadPreset(i % presetCount);
  }
  if (count && i % 5 == 0) {
    // A 50 ms ramp over the next stretch of stream time, 10^7 units a second.
    const REFERENCE_TIME at = static_cast<REFERENCE_TIME>(i % 40) * 250000;
    MP_ENVELOPE_SEGMENT s{at, at + 500000, pi.mpdMinValue, pi.mpdMaxValue, MP_CURVE_LINEAR, 0};
    params->AddEnvelope(index, 1, &s);
  }
  if (count && i % 23 == 0) params->FlushEnvelope(DWORD_ALLPARAMS, 0, 1LL << 40);
  if (i % 11 == 0) {
    auto* raw = CMemoryStream::Create();
    ComPtr<IStream> out(raw, false);
    if (SUCCEEDED(persist->Save(out.Get(), TRUE))) LoadBytes(persist, raw->Bytes());
  }
}

template <class T>
void RaceTheStream() {
  EffectRig<T> rig(PlainFormat(WAVE_FORMAT_PCM, 2, 16, 8000), 256);
  auto query = [&](REFIID iid, auto* p) { rig.effect->NonDelegatingQueryInterface(iid, p->PutVoid()); };
  ComPtr<IMediaParamInfo> info;
  ComPtr<IMediaParams> params;
  ComPtr<IStaticFilterPreset> presets;
  ComPtr<IPersistStream> persist;
  query(IID_IMediaParamInfo, &info);
  query(IID_IMediaParams, &params);
  query(IID_IStaticFilterPreset, &presets);
  query(IID_IPersistStream, &persist);
  ASSERT_TRUE(presets && persist);

  std::atomic<bool> done{false};
  std::atomic<int> steps{0};
  std::thread host([&] {
    for (int i = 0; !done.load(); ++i) {
      HostStep(info.Get(), params.Get(), presets.Get(), persist.Get(), i);
      ++steps;
    }
  });
  std::vector<int16_t> block(512);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>(8000 * std::sin(i * 0.1));
  // Wait for the host to begin, so that the two threads overlap.
  while (steps.load() == 0) std::this_thread::yield();
  for (int b = 0; b < 120; ++b) EXPECT_EQ(rig.Push(block, b % 40 == 0), S_OK);
  EXPECT_EQ(rig.source->DeliverEndOfStream(), S_OK);
  done = true;
  host.join();
  EXPECT_GE(rig.Out().size(), 120 * block.size());
  EXPECT_EQ(rig.sink->endOfStreamCount, 1);
}
}  // namespace

TEST(StreamingRace, SimpleDelay) { RaceTheStream<CQxEchos>(); }
TEST(StreamingRace, MultiTapDelay) { RaceTheStream<CQxEchomt>(); }
TEST(StreamingRace, Reverb) { RaceTheStream<CQxReverb>(); }
TEST(StreamingRace, Chorus) { RaceTheStream<CQxChorus>(); }
