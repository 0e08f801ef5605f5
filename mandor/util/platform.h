// Platform gathers everything the model needs from its surroundings: the
// file system (existence, copy, delete, rename, folder listing, sequential
// text files), modal message boxes, the regional settings and a random
// number. The library never touches the operating system except through it,
// so that a host can route messages to its own windows and a test can run on
// an in-memory file system and make any operation fail.
//
// The current platform is process-wide (the model is single-threaded and has
// no options object to carry one). By default it is a SystemPlatform; tests
// and hosts install their own with SetPlatform or ScopedPlatform.
//
// Threading: the current platform is one process-wide slot, set by the host
// or a test before the model is used (SetPlatform, ScopedPlatform) and not
// while another thread uses the model; the model itself is single-threaded
// and calls the platform from the host's thread.
#ifndef MANDOR_UTIL_PLATFORM_H_
#define MANDOR_UTIL_PLATFORM_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/locale.h"

namespace mandor {

// A sequential text file opened for input or output. Lines are UTF-8 in
// memory; on disk they are Windows-1252 with CR LF line ends. A character
// that Windows-1252 cannot hold is written as "?". Reading ends lines at CR
// LF in a file that holds one, and at LF in a file that holds none (see
// buffer_text_file.h); a last line needs no line end.
class TextFile {
 public:
  virtual ~TextFile() = default;

  // Reads the next line without its line end. Throws Error 62 (input past
  // end of file) when already at the end, Error 54 on a file open for output.
  virtual std::string ReadLine() = 0;
  // True when no line is left to read (always true for an output file).
  virtual bool AtEnd() const = 0;
  // Writes text followed by CR LF. Throws Error 54 on an input file and
  // Error 75 when the underlying write fails.
  virtual void WriteLine(std::string_view text) = 0;
  // Goes back to the first line (input files only).
  virtual void Rewind() = 0;
  // Reads every line left, as ReadLine would one by one, and leaves the file
  // at its end. A file may hand over the lines it holds rather than copy
  // them, so what Rewind finds afterwards is up to the file.
  virtual std::vector<std::string> ReadRemainingLines();
  // Flushes and closes. Throws Error 75 if the data could not be written.
  // Closing twice is harmless; the destructor closes without throwing.
  virtual void Close() = 0;
};

enum class OpenMode { kInput, kOutput };

enum class MessageStyle { kPlain, kExclamation, kCritical, kQuestion };

// Title of a message shown without one of its own: the component's name, as
// the classic message box shows.
inline constexpr const char* kDefaultMessageTitle = "MandorDLL";

struct FolderEntry {
  std::string name;  // file name alone
  std::string path;  // full path
};

class Platform {
 public:
  Platform();
  virtual ~Platform();

  // --- file system (paths are UTF-8) ---
  virtual bool FileExists(const std::string& path) = 0;
  // Copies, overwriting the target. Error 53 when from is missing, 75 otherwise.
  virtual void CopyFile(const std::string& from, const std::string& to) = 0;
  // Deletes, read-only files too. Error 53 when the file is missing, 75 otherwise.
  virtual void DeleteFile(const std::string& path) = 0;
  // Renames, replacing the target atomically when it exists. Error 53 / 75.
  virtual void RenameFile(const std::string& from, const std::string& to) = 0;
  // The regular files of a folder, sorted by name. Error 76 when the folder is missing.
  virtual std::vector<FolderEntry> ListFolder(const std::string& folder) = 0;
  // Opens a text file. Input on a missing file: Error 53; output creates or
  // truncates the file; a failure to create it: Error 75.
  virtual std::unique_ptr<TextFile> OpenTextFile(const std::string& path, OpenMode mode) = 0;
  // The whole content of a file as raw bytes. Error 53 when it is missing, 75
  // when it cannot be read.
  virtual std::string ReadFileBytes(const std::string& path) = 0;
  // Creates or truncates a file and writes bytes to it. Error 75 on failure
  // (the file may then be left partly written: write to a temporary file and
  // rename it when that matters).
  virtual void WriteFileBytes(const std::string& path, std::string_view bytes) = 0;

