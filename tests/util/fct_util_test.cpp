#include "mandor/util/fct_util.h"

#include <gtest/gtest.h>

#include "mandor/util/error.h"
#include "mandor/util/memory_platform.h"

namespace mandor {
namespace {

// Installs an in-memory platform with the given locale for one test.
class FctUtilTest : public ::testing::Test {
 protected:
  FctUtilTest() : platform_(std::make_shared<MemoryPlatform>()), scope_(platform_) {
    platform_->SetLocale(Locale::Comma());
  }
  void UsePointLocale() { platform_->SetLocale(Locale::Point()); }

  std::unique_ptr<TextFile> FileWith(const std::string& text) {
    platform_->SetFileText("m.xnf", text);
    return platform_->OpenTextFile("m.xnf", OpenMode::kInput);
  }

  std::shared_ptr<MemoryPlatform> platform_;
  ScopedPlatform scope_;
};

TEST_F(FctUtilTest, DécomposerChaîneTrimsAndKeepsEmptyParts) {
  StringArray p;
  DécomposerChaîne("  X1_cm = 2,5 ", p, "=");
  EXPECT_EQ(p, (StringArray{"", "X1_cm", "2,5"}));
  DécomposerChaîne("a|b|", p, "|");
  EXPECT_EQ(p, (StringArray{"", "a", "b", ""}));
  DécomposerChaîne("a=", p, "=");
  EXPECT_EQ(p, (StringArray{"", "a", ""}));
  DécomposerChaîne("=b", p, "=");
  EXPECT_EQ(p, (StringArray{"", "", "b"}));
  DécomposerChaîne("a", p, "=");
  EXPECT_EQ(p, (StringArray{"", "a"}));
  DécomposerChaîne("   ", p, "=");
  EXPECT_EQ(p, (StringArray{""}));
  DécomposerChaîne("Qté|é|ü", p, "|");
  EXPECT_EQ(p, (StringArray{"", "Qté", "é", "ü"}));
  DécomposerChaîne("a\tb", p, "\t");
  EXPECT_EQ(p, (StringArray{"", "a", "b"}));
}

TEST_F(FctUtilTest, SeparateStringAppendsAndRunsOnIntoTheLastSlot) {
  StringArray p(3);
  EXPECT_TRUE(SeparateString("a;b;c;d", p, ";"));
  EXPECT_EQ(p, (StringArray{"", "a", "bcd"}));
  StringArray q{"", "x", ""};
  EXPECT_FALSE(SeparateString("yz", q, ";"));
  EXPECT_EQ(q[1], "xyz") << "elements are appended to, not cleared";
  StringArray accents(3);
  EXPECT_TRUE(SeparateString("é;à", accents, ";"));
  EXPECT_EQ(accents, (StringArray{"", "é", "à"}));
  StringArray none(1);
  EXPECT_THROW(SeparateString("a", none, ";"), Error);
}

TEST_F(FctUtilTest, EscapesAreOrderedAndAsymmetric) {
  const std::string plain = "a=b|c\r\nd";
  const std::string escaped = ChangeCarSpec(plain, 1);
  EXPECT_EQ(escaped, "a#b\x7F" "c\xC3\xBF\xC3\xBF" "d");
  EXPECT_EQ(ChangeCarSpec(escaped, 2), plain);
  EXPECT_EQ(ChangeCarSpec(escaped), plain) << "an omitted type unescapes";
  EXPECT_EQ(ChangeEgal("50# de remise", 2), "50= de remise");
  EXPECT_EQ(ChangeCarSpec(ChangeCarSpec("n° #3", 1), 2), "n° =3");
  EXPECT_EQ(ChangeCrLF("a\nb\rc", 1), "a\nb\rc") << "lone line ends are not escaped";
  EXPECT_EQ(ChangeSepMarquage("||", 1), "\x7F\x7F");
}

TEST_F(FctUtilTest, EnleveCarReplacesInPlace) {
  std::string n = "1 234 567";
  EXPECT_EQ(EnleveCar(n, " "), "1234567");
  EXPECT_EQ(n, "1234567");
  std::string m = "1.5.6";
  EXPECT_EQ(EnleveCar(m, ".", ","), "1,5,6");
}

TEST_F(FctUtilTest, EnlèveSéparateursFollowsTheLocale) {
  EXPECT_EQ(EnlèveSéparateurs("1 234,56"), "1234,56");
  EXPECT_EQ(EnlèveSéparateurs("1,234.56"), "1234,56");
  EXPECT_EQ(EnlèveSéparateurs("1\xC2\xA0" "234.5"), "1234,5");
  UsePointLocale();
  EXPECT_EQ(EnlèveSéparateurs("1,234.56"), "1234.56");
  EXPECT_EQ(EnlèveSéparateurs("1 234,56"), "1234,56") << "a lone comma is left for the caller";
}

TEST_F(FctUtilTest, DecimalSeparatorConversions) {
  EXPECT_TRUE(EstVirguleDecimale());
  EXPECT_EQ(NombreVersLocal("2.5"), "2,5");
  EXPECT_EQ(NombreVersLocal("2,5"), "2,5");
  EXPECT_EQ(NombreVersFichier("2,5"), "2,5");
  UsePointLocale();
  EXPECT_FALSE(EstVirguleDecimale());
  EXPECT_EQ(NombreVersLocal("2,5"), "2.5");
  EXPECT_EQ(NombreVersFichier("2.5"), "2,5");
  EXPECT_EQ(NombreVersFichier("25"), "25");
  EXPECT_EQ(RemplacerSi("a.b.c", ".", ",", true), "a,b,c");
  EXPECT_EQ(RemplacerSi("a.b.c", ".", ",", false), "a.b.c");
  EXPECT_EQ(RemplacerSi("abc", ".", ",", true), "abc");
}

TEST_F(FctUtilTest, ReadSectionStopsAtTheNextHeader) {
  auto f = FileWith("[Constantes]\r\nA=1\r\n[Calage]\r\nX1_pixel=10\r\n\r\nX1=5\r\n  [Pages]\r\nNb=2\r\n");
  EXPECT_EQ(ReadSection(*f, "[Calage]"), (StringArray{"", "X1_pixel=10", "", "X1=5"}));
  EXPECT_EQ(ReadSection(*f, "[Constantes]"), (StringArray{"", "A=1"})) << "rewinds before searching";
  EXPECT_TRUE(ReadSection(*f, "[Pages]").empty()) << "the header must start the line";
  EXPECT_TRUE(ReadSection(*f, "[Absente]").empty());
  auto last = FileWith("A=1\r\n[Fin]\r\n");
  try {
    ReadSection(*last, "[Fin]");
    ADD_FAILURE() << "a header on the last line reads past the end";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), kInputPastEndOfFile);
  }
}

TEST_F(FctUtilTest, FindValueIsAFirstPrefixMatch) {
  StringArray lines{"", "X1_pixel=10", "X1=5"};
  EXPECT_EQ(FindValue(lines, "X1"), "10");
  EXPECT_EQ(FindValue(lines, " x1_PIXEL "), "10");
  EXPECT_EQ(FindValue(lines, "Y1"), "");
  EXPECT_EQ(FindValue(StringArray{"", "Nom= a = b "}, "Nom"), " a = b ");
  EXPECT_EQ(FindValue(StringArray{"", "Nom"}, "Nom"), "");
  EXPECT_EQ(FindValue(StringArray{}, "Nom"), "0") << "an undimensioned array gives 0";
}

}  // namespace
}  // namespace mandor
