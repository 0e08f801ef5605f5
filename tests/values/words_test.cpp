// Amounts in French words. The expected texts follow French grammar,
// checked by hand in the traditional spelling the price schedules use:
// "vingt et un" (no hyphens around "et"), "quatre-vingts" takes its "s"
// only when it ends the number, "cent" takes an "s" when multiplied and
// ending the number ("deux cents" but "deux cent mille": "mille" is an
// adjective, so "cent" before it stays singular), "million" is a noun
// ("un million d'euros", with "de" before the currency), "zéro euro" and
// "un euro" are singular.

#include "mandor/values/words.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

namespace mandor::values {
namespace {

TEST(WordsTest, EurosAndCentsInTraditionalSpelling) {
  const struct { double amount; const char* words; } cases[] = {
      {0, "Zéro euro"}, {1, "Un euro"}, {21, "Vingt et un euros"}, {80, "Quatre-vingts euros"},
      {81, "Quatre-vingt-un euros"}, {100, "Cent euros"}, {200, "Deux cents euros"}, {1000, "Mille euros"},
      {1000000, "Un million d’euros"}, {71, "Soixante et onze euros"}, {97, "Quatre-vingt-dix-sept euros"},
      {101, "Cent un euros"}, {1200, "Mille deux cents euros"}, {200000, "Deux cent mille euros"},
      {21000, "Vingt et un mille euros"}, {2000000, "Deux millions d’euros"},
      {123456789, "Cent vingt-trois millions quatre cent cinquante-six mille sept cent quatre-vingt-neuf euros"},
      // Cents, rounded to the nearest.
      {385.2, "Trois cent quatre-vingt-cinq euros et vingt centimes"}, {0.01, "Zéro euro et un centime"},
      {1.01, "Un euro et un centime"}, {80.8, "Quatre-vingts euros et quatre-vingts centimes"},
      {12.899, "Douze euros et quatre-vingt-dix centimes"}, {1.004, "Un euro"}, {-0.001, "Zéro euro"},
      {-5.5, "Moins cinq euros et cinquante centimes"}, {3e9 + 0.01, "Trois milliards d’euros et un centime"},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_EQ(AmountInWords(c.amount, "EUR", &error).value_or("error: " + error), c.words) << c.amount;
  }
  EXPECT_EQ(AmountInWords(3, "USD").value_or(""), "Trois dollars américains");
}

TEST(WordsTest, CurrenciesWithoutWordsAndImpossibleAmountsAreErrors) {
  std::string error;
  EXPECT_FALSE(AmountInWords(12, "FRF", &error));
  EXPECT_EQ(error, "no French words for the currency \"FRF\"");
  EXPECT_FALSE(AmountInWords(12, "eur", &error));
  EXPECT_FALSE(AmountInWords(12, "EUR 1", &error));
  EXPECT_FALSE(AmountInWords(1e15, "EUR", &error));
  EXPECT_FALSE(AmountInWords(std::nan(""), "EUR", &error));
}

}  // namespace
}  // namespace mandor::values
