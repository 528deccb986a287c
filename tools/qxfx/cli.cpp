// Parsing of qxfx's arguments: global options anywhere, effect options to the effect they follow,
// `+` between the effects of a chain.
#include "tools/qxfx/cli.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "tools/qxfx/effects.h"
#include "tools/qxfx/tempo_host.h"

namespace {
bool ParseLong(const std::string& s, long* v) {
  if (s.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long r = std::strtol(s.c_str(), &end, 10);
  if (errno || *end) return false;
  *v = r;
  return true;
}

bool ParseNumber(const std::string& s, double* v) {
  if (s.empty()) return false;
  errno = 0;
  char* end = nullptr;
  double r = std::strtod(s.c_str(), &end);
  if (errno || *end || !std::isfinite(r)) return false;
  *v = r;
  return true;
}

bool TakesValue(const std::string& name) {
  static const char* const kValued[] = {"--block-frames", "--jobs",      "--out-dir",    "--output-format",
                                        "--preset",       "--set",       "--param",     "--automate",   "--load-state",
                                        "--save-state",   "--lang",      "--tempo",      "--meter",
                                        "--tempo-map",    "--percent",   "--tempo-from", "--tempo-to",
                                        "--semitones",    "--cents",     "--gain",       "--raw-input",  "-j",
                                        "--png"};
  for (const char* v : kValued)
    if (name == v) return true;
  return false;
}

bool IsEffectOption(const std::string& name) {
  static const char* const kEffect[] = {"--preset", "--set",   "--param", "--automate",  "--load-state", "--save-state",
                                        "--lang",   "--tempo", "--meter",     "--tempo-map",  "--percent",
                                        "--tempo-from", "--tempo-to", "--semitones", "--cents",
                                        "--preserve-duration"};
  for (const char* v : kEffect)
    if (name == v) return true;
  return false;
}

// One effect option with its value into `e`.
bool ApplyEffectOption(const std::string& name, const std::string& v, QxfxEffectArgs* e, std::string* error) {
  if (name == "--preset") {
    e->preset = v;
  } else if (name == "--set" || name == "--param") {
    size_t eq = v.find('=');
    if (eq == std::string::npos || eq == 0) {
      *error = name + (name == "--set" ? " takes FIELD=VALUE" : " takes NAME=VALUE") + ", not '" + v + "'";
      return false;
    }
    e->settings.push_back({v.substr(0, eq), v.substr(eq + 1), name == "--param"});
  } else if (name == "--automate") {
    e->automations.push_back(v);
  } else if (name == "--load-state") {
    e->loadState = v;
  } else if (name == "--save-state") {
    e->saveState = v;
  } else if (name == "--lang") {
    if (!QxfxParseLcid(v, &e->lang)) {
      *error = "--lang takes a language identifier such as 1033 or 0x409, not '" + v + "'";
      return false;
    }
  } else if (name == "--tempo-map") {
    e->tempoMap = v;
  } else if (name == "--tempo") {
    if (!QxfxParseTempo(v, &e->tempo)) {
      *error = "--tempo takes beats per minute from 1 to 999, not '" + v + "'";
      return false;
    }
  } else if (name == "--meter") {
    if (!QxfxParseMeter(v, &e->meterNumerator, &e->meterDenominator)) {
      *error = "--meter takes N/D such as 3/4 or 6/8 (D a power of two up to 64), not '" + v + "'";
      return false;
    }
  } else if (name == "--preserve-duration") {
    e->pitch.preserveDuration = true;
  } else {
    struct {
      const char* name;
      bool* has;
      double* value;
    } numbers[] = {{"--percent", &e->time.hasPercent, &e->time.percent},
                   {"--tempo-from", &e->time.hasTempoFrom, &e->time.tempoFrom},
                   {"--tempo-to", &e->time.hasTempoTo, &e->time.tempoTo},
                   {"--semitones", &e->pitch.hasSemitones, &e->pitch.semitones},
                   {"--cents", &e->pitch.hasCents, &e->pitch.cents}};
    for (auto& n : numbers)
      if (name == n.name) {
        if (!ParseNumber(v, n.value)) {
          *error = name + " takes a number, not '" + v + "'";
          return false;
        }
        *n.has = true;
      }
  }
  return true;
}
}  // namespace

bool QxfxParseLcid(const std::string& v, long* lcid) {
  const bool hex = v.rfind("0x", 0) == 0 || v.rfind("0X", 0) == 0;
  const char* digits = hex ? v.c_str() + 2 : v.c_str();
  if (!*digits || *digits == '-' || *digits == '+') return false;
  char* end = nullptr;
  errno = 0;
  const long id = std::strtol(digits, &end, hex ? 16 : 10);
  if (errno || *end || id < 0 || id > 0xFFFF) return false;
  *lcid = id;
  return true;
}

bool QxfxIsEffectName(const std::string& word) { return QxfxFindEffect(word) != nullptr; }

bool QxfxParse(int argc, char** argv, QxfxCommandLine* out, std::string* error) {
  std::vector<std::string> rest;      // positional words before the first effect option or `+`
  std::vector<QxfxEffectArgs> groups(1);  // process: the first effect's options, then one per `+`
  bool firstClosed = false;           // the first effect's options have begun
  bool seenCommand = false;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    std::string name = a, value;
    bool inlineValue = false;
    if (a.rfind("--", 0) == 0 && a.find('=') != std::string::npos) {
      name = a.substr(0, a.find('='));
      value = a.substr(a.find('=') + 1);
      inlineValue = true;
    } else if (a.size() > 2 && a.rfind("-j", 0) == 0 && a[2] != '-') {
      name = "-j";
      value = a.substr(2);
      inlineValue = true;
    }
    if (TakesValue(name) && !inlineValue) {
      if (i + 1 >= argc) {
        *error = name + " needs a value";
        return false;
      }
      value = argv[++i];
    } else if (!TakesValue(name) && inlineValue && name != a && name != "--norm") {
      *error = name + " takes no value";
      return false;
    }
    const bool process = seenCommand && out->command == "process";
    if (name.size() > 1 && name[0] == '-') out->given.push_back(name == "-j" ? "--jobs" : name == "-q" ? "--quiet"
                                                                 : name == "-v" ? "--verbose" : name == "-h" ? "--help" : name);

    if (name == "-h" || name == "--help") {
      out->help = true;
    } else if (name == "--json") {
      out->json = true;
    } else if (name == "-q" || name == "--quiet") {
      out->quiet = true;
    } else if (name == "-v" || name == "--verbose") {
      out->verbose = true;
    } else if (name == "--gain") {
      if (!ParseNumber(value, &out->gainDb) || out->gainDb < -120 || out->gainDb > 60) {
        *error = "--gain takes decibels from -120 to 60, e.g. --gain -6, not '" + value + "'";
        return false;
      }
    } else if (name == "--norm") {
      out->norm = true;
      if (inlineValue && (!ParseNumber(value, &out->normDb) || out->normDb > 0 || out->normDb < -120)) {
        *error = "--norm takes a peak level in dBFS from -120 to 0, e.g. --norm=-1, not '" + value + "'";
        return false;
      }
    } else if (name == "--raw-input") {
      out->rawInput = value;
    } else if (name == "--no-dither") {
      out->dither = false;
    } else if (name == "--version") {
      out->version = true;
    } else if (name == "--help-man") {
      out->man = true;
    } else if (name == "--no-progress") {
      out->progress = false;
    } else if (name == "--keep-nonfinite") {
      out->keepNonFinite = true;
    } else if (name == "--block-frames") {
      if (!ParseLong(value, &out->blockFrames) || out->blockFrames < 1 || out->blockFrames > 1 << 20) {
        *error = "--block-frames takes a whole number of frames from 1 to 1048576, not '" + value + "'";
        return false;
      }
    } else if (name == "-j" || name == "--jobs") {
      if (!ParseLong(value, &out->jobs) || out->jobs < 1 || out->jobs > 256) {
        *error = "-j takes a number of parallel jobs from 1 to 256, not '" + value + "'";
        return false;
      }
    } else if (name == "--out-dir") {
      out->outDir = value;
    } else if (name == "--output-format") {
      out->outputFormat = value;
    } else if (name == "--png") {
      out->png = value;
    } else if (IsEffectOption(name)) {
      if (process && groups.size() == 1) firstClosed = true;
      QxfxEffectArgs* target = process ? &groups.back() : static_cast<QxfxEffectArgs*>(out);
      if (process && groups.size() > 1 && target->effect.empty()) {
        *error = name + " comes after the name of the effect it sets, not right after '+'";
        return false;
      }
      if (!ApplyEffectOption(name, value, target, error)) return false;
    } else if (a == "+" && process) {
      if (groups.size() > 1 && groups.back().effect.empty()) {
        *error = "'+' must be followed by an effect name";
        return false;
      }
      firstClosed = true;
      groups.emplace_back();
    } else if (a.size() > 1 && a[0] == '-') {
      *error = "unknown option '" + a + "' (see qxfx --help)";
      return false;
    } else if (!seenCommand) {
      out->command = a;
      seenCommand = true;
    } else if (!process) {
      out->words.push_back(a);
    } else if (groups.size() > 1) {
      if (!groups.back().effect.empty()) {
        *error = "unexpected '" + a + "' after " + groups.back().effect + "; effects of a chain are joined by '+'";
        return false;
      }
      groups.back().effect = a;
    } else if (firstClosed) {
      *error = "unexpected '" + a + "' among the options of " + (rest.empty() ? "the effect" : rest.back()) +
               "; effects of a chain are joined by '+'";
      return false;
    } else {
      rest.push_back(a);
    }
  }
  if (out->command != "process") return true;
  if (out->help) return true;
  if (groups.size() > 1 && groups.back().effect.empty()) {
    *error = "'+' must be followed by an effect name";
    return false;
  }
  if (out->outDir.empty()) {
    if (rest.size() < 3) {
      *error = "process needs IN OUT EFFECT (e.g. qxfx process in.wav out.wav reverb --preset Cathedral)";
      return false;
    }
    if (rest.size() > 3) {
      *error = "unexpected '" + rest[3] + "' after the effect name (several inputs need --out-dir DIR)";
      return false;
    }
    out->inputs = {rest[0]};
    out->output = rest[1];
    groups[0].effect = rest[2];
  } else {
    if (rest.size() < 2) {
      *error = "process --out-dir DIR needs IN... EFFECT (e.g. qxfx process --out-dir wet a.wav b.wav reverb)";
      return false;
    }
    out->inputs.assign(rest.begin(), rest.end() - 1);
    groups[0].effect = rest.back();
  }
  for (QxfxEffectArgs& g : groups) g.quiet = out->quiet;
  out->chain = std::move(groups);
  return true;
}
