// Numbers to text and back: integers and doubles as decimal text, the locale's form of a number
// text (grouping, decimal separator), the token readers, and the labelled values of the pages.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/services/qx_lang_catalogue.h"
#include "kernel/services/qx_valuetext.h"

namespace {

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

int Emit(std::u16string_view s, WCHAR* text, int size) {
  if (!text || size < 1) return 0;
  const int n = static_cast<int>(std::min<size_t>(s.size(), static_cast<size_t>(size - 1)));
  std::copy_n(s.begin(), n, text);
  text[n] = 0;
  return n;
}

// Group sizes from the locale, e.g. "3;2;0": 3, then 2 repeated.
std::vector<int> GroupSizes() {
  std::vector<int> sizes;
  int n = 0;
  bool any = false;
  for (const WCHAR* p = QxGetInat(QXINAT_GROUPING);; ++p) {
    if (IsDigit(*p)) {
      n = n * 10 + (*p - u'0');
      any = true;
    } else {
      if (any) sizes.push_back(n);
      if (!*p) break;
      n = 0;
      any = false;
    }
  }
  return sizes;
}

void AppendGrouped(std::u16string& out, const std::string& digits, bool group) {
  std::vector<size_t> cuts;  // indices before which a separator goes, right to left
  if (group) {
    const std::vector<int> sizes = GroupSizes();
    size_t pos = digits.size();
    int last = 0;
    for (size_t k = 0;;) {
      int g = 0;
      if (k < sizes.size() && sizes[k] != 0) last = g = sizes[k++];
      else if (k < sizes.size()) g = last;  // a trailing 0 repeats the size before it
      if (g <= 0 || pos <= static_cast<size_t>(g)) break;
      pos -= static_cast<size_t>(g);
      cuts.push_back(pos);
    }
  }
  const std::u16string_view sep = QxGetInat(QXINAT_THOUSAND);
  for (size_t i = 0; i < digits.size(); ++i) {
    if (std::find(cuts.begin(), cuts.end(), i) != cuts.end()) out += sep;
    out += static_cast<WCHAR>(digits[i]);
  }
}

// A number text ("-", digits, ".", digits; anything after it is kept) in the locale's form:
// `decimals` decimals rounded half up (below 0: as they stand), grouped or not. Text that holds
// no number is kept as it stands.
void AppendLocaleNumber(std::u16string& out, std::u16string_view num, int decimals, bool group) {
  size_t i = 0;
  const bool negative = i < num.size() && num[i] == u'-';
  if (negative) ++i;
  std::string whole, frac;
  while (i < num.size() && IsDigit(num[i])) whole += static_cast<char>(num[i++]);
  if (i < num.size() && num[i] == u'.') {
    ++i;
    while (i < num.size() && IsDigit(num[i])) frac += static_cast<char>(num[i++]);
  }
  if (whole.empty() && frac.empty()) {
    out += num;
    return;
  }
  if (decimals >= 0) {
    if (frac.size() > static_cast<size_t>(decimals)) {
      const bool up = frac[static_cast<size_t>(decimals)] >= '5';
      frac.resize(static_cast<size_t>(decimals));
      if (up) {
        std::string all = whole + frac;
        size_t k = all.size();
        while (k > 0 && all[k - 1] == '9') all[--k] = '0';
        if (k == 0) all.insert(all.begin(), '1');
        else ++all[k - 1];
        whole = all.substr(0, all.size() - frac.size());
        frac = all.substr(all.size() - frac.size());
      }
    } else {
      frac.append(static_cast<size_t>(decimals) - frac.size(), '0');
    }
  }
  whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
  if (whole.empty() && QxGetInatN(QXINAT_LEADING_ZERO) != 0) whole.assign(1, '0');
  const bool zero = (whole + frac).find_first_not_of('0') == std::string::npos;
  if (negative && !zero) out += u'-';  // the locale's own sign is always shown as "-"
  AppendGrouped(out, whole, group);
  if (!frac.empty()) {
    out += QxGetInat(QXINAT_DECIMAL);
    out.append(frac.begin(), frac.end());
  }
  out += num.substr(i);
}

// Leading text is kept up to the first digit, "-" or "."; a "0" begins the number only before ".".
int FormatNumberText(const WCHAR* digits, WCHAR* text, int size, int decimals, bool group) {
  if (!digits) return Emit(u"", text, size);
  const std::u16string_view in(digits);
  size_t p = 0;
  for (; p < in.size(); ++p) {
    const WCHAR c = in[p];
    if ((c >= u'1' && c <= u'9') || c == u'-' || c == u'.') break;
    if (c == u'0' && p + 1 < in.size() && in[p + 1] == u'.') break;
  }
  std::u16string out(in.substr(0, p));
  if (p < in.size()) AppendLocaleNumber(out, in.substr(p), decimals, group);
  return Emit(out, text, size);
}

int IntegerText(ULONGLONG magnitude, bool negative, WCHAR* text, int size, BOOL group) {
  if (magnitude == 0) return Emit(u"0", text, size);
  char digits[24];
  const auto r = std::to_chars(digits, digits + sizeof digits, magnitude);
  std::u16string s = negative ? u"-" : u"";
  s.append(digits, r.ptr);
  return group ? QxFormatNumber(s.c_str(), text, size) : Emit(s, text, size);
}

ULONGLONG Magnitude(LONGLONG v) { return v < 0 ? 0 - static_cast<ULONGLONG>(v) : static_cast<ULONGLONG>(v); }

// The shared cleaner of the token readers, into a 64-character buffer.
struct CleanToken {
  char text[QX_NUMBER_TEXT_CHARS];
  size_t length = 0;
  const WCHAR* stop = nullptr;

