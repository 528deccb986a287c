// The Python host's core: effects from the loaded module, and the source -> effect -> sink graph
// that qxfx runs files through, fed from memory and collected into memory.
#include "hosts/python/effect_host.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "platform/com/persist.h"
#include "platform/com/stream.h"
#include "platform/mediagraph/endpoints.h"
#include "platform/mediagraph/graph_runner.h"
#include "platform/registry/utf.h"
#include "tools/qxfx/file_graph.h"
#include "hosts/common/effect_presets.h"
#include "hosts/common/module_loader.h"

namespace {
// The same block length qxfx feeds, so that every block boundary falls where it falls there.
constexpr LONG kBlockFrames = 4096;

template <class T>
ComPtr<T> Query(IUnknown* u, REFIID iid) {
  ComPtr<T> p;
  u->QueryInterface(iid, p.PutVoid());
  return p;
}

[[noreturn]] void Fail(std::string message) { throw PyHostError{std::move(message)}; }

std::string Shortest(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.15g", v);
  return buf;
}

// Where this extension lies: the module is looked for relative to it.
std::string OwnDir() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&OwnDir), &info) || !info.dli_fname) return ".";
  std::string path = info.dli_fname;
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

const QxHostModule& Module() {
  // $QXPPACK1_MODULE, when set, overrides these.
  std::vector<std::string> candidates;
  const std::string dir = OwnDir();
#ifdef QXPY_MODULE_INSTALL_RELPATH
  candidates.push_back(dir + "/" QXPY_MODULE_INSTALL_RELPATH);
#endif
#ifdef QXPY_MODULE_BUILD_RELPATH
  candidates.push_back(dir + "/" QXPY_MODULE_BUILD_RELPATH);
#endif
  std::string error;
  const QxHostModule* m = QxHostModule::Load(candidates, &error);
  if (!m) Fail(error + ".");
  return *m;
}
}  // namespace

std::string PyParamName(const QxParamView& p) {
  std::string name = p.Name;
  size_t open = name.find('[');
  if (open != std::string::npos) name = name.substr(0, open) + "_" + name.substr(open + 1, name.size() - open - 2);
  return name;
}

// One run of audio through a filter of its own, made afresh from the effect's state as qxfx
// makes one per file: no run inherits what another left in an engine's memory.
struct PyEffect::Run {
  ComPtr<IBaseFilter> filter;
  CWavSource* source = nullptr;
  CCollectSink* sink = nullptr;
  CGraphRunner runner;
  ~Run() {
    runner.Teardown();
    if (source) source->Release();
    if (sink) sink->Release();
  }
  std::vector<uint8_t> Take() {
    std::vector<uint8_t> out;
    out.swap(sink->bytes);
    return out;
  }
};

PyEffect::PyEffect(const std::string& name) : view_(QxFindEffectView(name)) {
  if (!view_) {
    std::string known;
    for (const QxEffectView& v : QxEffectViews()) known += (known.empty() ? "" : ", ") + std::string(v.Name);
    Fail("unknown effect '" + name + "'; the effects are " + known + ".");
  }
  HRESULT hr = Module().CreateInstance(view_->Clsid, IID_IBaseFilter, reinterpret_cast<void**>(&filter_));
  if (FAILED(hr) || !filter_) Fail(std::string("the module cannot make ") + view_->Name + ".");
}

PyEffect::~PyEffect() {
  stream_.reset();
  if (filter_) filter_->Release();
}

bool PyEffect::InPlace() const {
  const std::string name = view_->Name;
  return name != "time-stretch" && name != "pitch-shift";
}

std::vector<std::string> PyEffect::Presets() { return QxPresetNames(filter_); }

void PyEffect::LoadPreset(long index) {
  std::lock_guard<std::mutex> hold(lock_);
  auto presets = Query<IStaticFilterPreset>(filter_, IID_IStaticFilterPreset);
  if (!presets || FAILED(presets->LoadPreset(index)))
    Fail("no preset " + std::to_string(index) + " in " + view_->Name + "; see its presets.");
  if (stream_) Query<IStaticFilterPreset>(stream_->filter.Get(), IID_IStaticFilterPreset)->LoadPreset(index);
}

void PyEffect::LoadPreset(const std::string& name) {
  // By name or the beginning of one name, as qxfx and the GStreamer elements take it.
  const std::vector<std::string> names = Presets();
  if (const long index = QxFindPreset(names, name); index >= 0) return LoadPreset(index);
  std::string list;
  for (const std::string& n : names) list += (list.empty() ? "'" : ", '") + n + "'";
  Fail("unknown preset '" + name + "' for " + view_->Name + "; the presets are " + list + ".");
}

