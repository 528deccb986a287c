// Tests of value text: the formatter's directives, tokens, number text in the locale's form,
// the token readers, labelled values and the temporary ring. English locale items throughout.
#include <gtest/gtest.h>
#include <locale.h>

#include <climits>
#include <cmath>
#include <string>

#include "kernel/services/qx_resources.h"
#include "kernel/services/qx_valuetext.h"

namespace {

std::u16string S(const WCHAR* p) { return p ? std::u16string(p) : u"(null)"; }
std::string U8(const std::u16string& s) { return std::string(s.begin(), s.end()); }  // for messages

template <class... A>
std::u16string P(const WCHAR* format, A... args) {
  WCHAR out[512];
  QxCchPrintF(out, 512, nullptr, format, args...);
  return out;
}

struct Row {
  std::u16string got, want;
};
void Check(const std::initializer_list<Row>& rows) {
  int i = 0;
  for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << "row " << i++ << ": " << U8(r.got);
}

class ValueText : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { QxInat_Load("C"); }
  static void TearDownTestSuite() { QxInat_Load(""); }
};

// The kernel handle, which labelled values take their temporary text from.
struct Kernel {
  HMODULE module = QxResources_CreateModule("/nonexistent/valuetext.so");
  Kernel() { EXPECT_EQ(QxLang_OpenKernelHandle(module, 0x409, 0), S_OK); }
  ~Kernel() {
    QxLang_CloseKernelHandle();
    QxResources_FreeModule(module);
  }
};

}  // namespace

TEST_F(ValueText, Directives) {
  Check({
      {P(u"$.2z", 1234), u"12.34"},
      {P(u"$.2z", 123456), u"1,234.56"},
      {P(u"%.2z", 123456), u"1234.56"},
      {P(u"$.0z", 7), u"7"},
      {P(u"$z", 1234567), u"1,234,567"},
      {P(u"%.1z|%.1z|%.3z", -350, -5, 0), u"-35.0|-0.5|0.000"},
      {P(u"%.16z", 3), u"0.0000000000000003"},
      {P(u"$d|%d|$i", 1234567, 1234567, -1234), u"1,234,567|1234567|-1,234"},
      {P(u"$u|%x|%X|%o", 4000000000u, -1, 255, 8), u"4,000,000,000|ffffffff|FF|10"},
      {P(u"%I64d|$I64d|%lld", 1LL << 40, -(1LL << 40), 5LL), u"1099511627776|-1,099,511,627,776|5"},
      {P(u"[%5d][%-5d][%05d][%*d]", 42, 42, 42, 4, 7), u"[   42][42   ][00042][   7]"},
      {P(u"$.1f|%.1f|$g|$g|$e", 1234.56, 1234.56, 12345.5, 1234567.0, 1234.5),
       u"1,234.6|1234.6|12,345.5|1.23457e+06|1.234500e+03"},
      {P(u"%s|%.2s|%-4s|%S|%c|%C", u"abc", u"abc", u"ab", "h\xc3\xa9", u'x', 'y'), u"abc|ab|ab  |hé|x|y"},
      {P(u"$d Hz$, %d Bit$, %s", 44100, 16, u"Stereo"), u"44,100 Hz, 16 Bit, Stereo"},
      {P(u"$*$,$:$!:$!.$!,$&:$&."), u".,:/,-AMPM"},
      // Texts that are not directives stay as written and take no argument.
      {P(u"$$ %% 50$"), u"$ % 50$"},
      {P(u"100%"), u"100%"},
      {P(u"%q %5q $Hz %d", 9), u"%q %5q $Hz 9"},
      {P(u"%n%d", 3), u"%n3"},
      {P(u"$(1234567.5) $(-1,234) $(12 $(.5)"), u"1,234,567.5 -1,234 $(12 0.5"},
      {P(u"$(nope) $() $(unclosed %d", 1), u"$(nope) $() $(unclosed 1"},
  });
}

TEST_F(ValueText, SizeLimitAndLength) {
  WCHAR out[8] = u"xxxxxxx";
  int need = 0;
  EXPECT_EQ(QxCchPrintF(out, 5, &need, u"$d", 123456), 4);
  EXPECT_EQ(S(out), u"123,");
  EXPECT_EQ(need, 7);
  EXPECT_EQ(QxCchPrintF(out, 0, &need, u"abc"), 0);
  EXPECT_EQ(out[0], u'1');  // nothing written with no room
  EXPECT_EQ(QxPrintF(out, u"%d%%", 42), 3);
  EXPECT_EQ(S(out), u"42%");
}

