// Parsing of qxfx's arguments.
#include "tools/qxfx/cli.h"

#include <cerrno>
#include <cstdlib>

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
