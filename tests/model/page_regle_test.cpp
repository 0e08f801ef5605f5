#include <gtest/gtest.h>

#include "mandor/model/mandor.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using PageRegleTest = test_util::MemoryPlatformTest;

TEST_F(PageRegleTest, PageAndRulerPointsFollowThePageResolutions) {
  auto page = std::make_shared<CPage>();
  page->SetSize(200, 100, 2480, 3508);  // vertical resolution first
  EXPECT_FLOAT_EQ(page->Width_Point(), 2480.0f / 100 * 72);
  EXPECT_FLOAT_EQ(page->Height_Point(), 3508.0f / 200 * 72);

  CRegle ruler;
  ruler.Position_pixel_X = 300;
  ruler.Position_pixel_Y = 600;
  EXPECT_EQ(ruler.Position_point_X() + ruler.Position_point_Y(), 0) << "no page";
  ruler.Page(page);
  page->hResolution(200);
  page->vResolution(300);
  EXPECT_FLOAT_EQ(ruler.Position_point_X(), 108);
  EXPECT_FLOAT_EQ(ruler.Position_point_Y(), 216) << "Y divides by hResolution (200), not 300";
  page->vResolution(0);
  EXPECT_EQ(test_util::ErrorNumberOf([&] { page->Height_Point(); }), kDivisionByZero);
  ruler.WidthChamp(240);
  EXPECT_FLOAT_EQ(ruler.largeur_cm, 2);
}

TEST_F(PageRegleTest, RulerFontIsSharedAndFollowsItsDocument) {
  CRegle ruler;
  EXPECT_EQ(ruler.Alignement(), 3) << "an alignment the ruler does not set";
  ruler.Alignement(2);
  EXPECT_EQ(ruler.Font()->Alignment(), "2");
  ruler.Alignement(7);
  EXPECT_EQ(ruler.Alignement(), 2) << "other codes change nothing";
  auto font = ruler.GetFontClassFromProperties();
  font->Bold(true);
  EXPECT_TRUE(ruler.Bold()) << "the font object itself, not a copy";

  auto doc = std::make_shared<Mandor>();
  doc->FonteName("Courier");
  ruler.oOwnerMandor(doc);
  EXPECT_EQ(ruler.FontName(), "Courier");
  auto adopted = std::make_shared<CFont>();
  ruler.Font(adopted);
  EXPECT_EQ(adopted->ParentFont1, doc->Font());
}

}  // namespace
}  // namespace mandor
