#include "mandor/util/memory_platform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;
using Op = MemoryPlatform::Operation;
using Lines = std::vector<std::string>;

TEST(MemoryPlatformTest, ReadsLinesWhateverTheLineEnds) {
  // A bare CR belongs to its line; an empty line between two line ends counts.
  const struct { std::string bytes; Lines lines; } cases[] = {
      {"a\r\nb\r\n", {"a", "b"}}, {"a\nb", {"a", "b"}},
      {"a\r\n\nb\rc\r\n\r\n", {"a", "", "b\rc", ""}}, {"\r\n", {""}}, {"", {}}};
  MemoryPlatform p;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    p.SetFileBytes("f", c.bytes);
    EXPECT_EQ(p.FileLines("f"), c.lines);
    auto in = p.OpenTextFile("f", OpenMode::kInput);
    Lines read;
    while (!in->AtEnd()) read.push_back(in->ReadLine());
    EXPECT_EQ(read, c.lines);
    EXPECT_EQ(ErrorNumberOf([&] { in->ReadLine(); }), kInputPastEndOfFile);
  }
  EXPECT_FALSE(p.FileLines("nowhere").has_value());
}

TEST(MemoryPlatformTest, InputFileDecodesRewindsAndRefusesWrites) {
  MemoryPlatform p;
  p.SetFileText("doc.xnf", "[Société]\r\nPrix=12,5 €\r\nŒuvre");
  EXPECT_EQ(p.FileBytes("doc.xnf"), "[Soci\xE9t\xE9]\r\nPrix=12,5 \x80\r\n\x8Cuvre");
  EXPECT_EQ(p.FileText("doc.xnf"), "[Société]\r\nPrix=12,5 €\r\nŒuvre");
  auto in = p.OpenTextFile("doc.xnf", OpenMode::kInput);
  EXPECT_EQ(in->ReadLine(), "[Société]");
  in->Rewind();
  EXPECT_EQ(in->ReadLine(), "[Société]");
  EXPECT_EQ(ErrorNumberOf([&] { in->WriteLine("x"); }), kBadFileMode);
  p.SetFileText("doc.xnf", "changed");  // the input keeps the content it had at open
  EXPECT_EQ(in->ReadLine(), "Prix=12,5 €");
  EXPECT_EQ(p.OpenFileCount(), 1u);
  in->Close();
  in->Close();  // harmless
  EXPECT_EQ(p.OpenFileCount(), 0u);
  EXPECT_EQ(ErrorNumberOf([&] { in->ReadLine(); }), kBadFileNameOrNumber);
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("missing", OpenMode::kInput); }), kFileNotFound);
}

TEST(MemoryPlatformTest, OutputFileEncodesAndWritesThrough) {
  MemoryPlatform p;
  p.SetFileBytes("out.xnf", "old content that must go");
  auto out = p.OpenTextFile("out.xnf", OpenMode::kOutput);
  EXPECT_EQ(p.FileBytes("out.xnf"), "");  // truncated at open
  out->WriteLine("Œil=é");
  EXPECT_EQ(p.FileBytes("out.xnf"), "\x8Cil=\xE9\r\n");  // visible before Close
  out->WriteLine("");
  out->WriteLine("中→\x7F\u00FF");
  EXPECT_EQ(ErrorNumberOf([&] { out->ReadLine(); }), kBadFileMode);
  EXPECT_EQ(ErrorNumberOf([&] { out->Rewind(); }), kBadFileMode);
  out->Close();
  EXPECT_EQ(p.FileBytes("out.xnf"), "\x8Cil=\xE9\r\n\r\n??\x7F\xFF\r\n");
  EXPECT_EQ(ErrorNumberOf([&] { out->WriteLine("late"); }), kBadFileNameOrNumber);
  { auto dropped = p.OpenTextFile("new.txt", OpenMode::kOutput); }  // destroying closes
  EXPECT_EQ(p.OpenFileCount(), 0u);
  // An open output file keeps its content when renamed, as on POSIX.
  auto moving = p.OpenTextFile("a.tmp", OpenMode::kOutput);
  p.RenameFile("a.tmp", "a.xnf");
  moving->WriteLine("x");
  moving->Close();
  EXPECT_EQ(p.FileBytes("a.xnf"), "x\r\n");
  EXPECT_FALSE(p.FileExists("a.tmp"));
}

