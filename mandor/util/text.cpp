#include "mandor/util/internal/text.h"

#include <algorithm>
#include <vector>

#include "mandor/util/error.h"

namespace mandor {

namespace {

// An invalid byte b decodes to kInvalidBase + b, so that it never equals a
// real code point and is written back unchanged.
constexpr char32_t kInvalidBase = 0x110000;

struct Decoded {
  char32_t code;
  size_t length;  // bytes
};

bool IsContinuation(std::string_view s, size_t i) {
  return i < s.size() && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80;
}

// Decodes the character starting at byte i (i < s.size()); an invalid byte
// becomes kInvalidBase + byte.
Decoded DecodeAt(std::string_view s, size_t i) {
  const Utf8Char c = DecodeUtf8(s, i);
  if (c.valid) return {c.code, c.length};
  return {kInvalidBase + c.code, 1};
}

void Encode(char32_t c, std::string& out) {
  if (c >= kInvalidBase) {
    out.push_back(static_cast<char>(c - kInvalidBase));
  } else {
    AppendUtf8(out, c);
  }
}

size_t CharSize(std::string_view s, size_t i) { return DecodeAt(s, i).length; }

// Byte offset reached after skipping up to n characters from byte offset pos.
size_t Advance(std::string_view s, size_t pos, size_t n) {
  while (n > 0 && pos < s.size()) {
    pos += CharSize(s, pos);
    --n;
  }
  return pos;
}

// Byte offsets of every character start, followed by s.size().
std::vector<size_t> CharStarts(std::string_view s) {
  std::vector<size_t> starts;
  starts.reserve(s.size() + 1);
  for (size_t i = 0; i < s.size(); i += CharSize(s, i)) starts.push_back(i);
  starts.push_back(s.size());
  return starts;
}

bool IsBoundary(const std::vector<size_t>& starts, size_t offset) {
  return std::binary_search(starts.begin(), starts.end(), offset);
}

// Ranges of Latin Extended-A where each upper-case letter at an even code
// is followed by its lower case.
bool IsEvenUpperPair(char32_t c) {
  return (c >= 0x0100 && c <= 0x0137) || (c >= 0x014A && c <= 0x0177);
}
// Ranges where the upper-case letter has the odd code.
bool IsOddUpperPair(char32_t c) {
  return (c >= 0x0139 && c <= 0x0148) || (c >= 0x0179 && c <= 0x017E);
}

char32_t ToUpper(char32_t c) {
  if (c < 0x80) return (c >= 'a' && c <= 'z') ? c - 32 : c;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  if (c == 0xFF) return 0x178;
  if (c == 0x0130) return c;
  if (c == 0x0131) return 'I';  // dotless i
  if (c == 0x017F) return 'S';  // long s
  if (IsEvenUpperPair(c)) return (c % 2 == 1) ? c - 1 : c;
  if (IsOddUpperPair(c)) return (c % 2 == 0) ? c - 1 : c;
  // Greek.
  if (c >= 0x03B1 && c <= 0x03C9) return (c == 0x03C2) ? 0x03A3 : c - 32;
  if (c == 0x03AC) return 0x0386;
  if (c >= 0x03AD && c <= 0x03AF) return c - 37;
  if (c == 0x03CC) return 0x038C;
  if (c == 0x03CD || c == 0x03CE) return c - 63;
  // Cyrillic.
  if (c >= 0x0430 && c <= 0x044F) return c - 32;
  if (c >= 0x0450 && c <= 0x045F) return c - 80;
  return c;
}

char32_t ToLower(char32_t c) {
  if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 32 : c;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
  if (c == 0x178) return 0xFF;
  if (c == 0x0130) return 'i';  // capital I with dot
  if (c == 0x0131) return c;
  if (IsEvenUpperPair(c)) return (c % 2 == 0) ? c + 1 : c;
  if (IsOddUpperPair(c)) return (c % 2 == 1) ? c + 1 : c;
  // Greek (U+03A2 is unassigned).
  if (c >= 0x0391 && c <= 0x03A9 && c != 0x03A2) return c + 32;
  if (c == 0x0386) return 0x03AC;
  if (c >= 0x0388 && c <= 0x038A) return c + 37;
  if (c == 0x038C) return 0x03CC;
  if (c == 0x038E || c == 0x038F) return c + 63;
  // Cyrillic.
  if (c >= 0x0410 && c <= 0x042F) return c + 32;
  if (c >= 0x0400 && c <= 0x040F) return c + 80;
  return c;
}

template <typename Map>
std::string MapChars(std::string_view s, Map map) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    // ASCII, the common case, needs no decoding.
    if (const auto b = static_cast<unsigned char>(s[i]); b < 0x80) {
      if (const char32_t m = map(b); m < 0x80) {
        out.push_back(static_cast<char>(m));
        ++i;
        continue;
      }
    }
    const Decoded d = DecodeAt(s, i);
    Encode(map(d.code), out);
    i += d.length;
  }
  return out;
}

size_t CheckedCount(long n) {
  if (n < 0) ThrowError(kInvalidArgument);
  return static_cast<size_t>(n);
}

}  // namespace

