// Helpers shared by the test files.
#ifndef MANDOR_TESTS_TEST_UTIL_H_
#define MANDOR_TESTS_TEST_UTIL_H_

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "mandor/testing/memory_platform.h"
#include "mandor/util/error.h"

namespace mandor::test_util {

// The number of the mandor::Error that f throws, or 0 when it throws none.
inline int ErrorNumberOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) { return e.number(); }
  return 0;
}

// The bytes of the file at `path`, "" when it cannot be read.
inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

// The bytes of tests/data/<name>.
inline std::string DataFile(const std::string& name) {
  const std::string path = std::string(MANDOR_TEST_DATA_DIR) + "/" + name;
  EXPECT_TRUE(std::ifstream(path).good()) << path;
  return ReadBytes(path);
}

// Expects `actual` to equal tests/data/<data_file>; with MANDOR_UPDATE_DESCRIBED=1
// the file is rewritten instead (review its diff before committing it).
inline void ExpectDescribedAs(const std::string& actual, const std::string& data_file) {
  const char* update = std::getenv("MANDOR_UPDATE_DESCRIBED");
  if (update && std::string(update) == "1") return WriteBytes(std::string(MANDOR_TEST_DATA_DIR) + "/" + data_file, actual);
  EXPECT_EQ(actual, DataFile(data_file)) << data_file;
}

// A fixture whose tests run on an in-memory platform (point locale).
class MemoryPlatformTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
};

}  // namespace mandor::test_util

#endif  // MANDOR_TESTS_TEST_UTIL_H_
