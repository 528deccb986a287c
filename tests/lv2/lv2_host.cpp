// qxlv2_host: a small LV2 host on lilv for the bundle's tests. Runs a WAV file through a plugin in
// blocks and writes raw interleaved floats; sets ports, restores presets and state chunks, sends
// time:Position events and saves the plugin's state chunk.
#include <lilv/lilv.h>
#include <lv2/atom/forge.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>
#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {
std::vector<std::string> g_uris;
LV2_URID Map(LV2_URID_Map_Handle, const char* uri) {
  for (size_t k = 0; k < g_uris.size(); ++k)
    if (g_uris[k] == uri) return static_cast<LV2_URID>(k + 1);
  g_uris.push_back(uri);
  return static_cast<LV2_URID>(g_uris.size());
}
LV2_URID_Map g_map = {nullptr, Map};
const char* Unmap(LV2_URID_Unmap_Handle, LV2_URID urid) { return urid && urid <= g_uris.size() ? g_uris[urid - 1].c_str() : nullptr; }
LV2_URID_Unmap g_unmap = {nullptr, Unmap};

std::vector<char> g_chunk;  // the state property, saved or to restore
uint32_t g_chunkType = 0;
LV2_State_Status Store(LV2_State_Handle, uint32_t, const void* value, size_t size, uint32_t type, uint32_t) {
  g_chunk.assign(static_cast<const char*>(value), static_cast<const char*>(value) + size);
  g_chunkType = type;
  return LV2_STATE_SUCCESS;
}
const void* Retrieve(LV2_State_Handle, uint32_t, size_t* size, uint32_t* type, uint32_t* flags) {
  *size = g_chunk.size();
  *type = g_chunkType;
  *flags = LV2_STATE_IS_POD;
  return g_chunk.data();
}

std::map<std::string, float> g_values;  // port values by symbol
void SetPort(const char* symbol, void*, const void* value, uint32_t, uint32_t) { g_values[symbol] = *static_cast<const float*>(value); }

