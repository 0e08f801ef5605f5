// The command used every day and from scripts: the locale of servers and
// containers, nothing replaced without consent, failures that say why,
// batches of files and comparisons.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

using Env = std::map<std::string, std::string>;

// The calibration's field width `info` shows ("2,5" or "2.5") under `env`
// and `args`; a point locale also warns that the marking's separator is not
// the locale's.
TEST(CliLocale, NoRealLocaleReadsTheFrenchFilesAsWrittenARealOneAndLocaleAreFollowed) {
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  const std::string warning = "mandor: warning: " + xnf + ": the values use the decimal separator \",\" (SepDecExt) "
                              "and the locale \".\"; pass --locale fr to read them as written\n";
  const Env us = {{"LANG", "en_US.UTF-8"}};
  const struct { std::vector<std::string> args; Env env; const char* shown; } cases[] = {
      {{}, {}, "2,5"},
      {{}, {{"LC_ALL", "C.UTF-8"}, {"LANG", "en_US.UTF-8"}}, "2,5"},
      {{}, {{"LANG", "de_DE.UTF-8"}}, "2,5"},
      {{}, {{"LANG", "en_GB.UTF-8"}}, "2.5"},
      // --locale in any spelling, over the environment.
      {{"--locale", "fr"}, us, "2,5"},
      {{"--locale", "Fr_fr.utf-8"}, us, "2,5"},
      {{"--locale", "EN_us"}, {}, "2.5"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"info", xnf};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const CliResult r = RunCli(args, c.env);
    const size_t at = r.out.find("field width ");
    SCOPED_TRACE((c.args.empty() ? "" : c.args[1]) + " " + (c.env.empty() ? "" : c.env.rbegin()->second));
    EXPECT_EQ(at == std::string::npos ? "" : r.out.substr(at + 12, 3), c.shown);
    EXPECT_EQ(r.err, c.shown == std::string("2.5") ? warning : "");
  }
}

// Nothing replaced without consent; what the command says is in tests/data/cli/consent.txt.
TEST(CliConsent, SaveKeepsOneBackupUnlessToldAndDryRunWritesNothing) {
  TempDir dir;
  const std::string lot = dir.File("lot.xml"), bak = lot + ".bak";
  CopyTo(Sample("menuiseries.xml"), lot);
  const std::string original = ReadBytes(lot);
  // A dry run reports (not the scratch copy it saved into) and leaves everything as it was.
  std::string transcript = Transcript({{"save", lot, "-n"}}, dir);
  EXPECT_EQ(ReadBytes(lot), original);
  EXPECT_FALSE(std::filesystem::exists(bak));
  transcript += Transcript({{"save", lot}}, dir);
  EXPECT_EQ(ReadBytes(bak), original);
  // One generation: the next save keeps the first save's file; a saved file
  // saved again does not change.
  const std::string first = ReadBytes(lot);
  transcript += Transcript({{"save", lot, "--doc", "mn2"}, {"save", lot, "--dry-run"}}, dir);
  EXPECT_EQ(ReadBytes(bak), first);
  std::filesystem::remove(bak);
  transcript += Transcript({{"save", lot, "--no-backup"}}, dir);
  EXPECT_FALSE(std::filesystem::exists(bak));
  ExpectOutputAs(transcript, "cli/consent.txt");
}

// The command run with standard output on `out_fd`: its status and what it
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
  const std::vector<std::string> dump = {"dump", Sample("menuiseries.xml")};
  const std::string reason = "mandor: cannot write to standard output: ";
  const int full = open("/dev/full", O_WRONLY);
  int closed[2], head[2];
  ASSERT_TRUE(full >= 0 && pipe(closed) == 0 && pipe(head) == 0);
  // The short output of info fails at its last flush, the streamed dump while it writes.
  EXPECT_EQ(StatusAndErrorOn({"info", dump[1]}, full), std::make_pair(1, reason + "No space left on device\n"));
  close(full);
  close(closed[0]);  // a pipe nobody reads
  EXPECT_EQ(StatusAndErrorOn(dump, closed[1]), std::make_pair(1, reason + "Broken pipe\n"));
  close(closed[1]);
  // A reader that stops after the first bytes, as `head` does: status 1,
  // quietly. The dump is larger than a pipe holds, so the command is still
  // writing when the reader goes.
  const pid_t reader = fork();
  ASSERT_GE(reader, 0);
  if (reader == 0) {
    close(head[1]);
    char first[64];
    _exit(read(head[0], first, sizeof first) < 0 ? 1 : 0);
  }
  close(head[0]);
  EXPECT_EQ(StatusAndErrorOn(dump, head[1]), std::make_pair(1, std::string()));
  close(head[1]);
  waitpid(reader, nullptr, 0);
}

