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

TEST(ValuesCliTest, FillComputeDumpAndRenderShowTheFilledEstimate) {
  TempDir dir;
  const std::string file = Catalogue(dir);
  const CliResult fill = RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv"), "--doc", "mn1"}, kFrench);
  ASSERT_EQ(fill.status, 0) << fill.err;
  EXPECT_EQ(fill.out, "set 8 values, computed 13 fields: wrote " + file + "\n");
  const CliResult compute = RunCli({"compute", file, "--doc", "mn1"}, kFrench);
  ASSERT_EQ(compute.status, 0) << compute.err;
  EXPECT_NE(compute.out.find("  TA1 = 18\xC2\xA0" "184,58\n"), std::string::npos) << compute.out;
  EXPECT_NE(compute.out.find("  TTC_PT = 24\xC2\xA0" "505,90\n"), std::string::npos) << compute.out;

  const auto json = ParseJson(RunCli({"compute", file, "--json", "--doc", "mn1", "--locale", "en"}).out);
  const auto& fields = json["documents"][0]["champs"];
  ASSERT_EQ(fields.size(), 13u);
  EXPECT_EQ(fields[0], nlohmann::ordered_json::parse(R"j({"Nom": "TA1", "Formule": "SOMME(PT)",)j"
                                                      R"j( "texte": "18,184.58", "nombre": 18184.58, "erreur": null})j")) << fields[0];
  const auto values = ParseJson(RunCli({"dump", file, "--doc", "mn1", "--locale", "en"}).out)["documents"][0]["Valeurs"];
  EXPECT_EQ(values["L1_PU"]["nombre"], 395);
  EXPECT_EQ(values["L1_PU"]["texte"], "395");
  EXPECT_TRUE(values["Référence_Marché"]["nombre"].is_null());

  ASSERT_EQ(RunCli({"render", file, "--doc", "mn1", "--page", "2", "-o", dir.File("p2.svg")}, kFrench).status, 0);
  const std::string svg = ReadBytes(dir.File("p2.svg"));
  EXPECT_NE(svg.find(">18\xC2\xA0" "184,58</text>"), std::string::npos);  // TD2, carried forward
  EXPECT_NE(svg.find(">24\xC2\xA0" "505,90</text>"), std::string::npos);  // TTC_PT
  EXPECT_NE(svg.find(">14,35</text>"), std::string::npos);                  // L8_PU
  // Saving the model back into the catalogue keeps the cells' values, and the
  // page totals compute as before.
  ASSERT_EQ(RunCli({"save", file}, kFrench).status, 0);
  EXPECT_EQ(RunCli({"compute", file, "--doc", "mn1"}, kFrench).out, compute.out);
}

TEST(ValuesCliTest, SetTwiceIsByteIdenticalAndDryRunsAndBadInputWriteNothing) {
  TempDir dir;
  const std::string file = Catalogue(dir);
  const std::string bytes = ReadBytes(file);
  // -n says which values would change, the set ones and those computed from them.
  const CliResult set = RunCli({"set", file, "--doc", "mn1", "L1_PU=400", "-n"}, kFrench);
  ASSERT_EQ(set.status, 0) << set.err;
  EXPECT_NE(set.out.find("mn1 L1_PU: \"385\" -> \"400\"\n"), std::string::npos) << set.out;
  EXPECT_NE(set.out.find("mn1 L1_PT: \"5390\" -> \"5600\"\n"), std::string::npos) << set.out;
  EXPECT_NE(set.out.find("; nothing written\n"), std::string::npos) << set.out;
  const CliResult fill = RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv"), "--dry-run"}, kFrench);
  EXPECT_NE(fill.out.find("dry run: "), std::string::npos) << fill.out;
  EXPECT_EQ(ReadBytes(file), bytes);

  ASSERT_EQ(RunCli({"set", file, "L1_PU=400", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  const std::string once = ReadBytes(file);
  ASSERT_EQ(RunCli({"set", file, "L1_PU=400,00", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  EXPECT_EQ(ReadBytes(file), once);

  WriteBytes(dir.File("bad.csv"), "L1_PU;400\nL2_PU\n");
  CopyTo(Sample("dqe-menuiseries.det.xnf"), dir.File("dqe.det.xnf"));
  const struct { std::vector<std::string> args; const char* err; } bad[] = {
      {{"set", file, "L1_PU=500", "L9_PU=3"}, "unknown name \"L9_PU\"; nearest known names:"},
      {{"set", file, "L1_PU=cher"}, "holds a number"},
      {{"fill", file, "--values", dir.File("bad.csv")}, "line 2: 1 fields"},
      // A text marking stores only quantities.
      {{"set", dir.File("dqe.det.xnf"), "L1_Prix unitaire=12"}, "stores only quantities"},
  };
  for (const auto& b : bad) {
    const CliResult r = RunCli(b.args, kFrench);
    EXPECT_EQ(r.status, 1) << b.args[2];
    EXPECT_NE(r.err.find(b.err), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("nothing written"), std::string::npos) << r.err;
  }
  EXPECT_EQ(ReadBytes(file), once);
  EXPECT_EQ(RunCli({"set", file, "L1_PU"}, kFrench).status, 2);  // no "="

  // Quantities of a text marking are set and read back.
  ASSERT_EQ(RunCli({"set", dir.File("dqe.det.xnf"), "L1_Qté=16"}, kFrench).status, 0);
  const auto dump = ParseJson(RunCli({"dump", dir.File("dqe.det.xnf")}, kFrench).out);
  EXPECT_EQ(dump["documents"][0]["Valeurs"]["L1_Qté"]["nombre"], 16);
}

TEST(ValuesCliTest, FormulasThatFailAreReportedAndLeftEmpty) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  const std::string bytes =
      SampleWith("menuiseries.xml", "mn:Formula=\"L3_Qté*L3_PU\"", "mn:Formula=\"L3_Qté*(L3_PU\"");
  WriteBytes(file, bytes);
  const CliResult compute = RunCli({"compute", file, "--doc", "mn1"}, kFrench);
  EXPECT_EQ(compute.status, 1);
  for (const char* line : {"L3_PT: error: formula \"L3_Qté*(L3_PU\" does not parse", "TA1: error: depends on L3_PT",
                           "  L1_PT = 5\xC2\xA0" "390,00"}) {
    EXPECT_NE(compute.out.find(line), std::string::npos) << compute.out;
  }
  // set refuses to write a marking whose formulas do not parse.
  const CliResult set = RunCli({"set", file, "L1_PU=400"}, kFrench);
  EXPECT_EQ(set.status, 1);
  EXPECT_NE(set.err.find("formulas that cannot be computed (nothing written):\n  mn1 L3_PT: formula"),
            std::string::npos)
      << set.err;
  EXPECT_EQ(ReadBytes(file), bytes);
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
