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
  std::map<std::string, Entries> sections;
  std::string current;
  std::istringstream lines(help);
  static const std::regex kTitle(R"(^([A-Z][A-Za-z ]*):$)");
  static const std::regex kEntry(R"(^  (\S.*?)(?:\s{2,}(.*))?$)");
  for (std::string line; std::getline(lines, line);) {
    std::smatch m;
    if (std::regex_match(line, m, kTitle)) {
      current = m[1];
      sections[current];
    } else if (!current.empty() && std::regex_match(line, m, kEntry)) {
      sections[current].emplace_back(m[1], m[2]);
    } else if (line.empty()) {
      current.clear();
    }
  }
  return sections;
}

// The rows of the table that follows `heading` in the README, cells trimmed.
std::vector<std::vector<std::string>> ReadmeTable(const std::string& readme, const std::string& heading) {
  std::vector<std::vector<std::string>> rows;
  const size_t at = readme.find("\n" + heading + "\n");
  if (at == std::string::npos) {
    ADD_FAILURE() << "no \"" << heading << "\" in README.md";
    return rows;
  }
  std::istringstream lines(readme.substr(at + heading.size() + 2));
  bool in_table = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("|", 0) != 0) {
      if (in_table) break;
      continue;
    }
    in_table = true;
    if (line.rfind("|---", 0) == 0) continue;
    std::vector<std::string> cells;
    size_t from = 1;
    for (size_t bar; (bar = line.find(" |", from)) != std::string::npos; from = bar + 2) {
      std::string cell = line.substr(from, bar - from);
      cell.erase(0, cell.find_first_not_of(' '));
      cells.push_back(cell);
    }
    rows.push_back(cells);
  }
  if (!rows.empty()) rows.erase(rows.begin());  // the header
  return rows;
}

std::string Code(const std::string& text) { return "`" + text + "`"; }

TEST(CliReadme, TablesMatchTheHelp) {
  const std::string readme = ReadBytes(MANDOR_README);
  const CliResult top = RunCli({"--help"});
  ASSERT_EQ(top.status, 0);
  const auto sections = HelpSections(top.out);
  ASSERT_TRUE(sections.count("Subcommands"));
  ASSERT_TRUE(sections.count("Options"));

  // Commands.
  std::vector<std::vector<std::string>> expected;
  for (const auto& [name, description] : sections.at("Subcommands")) expected.push_back({Code(name), description});
  EXPECT_EQ(ReadmeTable(readme, "### Commands"), expected);

  // Options: those of every command once, then each command's own.
  expected.clear();
  std::map<std::string, bool> common;
  for (const auto& [name, description] : sections.at("Options")) {
    if (name == "-h,--help" || name == "--version") continue;
    common[name] = true;
    expected.push_back({"every command", Code(name), description});
  }
  for (const auto& [command, unused] : sections.at("Subcommands")) {
    const CliResult help = RunCli({command, "--help"});
    ASSERT_EQ(help.status, 0) << command;
    const auto own = HelpSections(help.out);
    for (const char* section : {"Positionals", "Options"}) {
      if (!own.count(section)) continue;
      for (const auto& [name, description] : own.at(section)) {
        if (name == "-h,--help" || common.count(name)) continue;
        expected.push_back({Code(command), Code(name), description});
      }
    }
  }
  EXPECT_EQ(ReadmeTable(readme, "### Options"), expected);

  // Exit statuses: the lines "  N  MEANING" after "Exit status:".
  expected.clear();
  const size_t at = top.out.find("Exit status:\n");
  ASSERT_NE(at, std::string::npos);
  std::istringstream lines(top.out.substr(at + 13));
  static const std::regex kStatus(R"(^  (\d)  (.*)$)");
  for (std::string line; std::getline(lines, line);) {
    std::smatch m;
    if (!std::regex_match(line, m, kStatus)) break;
    expected.push_back({m[1], m[2]});
  }
  EXPECT_EQ(expected.size(), 3u);
  EXPECT_EQ(ReadmeTable(readme, "### Exit status"), expected);
}

}  // namespace
}  // namespace mandor_cli_test
