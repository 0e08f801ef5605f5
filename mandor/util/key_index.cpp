#include "mandor/util/internal/key_index.h"

#include "mandor/util/internal/text.h"
#include "mandor/util/internal/word.h"

namespace mandor {

namespace {

constexpr uint64_t kHighBits = 0x8080808080808080ULL;

// The eight ASCII bytes of w with a-z upper-cased, all at once: a byte's top
// bit is set by adding 0x80 - 'a' when it is at least 'a', by adding
// 0x80 - 'z' - 1 when it is beyond 'z'.
constexpr uint64_t UpperAscii(uint64_t w) {
  const uint64_t at_least_a = w + 0x1f1f1f1f1f1f1f1fULL;
  const uint64_t beyond_z = w + 0x0505050505050505ULL;
  return w ^ (((at_least_a & ~beyond_z) & kHighBits) >> 2);
}

uint64_t Mix(uint64_t h, uint64_t w) {
  h = (h ^ w) * 0x9e3779b97f4a7c15ULL;
  return h ^ (h >> 29);
}

// Hashes text eight bytes at a time, upper-casing the words that are all
// ASCII; gives up (returns false) at the first other word when `ascii_only`.
// Every word is made of the text's bytes alone, so that texts that fold
// alike hash alike.
bool HashWords(std::string_view text, bool ascii_only, uint32_t& hash) {
  uint64_t h = 0x243f6a8885a308d3ULL ^ text.size();
  for (size_t at = 0; at < text.size(); at += 8) {
    uint64_t w = text.size() - at >= 8 ? Word(text.data() + at) : ShortWord(text.data() + at, text.size() - at);
    if ((w & kHighBits) == 0) {
      w = UpperAscii(w);
    } else if (ascii_only) {
      return false;
    }
    h = Mix(h, w);
  }
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  hash = static_cast<uint32_t>(h);
  return true;
}

}  // namespace

// Texts of ASCII only are hashed as they are, words upper-cased on the way;
// others through their folded copy, whose ASCII words are already upper
// case, so that texts folding alike hash alike either way.
uint32_t KeyIndex::Hash(std::string_view key) {
  uint32_t hash = 0;
  if (!HashWords(key, true, hash)) HashWords(FoldCase(key), false, hash);
  return hash;
}

size_t KeyIndex::Find(std::string_view key, uint32_t hash, const std::vector<std::string>& keys) const {
  if (count_ == 0) return npos;
  for (size_t i = hash & Mask();; i = (i + 1) & Mask()) {
    const Slot& slot = slots_[i];
    if (slot.place_plus_1 == 0) return npos;
    if (slot.hash != hash) continue;
    const std::string& stored = keys[slot.place_plus_1 - 1];
    if (stored == key || EqualsIgnoreCase(stored, key)) return slot.place_plus_1 - 1;
  }
}

void KeyIndex::MakeRoom() {
  if ((count_ + 1) * 2 > slots_.size()) Grow();
}

void KeyIndex::Reserve(size_t count) {
  if (count == 0) return;  // an empty collection keeps no table
  size_t size = slots_.empty() ? 8 : slots_.size();
  while (size < 2 * count) size *= 2;
  if (size > slots_.size()) Rehash(size);
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

void KeyIndex::Grow() { Rehash(slots_.empty() ? 8 : slots_.size() * 2); }

void KeyIndex::Rehash(size_t size) {
  std::vector<Slot> old;
  old.swap(slots_);
  slots_.assign(size, Slot{});
  for (const Slot& slot : old) {
    if (slot.place_plus_1 == 0) continue;
    size_t i = slot.hash & Mask();
    while (slots_[i].place_plus_1 != 0) i = (i + 1) & Mask();
    slots_[i] = slot;
  }
}

}  // namespace mandor
