// Locale names in any spelling, and the French default of an environment
// that names no locale.

#include "mandor/util/locale.h"

#include <stdlib.h>

#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace mandor {
namespace {

std::string Separator(const char* name) {
  const std::optional<Locale> locale = Locale::FromName(name);
  return locale ? locale->decimal_separator : "none";
}

TEST(LocaleTest, NamesInAnySpellingGiveTheirSeparator) {
  for (const char* name : {"FR", "fr_fr", "FR_fr.utf-8", "fr_FR@euro", "de_DE", "es_ES.UTF-8", "pt_BR"}) {
    EXPECT_EQ(Separator(name), ",") << name;
    EXPECT_NE(Locale::FromName(name)->grouping_separator, ",") << name;
  }
  // Switzerland and Spanish-speaking America write a point, whatever their
  // language does elsewhere.
  for (const char* name : {"en_GB.UTF-8", "EN_us", "de_CH", "fr_CH.UTF-8", "es_MX", "ja_JP"}) {
    EXPECT_EQ(Separator(name), ".") << name;
    EXPECT_NE(Locale::FromName(name)->grouping_separator, ".") << name;
  }
  for (const char* name : {"", "french", "fr-FR", "fr_FRA", "xx_YY.UTF-8", "fr_FR.UTF-8;rm", "C"}) {
    EXPECT_FALSE(Locale::FromName(name).has_value()) << name;
  }
}

// Sets the locale variables for a test and puts the old ones back.
class EnvironmentTest : public ::testing::Test {
 protected:
  static constexpr const char* kNames[] = {"LC_ALL", "LC_NUMERIC", "LANG", "LOCPATH"};
  EnvironmentTest() {
    for (const char* name : kNames) {
      if (const char* value = std::getenv(name)) saved_[name] = value;
      unsetenv(name);
    }
  }
  ~EnvironmentTest() override {
    for (const char* name : kNames) unsetenv(name);
    for (const auto& [name, value] : saved_) setenv(name.c_str(), value.c_str(), 1);
  }
  std::map<std::string, std::string> saved_;
};

TEST_F(EnvironmentTest, FirstSetVariableWinsAndNoRealLocaleMeansFrench) {
  // Each step sets one variable and keeps the earlier ones; "", neutral and
  // unknown names are no locale: French.
  const struct { const char* variable; const char* value; const char* separator; } steps[] = {
      {"LANG", "C", ","},   {"LANG", "POSIX", ","}, {"LANG", "C.UTF-8", ","}, {"LANG", "klingon", ","},
      {"LANG", "en_US.UTF-8", "."}, {"LC_NUMERIC", "de_DE.UTF-8", ","}, {"LC_ALL", "de_CH.UTF-8", "."},
      {"LC_NUMERIC", "en_GB.UTF-8", "."}, {"LC_ALL", "", "."}, {"LC_ALL", "C", ","}};
  EXPECT_EQ(Locale::FromEnvironment().true_text + Locale::FromEnvironment().decimal_separator, "Vrai,");
  for (const auto& step : steps) {
    setenv(step.variable, step.value, 1);
    EXPECT_EQ(Locale::FromEnvironment().decimal_separator, step.separator) << step.variable << "=" << step.value;
  }
}

}  // namespace
}  // namespace mandor
