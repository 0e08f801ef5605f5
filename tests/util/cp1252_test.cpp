#include "mandor/util/internal/cp1252.h"

#include <gtest/gtest.h>

#include <string>

namespace mandor {
namespace {

TEST(Cp1252Test, ConversionsBothWaysAndLossy) {
  std::string all;
  for (int b = 0; b < 256; ++b) {
    all += static_cast<char>(b);
    EXPECT_EQ(CodePointToWindows1252(Windows1252ToCodePoint(static_cast<uint8_t>(b))), b) << b;
  }
  EXPECT_EQ(Utf8ToWindows1252(Windows1252ToUtf8(all)), all);
  // The high table and Latin-1; the undefined bytes come back as C1 controls.
  const std::string bytes = "\x80\x8C\x9C\x9F\x85\x99\xE9\xC9\xFF\xA0\x81\x9D" + std::string(1, '\0');
  const std::string utf8 = "€ŒœŸ…™éÉÿ\u00A0\u0081\u009D" + std::string(1, '\0');
  EXPECT_EQ(Windows1252ToUtf8(bytes), utf8);
  EXPECT_EQ(Utf8ToWindows1252(utf8), bytes);
  // Unencodable characters, C1 controls that Windows-1252 uses for printable
  // characters, and invalid UTF-8 (lone continuation, truncated, overlong,
  // surrogate, never-valid byte) become "?", one per byte when malformed.
  const struct { std::string utf8, bytes; } lossy[] = {
      {"a😀中", "a??"}, {"\u0080\u009F", "??"}, {"a\x80" "b", "a?b"}, {"\xE2\x82", "??"},
      {"\xC0\xAF", "??"}, {"\xED\xA0\x80", "???"}, {"\xFF" "a", "?a"}};
  for (const auto& c : lossy) EXPECT_EQ(Utf8ToWindows1252(c.utf8), c.bytes) << c.utf8;
  EXPECT_FALSE(CodePointToWindows1252(0x0100) || CodePointToWindows1252(0x0080));
}

}  // namespace
}  // namespace mandor
