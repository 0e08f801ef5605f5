// UTF-8 to UTF-16 and back for the Windows interfaces (file names, message
// boxes, BSTRs), through the system's own converters. Windows only.
//
// Threading: stateless; callable from any thread.
#ifndef MANDOR_UTIL_INTERNAL_WIDE_H_
#define MANDOR_UTIL_INTERNAL_WIDE_H_

#ifdef _WIN32

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace mandor {

inline std::wstring Utf8ToWide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(n), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), n);
  return wide;
}

inline std::string WideToUtf8(const wchar_t* wide, size_t length) {
  if (wide == nullptr || length == 0) return {};
  const int n = WideCharToMultiByte(CP_UTF8, 0, wide, static_cast<int>(length), nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, static_cast<int>(length), utf8.data(), n, nullptr, nullptr);
  return utf8;
}

inline std::string WideToUtf8(const std::wstring& wide) { return WideToUtf8(wide.data(), wide.size()); }

}  // namespace mandor

#endif  // _WIN32

#endif  // MANDOR_UTIL_INTERNAL_WIDE_H_
