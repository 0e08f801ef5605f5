// The PDF read back with poppler: each value stands where the calibration
// puts it (within 0.2 mm) for calibration types 0, 1 and 2, with and without
// a printer offset, on made-up documents and on the samples; styles, fonts,
// title, left-out fields, warnings, and the test sheet's crosshairs.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <limits>
#include <set>

#include "mandor/print/field_text.h"
#include "mandor/print/page_fields.h"
#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

using test::kCm;
using test::kTolerancePt;
using test::AddField;

// Paper position in cm of a pixel, computed the way a person checks a
// calibration: by proportion between the two reference points (type 2), by
// the share of the sheet (type 1), or through the resolution (type 0).
struct Expected {
  std::function<double(double)> x_cm, y_cm;
};

Expected ExpectedFor(const Mandor& d, int dpi, double offset_x = 0, double offset_y = 0) {
  switch (d.Type_calage) {
    case 2:
      return {[&d, offset_x](double p) {
                return d.X1_cm + (p - d.X1_pixel) * (d.X2_cm - d.X1_cm) / (d.X2_pixel - d.X1_pixel) + offset_x;
              },
              [&d, offset_y](double p) {
                return d.Y1_cm + (p - d.Y1_pixel) * (d.Y2_cm - d.Y1_cm) / (d.Y2_pixel - d.Y1_pixel) + offset_y;
              }};
    case 1:
      return {[&d, offset_x](double p) { return p * d.feuille_cm_largeur / d.image_pixels_largeur + offset_x; },
              [&d, offset_y](double p) { return p * d.feuille_cm_hauteur / d.image_pixels_hauteur + offset_y; }};
    default:
      return {[dpi, offset_x](double p) { return p / dpi * 2.54 + offset_x; },
              [dpi, offset_y](double p) { return p / dpi * 2.54 + offset_y; }};
  }
}

// A prefix and a number ("V100"), appended rather than concatenated to a
// literal, where GCC 12 at -O3 warns falsely (-Wrestrict).
std::string Labelled(const char* prefix, int n) {
  std::string text = prefix;
  text += std::to_string(n);
  return text;
}

// Checks that `text` of `field` stands in the field's rectangle as its
// alignment says: its left edge, right edge or centre at the padding from
// the box edge, and its centre line on the box's centre line.
void ExpectPlaced(const test::Pdf& pdf, int page, const CChamp& field, const std::string& text,
                  const Expected& expected) {
  SCOPED_TRACE(field.Nom() + " \"" + text + "\" on page " + std::to_string(page));
  const double left = expected.x_cm(field.Position_pixel_Left) * kCm;
  const double right = expected.x_cm(field.Position_pixel_Right) * kCm;
  const double top = expected.y_cm(field.Position_pixel_Top) * kCm;
  const double bottom = expected.y_cm(field.Position_pixel_Bottom) * kCm;
  const std::optional<test::TextBox> box = pdf.FindNear(page, text, (left + right) / 2, (top + bottom) / 2);
  ASSERT_TRUE(box.has_value()) << pdf.text(page);
  switch (field.Alignement()) {
    case 1:
      EXPECT_NEAR(box->x2, right - kTextPaddingPt, kTolerancePt);
      break;
    case 2:
      EXPECT_NEAR(box->cx(), (left + right) / 2, kTolerancePt);
      break;
    default:
      EXPECT_NEAR(box->x1, left + kTextPaddingPt, kTolerancePt);
      break;
  }
  EXPECT_NEAR(box->cy(), (top + bottom) / 2, kTolerancePt);
}

// The value given for this print to `field`, "" when none is.
std::string GivenValue(const PrintOptions& options, const CChamp& field) {
  const auto it = options.values.find(field.Nom());
  return it == options.values.end() ? "" : it->second;
}

