#include "mandor/util/internal/number.h"

#include <algorithm>
#include <charconv>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <optional>
#include <system_error>

#include "mandor/util/error.h"

namespace mandor {

namespace {

constexpr std::string_view kNoBreakSpace = "\xC2\xA0";
constexpr std::string_view kNarrowNoBreakSpace = "\xE2\x80\xAF";

// Exponents are saturated here while reading: far beyond any double.
constexpr long long kExponentLimit = 1000000000;

std::string_view DecimalSeparator(const Locale& locale) {
  return locale.decimal_separator.empty() ? std::string_view(".") : std::string_view(locale.decimal_separator);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Exact as doubles.
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// ---------------------------------------------------------------------------
// Number to text.

// The magnitude m (finite, > 0) rounded to `precision` significant digits:
// value = digits[0].digits[1..] x 10^exponent, digits.size() == precision.
struct Decimal {
  std::string digits;
  int exponent = 0;
};

// The digits and exponent of a scientific text such as "1.25e+02".
Decimal ParseScientific(std::string_view text) {
  Decimal d;
  const size_t e = text.find('e');
  for (char c : text.substr(0, e)) {
    if (IsDigit(c)) d.digits.push_back(c);
  }
  int exponent = 0;
  std::string_view exp_text = text.substr(e + 1);
  if (!exp_text.empty() && exp_text.front() == '+') exp_text.remove_prefix(1);
  std::from_chars(exp_text.data(), exp_text.data() + exp_text.size(), exponent);
  d.exponent = exponent;
  return d;
}

Decimal ToDecimal(double m, int precision) {
  char buf[64];
  // The shortest text that reads back as m is much cheaper to get than a
  // rounding to `precision` digits, and is that rounding (zero-padded) when
  // it has no more digits: m lies within half a unit in its last binary
  // place of it, which is less than half a unit in the last decimal place
  // for up to 15 significant digits. Subnormal numbers hold fewer digits of
  // their own and are left to the full rounding.
  if (precision <= 15 && m >= DBL_MIN) {
    const auto shortest = std::to_chars(buf, buf + sizeof buf, m, std::chars_format::scientific);
    Decimal d = ParseScientific(std::string_view(buf, static_cast<size_t>(shortest.ptr - buf)));
    if (d.digits.size() <= static_cast<size_t>(precision)) {
      d.digits.resize(static_cast<size_t>(precision), '0');
      return d;
    }
  }
  const auto result = std::to_chars(buf, buf + sizeof buf, m, std::chars_format::scientific, precision - 1);
  return ParseScientific(std::string_view(buf, static_cast<size_t>(result.ptr - buf)));
}

std::string NonFiniteText(double v, const Locale& locale) {
  const std::string sep(DecimalSeparator(locale));
  if (std::isnan(v)) return "-1" + sep + "#IND";
  return (v < 0 ? "-1" : "1") + sep + "#INF";
}

// Whole numbers of at most `precision` digits (most positions and sizes)
// are their own digits: the general text gives the same, but through a
// costly conversion. Zero is one of them.
bool AppendWhole(std::string& out, double v, int precision) {
  const double magnitude = std::fabs(v);
  if (!(magnitude < kPowersOfTen[precision]) || magnitude != std::trunc(magnitude)) return false;
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long long>(v));
  out.append(buffer, result.ptr);
  return true;
}

// The general text of v with `precision` significant digits.
std::string GeneralText(double v, int precision, const Locale& locale) {
  if (!std::isfinite(v)) return NonFiniteText(v, locale);
  if (std::string whole; AppendWhole(whole, v, precision)) return whole;
  const std::string_view sep = DecimalSeparator(locale);
  Decimal d = ToDecimal(std::fabs(v), precision);
  while (d.digits.size() > 1 && d.digits.back() == '0') d.digits.pop_back();

  std::string out = v < 0 ? "-" : "";
  const int x = d.exponent;
  if (x < -4 || x >= precision) {
    out += d.digits[0];
    if (d.digits.size() > 1) {
      out += sep;
      out.append(d.digits, 1);
    }
    out += x < 0 ? "E-" : "E+";
    const int ax = x < 0 ? -x : x;
    if (ax < 10) out += '0';
    out += std::to_string(ax);
  } else if (x >= 0) {
    const size_t int_len = static_cast<size_t>(x) + 1;
    if (d.digits.size() <= int_len) {
      out += d.digits;
      out.append(int_len - d.digits.size(), '0');
    } else {
      out.append(d.digits, 0, int_len);
      out += sep;
      out.append(d.digits, int_len);
    }
  } else {
    out += '0';
    out += sep;
    out.append(static_cast<size_t>(-x - 1), '0');
    out += d.digits;
  }
  return out;
}

// ---------------------------------------------------------------------------
// Text to number.

enum class ParseStatus { kOk, kSyntax, kOverflow };

struct Parsed {
  ParseStatus status = ParseStatus::kSyntax;
  double value = 0;
};

// The value of [-]int_digits.frac_digits x 10^exponent.
Parsed DigitsToDouble(bool negative, std::string_view int_digits, std::string_view frac_digits,
                      long long exponent) {
  // Decimal exponent of the first significant digit, to tell an overflow
  // from an underflow and to avoid handing absurd exponents to the parser.
  const size_t lead = int_digits.find_first_not_of('0');
  long long magnitude;
  if (lead != std::string_view::npos) {
    magnitude = static_cast<long long>(int_digits.size() - lead) - 1 + exponent;
  } else {
    const size_t first = frac_digits.find_first_not_of('0');
    if (first == std::string_view::npos) return {ParseStatus::kOk, negative ? -0.0 : 0.0};
    magnitude = -static_cast<long long>(first) - 1 + exponent;
  }
  if (magnitude > 400) return {ParseStatus::kOverflow, 0};
  if (magnitude < -400) return {ParseStatus::kOk, negative ? -0.0 : 0.0};

  std::string text;
  text.reserve(int_digits.size() + frac_digits.size() + 24);
  if (negative) text += '-';
  if (int_digits.empty()) text += '0';
  text += int_digits;
  if (!frac_digits.empty()) {
    text += '.';
    text += frac_digits;
  }
  text += 'e';
  text += std::to_string(exponent);

  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    if (magnitude >= 0) return {ParseStatus::kOverflow, 0};
    return {ParseStatus::kOk, negative ? -0.0 : 0.0};
  }
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return {};
  return {ParseStatus::kOk, value};
}

// A hexadecimal or octal literal: 16-bit signed when it fits in 16 bits,
// else 32-bit signed.
double RadixValue(unsigned long long v) {
  if (v <= 0xFFFF) return v >= 0x8000 ? static_cast<double>(v) - 65536.0 : static_cast<double>(v);
  return v >= 0x80000000ull ? static_cast<double>(v) - 4294967296.0 : static_cast<double>(v);
}

int RadixDigit(char c, int radix) {
  int d = -1;
  if (IsDigit(c)) d = c - '0';
  else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
  else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
  return d < radix ? d : -1;
}

int RadixOf(char c) {
  if (c == 'H' || c == 'h') return 16;
  if (c == 'O' || c == 'o') return 8;
  return 0;
}

// Accumulates a radix digit; false once the value leaves 32 bits.
bool AddRadixDigit(unsigned long long& value, int radix, int digit) {
  if (value > 0xFFFFFFFFull) return false;
  value = value * static_cast<unsigned>(radix) + static_cast<unsigned>(digit);
  return value <= 0xFFFFFFFFull;
}

// Length of a blank at s[i] (space, tab, CR, LF, no-break space), or 0.
size_t BlankAt(std::string_view s, size_t i) {
  const char c = s[i];
  if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return 1;
  if (s.substr(i, 2) == kNoBreakSpace) return 2;
  return 0;
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty()) {
    const size_t n = BlankAt(s, 0);
    if (n == 0) break;
    s.remove_prefix(n);
  }
  while (!s.empty()) {
    const char c = s.back();
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      s.remove_suffix(1);
    } else if (s.size() >= 2 && s.substr(s.size() - 2) == kNoBreakSpace) {
      s.remove_suffix(2);
    } else {
      break;
    }
  }
  return s;
}

