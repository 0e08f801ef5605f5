// The commands that write files: `convert` between the two text layouts (and
// out of a catalogue), `save` of a catalogue, and `render` to SVG and PNG.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

// Each command's status and output are in tests/data/cli/write.txt.
TEST(CliWrite, ConvertAndSave) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  CopyTo(Sample("menuiseries.xml"), dir.File("lot.xml"));
  // .xnf -> .cnf (Windows-1252 with CR LF) -> .xnf. One document out of a
  // catalogue: the name is the output's, the kind stays the document's own;
  // without --doc, the first document.
  std::string transcript =
      Transcript({{"convert", xnf, dir.File("copie.det.cnf"), "--locale", "fr"},
                  {"convert", dir.File("copie.det.cnf"), dir.File("retour.det.xnf"), "--locale", "fr"},
                  {"convert", dir.File("lot.xml"), "--doc", "mn2", dir.File("bordereau.det.xnf")},
                  {"convert", dir.File("lot.xml"), dir.File("premier.xnf")}, {"info", dir.File("bordereau.det.xnf")}},
                 dir);
  ExpectOutputAs(ReadBytes(dir.File("copie.det.cnf")), "cli/convert-dqe.det.cnf");
  // The text layouts' round trip is the library's (tests/textfile).

  // Writing over an existing marking is refused unless --yes (asked, answered
  // No, one line of reason, the file untouched); with --yes the extended
  // writer keeps the previous file as a backup. A document kind the standard
  // layout cannot hold is written, with a warning, and does not read back; a
  // folder that does not exist: the library's message, then the failure.
  // Saving a catalogue writes every document (or the one asked for) back.
  const std::string before = ReadBytes(dir.File("retour.det.xnf"));
  transcript += Transcript({{"convert", xnf, dir.File("retour.det.xnf")}}, dir);
  EXPECT_EQ(ReadBytes(dir.File("retour.det.xnf")), before);
  EXPECT_FALSE(std::filesystem::exists(dir.File("retour.det.xak")));
  transcript += Transcript({{"convert", xnf, dir.File("retour.det.xnf"), "--yes"},
                            {"convert", Fixture("textfile/bordereau.bpx.xnf"), dir.File("bordereau.bpx.cnf")},
                            {"check", dir.File("bordereau.bpx.cnf")},
                            {"convert", xnf, dir.File("absent/copie.det.xnf")},
                            {"save", dir.File("lot.xml")},
                            {"save", dir.File("lot.xml"), "--doc", "mn3"},
                            {"info", dir.File("lot.xml")}},
                           dir);
  ExpectOutputAs(transcript, "cli/write.txt");
  EXPECT_EQ(ReadBytes(dir.File("retour.det.xak")), before);
}

// The catalogue's writer rebuilds page-level cells (TA1, TD2) from the
// model, which holds no values: a save after `fill` must still keep the
// carried amounts `fill` stored there, and every other value.
TEST(CliWrite, SaveKeepsTheValuesOfAFilledCatalogue) {
  TempDir dir;
  CopyTo(Sample("menuiseries.xml"), dir.File("lot.xml"));
  ASSERT_EQ(RunCli({"fill", dir.File("lot.xml"), "--values", Sample("prix-menuiseries.csv"), "--yes"}).status, 0);
  const auto values = [&] {
    std::vector<std::string> found;
    const std::string xml = ReadBytes(dir.File("lot.xml"));
    for (size_t at = xml.find("<Data"); at != std::string::npos; at = xml.find("<Data", at + 1)) {
      found.push_back(xml.substr(at, xml.find("</Data>", at) - at));
    }
    return found;
  };
  const std::vector<std::string> filled = values();
  ASSERT_EQ(std::count(filled.begin(), filled.end(), "<Data ss:Type=\"Number\">18184.58"), 2);
  ASSERT_EQ(RunCli({"save", dir.File("lot.xml"), "--yes"}).status, 0);
  EXPECT_EQ(values(), filled);
}

TEST(CliRender, SvgAndPngOfAPage) {
  // Rulers, field names and values over the page image as kept in
  // tests/data/cli/; page 2 has no image beside the catalogue, and the names
  // of devis.det need escaping.
  TempDir dir;
  WriteBytes(dir.File("devis.det.xnf"),
             SampleWith("dqe-menuiseries.det.xnf", "|Montant|Arial|10|65|", "|R&D <\"1\">|Arial|10|65|"));
  WriteBytes(dir.File("devis.det-1.png"), "not a picture");
  const struct { std::vector<std::string> args; const char* svg; bool over; } cases[] = {
      {{"render", Sample("menuiseries.xml"), "--doc", "mn1", "--page", "1"}, "cli/render-mn1-p1.svg", true},
      {{"render", Sample("menuiseries.xml"), "--doc", "mn1", "--page", "2"}, "cli/render-mn1-p2.svg", false},
      {{"render", dir.File("devis.det.xnf"), "--locale", "fr"}, "cli/render-devis.svg", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.svg);
    std::vector<std::string> args = c.args;
    args.insert(args.end(), {"-o", dir.File("page.svg")});
    const CliResult r = RunCli(args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("over") != std::string::npos, c.over) << r.out;
    ExpectOutputAs(ReadBytes(dir.File("page.svg")), c.svg);
  }

  // A text marking does not store its page size: an A4 page at 300 dpi,
  // 620 x 877 at a quarter (the PNG header's width and height, big-endian).
  const CliResult r = RunCli({"render", Sample("dqe-menuiseries.det.xnf"), "--page", "1", "--scale", "0.25", "-o",
                        dir.File("page.png"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir.File("page.png")).substr(0, 24),
            std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x02\x6c\0\0\x03\x6d", 24));
  // Pictures too large and outputs that cannot be written: tests/data/cli/usage.txt.
}

}  // namespace
}  // namespace mandor_cli_test
