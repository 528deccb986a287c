// qxfx: runs the pack's effects over audio files from a shell.
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/qxfx/cli.h"
#include "tools/qxfx/effect_options.h"
#include "tools/qxfx/effects.h"
#include "tools/qxfx/file_graph.h"
#include "tools/qxfx/module_commands.h"
#include "tools/qxfx/module_loader.h"
#include "tools/qxfx/pitch_options.h"
#include "tools/qxfx/tempo_host.h"
#include "tools/qxfx/time_options.h"

namespace {
std::string Narrow(const std::u16string& s) {
  std::string r;
  for (char16_t c : s) r += c < 0x80 ? static_cast<char>(c) : '?';
  return r;
}

void Usage(FILE* to) {
  std::fprintf(to,
               "usage: qxfx COMMAND ...\n"
               "\n"
               "  qxfx process IN OUT EFFECT [effect options]\n"
               "        run EFFECT over the audio file IN and write OUT in the same sample form\n"
               "  qxfx list                 the module's classes, their state and registration\n"
               "  qxfx register             register the module's classes and filters\n"
               "  qxfx unregister           remove them from the registry again\n"
               "  qxfx presets EFFECT       the effect's presets [--json]\n"
               "  qxfx params EFFECT        the effect's automation parameters [--json]\n"
               "  qxfx help [EFFECT]        this text, or an effect's fields and ranges\n"
               "  qxfx info FILE            length, form and peak level of an audio file\n"
               "\n"
               "effect options (applied in this order):\n"
               "  --lang LCID               language of names and texts, e.g. 1031 or 0x407\n"
               "  --load-state FILE         the effect's saved state (as --save-state wrote it)\n"
               "  --preset N|NAME           a preset by index or name (qxfx presets EFFECT)\n"
               "  --set FIELD=VALUE         one field of the parameter record, stored value\n"
               "  --automate \"PARAM=CURVE:T:V,T:V...\"\n"
               "                            an envelope for an automation parameter (label or index),\n"
               "                            CURVE jump|linear|square|invsquare|sine, T in s or ms,\n"
               "                            V in the parameter's units, e.g. \"Dry Out=linear:0s:-60,2.5s:0\"\n"
               "  --save-state FILE         write the effect's state once the options are applied\n"
               "  --tempo BPM               host tempo for effects that follow tempo (e.g. simple-delay)\n"
               "  --meter N/D               host meter, e.g. 3/4 (default 4/4)\n"
               "  --tempo-map FILE          tempo and meter changes: lines 'tempo AT BPM' and\n"
               "                            'meter AT N/D', AT in s, ms or beats (8b); see the README\n"
               "  --percent P               time-stretch: output P %% of the input's length (50 to 500)\n"
               "  --tempo-from A --tempo-to B\n"
               "                            time-stretch: from tempo A to tempo B in bpm\n"
               "  --semitones S --cents C   pitch-shift: shift by S semitones and C cents (-100 to 100)\n"
               "  --preserve-duration       pitch-shift: keep the length (S then -12 to 12)\n"
               "\n"
               "options (anywhere on the line):\n"
               "  --block-frames N          frames per media sample fed to the effect (default 4096)\n"
               "  -q, --quiet               print nothing but errors\n"
               "  -h, --help                this text\n"
               "\n"
               "FIELD is a field of the effect's parameter record, VALUE its stored value\n"
               "(see qxfx help EFFECT). The output is written whole or not at all; IN is never touched.\n");
}

std::vector<std::string> EffectNames() {
  std::vector<std::string> v;
  for (const QxfxEffect& e : QxfxEffects()) v.push_back(e.name);
  return v;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "qxfx: %s\n", message.c_str());
  return 1;
}

const QxfxEffect* EffectOrComplain(const std::string& name) {
  const QxfxEffect* e = QxfxFindEffect(name);
  if (!e) {
    std::string hint = QxfxNearest(name, EffectNames());
    Fail("unknown effect '" + name + "'" + (hint.empty() ? "" : " (did you mean '" + hint + "'?)") +
         "; qxfx list shows them");
  }
  return e;
}

int HelpEffect(const std::string& name) {
  const QxfxEffect* e = EffectOrComplain(name);
  if (!e) return 1;
  std::printf("%s (%s), class {%s}\n", e->name.c_str(), Narrow(e->title).c_str(), GuidToString(e->clsid).c_str());
  if (e->fields.empty()) {
    std::printf("  not built yet\n");
    return 0;
  }
  std::printf("fields (--set FIELD=VALUE):\n");
  for (const QxfxField& f : e->fields)
    std::printf("  %-18s %6d .. %-6d %s\n", f.name.c_str(), f.min, f.max, f.unit.c_str());
  return 0;
}

int Info(const std::string& path) {
  QxfxFileInfo info;
  std::string error;
  if (!QxfxReadInfo(path, &info, &error)) return Fail(error);
  std::printf("%s: %s, %d channels, %d Hz, %lld frames (%.3f s), peak %s\n", path.c_str(), info.form.c_str(),
              info.channels, info.rate, static_cast<long long>(info.frames),
              info.rate ? static_cast<double>(info.frames) / info.rate : 0.0,
              info.peak > 0 ? (std::to_string(20 * std::log10(info.peak)).substr(0, 6) + " dBFS").c_str()
                            : "silent");
  return 0;
}