// Length of a grouping separator of the locale at s[i], or 0.
size_t GroupingAt(std::string_view s, size_t i, const Locale& locale) {
  const std::string_view g = locale.grouping_separator;
  if (g.empty()) return 0;
  if (g == " " || g == kNoBreakSpace || g == kNarrowNoBreakSpace) {
    for (std::string_view space : {std::string_view(" "), kNoBreakSpace, kNarrowNoBreakSpace}) {
      if (s.substr(i, space.size()) == space) return space.size();
    }
    return 0;
  }
  return s.substr(i, g.size()) == g ? g.size() : 0;
}

// The plain numbers files hold ("[+-]digits[<decimal>digits]", at most 15
// digits in all), or nothing for any other text. Such a number and the power
// of ten it is divided by are exact doubles, so the one division rounds as
// the general conversion does.
std::optional<double> PlainNumber(std::string_view s, std::string_view decimal) {
  size_t i = 0;
  const bool negative = s[0] == '-';
  if (s[0] == '+' || s[0] == '-') ++i;
  uint64_t digits = 0;
  int count = 0;
  int frac_count = 0;
  bool in_fraction = false;
  for (; i < s.size(); ++i) {
    if (IsDigit(s[i])) {
      if (++count > 15) return std::nullopt;
      digits = digits * 10 + static_cast<unsigned>(s[i] - '0');
      if (in_fraction) ++frac_count;
    } else if (!in_fraction && s.substr(i, decimal.size()) == decimal) {
      in_fraction = true;
      i += decimal.size() - 1;
    } else {
      return std::nullopt;
    }
  }
  if (count == 0) return std::nullopt;
  const double value = static_cast<double>(digits) / kPowersOfTen[frac_count];
  return negative ? -value : value;
}

