// What the effect tests share: wave format and audio type makers, a fresh effect object, an effect
// watched through a notification window, persistent-record framing, and a running graph rig.
#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "platform/com/persist.h"
#include "platform/com/stream.h"
#include "platform/com/wave_format.h"
#include "platform/mediagraph/endpoints.h"
#include "platform/ui/window.h"
#include "tests/support/formats.h"

// The extensible form of the same stream, every bit valid.
inline WAVEFORMATEXTENSIBLE ExtensibleFormat(const GUID& sub, WORD channels, WORD bits, DWORD rate = 8000) {
  WAVEFORMATEXTENSIBLE x{};
  x.Format = PlainFormat(WAVE_FORMAT_EXTENSIBLE, channels, bits, rate);
  x.Format.cbSize = 22;
  x.Samples.wValidBitsPerSample = bits;
  x.SubFormat = sub;
  return x;
}

// An audio type carrying `bytes` of format block (which may be cut short on purpose).
inline CMediaType AudioType(const void* format, ULONG bytes) {
  CMediaType mt;
  mt.SetType(&MEDIATYPE_Audio);
  mt.SetFormatType(&FORMAT_WaveFormatEx);
  mt.SetFormat(static_cast<const BYTE*>(format), bytes);
  return mt;
}
inline CMediaType AudioType(const WAVEFORMATEX& f) { return AudioType(&f, sizeof f); }
inline CMediaType AudioType(const WAVEFORMATEXTENSIBLE& x) { return AudioType(&x, sizeof x); }

// A new effect holding one non-delegating reference, which the caller gives back with
// NonDelegatingRelease.
template <class T>
T* NewEffect() {
  HRESULT hr = S_OK;
  auto* f = static_cast<T*>(T::CreateInstance(nullptr, &hr));
  f->NonDelegatingAddRef();
  return f;
}

// The effect's input takes the six sample forms up to 32 channels, plain or extensible, and
// refuses everything else: other depths, no or too many channels, compressed tags and subformats,
// and format blocks cut short.
template <class T>
void ExpectTheSixFormsOnly(T* f) {
  struct Case {
    WORD tag, bits, channels;
    bool ok;
  } cases[] = {{1, 8, 1, true},   {1, 16, 2, true},  {1, 32, 32, true}, {3, 32, 6, true},
               {3, 64, 3, true},  {1, 24, 2, false}, {1, 16, 33, false}, {1, 16, 0, false},
               {3, 16, 2, false}, {2, 16, 2, false}};
  for (const Case& c : cases) {
    WAVEFORMATEX w = PlainFormat(c.tag, c.channels, c.bits);
    CMediaType mt = AudioType(w);
    EXPECT_EQ(f->CheckInputType(&mt), c.ok ? S_OK : E_INVALIDARG) << c.tag << "/" << c.bits << "/" << c.channels;
    if (c.tag == 2) continue;
    WAVEFORMATEXTENSIBLE x = ExtensibleFormat(c.tag == 1 ? KSDATAFORMAT_SUBTYPE_PCM : KSDATAFORMAT_SUBTYPE_IEEE_FLOAT,
                                              c.channels, c.bits);
    CMediaType xt = AudioType(x);
    EXPECT_EQ(f->CheckInputType(&xt), c.ok ? S_OK : E_INVALIDARG);
  }
  WAVEFORMATEX w = PlainFormat(1, 2, 16);
  CMediaType mt = AudioType(&w, 14);
  EXPECT_EQ(f->CheckInputType(&mt), E_INVALIDARG);  // format block under 16 bytes
  mt = AudioType(w);
  mt.SetTemporalCompression(TRUE);
  EXPECT_EQ(f->CheckInputType(&mt), E_INVALIDARG);
  WAVEFORMATEXTENSIBLE x = ExtensibleFormat(GUID_NULL, 2, 16);
  CMediaType xt = AudioType(x);
  EXPECT_EQ(f->CheckInputType(&xt), E_INVALIDARG);
  x = ExtensibleFormat(KSDATAFORMAT_SUBTYPE_PCM, 2, 16);
  x.Format.cbSize = 21;
  xt = AudioType(x);
  EXPECT_EQ(f->CheckInputType(&xt), E_INVALIDARG);
}