// Checks every printable field of every page whose text (as `text_of` gives
// it) is not empty, placed as `expected_of` its page says; gives how many.
int ExpectEveryFieldPlaced(const test::Pdf& pdf, const Mandor& d,
                           const std::function<std::string(const std::shared_ptr<CChamp>&)>& text_of,
                           const std::function<Expected(const CPage&)>& expected_of) {
  EXPECT_EQ(pdf.pages(), static_cast<int>(d.Pages.Count()));
  int checked = 0;
  for (int page = 1; page <= pdf.pages(); ++page) {
    const CPage& p = *d.Pages.Item(static_cast<long>(page));
    for (const PageField& entry : FieldsOfPage(d, p)) {
      const std::string text = text_of(entry.field);
      if (text.empty() || entry.field->Imprimable() == 0) continue;
      ExpectPlaced(pdf, page, *entry.field, text, expected_of(p));
      ++checked;
    }
  }
  return checked;
}

class PrintPdfTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};

  std::string Print(Mandor& document, const PrintOptions& options = {}) {
    report_ = {};
    return PrintToPdfBytes(document, options, report_);
  }
  PrintReport report_;
};

// Three fields, one per alignment, on each of two pages.
std::shared_ptr<Mandor> AlignedDocument() {
  auto d = test::MakeDocument(2);
  for (int page = 1; page <= 2; ++page) {
    const std::string p = std::to_string(page);
    AddField(*d, page, "L" + p + "_Gauche", 300, 400 * page, 900, 460 * page, "Gauche " + p)->Alignement(0);
    AddField(*d, page, "L" + p + "_Droite", 1000, 700 * page, 1600, 760 * page, "Droite " + p)->Alignement(1);
    auto centre = AddField(*d, page, "L" + p + "_Centre", 1700, 900 + 300 * page, 2300, 980 + 300 * page,
                           "Centre " + p);
    centre->Alignement(2);
    centre->FontSize(14);
  }
  return d;
}

