// The options of a print (page lists, offsets, the text printed for a value)
// and, on the edge cases the printed PDFs do not show, the calibration in
// force, the pixel-to-paper mapping and the sheet size.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "mandor/print/print.h"
#include "mandor/print/sheet.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

TEST(PrintOptions, PageListsAndOffsets) {
  EXPECT_EQ(ParsePageList("1,3-5"), (std::vector<int>{1, 3, 4, 5}));
  EXPECT_EQ(ParsePageList("4-4, 2 ,4,1-2"), (std::vector<int>{4, 2, 1}));  // repeats once
  for (const char* bad : {"", " ", "0", "-1", "1,", ",1", "3-1", "1-", "a", "1.5", "2--3", "1-99999999"}) {
    EXPECT_THROW(ParsePageList(bad), std::invalid_argument) << bad;
  }
  // Point or comma decimals.
  for (const auto& [text, x, y] : {std::tuple{"0.3,-0.2", 0.3, -0.2}, {"0,3;-0,25", 0.3, -0.25}, {" 1 , 2 ", 1., 2.}}) {
    EXPECT_EQ(std::make_pair(ParseOffset(text).x_cm, ParseOffset(text).y_cm), std::make_pair(x, y)) << text;
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

TEST(PrintSheet, PixelsToPaper) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  struct Case {
    const char* label;
    std::function<void(Mandor&)> set_up;
    int type;                  // in force
    double pixel, x_cm, y_cm;  // X(pixel), Y(pixel) on page 1
  };
  const Case cases[] = {
      {"type 2, points on one vertical line: the fixed resolution",
       [](Mandor& d) {
         d.Type_calage = 2;
         d.X1_pixel = 100, d.X1_cm = 1, d.X2_pixel = 1300, d.X2_cm = 1;
         d.Y1_pixel = 200, d.Y1_cm = 3, d.Y2_pixel = 2600, d.Y2_cm = 23;  // 120 px/cm
       },
       2, 220, 1 + 120.0 / 120, 3 + 20.0 / 120},
      {"horizontal and vertical resolutions", [](Mandor& d) { d.Pages.Item(1L)->SetSize(150, 200, 1000, 1000); },
       0, 300, 300 / 200.0 * 2.54, 300 / 150.0 * 2.54},
      {"unknown type", [](Mandor& d) { d.Type_calage = -1; }, 0, 300, 2.54, 2.54},
      {"resolution 0 taken as 300 dpi", [](Mandor& d) { d.Pages.Item(1L)->SetSize(0, 0, 0, 0); }, 0, 600,
       5.08, 5.08},
  };
  std::vector<std::string> warnings;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = test::MakeDocument(1);
    c.set_up(*d);
    const Calibration calibration = CalibrationOf(*d, std::nullopt, warnings);
    EXPECT_EQ(calibration.type, c.type);
    const PaperMapping m = MappingOf(calibration, *d->Pages.Item(1L));
    EXPECT_NEAR(m.X(c.pixel), c.x_cm, 1e-4);
    EXPECT_NEAR(m.Y(c.pixel), c.y_cm, 1e-4);
  }
  EXPECT_EQ(warnings.size(), 1u) << "the unknown type only";
  EXPECT_TRUE(platform->messages().empty()) << "the calibration routine is not asked about unknown types";
}

TEST(PrintSheet, SheetFromTheMarkingThePageOrA4TurnedByTheOrientation) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  struct Case {
    const char* label;
    float page_w, page_h, sheet_w, sheet_h;  // pixels at 300 dpi; the marking's sheet in cm
    int16_t orientation;
    Sheet::From from;
    double width_cm, height_cm;
  };
  const double a4_w = 2480.0 / 300 * 2.54, a4_h = 3508.0 / 300 * 2.54;
  const Case cases[] = {
      {"a landscape page keeps its own orientation", 3508, 2480, 0, 0, 1, Sheet::From::kPage, a4_h, a4_w},
      {"the marking's sheet turned to portrait", 2480, 3508, 29.7f, 21, 1, Sheet::From::kMarking, 21, 29.7},
      {"the marking's sheet as given", 2480, 3508, 29.7f, 21, 0, Sheet::From::kMarking, 29.7, 21},
      {"A4 turned to landscape", 0, 0, 0, 0, 2, Sheet::From::kA4, 29.7, 21},
  };
  std::vector<std::string> warnings;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = test::MakeDocument(1, c.page_w, c.page_h, 300);
    d->feuille_cm_largeur = c.sheet_w, d->feuille_cm_hauteur = c.sheet_h;
    d->Orientation = c.orientation;
    const Sheet sheet = SheetOf(*d, *d->Pages.Item(1L), warnings);
    EXPECT_EQ(sheet.from, c.from);
    EXPECT_NEAR(sheet.width_cm, c.width_cm, 1e-5);
    EXPECT_NEAR(sheet.height_cm, c.height_cm, 1e-5);
  }
  EXPECT_TRUE(warnings.empty());
}

}  // namespace
}  // namespace mandor::print
