// Not API: installed only because a public class holds one (CChamp); it may
// change in any release. Use the public class instead.
//
// PackedTexts holds a fixed number of texts in one small block. Eight
// std::string members take 256 bytes whatever they hold, while the texts of
// a marking's field (its name, the names of its rulers, its value and first
// value, its formula) are a few bytes each: together they nearly always fit
// in the 56 bytes kept here. A large marking holds hundreds of thousands of
// fields, and loading it spends much of its time mapping the fresh memory
// they take, so the model is read faster as well as kept in less memory.
//
// Texts that together do not fit move, all of them, to N std::strings on
// the heap, and stay there: any length is kept, nothing is cut.
//
// Threading: single-threaded, as the whole model is: a block of texts is used
// by one thread at a time (the host's); nothing here locks, and nothing is
// shared between threads but what the platform holds.
#ifndef MANDOR_UTIL_INTERNAL_PACKED_TEXTS_H_
#define MANDOR_UTIL_INTERNAL_PACKED_TEXTS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace mandor {

template <size_t N>
class PackedTexts {
 public:
  static constexpr size_t kInline = 56;
  static_assert(N >= 1 && kInline <= 255, "ends are kept in one byte each");

  PackedTexts() = default;
  PackedTexts(const PackedTexts& other)
      : spilled_(other.spilled_ ? std::make_unique<Spilled>(*other.spilled_) : nullptr) {
    std::memcpy(inline_, other.inline_, sizeof inline_);
    std::memcpy(ends_, other.ends_, sizeof ends_);
  }
  PackedTexts& operator=(const PackedTexts& other) {
    if (this != &other) *this = PackedTexts(other);
    return *this;
  }
  PackedTexts(PackedTexts&&) noexcept = default;
  PackedTexts& operator=(PackedTexts&&) noexcept = default;

  // Text i (0 <= i < N); the view is valid until the next Set.
  std::string_view Get(size_t i) const {
    if (spilled_) return (*spilled_)[i];
    const size_t begin = i == 0 ? 0 : ends_[i - 1];
    return std::string_view(inline_ + begin, ends_[i] - begin);
  }

  // Replaces text i; `text` may be a view of one of these texts.
  void Set(size_t i, std::string_view text) {
    // Spilled texts are replaced by a fresh string rather than assigned in
    // place: the text may be a view of the very string it replaces (and
    // GCC 12 at -O3 reports a false overlap in the in-place assignment).
    if (spilled_) {
      (*spilled_)[i] = std::string(text);
      return;
    }
    const size_t begin = i == 0 ? 0 : ends_[i - 1];
    const size_t end = ends_[i];
    const size_t total = ends_[N - 1];
    const size_t old_size = end - begin;
    // The first test is implied by the second; it is written out so that
    // the optimiser, which cannot know how the ends relate, sees every copy
    // below stay inside the block.
    if (text.size() > kInline || total - old_size + text.size() > kInline) {
      Spill();
      (*spilled_)[i] = std::string(text);
      return;
    }
    // A text taken from this block is copied out before the block moves.
    char copy[kInline];
    if (text.data() >= inline_ && text.data() < inline_ + kInline) {
      std::memcpy(copy, text.data(), text.size());
      text = std::string_view(copy, text.size());
    }
    // Texts are mostly set once, in order, on an empty block: nothing after
    // them to move, no end to change when the size is the same.
    if (end < total && text.size() != old_size) std::memmove(inline_ + begin + text.size(), inline_ + end, total - end);
    if (!text.empty()) std::memcpy(inline_ + begin, text.data(), text.size());
    if (text.size() != old_size) {
      for (size_t j = i; j < N; ++j) ends_[j] = static_cast<uint8_t>(ends_[j] + text.size() - old_size);
    }
  }

 private:
  using Spilled = std::array<std::string, N>;

  void Spill() {
    auto spilled = std::make_unique<Spilled>();
    for (size_t j = 0; j < N; ++j) (*spilled)[j] = std::string(Get(j));
    spilled_ = std::move(spilled);
  }

  char inline_[kInline] = {};
  uint8_t ends_[N] = {};  // ends_[i]: where text i ends in inline_; text i begins where text i - 1 ends
  std::unique_ptr<Spilled> spilled_;  // when set, it holds every text and the block is unused
};

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_PACKED_TEXTS_H_
