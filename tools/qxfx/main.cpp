// qxfx: runs the pack's effects over audio files from a shell.
#include <sndfile.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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
#include "tools/qxfx/output_format.h"
#include "tools/qxfx/page_commands.h"
#include "tools/qxfx/pitch_options.h"
#include "tools/qxfx/temp_files.h"
#include "tools/qxfx/tempo_host.h"
#include "tools/qxfx/time_options.h"

namespace {
std::string Narrow(const std::u16string& s) {
  std::string r;
  for (char16_t c : s) r += c < 0x80 ? static_cast<char>(c) : '?';
  return r;
}

// The help text: what --help prints and what the manual page is made of.
const char kUsage[] =
    "usage: qxfx COMMAND ...\n"
    "\n"
    "  qxfx process IN OUT EFFECT [effect options] [+ EFFECT [effect options]]...\n"
    "        run IN through the effects in order and write OUT; IN or OUT may be - for\n"
    "        standard input or output\n"
    "  qxfx process --out-dir DIR [-j N] IN... EFFECT [effect options] [+ EFFECT ...]\n"
    "        the same for many files, each written to DIR under its own name\n"
    "  qxfx list                 the module's classes, their state and registration [--json]\n"
    "  qxfx register             register the module's classes and filters\n"
    "  qxfx unregister           remove them from the registry again\n"
    "  qxfx presets EFFECT       the effect's presets [--json] [--lang LCID]\n"
    "  qxfx params EFFECT        the effect's parameters in natural units, with every\n"
    "                            enumeration's names, and its automation parameters\n"
    "                            [--json] [--lang LCID]\n"
    "  qxfx lang [LCID]          the language names are shown in; with LCID, store it\n"
    "                            (e.g. 1031 German, 0 back to the environment's)\n"
    "  qxfx help [EFFECT]        this text, or an effect's parameters, values and presets\n"
    "  qxfx info FILE            length, form and peak level of an audio file\n"
    "  qxfx page EFFECT [effect options] --png FILE | --json\n"
    "        draw the effect's page without a display into FILE (PNG), or print its\n"
    "        controls (id, class, text, state, value and range, list selection) as JSON\n"
    "  qxfx edit EFFECT [effect options] [--save-state FILE]\n"
    "        open the effect's page in a window (with OK, Cancel and Apply) on the X\n"
    "        display, over the effect the options set up; OK writes the state to FILE,\n"
    "        which qxfx process ... --load-state FILE then uses; Cancel writes nothing\n"
    "\n"
    "effect options (they set the effect they follow, applied in this order):\n"
    "  --lang LCID               language of names and texts, e.g. 1031 or 0x407\n"
    "  --load-state FILE         the effect's saved state (as --save-state wrote it)\n"
    "  --preset N|NAME           a preset by index, name or the name's unique beginning\n"
    "  --param NAME=VALUE        one parameter in natural units (qxfx params EFFECT):\n"
    "                            DelayOut=-10dB, DelayTime=400ms, DecayTime=2s,\n"
    "                            DelayNote=\"dotted 8th\", ReverbMode=\"plate 1\", Ratio=+7st\n"
    "  --set FIELD=VALUE         one field of the parameter record, its stored value exactly\n"
    "                            (decimals for 64-bit float fields: Ratio=1.5)\n"
    "  --automate \"PARAM=CURVE:T:V,T:V...\"\n"
    "                            an envelope for an automation parameter (label or index),\n"
    "                            CURVE jump|linear|square|invsquare|sine, T in s or ms,\n"
    "                            V in the parameter's units, e.g. \"Dry Out=linear:0s:-60,2.5s:0\"\n"
    "  --save-state FILE         write the effect's state once the options are applied\n"
    "  --tempo BPM               host tempo for effects that follow tempo (e.g. simple-delay)\n"
    "  --meter N/D               host meter, e.g. 3/4 (default 4/4)\n"
    "  --tempo-map FILE          tempo and meter changes: lines 'tempo AT BPM' and\n"
    "                            'meter AT N/D', AT in s, ms or beats (8b); see the README\n"
    "  --percent P               time-stretch: output P % of the input's length (50 to 500)\n"
    "  --tempo-from A --tempo-to B\n"
    "                            time-stretch: from tempo A to tempo B in bpm\n"
    "  --semitones S --cents C   pitch-shift: shift by S semitones and C cents (-100 to 100)\n"
    "  --preserve-duration       pitch-shift: keep the length (S then -12 to 12)\n"
    "\n"
    "options (anywhere on the line):\n"
    "  --output-format FORM      container and/or encoding of the output, e.g. flac,\n"
    "                            wav:float, aiff:pcm24, mp3 (default: OUT's extension, which\n"
    "                            must be one qxfx knows, and the input's encoding or the\n"
    "                            nearest one the container holds)\n"
    "  --out-dir DIR             write each input to DIR (several inputs)\n"
    "  -j, --jobs N              with --out-dir: N files at once (default 1)\n"
    "  --block-frames N          frames per media sample fed to the effects (default 4096)\n"
    "  --gain DB                 change the level by DB decibels before the chain\n"
    "  --norm[=DBFS]             scale the result so that its peak is DBFS (default 0)\n"
    "  --no-dither               no TPDF dither when the output has fewer bits than the input\n"
    "  --raw-input RATE,CH,ENC   inputs are raw samples, e.g. 44100,2,pcm16 (ENC as for\n"
    "                            --output-format); raw output is --output-format raw\n"
    "  -q, --quiet               print nothing but errors\n"
    "  -v, --verbose             show the graph and the formats agreed between its filters\n"
    "  --no-progress             no progress bar (it shows only on a terminal, after 1 s)\n"
    "  --keep-nonfinite          pass NaN and infinite input samples to the effects as they\n"
    "                            are (by default they are reported and made silent)\n"
    "  --json                    list, presets, params and page as JSON\n"
    "  --png FILE                page: the picture of the page\n"
    "  --version                 qxfx's version and the module it loads\n"
    "  -h, --help                this text\n"
    "\n"
    "NAME and FIELD are case-insensitive (see qxfx params EFFECT). An option the effect\n"
    "would ignore is an error. The output is written whole or not at all, also when the\n"
    "run is interrupted; IN is never touched.\n";

void Usage(FILE* to) { std::fputs(kUsage, to); }

// qxfx(1): the help text as a manual page, set as it stands.
void ManPage() {
  std::printf(".TH QXFX 1 \"\" \"qxfx %s\" \"User Commands\"\n.SH NAME\nqxfx \\- run the pack's audio effects over "
              "files and pipes\n.SH SYNOPSIS\n.B qxfx\n.I COMMAND\n.RI [ ARGS... ]\n.SH DESCRIPTION\n.nf\n",
              QXFX_VERSION);
  for (const char* p = kUsage; *p;) {
    const char* end = std::strchr(p, '\n');
    std::string line(p, end ? end : p + std::strlen(p));
    std::string out;
    for (char c : line) out += c == '\\' ? std::string("\\e") : std::string(1, c);
    if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out = "\\&" + out;
    std::printf("%s\n", out.c_str());
    p = end ? end + 1 : p + std::strlen(p);
  }
  std::printf(".fi\n.SH ENVIRONMENT\n.TP\n.B QXPPACK1_MODULE\nthe module file to load instead of libqxppack1.so "
              "beside qxfx or in the library folder of its installation\n.SH SEE ALSO\n.BR sox (1)\n");
}

int Version() {
  std::printf("qxfx %s\n", QXFX_VERSION);
  std::string error;
  const QxHostModule* module = QxfxLoadModule(&error);
  if (module) std::printf("module %s\n", module->Path().c_str());
  else std::printf("module not found: %s\n", error.c_str());
  return module ? 0 : 1;
}

bool MakeFilter(const QxfxEffect& effect, ComPtr<IBaseFilter>* filter, std::string* error);

// qxfx complete effects | params EFFECT | presets EFFECT: words for the shell's completion.
int Complete(const std::vector<std::string>& words) {
  const std::string what = words.empty() ? "" : words[0];
  if (what == "effects") {
    for (const QxfxEffect& e : QxfxEffects()) std::printf("%s\n", e.name.c_str());
    return 0;
  }
  const QxfxEffect* e = words.size() == 2 ? QxfxFindEffect(words[1]) : nullptr;
  if (!e) return 1;
  if (what == "params") {
    for (const QxParamView& p : e->view->Params) std::printf("%s\n", p.Name);
    return 0;
  }
  if (what == "presets") {
    ComPtr<IBaseFilter> filter;
    std::string error;
    if (!MakeFilter(*e, &filter, &error)) return 1;
    for (const std::string& name : QxfxPresetNames(filter.Get())) std::printf("%s\n", name.c_str());
    return 0;
  }
  return 1;
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

int Info(const std::string& path) {
  QxfxFileInfo info;
  std::string error;
  if (!QxfxReadInfo(path, &info, &error)) return Fail(error);
  std::printf("%s: %s, %d channels, %d Hz, %lld frames (%.3f s), peak %s%s\n", path.c_str(), info.form.c_str(),
              info.channels, info.rate, static_cast<long long>(info.frames),
              info.rate ? static_cast<double>(info.frames) / info.rate : 0.0,
              info.peak > 0 ? (std::to_string(20 * std::log10(info.peak)).substr(0, 6) + " dBFS").c_str()
                            : "silent",
              info.nonFinite ? (", " + std::to_string(info.nonFinite) + (info.nonFinite == 1 ? " sample" : " samples") + " NaN or infinite").c_str() : "");
  for (const auto& [kind, text] : info.tags) std::printf("  %s: %s\n", QxfxTagName(kind), text.c_str());
  return 0;
}

// Makes the filter as a host does: by class identifier through the loaded module.
bool MakeFilter(const QxfxEffect& effect, ComPtr<IBaseFilter>* filter, std::string* error) {
  const QxHostModule* module = QxfxLoadModule(error);
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
  if (cl.lang >= 0 && !QxfxConfigure(filter.Get(), *effect, cl, &error)) return Fail(error);
  if (cl.command == "presets") {
    QxfxPrintPresets(filter.Get(), cl.json);
  } else if (cl.json) {
    std::printf("{\"parameters\": ");
    QxfxPrintView(filter.Get(), *effect, true);
    std::printf(", \"automation\": ");
    QxfxPrintParams(filter.Get(), *effect, true);
    std::printf("}\n");
  } else {
    QxfxPrintView(filter.Get(), *effect, false);
    std::printf("\n");
    QxfxPrintParams(filter.Get(), *effect, false);
  }
  return 0;
}

// qxfx page / qxfx edit EFFECT [effect options]: the page over a filter the options set up as
// process would (tempo at 44100 Hz, there being no file).
int PageOrEdit(const QxfxCommandLine& cl) {
  if (cl.words.size() != 1) return Fail(cl.command + " needs one EFFECT (qxfx list shows them)");
  const QxfxEffect* effect = EffectOrComplain(cl.words[0]);
  if (!effect) return 1;
  ComPtr<IBaseFilter> filter;
  std::string error;
  if (!MakeFilter(*effect, &filter, &error) || !QxfxConfigure(filter.Get(), *effect, cl, &error) ||
      !QxfxApplyTimeArgs(filter.Get(), *effect, cl, &error) || !QxfxApplyPitchArgs(filter.Get(), *effect, cl, &error))
    return Fail(error);
  QxfxTempoOptions tempo;
  tempo.tempo = cl.tempo;
  tempo.numerator = cl.meterNumerator;
  tempo.denominator = cl.meterDenominator;
  tempo.mapFile = cl.tempoMap;
  bool connected = false;
  if (!QxfxConnectTempo(filter.Get(), tempo, "", &connected, &error)) return Fail(error);
  if (tempo.Any() && !connected)
    return Fail(effect->name + " does not follow tempo, so --tempo, --meter and --tempo-map would change nothing");
  return QxfxShowPage(filter.Get(), effect->name, cl);
}

// qxfx help EFFECT: the fields with their ranges, units and the values a new filter starts with,
// and the presets, all asked of the effect itself.
int HelpEffect(const std::string& name) {
  const QxfxEffect* e = EffectOrComplain(name);
  if (!e) return 1;
  std::printf("%s (%s), class {%s}\n", e->name.c_str(), Narrow(e->title).c_str(), GuidToString(e->clsid).c_str());
  ComPtr<IBaseFilter> filter;
  std::string error;
  if (!MakeFilter(*e, &filter, &error)) {
    std::printf("  %s\n", error.c_str());
    return 0;
  }
  QxfxPrintView(filter.Get(), *e, false);
  std::vector<std::string> presets = QxfxPresetNames(filter.Get());
  std::printf("presets (--preset N|NAME, a name or its unique beginning):\n");
  if (presets.empty()) std::printf("  none\n");
  for (size_t i = 0; i < presets.size(); ++i) std::printf("  %3zu  %s\n", i, presets[i].c_str());
  std::printf("automation parameters: qxfx params %s\n", e->name.c_str());
  return 0;
}

// A tempo-synced setting with no tempo given runs on the engines' fallback of 2 s a beat: say so.
void WarnTempoFallback(IUnknown* filter, const QxfxEffect& effect, const std::string& where) {
  const char* const kSync[] = {"TempoSyncDelay", "TempoSyncDecay", "tempoSync"};
  std::string synced;
  for (const char* name : kSync) {
    const QxParamView* p = QxFindParam(*effect.view, name);
    double on = 0;
    if (p && SUCCEEDED(QxParamGetLive(*p, filter, &on)) && on != 0) synced += (synced.empty() ? "" : " and ") + std::string(name);
  }
  if (!synced.empty())
    std::fprintf(stderr,
                 "qxfx: %s%s is on but no --tempo or --tempo-map is given: a beat falls back to 2 s "
                 "(30 bpm) and a measure to 8 s\n",
                 where.c_str(), synced.c_str());
}

// The filters of a chain, each made and set up from its own options. `inPath` gives the rate for
// the tempo host.
bool BuildChain(const QxfxCommandLine& cl, const std::string& inPath, std::vector<ComPtr<IBaseFilter>>* chain,
                std::string* error) {
  for (const QxfxEffectArgs& args : cl.chain) {
    const QxfxEffect* effect = QxfxFindEffect(args.effect);
    ComPtr<IBaseFilter> filter;
    std::string why;
    const std::string where = cl.chain.size() > 1 ? args.effect + ": " : "";
    auto fail = [&] {
      *error = where + why;
      return false;
    };
    if (!MakeFilter(*effect, &filter, &why)) return fail();
    if (!QxfxConfigure(filter.Get(), *effect, args, &why)) return fail();
    if (!QxfxApplyTimeArgs(filter.Get(), *effect, args, &why)) return fail();
    if (!QxfxApplyPitchArgs(filter.Get(), *effect, args, &why)) return fail();
    // Effects that follow tempo get the host's maps; playback starts at tick 0.
    QxfxTempoOptions tempo;
    tempo.tempo = args.tempo;
    tempo.numerator = args.meterNumerator;
    tempo.denominator = args.meterDenominator;
    tempo.mapFile = args.tempoMap;
    bool tempoConnected = false;
    if (!QxfxConnectTempo(filter.Get(), tempo, inPath, &tempoConnected, &why)) return fail();
    if (tempo.Any() && !tempoConnected) {
      why = effect->name + " does not follow tempo, so --tempo, --meter and --tempo-map would change nothing";
      return fail();
    }
    if (!tempo.Any() && !cl.quiet) WarnTempoFallback(filter.Get(), *effect, effect->name + ": ");
    // The state saved is what the options set up, before any envelope moves a value.
    if (!args.saveState.empty() && !QxfxSaveState(filter.Get(), args.saveState, &why)) return fail();
    chain->push_back(std::move(filter));
  }
  return true;
}

// One input through the chain into one output.
bool ProcessOne(const QxfxCommandLine& cl, const QxfxOutputForm& form, bool progress, const std::string& in,
                const std::string& out, std::string* error) {
  std::string inPath = in, spool;
  if (in == "-" && !QxfxStdinPath(&inPath, &spool, error)) {
    if (!spool.empty()) QxfxRemoveTemp(spool);
    return false;
  }
  std::vector<ComPtr<IBaseFilter>> chain;
  bool ok = BuildChain(cl, QxfxProbePath(inPath), &chain, error);
  QxfxRunResult result;
  if (ok) {
    std::vector<IBaseFilter*> filters;
    QxfxRunOptions opt;
    for (size_t i = 0; i < chain.size(); ++i) {
      filters.push_back(chain[i].Get());
      opt.names.push_back(cl.chain[i].effect);
    }
    opt.blockFrames = static_cast<uint32_t>(cl.blockFrames);
    opt.form = form;
    opt.progress = progress && !cl.quiet;
    opt.verbose = cl.verbose;
    opt.gainDb = cl.gainDb;
    opt.norm = cl.norm;
    opt.normDb = cl.normDb;
    opt.dither = cl.dither;
    opt.quiet = cl.quiet;
    opt.keepNonFinite = cl.keepNonFinite;
    if (in == "-") opt.inName = "standard input";
    ok = QxfxRunFile(inPath, out, filters, opt, &result, error);
    if (ok && in == "-") error->clear();
  }
  if (!spool.empty()) QxfxRemoveTemp(spool);
  if (!ok && in == "-") {
    // Name standard input as the user typed it.
    for (size_t at; (at = error->find(inPath)) != std::string::npos;) error->replace(at, inPath.size(), "standard input");
  }
  if (ok && !cl.quiet && result.clipped > 0) {
    std::string chain;
    for (const QxfxEffectArgs& a : cl.chain) chain += (chain.empty() ? "" : " + ") + a.effect;
    std::string count = std::to_string(result.clipped);
    for (int at = static_cast<int>(count.size()) - 3; at > 0; at -= 3) count.insert(static_cast<size_t>(at), ",");
    char peak[48] = "";
    if (result.peak > 1.0) std::snprintf(peak, sizeof peak, " (peak %+.1f dBFS)", 20 * std::log10(result.peak));
    std::fprintf(stderr, "qxfx: %s: %s samples %s%s; lower the input or use --gain\n", chain.c_str(), count.c_str(),
                 result.peak > 1.0 ? "clipped" : "at full scale, clipped", peak);
  }
  if (ok && !cl.quiet) {
    double audio = result.rate ? static_cast<double>(result.framesIn) / result.rate : 0.0;
    std::fprintf(stderr, "qxfx: %s -> %s: %lld frames in, %lld frames out (%s), %.0fx real time\n",
                 in == "-" ? "stdin" : in.c_str(), out == "-" ? "stdout" : out.c_str(),
                 static_cast<long long>(result.framesIn), static_cast<long long>(result.framesOut),
                 QxfxFormatName(result.format).c_str(), result.seconds > 0 ? audio / result.seconds : 0.0);
  }
  return ok;
}

std::string BaseName(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// process --out-dir DIR IN...: each file in a child process of its own, N at a time, so that one
// failure (even a crash) stops no other; then a summary naming the failures.
int ProcessBatch(const QxfxCommandLine& cl, const QxfxOutputForm& form) {
  struct stat st;
  if (stat(cl.outDir.c_str(), &st) != 0) {
    if (mkdir(cl.outDir.c_str(), 0777) != 0) return Fail("cannot make the folder " + cl.outDir);
  } else if (!S_ISDIR(st.st_mode)) {
    return Fail("--out-dir " + cl.outDir + " is not a folder");
  }
  std::vector<std::string> outputs;
  for (const std::string& in : cl.inputs) {
    if (in == "-") return Fail("standard input cannot be one of several inputs; give file names with --out-dir");
    std::string name = BaseName(in);
    if (form.major) {
      size_t dot = name.rfind('.');
      name = (dot == std::string::npos ? name : name.substr(0, dot)) + "." + QxfxExtensionFor(form.major);
    }
    std::string out = cl.outDir + "/" + name;
    for (size_t k = 0; k < outputs.size(); ++k)
      if (outputs[k] == out) return Fail(cl.inputs[k] + " and " + in + " would both be written to " + out);
    outputs.push_back(out);
  }
  std::fflush(nullptr);
  std::vector<bool> failed(cl.inputs.size(), false);
  std::vector<std::pair<pid_t, size_t>> running;
  size_t next = 0, failures = 0;
  auto reap = [&] {
    int status = 0;
    pid_t pid = wait(&status);
    if (pid < 0) return;
    QxfxForgetChild(pid);
    for (size_t k = 0; k < running.size(); ++k)
      if (running[k].first == pid) {
        size_t index = running[k].second;
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
          failed[index] = true;
          ++failures;
          if (WIFSIGNALED(status))
            std::fprintf(stderr, "qxfx: %s: stopped by signal %d\n", cl.inputs[index].c_str(), WTERMSIG(status));
        }
        running.erase(running.begin() + static_cast<long>(k));
        break;
      }
  };
  const bool progress = cl.progress && cl.jobs == 1;
  while (next < cl.inputs.size() || !running.empty()) {
    if (next < cl.inputs.size() && running.size() < static_cast<size_t>(cl.jobs)) {
      pid_t pid = fork();
      if (pid < 0) {
        failed[next] = true;
        ++failures;
        std::fprintf(stderr, "qxfx: %s: cannot start a process for it\n", cl.inputs[next].c_str());
        ++next;
        continue;
      }
      if (pid == 0) {
        QxfxForgetAllChildren();
        std::string error;
        bool ok = ProcessOne(cl, form, progress, cl.inputs[next], outputs[next], &error);
        if (!ok) std::fprintf(stderr, "qxfx: %s: %s\n", cl.inputs[next].c_str(), error.c_str());
        std::fflush(nullptr);
        std::exit(ok ? 0 : 1);
      }
      QxfxTrackChild(pid);
      running.push_back({pid, next++});
      continue;
    }
    reap();
  }
  const size_t total = cl.inputs.size();
  if (failures) {
    std::string names;
    for (size_t k = 0; k < total; ++k)
      if (failed[k]) names += (names.empty() ? "" : ", ") + cl.inputs[k];
    std::fprintf(stderr, "qxfx: %zu of %zu files done, %zu failed: %s\n", total - failures, total, failures,
                 names.c_str());
    return 1;
  }
  if (!cl.quiet) std::fprintf(stderr, "qxfx: %zu of %zu files done into %s\n", total, total, cl.outDir.c_str());
  return 0;
}

// "44100,2,pcm16": the form of headerless inputs.
bool SetRawInput(const std::string& text, std::string* error) {
  int rate = 0, channels = 0;
  char encoding[32] = "";
  QxfxOutputForm form;
  std::string ignored;
  if (std::sscanf(text.c_str(), "%d,%d,%31s", &rate, &channels, encoding) != 3 || rate < 1 || rate > 1000000 ||
      channels < 1 || channels > 32 || !QxfxParseOutputFormat(encoding, &form, &ignored) || !form.sub || form.major) {
    *error = "--raw-input takes RATE,CHANNELS,ENCODING such as 44100,2,pcm16 (1 to 32 channels; encodings u8 "
             "pcm8 pcm16 pcm24 pcm32 float double ulaw alaw), not '" + text + "'";
    return false;
  }
  QxfxSetRawInput(form.sub, rate, channels);
  return true;
}

int Process(const QxfxCommandLine& cl) {
  // Every name and option is checked once before any file is touched.
  for (const QxfxEffectArgs& args : cl.chain)
    if (!EffectOrComplain(args.effect)) return 1;
  QxfxOutputForm form;
  std::string error;
  if (!cl.outputFormat.empty() && !QxfxParseOutputFormat(cl.outputFormat, &form, &error)) return Fail(error);
  if (!cl.rawInput.empty() && !SetRawInput(cl.rawInput, &error)) return Fail(error);
  if (cl.chain.size() > 1 || !cl.outDir.empty()) {
    // Options that only make sense once: the same state file saved by two effects would be a mix-up.
    for (size_t i = 0; i < cl.chain.size(); ++i)
      for (size_t k = i + 1; k < cl.chain.size(); ++k)
        if (!cl.chain[i].saveState.empty() && cl.chain[i].saveState == cl.chain[k].saveState)
          return Fail("--save-state " + cl.chain[i].saveState + " is given to two effects of the chain");
  }
  QxfxLoadModule(&error);  // loaded once, before any child is made
  if (!cl.outDir.empty()) return ProcessBatch(cl, form);
  if (!cl.output.empty() && cl.output != "-" && cl.output == cl.inputs[0])
    return Fail("the output " + cl.output + " is the input; choose another output file");
  if (!ProcessOne(cl, form, cl.progress, cl.inputs[0], cl.output, &error)) return Fail(error);
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  QxfxCommandLine cl;
  std::string error;
  QxfxInstallCleanup();
  if (!QxfxParse(argc, argv, &cl, &error)) return Fail(error);
  if (cl.version) return Version();
  if (cl.man) {
    ManPage();
    return 0;
  }
  if (cl.command == "complete") return Complete(cl.words);
  if (cl.help || cl.command.empty()) {
    if (cl.help && !cl.command.empty() && cl.command != "help" && cl.command != "process") {
      // "qxfx simple-delay --help" reads as help for that effect.
      return HelpEffect(cl.command);
    }
    Usage(cl.help ? stdout : stderr);
    return cl.help ? 0 : 2;
  }
  // An option the command would ignore is a mistake, and mistakes never exit 0.
  for (const std::string& option : cl.given) {
    static const char* const kAnywhere[] = {"--quiet", "--verbose", "--help", "--no-progress"};
    bool fits = std::find(std::begin(kAnywhere), std::end(kAnywhere), option) != std::end(kAnywhere);
    static const char* const kEffectOptions[] = {"--preset", "--set", "--param", "--load-state", "--lang",
                                                 "--tempo", "--meter", "--tempo-map", "--percent", "--tempo-from",
                                                 "--tempo-to", "--semitones", "--cents", "--preserve-duration"};
    const bool effectOption =
        std::find(std::begin(kEffectOptions), std::end(kEffectOptions), option) != std::end(kEffectOptions);
    if (cl.command == "process") fits = option != "--json" && option != "--png" && (option != "--jobs" || !cl.outDir.empty());
    else if (cl.command == "page") fits = fits || effectOption || option == "--json" || option == "--png";
    else if (cl.command == "edit") fits = fits || effectOption || option == "--save-state";
    else if (option == "--json") fits = cl.command == "list" || cl.command == "presets" || cl.command == "params";
    else if (option == "--lang") fits = cl.command == "presets" || cl.command == "params";
    if (!fits)
      return Fail(option + (option == "--jobs" ? " needs --out-dir (several files at once)"
                                               : " does nothing for '" + cl.command + "'"));
  }
  if (cl.command == "list") return QxfxList(cl.json);
  if (cl.command == "register") return QxfxRegister(cl.quiet);
  if (cl.command == "lang") return QxfxLang(cl.words, cl.quiet);
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
  if (cl.command == "page" || cl.command == "edit") return PageOrEdit(cl);
  if (cl.command == "make-demo-input") {
    if (cl.words.size() != 1) return Fail("make-demo-input needs one OUT file");
    return QxfxWriteDemoInput(cl.words[0], &error) ? 0 : Fail(error);
  }
  std::string hint = QxfxNearest(cl.command, {"process", "list", "help", "info", "presets", "params", "register",
                                              "unregister", "lang", "page", "edit"});
  return Fail("unknown command '" + cl.command + "'" + (hint.empty() ? "" : " (did you mean '" + hint + "'?)") +
              "; qxfx --help shows them");
}
