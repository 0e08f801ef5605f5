// Collection<T> is the keyed collection every set of objects in the model
// lives in (a document's pages, fields and rulers, a page's fields, the
// currency table, a catalogue's documents). It is an ordered sequence of
// shared pointers indexed from 1; each member may be stored under a unique
// string key, and keys compare without regard to case ("Page_1" and "PAGE_1",
// "É" and "é" are one key).
//
// Errors follow the classic automation collection:
//   - Add with a key already present: Error 457;
//   - Item/Remove with an index outside 1..Count: Error 9 (subscript out of range);
//   - Item/Remove/insertion relative to a key that is not present: Error 5
//     (invalid procedure call or argument).
//
// Key look-up is a hash look-up (KeyIndex); appending is amortised O(1);
// inserting or removing in the middle shifts the sequence (O(n)).
//
// Threading: single-threaded, as the whole model is: a collection is used by
// one thread at a time (the host's); nothing here locks, and nothing is
// shared between threads but what the platform holds.
#ifndef MANDOR_UTIL_COLLECTION_H_
#define MANDOR_UTIL_COLLECTION_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/error.h"
#include "mandor/util/internal/key_index.h"

namespace mandor {

template <class T>
class Collection {
 public:
  using Ptr = std::shared_ptr<T>;
  using const_iterator = typename std::vector<Ptr>::const_iterator;

  long Count() const { return static_cast<long>(items_.size()); }
  bool Empty() const { return items_.empty(); }

  // The member at 1-based position index.
  const Ptr& Item(long index) const { return items_[Position(index)]; }
  // The member stored under key.
  const Ptr& Item(std::string_view key) const {
    const size_t place = PlaceOfKey(key);
    if (place == KeyIndex::npos) ThrowMissingKey(key);
    return items_[place];
  }

  // The member stored under key, or nullptr when there is none: a look-up
  // that misses without the cost of an exception.
  const Ptr* Find(std::string_view key) const {
    const size_t place = PlaceOfKey(key);
    return place == KeyIndex::npos ? nullptr : &items_[place];
  }

  bool Contains(std::string_view key) const { return PlaceOfKey(key) != KeyIndex::npos; }

  // The key of the member at 1-based position index ("" when it has none).
  const std::string& Key(long index) const { return keys_[Position(index)]; }

  // Makes room for `count` members in all, each with a key: a reader that
  // knows how many it will add saves the sequence and the index from growing
  // step by step.
  void Reserve(size_t count) {
    items_.reserve(count);
    keys_.reserve(count);
    index_.Reserve(count);
  }

  // Appends item, under key unless key is empty.
  void Add(Ptr item, std::string_view key = {}) { InsertAt(items_.size(), std::move(item), key); }
  void Add(Ptr item, const KeyIndex::HashedKey& key) { InsertAt(items_.size(), std::move(item), key); }
  // Appends item under key and returns true, or returns false and changes
  // nothing when the key is taken (Add would raise Error 457).
  bool TryAdd(Ptr item, std::string_view key) { return TryAdd(std::move(item), KeyIndex::HashedKey(key)); }
  bool TryAdd(Ptr item, const KeyIndex::HashedKey& key) { return InsertAt(items_.size(), std::move(item), key, false); }

  // Inserts item before / after the member at 1-based position `index`.
  void AddBefore(Ptr item, std::string_view key, long index) {
    InsertAt(Position(index), std::move(item), key);
  }
  void AddAfter(Ptr item, std::string_view key, long index) {
    InsertAt(Position(index) + 1, std::move(item), key);
  }
  // Inserts item before / after the member stored under `existing_key`.
  void AddBefore(Ptr item, std::string_view key, std::string_view existing_key) {
    InsertAt(PositionOfKey(existing_key), std::move(item), key);
  }
  void AddAfter(Ptr item, std::string_view key, std::string_view existing_key) {
    InsertAt(PositionOfKey(existing_key) + 1, std::move(item), key);
  }

  void Remove(long index) { EraseAt(Position(index)); }
  void Remove(std::string_view key) { EraseAt(PositionOfKey(key)); }

  void Clear() {
    items_.clear();
    keys_.clear();
    index_.Clear();
  }

  const_iterator begin() const { return items_.begin(); }
  const_iterator end() const { return items_.end(); }

 private:
  size_t Position(long index) const {
    if (index < 1 || index > Count()) ThrowError(kSubscriptOutOfRange);
    return static_cast<size_t>(index - 1);
  }

  size_t PlaceOfKey(std::string_view key) const {
    return key.empty() || index_.Empty() ? KeyIndex::npos : index_.Find(key, KeyIndex::Hash(key), keys_);
  }

  size_t PositionOfKey(std::string_view key) const {
    const size_t place = PlaceOfKey(key);
    if (place == KeyIndex::npos) ThrowMissingKey(key);
    return place;
  }

  // Inserts item at pos; a key already taken raises Error 457, or gives
  // false when `raise` is off.
  bool InsertAt(size_t pos, Ptr item, std::string_view key, bool raise = true) {
    return InsertAt(pos, std::move(item), KeyIndex::HashedKey(key), raise);
  }
  bool InsertAt(size_t pos, Ptr item, const KeyIndex::HashedKey& hashed, bool raise = true) {
    // A collection holds objects: a null one would crash whoever walks it.
    if (!item) ThrowError(kObjectNotSet);
    const std::string_view key = hashed.text;
    const uint32_t hash = hashed.hash;
    if (!key.empty() && index_.Find(key, hash, keys_) != KeyIndex::npos) {
      if (raise) ThrowError(kDuplicateKey);
      return false;
    }
    std::string stored(key);
    MakeRoom(items_);
    MakeRoom(keys_);
    if (!key.empty()) index_.MakeRoom();
    // Nothing below throws: the collection is never left half changed.
    if (pos == items_.size()) {
      items_.push_back(std::move(item));
      keys_.push_back(std::move(stored));
    } else {
      index_.Shift(pos, +1, keys_);
      items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(pos), std::move(item));
      keys_.insert(keys_.begin() + static_cast<std::ptrdiff_t>(pos), std::move(stored));
    }
    if (!key.empty()) index_.Add(hash, pos);
    return true;
  }

  template <class V>
  static void MakeRoom(V& vector) {
    if (vector.size() == vector.capacity()) vector.reserve(vector.empty() ? 4 : vector.size() * 2);
  }

  void EraseAt(size_t pos) {
    if (!keys_[pos].empty()) index_.Remove(KeyIndex::Hash(keys_[pos]), pos);
    index_.Shift(pos + 1, -1, keys_);
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(pos));
    keys_.erase(keys_.begin() + static_cast<std::ptrdiff_t>(pos));
  }

  [[noreturn]] static void ThrowMissingKey(std::string_view key) {
    ThrowError(kInvalidArgument, Error::DefaultDescription(kInvalidArgument) + " (no member under the key \"" +
                                     std::string(key) + "\")");
  }

  std::vector<Ptr> items_;
  std::vector<std::string> keys_;  // as given; "" for a member without key
  KeyIndex index_;                 // folded key -> place in items_ and keys_
};

}  // namespace mandor

#endif  // MANDOR_UTIL_COLLECTION_H_
