#include "mandor/fields/font.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "mandor/util/error.h"
#include "mandor/util/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// The number of the mandor::Error that f throws, 0 when it throws none.
std::shared_ptr<CFont> NewFont(std::shared_ptr<CFont> parent1 = nullptr,
                               std::shared_ptr<CFont> parent2 = nullptr) {
  auto font = std::make_shared<CFont>();
  font->ParentFont1 = std::move(parent1);
  font->ParentFont2 = std::move(parent2);
  return font;
}

class FontTest : public ::testing::Test {
 protected:
  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
};

TEST_F(FontTest, FontWithoutParentsHasTheBuiltInDefaults) {
  auto font = NewFont();
  EXPECT_EQ(font->Name(), "Arial");
  EXPECT_EQ(font->Size(), 9);
  EXPECT_EQ(font->Color(), 0);
  EXPECT_EQ(font->BackColor(), 16777215);
  EXPECT_TRUE(font->Transparent());
  EXPECT_FALSE(font->Bold());
  EXPECT_FALSE(font->Italic());
  EXPECT_FALSE(font->Underline());
  EXPECT_FALSE(font->StrikeThrough());
  EXPECT_EQ(font->Alignment(), "0");
  EXPECT_EQ(font->DefaultName(), "Arial");
  EXPECT_EQ(font->DefaultBackColor(), 16777215);
  EXPECT_FALSE(font->HasName() || font->HasSize() || font->HasColor() || font->HasBackColor() ||
               font->HasTransparent() || font->HasBold() || font->HasItalic() ||
               font->HasUnderline() || font->HasStrikeThrough() || font->HasAlignment());
  EXPECT_FALSE(font->HasSet());
  EXPECT_EQ(font->ALIGN_LEFT(), "0");
  EXPECT_EQ(font->ALIGN_RIGHT(), "1");
  EXPECT_EQ(font->ALIGN_CENTER(), "2");
}

TEST_F(FontTest, LetAdjustsSizeAndBackColour) {
  auto font = NewFont();
  font->Size(100);
  EXPECT_EQ(font->Size(), 72);
  font->Size(2);
  EXPECT_EQ(font->Size(), 4);
  font->Size(-5);
  EXPECT_EQ(font->Size(), 4);
  EXPECT_TRUE(font->HasSize());

  font->BackColor(1);  // 1 means black
  EXPECT_EQ(font->BackColor(), 0);
  EXPECT_TRUE(font->HasBackColor());
  font->Color(255);
  EXPECT_EQ(font->Color(), 255);
  font->Color(-7);  // a negative colour is no override
  EXPECT_FALSE(font->HasColor());
  EXPECT_EQ(font->Color(), 0);

  auto parent = NewFont();
  parent->Size(9);  // equal to the built-in default: not stored
  EXPECT_FALSE(parent->HasSize());
  auto child = NewFont(parent);
  child->Size(9);
  EXPECT_FALSE(child->HasSize());
  parent->Size(12);
  child->Size(12);
  EXPECT_FALSE(child->HasSize());
  child->Size(9);
  EXPECT_TRUE(child->HasSize());
  EXPECT_EQ(child->Size(), 9);
  EXPECT_EQ(child->DefaultSize(), 12);
}

TEST_F(FontTest, AlignmentLetConvertsTextAndKeepsThreeBits) {
  auto font = NewFont();
  font->Alignment("2");
  EXPECT_EQ(font->Alignment(), "2");
  EXPECT_TRUE(font->HasAlignment());
  font->Alignment("13");  // 13 AND 7
  EXPECT_EQ(font->Alignment(), "5");
  font->Alignment("1.6");
  EXPECT_EQ(font->Alignment(), "2");
  font->Alignment("2.5");  // rounds half to even
  EXPECT_EQ(font->Alignment(), "2");
  font->Alignment("3.5");
  EXPECT_EQ(font->Alignment(), "4");
  font->Alignment("8");  // 8 AND 7 is the default left alignment
  EXPECT_FALSE(font->HasAlignment());

  font->Alignment("1");
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment("droite"); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment(""); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment("256"); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment("-1"); }), kOverflow);
  EXPECT_EQ(font->Alignment(), "1");  // a failed let changes nothing

  platform_->SetLocale(Locale::Comma());
  font->Alignment("1,6");
  EXPECT_EQ(font->Alignment(), "2");
  EXPECT_EQ(ErrorNumberOf([&] { font->Alignment("1.6"); }), kTypeMismatch);
}

