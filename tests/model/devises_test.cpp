#include "mandor/model/devises.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

// Look-ups in the currency table, by key or by position (key null), each
// giving the code found or the error number (9 out of range, 5 invalid): numeric keys are 1-based indexes in the
// current locale, rounded half to even; a position past the end fails, one
// outside falls back to the default entry. (The host's scripts check the
// table's plain members.)
TEST(DevisesTest, LookUpsByKeyAndPosition) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  Devises devises;
  const auto expect = [&](const std::vector<std::pair<const char*, long>>& lookups, const std::string& expected) {
    std::string codes;
    for (const auto& lookup : lookups) {
      std::string code;
      const int error = test_util::ErrorNumberOf([&] {
        code = (lookup.first ? devises.Item(std::string(lookup.first)) : devises.Item(lookup.second))->code();
      });
      codes += (error ? std::to_string(error) : code) + " ";
    }
    EXPECT_EQ(codes, expected);
  };
  // The built-in euro is keyed "EUR(Defaut)"; the default key "EUR" is not it.
  expect({{"eur(defaut)", 0}, {"0", 0}, {"1", 0}, {"-1", 0}, {"EUR", 0}, {nullptr, 1}, {nullptr, 2}},
         "EUR EUR 9 5 5 9 5 ");
  devises.AddDevise("USD", "DOLLAR", "CENT");
  expect({{"usd", 0}, {nullptr, 1}, {"1", 0}, {"2", 0}, {"0.4", 0}, {"0.5", 0}, {" 1 ", 0}},
         "USD USD USD 9 EUR USD USD ");
  platform->SetLocale(Locale::Comma());
  expect({{"0,5", 0}, {"0.5", 0}}, "USD 5 ");  // "0.5" is a key here
  devises.Defaut("USD");
  expect({{nullptr, -1}, {"", 0}, {"-3", 0}}, "USD USD USD ");
  devises.Defaut("");  // restores "FRF", which is missing
  expect({{"", 0}}, "5 ");
}

}  // namespace
}  // namespace mandor
