// The LV2 plugins: each instance is an effect made through the module's class table and run through
// its float door; control ports in natural units, the persistent record as state, the host's
// time:Position as the tempo and meter maps of an effect that follows tempo.
#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/frame/mfx_interfaces.h"
#include "hosts/lv2/lv2_layout.h"
#include "platform/com/persist.h"
#include "platform/com/stream.h"

namespace {
constexpr uint32_t kDefaultBlock = 4096;  // buffer frames when the host does not say its maximum
constexpr int32_t kTicksPerQuarter = 960;

// The host's tempo and meter as the effect's maps see them: one entry each, replaced as
// time:Position events arrive, so that every change applies from the frame it came at.
class CQxLv2TempoMaps final : public IMfxTempoMap, public IMfxMeterMap {
 public:
  double Bpm = 120.0;
  int32_t Numerator = 4;
  int32_t DenominatorPow2 = 2;

  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IMfxTempoMap) *ppv = static_cast<IMfxTempoMap*>(this);
    else if (riid == IID_IMfxMeterMap) *ppv = static_cast<IMfxMeterMap*>(this);
    else return *ppv = nullptr, E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  // Owned by the plugin instance, which outlives every reference the effect holds.
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }

  int32_t TicksToMsecs(MFX_TICKS ticks) override { return Clamp(ticks * 60000.0 / (Bpm * kTicksPerQuarter)); }
  MFX_TICKS MsecsToTicks(int32_t msecs) override { return Clamp(msecs * Bpm * kTicksPerQuarter / 60000.0); }
  int32_t GetTicksPerQuarterNote() override { return kTicksPerQuarter; }
  int32_t GetTempoCount() override { return 1; }
  int32_t GetTempoIndexForTime(MFX_TICKS) override { return 0; }
  HRESULT GetTempoAt(int32_t index, MFX_TICKS* ticks, int32_t* bpm100) override {
    if (index != 0 || !ticks || !bpm100) return E_INVALIDARG;
    *ticks = 0;
    *bpm100 = static_cast<int32_t>(std::lround(Bpm * 100.0));
    return S_OK;
  }
  int32_t GetMeterCount() override { return 1; }
  int32_t GetMeterIndexForTime(MFX_TICKS) override { return 0; }
  HRESULT GetMeterAt(int32_t index, int32_t* measure, int32_t* numerator, int32_t* pow2) override {
    if (index != 0 || !measure || !numerator || !pow2) return E_INVALIDARG;
    *measure = 0;
    *numerator = Numerator;
    *pow2 = DenominatorPow2;
    return S_OK;
  }
  MFX_TICKS MeasureToTicks(int32_t measure) override {
    return Clamp(measure * (Numerator * 4.0 * kTicksPerQuarter / (1 << DenominatorPow2)));
  }

 private:
  static int32_t Clamp(double v) { return static_cast<int32_t>(std::lround(std::fmin(std::fmax(v, -2e9), 2e9))); }
};

struct Urids {
  LV2_URID chunk, object, blank, floatType, doubleType, intType, longType, position, bpm, beatsPerBar, beatUnit,
      stateKey, maxBlock, trace;
};

class QxLv2Instance {
 public:
  const QxLv2Plugin& plugin;
  Urids urid{};
  ComPtr<IUnknown> effect;
  ComPtr<IQxAudioTransformFloat> door;
  ComPtr<IMfxSoftSynth> synth;  // only for the effects that follow tempo
  const LV2_Log_Log* log = nullptr;  // where a host asks for traces, each control value applied goes
  CQxLv2TempoMaps maps;
  bool tempoConnected = false;
  uint32_t rate;
  uint32_t blockFrames = kDefaultBlock;
  std::vector<float*> ports;
  std::vector<float> applied;  // the control values last applied; NaN: apply at the next run
  std::vector<float> buffer;   // interleaved, allocated at activate

  QxLv2Instance(const QxLv2Plugin& p, double sampleRate)
      : plugin(p), rate(static_cast<uint32_t>(std::lround(sampleRate))), ports(p.PortCount(), nullptr),
        applied(p.Effect->Params.size(), NAN) {}