TEST(MemoryPlatformTest, CopyDeleteRenameAndReadOnly) {
  MemoryPlatform p;
  p.SetFileBytes("d/a", "A");
  p.SetFileBytes("d/b", "B");
  p.CopyFile("d/a", "d/b");  // overwrites
  p.CopyFile("d/a", "e/c");
  EXPECT_EQ(p.FileBytes("d/b"), "A");
  EXPECT_EQ(ErrorNumberOf([&] { p.CopyFile("d/none", "d/x"); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { p.CopyFile("d/a", "d/a"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { p.CopyFile("d/a", "e"); }), kPathFileAccessError);  // a folder
  p.SetReadOnly("d/b");
  EXPECT_EQ(ErrorNumberOf([&] { p.CopyFile("e/c", "d/b"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("d/b", OpenMode::kOutput); }), kPathFileAccessError);
  p.SetFileBytes("d/b", "B2");  // set-up keeps the flag
  EXPECT_TRUE(p.IsReadOnly("d/b"));
  p.DeleteFile("d/b");  // read-only files are deleted too
  EXPECT_EQ(ErrorNumberOf([&] { p.DeleteFile("d/b"); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { p.SetReadOnly("d/b"); }), kFileNotFound);
  p.SetFileBytes("d/t", "target");
  p.RenameFile("d/a", "d/t");  // replaces
  EXPECT_EQ(p.FileBytes("d/t"), "A");
  EXPECT_EQ(ErrorNumberOf([&] { p.RenameFile("d/a", "d/z"); }), kFileNotFound);
  p.RenameFile("d/t", "d/t");
  EXPECT_EQ(p.Paths(), (Lines{"d/t", "e/c"}));
}

TEST(MemoryPlatformTest, ListsFilesDirectlyUnderAFolder) {
  MemoryPlatform p;
  for (const char* path : {"cat/b.xnf", "cat/a.xnf", "cat/sub/c.xnf", "catalogue.xml", "top.txt"})
    p.SetFileBytes(path, "");
  for (const std::string folder : {"cat", "cat/", "cat//"}) {
    const std::vector<FolderEntry> entries = p.ListFolder(folder);
    ASSERT_EQ(entries.size(), 2u) << folder;
    EXPECT_EQ(entries[0].name, "a.xnf");
    EXPECT_EQ(entries[0].path, "cat/a.xnf");
  }
  EXPECT_EQ(p.ListFolder("cat/sub").at(0).path, "cat/sub/c.xnf");
  EXPECT_EQ(p.ListFolder("").at(0).name, "catalogue.xml");
  EXPECT_EQ(ErrorNumberOf([&] { p.ListFolder("ca"); }), kPathNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { p.ListFolder("top.txt"); }), kPathNotFound);
  p.CreateFolder("deep/er");
  EXPECT_TRUE(p.ListFolder("deep").empty());
}

TEST(MemoryPlatformTest, InjectedFailuresMatchOperationAndPath) {
  MemoryPlatform p;
  p.SetFileBytes("d/a.xnf", "x\r\n");
  p.SetFileBytes("d/b.txt", "y\r\n");
  p.FailOn(Op::kCopy, ".xak");
  p.FailOn(Op::kDelete, "a.xnf", 70);
  p.FailOn(Op::kRename, "b.txt");
  p.FailOn(Op::kOpenInput, "b.txt", 53);
  p.FailOn(Op::kOpenOutput, "c.xnf");
  p.FailOn(Op::kList, "d");
  EXPECT_EQ(ErrorNumberOf([&] { p.CopyFile("d/a.xnf", "d/a.xak"); }), kPathFileAccessError);
  EXPECT_FALSE(p.FileExists("d/a.xak"));
  p.CopyFile("d/a.xnf", "d/a.bak");
  EXPECT_EQ(ErrorNumberOf([&] { p.DeleteFile("d/a.xnf"); }), 70);
  EXPECT_TRUE(p.FileExists("d/a.xnf"));
  EXPECT_EQ(ErrorNumberOf([&] { p.RenameFile("d/a.xnf", "d/b.txt"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("d/b.txt", OpenMode::kInput); }), 53);
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("d/a.xnf", OpenMode::kInput); }), 0);
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("d/c.xnf", OpenMode::kOutput); }),
            kPathFileAccessError);
  EXPECT_FALSE(p.FileExists("d/c.xnf"));
  EXPECT_EQ(ErrorNumberOf([&] { p.ListFolder("d"); }), kPathFileAccessError);
  EXPECT_EQ(p.OpenFileCount(), 0u);
  p.ClearFailures();
  p.DeleteFile("d/a.xnf");
  EXPECT_EQ(p.ListFolder("d").size(), 2u);
}

