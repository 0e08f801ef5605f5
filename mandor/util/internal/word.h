// Reading a text's bytes as 64-bit words, for the code that works on text a
// word at a time (the key index of collections, the attribute names of the
// catalogue reader, the text reader's record splitter).
//
// Threading: stateless functions of their arguments; safe from any thread.
#ifndef MANDOR_UTIL_INTERNAL_WORD_H_
#define MANDOR_UTIL_INTERNAL_WORD_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mandor {

// The eight bytes at p.
inline uint64_t Word(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  return w;
}

// The n (< 8) bytes at p as one word, without a copy of variable size: two
// overlapping halves from four bytes on, the first, middle and last byte
// below. Of two texts of one length, the words are equal only when the
// texts are.
inline uint64_t ShortWord(const char* p, size_t n) {
  if (n >= 4) {
    uint32_t first = 0, last = 0;
    std::memcpy(&first, p, 4);
    std::memcpy(&last, p + n - 4, 4);
    return first | uint64_t{last} << 32;
  }
  if (n == 0) return 0;
  const auto byte = [p](size_t i) { return uint64_t{static_cast<unsigned char>(p[i])}; };
  return byte(0) | byte(n / 2) << 8 | byte(n - 1) << 16;
}

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_WORD_H_