// An effect with a window registered (id 9) for its change notices.
template <class T, class Params>
struct WatchedEffect {
  T* f = NewEffect<T>();
  HWND window = CreateWindowHandle();
  WatchedEffect() { f->RegisterWindow(window, 9); }
  ~WatchedEffect() {
    f->NonDelegatingRelease();
    DestroyWindow(window);
  }
  WatchedEffect(const WatchedEffect&) = delete;
  WatchedEffect& operator=(const WatchedEffect&) = delete;
  template <class I>
  ComPtr<I> As(REFIID iid) {
    ComPtr<I> p;
    f->NonDelegatingQueryInterface(iid, p.PutVoid());
    return p;
  }
  // The codes posted since the last call.
  std::vector<int> Codes() {
    std::vector<int> codes;
    MSG m;
    while (PeekMessage(&m, window, 0, 0, PM_REMOVE)) codes.push_back(HIWORD(m.wParam));
    return codes;
  }
  Params Record() {
    Params p{};
    f->GetAllParameters(&p);
    return p;
  }
};

// A persistent record as the stream holds it: the total size, the tag, then `bytes` of body.
inline std::vector<BYTE> PersistFrame(const GUID& tag, uint32_t size, const void* data, size_t bytes) {
  std::vector<BYTE> v(20 + bytes);
  std::memcpy(v.data(), &size, 4);
  std::memcpy(v.data() + 4, &tag, 16);
  std::memcpy(v.data() + 20, data, bytes);
  return v;
}
inline std::vector<BYTE> PersistFrame(const char* tag, uint32_t size, const void* data, size_t bytes) {
  return PersistFrame(*GuidFromString(tag), size, data, bytes);
}

inline HRESULT LoadBytes(IPersistStream* p, std::vector<BYTE> bytes) {
  ComPtr<IStream> s(CMemoryStream::Create(std::move(bytes)), false);
  return p->Load(s.Get());
}

// source -> effect -> collecting sink, connected and running. `setup` runs on the effect before
// the pins connect. The source's buffers hold `bufferFrames` frames of `format`.
template <class T>
struct EffectRig {
  CPushSource* source = nullptr;
  T* effect = nullptr;
  CCollectSink* sink = nullptr;
  WAVEFORMATEX format;
  LONG bufferFrames;

  EffectRig(const WAVEFORMATEX& f, LONG frames, const std::function<void(T*)>& setup = {})
      : format(f), bufferFrames(frames) {
    CMediaType mt = AudioType(f);
    EXPECT_EQ(CPushSource::Create(mt, frames * f.nBlockAlign, 2, &source), S_OK);
    effect = NewEffect<T>();
    if (setup) setup(effect);
    EXPECT_EQ(CCollectSink::Create(&sink), S_OK);
    EXPECT_EQ(source->GetPin(0)->Connect(effect->GetPin(0), &mt), S_OK);
    EXPECT_EQ(effect->GetPin(1)->Connect(sink->GetPin(0), nullptr), S_OK);
    for (IBaseFilter* b : Filters()) EXPECT_EQ(b->Run(0), S_OK);
  }
  ~EffectRig() {
    for (IBaseFilter* b : Filters()) b->Stop();
    // Connected pins hold their peers; break the links so the filters can go.
    for (CBasePin* pin : {source->GetPin(0), effect->GetPin(0), effect->GetPin(1), sink->GetPin(0)})
      pin->Disconnect();
    source->Release();
    effect->NonDelegatingRelease();
    sink->Release();
  }
  EffectRig(const EffectRig&) = delete;
  EffectRig& operator=(const EffectRig&) = delete;

  std::vector<IBaseFilter*> Filters() { return {sink, static_cast<IBaseFilter*>(effect), source}; }
  HRESULT Push(const std::vector<int16_t>& s, bool discontinuity = false) {
    return source->PushBytes(s.data(), static_cast<LONG>(s.size() * 2), nullptr, nullptr, discontinuity);
  }
  HRESULT Push(const std::vector<BYTE>& s, bool discontinuity = false) {
    return source->PushBytes(s.data(), static_cast<LONG>(s.size()), nullptr, nullptr, discontinuity);
  }
  // What the sink collected, as 16-bit samples or as bytes.
  std::vector<int16_t> Out() const {
    std::vector<int16_t> v(sink->bytes.size() / 2);
    std::memcpy(v.data(), sink->bytes.data(), v.size() * 2);
    return v;
  }
  const std::vector<BYTE>& OutBytes() const { return sink->bytes; }
  int64_t FramesOut() const { return static_cast<int64_t>(sink->bytes.size()) / format.nBlockAlign; }
};
