// The Windows side of SystemPlatform: real modal message boxes, and the
// decimal separator of the user's regional settings. For automated runs
// (tests under Wine, scheduled jobs) the environment variable
// MANDOR_UNATTENDED turns message boxes into lines on standard error,
// "[TITLE] TEXT", and answers questions Yes when it is "yes", No otherwise.
#ifdef _WIN32

#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "mandor/util/error.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/internal/wide.h"
#include "mandor/util/locale.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

// The value of MANDOR_UNATTENDED, or null when message boxes are shown.
const char* Unattended() {
  const char* value = std::getenv("MANDOR_UNATTENDED");
  return value != nullptr && *value != '\0' ? value : nullptr;
}

void Log(const std::string& text, const std::string& title) {
  std::string line = "[" + (title.empty() ? std::string(kDefaultMessageTitle) : title) + "] " +
                     ReplaceAll(ReplaceAll(text, "\r\n", "\\n"), "\n", "\\n");
  std::cerr << line << std::endl;
  OutputDebugStringW(Utf8ToWide(line + "\n").c_str());
}

int Show(const std::string& text, const std::string& title, UINT flags) {
  const std::wstring caption = Utf8ToWide(title.empty() ? std::string(kDefaultMessageTitle) : title);
  return MessageBoxW(GetActiveWindow(), Utf8ToWide(text).c_str(), caption.c_str(), flags | MB_TASKMODAL | MB_SETFOREGROUND);
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

std::string SystemPlatform::CreateTemporaryFile(const std::string& target) {
  static std::mt19937_64 generator{std::random_device{}()};
  for (int attempt = 0; attempt < 64; ++attempt) {
    const std::string path = TemporaryFileName(target, generator());
    const HANDLE file = CreateFileW(Utf8ToWide(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      CloseHandle(file);
      return path;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  ThrowError(kPathFileAccessError, "No temporary file can be created beside " + target);
}

void SystemPlatform::CommitFile(const std::string& temporary, const std::string& target) {
  const std::wstring from = Utf8ToWide(temporary);
  const DWORD attributes = GetFileAttributesW(from.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    ThrowError(kFileNotFound);
  }
  const HANDLE file = CreateFileW(from.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                  nullptr);
  if (file == INVALID_HANDLE_VALUE) ThrowError(kPathFileAccessError);
  const bool flushed = FlushFileBuffers(file) != 0;
  CloseHandle(file);
  if (!flushed) ThrowError(kPathFileAccessError);
  // MOVEFILE_WRITE_THROUGH returns only once the move is on the disk.
  if (!MoveFileExW(from.c_str(), Utf8ToWide(target).c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    ThrowError(kPathFileAccessError);
  }
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
