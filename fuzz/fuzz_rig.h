// What the fuzz targets share: a short run of a filter between a pushing source and a collecting
// sink, in a stream form chosen by one input byte.
#pragma once
#include <cmath>
#include <cstdint>
#include <vector>

#include "aplugins/qxppack1/delay/chorus_filter.h"
#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "aplugins/qxppack1/delay/echos_filter.h"
#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "aplugins/qxppack1/reverb/reverb_filter.h"
#include "platform/com/wave_format.h"
#include "platform/mediagraph/endpoints.h"
#include "platform/mediagraph/graph_runner.h"
#include "platform/mediagraph/media_type.h"

// A new effect with one non-delegating reference, `index` in qxfx's order of effects (time-stretch,
// pitch-shift, simple-delay, multi-tap-delay, reverb, chorus); null when it cannot be made.
inline CUnknown* QxFuzzMakeEffect(int index) {
  using Maker = CUnknown* (*)(LPUNKNOWN, HRESULT*);
  static constexpr Maker kMakers[] = {CQxTime::CreateInstance,   CQxPitchs::CreateInstance,
                                      CQxEchos::CreateInstance,  CQxEchomt::CreateInstance,
                                      CQxReverb::CreateInstance, CQxChorus::CreateInstance};
  HRESULT hr = S_OK;
  CUnknown* object = kMakers[index % 6](nullptr, &hr);
  if (!object) return nullptr;
  object->NonDelegatingAddRef();
  if (SUCCEEDED(hr)) return object;
  object->NonDelegatingRelease();
  return nullptr;
}

// `shape` picks 16-bit PCM or 32-bit float, one to three channels and 8 or 44.1 kHz. The run is
// two blocks of a sine, the second a discontinuity, then the end of the stream with its tail.
inline void QxFuzzRun(IBaseFilter* filter, uint8_t shape) {
  const bool isFloat = shape & 1;
  const WORD channels = static_cast<WORD>(1 + (shape >> 1) % 3);
  const DWORD rate = (shape & 8) ? 44100 : 8000;
  WAVEFORMATEX f{};
  f.wFormatTag = isFloat ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = isFloat ? 32 : 16;
  f.nBlockAlign = static_cast<WORD>(channels * f.wBitsPerSample / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  CMediaType mt;
  mt.SetType(&MEDIATYPE_Audio);
  mt.SetFormatType(&FORMAT_WaveFormatEx);
  mt.SetFormat(reinterpret_cast<const BYTE*>(&f), sizeof f);
  constexpr LONG kFrames = 512;
  CPushSource* source = nullptr;
  CCollectSink* sink = nullptr;
  if (FAILED(CPushSource::Create(mt, kFrames * f.nBlockAlign * 4, 2, &source))) return;
  if (FAILED(CCollectSink::Create(&sink))) {
    source->Release();
    return;
  }
  IPin *in = nullptr, *out = nullptr;
  QxFindFilterPin(filter, u"Input", 0, &in);
  QxFindFilterPin(filter, u"Output", 1, &out);
  const bool connected = in && out && SUCCEEDED(source->GetPin(0)->Connect(in, &mt)) &&
                         SUCCEEDED(out->Connect(sink->GetPin(0), nullptr));
  IBaseFilter* stages[] = {sink, filter, source};
  bool running = connected;
  for (IBaseFilter* b : stages) running = running && SUCCEEDED(b->Run(0));
  if (running) {
    std::vector<BYTE> block(static_cast<size_t>(kFrames) * f.nBlockAlign);
    for (LONG i = 0; i < kFrames * channels; ++i) {
      const double v = 0.5 * std::sin(i * 0.05);
      if (isFloat) reinterpret_cast<float*>(block.data())[i] = static_cast<float>(v);
      else reinterpret_cast<int16_t*>(block.data())[i] = static_cast<int16_t>(v * 32767);
    }
    source->PushBytes(block.data(), static_cast<LONG>(block.size()));
    source->PushBytes(block.data(), static_cast<LONG>(block.size()), nullptr, nullptr, true);
    source->DeliverEndOfStream();
  }
  for (IBaseFilter* b : stages) b->Stop();
  source->GetPin(0)->Disconnect();
  sink->GetPin(0)->Disconnect();
  if (in) {
    in->Disconnect();
    in->Release();
  }
  if (out) {
    out->Disconnect();
    out->Release();
  }
  source->Release();
  sink->Release();
}
