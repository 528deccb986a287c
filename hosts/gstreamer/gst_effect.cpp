// The module, the effect behind each element, and the properties and presets made from the
// parameter view: natural units, controllable, one GObject property per row of the view.
#include "hosts/gstreamer/gst_effect.h"

#include <gst/controller/controller.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <map>
#include <vector>

#include "aplugins/qxppack1/frame/mfx_interfaces.h"
#include "hosts/common/effect_presets.h"
#include "hosts/common/module_loader.h"
#include "platform/registry/utf.h"
#include "tools/qxfx/tempo_host.h"

GST_DEBUG_CATEGORY(qxgst_debug);
#define GST_CAT_DEFAULT qxgst_debug

namespace {
QxHostModule* g_module = nullptr;
GQuark EffectQuark() { return g_quark_from_static_string("qxppack1-effect"); }

// Per element class: the view and the ids of the properties beyond it.
struct ClassProps {
  const QxGstElementInfo* info;
  const QxEffectView* view;
  guint preset, tempo, meter, rate;
  std::vector<GParamSpec*> pspecs;  // the view's rows, by id - 1
};
std::map<GType, ClassProps>& Classes() {
  static std::map<GType, ClassProps> classes;
  return classes;
}
const ClassProps& PropsOf(GObject* object) { return Classes().at(G_OBJECT_TYPE(object)); }

// "DelayOut" -> "delay-out", "tapDelay[2]" -> "tap-delay-2", "Dotted 8th Note" -> "dotted-8th-note".
std::string Kebab(std::string_view name) {
  std::string r;
  for (size_t i = 0; i < name.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    const bool boundary = std::isupper(c) && i > 0 && !std::isupper(static_cast<unsigned char>(name[i - 1]));
    if (std::isalnum(c)) {
      if (boundary && !r.empty() && r.back() != '-') r += '-';
      r += static_cast<char>(std::tolower(c));
    } else if (!r.empty() && r.back() != '-') {
      r += '-';
    }
  }
  while (!r.empty() && r.back() == '-') r.pop_back();
  return r;
}

// An enumeration type of the row's names; one per row, made once.
GType EnumType(const QxGstElementInfo* info, const QxParamView& p) {
  std::string type = std::string("QxGst_") + info->element + "_";
  for (const char* s = p.Name; *s; ++s)
    if (std::isalnum(static_cast<unsigned char>(*s))) type += *s;
  if (GType t = g_type_from_name(type.c_str())) return t;
  auto* values = g_new0(GEnumValue, p.EnumCount + 1);
  std::vector<std::string> nicks;
  for (int i = 0; i < p.EnumCount; ++i) {
    std::string nick = Kebab(QxParamEnumName(p, i));
    for (const std::string& n : nicks)
      if (n == nick) nick += "-" + std::to_string(i);
    nicks.push_back(nick);
    values[i].value = i;
    values[i].value_name = g_strdup(QxParamEnumName(p, i).c_str());
    values[i].value_nick = g_strdup(nick.c_str());
  }
  return g_enum_register_static(g_strdup(type.c_str()), values);
}

bool IsInt(const QxParamView& p) { return p.Kind == QxParamKind::Integer && p.Divisor == 1.0; }

GParamSpec* SpecOf(const QxGstElementInfo* info, const QxParamView& p) {
  const std::string name = Kebab(p.Name);
  std::string blurb = p.Help;
  if (*p.Unit) blurb += std::string(" (") + p.Unit + ")";
  if (p.PageOnly) blurb += "; shown by the page, changes no sound";
  auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                        (p.PageOnly ? 0 : GST_PARAM_CONTROLLABLE));
  const char* n = g_intern_string(name.c_str());
  const char* nick = g_intern_string(p.Name);
  const char* b = g_intern_string(blurb.c_str());
  switch (p.Kind) {
    case QxParamKind::Toggle:
      return g_param_spec_boolean(n, nick, b, p.StoredDefault != 0, flags);
    case QxParamKind::Enum:
      return g_param_spec_enum(n, nick, b, EnumType(info, p), static_cast<int>(p.StoredDefault), flags);
    default:
      if (IsInt(p))
        return g_param_spec_int(n, nick, b, static_cast<int>(p.StoredMin), static_cast<int>(p.StoredMax),
                                static_cast<int>(p.StoredDefault), flags);
      return g_param_spec_double(n, nick, b, p.NaturalMin(), p.NaturalMax(), p.NaturalDefault(), flags);
  }
}

