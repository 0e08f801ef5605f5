// Conversions between numbers and text as the classic automation runtime
// performs them: the default text of a Single or a Double, the boolean texts,
// IsNumeric and CDbl on strings, the locale-independent Val, the rounding
// integer conversions CInt/CLng/CByte, and Format with a number picture.
//
// Every routine that depends on regional settings takes the Locale
// explicitly; none reads global state (not even the C library's locale), so
// all of them can be tested side by side in a comma and a point locale.
//
// Threading: stateless functions of their arguments; safe from any thread.
#ifndef MANDOR_UTIL_INTERNAL_NUMBER_H_
#define MANDOR_UTIL_INTERNAL_NUMBER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mandor/util/locale.h"

namespace mandor {

// Default text of a 32-bit float (CStr of a Single): the value rounded to 7
// significant digits, without trailing zeros nor a trailing separator, with
// the locale's decimal separator and a leading "-" when negative. As with the
// "%G" rule, the scientific form is used when the decimal exponent of the
// rounded value is below -4 or at least 7: 1E7 gives "1E+07", 0.00001 gives
// "1E-05", 1.5E20 gives "1,5E+20" in a comma locale; 1234567 and 0.0001 stay
// in fixed form. The exponent has at least two digits. Zero (either sign)
// gives "0". Infinities give "1,#INF"/"-1,#INF" and NaN "-1,#IND" (with the
// locale's separator).
std::string SingleToText(float v, const Locale& locale);
// Appends SingleToText(v, locale) to out, without a string of its own for
// a whole number.
void AppendSingleText(std::string& out, float v, const Locale& locale);

// Same for a double with 15 significant digits; the scientific form is used
// when the exponent is below -4 or at least 15 (1E15 gives "1E+15").
std::string DoubleToText(double v, const Locale& locale);

// n with at least `width` digits, zeros on the left ("00007" for (7, 5)),
// as Format(n, "00000") gives it: a negative n keeps its sign in front of
// the digits ("-003" for (-3, 3)).
std::string ZeroPadded(long long n, int width);

// locale.true_text or locale.false_text.
std::string BoolToText(bool v, const Locale& locale);

// IsNumeric on a text. Accepted, with blanks (space, tab, CR, LF, no-break
// space) around: an optional leading "+" or "-"; digits with at most one
// decimal separator of the locale and at least one digit; grouping separators
// of the locale between two digits of the integer part (when the locale
// groups with a no-break space, a plain or narrow no-break space is accepted
// too); an optional exponent "E" or "D" (any case) with an optional sign and
// at least one digit. Also "&H" + hexadecimal or "&O" + octal digits, read as
// a 16-bit signed value when it fits in 16 bits, else as a 32-bit signed
// value ("&HFFFF" is -1, "&H10000" is 65536). A value too large for a double
// (or a hexadecimal one beyond 32 bits) is not numeric. Empty or blank text,
// "." or a sign alone are not numeric.
bool IsNumericText(std::string_view s, const Locale& locale);

// The value of a text IsNumericText accepts (CDbl), else nullopt. Magnitudes
// too small for a double give 0.
std::optional<double> ParseNumber(std::string_view s, const Locale& locale);

// The value of a whole number of one to nine digits, with or without a
// leading "-", else nullopt: the text every locale reads the same way, and
// most numbers of a marking. A fast path before ParseNumber or ToDouble,
// which give the same value for it.
inline std::optional<double> WholeNumber(std::string_view s) {
  const size_t sign = !s.empty() && s[0] == '-';
  if (s.size() <= sign || s.size() - sign > 9) return std::nullopt;
  int32_t whole = 0;
  for (size_t i = sign; i < s.size(); ++i) {
    if (s[i] < '0' || s[i] > '9') return std::nullopt;
    whole = whole * 10 + (s[i] - '0');
  }
  return sign ? -static_cast<double>(whole) : static_cast<double>(whole);
}

// Like ParseNumber, but throws Error 13 (type mismatch) when s is not
// numeric and Error 6 (overflow) when it is too large for a double.
double ToDouble(std::string_view s, const Locale& locale);

// The classic Val: reads the number at the start of s whatever the locale.
// Spaces, tabs and line feeds are skipped anywhere in it; then an optional
// sign, digits, one "." and an exponent "E" or "D" (any case) with an
// optional sign; reading stops at the first character that does not fit
// (an exponent letter without digits is ignored). "&H" and "&O" read
// hexadecimal and octal numbers as IsNumericText does. Returns 0 when no
// number starts s ("", "abc", "0,5" gives 0). Throws Error 6 when the number
// is too large for a double.
double Val(std::string_view s);

// CInt, CLng, CByte: v rounded half to even (2.5 gives 2, 3.5 gives 4, -2.5
// gives -2), then checked against the target range. Throws Error 6
// (overflow) when the rounded value is out of range or v is not a number.
int16_t ToInt16(double v);
int32_t ToInt32(double v);
uint8_t ToByte(double v);

// CSng: v rounded to the nearest float. Throws Error 6 when v is beyond the
// float range or is not a number.
float ToSingle(double v);

// Format of a number with a picture:
//   "0"  mandatory digit; "#" optional digit;
//   "."  decimal point (the first one), rendered with locale.decimal_separator
//        and kept even when no digit follows it ("###########0." of 12 gives
//        "12," in a comma locale);
//   ","  between digit placeholders of the integer part: thousands grouping
//        with locale.grouping_separator; right after the last integer
//        placeholder: the value is divided by 1000 (once per such comma).
// The integer part shows at least as many digits as there are placeholders
// from its first "0" to the decimal point, and all the digits of the value
// beyond the picture's. The decimal part shows as many digits as its
// placeholders, trailing zeros dropped down to its last "0". Text before the
// first placeholder and after the last is copied as is ("%" in it multiplies
// the value by 100); other characters between placeholders are ignored.
//
// Rounding is half away from zero on the decimal text of the value at 15
// significant digits, not on its binary value: 0.125 and 2.675 with two
// places give "0.13" and "2.68". A negative value gets a leading "-" unless
// all its shown digits are zero. With only "#" placeholders a zero integer
// part is empty: "###.#" of 0.04 gives ".". An empty picture gives
// DoubleToText(v), as do infinities and NaN.
std::string FormatNumber(double v, std::string_view picture, const Locale& locale);

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_NUMBER_H_