// Makes the filter as a host does: by class identifier through the loaded module.
bool MakeFilter(const QxfxEffect& effect, ComPtr<IBaseFilter>* filter, std::string* error) {
  const QxfxModule* module = QxfxModule::Get(error);
  if (!module) return false;
  ComPtr<IClassFactory> factory;
  HRESULT hr = module->GetClassObject(effect.clsid, IID_IClassFactory, factory.PutVoid());
  if (FAILED(hr)) {
    *error = "the module has no class for " + effect.name;
    return false;
  }
  hr = factory->CreateInstance(nullptr, IID_IBaseFilter, filter->PutVoid());
  if (hr == E_NOTIMPL) *error = effect.name + " is not built yet";
  else if (FAILED(hr)) *error = "could not create " + effect.name + QxfxDescribe(hr);
  return SUCCEEDED(hr);
}

// qxfx presets EFFECT / qxfx params EFFECT
int Listing(const QxfxCommandLine& cl) {
  if (cl.words.size() != 1) return Fail(cl.command + " needs one EFFECT (qxfx list shows them)");
  const QxfxEffect* effect = EffectOrComplain(cl.words[0]);
  if (!effect) return 1;
  ComPtr<IBaseFilter> filter;
  std::string error;
  if (!MakeFilter(*effect, &filter, &error)) return Fail(error);
  if (cl.command == "presets")
    QxfxPrintPresets(filter.Get(), cl.json);
  else
    QxfxPrintParams(filter.Get(), *effect, cl.json);
  return 0;
}

int Process(const QxfxCommandLine& cl) {
  if (cl.words.size() < 3)
    return Fail("process needs IN OUT EFFECT (e.g. qxfx process in.wav out.wav simple-delay)");
  if (cl.words.size() > 3) return Fail("unexpected '" + cl.words[3] + "' after the effect name");
  const std::string& in = cl.words[0];
  const std::string& out = cl.words[1];
  const QxfxEffect* effect = EffectOrComplain(cl.words[2]);
  if (!effect) return 1;

  ComPtr<IBaseFilter> filter;
  std::string error;
  if (!MakeFilter(*effect, &filter, &error)) return Fail(error);
  if (!QxfxConfigure(filter.Get(), *effect, cl, &error)) return Fail(error);
  if (!QxfxApplyTimeOptions(filter.Get(), *effect, cl, &error)) return Fail(error);
  if (!QxfxApplyPitchOptions(filter.Get(), *effect, cl, &error)) return Fail(error);
  // Effects that follow tempo get the host's maps; playback starts at tick 0.
  QxfxTempoOptions tempo;
  tempo.tempo = cl.tempo;
  tempo.numerator = cl.meterNumerator;
  tempo.denominator = cl.meterDenominator;
  tempo.mapFile = cl.tempoMap;
  bool tempoConnected = false;
  if (!QxfxConnectTempo(filter.Get(), tempo, in, &tempoConnected, &error)) return Fail(error);
  if (tempo.Any() && !tempoConnected && !cl.quiet)
    std::fprintf(stderr, "qxfx: %s does not follow tempo; --tempo, --meter and --tempo-map are ignored\n",
                 effect->name.c_str());
  // The state saved is what the options set up, before any envelope moves a value.
  if (!cl.saveState.empty() && !QxfxSaveState(filter.Get(), cl.saveState, &error)) return Fail(error);

  QxfxRunOptions opt;
  opt.blockFrames = static_cast<uint32_t>(cl.blockFrames);
  QxfxRunResult result;
  if (!QxfxRunFile(in, out, {filter.Get()}, opt, &result, &error)) return Fail(error);
  if (!cl.quiet)
    std::fprintf(stderr, "qxfx: %s -> %s: %lld frames in, %lld frames out\n", in.c_str(), out.c_str(),
                 static_cast<long long>(result.framesIn), static_cast<long long>(result.framesOut));
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  QxfxCommandLine cl;
  std::string error;
  if (!QxfxTakeTimeOptions(&argc, argv, &error)) return Fail(error);
  if (!QxfxTakePitchOptions(&argc, argv, &error)) return Fail(error);
  if (!QxfxParse(argc, argv, &cl, &error)) return Fail(error);
  if (cl.help || cl.command.empty()) {
    if (cl.help && !cl.command.empty() && cl.command != "help" && cl.command != "process") {
      // "qxfx simple-delay --help" reads as help for that effect.
      return HelpEffect(cl.command);
    }
    Usage(cl.help ? stdout : stderr);
    return cl.help ? 0 : 2;
  }
  if (cl.command == "list") return QxfxList();
  if (cl.command == "register") return QxfxRegister(cl.quiet);
  if (cl.command == "unregister") return QxfxUnregister(cl.quiet);
  if (cl.command == "help") {
    if (cl.words.empty()) {
      Usage(stdout);
      return 0;
    }
    return HelpEffect(cl.words[0]);
  }
  if (cl.command == "info") {
    if (cl.words.size() != 1) return Fail("info needs one FILE");
    return Info(cl.words[0]);
  }
  if (cl.command == "process") return Process(cl);
  if (cl.command == "presets" || cl.command == "params") return Listing(cl);
  if (cl.command == "make-demo-input") {
    if (cl.words.size() != 1) return Fail("make-demo-input needs one OUT file");
    return QxfxWriteDemoInput(cl.words[0], &error) ? 0 : Fail(error);
  }
  std::string hint = QxfxNearest(cl.command, {"process", "list", "help", "info", "presets", "params", "register",
                                              "unregister"});
  return Fail("unknown command '" + cl.command + "'" + (hint.empty() ? "" : " (did you mean '" + hint + "'?)") +
              "; qxfx --help shows them");
}
