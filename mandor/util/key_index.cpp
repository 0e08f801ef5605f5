#include "mandor/util/key_index.h"

#include "mandor/util/text.h"

namespace mandor {

namespace {

constexpr unsigned char Upper(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; }

// FNV-1a over the bytes, then a finaliser that spreads them into the low
// bits the table uses.
struct Hasher {
  uint64_t h = 0xcbf29ce484222325ULL;
  void Add(unsigned char c) { h = (h ^ c) * 0x100000001b3ULL; }
  uint32_t Done() const {
    uint64_t x = h;
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    return static_cast<uint32_t>(x);
  }
};

}  // namespace

uint32_t KeyIndex::Hash(std::string_view key) {
  Hasher hasher;
  for (const char ch : key) {
    const auto c = static_cast<unsigned char>(ch);
    if (c >= 0x80) {
      Hasher folded;
      for (const char f : FoldCase(key)) folded.Add(static_cast<unsigned char>(f));
      return folded.Done();
    }
    hasher.Add(Upper(c));
  }
  return hasher.Done();
}

bool KeyIndex::FoldedEquals(std::string_view a, std::string_view b) {
  const size_t common = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < common; ++i) {
    const auto ca = static_cast<unsigned char>(a[i]);
    const auto cb = static_cast<unsigned char>(b[i]);
    if ((ca | cb) >= 0x80) return FoldCase(a) == FoldCase(b);
    // Equal ASCII prefixes fold to equal prefixes, so a difference here is
    // a difference of the folded texts.
    if (Upper(ca) != Upper(cb)) return false;
  }
  if (a.size() == b.size()) return true;
  for (const char c : (a.size() > b.size() ? a : b).substr(common)) {
    if (static_cast<unsigned char>(c) >= 0x80) return FoldCase(a) == FoldCase(b);
  }
  return false;
}

size_t KeyIndex::Find(std::string_view key, uint32_t hash, const std::vector<std::string>& keys) const {
  if (count_ == 0) return npos;
  for (size_t i = hash & Mask();; i = (i + 1) & Mask()) {
    const Slot& slot = slots_[i];
    if (slot.place_plus_1 == 0) return npos;
    if (slot.hash == hash && FoldedEquals(keys[slot.place_plus_1 - 1], key)) return slot.place_plus_1 - 1;
  }
}

void KeyIndex::MakeRoom() {
  if ((count_ + 1) * 2 > slots_.size()) Grow();
}

void KeyIndex::Add(uint32_t hash, size_t place) {
  MakeRoom();
  size_t i = hash & Mask();
  while (slots_[i].place_plus_1 != 0) i = (i + 1) & Mask();
  slots_[i] = Slot{static_cast<uint32_t>(place + 1), hash};
  ++count_;
}

void KeyIndex::Remove(uint32_t hash, size_t place) {
  if (count_ == 0) return;
  size_t i = hash & Mask();
  while (slots_[i].place_plus_1 != place + 1) {
    if (slots_[i].place_plus_1 == 0) return;
    i = (i + 1) & Mask();
  }
  // Backward-shift deletion: move up every later slot of the run whose home
  // is not between the hole and itself, so that no probe stops early.
  for (size_t j = i;;) {
    j = (j + 1) & Mask();
    if (slots_[j].place_plus_1 == 0) break;
    const size_t home = slots_[j].hash & Mask();
    const bool stays = i <= j ? (i < home && home <= j) : (i < home || home <= j);
    if (stays) continue;
    slots_[i] = slots_[j];
    i = j;
  }
  slots_[i] = Slot{};
  --count_;
}

void KeyIndex::Shift(size_t from, int delta, const std::vector<std::string>& keys) {
  if (count_ == 0 || from >= keys.size()) return;
  const auto move = [delta](Slot& slot) {
    slot.place_plus_1 = static_cast<uint32_t>(static_cast<int64_t>(slot.place_plus_1) + delta);
  };
  if ((keys.size() - from) * 16 < slots_.size()) {
    // Moved in the order that never gives two slots the same place.
    const auto relocate = [&](size_t place) {
      if (keys[place].empty()) return;
      size_t i = Hash(keys[place]) & Mask();
      while (slots_[i].place_plus_1 != place + 1) i = (i + 1) & Mask();
      move(slots_[i]);
    };
    if (delta > 0) {
      for (size_t place = keys.size(); place-- > from;) relocate(place);
    } else {
      for (size_t place = from; place < keys.size(); ++place) relocate(place);
    }
    return;
  }
  for (Slot& slot : slots_) {
    if (slot.place_plus_1 != 0 && slot.place_plus_1 - 1 >= from) move(slot);
  }
}

void KeyIndex::Clear() {
  slots_.clear();
  count_ = 0;
}

void KeyIndex::Grow() {
  std::vector<Slot> old;
  old.swap(slots_);
  slots_.assign(old.empty() ? 8 : old.size() * 2, Slot{});
  for (const Slot& slot : old) {
    if (slot.place_plus_1 == 0) continue;
    size_t i = slot.hash & Mask();
    while (slots_[i].place_plus_1 != 0) i = (i + 1) & Mask();
    slots_[i] = slot;
  }
}

}  // namespace mandor