// Each calibration type, the marking's printer offset and one given for the
// print, a page with a resolution of its own, and a type-1 calibration that
// cannot be computed (printed through the page resolution, with a warning).
TEST_F(PrintPdfTest, EveryAlignmentInPlaceForEachCalibration) {
  struct Case {
    const char* label;
    std::function<void(Mandor&)> set_up;
    std::optional<Offset> offset;  // given for the print
    double expect_x = 0, expect_y = 0;  // offset expected in cm
    double sheet_w = 2480.0 / 300 * 2.54, sheet_h = 3508.0 / 300 * 2.54;
    int fallback_type = -1;  // the type the placement falls back to, -1 for none
  };
  const auto type_two = [](Mandor& d) {
    d.Type_calage = 2;
    d.X1_pixel = 236, d.Y1_pixel = 354, d.X1_cm = 2, d.Y1_cm = 3;
    d.X2_pixel = 2244, d.Y2_pixel = 3189, d.X2_cm = 19, d.Y2_cm = 27;
  };
  const Case cases[] = {
      {"type 0", [](Mandor& d) { d.Type_calage = 0; }, std::nullopt},
      {"type 0, page 2 at 200 dpi", [](Mandor& d) { d.Pages.Item(2L)->SetSize(200, 200, 2480, 3508); }, std::nullopt},
      {"type 0 with the marking's offset",
       [](Mandor& d) { d.imprimante_OrigineX_cm = 1.0f, d.imprimante_OrigineY_cm = 0.5f; }, std::nullopt, 1.0, 0.5},
      {"type 1",
       [](Mandor& d) {
         d.Type_calage = 1;
         d.image_pixels_largeur = 2400, d.image_pixels_hauteur = 3400;  // a scan narrower than the page
         d.feuille_cm_largeur = 21, d.feuille_cm_hauteur = 29.7f;
       },
       std::nullopt, 0, 0, 21, 29.7},
      {"type 2", type_two, std::nullopt},
      {"type 2 with the marking's offset",
       [&](Mandor& d) { type_two(d), d.imprimante_OrigineX_cm = 0.4f, d.imprimante_OrigineY_cm = -0.3f; },
       std::nullopt, 0.4, -0.3},
      {"type 2 with an offset given over the marking's",
       [&](Mandor& d) { type_two(d), d.imprimante_OrigineX_cm = 0.4f, d.imprimante_OrigineY_cm = -0.3f; },
       Offset{-0.25, 0.6}, -0.25, 0.6},
      {"type 1 with a sheet of size 0",
       [](Mandor& d) { d.Type_calage = 1, d.image_pixels_largeur = 2480, d.image_pixels_hauteur = 3508; },
       std::nullopt, 0, 0, 2480.0 / 300 * 2.54, 3508.0 / 300 * 2.54, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = AlignedDocument();
    c.set_up(*d);
    PrintOptions options;
    options.offset = c.offset;
    const test::Pdf pdf(Print(*d, options));
    EXPECT_EQ(report_.fields, 6);
    EXPECT_NEAR(pdf.width(1), c.sheet_w * kCm, 0.01);
    EXPECT_NEAR(pdf.height(1), c.sheet_h * kCm, 0.01);
    if (c.fallback_type >= 0) {
      ASSERT_FALSE(report_.warnings.empty());
      EXPECT_NE(report_.warnings[0].find("cannot be computed"), std::string::npos) << report_.warnings[0];
      d->Type_calage = static_cast<int16_t>(c.fallback_type);
    }
    ASSERT_TRUE(pdf.ok());
    const int checked = ExpectEveryFieldPlaced(
        pdf, *d, [](const auto& field) { return field->valeur(); },
        [&](const CPage& page) { return ExpectedFor(*d, page.hResolution(), c.expect_x, c.expect_y); });
    EXPECT_EQ(checked, 6);
  }
}

// Every field of the sample marking, each given a value of its own for this
// print, and the marking's own values, where the calibration puts them.
TEST_F(PrintPdfTest, EveryValueOfTheSampleMarkingInPlaceForEachCalibrationType) {
  ScopedPlatform real(std::make_shared<SystemPlatform>());
  CurrentPlatform().SetLocale(Locale::Comma());
  auto d = std::make_shared<Mandor>();
  d->Répertoire_Document = test::Sample("");
  d->Nom_Document("dqe-menuiseries.det");
  ASSERT_NE(d->RestaurerMarquageEx(), 0);
  ASSERT_EQ(d->Type_calage, 2);

  struct Case {
    int type;
    double offset_x, offset_y;
  };
  for (const Case& c : {Case{2, 0, 0}, Case{1, 0, 0}, Case{0, 0, 0}, Case{2, 0.35, -0.15}}) {
    SCOPED_TRACE("calibration type " + std::to_string(c.type));
    d->Type_calage = static_cast<int16_t>(c.type);
    d->image_pixels_largeur = 2480, d->image_pixels_hauteur = 3508;
    d->feuille_cm_largeur = 21, d->feuille_cm_hauteur = 29.7f;
    d->imprimante_OrigineX_cm = static_cast<float>(c.offset_x);
    d->imprimante_OrigineY_cm = static_cast<float>(c.offset_y);
    const Expected expected = ExpectedFor(*d, 300, c.offset_x, c.offset_y);

    const auto expected_of = [&](const CPage&) { return expected; };
    // The marking's own values, then a distinct value for every field.
    const test::Pdf own(Print(*d));
    int checked = ExpectEveryFieldPlaced(
        own, *d, [&](const auto& field) { return DisplayValue(*d, field, field->valeur()); }, expected_of);
    EXPECT_EQ(checked, report_.fields);
    EXPECT_GT(checked, 5);
    PrintOptions options;
    int n = 0;
    for (const auto& page : d->Pages) {
      for (const auto& field : page->Champs) options.values[field->Nom()] = Labelled("V", 100 + n++);
    }
    for (const auto& field : d->ChampsRecurrents) options.values[field->Nom()] = Labelled("V", 100 + n++);
    const test::Pdf given(Print(*d, options));
    checked = ExpectEveryFieldPlaced(
        given, *d, [&](const auto& field) { return GivenValue(options, *field); }, expected_of);
    EXPECT_EQ(checked, report_.fields);
    EXPECT_GT(checked, 25);
  }
}

// The documents of the sample catalogue (no calibration: type 0), each field
// with a value of its own, and the values the catalogue holds.
TEST_F(PrintPdfTest, EveryValueOfTheSampleCatalogueInPlace) {
  ScopedPlatform real(std::make_shared<SystemPlatform>());
  CurrentPlatform().SetLocale(Locale::Comma());
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF(test::Sample("menuiseries.xml")));
  int documents = 0;
  for (const std::shared_ptr<Mandor>& d : *catalogue) {
    SCOPED_TRACE(d->Id);
    ++documents;
    PrintOptions options;
    int n = 0;
    for (const auto& field : d->Champs) options.values[field->Nom()] = Labelled("W", 500 + n++);
    for (const bool own_values : {true, false}) {
      const test::Pdf pdf(Print(*d, own_values ? PrintOptions() : options));
      const int checked = ExpectEveryFieldPlaced(
          pdf, *d,
          [&](const auto& field) {
            return own_values ? DisplayValue(*d, field, field->valeur()) : GivenValue(options, *field);
          },
          [&](const CPage& page) { return ExpectedFor(*d, page.hResolution()); });
      EXPECT_EQ(checked, report_.fields);
      if (!own_values) {
        EXPECT_GT(checked, 0);
      }
    }
  }
  EXPECT_EQ(documents, 3);
}

