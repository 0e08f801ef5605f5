// The README's tables of the `mandor` command (commands, options, exit
// statuses) say exactly what `mandor --help` and `mandor COMMAND --help`
// say, for whatever commands the program lists.

#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;  // name, description

// The entries of each "Title:" section of a help text: lines "  NAME  DESCRIPTION".
std::map<std::string, Entries> HelpSections(const std::string& help) {
  static const std::regex kTitle(R"(^([A-Z][A-Za-z ]*):$)"), kEntry(R"(^  (\S.*?)(?:\s{2,}(.*))?$)");
  std::map<std::string, Entries> sections;
  std::string current;
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    std::smatch m;
    if (std::regex_match(line, m, kTitle)) {
      sections[current = m[1]];
    } else if (!current.empty() && std::regex_match(line, m, kEntry)) {
      sections[current].emplace_back(m[1], m[2]);
    } else if (line.empty()) {
      current.clear();
    }
  }
  return sections;
}

// The rows of the table that follows `heading` in the README, without its header.
std::string ReadmeTable(const std::string& readme, const std::string& heading) {
  const size_t at = readme.find("\n" + heading + "\n");
  if (at == std::string::npos) return "no \"" + heading + "\" in README.md";
  std::istringstream lines(readme.substr(at + heading.size() + 2));
  std::string rows;
  int row = 0;
  for (std::string line; std::getline(lines, line) && (line.rfind("|", 0) == 0 || row == 0);) {
    if (line.rfind("|", 0) == 0 && ++row > 2) rows += line + "\n";
  }
  return rows;
}

std::string Row(const std::vector<std::string>& cells) {
  std::string row = "|";
  for (const std::string& cell : cells) row += " " + cell + " |";
  return row + "\n";
}

TEST(CliReadme, TablesMatchTheHelp) {
  const std::string readme = ReadBytes(MANDOR_README);
  auto sections = HelpSections(RunCli({"--help"}).out);  // a missing section leaves its table empty

  std::string commands, options, statuses;
  std::map<std::string, bool> common;
  // Options: those of every command once, then each command's own.
  for (const auto& [name, description] : sections["Options"]) {
    if (name == "-h,--help" || name == "--version") continue;
    common[name] = true;
    options += Row({"every command", "`" + name + "`", description});
  }
  for (const auto& [command, description] : sections["Subcommands"]) {
    commands += Row({"`" + command + "`", description});
    auto own = HelpSections(RunCli({command, "--help"}).out);
    for (const char* section : {"Positionals", "Options"}) {
      for (const auto& [name, what] : own[section]) {
        if (name != "-h,--help" && !common.count(name)) options += Row({"`" + command + "`", "`" + name + "`", what});
      }
    }
  }
  for (const auto& [status, meaning] : sections["Exit status"]) statuses += Row({status, meaning});
  EXPECT_EQ(ReadmeTable(readme, "### Commands"), commands);
  EXPECT_EQ(ReadmeTable(readme, "### Options"), options);
  EXPECT_EQ(ReadmeTable(readme, "### Exit status"), statuses);
}

}  // namespace
}  // namespace mandor_cli_test
