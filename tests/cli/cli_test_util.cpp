#include "tests/cli/cli_test_util.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>

#include <gtest/gtest.h>

extern char** environ;

namespace mandor_cli_test {

namespace fs = std::filesystem;

namespace {

CliResult Spawn(const std::vector<std::string>& args, const std::map<std::string, std::string>& env,
                const std::string& cwd, std::array<int, 2> fds) {
  TempDir capture;
  const std::string paths[2] = {capture.File("out"), capture.File("err")};
  std::vector<std::string> argv_text = {MANDOR_CLI_PATH}, env_text;
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry = *e, name = entry.substr(0, entry.find('='));
    if (name != "LC_ALL" && name != "LC_NUMERIC" && name != "LANG" && name != "LSAN_OPTIONS" && !env.count(name)) {
      env_text.push_back(entry);
    }
  }
  for (const auto& [name, value] : env) env_text.push_back(name + "=" + value);
  // In a sanitizer build, fontconfig's own leaks are not the program's.
  env_text.push_back(std::string("LSAN_OPTIONS=suppressions=") + MANDOR_LSAN_SUPPRESSIONS);
  std::vector<char*> argv, envp;
  for (std::string& text : argv_text) argv.push_back(text.data());
  for (std::string& text : env_text) envp.push_back(text.data());
  argv.push_back(nullptr);
  envp.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  for (int i = 0; i < 2; ++i) {
    if (fds[i] >= 0) posix_spawn_file_actions_adddup2(&actions, fds[i], i + 1);
    if (fds[i] < 0) posix_spawn_file_actions_addopen(&actions, i + 1, paths[i].c_str(), O_WRONLY | O_CREAT, 0644);
  }
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  CliResult result;
  int status = 0;
  if (spawned != 0) {
    ADD_FAILURE() << "cannot run " << argv[0] << ": " << std::strerror(spawned);
  } else if (waitpid(pid, &status, 0) == pid) {
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (fds[0] < 0) result.out = ReadBytes(paths[0]);
    if (fds[1] < 0) result.err = ReadBytes(paths[1]);
  }
  return result;
}

void Replace(std::string& text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

}  // namespace

CliResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env,
                 const std::string& cwd) {
  return Spawn(args, env, cwd, {-1, -1});
}

CliResult RunCliOn(const std::vector<std::string>& args, int out_fd, int err_fd) {
  return Spawn(args, {}, "", {out_fd, err_fd});
}

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  path_ = fs::temp_directory_path() / ("mandor_cli_test_" + std::to_string(getpid()) + "_" + std::to_string(counter++));
  fs::remove_all(path_);
  fs::create_directories(path_);
}

std::string SampleWith(const std::string& name, const std::string& from, const std::string& to) {
  std::string bytes = ReadBytes(Sample(name));
  const size_t at = bytes.find(from);
  EXPECT_NE(at, std::string::npos) << "no \"" << from << "\" in " << name;
  return at == std::string::npos ? bytes : bytes.replace(at, from.size(), to);
}

nlohmann::ordered_json ParseJson(const std::string& text) {
  nlohmann::ordered_json json = nlohmann::ordered_json::parse(text, nullptr, false);
  EXPECT_FALSE(json.is_discarded()) << "not JSON:\n" << text.substr(0, 500);
  return json.is_discarded() ? nullptr : json;
}

std::string Transcript(const std::vector<std::vector<std::string>>& commands, const TempDir& dir,
                       const std::map<std::string, std::string>& env) {
  std::string transcript;
  for (const auto& args : commands) {
    const CliResult r = RunCli(args, env);
    transcript += "==";
    for (const auto& arg : args) transcript += " " + arg;
    transcript += "\nstatus " + std::to_string(r.status) + "\n" + r.out + "-- stderr\n" + r.err;
  }
  Replace(transcript, dir.path(), "@TMP@");
  return transcript;
}

void ExpectOutputAs(std::string output, const std::string& data_file) {
  Replace(output, MANDOR_SAMPLES_DIR, "@SAMPLES@");
  Replace(output, MANDOR_TEST_DATA_DIR, "@DATA@");
  mandor::test_util::ExpectDescribedAs(output, data_file);
}

}  // namespace mandor_cli_test
