#include "mandor/model/devises.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/util/error.h"
#include "mandor/util/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// The number of the mandor::Error that f throws, 0 when it throws none.
class DevisesTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  Devises devises_;
};

TEST_F(DevisesTest, NewTableHoldsTheBuiltInEuro) {
  EXPECT_EQ(devises_.Count(), 1);
  EXPECT_EQ(devises_.Defaut(), "EUR");
  auto euro = devises_.Item(0L);
  EXPECT_EQ(euro->code(), "EUR");
  EXPECT_EQ(euro->Unite(), "EURO");
  EXPECT_EQ(euro->SousUnite(), "CENT");
  EXPECT_EQ(euro->PostUnite(), "");
  EXPECT_EQ(euro->Pays(), "France,Belgique,Espagne,Allemagne,Italie,Portugal,Luxembourg");
  EXPECT_EQ(euro->Symbole(), "\u20AC");
  EXPECT_EQ(devises_.Item("eur(defaut)"), euro);  // its key
  EXPECT_EQ(devises_.Item("0"), euro);

  EXPECT_EQ(devises_.FindPos("EUR"), 0);
  EXPECT_EQ(devises_.FindPos(""), 0);
  EXPECT_EQ(devises_.FindPos("Eur"), 1);  // not found: Count
  EXPECT_FALSE(devises_.Find("EUR"));     // not a key
  EXPECT_TRUE(devises_.Find(""));
  EXPECT_TRUE(devises_.Find("EUR(Defaut)"));
}

TEST_F(DevisesTest, ItemFailsOnCountAndOnMissingDefaultKey) {
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(1L); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(-1L); }), kInvalidArgument);  // key "EUR"
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(2L); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(""); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("EUR"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("1"); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("-1"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("USD"); }), kInvalidArgument);
}

TEST_F(DevisesTest, AddedEntriesAreKeyedByCodeIgnoringCase) {
  devises_.AddDevise("USD", "DOLLAR", "CENT");
  EXPECT_EQ(devises_.Count(), 2);
  auto dollar = devises_.Item("usd");
  EXPECT_EQ(dollar->code(), "USD");
  EXPECT_EQ(dollar->Unite(), "DOLLAR");
  EXPECT_EQ(dollar->SousUnite(), "CENT");
  EXPECT_EQ(dollar->Symbole(), "");
  EXPECT_EQ(devises_.Item(1L), dollar);
  EXPECT_EQ(devises_.Item("1"), dollar);
  EXPECT_EQ(devises_.FindPos("USD"), 1);
  EXPECT_EQ(devises_.FindPos("usd"), 2);  // codes compare exactly; 2 is Count
  EXPECT_TRUE(devises_.Find("usd"));

  auto pound = std::make_shared<Devise>();
  pound->code("GBP");
  pound->Unite("LIVRE");
  pound->Pays("Royaume-Uni");
  pound->Symbole("\u00A3");
  devises_.Add(pound);
  EXPECT_EQ(devises_.Item("GBP"), pound);
  EXPECT_EQ(devises_.Item(2L), pound);
  EXPECT_EQ(devises_.FindPos("GBP"), 2);

  EXPECT_EQ(ErrorNumberOf([&] { devises_.AddDevise("usd", "X", "Y"); }), kDuplicateKey);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Add(pound); }), kDuplicateKey);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Add(nullptr); }), kInvalidArgument);
  EXPECT_EQ(devises_.Count(), 3);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(3L); }), kSubscriptOutOfRange);
}

TEST_F(DevisesTest, DefautSelectsTheFallbackEntry) {
  devises_.AddDevise("USD", "DOLLAR", "CENT");
  devises_.Defaut("USD");
  auto dollar = devises_.Item(1L);
  EXPECT_EQ(devises_.Item(-1L), dollar);
  EXPECT_EQ(devises_.Item(7L), dollar);
  EXPECT_EQ(devises_.Item(""), dollar);
  EXPECT_EQ(devises_.Item("-3"), dollar);
  devises_.Defaut("");
  EXPECT_EQ(devises_.Defaut(), "FRF");
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item(""); }), kInvalidArgument);
}

TEST_F(DevisesTest, NumericTextsArePositionsInTheCurrentLocale) {
  devises_.AddDevise("USD", "DOLLAR", "CENT");
  auto euro = devises_.Item(0L);
  auto dollar = devises_.Item(1L);
  // The 1-based index (position + 1) is rounded half to even.
  EXPECT_EQ(devises_.Item("0.4"), euro);
  EXPECT_EQ(devises_.Item("0.5"), dollar);
  EXPECT_EQ(devises_.Item("1.5"), dollar);
  EXPECT_EQ(devises_.Item(" 1 "), dollar);
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("2"); }), kSubscriptOutOfRange);

  platform_->SetLocale(Locale::Comma());
  EXPECT_EQ(devises_.Item("0,5"), dollar);
  EXPECT_EQ(devises_.Item("0,4"), euro);
  // Not a number here: looked up as a key.
  EXPECT_EQ(ErrorNumberOf([&] { devises_.Item("0.5"); }), kInvalidArgument);
}

}  // namespace
}  // namespace mandor
