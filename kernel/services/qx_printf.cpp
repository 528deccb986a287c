// QxPrintF, the formatter behind all value text: printf's directives plus `$` ones for locale
// grouping, fixed-point integers, locale items and named tokens; the token list; temporary text.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/services/qx_valuetext.h"
#include "platform/registry/utf.h"

namespace {

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

// Where formatted text goes: at most `room` units (the terminator is the caller's), counting what
// the whole text would need.
struct Sink {
  WCHAR* out;
  size_t room;
  size_t written = 0;
  size_t needed = 0;

  void Put(WCHAR c) {
    if (written < room) out[written++] = c;
    ++needed;
  }
  void Put(std::u16string_view s) {
    for (WCHAR c : s) Put(c);
  }
  void PutAscii(std::string_view s) {
    for (char c : s) Put(static_cast<WCHAR>(static_cast<unsigned char>(c)));
  }
  void Pad(size_t n) {
    for (; n > 0; --n) Put(u' ');
  }
};

struct Args {
  va_list ap;
};

// --- tokens ------------------------------------------------------------------------------------

struct Token {
  std::u16string name;
  std::u16string text;
};

WCHAR Fold(WCHAR c) {
  if ((c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return static_cast<WCHAR>(c + 0x20);
  return c;
}

bool NameLess(std::u16string_view a, std::u16string_view b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](WCHAR x, WCHAR y) { return Fold(x) < Fold(y); });
}

struct TokenList {
  std::mutex lock;
  std::vector<Token> tokens;  // sorted by NameLess

