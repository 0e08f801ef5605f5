#include "mandor/fields/font.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

// Inheritance deeper than this can only be a loop among parents; the
// look-up then stops at the built-in default instead of recursing forever.
constexpr int kMaxInheritanceDepth = 256;

// Storage rules. Each says how an attribute is stored (Stored), what the
// caller sees (Value) and passes (Param), which stored values mean "set
// here", how a value is turned into its stored form, the unset value and the
// built-in default.

struct NameRule {
  using Stored = std::string;
  using Value = std::string;
  using Param = const std::string&;
  static bool IsSet(const Stored& s) { return !s.empty(); }
  static Value Own(const Stored& s) { return s; }
  static Stored Store(Param v) { return v; }
  static Stored Unset() { return {}; }
  static Value Builtin() { return "Arial"; }
  static bool Same(const Stored& a, const Stored& b) { return a == b; }
  static bool SameAsBuiltin(const Stored& s) { return s == "Arial"; }
};

// A number that counts as set from kFirstSet upwards.
template <class T, T kUnset, T kFirstSet, T kBuiltin>
struct NumberRule {
  using Stored = T;
  using Value = T;
  using Param = T;
  static bool IsSet(T s) { return s >= kFirstSet; }
  static T Own(T s) { return s; }
  static T Store(T v) { return v; }
  static T Unset() { return kUnset; }
  static T Builtin() { return kBuiltin; }
  static bool Same(T a, T b) { return a == b; }
  static bool SameAsBuiltin(T s) { return s == kBuiltin; }
};

struct SizeRule : NumberRule<int16_t, 0, 4, 9> {
  static int16_t Store(int16_t v) { return std::clamp<int16_t>(v, 4, 72); }
};

using ColorRule = NumberRule<int32_t, -1, 0, 0>;

struct BackColorRule : NumberRule<int32_t, -1, 0, 16777215> {
  // 1 means black for a back colour.
  static int32_t Store(int32_t v) { return v == 1 ? 0 : v; }
};

// A byte flag: 0 false, 1 true, 8 unset.
template <bool kBuiltin>
struct FlagRule {
  using Stored = uint8_t;
  using Value = bool;
  using Param = bool;
  static bool IsSet(uint8_t s) { return s != 8; }
  static bool Own(uint8_t s) { return s == 1; }
  static uint8_t Store(bool v) { return v ? 1 : 0; }
  static uint8_t Unset() { return 8; }
  static bool Builtin() { return kBuiltin; }
  static bool Same(uint8_t a, uint8_t b) { return Own(a) == Own(b); }
  static bool SameAsBuiltin(uint8_t s) { return Own(s) == kBuiltin; }
};

// The alignment code 0..7, seen as its decimal text.
struct AlignmentRule {
  using Stored = uint8_t;
  using Value = std::string;
  using Param = const std::string&;
  static bool IsSet(uint8_t s) { return s != 8; }
  static std::string Own(uint8_t s) { return std::to_string(s & 7); }
  // Error 13 for a non-numeric text, Error 6 outside the byte range.
  static uint8_t Store(const std::string& v) {
    // The codes the font itself passes are one digit: no conversion needed.
    if (v.size() == 1 && v[0] >= '0' && v[0] <= '9') return static_cast<uint8_t>((v[0] - '0') & 7);
    return ToByte(ToDouble(v, CurrentPlatform().locale())) & 7;
  }
  static uint8_t Unset() { return 8; }
  static std::string Builtin() { return "0"; }
  // Codes compare as their texts do.
  static bool Same(uint8_t a, uint8_t b) { return (a & 7) == (b & 7); }
  static bool SameAsBuiltin(uint8_t s) { return (s & 7) == 0; }
};

// Every attribute but the alignment, in the order SetMe copies them:
// X(property name, rule, storage member).
#define MANDOR_FONT_STYLE_ATTRIBUTES(X)                     \
  X(Name, NameRule, name_)                                  \
  X(Size, SizeRule, size_)                                  \
  X(Color, ColorRule, color_)                               \
  X(BackColor, BackColorRule, back_color_)                  \
  X(Transparent, FlagRule<true>, transparent_)              \
  X(Bold, FlagRule<false>, bold_)                           \
  X(Italic, FlagRule<false>, italic_)                       \
  X(Underline, FlagRule<false>, underline_)                 \
  X(StrikeThrough, FlagRule<false>, strike_through_)

#define MANDOR_FONT_ATTRIBUTES(X)     \
  MANDOR_FONT_STYLE_ATTRIBUTES(X)     \
  X(Alignment, AlignmentRule, alignment_)

}  // namespace

CFont::CFont() {
  // The identifier must stay in [0, 1) even when a draw just below 1 rounds
  // up to 1 as a float, or a host's random source strays.
  const double drawn = CurrentPlatform().Random();
  const double highest = std::nextafter(1.0f, 0.0f);
  id_ = static_cast<float>(std::isnan(drawn) ? 0.0 : std::clamp(drawn, 0.0, highest));
}

template <class Rule>
typename Rule::Value CFont::Get(Field<Rule> field) const {
  return Rule::IsSet(this->*field) ? Rule::Own(this->*field) : Inherited<Rule>(field);
}

