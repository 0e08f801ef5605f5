#include "mandor/util/collection.h"
#include "tests/test_util.h"

#include <gtest/gtest.h>


#include <string>
#include <vector>

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

struct Thing {
  explicit Thing(std::string n) : name(std::move(n)) {}
  std::string name;
};

std::shared_ptr<Thing> T(const std::string& n) { return std::make_shared<Thing>(n); }

std::vector<std::string> Names(const Collection<Thing>& c) {
  std::vector<std::string> out;
  for (const auto& t : c) out.push_back(t->name);
  return out;
}

TEST(CollectionTest, IndexesFromOneAndKeepsInsertionOrder) {
  Collection<Thing> c;
  EXPECT_EQ(c.Count(), 0);
  c.Add(T("a"), "page_1");
  c.Add(T("b"));
  c.Add(T("c"), "page_3");
  EXPECT_EQ(c.Count(), 3);
  EXPECT_EQ(c.Item(1)->name, "a");
  EXPECT_EQ(c.Item(2)->name, "b");
  EXPECT_EQ(c.Item(3)->name, "c");
  EXPECT_EQ(c.Key(2), "");
  EXPECT_EQ(c.Key(3), "page_3");
  EXPECT_EQ(Names(c), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(CollectionTest, KeysIgnoreCaseIncludingAccents) {
  Collection<Thing> c;
  c.Add(T("p"), "Page_1");
  c.Add(T("e"), "Élément");
  c.Add(T("oe"), "Œuvre");
  EXPECT_EQ(c.Item("PAGE_1")->name, "p");
  EXPECT_EQ(c.Item("élément")->name, "e");
  EXPECT_EQ(c.Item("ŒUVRE")->name, "oe");
  EXPECT_EQ(c.Item("œuvre")->name, "oe");
  EXPECT_TRUE(c.Contains("page_1"));
  EXPECT_FALSE(c.Contains("page_2"));
  EXPECT_FALSE(c.Contains(""));
}

TEST(CollectionTest, ErrorsMatchTheClassicCollection) {
  Collection<Thing> c;
  c.Add(T("a"), "Key");
  EXPECT_EQ(ErrorNumberOf([&] { c.Add(T("dup"), "KEY"); }), kDuplicateKey);
  EXPECT_EQ(c.Count(), 1) << "a refused duplicate must leave the collection unchanged";
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(0); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(2); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(-1); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item("missing"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove("missing"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove(5); }), kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { c.AddBefore(T("x"), "", "missing"); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { c.AddAfter(T("x"), "", 2); }), kSubscriptOutOfRange);
  EXPECT_EQ(c.Count(), 1);
}

TEST(CollectionTest, InsertsBeforeAndAfterByIndexOrKey) {
  Collection<Thing> c;
  c.Add(T("b"), "b");
  c.AddBefore(T("a"), "a", 1);
  c.AddAfter(T("c"), "c", "B");
  c.AddBefore(T("bb"), "bb", "C");
  c.AddAfter(T("d"), "", 4);
  EXPECT_EQ(Names(c), (std::vector<std::string>{"a", "b", "bb", "c", "d"}));
  EXPECT_EQ(c.Item("bb")->name, "bb");
  EXPECT_EQ(c.Key(3), "bb");
}

TEST(CollectionTest, RemoveFreesTheKeyAndShiftsPositions) {
  Collection<Thing> c;
  c.Add(T("a"), "a");
  c.Add(T("b"), "b");
  c.Add(T("c"), "c");
  c.Remove("B");
  EXPECT_EQ(Names(c), (std::vector<std::string>{"a", "c"}));
  EXPECT_FALSE(c.Contains("b"));
  c.Add(T("b2"), "b");  // the key can be used again
  c.Remove(1);
  EXPECT_EQ(Names(c), (std::vector<std::string>{"c", "b2"}));
  EXPECT_FALSE(c.Contains("a"));
  c.Clear();
  EXPECT_EQ(c.Count(), 0);
  EXPECT_FALSE(c.Contains("c"));
}

TEST(CollectionTest, SharesMembersAndCopiesAreIndependent) {
  Collection<Thing> c;
  auto a = T("a");
  c.Add(a, "a");
  Collection<Thing> copy = c;
  copy.Add(T("b"), "b");
  EXPECT_EQ(c.Count(), 1);
  EXPECT_EQ(copy.Item("a").get(), a.get());
  // The same object may sit at two places under different keys.
  c.Add(a, "again");
  EXPECT_EQ(c.Item(1).get(), c.Item(2).get());
}

}  // namespace
}  // namespace mandor
