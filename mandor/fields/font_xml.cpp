// Reading and writing a font as the "mn:iFont" element of the XML catalogue.

#include <array>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "mandor/fields/font.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

namespace {

// The attributes of an "mn:iFont" element, in the order they are read.
enum FontAttribute { kName, kSize, kBold, kItalic, kUnderline, kStrikeThrough, kColor, kBackColor, kAlignment };
constexpr const char* kFontAttributeNames[] = {"mn:Name",  "mn:Size",  "mn:B",         "mn:I",        "mn:U",
                                               "mn:S",     "mn:Color", "mn:BackColor", "mn:Alignment"};
constexpr size_t kFontAttributeCount = std::size(kFontAttributeNames);
using FontTexts = std::array<std::string_view, kFontAttributeCount>;

// Runs apply on the text's number when the text is numeric. A value out of
// the target's range is skipped like a non-numeric one.
template <class Apply>
void WhenNumeric(std::string_view text, Apply apply) {
  if (text.empty()) return;  // most attributes are absent: no need to ask for the locale
  const std::optional<double> value = ParseNumber(text, CurrentPlatform().locale());
  if (!value) return;
  RunIgnoringErrors([&] { apply(*value); });
}

void Apply(CFont& font, const FontTexts& text) {
  if (!text[kName].empty()) font.Name(std::string(text[kName]));
  WhenNumeric(text[kSize], [&](double v) { font.Size(ToInt16(v)); });
  WhenNumeric(text[kBold], [&](double v) { font.Bold(v != 0); });
  WhenNumeric(text[kItalic], [&](double v) { font.Italic(v != 0); });
  WhenNumeric(text[kUnderline], [&](double v) { font.Underline(v != 0); });
  WhenNumeric(text[kStrikeThrough], [&](double v) { font.StrikeThrough(v != 0); });
  WhenNumeric(text[kColor], [&](double v) { font.Color(ToInt32(v)); });
  // The sign of the back colour carries the transparency; 1 (or -1) alone
  // says "transparent or not" without a colour of its own.
  WhenNumeric(text[kBackColor], [&](double v) {
    const int32_t magnitude = ToInt32(std::abs(v));
    font.Transparent(StartsWith(TrimView(text[kBackColor]), "-"));
    if (magnitude != 1) font.BackColor(magnitude);
  });
  WhenNumeric(text[kAlignment], [&](double v) { font.Alignment(std::to_string(ToByte(v))); });
}

// A new font on the parents given, with the texts of the element's
// attributes applied; `text_of(i)` is the text of kFontAttributeNames[i]
// ("" for a missing attribute).
template <class TextOf>
std::shared_ptr<CFont> FontFromElement(const pugi::xml_node& element, std::shared_ptr<CFont> parent1,
                                       std::shared_ptr<CFont> parent2, TextOf text_of) {
  auto font = std::make_shared<CFont>();
  if (parent1) font->ParentFont1 = std::move(parent1);
  if (parent2) font->ParentFont2 = std::move(parent2);
  if (!element) return font;
  FontTexts text;
  for (size_t i = 0; i < kFontAttributeCount; ++i) text[i] = text_of(i);
  Apply(*font, text);
  return font;
}

}  // namespace

std::shared_ptr<CFont> CFont::GetFontFromXmlNode(const pugi::xml_node& XmlFont, std::shared_ptr<CFont> oParentFont1,
                                                 std::shared_ptr<CFont> oParentFont2) {
  return FontFromElement(XmlFont, std::move(oParentFont1), std::move(oParentFont2), [&](size_t i) {
    return std::string_view(XmlGetAttribute(XmlFont, kFontAttributeNames[i]).value());
  });
}

std::shared_ptr<CFont> CFont::ReadXmlFont(const pugi::xml_node& XmlFont, std::shared_ptr<CFont> oParentFont1,
                                          std::shared_ptr<CFont> oParentFont2) {
  static const AttributeNames names(kFontAttributeNames, kFontAttributeCount);
  const ElementAttributes attributes(XmlFont, names);  // all "" for a null element
  return FontFromElement(XmlFont, std::move(oParentFont1), std::move(oParentFont2),
                         [&](size_t i) { return attributes[i]; });
}

pugi::xml_node CFont::GetXmlFontFromFontClass(pugi::xml_node oXmlParent) const {
  if (!oXmlParent) return {};
  // The new record takes the place of the old one, so that the file keeps
  // its layout when a font is written back unchanged.
  pugi::xml_node old_font = oXmlParent.child("mn:iFont");
  pugi::xml_node place = old_font ? old_font.next_sibling() : pugi::xml_node();
  if (old_font) oXmlParent.remove_child(old_font);

  pugi::xml_node font = place ? oXmlParent.insert_child_before("mn:iFont", place) : oXmlParent.append_child("mn:iFont");
  const auto flag = [](bool v) { return v ? "1" : "0"; };
  // An attribute differs from the inherited one only when the font sets it:
  // Has* first spares the walk up the parents for all the others.
  if (HasName() && Name() != DefaultName()) font.append_attribute("mn:Name") = Name().c_str();
  if (HasSize() && Size() != DefaultSize()) font.append_attribute("mn:Size") = std::to_string(Size()).c_str();
  if (HasColor() && Color() != DefaultColor()) font.append_attribute("mn:Color") = std::to_string(Color()).c_str();
  const bool transparent_differs = HasTransparent() && Transparent() != DefaultTransparent();
  const bool back_differs = HasBackColor() && BackColor() != DefaultBackColor();
  if (back_differs) {
    // A transparent background is written as the negated colour.
    std::string back = std::to_string(BackColor());
    if (Transparent()) back.insert(back.begin(), '-');
    font.append_attribute("mn:BackColor") = back.c_str();
  } else if (transparent_differs) {
    font.append_attribute("mn:BackColor") = Transparent() ? "-1" : "";
  }
  if (HasBold() && Bold() != DefaultBold()) font.append_attribute("mn:B") = flag(Bold());
  if (HasItalic() && Italic() != DefaultItalic()) font.append_attribute("mn:I") = flag(Italic());
  if (HasUnderline() && Underline() != DefaultUnderline()) font.append_attribute("mn:U") = flag(Underline());
  if (HasStrikeThrough() && StrikeThrough() != DefaultStrikeThrough()) font.append_attribute("mn:S") = flag(StrikeThrough());
  if (HasAlignment() && Alignment() != DefaultAlignment()) font.append_attribute("mn:Alignment") = Alignment().c_str();

  if (!font.first_attribute()) {
    oXmlParent.remove_child(font);
    return {};
  }
  return font;
}

}  // namespace mandor