  ~QxLv2Instance() {
    if (synth) synth->Disconnect();
  }

  void ApplyControls() {
    for (size_t k = 0; k < applied.size(); ++k) {
      const float* port = ports[plugin.FirstControl() + k];
      if (!port || *port == applied[k] || std::isnan(*port)) continue;
      const QxParamView& p = plugin.Effect->Params[k];
      double stored = 0;
      if (QxParamToStored(p, *port, &stored) != QxParse::Invalid) QxParamSetLive(p, effect.Get(), stored);
      applied[k] = *port;
      if (log) log->printf(log->handle, urid.trace, "%s = %g\n", p.Name, static_cast<double>(*port));
    }
  }

  // After a restore the ports are taken as they stand: hosts put a session's port values first
  // and its state after, so only a later move of a port changes the restored record.
  void CachePorts() {
    for (size_t k = 0; k < applied.size(); ++k) {
      const QxParamView& p = plugin.Effect->Params[k];
      const float* port = ports[plugin.FirstControl() + k];
      double stored = 0;
      if (port) applied[k] = *port;
      else if (SUCCEEDED(QxParamGetLive(p, effect.Get(), &stored))) applied[k] = static_cast<float>(QxParamToNatural(p, stored));
    }
  }

  void Process(uint32_t from, uint32_t to) {
    const uint32_t ch = plugin.Channels;
    while (from < to) {
      const uint32_t n = std::min(to - from, blockFrames);
      for (uint32_t c = 0; c < ch; ++c) {
        const float* in = ports[plugin.AudioIn(c)];
        for (uint32_t i = 0; i < n; ++i) buffer[i * ch + c] = in ? in[from + i] : 0.0f;
      }
      door->Process(buffer.data(), n, 0);
      for (uint32_t c = 0; c < ch; ++c) {
        float* out = ports[plugin.AudioOut(c)];
        if (out)
          for (uint32_t i = 0; i < n; ++i) out[from + i] = buffer[i * ch + c];
      }
      from += n;
    }
  }

  static bool Number(const LV2_Atom* a, const Urids& u, double* v) {
    if (!a) return false;
    if (a->type == u.floatType) *v = reinterpret_cast<const LV2_Atom_Float*>(a)->body;
    else if (a->type == u.doubleType) *v = reinterpret_cast<const LV2_Atom_Double*>(a)->body;
    else if (a->type == u.intType) *v = reinterpret_cast<const LV2_Atom_Int*>(a)->body;
    else if (a->type == u.longType) *v = static_cast<double>(reinterpret_cast<const LV2_Atom_Long*>(a)->body);
    else return false;
    return std::isfinite(*v);
  }

  // Takes tempo and meter from a time:Position; the first with a tempo connects the maps to the
  // effect, which until then falls back to its own constants.
  void ReadPosition(const LV2_Atom_Object* obj) {
    const LV2_Atom *bpm = nullptr, *perBar = nullptr, *unit = nullptr;
    lv2_atom_object_get(obj, urid.bpm, &bpm, urid.beatsPerBar, &perBar, urid.beatUnit, &unit, 0);
    double v = 0;
    const bool hasTempo = Number(bpm, urid, &v) && v >= 1.0 && v <= 1000.0;
    if (hasTempo) maps.Bpm = v;
    if (Number(perBar, urid, &v) && v >= 1.0 && v <= 99.0) maps.Numerator = static_cast<int32_t>(std::lround(v));
    if (Number(unit, urid, &v))
      for (int32_t pow2 = 0; pow2 <= 6; ++pow2)
        if (v == (1 << pow2)) maps.DenominatorPow2 = pow2;
    if (hasTempo && !tempoConnected && synth) {
      maps.AddRef();  // Connect takes over this reference
      tempoConnected = SUCCEEDED(synth->Connect(static_cast<IMfxTempoMap*>(&maps))) && SUCCEEDED(synth->StartPlayback(0));
    }
  }

