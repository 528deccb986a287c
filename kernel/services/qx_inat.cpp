// The locale items the value text uses, read once from the user's locale; the English defaults
// stand where the system gives nothing.
#include <langinfo.h>
#include <locale.h>

#include <climits>
#include <cstring>
#include <string>

#include "kernel/services/qx_valuetext.h"
#include "platform/registry/utf.h"

namespace {

struct InatRow {
  int item;
  const WCHAR* english;
};
constexpr InatRow kRows[] = {
    {QXINAT_DECIMAL, u"."},  {QXINAT_LIST, u","},        {QXINAT_TIME, u":"},         {QXINAT_DATE, u"/"},
    {QXINAT_THOUSAND, u","}, {QXINAT_NEGATIVE, u"-"},    {QXINAT_GROUPING, u"3;0"},  {QXINAT_LEADING_ZERO, u"1"},
    {QXINAT_AM, u"AM"},      {QXINAT_PM, u"PM"},
};
constexpr int kItems = sizeof kRows / sizeof kRows[0];

struct InatCache {
  std::u16string text[kItems];
};

int IndexOf(int item) {
  for (int i = 0; i < kItems; ++i)
    if (kRows[i].item == item) return i;
  return -1;
}

// The first separator in a time or date pattern such as "%H:%M:%S" or "%d.%m.%Y".
std::string SeparatorOf(const char* pattern) {
  for (const char* p = pattern; p && *p; ++p) {
    if (*p == '%') {
      if (!*++p) break;
      if (*p == 'E' || *p == 'O') ++p;  // modifiers
      if (!*p) break;
      continue;
    }
    const char* start = p;
    while (*p && *p != '%') ++p;
    return std::string(start, p);
  }
  return {};
}

// glibc's "\3\3" (repeat the last size until CHAR_MAX stops it) as "3;0" (0: repeat the last).
std::string GroupingOf(const char* g) {
  std::string out;
  const char* p = g;
  for (; *p && *p != CHAR_MAX; ++p) {
    if (!out.empty()) out += ';';
    out += std::to_string(static_cast<int>(*p));
  }
  if (!out.empty() && *p != CHAR_MAX) out += ";0";
  return out;
}

void Fill(InatCache& c, const char* name) {
  for (int i = 0; i < kItems; ++i) c.text[i] = kRows[i].english;
  auto take = [&](int item, const std::string& s, bool keepEmpty) {
    // Locale text is UTF-8 in every locale worth reading; text that is not leaves the default.
    std::u16string t;
    if ((s.empty() && !keepEmpty) || !QxUtf8ToUtf16(s, t)) return;
    c.text[IndexOf(item)] = t;
  };
  if (locale_t num = newlocale(LC_NUMERIC_MASK, name, static_cast<locale_t>(0))) {
    take(QXINAT_DECIMAL, nl_langinfo_l(RADIXCHAR, num), false);
    take(QXINAT_THOUSAND, nl_langinfo_l(THOUSEP, num), false);
    take(QXINAT_GROUPING, GroupingOf(nl_langinfo_l(GROUPING, num)), false);
    freelocale(num);
  }
  if (locale_t mon = newlocale(LC_MONETARY_MASK, name, static_cast<locale_t>(0))) {
    take(QXINAT_NEGATIVE, nl_langinfo_l(NEGATIVE_SIGN, mon), false);
    freelocale(mon);
  }
  if (locale_t time = newlocale(LC_TIME_MASK, name, static_cast<locale_t>(0))) {
    take(QXINAT_TIME, SeparatorOf(nl_langinfo_l(T_FMT, time)), false);
    take(QXINAT_DATE, SeparatorOf(nl_langinfo_l(D_FMT, time)), false);
    take(QXINAT_AM, nl_langinfo_l(AM_STR, time), true);
    take(QXINAT_PM, nl_langinfo_l(PM_STR, time), true);
    freelocale(time);
  }
  // The system names no list separator; a comma cannot be one where it is the decimal point.
  if (c.text[IndexOf(QXINAT_DECIMAL)] == u",") c.text[IndexOf(QXINAT_LIST)] = u";";
}

// Built at first use and kept for the life of the process: text is handed out by pointer.
InatCache& Cache() {
  static InatCache* cache = [] {
    auto* c = new InatCache;
    Fill(*c, "");
    return c;
  }();
  return *cache;
}

}  // namespace

const WCHAR* QxGetInat(int item) {
  const int i = IndexOf(item);
  return i < 0 ? u"" : Cache().text[i].c_str();
}

int QxGetInatN(int item) {
  int n = 0;
  for (const WCHAR* p = QxGetInat(item); *p >= u'0' && *p <= u'9' && n < 100000; ++p) n = n * 10 + (*p - u'0');
  return n;
}

void QxInat_Load(const char* localeName) { Fill(Cache(), localeName ? localeName : ""); }
