// Page images: a PDF scan (drawn as vectors), a two-page TIFF and PNG pages,
// found beside a document or named directly; what is reported when one is
// missing, unreadable or short of pages; and a print over each of them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mandor/print/page_image.h"
#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

using test::MakePdfScan;
using test::MakePng;
using test::MakeTiff;
using test::PngPixel;

class PageImageTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
};

TEST_F(PageImageTest, PdfPagesAndAPdfShortOfPages) {
  platform_->WriteFileBytes("/scans/form.pdf", MakePdfScan(2));
  PageImages images = PageImages::OfFile("/scans/form.pdf");
  const PageImage first = images.Page(2);
  ASSERT_FALSE(first.empty());
  EXPECT_EQ(first.kind(), ImageKind::kPdf);
  EXPECT_NEAR(first.width(), 595.2, 0.01);
  EXPECT_NEAR(first.height(), 841.92, 0.01);
  // Rasterised, the square stands where it was drawn.
  const std::string png = first.ToPng(595, 842);
  EXPECT_EQ(PngPixel(png, 225, 325), 0x000000u);
  EXPECT_EQ(PngPixel(png, 150, 325), 0xFFFFFFu);
  EXPECT_TRUE(images.warnings().empty());

  EXPECT_TRUE(images.Page(3).empty());
  ASSERT_EQ(images.warnings().size(), 1u);
  EXPECT_EQ(images.warnings()[0], "/scans/form.pdf has 2 pages: no image for page 3");
  platform_->WriteFileBytes("/scans/one.pdf", MakePdfScan(1));
  PageImages one = PageImages::OfFile("/scans/one.pdf");
  EXPECT_TRUE(one.Page(2).empty());
  EXPECT_EQ(one.warnings().at(0), "/scans/one.pdf has 1 page: no image for page 2");
}

TEST_F(PageImageTest, TwoPageTiff) {
  platform_->WriteFileBytes("/scans/form.tif", MakeTiff());
  PageImages images = PageImages::OfFile("/scans/form.tif");
  for (int page = 1; page <= 2; ++page) {
    const PageImage image = images.Page(page);
    ASSERT_FALSE(image.empty()) << page;
    EXPECT_EQ(image.kind(), ImageKind::kTiff);
    EXPECT_EQ(image.width(), 600);
    EXPECT_EQ(image.height(), 800);
    const std::string png = image.ToPng(600, 800);
    EXPECT_EQ(PngPixel(png, 150, 150), page == 1 ? 0x000000u : 0xFFFFFFu) << page;
    EXPECT_EQ(PngPixel(png, 350, 550), page == 2 ? 0x000000u : 0xFFFFFFu) << page;
  }
  EXPECT_TRUE(images.Page(3).empty());
  ASSERT_EQ(images.warnings().size(), 1u);
  EXPECT_NE(images.warnings()[0].find("has 2 pages"), std::string::npos);
}

TEST_F(PageImageTest, PngBesideTheDocumentComesBeforeItsPdf) {
  auto d = test::MakeDocument(2);
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det-1.png", MakePng());
  platform_->WriteFileBytes("/scans/essai.det.pdf", MakePdfScan(2));
  PageImages images(*d);
  const PageImage first = images.Page(1);
  EXPECT_EQ(first.kind(), ImageKind::kPng);
  EXPECT_EQ(first.path(), "/scans/essai.det-1.png");
  EXPECT_EQ(first.ToPng(300, 400), MakePng());  // the file itself
  const PageImage second = images.Page(2);
  EXPECT_EQ(second.kind(), ImageKind::kPdf);
  EXPECT_EQ(second.path(), "/scans/essai.det.pdf");
  EXPECT_TRUE(images.warnings().empty());
}

