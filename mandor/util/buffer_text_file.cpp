#include "mandor/util/internal/buffer_text_file.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "mandor/util/error.h"
#include "mandor/util/internal/cp1252.h"

namespace mandor {

namespace {

[[noreturn]] void ThrowClosed() { ThrowError(kBadFileNameOrNumber, "Bad file name or number"); }

}  // namespace

std::vector<std::string> DecodeTextLines(std::string_view bytes) {
  // A file with CR LF line ends (every file the writers make) ends its lines
  // there only: a lone LF or CR is part of a value, which the format does
  // not escape. A file without any CR LF (edited on Linux) ends them at LF.
  const std::string_view line_end = bytes.find("\r\n") != std::string_view::npos ? "\r\n" : "\n";
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < bytes.size()) {
    const size_t end = bytes.find(line_end, start);
    if (end == std::string_view::npos) {
      lines.push_back(Windows1252ToUtf8(bytes.substr(start)));  // last line, no line end
      break;
    }
    lines.push_back(Windows1252ToUtf8(bytes.substr(start, end - start)));
    start = end + line_end.size();
  }
  return lines;
}

std::string EncodeTextLine(std::string_view utf8) {
  std::string out = Utf8ToWindows1252(utf8);
  out += "\r\n";
  return out;
}

// --- BufferTextFile ---

BufferTextFile::BufferTextFile(std::string_view bytes, std::function<void()> on_close)
    : lines_(DecodeTextLines(bytes)), on_close_(std::move(on_close)) {}

BufferTextFile::~BufferTextFile() { Close(); }

std::string BufferTextFile::ReadLine() {
  if (closed_) ThrowClosed();
  if (next_ >= lines_.size()) ThrowError(kInputPastEndOfFile);
  return lines_[next_++];
}

bool BufferTextFile::AtEnd() const { return closed_ || next_ >= lines_.size(); }

void BufferTextFile::WriteLine(std::string_view) {
  if (closed_) ThrowClosed();
  ThrowError(kBadFileMode);
}

void BufferTextFile::Rewind() {
  if (closed_) ThrowClosed();
  next_ = 0;
}

std::vector<std::string> BufferTextFile::ReadRemainingLines() {
  if (closed_) ThrowClosed();
  std::vector<std::string> rest;
  if (next_ == 0) {
    rest.swap(lines_);  // the whole file: no line to move one by one
  } else {
    const auto first = lines_.begin() + static_cast<std::ptrdiff_t>(next_);
    rest.assign(std::make_move_iterator(first), std::make_move_iterator(lines_.end()));
    lines_.erase(first, lines_.end());
  }
  return rest;
}

void BufferTextFile::Close() {
  if (closed_) return;
  closed_ = true;
  lines_.clear();
  if (on_close_) on_close_();
}

// --- OutputTextFile ---

std::string OutputTextFile::ReadLine() {
  if (closed_) ThrowClosed();
  ThrowError(kBadFileMode);
}

void OutputTextFile::WriteLine(std::string_view text) {
  if (closed_) ThrowClosed();
  WriteBytes(EncodeTextLine(text));
}

void OutputTextFile::Rewind() {
  if (closed_) ThrowClosed();
  ThrowError(kBadFileMode);
}

void OutputTextFile::Close() {
  if (closed_) return;
  closed_ = true;
  CloseBytes();
}

void OutputTextFile::CloseQuietly() noexcept {
  try {
    Close();
  } catch (...) {
    // A destructor cannot report a failure; Close() is the place to see it.
  }
}

}  // namespace mandor
