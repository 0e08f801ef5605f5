#include "mandor/util/platform.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <random>
#include <system_error>
#include <utility>

#include "mandor/util/error.h"
#include "mandor/util/internal/buffer_text_file.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace mandor {

namespace fs = std::filesystem;

Platform::Platform() : locale_(Locale::FromEnvironment()) {}

Platform::~Platform() = default;

namespace {

// Paths are UTF-8 in the model; the file system takes them as the system's
// own paths (UTF-16 on Windows).
fs::path NativePath(const std::string& path) {
  return fs::path(std::u8string(path.begin(), path.end()));
}

std::string Utf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::FILE* OpenFile(const std::string& path, const char* mode) {
#ifdef _WIN32
  return _wfopen(NativePath(path).c_str(), std::wstring(mode, mode + std::char_traits<char>::length(mode)).c_str());
#else
  return std::fopen(path.c_str(), mode);
#endif
}

// --- SystemPlatform's text files ---

// A file open for output, written through a stdio stream.
class StdioOutputFile : public OutputTextFile {
 public:
  explicit StdioOutputFile(std::FILE* file) : file_(file) {}
  ~StdioOutputFile() override { CloseQuietly(); }
  StdioOutputFile(const StdioOutputFile&) = delete;
  StdioOutputFile& operator=(const StdioOutputFile&) = delete;

 protected:
  void WriteBytes(std::string_view bytes) override {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
      ThrowError(kPathFileAccessError);
    }
  }

  void CloseBytes() override {
    std::FILE* file = std::exchange(file_, nullptr);
    const bool failed = std::ferror(file) != 0;
    // fclose flushes the buffer and reports a failed flush.
    if (std::fclose(file) != 0 || failed) ThrowError(kPathFileAccessError);
  }

 private:
  std::FILE* file_;
};

// Reads a whole file. Error 53 when it is missing, 75 when it cannot be read.
std::string ReadWholeFile(const std::string& path) {
  std::error_code ec;
  const fs::file_status status = fs::status(NativePath(path), ec);
  if (!fs::exists(status)) ThrowError(kFileNotFound);
  if (!fs::is_regular_file(status)) ThrowError(kPathFileAccessError);
  std::FILE* file = OpenFile(path, "rb");
  if (file == nullptr) ThrowError(errno == ENOENT ? kFileNotFound : kPathFileAccessError);
  // Read straight into a string of the file's size (one allocation, no
  // copy), then on in case the file has grown meanwhile.
  std::string bytes;
  const std::uintmax_t expected = fs::file_size(NativePath(path), ec);
  if (!ec && expected < bytes.max_size()) {
    // A byte to spare: the XML loader ends the bytes with a zero in place.
    bytes.reserve(static_cast<size_t>(expected) + 1);
    bytes.resize(static_cast<size_t>(expected));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  }
  char buffer[65536];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, n);
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  if (failed) ThrowError(kPathFileAccessError);
  return bytes;
}

bool IsRegularFile(const std::string& path) {
  std::error_code ec;
  return !path.empty() && fs::is_regular_file(NativePath(path), ec);
}

// --- the current platform ---

std::shared_ptr<Platform>& CurrentSlot() {
  static std::shared_ptr<Platform> current = std::make_shared<SystemPlatform>();
  return current;
}

// The slot's platform, for CurrentPlatform, which readers call for every
// number: a plain pointer needs no guard of a local static. Null until the
// first call; SetPlatform keeps it equal to the slot's.
Platform* current_platform = nullptr;

// Bits of a 64-bit draw turned into a double in [0, 1): 53 bits fill the
// mantissa exactly, so 1.0 can never come out.
double UnitInterval(uint64_t bits) { return static_cast<double>(bits >> 11) * 0x1.0p-53; }

// How many names a temporary file tries before giving up: only a folder
// crowded with files of exactly these names, or one that refuses new files,
// runs out of them.
constexpr int kTemporaryAttempts = 64;

}  // namespace

std::string TemporaryFileName(const std::string& target, uint64_t n) {
  static constexpr char kHex[] = "0123456789abcdef";
  char suffix[] = ".~00000000.tmp";
  for (int k = 0; k < 8; ++k) suffix[2 + k] = kHex[(n >> (28 - 4 * k)) & 0xF];
  std::string name;
  name.reserve(target.size() + sizeof suffix);
  name.append(target).append(suffix);
  return name;
}