TEST_F(FontTest, LetEqualToInheritedValueResetsToUnset) {
  auto parent = NewFont();
  auto font = NewFont(parent);
  parent->Name("Times");
  parent->Color(255);
  parent->BackColor(0);
  parent->Transparent(false);
  parent->Bold(true);
  parent->Alignment("2");

  // Different from the inherited value: stored; equal again: dropped.
  const std::vector<std::pair<std::function<void()>, std::function<void()>>> lets = {
      {[&] { font->Name("Courier"); }, [&] { font->Name("Times"); }},
      {[&] { font->Size(20); }, [&] { font->Size(9); }},
      {[&] { font->Color(1); }, [&] { font->Color(255); }},
      {[&] { font->BackColor(5); }, [&] { font->BackColor(1); }},  // 1 is stored as 0
      {[&] { font->Transparent(true); }, [&] { font->Transparent(false); }},
      {[&] { font->Bold(false); }, [&] { font->Bold(true); }},
      {[&] { font->Italic(true); }, [&] { font->Italic(false); }},
      {[&] { font->Underline(true); }, [&] { font->Underline(false); }},
      {[&] { font->StrikeThrough(true); }, [&] { font->StrikeThrough(false); }},
  };
  for (size_t i = 0; i < lets.size(); ++i) {
    lets[i].first();
    EXPECT_TRUE(font->HasSet()) << "attribute " << i;
    lets[i].second();
    EXPECT_FALSE(font->HasSet()) << "attribute " << i;
  }
  font->Alignment("1");
  EXPECT_TRUE(font->HasAlignment());
  font->Alignment("2");
  EXPECT_FALSE(font->HasAlignment());
  font->Name("Courier");
  font->Name("");  // an empty name is no override
  EXPECT_FALSE(font->HasName());
  EXPECT_EQ(font->Name(), "Times");
  EXPECT_EQ(font->Color(), 255);
  EXPECT_EQ(font->BackColor(), 0);
  EXPECT_TRUE(font->Bold());
}

TEST_F(FontTest, ParentOverridesTakePrecedenceOverInheritedValues) {
  auto grand = NewFont();
  auto parent1 = NewFont(grand);
  auto parent2 = NewFont();
  auto child = NewFont(parent1, parent2);
  EXPECT_EQ(child->Name(), "Arial");           // built-in
  grand->Name("Times");
  EXPECT_EQ(child->Name(), "Times");           // what parent 1 inherits
  parent2->Name("Courier");
  EXPECT_EQ(child->Name(), "Courier");         // parent 2's override beats it
  parent1->Name("Verdana");
  EXPECT_EQ(child->Name(), "Verdana");         // parent 1's override beats all
  EXPECT_EQ(child->DefaultName(), "Verdana");
  parent1->Name("Times");                      // equal to what it inherits: dropped
  EXPECT_FALSE(parent1->HasName());
  EXPECT_EQ(child->Name(), "Courier");

  // Parent 1 inherits bold from its own parent, parent 2 sets it false
  // (it can, since it inherits true as well).
  grand->Bold(true);
  parent2->ParentFont1 = grand;
  parent2->Bold(false);
  EXPECT_TRUE(parent2->HasBold());
  EXPECT_FALSE(child->Bold());
  EXPECT_TRUE(parent1->Bold());

  // What parent 2 only inherits is ignored.
  auto other_grand = NewFont();
  other_grand->Italic(true);
  auto only_parent2 = NewFont(nullptr, NewFont(other_grand));
  EXPECT_TRUE(only_parent2->ParentFont2->Italic());
  EXPECT_FALSE(only_parent2->Italic());
}

TEST_F(FontTest, ParentChangesShowAtOnceInDescendants) {
  auto root = NewFont();
  auto child = NewFont(root);
  auto grandchild = NewFont(child);
  root->Size(14);
  root->Underline(true);
  EXPECT_EQ(child->Size(), 14);
  EXPECT_EQ(grandchild->Size(), 14);
  EXPECT_TRUE(grandchild->Underline());
  EXPECT_FALSE(grandchild->HasSize());
  child->Size(20);
  EXPECT_EQ(grandchild->Size(), 20);
  root->Underline(false);
  EXPECT_FALSE(grandchild->Underline());
}

TEST_F(FontTest, SpecialPacksStyleBits) {
  auto font = NewFont();
  EXPECT_EQ(font->Special(), 16);  // left alignment by default
  font->Special(1 + 4 + 16 + 64);  // the last alignment bit wins
  EXPECT_TRUE(font->Bold());
  EXPECT_FALSE(font->Italic());
  EXPECT_TRUE(font->Underline());
  EXPECT_FALSE(font->StrikeThrough());
  EXPECT_EQ(font->Alignment(), font->ALIGN_RIGHT());
  EXPECT_EQ(font->Special(), 1 + 4 + 64);

  font->Special(2 + 8 + 32);
  EXPECT_FALSE(font->Bold());
  EXPECT_FALSE(font->HasBold());  // back to the default: unset
  EXPECT_EQ(font->Alignment(), font->ALIGN_CENTER());
  EXPECT_EQ(font->Special(), 2 + 8 + 32);

  font->Special(0);  // no alignment bit: alignment kept
  EXPECT_EQ(font->Special(), 32);
  EXPECT_FALSE(font->HasBold() || font->HasItalic() || font->HasUnderline() ||
               font->HasStrikeThrough());
  font->Special(16);
  EXPECT_FALSE(font->HasAlignment());
  font->Special(0x100 + 8);  // only the low byte counts
  EXPECT_EQ(font->Special(), 8 + 16);
  font->Special(-1);
  EXPECT_EQ(font->Special(), 1 + 2 + 4 + 8 + 64);

  auto copy = NewFont();
  copy->Special(font->Special());
  EXPECT_EQ(copy->Special(), font->Special());
  EXPECT_EQ(copy->Alignment(), font->Alignment());
}

