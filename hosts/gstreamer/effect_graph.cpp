// The private graph: connection in order, state changes downstream first, pushes in whole frames.
#include "hosts/gstreamer/effect_graph.h"

#include "platform/mediagraph/graph_runner.h"

namespace {
constexpr size_t kPieceFrames = 4096;

int BytesPerSample(WavForm form) {
  switch (form) {
    case WavForm::Pcm8: return 1;
    case WavForm::Pcm16: return 2;
    case WavForm::Float64: return 8;
    default: return 4;
  }
}
}  // namespace

HRESULT QxEffectGraph::Open(IBaseFilter* effect, WavForm form, int channels, int rate) {
  Close();
  if (!effect) return E_POINTER;
  CMediaType mt;
  HRESULT hr = MakeWavFormType(form, static_cast<WORD>(channels), static_cast<DWORD>(rate), &mt);
  if (FAILED(hr)) return hr;
  blockAlign_ = BytesPerSample(form) * channels;
  pieceBytes_ = kPieceFrames * static_cast<size_t>(blockAlign_);
  hr = CPushSource::Create(mt, static_cast<LONG>(pieceBytes_), 2, &source_);
  if (SUCCEEDED(hr)) hr = CCollectSink::Create(&sink_);
  if (FAILED(hr)) {
    Close();
    return hr;
  }
  effect_ = effect;
  effect_->AddRef();
  IBaseFilter* chain[] = {source_, effect_, sink_};
  for (int i = 0; i < 2 && SUCCEEDED(hr); ++i) {
    IPin* out = nullptr;
    IPin* in = nullptr;
    hr = QxFindFilterPin(chain[i], u"Output", i == 0 ? 0 : 1, &out);
    if (SUCCEEDED(hr)) hr = QxFindFilterPin(chain[i + 1], u"Input", 0, &in);
    if (SUCCEEDED(hr)) hr = out->Connect(in, nullptr);
    if (SUCCEEDED(hr)) {
      links_.push_back({out, in});
    } else {
      if (out) out->Release();
      if (in) in->Release();
    }
  }
  if (SUCCEEDED(hr)) hr = Start();
  if (FAILED(hr)) Close();
  return hr;
}

HRESULT QxEffectGraph::Start() {
  IBaseFilter* chain[] = {source_, effect_, sink_};
  // Downstream first, so every pin is ready before anything upstream can deliver.
  for (int i = 2; i >= 0; --i)
    if (HRESULT hr = chain[i]->Pause(); FAILED(hr)) return hr;
  for (int i = 2; i >= 0; --i)
    if (HRESULT hr = chain[i]->Run(0); FAILED(hr)) return hr;
  return S_OK;
}

void QxEffectGraph::Stop() {
  IBaseFilter* chain[] = {sink_, effect_, source_};
  for (IBaseFilter* f : chain)
    if (f) f->Stop();
}

void QxEffectGraph::Close() {
  Stop();
  for (auto& [out, in] : links_) {
    out->Disconnect();
    in->Disconnect();
    out->Release();
    in->Release();
  }
  links_.clear();
  if (source_) source_->Release();
  if (sink_) sink_->Release();
  if (effect_) effect_->Release();
  source_ = nullptr;
  sink_ = nullptr;
  effect_ = nullptr;
}

HRESULT QxEffectGraph::Push(const uint8_t* data, size_t bytes, bool discontinuity) {
  if (!source_) return VFW_E_NOT_CONNECTED;
  bytes -= bytes % static_cast<size_t>(blockAlign_);
  for (size_t done = 0; done < bytes;) {
    const size_t n = std::min(pieceBytes_, bytes - done);
    HRESULT hr = source_->PushBytes(data + done, static_cast<LONG>(n), nullptr, nullptr, discontinuity && done == 0);
    if (FAILED(hr)) return hr;
    done += n;
  }
  return S_OK;
}

HRESULT QxEffectGraph::EndOfStream() { return source_ ? source_->DeliverEndOfStream() : VFW_E_NOT_CONNECTED; }

HRESULT QxEffectGraph::Restart() {
  if (!source_) return VFW_E_NOT_CONNECTED;
  Stop();
  sink_->bytes.clear();
  sink_->records.clear();
  return Start();
}

std::vector<uint8_t>& QxEffectGraph::Output() { return sink_->bytes; }

void QxEffectGraph::TakeOutput(std::vector<uint8_t>* into) {
  into->clear();
  if (!sink_) return;
  into->swap(sink_->bytes);
  sink_->records.clear();
}
