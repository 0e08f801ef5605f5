#include "cli/output.h"

#include <unistd.h>

#include <cerrno>

namespace mandor_cli {

namespace {

constexpr size_t kBufferSize = 1 << 16;

void AppendEscape(std::string& out, unsigned char c) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += "\\u00";
  out += kHex[c >> 4];
  out += kHex[c & 15];
}

bool IsC0OrDel(unsigned char c) { return (c < 0x20 && c != '\n' && c != '\t') || c == 0x7f; }

}  // namespace

std::string PrintableText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (IsC0OrDel(c)) {
      AppendEscape(out, c);
    } else if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
               static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
      AppendEscape(out, static_cast<unsigned char>(text[++i]));
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

FdStreamBuf::FdStreamBuf(int fd) : fd_(fd) { buffer_.reserve(kBufferSize + 8); }

FdStreamBuf::~FdStreamBuf() { Flush(true); }

void FdStreamBuf::Put(char ch) {
  const unsigned char c = static_cast<unsigned char>(ch);
  if (after_c2_) {
    after_c2_ = false;
    if (c >= 0x80 && c <= 0x9F) {
      buffer_.pop_back();  // the 0xC2 held back below
      AppendEscape(buffer_, c);
      return;
    }
  }
  if (IsC0OrDel(c)) {
    AppendEscape(buffer_, c);
    return;
  }
  buffer_ += ch;
  if (c == 0xC2) {
    after_c2_ = true;
    return;  // never flush between 0xC2 and the byte that decides
  }
  if (buffer_.size() >= kBufferSize) Flush();
}

bool FdStreamBuf::Flush(bool final) {
  // A 0xC2 at the very end waits for its next byte, unless the stream ends.
  size_t end = buffer_.size();
  if (after_c2_ && !final && end > 0) --end;
  size_t done = 0;
  while (done < end && error_ == 0) {
    const ssize_t n = ::write(fd_, buffer_.data() + done, end - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      error_ = errno;
      break;
    }
    done += static_cast<size_t>(n);
    written_ += static_cast<unsigned long long>(n);
  }
  if (error_ != 0) {
    buffer_.clear();  // nothing more can be written; do not grow
    after_c2_ = false;
    return false;
  }
  buffer_.erase(0, done);
  return true;
}

FdStreamBuf::int_type FdStreamBuf::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return Flush() ? 0 : traits_type::eof();
  if (error_ != 0) return traits_type::eof();
  Put(traits_type::to_char_type(c));
  return error_ == 0 ? c : traits_type::eof();
}

std::streamsize FdStreamBuf::xsputn(const char* s, std::streamsize n) {
  if (error_ != 0) return 0;
  for (std::streamsize i = 0; i < n; ++i) {
    Put(s[i]);
    if (error_ != 0) return i;
  }
  return n;
}

int FdStreamBuf::sync() { return Flush() ? 0 : -1; }

StandardStream::StandardStream(std::ostream& stream, int fd)
    : stream_(stream), buffer_(fd), previous_(stream.rdbuf(&buffer_)) {}

StandardStream::~StandardStream() {
  stream_.flush();
  stream_.rdbuf(previous_);
}

bool StandardStream::Flush() {
  stream_.flush();
  return buffer_.error() == 0 && stream_.good();
}

}  // namespace mandor_cli
