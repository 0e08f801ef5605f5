// Locale holds the regional settings the model depends on: the decimal and
// grouping separators used to turn numbers into text and back, and the texts
// of the two booleans. The platform holds the current one (see platform.h);
// it follows the process environment by default and a host or a test can
// switch it at run time.
#ifndef MANDOR_UTIL_LOCALE_H_
#define MANDOR_UTIL_LOCALE_H_

#include <string>

namespace mandor {

struct Locale {
  std::string decimal_separator = ".";   // "," or "."
  std::string grouping_separator = ",";  // thousands separator of number pictures
  std::string true_text = "True";
  std::string false_text = "False";

  bool UsesDecimalComma() const { return decimal_separator == ","; }

  // French settings: decimal comma, no-break space grouping, "Vrai"/"Faux".
  static Locale Comma();
  // English settings: decimal point, comma grouping, "True"/"False".
  static Locale Point();
  // Reads LC_ALL, then LC_NUMERIC, then LANG: a language whose convention is
  // the decimal comma (fr, de, es, it, pt, nl, ...) gives Comma(), anything
  // else (including unset, "C" and "POSIX") gives Point().
  static Locale FromEnvironment();
};

}  // namespace mandor

#endif  // MANDOR_UTIL_LOCALE_H_
