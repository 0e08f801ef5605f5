// The command used every day and from scripts: the locale of servers and
// containers, nothing replaced without consent, failures that say why,
// batches of files, comparisons, and progress only where someone watches.

#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

using Json = nlohmann::ordered_json;

size_t Occurrences(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

// The value of the sample's first quantity as the command reads it.
std::string FirstQuantity(const std::vector<std::string>& more, const std::map<std::string, std::string>& env) {
  std::vector<std::string> args = {"dump", Sample("dqe-menuiseries.det.xnf")};
  args.insert(args.end(), more.begin(), more.end());
  const CliResult r = RunCli(args, env);
  EXPECT_EQ(r.status, 0) << r.err;
  const Json dump = ParseJson(r.out);
  for (const Json& field : dump["documents"][0]["Pages"][0]["Champs"]) {
    if (field["Nom"] == "L1_Qté") return field["valeur"].get<std::string>();
  }
  ADD_FAILURE() << "no L1_Qté";
  return "";
}

// The calibration's field width as `info` writes it: "2,5" or "2.5".
std::string FieldWidth(const std::vector<std::string>& more, const std::map<std::string, std::string>& env) {
  std::vector<std::string> args = {"info", Sample("dqe-menuiseries.det.xnf")};
  args.insert(args.end(), more.begin(), more.end());
  const std::string out = RunCli(args, env).out;
  const size_t at = out.find("field width ");
  if (at == std::string::npos) return "none";
  return out.substr(at + 12, 3);
}

TEST(CliLocale, NoRealLocaleReadsTheFrenchFilesAsWritten) {
  // The sample's "14,00" is fourteen wherever the environment names no
  // real locale; a point locale shows it with a point.
  EXPECT_EQ(FirstQuantity({}, {}), "14,00");
  for (const char* name : {"C", "C.UTF-8", "POSIX"}) EXPECT_EQ(FirstQuantity({}, {{"LANG", name}}), "14,00") << name;
  EXPECT_EQ(FirstQuantity({}, {{"LC_ALL", "C.UTF-8"}, {"LANG", "en_US.UTF-8"}}), "14,00");
  // A real locale is followed: its separator shows in the calibration's
  // field width of 2.5 cm.
  EXPECT_EQ(FieldWidth({}, {{"LANG", "en_GB.UTF-8"}}), "2.5");
  EXPECT_EQ(FieldWidth({}, {{"LANG", "de_CH.UTF-8"}}), "2.5");
  EXPECT_EQ(FieldWidth({}, {{"LANG", "de_DE.UTF-8"}}), "2,5");
  EXPECT_EQ(FieldWidth({}, {{"LANG", "C"}}), "2,5");
  // --locale in any spelling, over the environment.
  for (const char* name : {"fr", "FR", "fr_FR", "fr_FR.UTF-8", "Fr_fr.utf-8"}) {
    EXPECT_EQ(FirstQuantity({"--locale", name}, {{"LANG", "en_US.UTF-8"}}), "14,00") << name;
    EXPECT_EQ(FieldWidth({"--locale", name}, {{"LANG", "en_US.UTF-8"}}), "2,5") << name;
  }
  for (const char* name : {"en", "EN_us", "it_CH"}) EXPECT_EQ(FieldWidth({"--locale", name}, {}), "2.5") << name;
}

TEST(CliLocale, WarnsOnceWhenTheMarkingsSeparatorIsNotTheLocales) {
  const std::vector<std::string> both = {"check", Sample("dqe-menuiseries.det.xnf"), Sample("dqe-menuiseries.det.cnf")};
  const CliResult point = RunCli(both, {{"LANG", "en_US.UTF-8"}});
  EXPECT_EQ(point.status, 0) << point.err;
  EXPECT_EQ(Occurrences(point.err, "warning:"), 1u) << point.err;
  EXPECT_NE(point.err.find("decimal separator \",\" (SepDecExt) and the locale \".\"; pass --locale fr"),
            std::string::npos)
      << point.err;
  EXPECT_EQ(RunCli(both).err, "");
  EXPECT_EQ(RunCli(both, {{"LANG", "fr_BE.UTF-8"}}).err, "");
}

TEST(CliConsent, SaveKeepsOneBackupUnlessToldAndDryRunWritesNothing) {
  TempDir dir;
  const std::string lot = dir.File("lot.xml");
  CopyTo(Sample("menuiseries.xml"), lot);
  const std::string original = ReadBytes(lot);

  // A dry run reports and leaves everything as it was.
  CliResult r = RunCli({"save", lot, "-n"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("would save mn1 \"DQE Menuiseries\""), std::string::npos) << r.out;
  EXPECT_NE(r.out.find(lot + " would change; nothing written (dry run)"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find(dir.path() + "/mandor-"), std::string::npos) << "the scratch copy leaks out: " << r.out;
  EXPECT_EQ(ReadBytes(lot), original);
  EXPECT_FALSE(std::filesystem::exists(lot + ".bak"));

  r = RunCli({"save", lot});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("kept the previous catalogue as " + lot + ".bak"), std::string::npos) << r.out;
  EXPECT_EQ(ReadBytes(lot + ".bak"), original);
  const std::string first = ReadBytes(lot);
  // One generation: the next save keeps the first save's file.
  ASSERT_EQ(RunCli({"save", lot, "--doc", "mn2"}).status, 0);
  EXPECT_EQ(ReadBytes(lot + ".bak"), first);
  // A saved file saved again does not change; the dry run says so.
  r = RunCli({"save", lot, "--dry-run"});
  EXPECT_NE(r.out.find(lot + " would not change"), std::string::npos) << r.out;

  std::filesystem::remove(lot + ".bak");
  r = RunCli({"save", lot, "--no-backup"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find("kept"), std::string::npos) << r.out;
  EXPECT_FALSE(std::filesystem::exists(lot + ".bak"));
}

// Runs the command with standard output on `out_fd`; its status and what it
// wrote on standard error (through a pipe).
std::pair<int, std::string> StatusAndErrorOn(const std::vector<std::string>& args, int out_fd) {
  int err_pipe[2];
  if (pipe(err_pipe) != 0) return {-1, "no pipe"};
  const CliResult r = RunCliOn(args, out_fd, err_pipe[1]);
  close(err_pipe[1]);
  char buffer[4096];
  const ssize_t n = read(err_pipe[0], buffer, sizeof buffer);
  close(err_pipe[0]);
  return {r.status, std::string(buffer, n > 0 ? static_cast<size_t>(n) : 0)};
}

TEST(CliErrors, StandardOutputFailuresExitOneWithTheReason) {
  const std::string catalogue = Sample("menuiseries.xml");
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  for (const char* command : {"info", "dump", "check"}) {
    EXPECT_EQ(StatusAndErrorOn({command, catalogue}, full),
              std::make_pair(1, std::string("mandor: cannot write to standard output: No space left on device\n")))
        << command;
  }
  close(full);

  // A pipe nobody reads: the reason. A reader that stops after the first
  // bytes (as `head` does): status 1, quietly.
  int closed[2];
  ASSERT_EQ(pipe(closed), 0);
  close(closed[0]);
  EXPECT_EQ(StatusAndErrorOn({"info", catalogue}, closed[1]),
            std::make_pair(1, std::string("mandor: cannot write to standard output: Broken pipe\n")));
  close(closed[1]);

  TempDir dir;
  int head[2];
  ASSERT_EQ(pipe(head), 0);
  const std::string err_file = dir.File("err");
  const int err_fd = open(err_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  // The dump is larger than a pipe holds, so the command is still writing
  // when the reader goes: read a little, close, then wait for the command.
  const pid_t reader = fork();
  ASSERT_GE(reader, 0);
  if (reader == 0) {
    close(head[1]);
    char first[64];
    if (read(head[0], first, sizeof first) < 0) _exit(1);
    _exit(0);
  }
  close(head[0]);
  const CliResult r = RunCliOn({"dump", catalogue}, head[1], err_fd);
  close(head[1]);
  close(err_fd);
  int reader_status = 0;
  waitpid(reader, &reader_status, 0);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(ReadBytes(err_file), "");
}

TEST(CliErrors, FileErrorsNameTheFileAndTheReason) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  // A folder given as a marking: status 1, the reason.
  CliResult r = RunCli({"dump", dir.path()});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir.path() + ": the marking could not be loaded (Is a directory, not a marking)"),
            std::string::npos)
      << r.err;
  r = RunCli({"check", dir.File("absent.cnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, dir.File("absent.cnf") + ": NOT LOADED (standard text marking (.cnf)): No such file or directory\n");

  // A folder that is a file; a backup that cannot replace what is in its way.
  WriteBytes(dir.File("plain"), "a file");
  r = RunCli({"convert", xnf, dir.File("plain/copie.det.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("mandor: could not write " + dir.File("plain/copie.det.xnf") + " ("), std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find(": Not a directory)"), std::string::npos) << r.err;
  CopyTo(Sample("menuiseries.xml"), dir.File("lot.xml"));
  std::filesystem::create_directories(dir.File("lot.xml.bak/in-the-way"));
  r = RunCli({"save", dir.File("lot.xml")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir.File("lot.xml.bak") + ": "), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("(error 75)"), std::string::npos) << r.err;
  EXPECT_EQ(ReadBytes(dir.File("lot.xml")), ReadBytes(Sample("menuiseries.xml")));
}

TEST(CliErrors, PermissionDeniedIsNamed) {
  if (geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  CopyTo(Sample("menuiseries.xml"), dir.File("lot.xml"));
  const std::string locked = dir.File("locked");
  std::filesystem::create_directory(locked);
  chmod(locked.c_str(), 0555);
  CliResult r = RunCli({"convert", xnf, locked + "/copie.det.xnf"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("mandor: could not write " + locked + "/copie.det.xnf ("), std::string::npos) << r.err;
  EXPECT_NE(r.err.find(": Permission denied)"), std::string::npos) << r.err;
  chmod(dir.path().c_str(), 0555);
  r = RunCli({"save", dir.File("lot.xml")});
  chmod(dir.path().c_str(), 0755);
  chmod(locked.c_str(), 0755);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir.File("lot.xml.bak") + ": Permission denied"), std::string::npos) << r.err;
}

TEST(CliErrors, ControlCharactersFromFilesAreEscaped) {
  TempDir dir;
  // A ruler name and a field name carrying an escape sequence and a C1
  // control (U+009B, 0x9B in Windows-1252 is "›", so written as UTF-8 in a
  // catalogue instead).
  WriteBytes(dir.File("evil.det.xnf"),
             SampleWith("dqe-menuiseries.det.xnf", "|Montant|Arial|10|65|", "|Mon\x1b[2Jtant|Arial|10|65|"));
  WriteBytes(dir.File("evil.xml"), SampleWith("menuiseries.xml", "mn:Name=\"Menuiseries intérieures\"",
                                              "mn:Name=\"Menu\xc2\x9b" "6n intérieures\""));

  for (const std::vector<std::string>& args : {std::vector<std::string>{"info", dir.File("evil.det.xnf")},
                                               {"check", dir.File("evil.det.xnf")},
                                               {"info", dir.File("evil.xml")},
                                               {"dump", dir.File("evil.det.xnf")}}) {
    const CliResult r = RunCli(args);
    EXPECT_EQ(r.status, 0) << args[0] << r.err;
    EXPECT_EQ(r.out.find('\x1b'), std::string::npos) << args[0];
    EXPECT_EQ(r.err.find('\x1b'), std::string::npos) << args[0];
    EXPECT_EQ(r.out.find("\xc2\x9b"), std::string::npos) << args[0];
  }
  EXPECT_NE(RunCli({"info", dir.File("evil.det.xnf")}).out.find("Mon\\u001b[2Jtant"), std::string::npos);
  EXPECT_NE(RunCli({"info", dir.File("evil.xml")}).out.find("Menu\\u009b6n"), std::string::npos);
  // The JSON stays JSON: the escape is the JSON escape of the same character.
  const Json dump = ParseJson(RunCli({"dump", dir.File("evil.det.xnf")}).out);
  EXPECT_EQ(dump["documents"][0]["Regles_V"][4]["Nom"], "Mon\x1b[2Jtant");
}

TEST(CliCheck, FoldersJsonStrictAndDoc) {
  TempDir dir;
  std::filesystem::create_directories(dir.File("lot/sub"));
  CopyTo(Sample("dqe-menuiseries.det.xnf"), dir.File("lot/a.det.xnf"));
  CopyTo(Sample("dqe-menuiseries.det.cnf"), dir.File("lot/sub/b.det.cnf"));
  CopyTo(Sample("menuiseries.xml"), dir.File("lot/sub/c.XML"));
  WriteBytes(dir.File("lot/notes.txt"), "not a marking");
  WriteBytes(dir.File("lot/a.det.xak"), "a backup");
  // A field hanging on a ruler that is not there: a warning.
  WriteBytes(dir.File("ancre.det.xnf"), SampleWith("dqe-menuiseries.det.xnf", "|Qt\xe9|0|L1|", "|Qty|0|L1|"));

  CliResult r = RunCli({"check", dir.File("lot")});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Occurrences(r.out, ": loaded ("), 3u) << r.out;
  EXPECT_LT(r.out.find("a.det.xnf"), r.out.find("b.det.cnf"));
  EXPECT_NE(r.out.find("3 files: 3 loaded, 0 not loaded, 0 warnings\n"), std::string::npos) << r.out;

  r = RunCli({"check", "--json", dir.File("lot"), dir.File("ancre.det.xnf"), dir.File("absent.xml")});
  EXPECT_EQ(r.status, 1);
  std::vector<Json> lines;
  for (size_t from = 0, end; (end = r.out.find('\n', from)) != std::string::npos; from = end + 1) {
    lines.push_back(ParseJson(r.out.substr(from, end - from)));
  }
  ASSERT_EQ(lines.size(), 5u) << r.out;
  EXPECT_EQ(lines[0]["path"], dir.File("lot/a.det.xnf"));
  EXPECT_EQ(lines[0]["loaded"], true);
  EXPECT_EQ(lines[0]["documents"][0]["fields"], 33);
  EXPECT_EQ(lines[2]["kind"], "catalogue");
  EXPECT_EQ(lines[2]["documents"].size(), 3u);
  EXPECT_EQ(lines[3]["warnings"].size(), 1u);
  EXPECT_EQ(lines[4]["loaded"], false);
  EXPECT_EQ(lines[4]["failure"], "No such file or directory");

  // Warnings fail only with --strict.
  EXPECT_EQ(RunCli({"check", dir.File("ancre.det.xnf")}).status, 0);
  r = RunCli({"check", "--strict", dir.File("ancre.det.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("warning: "), std::string::npos);

  // --doc picks a document of each catalogue; one that lacks it fails.
  r = RunCli({"check", "--json", "--doc", "MN2", dir.File("lot/sub/c.XML"), dir.File("lot/a.det.xnf")});
  EXPECT_EQ(r.status, 0) << r.out;
  const Json picked = ParseJson(r.out.substr(0, r.out.find('\n')));
  ASSERT_EQ(picked["documents"].size(), 1u);
  EXPECT_EQ(picked["documents"][0]["Id"], "mn2");
  r = RunCli({"check", "--doc", "mn9", dir.File("lot/sub/c.XML")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("NOT LOADED (catalogue): no document \"mn9\""), std::string::npos) << r.out;

  // An empty folder has nothing to check.
  std::filesystem::create_directory(dir.File("empty"));
  r = RunCli({"check", dir.File("empty")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("no marking or catalogue found in " + dir.File("empty")), std::string::npos);
}

TEST(CliCheck, ProgressOnlyOnATerminal) {
  const std::vector<std::string> args = {"check", Sample("dqe-menuiseries.det.xnf"), Sample("menuiseries.xml")};
  int master = -1, slave = -1;
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) GTEST_SKIP() << "no pseudo-terminal";
  const int devnull = open("/dev/null", O_WRONLY);
  const CliResult r = RunCliOn(args, devnull, slave);
  close(devnull);
  close(slave);
  std::string shown;
  char buffer[4096];
  for (ssize_t n; (n = read(master, buffer, sizeof buffer)) > 0;) shown.append(buffer, static_cast<size_t>(n));
  close(master);
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(shown.find("[1/2] checking " + Sample("dqe-menuiseries.det.xnf")), std::string::npos) << shown;
  EXPECT_NE(shown.find("[2/2] checking " + Sample("menuiseries.xml")), std::string::npos) << shown;
  // Not when standard error is a file or a pipe.
  EXPECT_EQ(RunCli(args).err, "");
}

TEST(CliInfo, JsonHasTheSummarysFacts) {
  const CliResult r = RunCli({"info", "--json", Sample("menuiseries.xml")});
  ASSERT_EQ(r.status, 0) << r.err;
  const Json info = ParseJson(r.out);
  EXPECT_EQ(info["kind"], "catalogue");
  EXPECT_EQ(info["catalogue"]["Name"], "Menuiseries intérieures");
  ASSERT_EQ(info["documents"].size(), 3u);
  const Json& dqe = info["documents"][0];
  EXPECT_EQ(dqe["Id"], "mn1");
  EXPECT_EQ(dqe["pages"].size(), 2u);
  EXPECT_EQ(dqe["pages"][0]["fields"], 19);
  EXPECT_EQ(dqe["rulers"]["vertical"], Json::parse(R"(["Désignation", "Qté", "PU", "PT"])"));
  EXPECT_EQ(dqe["fields"]["count"], 31);
  EXPECT_EQ(dqe["fields"]["with_formula"], 13);
  EXPECT_EQ(info["documents"][2]["fields"]["data_contract"], 4);
}

TEST(CliDiff, FieldByFieldTextAndJson) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  CliResult r = RunCli({"diff", xnf, xnf});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "--- " + xnf + "\n+++ " + xnf + "\nno difference\n");

  // One field moved and given a formula, one removed (its line gone), the
  // quantity changed.
  WriteBytes(dir.File("b.det.xnf"), SampleWith("dqe-menuiseries.det.xnf", "|14,00|Qt\xe9|0|L1|0|1||2|910|956|1520|1750|",
                                              "|15,00|Qt\xe9|0|L1|0|1|2*7|2|910|956|1530|1760|"));
  r = RunCli({"diff", xnf, dir.File("b.det.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("moved \"L1_Qté\": page 1 (1520, 910, 1750, 956) -> page 1 (1530, 910, 1760, 956)\n"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("formula \"L1_Qté\": \"\" -> \"2*7\"\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("value \"L1_Qté\": \"14,00\" -> \"15,00\"\n"), std::string::npos) << r.out;

  // Hung on another row, in another size: re-anchored, font; nothing else.
  WriteBytes(dir.File("c.det.xnf"), SampleWith("dqe-menuiseries.det.xnf", "|L1_Qt\xe9|Arial|10|64|14,00|Qt\xe9|0|L1|",
                                              "|L1_Qt\xe9|Arial|12|64|14,00|Qt\xe9|0|L2|"));
  r = RunCli({"diff", xnf, dir.File("c.det.xnf")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out.substr(r.out.find('\n', r.out.find("+++")) + 1),
            "re-anchored \"L1_Qté\": H \"L1\" type 0, V \"Qté\" type 0 -> H \"L2\" type 0, V \"Qté\" type 0\n"
            "font \"L1_Qté\": Arial 10, colour 0 on 16777215 -> Arial 12, colour 0 on 16777215\n"
            "2 differences\n");

  // Against the catalogue's copy of the same estimate: fields it names
  // otherwise come out as removed and added; --json lists the same.
  r = RunCli({"diff", "--json", xnf, Sample("menuiseries.xml"), "--doc", "mn1"});
  EXPECT_EQ(r.status, 1);
  const Json json = ParseJson(r.out);
  EXPECT_EQ(json["b"], Sample("menuiseries.xml") + " mn1");
  std::map<std::string, int> kinds;
  for (const Json& d : json["differences"]) ++kinds[d["kind"].get<std::string>()];
  EXPECT_GT(kinds["removed"], 0);
  EXPECT_GT(kinds["added"], 0);
  const CliResult text_form = RunCli({"diff", xnf, Sample("menuiseries.xml"), "--doc", "mn1"});
  EXPECT_NE(text_form.out.find(std::to_string(json["differences"].size()) + " differences\n"), std::string::npos);

  // The same document on both sides of a catalogue; another with --doc2.
  EXPECT_EQ(RunCli({"diff", Sample("menuiseries.xml"), Sample("menuiseries.xml"), "--doc", "mn2"}).status, 0);
  EXPECT_EQ(RunCli({"diff", Sample("menuiseries.xml"), Sample("menuiseries.xml"), "--doc2", "mn2"}).status, 1);
  EXPECT_EQ(RunCli({"diff", xnf, dir.File("absent.xnf")}).status, 1);
}

}  // namespace
}  // namespace mandor_cli_test
