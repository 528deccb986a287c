// Taking an effect's own number options (--name VALUE or --name=VALUE) and bare switches out of
// qxfx's command line before the common parser runs; what is not theirs stays, in order.
#pragma once
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

struct QxfxNumberOption {
  const char* name;
  bool* has;
  double* value;
};

struct QxfxSwitchOption {
  const char* name;
  bool* given;
};

// A whole finite number, nothing after it.
inline bool QxfxParseNumber(const std::string& s, double* v) {
  if (s.empty()) return false;
  errno = 0;
  char* end = nullptr;
  double r = std::strtod(s.c_str(), &end);
  if (errno || *end || !std::isfinite(r)) return false;
  *v = r;
  return true;
}

// Sets the given flags and values, removes what it took and ends argv with a null after the rest.
inline bool QxfxTakeNumberOptions(int* argc, char** argv, std::span<const QxfxNumberOption> options,
                                  std::span<const QxfxSwitchOption> switches, std::string* error) {
  int kept = 1;
  for (int i = 1; i < *argc; ++i) {
    const std::string a = argv[i];
    bool isSwitch = false;
    for (const QxfxSwitchOption& s : switches)
      if (a == s.name) {
        *s.given = true;
        isSwitch = true;
        break;
      }
    if (isSwitch) continue;
    const QxfxNumberOption* hit = nullptr;
    std::string value;
    for (const QxfxNumberOption& o : options) {
      const size_t n = std::strlen(o.name);
      if (a == o.name) {
        if (i + 1 >= *argc) {
          *error = std::string(o.name) + " needs a value";
          return false;
        }
        hit = &o;
        value = argv[++i];
      } else if (a.compare(0, n + 1, std::string(o.name) + "=") == 0) {
        hit = &o;
        value = a.substr(n + 1);
      }
      if (hit) break;
    }
    if (!hit) {
      argv[kept++] = argv[i];
      continue;
    }
    if (!QxfxParseNumber(value, hit->value)) {
      *error = std::string(hit->name) + " takes a number, not '" + value + "'";
      return false;
    }
    *hit->has = true;
  }
  *argc = kept;
  argv[kept] = nullptr;
  return true;
}
