#include "mandor/util/memory_platform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mandor/util/error.h"

namespace mandor {
namespace {

using Op = MemoryPlatform::Operation;
using Lines = std::vector<std::string>;

// The error number thrown by f, or 0 when it does not throw.
template <typename F>
int ErrorOf(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

Lines ReadAll(TextFile& file) {
  Lines lines;
  while (!file.AtEnd()) lines.push_back(file.ReadLine());
  return lines;
}

TEST(MemoryPlatformTest, ReadsLinesWhateverTheLineEnds) {
  MemoryPlatform p;
  p.SetFileBytes("crlf", "a\r\nb\r\n");
  p.SetFileBytes("lf", "a\nb");
  p.SetFileBytes("mixed", "a\r\n\nb\rc\r\n\r\n");
  p.SetFileBytes("one", "a\r\n");
  p.SetFileBytes("blank", "\r\n");
  p.SetFileBytes("empty", "");
  EXPECT_EQ(ReadAll(*p.OpenTextFile("crlf", OpenMode::kInput)), (Lines{"a", "b"}));
  EXPECT_EQ(ReadAll(*p.OpenTextFile("lf", OpenMode::kInput)), (Lines{"a", "b"}));
  // A bare CR belongs to its line; an empty line between two line ends counts.
  EXPECT_EQ(ReadAll(*p.OpenTextFile("mixed", OpenMode::kInput)),
            (Lines{"a", "", "b\rc", ""}));
  EXPECT_EQ(ReadAll(*p.OpenTextFile("one", OpenMode::kInput)), (Lines{"a"}));
  EXPECT_EQ(ReadAll(*p.OpenTextFile("blank", OpenMode::kInput)), (Lines{""}));

  auto empty = p.OpenTextFile("empty", OpenMode::kInput);
  EXPECT_TRUE(empty->AtEnd());
  EXPECT_EQ(ErrorOf([&] { empty->ReadLine(); }), kInputPastEndOfFile);
  EXPECT_EQ(p.FileLines("mixed"), (Lines{"a", "", "b\rc", ""}));
  EXPECT_FALSE(p.FileLines("nowhere").has_value());
}

TEST(MemoryPlatformTest, InputFileDecodesRewindsAndRefusesWrites) {
  MemoryPlatform p;
  p.SetFileText("doc.xnf", "[Société]\r\nPrix=12,5 €\r\nŒuvre");
  EXPECT_EQ(p.FileBytes("doc.xnf"), "[Soci\xE9t\xE9]\r\nPrix=12,5 \x80\r\n\x8Cuvre");
  EXPECT_EQ(p.FileText("doc.xnf"), "[Société]\r\nPrix=12,5 €\r\nŒuvre");

  auto in = p.OpenTextFile("doc.xnf", OpenMode::kInput);
  EXPECT_EQ(in->ReadLine(), "[Société]");
  EXPECT_EQ(in->ReadLine(), "Prix=12,5 €");
  EXPECT_FALSE(in->AtEnd());
  EXPECT_EQ(in->ReadLine(), "Œuvre");
  EXPECT_TRUE(in->AtEnd());
  EXPECT_EQ(ErrorOf([&] { in->ReadLine(); }), kInputPastEndOfFile);
  in->Rewind();
  EXPECT_EQ(in->ReadLine(), "[Société]");
  EXPECT_EQ(ErrorOf([&] { in->WriteLine("x"); }), kBadFileMode);

  // The input reads the content it had at open.
  p.SetFileText("doc.xnf", "changed");
  EXPECT_EQ(in->ReadLine(), "Prix=12,5 €");

  EXPECT_EQ(p.OpenFileCount(), 1u);
  in->Close();
  in->Close();  // harmless
  EXPECT_EQ(p.OpenFileCount(), 0u);
  EXPECT_EQ(ErrorOf([&] { in->ReadLine(); }), 52);
  EXPECT_EQ(ErrorOf([&] { p.OpenTextFile("missing", OpenMode::kInput); }), kFileNotFound);
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
  EXPECT_TRUE(out->AtEnd());
  EXPECT_EQ(ErrorOf([&] { out->ReadLine(); }), kBadFileMode);
  EXPECT_EQ(ErrorOf([&] { out->Rewind(); }), kBadFileMode);
  out->Close();
  EXPECT_EQ(p.FileBytes("out.xnf"), "\x8Cil=\xE9\r\n\r\n??\x7F\xFF\r\n");
  EXPECT_EQ(ErrorOf([&] { out->WriteLine("late"); }), 52);
  EXPECT_EQ(p.OpenFileCount(), 0u);

  // Reading back what was written gives the same lines.
  EXPECT_EQ(p.FileLines("out.xnf"), (Lines{"Œil=é", "", "??\x7F\u00FF"}));

  // Destroying an open file closes it.
  { auto dropped = p.OpenTextFile("new.txt", OpenMode::kOutput); }
  EXPECT_EQ(p.OpenFileCount(), 0u);
  EXPECT_EQ(p.FileBytes("new.txt"), "");

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
  EXPECT_EQ(p.FileBytes("d/b"), "A");
  p.CopyFile("d/a", "e/c");
  EXPECT_EQ(p.FileBytes("e/c"), "A");
  EXPECT_EQ(ErrorOf([&] { p.CopyFile("d/none", "d/x"); }), kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { p.CopyFile("d/a", "d/a"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { p.CopyFile("d/a", "e"); }), kPathFileAccessError);  // a folder

  p.SetReadOnly("d/b");
  EXPECT_TRUE(p.IsReadOnly("d/b"));
  EXPECT_EQ(ErrorOf([&] { p.CopyFile("e/c", "d/b"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { p.OpenTextFile("d/b", OpenMode::kOutput); }), kPathFileAccessError);
  EXPECT_EQ(p.FileBytes("d/b"), "A");  // untouched
  p.SetFileBytes("d/b", "B2");         // set-up keeps the flag
  EXPECT_TRUE(p.IsReadOnly("d/b"));
  p.DeleteFile("d/b");  // read-only files are deleted too
  EXPECT_FALSE(p.FileExists("d/b"));
  EXPECT_EQ(ErrorOf([&] { p.DeleteFile("d/b"); }), kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { p.SetReadOnly("d/b"); }), kFileNotFound);

  p.SetFileBytes("d/t", "target");
  p.RenameFile("d/a", "d/t");  // replaces
  EXPECT_EQ(p.FileBytes("d/t"), "A");
  EXPECT_FALSE(p.FileExists("d/a"));
  EXPECT_EQ(ErrorOf([&] { p.RenameFile("d/a", "d/z"); }), kFileNotFound);
  p.RenameFile("d/t", "d/t");
  EXPECT_EQ(p.Paths(), (Lines{"d/t", "e/c"}));
}

TEST(MemoryPlatformTest, ListsFilesDirectlyUnderAFolder) {
  MemoryPlatform p;
  p.SetFileBytes("cat/b.xnf", "");
  p.SetFileBytes("cat/a.xnf", "");
  p.SetFileBytes("cat/sub/c.xnf", "");
  p.SetFileBytes("catalogue.xml", "");
  p.SetFileBytes("top.txt", "");
  for (const std::string folder : {"cat", "cat/", "cat//"}) {
    const std::vector<FolderEntry> entries = p.ListFolder(folder);
    ASSERT_EQ(entries.size(), 2u) << folder;
    EXPECT_EQ(entries[0].name, "a.xnf");
    EXPECT_EQ(entries[0].path, "cat/a.xnf");
    EXPECT_EQ(entries[1].name, "b.xnf");
  }
  EXPECT_EQ(p.ListFolder("cat/sub").size(), 1u);
  const std::vector<FolderEntry> root = p.ListFolder("");
  ASSERT_EQ(root.size(), 2u);
  EXPECT_EQ(root[0].name, "catalogue.xml");
  EXPECT_EQ(ErrorOf([&] { p.ListFolder("ca"); }), kPathNotFound);
  EXPECT_EQ(ErrorOf([&] { p.ListFolder("top.txt"); }), kPathNotFound);
  p.CreateFolder("empty/");
  EXPECT_TRUE(p.ListFolder("empty").empty());
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

  EXPECT_EQ(ErrorOf([&] { p.CopyFile("d/a.xnf", "d/a.xak"); }), kPathFileAccessError);
  EXPECT_FALSE(p.FileExists("d/a.xak"));
  p.CopyFile("d/a.xnf", "d/a.bak");
  EXPECT_EQ(ErrorOf([&] { p.DeleteFile("d/a.xnf"); }), 70);
  EXPECT_TRUE(p.FileExists("d/a.xnf"));
  EXPECT_EQ(ErrorOf([&] { p.RenameFile("d/a.xnf", "d/b.txt"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { p.OpenTextFile("d/b.txt", OpenMode::kInput); }), 53);
  EXPECT_EQ(ErrorOf([&] { p.OpenTextFile("d/a.xnf", OpenMode::kInput); }), 0);
  EXPECT_EQ(ErrorOf([&] { p.OpenTextFile("d/c.xnf", OpenMode::kOutput); }), kPathFileAccessError);
  EXPECT_FALSE(p.FileExists("d/c.xnf"));
  EXPECT_EQ(ErrorOf([&] { p.ListFolder("d"); }), kPathFileAccessError);
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
  EXPECT_EQ(ErrorOf([&] { out->WriteLine("3"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { out->WriteLine("4"); }), kPathFileAccessError);  // disk stays full
  other->WriteLine("still fine");
  out->Close();
  other->Close();
  EXPECT_EQ(p.FileBytes("doc.xnf"), "1\r\n2\r\n");  // truncated where it failed
  EXPECT_EQ(p.FileLines("doc.txt"), (Lines{"not counted", "still fine"}));

  p.ClearFailures();
  p.FailWriteAfter(0);  // every path, from the first line
  p.FailOn(Op::kClose, "doc");
  auto again = p.OpenTextFile("doc.xnf", OpenMode::kOutput);
  EXPECT_EQ(ErrorOf([&] { again->WriteLine("x"); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { again->Close(); }), kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { again->Close(); }), 0);  // closed despite the failure
  EXPECT_EQ(p.OpenFileCount(), 0u);

  p.ClearFailures();
  p.FailOn(Op::kWrite, "", 61);
  auto full = p.OpenTextFile("z", OpenMode::kOutput);
  EXPECT_EQ(ErrorOf([&] { full->WriteLine("x"); }), 61);
}

TEST(MemoryPlatformTest, RecordsMessagesAndScriptsAnswers) {
  MemoryPlatform p;
  p.Message("Fichier introuvable", "Mandor", MessageStyle::kCritical);
  p.Message("Attention", "", MessageStyle::kExclamation);
  ASSERT_EQ(p.messages().size(), 2u);
  EXPECT_EQ(p.messages()[0].text, "Fichier introuvable");
  EXPECT_EQ(p.messages()[0].title, "Mandor");
  EXPECT_EQ(p.messages()[0].style, MessageStyle::kCritical);
  EXPECT_EQ(p.messages()[1].style, MessageStyle::kExclamation);

  EXPECT_FALSE(p.AskYesNo("Écraser ?", "Mandor"));  // No by default
  p.SetAnswer(true);
  p.QueueAnswer(false);
  p.QueueAnswer(false);
  EXPECT_FALSE(p.AskYesNo("q2", ""));
  EXPECT_FALSE(p.AskYesNo("q3", ""));
  EXPECT_TRUE(p.AskYesNo("q4", ""));
  ASSERT_EQ(p.questions().size(), 4u);
  EXPECT_EQ(p.questions()[0].text, "Écraser ?");
  EXPECT_EQ(p.questions()[0].style, MessageStyle::kQuestion);
  EXPECT_EQ(p.messages().size(), 2u);  // questions are kept apart

  p.ClearMessages();
  EXPECT_TRUE(p.messages().empty());
  EXPECT_TRUE(p.questions().empty());
}

TEST(MemoryPlatformTest, RandomIsDeterministicAndInRange) {
  MemoryPlatform a;
  MemoryPlatform b;
  std::vector<double> first;
  for (int i = 0; i < 1000; ++i) {
    const double x = a.Random();
    EXPECT_GE(x, 0.0);
    EXPECT_LT(x, 1.0);
    EXPECT_EQ(x, b.Random());
    first.push_back(x);
  }
  EXPECT_NE(first[0], first[1]);
  a.SeedRandom(42);
  b.SeedRandom(42);
  EXPECT_EQ(a.Random(), b.Random());
  a.QueueRandom({0.25, 0.0});
  EXPECT_EQ(a.Random(), 0.25);
  EXPECT_EQ(a.Random(), 0.0);
  EXPECT_EQ(a.Random(), b.Random());  // back to the generator

  // The locale does not follow the environment unless asked.
  EXPECT_EQ(a.locale().decimal_separator, ".");
  EXPECT_EQ(MemoryPlatform(Locale::Comma()).locale().decimal_separator, ",");
}

}  // namespace
}  // namespace mandor
