// `mandor print` run as a user runs it: the three modes on the sample
// marking, the options, the warnings on standard error and the exit status
// (0 when a PDF was written, 1 when nothing could be, 2 for a usage error);
// and `mandor render` over PDF and TIFF scans.
#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"
#include "tests/print/print_test_util.h"

namespace {

using mandor_cli_test::CliResult;
using mandor_cli_test::ReadBytes;
using mandor_cli_test::RunCli;
using mandor_cli_test::Sample;
using mandor_cli_test::TempDir;
using mandor_cli_test::WriteBytes;

// Standard error less the report LeakSanitizer adds in a sanitizer build
// when it used its suppressions.
std::string Messages(const CliResult& r) {
  const size_t report = r.err.find("-----------------------------------------------------\nSuppressions used:");
  return report == std::string::npos ? r.err : r.err.substr(0, report);
}

TEST(CliPrint, TheThreeModesOnTheSample) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  CliResult r = RunCli({"print", xnf, "-o", dir.File("form.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + dir.File("form.pdf") + " (2 pages of \"dqe-menuiseries.det\", on the form, 8 values)\n");
  EXPECT_EQ(Messages(r), "");
  {
    const mandor::print::test::Pdf pdf(ReadBytes(dir.File("form.pdf")));
    ASSERT_EQ(pdf.pages(), 2);
    EXPECT_EQ(pdf.title(), "dqe-menuiseries.det");
    EXPECT_EQ(pdf.Find(1, "14,00").size(), 1u) << pdf.text(1);
  }

  // Page 2 has no scan beside the sample: printed without one, with a warning.
  r = RunCli({"print", xnf, "--over-image", "-o", dir.File("over.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("over the image, 8 values"), std::string::npos) << r.out;
  EXPECT_NE(r.err.find("mandor: warning: no image for page 2"), std::string::npos) << r.err;
  {
    const mandor::print::test::Pdf pdf(ReadBytes(dir.File("over.pdf")));
    ASSERT_EQ(pdf.pages(), 2);
    // The PNG scan is drawn under page 1: the page is no longer white.
    auto picture = pdf.Render(1, 0, 0, 595, 842, 0.25);
    int dark = 0;
    for (int y = 0; y < cairo_image_surface_get_height(picture.get()); ++y) {
      for (int x = 0; x < cairo_image_surface_get_width(picture.get()); ++x) {
        dark += mandor::print::test::PixelAt(picture.get(), x, y) != 0xFFFFFFu;
      }
    }
    EXPECT_GT(dark, 500);
  }

  r = RunCli({"print", xnf, "--test-sheet", "--offset", "0.3,-0.2", "--pages", "2", "-o", dir.File("test.pdf")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + dir.File("test.pdf") + " (1 page of \"dqe-menuiseries.det\", test sheet)\n");
  const mandor::print::test::Pdf pdf(ReadBytes(dir.File("test.pdf")));
  ASSERT_EQ(pdf.pages(), 1);
  EXPECT_NE(pdf.text(1).find("printer offset X 0.30 cm, Y -0.20 cm (given for this print)"), std::string::npos)
      << pdf.text(1);
}

TEST(CliPrint, ValuesForThisPrintFromACsvFile) {
  TempDir dir;
  WriteBytes(dir.File("values.csv"), "L1_Qté;3\nL1_Prix unitaire;1234,5\n");
  const CliResult r = RunCli({"print", Sample("dqe-menuiseries.det.xnf"), "--values", dir.File("values.csv"),
                              "--no-compute", "--pages", "1", "-o", dir.File("v.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  const mandor::print::test::Pdf pdf(ReadBytes(dir.File("v.pdf")));
  EXPECT_EQ(pdf.Find(1, "3,00").size(), 1u) << pdf.text(1);
  EXPECT_EQ(pdf.Find(1, "1234,50").size(), 1u) << pdf.text(1);
  EXPECT_TRUE(pdf.Find(1, "14,00").empty());
}

TEST(CliPrint, BadInputAndExitStatus) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  WriteBytes(dir.File("bad.csv"), "L1_Qté;3\n\"L1_Prix unitaire;4\n");
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;
  };
  const Case cases[] = {
      {{"print", xnf, "-o", dir.File("a.png")}, 2, "the output must end with \".pdf\""},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--pages", "2-1"}, 2, "bad page range"},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--offset", "1"}, 2, "bad offset \"1\""},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--values", dir.File("absent.csv")}, 2, "cannot read the values"},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--values", dir.File("bad.csv")}, 1, "malformed values:\n  line 2"},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--over-image", "--test-sheet"}, 2, "excludes"},
      {{"print", dir.File("absent.xnf"), "-o", dir.File("a.pdf")}, 1, "could not be loaded"},
      {{"print", xnf, "-o", dir.File("a.pdf"), "--pages", "5"}, 1,
       "mandor: warning: no page 5: the document has 2 pages\nmandor: no page to print\n"},
      {{"print", xnf, "-o", dir.File("absent/a.pdf")}, 1, "mandor: cannot write " + dir.File("absent/a.pdf")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    const CliResult r = RunCli(c.args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }
  EXPECT_FALSE(std::filesystem::exists(dir.File("a.pdf")));
}

TEST(CliRender, OverAPdfAndATiffScan) {
  TempDir dir;
  mandor_cli_test::CopyTo(Sample("dqe-menuiseries.det.xnf"), dir.File("lot.det.xnf"));
  WriteBytes(dir.File("lot.det.pdf"), mandor::print::test::MakePdfScan(2));
  CliResult r = RunCli({"render", dir.File("lot.det.xnf"), "--page", "2", "--scale", "0.25", "-o",
                        dir.File("p2.png")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("over " + dir.File("lot.det.pdf")), std::string::npos) << r.out;
  // The scan's black square (200 pt, 300 pt; 300 dpi; scale 0.25) in the picture.
  const std::string png = ReadBytes(dir.File("p2.png"));
  EXPECT_EQ(mandor::print::test::PngPixel(png, 225 * 300 / 72 / 4, 325 * 300 / 72 / 4), 0x000000u);
  r = RunCli({"render", dir.File("lot.det.xnf"), "--page", "2", "-o", dir.File("p2.svg")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(ReadBytes(dir.File("p2.svg")).find("data:image/png;base64,"), std::string::npos);

  std::filesystem::remove(dir.File("lot.det.pdf"));
  WriteBytes(dir.File("lot.det.tif"), mandor::print::test::MakeTiff());
  r = RunCli({"render", dir.File("lot.det.xnf"), "--page", "2", "--scale", "0.25", "-o", dir.File("t2.png")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("over " + dir.File("lot.det.tif")), std::string::npos) << r.out;
  // The TIFF (600 x 800) is stretched over the A4 page of 2480 x 3508 pixels:
  // its page-2 square at (300..400, 500..600) of 600 x 800.
  const std::string tiff_png = ReadBytes(dir.File("t2.png"));
  EXPECT_EQ(mandor::print::test::PngPixel(tiff_png, 350 * 620 / 600, 550 * 877 / 800), 0x000000u);
  EXPECT_EQ(mandor::print::test::PngPixel(tiff_png, 150 * 620 / 600, 150 * 877 / 800), 0xFFFFFFu);
}

}  // namespace

// A catalogue prints the values of its worksheet, with the formulas computed
// from them, in the form's picture (no thousands grouping); --no-compute
// prints the cells as they stand.
TEST(CliPrint, ACatalogueFilledFromACsvPrintsItsComputedValues) {
  TempDir dir;
  const std::string catalogue = dir.File("menuiseries.xml");
  WriteBytes(catalogue, ReadBytes(Sample("menuiseries.xml")));
  CliResult r = RunCli({"fill", catalogue, "--values", Sample("prix-menuiseries.csv"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  // Blank out one line amount in the file: computing puts it back, --no-compute does not.
  std::string bytes = ReadBytes(catalogue);
  const size_t amount = bytes.find(">5530<");
  ASSERT_NE(amount, std::string::npos);
  bytes.replace(amount, 6, ">0<");
  WriteBytes(catalogue, bytes);

  r = RunCli({"print", catalogue, "--doc", "mn1", "--pages", "1", "-o", dir.File("dqe.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  const mandor::print::test::Pdf computed(ReadBytes(dir.File("dqe.pdf")));
  EXPECT_EQ(computed.Find(1, "395,00").size(), 1u) << computed.text(1);   // a unit price from the file
  EXPECT_EQ(computed.Find(1, "5530,00").size(), 1u) << computed.text(1);  // 14 x 395, computed again
  EXPECT_TRUE(computed.Find(1, "5 530,00").empty()) << computed.text(1);

  r = RunCli({"print", catalogue, "--doc", "mn1", "--pages", "1", "--no-compute", "-o", dir.File("stored.pdf"),
              "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  const mandor::print::test::Pdf stored(ReadBytes(dir.File("stored.pdf")));
  EXPECT_TRUE(stored.Find(1, "5530,00").empty()) << stored.text(1);
  EXPECT_EQ(stored.Find(1, "395,00").size(), 1u) << stored.text(1);
}
