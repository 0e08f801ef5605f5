// Replays, through the fuzz target bodies, every input of the regression
// corpus (inputs that once crashed or hung a target) and the fixtures the
// seed corpora start from. A replay fails by crashing, by an exception other
// than mandor::Error escaping, or by a failed property check inside a body.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fuzz/fuzz_targets.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;

const fs::path kData = MANDOR_TEST_DATA_DIR;

// Runs every regular file of `dir` whose name contains `part` through `body`;
// returns how many ran.
int Replay(fuzz::TargetBody body, const fs::path& dir, const std::string& part = "") {
  int count = 0;
  if (!fs::is_directory(dir)) return 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_regular_file() || name.find(part) == std::string::npos || name[0] == '.') continue;
    SCOPED_TRACE(entry.path().string());
    const std::string bytes = test_util::ReadBytes(entry.path());
    body(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  return count;
}

TEST(FuzzRegressionTest, RegressionCorpusReplaysCleanly) {
  int total = 0;
  for (const auto& entry : fs::directory_iterator(kData / "fuzz-regressions")) {
    const fuzz::TargetBody body = fuzz::TargetNamed(entry.path().filename().string());
    ASSERT_NE(body, nullptr) << "no fuzz target named after " << entry.path();
    total += Replay(body, entry.path());
  }
  EXPECT_GT(total, 0);
}

TEST(FuzzRegressionTest, SeedFixturesRunThroughEveryBody) {
  const fs::path samples = kData.parent_path().parent_path() / "samples";
  EXPECT_GE(Replay(fuzz::ExtendedReader, kData / "textfile", "xnf") + Replay(fuzz::ExtendedReader, samples, ".xnf"), 3);
  EXPECT_GE(Replay(fuzz::StandardReader, kData / "textfile", "cnf") + Replay(fuzz::StandardReader, samples, ".cnf"), 3);
  EXPECT_GE(Replay(fuzz::CatalogueReader, kData / "xml", ".xml") + Replay(fuzz::CatalogueReader, samples, ".xml"), 3);
  EXPECT_GE(Replay(fuzz::StringRoutines, kData / "textfile", ".txt"), 2);
}

}  // namespace
}  // namespace mandor
