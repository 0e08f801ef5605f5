// Amounts in French words, checked by hand in the traditional spelling the
// price schedules use: "vingt et un" without hyphens around "et",
// "quatre-vingts" and "deux cents" take their "s" only when they end the
// number ("deux cent mille"), "un million d'euros", "zéro euro" singular.

#include "mandor/values/words.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

namespace mandor::values {
namespace {

TEST(WordsTest, EurosAndCentsInTraditionalSpellingAndWhatHasNoWords) {
  const struct { double amount; const char* words; } cases[] = {
      {0, "Zéro euro"}, {1, "Un euro"}, {21, "Vingt et un euros"}, {80, "Quatre-vingts euros"},
      {81, "Quatre-vingt-un euros"}, {100, "Cent euros"}, {200, "Deux cents euros"}, {1000, "Mille euros"},
      {1000000, "Un million d’euros"}, {71, "Soixante et onze euros"}, {200000, "Deux cent mille euros"},
      {21000, "Vingt et un mille euros"}, {2000000, "Deux millions d’euros"},
      {123456789, "Cent vingt-trois millions quatre cent cinquante-six mille sept cent quatre-vingt-neuf euros"},
      // Cents, rounded to the nearest.
      {385.2, "Trois cent quatre-vingt-cinq euros et vingt centimes"}, {0.01, "Zéro euro et un centime"},
      {80.8, "Quatre-vingts euros et quatre-vingts centimes"}, {12.899, "Douze euros et quatre-vingt-dix centimes"},
      {1.004, "Un euro"}, {-0.001, "Zéro euro"}, {-5.5, "Moins cinq euros et cinquante centimes"},
      {3e9 + 0.01, "Trois milliards d’euros et un centime"},
  };
  for (const auto& c : cases) EXPECT_EQ(AmountInWords(c.amount, "EUR").value_or("no words"), c.words) << c.amount;
  EXPECT_EQ(AmountInWords(3, "USD").value_or(""), "Trois dollars américains");
  // The error's text is LETTRES's (formula_test.cpp).
  for (const char* currency : {"FRF", "eur", "EUR 1"}) EXPECT_FALSE(AmountInWords(12, currency)) << currency;
  for (double amount : {1e15, std::nan("")}) EXPECT_FALSE(AmountInWords(amount, "EUR")) << amount;
}

}  // namespace
}  // namespace mandor::values
