// GUID in the standard 16-byte binary layout (Data1..Data3 little endian in memory, Data4 as bytes),
// with compile-time construction and the "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" text form.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16, "GUID must be 16 bytes");

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

constexpr bool operator==(const GUID& a, const GUID& b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i)
    if (a.Data4[i] != b.Data4[i]) return false;
  return true;
}
inline bool IsEqualGUID(REFGUID a, REFGUID b) { return a == b; }

namespace guid_detail {
constexpr int HexDigit(char c) {
  return c >= '0' && c <= '9'   ? c - '0'
         : c >= 'a' && c <= 'f' ? c - 'a' + 10
         : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                : -1;
}
// Parses exactly 36 characters; returns false on any deviation from the pattern.
constexpr bool Parse(std::string_view s, GUID& g) {
  if (s.size() != 36 || s[8] != '-' || s[13] != '-' || s[18] != '-' || s[23] != '-') return false;
  uint64_t acc = 0;
  auto hex = [&](size_t pos, size_t n) -> bool {
    acc = 0;
    for (size_t i = 0; i < n; ++i) {
      int d = HexDigit(s[pos + i]);
      if (d < 0) return false;
      acc = acc * 16 + static_cast<uint64_t>(d);
    }
    return true;
  };
  if (!hex(0, 8)) return false;
  g.Data1 = static_cast<uint32_t>(acc);
  if (!hex(9, 4)) return false;
  g.Data2 = static_cast<uint16_t>(acc);
  if (!hex(14, 4)) return false;
  g.Data3 = static_cast<uint16_t>(acc);
  const size_t bytePos[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (int i = 0; i < 8; ++i) {
    if (!hex(bytePos[i], 2)) return false;
    g.Data4[i] = static_cast<uint8_t>(acc);
  }
  return true;
}
}  // namespace guid_detail

// Compile-time GUID from its text; a malformed literal fails the build.
consteval GUID MakeGuid(const char (&text)[37]) {
  GUID g{};
  if (!guid_detail::Parse(std::string_view(text, 36), g)) throw "malformed GUID literal";
  return g;
}

// Accepts the bare 36-character form, optionally inside braces.
std::optional<GUID> GuidFromString(std::string_view text);
// Upper-case hex, no braces.
std::string GuidToString(const GUID& g);

inline constexpr GUID GUID_NULL{};
