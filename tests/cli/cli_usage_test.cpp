// The program's contract at the shell: help, usage errors (status 2, one
// line and a hint), `check` (0 loaded, 1 not), and the library's messages as
// "[TITLE] TEXT" lines on standard error.

#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

// A usage error: status 2, nothing on standard output, and on standard error
// the message line then the hint, nothing else (no exception text).
void ExpectUsageError(const CliResult& r, const std::string& message, const std::string& hint) {
  EXPECT_EQ(r.status, 2) << r.err;
  EXPECT_EQ(r.out, "");
  const std::vector<std::string> lines = r.ErrLines();
  ASSERT_EQ(lines.size(), 2u) << r.err;
  EXPECT_NE(lines[0].find("mandor: "), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find(message), std::string::npos) << lines[0];
  EXPECT_EQ(lines[1], "Run '" + hint + " --help' for usage.");
  EXPECT_EQ(r.err.find("terminate"), std::string::npos);
  EXPECT_EQ(r.err.find("what()"), std::string::npos);
}

TEST(CliUsage, HelpAndVersionDescribeEveryCommand) {
  CliResult r = RunCli({"--help"});
  EXPECT_EQ(r.status, 0);
  for (const char* command : {"info", "dump", "check", "convert", "save", "render", "--locale", "--yes"}) {
    EXPECT_NE(r.out.find(command), std::string::npos) << command;
  }
  r = RunCli({"render", "--help"});
  EXPECT_EQ(r.status, 0);
  for (const char* option : {"--page", "--output", "--scale", "--doc", "PATH"}) {
    EXPECT_NE(r.out.find(option), std::string::npos) << option;
  }
  r = RunCli({"dump", "--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("--calage"), std::string::npos);
  r = RunCli({"--version"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("mandor "), std::string::npos);
}

TEST(CliUsage, MistakesOnTheCommandLineExitWithStatus2AndAHint) {
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  const std::string catalogue = Sample("menuiseries.xml");
  ExpectUsageError(RunCli({"frobnicate", xnf}), "unknown command \"frobnicate\"", "mandor");
  ExpectUsageError(RunCli({}), "subcommand is required", "mandor");
  ExpectUsageError(RunCli({"info", "/no/such/marking.xnf"}), "no such file: /no/such/marking.xnf", "mandor info");
  ExpectUsageError(RunCli({"check", "/no/such/catalogue.xml"}), "no such file", "mandor check");
  ExpectUsageError(RunCli({"info", xnf, "--locale", "de"}), "--locale", "mandor info");
  ExpectUsageError(RunCli({"info", xnf, "--colour"}), "--colour", "mandor info");
  ExpectUsageError(RunCli({"render", xnf, "--page", "x", "-o", "p.svg"}), "--page", "mandor render");
  ExpectUsageError(RunCli({"render", xnf}), "--output", "mandor render");
  ExpectUsageError(RunCli({"render", xnf, "-o", "page.gif"}), "must end with \".svg\" or \".png\"", "mandor render");
  ExpectUsageError(RunCli({"render", xnf, "--page", "3", "-o", "p.svg"}), "no page 3", "mandor render");
  ExpectUsageError(RunCli({"render", xnf, "--page", "0", "-o", "p.svg"}), "no page 0", "mandor render");
  ExpectUsageError(RunCli({"render", xnf, "--scale", "0", "-o", "p.svg"}), "--scale", "mandor render");
  ExpectUsageError(RunCli({"convert", xnf, "out.txt"}), "must end with \".xnf\" or \".cnf\"", "mandor convert");
  ExpectUsageError(RunCli({"convert", xnf}), "OUT", "mandor convert");
  ExpectUsageError(RunCli({"info", catalogue, "--doc", "mn9"}), "documents: mn1, mn2, mn3", "mandor info");
  ExpectUsageError(RunCli({"info", xnf, "--doc", "mn1"}), "text marking", "mandor info");
  ExpectUsageError(RunCli({"save", xnf}), "text marking", "mandor save");
}

TEST(CliCheck, ExitStatusTellsWhetherTheMarkingLoaded) {
  for (const std::string& path : {Sample("dqe-menuiseries.det.xnf"), Sample("dqe-menuiseries.det.cnf"),
                                  Sample("menuiseries.xml"), Fixture("textfile/bordereau.bpx.xnf"),
                                  Fixture("textfile/bordereau.bpx.cnf"), Fixture("xml/tender.xml"),
                                  Fixture("xml/ecriture_lot3.xml")}) {
    const CliResult r = RunCli({"check", path});
    EXPECT_EQ(r.status, 0) << path << "\n" << r.out << r.err;
    EXPECT_NE(r.out.find(path + ": loaded"), std::string::npos) << r.out;
  }
  const CliResult catalogue = RunCli({"check", Sample("menuiseries.xml")});
  EXPECT_NE(catalogue.out.find("3 documents, 4 pages"), std::string::npos) << catalogue.out;
  EXPECT_EQ(catalogue.out.find("warning"), std::string::npos) << catalogue.out;

  TempDir dir;
  // A text marking without its [Calage] section: the library says so under
  // its own title, and the marking does not load.
  WriteFile(dir.File("broken.det.xnf"), "[Pr\xe9sentation]\r\nFonte=Arial\r\nPoints=10\r\n");
  CliResult r = RunCli({"check", dir.File("broken.det.xnf")});
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_NE(r.out.find("NOT LOADED"), std::string::npos) << r.out;
  ASSERT_FALSE(r.ErrLines().empty());
  EXPECT_EQ(r.ErrLines()[0], "[Erreur Fichier] Section [Calage] absente du fichier " + dir.File("broken.det.xnf"));
  for (const std::string& line : r.ErrLines()) EXPECT_EQ(line.front(), '[') << line;

  // A catalogue that is not XML, and one that is empty.
  WriteFile(dir.File("lot.xml"), "<Workbook><mn:MANDOR");
  r = RunCli({"check", dir.File("lot.xml")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("NOT LOADED"), std::string::npos) << r.out;
  WriteFile(dir.File("empty.xml"), "");
  EXPECT_EQ(RunCli({"check", dir.File("empty.xml")}).status, 1);
  // A name too short for a document ("ab" from "ab.xnf") does not load either.
  CopyTo(Sample("dqe-menuiseries.det.xnf"), dir.File("ab.xnf"));
  r = RunCli({"check", dir.File("ab.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("shorter than 3 characters"), std::string::npos) << r.out;
  // Other commands refuse a marking that does not load, with status 1.
  r = RunCli({"info", dir.File("broken.det.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("mandor: " + dir.File("broken.det.xnf") + ": the marking could not be loaded"),
            std::string::npos)
      << r.err;
}

TEST(CliCheck, MessagesAreOneLineEachWithTheirLineBreaksEscaped) {
  TempDir dir;
  // A standard marking whose second line has the wrong key: the reader shows
  // a two-line message and reads on.
  std::string cnf = ReadFile(Sample("dqe-menuiseries.det.cnf"));
  const size_t at = cnf.find("Orientation=1");
  ASSERT_NE(at, std::string::npos);
  cnf.replace(at, 13, "Orientaton=1");
  WriteFile(dir.File("faute.det.cnf"), cnf);
  const CliResult r = RunCli({"check", dir.File("faute.det.cnf")});
  EXPECT_EQ(r.status, 0) << r.err;
  ASSERT_EQ(r.ErrLines().size(), 1u) << r.err;
  EXPECT_EQ(r.ErrLines()[0], "[MandorDLL] ERREUR: attendu: Orientation\\nLu: Orientaton=1");
  EXPECT_NE(r.out.find("1 message(s) on standard error"), std::string::npos);

  // Warnings of check: a field hanging on a ruler that is not there.
  std::string xnf = ReadFile(Sample("dqe-menuiseries.det.xnf"));
  const size_t column = xnf.find("|Qt\xe9|0|L1|");
  ASSERT_NE(column, std::string::npos);
  xnf.replace(column, 4, "|Qty");
  WriteFile(dir.File("ancre.det.xnf"), xnf);
  const CliResult warned = RunCli({"check", dir.File("ancre.det.xnf")});
  EXPECT_EQ(warned.status, 0);
  EXPECT_NE(warned.out.find("warning: \"ancre.det\": page page_1: field \"L1_Qt\xc3\xa9\" hangs on the vertical ruler "
                            "\"Qty\", which does not exist"),
            std::string::npos)
      << warned.out;
}

}  // namespace
}  // namespace mandor_cli_test
