// A saved catalogue is still a spreadsheet: LibreOffice Calc opens it and
// shows the rows, cell texts and names the model wrote.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/util/platform.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSheet = "Lot 3 Électricité";

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

// The rows of a worksheet table as CSV lines, each cell at the column its
// "ss:Index" (or its place after the previous cell) gives, padded to the
// widest row: what a spreadsheet program shows for the file.
std::vector<std::string> ExpectedCsv(const pugi::xml_node& table) {
  std::vector<std::map<long, std::string>> rows;
  long width = 0;
  for (const pugi::xml_node& row : XmlSelectNodes(table, "Row")) {
    std::map<long, std::string> cells;
    long column = 0;
    for (const pugi::xml_node& cell : XmlSelectNodes(row, "Cell")) {
      const pugi::xml_attribute index = cell.attribute("ss:Index");
      column = index ? index.as_int() : column + 1;
      cells[column] = cell.child("Data").text().get();
      width = std::max(width, column);
    }
    rows.push_back(cells);
  }
  std::vector<std::string> lines;
  for (const auto& cells : rows) {
    std::string line;
    for (long c = 1; c <= width; ++c) {
      if (c > 1) line += ",";
      const auto found = cells.find(c);
      if (found != cells.end()) line += CsvField(found->second);
    }
    lines.push_back(line);
  }
  return lines;
}

class LibreOfficeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::system("command -v soffice >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "soffice (LibreOffice Calc, Debian package libreoffice-calc-nogui) is not installed";
    }
    char pattern[] = "/tmp/mandor-libreoffice-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    if (!dir_.empty()) {
      std::error_code ignored;
      fs::remove_all(dir_, ignored);
    }
  }

  // Converts file with soffice into out_dir; true when soffice succeeded.
  bool Convert(const fs::path& file, const std::string& format, const fs::path& out_dir) {
    const std::string command = "timeout 180 soffice -env:UserInstallation=file://" + (dir_ / "profile").string() +
                                " --headless --norestore --convert-to '" + format + "' --outdir '" + out_dir.string() +
                                "' '" + file.string() + "' >>'" + (dir_ / "soffice.log").string() + "' 2>&1";
    return std::system(command.c_str()) == 0;
  }

  fs::path dir_;
  ScopedPlatform scope_{std::make_shared<SystemPlatform>()};
};

TEST_F(LibreOfficeTest, SavedCatalogueOpensWithTheModelsRowsAndNames) {
  const fs::path file = dir_ / "lot3.xml";
  fs::copy_file(fs::path(MANDOR_TEST_DATA_DIR) / "xml" / "ecriture_lot3.xml", file);

  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_NE(catalogue->XML_ReadCNF(file.string()), nullptr);
  auto dqe = catalogue->Item("mn1");
  // A new line 1.3 with a unit price, a unit price on line 2.1, a deleted
  // field and a changed one.
  auto page = dqe->Pages.Item("page_1");
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "1.3";
  regle->oOwnerMandor(dqe);
  regle->Page(page);
  regle->Position_pixel_Y = 640;
  regle->TypeLigne = "Article";
  regle->Level = 2;
  page->Regles_H.Add(regle, "00099");
  dqe->Regles_H.Add(regle, "00099");
  xml_test::AddField(dqe, "1.3_PU", regle, xml_test::Ruler(dqe->Regles_V, "PU"), 1);
  xml_test::AddField(dqe, "2.1_PU", xml_test::Ruler(dqe->Regles_H, "2.1"), xml_test::Ruler(dqe->Regles_V, "PU"), 2);
  dqe->Champs.Item("1.2_PU")->SupprimerDuDocument("1.2_PU");
  dqe->Champs.Item("1.1_Qté")->Décimales(1);
  ASSERT_TRUE(dqe->SauvegarderMarquageXml(dqe));
  auto bpu = catalogue->Item("mn2");
  ASSERT_TRUE(bpu->SauvegarderMarquageXml(bpu));

  WorkbookDocument saved;
  ASSERT_TRUE(saved.Load(file.string()));
  const pugi::xml_node table =
      XmlSelectNode(saved.document(), std::string("Workbook/Worksheet[@ss:Name='") + kSheet + "']/Table");
  const std::vector<std::string> expected = ExpectedCsv(table);
  ASSERT_EQ(expected.size(), 6u);
  EXPECT_EQ(expected.back(), "1.3,,,,,");
  EXPECT_EQ(expected[3], "2.1,Tableau général basse tension,ens,1,,");

  // Every sheet as UTF-8 CSV.
  const fs::path csv_dir = dir_ / "csv";
  ASSERT_TRUE(Convert(file, "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false,false,false,-1", csv_dir))
      << ReadFile(dir_ / "soffice.log");
  fs::path marking_csv = csv_dir / (std::string("lot3-") + kSheet + ".csv");
  if (!fs::exists(marking_csv)) marking_csv = csv_dir / "lot3.csv";  // versions that write the first sheet only
  ASSERT_TRUE(fs::exists(marking_csv)) << ReadFile(dir_ / "soffice.log");
  EXPECT_EQ(Lines(ReadFile(marking_csv)), expected);
  if (fs::exists(csv_dir / "lot3-Notes.csv")) {
    EXPECT_EQ(Lines(ReadFile(csv_dir / "lot3-Notes.csv")), std::vector<std::string>{"Visite de site le 14 mars"});
  }

  // The names, through the flat OpenDocument form.
  const fs::path ods_dir = dir_ / "fods";
  ASSERT_TRUE(Convert(file, "fods", ods_dir)) << ReadFile(dir_ / "soffice.log");
  pugi::xml_document ods;
  ASSERT_TRUE(ods.load_file((ods_dir / "lot3.fods").c_str()));
  std::map<std::string, std::string> ranges;
  for (const pugi::xpath_node& range : ods.select_nodes("//table:named-range")) {
    ranges[range.node().attribute("table:name").value()] = range.node().attribute("table:cell-range-address").value();
  }
  const std::string sheet = std::string("$'") + kSheet + "'.";
  EXPECT_EQ(ranges["P_0_1.3"], sheet + "$A$6");
  EXPECT_EQ(ranges["P_0_1.1"], sheet + "$A$2");
  EXPECT_EQ(ranges["P_0_TOTAL"], sheet + "$A$5");
  EXPECT_EQ(ranges["NumP"], sheet + "$A:" + sheet + "$A");
  EXPECT_EQ(ranges["PU"], sheet + "$E:" + sheet + "$E");
}

}  // namespace
}  // namespace mandor
