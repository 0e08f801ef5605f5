#include "mandor/util/collection.h"
#include "mandor/util/internal/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;
using Names = std::vector<std::string>;

struct Thing {
  explicit Thing(std::string n) : name(std::move(n)) {}
  std::string name;
};

std::shared_ptr<Thing> T(const std::string& n) { return std::make_shared<Thing>(n); }

// Each member as "name:key", in order.
Names Contents(const Collection<Thing>& c) {
  Names out;
  long i = 0;
  for (const auto& t : c) {
    EXPECT_EQ(c.Item(++i), t);
    out.push_back(t->name + ":" + c.Key(i));
  }
  EXPECT_EQ(i, c.Count());
  return out;
}

TEST(CollectionTest, OrderKeysInsertionRemovalAndCopies) {
  Collection<Thing> c;
  c.Add(T("b"), "Élément");
  c.AddBefore(T("a"), "a", 1);
  c.Add(T("c"));  // no key
  c.AddAfter(T("bb"), "Œuvre", "élément");
  c.AddBefore(T("x"), "", "a");
  c.AddAfter(T("d"), "", 5);
  EXPECT_EQ(Contents(c), (Names{"x:", "a:a", "b:Élément", "bb:Œuvre", "c:", "d:"}));
  // Keys ignore case, accented letters included; copies are independent; the
  // same object may sit at two places, and a place found by key is the key's.
  EXPECT_EQ(c.Item("ÉLÉMENT")->name + c.Item("œuvre")->name, "bbb");
  Collection<Thing> copy = c;
  c.Clear();
  copy.Remove("éLément"), copy.Remove(1), copy.Remove(4);
  copy.Add(copy.Item("A"), "again");
  copy.AddAfter(T("y"), "y", "AGAIN");
  copy.Remove("again");
  EXPECT_EQ(Contents(copy), (Names{"a:a", "bb:Œuvre", "c:", "y:y"}));
  EXPECT_FALSE(c.Count() || c.Contains("a"));
}

TEST(CollectionTest, ErrorsMatchTheClassicCollection) {
  Collection<Thing> c;
  c.Add(T("a"), "Key");
  const std::pair<std::function<void()>, int> calls[] = {
      {[&] { c.Add(T("dup"), "KEY"); }, kDuplicateKey},         {[&] { c.Item(0L); }, kSubscriptOutOfRange},
      {[&] { c.Item(2L); }, kSubscriptOutOfRange},               {[&] { c.Item(-1L); }, kSubscriptOutOfRange},
      {[&] { c.Remove(5); }, kSubscriptOutOfRange},              {[&] { c.AddAfter(T("x"), "", 2); }, kSubscriptOutOfRange},
      {[&] { c.Item("missing"); }, kInvalidArgument},            {[&] { c.Remove("missing"); }, kInvalidArgument},
      {[&] { c.AddBefore(T("x"), "", "missing"); }, kInvalidArgument}};
  for (size_t i = 0; i < std::size(calls); ++i) EXPECT_EQ(ErrorNumberOf(calls[i].first), calls[i].second) << i;
  EXPECT_EQ(Contents(c), (Names{"a:Key"})) << "refused calls leave the collection unchanged";
}

// Random insertions and removals checked against a linear search by folded
// key, through growth, reservation, wrap-around and the moves of deletion.
TEST(CollectionTest, KeyedLookUpsMatchALinearSearch) {
  std::mt19937 random(7);
  Collection<Thing> c;
  std::vector<std::pair<std::string, std::string>> model;  // (name, key)
  auto place_of = [&](const std::string& key) -> long {
    for (size_t i = 0; i < model.size(); ++i) if (!key.empty() && FoldCase(model[i].second) == FoldCase(key)) return i;
    return -1;
  };
  const std::vector<std::string> stems = {"champ", "Ligne", "élément", "ÉTÉ", "x"};
  for (int step = 0; step < 4000; ++step) {
    if (step == 1000) c.Reserve(3000);
    const std::string key = random() % 10 == 0 ? "" : stems[random() % stems.size()] + std::to_string(random() % 300);
    const std::string name = "n" + std::to_string(step);
    if (random() % 3 == 0 && !model.empty()) {
      const size_t at = random() % model.size();
      c.Remove(static_cast<long>(at) + 1);
      model.erase(model.begin() + static_cast<long>(at));
    } else if (place_of(key) >= 0) {
      // A key hashed beforehand finds the same member.
      EXPECT_FALSE(step % 2 == 0 ? c.TryAdd(T(name), key) : c.TryAdd(T(name), KeyIndex::HashedKey(UpperCase(key))));
    } else {
      const size_t at = random() % (model.size() + 1);  // at the end: Add
      at == model.size() ? c.Add(T(name), key) : c.AddBefore(T(name), key, static_cast<long>(at) + 1);
      model.insert(model.begin() + static_cast<long>(at), {name, key});
    }
    const std::string probe = UpperCase(stems[random() % stems.size()] + std::to_string(random() % 300));
    const long expected = place_of(probe);
    ASSERT_EQ(c.Contains(probe), expected >= 0) << probe;
    if (expected >= 0) { ASSERT_EQ(c.Item(probe)->name, model[static_cast<size_t>(expected)].first); }
  }
  Names expected;
  for (const auto& [name, key] : model) expected.push_back(name + ":" + key);
  EXPECT_EQ(Contents(c), expected);

  // Small, crowded key tables, whose probe runs wrap past the table's end:
  // removing a member must leave every other key found.
  for (int round = 0; round < 300; ++round) {
    Collection<Thing> small;
    std::vector<std::string> keys;
    for (int i = 0; i < 40; ++i) {
      const std::string key = "k" + std::to_string(random() % 24);
      if (std::find(keys.begin(), keys.end(), key) == keys.end() && keys.size() < 12) {
        small.Add(T(key), key);
        keys.push_back(key);
      } else if (!keys.empty()) {
        const size_t at = random() % keys.size();
        small.Remove(keys[at]);
        keys.erase(keys.begin() + static_cast<long>(at));
      }
      for (const std::string& kept : keys) ASSERT_TRUE(small.Contains(kept)) << "round " << round << ": " << kept;
    }
  }
}

}  // namespace
}  // namespace mandor
