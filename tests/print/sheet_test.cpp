// The calibration in force, the pixel-to-paper mapping and the sheet size.
#include <gtest/gtest.h>

#include <cmath>

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

TEST_F(SheetTest, TypeTwoMapsTheReferencePointsOntoTheirPaperPositions) {
  auto d = test::MakeDocument(1);
  d->Type_calage = 2;
  d->X1_pixel = 100, d->X1_cm = 1, d->X2_pixel = 1300, d->X2_cm = 11;  // 120 px/cm
  d->Y1_pixel = 200, d->Y1_cm = 3, d->Y2_pixel = 2600, d->Y2_cm = 23;
  const Calibration calibration = CalibrationOf(*d, std::nullopt, warnings_);
  EXPECT_EQ(calibration.type, 2);
  EXPECT_TRUE(warnings_.empty());
  const PaperMapping m = MappingOf(calibration, *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(100), 1, 1e-5);
  EXPECT_NEAR(m.X(1300), 11, 1e-5);
  EXPECT_NEAR(m.Y(200), 3, 1e-5);
  EXPECT_NEAR(m.Y(2600), 23, 1e-5);
  EXPECT_NEAR(m.X(0), 1 - 100.0 / 120, 1e-5);
  // The document's derived values were computed on the way.
  EXPECT_FLOAT_EQ(d->résolution_papier_largeur, 120);
}

TEST_F(SheetTest, TypeTwoWithReferencePointsOnOneLineUsesTheFixedResolution) {
  auto d = test::MakeDocument(1);
  d->Type_calage = 2;
  d->X1_pixel = 100, d->X1_cm = 5, d->X2_pixel = 900, d->X2_cm = 5;
  d->Y1_pixel = 100, d->Y1_cm = 2, d->Y2_pixel = 1300, d->Y2_cm = 12;
  const PaperMapping m = MappingOf(CalibrationOf(*d, std::nullopt, warnings_), *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(220), 5 + 120.0 / 120, 1e-5);
}

TEST_F(SheetTest, TypeOneSpreadsTheImageFromTheImageOrigin) {
  auto d = test::MakeDocument(1);
  d->Type_calage = 1;
  d->image_pixels_largeur = 2480, d->image_pixels_hauteur = 3508;
  d->feuille_cm_largeur = 21, d->feuille_cm_hauteur = 29.7f;
  const PaperMapping m = MappingOf(CalibrationOf(*d, std::nullopt, warnings_), *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(2480), 21, 1e-4);
  EXPECT_NEAR(m.Y(3508), 29.7, 1e-4);
  EXPECT_NEAR(m.X(0), 0, 1e-6);
}