  std::vector<Token>::iterator Find(std::u16string_view name) {
    auto at = std::lower_bound(tokens.begin(), tokens.end(), name,
                               [](const Token& t, std::u16string_view n) { return NameLess(t.name, n); });
    return at != tokens.end() && !NameLess(name, at->name) ? at : tokens.end();
  }
};

// Kept for the life of the process; the module's start-up may format text before static objects
// of this file are built.
TokenList& Tokens() {
  static auto* list = new TokenList;
  return *list;
}

bool PutToken(Sink& s, std::u16string_view name) {
  TokenList& list = Tokens();
  std::lock_guard<std::mutex> g(list.lock);
  auto at = list.Find(name);
  if (at == list.tokens.end()) return false;
  s.Put(at->text);
  return true;
}

// --- directives --------------------------------------------------------------------------------

// Grouped forms of printed numbers go through the locale routines, which keep leading text.
void PutGrouped(Sink& s, const std::string& printed, int decimals) {
  const std::u16string in(printed.begin(), printed.end());
  std::vector<WCHAR> text(in.size() * 4 + 16);
  if (decimals < 0) QxFormatNumber(in.c_str(), text.data(), static_cast<int>(text.size()));
  else QxFormatGroupDecimalNumber(in.c_str(), text.data(), static_cast<int>(text.size()), decimals);
  s.Put(text.data());
}

// "$(" at f: a token or a grouped number. Answers where formatting goes on.
const WCHAR* Parenthesis(Sink& s, const WCHAR* f) {
  const WCHAR* q = f + 2;
  const WCHAR* r = q;
  if (IsDigit(*q) || *q == u'-' || *q == u'.') {
    if (*r == u'-') ++r;
    while (IsDigit(*r) || *r == u',' || *r == u'.') ++r;
    if (*r != u')') {
      s.Put(std::u16string_view(f, static_cast<size_t>(r - f)));
      return r;
    }
    std::string number;
    for (const WCHAR* p = q; p < r; ++p)
      if (*p != u',') number += static_cast<char>(*p);
    const size_t point = number.find('.');
    PutGrouped(s, number, point == std::string::npos ? 0 : static_cast<int>(number.size() - point - 1));
    return r + 1;
  }
  while (*r && *r != u')' && r - q < QX_DIRECTIVE_MAX) ++r;
  if (*r != u')') {  // not closed in time: the "$(" stays and the rest is read as it comes
    s.Put(u"$(");
    return q;
  }
  if (!PutToken(s, std::u16string_view(q, static_cast<size_t>(r - q))))
    s.Put(std::u16string_view(f, static_cast<size_t>(r + 1 - f)));
  return r + 1;
}

// "$*", "$,", "$:", "$!:", "$!.", "$!,", "$&:", "$&.": the locale item, with the directive's length.
int LocaleItem(const WCHAR* f, int* length) {
  *length = 2;
  switch (f[1]) {
    case u'*': return QXINAT_DECIMAL;
    case u',': return QXINAT_LIST;
    case u':': return QXINAT_TIME;
    case u'!':
      *length = 3;
      return f[2] == u':' ? QXINAT_DATE : f[2] == u'.' ? QXINAT_THOUSAND : f[2] == u',' ? QXINAT_NEGATIVE : 0;
    case u'&':
      *length = 3;
      return f[2] == u':' ? QXINAT_AM : f[2] == u'.' ? QXINAT_PM : 0;
    default: return 0;
  }
}

// Wide and precision are cut here so that a stray directive cannot ask for megabytes of padding.
constexpr int kMaxField = 4096;

struct Spec {
  std::string flags;  // "-+ #0" as written
  int width = -1;     // -1: none; -2: from the arguments
  int precision = -1;
  bool wide64 = false;
  WCHAR conversion = 0;
  bool grouped = false;
};

// Reads flags, width, precision and size from f + 1. Answers the conversion character's place, or
// nullptr when the directive is not one.
const WCHAR* ParseSpec(const WCHAR* f, Spec& spec) {
  const WCHAR* p = f + 1;
  auto number = [&p] {
    int n = 0;
    while (IsDigit(*p)) n = std::min(n * 10 + (*p++ - u'0'), kMaxField);
    return n;
  };
  while (*p && std::u16string_view(u"-+ #0").find(*p) != std::u16string_view::npos) spec.flags += static_cast<char>(*p++);
  if (*p == u'*') spec.width = -2, ++p;
  else if (IsDigit(*p)) spec.width = number();
  if (*p == u'.') {
    ++p;
    if (*p == u'*') spec.precision = -2, ++p;
    else spec.precision = number();
  }
  if (p[0] == u'I' && p[1] == u'6' && p[2] == u'4') spec.wide64 = true, p += 3;
  else if (p[0] == u'I' && p[1] == u'3' && p[2] == u'2') p += 3;
  else if (p[0] == u'l' && p[1] == u'l') spec.wide64 = true, p += 2;
  else if (p[0] == u'h' && p[1] == u'h') p += 2;
  else if (*p == u'l' || *p == u'h' || *p == u'w' || *p == u'L') ++p;
  if (p - f > QX_DIRECTIVE_MAX || !*p) return nullptr;
  if (std::u16string_view(u"diuxXoeEfgGzcCsSp").find(*p) == std::u16string_view::npos) return nullptr;
  spec.conversion = *p;
  spec.grouped = *f == u'$';
  return p;
}

// The narrow printf directive for the spec, with `length` and `conversion` in place of its own.
std::string CFormat(const Spec& spec, const char* length, char conversion, int width, int precision) {
  std::string f = "%" + spec.flags;
  if (width >= 0) f += std::to_string(width);
  if (precision >= 0) f += "." + std::to_string(precision);
  return f + length + conversion;
}

template <class T>
std::string CPrint(const std::string& format, T value) {
  const int n = std::snprintf(nullptr, 0, format.c_str(), value);
  if (n <= 0) return {};
  std::string out(static_cast<size_t>(n) + 1, '\0');
  std::snprintf(out.data(), out.size(), format.c_str(), value);
  out.resize(static_cast<size_t>(n));
  return out;
}

int DecimalsIn(const std::string& printed) {
  const size_t point = printed.find('.');
  if (point == std::string::npos) return 0;
  size_t end = point + 1;
  while (end < printed.size() && printed[end] >= '0' && printed[end] <= '9') ++end;
  return static_cast<int>(end - point - 1);
}

void PutText(Sink& s, std::u16string_view text, const Spec& spec, int width, int precision) {
  if (precision >= 0 && text.size() > static_cast<size_t>(precision)) text = text.substr(0, precision);
  const size_t pad = width > 0 && text.size() < static_cast<size_t>(width) ? width - text.size() : 0;
  const bool left = spec.flags.find('-') != std::string::npos;
  if (!left) s.Pad(pad);
  s.Put(text);
  if (left) s.Pad(pad);
}

void Convert(Sink& s, const Spec& spec, Args& args) {
  int width = spec.width, precision = spec.precision;
  std::string flags = spec.flags;
  if (width == -2) {
    width = va_arg(args.ap, int);
    if (width < 0) flags += '-', width = -width;
    width = std::min(width, kMaxField);
  }
  if (precision == -2) precision = std::min(va_arg(args.ap, int), kMaxField);  // negative: none
  Spec sp = spec;
  sp.flags = flags;
  const char conv = static_cast<char>(spec.conversion);
  switch (conv) {
    case 'd':
    case 'i': {
      const long long v = spec.wide64 ? va_arg(args.ap, long long) : va_arg(args.ap, int);
      const std::string t = CPrint(CFormat(sp, "ll", conv, width, precision), v);
      if (spec.grouped) PutGrouped(s, t, -1);
      else s.PutAscii(t);
      return;
    }
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
      const unsigned long long v =
          spec.wide64 ? va_arg(args.ap, unsigned long long) : va_arg(args.ap, unsigned int);
      const std::string t = CPrint(CFormat(sp, "ll", conv, width, precision), v);
      if (spec.grouped && conv == 'u') PutGrouped(s, t, -1);
      else s.PutAscii(t);
      return;
    }
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G': {
      const std::string t = CPrint(CFormat(sp, "", conv, width, precision), va_arg(args.ap, double));
      const bool exponent = t.find_first_of("eE") != std::string::npos;
      if (spec.grouped && (conv == 'f' || ((conv == 'g' || conv == 'G') && !exponent))) PutGrouped(s, t, DecimalsIn(t));
      else s.PutAscii(t);
      return;
    }
    case 'z': {
      // Fixed point: the integer over 10^X, shown with X decimals. Every 32-bit value divides
      // into the double nearest the exact decimal, so the digits shown are exact.
      static constexpr double kPow10[16] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
      const int v = va_arg(args.ap, int);
      if (precision <= 0) {
        const std::string t = CPrint(CFormat(sp, "", 'd', width, -1), v);
        if (spec.grouped) PutGrouped(s, t, -1);
        else s.PutAscii(t);
        return;
      }
      const double scale = precision < 16 ? kPow10[precision] : std::pow(10.0, precision);
      const std::string t = CPrint(CFormat(sp, "", 'f', width, precision), v / scale);
      if (spec.grouped) PutGrouped(s, t, precision);
      else s.PutAscii(t);
      return;
    }
    case 'c': {
      const WCHAR c = static_cast<WCHAR>(va_arg(args.ap, int));
      PutText(s, std::u16string_view(&c, 1), sp, width, -1);
      return;
    }
    case 'C': {
      const WCHAR c = static_cast<unsigned char>(va_arg(args.ap, int));
      PutText(s, std::u16string_view(&c, 1), sp, width, -1);
      return;
    }
    case 's': {
      const WCHAR* t = va_arg(args.ap, const WCHAR*);
      PutText(s, t ? t : u"(null)", sp, width, precision);
      return;
    }
    case 'S': {
      const char* t = va_arg(args.ap, const char*);
      std::u16string u;
      if (!t) u = u"(null)";
      else if (!QxUtf8ToUtf16(t, u)) u.assign(t, t + std::char_traits<char>::length(t));  // as Latin-1
      PutText(s, u, sp, width, precision);
      return;
    }
    case 'p': {
      const auto v = reinterpret_cast<uintptr_t>(va_arg(args.ap, void*));
      const std::string t = CPrint("%016llX", static_cast<unsigned long long>(v));
      PutText(s, std::u16string(t.begin(), t.end()), sp, width, -1);
      return;
    }
  }
}

