#include "mandor/util/cp1252.h"

#include <gtest/gtest.h>

#include <string>

namespace mandor {
namespace {

TEST(Cp1252Test, EveryByteRoundTrips) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  const std::string utf8 = Windows1252ToUtf8(all);
  EXPECT_EQ(Utf8ToWindows1252(utf8), all);
  // ASCII is unchanged, Latin-1 letters take two UTF-8 bytes.
  EXPECT_EQ(Windows1252ToUtf8("abc"), "abc");
  EXPECT_EQ(Windows1252ToUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
  for (int b = 0; b < 256; ++b) {
    const auto byte = static_cast<uint8_t>(b);
    EXPECT_EQ(CodePointToWindows1252(Windows1252ToCodePoint(byte)), byte) << b;
  }
}

TEST(Cp1252Test, HighTableAndLatin1) {
  EXPECT_EQ(Windows1252ToUtf8("\x80"), "€");
  EXPECT_EQ(Windows1252ToUtf8("\x8C\x9C\x9F"), "ŒœŸ");
  EXPECT_EQ(Windows1252ToUtf8("\x85\x91\x92\x93\x94\x96\x97\x99"), "…‘’“”–—™");
  EXPECT_EQ(Windows1252ToUtf8("\x8A\x8E\x9A\x9E\x83"), "ŠŽšžƒ");
  EXPECT_EQ(Windows1252ToUtf8("\xE9\xE8\xE0\xC9\xFF\xA0"), "éèàÉÿ\u00A0");
  EXPECT_EQ(Utf8ToWindows1252("é€Œ"), "\xE9\x80\x8C");
  EXPECT_EQ(Utf8ToWindows1252("Ÿœ"), "\x9F\x9C");
  // The undefined bytes come back as C1 controls of the same value.
  EXPECT_EQ(Windows1252ToUtf8("\x81\x8D\x8F\x90\x9D"), "\u0081\u008D\u008F\u0090\u009D");
  EXPECT_EQ(Utf8ToWindows1252("\u0081\u008D\u008F\u0090\u009D"), "\x81\x8D\x8F\x90\x9D");
  // The escape characters of the marking files: code points 127 and 255.
  EXPECT_EQ(Utf8ToWindows1252("a\x7F" "b\u00FF\u00FFc"), "a\x7F" "b\xFF\xFF" "c");
  EXPECT_EQ(Windows1252ToUtf8("\x7F\xFF"), "\x7F\u00FF");
}

TEST(Cp1252Test, UnencodableAndInvalidBecomeQuestionMarks) {
  EXPECT_EQ(Utf8ToWindows1252("中"), "?");
  EXPECT_EQ(Utf8ToWindows1252("a→b"), "a?b");
  EXPECT_EQ(Utf8ToWindows1252("😀x"), "?x");  // four-byte sequence
  // C1 controls that Windows-1252 uses for printable characters.
  EXPECT_EQ(Utf8ToWindows1252("\u0080\u009F"), "??");
  EXPECT_EQ(CodePointToWindows1252(0x20AC), uint8_t{0x80});
  EXPECT_FALSE(CodePointToWindows1252(0x0100).has_value());
  EXPECT_FALSE(CodePointToWindows1252(0x0080).has_value());
  // Invalid UTF-8: a lone continuation byte, a truncated sequence, an
  // overlong form, an encoded surrogate, a byte never valid.
  EXPECT_EQ(Utf8ToWindows1252("a\x80" "b"), "a?b");
  EXPECT_EQ(Utf8ToWindows1252("a\xC3"), "a?");
  EXPECT_EQ(Utf8ToWindows1252("\xE2\x82"), "??");
  EXPECT_EQ(Utf8ToWindows1252("\xC0\xAF"), "??");
  EXPECT_EQ(Utf8ToWindows1252("\xED\xA0\x80"), "???");
  EXPECT_EQ(Utf8ToWindows1252("\xFF" "a"), "?a");
  EXPECT_EQ(Utf8ToWindows1252(""), "");
}

}  // namespace
}  // namespace mandor
