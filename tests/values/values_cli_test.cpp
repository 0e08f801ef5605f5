// The set, fill and compute commands, run as a user runs them, and the
// filled catalogue opened in LibreOffice Calc.

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

const std::map<std::string, std::string> kFrench = {{"LANG", "fr_FR.UTF-8"}};

// A copy of the sample catalogue in `dir`.
std::string Catalogue(const TempDir& dir) {
  CopyTo(Sample("menuiseries.xml"), dir.File("menuiseries.xml"));
  return dir.File("menuiseries.xml");
}

// What the commands say is in tests/data/cli/values.txt: dry runs that list
// the values that would change, input refused whole with every problem
// named, formulas that fail left empty, the filled estimate's totals.
TEST(ValuesCliTest, SetFillAndComputeSayWhatTheyDoAndWriteOnlyGoodInput) {
  TempDir dir;
  const std::string file = Catalogue(dir), bytes = ReadBytes(file), csv = Sample("prix-menuiseries.csv");
  const std::string broken = dir.File("broken.xml"), xnf = dir.File("dqe.det.xnf");
  WriteBytes(broken, SampleWith("menuiseries.xml", "mn:Formula=\"L3_Qté*L3_PU\"", "mn:Formula=\"L3_Qté*(L3_PU\""));
  WriteBytes(dir.File("bad.csv"), "L1_PU;400\nL2_PU\n");
  CopyTo(Sample("dqe-menuiseries.det.xnf"), xnf);
  CopyTo(Sample("dqe-menuiseries.det.cnf"), dir.File("dqe.det.cnf"));
  std::string transcript = Transcript({{"set", file, "--doc", "mn1", "L1_PU=400", "-n"},
                                       {"fill", file, "--values", csv, "--dry-run"},
                                       {"set", file, "--doc", "mn1", "L1_PU=410", "L1_PX=12", "L2_PU=douze",
                                        "L3_PU=1000000000000000", "L1_PT=12", "Référence_Marché=M-2024-17"},
                                       {"set", file, "L1_PU=cher"},
                                       {"fill", file, "--values", dir.File("bad.csv")},
                                       {"set", file, "L1_PU"},
                                       {"set", xnf, "L1_Prix unitaire=12", "L1_Qté=beaucoup"},
                                       {"set", dir.File("dqe.det.cnf"), "L1_Qté=3"},
                                       {"compute", broken, "--doc", "mn1"},
                                       {"set", broken, "L1_PU=400"}},
                                      dir, kFrench);
  EXPECT_EQ(ReadBytes(file), bytes);
  EXPECT_EQ(ReadBytes(dir.File("dqe.det.cnf")), ReadBytes(Sample("dqe-menuiseries.det.cnf")));
  EXPECT_EQ(ReadBytes(broken), SampleWith("menuiseries.xml", "L3_Qté*L3_PU", "L3_Qté*(L3_PU"));
  transcript += Transcript({{"fill", file, "--values", csv, "--doc", "mn1"},
                            {"compute", file, "--doc", "mn1"},
                            {"compute", file, "--json", "--doc", "mn1", "--locale", "en"},
                            {"set", xnf, "L1_Qté=16"}},
                           dir, kFrench);
  ExpectOutputAs(transcript, "cli/values.txt");

  // dump gains the values of every field, render draws them; the quantity of
  // a text marking reads back.
  const auto dump = ParseJson(RunCli({"dump", file, "--doc", "mn1", "--locale", "en"}).out);
  const auto& values = dump["documents"][0]["Valeurs"];
  EXPECT_EQ(values["L1_PU"]["nombre"], 395);
  EXPECT_EQ(values["L1_PU"]["texte"], "395");
  EXPECT_TRUE(values["Référence_Marché"]["nombre"].is_null());
  // The writer repeats the last quantity in the value text of every later
  // field; they have no value of their own.
  const auto quantities = ParseJson(RunCli({"dump", xnf}, kFrench).out)["documents"][0]["Valeurs"];
  EXPECT_EQ(quantities["L1_Qté"]["nombre"], 16);
  EXPECT_EQ(quantities["L2_Qté"]["nombre"], 6);
  EXPECT_EQ(quantities["L1_Prix unitaire"]["texte"], "");
  ASSERT_EQ(RunCli({"render", file, "--doc", "mn1", "--page", "2", "-o", dir.File("p2.svg")}, kFrench).status, 0);
  const std::string svg = ReadBytes(dir.File("p2.svg"));
  EXPECT_NE(svg.find(">18\xC2\xA0" "184,58</text>"), std::string::npos);  // TD2, carried forward
  EXPECT_NE(svg.find(">24\xC2\xA0" "505,90</text>"), std::string::npos);  // TTC_PT
  EXPECT_NE(svg.find(">14,35</text>"), std::string::npos);                  // L8_PU
  // Saving the model back into the catalogue keeps the cells' values, and the
  // page totals compute as before.
  const std::string computed = RunCli({"compute", file, "--doc", "mn1"}, kFrench).out;
  ASSERT_EQ(RunCli({"save", file}, kFrench).status, 0);
  EXPECT_EQ(RunCli({"compute", file, "--doc", "mn1"}, kFrench).out, computed);
  // The same values set twice, written otherwise: the same bytes.
  ASSERT_EQ(RunCli({"set", file, "L1_PU=400", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  const std::string once = ReadBytes(file);
  ASSERT_EQ(RunCli({"set", file, "L1_PU=400,00", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  EXPECT_EQ(ReadBytes(file), once);
}

// LibreOffice Calc opens the filled catalogue and shows the new values in
// their cells.
TEST(ValuesCliTest, CalcShowsTheFilledValues) {
  if (std::system("command -v soffice >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "soffice (LibreOffice Calc, Debian package libreoffice-calc-nogui) is not installed";
  }
  TempDir dir;
  const std::string file = Catalogue(dir);
  ASSERT_EQ(RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv")}, kFrench).status, 0);
  const std::string command = "timeout 180 soffice -env:UserInstallation=file://" + dir.File("profile") +
                              " --headless --norestore --convert-to 'csv:Text - txt - csv (StarCalc):59,34,76,1,,0,"
                              "false,true,false,false,false,-1' --outdir '" +
                              dir.File("csv") + "' '" + file + "' >'" + dir.File("soffice.log") + "' 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << ReadBytes(dir.File("soffice.log"));
  std::string sheet = dir.File("csv/menuiseries-Menuiseries intérieures.csv");
  if (!std::filesystem::exists(sheet)) sheet = dir.File("csv/menuiseries.csv");
  const std::string csv = ReadBytes(sheet);
  // Unit price, line amount and totals of the price schedule's rows, as Calc reads them.
  for (const char* row : {"1.1;Bloc-porte âme pleine 83 x 204;u;14;395;5530\n",
                          "1.4;Plinthes en médium à peindre;ml;236.5;9.15;2163.98\n", ";Total HT;;;;20421.58\n",
                          ";Total TTC;;;;24505.9\n"}) {
    EXPECT_NE(csv.find(row), std::string::npos) << row << csv;
  }
}

}  // namespace
}  // namespace mandor_cli_test
