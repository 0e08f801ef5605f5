// The formula language: syntax, names with spaces, column sums over pages,
// rounding, and the errors that leave a field empty.

#include "mandor/values/formula.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mandor::values {
namespace {

FormulaField Input(const std::string& name, double number, int page = 1, const std::string& column = "") {
  FormulaField field;
  field.name = name;
  field.number = number;
  field.text = std::to_string(number);
  field.page = page;
  field.column = column;
  return field;
}

FormulaField Computed(const std::string& name, const std::string& formula, int decimals = 2, int page = 1,
                      const std::string& column = "") {
  FormulaField field;
  field.name = name;
  field.formula = formula;
  field.decimals = decimals;
  field.page = page;
  field.column = column;
  return field;
}

// The result of the single formula "formula" over the fields given.
FormulaResult One(const std::string& formula, std::vector<FormulaField> fields = {}, int decimals = 2,
                  FormulaContext context = {}) {
  fields.push_back(Computed("R", formula, decimals));
  return ComputeFormulas(fields, context).back();
}

TEST(FormulaTest, ArithmeticFollowsPrecedenceParenthesesAndSigns) {
  EXPECT_EQ(One("2+3*4").number, 14);
  EXPECT_EQ(One("(2+3)*4").number, 20);
  EXPECT_EQ(One("-2*-3").number, 6);
  EXPECT_EQ(One("10-4-3").number, 3);  // left to right
  EXPECT_EQ(One("12/4/3").number, 1);
  EXPECT_EQ(One(" 10 / 4 ").number, 2.5);
  EXPECT_EQ(One("1,5*2").number, 3);  // decimal comma
  EXPECT_EQ(One("1.25+0.5").number, 1.75);
  EXPECT_EQ(One("+7").number, 7);
}

TEST(FormulaTest, ResultsAreRoundedHalfAwayFromZeroToTheDecimals) {
  EXPECT_EQ(One("5/2", {}, 0).number, 3);
  EXPECT_EQ(One("-5/2", {}, 0).number, -3);
  EXPECT_EQ(One("1.005", {}, 2).number, 1.01);  // on the decimal text, not the binary value
  EXPECT_EQ(One("236.5*9.15", {}, 2).number, 2163.98);
  EXPECT_EQ(One("2/3", {}, 3).number, 0.667);
  EXPECT_EQ(One("2/3", {}, -1).number, 0.7);  // negative decimals count as their magnitude
  EXPECT_EQ(RoundToDecimals(-0.001, 2), 0);
  EXPECT_FALSE(std::signbit(RoundToDecimals(-0.001, 2)));
}

TEST(FormulaTest, NamesWithSpacesAndAccentsResolveToTheLongestKnownName) {
  std::vector<FormulaField> fields = {Input("L1_Qté", 3), Input("L1_Prix", 1000), Input("L1_Prix unitaire", 12.5)};
  EXPECT_EQ(One("L1_Qté*L1_Prix unitaire", fields).number, 37.5);
  EXPECT_EQ(One("L1_Qté * L1_Prix", fields).number, 3000);
  EXPECT_EQ(One("l1_qTÉ+L1_PRIX UNITAIRE", fields).number, 15.5);  // without regard to case
  EXPECT_EQ(One("(L1_Prix unitaire)-L1_Qté", fields).number, 9.5);
  // A longer word that is no name is not cut down to a known one: the
  // longest name ending before a blank is L1_Prix, and "unitaireX" does not parse.
  const FormulaResult unknown = One("L1_Prix unitaireX", fields);
  EXPECT_FALSE(unknown.number);
  EXPECT_NE(unknown.error.find("does not parse: unexpected \"u\" at character 9"), std::string::npos) << unknown.error;
  EXPECT_EQ(One("L1_QtéX", fields).error, "unknown name \"L1_QtéX\"");
}

TEST(FormulaTest, TvaIsTheDocumentRateUnlessAFieldHasThatName) {
  FormulaContext context;
  context.tva = 5.5;
  EXPECT_EQ(One("200*TVA/100", {}, 2, context).number, 11);
  EXPECT_EQ(One("200*tva/100", {}, 2, context).number, 11);
  EXPECT_EQ(One("200*TVA/100", {Input("TVA", 20)}, 2, context).number, 40);
  EXPECT_TRUE(One("TVAX", {}, 2, context).error.find("unknown name") != std::string::npos);
}

TEST(FormulaTest, ReferencedFormulasAreComputedFirstWhateverTheirOrder) {
  // C depends on B which depends on A; listed backwards.
  std::vector<FormulaField> fields = {Computed("C", "B*2"), Computed("B", "A+1"), Input("A", 4)};
  const auto results = ComputeFormulas(fields, {});
  EXPECT_EQ(results[0].number, 10);
  EXPECT_EQ(results[1].number, 5);
  EXPECT_FALSE(results[2].has_formula);
}

TEST(FormulaTest, EmptyValuesCountAsZeroAndTextsAreErrors) {
  FormulaField empty;
  empty.name = "Prix";
  FormulaField text;
  text.name = "Unité";
  text.text = "ml";
  EXPECT_EQ(One("Prix*3", {empty}).number, 0);
  const FormulaResult bad = One("Unité*3", {text});
  EXPECT_FALSE(bad.number);
  EXPECT_EQ(bad.error, "Unité holds \"ml\", not a number");
}

TEST(FormulaTest, ErrorsNameTheirCauseAndLeaveOtherFieldsComputed) {
  std::vector<FormulaField> fields = {
      Input("A", 1),
      Computed("Div", "A/(A-1)"),
      Computed("Fn", "FOO(A)"),
      Computed("Nm", "A+Bogus"),
      Computed("Syntax", "2+*3"),
      Computed("Open", "(1+2"),
      Computed("Col", "SOMME(Nowhere)"),
      Computed("Good", "A+1"),
      Computed("After", "Div+1"),
  };
  const auto r = ComputeFormulas(fields, {});
  EXPECT_EQ(r[1].error, "division by zero");
  EXPECT_EQ(r[2].error, "unknown function \"FOO\"");
  EXPECT_EQ(r[3].error, "unknown name \"Bogus\"");
  EXPECT_NE(r[4].error.find("does not parse"), std::string::npos) << r[4].error;
  EXPECT_NE(r[4].error.find("at character 3"), std::string::npos) << r[4].error;
  EXPECT_NE(r[5].error.find("expected \")\""), std::string::npos) << r[5].error;
  EXPECT_EQ(r[6].error, "unknown column \"Nowhere\"");
  EXPECT_EQ(r[7].number, 2);
  EXPECT_TRUE(r[7].error.empty());
  EXPECT_EQ(r[8].error, "depends on Div, which cannot be computed");
  for (size_t i = 1; i <= 6; ++i) EXPECT_FALSE(r[i].number) << fields[i].name;
  // Errors of the formula itself, and those of the values.
  for (size_t i : {2, 3, 4, 5, 6}) EXPECT_TRUE(r[i].malformed) << fields[i].name;
  for (size_t i : {1, 7, 8}) EXPECT_FALSE(r[i].malformed) << fields[i].name;
}

TEST(FormulaTest, CyclesAreReportedOnEveryFieldOfTheCycleAndOnWhatDependsOnIt) {
  std::vector<FormulaField> fields = {Computed("A", "B+1"),       Computed("B", "C+1"), Computed("C", "A+1"),
                                      Computed("Self", "Self*2"), Computed("D", "A+1"), Input("E", 3)};
  const auto r = ComputeFormulas(fields, {});
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(r[i].error.rfind("cycle: ", 0), 0u) << r[i].error;
    EXPECT_NE(r[i].error.find("A"), std::string::npos);
    EXPECT_NE(r[i].error.find("C"), std::string::npos);
  }
  EXPECT_EQ(r[3].error, "cycle: Self -> Self");
  EXPECT_TRUE(r[0].malformed);
  EXPECT_FALSE(r[4].malformed);  // D's own formula is fine
  EXPECT_EQ(r[4].error.rfind("depends on A", 0), 0u) << r[4].error;
}