bool LoadPreset(GObject* object, const char* which) {
  QxGstEffect* fx = QxGstEffectOf(object);
  const std::vector<std::string> names = QxPresetNames(fx->filter.Get());
  const long index = which ? QxFindPreset(names, which) : -1;
  if (index < 0 || FAILED(QxLoadPreset(fx->filter.Get(), index))) {
    std::string list;
    for (size_t i = 0; i < names.size(); ++i) list += (i ? ", \"" : "\"") + names[i] + "\"";
    GST_WARNING_OBJECT(object, "no preset \"%s\"; there are %s", which ? which : "", list.c_str());
    return false;
  }
  GST_OBJECT_LOCK(object);
  fx->preset = names[static_cast<size_t>(index)];
  GST_OBJECT_UNLOCK(object);
  for (GParamSpec* pspec : PropsOf(object).pspecs) g_object_notify_by_pspec(object, pspec);
  return true;
}

const QxParamView* Param(QxGstEffect* fx, const char* name) { return QxFindParam(*fx->view, name); }
double LiveNatural(QxGstEffect* fx, const QxParamView* p) {
  double stored = p->StoredDefault;
  QxParamGetLive(*p, fx->filter.Get(), &stored);
  return QxParamToNatural(*p, stored);
}
void SetNatural(QxGstEffect* fx, const QxParamView* p, double natural) {
  double stored = 0;
  if (QxParamToStored(*p, natural, &stored) != QxParse::Invalid) QxParamSetLive(*p, fx->filter.Get(), stored);
}
}  // namespace

// ---- Module and instances ------------------------------------------------------------------------

bool QxGstLoadModule(GstPlugin* plugin) {
  GST_DEBUG_CATEGORY_INIT(qxgst_debug, "qxppack1", 0, "qxppack1 effects");
  std::vector<std::string> places;
  const std::string dir = QxDirectoryOf(reinterpret_cast<const void*>(&QxGstLoadModule));
  if (!dir.empty()) {
#ifdef QXGST_MODULE_INSTALL_RELPATH
    places.push_back(dir + "/" QXGST_MODULE_INSTALL_RELPATH);
#endif
#ifdef QXGST_MODULE_BUILD_RELPATH
    places.push_back(dir + "/" QXGST_MODULE_BUILD_RELPATH);
#endif
  }
  std::string error;
  g_module = QxHostModule::Load(places, &error);
  if (!g_module) GST_ERROR("%s", error.c_str());
  return g_module != nullptr;
}

QxGstEffect* QxGstNewEffect(GObject* object, const QxGstElementInfo* info) {
  auto* fx = new QxGstEffect;
  fx->info = info;
  fx->view = QxFindEffectView(info->view);
  if (!g_module || !fx->view ||
      FAILED(g_module->CreateInstance(fx->view->Clsid, IID_IBaseFilter, fx->filter.PutVoid())))
    GST_ERROR_OBJECT(object, "cannot make the %s effect", info->view);
  g_object_set_qdata(object, EffectQuark(), fx);
  return fx;
}

void QxGstFreeEffect(QxGstEffect* fx) {
  if (!fx) return;
  fx->graph.Close();
  delete fx;
}

QxGstEffect* QxGstEffectOf(gpointer object) {
  return static_cast<QxGstEffect*>(g_object_get_qdata(G_OBJECT(object), EffectQuark()));
}

GstStaticCaps* QxGstCaps() {
  static GstStaticCaps caps = GST_STATIC_CAPS(
      "audio/x-raw, format = (string) { U8, S16LE, S32LE, F32LE, F64LE }, rate = (int) [ 1, MAX ], "
      "channels = (int) [ 1, 32 ], layout = (string) interleaved");
  return &caps;
}

