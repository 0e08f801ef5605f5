// ReadingOrder is the ordered-insertion index the text readers fill a page's
// fields through. Fields are kept in reading order: by bottom edge, then by
// right edge, ascending, a new field going before the first one that comes
// strictly after it (so ties keep the order they were read in), exactly as
// Mandor::InsérerChamp places them.
//
// InsérerChamp walks the collection from its first field for every insert,
// which makes a page of n fields cost O(n²). The index holds the edges of
// the fields of one collection that is filled only through it, in a
// contiguous array that stays sorted, so the place of a new field is a
// binary search, and a field read in order is appended. An edge that is not
// a number (NaN) compares false both ways and breaks the sort; from then on
// the index walks its array from the start like InsérerChamp, which still
// gives the same places.
//
// Threading: single-threaded, as the whole model is: an index is used by one
// thread at a time (the host's); nothing here locks, and nothing is shared
// between threads but what the platform holds.
#ifndef MANDOR_MODEL_INTERNAL_READING_ORDER_H_
#define MANDOR_MODEL_INTERNAL_READING_ORDER_H_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace mandor {

class ReadingOrder {
 public:
  // True when a field whose edges are (bottom, right) goes after a new field
  // at (new_bottom, new_right): the new one is inserted before it.
  static bool GoesAfter(float bottom, float right, float new_bottom, float new_right) {
    return bottom != new_bottom ? bottom > new_bottom : right > new_right;
  }

  long Count() const { return static_cast<long>(edges_.size()); }

  // The 1-based position a field at (bottom, right) takes; Count() + 1 when
  // it goes last.
  long InsertionPoint(float bottom, float right) const {
    if (sorted_) {
      const auto first_after =
          std::upper_bound(edges_.begin(), edges_.end(), Edges{bottom, right},
                           [](const Edges& added, const Edges& e) { return GoesAfter(e.first, e.second, added.first, added.second); });
      return static_cast<long>(first_after - edges_.begin()) + 1;
    }
    for (size_t i = 0; i < edges_.size(); ++i) {
      if (GoesAfter(edges_[i].first, edges_[i].second, bottom, right)) return static_cast<long>(i) + 1;
    }
    return Count() + 1;
  }

  // Records a field inserted at the 1-based `position` InsertionPoint gave.
  void Insert(long position, float bottom, float right) {
    if (std::isnan(bottom) || std::isnan(right)) sorted_ = false;
    edges_.insert(edges_.begin() + (position - 1), Edges{bottom, right});
  }

 private:
  using Edges = std::pair<float, float>;  // bottom, right
  std::vector<Edges> edges_;
  bool sorted_ = true;
};

}  // namespace mandor

#endif  // MANDOR_MODEL_INTERNAL_READING_ORDER_H_
