#include "mandor/util/platform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "mandor/util/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;
using test_util::ErrorNumberOf;
using Lines = std::vector<std::string>;

// A fresh directory under the system's temporary directory, removed at the end.
class SystemPlatformTest : public ::testing::Test {
 protected:
  SystemPlatformTest() { fs::create_directories(dir_ / "sub"); }
  ~SystemPlatformTest() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  void WriteRaw(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }
  std::string ReadRaw(const std::string& name) const {
    std::ifstream in(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  // Reads the whole file, checking the input-file behaviours on the way.
  Lines ReadAll(const std::string& name) {
    auto file = platform_.OpenTextFile(Path(name), OpenMode::kInput);
    Lines lines;
    while (!file->AtEnd()) lines.push_back(file->ReadLine());
    EXPECT_EQ(ErrorNumberOf([&] { file->ReadLine(); }), kInputPastEndOfFile);
    EXPECT_EQ(ErrorNumberOf([&] { file->WriteLine("x"); }), kBadFileMode);
    file->Rewind();
    if (!lines.empty()) {
      EXPECT_EQ(file->ReadLine(), lines[0]);
    }
    return lines;
  }

  const fs::path dir_ = fs::temp_directory_path() /
                        ("mandor_platform_test_" + std::to_string(::getpid()) + "_" +
                         ::testing::UnitTest::GetInstance()->current_test_info()->name());
  SystemPlatform platform_;
};

TEST_F(SystemPlatformTest, TextFilesUseWindows1252AndCrLf) {
  auto out = platform_.OpenTextFile(Path("doc.xnf"), OpenMode::kOutput);
  out->WriteLine("é€Œ");
  out->WriteLine("");
  out->WriteLine("中\x7F\u00FF");  // unencodable characters become "?"
  EXPECT_EQ(ErrorNumberOf([&] { out->ReadLine(); }), kBadFileMode);
  out->Close();
  out->Close();
  EXPECT_EQ(ReadRaw("doc.xnf"), "\xE9\x80\x8C\r\n\r\n?\x7F\xFF\r\n");
  EXPECT_EQ(ReadAll("doc.xnf"), (Lines{"é€Œ", "", "?\x7F\u00FF"}));
  platform_.OpenTextFile(Path("doc.xnf"), OpenMode::kOutput)->WriteLine("short");
  EXPECT_EQ(ReadRaw("doc.xnf"), "short\r\n");  // output truncates

  const struct { std::string bytes; Lines lines; } cases[] = {
      {"one\ntwo\r\nthree", {"one", "two", "three"}}, {"a\r\n", {"a"}}, {"", {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    WriteRaw("in.cnf", c.bytes);
    EXPECT_EQ(ReadAll("in.cnf"), c.lines);
  }
}

TEST_F(SystemPlatformTest, OpenErrors) {
  const struct { std::string name; OpenMode mode; int error; } cases[] = {
      {"none", OpenMode::kInput, kFileNotFound},
      {"no/dir.txt", OpenMode::kOutput, kPathFileAccessError},
      {"sub", OpenMode::kInput, kPathFileAccessError},
      {"sub", OpenMode::kOutput, kPathFileAccessError}};
  for (const auto& c : cases) {
    EXPECT_EQ(ErrorNumberOf([&] { platform_.OpenTextFile(Path(c.name), c.mode); }), c.error)
        << c.name;
  }
  // A device that is always full: the failure shows at the latest on Close.
  if (fs::exists("/dev/full")) {
    auto full = platform_.OpenTextFile("/dev/full", OpenMode::kOutput);
    EXPECT_EQ(ErrorNumberOf([&] {
                full->WriteLine("x");
                full->Close();
              }),
              kPathFileAccessError);
  }
}

TEST_F(SystemPlatformTest, CopyDeleteRename) {
  WriteRaw("a", "A");
  WriteRaw("b", "B");
  EXPECT_TRUE(platform_.FileExists(Path("a")));
  EXPECT_FALSE(platform_.FileExists(Path("sub")));  // folders are not files
  EXPECT_FALSE(platform_.FileExists(""));
  platform_.CopyFile(Path("a"), Path("b"));  // overwrites
  EXPECT_EQ(ReadRaw("b"), "A");
  EXPECT_EQ(ErrorNumberOf([&] { platform_.CopyFile(Path("none"), Path("c")); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { platform_.CopyFile(Path("a"), Path("sub")); }),
            kPathFileAccessError);
  fs::permissions(dir_ / "b", fs::perms::owner_read | fs::perms::group_read);
  platform_.DeleteFile(Path("b"));  // read-only goes too
  EXPECT_FALSE(fs::exists(dir_ / "b"));
  EXPECT_EQ(ErrorNumberOf([&] { platform_.DeleteFile(Path("b")); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { platform_.DeleteFile(Path("sub")); }), kFileNotFound);
  WriteRaw("t", "T");
  platform_.RenameFile(Path("a"), Path("t"));  // replaces
  EXPECT_EQ(ReadRaw("t"), "A");
  EXPECT_EQ(ErrorNumberOf([&] { platform_.RenameFile(Path("a"), Path("u")); }), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { platform_.RenameFile(Path("t"), Path("sub")); }),
            kPathFileAccessError);
}

TEST_F(SystemPlatformTest, ListFolderGivesSortedRegularFiles) {
  for (const char* name : {"b.xnf", "a.xnf", "C.cnf"}) WriteRaw(name, "");
  WriteRaw("sub/inner", "");
  for (const std::string& folder : {dir_.string(), dir_.string() + "/"}) {
    const std::vector<FolderEntry> entries = platform_.ListFolder(folder);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name + entries[1].name + entries[2].name, "C.cnfa.xnfb.xnf");
    EXPECT_EQ(fs::path(entries[1].path), dir_ / "a.xnf");
  }
  EXPECT_EQ(ErrorNumberOf([&] { platform_.ListFolder(Path("none")); }), kPathNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { platform_.ListFolder(Path("a.xnf")); }), kPathNotFound);
}

TEST_F(SystemPlatformTest, MessagesQuestionsAndRandom) {
  std::ostringstream captured;
  std::streambuf* saved = std::cerr.rdbuf(captured.rdbuf());
  platform_.Message("Fichier absent", "Mandor", MessageStyle::kCritical);
  const bool answer = platform_.AskYesNo("Écraser ?", "Mandor");
  std::cerr.rdbuf(saved);
  EXPECT_FALSE(answer);
  EXPECT_NE(captured.str().find("Mandor: Fichier absent"), std::string::npos);
  EXPECT_NE(captured.str().find("Mandor: Écraser ?"), std::string::npos);

  double previous = -1.0;
  for (int i = 0; i < 1000; ++i) {
    const double x = platform_.Random();
    ASSERT_TRUE(x >= 0.0 && x < 1.0 && x != previous) << i << ": " << x;
    previous = x;
  }
}

TEST(PlatformTest, LocaleFollowsEnvironmentAndCanBeSwitched) {
  const char* old = std::getenv("LC_ALL");
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
  ::setenv("LC_ALL", "fr_FR.UTF-8", 1);
  SystemPlatform french;
  ::setenv("LC_ALL", "C", 1);
  SystemPlatform plain;
  saved ? ::setenv("LC_ALL", saved->c_str(), 1) : ::unsetenv("LC_ALL");
  EXPECT_EQ(french.locale().decimal_separator, ",");
  EXPECT_EQ(french.locale().true_text, "Vrai");
  EXPECT_EQ(plain.locale().decimal_separator, ".");
  french.SetLocale(Locale::Point());
  EXPECT_EQ(french.locale().decimal_separator, ".");
}

TEST(PlatformTest, CurrentPlatformIsSwitchedAndRestored) {
  const std::shared_ptr<Platform> original = CurrentPlatformPtr();
  ASSERT_NE(original, nullptr);
  auto outer = std::make_shared<MemoryPlatform>();
  auto inner = std::make_shared<MemoryPlatform>();
  {
    ScopedPlatform a(outer);
    {
      ScopedPlatform b(inner);
      CurrentPlatform().Message("hello", "t", MessageStyle::kPlain);
    }
    EXPECT_EQ(CurrentPlatformPtr(), outer);
    ScopedPlatform c(nullptr);  // a fresh system platform
    EXPECT_NE(dynamic_cast<SystemPlatform*>(&CurrentPlatform()), nullptr);
  }
  EXPECT_EQ(CurrentPlatformPtr(), original);
  EXPECT_EQ(inner->messages().size(), 1u);
  EXPECT_TRUE(outer->messages().empty());
  SetPlatform(nullptr);
  EXPECT_NE(dynamic_cast<SystemPlatform*>(&CurrentPlatform()), nullptr);
  EXPECT_NE(CurrentPlatformPtr(), original);
  SetPlatform(original);
}

}  // namespace
}  // namespace mandor
