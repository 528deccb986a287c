// UTF-16 <-> UTF-8 conversion for text stored in files, with surrogate pairs joined and lone
// surrogates carried through as three-byte sequences.
#include "platform/registry/utf.h"

std::string QxUtf16ToUtf8(std::u16string_view s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    char32_t c = s[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

bool QxUtf8ToUtf16(std::string_view s, std::u16string& out) {
  out.clear();
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    char32_t c;
    size_t n;
    char32_t min;
    if (b < 0x80) {
      out += static_cast<char16_t>(b);
      ++i;
      continue;
    } else if ((b & 0xE0) == 0xC0) {
      c = b & 0x1F, n = 1, min = 0x80;
    } else if ((b & 0xF0) == 0xE0) {
      c = b & 0x0F, n = 2, min = 0x800;
    } else if ((b & 0xF8) == 0xF0) {
      c = b & 0x07, n = 3, min = 0x10000;
    } else {
      return false;
    }
    if (i + n >= s.size()) return false;  // sequence cut short
    for (size_t k = 1; k <= n; ++k) {
      const auto cb = static_cast<unsigned char>(s[i + k]);
      if ((cb & 0xC0) != 0x80) return false;
      c = (c << 6) | (cb & 0x3F);
    }
    if (c < min || c > 0x10FFFF) return false;
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
    i += n + 1;
  }
  return true;
}
