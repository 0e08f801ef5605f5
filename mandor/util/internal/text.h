// Character-based string routines for UTF-8 text: the classic BASIC string
// functions (Left, Right, Mid, InStr, Trim, UCase, LCase, Replace) with
// lengths and positions counted in characters, not bytes, so that "the last
// three characters" of an accented name are three characters.
//
// Every routine accepts any byte sequence. A byte that does not start a valid
// UTF-8 sequence (a stray continuation byte, a truncated or overlong sequence,
// an encoded surrogate) counts as one character of its own and is copied
// through unchanged; nothing here crashes or loops on malformed input.
//
// Case mapping covers ASCII, Latin-1 Supplement, Latin Extended-A, basic
// Greek and basic Cyrillic; other characters are left as they are. It is
// one-to-one per character (ß stays ß), so upper-casing never changes the
// character count.
//
// Threading: stateless functions of their arguments; safe from any thread.
#ifndef MANDOR_UTIL_INTERNAL_TEXT_H_
#define MANDOR_UTIL_INTERNAL_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace mandor {

// One character of UTF-8 text, as DecodeUtf8 finds it.
struct Utf8Char {
  char32_t code;  // the code point; the byte itself when !valid
  size_t length;  // bytes taken: 1 to 4, and 1 when !valid
  bool valid;
};

// Decodes the character starting at byte i of s (i < s.size()). A byte
// that does not start a valid sequence (stray continuation, truncated,
// overlong, surrogate or beyond U+10FFFF) is a character of one byte of its
// own, so that every caller splits malformed text the same way.
Utf8Char DecodeUtf8(std::string_view s, size_t i);

// Appends the UTF-8 encoding of code (at most U+10FFFF) to out.
void AppendUtf8(std::string& out, char32_t code);

// Number of characters in s.
size_t CharLength(std::string_view s);

// The first n characters of s (all of s when n exceeds its length).
// Throws Error 5 when n < 0.
std::string Left(std::string_view s, long n);

// The last n characters of s (all of s when n exceeds its length).
// Throws Error 5 when n < 0.
std::string Right(std::string_view s, long n);

// length characters of s starting at the 1-based character position start;
// length -1 means "to the end". A start past the end gives "". Throws
// Error 5 when start < 1 or length < -1.
std::string Mid(std::string_view s, long start, long length = -1);

// 1-based character position of the first occurrence of needle in haystack
// at or after character position start, or 0 when there is none. An empty
// needle gives start when start <= CharLength(haystack) + 1, else 0. Only
// whole characters match: a needle never matches inside a multi-byte
// character. Throws Error 5 when start < 1.
long InStr(std::string_view haystack, std::string_view needle, long start = 1);

// s with every occurrence of find replaced by repl, left to right, without
// overlap. An empty find leaves s unchanged.
std::string ReplaceAll(std::string_view s, std::string_view find, std::string_view repl);

// s without leading and trailing spaces (U+0020 only, like the classic Trim).
std::string Trim(std::string_view s);
// The same, as a view into s.
std::string_view TrimView(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);

// Upper- and lower-cased copies of s (é ↔ É, œ ↔ Œ, ÿ ↔ Ÿ; ß unchanged).
std::string UpperCase(std::string_view s);
std::string LowerCase(std::string_view s);

// The key under which texts compare without regard to case: two texts are
// equal ignoring case exactly when their folded keys are equal. It is the
// upper-cased text, as the classic runtime compares.
std::string FoldCase(std::string_view s);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// True when s begins (ends) with the whole characters of prefix (suffix).
bool StartsWith(std::string_view s, std::string_view prefix);
bool EndsWith(std::string_view s, std::string_view suffix);

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_TEXT_H_
