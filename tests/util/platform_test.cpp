// The system platform on a temporary folder and the in-memory one the other
// tests run on: what they share is checked on both by one function.
#include "mandor/util/platform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;
using test_util::ErrorNumberOf;
using Lines = std::vector<std::string>;

// Reads the whole file, checking the input-file behaviours on the way.
Lines ReadAll(Platform& p, const std::string& path) {
  auto file = p.OpenTextFile(path, OpenMode::kInput);
  Lines lines;
  while (!file->AtEnd()) lines.push_back(file->ReadLine());
  EXPECT_EQ(ErrorNumberOf([&] { file->ReadLine(); }), kInputPastEndOfFile);
  EXPECT_EQ(ErrorNumberOf([&] { file->WriteLine("x"); }), kBadFileMode);
  // Rewound, the lines taken at once are those ReadLine gives one by one.
  file->Rewind();
  Lines taken;
  if (!file->AtEnd()) for (std::string& line : file->ReadRemainingLines()) taken.push_back(std::move(line));
  EXPECT_TRUE(taken == lines && file->AtEnd());
  return lines;
}

// What both platforms do alike, in the folder `dir` (ending in "/") holding
// the folder "sub"; raw / set_raw read and write a file's bytes directly.
void ExpectCommonBehaviour(Platform& p, const std::string& dir,
                           const std::function<std::string(const std::string&)>& raw,
                           const std::function<void(const std::string&, const std::string&)>& set_raw) {
  // Text files are Windows-1252 with CR LF; unencodable characters become "?".
  auto out = p.OpenTextFile(dir + "doc.xnf", OpenMode::kOutput);
  for (const char* line : {"é€Œ", "", "中\x7F\u00FF"}) out->WriteLine(line);
  EXPECT_EQ(ErrorNumberOf([&] { out->ReadLine(); }), kBadFileMode);
  out->Close();
  EXPECT_EQ(raw(dir + "doc.xnf"), "\xE9\x80\x8C\r\n\r\n?\x7F\xFF\r\n");
  EXPECT_EQ(ReadAll(p, dir + "doc.xnf"), (Lines{"é€Œ", "", "?\x7F\u00FF"}));
  p.OpenTextFile(dir + "doc.xnf", OpenMode::kOutput)->WriteLine("short");
  EXPECT_EQ(raw(dir + "doc.xnf"), "short\r\n");  // output truncates
  // A file with CR LF ends its lines there only (a lone LF or CR belongs to
  // its line); a file without CR LF ends them at LF.
  const struct { std::string bytes; Lines lines; } cases[] = {
      {"one\ntwo\r\nthree", {"one\ntwo", "three"}}, {"a\r\n", {"a"}}, {"", {}}, {"\r\n", {""}},
      {"a\r\n\nb\rc\r\n\r\n", {"a", "\nb\rc", ""}}, {"one\ntwo\n\nthree", {"one", "two", "", "three"}},
      {"a\rb\n", {"a\rb"}}, {"x=1\r\ny=a\nb\r\nz=c\rd\r\n", {"x=1", "y=a\nb", "z=c\rd"}}};
  for (const auto& c : cases) {
    set_raw(dir + "in.cnf", c.bytes);
    EXPECT_EQ(ReadAll(p, dir + "in.cnf"), c.lines) << c.bytes;
  }
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile(dir + "none", OpenMode::kInput); }), kFileNotFound);
  // Copy and rename replace their target; folders are not files; the missing fail.
  for (const char* name : {"a", "b", "t"}) set_raw(dir + name, name);
  EXPECT_TRUE(p.FileExists(dir + "a") && !p.FileExists(dir + "sub"));
  p.CopyFile(dir + "a", dir + "b");
  const std::string copied = raw(dir + "b");
  p.DeleteFile(dir + "b");
  p.RenameFile(dir + "a", dir + "t");
  EXPECT_EQ(copied + raw(dir + "t") + (p.FileExists(dir + "b") ? " b" : ""), "aa");
  const std::pair<std::function<void()>, int> failures[] = {
      {[&] { p.OpenTextFile(dir + "none", OpenMode::kInput); }, kFileNotFound},
      {[&] { p.CopyFile(dir + "none", dir + "c"); }, kFileNotFound},
      {[&] { p.CopyFile(dir + "t", dir + "sub"); }, kPathFileAccessError},
      {[&] { p.DeleteFile(dir + "b"); }, kFileNotFound},
      {[&] { p.RenameFile(dir + "a", dir + "u"); }, kFileNotFound},
      {[&] { p.ListFolder(dir + "none"); }, kPathNotFound},
      {[&] { p.ListFolder(dir + "t"); }, kPathNotFound}};
  for (size_t i = 0; i < std::size(failures); ++i) EXPECT_EQ(ErrorNumberOf(failures[i].first), failures[i].second) << i;
  // Listing: the files directly under the folder, sorted, with or without a final separator.
  for (const char* name : {"b.xnf", "a.xnf", "C.cnf", "sub/inner"}) set_raw(dir + name, "");
  for (const std::string& folder : {dir, dir.substr(0, dir.size() - 1)}) {
    std::string names;
    for (const FolderEntry& entry : p.ListFolder(folder)) names += entry.name + " ";
    EXPECT_EQ(names, "C.cnf a.xnf b.xnf doc.xnf in.cnf t ") << folder;
    EXPECT_EQ(fs::path(p.ListFolder(folder).at(1).path), fs::path(dir + "a.xnf"));
  }
  double previous = -1.0;
  for (int i = 0; i < 1000; ++i) {
    const double x = p.Random();
    ASSERT_TRUE(x >= 0.0 && x < 1.0 && x != std::exchange(previous, x)) << i << ": " << x;
  }
}

