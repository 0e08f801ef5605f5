// Helpers of the tests of the `mandor` program: the built executable run with
// arguments and environment, temporary folders, the sample and fixture files.
#ifndef MANDOR_TESTS_CLI_CLI_TEST_UTIL_H_
#define MANDOR_TESTS_CLI_CLI_TEST_UTIL_H_

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/test_util.h"

namespace mandor_cli_test {

struct CliResult {
  int status = -1;  // exit status, or 128 + signal number
  std::string out, err;
};

// Runs `mandor args...` with LC_ALL, LC_NUMERIC and LANG removed from the
// environment and `env` added, in `cwd` when one is given.
CliResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env = {},
                 const std::string& cwd = "");
// The same with standard output (and standard error, unless err_fd is -1) on
// the caller's descriptors; `out` (and `err`) are then empty.
CliResult RunCliOn(const std::vector<std::string>& args, int out_fd, int err_fd = -1);

// A fresh folder, removed with its content at the end of the test.
class TempDir {
 public:
  TempDir();
  ~TempDir() { std::error_code ec; std::filesystem::remove_all(path_, ec); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string path() const { return path_.string(); }
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline std::string Sample(const std::string& name) { return std::string(MANDOR_SAMPLES_DIR) + "/" + name; }
inline std::string Fixture(const std::string& name) { return std::string(MANDOR_TEST_DATA_DIR) + "/" + name; }
using mandor::test_util::ReadBytes;
using mandor::test_util::WriteBytes;
inline void CopyTo(const std::string& from, const std::string& to) {
  std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
}
// The bytes of samples/<name> with the first `from` replaced by `to`.
std::string SampleWith(const std::string& name, const std::string& from, const std::string& to);
// `text` as JSON (member order kept); fails the test when it does not parse.
nlohmann::ordered_json ParseJson(const std::string& text);

// Each command line's status, standard output and standard error, one after
// the other, with `dir` written "@TMP@".
std::string Transcript(const std::vector<std::vector<std::string>>& commands, const TempDir& dir,
                       const std::map<std::string, std::string>& env = {});
// Expects `output` to equal tests/data/<data_file>, with the samples and test
// data folders written "@SAMPLES@" and "@DATA@".
void ExpectOutputAs(std::string output, const std::string& data_file);

}  // namespace mandor_cli_test

#endif  // MANDOR_TESTS_CLI_CLI_TEST_UTIL_H_
