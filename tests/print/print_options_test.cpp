// The options of a print: page lists, offsets, values for one print, and
// the text printed for a value.
#include <gtest/gtest.h>

#include <stdexcept>

#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

TEST(ParsePageList, RangesListsAndRepeats) {
  EXPECT_EQ(ParsePageList("1"), (std::vector<int>{1}));
  EXPECT_EQ(ParsePageList("1,3-5"), (std::vector<int>{1, 3, 4, 5}));
  EXPECT_EQ(ParsePageList("4-4, 2 ,4,1-2"), (std::vector<int>{4, 2, 1}));
  for (const char* bad : {"", " ", "0", "-1", "1,", ",1", "3-1", "1-", "a", "1.5", "2--3", "1-99999999"}) {
    EXPECT_THROW(ParsePageList(bad), std::invalid_argument) << bad;
  }
}

TEST(ParseOffset, PointOrCommaDecimals) {
  Offset o = ParseOffset("0.3,-0.2");
  EXPECT_DOUBLE_EQ(o.x_cm, 0.3);
  EXPECT_DOUBLE_EQ(o.y_cm, -0.2);
  o = ParseOffset("0,3;-0,25");
  EXPECT_DOUBLE_EQ(o.x_cm, 0.3);
  EXPECT_DOUBLE_EQ(o.y_cm, -0.25);
  o = ParseOffset(" 1 , 2 ");
  EXPECT_DOUBLE_EQ(o.x_cm, 1);
  EXPECT_DOUBLE_EQ(o.y_cm, 2);
  for (const char* bad : {"", "1", "1,2,3", "0,3,-0,2", "x,1", "1;", "nan,0", "1e9,0", "inf,1"}) {
    EXPECT_THROW(ParseOffset(bad), std::invalid_argument) << bad;
  }
}

class DisplayValueTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  std::shared_ptr<Mandor> document_ = test::MakeDocument(1);

  std::shared_ptr<CChamp> Field(int16_t type, int16_t decimals) {
    auto field = std::make_shared<CChamp>();
    field->Type_Champ(type);
    field->Décimales(decimals);
    return field;
  }
};

TEST_F(DisplayValueTest, NumbersTakeTheOutputFormatInTheLocale) {
  platform_->SetLocale(Locale::Comma());
  EXPECT_EQ(DisplayValue(*document_, Field(1, 2), "14"), "14,00");
  EXPECT_EQ(DisplayValue(*document_, Field(1, 2), "1 234,567"), "1234,57");
  EXPECT_EQ(DisplayValue(*document_, Field(1, 2), "1,234.5"), "1234,50");  // grouping commas removed
  EXPECT_EQ(DisplayValue(*document_, Field(1, -3), "2"), "2,000");
  // No decimals: the output format keeps its separator.
  EXPECT_EQ(DisplayValue(*document_, Field(1, 0), "7"), "7,");
  platform_->SetLocale(Locale::Point());
  EXPECT_EQ(DisplayValue(*document_, Field(2, 2), "0.125"), "0.13");
  EXPECT_EQ(DisplayValue(*document_, Field(2, 1), "-3"), "-3.0");
}

TEST_F(DisplayValueTest, TextAndPlainTextFieldsStandAsTheyAre) {
  platform_->SetLocale(Locale::Comma());
  EXPECT_EQ(DisplayValue(*document_, Field(1, 2), "Forfait"), "Forfait");
  EXPECT_EQ(DisplayValue(*document_, Field(1, 2), ""), "");
  EXPECT_EQ(DisplayValue(*document_, Field(0, 0), "12"), "12");  // a page number, a reference
  EXPECT_EQ(DisplayValue(*document_, nullptr, "12"), "12");
}

}  // namespace
}  // namespace mandor::print