Parsed ParseLocaleNumber(std::string_view text, const Locale& locale) {
  const std::string_view s = TrimBlanks(text);
  if (s.empty()) return {};
  if (const std::optional<double> plain = PlainNumber(s, DecimalSeparator(locale))) {
    return {ParseStatus::kOk, *plain};
  }
  size_t i = 0;

  if (s[0] == '&') {
    const int radix = s.size() > 1 ? RadixOf(s[1]) : 0;
    if (radix == 0 || s.size() == 2) return {};
    unsigned long long value = 0;
    bool fits = true;
    for (i = 2; i < s.size(); ++i) {
      const int digit = RadixDigit(s[i], radix);
      if (digit < 0) return {};
      fits = fits && AddRadixDigit(value, radix, digit);
    }
    if (!fits) return {ParseStatus::kOverflow, 0};
    return {ParseStatus::kOk, RadixValue(value)};
  }

  bool negative = false;
  if (s[i] == '+' || s[i] == '-') {
    negative = s[i] == '-';
    ++i;
  }
  const std::string_view decimal = DecimalSeparator(locale);
  std::string int_digits;
  std::string frac_digits;
  while (i < s.size()) {
    if (IsDigit(s[i])) {
      int_digits += s[i++];
      continue;
    }
    if (s.substr(i, decimal.size()) == decimal) break;
    const size_t g = GroupingAt(s, i, locale);
    if (g > 0 && !int_digits.empty() && i + g < s.size() && IsDigit(s[i + g])) {
      i += g;
      continue;
    }
    break;
  }
  if (i < s.size() && s.substr(i, decimal.size()) == decimal) {
    i += decimal.size();
    while (i < s.size() && IsDigit(s[i])) frac_digits += s[i++];
  }
  if (int_digits.empty() && frac_digits.empty()) return {};

  long long exponent = 0;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    ++i;
    bool exp_negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
      exp_negative = s[i] == '-';
      ++i;
    }
    if (i == s.size() || !IsDigit(s[i])) return {};
    while (i < s.size() && IsDigit(s[i])) {
      exponent = std::min(exponent * 10 + (s[i] - '0'), kExponentLimit);
      ++i;
    }
    if (exp_negative) exponent = -exponent;
  }
  if (i != s.size()) return {};
  return DigitsToDouble(negative, int_digits, frac_digits, exponent);
}

// Half to even, exactly: v - floor(v) is exact for every finite double.
double RoundHalfEven(double v) {
  const double f = std::floor(v);
  const double diff = v - f;
  if (diff > 0.5) return f + 1;
  if (diff < 0.5) return f;
  return std::fmod(f, 2.0) == 0 ? f : f + 1;
}

double RoundChecked(double v, double low, double high) {
  // Whole numbers in range, nearly all of those a file holds, need no rounding.
  if (v >= low && v <= high && v == static_cast<double>(static_cast<int64_t>(v))) return v;
  const double r = std::isfinite(v) ? RoundHalfEven(v) : v;
  if (!(r >= low && r <= high)) ThrowError(kOverflow);
  return r;
}

// ---------------------------------------------------------------------------
// Number pictures.

struct Picture {
  std::string_view prefix;
  std::string_view suffix;
  bool has_point = false;
  bool grouping = false;
  int scale_commas = 0;  // commas right after the integer placeholders
  size_t int_min = 0;    // integer digits always shown
  size_t dec_max = 0;    // decimal places
  size_t dec_min = 0;    // decimal places always shown
  bool percent = false;
};

bool IsPicturePart(char c) { return c == '#' || c == '0' || c == '.' || c == ','; }

