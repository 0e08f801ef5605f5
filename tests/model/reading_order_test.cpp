#include "mandor/model/internal/reading_order.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"

namespace mandor {
namespace {

// Fills one collection through InsérerChamp and a second through the index,
// with the same fields (bottom, right edges), and checks after every insert
// that both hold the fields in the same order.
void ExpectSameOrderAsInsererChamp(const std::vector<std::pair<float, float>>& edges) {
  Mandor doc;
  Collection<CChamp> by_walk, by_index;
  ReadingOrder order;
  for (size_t i = 0; i < edges.size(); ++i) {
    auto field = std::make_shared<CChamp>();
    std::string name = "F";  // appended: GCC 12 at -O3 warns falsely on "F" + text (-Wrestrict)
    name += std::to_string(i);
    field->Nom(name);
    std::tie(field->Position_pixel_Bottom, field->Position_pixel_Right) = edges[i];
    doc.InsérerChamp(by_walk, field);
    const long position = order.InsertionPoint(edges[i].first, edges[i].second);
    ASSERT_TRUE(position >= 1 && position <= by_index.Count() + 1) << position;
    if (position > by_index.Count()) {
      by_index.Add(field, field->Nom());
    } else {
      by_index.AddBefore(field, field->Nom(), position);
    }
    order.Insert(position, edges[i].first, edges[i].second);
    for (long k = 1; k <= by_walk.Count(); ++k) {
      ASSERT_EQ(by_walk.Key(k), by_index.Key(k)) << "after inserting field " << i << ", position " << k;
    }
  }
  EXPECT_EQ(order.Count(), by_walk.Count());
}

TEST(ReadingOrderTest, PlacesFieldsWhereInsererChampDoes) {
  // Ties on both edges (later ties go after), signed zeros; edges that are
  // not numbers keep the walking order.
  ExpectSameOrderAsInsererChamp({{10, 5}, {10, 5}, {10, 4}, {10, 5}, {5, 5}, {-0.0f, 1}, {0.0f, 1}, {0.0f, -1}});
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  ExpectSameOrderAsInsererChamp({{10, 1}, {nan, 1}, {5, 1}, {10, nan}, {10, 0}, {3, 3}, {nan, nan}, {1, 1}});
  ExpectSameOrderAsInsererChamp({{inf, 1}, {-inf, 2}, {10, inf}, {10, -inf}, {inf, inf}});
}

}  // namespace
}  // namespace mandor
