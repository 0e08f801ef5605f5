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

std::string Euros(double amount) {
  std::string error;
  const auto words = AmountInWords(amount, "EUR", &error);
  EXPECT_TRUE(words) << amount << ": " << error;
  return words.value_or("");
}

TEST(WordsTest, WholeEurosFromZeroToAMillion) {
  EXPECT_EQ(Euros(0), "Zéro euro");
  EXPECT_EQ(Euros(1), "Un euro");
  EXPECT_EQ(Euros(21), "Vingt et un euros");
  EXPECT_EQ(Euros(80), "Quatre-vingts euros");
  EXPECT_EQ(Euros(81), "Quatre-vingt-un euros");
  EXPECT_EQ(Euros(100), "Cent euros");
  EXPECT_EQ(Euros(200), "Deux cents euros");
  EXPECT_EQ(Euros(1000), "Mille euros");
  EXPECT_EQ(Euros(1000000), "Un million d’euros");
}

TEST(WordsTest, CompoundNumbersKeepHyphensOnlyWithinTheTens) {
  EXPECT_EQ(Euros(71), "Soixante et onze euros");
  EXPECT_EQ(Euros(97), "Quatre-vingt-dix-sept euros");
  EXPECT_EQ(Euros(101), "Cent un euros");
  EXPECT_EQ(Euros(1200), "Mille deux cents euros");
  EXPECT_EQ(Euros(200000), "Deux cent mille euros");
  EXPECT_EQ(Euros(21000), "Vingt et un mille euros");
  EXPECT_EQ(Euros(2000000), "Deux millions d’euros");
  EXPECT_EQ(Euros(123456789),
            "Cent vingt-trois millions quatre cent cinquante-six mille sept cent "
            "quatre-vingt-neuf euros");
}

TEST(WordsTest, CentsAreRoundedAndNamed) {
  EXPECT_EQ(Euros(385.2), "Trois cent quatre-vingt-cinq euros et vingt centimes");
  EXPECT_EQ(Euros(612.5), "Six cent douze euros et cinquante centimes");
  EXPECT_EQ(Euros(0.01), "Zéro euro et un centime");
  EXPECT_EQ(Euros(1.01), "Un euro et un centime");
  EXPECT_EQ(Euros(80.8), "Quatre-vingts euros et quatre-vingts centimes");
  EXPECT_EQ(Euros(12.899), "Douze euros et quatre-vingt-dix centimes");  // rounded to 12.90
  EXPECT_EQ(Euros(1.004), "Un euro");
  EXPECT_EQ(Euros(-0.001), "Zéro euro");
  EXPECT_EQ(Euros(-5.5), "Moins cinq euros et cinquante centimes");
}

TEST(WordsTest, CurrenciesWithoutWordsAndImpossibleAmountsAreErrors) {
  std::string error;
  EXPECT_FALSE(AmountInWords(12, "FRF", &error));
  EXPECT_EQ(error, "no French words for the currency \"FRF\"");
  EXPECT_FALSE(AmountInWords(12, "eur", &error));
  EXPECT_FALSE(AmountInWords(12, "EUR 1", &error));
  EXPECT_FALSE(AmountInWords(1e15, "EUR", &error));
  EXPECT_FALSE(AmountInWords(std::nan(""), "EUR", &error));
  EXPECT_EQ(*AmountInWords(3, "USD"), "Trois dollars américains");
}

TEST(WordsTest, TraditionalSpellingUnhyphensAroundCentMilleMillionAndEt) {
  EXPECT_EQ(TraditionalSpelling("deux-cent-vingt-et-un euros"), "deux cent vingt et un euros");
  EXPECT_EQ(TraditionalSpelling("quatre-vingt-dix-neuf"), "quatre-vingt-dix-neuf");
  EXPECT_EQ(TraditionalSpelling("trois-milliards d’euros et un centime"), "trois milliards d’euros et un centime");
  EXPECT_EQ(TraditionalSpelling(""), "");
  EXPECT_EQ(TraditionalSpelling("cent"), "cent");
}

}  // namespace
}  // namespace mandor::values
