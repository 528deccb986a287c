// CGraphRunner: connection of a linear chain, the state changes in graph order, the push of one
// file on the calling thread, and the teardown that breaks the pins' mutual references.
#include "platform/mediagraph/graph_runner.h"

#include <cstdio>

namespace {
// What a sink has to say about a failure, when it keeps a message.
std::string SinkError(CSinkFilter* sink) {
  auto* wav = dynamic_cast<CWavSink*>(sink);
  return wav ? wav->LastError() : std::string();
}

std::string HrText(HRESULT hr) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", static_cast<unsigned>(hr));
  return buf;
}
}  // namespace

HRESULT QxFindFilterPin(IBaseFilter* filter, const char16_t* name, int index, IPin** pin) {
  if (!filter || !pin) return E_POINTER;
  *pin = nullptr;
  if (SUCCEEDED(filter->FindPin(name, pin)) && *pin) return S_OK;
  if (auto* base = dynamic_cast<CBaseFilter*>(filter)) {
    if (CBasePin* p = base->GetPin(index)) {
      *pin = p;
      p->AddRef();
      return S_OK;
    }
  }
  return VFW_E_NOT_FOUND;
}

CGraphRunner::~CGraphRunner() { Teardown(); }

HRESULT CGraphRunner::Fail(HRESULT hr, std::string text) {
  if (m_error.empty()) m_error = std::move(text);
  return hr;
}

HRESULT CGraphRunner::Build(CWavSource* source, const std::vector<IBaseFilter*>& filters, CSinkFilter* sink) {
  if (!source || !sink) return E_POINTER;
  Teardown();
  m_error.clear();
  m_source = source;
  m_source->AddRef();
  m_sink = sink;
  m_sink->AddRef();
  m_filters.push_back(source);
  source->AddRef();
  for (IBaseFilter* f : filters) {
    if (!f) return Fail(E_POINTER, "a filter of the chain is null");
    f->AddRef();
    m_filters.push_back(f);
  }
  m_filters.push_back(sink);
  sink->AddRef();

  for (size_t i = 0; i + 1 < m_filters.size(); ++i) {
    IPin* out = nullptr;
    IPin* in = nullptr;
    HRESULT hr = QxFindFilterPin(m_filters[i], u"Output", i == 0 ? 0 : 1, &out);
    if (FAILED(hr)) return Fail(hr, "filter " + std::to_string(i) + " has no output pin");
    hr = QxFindFilterPin(m_filters[i + 1], u"Input", 0, &in);
    if (FAILED(hr)) {
      out->Release();
      return Fail(hr, "filter " + std::to_string(i + 1) + " has no input pin");
    }
    hr = out->Connect(in, nullptr);
    if (FAILED(hr)) {
      out->Release();
      in->Release();
      return Fail(hr, "cannot connect filter " + std::to_string(i) + " to filter " + std::to_string(i + 1) +
                          ": " + HrText(hr));
    }
    m_links.push_back({out, in});
  }
  return S_OK;
}

HRESULT CGraphRunner::StopAll() {
  HRESULT first = S_OK;
  for (size_t i = m_filters.size(); i-- > 0;) {
    HRESULT hr = m_filters[i]->Stop();
    if (FAILED(hr) && SUCCEEDED(first)) first = hr;
  }
  return first;
}

HRESULT CGraphRunner::Start() {
  if (!m_source || m_links.size() + 1 != m_filters.size()) return Fail(E_UNEXPECTED, "the graph is not built");
  HRESULT hr = m_source->Rewind();
  if (FAILED(hr)) return Fail(hr, m_source->LastError());
  // Downstream first, so every pin is ready before anything upstream can deliver.
  for (size_t i = m_filters.size(); i-- > 0;) {
    hr = m_filters[i]->Pause();
    if (FAILED(hr)) {
      std::string why = i + 1 == m_filters.size() ? SinkError(m_sink) : std::string();
      StopAll();
      return Fail(hr, "filter " + std::to_string(i) + " cannot pause: " + HrText(hr) + (why.empty() ? "" : " (" + why + ")"));
    }
  }
  for (size_t i = m_filters.size(); i-- > 0;) {
    hr = m_filters[i]->Run(0);
    if (FAILED(hr)) {
      StopAll();
      return Fail(hr, "filter " + std::to_string(i) + " cannot run: " + HrText(hr));
    }
  }
  return S_OK;
}

HRESULT CGraphRunner::Push() {
  for (bool done = false; !done;) {
    HRESULT hr = m_source->PushBlock(&done);
    if (FAILED(hr)) {
      std::string why = SinkError(m_sink);
      return Fail(hr, m_source->LastError() + (why.empty() ? "" : " (sink: " + why + ")"));
    }
  }
  return S_OK;
}

HRESULT CGraphRunner::Finish(bool endOfStream) {
  HRESULT hr = endOfStream ? m_source->OutputPin()->DeliverEndOfStream() : S_OK;
  HRESULT stopped = StopAll();
  if (FAILED(hr)) {
    std::string why = SinkError(m_sink);
    return Fail(hr, "end of stream failed: " + HrText(hr) + (why.empty() ? "" : " (sink: " + why + ")"));
  }
  if (FAILED(stopped)) return Fail(stopped, "stop failed: " + HrText(stopped));
  return S_OK;
}

HRESULT CGraphRunner::Run() {
  HRESULT hr = Start();
  if (FAILED(hr)) return hr;
  HRESULT pushed = m_source->PushAll();
  HRESULT stopped = StopAll();
  if (FAILED(pushed)) {
    std::string why = SinkError(m_sink);
    return Fail(pushed, m_source->LastError() + (why.empty() ? "" : " (sink: " + why + ")"));
  }
  if (FAILED(stopped)) return Fail(stopped, "stop failed: " + HrText(stopped));
  return S_OK;
}

void CGraphRunner::Teardown() {
  if (!m_filters.empty()) StopAll();
  for (auto& [out, in] : m_links) {
    out->Disconnect();
    in->Disconnect();
    out->Release();
    in->Release();
  }
  m_links.clear();
  for (IBaseFilter* f : m_filters) f->Release();
  m_filters.clear();
  if (m_source) m_source->Release();
  if (m_sink) m_sink->Release();
  m_source = nullptr;
  m_sink = nullptr;
}

HRESULT CGraphRunner::ProcessFile(const std::string& inPath, const std::string& outPath,
                                  const std::vector<IBaseFilter*>& filters, LONG framesPerBlock,
                                  std::string* error, int sfFormat) {
  CWavSource* source = nullptr;
  CWavSink* sink = nullptr;
  HRESULT hr = CWavSource::Create(&source);
  if (SUCCEEDED(hr)) hr = CWavSink::Create(&sink);
  std::string text;
  if (SUCCEEDED(hr)) {
    hr = source->Open(inPath);
    if (FAILED(hr)) text = source->LastError();
  }
  if (SUCCEEDED(hr)) hr = source->SetFramesPerBlock(framesPerBlock);
  if (SUCCEEDED(hr)) hr = sink->SetOutput(outPath, sfFormat < 0 ? source->FileFormat() : sfFormat);
  if (SUCCEEDED(hr)) {
    CGraphRunner runner;
    hr = runner.Build(source, filters, sink);
    if (SUCCEEDED(hr)) hr = runner.Run();
    if (FAILED(hr)) text = runner.LastError();
  }
  if (FAILED(hr) && text.empty()) text = "failed: " + HrText(hr);
  if (error) *error = FAILED(hr) ? text : std::string();
  if (source) source->Release();
  if (sink) sink->Release();
  return hr;
}