TEST(SystemPlatformTest, FilesMessagesAndRandom) {
  const fs::path dir = fs::temp_directory_path() / ("mandor_platform_test_" + std::to_string(::getpid()));
  fs::create_directories(dir / "sub");
  SystemPlatform platform;
  ExpectCommonBehaviour(platform, dir.string() + "/", test_util::ReadBytes, test_util::WriteBytes);
  // Read-only files are deleted too; a folder can be neither deleted, replaced nor opened.
  fs::permissions(dir / "t", fs::perms::owner_read | fs::perms::group_read);
  platform.DeleteFile((dir / "t").string());
  EXPECT_FALSE(fs::exists(dir / "t") || platform.FileExists(""));
  EXPECT_EQ(ErrorNumberOf([&] { platform.DeleteFile((dir / "sub").string()); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { platform.RenameFile((dir / "a.xnf").string(), (dir / "sub").string()); }),
            kPathFileAccessError);
  // A device that is always full: the failure shows at the latest on Close.
  if (fs::exists("/dev/full")) {
    auto full = platform.OpenTextFile("/dev/full", OpenMode::kOutput);
    EXPECT_EQ(ErrorNumberOf([&] { full->WriteLine("x"), full->Close(); }), kPathFileAccessError);
  }
  fs::remove_all(dir);
  EXPECT_FALSE(platform.AskYesNo("Écraser ?", "Mandor")) << "a question never waits for a terminal";
}

TEST(MemoryPlatformTest, FilesAsOnDisk) {
  MemoryPlatform p;
  p.CreateFolder("d/sub");
  ExpectCommonBehaviour(
      p, "d/", [&](const std::string& path) { return p.FileBytes(path).value_or("<missing>"); },
      [&](const std::string& path, const std::string& bytes) { p.SetFileBytes(path, bytes); });
  // Read-only files refuse writes; a prefix is no folder.
  p.SetReadOnly("d/t");
  EXPECT_EQ(ErrorNumberOf([&] { p.OpenTextFile("d/t", OpenMode::kOutput); }), kPathFileAccessError);
  EXPECT_EQ(ErrorNumberOf([&] { p.ListFolder("d/su"); }), kPathNotFound);
}

}  // namespace
}  // namespace mandor
