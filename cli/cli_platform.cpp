#include "cli/cli_platform.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "mandor/util/error.h"

namespace mandor_cli {

namespace {

// Appends text with each line break (CR LF, LF or CR) written as "\n".
void AppendEscaped(std::string& line, const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;  // CR LF is one break
      line += "\\n";
    } else if (c == '\n') {
      line += "\\n";
    } else {
      line += c;
    }
  }
}

}  // namespace

const char* StyleName(mandor::MessageStyle style) {
  switch (style) {
    case mandor::MessageStyle::kExclamation:
      return "exclamation";
    case mandor::MessageStyle::kCritical:
      return "critical";
    case mandor::MessageStyle::kQuestion:
      return "question";
    case mandor::MessageStyle::kPlain:
      break;
  }
  return "plain";
}

std::string MessageLine(const std::string& title, const std::string& text) {
  std::string line = "[";
  AppendEscaped(line, title);
  line += "] ";
  AppendEscaped(line, text);
  return line;
}

CliPlatform::CliPlatform(std::ostream& out, bool answer_yes) : out_(out), answer_yes_(answer_yes) {}

void CliPlatform::Record(const std::string& text, const std::string& title, mandor::MessageStyle style) {
  const std::string& shown_title = title.empty() ? std::string(mandor::kDefaultMessageTitle) : title;
  messages_.push_back({shown_title, text, style});
  out_ << MessageLine(shown_title, text) << '\n';
  out_.flush();
}

void CliPlatform::Message(const std::string& text, const std::string& title, mandor::MessageStyle style) {
  Record(text, title, style);
}

bool CliPlatform::AskYesNo(const std::string& text, const std::string& title) {
  Record(text, title, mandor::MessageStyle::kQuestion);
  return answer_yes_;
}

}  // namespace mandor_cli

namespace mandor_cli {

namespace {

// Runs a file operation of SystemPlatform; an Error it throws comes back
// with the same number and "PATH: REASON" added to its description.
template <class Operation>
auto Guarded(CliPlatform& platform, const std::string& path, Operation operation) -> decltype(operation()) {
  errno = 0;
  try {
    return operation();
  } catch (const mandor::Error& e) {
    const int saved = errno;
    const std::string& where =
        platform.RecordFileError(path, saved != 0 ? saved : e.number() == mandor::kFileNotFound ? ENOENT : 0,
                                 e.what());
    throw mandor::Error(e.number(), std::string(e.what()) + " (" + where + ")");
  }
}

// An output file whose write and close failures name the file and the reason.
class GuardedTextFile : public mandor::TextFile {
 public:
  GuardedTextFile(CliPlatform& platform, std::string path, std::unique_ptr<mandor::TextFile> file)
      : platform_(platform), path_(std::move(path)), file_(std::move(file)) {}
  std::string ReadLine() override { return file_->ReadLine(); }
  bool AtEnd() const override { return file_->AtEnd(); }
  void WriteLine(std::string_view text) override {
    Guarded(platform_, path_, [&] { file_->WriteLine(text); });
  }
  void Rewind() override { file_->Rewind(); }
  std::vector<std::string> ReadRemainingLines() override { return file_->ReadRemainingLines(); }
  void Close() override {
    Guarded(platform_, path_, [&] { file_->Close(); });
  }

 private:
  CliPlatform& platform_;
  std::string path_;
  std::unique_ptr<mandor::TextFile> file_;
};

bool IsFolder(const std::string& path) {
  struct stat status {};
  return !path.empty() && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

const std::string& CliPlatform::RecordFileError(const std::string& path, int error_number, const char* fallback) {
  if (error_number == 0 && IsFolder(path)) error_number = EISDIR;
  last_file_error_ = path + ": " + (error_number != 0 ? std::strerror(error_number) : fallback);
  return last_file_error_;
}

void CliPlatform::CopyFile(const std::string& from, const std::string& to) {
  // The source is named when it is missing, the target otherwise.
  const std::string& named = SystemPlatform::FileExists(from) ? to : from;
  Guarded(*this, named, [&] { SystemPlatform::CopyFile(from, to); });
}

void CliPlatform::DeleteFile(const std::string& path) {
  Guarded(*this, path, [&] { SystemPlatform::DeleteFile(path); });
}

void CliPlatform::RenameFile(const std::string& from, const std::string& to) {
  const std::string& named = SystemPlatform::FileExists(from) ? to : from;
  Guarded(*this, named, [&] { SystemPlatform::RenameFile(from, to); });
}

std::unique_ptr<mandor::TextFile> CliPlatform::OpenTextFile(const std::string& path, mandor::OpenMode mode) {
  std::unique_ptr<mandor::TextFile> file = Guarded(*this, path, [&] { return SystemPlatform::OpenTextFile(path, mode); });
  if (mode == mandor::OpenMode::kInput) return file;
  return std::make_unique<GuardedTextFile>(*this, path, std::move(file));
}

std::string CliPlatform::ReadFileBytes(const std::string& path) {
  return Guarded(*this, path, [&] { return SystemPlatform::ReadFileBytes(path); });
}

void CliPlatform::WriteFileBytes(const std::string& path, std::string_view bytes) {
  Guarded(*this, path, [&] { SystemPlatform::WriteFileBytes(path, bytes); });
}

// The target is named: it is the file the user asked for, and the folder
// where the temporary file goes is the target's.
std::string CliPlatform::CreateTemporaryFile(const std::string& target) {
  return Guarded(*this, target, [&] { return SystemPlatform::CreateTemporaryFile(target); });
}

void CliPlatform::CommitFile(const std::string& temporary, const std::string& target) {
  Guarded(*this, target, [&] { SystemPlatform::CommitFile(temporary, target); });
}

CliPlatform* CurrentCliPlatform() { return dynamic_cast<CliPlatform*>(&mandor::CurrentPlatform()); }

}  // namespace mandor_cli
