// `mandor info` and `mandor dump`: what a user reads about a marking, and
// the JSON of the whole model (docs/json.md), against the outputs kept in
// tests/data/cli/.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

TEST(CliRead, InfoAndDumpOfCataloguesAndTextMarkings) {
  // The dumps pin every member's name, order and value: shared catalogue
  // rows, data contracts, page-level cells, recurrent copies, inherited fonts
  // and floats written as typed (20.6, not 20.600000381).
  const struct { std::vector<std::string> args; const char* data; } cases[] = {
      {{"info", Sample("menuiseries.xml"), "--locale", "fr"}, "cli/info-menuiseries.txt"},
      {{"info", Sample("dqe-menuiseries.det.xnf"), "--locale", "fr"}, "cli/info-dqe.xnf.txt"},
      {{"info", Sample("dqe-menuiseries.det.cnf")}, "cli/info-dqe.cnf.txt"},
      {{"dump", Sample("dqe-menuiseries.det.xnf"), "--locale", "fr"}, "cli/dump-dqe.xnf.json"},
      {{"dump", Sample("menuiseries.xml")}, "cli/dump-menuiseries.json"},
      {{"dump", Fixture("textfile/bordereau.bpx.xnf")}, "cli/dump-bordereau.json"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.data);
    const CliResult r = RunCli(c.args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    ExpectOutputAs(r.out, c.data);
  }

  // A bare file name: the document's folder is the working folder.
  const CliResult bare = RunCli({"info", "dqe-menuiseries.det.cnf"}, {}, MANDOR_SAMPLES_DIR);
  ASSERT_EQ(bare.status, 0) << bare.err;
  EXPECT_NE(bare.out.find("folder:      ./\n"), std::string::npos) << bare.out;
}

}  // namespace
}  // namespace mandor_cli_test
