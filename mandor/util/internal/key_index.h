// Not API: installed only because a public class holds one (Collection); it may
// change in any release. Use the public class instead.
//
// KeyIndex finds a keyed collection's members by key without regard to case.
// It maps the folded form of each key (see FoldCase) to the member's place in
// the collection's sequence, in one open-addressing table of small slots
// (place and hash), so that a look-up or an insertion costs a hash of the key
// and, nearly always, one probe, with no allocation per key: the key itself
// stays in the collection, once, as it was given.
//
// A catalogue or text marking keys hundreds of thousands of fields; a table
// of nodes, one allocation and one folded copy of the key per member, was
// the largest cost of loading them.
//
// Threading: single-threaded, as the whole model is: an index is used by one
// thread at a time (the host's); nothing here locks, and nothing is shared
// between threads but what the platform holds.
#ifndef MANDOR_UTIL_INTERNAL_KEY_INDEX_H_
#define MANDOR_UTIL_INTERNAL_KEY_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mandor {

class KeyIndex {
 public:
  static constexpr size_t npos = static_cast<size_t>(-1);

  // The hash of FoldCase(key), computed without building the folded copy
  // when the key is ASCII.
  static uint32_t Hash(std::string_view key);

  // A key with its Hash (0 for an empty key), computed once to key one
  // member in several collections.
  struct HashedKey {
    explicit HashedKey(std::string_view key) : text(key), hash(key.empty() ? 0 : Hash(key)) {}
    std::string_view text;
    uint32_t hash;
  };

  bool Empty() const { return count_ == 0; }

  // The place of the member whose key (keys[place]) folds as `key` does,
  // or npos. `hash` is Hash(key).
  size_t Find(std::string_view key, uint32_t hash, const std::vector<std::string>& keys) const;

  // Makes sure that the next Add does not allocate (so cannot throw).
  void MakeRoom();
  // Makes room for `count` keys in all, so that adding up to that many
  // does not grow the table step by step.
  void Reserve(size_t count);
  // Records that the member at `place` is keyed with the given hash. The
  // caller has checked that its key is not taken.
  void Add(uint32_t hash, size_t place);
  // Forgets the member at `place`, whose key has the given hash.
  void Remove(uint32_t hash, size_t place);
  // Moves every recorded place at or after `from` by `delta` (+1 or -1),
  // before a member is inserted or erased in the middle of the sequence;
  // `keys` are the collection's keys before that change. A short tail (a
  // field inserted near the end of its page) moves key by key, a long one
  // in one sweep of the table.
  void Shift(size_t from, int delta, const std::vector<std::string>& keys);
  void Clear();

 private:
  struct Slot {
    uint32_t place_plus_1 = 0;  // 0: empty
    uint32_t hash = 0;
  };

  void Grow();
  void Rehash(size_t size);  // a power of two, more than twice count_
  size_t Mask() const { return slots_.size() - 1; }

  std::vector<Slot> slots_;  // power-of-two size, at most half full
  size_t count_ = 0;
};

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_KEY_INDEX_H_
