// Value text: numbers to the program's text and back. One formatter (QxPrintF) with `$` directives
// for locale grouping, fixed-point integers and named tokens, the number-to-text family, the locale
// items it uses, and the `...Token` readers that turn a user's typing back into numbers.
#pragma once
#include <cstdarg>

#include "kernel/services/qx_lang.h"
#include "platform/com/hresult.h"
#include "platform/com/types.h"

// Room the unsized number-to-text forms may fill, terminator included: a grouped 64-bit value with
// nine decimals and multi-unit separators fits.
inline constexpr int QX_NUMBER_TEXT_CHARS = 64;
// A directive or a token name longer than this is not one: it is copied as written.
inline constexpr int QX_DIRECTIVE_MAX = 260;

// --- locale items ------------------------------------------------------------------------------
// Read once from the user's locale (LC_ALL, LC_NUMERIC, LANG); where it gives nothing, the English
// default stands. The numbers are what the format directives name.
enum QxInatItem : int {
  QXINAT_DECIMAL = 24,     // "$*"   decimal separator         "."
  QXINAT_LIST = 40,        // "$,"   list separator            ","
  QXINAT_TIME = 60,        // "$:"   time separator            ":"
  QXINAT_DATE = 100,       // "$!:"  date separator            "/"
  QXINAT_THOUSAND = 101,   // "$!."  digit-group separator     ","
  QXINAT_NEGATIVE = 102,   // "$!,"  negative sign             "-"
  QXINAT_GROUPING = 103,   //        group sizes, last 0 = repeat "3;0"
  QXINAT_LEADING_ZERO = 104,  //     "1": 0.5, "0": .5
  QXINAT_AM = 120,         // "$&:"  morning designator        "AM"
  QXINAT_PM = 121,         // "$&."  afternoon designator      "PM"
};
// The item's text; "" for a number that names no item. Valid for the life of the process.
const WCHAR* QxGetInat(int item);
// The item's text read as a whole number (0 when it is none): 3 for the English grouping.
int QxGetInatN(int item);

// --- formatter -----------------------------------------------------------------------------------
// Copies `format` to `output`, replacing directives:
//   $$ %%            a "$", a "%"
//   $(name)          the registered token's text; an unknown or unclosed name stays as written
//   $(1234.5)        those digits grouped by locale ("-", digits, commas, dots; commas are dropped)
//   $* $, $: $!: $!. $!, $&: $&.   the locale items above
//   %d %i %u %x %X %o   a 32-bit int (64-bit with I64 or ll); flags, width, precision as printf
//   %e %E %f %g %G   a double
//   %.Xz             a 32-bit int divided by 10^X, shown with X decimals (no X, or 0: an integer)
//   %c %s            a WCHAR, a WCHAR text; %C %S a char, a UTF-8 text; %p a pointer
// `$` in place of `%` groups d, i, u, f, z and g (unless g gave an exponent) by locale. A directive
// that is not one of these is copied as written and takes no argument. A "$" or "%" that ends the
// format is copied. Answers the length written.
int QxVPrintF(WCHAR* output, const WCHAR* format, va_list args);
int QxPrintF(WCHAR* output, const WCHAR* format, ...);
// The same, writing at most size - 1 units and a terminator (nothing when size < 1). Answers the
// length written; *outLength, if given, receives the length the whole text needs.
int QxNVPrintF(WCHAR* output, int size, int* outLength, const WCHAR* format, va_list args);
int QxCchPrintF(WCHAR* output, int size, int* outLength, const WCHAR* format, ...);

// Named tokens for "$(name)", shared by the process. Names compare without regard to case. Adding
// a name that is there replaces its text. E_INVALIDARG for a null or empty name, a null text, or a
// name longer than QX_DIRECTIVE_MAX; E_OUTOFMEMORY.
HRESULT QxPrintF_AddToken(const WCHAR* name, const WCHAR* text);
// S_OK, or S_FALSE when no such token is registered.
HRESULT QxPrintF_DeleteToken(const WCHAR* name);

// Temporary text from the handle's ring (the kernel's handle when null): `chars` units, valid only
// until the ring comes round again, so use it at once. Null when there is no handle or the ring
// is smaller than the request.
WCHAR* QxGetTempStringBuffer(HQXLANG__* handle, DWORD chars);

