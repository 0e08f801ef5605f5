// The formula language: syntax, names with spaces, column sums over pages,
// rounding, and the errors that leave a field empty.

#include "mandor/values/formula.h"

#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mandor::values {
namespace {

// An input field holding `number`, and a computed one.
FormulaField Field(const std::string& name, double number, int page = 1, const std::string& column = "") {
  return {name, "", 2, page, column, std::to_string(number), number};
}
FormulaField Computed(const std::string& name, const std::string& formula, int page = 1,
                      const std::string& column = "", int decimals = 2) {
  return {name, formula, decimals, page, column, "", std::nullopt};
}

// The result of the single formula "formula" over the fields given.
FormulaResult One(const std::string& formula, std::vector<FormulaField> fields = {}, int decimals = 2,
                  FormulaContext context = {}) {
  fields.push_back(Computed("R", formula, 1, "", decimals));
  return ComputeFormulas(fields, context).back();
}

TEST(FormulaTest, ArithmeticRoundingAndNamesWithSpaces) {
  const std::vector<FormulaField> names = {Field("L1_Qté", 3), Field("L1_Prix", 1000), Field("L1_Prix unitaire", 12.5)};
  const struct { const char* formula; int decimals; double number; } cases[] = {
      {"2+3*4", 2, 14}, {"(2+3)*4", 2, 20}, {"-2*-3", 2, 6}, {"10-4-3", 2, 3}, {"12/4/3", 2, 1},
      {" 10 / 4 ", 2, 2.5}, {"1,5*2", 2, 3}, {"1.25+0.5", 2, 1.75}, {"+7", 2, 7}, {"((((2))))", 2, 2},
      // Half away from zero, on the decimal text rather than the binary value;
      // negative decimals count as their magnitude.
      {"5/2", 0, 3}, {"-5/2", 0, -3}, {"1.005", 2, 1.01}, {"236.5*9.15", 2, 2163.98}, {"2/3", 3, 0.667},
      {"2/3", -1, 0.7},
      // The longest known name, without regard to case.
      {"L1_Qté*L1_Prix unitaire", 2, 37.5}, {"L1_Qté * L1_Prix", 2, 3000}, {"l1_qTÉ+L1_PRIX UNITAIRE", 2, 15.5},
      {"(L1_Prix unitaire)-L1_Qté", 2, 9.5},
  };
  for (const auto& c : cases) {
    const FormulaResult r = One(c.formula, names, c.decimals);
    EXPECT_EQ(r.number, c.number) << c.formula << ": " << r.error;
  }
  EXPECT_EQ(RoundToDecimals(-0.001, 2), 0);
  EXPECT_FALSE(std::signbit(RoundToDecimals(-0.001, 2)));
  // A longer word that is no name is not cut down to a known one: the
  // longest name ending before a blank is L1_Prix, and "unitaireX" does not parse.
  EXPECT_NE(One("L1_Prix unitaireX", names).error.find("does not parse: unexpected \"u\" at character 9"),
            std::string::npos);
  EXPECT_EQ(One("L1_QtéX", names).error, "unknown name \"L1_QtéX\"");
}

TEST(FormulaTest, TvaCurrencyEmptyValuesAndOrderOfComputation) {
  FormulaContext context{.tva = 5.5};
  EXPECT_EQ(One("200*tva/100", {}, 2, context).number, 11);
  EXPECT_EQ(One("200*TVA/100", {Field("TVA", 20)}, 2, context).number, 40);  // a field of that name wins
  // LETTRES gives words in the document's currency (the sample's euros: book_test.cpp).
  context.currency = "CHF";
  EXPECT_EQ(One("lettres(2)", {}, 2, context).text, "Deux francs suisses");
  context.currency = "FRF";
  EXPECT_EQ(One("LETTRES(2)", {}, 2, context).error, "no French words for the currency \"FRF\"");
  // An empty value counts as zero, a text is an error.
  EXPECT_EQ(One("Prix*3", {{"Prix", "", 2, 1, "", "", std::nullopt}}).number, 0);
  EXPECT_EQ(One("Unité*3", {{"Unité", "", 2, 1, "", "ml", std::nullopt}}).error, "Unité holds \"ml\", not a number");
  // C depends on B which depends on A; listed backwards.
  const auto r = ComputeFormulas({Computed("C", "B*2"), Computed("B", "A+1"), Field("A", 4)}, {});
  EXPECT_EQ(r[0].number, 10);
  EXPECT_EQ(r[1].number, 5);
}

TEST(FormulaTest, ErrorsNameTheirCauseAndLeaveOtherFieldsComputed) {
  const std::string deep = std::string(5000, '(') + "1" + std::string(5000, ')'), signs = std::string(5000, '-') + "1";
  const struct { const char* name; std::string formula; const char* error; bool malformed; } cases[] = {
      {"Div", "A/(A-1)", "division by zero", false}, {"Fn", "FOO(A)", "unknown function \"FOO\"", true},
      {"Nm", "A+Bogus", "unknown name \"Bogus\"", true},
      {"Syntax", "2+*3", "does not parse: unexpected \"*\" at character 3", true},
      {"Open", "(1+2", "expected \")\"", true}, {"Col", "SOMME(Nowhere)", "unknown column \"Nowhere\"", true},
      {"After", "Div+1", "depends on Div, which cannot be computed", false},
      {"Deep", deep, "too deeply nested", true}, {"Signs", signs, "too deeply nested", true},
      {"Lettres", "LETTRES(A)+1", "LETTRES gives a text", true},
      // A cycle is reported on every field of it, naming them; D's own formula is fine.
      {"CA", "CB+1", "cycle: CA -> CB -> CC", true}, {"CB", "CC+1", "cycle: ", true}, {"CC", "CA+1", "cycle: ", true},
      {"Self", "Self*2", "cycle: Self -> Self", true}, {"D", "CA+1", "depends on CA", false},
  };
  std::vector<FormulaField> fields = {Field("A", 1), Computed("Good", "A+1")};
  for (const auto& c : cases) fields.push_back(Computed(c.name, c.formula));
  const auto r = ComputeFormulas(fields, {});
  EXPECT_EQ(r[1].number, 2);
  for (size_t i = 0; i < std::size(cases); ++i) {
    const FormulaResult& result = r[i + 2];
    EXPECT_FALSE(result.number) << cases[i].name;
    EXPECT_NE(result.error.find(cases[i].error), std::string::npos) << cases[i].name << ": " << result.error;
    EXPECT_EQ(result.malformed, cases[i].malformed) << cases[i].name;
  }
  // Formulas cut short or holding stray bytes, as a damaged catalogue may: an error, never a value.
  for (const char* formula : {"SOMME(", "#REPORT(", "LETTRES(", "SOMME(PT", "1+", "(", ")", "*", ",", "1,,2", "A B",
                              "\xff", "\xc3", "é", "#", "SOMME()", "LETTRES(A", "A(", "1 2", "((A)"}) {
    const FormulaResult result = One(formula, {Field("A", 1)});
    EXPECT_TRUE(result.has_formula && !result.number && result.text.empty() && result.malformed) << formula;
    EXPECT_NE(result.error, "") << formula;
  }
  // And random token soup (a deterministic walk): a value or an error, never both, never a crash.
  const std::string tokens[] = {"A", "Prix unitaire", "+", "-", "*", "/", "(", ")", " ", "1", "2,5", "0", "TVA",
                                "SOMME(", "#REPORT(", "PT", "LETTRES(", "é", ",", "\xc2", "\xff", "\x80"};
  std::mt19937 random(20);
  for (int round = 0; round < 3000; ++round) {
    std::string formula;
    for (int n = static_cast<int>(random() % 12); n-- > 0;) formula += tokens[random() % std::size(tokens)];
    const FormulaResult result = One(formula, {Field("A", 1, 1, "PT"), Field("Prix unitaire", 2, 2, "PT")}, 3);
    EXPECT_NE(result.number.has_value() || !result.text.empty(), !result.error.empty() || !result.has_formula)
        << formula;
    EXPECT_TRUE(std::isfinite(result.number.value_or(0))) << formula;
  }
}

// A detail estimate over three pages: lines in column PT, a page total at
// the foot of each page, the amount carried onto pages 2 and 3, VAT and the
// grand total on the last page.
TEST(FormulaTest, SommeAddsTheCarriedAmountToThePageLinesAndReportCarriesThePreviousPages) {
  const std::vector<FormulaField> f = {
      Field("L1_Qté", 2, 1, "Qté"), Field("L1_PU", 10, 1, "PU"), Computed("L1_PT", "L1_Qté*L1_PU", 1, "PT"),
      Field("L2_Qté", 3, 1, "Qté"), Field("L2_PU", 5.5, 1, "PU"), Computed("L2_PT", "L2_Qté*L2_PU", 1, "PT"),
      Computed("TA1", "SOMME(PT)", 1), Computed("TD2", "#REPORT(PT)", 2),
      Field("L3_Qté", 1, 2, "Qté"), Field("L3_PU", 100, 2, "PU"), Computed("L3_PT", "L3_Qté*L3_PU", 2, "PT"),
      Computed("TA2", "SOMME(pt)", 2), Computed("TD3", "TA2", 3),
      Field("L4_Qté", 4, 3, "Qté"), Field("L4_PU", 0.25, 3, "PU"), Computed("L4_PT", "L4_Qté*L4_PU", 3, "PT"),
      // Totals in the PT column itself are no lines of it.
      Computed("THT_PT", "SOMME(PT)", 3, "PT"), Computed("TVA_PT", "THT_PT*TVA/100", 3, "PT"),
      Computed("TTC_PT", "THT_PT+TVA_PT", 3, "PT"), Computed("R3", "#REPORT(PT)", 3), Computed("R1", "#REPORT(PT)", 1),
      // A column without lines on some pages carries its amount through.
      Field("M1_PT", 7, 1, "MT"), Computed("X_Note", "1", 2, "Note"), Computed("TD5", "#REPORT(MT)", 5),
      Computed("TA5", "SOMME(MT)", 5),
  };
  const auto r = ComputeFormulas(f, {.tva = 20});
  std::map<std::string, double> at;
  for (size_t i = 0; i < f.size(); ++i) {
    EXPECT_TRUE(r[i].error.empty()) << f[i].name << ": " << r[i].error;
    at[f[i].name] = r[i].number.value_or(-1);
  }
  // Page 1: 2 x 10 + 3 x 5.5 = 20 + 16.5 = 36.5. Page 2: carried 36.5, lines
  // 100: total 136.5. Page 3: carried 136.5, line 4 x 0.25 = 1; total 137.5,
  // VAT 27.5, 165.
  const std::map<std::string, double> expected = {
      {"L2_PT", 16.5}, {"TA1", 36.5}, {"R1", 0},        {"TD2", 36.5},  {"TA2", 136.5}, {"TD3", 136.5},
      {"R3", 136.5},   {"THT_PT", 137.5}, {"TVA_PT", 27.5}, {"TTC_PT", 165}, {"TD5", 7},     {"TA5", 7}};
  for (const auto& [name, value] : expected) EXPECT_EQ(at[name], value) << name;
}

}  // namespace
}  // namespace mandor::values