Utf8Char DecodeUtf8(std::string_view s, size_t i) {
  const unsigned char b0 = static_cast<unsigned char>(s[i]);
  if (b0 < 0x80) return {b0, 1, true};
  const auto continuation = [&](size_t k) { return IsContinuation(s, i + k); };
  const auto bits = [&](size_t k) { return static_cast<char32_t>(static_cast<unsigned char>(s[i + k]) & 0x3F); };
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    if (continuation(1)) return {((b0 & 0x1Fu) << 6) | bits(1), 2, true};
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    if (continuation(1) && continuation(2)) {
      const char32_t c = ((b0 & 0x0Fu) << 12) | (bits(1) << 6) | bits(2);
      if (c >= 0x800 && (c < 0xD800 || c > 0xDFFF)) return {c, 3, true};
    }
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    if (continuation(1) && continuation(2) && continuation(3)) {
      const char32_t c = ((b0 & 0x07u) << 18) | (bits(1) << 12) | (bits(2) << 6) | bits(3);
      if (c >= 0x10000 && c <= 0x10FFFF) return {c, 4, true};
    }
  }
  return {b0, 1, false};
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

size_t CharLength(std::string_view s) {
  size_t count = 0;
  for (size_t i = 0; i < s.size(); i += CharSize(s, i)) ++count;
  return count;
}

std::string Left(std::string_view s, long n) {
  return std::string(s.substr(0, Advance(s, 0, CheckedCount(n))));
}

std::string Right(std::string_view s, long n) {
  const size_t count = CheckedCount(n);
  const size_t length = CharLength(s);
  if (count >= length) return std::string(s);
  return std::string(s.substr(Advance(s, 0, length - count)));
}

std::string Mid(std::string_view s, long start, long length) {
  if (start < 1 || length < -1) ThrowError(kInvalidArgument);
  const size_t begin = Advance(s, 0, static_cast<size_t>(start - 1));
  if (length == -1) return std::string(s.substr(begin));
  const size_t end = Advance(s, begin, static_cast<size_t>(length));
  return std::string(s.substr(begin, end - begin));
}

long InStr(std::string_view haystack, std::string_view needle, long start) {
  if (start < 1) ThrowError(kInvalidArgument);
  const std::vector<size_t> starts = CharStarts(haystack);
  const size_t char_count = starts.size() - 1;
  const size_t first = static_cast<size_t>(start - 1);
  if (first > char_count) return 0;
  if (needle.empty()) return start;
  size_t pos = starts[first];
  while (pos < haystack.size()) {
    const size_t found = haystack.find(needle, pos);
    if (found == std::string_view::npos) return 0;
    if (IsBoundary(starts, found) && IsBoundary(starts, found + needle.size())) {
      const auto it = std::lower_bound(starts.begin(), starts.end(), found);
      return static_cast<long>(it - starts.begin()) + 1;
    }
    pos = found + 1;
  }
  return 0;
}

std::string ReplaceAll(std::string_view s, std::string_view find, std::string_view repl) {
  if (find.empty()) return std::string(s);
  size_t found = s.find(find);
  if (found == std::string_view::npos) return std::string(s);
  const std::vector<size_t> starts = CharStarts(s);
  std::string out;
  out.reserve(s.size());
  size_t copied = 0;
  while (found != std::string_view::npos) {
    if (IsBoundary(starts, found) && IsBoundary(starts, found + find.size())) {
      out.append(s.substr(copied, found - copied));
      out.append(repl);
      copied = found + find.size();
      found = s.find(find, copied);
    } else {
      found = s.find(find, found + 1);
    }
  }
  out.append(s.substr(copied));
  return out;
}

std::string LTrim(std::string_view s) {
  const size_t first = s.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string() : std::string(s.substr(first));
}

std::string RTrim(std::string_view s) {
  const size_t last = s.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string() : std::string(s.substr(0, last + 1));
}

std::string_view TrimView(std::string_view s) {
  const size_t first = s.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

std::string Trim(std::string_view s) { return std::string(TrimView(s)); }

std::string UpperCase(std::string_view s) {
  // Keys and names are mostly ASCII: a byte loop does for them, in one pass
  // that gives way to the general mapping at the first other byte.
  std::string out(s);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) >= 0x80) return MapChars(s, ToUpper);
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

std::string LowerCase(std::string_view s) { return MapChars(s, ToLower); }

std::string FoldCase(std::string_view s) { return UpperCase(s); }

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  size_t i = 0;
  size_t j = 0;
  while (i < a.size() && j < b.size()) {
    const auto ca = static_cast<unsigned char>(a[i]);
    const auto cb = static_cast<unsigned char>(b[j]);
    if (ca < 0x80 && cb < 0x80) {
      if (ToUpper(ca) != ToUpper(cb)) return false;
      ++i;
      ++j;
      continue;
    }
    const Decoded da = DecodeAt(a, i);
    const Decoded db = DecodeAt(b, j);
    if (ToUpper(da.code) != ToUpper(db.code)) return false;
    i += da.length;
    j += db.length;
  }
  return i == a.size() && j == b.size();
}

bool StartsWith(std::string_view s, std::string_view prefix) {
  if (s.substr(0, prefix.size()) != prefix) return false;
  // The prefix must end on a character boundary of s.
  return prefix.size() == s.size() || !IsContinuation(s, prefix.size()) ||
         IsBoundary(CharStarts(s), prefix.size());
}

bool EndsWith(std::string_view s, std::string_view suffix) {
  if (suffix.size() > s.size() || s.substr(s.size() - suffix.size()) != suffix) return false;
  const size_t begin = s.size() - suffix.size();
  return begin == 0 || IsBoundary(CharStarts(s), begin);
}

}  // namespace mandor
