// The options of a print: page lists, offsets, and the text printed for a value.
#include <gtest/gtest.h>

#include <stdexcept>

#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

TEST(PrintOptions, PageListsAndOffsets) {
  EXPECT_EQ(ParsePageList("1"), (std::vector<int>{1}));
  EXPECT_EQ(ParsePageList("1,3-5"), (std::vector<int>{1, 3, 4, 5}));
  EXPECT_EQ(ParsePageList("4-4, 2 ,4,1-2"), (std::vector<int>{4, 2, 1}));  // repeats once
  for (const char* bad : {"", " ", "0", "-1", "1,", ",1", "3-1", "1-", "a", "1.5", "2--3", "1-99999999"}) {
    EXPECT_THROW(ParsePageList(bad), std::invalid_argument) << bad;
  }
  // Point or comma decimals.
  for (const auto& [text, x, y] : {std::tuple{"0.3,-0.2", 0.3, -0.2}, {"0,3;-0,25", 0.3, -0.25}, {" 1 , 2 ", 1., 2.}}) {
    const Offset o = ParseOffset(text);
    EXPECT_DOUBLE_EQ(o.x_cm, x);
    EXPECT_DOUBLE_EQ(o.y_cm, y);
  }
  for (const char* bad : {"", "1", "1,2,3", "0,3,-0,2", "x,1", "1;", "nan,0", "1e9,0", "inf,1"}) {
    EXPECT_THROW(ParseOffset(bad), std::invalid_argument) << bad;
  }
}

// Numbers take the output format in the locale; texts and plain-text fields
// stand as they are.
TEST(PrintOptions, DisplayValue) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  auto document = test::MakeDocument(1);
  const struct { bool comma; int16_t type, decimals; const char* value; const char* shown; } cases[] = {
      {true, 1, 2, "14", "14,00"}, {true, 1, 2, "1 234,567", "1234,57"},
      {true, 1, 2, "1,234.5", "1234,50"} /* grouping commas removed */, {true, 1, -3, "2", "2,000"},
      {true, 1, 0, "7", "7,"} /* no decimals: the output format keeps its separator */,
      {false, 2, 2, "0.125", "0.13"}, {false, 2, 1, "-3", "-3.0"}, {true, 1, 2, "Forfait", "Forfait"},
      {true, 1, 2, "", ""}, {true, 0, 0, "12", "12"} /* a page number, a reference */};
  for (const auto& c : cases) {
    platform->SetLocale(c.comma ? Locale::Comma() : Locale::Point());
    auto field = std::make_shared<CChamp>();
    field->Type_Champ(c.type);
    field->Décimales(c.decimals);
    EXPECT_EQ(DisplayValue(*document, field, c.value), c.shown) << c.value;
  }
  EXPECT_EQ(DisplayValue(*document, nullptr, "12"), "12");
}

}  // namespace
}  // namespace mandor::print
