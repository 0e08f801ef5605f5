#include "mandor/util/platform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "mandor/util/error.h"
#include "mandor/util/memory_platform.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

template <typename F>
int ErrorOf(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

// A fresh directory under the system's temporary directory, removed at the end.
class SystemPlatformTest : public ::testing::Test {
 protected:
  void SetUp() override {
    static int counter = 0;
    dir_ = fs::temp_directory_path() /
           ("mandor_platform_test_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  std::string Path(const std::string& name) const { return (dir_ / name).string(); }

  void WriteRaw(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }

  std::string ReadRaw(const std::string& name) const {
    std::ifstream in(Path(name), std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }

  Lines ReadAll(const std::string& name) {
    auto file = platform_.OpenTextFile(Path(name), OpenMode::kInput);
    Lines lines;
    while (!file->AtEnd()) lines.push_back(file->ReadLine());
    file->Close();
    return lines;
  }

  fs::path dir_;
  SystemPlatform platform_;
};

TEST_F(SystemPlatformTest, TextFilesUseWindows1252AndCrLf) {
  auto out = platform_.OpenTextFile(Path("doc.xnf"), OpenMode::kOutput);
  out->WriteLine("é€Œ");
  out->WriteLine("");
  out->WriteLine("中\x7F\u00FF");
  EXPECT_EQ(ErrorOf([&] { out->ReadLine(); }), kBadFileMode);
  out->Close();
  out->Close();
  EXPECT_EQ(ReadRaw("doc.xnf"), "\xE9\x80\x8C\r\n\r\n?\x7F\xFF\r\n");
  EXPECT_EQ(ReadAll("doc.xnf"), (Lines{"é€Œ", "", "?\x7F\u00FF"}));

  // Output truncates an existing file.
  platform_.OpenTextFile(Path("doc.xnf"), OpenMode::kOutput)->WriteLine("short");
  EXPECT_EQ(ReadRaw("doc.xnf"), "short\r\n");

  WriteRaw("lf.cnf", "one\ntwo\r\nthree");
  WriteRaw("crlf.cnf", "a\r\n");
  WriteRaw("empty.cnf", "");
  EXPECT_EQ(ReadAll("lf.cnf"), (Lines{"one", "two", "three"}));
  EXPECT_EQ(ReadAll("crlf.cnf"), (Lines{"a"}));
  EXPECT_EQ(ReadAll("empty.cnf"), Lines{});

  auto in = platform_.OpenTextFile(Path("lf.cnf"), OpenMode::kInput);
  EXPECT_EQ(in->ReadLine(), "one");
  EXPECT_EQ(in->ReadLine(), "two");
  in->Rewind();
  EXPECT_EQ(in->ReadLine(), "one");
  in->ReadLine();
  in->ReadLine();
  EXPECT_TRUE(in->AtEnd());
  EXPECT_EQ(ErrorOf([&] { in->ReadLine(); }), kInputPastEndOfFile);
  EXPECT_EQ(ErrorOf([&] { in->WriteLine("x"); }), kBadFileMode);
}

TEST_F(SystemPlatformTest, OpenErrors) {
  EXPECT_EQ(ErrorOf([&] { platform_.OpenTextFile(Path("none"), OpenMode::kInput); }),
            kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { platform_.OpenTextFile(Path("no/dir.txt"), OpenMode::kOutput); }),
            kPathFileAccessError);
  fs::create_directory(dir_ / "sub");
  EXPECT_EQ(ErrorOf([&] { platform_.OpenTextFile(Path("sub"), OpenMode::kInput); }),
            kPathFileAccessError);
  EXPECT_EQ(ErrorOf([&] { platform_.OpenTextFile(Path("sub"), OpenMode::kOutput); }),
            kPathFileAccessError);
  // A device that is always full: the failure shows at the latest on Close.
  if (fs::exists("/dev/full")) {
    auto full = platform_.OpenTextFile("/dev/full", OpenMode::kOutput);
    EXPECT_EQ(ErrorOf([&] {
                full->WriteLine("x");
                full->Close();
              }),
              kPathFileAccessError);
  }
}

TEST_F(SystemPlatformTest, CopyDeleteRename) {
  WriteRaw("a", "A");
  WriteRaw("b", "B");
  fs::create_directory(dir_ / "sub");
  EXPECT_TRUE(platform_.FileExists(Path("a")));
  EXPECT_FALSE(platform_.FileExists(Path("sub")));  // folders are not files
  EXPECT_FALSE(platform_.FileExists(Path("none")));
  EXPECT_FALSE(platform_.FileExists(""));

  platform_.CopyFile(Path("a"), Path("b"));  // overwrites
  EXPECT_EQ(ReadRaw("b"), "A");
  EXPECT_EQ(ErrorOf([&] { platform_.CopyFile(Path("none"), Path("c")); }), kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { platform_.CopyFile(Path("a"), Path("sub")); }), kPathFileAccessError);

  fs::permissions(dir_ / "b", fs::perms::owner_read | fs::perms::group_read);
  platform_.DeleteFile(Path("b"));  // read-only goes too
  EXPECT_FALSE(fs::exists(dir_ / "b"));
  EXPECT_EQ(ErrorOf([&] { platform_.DeleteFile(Path("b")); }), kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { platform_.DeleteFile(Path("sub")); }), kFileNotFound);

  WriteRaw("t", "T");
  platform_.RenameFile(Path("a"), Path("t"));  // replaces
  EXPECT_EQ(ReadRaw("t"), "A");
  EXPECT_FALSE(fs::exists(dir_ / "a"));
  EXPECT_EQ(ErrorOf([&] { platform_.RenameFile(Path("a"), Path("u")); }), kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { platform_.RenameFile(Path("t"), Path("sub")); }),
            kPathFileAccessError);
}