void Format(Sink& s, const WCHAR* f, Args& args) {
  while (*f) {
    const WCHAR lead = *f;
    if (lead != u'$' && lead != u'%') {
      s.Put(*f++);
      continue;
    }
    if (f[1] == 0) {  // a lone lead at the end is copied
      s.Put(*f++);
      continue;
    }
    if (f[1] == lead) {
      s.Put(lead);
      f += 2;
      continue;
    }
    if (lead == u'$') {
      if (f[1] == u'(') {
        f = Parenthesis(s, f);
        continue;
      }
      int length = 0;
      if (const int item = LocaleItem(f, &length)) {
        s.Put(QxGetInat(item));
        f += length;
        continue;
      }
    }
    Spec spec;
    const WCHAR* conversion = ParseSpec(f, spec);
    if (!conversion) {  // not a directive: copied up to the character that ended it, no argument taken
      const WCHAR* stop = f + 1;
      while (stop < f + QX_DIRECTIVE_MAX && *stop &&
             std::u16string_view(u"-+ #0123456789.*I6432lhwL").find(*stop) != std::u16string_view::npos)
        ++stop;
      s.Put(std::u16string_view(f, static_cast<size_t>(stop - f)));
      f = stop;
      continue;
    }
    Convert(s, spec, args);
    f = conversion + 1;
  }
}