  void Run(uint32_t frames) {
    if (buffer.empty()) {  // not active, or the effect refused the format: silence
      for (uint32_t c = 0; c < plugin.Channels; ++c)
        if (ports[plugin.AudioOut(c)]) std::memset(ports[plugin.AudioOut(c)], 0, frames * sizeof(float));
      return;
    }
    ApplyControls();
    uint32_t done = 0;
    const auto* seq = plugin.Tempo && urid.position ? reinterpret_cast<const LV2_Atom_Sequence*>(ports[plugin.TempoPort()]) : nullptr;
    if (seq) {
      LV2_ATOM_SEQUENCE_FOREACH(seq, ev) {
        if (ev->body.type != urid.object && ev->body.type != urid.blank) continue;
        const auto* obj = reinterpret_cast<const LV2_Atom_Object*>(&ev->body);
        if (obj->body.otype != urid.position) continue;
        // Each change applies from its own frame.
        const uint32_t at = static_cast<uint32_t>(std::clamp<int64_t>(ev->time.frames, done, frames));
        Process(done, at);
        done = at;
        ReadPosition(obj);
      }
    }
    Process(done, frames);
  }

  LV2_State_Status Save(LV2_State_Store_Function store, LV2_State_Handle handle) {
    ComPtr<IPersistStream> persist;
    ComPtr<CMemoryStream> stream(CMemoryStream::Create(), false);
    if (!urid.stateKey) return LV2_STATE_ERR_NO_FEATURE;
    if (FAILED(QueryTo(effect.Get(), IID_IPersistStream, persist)) || FAILED(persist->Save(stream.Get(), FALSE)))
      return LV2_STATE_ERR_UNKNOWN;
    const std::vector<BYTE>& bytes = stream->Bytes();
    return store(handle, urid.stateKey, bytes.data(), bytes.size(), urid.chunk,
                 LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
  }

  // Loads the chunk through the effect's own Load, which reads older versions too; what the
  // effect does not take whole (another effect's record, a cut one) changes nothing.
  LV2_State_Status Restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
    size_t size = 0;
    uint32_t type = 0, flags = 0;
    if (!urid.stateKey) return LV2_STATE_ERR_NO_FEATURE;
    const void* data = retrieve(handle, urid.stateKey, &size, &type, &flags);
    if (!data) return LV2_STATE_ERR_NO_PROPERTY;
    if (type != urid.chunk) return LV2_STATE_ERR_BAD_TYPE;
    uint32_t declared = 0;
    if (size >= 4) std::memcpy(&declared, data, 4);
    if (size < 20 || declared != size) return LV2_STATE_ERR_UNKNOWN;
    ComPtr<IPersistStream> persist;
    if (FAILED(QueryTo(effect.Get(), IID_IPersistStream, persist))) return LV2_STATE_ERR_UNKNOWN;
    const auto* bytes = static_cast<const BYTE*>(data);
    ComPtr<CMemoryStream> stream(CMemoryStream::Create(std::vector<BYTE>(bytes, bytes + size)), false);
    persist->Load(stream.Get());
    ULARGE_INTEGER at{};
    LARGE_INTEGER zero{};
    // The effect reads the data of a form it knows; of anything else only the header.
    if (FAILED(stream->Seek(zero, STREAM_SEEK_CUR, &at)) || at.QuadPart != size) return LV2_STATE_ERR_UNKNOWN;
    CachePorts();
    return LV2_STATE_SUCCESS;
  }
};

QxLv2Instance* Self(LV2_Handle h) { return static_cast<QxLv2Instance*>(h); }

const void* Feature(const LV2_Feature* const* features, const char* uri) {
  for (; features && *features; ++features)
    if (std::strcmp((*features)->URI, uri) == 0) return (*features)->data;
  return nullptr;
}