TEST_F(PrintPdfTest, TextStyleFontsAndTitle) {
  auto d = test::MakeDocument(1);
  d->Nom_Document("Détail estimatif.det");
  auto bold = AddField(*d, 1, "L1_Gras", 300, 300, 1500, 380, "Quantité été");
  bold->FontName("Times New Roman");
  bold->FontSize(12);
  bold->Bold(true);
  bold->FontColor(0x0000FF);  // red in 0x00BBGGRR
  auto italic = AddField(*d, 1, "L2_Italique", 300, 600, 1500, 680, "Calibri italique");
  italic->FontName("Calibri");
  italic->FontSize(8);
  italic->Italic(true);
  italic->Underligne(true);
  const test::Pdf pdf(Print(*d));
  EXPECT_EQ(pdf.title(), "Détail estimatif.det");

  const auto first = pdf.Find(1, "Quantité été");
  ASSERT_EQ(first.size(), 1u) << pdf.text(1);
  const auto style = pdf.StyleAt(1, first[0]);
  ASSERT_TRUE(style.has_value());
  EXPECT_NE(style->font.find("LiberationSerif-Bold"), std::string::npos) << style->font;
  EXPECT_NEAR(style->size, 12, 0.01);
  EXPECT_NEAR(style->r, 1, 0.01);
  EXPECT_NEAR(style->g, 0, 0.01);

  const auto second = pdf.Find(1, "Calibri italique");
  ASSERT_EQ(second.size(), 1u);
  const auto style2 = pdf.StyleAt(1, second[0]);
  ASSERT_TRUE(style2.has_value());
  EXPECT_NE(style2->font.find("Carlito-Italic"), std::string::npos) << style2->font;
  EXPECT_NEAR(style2->size, 8, 0.01);

  // Every font embedded as a subset.
  const auto fonts = pdf.Fonts();
  ASSERT_FALSE(fonts.empty());
  for (const auto& [name, subset] : fonts) EXPECT_TRUE(subset) << name;
  EXPECT_TRUE(report_.warnings.empty()) << report_.warnings.front();
}