TEST_F(SheetTest, TypeZeroAndUnknownTypesUseThePageResolution) {
  auto d = test::MakeDocument(2);
  d->Pages.Item(2L)->SetSize(150, 200, 1000, 1000);  // vertical 150, horizontal 200 dpi
  for (const int16_t type : {0, 3, -1}) {
    warnings_.clear();
    d->Type_calage = type;
    const Calibration calibration = CalibrationOf(*d, std::nullopt, warnings_);
    EXPECT_EQ(calibration.type, 0);
    EXPECT_EQ(warnings_.size(), type == 0 ? 0u : 1u);
    const PaperMapping m1 = MappingOf(calibration, *d->Pages.Item(1L));
    EXPECT_NEAR(m1.X(300), 2.54, 1e-9);
    const PaperMapping m2 = MappingOf(calibration, *d->Pages.Item(2L));
    EXPECT_NEAR(m2.X(200), 2.54, 1e-9);
    EXPECT_NEAR(m2.Y(150), 2.54, 1e-9);
  }
  // The calibration routine is not asked about types it does not know.
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(SheetTest, AZeroResolutionIsTakenAs300Dpi) {
  auto d = test::MakeDocument(1);
  d->Pages.Item(1L)->SetSize(0, 0, 0, 0);
  const PaperMapping m = MappingOf(CalibrationOf(*d, std::nullopt, warnings_), *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(300), 2.54, 1e-9);
  EXPECT_NEAR(m.Y(600), 5.08, 1e-9);
}

TEST_F(SheetTest, CalibrationsThatCannotBeComputedFallBackWithAWarning) {
  auto d = test::MakeDocument(1);
  d->Type_calage = 1;  // sheet size 0: a division by zero
  Calibration calibration = CalibrationOf(*d, std::nullopt, warnings_);
  EXPECT_EQ(calibration.type, 0);
  ASSERT_EQ(warnings_.size(), 1u);
  EXPECT_NE(warnings_[0].find("cannot be computed"), std::string::npos);
  EXPECT_EQ(platform_->messages().size(), 1u);

  warnings_.clear();
  d->feuille_cm_largeur = 21, d->feuille_cm_hauteur = 29.7f;  // but no image size: 0 px/cm
  calibration = CalibrationOf(*d, std::nullopt, warnings_);
  EXPECT_EQ(calibration.type, 0);
  ASSERT_EQ(warnings_.size(), 1u);
  EXPECT_NE(warnings_[0].find("0.00 x 0.00 pixels per cm"), std::string::npos) << warnings_[0];
}

TEST_F(SheetTest, PrinterOffsetFromTheMarkingOrGivenForThePrint) {
  auto d = test::MakeDocument(1);
  d->imprimante_OrigineX_cm = 0.5f;
  d->imprimante_OrigineY_cm = -0.25f;
  Calibration calibration = CalibrationOf(*d, std::nullopt, warnings_);
  EXPECT_FALSE(calibration.offset_overridden);
  PaperMapping m = MappingOf(calibration, *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(300), 2.54 + 0.5, 1e-6);
  EXPECT_NEAR(m.Y(300), 2.54 - 0.25, 1e-6);

  calibration = CalibrationOf(*d, Offset{-1, 2}, warnings_);
  EXPECT_TRUE(calibration.offset_overridden);
  m = MappingOf(calibration, *d->Pages.Item(1L));
  EXPECT_NEAR(m.X(300), 2.54 - 1, 1e-6);
  EXPECT_NEAR(m.Y(300), 2.54 + 2, 1e-6);
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(SheetTest, SheetFromTheMarkingThePageOrA4) {
  auto d = test::MakeDocument(1, 2480, 3508, 300);
  const CPage& page = *d->Pages.Item(1L);
  Sheet sheet = SheetOf(*d, page, warnings_);
  EXPECT_EQ(sheet.from, Sheet::From::kPage);
  EXPECT_NEAR(sheet.width_cm, 2480.0 / 300 * 2.54, 1e-6);
  EXPECT_NEAR(sheet.height_cm, 3508.0 / 300 * 2.54, 1e-6);

  d->feuille_cm_largeur = 21.6f, d->feuille_cm_hauteur = 27.9f;
  sheet = SheetOf(*d, page, warnings_);
  EXPECT_EQ(sheet.from, Sheet::From::kMarking);
  EXPECT_NEAR(sheet.width_cm, 21.6, 1e-5);

  auto empty = test::MakeDocument(1, 0, 0, 300);
  sheet = SheetOf(*empty, *empty->Pages.Item(1L), warnings_);
  EXPECT_EQ(sheet.from, Sheet::From::kA4);
  EXPECT_DOUBLE_EQ(sheet.width_cm, 21.0);
  EXPECT_DOUBLE_EQ(sheet.height_cm, 29.7);
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(SheetTest, OrientationTurnsSheetsOfTheMarkingAndA4ButNotAPagesOwnSize) {
  auto d = test::MakeDocument(1, 0, 0, 300);
  const CPage& page = *d->Pages.Item(1L);
  d->Orientation = 2;
  Sheet sheet = SheetOf(*d, page, warnings_);
  EXPECT_DOUBLE_EQ(sheet.width_cm, 29.7);
  EXPECT_DOUBLE_EQ(sheet.height_cm, 21.0);
  d->feuille_cm_largeur = 29.7f, d->feuille_cm_hauteur = 21;
  d->Orientation = 1;
  sheet = SheetOf(*d, page, warnings_);
  EXPECT_NEAR(sheet.width_cm, 21, 1e-5);
  d->Orientation = 0;  // as given
  sheet = SheetOf(*d, page, warnings_);
  EXPECT_NEAR(sheet.width_cm, 29.7, 1e-5);

  auto landscape = test::MakeDocument(1, 3508, 2480, 300);
  landscape->Orientation = 1;
  sheet = SheetOf(*landscape, *landscape->Pages.Item(1L), warnings_);
  EXPECT_GT(sheet.width_cm, sheet.height_cm);
}

TEST_F(SheetTest, ASheetSizeThatIsNotPositiveIsReported) {
  auto d = test::MakeDocument(1);
  d->feuille_cm_largeur = 21;
  d->feuille_cm_hauteur = 0;
  const Sheet sheet = SheetOf(*d, *d->Pages.Item(1L), warnings_);
  EXPECT_EQ(sheet.from, Sheet::From::kPage);
  ASSERT_EQ(warnings_.size(), 1u);
  EXPECT_NE(warnings_[0].find("21.00 x 0.00 cm"), std::string::npos) << warnings_[0];
}

TEST_F(SheetTest, PixelSizeOfAPage) {
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