namespace {
// The tempo host: a map of one tempo and one meter from the `tempo` and `meter` properties, at the
// stream's rate. Without either the effect stays unconnected and takes its own fallback.
void ConnectTempo(GObject* element, QxGstEffect* fx) {
  ComPtr<IMfxSoftSynth> synth;
  if (!fx->info->tempo || !fx->filter || FAILED(fx->filter->QueryInterface(IID_IMfxSoftSynth, synth.PutVoid())) ||
      !synth)
    return;
  GST_OBJECT_LOCK(element);
  const double tempo = fx->tempo;
  const std::string meter = fx->meter;
  const int rate = fx->tempoRate;
  GST_OBJECT_UNLOCK(element);
  synth->Disconnect();
  std::vector<QxfxTempoChange> changes;
  if (tempo > 0) changes.push_back(QxfxTempoChange{.bpm = tempo});
  QxfxTempoChange m{.meter = true};
  if (!meter.empty() && QxfxParseMeter(meter, &m.numerator, &m.denominator)) changes.push_back(m);
  CQxfxTempoContext* context = nullptr;
  std::string error;
  if (rate <= 0 || changes.empty() || !CQxfxTempoContext::Create(changes, static_cast<uint32_t>(rate), &context, &error))
    return;
  // Connect takes over this reference.
  if (SUCCEEDED(synth->Connect(static_cast<IMfxTempoMap*>(context))))
    synth->StartPlayback(0);
  else
    context->Release();
}
}  // namespace

bool QxGstOpenGraph(GstElement* element, QxGstEffect* fx, const GstAudioInfo& info) {
  WavForm form;
  switch (GST_AUDIO_INFO_FORMAT(&info)) {
    case GST_AUDIO_FORMAT_U8: form = WavForm::Pcm8; break;
    case GST_AUDIO_FORMAT_S16LE: form = WavForm::Pcm16; break;
    case GST_AUDIO_FORMAT_S32LE: form = WavForm::Pcm32; break;
    case GST_AUDIO_FORMAT_F32LE: form = WavForm::Float32; break;
    case GST_AUDIO_FORMAT_F64LE: form = WavForm::Float64; break;
    default: return false;
  }
  fx->negotiated = false;
  fx->graph.Close();
  if (!fx->filter) return false;
  GST_OBJECT_LOCK(element);
  fx->tempoRate = GST_AUDIO_INFO_RATE(&info);
  GST_OBJECT_UNLOCK(element);
  ConnectTempo(G_OBJECT(element), fx);
  const HRESULT hr = fx->graph.Open(fx->filter.Get(), form, GST_AUDIO_INFO_CHANNELS(&info), GST_AUDIO_INFO_RATE(&info));
  if (FAILED(hr)) {
    GST_ERROR_OBJECT(element, "the effect refuses this format (0x%08x)", static_cast<unsigned>(hr));
    return false;
  }
  fx->audio = info;
  fx->negotiated = true;
  return true;
}