TEST_F(PrintPdfTest, BackColourFillsTheBoxUnlessTransparent) {
  auto d = test::MakeDocument(1);
  auto filled = AddField(*d, 1, "L1_Fond", 300, 300, 900, 400, "x");
  filled->Transparent(false);
  filled->BackColor(0x00FF00);  // green
  AddField(*d, 1, "L2_Transparent", 300, 600, 900, 700, "y")->BackColor(0x00FF00);
  const test::Pdf pdf(Print(*d));
  // Near the right end of each box, away from the text.
  auto filled_picture = pdf.Render(1, 850.0 / 300 * 72, 350.0 / 300 * 72, 2, 2, 2);
  EXPECT_EQ(test::PixelAt(filled_picture.get(), 1, 1), 0x00FF00u);
  auto clear_picture = pdf.Render(1, 850.0 / 300 * 72, 650.0 / 300 * 72, 2, 2, 2);
  EXPECT_EQ(test::PixelAt(clear_picture.get(), 1, 1), 0xFFFFFFu);
}

TEST_F(PrintPdfTest, FieldsNotPrintableAndZeroesOfNonImprime0AreLeftOut) {
  auto d = test::MakeDocument(1);
  AddField(*d, 1, "L1_Cache", 300, 300, 900, 380, "Invisible")->Imprimable(0);
  auto zero = AddField(*d, 1, "L2_Zero", 300, 500, 900, 580, "0,00");
  zero->NonImprime0 = true;
  zero->Décimales(2);
  zero->Type_Champ(1);
  auto nonzero = AddField(*d, 1, "L3_NonZero", 300, 700, 900, 780, "3");
  nonzero->NonImprime0 = true;
  nonzero->Décimales(2);
  nonzero->Type_Champ(1);
  auto zero_printed = AddField(*d, 1, "L4_ZeroImprime", 300, 900, 900, 980, "0");
  zero_printed->Décimales(1);
  zero_printed->Type_Champ(1);
  CurrentPlatform().SetLocale(Locale::Comma());
  const test::Pdf pdf(Print(*d));
  const std::string text = pdf.text(1);
  EXPECT_EQ(text.find("Invisible"), std::string::npos);
  EXPECT_TRUE(pdf.Find(1, "0,00").empty()) << text;
  EXPECT_EQ(pdf.Find(1, "3,00").size(), 1u) << text;
  EXPECT_EQ(pdf.Find(1, "0,0").size(), 1u) << text;
  EXPECT_EQ(report_.fields, 2);
}

TEST_F(PrintPdfTest, UnknownFontAndValueTooLongAreDrawnWithAWarning) {
  auto d = test::MakeDocument(1);
  AddField(*d, 1, "L1_Police", 300, 300, 1500, 380, "Police inconnue")->FontName("Nonexistent Gothic XYZ");
  auto wide = AddField(*d, 1, "L2_Long", 1000, 600, 1100, 680, "Un texte bien trop long pour sa case");
  wide->Alignement(1);
  const test::Pdf pdf(Print(*d));
  EXPECT_EQ(pdf.Find(1, "Police inconnue").size(), 1u);
  // Right-aligned: it runs out of its box to the left, its right edge in place.
  ExpectPlaced(pdf, 1, *wide, wide->valeur(), ExpectedFor(*d, 300));
  ASSERT_EQ(report_.warnings.size(), 2u);
  EXPECT_NE(report_.warnings[0].find("Nonexistent Gothic XYZ"), std::string::npos) << report_.warnings[0];
  EXPECT_NE(report_.warnings[1].find("L2_Long"), std::string::npos) << report_.warnings[1];
  EXPECT_NE(report_.warnings[1].find("drawn anyway"), std::string::npos) << report_.warnings[1];
}

