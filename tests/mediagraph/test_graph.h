// Test helpers for the media graph: wave formats, a small audio type maker, and pin connection
// that is undone at the end of a test so the filters' mutual references are dropped.
#pragma once
#include <vector>

#include "platform/mediagraph/streams.h"
#include "tests/support/formats.h"

inline WAVEFORMATEX TestWfx(WORD tag, WORD channels, WORD bits, DWORD rate = 48000) {
  return PlainFormat(tag, channels, bits, rate);
}

// Connects output -> input pairs and, on destruction, stops the filters and disconnects both ends.
class TestGraph {
 public:
  ~TestGraph() {
    for (auto* f : filters_) f->Stop();
    for (auto& [out, in] : links_) {
      out->Disconnect();
      in->Disconnect();
    }
  }
  HRESULT Connect(IBaseFilter* up, CBasePin* out, CBasePin* in, const AM_MEDIA_TYPE* mt = nullptr) {
    HRESULT hr = out->Connect(in, mt);
    if (SUCCEEDED(hr)) links_.push_back({out, in});
    return hr;
  }
  void Track(IBaseFilter* f) { filters_.push_back(f); }

 private:
  std::vector<std::pair<CBasePin*, CBasePin*>> links_;
  std::vector<IBaseFilter*> filters_;
};
