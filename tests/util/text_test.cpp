#include "mandor/util/internal/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// Texts mixing ASCII, two-, three- and four-byte characters and malformed bytes.
const std::vector<std::string> kSamples = {
    "", "Prix_HT", "Été à l'œuvre", "a\xE2\x82\xAC" "b\xF0\x9F\x98\x80" "c",  // a€b😀c
    "\xC3",              // truncated é
    "x\xA9y",            // stray continuation byte
    "\xE2\x82",          // truncated €
    "\xED\xA0\x80z",     // encoded surrogate
    "\xC0\xAF",          // overlong "/"
    "\xF5\x80\x80\x80",  // beyond U+10FFFF
    "\xFF\xFE ÿ"};

TEST(TextTest, CharacterPositions) {
  const std::pair<std::string, std::string> texts[] = {
      {Left("Élément", 2), "Él"}, {Right("Qté_Réf", 3), "Réf"}, {Mid("Société", 5, 2), "ét"},
      {Mid("Société", 7, 5), "é"}, {Mid("Société", 100, 3), ""}};
  for (const auto& [actual, expected] : texts) EXPECT_EQ(actual, expected);
  // Empty needle: the start position while it is within length + 1. A
  // malformed needle never matches inside a multi-byte character.
  const std::pair<long, long> positions[] = {{InStr("éàéà", "à", 3), 4}, {InStr("abc", "", 4), 4},
                                             {InStr("abc", "", 5), 0}, {InStr("é\xA9", "\xA9"), 2}};
  for (const auto& [actual, expected] : positions) EXPECT_EQ(actual, expected);
  // Left(name, len - 3) must fail for names shorter than three characters.
  for (const auto& f : std::vector<std::function<void()>>{[] { Left("ab", -1); }, [] { Mid("abc", 0); },
                                                          [] { InStr("abc", "a", 0); }}) {
    EXPECT_EQ(ErrorNumberOf(f), kInvalidArgument);
  }
}

TEST(TextTest, CaseMappingAndFolding) {
  const struct { std::string lower, upper; } pairs[] = {
      {"page_1 œuvre àâäçèêëîïôöùûüýÿ", "PAGE_1 ŒUVRE ÀÂÄÇÈÊËÎÏÔÖÙÛÜÝŸ"},
      {"āčęłńőšžŀ", "ĀČĘŁŃŐŠŽĿ"},  // Latin Extended-A, in both pair layouts
      {"αβγ ώ привет ё", "ΑΒΓ Ώ ПРИВЕТ Ё"}};
  for (const auto& p : pairs) {
    EXPECT_EQ(UpperCase(p.lower), p.upper);
    EXPECT_EQ(LowerCase(p.upper), p.lower);
    EXPECT_TRUE(EqualsIgnoreCase(p.lower, p.upper)) << p.lower;
  }
  for (const auto& [in, upper] : {std::pair{"ß×÷µ", "ß×÷µ"}, {"ıiſ", "IIS"}, {"ĸŉς", "ĸŉΣ"}, {"\xC3z€", "\xC3Z€"}}) {
    EXPECT_EQ(UpperCase(in), upper) << in;
  }
  EXPECT_EQ(LowerCase("İI"), "ii");
  // A malformed byte only equals the same byte.
  EXPECT_FALSE(EqualsIgnoreCase("Ref", "Réf") || EqualsIgnoreCase("ab", "abc") || EqualsIgnoreCase("\xC3", "Ã"));
  EXPECT_TRUE(EqualsIgnoreCase("a\xC3", "A\xC3"));
  for (const std::string& s : kSamples) {
    EXPECT_EQ(EqualsIgnoreCase(s, UpperCase(s)), FoldCase(s) == FoldCase(UpperCase(s))) << s;
    EXPECT_TRUE(EqualsIgnoreCase(LowerCase(s), UpperCase(s))) << s;
  }
}

TEST(TextTest, MalformedTextIsSplitAlikeByEveryRoutine) {
  for (const std::string& s : kSamples) {
    SCOPED_TRACE(testing::PrintToString(s));
    const long n = static_cast<long>(CharLength(s));
    for (long k = 0; k <= n + 1; ++k) {
      EXPECT_EQ(Left(s, k) + Mid(s, k + 1), s) << k;
      EXPECT_EQ(Left(s, k) + Right(s, n > k ? n - k : 0), s) << k;
      EXPECT_EQ(CharLength(Left(s, k)), static_cast<size_t>(std::min(k, n)));
    }
    // The decoder cuts the characters Mid sees (a malformed byte is one); re-encoded, the text comes back.
    std::string again;
    long index = 1;
    for (size_t i = 0; i < s.size(); ++index) {
      const Utf8Char c = DecodeUtf8(s, i);
      ASSERT_TRUE(c.length >= 1 && i + c.length <= s.size() && (c.valid || c.length == 1)) << i;
      EXPECT_EQ(s.substr(i, c.length), Mid(s, index, 1)) << "at byte " << i;
      const long found = InStr(s, Mid(s, index, 1));  // never inside another character
      EXPECT_TRUE(found >= 1 && found <= index && Mid(s, found, 1) == Mid(s, index, 1)) << i;
      c.valid ? AppendUtf8(again, c.code) : again.push_back(static_cast<char>(c.code));
      i += c.length;
    }
    EXPECT_EQ(again, s);
    EXPECT_EQ(index - 1, n);
    EXPECT_EQ(ReplaceAll(s, Right(s, 1), Right(s, 1)), s);
  }
  const Utf8Char euro = DecodeUtf8("\xE2\x82\xAC", 0);
  EXPECT_TRUE(euro.valid && euro.code == U'\u20AC' && euro.length == 3u);
}

}  // namespace
}  // namespace mandor