// Returns false when the picture has none of "#0.,".
bool ParsePicture(std::string_view text, Picture& p) {
  size_t first = std::string_view::npos;
  size_t last = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (IsPicturePart(text[i])) {
      if (first == std::string_view::npos) first = i;
      last = i;
    }
  }
  if (first == std::string_view::npos) return false;
  p.prefix = text.substr(0, first);
  p.suffix = text.substr(last + 1);
  p.percent = p.prefix.find('%') != std::string_view::npos || p.suffix.find('%') != std::string_view::npos;

  size_t int_placeholders = 0;
  bool seen_zero = false;
  int pending_commas = 0;
  for (char c : text.substr(first, last - first + 1)) {
    const bool placeholder = c == '#' || c == '0';
    if (!p.has_point) {
      if (c == '.') {
        p.has_point = true;
      } else if (placeholder) {
        seen_zero = seen_zero || c == '0';
        if (seen_zero) ++p.int_min;
        if (pending_commas > 0 && int_placeholders > 0) p.grouping = true;
        pending_commas = 0;
        ++int_placeholders;
      } else if (c == ',') {
        ++pending_commas;
      }
    } else if (placeholder) {
      ++p.dec_max;
      if (c == '0') p.dec_min = p.dec_max;
    }
  }
  p.scale_commas = pending_commas;
  return true;
}

std::string Group(const std::string& digits, std::string_view separator) {
  if (digits.size() <= 3 || separator.empty()) return digits;
  std::string out;
  size_t head = digits.size() % 3;
  if (head == 0) head = 3;
  out.append(digits, 0, head);
  for (size_t i = head; i < digits.size(); i += 3) {
    out += separator;
    out.append(digits, i, 3);
  }
  return out;
}

}  // namespace

std::string SingleToText(float v, const Locale& locale) { return GeneralText(v, 7, locale); }

void AppendSingleText(std::string& out, float v, const Locale& locale) {
  if (!AppendWhole(out, v, 7)) out += GeneralText(v, 7, locale);
}

std::string DoubleToText(double v, const Locale& locale) { return GeneralText(v, 15, locale); }

std::string BoolToText(bool v, const Locale& locale) { return v ? locale.true_text : locale.false_text; }

bool IsNumericText(std::string_view s, const Locale& locale) {
  return ParseLocaleNumber(s, locale).status == ParseStatus::kOk;
}

std::optional<double> ParseNumber(std::string_view s, const Locale& locale) {
  const Parsed p = ParseLocaleNumber(s, locale);
  if (p.status != ParseStatus::kOk) return std::nullopt;
  return p.value;
}

double ToDouble(std::string_view s, const Locale& locale) {
  const Parsed p = ParseLocaleNumber(s, locale);
  if (p.status == ParseStatus::kOverflow) ThrowError(kOverflow);
  if (p.status != ParseStatus::kOk) ThrowError(kTypeMismatch);
  return p.value;
}

double Val(std::string_view s) {
  size_t i = 0;
  auto skip_blanks = [&] {
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n')) ++i;
  };
  auto at = [&](size_t k) { return k < s.size() ? s[k] : '\0'; };

  skip_blanks();
  if (at(i) == '&') {
    ++i;
    skip_blanks();
    const int radix = RadixOf(at(i));
    if (radix == 0) return 0;
    ++i;
    unsigned long long value = 0;
    bool fits = true;
    for (skip_blanks(); i < s.size(); ++i, skip_blanks()) {
      const int digit = RadixDigit(s[i], radix);
      if (digit < 0) break;
      fits = fits && AddRadixDigit(value, radix, digit);
    }
    if (!fits) ThrowError(kOverflow);
    return RadixValue(value);
  }

  bool negative = false;
  if (at(i) == '+' || at(i) == '-') {
    negative = at(i) == '-';
    ++i;
  }
  std::string int_digits;
  std::string frac_digits;
  for (skip_blanks(); IsDigit(at(i)); ++i, skip_blanks()) int_digits += s[i];
  if (at(i) == '.') {
    ++i;
    for (skip_blanks(); IsDigit(at(i)); ++i, skip_blanks()) frac_digits += s[i];
  }
  if (int_digits.empty() && frac_digits.empty()) return 0;

  long long exponent = 0;
  const char e = at(i);
  if (e == 'E' || e == 'e' || e == 'D' || e == 'd') {
    ++i;
    skip_blanks();
    bool exp_negative = false;
    if (at(i) == '+' || at(i) == '-') {
      exp_negative = at(i) == '-';
      ++i;
    }
    for (skip_blanks(); IsDigit(at(i)); ++i, skip_blanks()) {
      exponent = std::min(exponent * 10 + (s[i] - '0'), kExponentLimit);
    }
    if (exp_negative) exponent = -exponent;
  }
  const Parsed p = DigitsToDouble(negative, int_digits, frac_digits, exponent);
  if (p.status == ParseStatus::kOverflow) ThrowError(kOverflow);
  return p.value == 0 ? 0.0 : p.value;
}

