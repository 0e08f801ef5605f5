#include "mandor/textfile/internal/format.h"

#include <algorithm>
#include <cstdlib>

#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor::textfile {

bool IsKnownOrientation(int16_t orientation) {
  return orientation == kOrientationUnset || orientation == kOrientationPortrait ||
         orientation == kOrientationLandscape;
}

std::string NumberedKey(std::string_view prefix, long long n) {
  return std::string(prefix) + std::to_string(n);
}

std::string PageSectionHeader(long long n) {
  return std::string(kPageSectionPrefix) + std::to_string(n) + kPageSectionSuffix;
}

std::string PageKey(long long n) { return NumberedKey(kPageKeyPrefix, n); }

std::string GeneratedRulerId(long long line) {
  return ZeroPadded(line, static_cast<int>(sizeof(kIdLineFormat) - 1));
}

std::string GeneratedFieldId(long long page, long long line) {
  return ZeroPadded(page, static_cast<int>(sizeof(kIdPageFormat) - 1)) + "_" + GeneratedRulerId(line);
}

std::string SeparatorToText(std::string_view separator) {
  if (separator == "\t") return kSeparatorTabText;
  return std::string(separator);
}

std::optional<std::string> SeparatorFromText(std::string_view text) {
  if (text == kSeparatorTabText) return std::string("\t");
  if (text == kSeparatorUnknownText) return std::nullopt;
  return Left(text, 1);  // one character, however many bytes it takes
}

bool IsMdnFileName(std::string_view file_name) {
  const std::string ending = Right(file_name, 4);
  return ending == kMdnSuffixUpper || ending == kMdnSuffixLower;
}

std::string Bool01Text(bool value) { return value ? "1" : "0"; }

std::optional<bool> ParseBoolText(std::string_view text) {
  const std::string_view t = TrimView(text);
  if (t.empty()) return std::nullopt;
  const Locale& locale = CurrentPlatform().locale();
  if (EqualsIgnoreCase(t, locale.true_text) || EqualsIgnoreCase(t, "True") || EqualsIgnoreCase(t, "Vrai")) {
    return true;
  }
  if (EqualsIgnoreCase(t, locale.false_text) || EqualsIgnoreCase(t, "False") || EqualsIgnoreCase(t, "Faux")) {
    return false;
  }
  const std::optional<double> number = ParseNumber(NombreVersLocal(t), locale);
  if (!number) return std::nullopt;
  return *number != 0;
}

std::string PixelText(float value) { return SingleToText(value, CurrentPlatform().locale()); }

std::string CentimetreText(float value) { return NombreVersFichier(PixelText(value)); }

double ParseFileNumber(std::string_view text) {
  if (const std::optional<double> whole = WholeNumber(text)) return *whole;
  const Locale& locale = CurrentPlatform().locale();
  // Most numbers hold no separator to convert: no copy for them, and those
  // without either separator need not ask which one the locale uses.
  if (std::none_of(text.begin(), text.end(), [](char c) { return c == '.' || c == ','; }) ||
      text.find(EstVirguleDecimale() ? '.' : ',') == std::string_view::npos) {
    return ToDouble(text, locale);
  }
  return ToDouble(NombreVersLocal(text), locale);
}

}  // namespace mandor::textfile