// An override in parent 1, then an override in parent 2, then what parent 1
// inherits, then the built-in default.
template <class Rule>
const typename Rule::Stored* CFont::InheritedStored(Field<Rule> field) const {
  const CFont* font = this;
  for (int depth = 0; depth < kMaxInheritanceDepth; ++depth) {
    const CFont* parent1 = font->ParentFont1.get();
    const CFont* parent2 = font->ParentFont2.get();
    if (parent1 != nullptr && Rule::IsSet(parent1->*field)) return &(parent1->*field);
    if (parent2 != nullptr && Rule::IsSet(parent2->*field)) return &(parent2->*field);
    if (parent1 == nullptr) break;
    font = parent1;
  }
  return nullptr;
}

template <class Rule>
typename Rule::Value CFont::Inherited(Field<Rule> field) const {
  const typename Rule::Stored* inherited = InheritedStored<Rule>(field);
  return inherited != nullptr ? Rule::Own(*inherited) : Rule::Builtin();
}

// Stores the override, then drops it again when it equals what the font
// would inherit anyway. The comparison is made on the stored forms, which
// read back equal exactly when the values do.
template <class Rule>
void CFont::Let(Field<Rule> field, typename Rule::Param value) {
  typename Rule::Stored& stored = this->*field;
  stored = Rule::Store(value);
  if (!Rule::IsSet(stored)) {
    stored = Rule::Unset();
    return;
  }
  const typename Rule::Stored* inherited = InheritedStored<Rule>(field);
  if (inherited != nullptr ? Rule::Same(stored, *inherited) : Rule::SameAsBuiltin(stored)) stored = Rule::Unset();
}

#define MANDOR_FONT_ACCESSORS(X, Rule, field)                                                \
  Rule::Value CFont::X() const { return Get<Rule>(&CFont::field); }                       \
  void CFont::X(Rule::Param value) { Let<Rule>(&CFont::field, value); }                      \
  bool CFont::Has##X() const { return Rule::IsSet(field); }                                  \
  Rule::Value CFont::Default##X() const { return Inherited<Rule>(&CFont::field); }

MANDOR_FONT_ATTRIBUTES(MANDOR_FONT_ACCESSORS)

#undef MANDOR_FONT_ACCESSORS

int16_t CFont::Special() const {
  const std::string alignment = Alignment();
  int16_t bits = 0;
  if (Bold()) bits |= 1;
  if (Italic()) bits |= 2;
  if (Underline()) bits |= 4;
  if (StrikeThrough()) bits |= 8;
  if (alignment == ALIGN_LEFT()) bits |= 16;
  if (alignment == ALIGN_CENTER()) bits |= 32;
  if (alignment == ALIGN_RIGHT()) bits |= 64;
  return bits;
}

void CFont::Special(int16_t value) {
  const int bits = value & 0xFF;
  Bold((bits & 1) != 0);
  Italic((bits & 2) != 0);
  Underline((bits & 4) != 0);
  StrikeThrough((bits & 8) != 0);
  // Several alignment bits: the last one set wins.
  if ((bits & 16) != 0) Alignment(ALIGN_LEFT());
  if ((bits & 32) != 0) Alignment(ALIGN_CENTER());
  if ((bits & 64) != 0) Alignment(ALIGN_RIGHT());
}

void CFont::SetMe(const std::shared_ptr<CFont>& Font, bool force) {
  if (Font == nullptr) return;
  const CFont& source = *Font;
#define MANDOR_FONT_COPY(X, Rule, field) \
  if (force || source.Has##X()) X(source.X());
  MANDOR_FONT_ATTRIBUTES(MANDOR_FONT_COPY)
#undef MANDOR_FONT_COPY
}

void CFont::SetParents(const std::shared_ptr<CFont>& parent1, const std::shared_ptr<CFont>& parent2) {
  ParentFont1 = parent1.get() == this ? nullptr : parent1;
  ParentFont2 = parent2.get() == this ? nullptr : parent2;
}

bool CFont::HasSet() const {
#define MANDOR_FONT_HAS(X, Rule, field) || Rule::IsSet(field)
  return false MANDOR_FONT_STYLE_ATTRIBUTES(MANDOR_FONT_HAS);
#undef MANDOR_FONT_HAS
}

#undef MANDOR_FONT_ATTRIBUTES
#undef MANDOR_FONT_STYLE_ATTRIBUTES

uint8_t CFont::AlignmentCode(uint8_t other) const {
  const std::string alignment = Alignment();
  if (alignment == ALIGN_LEFT()) return 0;
  if (alignment == ALIGN_RIGHT()) return 1;
  if (alignment == ALIGN_CENTER()) return 2;
  return other;
}

void CFont::SetAlignmentCode(uint8_t code) {
  switch (code) {
    case 0: Alignment(ALIGN_LEFT()); break;
    case 1: Alignment(ALIGN_RIGHT()); break;
    case 2: Alignment(ALIGN_CENTER()); break;
    default: break;
  }
}

}  // namespace mandor
