#include "mandor/util/locale.h"

#include <cstdlib>
#include <string_view>

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
bool LanguageUsesComma(std::string_view name) {
  static constexpr std::string_view kCommaLanguages[] = {
      "fr", "de", "es", "it", "pt", "nl", "da", "fi", "sv", "nb", "nn", "no",
      "pl", "cs", "sk", "sl", "hr", "hu", "ro", "ru", "uk", "tr", "el", "ca",
      "eu", "gl", "lt", "lv", "et", "bg", "sr", "is", "id", "vi"};
  std::string_view lang = name.substr(0, name.find_first_of("_.@"));
  for (std::string_view l : kCommaLanguages) {
    if (lang == l) return true;
  }
  return false;
}

}  // namespace

#ifdef _WIN32
// The user's regional settings (platform_win.cpp).
Locale WindowsUserLocale();
#endif

Locale Locale::FromEnvironment() {
  for (const char* var : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
    const char* value = std::getenv(var);
    if (value != nullptr && *value != '\0') {
      return LanguageUsesComma(value) ? Comma() : Point();
    }
  }
#ifdef _WIN32
  return WindowsUserLocale();
#else
  return Point();
#endif
}

}  // namespace mandor
