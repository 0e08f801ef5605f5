// Numbers as users type them in a tender and as a catalogue cell holds them:
// the numeric reading of a value text, the invariant text of a number cell,
// and the text a field shows.
//
// The classic routines (EnlèveSéparateurs, ParseNumber) read what the marking
// files hold, in the current locale; a value typed by a user or found in a
// CSV file may use either decimal separator whatever the locale, group
// thousands with points, spaces or apostrophes, and carry a currency sign,
// hence a reader of its own.
//
// Thread-safety: the functions are reentrant.
#ifndef MANDOR_VALUES_AMOUNT_H_
#define MANDOR_VALUES_AMOUNT_H_

#include <optional>
#include <string>
#include <string_view>

#include "mandor/util/locale.h"

namespace mandor::values {

// The number a value text stands for, or nullopt. Accepted: blanks around; a
// leading "-" or "+"; a currency sign ("€", "$", "£") or code ("EUR", "CHF",
// "USD", "GBP") before or after the number; "." or "," as the decimal
// separator, the last one when both occur; grouping by spaces, no-break
// spaces, narrow no-break spaces or "'" between digits, or by the separator
// that is not the decimal one. A separator that occurs several times alone
// groups thousands only when every group after the first has 3 digits
// ("1.234.567"); "1,2,3" is no number. A single separator alone is decimal
// ("1.234" is one and 234 thousandths).
std::optional<double> ReadAmount(std::string_view text);

// The text a number cell of a workbook holds: "." as decimal separator, no
// grouping, no exponent, at most 15 significant digits, no trailing zeros
// ("1986.6", "5390", "-0.5"). Only for finite values below 1E15.
std::string CellNumberText(double value);

// True when a number cell can hold the value (finite, magnitude below 1E15).
bool FitsNumberCell(double value);

// The value of a number cell shown in a locale ("612,5" in a comma locale),
// without grouping.
std::string LocaleNumberText(double value, const Locale& locale);

}  // namespace mandor::values

#endif  // MANDOR_VALUES_AMOUNT_H_
