// CGraphRunner: builds source -> filter(s) -> sink from a WAV source, any chain of filters with
// "Input" and "Output" pins, and a sink (a WAV file, or any CSinkFilter); runs the whole file
// through on the calling thread, or block by block as the host feeds the source.
#pragma once
#include <string>
#include <vector>

#include "platform/mediagraph/wav_sink.h"
#include "platform/mediagraph/wav_source.h"

class CGraphRunner {
 public:
  CGraphRunner() = default;
  ~CGraphRunner();
  CGraphRunner(const CGraphRunner&) = delete;
  CGraphRunner& operator=(const CGraphRunner&) = delete;

  // Keeps references to all filters and connects them in order; `filters` may be empty.
  HRESULT Build(CWavSource* source, const std::vector<IBaseFilter*>& filters, CSinkFilter* sink);
  // Pause (downstream first), Run, push the whole file, end of stream, Stop. Returns the first
  // failure; Stop runs even after a failure.
  HRESULT Run();
  // The same in steps, for a source the host feeds: Start rewinds and runs the graph, Push delivers
  // what the source has, Finish sends the end of stream and stops (the end of stream only when
  // `endOfStream`). After a failure, Finish still stops.
  HRESULT Start();
  HRESULT Push();
  HRESULT Finish(bool endOfStream = true);
  // Stops, disconnects every pin and drops the references.
  void Teardown();

  const std::string& LastError() const { return m_error; }

  // Opens `inPath`, runs it through `filters` into `outPath` (same encoding unless `sfFormat` says
  // otherwise), blocks of `framesPerBlock`. On failure `error` (if given) says what went wrong.
  static HRESULT ProcessFile(const std::string& inPath, const std::string& outPath,
                             const std::vector<IBaseFilter*>& filters, LONG framesPerBlock,
                             std::string* error = nullptr, int sfFormat = -1);

 private:
  HRESULT Fail(HRESULT hr, std::string text);
  HRESULT StopAll();

  CWavSource* m_source = nullptr;
  CSinkFilter* m_sink = nullptr;
  std::vector<IBaseFilter*> m_filters;  // upstream to downstream, source and sink included
  std::vector<std::pair<IPin*, IPin*>> m_links;
  std::string m_error;
};

// The pin named `name` of `filter` (FindPin, else GetPin of a CBaseFilter at `index`), with a reference.
HRESULT QxFindFilterPin(IBaseFilter* filter, const char16_t* name, int index, IPin** pin);
