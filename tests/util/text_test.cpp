#include "mandor/util/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "mandor/util/error.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// Runs f and returns the number of the mandor::Error it throws (0 if none).
// Texts mixing ASCII, two-, three- and four-byte characters and malformed bytes.
std::vector<std::string> SampleTexts() {
  return {"",
          "Prix_HT",
          "Été à l'œuvre",
          "a\xE2\x82\xAC" "b\xF0\x9F\x98\x80" "c",  // a€b😀c
          "\xC3",                                   // truncated é
          "x\xA9y",                                 // stray continuation byte
          "\xE2\x82",                               // truncated €
          "\xED\xA0\x80z",                          // encoded surrogate
          "\xC0\xAF",                               // overlong "/"
          "\xF5\x80\x80\x80",                       // beyond U+10FFFF
          "\xFF\xFE ÿ"};
}

TEST(TextTest, LengthCountsCharacters) {
  EXPECT_EQ(CharLength(""), 0u);
  EXPECT_EQ(CharLength("Prix"), 4u);
  EXPECT_EQ(CharLength("Été"), 3u);
  EXPECT_EQ(CharLength("a\xE2\x82\xAC" "b\xF0\x9F\x98\x80"), 4u);
  // Each malformed byte is one character.
  EXPECT_EQ(CharLength("\xC3"), 1u);
  EXPECT_EQ(CharLength("x\xA9y"), 3u);
  EXPECT_EQ(CharLength("\xE2\x82"), 2u);
  EXPECT_EQ(CharLength("\xED\xA0\x80"), 3u);
  EXPECT_EQ(CharLength("\xC0\xAF"), 2u);
}