const QxParamView& PyEffect::Param(const std::string& name) const {
  const QxParamView* p = QxFindParam(*view_, name);
  if (!p) {
    // tapDelay_2 -> tapDelay[2]
    size_t us = name.rfind('_');
    if (us != std::string::npos && us + 1 < name.size())
      p = QxFindParam(*view_, name.substr(0, us) + "[" + name.substr(us + 1) + "]");
  }
  if (!p) {
    std::string known;
    for (const QxParamView& q : view_->Params) known += (known.empty() ? "" : ", ") + PyParamName(q);
    Fail("unknown parameter '" + name + "' for " + view_->Name + "; its parameters are " + known + ".");
  }
  return *p;
}

double PyEffect::Get(const QxParamView& p) {
  double stored = 0;
  std::lock_guard<std::mutex> hold(lock_);
  if (FAILED(QxParamGetLive(p, filter_, &stored))) Fail(std::string("cannot read ") + p.Name + ".");
  return QxParamToNatural(p, stored);
}

void PyEffect::SetStored(const QxParamView& p, double stored) {
  std::lock_guard<std::mutex> hold(lock_);
  if (FAILED(QxParamSetLive(p, filter_, stored))) Fail(std::string("cannot set ") + p.Name + ".");
  // A stream in progress hears the change from its next block, as a host's page edit would.
  if (stream_) QxParamSetLive(p, stream_->filter.Get(), stored);
  // Pitch Shift sounds its Ratio; its page derives it from semitones and cents as they change.
  const std::string name = p.Name;
  if (std::string(view_->Name) == "pitch-shift" && (name == "Semitones" || name == "Cents")) {
    const QxParamView* semis = QxFindParam(*view_, "Semitones");
    const QxParamView* cents = QxFindParam(*view_, "Cents");
    const QxParamView* ratio = QxFindParam(*view_, "Ratio");
    double s = 0, c = 0;
    QxParamGetLive(*semis, filter_, &s);
    QxParamGetLive(*cents, filter_, &c);
    QxParamSetLive(*ratio, filter_, std::pow(2.0, (c / 1000.0 + s) / 12.0));
  }
}

void PyEffect::Set(const QxParamView& p, double natural) {
  double stored = 0;
  QxParse r = std::isfinite(natural) ? QxParamToStored(p, natural, &stored) : QxParse::Invalid;
  if (r == QxParse::OutOfRange || r == QxParse::Invalid)
    Fail(PyParamName(p) + " must be between " + Shortest(p.NaturalMin()) + " and " + Shortest(p.NaturalMax()) +
         (*p.Unit ? std::string(" ") + p.Unit : "") + "; got " + Shortest(natural) + ".");
  SetStored(p, stored);
}

void PyEffect::SetText(const QxParamView& p, const std::string& text) {
  double stored = 0;
  std::string why;
  QxParse r = QxParamParse(p, text, &stored, &why);
  if (r == QxParse::OutOfRange || r == QxParse::Invalid)
    Fail(PyParamName(p) + ": " + (why.empty() ? "'" + text + "' is not a value of it" : why) + ".");
  SetStored(p, stored);
}

std::vector<uint8_t> PyEffect::State() {
  std::lock_guard<std::mutex> hold(lock_);
  auto persist = Query<IPersistStream>(filter_, IID_IPersistStream);
  ComPtr<CMemoryStream> stream(CMemoryStream::Create(), false);
  if (!persist || FAILED(persist->Save(stream.Get(), FALSE))) Fail(std::string(view_->Name) + " cannot save its state.");
  return {stream->Bytes().begin(), stream->Bytes().end()};
}

const QxEffectView* PyEffectOfState(const std::vector<uint8_t>& bytes) {
  for (const QxEffectView& v : QxEffectViews()) {
    try {
      PyEffect probe(v.Name);
      probe.LoadState(bytes);
      return &v;
    } catch (const PyHostError&) {
    }
  }
  return nullptr;
}

void PyEffect::LoadState(const std::vector<uint8_t>& bytes) {
  std::lock_guard<std::mutex> hold(lock_);
  auto persist = Query<IPersistStream>(filter_, IID_IPersistStream);
  uint32_t size = 0;
  if (bytes.size() >= 4) std::memcpy(&size, bytes.data(), 4);
  if (!persist || bytes.size() < 20 || size != bytes.size())
    Fail("these " + std::to_string(bytes.size()) + " bytes are not a saved effect state.");
  // Loading ignores what it does not know; a clean effect that stays clean tells that it did.
  ComPtr<CMemoryStream> scratch(CMemoryStream::Create(), false);
  persist->Save(scratch.Get(), TRUE);
  ComPtr<IStream> stream(CMemoryStream::Create(std::vector<BYTE>(bytes.begin(), bytes.end())), false);
  persist->Load(stream.Get());
  if (persist->IsDirty() != S_OK)
    Fail(std::string("the state is not one of ") + view_->Name + " (another effect's, or an unknown version).");
  if (const std::string wrong = QxParamsOutOfRange(*view_, filter_); !wrong.empty()) {
    // Back to what the effect held, so a refused state changes nothing.
    ComPtr<IStream> before(CMemoryStream::Create(scratch->Bytes()), false);
    persist->Load(before.Get());
    Fail("the state is damaged: " + wrong + ".");
  }
}

