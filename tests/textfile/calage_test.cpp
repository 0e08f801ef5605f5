#include <gtest/gtest.h>

#include <memory>

#include "mandor/model/mandor.h"
#include "mandor/util/memory_platform.h"

namespace mandor {
namespace {

class CalageTest : public ::testing::Test {
 protected:
  CalageTest() : platform_(std::make_shared<MemoryPlatform>(Locale::Comma())), scope_(platform_) {
    doc_->FonteSize(10);
  }

  std::shared_ptr<MemoryPlatform> platform_;
  ScopedPlatform scope_;
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_F(CalageTest, SheetSizeGivesResolutionsFieldWidthAndFont) {
  doc_->Type_calage = 1;
  doc_->image_pixels_largeur = 2480;
  doc_->image_pixels_hauteur = 3508;
  doc_->feuille_cm_largeur = 21.0f;
  doc_->feuille_cm_hauteur = 29.7f;
  doc_->champ_largeur_cm = 3.0f;
  doc_->image_OrigineX_cm = 0.5f;
  doc_->image_OrigineY_cm = 0.25f;

  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  EXPECT_FLOAT_EQ(doc_->résolution_papier_largeur, 2480.0f / 21.0f);
  EXPECT_NEAR(doc_->résolution_papier_largeur, 118.095, 0.001);
  EXPECT_FLOAT_EQ(doc_->résolution_papier_hauteur, 3508.0f / 29.7f);
  EXPECT_NEAR(doc_->résolution_papier_hauteur, 118.114, 0.001);
  EXPECT_EQ(doc_->champ_largeur_pixels, 354);
  // 10 pt = 0.3528 cm; times 118.114 px/cm = 41.67.
  EXPECT_EQ(doc_->Police_pixels_écran, 42);
  EXPECT_EQ(doc_->Police_texte_pixels_écran, 42);
  EXPECT_FLOAT_EQ(doc_->image_OrigineX_cm, 0.5f) << "type 1 leaves the image origin alone";
  EXPECT_FLOAT_EQ(doc_->image_OrigineY_cm, 0.25f);
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(CalageTest, TwoReferencePoints) {
  doc_->Type_calage = 2;
  doc_->X1_cm = 1;
  doc_->X1_pixel = 100;
  doc_->X2_cm = 11;
  doc_->X2_pixel = 1300;
  doc_->Y1_cm = 2;
  doc_->Y1_pixel = 240;
  doc_->Y2_cm = 2;  // same coordinate: the default resolution
  doc_->Y2_pixel = 9999;
  doc_->champ_largeur_cm = 2.5f;

  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  EXPECT_FLOAT_EQ(doc_->résolution_papier_largeur, 120.0f);
  EXPECT_EQ(doc_->résolution_papier_hauteur, 120.0f) << "exactly 120, whatever the pixels";
  EXPECT_NEAR(doc_->image_OrigineX_cm, 1.0 - 100.0 / 120.0, 1e-6);
  EXPECT_NEAR(doc_->image_OrigineX_cm, 0.1667, 1e-4);
  EXPECT_FLOAT_EQ(doc_->image_OrigineY_cm, 0.0f);
  EXPECT_EQ(doc_->champ_largeur_pixels, 300);
  EXPECT_EQ(doc_->Police_pixels_écran, 42) << "round(10 / 72 * 2.54 * 120) = round(42.33)";
  EXPECT_EQ(doc_->Police_texte_pixels_écran, 42);

  // X1 = X2 in cm: 120 whatever the pixel values, origin follows from it.
  doc_->X2_cm = 1;
  doc_->X2_pixel = 12345;
  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  EXPECT_EQ(doc_->résolution_papier_largeur, 120.0f);
  // Points on the paper follow origin + pixel / resolution.
  EXPECT_NEAR(doc_->image_OrigineX_cm + doc_->X1_pixel / doc_->résolution_papier_largeur, doc_->X1_cm, 1e-5);
}

TEST_F(CalageTest, FontSizeComesThroughTheFontChain) {
  auto catalogue_font = std::make_shared<CFont>();
  catalogue_font->Size(24);
  auto font = std::make_shared<CFont>();
  font->ParentFont1 = catalogue_font;
  doc_->Font(font);
  doc_->Font()->ParentFont1 = catalogue_font;
  doc_->Type_calage = 2;  // both resolutions 120
  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  EXPECT_EQ(doc_->Police_pixels_écran, 102);  // 24 / 72 * 2.54 * 120 = 101.6
}

TEST_F(CalageTest, UnknownTypeIsReportedButNotAnError) {
  doc_->Type_calage = 3;
  doc_->résolution_papier_largeur = 100;
  doc_->résolution_papier_hauteur = 50;
  doc_->champ_largeur_cm = 2;
  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "type de calage inconnu dans calculerparamètrescalage: 3");
  EXPECT_EQ(platform_->messages()[0].title, kDefaultMessageTitle);
  EXPECT_EQ(platform_->messages()[0].style, MessageStyle::kPlain);
  EXPECT_FLOAT_EQ(doc_->résolution_papier_largeur, 100.0f) << "resolutions kept as they were";
  EXPECT_EQ(doc_->champ_largeur_pixels, 200);
  EXPECT_EQ(doc_->Police_pixels_écran, 18);  // 10 / 72 * 2.54 * 50 = 17.6

  platform_->ClearMessages();
  doc_->Type_calage = -4;
  EXPECT_TRUE(doc_->CalculerParamètresCalage());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "type de calage inconnu dans calculerparamètrescalage: -4");
}

TEST_F(CalageTest, ErrorsStopTheComputationWithAMessage) {
  // Type 1 with no sheet width: division by zero.
  doc_->Type_calage = 1;
  doc_->image_pixels_largeur = 2480;
  doc_->image_pixels_hauteur = 3508;
  doc_->feuille_cm_largeur = 0;
  doc_->feuille_cm_hauteur = 29.7f;
  doc_->résolution_papier_hauteur = 7;
  doc_->champ_largeur_pixels = 11;
  EXPECT_FALSE(doc_->CalculerParamètresCalage());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "ERREUR dans calculerParamètresCalage: Division by zero");
  EXPECT_EQ(platform_->messages()[0].style, MessageStyle::kCritical);
  EXPECT_FLOAT_EQ(doc_->résolution_papier_hauteur, 7.0f) << "nothing after the failing step runs";
  EXPECT_EQ(doc_->champ_largeur_pixels, 11);

