#include "mandor/model/devises.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// Look-ups in the currency table: by key, or by position when key is null;
// each expects the code found or "error n". Numeric keys are 1-based indexes
// in the current locale (rounded half to even), the others codes compared
// without regard to case; positions outside fall back to the default entry.
TEST(DevisesTest, LookUpsByKeyAndPosition) {
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  Devises devises;
  struct Case {
    const char* key;
    long position;
    std::string expected;
  };
  const auto expect = [&](const std::vector<Case>& cases) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.key ? std::string("key ") + c.key : "position " + std::to_string(c.position));
      std::string code;
      const int error = ErrorNumberOf(
          [&] { code = (c.key ? devises.Item(std::string(c.key)) : devises.Item(c.position))->code(); });
      EXPECT_EQ(error ? "error " + std::to_string(error) : code, c.expected);
    }
  };
  const std::string out_of_range = "error " + std::to_string(kSubscriptOutOfRange);
  const std::string invalid = "error " + std::to_string(kInvalidArgument);
  // A new table holds the built-in euro, keyed "EUR(Defaut)"; the default key "EUR" is not it.
  expect({{"eur(defaut)", 0, "EUR"}, {"0", 0, "EUR"}, {"1", 0, out_of_range}, {"-1", 0, invalid},
          {"EUR", 0, invalid}, {nullptr, 1, out_of_range}, {nullptr, 2, invalid}});
  devises.AddDevise("USD", "DOLLAR", "CENT");
  EXPECT_EQ(devises.FindPos("USD") * 10 + devises.FindPos("usd"), 12);  // codes compare exactly; 2 is Count
  expect({{"usd", 0, "USD"}, {nullptr, 1, "USD"}, {"1", 0, "USD"}, {"2", 0, out_of_range}, {"0.4", 0, "EUR"},
          {"0.5", 0, "USD"}, {" 1 ", 0, "USD"}});
  platform->SetLocale(Locale::Comma());
  expect({{"0,5", 0, "USD"}, {"0.5", 0, invalid}});  // "0.5" is a key here
  devises.Defaut("USD");
  expect({{nullptr, -1, "USD"}, {"", 0, "USD"}, {"-3", 0, "USD"}});
  devises.Defaut("");  // restores "FRF", which is missing
  expect({{"", 0, invalid}});
  EXPECT_EQ(ErrorNumberOf([&] { devises.AddDevise("usd", "X", "Y"); }), kDuplicateKey);
  EXPECT_EQ(devises.Count(), 2);
}

}  // namespace
}  // namespace mandor