// What a user or a script reads when a file is not what the command needs,
// holds control characters, fails a check or differs from another, as text
// and as JSON: tests/data/cli/daily.txt.
TEST(CliDaily, FailuresChecksAndDifferencesSayWhat) {
  TempDir dir;
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  std::filesystem::create_directories(dir.File("lot/sub"));
  std::filesystem::create_directories(dir.File("empty"));
  CopyTo(xnf, dir.File("lot/a.det.xnf"));
  CopyTo(Sample("dqe-menuiseries.det.cnf"), dir.File("lot/sub/b.det.cnf"));
  CopyTo(Sample("menuiseries.xml"), dir.File("lot/sub/c.XML"));
  WriteBytes(dir.File("lot/notes.txt"), "not a marking");
  WriteBytes(dir.File("lot/a.det.xak"), "a backup");
  WriteBytes(dir.File("plain"), "a file");
  // A backup that cannot replace what is in its way.
  CopyTo(Sample("menuiseries.xml"), dir.File("lot.xml"));
  std::filesystem::create_directories(dir.File("lot.xml.bak/in-the-way"));
  // A field hanging on a ruler that is not there: a warning.
  WriteBytes(dir.File("ancre.det.xnf"), SampleWith("dqe-menuiseries.det.xnf", "|Qt\xe9|0|L1|", "|Qty|0|L1|"));
  // A ruler name with an escape sequence; a catalogue name with a C1 control
  // (U+009B: 0x9B in Windows-1252 is "›", so only a catalogue can carry it).
  WriteBytes(dir.File("evil.det.xnf"),
             SampleWith("dqe-menuiseries.det.xnf", "|Montant|Arial|10|65|", "|Mon\x1b[2Jtant|Arial|10|65|"));
  WriteBytes(dir.File("evil.xml"), SampleWith("menuiseries.xml", "mn:Name=\"Menuiseries intérieures\"",
                                              "mn:Name=\"Menu\xc2\x9b" "6n intérieures\""));
  // One field moved, given a formula and another quantity; then hung on
  // another row, in another size.
  WriteBytes(dir.File("b.det.xnf"),
             SampleWith("dqe-menuiseries.det.xnf", "|14,00|Qt\xe9|0|L1|0|1||2|910|956|1520|1750|",
                        "|15,00|Qt\xe9|0|L1|0|1|2*7|2|910|956|1530|1760|"));
  WriteBytes(dir.File("c.det.xnf"), SampleWith("dqe-menuiseries.det.xnf", "|L1_Qt\xe9|Arial|10|64|14,00|Qt\xe9|0|L1|",
                                              "|L1_Qt\xe9|Arial|12|64|14,00|Qt\xe9|0|L2|"));
  const std::string catalogue = Sample("menuiseries.xml");
  const std::vector<std::vector<std::string>> commands = {
      {"dump", dir.path()}, {"check", dir.File("absent.cnf")}, {"convert", xnf, dir.File("plain/copie.det.xnf")},
      {"save", dir.File("lot.xml")}, {"info", dir.File("evil.det.xnf")}, {"check", dir.File("evil.det.xnf")},
      {"info", dir.File("evil.xml")}, {"check", dir.File("lot")}, {"check", dir.File("ancre.det.xnf")},
      {"check", "--strict", dir.File("ancre.det.xnf")}, {"check", "--doc", "mn9", dir.File("lot/sub/c.XML")},
      {"check", dir.File("empty")}, {"diff", xnf, xnf}, {"diff", xnf, dir.File("b.det.xnf")},
      {"diff", xnf, dir.File("c.det.xnf")}, {"diff", xnf, dir.File("absent.xnf")},
      {"diff", xnf, catalogue, "--doc", "mn1"},
      // The same document on both sides of a catalogue; another with --doc2.
      {"diff", catalogue, catalogue, "--doc", "mn2"}, {"diff", catalogue, catalogue, "--doc2", "mn2"},
      // The machine-readable forms: one JSON document per line. Against the
      // catalogue's copy of the same estimate, fields it names otherwise come
      // out as removed and added.
      {"check", "--json", dir.File("lot"), dir.File("ancre.det.xnf"), dir.File("absent.xml")},
      {"check", "--json", "--doc", "MN2", dir.File("lot/sub/c.XML"), dir.File("lot/a.det.xnf")},
      {"info", "--json", catalogue}, {"diff", "--json", xnf, catalogue, "--doc", "mn1"}};
  ExpectOutputAs(Transcript(commands, dir), "cli/daily.txt");
  EXPECT_EQ(ReadBytes(dir.File("lot.xml")), ReadBytes(Sample("menuiseries.xml")));
  // The JSON escape of a control character is that of the same character.
  EXPECT_EQ(ParseJson(RunCli({"dump", dir.File("evil.det.xnf")}).out)["documents"][0]["Regles_V"][4]["Nom"],
            "Mon\x1b[2Jtant");
}

}  // namespace
}  // namespace mandor_cli_test
