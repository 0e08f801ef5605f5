#include "mandor/util/internal/packed_texts.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

namespace mandor {
namespace {

using Texts = PackedTexts<4>;

template <size_t N>
void ExpectTexts(const PackedTexts<N>& texts, const std::array<std::string, N>& expected) {
  for (size_t i = 0; i < N; ++i) EXPECT_EQ(texts.Get(i), expected[i]) << "text " << i;
}

TEST(PackedTextsTest, SetsEachTextWithoutDisturbingTheOthers) {
  Texts texts;
  ExpectTexts<4>(texts, {"", "", "", ""});
  texts.Set(2, "middle");
  texts.Set(0, "first");
  texts.Set(3, "last");
  texts.Set(1, "second");
  ExpectTexts<4>(texts, {"first", "second", "middle", "last"});
  texts.Set(1, "");               // shrinks, moving the tail back
  texts.Set(0, "a longer first");  // grows, moving every later text on
  ExpectTexts<4>(texts, {"a longer first", "", "middle", "last"});
  texts.Set(2, std::string("nul\0byte", 8));
  EXPECT_EQ(texts.Get(2).size(), 8u);
}

TEST(PackedTextsTest, TakesATextFromItself) {
  Texts texts;
  texts.Set(0, "L12_K3");
  texts.Set(1, texts.Get(0).substr(0, 3));
  texts.Set(2, texts.Get(0).substr(4));
  texts.Set(0, texts.Get(0).substr(1));  // overlaps where it is written
  ExpectTexts<4>(texts, {"12_K3", "L12", "K3", ""});
}

TEST(PackedTextsTest, KeepsEveryTextWhenTheyNoLongerFit) {
  Texts texts;
  texts.Set(0, "name");
  texts.Set(3, "value");
  const std::string long_text(Texts::kInline, 'x');
  texts.Set(1, long_text);
  ExpectTexts<4>(texts, {"name", long_text, "", "value"});
  const std::string huge(100000, 'y');  // beyond any one-byte offset
  texts.Set(2, huge);
  texts.Set(1, texts.Get(0));
  ExpectTexts<4>(texts, {"name", "name", huge, "value"});
}

TEST(PackedTextsTest, CopiesAreIndependentInBothForms) {
  Texts small;
  small.Set(0, "a");
  Texts large;
  large.Set(1, std::string(200, 'b'));
  for (Texts* original : {&small, &large}) {
    Texts copy(*original);
    copy.Set(0, "changed");
    EXPECT_NE(original->Get(0), "changed");
    Texts assigned;
    assigned = *original;
    ExpectTexts<4>(assigned, {std::string(original->Get(0)), std::string(original->Get(1)), "", ""});
    Texts moved(std::move(copy));
    EXPECT_EQ(moved.Get(0), "changed");
  }
}

// Random edits, with texts of every length around the block's capacity,
// agree with eight std::strings edited alike.
TEST(PackedTextsTest, AgreesWithStringsUnderRandomEdits) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    PackedTexts<8> texts;
    std::array<std::string, 8> expected;
    for (int step = 0; step < 40; ++step) {
      const size_t i = random() % 8;
      const size_t length = random() % 12 == 0 ? random() % 80 : random() % 9;
      if (random() % 5 == 0) {  // a view of one of the texts themselves
        const std::string_view source = texts.Get(random() % 8).substr(0, length);
        expected[i] = std::string(source);
        texts.Set(i, source);
      } else {
        expected[i] = std::string(length, static_cast<char>('a' + step % 26));
        texts.Set(i, expected[i]);
      }
    }
    ExpectTexts<8>(texts, expected);
  }
}

}  // namespace
}  // namespace mandor