// --- numbers to text ------------------------------------------------------------------------------
// Decimal digits, "-" first for a negative value; with `group`, grouped by locale. 0 is "0". The
// unsized forms write at most QX_NUMBER_TEXT_CHARS units; the N forms at most size (a terminator
// included). Each answers the length written.
int QxLongToText(LONG value, WCHAR* text, BOOL group);
int QxLongToTextN(LONG value, WCHAR* text, int size, BOOL group);
int QxLongLongToText(LONGLONG value, WCHAR* text, BOOL group);
int QxLongLongToTextN(LONGLONG value, WCHAR* text, int size, BOOL group);
int QxDWordToTextN(DWORD value, WCHAR* text, int size, BOOL group);
int QxDWordLongToText(ULONGLONG value, WCHAR* text, BOOL group);
int QxDWordLongToTextN(ULONGLONG value, WCHAR* text, int size, BOOL group);
// `decimals` (0 to 9; more are cut to 9) after the point, rounded half up by a single-precision
// term; no "-" when every shown digit is 0. Magnitudes at or above 2^64 saturate.
int QxDoubleToText(WCHAR* text, double value, int decimals, BOOL group);
int QxDoubleToTextN(WCHAR* text, int size, double value, int decimals, BOOL group);

// Locale forms of a plain number text such as "-1234.5" (any text before the number, up to the
// first digit, "-" or ".", is kept; a "0" starts the number only when "." follows it). Each writes
// at most `size` units with the terminator and answers the length written.
// Grouped, no decimals (rounded half up).
int QxFormatNumber(const WCHAR* digits, WCHAR* text, int size);
// Decimals as they stand, with the locale's decimal separator, not grouped.
int QxFormatDecimalNumber(const WCHAR* digits, WCHAR* text, int size);
// Grouped, with `decimals` decimals (rounded half up, or padded with zeros).
int QxFormatGroupDecimalNumber(const WCHAR* digits, WCHAR* text, int size, int decimals);

// --- text to numbers ------------------------------------------------------------------------------
// Reads one number from the user's text: leading spaces are skipped, a leading "-" kept, commas
// dropped, digits and "." kept; reading stops at any other character, where *end (if given) is
// left. A text that holds no number reads 0. Values beyond the type saturate (a DWORD reads a
// negative text as 0).
DWORD QxTextToDWordToken(const WCHAR* text, const WCHAR** end);
LONG QxTextToLongToken(const WCHAR* text, const WCHAR** end);
LONGLONG QxTextToLongLongToken(const WCHAR* text, const WCHAR** end);
double QxTextToDoubleToken(const WCHAR* text, const WCHAR** end);
// The same, answering FALSE (and *value 0) when the text holds no number.
BOOL QxTextToDWordTokenEx(const WCHAR* text, DWORD* value, const WCHAR** end);
BOOL QxTextToLongTokenEx(const WCHAR* text, LONG* value, const WCHAR** end);
BOOL QxTextToLongLongTokenEx(const WCHAR* text, LONGLONG* value, const WCHAR** end);
BOOL QxTextToDoubleTokenEx(const WCHAR* text, double* value, const WCHAR** end);

// --- labelled values ------------------------------------------------------------------------------
// A scaled integer as text with `decimals` decimals (0 to 9; "$.Xz"), grouped, followed by `label`
// (a literal or a text key). "-Inf." when `infValue` is not 0 and value is at or below it; "Err."
// when no temporary text is to be had. The result is temporary text of the kernel's handle.
const WCHAR* QxGetLabeledStringFixed(LONG value, int decimals, LONG infValue, const WCHAR* label);
const WCHAR* QxGetLabeledStringFloat(double value, int decimals, double infValue, const WCHAR* label);
// The same with the label " dB" when `withUnit` is not 0. Levels in tenths: (-350, 1, -800, 1)
// gives "-35.0 dB".
const WCHAR* QxGetdBStringFixed(LONG value, int decimals, LONG infValue, BOOL withUnit);
const WCHAR* QxGetdBStringFloat(double value, int decimals, double infValue, BOOL withUnit);

// Reloads the locale items from the named locale ("" the user's, "C" the English defaults); the
// cache is otherwise read once, at first use. For start-up and tests, not for use while other
// threads format text.
void QxInat_Load(const char* localeName);