  explicit CleanToken(const WCHAR* p) {
    if (p) {
      while (*p == u' ' || *p == u'\t') ++p;
      if (*p == u'-') Keep(*p++);
      for (; *p; ++p) {
        if (*p == u',') continue;
        if (!IsDigit(*p) && *p != u'.') break;
        Keep(*p);
      }
    }
    text[length] = 0;
    stop = p;
  }
  void Keep(WCHAR c) {
    if (length + 1 < sizeof text) text[length++] = static_cast<char>(c);
  }
};

template <class T>
BOOL ReadInteger(const WCHAR* text, T* value, const WCHAR** end) {
  const CleanToken t(text);
  if (end) *end = t.stop;
  LONGLONG v = 0;
  const auto r = std::from_chars(t.text, t.text + t.length, v);
  if (r.ec == std::errc::invalid_argument) {
    if (value) *value = 0;
    return FALSE;
  }
  if (r.ec == std::errc::result_out_of_range) v = t.text[0] == '-' ? INT64_MIN : INT64_MAX;
  v = std::clamp<LONGLONG>(v, static_cast<LONGLONG>(std::numeric_limits<T>::min()),
                           static_cast<LONGLONG>(std::numeric_limits<T>::max()));
  if (value) *value = static_cast<T>(v);
  return TRUE;
}

template <class T>
T ReadIntegerOrZero(const WCHAR* text, const WCHAR** end) {
  T v = 0;
  ReadInteger(text, &v, end);
  return v;
}

const WCHAR* CatalogueText(QxLangCatalogueIndex i) {
  return QxGetString(QxLang_GetKernelHandle(), &g_QxLangCatalogue[i]);
}

constexpr int kLabeledChars = 24;

// Appends the label to a temporary result in the room left.
const WCHAR* WithLabel(WCHAR* buffer, int length, const WCHAR* label) {
  if (const WCHAR* l = QxGetStringSmart(QxLang_GetKernelHandle(), label))
    Emit(l, buffer + length, kLabeledChars - length);
  return buffer;
}

}  // namespace

// --- numbers to text ------------------------------------------------------------------------------

int QxLongToText(LONG value, WCHAR* text, BOOL group) { return QxLongToTextN(value, text, QX_NUMBER_TEXT_CHARS, group); }
int QxLongToTextN(LONG value, WCHAR* text, int size, BOOL group) {
  return IntegerText(Magnitude(value), value < 0, text, size, group);
}
int QxLongLongToText(LONGLONG value, WCHAR* text, BOOL group) {
  return QxLongLongToTextN(value, text, QX_NUMBER_TEXT_CHARS, group);
}
int QxLongLongToTextN(LONGLONG value, WCHAR* text, int size, BOOL group) {
  return IntegerText(Magnitude(value), value < 0, text, size, group);
}
int QxDWordToTextN(DWORD value, WCHAR* text, int size, BOOL group) {
  return IntegerText(value, false, text, size, group);
}
int QxDWordLongToText(ULONGLONG value, WCHAR* text, BOOL group) {
  return QxDWordLongToTextN(value, text, QX_NUMBER_TEXT_CHARS, group);
}
int QxDWordLongToTextN(ULONGLONG value, WCHAR* text, int size, BOOL group) {
  return IntegerText(value, false, text, size, group);
}

int QxDoubleToText(WCHAR* text, double value, int decimals, BOOL group) {
  return QxDoubleToTextN(text, QX_NUMBER_TEXT_CHARS, value, decimals, group);
}

