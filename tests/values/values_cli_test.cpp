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

TEST(ValuesCliTest, FillThenComputePrintsTheFilledEstimate) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  CopyTo(Sample("menuiseries.xml"), file);
  const CliResult fill = RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv"), "--doc", "mn1"}, kFrench);
  ASSERT_EQ(fill.status, 0) << fill.err;
  EXPECT_EQ(fill.out, "set 8 values, computed 13 fields: wrote " + file + "\n");

  const CliResult compute = RunCli({"compute", file, "--doc", "mn1"}, kFrench);
  ASSERT_EQ(compute.status, 0) << compute.err;
  EXPECT_NE(compute.out.find("  TA1 = 18\xC2\xA0"
                             "184,58\n"),
            std::string::npos)
      << compute.out;
  EXPECT_NE(compute.out.find("  TTC_PT = 24\xC2\xA0"
                             "505,90\n"),
            std::string::npos)
      << compute.out;

  const CliResult json = RunCli({"compute", file, "--json", "--doc", "mn1", "--locale", "en"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto parsed = ParseJson(json.out);
  const auto& fields = parsed["documents"][0]["champs"];
  ASSERT_EQ(fields.size(), 13u);
  EXPECT_EQ(fields[0]["Nom"], "TA1");
  EXPECT_EQ(fields[0]["nombre"], 18184.58);
  EXPECT_EQ(fields[0]["texte"], "18,184.58");
  EXPECT_TRUE(fields[0]["erreur"].is_null());

  // Saving the model back into the catalogue keeps the cells' values, and
  // the page totals compute as before.
  ASSERT_EQ(RunCli({"save", file}, kFrench).status, 0);
  const CliResult again = RunCli({"compute", file, "--doc", "mn1"}, kFrench);
  EXPECT_EQ(again.out, compute.out);

  // dump gains the values of every field.
  const CliResult dump = RunCli({"dump", file, "--doc", "mn1", "--locale", "en"});
  ASSERT_EQ(dump.status, 0) << dump.err;
  const auto values = ParseJson(dump.out)["documents"][0]["Valeurs"];
  EXPECT_EQ(values["L1_PU"]["nombre"], 395);
  EXPECT_EQ(values["L1_PU"]["texte"], "395");
  EXPECT_TRUE(values["Référence_Marché"]["nombre"].is_null());
}

// -n says which values would change, the set ones and those computed from
// them, and leaves the file as it was.
TEST(ValuesCliTest, DryRunSaysWhatWouldChangeAndWritesNothing) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  CopyTo(Sample("menuiseries.xml"), file);
  const std::string bytes = ReadBytes(file);
  const CliResult set = RunCli({"set", file, "--doc", "mn1", "L1_PU=400", "-n"}, kFrench);
  ASSERT_EQ(set.status, 0) << set.err;
  EXPECT_NE(set.out.find("mn1 L1_PU: \"385\" -> \"400\"\n"), std::string::npos) << set.out;
  EXPECT_NE(set.out.find("mn1 L1_PT: \"5390\" -> \"5600\"\n"), std::string::npos) << set.out;
  EXPECT_NE(set.out.find("; nothing written\n"), std::string::npos) << set.out;
  EXPECT_EQ(ReadBytes(file), bytes);

  const CliResult fill = RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv"), "--dry-run"}, kFrench);
  ASSERT_EQ(fill.status, 0) << fill.err;
  EXPECT_NE(fill.out.find("dry run: "), std::string::npos) << fill.out;
  EXPECT_EQ(ReadBytes(file), bytes);
}