TEST_F(SystemPlatformTest, ListFolderGivesSortedRegularFiles) {
  WriteRaw("b.xnf", "");
  WriteRaw("a.xnf", "");
  WriteRaw("C.cnf", "");
  fs::create_directory(dir_ / "sub");
  WriteRaw("sub/inner", "");
  for (const std::string& folder : {dir_.string(), dir_.string() + "/"}) {
    const std::vector<FolderEntry> entries = platform_.ListFolder(folder);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "C.cnf");
    EXPECT_EQ(entries[1].name, "a.xnf");
    EXPECT_EQ(entries[2].name, "b.xnf");
    EXPECT_EQ(fs::path(entries[1].path), dir_ / "a.xnf");
  }
  EXPECT_EQ(ErrorOf([&] { platform_.ListFolder(Path("none")); }), kPathNotFound);
  EXPECT_EQ(ErrorOf([&] { platform_.ListFolder(Path("a.xnf")); }), kPathNotFound);
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

  bool varied = false;
  const double first = platform_.Random();
  for (int i = 0; i < 1000; ++i) {
    const double x = platform_.Random();
    ASSERT_GE(x, 0.0);
    ASSERT_LT(x, 1.0);
    varied = varied || x != first;
  }
  EXPECT_TRUE(varied);
}

// Sets an environment variable for the lifetime of the guard.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value, 1);
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(PlatformTest, LocaleFollowsEnvironmentAndCanBeSwitched) {
  {
    ScopedEnv env("LC_ALL", "fr_FR.UTF-8");
    SystemPlatform french;
    EXPECT_EQ(french.locale().decimal_separator, ",");
    EXPECT_EQ(french.locale().true_text, "Vrai");
    french.SetLocale(Locale::Point());
    EXPECT_EQ(french.locale().decimal_separator, ".");
  }
  {
    ScopedEnv env("LC_ALL", "C");
    EXPECT_EQ(SystemPlatform().locale().decimal_separator, ".");
  }
}

TEST(PlatformTest, CurrentPlatformIsSwitchedAndRestored) {
  const std::shared_ptr<Platform> original = CurrentPlatformPtr();
  ASSERT_NE(original, nullptr);
  EXPECT_EQ(&CurrentPlatform(), original.get());

  auto outer = std::make_shared<MemoryPlatform>();
  auto inner = std::make_shared<MemoryPlatform>();
  {
    ScopedPlatform a(outer);
    EXPECT_EQ(&CurrentPlatform(), outer.get());
    {
      ScopedPlatform b(inner);
      EXPECT_EQ(CurrentPlatformPtr(), inner);
      CurrentPlatform().Message("hello", "t", MessageStyle::kPlain);
    }
    EXPECT_EQ(CurrentPlatformPtr(), outer);
    {
      ScopedPlatform c(nullptr);  // a fresh system platform
      EXPECT_NE(dynamic_cast<SystemPlatform*>(&CurrentPlatform()), nullptr);
    }
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