int QxDoubleToTextN(WCHAR* text, int size, double value, int decimals, BOOL group) {
  // The rounding term is the single-precision power, widened: 0.5 x 0.01f is not 0.005.
  static constexpr float kScale[10] = {1.0f, 0.1f, 0.01f, 0.001f, 1e-4f, 1e-5f, 1e-6f, 1e-7f, 1e-8f, 1e-9f};
  static constexpr ULONGLONG kPow10[10] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000,
                                           1000000000};
  const int d = std::clamp(decimals, 0, 9);
  const double a = std::fabs(value) + 0.5 * static_cast<double>(kScale[d]);
  ULONGLONG whole = 0, frac = 0;
  if (a >= 18446744073709551616.0) {
    whole = UINT64_MAX;
  } else if (a >= 0) {  // not NaN
    whole = static_cast<ULONGLONG>(a);
    frac = std::min(static_cast<ULONGLONG>((a - static_cast<double>(whole)) * static_cast<double>(kPow10[d])),
                    kPow10[d] - 1);
  }
  std::string t = value < 0 && (whole || frac) ? "-" : "";
  t += std::to_string(whole);
  if (d > 0) {
    std::string f = std::to_string(kPow10[d] + frac);
    f[0] = '.';  // over the leading 1, which keeps the fraction's leading zeros
    t += f;
  }
  const std::u16string s(t.begin(), t.end());
  return group ? QxFormatGroupDecimalNumber(s.c_str(), text, size, d) : Emit(s, text, size);
}

int QxFormatNumber(const WCHAR* digits, WCHAR* text, int size) { return FormatNumberText(digits, text, size, 0, true); }
int QxFormatDecimalNumber(const WCHAR* digits, WCHAR* text, int size) {
  return FormatNumberText(digits, text, size, -1, false);
}
int QxFormatGroupDecimalNumber(const WCHAR* digits, WCHAR* text, int size, int decimals) {
  return FormatNumberText(digits, text, size, decimals, true);
}

// --- text to numbers ------------------------------------------------------------------------------

BOOL QxTextToDWordTokenEx(const WCHAR* text, DWORD* value, const WCHAR** end) { return ReadInteger(text, value, end); }
BOOL QxTextToLongTokenEx(const WCHAR* text, LONG* value, const WCHAR** end) { return ReadInteger(text, value, end); }
BOOL QxTextToLongLongTokenEx(const WCHAR* text, LONGLONG* value, const WCHAR** end) {
  return ReadInteger(text, value, end);
}
BOOL QxTextToDoubleTokenEx(const WCHAR* text, double* value, const WCHAR** end) {
  const CleanToken t(text);
  if (end) *end = t.stop;
  double v = 0;
  const auto r = std::from_chars(t.text, t.text + t.length, v);
  if (value) *value = r.ec == std::errc() ? v : 0;
  return r.ec == std::errc();
}

DWORD QxTextToDWordToken(const WCHAR* text, const WCHAR** end) { return ReadIntegerOrZero<DWORD>(text, end); }
LONG QxTextToLongToken(const WCHAR* text, const WCHAR** end) { return ReadIntegerOrZero<LONG>(text, end); }
LONGLONG QxTextToLongLongToken(const WCHAR* text, const WCHAR** end) { return ReadIntegerOrZero<LONGLONG>(text, end); }
double QxTextToDoubleToken(const WCHAR* text, const WCHAR** end) {
  double v = 0;
  QxTextToDoubleTokenEx(text, &v, end);
  return v;
}

// --- labelled values ------------------------------------------------------------------------------

const WCHAR* QxGetLabeledStringFixed(LONG value, int decimals, LONG infValue, const WCHAR* label) {
  if (infValue != 0 && value <= infValue) return CatalogueText(QXLS_NEG_INF);
  WCHAR* buffer = QxGetTempStringBuffer(nullptr, kLabeledChars);
  if (!buffer) return CatalogueText(QXLS_ERROR);
  WCHAR format[8] = u"$d";
  if (decimals >= 1) {
    const WCHAR fixed[] = {u'$', u'.', static_cast<WCHAR>(u'0' + std::min(decimals, 9)), u'z', 0};
    std::copy_n(fixed, 5, format);
  }
  return WithLabel(buffer, QxCchPrintF(buffer, kLabeledChars, nullptr, format, value), label);
}

const WCHAR* QxGetLabeledStringFloat(double value, int decimals, double infValue, const WCHAR* label) {
  if (infValue != 0 && value <= infValue) return CatalogueText(QXLS_NEG_INF);
  WCHAR* buffer = QxGetTempStringBuffer(nullptr, kLabeledChars);
  if (!buffer) return CatalogueText(QXLS_ERROR);
  return WithLabel(buffer, QxDoubleToTextN(buffer, kLabeledChars, value, decimals, TRUE), label);
}

const WCHAR* QxGetdBStringFixed(LONG value, int decimals, LONG infValue, BOOL withUnit) {
  return QxGetLabeledStringFixed(value, decimals, infValue, withUnit ? QxLangCatalogueKey(QXLS_DB_UNIT) : nullptr);
}

const WCHAR* QxGetdBStringFloat(double value, int decimals, double infValue, BOOL withUnit) {
  return QxGetLabeledStringFloat(value, decimals, infValue, withUnit ? QxLangCatalogueKey(QXLS_DB_UNIT) : nullptr);
}