TEST_F(ValueText, Tokens) {
  EXPECT_EQ(QxPrintF_AddToken(u"Rate", u"44,100"), S_OK);
  EXPECT_EQ(QxPrintF_AddToken(u"app", u"qxfx"), S_OK);
  EXPECT_EQ(P(u"$(RATE) Hz by $(App)"), u"44,100 Hz by qxfx");
  EXPECT_EQ(QxPrintF_AddToken(u"rate", u"48,000"), S_OK);  // same name: replaced
  EXPECT_EQ(P(u"$(Rate)"), u"48,000");
  EXPECT_EQ(QxPrintF_DeleteToken(u"RATE"), S_OK);
  EXPECT_EQ(QxPrintF_DeleteToken(u"rate"), S_FALSE);
  EXPECT_EQ(P(u"$(Rate) $(app)"), u"$(Rate) qxfx");
  EXPECT_EQ(QxPrintF_DeleteToken(u"app"), S_OK);
  EXPECT_EQ(QxPrintF_AddToken(u"", u"x"), E_INVALIDARG);
  EXPECT_EQ(QxPrintF_AddToken(u"x", nullptr), E_INVALIDARG);
}

TEST_F(ValueText, NumbersToText) {
  WCHAR t[QX_NUMBER_TEXT_CHARS];
  auto L = [&](LONGLONG v, BOOL g) { return QxLongLongToText(v, t, g), std::u16string(t); };
  auto D = [&](double v, int d, BOOL g) { return QxDoubleToText(t, v, d, g), std::u16string(t); };
  auto F = [&](int (*f)(const WCHAR*, WCHAR*, int), const WCHAR* in) { return f(in, t, 64), std::u16string(t); };
  auto G = [&](const WCHAR* in, int d) { return QxFormatGroupDecimalNumber(in, t, 64, d), std::u16string(t); };
  Check({
      {(QxLongToText(0, t, TRUE), S(t)), u"0"},
      {(QxLongToText(INT32_MIN, t, TRUE), S(t)), u"-2,147,483,648"},
      {(QxDWordToTextN(4294967295u, t, 5, FALSE), S(t)), u"4294"},
      {(QxDWordLongToText(UINT64_MAX, t, FALSE), S(t)), u"18446744073709551615"},
      {L(INT64_MIN, TRUE), u"-9,223,372,036,854,775,808"},
      {L(-999, TRUE), u"-999"},
      {D(-0.0001, 2, FALSE), u"0.00"},
      {D(-0.006, 2, FALSE), u"-0.01"},
      {D(0.125, 2, FALSE), u"0.12"},  // the single-precision rounding term falls short of .125
      {D(2.5, 0, FALSE), u"3"},
      {D(1.05, 12, FALSE), u"1.050000000"},
      {D(1234567.891, 2, TRUE), u"1,234,567.89"},
      {D(1e30, 0, FALSE), u"18446744073709551615"},
      {D(NAN, 1, FALSE), u"0.0"},
      {F(QxFormatNumber, u"  -1234.5 dB"), u"  -1,235 dB"},
      {F(QxFormatNumber, u"Gain 0.49"), u"Gain 0"},
      {F(QxFormatNumber, u"00123"), u"00123"},  // a "0" is text unless "." follows
      {F(QxFormatNumber, u"1234567"), u"1,234,567"},
      {F(QxFormatDecimalNumber, u"-1234.50"), u"-1234.50"},
      {F(QxFormatNumber, u"n/a"), u"n/a"},
      {G(u"1234.5", 2), u"1,234.50"},
      {G(u"999.996", 2), u"1,000.00"},
      {G(u"-0.001", 2), u"0.00"},
      {G(u".5", 1), u"0.5"},
  });
}

