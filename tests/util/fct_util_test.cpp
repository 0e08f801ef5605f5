#include "mandor/util/fct_util.h"

#include <gtest/gtest.h>

#include <string>

#include "mandor/util/internal/text.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// An in-memory platform with the comma locale.
class FctUtilTest : public test_util::MemoryPlatformTest {
 protected:
  FctUtilTest() { platform_->SetLocale(Locale::Comma()); }
  std::unique_ptr<TextFile> FileWith(const std::string& text) {
    platform_->SetFileText("m.xnf", text);
    return platform_->OpenTextFile("m.xnf", OpenMode::kInput);
  }
};

TEST_F(FctUtilTest, EscapesAndCharacterRemoval) {
  const std::string plain = "a=b|c\r\nd";
  const std::string escaped = ChangeCarSpec(plain, 1);
  EXPECT_EQ(escaped, "a#b\x7F" "c\xC3\xBF\xC3\xBF" "d");
  EXPECT_EQ(ChangeCarSpec(escaped), plain) << "an omitted type unescapes";
  EXPECT_EQ(ChangeCrLF("a\nb\rc", 1), "a\nb\rc") << "lone line ends are not escaped";
  // EnleveCar works in place; of an overlong or truncated sequence, a
  // one-byte character to every routine, it removes only the lead byte.
  for (const std::string car : {".", "\xE0\x80\x80", "\xC3", "\xC3\xA9x", "\xF0\x9F\x98\x80"}) {
    std::string nombre = "1" + car + "2" + car;
    const std::string expected = ReplaceAll(nombre, Left(car, 1), "");
    const std::string returned = EnleveCar(nombre, car);
    EXPECT_EQ(returned + "|" + nombre, expected + "|" + expected) << testing::PrintToString(car);
  }
}

TEST_F(FctUtilTest, ReadSectionAndFindValue) {
  auto f = FileWith("[Constantes]\r\nA=1\r\n[Calage]\r\nX1_pixel=10\r\n\r\nX1=5\r\n  [Pages]\r\nNb=2\r\n");
  const StringArray calage = ReadSection(*f, "[Calage]");
  EXPECT_EQ(calage, (StringArray{"", "X1_pixel=10", "", "X1=5"}));
  EXPECT_EQ(ReadSection(*f, "[Constantes]"), (StringArray{"", "A=1"})) << "rewinds first";
  EXPECT_TRUE(ReadSection(*f, "[Pages]").empty()) << "the header must start the line";
  auto last = FileWith("A=1\r\n[Fin]\r\n");  // a header on the last line reads past the end
  EXPECT_EQ(ErrorNumberOf([&] { ReadSection(*last, "[Fin]"); }), kInputPastEndOfFile);
  // FindValue takes the first line whose key starts with the name.
  EXPECT_EQ(FindValue(calage, " x1_PIXEL ") + "|" + FindValue(calage, "X1") + "|" + FindValue(calage, "Y1") + "|" +
                FindValue(StringArray{"", "Nom= a = b "}, "Nom"), "10|10|| a = b ");
  EXPECT_EQ(FindValue(StringArray{}, "Nom"), "0") << "an undimensioned array gives 0";
}

TEST_F(FctUtilTest, DecimalSeparatorRoutinesFollowTheLocalesNumberText) {
  // The locale uses a comma when its text of 0.15 holds one (" ," too).
  const struct { const char* separator; bool comma; const char* local; const char* file; } cases[] = {
      {",", true, "1,5", "1.5"}, {".", false, "1.5", "1,5"}, {" ,", true, "1,5", "1.5"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.separator);
    Locale locale = Locale::Comma();
    locale.decimal_separator = c.separator;
    platform_->SetLocale(locale);
    EXPECT_EQ(EstVirguleDecimale(), c.comma);
    EXPECT_EQ(NombreVersLocal("1.5"), c.local);
    EXPECT_EQ(NombreVersLocal("1,5"), c.local);
    EXPECT_EQ(NombreVersFichier("1.5"), c.file);
  }
}

}  // namespace
}  // namespace mandor