TEST(ValuesCliTest, SetTwiceIsByteIdenticalAndBadInputWritesNothing) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  CopyTo(Sample("menuiseries.xml"), file);
  ASSERT_EQ(RunCli({"set", file, "L1_PU=400", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  const std::string once = ReadBytes(file);
  ASSERT_EQ(RunCli({"set", file, "L1_PU=400,00", "L2_Désignation=Porte EI 30"}, kFrench).status, 0);
  EXPECT_EQ(ReadBytes(file), once);

  const CliResult unknown = RunCli({"set", file, "L1_PU=500", "L9_PU=3"}, kFrench);
  EXPECT_EQ(unknown.status, 1);
  EXPECT_NE(unknown.err.find("unknown name \"L9_PU\"; nearest known names:"), std::string::npos) << unknown.err;
  EXPECT_NE(unknown.err.find("nothing written"), std::string::npos) << unknown.err;
  EXPECT_EQ(ReadBytes(file), once);

  const CliResult number = RunCli({"set", file, "L1_PU=cher"}, kFrench);
  EXPECT_EQ(number.status, 1);
  EXPECT_NE(number.err.find("holds a number"), std::string::npos) << number.err;

  const std::string csv = dir.File("bad.csv");
  WriteBytes(csv, "L1_PU;400\nL2_PU\n");
  const CliResult malformed = RunCli({"fill", file, "--values", csv}, kFrench);
  EXPECT_EQ(malformed.status, 1);
  EXPECT_NE(malformed.err.find("line 2: 1 fields"), std::string::npos) << malformed.err;
  EXPECT_EQ(ReadBytes(file), once);

  EXPECT_EQ(RunCli({"set", file, "L1_PU"}, kFrench).status, 2);  // no "="
}

TEST(ValuesCliTest, FormulasThatFailAreReportedAndLeftEmpty) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  const std::string bytes =
      SampleWith("menuiseries.xml", "mn:Formula=\"L3_Qté*L3_PU\"", "mn:Formula=\"L3_Qté*(L3_PU\"");
  WriteBytes(file, bytes);
  const CliResult compute = RunCli({"compute", file, "--doc", "mn1"}, kFrench);
  EXPECT_EQ(compute.status, 1);
  EXPECT_NE(compute.out.find("L3_PT: error: formula \"L3_Qté*(L3_PU\" does not parse"), std::string::npos)
      << compute.out;
  EXPECT_NE(compute.out.find("TA1: error: depends on L3_PT"), std::string::npos) << compute.out;
  EXPECT_NE(compute.out.find("  L1_PT = 5\xC2\xA0"
                             "390,00"),
            std::string::npos)
      << compute.out;

  // set refuses to write a marking whose formulas do not parse.
  const CliResult set = RunCli({"set", file, "L1_PU=400"}, kFrench);
  EXPECT_EQ(set.status, 1);
  EXPECT_NE(set.err.find("formulas that cannot be computed (nothing written):\n  mn1 L3_PT: formula"),
            std::string::npos)
      << set.err;
  EXPECT_EQ(ReadBytes(file), bytes);
}

TEST(ValuesCliTest, RenderDrawsTheFilledValues) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml");
  CopyTo(Sample("menuiseries.xml"), file);
  ASSERT_EQ(RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv"), "--doc", "mn1"}, kFrench).status, 0);
  const CliResult render = RunCli({"render", file, "--doc", "mn1", "--page", "2", "-o", dir.File("p2.svg")}, kFrench);
  ASSERT_EQ(render.status, 0) << render.err;
  const std::string svg = ReadBytes(dir.File("p2.svg"));
  EXPECT_NE(svg.find(">18\xC2\xA0" "184,58</text>"), std::string::npos);  // TD2, carried forward
  EXPECT_NE(svg.find(">24\xC2\xA0" "505,90</text>"), std::string::npos);  // TTC_PT
  EXPECT_NE(svg.find(">14,35</text>"), std::string::npos);                  // L8_PU
}

TEST(ValuesCliTest, TextMarkingsKeepOnlyQuantities) {
  TempDir dir;
  const std::string file = dir.File("dqe-menuiseries.det.xnf");
  CopyTo(Sample("dqe-menuiseries.det.xnf"), file);
  const CliResult price = RunCli({"set", file, "L1_Prix unitaire=12"}, kFrench);
  EXPECT_EQ(price.status, 1);
  EXPECT_NE(price.err.find("stores only quantities"), std::string::npos) << price.err;
  const CliResult quantity = RunCli({"set", file, "L1_Qté=16"}, kFrench);
  ASSERT_EQ(quantity.status, 0) << quantity.err;
  const auto dump = ParseJson(RunCli({"dump", file}, kFrench).out);
  EXPECT_EQ(dump["documents"][0]["Valeurs"]["L1_Qté"]["nombre"], 16);
}

// LibreOffice Calc opens the filled catalogue and shows the new values in
// their cells.
TEST(ValuesCliTest, CalcShowsTheFilledValues) {
  if (std::system("command -v soffice >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "soffice (LibreOffice Calc, Debian package libreoffice-calc-nogui) is not installed";
  }
  TempDir dir;
  const std::string file = dir.File("lot2.xml");
  CopyTo(Sample("menuiseries.xml"), file);
  ASSERT_EQ(RunCli({"fill", file, "--values", Sample("prix-menuiseries.csv")}, kFrench).status, 0);
  const std::string command = "timeout 180 soffice -env:UserInstallation=file://" + dir.File("profile") +
                              " --headless --norestore --convert-to 'csv:Text - txt - csv (StarCalc):59,34,76,1,,0,"
                              "false,true,false,false,false,-1' --outdir '" +
                              dir.File("csv") + "' '" + file + "' >'" + dir.File("soffice.log") + "' 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << ReadBytes(dir.File("soffice.log"));
  std::string sheet = dir.File("csv/lot2-Menuiseries intérieures.csv");
  if (!std::filesystem::exists(sheet)) sheet = dir.File("csv/lot2.csv");
  const std::string csv = ReadBytes(sheet);
  // Unit price, line amount and totals of the price schedule's rows, as Calc reads them.
  EXPECT_NE(csv.find("1.1;Bloc-porte âme pleine 83 x 204;u;14;395;5530\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find("1.4;Plinthes en médium à peindre;ml;236.5;9.15;2163.98\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find(";Total HT;;;;20421.58\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find(";Total TTC;;;;24505.9\n"), std::string::npos) << csv;
}

}  // namespace
}  // namespace mandor_cli_test