int16_t ToInt16(double v) { return static_cast<int16_t>(RoundChecked(v, -32768.0, 32767.0)); }

int32_t ToInt32(double v) { return static_cast<int32_t>(RoundChecked(v, -2147483648.0, 2147483647.0)); }

uint8_t ToByte(double v) { return static_cast<uint8_t>(RoundChecked(v, 0.0, 255.0)); }

float ToSingle(double v) {
  if (std::isnan(v)) ThrowError(kOverflow);
  if (std::fabs(v) > FLT_MAX) {
    // Values within half a unit of the last place above FLT_MAX still round to it.
    const double limit = static_cast<double>(FLT_MAX) + std::ldexp(1.0, 103);
    if (std::fabs(v) >= limit) ThrowError(kOverflow);
    return v < 0 ? -FLT_MAX : FLT_MAX;
  }
  return static_cast<float>(v);
}

std::string FormatNumber(double v, std::string_view picture, const Locale& locale) {
  if (picture.empty() || !std::isfinite(v)) return DoubleToText(v, locale);
  Picture p;
  if (!ParsePicture(picture, p)) return std::string(picture);

  double x = v;
  for (int k = 0; k < p.scale_commas && x != 0; ++k) x /= 1000;
  if (p.percent) x *= 100;
  if (!std::isfinite(x)) return DoubleToText(v, locale);
  const bool negative = x < 0;

  // The value as 0.digits x 10^point, rounded half away from zero to
  // dec_max places on its 15-significant-digit decimal text.
  std::string digits;
  long long point = 0;
  if (x != 0) {
    const Decimal d = ToDecimal(std::fabs(x), 15);
    digits = d.digits;
    point = d.exponent + 1;
  }
  const long long keep = point + static_cast<long long>(p.dec_max);
  if (keep < static_cast<long long>(digits.size())) {
    if (keep < 0) {
      digits.clear();
    } else {
      const bool round_up = digits[static_cast<size_t>(keep)] >= '5';
      digits.resize(static_cast<size_t>(keep));
      if (round_up) {
        size_t k = digits.size();
        while (k > 0 && digits[k - 1] == '9') digits[--k] = '0';
        if (k > 0) {
          ++digits[k - 1];
        } else {
          digits.insert(digits.begin(), '1');
          ++point;
        }
      }
    }
  }
  auto digit_at = [&](long long index) {
    return index >= 0 && index < static_cast<long long>(digits.size()) ? digits[static_cast<size_t>(index)] : '0';
  };

  std::string int_part;
  for (long long k = 0; k < point; ++k) int_part += digit_at(k);
  int_part.erase(0, std::min(int_part.find_first_not_of('0'), int_part.size()));
  std::string frac_part;
  for (size_t k = 0; k < p.dec_max; ++k) frac_part += digit_at(point + static_cast<long long>(k));
  const bool zero = int_part.empty() && frac_part.find_first_not_of('0') == std::string::npos;

  if (int_part.size() < p.int_min) int_part.insert(0, p.int_min - int_part.size(), '0');
  while (frac_part.size() > p.dec_min && frac_part.back() == '0') frac_part.pop_back();

  std::string out;
  if (negative && !zero) out += '-';
  out += p.prefix;
  out += p.grouping ? Group(int_part, locale.grouping_separator) : int_part;
  if (p.has_point) out += DecimalSeparator(locale);
  out += frac_part;
  out += p.suffix;
  return out;
}

std::string ZeroPadded(long long n, int width) {
  // The magnitude as unsigned, so that the most negative value is safe.
  const unsigned long long magnitude =
      n < 0 ? 0ULL - static_cast<unsigned long long>(n) : static_cast<unsigned long long>(n);
  std::string text;
  if (n < 0) text.push_back('-');
  char digits[24];
  const char* const end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
  const long long count = end - digits;
  if (count < width) text.append(static_cast<size_t>(width - count), '0');
  text.append(digits, static_cast<size_t>(count));
  return text;
}

}  // namespace mandor