TEST(FormulaTest, DeepNestingIsAnErrorNotACrash) {
  const std::string deep = std::string(5000, '(') + "1" + std::string(5000, ')');
  EXPECT_NE(One(deep).error.find("too deeply nested"), std::string::npos);
  const std::string signs = std::string(5000, '-') + "1";
  EXPECT_NE(One(signs).error.find("too deeply nested"), std::string::npos);
  EXPECT_EQ(One("((((2))))").number, 2);
}

// A detail estimate over three pages: lines in column PT, a page total at
// the foot of each page, the amount carried onto pages 2 and 3, VAT and the
// grand total on the last page.
TEST(FormulaTest, SommeAddsTheCarriedAmountToThePageLinesAndReportCarriesThePreviousPages) {
  std::vector<FormulaField> f = {
      Input("L1_Qté", 2, 1, "Qté"),
      Input("L1_PU", 10, 1, "PU"),
      Computed("L1_PT", "L1_Qté*L1_PU", 2, 1, "PT"),
      Input("L2_Qté", 3, 1, "Qté"),
      Input("L2_PU", 5.5, 1, "PU"),
      Computed("L2_PT", "L2_Qté*L2_PU", 2, 1, "PT"),
      Computed("TA1", "SOMME(PT)", 2, 1),
      Computed("TD2", "#REPORT(PT)", 2, 2),
      Input("L3_Qté", 1, 2, "Qté"),
      Input("L3_PU", 100, 2, "PU"),
      Computed("L3_PT", "L3_Qté*L3_PU", 2, 2, "PT"),
      Computed("TA2", "SOMME(pt)", 2, 2),
      Computed("TD3", "TA2", 2, 3),
      Input("L4_Qté", 4, 3, "Qté"),
      Input("L4_PU", 0.25, 3, "PU"),
      Computed("L4_PT", "L4_Qté*L4_PU", 2, 3, "PT"),
      // Totals in the PT column itself are no lines of it.
      Computed("THT_PT", "SOMME(PT)", 2, 3, "PT"),
      Computed("TVA_PT", "THT_PT*TVA/100", 2, 3, "PT"),
      Computed("TTC_PT", "THT_PT+TVA_PT", 2, 3, "PT"),
      Computed("R3", "#REPORT(PT)", 2, 3),
      Computed("R1", "#REPORT(PT)", 2, 1),
  };
  FormulaContext context;
  context.tva = 20;
  const auto r = ComputeFormulas(f, context);
  const auto at = [&](const std::string& name) {
    for (size_t i = 0; i < f.size(); ++i) {
      if (f[i].name == name) {
        EXPECT_TRUE(r[i].error.empty()) << name << ": " << r[i].error;
        return r[i].number.value_or(-1);
      }
    }
    ADD_FAILURE() << name;
    return -1.0;
  };
  // Page 1: 2 x 10 + 3 x 5.5 = 20 + 16.5 = 36.5.
  EXPECT_EQ(at("L2_PT"), 16.5);
  EXPECT_EQ(at("TA1"), 36.5);
  EXPECT_EQ(at("R1"), 0);
  // Page 2: carried 36.5, lines 100: total 136.5.
  EXPECT_EQ(at("TD2"), 36.5);
  EXPECT_EQ(at("TA2"), 136.5);
  // Page 3: carried 136.5, line 4 x 0.25 = 1; total 137.5, VAT 27.5, 165.
  EXPECT_EQ(at("TD3"), 136.5);
  EXPECT_EQ(at("R3"), 136.5);
  EXPECT_EQ(at("THT_PT"), 137.5);
  EXPECT_EQ(at("TVA_PT"), 27.5);
  EXPECT_EQ(at("TTC_PT"), 165);
}