namespace {
void SetMetadata(GstElementClass* klass, const QxGstElementInfo* info) {
  const QxEffectView* view = QxFindEffectView(info->view);
  const std::string name = "qxppack1 " + QxUtf16ToUtf8(view->Title);
  gst_element_class_set_static_metadata(klass, g_intern_string(name.c_str()), "Filter/Effect/Audio", info->summary,
                                        "qxppack1");
}

// ---- Properties ----------------------------------------------------------------------------------

void InstallProperties(GObjectClass* klass, const QxGstElementInfo* info) {
  ClassProps c{};
  c.info = info;
  c.view = QxFindEffectView(info->view);
  guint id = 1;
  for (const QxParamView& p : c.view->Params) {
    GParamSpec* pspec = SpecOf(info, p);
    g_object_class_install_property(klass, id++, pspec);
    c.pspecs.push_back(pspec);
  }
  const auto rw = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  c.preset = id++;
  g_object_class_install_property(
      klass, c.preset,
      g_param_spec_string("preset", "Preset", "loads a preset by name or index (gst-inspect-1.0 lists them)", nullptr,
                          rw));
  if (info->tempo) {
    c.tempo = id++;
    g_object_class_install_property(
        klass, c.tempo,
        g_param_spec_double("tempo", "Tempo", "tempo the synced note values follow (bpm); 0 for none", 0, 999, 0, rw));
    c.meter = id++;
    g_object_class_install_property(
        klass, c.meter, g_param_spec_string("meter", "Meter", "meter, as N/D (\"3/4\"); empty for none", nullptr, rw));
  }
  if (info->resizes) {
    c.rate = id++;
    const bool stretch = std::strcmp(info->view, "time-stretch") == 0;
    g_object_class_install_property(
        klass, c.rate,
        stretch ? g_param_spec_double("rate", "Rate",
                                      "speed of the output: 2 plays twice as fast in half the time (sets final-length)",
                                      0.2, 2.0, 1.0, static_cast<GParamFlags>(rw | GST_PARAM_CONTROLLABLE))
                : g_param_spec_double("rate", "Rate",
                                      "playback speed, as a tape: pitch and speed change together (sets ratio)", 0.01,
                                      100.0, 1.0, static_cast<GParamFlags>(rw | GST_PARAM_CONTROLLABLE)));
  }
  Classes()[G_OBJECT_CLASS_TYPE(klass)] = c;
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  const ClassProps& c = PropsOf(object);
  QxGstEffect* fx = QxGstEffectOf(object);
  if (!fx || !fx->filter) return;
  if (id >= 1 && id <= c.pspecs.size()) {
    const QxParamView& p = c.view->Params[id - 1];
    switch (G_VALUE_TYPE(value)) {
      case G_TYPE_BOOLEAN: QxParamSetLive(p, fx->filter.Get(), g_value_get_boolean(value) ? 1 : 0); break;
      case G_TYPE_INT: QxParamSetLive(p, fx->filter.Get(), g_value_get_int(value)); break;
      case G_TYPE_DOUBLE: SetNatural(fx, &p, g_value_get_double(value)); break;
      default: QxParamSetLive(p, fx->filter.Get(), g_value_get_enum(value)); break;
    }
    return;
  }
  if (id == c.preset) {
    LoadPreset(object, g_value_get_string(value));
  } else if (id == c.tempo) {
    GST_OBJECT_LOCK(object);
    fx->tempo = g_value_get_double(value);
    GST_OBJECT_UNLOCK(object);
    ConnectTempo(object, fx);
  } else if (id == c.meter) {
    const char* text = g_value_get_string(value);
    int n = 0, d = 0;
    if (text && *text && !QxfxParseMeter(text, &n, &d)) {
      GST_WARNING_OBJECT(object, "meter \"%s\" is not N/D with D a power of two", text);
      return;
    }
    GST_OBJECT_LOCK(object);
    fx->meter = text ? text : "";
    GST_OBJECT_UNLOCK(object);
    ConnectTempo(object, fx);
  } else if (id == c.rate) {
    const double rate = g_value_get_double(value);
    if (const QxParamView* p = Param(fx, "FinalLength"))
      SetNatural(fx, p, 100.0 / rate);
    else if (const QxParamView* r = Param(fx, "Ratio"))
      SetNatural(fx, r, rate);
  } else {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  const ClassProps& c = PropsOf(object);
  QxGstEffect* fx = QxGstEffectOf(object);
  if (!fx || !fx->filter) return;
  if (id >= 1 && id <= c.pspecs.size()) {
    const QxParamView& p = c.view->Params[id - 1];
    const double natural = LiveNatural(fx, &p);
    switch (G_VALUE_TYPE(value)) {
      case G_TYPE_BOOLEAN: g_value_set_boolean(value, natural != 0); break;
      case G_TYPE_INT: g_value_set_int(value, static_cast<int>(natural)); break;
      case G_TYPE_DOUBLE: g_value_set_double(value, natural); break;
      default: g_value_set_enum(value, static_cast<int>(natural)); break;
    }
    return;
  }
  GST_OBJECT_LOCK(object);
  if (id == c.preset)
    g_value_set_string(value, fx->preset.empty() ? nullptr : fx->preset.c_str());
  else if (id == c.tempo)
    g_value_set_double(value, fx->tempo);
  else if (id == c.meter)
    g_value_set_string(value, fx->meter.empty() ? nullptr : fx->meter.c_str());
  GST_OBJECT_UNLOCK(object);
  if (id == c.rate) {
    if (const QxParamView* p = Param(fx, "FinalLength"))
      g_value_set_double(value, 100.0 / LiveNatural(fx, p));
    else if (const QxParamView* r = Param(fx, "Ratio"))
      g_value_set_double(value, LiveNatural(fx, r));
  } else if (id > c.pspecs.size() && id != c.preset && id != c.tempo && id != c.meter) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
}

void Finalize(GObject* object) {
  QxGstFreeEffect(QxGstEffectOf(object));
  G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(object)))->finalize(object);
}
}  // namespace

