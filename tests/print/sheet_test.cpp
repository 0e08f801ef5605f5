// The calibration in force, the pixel-to-paper mapping and the sheet size,
// on the edge cases the printed PDFs do not show. (Where each calibration
// type puts a value is checked on the printed PDF, the warnings too.)
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "mandor/print/sheet.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

class SheetTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  std::vector<std::string> warnings_;
};

TEST_F(SheetTest, PixelsToPaper) {
  struct Case {
    const char* label;
    std::function<void(Mandor&)> set_up;
    std::optional<Offset> offset;
    int type;                   // in force
    double pixel, x_cm, y_cm;   // X(pixel), Y(pixel) on page 1
  };
  const Case cases[] = {
      {"type 2, points on one vertical line: the fixed resolution",
       [](Mandor& d) {
         d.Type_calage = 2;
         d.X1_pixel = 100, d.X1_cm = 1, d.X2_pixel = 1300, d.X2_cm = 1;
         d.Y1_pixel = 200, d.Y1_cm = 3, d.Y2_pixel = 2600, d.Y2_cm = 23;  // 120 px/cm
       },
       std::nullopt, 2, 220, 1 + 120.0 / 120, 3 + 20.0 / 120},
      {"horizontal and vertical resolutions", [](Mandor& d) { d.Pages.Item(1L)->SetSize(150, 200, 1000, 1000); },
       std::nullopt, 0, 300, 300 / 200.0 * 2.54, 300 / 150.0 * 2.54},
      {"unknown type", [](Mandor& d) { d.Type_calage = -1; }, std::nullopt, 0, 300, 2.54, 2.54},
      {"resolution 0 taken as 300 dpi", [](Mandor& d) { d.Pages.Item(1L)->SetSize(0, 0, 0, 0); }, std::nullopt, 0,
       600, 5.08, 5.08},
      {"an offset given over the marking's", [](Mandor& d) { d.imprimante_OrigineX_cm = 0.5f; }, Offset{-1, 2}, 0,
       300, 2.54 - 1, 2.54 + 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = test::MakeDocument(1);
    c.set_up(*d);
    const Calibration calibration = CalibrationOf(*d, c.offset, warnings_);
    EXPECT_EQ(calibration.type, c.type);
    EXPECT_EQ(calibration.offset_overridden, c.offset.has_value());
    const PaperMapping m = MappingOf(calibration, *d->Pages.Item(1L));
    EXPECT_NEAR(m.X(c.pixel), c.x_cm, 1e-4);
    EXPECT_NEAR(m.Y(c.pixel), c.y_cm, 1e-4);
  }
  EXPECT_EQ(warnings_.size(), 1u) << "the unknown type only";
  // The calibration routine is not asked about types it does not know.
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(SheetTest, SheetFromTheMarkingThePageOrA4TurnedByTheOrientation) {
  struct Case {
    const char* label;
    float page_w, page_h, sheet_w, sheet_h;  // pixels at 300 dpi; the marking's sheet in cm
    int16_t orientation;
    Sheet::From from;
    double width_cm, height_cm;
  };
  const double a4_w = 2480.0 / 300 * 2.54, a4_h = 3508.0 / 300 * 2.54;
  const Case cases[] = {
      {"the page's size", 2480, 3508, 0, 0, 0, Sheet::From::kPage, a4_w, a4_h},
      {"a landscape page keeps its own orientation", 3508, 2480, 0, 0, 1, Sheet::From::kPage, a4_h, a4_w},
      {"the marking's sheet", 2480, 3508, 21.6f, 27.9f, 0, Sheet::From::kMarking, 21.6, 27.9},
      {"the marking's sheet turned to portrait", 2480, 3508, 29.7f, 21, 1, Sheet::From::kMarking, 21, 29.7},
      {"the marking's sheet as given", 2480, 3508, 29.7f, 21, 0, Sheet::From::kMarking, 29.7, 21},
      {"A4", 0, 0, 0, 0, 0, Sheet::From::kA4, 21, 29.7},
      {"A4 turned to landscape", 0, 0, 0, 0, 2, Sheet::From::kA4, 29.7, 21},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = test::MakeDocument(1, c.page_w, c.page_h, 300);
    d->feuille_cm_largeur = c.sheet_w, d->feuille_cm_hauteur = c.sheet_h;
    d->Orientation = c.orientation;
    const Sheet sheet = SheetOf(*d, *d->Pages.Item(1L), warnings_);
    EXPECT_EQ(sheet.from, c.from);
    EXPECT_NEAR(sheet.width_cm, c.width_cm, 1e-5);
    EXPECT_NEAR(sheet.height_cm, c.height_cm, 1e-5);
  }
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(SheetTest, PixelSizeOfAPageFromThePageTheDocumentOrA4) {
  auto d = test::MakeDocument(1, 1000, 1500, 300);
  PagePixels size = PixelSizeOf(*d, *d->Pages.Item(1L));
  EXPECT_EQ(size.from, PagePixels::From::kPage);
  EXPECT_DOUBLE_EQ(size.width, 1000);
  auto unsized = test::MakeDocument(1, 0, 0, 200);
  size = PixelSizeOf(*unsized, *unsized->Pages.Item(1L));
  EXPECT_EQ(size.from, PagePixels::From::kA4);
  EXPECT_DOUBLE_EQ(size.width, std::round(21 / 2.54 * 200));
  unsized->image_pixels_largeur = 800, unsized->image_pixels_hauteur = 900;
  size = PixelSizeOf(*unsized, *unsized->Pages.Item(1L));
  EXPECT_EQ(size.from, PagePixels::From::kDocument);
  EXPECT_DOUBLE_EQ(size.height, 900);
}

}  // namespace
}  // namespace mandor::print
