// The standard streams of the `mandor` program. StandardStream replaces the
// buffer of std::cout or std::cerr with one that writes straight to the file
// descriptor, turns control characters (which may come from a marking file:
// a field name, a message) into visible "\u001b" escapes so that nothing
// read from a file can drive the terminal, and remembers why a write failed
// ("No space left on device", a closed pipe), so that the program can exit
// with status 1 and the reason instead of losing output silently.
//
// Thread safety: none; the program is single-threaded.
#ifndef MANDOR_CLI_OUTPUT_H_
#define MANDOR_CLI_OUTPUT_H_

#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>

namespace mandor_cli {

// text with every C0 control character but line feed and tab, DEL and every
// C1 control character (U+0080 to U+009F) written as "\u00XX".
std::string PrintableText(std::string_view text);

// Standard output stopped taking what the command writes (a full disk, a
// closed pipe): the program stops the work, says why and exits with status 1.
class OutputFailure : public std::runtime_error {
 public:
  OutputFailure() : std::runtime_error("standard output failed") {}
};

// Throws OutputFailure when `out` can no longer be written; long outputs
// call it now and then so as not to work on for nothing.
inline void CheckOutput(const std::ostream& out) {
  if (!out.good()) throw OutputFailure();
}

class FdStreamBuf : public std::streambuf {
 public:
  explicit FdStreamBuf(int fd);
  ~FdStreamBuf() override;
  FdStreamBuf(const FdStreamBuf&) = delete;
  FdStreamBuf& operator=(const FdStreamBuf&) = delete;

  // The errno of the first failed write, 0 when every write succeeded.
  int error() const { return error_; }
  // Bytes the descriptor accepted.
  unsigned long long written() const { return written_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* s, std::streamsize n) override;
  int sync() override;

 private:
  void Put(char c);
  bool Flush(bool final = false);

  int fd_;
  int error_ = 0;
  unsigned long long written_ = 0;
  bool after_c2_ = false;  // the last byte was 0xC2, which may start a C1 control
  std::string buffer_;
};

// Routes `stream` through a FdStreamBuf on `fd` for its lifetime, then puts
// the old buffer back.
class StandardStream {
 public:
  StandardStream(std::ostream& stream, int fd);
  ~StandardStream();
  StandardStream(const StandardStream&) = delete;
  StandardStream& operator=(const StandardStream&) = delete;

  // Flushes; true when everything written so far reached the descriptor.
  bool Flush();
  int error() const { return buffer_.error(); }
  unsigned long long written() const { return buffer_.written(); }

 private:
  std::ostream& stream_;
  FdStreamBuf buffer_;
  std::streambuf* previous_;
};

}  // namespace mandor_cli

#endif  // MANDOR_CLI_OUTPUT_H_