std::vector<std::string> TextFile::ReadRemainingLines() {
  std::vector<std::string> lines;
  while (!AtEnd()) lines.push_back(ReadLine());
  return lines;
}

// --- replacing a file safely ---

// Without exclusive creation of its own, a platform looks before it
// creates; SystemPlatform and MemoryPlatform create exclusively.
std::string Platform::CreateTemporaryFile(const std::string& target) {
  static uint64_t counter = 0;
  for (int attempt = 0; attempt < kTemporaryAttempts; ++attempt) {
    const std::string path = TemporaryFileName(target, ++counter);
    if (FileExists(path)) continue;
    WriteFileBytes(path, "");
    return path;
  }
  ThrowError(kPathFileAccessError, "No temporary file can be created beside " + target);
}

void Platform::CommitFile(const std::string& temporary, const std::string& target) {
  RenameFile(temporary, target);
}

void Platform::ReplaceFile(const std::string& target,
                           const std::function<void(const std::string& temporary)>& write) {
  const std::string temporary = CreateTemporaryFile(target);
  try {
    write(temporary);
    CommitFile(temporary, target);
  } catch (...) {
    try {
      if (FileExists(temporary)) DeleteFile(temporary);
    } catch (const std::exception&) {
      // The temporary file stays; the target is unchanged all the same.
    }
    throw;
  }
}

void Platform::ReplaceFileBytes(const std::string& target, std::string_view bytes) {
  ReplaceFile(target, [&](const std::string& temporary) { WriteFileBytes(temporary, bytes); });
}

// --- SystemPlatform ---

SystemPlatform::SystemPlatform() = default;

bool SystemPlatform::FileExists(const std::string& path) { return IsRegularFile(path); }

#ifdef _WIN32
// kernel32's copy, declared here rather than through <windows.h>, whose
// CopyFile and DeleteFile macros would rename this class's members.
extern "C" __declspec(dllimport) int __stdcall CopyFileW(const wchar_t* from, const wchar_t* to, int fail_if_exists);
#endif

void SystemPlatform::CopyFile(const std::string& from, const std::string& to) {
  if (!IsRegularFile(from)) ThrowError(kFileNotFound);
#ifdef _WIN32
  // MinGW's copy_file cannot replace an existing target (its same-file test
  // reads st_ino, always 0 there); the system's own copy can.
  if (CopyFileW(NativePath(from).c_str(), NativePath(to).c_str(), 0) == 0) ThrowError(kPathFileAccessError);
#else
  std::error_code ec;
  fs::copy_file(NativePath(from), NativePath(to), fs::copy_options::overwrite_existing, ec);
  if (ec) ThrowError(kPathFileAccessError);
#endif
}

void SystemPlatform::DeleteFile(const std::string& path) {
  std::error_code ec;
  const fs::path p = NativePath(path);
  const fs::file_status link_status = fs::symlink_status(p, ec);
  if (path.empty() || !fs::exists(link_status) || fs::is_directory(link_status)) {
    ThrowError(kFileNotFound);
  }
  // On POSIX a read-only file is removed like any other: only the folder's
  // permissions matter. Windows refuses until the file is made writable.
  if (!fs::remove(p, ec) || ec) {
#ifdef _WIN32
    std::error_code retry_ec;
    fs::permissions(p, fs::perms::owner_write, fs::perm_options::add, retry_ec);
    if (!retry_ec && fs::remove(p, retry_ec) && !retry_ec) return;
#endif
    ThrowError(kPathFileAccessError);
  }
}

void SystemPlatform::RenameFile(const std::string& from, const std::string& to) {
  if (!IsRegularFile(from)) ThrowError(kFileNotFound);
  std::error_code ec;
  // rename(2), MoveFileExW(MOVEFILE_REPLACE_EXISTING) on Windows: replaces the target.
  fs::rename(NativePath(from), NativePath(to), ec);
  if (ec) ThrowError(kPathFileAccessError);
}

std::vector<FolderEntry> SystemPlatform::ListFolder(const std::string& folder) {
  std::error_code ec;
  const fs::path dir = NativePath(folder);
  if (folder.empty() || !fs::is_directory(dir, ec)) ThrowError(kPathNotFound);
  std::vector<FolderEntry> entries;
  fs::directory_iterator it(dir, ec);
  if (ec) ThrowError(kPathFileAccessError);
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    std::error_code type_ec;
    if (it->is_regular_file(type_ec)) {
      entries.push_back({Utf8(it->path().filename()), Utf8(it->path())});
    }
  }
  if (ec) ThrowError(kPathFileAccessError);
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return entries;
}

