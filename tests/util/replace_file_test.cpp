// Platform::ReplaceFile on both platforms: the target is replaced whole or not
// at all, the temporary file never takes a user's file, and what was
// committed survives a power cut.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "mandor/testing/memory_platform.h"
#include "mandor/util/platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;
using test_util::ErrorNumberOf;

// What both platforms do alike in the folder dir (ending in "/"); raw and
// set_raw read and write a file's bytes directly, paths lists the folder.
void ExpectSafeReplacement(Platform& p, const std::string& dir,
                           const std::function<std::string(const std::string&)>& raw,
                           const std::function<void(const std::string&, const std::string&)>& set_raw,
                           const std::function<std::set<std::string>()>& paths) {
  const std::string target = dir + "lot.xml";
  // Temporary files: beside the target, a new empty one each time; a file
  // of the chosen name is never opened.
  std::set<std::string> names;
  for (int i = 0; i < 20; ++i) {
    const std::string temporary = p.CreateTemporaryFile(target);
    EXPECT_TRUE(temporary.starts_with(target + ".~") && temporary.ends_with(".tmp") && raw(temporary).empty());
    EXPECT_TRUE(names.insert(temporary).second) << temporary;
    set_raw(temporary, "taken");  // now a file of someone else's
  }
  for (const auto& name : names) {
    EXPECT_EQ(raw(name), "taken");
    p.DeleteFile(name);
  }
  // A new file, then a replacement; the user's own ".tmp" stays.
  set_raw(target + ".tmp", "mine");
  p.ReplaceFileBytes(target, "first");
  p.ReplaceFile(target, [&](const std::string& temporary) {
    p.OpenTextFile(temporary, OpenMode::kOutput)->WriteLine("second");
    EXPECT_EQ(raw(target), "first") << "replaced only once complete";
  });
  EXPECT_EQ(raw(target) + raw(target + ".tmp"), "second\r\nmine");
  // A write that fails leaves the target and no temporary file; committing
  // what does not exist fails and changes nothing.
  const std::set<std::string> before = paths();
  EXPECT_THROW(p.ReplaceFile(target, [&](const std::string& temporary) {
    set_raw(temporary, "half");
    throw std::runtime_error("disk full");
  }), std::runtime_error);
  EXPECT_EQ(paths(), before);
  EXPECT_EQ(ErrorNumberOf([&] { p.CommitFile(dir + "none.tmp", target); }), kFileNotFound);
  EXPECT_EQ(raw(target), "second\r\n");
}

TEST(ReplaceFileTest, SystemPlatform) {
  const fs::path dir = fs::temp_directory_path() / ("mandor_replace_test_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  SystemPlatform platform;
  ExpectSafeReplacement(platform, dir.string() + "/", test_util::ReadBytes, test_util::WriteBytes, [&] {
    std::set<std::string> all;
    for (const auto& entry : fs::directory_iterator(dir)) all.insert(entry.path().string());
    return all;
  });
  // The replacement keeps the permissions the user gave the file.
  const fs::path target = dir / "lot.xml";
  const fs::perms perms = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  fs::permissions(target, perms);
  platform.ReplaceFileBytes(target.string(), "third");
  EXPECT_EQ(fs::status(target).permissions() & fs::perms::all, perms);
  EXPECT_EQ(test_util::ReadBytes(target.string()), "third");
  EXPECT_EQ(ErrorNumberOf([&] { platform.ReplaceFileBytes((dir / "none/lot.xml").string(), "x"); }),
            kPathFileAccessError);
  fs::remove_all(dir);
}

TEST(ReplaceFileTest, MemoryPlatformModelsFailuresAndPowerLoss) {
  MemoryPlatform p;
  p.CreateFolder("d");
  ExpectSafeReplacement(
      p, "d/", [&](const std::string& path) { return p.FileBytes(path).value_or("<missing>"); },
      [&](const std::string& path, const std::string& bytes) { p.SetFileBytes(path, bytes); },
      [&] {
        const std::vector<std::string> all = p.Paths();
        return std::set<std::string>(all.begin(), all.end());
      });
  // Only what was committed survives a power cut: a file written in place or
  // renamed unflushed comes back empty.
  p.SetFileBytes("d/kept", "kept"), p.ReplaceFileBytes("d/committed", "committed");
  p.WriteFileBytes("d/written", "written"), p.WriteFileBytes("d/renamed.tmp", "renamed");
  p.RenameFile("d/renamed.tmp", "d/renamed"), p.CopyFile("d/kept", "d/copied");
  p.SimulatePowerLoss();
  std::string after;
  for (const char* name : {"kept", "committed", "written", "renamed", "copied"}) {
    after += name + std::string("=") + p.FileBytes(std::string("d/") + name).value_or("<missing>") + " ";
  }
  EXPECT_EQ(after, "kept=kept committed=committed written= renamed= copied= ");
  // A flush or a rename that fails leaves the target and no temporary file.
  const size_t commits = p.CommitCount();
  using Op = MemoryPlatform::Operation;
  for (const auto op : {Op::kFlush, Op::kRename, Op::kOpenOutput}) {
    p.FailOn(op, "d/committed");
    EXPECT_EQ(ErrorNumberOf([&] { p.ReplaceFileBytes("d/committed", "new"); }), kPathFileAccessError);
    EXPECT_EQ(p.FileBytes("d/committed"), "committed");
    for (const auto& path : p.Paths()) EXPECT_EQ(path.find(".~"), std::string::npos) << path;
    p.ClearFailures();
  }
  EXPECT_EQ(p.CommitCount(), commits);
}

}  // namespace
}  // namespace mandor
