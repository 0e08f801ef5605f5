// Tests of the calibration: resolutions, field width and font size in pixels.

#include <gtest/gtest.h>

#include <memory>

#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

class CalageTest : public TextFileTest {
 protected:
  CalageTest() { doc_->FonteSize(10); }

  // Runs the computation, expecting `message` (or none) with a failure when `ok` is false.
  void Compute(bool ok, const std::string& message = "") {
    platform_->ClearMessages();
    EXPECT_EQ(doc_->CalculerParamètresCalage(), ok);
    ASSERT_EQ(platform_->messages().size(), message.empty() ? 0u : 1u);
    if (!message.empty()) {
      ExpectMessage(0, message, kDefaultMessageTitle, ok ? MessageStyle::kPlain : MessageStyle::kCritical);
    }
  }

  // Type 1 calibration of a 2480 x 3508 pixel image on a sheet of the given size.
  void UseSheet(float width_cm, float height_cm) {
    doc_->Type_calage = 1;
    doc_->image_pixels_largeur = 2480;
    doc_->image_pixels_hauteur = 3508;
    doc_->feuille_cm_largeur = width_cm;
    doc_->feuille_cm_hauteur = height_cm;
  }

  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_F(CalageTest, SheetSizeGivesResolutionsFieldWidthAndFont) {
  UseSheet(21.0f, 29.7f);
  doc_->champ_largeur_cm = 3.0f;
  doc_->image_OrigineX_cm = 0.5f;
  doc_->image_OrigineY_cm = 0.25f;
  Compute(true);
  EXPECT_NEAR(doc_->résolution_papier_largeur, 118.095, 0.001);  // 2480 / 21
  EXPECT_NEAR(doc_->résolution_papier_hauteur, 118.114, 0.001);  // 3508 / 29.7
  EXPECT_EQ(doc_->champ_largeur_pixels, 354);
  // 10 pt = 0.3528 cm; times 118.114 px/cm = 41.67.
  EXPECT_EQ(doc_->Police_pixels_écran, 42);
  EXPECT_EQ(doc_->Police_texte_pixels_écran, 42);
  EXPECT_FLOAT_EQ(doc_->image_OrigineX_cm, 0.5f) << "type 1 leaves the image origin alone";
  EXPECT_FLOAT_EQ(doc_->image_OrigineY_cm, 0.25f);
}

TEST_F(CalageTest, TwoReferencePoints) {
  doc_->Type_calage = 2;
  std::tie(doc_->X1_cm, doc_->X1_pixel, doc_->X2_cm, doc_->X2_pixel) = std::make_tuple(1.f, 100.f, 11.f, 1300.f);
  // Same coordinate: the default resolution, whatever the pixels.
  std::tie(doc_->Y1_cm, doc_->Y1_pixel, doc_->Y2_cm, doc_->Y2_pixel) = std::make_tuple(2.f, 240.f, 2.f, 9999.f);
  doc_->champ_largeur_cm = 2.5f;
  Compute(true);
  EXPECT_FLOAT_EQ(doc_->résolution_papier_largeur, 120.0f);
  EXPECT_EQ(doc_->résolution_papier_hauteur, 120.0f);
  EXPECT_NEAR(doc_->image_OrigineX_cm, 1.0 - 100.0 / 120.0, 1e-6);
  EXPECT_FLOAT_EQ(doc_->image_OrigineY_cm, 0.0f);
  EXPECT_EQ(doc_->champ_largeur_pixels, 300);
  EXPECT_EQ(doc_->Police_pixels_écran, 42) << "round(10 / 72 * 2.54 * 120) = round(42.33)";
  EXPECT_EQ(doc_->Police_texte_pixels_écran, 42);

  // X1 = X2 in cm: 120 whatever the pixel values; points on the paper follow origin + pixel / resolution.
  doc_->X2_cm = 1;
  doc_->X2_pixel = 12345;
  Compute(true);
  EXPECT_EQ(doc_->résolution_papier_largeur, 120.0f);
  EXPECT_NEAR(doc_->image_OrigineX_cm + doc_->X1_pixel / doc_->résolution_papier_largeur, doc_->X1_cm, 1e-5);

  // The font size comes through the font chain.
  auto catalogue_font = std::make_shared<CFont>();
  catalogue_font->Size(24);
  doc_->Font(std::make_shared<CFont>());
  doc_->Font()->ParentFont1 = catalogue_font;
  Compute(true);
  EXPECT_EQ(doc_->Police_pixels_écran, 102);  // 24 / 72 * 2.54 * 120 = 101.6
}

TEST_F(CalageTest, UnknownTypeIsReportedButNotAnError) {
  doc_->résolution_papier_largeur = 100;
  doc_->résolution_papier_hauteur = 50;
  doc_->champ_largeur_cm = 2;
  for (int16_t type : {3, -4}) {
    doc_->Type_calage = type;
    Compute(true, "type de calage inconnu dans calculerparamètrescalage: " + std::to_string(type));
    EXPECT_FLOAT_EQ(doc_->résolution_papier_largeur, 100.0f) << "resolutions kept as they were";
    EXPECT_EQ(doc_->champ_largeur_pixels, 200);
    EXPECT_EQ(doc_->Police_pixels_écran, 18);  // 10 / 72 * 2.54 * 50 = 17.6
  }
}

TEST_F(CalageTest, ErrorsStopTheComputationWithAMessage) {
  // Type 1 with no sheet width: division by zero; nothing after the failing step runs.
  UseSheet(0, 29.7f);
  doc_->résolution_papier_hauteur = 7;
  doc_->champ_largeur_pixels = 11;
  Compute(false, "ERREUR dans calculerParamètresCalage: Division by zero");
  EXPECT_FLOAT_EQ(doc_->résolution_papier_hauteur, 7.0f);
  EXPECT_EQ(doc_->champ_largeur_pixels, 11);

  // 0 / 0 overflows; values assigned before the error keep their new values.
  doc_->feuille_cm_largeur = 21;
  doc_->feuille_cm_hauteur = 0;
  doc_->image_pixels_hauteur = 0;
  Compute(false, "ERREUR dans calculerParamètresCalage: Overflow");
  EXPECT_NEAR(doc_->résolution_papier_largeur, 118.095, 0.001);

  // A field width beyond the 16-bit range (120 000 pixels) overflows.
  doc_->Type_calage = 2;
  doc_->champ_largeur_cm = 1000;
  Compute(false, "ERREUR dans calculerParamètresCalage: Overflow");
  EXPECT_EQ(doc_->résolution_papier_largeur, 120.0f);

  // Two reference points with the same pixel: resolution 0, then the origin divides by it.
  doc_->champ_largeur_cm = 1;
  std::tie(doc_->X1_cm, doc_->X1_pixel, doc_->X2_cm, doc_->X2_pixel) = std::make_tuple(1.f, 50.f, 2.f, 50.f);
  Compute(false, "ERREUR dans calculerParamètresCalage: Division by zero");
}

}  // namespace
}  // namespace mandor::textfile_test