std::unique_ptr<TextFile> SystemPlatform::OpenTextFile(const std::string& path, OpenMode mode) {
  if (mode == OpenMode::kInput) {
    return std::make_unique<BufferTextFile>(ReadWholeFile(path));
  }
  std::error_code ec;
  if (path.empty() || fs::is_directory(NativePath(path), ec)) ThrowError(kPathFileAccessError);
  std::FILE* file = OpenFile(path, "wb");
  if (file == nullptr) ThrowError(kPathFileAccessError);
  return std::make_unique<StdioOutputFile>(file);
}

std::string SystemPlatform::ReadFileBytes(const std::string& path) { return ReadWholeFile(path); }

void SystemPlatform::WriteFileBytes(const std::string& path, std::string_view bytes) {
  std::error_code ec;
  if (path.empty() || fs::is_directory(NativePath(path), ec)) ThrowError(kPathFileAccessError);
  std::FILE* file = OpenFile(path, "wb");
  if (file == nullptr) ThrowError(kPathFileAccessError);
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  // fclose flushes the buffer and reports a failed flush.
  if (std::fclose(file) != 0 || !written) ThrowError(kPathFileAccessError);
}

#ifndef _WIN32  // Windows has its own (platform_win.cpp).
std::string SystemPlatform::CreateTemporaryFile(const std::string& target) {
  static std::mt19937_64 generator{std::random_device{}()};
  for (int attempt = 0; attempt < kTemporaryAttempts; ++attempt) {
    const std::string path = TemporaryFileName(target, generator());
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
      ::close(fd);
      return path;
    }
    if (errno != EEXIST) break;
  }
  ThrowError(kPathFileAccessError, "No temporary file can be created beside " + target);
}

namespace {

// fsync of an open descriptor, retried when a signal interrupts it.
bool SyncDescriptor(int fd) {
  int result;
  do {
    result = ::fsync(fd);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

void SystemPlatform::CommitFile(const std::string& temporary, const std::string& target) {
  if (!IsRegularFile(temporary)) ThrowError(kFileNotFound);
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) ThrowError(kPathFileAccessError);
  // The replacement keeps the permissions the user gave the file it replaces.
  struct stat target_status {};
  if (::stat(target.c_str(), &target_status) == 0 && S_ISREG(target_status.st_mode)) {
    (void)::fchmod(fd, target_status.st_mode & 07777);
  }
  const bool synced = SyncDescriptor(fd);
  if (::close(fd) != 0 || !synced) ThrowError(kPathFileAccessError);
  if (::rename(temporary.c_str(), target.c_str()) != 0) ThrowError(kPathFileAccessError);
  // The new directory entry is durable only once its folder is flushed.
  const fs::path folder = NativePath(target).parent_path();
  const int dir = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) ThrowError(kPathFileAccessError);
  const bool folder_synced = SyncDescriptor(dir);
  ::close(dir);
  if (!folder_synced) ThrowError(kPathFileAccessError);
}

// Windows shows real message boxes (platform_win.cpp).
void SystemPlatform::Message(const std::string& text, const std::string& title, MessageStyle) {
  if (title.empty()) {
    std::cerr << text << std::endl;
  } else {
    std::cerr << title << ": " << text << std::endl;
  }
}

bool SystemPlatform::AskYesNo(const std::string& text, const std::string& title) {
  // Never blocks on a terminal: without a host to ask, the answer is No.
  Message(text, title, MessageStyle::kQuestion);
  return false;
}
#endif

double SystemPlatform::Random() {
  static std::mt19937_64 generator{std::random_device{}()};
  return UnitInterval(generator());
}

// --- the current platform ---

Platform& CurrentPlatform() {
  if (current_platform == nullptr) current_platform = CurrentSlot().get();
  return *current_platform;
}

void SetPlatform(std::shared_ptr<Platform> platform) {
  CurrentSlot() = platform ? std::move(platform) : std::make_shared<SystemPlatform>();
  current_platform = CurrentSlot().get();
}

std::shared_ptr<Platform> CurrentPlatformPtr() { return CurrentSlot(); }

ScopedPlatform::ScopedPlatform(std::shared_ptr<Platform> platform)
    : previous_(CurrentPlatformPtr()) {
  SetPlatform(std::move(platform));
}

ScopedPlatform::~ScopedPlatform() { SetPlatform(std::move(previous_)); }

}  // namespace mandor
