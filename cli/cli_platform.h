// CliPlatform is the platform the `mandor` command installs: the real file
// system of SystemPlatform, with every message box of the library printed to
// standard error as one line "[TITLE] TEXT" (line breaks inside the text
// written as the two characters \n) and kept, in order, for the JSON of
// `mandor dump`. Questions are printed the same way and answered No, or Yes
// when the user passed --yes. Its file operations are those of
// SystemPlatform, but a failure names the file and the system's reason
// ("Permission denied", "No space left on device") beside the automation
// error number, and the last such failure is kept for the command's own
// report when the library swallowed the error.
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_CLI_PLATFORM_H_
#define MANDOR_CLI_CLI_PLATFORM_H_

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/platform.h"

namespace mandor_cli {

struct RecordedMessage {
  std::string title;
  std::string text;
  mandor::MessageStyle style;
};

// "plain", "exclamation", "critical" or "question".
const char* StyleName(mandor::MessageStyle style);

// The one-line form of a message: "[TITLE] TEXT" with CR LF, LF and CR inside
// either part written as the two characters "\n", so that every message
// stays on one line.
std::string MessageLine(const std::string& title, const std::string& text);

class CliPlatform : public mandor::SystemPlatform {
 public:
  // Messages go to `out` (standard error in the program).
  CliPlatform(std::ostream& out, bool answer_yes);

  void Message(const std::string& text, const std::string& title, mandor::MessageStyle style) override;
  bool AskYesNo(const std::string& text, const std::string& title) override;

  void CopyFile(const std::string& from, const std::string& to) override;
  void DeleteFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  std::unique_ptr<mandor::TextFile> OpenTextFile(const std::string& path, mandor::OpenMode mode) override;
  std::string ReadFileBytes(const std::string& path) override;
  void WriteFileBytes(const std::string& path, std::string_view bytes) override;
  std::string CreateTemporaryFile(const std::string& target) override;
  void CommitFile(const std::string& temporary, const std::string& target) override;

  const std::vector<RecordedMessage>& messages() const { return messages_; }

  // "PATH: REASON" of the last file operation that failed, or "".
  const std::string& last_file_error() const { return last_file_error_; }
  void ClearFileError() { last_file_error_.clear(); }
  // Records a failure on path with the system's reason for errno
  // (or `fallback` when errno says nothing) and returns "PATH: REASON".
  const std::string& RecordFileError(const std::string& path, int error_number, const char* fallback);

 private:
  void Record(const std::string& text, const std::string& title, mandor::MessageStyle style);

  std::ostream& out_;
  bool answer_yes_;
  std::vector<RecordedMessage> messages_;
  std::string last_file_error_;
};

// The installed platform when it is a CliPlatform, else nullptr.
CliPlatform* CurrentCliPlatform();

}  // namespace mandor_cli

#endif  // MANDOR_CLI_CLI_PLATFORM_H_
