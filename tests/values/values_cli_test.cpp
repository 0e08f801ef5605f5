// The set, fill and compute commands, run as a user runs them.

#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

const std::map<std::string, std::string> kFrench = {{"LANG", "fr_FR.UTF-8"}};

// What the commands say is in tests/data/cli/values.txt: dry runs that list
// the values that would change, input refused whole with every problem
// named, formulas that fail left empty, the filled estimate's totals, a
// text marking's page totals, carried amount and recap.
TEST(ValuesCliTest, SetFillAndComputeSayWhatTheyDoAndWriteOnlyGoodInput) {
  TempDir dir;
  const std::string file = dir.File("menuiseries.xml"), csv = Sample("prix-menuiseries.csv");
  const std::string broken = dir.File("broken.xml"), xnf = dir.File("dqe.det.xnf");
  CopyTo(Sample("menuiseries.xml"), file);
  WriteBytes(broken, SampleWith("menuiseries.xml", "mn:Formula=\"L3_Qté*L3_PU\"", "mn:Formula=\"L3_Qté*(L3_PU\""));
  WriteBytes(dir.File("bad.csv"), "L1_PU;400\nL2_PU\n");
  CopyTo(Sample("dqe-menuiseries.det.xnf"), xnf);
  CopyTo(Sample("dqe-menuiseries.det.cnf"), dir.File("dqe.det.cnf"));
  // The text marking's line amounts at 10 a unit, computed over its own recap names.
  const std::string dix = dir.File("dix.det.xnf");
  WriteBytes(dix, std::regex_replace(ReadBytes(xnf), std::regex("\\*L\\d_Prix unitaire\\|"), "*10|"));
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
  EXPECT_EQ(ReadBytes(file), ReadBytes(Sample("menuiseries.xml")));
  EXPECT_EQ(ReadBytes(dir.File("dqe.det.cnf")), ReadBytes(Sample("dqe-menuiseries.det.cnf")));
  EXPECT_EQ(ReadBytes(broken), SampleWith("menuiseries.xml", "L3_Qté*L3_PU", "L3_Qté*(L3_PU"));
  transcript += Transcript({{"fill", file, "--values", csv, "--doc", "mn1"},
                            {"compute", file, "--doc", "mn1"},
                            {"compute", file, "--json", "--doc", "mn1", "--locale", "en"},
                            {"set", xnf, "L1_Qté=16"}, {"compute", dix, "--json"}},
                           dir, kFrench);
  ExpectOutputAs(transcript, "cli/values.txt");

  // The quantity set in a text marking reads back; saving the model back
  // into the catalogue keeps the cells' values.
  const auto quantities = ParseJson(RunCli({"dump", xnf}, kFrench).out)["documents"][0]["Valeurs"];
  EXPECT_EQ(quantities["L1_Qté"]["nombre"], 16);
  EXPECT_EQ(quantities["L2_Qté"]["nombre"], 6);
  const std::string computed = RunCli({"compute", file, "--doc", "mn1"}, kFrench).out;
  ASSERT_EQ(RunCli({"save", file}, kFrench).status, 0);
  EXPECT_EQ(RunCli({"compute", file, "--doc", "mn1"}, kFrench).out, computed);
}

}  // namespace
}  // namespace mandor_cli_test
