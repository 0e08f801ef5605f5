// The PDF read back with poppler: each value stands where the calibration
// puts it (within 0.2 mm) for calibration types 0, 1 and 2, with and without
// a printer offset; styles, left-out fields, bad input, the test sheet's
// crosshairs, the atomic write of the file, and prints over PDF and TIFF
// scans. (Which pages are printed is checked through the command.)
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>

#include "mandor/print/field_text.h"
#include "mandor/print/page_image.h"
#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

using test::AddField;
using test::kCm;
using test::kTolerancePt;

// Paper position in cm of a pixel (a * pixel + b), computed the way a person
// checks a calibration: by proportion between the two reference points (type
// 2), by the share of the sheet (type 1), or through the resolution (type 0).
struct Expected {
  double ax, bx, ay, by;
  double X(double p) const { return ax * p + bx; }
  double Y(double p) const { return ay * p + by; }
};

Expected ExpectedFor(const Mandor& d, double dpi, double offset_x = 0, double offset_y = 0) {
  if (d.Type_calage == 2) {
    const double ax = (d.X2_cm - d.X1_cm) / (d.X2_pixel - d.X1_pixel);
    const double ay = (d.Y2_cm - d.Y1_cm) / (d.Y2_pixel - d.Y1_pixel);
    return {ax, d.X1_cm - d.X1_pixel * ax + offset_x, ay, d.Y1_cm - d.Y1_pixel * ay + offset_y};
  }
  if (d.Type_calage == 1) {
    return {d.feuille_cm_largeur / d.image_pixels_largeur, offset_x, d.feuille_cm_hauteur / d.image_pixels_hauteur,
            offset_y};
  }
  return {2.54 / dpi, offset_x, 2.54 / dpi, offset_y};
}

// Checks that `text` of `field` stands in the field's rectangle as its
// alignment says: its left edge, right edge or centre at the padding from
// the box edge, and its centre line on the box's centre line.
void ExpectPlaced(const test::Pdf& pdf, int page, const CChamp& field, const std::string& text, const Expected& e) {
  SCOPED_TRACE(field.Nom() + " \"" + text + "\" on page " + std::to_string(page));
  const double left = e.X(field.Position_pixel_Left) * kCm, right = e.X(field.Position_pixel_Right) * kCm;
  const double top = e.Y(field.Position_pixel_Top) * kCm, bottom = e.Y(field.Position_pixel_Bottom) * kCm;
  const std::optional<test::TextBox> box = pdf.FindNear(page, text, (left + right) / 2, (top + bottom) / 2);
  ASSERT_TRUE(box.has_value()) << pdf.text(page);
  const double x = field.Alignement() == 1 ? box->x2 : field.Alignement() == 2 ? box->cx() : box->x1;
  const double want = field.Alignement() == 1   ? right - kTextPaddingPt
                      : field.Alignement() == 2 ? (left + right) / 2
                                                : left + kTextPaddingPt;
  EXPECT_NEAR(x, want, kTolerancePt);
  EXPECT_NEAR(box->cy(), (top + bottom) / 2, kTolerancePt);
}