std::unique_ptr<PyEffect::Run> PyEffect::StartRun(const PyAudio& format) {
  auto run = std::make_unique<Run>();
  HRESULT hr = Module().CreateInstance(view_->Clsid, IID_IBaseFilter, run->filter.PutVoid());
  if (FAILED(hr)) Fail(std::string("the module cannot make ") + view_->Name + ".");
  {
    auto from = Query<IPersistStream>(filter_, IID_IPersistStream);
    auto to = Query<IPersistStream>(run->filter.Get(), IID_IPersistStream);
    ComPtr<CMemoryStream> state(CMemoryStream::Create(), false);
    if (!from || !to || FAILED(from->Save(state.Get(), FALSE))) Fail(std::string(view_->Name) + " cannot save its state.");
    ComPtr<IStream> in(CMemoryStream::Create(state->Bytes()), false);
    to->Load(in.Get());
  }
  hr = CWavSource::Create(&run->source);
  if (SUCCEEDED(hr)) hr = CCollectSink::Create(&run->sink);
  if (SUCCEEDED(hr))
    hr = run->source->OpenMemory(format.form, static_cast<WORD>(format.channels), static_cast<DWORD>(format.rate));
  if (SUCCEEDED(hr)) hr = run->source->SetFramesPerBlock(kBlockFrames);
  if (SUCCEEDED(hr)) hr = run->runner.Build(run->source, {run->filter.Get()}, run->sink);
  if (SUCCEEDED(hr)) hr = run->runner.Start();
  if (FAILED(hr))
    Fail(std::string(view_->Name) + " cannot run: " +
         (run->runner.LastError().empty() ? "the graph did not build" : run->runner.LastError()) + ".");
  return run;
}

std::vector<uint8_t> PyEffect::Process(const PyAudio& in, bool tail) {
  if (in.frames == 0) return {};
  // The run has a filter of its own: threads may share one effect.
  std::unique_ptr<Run> run;
  {
    std::lock_guard<std::mutex> hold(lock_);
    run = StartRun(in);
  }
  HRESULT hr = run->source->Feed(in.data, in.frames);
  if (SUCCEEDED(hr)) hr = run->runner.Push();
  if (SUCCEEDED(hr)) hr = run->runner.Finish(tail || !InPlace());
  if (FAILED(hr)) Fail(std::string(view_->Name) + " failed: " + run->runner.LastError() + ".");
  return run->Take();
}

std::vector<uint8_t> PyEffect::Stream(const PyAudio& block) {
  std::lock_guard<std::mutex> hold(lock_);
  if (!InPlace()) Fail(std::string(view_->Name) + " changes the length of audio and has no streaming form; use process().");
  if (stream_ && (block.form != streamForm_ || block.channels != streamChannels_ || block.rate != streamRate_))
    Fail("a block must have the sample type, channel count and sample rate of the stream; reset() starts another.");
  if (block.frames == 0) return {};
  if (!stream_) {
    stream_ = StartRun(block);
    streamForm_ = block.form;
    streamChannels_ = block.channels;
    streamRate_ = block.rate;
  }
  HRESULT hr = stream_->source->Feed(block.data, block.frames);
  if (SUCCEEDED(hr)) hr = stream_->runner.Push();
  if (FAILED(hr)) {
    std::string why = stream_->runner.LastError();
    stream_.reset();
    Fail(std::string(view_->Name) + " failed: " + why + ".");
  }
  return stream_->Take();
}

std::vector<uint8_t> PyEffect::Flush() {
  std::lock_guard<std::mutex> hold(lock_);
  if (!stream_) return {};
  std::unique_ptr<Run> run = std::move(stream_);
  if (FAILED(run->runner.Finish(true))) Fail(std::string(view_->Name) + " failed: " + run->runner.LastError() + ".");
  return run->Take();
}

void PyEffect::Reset() {
  std::lock_guard<std::mutex> hold(lock_);
  if (stream_) stream_->runner.Finish(false);
  stream_.reset();
}

PyFileReport PyProcessFile(const std::string& in, const std::string& out, const std::vector<std::vector<uint8_t>>& states) {
  std::vector<std::unique_ptr<PyEffect>> effects;
  std::vector<IBaseFilter*> filters;
  for (const std::vector<uint8_t>& state : states) {
    const QxEffectView* view = PyEffectOfState(state);
    if (!view) Fail("a state of the chain belongs to no effect.");
    effects.push_back(std::make_unique<PyEffect>(view->Name));
    effects.back()->LoadState(state);
    filters.push_back(effects.back()->Filter());
  }
  QxfxRunOptions options;
  options.blockFrames = kBlockFrames;
  QxfxRunResult result;
  std::string error;
  if (!QxfxRunFile(in, out, filters, options, &result, &error)) Fail(error);
  return {result.framesIn, result.framesOut, result.rate, result.seconds};
}
