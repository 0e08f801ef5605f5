#include "mandor/model/devises.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

class DevisesTest : public test_util::MemoryPlatformTest {
 protected:
  // One lookup: by key, or by position when key is null; expected is the
  // code found or "error n".
  struct Case {
    const char* key;
    long position;
    std::string expected;
  };
  void ExpectLookups(const std::vector<Case>& cases) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.key ? std::string("key ") + c.key : "position " + std::to_string(c.position));
      std::string code;
      const int error = ErrorNumberOf([&] {
        code = (c.key ? devises_.Item(std::string(c.key)) : devises_.Item(c.position))->code();
      });
      EXPECT_EQ(error ? "error " + std::to_string(error) : code, c.expected);
    }
  }

  const std::string out_of_range_ = "error " + std::to_string(kSubscriptOutOfRange);
  const std::string invalid_ = "error " + std::to_string(kInvalidArgument);
  Devises devises_;
};

TEST_F(DevisesTest, NewTableHoldsTheBuiltInEuro) {
  EXPECT_EQ(devises_.Count(), 1);
  // Position Count is admitted and fails there; positions outside fall back to
  // the default key "EUR", which is not the euro's key "EUR(Defaut)".
  ExpectLookups({{"eur(defaut)", 0, "EUR"}, {"0", 0, "EUR"}, {"1", 0, out_of_range_}, {"-1", 0, invalid_},
                 {"", 0, invalid_}, {"EUR", 0, invalid_}, {nullptr, 1, out_of_range_},
                 {nullptr, -1, invalid_}, {nullptr, 2, invalid_}});
  EXPECT_EQ(devises_.FindPos("EUR"), 0);
  EXPECT_EQ(devises_.FindPos(""), 0);
  EXPECT_FALSE(devises_.Find("EUR"));  // not a key
  EXPECT_TRUE(devises_.Find("") && devises_.Find("EUR(Defaut)"));
}

TEST_F(DevisesTest, AddedEntriesAreKeyedByCodeIgnoringCase) {
  devises_.AddDevise("USD", "DOLLAR", "CENT");
  EXPECT_EQ(devises_.FindPos("USD"), 1);
  EXPECT_EQ(devises_.FindPos("usd"), 2);  // codes compare exactly; 2 is Count
  EXPECT_TRUE(devises_.Find("usd"));
  // Numeric texts are 1-based indexes in the current locale, rounded half to even.
  ExpectLookups({{"1", 0, "USD"}, {nullptr, 1, "USD"}, {"0.4", 0, "EUR"}, {"0.5", 0, "USD"}, {" 1 ", 0, "USD"},
                 {"2", 0, out_of_range_}});
  platform_->SetLocale(Locale::Comma());
  ExpectLookups({{"0,5", 0, "USD"}, {"0,4", 0, "EUR"}, {"0.5", 0, invalid_}});  // "0.5" is a key here

  // The default entry is the fallback; "" restores "FRF", which is missing.
  devises_.Defaut("USD");
  ExpectLookups({{nullptr, -1, "USD"}, {"", 0, "USD"}, {"-3", 0, "USD"}});
  devises_.Defaut("");
  EXPECT_EQ(devises_.Defaut(), "FRF");
  ExpectLookups({{"", 0, invalid_}});

  auto pound = std::make_shared<Devise>();
  pound->code("GBP");
  devises_.Add(pound);
  EXPECT_EQ(devises_.Item("GBP"), pound);
  EXPECT_EQ(devises_.Item(2L), pound);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.AddDevise("usd", "X", "Y"); }), kDuplicateKey);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Add(nullptr); }), kInvalidArgument);
  EXPECT_EQ(devises_.Count(), 3);
  ExpectLookups({{nullptr, 3, out_of_range_}});
}

}  // namespace
}  // namespace mandor
