// The LV2 bundle's plugins and their ports: a mono and a stereo plugin for each in-place effect,
// with one control port per parameter of the effect's parameter view. The plugin and the TTL both
// read this layout, so port numbers and symbols agree by construction.
#pragma once
#include <cstdint>
#include <span>
#include <string>

#include "aplugins/qxppack1/params/param_view.h"
#include "hosts/common/module_loader.h"

inline constexpr const char* QX_LV2_BUNDLE_URI = "urn:qxppack1:lv2:";
// The state key under which the effect's persistent bytes are saved, as one chunk.
inline constexpr const char* QX_LV2_STATE_KEY = "urn:qxppack1:lv2:state";

struct QxLv2Plugin {
  const QxEffectView* Effect;
  uint32_t Channels;  // 1 or 2
  bool Tempo;         // has a time:Position input (the effects that follow the host's tempo)
  std::string Uri;    // urn:qxppack1:lv2:simple-delay-stereo

  // Ports: audio inputs, audio outputs, the tempo input when there is one, then the parameters
  // in the view's order.
  uint32_t AudioIn(uint32_t channel) const { return channel; }
  uint32_t AudioOut(uint32_t channel) const { return Channels + channel; }
  uint32_t TempoPort() const { return 2 * Channels; }
  uint32_t FirstControl() const { return 2 * Channels + (Tempo ? 1 : 0); }
  uint32_t PortCount() const { return FirstControl() + static_cast<uint32_t>(Effect->Params.size()); }
};

// The eight plugins, each effect mono then stereo.
std::span<const QxLv2Plugin> QxLv2Plugins();
const QxLv2Plugin* QxLv2FindPlugin(std::string_view uri);
// A parameter's port symbol: its name with what a symbol may not hold made '_' ("tapDelay_2").
std::string QxLv2Symbol(const QxParamView& p);
// The preset URI of row `index` of an effect.
std::string QxLv2PresetUri(const QxEffectView& effect, long index);
// The module, found from the bundle's directory: installed or in the build tree.
const QxHostModule* QxLv2LoadModule(const char* bundle, std::string* error);
// The UI of an effect, shared by its mono and stereo plugins.
std::string QxLv2UiUri(const QxEffectView& effect);