TEST_F(PrintPdfTest, TestSheetCrosshairsStandAtTheCalibrationPoints) {
  auto d = AlignedDocument();
  d->Type_calage = 2;
  d->X1_pixel = 236, d->Y1_pixel = 354, d->X1_cm = 2, d->Y1_cm = 3;
  d->X2_pixel = 2244, d->Y2_pixel = 3189, d->X2_cm = 19, d->Y2_cm = 27;
  for (const Offset offset : {Offset{0, 0}, Offset{0.4, -0.3}}) {
    PrintOptions options;
    options.mode = PrintMode::kTestSheet;
    options.offset = offset;
    const test::Pdf pdf(Print(*d, options));
    ASSERT_EQ(pdf.pages(), 2);
    for (const auto& [x_cm, y_cm] : {std::pair<double, double>{2, 3}, {19, 27}}) {
      const double x = (x_cm + offset.x_cm) * kCm, y = (y_cm + offset.y_cm) * kCm;
      // A picture 1 cm wide around the expected point, 20 pixels per point.
      constexpr double kScale = 20;
      auto picture = pdf.Render(1, x - kCm / 2, y - kCm / 2, kCm, kCm, kScale);
      const int w = cairo_image_surface_get_width(picture.get());
      const int h = cairo_image_surface_get_height(picture.get());
      // The vertical arm: the column with the most red pixels; the horizontal arm likewise.
      const auto reddest = [&](int lines, int along, bool columns) {
        int best = -1, best_count = 0;
        for (int line = 0; line < lines; ++line) {
          int count = 0;
          for (int i = 0; i < along; ++i) {
            count += test::PixelAt(picture.get(), columns ? line : i, columns ? i : line) == 0xFF0000u;
          }
          if (count > best_count) best_count = count, best = line;
        }
        return best;
      };
      const int best_column = reddest(w, h, true), best_row = reddest(h, w, false);
      ASSERT_GE(best_column, 0);
      ASSERT_GE(best_row, 0);
      EXPECT_NEAR(x - kCm / 2 + (best_column + 0.5) / kScale, x, kTolerancePt);
      EXPECT_NEAR(y - kCm / 2 + (best_row + 0.5) / kScale, y, kTolerancePt);
    }
    // The points' coordinates and the offsets in use are written on the sheet.
    const std::string text = pdf.text(1);
    EXPECT_NE(text.find("1: 2.00 cm, 3.00 cm (pixel 236, 354)"), std::string::npos) << text;
    EXPECT_NE(text.find("2: 19.00 cm, 27.00 cm (pixel 2244, 3189)"), std::string::npos) << text;
    EXPECT_NE(text.find("printer offset X " + std::string(offset.x_cm == 0 ? "0.00" : "0.40")), std::string::npos)
        << text;
    // Every field's name, at the top-left corner of its rectangle.
    for (const auto& field : d->Pages.Item(1L)->Champs) {
      const Expected e = ExpectedFor(*d, 300, offset.x_cm, offset.y_cm);
      const auto name = pdf.FindNear(1, field->Nom(), e.x_cm(field->Position_pixel_Left) * kCm,
                                     e.y_cm(field->Position_pixel_Top) * kCm);
      ASSERT_TRUE(name.has_value()) << field->Nom();
      EXPECT_NEAR(name->x1, e.x_cm(field->Position_pixel_Left) * kCm + 1, kTolerancePt);
    }
    EXPECT_EQ(pdf.text(1).find("Gauche 1"), std::string::npos);  // names, not values
  }
}

TEST_F(PrintPdfTest, PagesAreChosenAndBadOnesReported) {
  auto d = AlignedDocument();
  PrintOptions options;
  options.pages = {2, 7};
  const test::Pdf pdf(Print(*d, options));
  ASSERT_EQ(pdf.pages(), 1);
  EXPECT_EQ(pdf.Find(1, "Gauche 2").size(), 1u);
  EXPECT_TRUE(pdf.Find(1, "Gauche 1").empty());
  ASSERT_EQ(report_.warnings.size(), 1u);
  EXPECT_EQ(report_.warnings[0], "no page 7: the document has 2 pages");

  options.pages = {3};
  try {
    Print(*d, options);
    FAIL() << "printed a page the document does not have";
  } catch (const PrintFailure& e) {
    EXPECT_EQ(std::string(e.what()), "no page to print");
    ASSERT_EQ(e.warnings().size(), 1u);
  }
}

