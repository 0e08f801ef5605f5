#include "mandor/util/collection.h"

#include <gtest/gtest.h>

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

TEST(CollectionTest, OrderKeysAndInsertion) {
  Collection<Thing> c;
  c.Add(T("b"), "Élément");
  c.AddBefore(T("a"), "a", 1);
  c.Add(T("c"));  // no key
  c.AddAfter(T("bb"), "Œuvre", "élément");
  c.AddBefore(T("x"), "", "a");
  c.AddAfter(T("d"), "", 5);
  EXPECT_EQ(Contents(c), (Names{"x:", "a:a", "b:Élément", "bb:Œuvre", "c:", "d:"}));
  // Keys ignore case, accented letters included.
  EXPECT_EQ(c.Item("ÉLÉMENT")->name, "b");
  EXPECT_EQ(c.Item("œuvre")->name, "bb");
  EXPECT_FALSE(c.Contains(""));
}

TEST(CollectionTest, ErrorsMatchTheClassicCollection) {
  Collection<Thing> c;
  c.Add(T("a"), "Key");
  EXPECT_EQ(ErrorNumberOf([&] { c.Add(T("dup"), "KEY"); }), kDuplicateKey);
  for (long i : {0L, 2L, -1L}) EXPECT_EQ(ErrorNumberOf([&] { c.Item(i); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove(5); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.AddAfter(T("x"), "", 2); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item("missing"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove("missing"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { c.AddBefore(T("x"), "", "missing"); }), kInvalidArgument);
  EXPECT_EQ(Contents(c), (Names{"a:Key"})) << "refused calls leave the collection unchanged";
}

TEST(CollectionTest, RemoveCopyAndShare) {
  Collection<Thing> c;
  auto a = T("a");
  c.Add(a, "a");
  c.Add(T("b"), "b");
  c.Add(T("c"), "c");
  c.Remove("B");
  EXPECT_FALSE(c.Contains("b"));
  c.Add(T("b2"), "b");  // the key can be used again
  Collection<Thing> copy = c;
  c.Remove(1);
  EXPECT_EQ(Contents(c), (Names{"c:c", "b2:b"}));
  EXPECT_FALSE(c.Contains("a"));
  EXPECT_EQ(copy.Count(), 3) << "copies are independent";
  EXPECT_EQ(copy.Item("a").get(), a.get()) << "and share their members";
  copy.Add(a, "again");  // the same object may sit at two places
  EXPECT_EQ(copy.Item("again").get(), copy.Item(1).get());
  // Places found by key are the key's, not the object's first.
  copy.AddAfter(T("x"), "x", "AGAIN");
  EXPECT_EQ(Contents(copy), (Names{"a:a", "c:c", "b2:b", "a:again", "x:x"}));
  copy.Remove("again");
  EXPECT_EQ(Contents(copy), (Names{"a:a", "c:c", "b2:b", "x:x"}));
  EXPECT_EQ(copy.Item("A").get(), a.get());
  c.Clear();
  EXPECT_EQ(c.Count(), 0);
  EXPECT_FALSE(c.Contains("c"));
}

}  // namespace
}  // namespace mandor
