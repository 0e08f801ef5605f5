// Page images found beside a document: a PNG per page before the document's
// PDF, and a print over a PDF scan (drawn as vectors) and a two-page TIFF.
// (What is reported for a missing or unreadable scan is in print_pdf_test.)
#include <gtest/gtest.h>

#include <string>

#include "mandor/print/page_image.h"
#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace mandor::print {
namespace {

using test::PixelAt;

class PageImageTest : public ::testing::Test {
 protected:
  // Prints `d` over its scans.
  std::string PrintOver(Mandor& d) {
    PrintOptions options;
    options.mode = PrintMode::kOverImage;
    report_ = {};
    return PrintToPdfBytes(d, options, report_);
  }
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  PrintReport report_;
};

TEST_F(PageImageTest, PngBesideTheDocumentComesBeforeItsPdf) {
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
TEST_F(PageImageTest, PrintOverAPdfScan) {
  auto d = test::MakeDocument(3);
  d->Répertoire_Document = "/scans/";
  d->imprimante_OrigineX_cm = 1;
  platform_->WriteFileBytes("/scans/essai.det.pdf", test::MakePdfScan(2));
  test::AddField(*d, 1, "L1_Qté", 1000, 1000, 1400, 1080, "12,5");
  const test::Pdf pdf(PrintOver(*d));
  ASSERT_EQ(pdf.pages(), 3);
  // The page is 2480 x 3508 px at 300 dpi: 595.2 x 841.92 pt, the scan's size.
  const auto word = pdf.Find(1, "SCAN1");
  ASSERT_EQ(word.size(), 1u) << pdf.text(1);
  EXPECT_NEAR(word[0].x1, 100 + test::kCm, 0.5);
  EXPECT_EQ(pdf.Find(2, "SCAN2").size(), 1u);
  EXPECT_EQ(pdf.Find(1, "12,5").size(), 1u);
  // The square, moved 1 cm right with the printer offset.
  auto picture = pdf.Render(1, 200 + test::kCm - 5, 300, 60, 50, 2);
  EXPECT_EQ(PixelAt(picture.get(), 4, 50), 0xFFFFFFu);
  EXPECT_EQ(PixelAt(picture.get(), 20, 50), 0x000000u);
  EXPECT_TRUE(pdf.Find(3, "SCAN").empty());  // page 3 is printed without a scan
  EXPECT_EQ(report_.warnings, std::vector<std::string>{"/scans/essai.det.pdf has 2 pages: no image for page 3"});

  PrintReport report;
  const test::Pdf form(PrintToPdfBytes(*d, {}, report));
  EXPECT_TRUE(form.Find(1, "SCAN1").empty());
  EXPECT_EQ(PixelAt(form.Render(1, 200 + test::kCm, 300, 50, 50, 1).get(), 25, 25), 0xFFFFFFu);
}

TEST_F(PageImageTest, PrintOverATwoPageTiff) {
  auto d = test::MakeDocument(2, 600, 800, 100);  // 6 x 8 inches
  d->Répertoire_Document = "/scans/";
  platform_->WriteFileBytes("/scans/essai.det.tif", test::MakeTiff());
  test::AddField(*d, 2, "L1_Qté", 300, 400, 500, 450, "Deux");
  const test::Pdf pdf(PrintOver(*d));
  ASSERT_EQ(pdf.pages(), 2);
  EXPECT_TRUE(report_.warnings.empty());
  // 100 dpi: pixel p at p * 0.72 pt. Page 1 has its square at 100 px, page 2 at (300, 500).
  for (int page = 1; page <= 2; ++page) {
    auto picture = pdf.Render(page, 0, 0, 432, 576, 1);
    EXPECT_EQ(PixelAt(picture.get(), 108, 108), page == 1 ? 0x000000u : 0xFFFFFFu) << page;
    EXPECT_EQ(PixelAt(picture.get(), 252, 396), page == 2 ? 0x000000u : 0xFFFFFFu) << page;
  }
  EXPECT_EQ(pdf.Find(2, "Deux").size(), 1u);
}

}  // namespace
}  // namespace mandor::print
