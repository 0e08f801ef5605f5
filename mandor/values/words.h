// Amounts in French words for price schedules ("Trois cent quatre-vingt-cinq
// euros et vingt centimes"), from libnumbertext's French money texts.
//
// Thread-safety: not thread-safe (the library's language data is loaded once
// and cached in a process-wide object); the model is single-threaded.
#ifndef MANDOR_VALUES_WORDS_H_
#define MANDOR_VALUES_WORDS_H_

#include <optional>
#include <string>

namespace mandor::values {

// amount rounded to 2 decimals, in French words in the currency `currency`
// (an ISO code libnumbertext knows: EUR, CHF, USD, ...), with a capital
// initial and the traditional spelling (spaces around cent, mille, million,
// milliard and "et"). nullopt, with *error set, when the currency has no
// French words, the language data is missing or the amount is not finite or
// beyond 1E15.
std::optional<std::string> AmountInWords(double amount, const std::string& currency, std::string* error = nullptr);

// The traditional spelling of a numeral written with the 1990 reform's
// hyphens between all its words: "deux-cent-vingt-et-un" gives
// "deux cent vingt et un"; hyphens inside the tens stay ("quatre-vingt-dix").
std::string TraditionalSpelling(const std::string& reformed);

}  // namespace mandor::values

#endif  // MANDOR_VALUES_WORDS_H_