TEST_F(FontTest, SetMeCopiesOverridesOrEverythingWhenForced) {
  auto source = NewFont();
  source->Name("Times");
  source->Bold(true);
  source->Alignment("2");

  auto target = NewFont();
  target->Size(12);
  target->Italic(true);
  target->SetMe(source);
  EXPECT_EQ(target->Name(), "Times");
  EXPECT_TRUE(target->Bold());
  EXPECT_EQ(target->Alignment(), "2");
  EXPECT_EQ(target->Size(), 12);  // the source does not set it
  EXPECT_TRUE(target->Italic());

  target->SetMe(source, true);
  EXPECT_EQ(target->Size(), 9);  // the source's effective size, equal to the default
  EXPECT_FALSE(target->HasSize());
  EXPECT_FALSE(target->Italic());
  EXPECT_FALSE(target->HasItalic());
  EXPECT_TRUE(target->HasName() && target->HasBold() && target->HasAlignment());

  // Forced values equal to what the target inherits stay unset.
  auto parent = NewFont();
  parent->Name("Times");
  auto inheriting = NewFont(parent);
  inheriting->SetMe(source, true);
  EXPECT_FALSE(inheriting->HasName());
  EXPECT_EQ(inheriting->Name(), "Times");

  target->SetMe(nullptr);
  EXPECT_EQ(target->Name(), "Times");
}

TEST_F(FontTest, HasSetIgnoresAlignment) {
  auto font = NewFont();
  font->Alignment("1");
  EXPECT_TRUE(font->HasAlignment());
  EXPECT_FALSE(font->HasSet());
  const std::vector<std::function<void(CFont&)>> lets = {
      [](CFont& f) { f.Name("Times"); },      [](CFont& f) { f.Size(10); },
      [](CFont& f) { f.Color(1); },           [](CFont& f) { f.BackColor(0); },
      [](CFont& f) { f.Transparent(false); }, [](CFont& f) { f.Bold(true); },
      [](CFont& f) { f.Italic(true); },       [](CFont& f) { f.Underline(true); },
      [](CFont& f) { f.StrikeThrough(true); },
  };
  for (size_t i = 0; i < lets.size(); ++i) {
    auto other = NewFont();
    lets[i](*other);
    EXPECT_TRUE(other->HasSet()) << "attribute " << i;
  }
}

TEST_F(FontTest, IdIsDrawnFromThePlatformInUnitInterval) {
  platform_->QueueRandom({0.25, 0.999999999, 1.5, -0.5, 1e300,
                          std::numeric_limits<double>::quiet_NaN()});
  EXPECT_EQ(NewFont()->Id(), 0.25f);
  for (int i = 0; i < 5; ++i) {  // values out of range or rounding up to 1
    const float id = NewFont()->Id();
    EXPECT_GE(id, 0.0f);
    EXPECT_LT(id, 1.0f);
  }
  // The seeded generator: the same seed gives the same identifiers.
  platform_->SeedRandom(42);
  const float first = NewFont()->Id();
  const float second = NewFont()->Id();
  EXPECT_NE(first, second);
  EXPECT_TRUE(first >= 0.0f && first < 1.0f && second >= 0.0f && second < 1.0f);
  platform_->SeedRandom(42);
  EXPECT_EQ(NewFont()->Id(), first);
}

TEST_F(FontTest, ParentLoopDoesNotHang) {
  auto a = NewFont();
  auto b = NewFont(a);
  a->ParentFont1 = b;
  a->ParentFont2 = a;
  EXPECT_EQ(a->Name(), "Arial");
  EXPECT_EQ(b->DefaultSize(), 9);
  a->Bold(true);  // within the loop a font inherits its own override: dropped
  EXPECT_FALSE(a->HasBold());
  EXPECT_FALSE(b->Bold());
  a->ParentFont1 = nullptr;  // break the loop so that both are freed
  a->ParentFont2 = nullptr;
}

}  // namespace
}  // namespace mandor
