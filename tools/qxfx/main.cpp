// qxfx: runs the pack's effects over audio files from a shell.
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "aplugins/qxppack1/module/class_table.h"
#include "tools/qxfx/cli.h"
#include "tools/qxfx/effects.h"
#include "tools/qxfx/file_graph.h"

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
               "  qxfx process IN OUT EFFECT [--preset N|NAME] [--set FIELD=VALUE]...\n"
               "        run EFFECT over the audio file IN and write OUT in the same sample form\n"
               "  qxfx list                 the effects and their class identifiers\n"
               "  qxfx help [EFFECT]        this text, or an effect's fields and ranges\n"
               "  qxfx info FILE            length, form and peak level of an audio file\n"
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

int List() {
  for (int i = 0; i < g_cTemplates; ++i) {
    const CFactoryTemplate& row = g_Templates[i];
    std::string cmd;
    for (const QxfxEffect& e : QxfxEffects())
      if (e.clsid == *row.m_ClsID) cmd = e.name;
    std::printf("%-24s {%s}  %s\n", Narrow(row.m_Name).c_str(), GuidToString(*row.m_ClsID).c_str(),
                cmd.c_str());
  }
  return 0;
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

bool ParseInt(const std::string& s, int32_t* v) {
  if (s.empty()) return false;
  char* end = nullptr;
  errno = 0;
  long r = std::strtol(s.c_str(), &end, 10);
  if (errno || *end || r < INT32_MIN || r > INT32_MAX) return false;
  *v = static_cast<int32_t>(r);
  return true;
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

int Process(const QxfxCommandLine& cl) {
  if (cl.words.size() < 3)
    return Fail("process needs IN OUT EFFECT (e.g. qxfx process in.wav out.wav simple-delay)");
  if (cl.words.size() > 3) return Fail("unexpected '" + cl.words[3] + "' after the effect name");
  const std::string& in = cl.words[0];
  const std::string& out = cl.words[1];
  const QxfxEffect* effect = EffectOrComplain(cl.words[2]);
  if (!effect) return 1;

  // Make the filter as a host does: by class identifier through the class table.
  ComPtr<IClassFactory> factory;
  HRESULT hr = DllGetClassObject(effect->clsid, IID_IClassFactory, factory.PutVoid());
  if (FAILED(hr)) return Fail("the module has no class for " + effect->name);
  ComPtr<IBaseFilter> filter;
  hr = factory->CreateInstance(nullptr, IID_IBaseFilter, filter.PutVoid());
  if (hr == E_NOTIMPL) return Fail(effect->name + " is not built yet");
  if (FAILED(hr)) return Fail("could not create " + effect->name + QxfxDescribe(hr));

  if (!cl.preset.empty()) return Fail("presets are not available yet; set fields with --set FIELD=VALUE");
  for (const QxfxSetting& s : cl.settings) {
    const QxfxField* field = QxfxFindField(*effect, s.field);
    if (!field) {
      std::vector<std::string> names;
      for (const QxfxField& f : effect->fields) names.push_back(f.name);
      std::string hint = QxfxNearest(s.field, names);
      return Fail("unknown field '" + s.field + "' for " + effect->name +
                  (hint.empty() ? "" : " (did you mean '" + hint + "'?)") + "; qxfx help " + effect->name +
                  " lists them");
    }
    int32_t v = 0;
    if (!ParseInt(s.value, &v) || v < field->min || v > field->max)
      return Fail("bad value '" + s.value + "' for " + s.field + ": a whole number from " +
                  std::to_string(field->min) + " to " + std::to_string(field->max) + " (" + field->unit + ")");
    hr = field->set(filter.Get(), v);
    if (FAILED(hr)) return Fail("could not set " + s.field + QxfxDescribe(hr));
  }

  QxfxRunOptions opt;
  opt.blockFrames = static_cast<uint32_t>(cl.blockFrames);
  QxfxRunResult result;
  std::string error;
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
  if (!QxfxParse(argc, argv, &cl, &error)) return Fail(error);
  if (cl.help || cl.command.empty()) {
    if (cl.help && !cl.command.empty() && cl.command != "help" && cl.command != "process") {
      // "qxfx simple-delay --help" reads as help for that effect.
      return HelpEffect(cl.command);
    }
    Usage(cl.help ? stdout : stderr);
    return cl.help ? 0 : 2;
  }
  if (cl.command == "list") return List();
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
  if (cl.command == "make-demo-input") {
    if (cl.words.size() != 1) return Fail("make-demo-input needs one OUT file");
    return QxfxWriteDemoInput(cl.words[0], &error) ? 0 : Fail(error);
  }
  std::string hint = QxfxNearest(cl.command, {"process", "list", "help", "info"});
  return Fail("unknown command '" + cl.command + "'" + (hint.empty() ? "" : " (did you mean '" + hint + "'?)") +
              "; qxfx --help shows them");
}
