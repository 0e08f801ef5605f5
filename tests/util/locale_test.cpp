// Locale names in any spelling, the French default of an environment that
// names no locale, and the C library asked before the built-in table.

#include "mandor/util/locale.h"

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
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
  EXPECT_EQ(Locale::FromName("fr_CH")->true_text + Locale::FromName("de_DE")->true_text, "VraiTrue");
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
  // Each step sets one variable and keeps the earlier ones; "" counts as
  // unset, neutral and unknown names as no locale: French.
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

// A made-up English locale with a decimal comma, compiled into LOCPATH, wins
// over the table.
TEST_F(EnvironmentTest, InstalledLocaleIsAskedBeforeTheTable) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("mandor_locale_" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "en_ZZ") << "LC_IDENTIFICATION\ncopy \"en_US\"\nEND LC_IDENTIFICATION\nLC_CTYPE\ncopy \"en_US\"\n"
                                  "END LC_CTYPE\nLC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\n"
                                  "END LC_NUMERIC\n";
  const int built = std::system(("localedef -c -f UTF-8 -i '" + (dir / "en_ZZ").string() + "' '" +
                                 (dir / "en_ZZ.UTF-8").string() + "' >/dev/null 2>&1").c_str());
  if (!fs::exists(dir / "en_ZZ.UTF-8" / "LC_NUMERIC")) {
    fs::remove_all(dir);
    GTEST_SKIP() << "localedef could not build a test locale (status " << built << ")";
  }
  EXPECT_EQ(Separator("en_ZZ.UTF-8"), ".");  // without the folder, "en" from the table
  // With it, in a child (glibc keeps each parsed LOCPATH, which LeakSanitizer
  // reports) that leaves by _exit: both spellings and the environment find it.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    setenv("LOCPATH", dir.c_str(), 1);
    setenv("LANG", "en_ZZ.UTF-8", 1);
    const Locale locale = Locale::FromEnvironment();
    const std::string seen = Separator("en_ZZ.UTF-8") + Separator("EN_zz.utf-8") + locale.decimal_separator + " " +
                             locale.true_text + " " + (locale.grouping_separator == "," ? "clash" : "ok");
    _exit(write(fds[1], seen.data(), seen.size()) < 0 ? 2 : 0);
  }
  close(fds[1]);
  std::string seen;
  char buffer[256];
  for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) seen.append(buffer, static_cast<size_t>(n));
  close(fds[0]);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(seen, ",,, True ok");
  fs::remove_all(dir);
}

}  // namespace
}  // namespace mandor