TEST(MemoryPlatformTest, WriteAndCloseFailures) {
  MemoryPlatform p;
  p.FailWriteAfter(2, ".xnf");
  auto out = p.OpenTextFile("doc.xnf", OpenMode::kOutput);
  auto other = p.OpenTextFile("doc.txt", OpenMode::kOutput);
  out->WriteLine("1");
  other->WriteLine("not counted");
  out->WriteLine("2");
  EXPECT_EQ(ErrorNumberOf([&] { out->WriteLine("3"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { out->WriteLine("4"); }), kPathFileAccessError);  // stays full
  other->WriteLine("still fine");
  out->Close();
  other->Close();
  EXPECT_EQ(p.FileBytes("doc.xnf"), "1\r\n2\r\n");  // truncated where it failed
  EXPECT_EQ(p.FileLines("doc.txt"), (Lines{"not counted", "still fine"}));

  p.ClearFailures();
  p.FailWriteAfter(0);  // every path, from the first line
  p.FailOn(Op::kClose, "doc");
  auto again = p.OpenTextFile("doc.xnf", OpenMode::kOutput);
  EXPECT_EQ(ErrorNumberOf([&] { again->WriteLine("x"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { again->Close(); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { again->Close(); }), 0);  // closed despite the failure
  EXPECT_EQ(p.OpenFileCount(), 0u);

  p.ClearFailures();
  p.FailOn(Op::kWrite, "", 61);
  auto full = p.OpenTextFile("z", OpenMode::kOutput);
  EXPECT_EQ(ErrorNumberOf([&] { full->WriteLine("x"); }), 61);
}

TEST(MemoryPlatformTest, RecordsMessagesScriptsAnswersAndRandom) {
  MemoryPlatform p;
  p.Message("Fichier introuvable", "Mandor", MessageStyle::kCritical);
  EXPECT_FALSE(p.AskYesNo("Écraser ?", "Mandor"));  // No by default
  p.SetAnswer(true);
  p.QueueAnswer(false);
  EXPECT_FALSE(p.AskYesNo("q2", ""));
  EXPECT_TRUE(p.AskYesNo("q3", ""));
  ASSERT_EQ(p.messages().size(), 1u);  // questions are kept apart
  EXPECT_EQ(p.messages()[0].title, "Mandor");
  EXPECT_EQ(p.messages()[0].style, MessageStyle::kCritical);
  ASSERT_EQ(p.questions().size(), 3u);
  EXPECT_EQ(p.questions()[0].style, MessageStyle::kQuestion);
  p.ClearMessages();
  EXPECT_TRUE(p.messages().empty() && p.questions().empty());

  // Random is deterministic per seed, in [0, 1), and queued values come first.
  MemoryPlatform b;
  double previous = -1.0;
  for (int i = 0; i < 1000; ++i) {
    const double x = p.Random();
    ASSERT_TRUE(x >= 0.0 && x < 1.0 && x != previous && x == b.Random()) << i << ": " << x;
    previous = x;
  }
  p.SeedRandom(42);
  b.SeedRandom(42);
  p.QueueRandom({0.25});
  EXPECT_EQ(p.Random(), 0.25);
  EXPECT_EQ(p.Random(), b.Random());
  // The locale does not follow the environment unless asked.
  EXPECT_EQ(p.locale().decimal_separator, ".");
  EXPECT_EQ(MemoryPlatform(Locale::Comma()).locale().decimal_separator, ",");
}

}  // namespace
}  // namespace mandor
