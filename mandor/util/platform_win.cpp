// The Windows side of SystemPlatform: real modal message boxes, and the
// decimal separator of the user's regional settings. For automated runs
// (tests under Wine, scheduled jobs) the environment variable
// MANDOR_UNATTENDED turns message boxes into lines on standard error,
// "[TITLE] TEXT", and answers questions Yes when it is "yes", No otherwise.
#ifdef _WIN32

#include <windows.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "mandor/util/locale.h"
#include "mandor/util/platform.h"
#include "mandor/util/text.h"

namespace mandor {

namespace {

std::wstring Wide(const std::string& utf8) {
  if (utf8.empty()) return {};
  const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(n), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), n);
  return wide;
}

// The value of MANDOR_UNATTENDED, or null when message boxes are shown.
const char* Unattended() {
  const char* value = std::getenv("MANDOR_UNATTENDED");
  return value != nullptr && *value != '\0' ? value : nullptr;
}

void Log(const std::string& text, const std::string& title) {
  std::string line = "[" + (title.empty() ? std::string(kDefaultMessageTitle) : title) + "] " +
                     ReplaceAll(ReplaceAll(text, "\r\n", "\\n"), "\n", "\\n");
  std::cerr << line << std::endl;
  OutputDebugStringW(Wide(line + "\n").c_str());
}

int Show(const std::string& text, const std::string& title, UINT flags) {
  const std::wstring caption = Wide(title.empty() ? std::string(kDefaultMessageTitle) : title);
  return MessageBoxW(GetActiveWindow(), Wide(text).c_str(), caption.c_str(), flags | MB_TASKMODAL | MB_SETFOREGROUND);
}

}  // namespace

void SystemPlatform::Message(const std::string& text, const std::string& title, MessageStyle style) {
  if (Unattended() != nullptr) {
    Log(text, title);
    return;
  }
  UINT icon = 0;
  switch (style) {
    case MessageStyle::kExclamation: icon = MB_ICONEXCLAMATION; break;
    case MessageStyle::kCritical: icon = MB_ICONERROR; break;
    case MessageStyle::kQuestion: icon = MB_ICONQUESTION; break;
    case MessageStyle::kPlain: break;
  }
  Show(text, title, MB_OK | icon);
}

bool SystemPlatform::AskYesNo(const std::string& text, const std::string& title) {
  if (const char* answer = Unattended()) {
    Log(text, title);
    return EqualsIgnoreCase(answer, "yes");
  }
  return Show(text, title, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

Locale WindowsUserLocale() {
  wchar_t separator[8] = {};
  if (GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_SDECIMAL, separator, 8) > 0 && separator[0] == L',') {
    return Locale::Comma();
  }
  return Locale::Point();
}

}  // namespace mandor

#endif  // _WIN32
