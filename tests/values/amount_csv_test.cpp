// Numbers as users type them and the value files of `fill`.

#include <string>

#include <gtest/gtest.h>

#include "mandor/values/amount.h"
#include "mandor/values/csv.h"

namespace mandor::values {
namespace {

TEST(AmountTest, ReadsEitherSeparatorGroupingAndCurrencyAndRejectsWhatIsNoNumber) {
  const struct { const char* text; double value; } numbers[] = {
      {"1234.5", 1234.5}, {"1234,5", 1234.5}, {"1 234,50 €", 1234.5}, {"1\xC2\xA0" "234,50", 1234.5},
      {"1\xE2\x80\xAF" "234,50", 1234.5}, {"1,234.50", 1234.5}, {"1.234,50", 1234.5}, {"1.234.567", 1234567},
      {"12 345 678,99 €", 12345678.99}, {"1'234.5", 1234.5}, {"EUR 12", 12}, {"€12,5", 12.5}, {"  -3,25 ", -3.25},
      {"+7", 7}, {"1.234", 1.234} /* a single separator is decimal */, {"-0", 0}};
  for (const auto& n : numbers) EXPECT_EQ(ReadAmount(n.text), n.value) << n.text;
  for (const char* text : {"", " ", "abc", "12 ml", "1,2,3", "1.23.4", ",5", "5,", "1 2", "--1", "1..2", "1,234,5.6",
                           "€", "1e5", "12 34,5", "1.234,5.6"}) {
    EXPECT_FALSE(ReadAmount(text)) << text;
  }
}

// The pairs read, as "line:name=value ", then the errors (the part before any detail).
std::string Read(const std::string& file) {
  const CsvResult csv = ReadValueFile(file, [](const std::string& name) { return !name.empty() && name[0] == 'L'; });
  std::string text;
  for (const auto& p : csv.pairs) text += std::to_string(p.line) + ":" + p.name + "=" + p.value + " ";
  for (const std::string& e : csv.errors) {
    const size_t detail = e.find(" fields");
    text += "| " + e.substr(0, detail == std::string::npos ? detail : detail + 7);
  }
  return text;
}

TEST(CsvTest, SeparatorsHeadersQuotesEncodingsAndMalformedLines) {
  const struct { std::string file, read; } cases[] = {
      // Semicolons, a header, CR LF, blank lines, blanks around the name.
      {"Nom;Valeur\r\nL1_PU;385,20\r\n\r\nL2_PU ; 12\r\n", "2:L1_PU=385,20 4:L2_PU=12 "},
      // Commas and quotes; no header when the first name is a known one.
      {"L1_PU,\"385,20\"\nL2_Désignation,\"Porte \"\"EI 30\"\"\"\n",
       "1:L1_PU=385,20 2:L2_Désignation=Porte \"EI 30\" "},
      // An unknown first name with a number is no header: it stays, to be refused by name.
      {"X1_PU;12\nL1_PU;3\n", "1:X1_PU=12 2:L1_PU=3 "},
      // UTF-8 with its byte order mark; Windows-1252.
      {"\xEF\xBB\xBFL1_Qté;3\n", "1:L1_Qté=3 "},
      {"L1_Qt\xE9;3\nL2_D\xE9signation;Cl\xE9 \x80\n", "1:L1_Qté=3 2:L2_Désignation=Clé € "},
      {"L1_PU;1\nL2_PU\nL3_PU;2;3\n;4\nL5_PU;\"open\n",
       "1:L1_PU=1 | line 2: 1 fields| line 3: 3 fields| line 4: the name is empty| line 5: a quote is not closed"},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(Read(c.file), c.read) << c.file;
}

}  // namespace
}  // namespace mandor::values
