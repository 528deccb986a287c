// Parsing of qxfx's arguments.
#include "tools/qxfx/cli.h"

#include <cerrno>
#include <cstdlib>

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
}  // namespace

bool QxfxParse(int argc, char** argv, QxfxCommandLine* out, std::string* error) {
  std::vector<std::string> rest;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](const char* name) -> const char* {
      if (i + 1 >= argc) {
        *error = std::string(name) + " needs a value";
        return nullptr;
      }
      return argv[++i];
    };
    if (a == "-h" || a == "--help") {
      out->help = true;
    } else if (a == "--json") {
      out->json = true;
    } else if (a == "-q" || a == "--quiet") {
      out->quiet = true;
    } else if (a == "--block-frames" || a.rfind("--block-frames=", 0) == 0) {
      std::string v;
      if (a == "--block-frames") {
        const char* p = value("--block-frames");
        if (!p) return false;
        v = p;
      } else {
        v = a.substr(15);
      }
      if (!ParseLong(v, &out->blockFrames) || out->blockFrames < 1 || out->blockFrames > 1 << 20) {
        *error = "--block-frames takes a whole number of frames from 1 to 1048576, not '" + v + "'";
        return false;
      }
    } else if (a == "--preset") {
      const char* p = value("--preset");
      if (!p) return false;
      out->preset = p;
    } else if (a == "--automate" || a == "--load-state" || a == "--save-state" || a == "--lang") {
      const char* p = value(a.c_str());
      if (!p) return false;
      if (a == "--automate") out->automations.push_back(p);
      if (a == "--load-state") out->loadState = p;
      if (a == "--save-state") out->saveState = p;
      if (a == "--lang") {
        std::string v = p;
        long id = 0;
        bool hex = v.rfind("0x", 0) == 0 || v.rfind("0X", 0) == 0;
        char* end = nullptr;
        errno = 0;
        id = std::strtol(hex ? v.c_str() + 2 : v.c_str(), &end, hex ? 16 : 10);
        if (v.empty() || errno || *end || id < 0 || id > 0xFFFF) {
          *error = "--lang takes a language identifier such as 1033 or 0x409, not '" + v + "'";
          return false;
        }
        out->lang = id;
      }
    } else if (a == "--tempo" || a == "--meter" || a == "--tempo-map") {
      const char* p = value(a.c_str());
      if (!p) return false;
      if (a == "--tempo-map") {
        out->tempoMap = p;
      } else if (a == "--tempo" && !QxfxParseTempo(p, &out->tempo)) {
        *error = "--tempo takes beats per minute from 1 to 999, not '" + std::string(p) + "'";
        return false;
      } else if (a == "--meter" && !QxfxParseMeter(p, &out->meterNumerator, &out->meterDenominator)) {
        *error = "--meter takes N/D such as 3/4 or 6/8 (D a power of two up to 64), not '" + std::string(p) + "'";
        return false;
      }
    } else if (a == "--set" || a.rfind("--set=", 0) == 0) {
      std::string v;
      if (a == "--set") {
        const char* p = value("--set");
        if (!p) return false;
        v = p;
      } else {
        v = a.substr(6);
      }
      size_t eq = v.find('=');
      if (eq == std::string::npos || eq == 0) {
        *error = "--set takes FIELD=VALUE, not '" + v + "'";
        return false;
      }
      out->settings.push_back({v.substr(0, eq), v.substr(eq + 1)});
    } else if (a.size() > 1 && a[0] == '-' && a != "-") {
      *error = "unknown option '" + a + "' (see qxfx --help)";
      return false;
    } else {
      rest.push_back(a);
    }
  }
  if (rest.empty()) return true;
  out->command = rest[0];
  out->words.assign(rest.begin() + 1, rest.end());
  return true;
}
