// A saved catalogue is still a spreadsheet: LibreOffice Calc opens it and
// shows the rows, cell texts and names the model wrote (the CSV kept in
// tests/data/xml/saved/).

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/util/platform.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

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
  std::tie(regle->Nom, regle->TypeLigne, regle->Position_pixel_Y, regle->Level) =
      std::make_tuple("1.3", "Article", 640.f, 2);
  regle->oOwnerMandor(dqe);
  regle->Page(page);
  page->Regles_H.Add(regle, "00099");
  dqe->Regles_H.Add(regle, "00099");
  xml_test::AddField(dqe, "1.3_PU", regle, xml_test::Ruler(dqe->Regles_V, "PU"), 1);
  xml_test::AddField(dqe, "2.1_PU", xml_test::Ruler(dqe->Regles_H, "2.1"), xml_test::Ruler(dqe->Regles_V, "PU"), 2);
  dqe->Champs.Item("1.2_PU")->SupprimerDuDocument("1.2_PU");
  dqe->Champs.Item("1.1_Qté")->Décimales(1);
  ASSERT_TRUE(dqe->SauvegarderMarquageXml(dqe));
  auto bpu = catalogue->Item("mn2");
  ASSERT_TRUE(bpu->SauvegarderMarquageXml(bpu));

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
