// Locale holds the regional settings the model depends on: the decimal and
// grouping separators used to turn numbers into text and back, and the texts
// of the two booleans. The platform holds the current one (see platform.h);
// it follows the process environment by default and a host or a test can
// switch it at run time.
//
// The marking files are French, so an environment that names no real
// locale ("C", "POSIX", "C.UTF-8" or nothing at all) means French settings.
// A named locale takes its decimal separator from the C library when that
// locale is installed (de_CH, fr_CH and it_CH write a point), else from a
// built-in table of languages and the few territories that differ from
// their language.
//
// Thread safety: a Locale is a plain value; the functions below only read
// the environment and the C library's locale data.
#ifndef MANDOR_UTIL_LOCALE_H_
#define MANDOR_UTIL_LOCALE_H_

#include <optional>
#include <string>
#include <string_view>

namespace mandor {

struct Locale {
  std::string decimal_separator = ".";   // "," or "."
  std::string grouping_separator = ",";  // thousands separator of number pictures
  std::string true_text = "True";
  std::string false_text = "False";

  // French settings: decimal comma, no-break space grouping, "Vrai"/"Faux".
  static Locale Comma();
  // English settings: decimal point, comma grouping, "True"/"False".
  static Locale Point();

  // The settings of a locale name: "fr", "en_GB", "de_CH.UTF-8",
  // "FR_fr.utf-8" (letters in any case, an optional territory, code set and
  // "@modifier"). French languages get "Vrai"/"Faux", others "True"/"False";
  // the decimal separator comes from the installed locale when there is one,
  // else from the built-in table. Empty for a name that is not a locale name
  // or whose language is unknown to both.
  static std::optional<Locale> FromName(std::string_view name);

  // True for the names of no real locale: "", "C", "POSIX", "C.<code set>".
  static bool IsNeutralName(std::string_view name);

  // The first of LC_ALL, LC_NUMERIC and LANG that is set and not empty:
  // Comma() when it names no real locale (or one that cannot be read),
  // else FromName. With none set: the user's regional settings on Windows,
  // Comma() elsewhere.
  static Locale FromEnvironment();
};

}  // namespace mandor

#endif  // MANDOR_UTIL_LOCALE_H_
