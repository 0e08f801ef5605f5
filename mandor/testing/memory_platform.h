// MemoryPlatform is a Platform that keeps its files in memory, records the
// messages shown and answers questions from a script. Tests of every part of
// the library use it (hosts may too) to run without touching the disk, to
// inspect the exact bytes a writer produced and to make any file operation
// fail on purpose.
//
// Files are raw bytes, as they would be on disk (Windows-1252, CR LF line
// ends), in a map keyed by the path string exactly as given. Folders are
// implied by paths: "dir/a.xnf" makes the folder "dir" exist; only "/"
// separates path components. A file open for output writes through at each
// line, like a real file system: what has been written is visible at once,
// and a save that fails part-way leaves a truncated file behind. A file open
// for input reads the content it had at open. Deleting or renaming a file
// that is open for output behaves as on POSIX: the open file keeps writing
// to the content it was opened on.
//
// Durability is modelled too: content written through a file open for
// output, WriteFileBytes or CopyFile is volatile until CommitFile flushes
// it, and SimulatePowerLoss() turns every volatile file into what a power
// cut leaves of an unflushed file (empty), while committed files and files
// set with SetFileBytes keep their content.
//
// The locale starts as Locale::Point() (not the process environment) so that
// tests behave the same on every machine; call SetLocale to change it.
//
// It is a testing header, not part of mandor/mandor.h; the implementation is
// in the library.
//
// Usage:
//   auto platform = std::make_shared<MemoryPlatform>();
//   platform->SetFileText("dir/doc.xnf", "[Pages]\r\n");
//   platform->FailOn(MemoryPlatform::Operation::kOpenOutput, ".xak");
//   ScopedPlatform scope(platform);
//   ...
//   EXPECT_EQ(platform->messages().size(), 1u);
//
// Threading: single-threaded; a MemoryPlatform is a test double used by the
// one thread that runs the test.
#ifndef MANDOR_TESTING_MEMORY_PLATFORM_H_
#define MANDOR_TESTING_MEMORY_PLATFORM_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/error.h"
#include "mandor/util/platform.h"

namespace mandor {

class MemoryPlatform : public Platform {
 public:
  // The operations that FailOn can make fail.
  // A temporary file's creation counts as kOpenOutput; CommitFile checks
  // kFlush on the temporary file, then kRename.
  enum class Operation { kCopy, kDelete, kRename, kOpenInput, kOpenOutput, kWrite, kClose, kList, kFlush };

  // A message or a question shown through the platform.
  struct RecordedMessage {
    std::string text;
    std::string title;
    MessageStyle style;
  };

  MemoryPlatform();
  explicit MemoryPlatform(Locale locale);
  ~MemoryPlatform() override;
  MemoryPlatform(const MemoryPlatform&) = delete;
  MemoryPlatform& operator=(const MemoryPlatform&) = delete;

  // --- Platform ---
  bool FileExists(const std::string& path) override;
  void CopyFile(const std::string& from, const std::string& to) override;
  void DeleteFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  // Lists the files directly under "dir" (or "dir/"); "" lists the files
  // whose path holds no "/". Error 76 when no file lies under the folder and
  // it was not created with CreateFolder.
  std::vector<FolderEntry> ListFolder(const std::string& folder) override;
  std::unique_ptr<TextFile> OpenTextFile(const std::string& path, OpenMode mode) override;
  // Honours the kOpenInput failures.
  std::string ReadFileBytes(const std::string& path) override;
  // Honours the kOpenOutput, kWrite and kClose failures; a write limit of
  // FailWriteAfter counts the whole content as one line, and a failed write
  // leaves the file truncated, as a full disk would.
  void WriteFileBytes(const std::string& path, std::string_view bytes) override;
  // Names counted from 1; exclusive (an existing file is skipped, never
  // touched). Honours the kOpenOutput failures.
  std::string CreateTemporaryFile(const std::string& target) override;
  // Makes the temporary file durable and renames it over target. Honours
  // the kFlush and kRename failures.
  void CommitFile(const std::string& temporary, const std::string& target) override;
  void Message(const std::string& text, const std::string& title, MessageStyle style) override;
  // Records the question (style kQuestion) and returns the next queued
  // answer, or the standing answer (No unless SetAnswer changed it).
  bool AskYesNo(const std::string& text, const std::string& title) override;
  // The next queued value, or else the next value of a seeded linear
  // congruential generator (seed 1 unless SeedRandom changed it).
  double Random() override;

  // --- files ---
  // Creates or replaces a file's raw bytes; a read-only flag is kept.
  void SetFileBytes(const std::string& path, std::string_view bytes);
  // Stores UTF-8 text as Windows-1252 bytes (line ends are kept as given).
  void SetFileText(const std::string& path, std::string_view utf8);
  // The raw bytes of a file, or nothing when it does not exist.
  std::optional<std::string> FileBytes(const std::string& path) const;
  // The content decoded to UTF-8, or nothing when the file does not exist.
  std::optional<std::string> FileText(const std::string& path) const;
  // The lines as a TextFile would read them, or nothing when the file does
  // not exist.
  std::optional<std::vector<std::string>> FileLines(const std::string& path) const;
  // Marks a file read-only (or writable again). Error 53 when it is missing.
  void SetReadOnly(const std::string& path, bool read_only = true);
  bool IsReadOnly(const std::string& path) const;
  // Makes an empty folder exist.
  void CreateFolder(const std::string& folder);
  // Every file path, sorted.
  std::vector<std::string> Paths() const;
  // The number of text files opened and not yet closed.
  size_t OpenFileCount() const;
  // What a power cut leaves: every file written since it was last flushed
  // (by CommitFile) or set (SetFileBytes) becomes empty.
  void SimulatePowerLoss();
  // The number of CommitFile calls that succeeded.
  size_t CommitCount() const;

  // --- failure injection ---
  // Makes every later `op` whose path (either path, for copy and rename)
  // contains path_substring throw Error error_number. An empty substring
  // matches every path. Lasts until ClearFailures().
  void FailOn(Operation op, std::string path_substring, int error_number = kPathFileAccessError);
  // Lets `lines` more lines be written to the files whose path contains
  // path_substring, then makes every later WriteLine on them throw Error
  // error_number, as a full disk would. FailWriteAfter(0) fails the next
  // write. Lasts until ClearFailures().
  void FailWriteAfter(size_t lines, std::string path_substring = "",
                      int error_number = kPathFileAccessError);
  void ClearFailures();

  // --- messages ---
  const std::vector<RecordedMessage>& messages() const;
  // The questions asked through AskYesNo, in order.
  const std::vector<RecordedMessage>& questions() const;
  void ClearMessages();  // forgets messages and questions
  // The standing answer to every question.
  void SetAnswer(bool yes);
  // An answer used once, before the standing answer; queued answers are used
  // in the order given.
  void QueueAnswer(bool yes);

  // --- randomness ---
  void SeedRandom(uint64_t seed);
  // Values Random() returns first, in order.
  void QueueRandom(std::vector<double> values);

  struct State;  // defined in memory_platform.cpp; shared with the open files

 private:
  std::shared_ptr<State> state_;
};

}  // namespace mandor

#endif  // MANDOR_TESTING_MEMORY_PLATFORM_H_
