// The effect options of qxfx, spoken to the filter only through its interfaces: language, state
// files, presets, single fields and automation envelopes; and the listings of presets and
// parameters.
#pragma once
#include <string>
#include <vector>

#include "platform/com/media_params.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effects.h"

// In this order: --lang, --load-state, --preset, --set and --param, --automate.
bool QxfxConfigure(IUnknown* filter, const QxfxEffect& effect, const QxfxEffectArgs& args, std::string* error);
// Writes the filter's persistent state whole to `path` (through a temporary file).
bool QxfxSaveState(IUnknown* filter, const std::string& path, std::string* error);
void QxfxPrintPresets(IUnknown* filter, bool json);
// The preset names, in index order (empty when the effect has none).
std::vector<std::string> QxfxPresetNames(IUnknown* filter);
// The effect's parameters in natural units, with the values `filter` holds and every enumeration's
// names; then its automation parameters (labels, host units, curves).
void QxfxPrintView(IUnknown* filter, const QxfxEffect& effect, bool json);
void QxfxPrintParams(IUnknown* filter, const QxfxEffect& effect, bool json);

struct QxfxEnvelope {
  DWORD index = 0;
  std::vector<MP_ENVELOPE_SEGMENT> segments;
};
// "PARAM=CURVE:T:V,T:V,..." with PARAM a label or index, CURVE jump|linear|square|invsquare|sine,
// T in seconds ("2.5s", "2.5") or milliseconds ("250ms"), V in the parameter's host units.
bool QxfxParseAutomation(const std::string& text, IMediaParamInfo* info, QxfxEnvelope* out, std::string* error);