  // --- replacing a file safely ---
  // Every save that replaces a file goes through ReplaceFile or
  // ReplaceFileBytes: the new content is written to a temporary file of the
  // target's folder, made durable, then renamed over the target. The target
  // is therefore, at any moment and after a crash or a power cut, either its
  // old content or its complete new content; a user's file is never used as
  // the temporary file.
  //
  // Creates a new, empty file in the folder of target under a name that no
  // file bears yet (created exclusively: an existing file is never opened or
  // truncated) and returns its path. The name starts with the target's and
  // ends in ".tmp". Error 75 when no such file can be created.
  virtual std::string CreateTemporaryFile(const std::string& target);
  // Puts a complete temporary file in place: flushes its content to the
  // device, renames it over target (replacing the target atomically) and
  // flushes the folder so that the rename itself survives a power cut.
  // Error 53 when temporary is missing, 75 otherwise; on failure the target
  // is unchanged.
  virtual void CommitFile(const std::string& temporary, const std::string& target);
  // Creates a temporary file for target, lets write fill it (write gets its
  // path and may open it for output), then commits it over target. When
  // write or the commit throws, the temporary file is removed (quietly) and
  // the exception goes on; the target is then as it was.
  void ReplaceFile(const std::string& target, const std::function<void(const std::string& temporary)>& write);
  // ReplaceFile with bytes as the whole new content.
  void ReplaceFileBytes(const std::string& target, std::string_view bytes);

  // --- messages ---
  // Shows a modal message with an OK button.
  virtual void Message(const std::string& text, const std::string& title, MessageStyle style) = 0;
  // Asks a Yes/No question; true means Yes.
  virtual bool AskYesNo(const std::string& text, const std::string& title) = 0;

  // --- randomness ---
  // A random number in [0, 1).
  virtual double Random() = 0;

  // --- regional settings ---
  const Locale& locale() const { return locale_; }
  void SetLocale(Locale locale) { locale_ = std::move(locale); }

 private:
  Locale locale_;
};

// The real platform: the POSIX file system, messages written to standard
// error (questions answered No, so that nothing is overwritten without a
// host's consent), the locale of the process environment.
class SystemPlatform : public Platform {
 public:
  SystemPlatform();
  bool FileExists(const std::string& path) override;
  void CopyFile(const std::string& from, const std::string& to) override;
  void DeleteFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  std::vector<FolderEntry> ListFolder(const std::string& folder) override;
  std::unique_ptr<TextFile> OpenTextFile(const std::string& path, OpenMode mode) override;
  std::string ReadFileBytes(const std::string& path) override;
  void WriteFileBytes(const std::string& path, std::string_view bytes) override;
  // O_CREAT | O_EXCL (CREATE_NEW on Windows) under a random name.
  std::string CreateTemporaryFile(const std::string& target) override;
  // fsync of the file, rename(2), fsync of the folder; on Windows
  // FlushFileBuffers, then MoveFileExW(MOVEFILE_REPLACE_EXISTING |
  // MOVEFILE_WRITE_THROUGH).
  void CommitFile(const std::string& temporary, const std::string& target) override;
  void Message(const std::string& text, const std::string& title, MessageStyle style) override;
  bool AskYesNo(const std::string& text, const std::string& title) override;
  double Random() override;
};

// The name of a temporary file beside target: target's name, ".~", the low
// 32 bits of n in 8 hexadecimal digits, ".tmp". Platforms draw n at random
// (or count) and create the file exclusively.
std::string TemporaryFileName(const std::string& target, uint64_t n);

// The platform the library currently uses. Never null.
Platform& CurrentPlatform();
// Installs a platform; nullptr restores a fresh SystemPlatform.
void SetPlatform(std::shared_ptr<Platform> platform);
// The shared pointer behind CurrentPlatform(), to restore it later.
std::shared_ptr<Platform> CurrentPlatformPtr();

// Installs a platform for the lifetime of the guard, then restores the previous one.
class ScopedPlatform {
 public:
  explicit ScopedPlatform(std::shared_ptr<Platform> platform);
  ~ScopedPlatform();
  ScopedPlatform(const ScopedPlatform&) = delete;
  ScopedPlatform& operator=(const ScopedPlatform&) = delete;

 private:
  std::shared_ptr<Platform> previous_;
};

}  // namespace mandor

#endif  // MANDOR_UTIL_PLATFORM_H_