TEST(FormulaTest, AColumnWithoutLinesOnSomePagesCarriesItsAmountThrough) {
  std::vector<FormulaField> f = {Input("L1_PT", 7, 1, "PT"), Computed("X_Note", "1", 0, 2, "Note"),
                                 Computed("TD5", "#REPORT(PT)", 2, 5), Computed("TA5", "SOMME(PT)", 2, 5)};
  const auto r = ComputeFormulas(f, {});
  EXPECT_EQ(r[2].number, 7);
  EXPECT_EQ(r[3].number, 7);
}

TEST(FormulaTest, LettresGivesFrenchWordsAndOnlyAsTheWholeFormula) {
  std::vector<FormulaField> fields = {Input("L1_PU", 385.2)};
  const FormulaResult words = One("LETTRES(L1_PU)", fields);
  EXPECT_TRUE(words.error.empty()) << words.error;
  EXPECT_EQ(words.text, "Trois cent quatre-vingt-cinq euros et vingt centimes");
  EXPECT_FALSE(words.number);
  EXPECT_NE(One("LETTRES(L1_PU)+1", fields).error.find("LETTRES gives a text"), std::string::npos);
  FormulaContext swiss;
  swiss.currency = "CHF";
  EXPECT_EQ(One("lettres(2)", {}, 2, swiss).text, "Deux francs suisses");
  FormulaContext unknown;
  unknown.currency = "FRF";
  EXPECT_EQ(One("LETTRES(2)", {}, 2, unknown).error, "no French words for the currency \"FRF\"");
}

}  // namespace
}  // namespace mandor::values