TEST_F(ValueText, TokenReaders) {
  struct R {
    const WCHAR* text;
    LONG l;
    double d;
    int stop;
    BOOL read;
  };
  const R rows[] = {
      {u"  -1,234.5xyz", -1234, -1234.5, 10, TRUE},
      {u"12 34", 12, 12, 2, TRUE},
      {u"1,2,3", 123, 123, 5, TRUE},
      {u"abc", 0, 0, 0, FALSE},
      {u"  ", 0, 0, 2, FALSE},
      {u"--5", 0, 0, 1, FALSE},
      {u"-", 0, 0, 1, FALSE},
      {u"99999999999", INT32_MAX, 99999999999.0, 11, TRUE},
      {u"-99999999999", INT32_MIN, -99999999999.0, 12, TRUE},
  };
  for (const R& r : rows) {
    const WCHAR* end = nullptr;
    LONG l = -1;
    EXPECT_EQ(QxTextToLongTokenEx(r.text, &l, &end), r.read) << U8(r.text);
    EXPECT_EQ(l, r.l) << U8(r.text);
    EXPECT_EQ(end - r.text, r.stop) << U8(r.text);
    EXPECT_EQ(QxTextToLongToken(r.text, nullptr), r.l) << U8(r.text);
    EXPECT_DOUBLE_EQ(QxTextToDoubleToken(r.text, nullptr), r.d) << U8(r.text);
  }
  EXPECT_EQ(QxTextToDWordToken(u"-5", nullptr), 0u);
  EXPECT_EQ(QxTextToDWordToken(u"4,294,967,296", nullptr), 4294967295u);
  EXPECT_EQ(QxTextToLongLongToken(u"-9,223,372,036,854,775,809", nullptr), INT64_MIN);
  EXPECT_DOUBLE_EQ(QxTextToDoubleToken(u" .25 s", nullptr), 0.25);
  EXPECT_EQ(QxTextToLongToken(nullptr, nullptr), 0);
}

TEST_F(ValueText, LabelledValues) {
  EXPECT_EQ(S(QxGetdBStringFixed(-350, 1, -800, TRUE)), u"Err.");  // no kernel, no temporary text
  Kernel k;
  Check({
      {S(QxGetLabeledStringFixed(25, 1, 0, nullptr)), u"2.5"},
      {S(QxGetLabeledStringFixed(0, 1, 0, nullptr)), u"0.0"},
      {S(QxGetdBStringFixed(-350, 1, -800, TRUE)), u"-35.0 dB"},
      {S(QxGetdBStringFixed(-350, 1, -800, FALSE)), u"-35.0"},
      {S(QxGetdBStringFixed(-800, 1, -800, TRUE)), u"-Inf."},
      {S(QxGetdBStringFixed(-801, 1, -800, TRUE)), u"-Inf."},
      {S(QxGetLabeledStringFixed(123456, 2, 0, u" ms")), u"1,234.56 ms"},
      {S(QxGetLabeledStringFixed(1234, 0, 0, u" Hz")), u"1,234 Hz"},
      {S(QxGetLabeledStringFixed(5, 12, 0, nullptr)), u"0.000000005"},
      {S(QxGetLabeledStringFixed(-2000000000, 1, 0, u" label that does not fit")), u"-200,000,000.0 label th"},
      {S(QxGetdBStringFloat(-3.25, 1, -80.0, TRUE)), u"-3.3 dB"},
      {S(QxGetdBStringFloat(-96.0, 1, -80.0, TRUE)), u"-Inf."},
  });
}

TEST_F(ValueText, TemporaryRing) {
  Kernel k;
  HQXLANG__* h = QxLang_GetKernelHandle();
  WCHAR* a = QxGetTempStringBuffer(nullptr, 3);
  EXPECT_EQ(QxGetTempStringBuffer(h, 10), a + 4);  // 3 + 2 rounded down to even
  EXPECT_EQ(QxGetTempStringBuffer(h, h->tempChars - 16), a + 16);  // fits exactly
  EXPECT_EQ(QxGetTempStringBuffer(h, 16), a);  // no room left: the ring starts again
  EXPECT_EQ(QxGetTempStringBuffer(h, h->tempChars + 1), nullptr);
}

TEST(ValueTextLocale, ItemsFromTheSystem) {
  QxInat_Load("xx_XX.UTF-8");  // no such locale: the English defaults
  EXPECT_EQ(S(QxGetInat(QXINAT_THOUSAND)) + S(QxGetInat(QXINAT_DECIMAL)), u",.");
  EXPECT_EQ(QxGetInatN(QXINAT_GROUPING), 3);
  EXPECT_EQ(S(QxGetInat(7)), u"");
  const locale_t de = newlocale(LC_NUMERIC_MASK, "de_DE.UTF-8", static_cast<locale_t>(0));
  if (de) {
    freelocale(de);
    QxInat_Load("de_DE.UTF-8");
    EXPECT_EQ(P(u"$.2z$,", 123456), u"1.234,56;");
  }
  QxInat_Load("");
}
