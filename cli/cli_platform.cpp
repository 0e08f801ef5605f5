#include "cli/cli_platform.h"

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
