// CliPlatform is the platform the `mandor` command installs: the real file
// system of SystemPlatform, with every message box of the library printed to
// standard error as one line "[TITLE] TEXT" (line breaks inside the text
// written as the two characters \n) and kept, in order, for the JSON of
// `mandor dump`. Questions are printed the same way and answered No, or Yes
// when the user passed --yes.
#ifndef MANDOR_CLI_CLI_PLATFORM_H_
#define MANDOR_CLI_CLI_PLATFORM_H_

#include <ostream>
#include <string>
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

  const std::vector<RecordedMessage>& messages() const { return messages_; }

 private:
  void Record(const std::string& text, const std::string& title, mandor::MessageStyle style);

  std::ostream& out_;
  bool answer_yes_;
  std::vector<RecordedMessage> messages_;
};

}  // namespace mandor_cli

#endif  // MANDOR_CLI_CLI_PLATFORM_H_
