#include "mandor/fields/font.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

std::shared_ptr<CFont> NewFont(std::shared_ptr<CFont> parent1 = nullptr, std::shared_ptr<CFont> parent2 = nullptr) {
  auto font = std::make_shared<CFont>();
  font->ParentFont1 = std::move(parent1);
  font->ParentFont2 = std::move(parent2);
  return font;
}

// The attributes the font overrides, as letters.
std::string Overrides(const CFont& f) {
  return std::string(f.HasName() ? "n" : "") + (f.HasSize() ? "z" : "") + (f.HasColor() ? "c" : "") +
         (f.HasBackColor() ? "k" : "") + (f.HasTransparent() ? "T" : "") + (f.HasBold() ? "B" : "") +
         (f.HasItalic() ? "I" : "") + (f.HasUnderline() ? "U" : "") + (f.HasStrikeThrough() ? "S" : "") +
         (f.HasAlignment() ? "a" : "");
}

using FontTest = test_util::MemoryPlatformTest;

TEST_F(FontTest, LetAdjustsSizeColourAndAlignment) {
  auto font = NewFont();
  for (const auto& [let, get] : {std::pair{100, 72}, {-5, 4}}) EXPECT_EQ((font->Size(let), font->Size()), get);
  font->BackColor(1), font->Color(255), font->Color(-7);  // 1 means black; a negative colour is no override
  EXPECT_EQ(std::to_string(font->BackColor() + font->Color()) + Overrides(*font), "0zk");
  // Alignment texts are rounded half to even and keep three bits; 8 AND 7 is
  // the default left alignment, so no override.
  const struct { const char* let; const char* expected; int error; } aligns[] = {
      {"13", "5", 0}, {"2.5", "2", 0}, {"8", "0", 0}, {"1", "1", 0},
      {"droite", "1", kTypeMismatch}, {"256", "1", kOverflow}};  // a failed let changes nothing
  for (const auto& a : aligns) {
    EXPECT_EQ(ErrorNumberOf([&] { font->Alignment(a.let); }), a.error) << a.let;
    EXPECT_EQ(font->Alignment() + (font->HasAlignment() ? "+" : ""), a.expected + std::string(a.expected[0] == '0' ? "" : "+"));
  }
  platform_->SetLocale(Locale::Comma());
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment("1,6"); }) + ErrorNumberOf([&] { font->Alignment("1.6"); }), kTypeMismatch);
  EXPECT_EQ(font->Alignment(), "2");
}

TEST_F(FontTest, LetEqualToInheritedValueResetsToUnset) {
  auto parent = NewFont();
  parent->Name("Times"), parent->Color(255), parent->BackColor(0), parent->Transparent(false);
  parent->Bold(true), parent->Alignment("2");
  auto font = NewFont(parent);
  // Different from the inherited value: stored; equal again: dropped.
  const std::vector<std::pair<std::function<void()>, std::function<void()>>> lets = {
      {[&] { font->Name("Courier"); }, [&] { font->Name(""); }},  // an empty name is no override
      {[&] { font->Size(20); }, [&] { font->Size(9); }},
      {[&] { font->BackColor(5); }, [&] { font->BackColor(1); }},  // 1 is stored as 0
      {[&] { font->Bold(false); }, [&] { font->Bold(true); }}};
  for (size_t i = 0; i < lets.size(); ++i) {
    lets[i].first();
    EXPECT_TRUE(font->HasSet()) << i;
    lets[i].second();
    EXPECT_FALSE(font->HasSet()) << i;
  }
  EXPECT_EQ(font->Name() + std::to_string(font->Size()) + std::to_string(font->Color()) +
                std::to_string(font->BackColor()) + std::to_string(font->Bold()) + font->Alignment(), "Times925501" "2");
  font->Alignment("1");  // stored, but HasSet ignores alignment
  EXPECT_EQ(Overrides(*font) + (font->HasSet() ? " set" : ""), "a");
  // The inherited value follows the parent: 9 is now an override.
  parent->Size(12), font->Size(12);
  EXPECT_FALSE(font->HasSize());
  font->Size(9);
  EXPECT_EQ(std::to_string(font->Size()) + "/" + std::to_string(font->DefaultSize()), "9/12");
}

TEST_F(FontTest, ParentLoopDoesNotHang) {
  auto a = NewFont();
  auto b = NewFont(a);
  a->ParentFont1 = b, a->ParentFont2 = a;
  EXPECT_EQ(a->Name() + std::to_string(b->DefaultSize()), "Arial9");
  a->Bold(true);  // within the loop a font inherits its own override: dropped
  EXPECT_FALSE(a->HasBold() || b->Bold());
  a->ParentFont1 = nullptr, a->ParentFont2 = nullptr;  // break the loop so that both are freed
}

}  // namespace
}  // namespace mandor