TEST(TextTest, LeftAndRight) {
  EXPECT_EQ(Left("Montant_HT", 7), "Montant");
  EXPECT_EQ(Left("Élément", 2), "Él");
  EXPECT_EQ(Left("Élément", 0), "");
  EXPECT_EQ(Left("Élément", 100), "Élément");
  EXPECT_EQ(Right("Prix_TVA", 3), "TVA");
  EXPECT_EQ(Right("Qté_Réf", 3), "Réf");
  EXPECT_EQ(Right("abc", 0), "");
  EXPECT_EQ(Right("abc", 10), "abc");
  // Left(name, len - 3) must fail for names shorter than three characters.
  EXPECT_EQ(ErrorNumberOf([] { Left("ab", static_cast<long>(CharLength("ab")) - 3); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([] { Right("abc", -1); }), kInvalidArgument);
  EXPECT_THROW(Left("", -5), Error);
}

TEST(TextTest, MidIsOneBasedInCharacters) {
  EXPECT_EQ(Mid("Société", 4), "iété");
  EXPECT_EQ(Mid("Société", 5, 2), "ét");
  EXPECT_EQ(Mid("Société", 7, 5), "é");
  EXPECT_EQ(Mid("Société", 8), "");
  EXPECT_EQ(Mid("Société", 100, 3), "");
  EXPECT_EQ(Mid("Société", 1, 0), "");
  EXPECT_EQ(ErrorNumberOf([] { Mid("abc", 0); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([] { Mid("abc", 1, -2); }), kInvalidArgument);
}

TEST(TextTest, InStrFindsCharacterPositions) {
  EXPECT_EQ(InStr("Prix_HT", "_"), 5);
  EXPECT_EQ(InStr("Été=1,5", "="), 4);
  EXPECT_EQ(InStr("éàéà", "à", 3), 4);
  EXPECT_EQ(InStr("abc", "x"), 0);
  EXPECT_EQ(InStr("abc", "c", 4), 0);
  EXPECT_EQ(InStr("", "a"), 0);
  // Empty needle: the start position while it is within length + 1.
  EXPECT_EQ(InStr("abc", ""), 1);
  EXPECT_EQ(InStr("abc", "", 4), 4);
  EXPECT_EQ(InStr("abc", "", 5), 0);
  EXPECT_EQ(InStr("", ""), 1);
  // A malformed needle never matches inside a multi-byte character.
  EXPECT_EQ(InStr("é", "\xC3"), 0);
  EXPECT_EQ(InStr("é\xC3", "\xC3"), 2);
  EXPECT_EQ(InStr("é\xA9", "\xA9"), 2);
  EXPECT_EQ(ErrorNumberOf([] { InStr("abc", "a", 0); }), kInvalidArgument);
}

TEST(TextTest, ReplaceAllReplacesWholeCharacters) {
  EXPECT_EQ(ReplaceAll("a=b=c", "=", "#"), "a#b#c");
  EXPECT_EQ(ReplaceAll("aaaa", "aa", "b"), "bb");
  EXPECT_EQ(ReplaceAll("aaa", "aa", "b"), "ba");
  // The replacement is not searched again.
  EXPECT_EQ(ReplaceAll("x|y", "|", "||"), "x||y");
  EXPECT_EQ(ReplaceAll("a\r\nb", "\r\n", "ÿÿ"), "aÿÿb");
  EXPECT_EQ(ReplaceAll("aÿÿb", "ÿÿ", "\r\n"), "a\r\nb");
  EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
  EXPECT_EQ(ReplaceAll("", "a", "x"), "");
  EXPECT_EQ(ReplaceAll("1.234.5", ".", ""), "12345");
  // A lone byte does not cut a character in two.
  EXPECT_EQ(ReplaceAll("é\xA9", "\xA9", "!"), "é!");
}

TEST(TextTest, TrimRemovesSpacesOnly) {
  EXPECT_EQ(Trim("  X1_cm = 2,5  "), "X1_cm = 2,5");
  EXPECT_EQ(LTrim("  a  "), "a  ");
  EXPECT_EQ(RTrim("  a  "), "  a");
  EXPECT_EQ(Trim("    "), "");
  EXPECT_EQ(LTrim(""), "");
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(Trim("\xC2\xA0" "a"), "\xC2\xA0" "a");
}

TEST(TextTest, CaseMapping) {
  EXPECT_EQ(UpperCase("Page_1 été"), "PAGE_1 ÉTÉ");
  EXPECT_EQ(LowerCase("PAGE_1 ÉTÉ"), "page_1 été");
  EXPECT_EQ(UpperCase("œuvre àâäçèêëîïôöùûüý"), "ŒUVRE ÀÂÄÇÈÊËÎÏÔÖÙÛÜÝ");
  EXPECT_EQ(LowerCase("ŒUVRE ÀÂÄÇÈÊËÎÏÔÖÙÛÜÝ"), "œuvre àâäçèêëîïôöùûüý");
  EXPECT_EQ(UpperCase("ÿ"), "Ÿ");
  EXPECT_EQ(LowerCase("Ÿ"), "ÿ");
  EXPECT_EQ(UpperCase("ß"), "ß");
  EXPECT_EQ(UpperCase("×÷µ"), "×÷µ");
  // Latin Extended-A, in both pair layouts.
  EXPECT_EQ(UpperCase("āčęłńőšžŀ"), "ĀČĘŁŃŐŠŽĿ");
  EXPECT_EQ(LowerCase("ĀČĘŁŃŐŠŽĿ"), "āčęłńőšžŀ");
  EXPECT_EQ(UpperCase("ıi"), "II");
  EXPECT_EQ(LowerCase("İI"), "ii");
  EXPECT_EQ(UpperCase("ſ"), "S");
  EXPECT_EQ(UpperCase("ĸŉ"), "ĸŉ");
  EXPECT_EQ(UpperCase("αβγ ς ώ"), "ΑΒΓ Σ Ώ");
  EXPECT_EQ(LowerCase("ΑΒΓ Ώ"), "αβγ ώ");
  EXPECT_EQ(UpperCase("привет ё"), "ПРИВЕТ Ё");
  EXPECT_EQ(LowerCase("ПРИВЕТ Ё"), "привет ё");
  EXPECT_EQ(UpperCase("12-€-日本"), "12-€-日本");
}

TEST(TextTest, ComparingWithoutRegardToCase) {
  EXPECT_EQ(FoldCase("Page_1"), FoldCase("PAGE_1"));
  EXPECT_EQ(FoldCase("É"), FoldCase("é"));
  EXPECT_EQ(FoldCase("Œ"), FoldCase("œ"));
  EXPECT_EQ(FoldCase("ÿ"), FoldCase("Ÿ"));
  EXPECT_NE(FoldCase("e"), FoldCase("é"));
  EXPECT_TRUE(EqualsIgnoreCase("Prix_Unitaire", "PRIX_unitaire"));
  EXPECT_TRUE(EqualsIgnoreCase("Réf", "RÉF"));
  EXPECT_TRUE(EqualsIgnoreCase("", ""));
  EXPECT_FALSE(EqualsIgnoreCase("Ref", "Réf"));
  EXPECT_FALSE(EqualsIgnoreCase("abc", "ab"));
  EXPECT_FALSE(EqualsIgnoreCase("ab", "abc"));
  // A malformed byte only equals the same byte.
  EXPECT_TRUE(EqualsIgnoreCase("a\xC3", "A\xC3"));
  EXPECT_FALSE(EqualsIgnoreCase("\xC3", "Ã"));
  for (const std::string& s : SampleTexts()) {
    EXPECT_EQ(EqualsIgnoreCase(s, UpperCase(s)), FoldCase(s) == FoldCase(UpperCase(s))) << s;
    EXPECT_TRUE(EqualsIgnoreCase(LowerCase(s), UpperCase(s))) << s;
  }
}

TEST(TextTest, StartsAndEndsWithWholeCharacters) {
  EXPECT_TRUE(StartsWith("[Calage]", "[Cal"));
  EXPECT_TRUE(StartsWith("abc", ""));
  EXPECT_TRUE(StartsWith("été", "été"));
  EXPECT_FALSE(StartsWith("ab", "abc"));
  EXPECT_FALSE(StartsWith("é", "\xC3"));
  EXPECT_TRUE(EndsWith("Fichier.xnf", ".xnf"));
  EXPECT_TRUE(EndsWith("Prix_été", "été"));
  EXPECT_FALSE(EndsWith("é", "\xA9"));
  EXPECT_FALSE(EndsWith("nf", ".xnf"));
}

TEST(TextTest, MalformedTextIsHandledConsistently) {
  for (const std::string& s : SampleTexts()) {
    const long n = static_cast<long>(CharLength(s));
    for (long k = 0; k <= n + 1; ++k) {
      // Splitting anywhere and joining gives the text back.
      EXPECT_EQ(Left(s, k) + Mid(s, k + 1), s) << s << " at " << k;
      EXPECT_EQ(Left(s, k) + Right(s, n > k ? n - k : 0), s) << s << " at " << k;
      EXPECT_EQ(CharLength(Left(s, k)), static_cast<size_t>(std::min(k, n)));
    }
    EXPECT_EQ(CharLength(UpperCase(s)), static_cast<size_t>(n)) << s;
    EXPECT_EQ(CharLength(LowerCase(s)), static_cast<size_t>(n)) << s;
    if (n > 0) {
      const std::string last = Right(s, 1);
      EXPECT_EQ(ReplaceAll(s, last, last), s);
      const long pos = InStr(s, last);
      EXPECT_GE(pos, 1) << s;
      EXPECT_EQ(Mid(s, pos, 1), last) << s;
    }
  }
  EXPECT_EQ(UpperCase("\xC3z\xA9"), "\xC3Z\xA9");
}

}  // namespace
}  // namespace mandor
