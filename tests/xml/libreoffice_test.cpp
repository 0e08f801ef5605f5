// A saved catalogue is still a spreadsheet: LibreOffice Calc opens it and
// shows the rows, cell texts and names the model wrote (the CSV kept in
// tests/data/xml/saved/).

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "tests/test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSheet = "Lot 3 Électricité";

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
};

TEST_F(LibreOfficeTest, SavedCatalogueOpensWithTheModelsRowsAndNames) {
  // The catalogue XmlWriterTest.NewHorizontalRulerGetsARowAndNames saves:
  // a new line 1.3 with its name and a unit price cell.
  const fs::path file = dir_ / "lot3.xml";
  fs::copy_file(fs::path(MANDOR_TEST_DATA_DIR) / "xml" / "saved" / "new_row.xml", file);

  // Every sheet as UTF-8 CSV: the rows and cell texts the model wrote, each
  // cell in the column its "ss:Index" gives.
  const fs::path csv_dir = dir_ / "csv";
  ASSERT_TRUE(Convert(file, "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false,false,false,-1", csv_dir))
      << test_util::ReadBytes(dir_ / "soffice.log");
  fs::path marking_csv = csv_dir / (std::string("lot3-") + kSheet + ".csv");
  if (!fs::exists(marking_csv)) marking_csv = csv_dir / "lot3.csv";  // versions that write the first sheet only
  ASSERT_TRUE(fs::exists(marking_csv)) << test_util::ReadBytes(dir_ / "soffice.log");
  test_util::ExpectDescribedAs(test_util::ReadBytes(marking_csv), "xml/saved/lot3-libreoffice.csv");
  if (fs::exists(csv_dir / "lot3-Notes.csv")) {
    EXPECT_EQ(test_util::ReadBytes(csv_dir / "lot3-Notes.csv"), "Visite de site le 14 mars\n");
  }

  // The names, through the flat OpenDocument form.
  const fs::path ods_dir = dir_ / "fods";
  ASSERT_TRUE(Convert(file, "fods", ods_dir)) << test_util::ReadBytes(dir_ / "soffice.log");
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