TEST_F(PrintPdfTest, ValuesGivenForThePrintAndFromAValueSource) {
  auto d = AlignedDocument();
  auto amount = AddField(*d, 1, "L9_Montant", 300, 2000, 900, 2080, "12");
  amount->Décimales(2);
  amount->Type_Champ(1);
  PrintOptions options;
  options.values["l9_montant"] = "1 234.5";  // names without regard to case
  options.value_of = [](const CChamp& field) -> std::optional<std::string> {
    if (field.Nom() == "L1_Gauche") return std::string("Calculé");
    return std::nullopt;
  };
  const test::Pdf pdf(Print(*d, options));
  EXPECT_EQ(pdf.Find(1, "1234.50").size(), 1u) << pdf.text(1);
  EXPECT_EQ(pdf.Find(1, "Calculé").size(), 1u);
  EXPECT_TRUE(pdf.Find(1, "Gauche 1").empty());
  EXPECT_EQ(pdf.Find(1, "Droite 1").size(), 1u);  // the model's value
}

TEST_F(PrintPdfTest, WritesThroughATemporaryFileAndReportsAFailedWrite) {
  auto d = AlignedDocument();
  const PrintReport report = PrintToPdf(*d, {}, "/out/a.pdf");
  EXPECT_EQ(report.pages, 2);
  const test::Pdf pdf(platform_->ReadFileBytes("/out/a.pdf"));
  EXPECT_EQ(pdf.pages(), 2);
  EXPECT_FALSE(platform_->FileExists("/out/a.pdf.tmp-print"));

  // A failed write or rename leaves what the user had, and no temporary file.
  for (const auto operation : {MemoryPlatform::Operation::kWrite, MemoryPlatform::Operation::kRename}) {
    platform_->WriteFileBytes("/out/b.pdf", "what the user had");
    platform_->FailOn(operation, "");
    EXPECT_THROW(PrintToPdf(*d, {}, "/out/b.pdf"), PrintFailure);
    platform_->ClearFailures();
    EXPECT_EQ(platform_->ReadFileBytes("/out/b.pdf"), "what the user had");
    EXPECT_FALSE(platform_->FileExists("/out/b.pdf.tmp-print"));
  }
}

}  // namespace
}  // namespace mandor::print

namespace mandor::print {
namespace {

// Absurd values in a marking give a PDF and warnings, never a crash or an
// unusable file.
TEST(PrintRobustness, AbsurdMarkingsStillPrint) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  auto d = test::MakeDocument(2, 1e9f, 1e9f, 300);
  d->feuille_cm_largeur = 1e30f;
  d->feuille_cm_hauteur = std::numeric_limits<float>::quiet_NaN();
  d->imprimante_OrigineX_cm = std::numeric_limits<float>::infinity();
  d->Type_calage = 2;
  d->X1_pixel = 1, d->X2_pixel = 1, d->X1_cm = 0, d->X2_cm = 1e-30f;
  test::AddField(*d, 1, "L1_NaN", std::numeric_limits<float>::quiet_NaN(), 0, 10, 10, "nan");
  test::AddField(*d, 1, "L2_Loin", 1e30f, 1e30f, -1e30f, 2e30f, "loin");
  test::AddField(*d, 1, "L3_Texte", 300, 300, 600, 400, std::string("ok \xff\xfe\x01 fin\r\nsuite"));
  for (const PrintMode mode : {PrintMode::kOnForm, PrintMode::kOverImage, PrintMode::kTestSheet}) {
    PrintOptions options;
    options.mode = mode;
    PrintReport report;
    const test::Pdf pdf(PrintToPdfBytes(*d, options, report));
    ASSERT_TRUE(pdf.ok());
    EXPECT_EQ(pdf.pages(), 2);
    EXPECT_FALSE(report.warnings.empty());
    // The sheet falls back to A4.
    EXPECT_NEAR(pdf.width(1), 21 * kCm, 0.01);
    if (mode != PrintMode::kTestSheet) {
      EXPECT_EQ(pdf.Find(1, "nan").size(), 0u);
      EXPECT_EQ(pdf.Find(1, "fin").size(), 1u) << pdf.text(1);
    }
  }
}

}  // namespace
}  // namespace mandor::print