TEST_F(PageImageTest, MissingAndUnreadableImagesAreReported) {
  auto d = test::MakeDocument(1);
  d->Répertoire_Document = "/scans/";
  struct Case {
    const char* file;  // "" for none
    std::string bytes;
    bool unopenable;
    std::string warning;  // expected in the one warning
  };
  const Case cases[] = {
      {"", "", false,
       "no image for page 1 (looked for /scans/essai.det-1.png, /scans/essai.det.png, /scans/essai.det.pdf, "
       "/scans/essai.det.tif)"},
      {"/scans/essai.det.pdf", "%PDF-1.4 this is no PDF", false, "/scans/essai.det.pdf is not a PDF that can be read"},
      {"/scans/essai.det.tif", std::string("II*\0garbage", 11), false, "/scans/essai.det.tif"},
      {"/scans/essai.det.png", "not a png", true, "cannot read /scans/essai.det.png"},
      {"/scans/essai.det.png", "not a png", false, "/scans/essai.det.png is not a PNG image that can be read"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.warning);
    if (*c.file != '\0') platform_->WriteFileBytes(c.file, c.bytes);
    if (c.unopenable) platform_->FailOn(MemoryPlatform::Operation::kOpenInput, "essai.det.png");
    PageImages images(*d);
    EXPECT_TRUE(images.Page(1).empty());
    // A PDF or TIFF scan is opened once: asking again adds no second failure.
    if (c.bytes.rfind("%PDF", 0) == 0 || c.bytes.rfind("II*", 0) == 0) images.Page(1);
    ASSERT_EQ(images.warnings().size(), 1u);
    EXPECT_NE(images.warnings()[0].find(c.warning), std::string::npos) << images.warnings()[0];
    EXPECT_TRUE(images.Page(0).empty());
    platform_->ClearFailures();
    if (*c.file != '\0') platform_->DeleteFile(c.file);
  }
}

// The scan of a document printed under its values: a PDF scan stays vector
// (its words are text in the output) and follows the printer offset.
TEST_F(PageImageTest, PrintOverAPdfScan) {
  auto d = test::MakeDocument(3);
  d->Répertoire_Document = "/scans/";
  d->imprimante_OrigineX_cm = 1;
  platform_->WriteFileBytes("/scans/essai.det.pdf", MakePdfScan(2));
  test::AddField(*d, 1, "L1_Qté", 1000, 1000, 1400, 1080, "12,5");
  PrintOptions options;
  options.mode = PrintMode::kOverImage;
  PrintReport report;
  const test::Pdf pdf(PrintToPdfBytes(*d, options, report));
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
  // Page 3 is printed without a scan.
  EXPECT_TRUE(pdf.Find(3, "SCAN").empty());
  ASSERT_EQ(report.warnings.size(), 1u);
  EXPECT_EQ(report.warnings[0], "/scans/essai.det.pdf has 2 pages: no image for page 3");
}

TEST_F(PageImageTest, PrintOverATwoPageTiff) {
  auto d = test::MakeDocument(2, 600, 800, 100);  // 6 x 8 inches
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det.tif", MakeTiff());
  test::AddField(*d, 2, "L1_Qté", 300, 400, 500, 450, "Deux");
  PrintOptions options;
  options.mode = PrintMode::kOverImage;
  PrintReport report;
  const test::Pdf pdf(PrintToPdfBytes(*d, options, report));
  ASSERT_EQ(pdf.pages(), 2);
  EXPECT_TRUE(report.warnings.empty());
  // 100 dpi: pixel p at p * 0.72 pt. Page 1 has its square at 100 px, page 2 at (300, 500).
  auto first = pdf.Render(1, 0, 0, 432, 576, 1);
  EXPECT_EQ(test::PixelAt(first.get(), 108, 108), 0x000000u);
  EXPECT_EQ(test::PixelAt(first.get(), 252, 396), 0xFFFFFFu);
  auto second = pdf.Render(2, 0, 0, 432, 576, 1);
  EXPECT_EQ(test::PixelAt(second.get(), 108, 108), 0xFFFFFFu);
  EXPECT_EQ(test::PixelAt(second.get(), 252, 396), 0x000000u);
  EXPECT_EQ(pdf.Find(2, "Deux").size(), 1u);
}

// On the form the scan is not drawn, even when there is one.
TEST_F(PageImageTest, OnTheFormTheScanIsLeftOut) {
  auto d = test::MakeDocument(1);
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det.pdf", MakePdfScan(1));
  PrintReport report;
  const test::Pdf pdf(PrintToPdfBytes(*d, {}, report));
  EXPECT_TRUE(pdf.Find(1, "SCAN1").empty());
  auto picture = pdf.Render(1, 200, 300, 50, 50, 1);
  EXPECT_EQ(test::PixelAt(picture.get(), 25, 25), 0xFFFFFFu);
}

}  // namespace
}  // namespace mandor::print
