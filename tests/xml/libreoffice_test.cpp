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

// Converts file with soffice into dir/out (own profile, log); true on success.
bool Convert(const fs::path& dir, const fs::path& file, const std::string& format, const std::string& out) {
  const std::string command = "timeout 180 soffice -env:UserInstallation=file://" + (dir / "profile").string() +
                              " --headless --norestore --convert-to '" + format + "' --outdir '" +
                              (dir / out).string() + "' '" + file.string() + "' >>'" + (dir / "soffice.log").string() +
                              "' 2>&1";
  return std::system(command.c_str()) == 0;
}

TEST(LibreOfficeTest, SavedCatalogueOpensWithTheModelsRowsAndNames) {
  if (std::system("command -v soffice >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "soffice (LibreOffice Calc, Debian package libreoffice-calc-nogui) is not installed";
  }
  // A folder of its own, left for inspection when a conversion fails; the
  // catalogue saved with a new line 1.3, its name and a unit price cell.
  char pattern[] = "/tmp/mandor-libreoffice-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const fs::path dir = pattern, file = dir / "lot3.xml";
  const std::string log = (dir / "soffice.log").string();
  fs::copy_file(fs::path(MANDOR_TEST_DATA_DIR) / "xml" / "saved" / "new_row.xml", file);
  // Every sheet as UTF-8 CSV: the rows and cell texts, each cell in its column.
  const std::string utf8_csv = "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false,false,false,-1";
  ASSERT_TRUE(Convert(dir, file, utf8_csv, "csv")) << test_util::ReadBytes(log);
  fs::path marking_csv = dir / "csv" / (std::string("lot3-") + kSheet + ".csv");
  if (!fs::exists(marking_csv)) marking_csv = dir / "csv" / "lot3.csv";
  ASSERT_TRUE(fs::exists(marking_csv)) << test_util::ReadBytes(log);
  test_util::ExpectDescribedAs(test_util::ReadBytes(marking_csv), "xml/saved/lot3-libreoffice.csv");
  // The names, through the flat OpenDocument form.
  ASSERT_TRUE(Convert(dir, file, "fods", "fods")) << test_util::ReadBytes(log);
  pugi::xml_document ods;
  EXPECT_TRUE(ods.load_file((dir / "fods" / "lot3.fods").c_str()));
  std::map<std::string, std::string> ranges;
  for (const pugi::xpath_node& range : ods.select_nodes("//table:named-range")) {
    ranges[range.node().attribute("table:name").value()] = range.node().attribute("table:cell-range-address").value();
  }
  const std::string sheet = std::string("$'") + kSheet + "'.";
  EXPECT_EQ(ranges["P_0_1.3"] + " " + ranges["P_0_1.1"] + " " + ranges["P_0_TOTAL"], sheet + "$A$6 " + sheet + "$A$2 " +
                                                                                   sheet + "$A$5");
  EXPECT_EQ(ranges["NumP"] + " " + ranges["PU"], sheet + "$A:" + sheet + "$A " + sheet + "$E:" + sheet + "$E");
  std::error_code ignored;
  fs::remove_all(dir, ignored);
}

}  // namespace
}  // namespace mandor
