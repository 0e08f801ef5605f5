// Arbitrary input never crashes the value readers or the formula engine,
// and their results keep their invariants (a deterministic random walk over
// formula tokens and bytes).

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mandor/values/amount.h"
#include "mandor/values/csv.h"
#include "mandor/values/formula.h"

namespace mandor::values {
namespace {

std::string RandomText(std::mt19937& random, const std::vector<std::string>& tokens, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    // Now and then any byte, broken UTF-8 included.
    text += random() % 8 == 0 ? std::string(1, static_cast<char>(random() % 256)) : tokens[random() % tokens.size()];
  }
  return text;
}

TEST(RobustnessTest, RandomFormulasGiveAResultOrAnErrorForEveryField) {
  std::mt19937 random(20);
  const std::vector<std::string> tokens = {"A", "B", "Prix unitaire", "C_PT", "+",  "-",        "*", "/",
                                           "(", ")", " ",             "1",    "2,5", "0",       "TVA", "SOMME(",
                                           "#REPORT(", "PT", "LETTRES(", "é", ","};
  for (int round = 0; round < 300; ++round) {
    std::vector<FormulaField> fields;
    for (const char* name : {"A", "B", "Prix unitaire", "C_PT"}) {
      FormulaField field;
      field.name = name;
      field.page = static_cast<int>(random() % 3);
      field.column = random() % 2 ? "PT" : "";
      if (random() % 2) {
        field.formula = RandomText(random, tokens, 1 + static_cast<int>(random() % 12));
      } else {
        field.number = static_cast<double>(random() % 1000) / 10;
      }
      field.decimals = static_cast<int>(random() % 5) - 1;
      fields.push_back(field);
    }
    const auto results = ComputeFormulas(fields, {});
    ASSERT_EQ(results.size(), fields.size());
    for (size_t i = 0; i < fields.size(); ++i) {
      const FormulaResult& r = results[i];
      SCOPED_TRACE(fields[i].formula + " -> " + r.error);
      EXPECT_EQ(r.has_formula, fields[i].formula.find_first_not_of(' ') != std::string::npos);
      if (!r.has_formula) continue;
      EXPECT_NE(r.number.has_value() || !r.text.empty(), !r.error.empty());
      EXPECT_TRUE(std::isfinite(r.number.value_or(0)));
      EXPECT_TRUE(!r.malformed || !r.error.empty());
    }
  }
}

TEST(RobustnessTest, RandomTextsAreReadWithoutCrashingAndGroupedNumbersReadExactly) {
  std::mt19937 random(7);
  const std::vector<std::string> tokens = {"1", "23", "456", ",", ".", " ", "\xC2\xA0", "'", "-", "+", "€", "EUR",
                                           "e", "\""};
  for (int round = 0; round < 2000; ++round) {
    const std::string text = RandomText(random, tokens, static_cast<int>(random() % 10));
    EXPECT_TRUE(std::isfinite(ReadAmount(text).value_or(0))) << text;
    ReadValueFile(text + ";" + text + "\n" + text, [](const std::string&) { return false; });
  }
  // A whole number grouped by thousands with a space, then cents: exact.
  for (int round = 0; round < 200; ++round) {
    const long whole = static_cast<long>(random() % 100000000);
    const int cents = static_cast<int>(random() % 100);
    std::string digits = std::to_string(whole), text;
    for (size_t i = 0; i < digits.size(); ++i) {
      text += (i > 0 && (digits.size() - i) % 3 == 0 ? " " : "") + digits.substr(i, 1);
    }
    text += "," + std::string(cents < 10 ? "0" : "") + std::to_string(cents) + " €";
    const auto value = ReadAmount(text);
    ASSERT_TRUE(value) << text;
    EXPECT_DOUBLE_EQ(*value, static_cast<double>(whole) + cents / 100.0) << text;
  }
}

}  // namespace
}  // namespace mandor::values
