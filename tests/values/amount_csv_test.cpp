// Numbers as users type them, number cells, and the value files of `fill`.

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "mandor/values/amount.h"
#include "mandor/values/csv.h"

namespace mandor::values {
namespace {

TEST(AmountTest, ReadsEitherSeparatorGroupingAndCurrency) {
  EXPECT_EQ(ReadAmount("1234.5"), 1234.5);
  EXPECT_EQ(ReadAmount("1234,5"), 1234.5);
  EXPECT_EQ(ReadAmount("1 234,50 €"), 1234.5);
  EXPECT_EQ(ReadAmount("1\xC2\xA0"
                       "234,50"),
            1234.5);  // no-break space
  EXPECT_EQ(ReadAmount("1\xE2\x80\xAF"
                       "234,50"),
            1234.5);  // narrow no-break space
  EXPECT_EQ(ReadAmount("1,234.50"), 1234.5);
  EXPECT_EQ(ReadAmount("1.234,50"), 1234.5);
  EXPECT_EQ(ReadAmount("1.234.567"), 1234567);
  EXPECT_EQ(ReadAmount("1'234.5"), 1234.5);
  EXPECT_EQ(ReadAmount("EUR 12"), 12);
  EXPECT_EQ(ReadAmount("€12,5"), 12.5);
  EXPECT_EQ(ReadAmount("  -3,25 "), -3.25);
  EXPECT_EQ(ReadAmount("+7"), 7);
  EXPECT_EQ(ReadAmount("1.234"), 1.234);  // a single separator is decimal
  EXPECT_EQ(ReadAmount("-0"), 0);
}

TEST(AmountTest, RejectsWhatIsNoNumber) {
  for (const char* text : {"", " ", "abc", "12 ml", "1,2,3", "1.23.4", ",5", "5,", "1 2", "--1", "1..2", "1,234,5.6",
                           "€", "1e5", "12 34,5", "1.234,5.6"}) {
    EXPECT_FALSE(ReadAmount(text)) << text;
  }
}

TEST(AmountTest, NumberCellsHoldFiniteNumbersBelowTenToTheFifteen) {
  EXPECT_EQ(CellNumberText(1986.6), "1986.6");
  EXPECT_EQ(CellNumberText(5390), "5390");
  EXPECT_EQ(CellNumberText(-0.5), "-0.5");
  EXPECT_EQ(LocaleNumberText(612.5, Locale::Comma()), "612,5");
  EXPECT_EQ(LocaleNumberText(612.5, Locale::Point()), "612.5");
  EXPECT_TRUE(FitsNumberCell(999999999999999.0));
  EXPECT_FALSE(FitsNumberCell(1e15));
  EXPECT_FALSE(FitsNumberCell(std::numeric_limits<double>::infinity()));
}

bool KnownL(const std::string& name) { return !name.empty() && name[0] == 'L'; }

TEST(CsvTest, SemicolonOrCommaWithOptionalHeader) {
  const CsvResult semicolon = ReadValueFile("Nom;Valeur\r\nL1_PU;385,20\r\n\r\nL2_PU ; 12\r\n", KnownL);
  ASSERT_TRUE(semicolon.errors.empty());
  ASSERT_EQ(semicolon.pairs.size(), 2u);
  EXPECT_EQ(semicolon.pairs[0].name, "L1_PU");
  EXPECT_EQ(semicolon.pairs[0].value, "385,20");
  EXPECT_EQ(semicolon.pairs[0].line, 2);
  EXPECT_EQ(semicolon.pairs[1].name, "L2_PU");
  EXPECT_EQ(semicolon.pairs[1].value, "12");
  EXPECT_EQ(semicolon.pairs[1].line, 4);

  const CsvResult comma = ReadValueFile("L1_PU,\"385,20\"\nL2_Désignation,\"Porte \"\"EI 30\"\"\"\n", KnownL);
  ASSERT_TRUE(comma.errors.empty());
  ASSERT_EQ(comma.pairs.size(), 2u);  // no header: the first name is known
  EXPECT_EQ(comma.pairs[0].value, "385,20");
  EXPECT_EQ(comma.pairs[1].value, "Porte \"EI 30\"");

  // An unknown first name with a number is no header: it stays, to be refused by name.
  const CsvResult typo = ReadValueFile("X1_PU;12\nL1_PU;3\n", KnownL);
  ASSERT_EQ(typo.pairs.size(), 2u);
  EXPECT_EQ(typo.pairs[0].name, "X1_PU");
}

TEST(CsvTest, EncodingsUtf8WithBomAndWindows1252) {
  const CsvResult bom = ReadValueFile("\xEF\xBB\xBFL1_Qté;3\n", KnownL);
  ASSERT_EQ(bom.pairs.size(), 1u);
  EXPECT_EQ(bom.pairs[0].name, "L1_Qté");
  const CsvResult ansi = ReadValueFile("L1_Qt\xE9;3\nL2_D\xE9signation;Cl\xE9 \x80\n", KnownL);
  ASSERT_EQ(ansi.pairs.size(), 2u);
  EXPECT_EQ(ansi.pairs[0].name, "L1_Qté");
  EXPECT_EQ(ansi.pairs[1].value, "Clé €");
}

TEST(CsvTest, MalformedLinesAreReportedWithTheirNumbers) {
  const CsvResult bad = ReadValueFile("L1_PU;1\nL2_PU\nL3_PU;2;3\n;4\nL5_PU;\"open\n", KnownL);
  ASSERT_EQ(bad.errors.size(), 4u);
  EXPECT_EQ(bad.errors[0].rfind("line 2: 1 fields", 0), 0u) << bad.errors[0];
  EXPECT_EQ(bad.errors[1].rfind("line 3: 3 fields", 0), 0u) << bad.errors[1];
  EXPECT_EQ(bad.errors[2], "line 4: the name is empty");
  EXPECT_EQ(bad.errors[3], "line 5: a quote is not closed");
  ASSERT_EQ(bad.pairs.size(), 1u);
  EXPECT_TRUE(ReadValueFile("", KnownL).pairs.empty());
}

}  // namespace
}  // namespace mandor::values
