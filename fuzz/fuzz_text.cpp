// Fuzz target: qxfx's text parsers. The first byte chooses one: a tempo map (then built into the
// host's maps and asked as an effect asks), an automation envelope for an effect, or a command
// line (one argument a line) whose effect options are then applied to the effect they name.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzz_rig.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effect_options.h"
#include "tools/qxfx/effects.h"
#include "tools/qxfx/pitch_options.h"
#include "tools/qxfx/tempo_host.h"
#include "tools/qxfx/time_options.h"

namespace {
void TempoMap(const std::string& text) {
  std::vector<QxfxTempoChange> changes;
  std::string error;
  if (!QxfxParseTempoMap(text, &changes, &error)) return;
  CQxfxTempoContext* c = nullptr;
  if (!CQxfxTempoContext::Create(changes, 44100, &c, &error)) return;
  for (int64_t s : {0LL, 1LL, 44100LL, 4410000LL, 441000000LL}) {
    MFX_TIME t{MFX_TIME_SAMPLES, 0, s};
    c->ConvertTime(&t, MFX_TIME_TICKS);
    const MFX_TICKS tick = static_cast<MFX_TICKS>(t.Value);
    c->ConvertTime(&t, MFX_TIME_SAMPLES);
    MFX_TICKS at = 0;
    int32_t bpm = 0, measure = 0, num = 0, pow2 = 0;
    c->GetTempoAt(c->GetTempoIndexForTime(tick), &at, &bpm);
    c->GetMeterAt(c->GetMeterIndexForTime(tick), &measure, &num, &pow2);
    c->MeasureToTicks(measure + 1);
    c->TicksToMsecs(tick);
  }
  c->Release();
}

void Automation(int effect, const std::string& text) {
  CUnknown* object = QxFuzzMakeEffect(effect);
  if (!object) return;
  {
    ComPtr<IMediaParamInfo> info;
    ComPtr<IMediaParams> params;
    object->NonDelegatingQueryInterface(IID_IMediaParamInfo, info.PutVoid());
    object->NonDelegatingQueryInterface(IID_IMediaParams, params.PutVoid());
    QxfxEnvelope env;
    std::string error;
    if (info && params && QxfxParseAutomation(text, info.Get(), &env, &error))
      params->AddEnvelope(env.index, static_cast<DWORD>(env.segments.size()), env.segments.data());
  }
  object->NonDelegatingRelease();
}

void CommandLine(const std::string& text) {
  std::vector<std::string> words{"qxfx"};
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    words.push_back(text.substr(start, end - start));
  words.push_back(text.substr(start));
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  QxfxCommandLine cl;
  std::string error;
  if (!QxfxParse(static_cast<int>(argv.size()), argv.data(), &cl, &error)) return;
  for (QxfxEffectArgs args : cl.chain) {
    const QxfxEffect* effect = QxfxFindEffect(args.effect);
    if (!effect) continue;
    // Files are another target's business.
    args.loadState.clear();
    args.saveState.clear();
    CUnknown* object = QxFuzzMakeEffect(static_cast<int>(effect - QxfxEffects().data()));
    if (!object) continue;
    {
      ComPtr<IUnknown> filter;
      object->NonDelegatingQueryInterface(IID_IUnknown, filter.PutVoid());
      if (QxfxConfigure(filter.Get(), *effect, args, &error) && QxfxApplyTimeArgs(filter.Get(), *effect, args, &error))
        QxfxApplyPitchArgs(filter.Get(), *effect, args, &error);
    }
    object->NonDelegatingRelease();
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
  switch (data[0] % 3) {
    case 0: TempoMap(text); break;
    case 1: Automation(data[1], text); break;
    default: CommandLine(text); break;
  }
  return 0;
}