void QxGstInitClass(gpointer g_class, const QxGstElementInfo* info) {
  auto* gobject = G_OBJECT_CLASS(g_class);
  gobject->set_property = SetProperty;
  gobject->get_property = GetProperty;
  gobject->finalize = Finalize;
  InstallProperties(gobject, info);
  SetMetadata(GST_ELEMENT_CLASS(g_class), info);
}

double QxGstLengthFactor(QxGstEffect* fx) {
  if (const QxParamView* p = Param(fx, "FinalLength")) return LiveNatural(fx, p) / 100.0;
  const QxParamView* preserve = Param(fx, "PreserveDuration");
  if (preserve && LiveNatural(fx, preserve) != 0) return 1.0;
  const QxParamView* r = Param(fx, "Ratio");
  const double ratio = r ? LiveNatural(fx, r) : 1.0;
  if (ratio <= 0) return 1.0;
  // The effect resamples from a whole number of hertz.
  const int rate = fx->negotiated ? GST_AUDIO_INFO_RATE(&fx->audio) : 0;
  const double virtualRate = std::trunc(rate / ratio);
  return rate > 0 && virtualRate > 0 ? virtualRate / rate : 1.0 / ratio;
}

bool QxGstSyncControls(GstObject* object, const GstSegment& segment, GstClockTime ts) {
  if (!gst_object_has_active_control_bindings(object)) return false;
  const GstClockTime st = gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, ts);
  if (GST_CLOCK_TIME_IS_VALID(st)) gst_object_sync_values(object, st);
  return true;
}

// ---- GstPreset -----------------------------------------------------------------------------------

namespace {
gchar** GetPresetNames(GstPreset* preset) {
  QxGstEffect* fx = QxGstEffectOf(preset);
  const std::vector<std::string> names = fx && fx->filter ? QxPresetNames(fx->filter.Get()) : std::vector<std::string>{};
  gchar** out = g_new0(gchar*, names.size() + 1);
  for (size_t i = 0; i < names.size(); ++i) out[i] = g_strdup(names[i].c_str());
  return out;
}

gchar** GetPropertyNames(GstPreset* preset) {
  const ClassProps& c = PropsOf(G_OBJECT(preset));
  gchar** out = g_new0(gchar*, c.pspecs.size() + 1);
  for (size_t i = 0; i < c.pspecs.size(); ++i) out[i] = g_strdup(g_param_spec_get_name(c.pspecs[i]));
  return out;
}

gboolean LoadPresetVfunc(GstPreset* preset, const gchar* name) { return LoadPreset(G_OBJECT(preset), name); }
// The rows are fixed in the module: nothing to save, rename or delete.
gboolean ReadOnly(GstPreset*, const gchar*) { return FALSE; }
gboolean RenameRefused(GstPreset*, const gchar*, const gchar*) { return FALSE; }
gboolean SetMetaRefused(GstPreset*, const gchar*, const gchar*, const gchar*) { return FALSE; }
gboolean GetMetaNone(GstPreset*, const gchar*, const gchar*, gchar** value) {
  *value = nullptr;
  return FALSE;
}

void PresetInterfaceInit(gpointer g_iface, gpointer) {
  auto* iface = static_cast<GstPresetInterface*>(g_iface);
  iface->get_preset_names = GetPresetNames;
  iface->get_property_names = GetPropertyNames;
  iface->load_preset = LoadPresetVfunc;
  iface->save_preset = ReadOnly;
  iface->delete_preset = ReadOnly;
  iface->rename_preset = RenameRefused;
  iface->set_meta = SetMetaRefused;
  iface->get_meta = GetMetaNone;
}
}  // namespace

GType QxGstRegisterType(GType parent, const QxGstElementInfo* info, guint16 classSize, GClassInitFunc classInit,
                        guint16 instanceSize, GInstanceInitFunc instanceInit) {
  GTypeInfo type{};
  type.class_size = classSize;
  type.class_init = classInit;
  type.class_data = info;
  type.instance_size = instanceSize;
  type.instance_init = instanceInit;
  const std::string name = std::string("QxGst_") + info->element;
  const GType t = g_type_register_static(parent, g_intern_string(name.c_str()), &type, GTypeFlags(0));
  static const GInterfaceInfo preset = {PresetInterfaceInit, nullptr, nullptr};
  g_type_add_interface_static(t, GST_TYPE_PRESET, &preset);
  return t;
}