class PrintPdfTest : public ::testing::Test {
 protected:
  std::string Print(Mandor& document, const PrintOptions& options = {}) {
    report_ = {};
    return PrintToPdfBytes(document, options, report_);
  }
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  PrintReport report_;
  const PrintOptions over_image = [] {
    PrintOptions options;
    options.mode = PrintMode::kOverImage;
    return options;
  }();
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

void UseTypeTwo(Mandor& d) {
  d.Type_calage = 2;
  d.X1_pixel = 236, d.Y1_pixel = 354, d.X1_cm = 2, d.Y1_cm = 3;
  d.X2_pixel = 2244, d.Y2_pixel = 3189, d.X2_cm = 19, d.Y2_cm = 27;
}

// Each calibration type, the marking's printer offset and one given for the
// print, a page with a resolution of its own.
TEST_F(PrintPdfTest, EveryAlignmentInPlaceForEachCalibration) {
  struct Case {
    const char* label;
    std::function<void(Mandor&)> set_up;
    std::optional<Offset> offset;       // given for the print
    double expect_x = 0, expect_y = 0;  // offset expected in cm
    double sheet_w = 2480.0 / 300 * 2.54, sheet_h = 3508.0 / 300 * 2.54;
  };
  const auto type_two_offset = [](Mandor& d) {
    UseTypeTwo(d), d.imprimante_OrigineX_cm = 0.4f, d.imprimante_OrigineY_cm = -0.3f;
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
      {"type 2", UseTypeTwo, std::nullopt},
      {"type 2 with the marking's offset", type_two_offset, std::nullopt, 0.4, -0.3},
      {"type 2 with an offset given over the marking's", type_two_offset, Offset{-0.25, 0.6}, -0.25, 0.6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto d = AlignedDocument();
    c.set_up(*d);
    PrintOptions options;
    options.offset = c.offset;
    const test::Pdf pdf(Print(*d, options));
    ASSERT_TRUE(pdf.ok());
    EXPECT_TRUE(report_.warnings.empty()) << report_.warnings.front();
    EXPECT_EQ(report_.fields, 6);
    EXPECT_NEAR(pdf.size(1).first, c.sheet_w * kCm, 0.01);
    EXPECT_NEAR(pdf.size(1).second, c.sheet_h * kCm, 0.01);
    ASSERT_EQ(pdf.pages(), 2);
    for (int page = 1; page <= 2; ++page) {
      const CPage& p = *d->Pages.Item(static_cast<long>(page));
      for (const auto& field : p.Champs) {
        ExpectPlaced(pdf, page, *field, field->valeur(), ExpectedFor(*d, p.hResolution(), c.expect_x, c.expect_y));
      }
    }
  }
}

// Bad input is drawn anyway, with one warning that says what was wrong: a
// scan missing, unreadable or short of pages, a font that is not installed,
// a value too long for its box, a sheet size or a calibration that cannot
// be used (placed then through the page resolution).
TEST_F(PrintPdfTest, BadInputPrintsWithOneWarning) {
  struct Case {
    std::function<void(Mandor&, CChamp&)> set_up;
    std::string warning;  // expected in the one warning
    bool over_image = false;
    int pages = 1;
  };
  const auto scan = [this](const char* path, const std::string& bytes) {
    return [=, this](Mandor&, CChamp&) { platform_->WriteFileBytes(path, bytes); };
  };
  const auto nothing = [](Mandor&, CChamp&) {};
  const Case cases[] = {
      {nothing,
       "no image for page 1 (looked for /scans/essai.det-1.png, /scans/essai.det.png, /scans/essai.det.pdf, "
       "/scans/essai.det.tif)",
       true},
      {scan("/scans/essai.det.pdf", "%PDF-1.4 this is no PDF"), "/scans/essai.det.pdf is not a PDF that can be read",
       true, 2},
      {scan("/scans/essai.det.tif", std::string("II*\0garbage", 11)), "/scans/essai.det.tif is not a TIFF", true, 2},
      {scan("/scans/essai.det.png", "not a png"), "/scans/essai.det.png is not a PNG image that can be read", true},
      {[this](Mandor&, CChamp&) {
         platform_->WriteFileBytes("/scans/essai.det.png", test::MakePng());
         platform_->FailOn(MemoryPlatform::Operation::kOpenInput, "essai.det.png");
       },
       "cannot read /scans/essai.det.png", true},
      {scan("/scans/essai.det.pdf", test::MakePdfScan(1)), "/scans/essai.det.pdf has 1 page: no image for page 2",
       true, 2},
      {[](Mandor&, CChamp& f) { f.FontName("Nonexistent Gothic XYZ"); },
       "font \"Nonexistent Gothic XYZ\" (field L1_Qté) is not installed"},
      {[](Mandor&, CChamp& f) {
         f.valeur("Un texte bien trop long pour sa case");
         f.Position_pixel_Left = 1000;  // right-aligned: it runs out to the left, its right edge in place
       },
       "the value of L1_Qté on page 1 (\"Un texte bien trop long pour sa case\") is "},
      {[](Mandor& d, CChamp&) { d.feuille_cm_largeur = 21, d.feuille_cm_hauteur = 0; },
       "the sheet size 21.00 x 0.00 cm of the marking is not usable"},
      {[](Mandor& d, CChamp&) { d.Type_calage = 1; }, "the calibration (type 1) cannot be computed"},
      {[](Mandor& d, CChamp&) { d.Type_calage = 1, d.feuille_cm_largeur = 21, d.feuille_cm_hauteur = 29.7f; },
       "the calibration (type 1) gives 0.00 x 0.00 pixels per cm"},
      {[](Mandor& d, CChamp&) { d.Type_calage = 3; }, "unknown calibration type 3"},
      {[](Mandor& d, CChamp&) { d.imprimante_OrigineX_cm = std::numeric_limits<float>::quiet_NaN(); },
       "the printer offset is not a number"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.warning);
    auto d = test::MakeDocument(c.pages);
    d->Répertoire_Document = "/scans/";
    auto field = AddField(*d, 1, "L1_Qté", 1100, 1000, 1400, 1080, "12,5");
    field->Alignement(1);
    c.set_up(*d, *field);
    PrintOptions options;
    options.mode = c.over_image ? PrintMode::kOverImage : PrintMode::kOnForm;
    const test::Pdf pdf(Print(*d, options));
    platform_->ClearFailures();
    for (const auto& path : platform_->Paths()) platform_->DeleteFile(path);
    EXPECT_EQ(pdf.pages(), c.pages);
    ASSERT_EQ(report_.warnings.size(), 1u) << (report_.warnings.empty() ? "" : report_.warnings[1]);
    EXPECT_NE(report_.warnings[0].find(c.warning), std::string::npos) << report_.warnings[0];
    ExpectPlaced(pdf, 1, *field, field->valeur(), {2.54 / 300, 0, 2.54 / 300, 0});
  }
}

// Absurd values in a marking give a PDF and warnings, never a crash or an
// unusable file.
TEST_F(PrintPdfTest, AbsurdMarkingsStillPrint) {
  auto d = test::MakeDocument(2, 1e9f, 1e9f, 300);
  d->feuille_cm_largeur = 1e30f;
  d->feuille_cm_hauteur = std::numeric_limits<float>::quiet_NaN();
  d->imprimante_OrigineX_cm = std::numeric_limits<float>::infinity();
  d->Type_calage = 2;
  d->X1_pixel = 1, d->X2_pixel = 1, d->X1_cm = 0, d->X2_cm = 1e-30f;
  AddField(*d, 1, "L1_NaN", std::numeric_limits<float>::quiet_NaN(), 0, 10, 10, "nan");
  AddField(*d, 1, "L2_Loin", 1e30f, 1e30f, -1e30f, 2e30f, "loin");
  AddField(*d, 1, "L3_Texte", 300, 300, 600, 400, std::string("ok \xff\xfe\x01 fin\r\nsuite"));
  for (const PrintMode mode : {PrintMode::kOnForm, PrintMode::kOverImage, PrintMode::kTestSheet}) {
    PrintOptions options;
    options.mode = mode;
    const test::Pdf pdf(Print(*d, options));
    ASSERT_TRUE(pdf.ok());
    EXPECT_EQ(pdf.pages(), 2);
    EXPECT_FALSE(report_.warnings.empty());
    EXPECT_NEAR(pdf.size(1).first, 21 * kCm, 0.01) << "the sheet falls back to A4";
    if (mode != PrintMode::kTestSheet) {
      EXPECT_EQ(pdf.Find(1, "nan").size(), 0u);
      EXPECT_EQ(pdf.Find(1, "fin").size(), 1u) << pdf.text(1);
    }
  }
}

// What is drawn for each field: its font, size and colour, its back colour
// unless transparent, nothing when it is not printable or a zero it must
// not print, a value given for the print or from a value source.
TEST_F(PrintPdfTest, WhatEachFieldDraws) {
  CurrentPlatform().SetLocale(Locale::Comma());
  auto d = test::MakeDocument(1);
  auto bold = AddField(*d, 1, "L1_Gras", 300, 300, 1500, 380, "Quantité été");
  bold->FontName("Times New Roman"), bold->FontSize(12), bold->Bold(true);
  bold->FontColor(0x0000FF);  // red in 0x00BBGGRR
  auto italic = AddField(*d, 1, "L2_Italique", 300, 600, 1500, 680, "Calibri italique");
  italic->FontName("Calibri"), italic->FontSize(8), italic->Italic(true), italic->Underligne(true);
  auto filled = AddField(*d, 1, "L3_Fond", 300, 900, 900, 1000, "x");
  filled->Transparent(false), filled->BackColor(0x00FF00);  // green
  AddField(*d, 1, "L4_Transparent", 300, 1200, 900, 1300, "y")->BackColor(0x00FF00);
  AddField(*d, 1, "L5_Cache", 300, 1500, 900, 1580, "Invisible")->Imprimable(0);
  const struct { const char* name; const char* value; bool non_imprime0; int16_t decimals; } numbers[] = {
      {"L6_Zero", "0,00", true, 2}, {"L7_NonZero", "3", true, 2}, {"L8_ZeroImprime", "0", false, 1},
      {"L9_Montant", "12", false, 2}, {"L10_Calcul", "5", false, 2}};
  float top = 1800;
  for (const auto& n : numbers) {
    auto field = AddField(*d, 1, n.name, 300, top, 900, top + 80, n.value);
    field->NonImprime0 = n.non_imprime0, field->Décimales(n.decimals), field->Type_Champ(1);
    top += 200;
  }
  PrintOptions options;
  options.values["l9_montant"] = "1 234.5";  // names without regard to case
  options.value_of = [](const CChamp& field) -> std::optional<std::string> {
    if (field.Nom() == "L10_Calcul") return std::string("Calculé");
    return std::nullopt;
  };
  const test::Pdf pdf(Print(*d, options));
  const struct { const char* text; const char* font; double size, red; } styles[] = {
      {"Quantité été", "LiberationSerif-Bold", 12, 1}, {"Calibri italique", "Carlito-Italic", 8, 0}};
  for (const auto& c : styles) {
    const auto found = pdf.Find(1, c.text);
    ASSERT_EQ(found.size(), 1u) << pdf.text(1);
    const auto style = pdf.StyleAt(1, found[0]);
    ASSERT_TRUE(style.has_value());
    EXPECT_NE(style->font.find(c.font), std::string::npos) << style->font;
    EXPECT_NEAR(style->size, c.size, 0.01);
    EXPECT_NEAR(style->r, c.red, 0.01);
    EXPECT_NEAR(style->g, 0, 0.01);
  }
  // Near the right end of each box, away from the text.
  EXPECT_EQ(test::PixelAt(pdf.Render(1, 850.0 / 300 * 72, 950.0 / 300 * 72, 2, 2, 2).get(), 1, 1), 0x00FF00u);
  EXPECT_EQ(test::PixelAt(pdf.Render(1, 850.0 / 300 * 72, 1250.0 / 300 * 72, 2, 2, 2).get(), 1, 1), 0xFFFFFFu);
  for (const char* absent : {"Invisible", "0,00", "12,00", "5,00"}) EXPECT_TRUE(pdf.Find(1, absent).empty()) << absent;
  for (const char* shown : {"3,00", "0,0", "1234,50", "Calculé"}) EXPECT_EQ(pdf.Find(1, shown).size(), 1u) << shown;
  EXPECT_EQ(report_.fields, 8);
  EXPECT_TRUE(report_.warnings.empty()) << report_.warnings.front();
}

TEST_F(PrintPdfTest, TestSheetCrosshairsStandAtTheCalibrationPoints) {
  auto d = AlignedDocument();
  UseTypeTwo(*d);
  for (const Offset offset : {Offset{0, 0}, Offset{0.4, -0.3}}) {
    PrintOptions options;
    options.mode = PrintMode::kTestSheet;
    options.offset = offset;
    const test::Pdf pdf(Print(*d, options));
    ASSERT_EQ(pdf.pages(), 2);
    for (const auto& [x_cm, y_cm] : {std::pair<double, double>{2, 3}, {19, 27}}) {
      const double x = (x_cm + offset.x_cm) * kCm, y = (y_cm + offset.y_cm) * kCm;
      // A picture 1 cm wide around the expected point, 20 pixels per point:
      // the arms are the column and the row with the most red pixels.
      constexpr double kScale = 20;
      auto picture = pdf.Render(1, x - kCm / 2, y - kCm / 2, kCm, kCm, kScale);
      const int size = cairo_image_surface_get_width(picture.get());
      std::vector<int> columns(size), rows(size);
      for (int i = 0; i < size * size; ++i) {
        const bool red = test::PixelAt(picture.get(), i % size, i / size) == 0xFF0000u;
        columns[i % size] += red, rows[i / size] += red;
      }
      const auto reddest = [](const std::vector<int>& v) { return std::max_element(v.begin(), v.end()) - v.begin(); };
      ASSERT_GT(columns[reddest(columns)], 0);
      EXPECT_NEAR(x - kCm / 2 + (reddest(columns) + 0.5) / kScale, x, kTolerancePt);
      EXPECT_NEAR(y - kCm / 2 + (reddest(rows) + 0.5) / kScale, y, kTolerancePt);
    }
    // The points' coordinates and the offsets in use are written on the sheet.
    const std::string text = pdf.text(1);
    EXPECT_NE(text.find("1: 2.00 cm, 3.00 cm (pixel 236, 354)"), std::string::npos) << text;
    EXPECT_NE(text.find("2: 19.00 cm, 27.00 cm (pixel 2244, 3189)"), std::string::npos) << text;
    EXPECT_NE(text.find(std::string("printer offset X ") + (offset.x_cm == 0 ? "0.00" : "0.40")), std::string::npos);
    // Every field's name, at the top-left corner of its rectangle; names, not values.
    const Expected e = ExpectedFor(*d, 300, offset.x_cm, offset.y_cm);
    for (const auto& field : d->Pages.Item(1L)->Champs) {
      const double left = e.X(field->Position_pixel_Left) * kCm, top = e.Y(field->Position_pixel_Top) * kCm;
      const auto name = pdf.FindNear(1, field->Nom(), left, top);
      ASSERT_TRUE(name.has_value()) << field->Nom();
      EXPECT_NEAR(name->x1, left + 1, kTolerancePt);
    }
    EXPECT_EQ(text.find("Gauche 1"), std::string::npos);
  }
}

TEST_F(PrintPdfTest, WritesThroughATemporaryFileAndReportsAFailedWrite) {
  auto d = AlignedDocument();
  EXPECT_EQ(PrintToPdf(*d, {}, "/out/a.pdf").pages, 2);
  EXPECT_EQ(test::Pdf(platform_->ReadFileBytes("/out/a.pdf")).pages(), 2);
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

// Page images found beside a document: a PNG per page before the document's
// PDF; a PDF scan is drawn as vectors, a TIFF page by page.
TEST_F(PrintPdfTest, PngBesideTheDocumentComesBeforeItsPdf) {
  auto d = test::MakeDocument(2);
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det-1.png", test::MakePng());
  platform_->WriteFileBytes("/scans/essai.det.pdf", test::MakePdfScan(2));
  PageImages images(*d);
  EXPECT_EQ(images.Page(1).path() + " " + images.Page(2).path(), "/scans/essai.det-1.png /scans/essai.det.pdf");
  EXPECT_EQ(images.Page(1).ToPng(300, 400), test::MakePng());  // the file itself
  EXPECT_TRUE(images.warnings().empty());
}

// A PDF scan stays vector (its words are text in the output) and follows the
// printer offset; on the form the scan is left out.
TEST_F(PrintPdfTest, PrintOverAPdfScan) {
  auto d = test::MakeDocument(3);
  d->Répertoire_Document = "/scans/";
  d->imprimante_OrigineX_cm = 1;
  platform_->WriteFileBytes("/scans/essai.det.pdf", test::MakePdfScan(2));
  test::AddField(*d, 1, "L1_Qté", 1000, 1000, 1400, 1080, "12,5");
  const test::Pdf pdf(Print(*d, over_image));
  ASSERT_EQ(pdf.pages(), 3);
  // The page is 2480 x 3508 px at 300 dpi: 595.2 x 841.92 pt, the scan's size.
  const auto word = pdf.Find(1, "SCAN1");
  ASSERT_EQ(word.size(), 1u) << pdf.text(1);
  EXPECT_NEAR(word[0].x1, 100 + test::kCm, 0.5);
  EXPECT_EQ(pdf.Find(2, "SCAN2").size(), 1u);
  EXPECT_EQ(pdf.Find(1, "12,5").size(), 1u);
  // The square, moved 1 cm right with the printer offset.
  auto picture = pdf.Render(1, 200 + test::kCm - 5, 300, 60, 50, 2);
  EXPECT_EQ(test::PixelAt(picture.get(), 4, 50), 0xFFFFFFu);
  EXPECT_EQ(test::PixelAt(picture.get(), 20, 50), 0x000000u);
  EXPECT_TRUE(pdf.Find(3, "SCAN").empty());  // page 3 is printed without a scan
  EXPECT_EQ(report_.warnings, std::vector<std::string>{"/scans/essai.det.pdf has 2 pages: no image for page 3"});

  PrintReport report;
  const test::Pdf form(PrintToPdfBytes(*d, {}, report));
  EXPECT_TRUE(form.Find(1, "SCAN1").empty());
  EXPECT_EQ(test::PixelAt(form.Render(1, 200 + test::kCm, 300, 50, 50, 1).get(), 25, 25), 0xFFFFFFu);
}

TEST_F(PrintPdfTest, PrintOverATwoPageTiff) {
  auto d = test::MakeDocument(2, 600, 800, 100);  // 6 x 8 inches
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det.tif", test::MakeTiff());
  test::AddField(*d, 2, "L1_Qté", 300, 400, 500, 450, "Deux");
  const test::Pdf pdf(Print(*d, over_image));
  ASSERT_EQ(pdf.pages(), 2);
  EXPECT_TRUE(report_.warnings.empty());
  // 100 dpi: pixel p at p * 0.72 pt. Page 1 has its square at 100 px, page 2 at (300, 500).
  for (int page = 1; page <= 2; ++page) {
    auto picture = pdf.Render(page, 0, 0, 432, 576, 1);
    EXPECT_EQ(test::PixelAt(picture.get(), 108, 108), page == 1 ? 0x000000u : 0xFFFFFFu) << page;
    EXPECT_EQ(test::PixelAt(picture.get(), 252, 396), page == 2 ? 0x000000u : 0xFFFFFFu) << page;
  }
  EXPECT_EQ(pdf.Find(2, "Deux").size(), 1u);
}

}  // namespace
}  // namespace mandor::print
