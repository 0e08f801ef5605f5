// `mandor print` run as a user runs it: on the form and as a test sheet on
// the sample marking, values from a file, the warnings on standard error and the exit
// status (0 when a PDF was written, 1 when nothing could be, 2 for a usage
// error). (How scans are drawn is checked on the library.)
#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"
#include "tests/print/print_test_util.h"

namespace {

using mandor::print::test::Pdf;
using mandor_cli_test::CliResult;
using mandor_cli_test::ReadBytes;
using mandor_cli_test::RunCli;
using mandor_cli_test::Sample;
using mandor_cli_test::TempDir;
using mandor_cli_test::WriteBytes;

const std::string kXnf = Sample("dqe-menuiseries.det.xnf");

TEST(CliPrint, FormTestSheetAndValuesOnTheSample) {
  TempDir dir;
  CliResult r = RunCli({"print", kXnf, "-o", dir.File("form.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + dir.File("form.pdf") + " (2 pages of \"dqe-menuiseries.det\", on the form, 8 values)\n");
  // Standard error holds nothing but, in a sanitizer build, the suppressions LeakSanitizer used.
  EXPECT_EQ(r.err.substr(0, r.err.find("-----------------------------------------------------\nSuppressions used:")),
            "");
  const Pdf form(ReadBytes(dir.File("form.pdf")));
  ASSERT_EQ(form.pages(), 2);
  EXPECT_EQ(form.title(), "dqe-menuiseries.det");
  EXPECT_EQ(form.Find(1, "14,00").size(), 1u) << form.text(1);

  r = RunCli({"print", kXnf, "--test-sheet", "--offset", "0.3,-0.2", "--pages", "2", "-o", dir.File("test.pdf")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + dir.File("test.pdf") + " (1 page of \"dqe-menuiseries.det\", test sheet)\n");
  const Pdf sheet(ReadBytes(dir.File("test.pdf")));
  ASSERT_EQ(sheet.pages(), 1);
  EXPECT_NE(sheet.text(1).find("printer offset X 0.30 cm, Y -0.20 cm (given for this print)"), std::string::npos)
      << sheet.text(1);

  WriteBytes(dir.File("values.csv"), "L1_Qté;3\nL1_Prix unitaire;1234,5\n");
  r = RunCli({"print", kXnf, "--values", dir.File("values.csv"), "--no-compute", "--pages", "1", "-o",
              dir.File("v.pdf"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  const Pdf values(ReadBytes(dir.File("v.pdf")));
  EXPECT_EQ(values.Find(1, "3,00").size(), 1u) << values.text(1);
  EXPECT_EQ(values.Find(1, "1234,50").size(), 1u) << values.text(1);
  EXPECT_TRUE(values.Find(1, "14,00").empty());
}

TEST(CliPrint, BadInputAndExitStatus) {
  TempDir dir;
  WriteBytes(dir.File("bad.csv"), "L1_Qté;3\n\"L1_Prix unitaire;4\n");
  const std::string out = dir.File("a.pdf");
  const struct { std::vector<std::string> args; int status; std::string err; } cases[] = {
      {{"print", kXnf, "-o", dir.File("a.png")}, 2, "the output must end with \".pdf\""},
      {{"print", kXnf, "-o", out, "--pages", "2-1"}, 2, "bad page range"},
      {{"print", kXnf, "-o", out, "--offset", "1"}, 2, "bad offset \"1\""},
      {{"print", kXnf, "-o", out, "--values", dir.File("absent.csv")}, 2, "cannot read the values"},
      {{"print", kXnf, "-o", out, "--values", dir.File("bad.csv")}, 1, "malformed values:\n  line 2"},
      {{"print", kXnf, "-o", out, "--over-image", "--test-sheet"}, 2, "excludes"},
      {{"print", dir.File("absent.xnf"), "-o", out}, 1, "could not be loaded"},
      {{"print", kXnf, "-o", out, "--pages", "5"}, 1,
       "mandor: warning: no page 5: the document has 2 pages\nmandor: no page to print\n"},
      {{"print", kXnf, "-o", dir.File("absent/a.pdf")}, 1, "mandor: cannot write " + dir.File("absent/a.pdf")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    const CliResult r = RunCli(c.args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }
  EXPECT_FALSE(std::filesystem::exists(out));
}

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
  WriteBytes(catalogue, bytes.replace(amount, 6, ">0<"));
  for (const bool compute : {true, false}) {
    std::vector<std::string> args = {"print", catalogue, "--doc", "mn1", "--pages", "1", "-o", dir.File("dqe.pdf"),
                                     "--locale", "fr"};
    if (!compute) args.push_back("--no-compute");
    r = RunCli(args);
    ASSERT_EQ(r.status, 0) << r.err;
    const Pdf pdf(ReadBytes(dir.File("dqe.pdf")));
    EXPECT_EQ(pdf.Find(1, "395,00").size(), 1u) << pdf.text(1);                // a unit price from the file
    EXPECT_EQ(pdf.Find(1, "5530,00").size(), compute ? 1u : 0u) << pdf.text(1);  // 14 x 395, computed again
    EXPECT_TRUE(pdf.Find(1, "5 530,00").empty()) << pdf.text(1);
  }
}

}  // namespace
