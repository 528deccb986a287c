// Run-time text conversion for GUIDs.
#include "platform/com/guid.h"

#include <cstdio>

std::optional<GUID> GuidFromString(std::string_view text) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
  GUID g{};
  if (!guid_detail::Parse(text, g)) return std::nullopt;
  return g;
}

std::string GuidToString(const GUID& g) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                static_cast<unsigned>(g.Data1), g.Data2, g.Data3, g.Data4[0], g.Data4[1],
                g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
  return buf;
}
