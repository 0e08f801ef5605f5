// The program's contract at the shell: help, usage errors (status 2, one
// line and a hint), `check` (0 loaded, 1 not), the library's messages as
// "[TITLE] TEXT" lines on standard error: tests/data/cli/usage.txt.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

TEST(CliUsage, HelpUsageErrorsAndCheck) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  const std::string catalogue = Sample("menuiseries.xml");
  // A text marking without its [Calage] section; catalogues that are not
  // XML or empty; a name too short for a document ("ab" from "ab.xnf").
  WriteBytes(dir.File("broken.det.xnf"), "[Pr\xe9sentation]\r\nFonte=Arial\r\nPoints=10\r\n");
  WriteBytes(dir.File("lot.xml"), "<Workbook><mn:MANDOR");
  WriteBytes(dir.File("empty.xml"), "");
  CopyTo(xnf, dir.File("ab.xnf"));
  // A standard marking whose second line has the wrong key: the reader shows
  // a two-line message, escaped on one line, and reads on.
  WriteBytes(dir.File("faute.det.cnf"), SampleWith("dqe-menuiseries.det.cnf", "Orientation=1", "Orientaton=1"));

  const std::vector<std::vector<std::string>> commands = {
      {"--help"}, {"render", "--help"}, {"dump", "--help"},
      {"frobnicate", xnf}, {}, {"info", "/no/such/marking.xnf"}, {"check", "/no/such/catalogue.xml"},
      {"info", xnf, "--locale", "xx"}, {"info", xnf, "--locale", "fr_FR.UTF-8;"}, {"info", xnf, "--colour"},
      {"render", xnf, "--page", "x", "-o", "p.svg"}, {"render", xnf}, {"render", xnf, "-o", "page.gif"},
      {"render", xnf, "--page", "3", "-o", "p.svg"}, {"render", xnf, "--page", "0", "-o", "p.svg"},
      {"render", xnf, "--scale", "0", "-o", "p.svg"}, {"render", xnf, "--scale", "16", "-o", dir.File("huge.png")},
      {"render", xnf, "-o", dir.File("absent/page.svg")},
      {"convert", xnf, "out.txt"}, {"convert", xnf}, {"info", catalogue, "--doc", "mn9"},
      {"info", xnf, "--doc", "mn1"}, {"save", xnf},
      {"check", xnf}, {"check", Sample("dqe-menuiseries.det.cnf")}, {"check", catalogue},
      {"check", dir.File("broken.det.xnf")}, {"check", dir.File("lot.xml")}, {"check", dir.File("empty.xml")},
      {"check", dir.File("ab.xnf")}, {"info", dir.File("broken.det.xnf")}, {"check", dir.File("faute.det.cnf")}};
  ExpectOutputAs(Transcript(commands, dir), "cli/usage.txt");
  EXPECT_EQ(RunCli({"--version"}).out.rfind("mandor ", 0), 0u);
}

}  // namespace
}  // namespace mandor_cli_test