int Fail(const std::string& why) {
  std::fprintf(stderr, "qxlv2_host: %s\n", why.c_str());
  return 1;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 4)
    return Fail("usage: qxlv2_host URI IN.wav OUT.raw [--block N] [--set SYM=V] [--preset URI] [--load-state F] "
                "[--save-state F] [--tempo FRAME:BPM]");
  uint32_t block = 1024;
  std::string preset, loadState, saveState;
  std::vector<std::pair<int64_t, float>> tempi;
  std::vector<std::pair<std::string, float>> sets;
  for (int i = 4; i + 1 < argc; i += 2) {
    const std::string opt = argv[i], val = argv[i + 1];
    if (opt == "--block") block = static_cast<uint32_t>(std::stoul(val));
    else if (opt == "--set") sets.emplace_back(val.substr(0, val.find('=')), std::stof(val.substr(val.find('=') + 1)));
    else if (opt == "--preset") preset = val;
    else if (opt == "--load-state") loadState = val;
    else if (opt == "--save-state") saveState = val;
    else if (opt == "--tempo") tempi.emplace_back(std::stoll(val), std::stof(val.substr(val.find(':') + 1)));
    else return Fail("unknown option " + opt);
  }
  LilvWorld* world = lilv_world_new();
  lilv_world_load_all(world);
  LilvNode* uri = lilv_new_uri(world, argv[1]);
  const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
  if (!plugin) return Fail(std::string("no plugin ") + argv[1]);
  SF_INFO info{};
  SNDFILE* in = sf_open(argv[2], SFM_READ, &info);
  if (!in) return Fail(std::string("cannot read ") + argv[2]);
  std::vector<float> input(static_cast<size_t>(info.frames * info.channels));
  sf_readf_float(in, input.data(), info.frames);
  sf_close(in);

  const LV2_Feature mapFeature = {LV2_URID__map, &g_map}, unmapFeature = {LV2_URID__unmap, &g_unmap};
  const LV2_Feature* features[] = {&mapFeature, &unmapFeature, nullptr};
  LilvInstance* instance = lilv_plugin_instantiate(plugin, info.samplerate, features);
  if (!instance) return Fail("the plugin does not instantiate");
  const uint32_t ports = lilv_plugin_get_num_ports(plugin);
  LilvNode* audioClass = lilv_new_uri(world, LV2_CORE__AudioPort);
  LilvNode* inputClass = lilv_new_uri(world, LV2_CORE__InputPort);
  LilvNode* atomClass = lilv_new_uri(world, LV2_ATOM__AtomPort);
  std::vector<float> controls(ports), audio;
  std::vector<uint32_t> ins, outs;
  std::vector<uint64_t> atoms(1024);
  std::vector<float> mins(ports), maxs(ports), defs(ports);
  lilv_plugin_get_port_ranges_float(plugin, mins.data(), maxs.data(), defs.data());
  for (uint32_t p = 0; p < ports; ++p) {
    const LilvPort* port = lilv_plugin_get_port_by_index(plugin, p);
    const bool input = lilv_port_is_a(plugin, port, inputClass);
    if (lilv_port_is_a(plugin, port, audioClass)) (input ? ins : outs).push_back(p);
    else if (lilv_port_is_a(plugin, port, atomClass)) lilv_instance_connect_port(instance, p, atoms.data());
    else controls[p] = defs[p], lilv_instance_connect_port(instance, p, &controls[p]);
  }
  if (ins.size() != static_cast<size_t>(info.channels)) return Fail("the input's channels do not fit the plugin");
  auto symbolIndex = [&](const std::string& symbol) {
    LilvNode* s = lilv_new_string(world, symbol.c_str());
    const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, s);
    lilv_node_free(s);
    if (!port) std::exit(Fail("no port " + symbol));
    return lilv_port_get_index(plugin, port);
  };
  // Ports first, then state, as hosts restore a session.
  if (!preset.empty()) {
    LilvNode* node = lilv_new_uri(world, preset.c_str());
    lilv_world_load_resource(world, node);
    LilvState* state = lilv_state_new_from_world(world, &g_map, node);
    if (!state) return Fail("no preset " + preset);
    lilv_state_restore(state, instance, SetPort, nullptr, 0, nullptr);
    lilv_state_free(state);
    lilv_node_free(node);
  }
  for (auto& [symbol, value] : sets) g_values[symbol] = value;
  for (auto& [symbol, value] : g_values) controls[symbolIndex(symbol)] = value;
  const auto* iface = static_cast<const LV2_State_Interface*>(lilv_instance_get_extension_data(instance, LV2_STATE__interface));
  bool refused = false;
  if (!loadState.empty()) {
    std::ifstream f(loadState, std::ios::binary);
    g_chunk.assign(std::istreambuf_iterator<char>(f), {});
    g_chunkType = Map(nullptr, LV2_ATOM__Chunk);
    refused = iface->restore(lilv_instance_get_handle(instance), Retrieve, nullptr, 0, nullptr) != LV2_STATE_SUCCESS;
    if (refused) std::fprintf(stderr, "qxlv2_host: state refused\n");
  }

  lilv_instance_activate(instance);
  const size_t ch = ins.size();
  std::vector<float> inBuf(block * ch), outBuf(block * ch), output;
  for (size_t c = 0; c < ch; ++c) {
    lilv_instance_connect_port(instance, ins[c], &inBuf[c * block]);
    lilv_instance_connect_port(instance, outs[c], &outBuf[c * block]);
  }
  LV2_Atom_Forge forge;
  lv2_atom_forge_init(&forge, &g_map);
  size_t next = 0;
  for (int64_t at = 0; at < info.frames; at += block) {
    const uint32_t n = static_cast<uint32_t>(std::min<int64_t>(block, info.frames - at));
    for (uint32_t i = 0; i < n; ++i)
      for (size_t c = 0; c < ch; ++c) inBuf[c * block + i] = input[(at + i) * ch + c];
    // This block's time:Position events, at their frames.
    lv2_atom_forge_set_buffer(&forge, reinterpret_cast<uint8_t*>(atoms.data()), atoms.size() * 8);
    LV2_Atom_Forge_Frame seq, obj;
    lv2_atom_forge_sequence_head(&forge, &seq, 0);
    for (; next < tempi.size() && tempi[next].first < at + n; ++next) {
      lv2_atom_forge_frame_time(&forge, tempi[next].first - at);
      lv2_atom_forge_object(&forge, &obj, 0, Map(nullptr, LV2_TIME__Position));
      lv2_atom_forge_key(&forge, Map(nullptr, LV2_TIME__beatsPerMinute));
      lv2_atom_forge_float(&forge, tempi[next].second);
      lv2_atom_forge_pop(&forge, &obj);
    }
    lv2_atom_forge_pop(&forge, &seq);
    lilv_instance_run(instance, n);
    for (uint32_t i = 0; i < n; ++i)
      for (size_t c = 0; c < ch; ++c) output.push_back(outBuf[c * block + i]);
  }
  lilv_instance_deactivate(instance);
  int64_t first = -1;
  for (size_t i = 0; i < output.size() && first < 0; ++i)
    if (std::fabs(output[i]) > 1e-6f) first = static_cast<int64_t>(i / ch);
  std::printf("first sound at frame %lld\n", static_cast<long long>(first));
  std::ofstream(argv[3], std::ios::binary).write(reinterpret_cast<const char*>(output.data()), output.size() * 4);
  if (!saveState.empty()) {
    iface->save(lilv_instance_get_handle(instance), Store, nullptr, 0, nullptr);
    std::ofstream(saveState, std::ios::binary).write(g_chunk.data(), static_cast<std::streamsize>(g_chunk.size()));
  }
  lilv_instance_free(instance);
  for (LilvNode* n : {uri, audioClass, inputClass, atomClass}) lilv_node_free(n);
  lilv_world_free(world);
  return refused ? 3 : 0;
}