  // Values assigned before the error keep their new values.
  platform_->ClearMessages();
  doc_->feuille_cm_largeur = 21;
  doc_->feuille_cm_hauteur = 0;
  doc_->image_pixels_hauteur = 0;  // 0 / 0
  EXPECT_FALSE(doc_->CalculerParamètresCalage());
  EXPECT_NEAR(doc_->résolution_papier_largeur, 118.095, 0.001);
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "ERREUR dans calculerParamètresCalage: Overflow");

  // A field width beyond the 16-bit range overflows.
  platform_->ClearMessages();
  doc_->Type_calage = 2;
  doc_->champ_largeur_cm = 1000;  // 120 000 pixels
  EXPECT_FALSE(doc_->CalculerParamètresCalage());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "ERREUR dans calculerParamètresCalage: Overflow");
  EXPECT_EQ(doc_->résolution_papier_largeur, 120.0f);

  // Two reference points with the same pixel: resolution 0, then the origin divides by it.
  platform_->ClearMessages();
  doc_->champ_largeur_cm = 1;
  doc_->X1_cm = 1;
  doc_->X2_cm = 2;
  doc_->X1_pixel = 50;
  doc_->X2_pixel = 50;
  EXPECT_FALSE(doc_->CalculerParamètresCalage());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "ERREUR dans calculerParamètresCalage: Division by zero");
}

}  // namespace
}  // namespace mandor