LV2_Handle Instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                       const LV2_Feature* const* features) {
  const QxLv2Plugin* plugin = QxLv2FindPlugin(descriptor->URI);
  const auto* map = static_cast<const LV2_URID_Map*>(Feature(features, LV2_URID__map));
  if (!plugin || !(rate >= 1.0 && rate < 4.3e9)) return nullptr;
  std::string error;
  const QxHostModule* module = QxLv2LoadModule(bundle, &error);
  if (!module) return nullptr;
  auto self = std::make_unique<QxLv2Instance>(*plugin, rate);
  if (FAILED(module->CreateInstance(plugin->Effect->Clsid, IID_IUnknown, self->effect.PutVoid())) ||
      FAILED(QueryTo(self->effect.Get(), IID_IQxAudioTransformFloat, self->door)))
    return nullptr;
  // Without URIDs (lv2apply gives none) the plugin runs with its ports alone: no tempo, no state.
  if (!map) return self.release();
  if (plugin->Tempo) QueryTo(self->effect.Get(), IID_IMfxSoftSynth, self->synth);
  auto m = [map](const char* uri) { return map->map(map->handle, uri); };
  self->urid = {m(LV2_ATOM__Chunk), m(LV2_ATOM__Object),       m(LV2_ATOM__Blank),         m(LV2_ATOM__Float),
                m(LV2_ATOM__Double), m(LV2_ATOM__Int),         m(LV2_ATOM__Long),          m(LV2_TIME__Position),
                m(LV2_TIME__beatsPerMinute), m(LV2_TIME__beatsPerBar), m(LV2_TIME__beatUnit), m(QX_LV2_STATE_KEY),
                m(LV2_BUF_SIZE__maxBlockLength), m(LV2_LOG__Trace)};
  self->log = static_cast<const LV2_Log_Log*>(Feature(features, LV2_LOG__log));
  for (const auto* o = static_cast<const LV2_Options_Option*>(Feature(features, LV2_OPTIONS__options)); o && o->key;
       ++o)
    if (o->key == self->urid.maxBlock && o->type == self->urid.intType && *static_cast<const int32_t*>(o->value) > 0)
      self->blockFrames = static_cast<uint32_t>(*static_cast<const int32_t*>(o->value));
  return self.release();
}

void ConnectPort(LV2_Handle h, uint32_t port, void* data) {
  if (port < Self(h)->ports.size()) Self(h)->ports[port] = static_cast<float*>(data);
}

void Activate(LV2_Handle h) {
  QxLv2Instance* self = Self(h);
  // Values the host has already put on its ports set up the effect as it starts, as a file host's
  // settings do; those it puts later apply from the first run.
  self->ApplyControls();
  self->buffer.assign(static_cast<size_t>(self->blockFrames) * self->plugin.Channels, 0.0f);
  if (FAILED(self->door->Prepare(static_cast<uint16_t>(self->plugin.Channels), self->rate))) self->buffer.clear();
}

void Run(LV2_Handle h, uint32_t frames) { Self(h)->Run(frames); }

void Deactivate(LV2_Handle h) {
  Self(h)->door->Finish();
  Self(h)->buffer.clear();
}

void Cleanup(LV2_Handle h) { delete Self(h); }

LV2_State_Status SaveState(LV2_Handle h, LV2_State_Store_Function store, LV2_State_Handle handle, uint32_t,
                           const LV2_Feature* const*) {
  return Self(h)->Save(store, handle);
}

LV2_State_Status RestoreState(LV2_Handle h, LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle, uint32_t,
                              const LV2_Feature* const*) {
  return Self(h)->Restore(retrieve, handle);
}

const void* ExtensionData(const char* uri) {
  static const LV2_State_Interface state = {SaveState, RestoreState};
  return std::strcmp(uri, LV2_STATE__interface) == 0 ? &state : nullptr;
}
}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static const std::vector<LV2_Descriptor> descriptors = [] {
    std::vector<LV2_Descriptor> all;
    for (const QxLv2Plugin& p : QxLv2Plugins())
      all.push_back({p.Uri.c_str(), Instantiate, ConnectPort, Activate, Run, Deactivate, Cleanup, ExtensionData});
    return all;
  }();
  return index < descriptors.size() ? &descriptors[index] : nullptr;
}
