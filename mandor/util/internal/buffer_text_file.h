// The line-splitting and encoding core shared by every TextFile of the
// library, so that the real file system and the in-memory one read and write
// exactly the same way.
//
// Reading: the whole file is read at open and split into lines. Line ends are
// decided per file: a file that holds a CR LF anywhere ends its lines at CR
// LF only, and a lone LF or CR is an ordinary character of its line (a value
// may hold one: the format escapes only CR LF); a file without any CR LF
// (edited on Linux) ends its lines at LF. A last line without a line end is
// still a line, so "a\r\n" and "a" both hold one line and an empty file
// holds none. Each line is decoded from
// Windows-1252 to UTF-8.
//
// Writing: each line is encoded to Windows-1252 ("?" for a character the code
// page cannot hold) and followed by CR LF; a storage-specific subclass
// receives the bytes.
//
// Any operation but AtEnd and Close on a closed file throws Error 52 (bad
// file name or number).
//
// Threading: single-threaded, as the whole model is: a file object is used by
// one thread at a time (the host's); nothing here locks, and nothing is
// shared between threads but what the platform holds.
#ifndef MANDOR_UTIL_INTERNAL_BUFFER_TEXT_FILE_H_
#define MANDOR_UTIL_INTERNAL_BUFFER_TEXT_FILE_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/platform.h"

namespace mandor {

// Splits Windows-1252 file content into UTF-8 lines, without their line ends.
std::vector<std::string> DecodeTextLines(std::string_view bytes);

// Encodes one UTF-8 line to Windows-1252 followed by CR LF.
std::string EncodeTextLine(std::string_view utf8);

// A file open for input, holding the lines read at open.
class BufferTextFile : public TextFile {
 public:
  // on_close, when set, runs once: at Close or at destruction.
  explicit BufferTextFile(std::string_view bytes, std::function<void()> on_close = {});
  ~BufferTextFile() override;
  BufferTextFile(const BufferTextFile&) = delete;
  BufferTextFile& operator=(const BufferTextFile&) = delete;

  std::string ReadLine() override;     // Error 62 at the end
  bool AtEnd() const override;
  void WriteLine(std::string_view text) override;  // Error 54
  void Rewind() override;
  // Hands the lines over: Rewind afterwards finds only those read before.
  std::vector<std::string> ReadRemainingLines() override;
  void Close() override;

 private:
  std::vector<std::string> lines_;
  size_t next_ = 0;
  bool closed_ = false;
  std::function<void()> on_close_;
};

// Base of the files open for output: encodes lines and passes the bytes on.
// A subclass's destructor must call CloseQuietly().
class OutputTextFile : public TextFile {
 public:
  std::string ReadLine() override;     // Error 54
  bool AtEnd() const override { return true; }
  void WriteLine(std::string_view text) override;
  void Rewind() override;              // Error 54
  void Close() override;

 protected:
  // Stores bytes; throws Error 75 (or an injected error) when it cannot.
  virtual void WriteBytes(std::string_view bytes) = 0;
  // Flushes and releases the storage; called once. May throw after
  // releasing everything.
  virtual void CloseBytes() = 0;
  // Closes and swallows any error.
  void CloseQuietly() noexcept;
  bool closed() const { return closed_; }

 private:
  bool closed_ = false;
};

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_BUFFER_TEXT_FILE_H_
