// CFont holds the presentation attributes of text (name, size, colours,
// transparency, bold, italic, underline, strike-through, alignment) as a set
// of optional overrides over up to two parent fonts. An attribute the font
// does not set is taken from an override in ParentFont1, then an override in
// ParentFont2, then whatever ParentFont1 inherits, then the built-in default.
// A font never copies its parents' values, so a change in a parent shows at
// once in every descendant, and a font never stores an override equal to what
// it would inherit (setting such a value clears the override).
//
// The chain is catalogue font -> document font -> ruler font -> field font.
//
// Threading: single-threaded, as the whole model is: a font (and the chain of
// its parents) is used by one thread at a time (the host's); nothing here
// locks, and nothing is shared between threads but what the platform holds.
#ifndef MANDOR_FIELDS_FONT_H_
#define MANDOR_FIELDS_FONT_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace pugi {
class xml_node;
}

namespace mandor {

class CFont {
 public:
  CFont();  // all attributes unset; Id drawn from the platform's random source

  std::shared_ptr<CFont> ParentFont1;
  std::shared_ptr<CFont> ParentFont2;

  // Effective value / override / value inherited without the override.
  std::string Name() const;
  void Name(const std::string& value);
  bool HasName() const;
  std::string DefaultName() const;

  int16_t Size() const;
  void Size(int16_t value);  // clamped to 4..72
  bool HasSize() const;
  int16_t DefaultSize() const;

  int32_t Color() const;
  void Color(int32_t value);
  bool HasColor() const;
  int32_t DefaultColor() const;

  int32_t BackColor() const;
  void BackColor(int32_t value);  // 1 is stored as 0 (black)
  bool HasBackColor() const;
  int32_t DefaultBackColor() const;

  bool Transparent() const;
  void Transparent(bool value);
  bool HasTransparent() const;
  bool DefaultTransparent() const;

  bool Bold() const;
  void Bold(bool value);
  bool HasBold() const;
  bool DefaultBold() const;

  bool Italic() const;
  void Italic(bool value);
  bool HasItalic() const;
  bool DefaultItalic() const;

  bool Underline() const;
  void Underline(bool value);
  bool HasUnderline() const;
  bool DefaultUnderline() const;

  bool StrikeThrough() const;
  void StrikeThrough(bool value);
  bool HasStrikeThrough() const;
  bool DefaultStrikeThrough() const;

  // Alignment code as decimal text "0".."7"; let converts the text to a
  // number (Error 13 when it is not numeric) and keeps its low three bits.
  std::string Alignment() const;
  void Alignment(const std::string& value);
  bool HasAlignment() const;
  std::string DefaultAlignment() const;

  float Id() const { return id_; }

  std::string ALIGN_LEFT() const { return "0"; }
  std::string ALIGN_RIGHT() const { return "1"; }
  std::string ALIGN_CENTER() const { return "2"; }

  // The alignment as the 8-bit code rulers and fields expose: 0 left,
  // 1 right, 2 centre, or `other` when it is none of the three.
  uint8_t AlignmentCode(uint8_t other) const;
  // Sets the alignment from such a code; codes other than 0, 1, 2 change nothing.
  void SetAlignmentCode(uint8_t code);

  // Packed style: 1 bold, 2 italic, 4 underline, 8 strike-through,
  // 16 left, 32 centre, 64 right alignment.
  int16_t Special() const;
  void Special(int16_t value);

  // Copies every attribute that Font sets (all of them when force is true)
  // through the setters, in the order Name, Size, Color, BackColor,
  // Transparent, Bold, Italic, Underline, StrikeThrough, Alignment.
  void SetMe(const std::shared_ptr<CFont>& Font, bool force = false);

  // True when any attribute but the alignment is set here.
  bool HasSet() const;

  // Sets ParentFont1 and ParentFont2, leaving null a parent that is this
  // very font (a ruler given its document's own font, say): a font that is
  // its own parent would never be freed.
  void SetParents(const std::shared_ptr<CFont>& parent1, const std::shared_ptr<CFont>& parent2 = nullptr);

  // Reading and writing the "mn:iFont" element of the XML catalogue.
  static std::shared_ptr<CFont> GetFontFromXmlNode(const pugi::xml_node& XmlFont,
                                                   std::shared_ptr<CFont> oParentFont1 = nullptr,
                                                   std::shared_ptr<CFont> oParentFont2 = nullptr);
  // As GetFontFromXmlNode, but leaves the element as it is (the attributes it
  // lacks are not added): for a document dropped once it is read.
  static std::shared_ptr<CFont> ReadXmlFont(const pugi::xml_node& XmlFont, std::shared_ptr<CFont> oParentFont1,
                                            std::shared_ptr<CFont> oParentFont2);
  pugi::xml_node GetXmlFontFromFontClass(pugi::xml_node oXmlParent) const;

 private:
  static constexpr uint8_t kUnsetFlag = 8;

  // The logic shared by every attribute, written once over a storage rule
  // (what "unset" is, how a value is stored and read back, the built-in
  // default); the rules and the per-attribute accessors are in font.cpp.
  template <class Rule>
  using Field = typename Rule::Stored CFont::*;
  template <class Rule>
  typename Rule::Value Get(Field<Rule> field) const;
  template <class Rule>
  typename Rule::Value Inherited(Field<Rule> field) const;
  // The stored override the font inherits, or nullptr for the built-in default.
  template <class Rule>
  const typename Rule::Stored* InheritedStored(Field<Rule> field) const;
  template <class Rule>
  void Let(Field<Rule> field, typename Rule::Param value);

  std::string name_;
  int16_t size_ = 0;
  int32_t color_ = -1;
  int32_t back_color_ = -1;
  uint8_t transparent_ = kUnsetFlag;
  uint8_t bold_ = kUnsetFlag;
  uint8_t italic_ = kUnsetFlag;
  uint8_t underline_ = kUnsetFlag;
  uint8_t strike_through_ = kUnsetFlag;
  uint8_t alignment_ = kUnsetFlag;
  float id_ = 0;
};

}  // namespace mandor

#endif  // MANDOR_FIELDS_FONT_H_
