// Tests of the calibration: resolutions, field width and font size in pixels.
// Each computation's results are in tests/data/textfile/calage.txt.

#include <gtest/gtest.h>

#include <memory>

#include "tests/model/describe.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

class CalageTest : public TextFileTest {
 protected:
  CalageTest() { doc_->FonteSize(10); }

  // Runs the computation and adds its result, messages and outputs to the transcript.
  void Compute(const std::string& label) {
    const bool ok = doc_->CalculerParamètresCalage();
    const auto text = [](auto v) { return std::to_string(v); };
    transcript_ += "== " + label + "\n" + text(ok) + " " + text(doc_->résolution_papier_largeur) + " x " +
                   text(doc_->résolution_papier_hauteur) + " px/cm, origin " + text(doc_->image_OrigineX_cm) + ", " +
                   text(doc_->image_OrigineY_cm) + " cm, field " + text(doc_->champ_largeur_pixels) + " px, font " +
                   text(doc_->Police_pixels_écran) + "/" + text(doc_->Police_texte_pixels_écran) + " px\n";
    for (const auto& m : platform_->messages()) {
      transcript_ += "[" + m.title + "|" + text(static_cast<int>(m.style)) + "] " + m.text + "\n";
    }
    platform_->ClearMessages();
  }

  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
  std::string transcript_;
};

TEST_F(CalageTest, ResolutionsFieldWidthAndFont) {
  // Type 1: a 2480 x 3508 pixel image on an A4 sheet, 118.095 x 118.114
  // px/cm; 10 pt = 0.3528 cm, times 118.114 = 41.67 px. The image origin is
  // left alone.
  doc_->Type_calage = 1;
  std::tie(doc_->image_pixels_largeur, doc_->image_pixels_hauteur) = std::make_tuple(2480, 3508);
  std::tie(doc_->feuille_cm_largeur, doc_->feuille_cm_hauteur) = std::make_tuple(21.0f, 29.7f);
  doc_->champ_largeur_cm = 3.0f;
  std::tie(doc_->image_OrigineX_cm, doc_->image_OrigineY_cm) = std::make_tuple(0.5f, 0.25f);
  Compute("sheet");
  // Type 1 with no sheet width: division by zero; nothing after the failing step runs.
  doc_->feuille_cm_largeur = 0;
  std::tie(doc_->résolution_papier_largeur, doc_->résolution_papier_hauteur) = std::make_tuple(0.f, 7.f);
  doc_->champ_largeur_pixels = 11;
  Compute("no sheet width");
  // 0 / 0 overflows; values assigned before the error keep their new values.
  doc_->feuille_cm_largeur = 21;
  doc_->feuille_cm_hauteur = 0;
  doc_->image_pixels_hauteur = 0;
  Compute("0 / 0");

  // Type 2: two reference points; the same coordinate gives the default
  // resolution (120) whatever the pixels; round(10 / 72 * 2.54 * 120) = 42.
  doc_->Type_calage = 2;
  std::tie(doc_->X1_cm, doc_->X1_pixel, doc_->X2_cm, doc_->X2_pixel) = std::make_tuple(1.f, 100.f, 11.f, 1300.f);
  std::tie(doc_->Y1_cm, doc_->Y1_pixel, doc_->Y2_cm, doc_->Y2_pixel) = std::make_tuple(2.f, 240.f, 2.f, 9999.f);
  doc_->champ_largeur_cm = 2.5f;
  Compute("two points");
  std::tie(doc_->X2_cm, doc_->X2_pixel) = std::make_tuple(1.f, 12345.f);
  Compute("same x in cm");
  EXPECT_NEAR(doc_->image_OrigineX_cm + doc_->X1_pixel / doc_->résolution_papier_largeur, doc_->X1_cm, 1e-5);
  // The font size comes through the font chain: 24 / 72 * 2.54 * 120 = 101.6.
  auto catalogue_font = std::make_shared<CFont>();
  catalogue_font->Size(24);
  doc_->Font(std::make_shared<CFont>());
  doc_->Font()->ParentFont1 = catalogue_font;
  Compute("inherited font");
  doc_->FonteSize(10);
  // A field width beyond the 16-bit range (120 000 pixels) overflows.
  doc_->champ_largeur_cm = 1000;
  Compute("field too wide");
  // The same pixel for both points: resolution 0, then the origin divides by it.
  doc_->champ_largeur_cm = 1;
  std::tie(doc_->X1_cm, doc_->X1_pixel, doc_->X2_cm, doc_->X2_pixel) = std::make_tuple(1.f, 50.f, 2.f, 50.f);
  Compute("same pixel");

  // An unknown type is reported but is no error: resolutions kept as they
  // were; 10 / 72 * 2.54 * 50 = 17.6.
  std::tie(doc_->résolution_papier_largeur, doc_->résolution_papier_hauteur) = std::make_tuple(100.f, 50.f);
  doc_->champ_largeur_cm = 2;
  for (const int16_t type : {3, -4}) {
    doc_->Type_calage = type;
    Compute("type " + std::to_string(type));
  }
  test_util::ExpectDescribedAs(transcript_, "textfile/calage.txt");
}

}  // namespace
}  // namespace mandor::textfile_test
