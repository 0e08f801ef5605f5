#include "mandor/values/amount.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"

namespace mandor::values {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Strips one currency sign or code from the front or the back of s.
std::string_view WithoutCurrency(std::string_view s) {
  for (std::string_view sign : {"€", "$", "£", "EUR", "CHF", "USD", "GBP"}) {
    if (s.substr(0, sign.size()) == sign) return TrimView(s.substr(sign.size()));
    if (s.size() >= sign.size() && s.substr(s.size() - sign.size()) == sign) {
      return TrimView(s.substr(0, s.size() - sign.size()));
    }
  }
  return s;
}

}  // namespace

std::optional<double> ReadAmount(std::string_view text) {
  // Blanks around, then a currency, then blanks again.
  std::string_view s = text;
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n'))
    s.remove_suffix(1);
  s = WithoutCurrency(s);
  if (s.empty()) return std::nullopt;

  std::string cleaned;
  cleaned.reserve(s.size());
  size_t i = 0;
  if (s[0] == '-' || s[0] == '+') {
    if (s[0] == '-') cleaned += '-';
    i = 1;
  }
  // The body: digits, separators and blanks, each blank and grouping mark
  // standing between two digits.
  std::string body;
  size_t points = 0, commas = 0;
  for (; i < s.size(); ++i) {
    const char c = s[i];
    size_t skip = 0;
    if (c == ' ' || c == '\'') skip = 1;
    if (s.substr(i, 2) == "\xC2\xA0") skip = 2;      // no-break space
    if (s.substr(i, 3) == "\xE2\x80\xAF") skip = 3;  // narrow no-break space
    if (skip) {
      if (body.empty() || !IsDigit(body.back()) || i + skip >= s.size() || !IsDigit(s[i + skip])) return std::nullopt;
      body += ' ';  // a grouping mark, checked with the others below
      i += skip - 1;
      continue;
    }
    if (c == '.') ++points;
    if (c == ',') ++commas;
    if (!IsDigit(c) && c != '.' && c != ',') return std::nullopt;
    body += c;
  }
  if (body.empty()) return std::nullopt;

  char decimal = 0;
  if (points && commas) {
    decimal = body.find_last_of(".,") == body.rfind('.') ? '.' : ',';
  } else if (points == 1 || commas == 1) {
    decimal = points ? '.' : ',';
  }
  const char grouping = points && commas ? (decimal == '.' ? ',' : '.') : (points > 1 ? '.' : (commas > 1 ? ',' : 0));
  if (decimal && std::count(body.begin(), body.end(), decimal) != 1) return std::nullopt;

  // Grouping marks (blanks and the grouping separator): every group after
  // the first has 3 digits, all before the decimal separator.
  const size_t decimal_at = decimal ? body.find(decimal) : body.size();
  const auto is_mark = [grouping](char c) { return c == ' ' || (grouping && c == grouping); };
  size_t last = std::string::npos;
  for (size_t k = 0; k < body.size(); ++k) {
    if (!is_mark(body[k])) continue;
    if (k > decimal_at || k == 0) return std::nullopt;
    if (last != std::string::npos && k - last - 1 != 3) return std::nullopt;
    last = k;
  }
  if (last != std::string::npos && decimal_at - last - 1 != 3) return std::nullopt;
  for (size_t k = 0; k < body.size(); ++k) {
    const char c = body[k];
    if (is_mark(c)) continue;
    if (c == decimal) {
      if (k == 0 || k + 1 == body.size()) return std::nullopt;
      cleaned += '.';
      continue;
    }
    cleaned += c;
  }
  double value = 0;
  const auto [ptr, ec] = std::from_chars(cleaned.data(), cleaned.data() + cleaned.size(), value);
  if (ec != std::errc() || ptr != cleaned.data() + cleaned.size() || !std::isfinite(value)) return std::nullopt;
  return value == 0 ? 0.0 : value;
}

bool FitsNumberCell(double value) { return std::isfinite(value) && std::fabs(value) < 1e15; }

std::string CellNumberText(double value) { return DoubleToText(value, Locale::Point()); }

std::string LocaleNumberText(double value, const Locale& locale) { return DoubleToText(value, locale); }

}  // namespace mandor::values
