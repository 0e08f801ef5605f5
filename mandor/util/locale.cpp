#include "mandor/util/locale.h"

#include <cstdlib>

#ifndef _WIN32
#include <langinfo.h>
#include <locale.h>
#endif

namespace mandor {

Locale Locale::Comma() {
  Locale l;
  l.decimal_separator = ",";
  l.grouping_separator = "\xC2\xA0";  // U+00A0 no-break space, as the French settings use
  l.true_text = "Vrai";
  l.false_text = "Faux";
  return l;
}

Locale Locale::Point() { return Locale(); }

namespace {

// Languages whose regional settings write numbers with a decimal comma.
constexpr std::string_view kCommaLanguages[] = {
    "fr", "de", "es", "it", "pt", "nl", "da", "fi", "sv", "nb", "nn", "no", "pl", "cs", "sk", "sl", "hr",
    "hu", "ro", "ru", "uk", "tr", "el", "ca", "eu", "gl", "lt", "lv", "et", "bg", "sr", "is", "id", "vi",
    "be", "br", "oc", "lb", "rm", "sq", "mk", "bs", "az", "kk", "ka", "hy", "af", "fy", "wa", "co"};
// Languages known to write a decimal point.
constexpr std::string_view kPointLanguages[] = {"en", "ja", "zh", "ko", "he", "th", "hi", "ga", "mt",
                                                "cy", "ms", "ar", "ta", "te", "bn", "ur", "fil", "sw"};
// Territories where a comma language writes a point (Switzerland,
// Liechtenstein, Spanish-speaking America mostly).
constexpr std::string_view kPointTerritories[] = {"CH", "LI", "MX", "US", "PR", "DO", "GT",
                                                  "HN", "NI", "PA", "SV", "CU"};

bool Contains(const std::string_view* begin, const std::string_view* end, std::string_view what) {
  for (const std::string_view* it = begin; it != end; ++it) {
    if (*it == what) return true;
  }
  return false;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

struct LocaleName {
  std::string language;   // lower case: "fr"
  std::string territory;  // upper case: "CH", or empty
  std::string rest;       // ".UTF-8@euro" as given, or empty
  // "ll_TT": the language and territory alone.
  std::string Base() const {
    std::string text = language;
    if (!territory.empty()) {
      text += '_';
      text += territory;
    }
    return text;
  }
  std::string Text() const { return Base() + rest; }
};

// Splits and normalises "ll[_TT][.codeset][@modifier]"; empty when the text
// is not of that form.
std::optional<LocaleName> ParseName(std::string_view text) {
  LocaleName name;
  size_t i = 0;
  while (i < text.size() && IsLetter(text[i])) name.language += Lower(text[i++]);
  if (name.language.size() < 2 || name.language.size() > 3) return std::nullopt;
  if (i < text.size() && text[i] == '_') {
    ++i;
    while (i < text.size() && IsLetter(text[i])) name.territory += Upper(text[i++]);
    if (name.territory.size() != 2) return std::nullopt;
  }
  if (i < text.size() && text[i] != '.' && text[i] != '@') return std::nullopt;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (!(IsLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '@' || c == '-' || c == '_')) {
      return std::nullopt;
    }
    name.rest += c;
  }
  return name;
}

// The decimal separator of an installed locale ('.' or ','), or 0 when the C
// library does not know the name.
char InstalledDecimalSeparator(const LocaleName& name) {
#ifdef _WIN32
  (void)name;
  return 0;
#else
  // Try the name as normalised, then with the code set in upper and in
  // lower case ("UTF-8" and "utf8" are both common spellings of installed
  // locales).
  std::string candidates[3] = {name.Text(), "", ""};
  if (!name.rest.empty()) {
    std::string upper, lower;
    for (char c : name.rest) {
      upper += Upper(c);
      lower += Lower(c);
    }
    candidates[1] = name.Base() + upper;
    candidates[2] = name.Base() + lower;
  }
  for (const std::string& candidate : candidates) {
    if (candidate.empty()) continue;
    locale_t loc = newlocale(LC_NUMERIC_MASK, candidate.c_str(), static_cast<locale_t>(nullptr));
    if (loc == static_cast<locale_t>(nullptr)) continue;
    const char* radix = nl_langinfo_l(RADIXCHAR, loc);
    const char separator = radix != nullptr && std::string_view(radix) == "," ? ',' : '.';
    freelocale(loc);
    return separator;
  }
  return 0;
#endif
}

}  // namespace

bool Locale::IsNeutralName(std::string_view name) {
  return name.empty() || name == "C" || name == "POSIX" || name.substr(0, 2) == "C.";
}

std::optional<Locale> Locale::FromName(std::string_view text) {
  const std::optional<LocaleName> name = ParseName(text);
  if (!name) return std::nullopt;
  char separator = InstalledDecimalSeparator(*name);
  if (separator == 0) {
    if (Contains(std::begin(kCommaLanguages), std::end(kCommaLanguages), name->language)) {
      const bool point = Contains(std::begin(kPointTerritories), std::end(kPointTerritories), name->territory);
      separator = point ? '.' : ',';
    } else if (Contains(std::begin(kPointLanguages), std::end(kPointLanguages), name->language)) {
      separator = '.';
    } else {
      return std::nullopt;
    }
  }
  Locale locale = name->language == "fr" ? Comma() : Point();
  locale.decimal_separator.assign(1, separator);
  // The grouping separator must differ from the decimal one.
  if (separator == ',' && locale.grouping_separator == ",") locale.grouping_separator = Comma().grouping_separator;
  return locale;
}

#ifdef _WIN32
// The user's regional settings (platform_win.cpp).
Locale WindowsUserLocale();
#endif

Locale Locale::FromEnvironment() {
  for (const char* var : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
    const char* value = std::getenv(var);
    if (value == nullptr || *value == '\0') continue;
    if (IsNeutralName(value)) return Comma();
    return FromName(value).value_or(Comma());
  }
#ifdef _WIN32
  return WindowsUserLocale();
#else
  return Comma();
#endif
}

}  // namespace mandor