int Print(WCHAR* output, size_t room, int* outLength, const WCHAR* format, va_list ap) {
  Sink s{output, output ? room : 0};
  if (format) {
    Args args;
    va_copy(args.ap, ap);
    Format(s, format, args);
    va_end(args.ap);
  }
  if (output) output[s.written] = 0;
  if (outLength) *outLength = static_cast<int>(std::min<size_t>(s.needed, INT32_MAX));
  return static_cast<int>(s.written);
}

}  // namespace

int QxVPrintF(WCHAR* output, const WCHAR* format, va_list args) {
  return Print(output, SIZE_MAX - 1, nullptr, format, args);
}

int QxPrintF(WCHAR* output, const WCHAR* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int n = QxVPrintF(output, format, ap);
  va_end(ap);
  return n;
}

int QxNVPrintF(WCHAR* output, int size, int* outLength, const WCHAR* format, va_list args) {
  if (size < 1) output = nullptr;
  return Print(output, size < 1 ? 0 : static_cast<size_t>(size - 1), outLength, format, args);
}

int QxCchPrintF(WCHAR* output, int size, int* outLength, const WCHAR* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int n = QxNVPrintF(output, size, outLength, format, ap);
  va_end(ap);
  return n;
}

HRESULT QxPrintF_AddToken(const WCHAR* name, const WCHAR* text) {
  if (!name || !*name || !text) return E_INVALIDARG;
  const std::u16string_view n(name);
  if (n.size() > static_cast<size_t>(QX_DIRECTIVE_MAX)) return E_INVALIDARG;
  TokenList& list = Tokens();
  try {
    std::lock_guard<std::mutex> g(list.lock);
    auto at = list.Find(n);
    if (at != list.tokens.end()) {
      at->text = text;
      return S_OK;
    }
    at = std::lower_bound(list.tokens.begin(), list.tokens.end(), n,
                          [](const Token& t, std::u16string_view k) { return NameLess(t.name, k); });
    list.tokens.insert(at, Token{std::u16string(n), text});
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

HRESULT QxPrintF_DeleteToken(const WCHAR* name) {
  if (!name) return S_FALSE;
  TokenList& list = Tokens();
  std::lock_guard<std::mutex> g(list.lock);
  auto at = list.Find(name);
  if (at == list.tokens.end()) return S_FALSE;
  list.tokens.erase(at);
  return S_OK;
}

WCHAR* QxGetTempStringBuffer(HQXLANG__* handle, DWORD chars) {
  HQXLANG__* h = handle ? handle : QxLang_GetKernelHandle();
  if (!h || !h->tempBuffer || chars > h->tempChars) return nullptr;
  std::lock_guard<std::mutex> g(h->stringCacheLock);
  if (h->tempOffset + chars > h->tempChars) h->tempOffset = 0;
  WCHAR* p = h->tempBuffer + h->tempOffset;
  h->tempOffset += (chars + 2) & ~1u;
  return p;
}
