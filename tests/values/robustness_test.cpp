// Arbitrary formulas, as a catalogue may hold, never crash the formula
// engine, and its results keep their invariants (a deterministic random walk
// over formula tokens and bytes).

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mandor/values/formula.h"

namespace mandor::values {
namespace {

std::string RandomText(std::mt19937& random, const std::vector<std::string>& tokens, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {  // now and then any byte, broken UTF-8 included
    text += random() % 8 == 0 ? std::string(1, static_cast<char>(random() % 256)) : tokens[random() % tokens.size()];
  }
  return text;
}

TEST(RobustnessTest, RandomFormulasGiveAResultOrAnError) {
  std::mt19937 random(20);
  const std::vector<std::string> tokens = {"A", "B", "Prix unitaire", "C_PT", "+", "-", "*", "/", "(", ")", " ", "1",
                                           "2,5", "0", "TVA", "SOMME(", "#REPORT(", "PT", "LETTRES(", "é", ","};
  for (int round = 0; round < 300; ++round) {
    std::vector<FormulaField> fields;
    for (const char* name : {"A", "B", "Prix unitaire", "C_PT"}) {
      fields.push_back({name, "", static_cast<int>(random() % 5) - 1, static_cast<int>(random() % 3),
                        random() % 2 ? "PT" : "", "", static_cast<double>(random() % 1000) / 10});
      if (random() % 2) fields.back().formula = RandomText(random, tokens, 1 + static_cast<int>(random() % 12));
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

}  // namespace
}  // namespace mandor::values
