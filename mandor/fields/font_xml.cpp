// Reading and writing a font as the "mn:iFont" element of the XML catalogue.

#include <cstdlib>
#include <optional>
#include <string>

#include <pugixml.hpp>

#include "mandor/fields/font.h"
#include "mandor/util/number.h"
#include "mandor/util/platform.h"
#include "mandor/util/text.h"
#include "mandor/xml/xml_access.h"

namespace mandor {

namespace {

// The number an attribute holds, or nullopt when it is not numeric.
std::optional<double> NumberOf(const std::string& text) { return ParseNumber(text, CurrentPlatform().locale()); }

// Runs apply on the attribute's number when the attribute is numeric. A value
// out of the target's range is skipped like a non-numeric one.
template <class Apply>
void WhenNumeric(const pugi::xml_node& element, const char* name, Apply apply) {
  const std::optional<double> value = NumberOf(XmlGetAttribute(element, name).value());
  if (!value) return;
  try {
    apply(*value);
  } catch (const std::exception&) {
  }
}

}  // namespace

std::shared_ptr<CFont> CFont::GetFontFromXmlNode(const pugi::xml_node& XmlFont, std::shared_ptr<CFont> oParentFont1,
                                                 std::shared_ptr<CFont> oParentFont2) {
  auto font = std::make_shared<CFont>();
  if (oParentFont1) font->ParentFont1 = std::move(oParentFont1);
  if (oParentFont2) font->ParentFont2 = std::move(oParentFont2);
  if (!XmlFont) return font;

  const std::string name = XmlGetAttribute(XmlFont, "mn:Name").value();
  if (!name.empty()) font->Name(name);
  WhenNumeric(XmlFont, "mn:Size", [&](double v) { font->Size(ToInt16(v)); });
  WhenNumeric(XmlFont, "mn:B", [&](double v) { font->Bold(v != 0); });
  WhenNumeric(XmlFont, "mn:I", [&](double v) { font->Italic(v != 0); });
  WhenNumeric(XmlFont, "mn:U", [&](double v) { font->Underline(v != 0); });
  WhenNumeric(XmlFont, "mn:S", [&](double v) { font->StrikeThrough(v != 0); });
  WhenNumeric(XmlFont, "mn:Color", [&](double v) { font->Color(ToInt32(v)); });
  // The sign of the back colour carries the transparency; 1 (or -1) alone
  // says "transparent or not" without a colour of its own.
  const std::string back = Trim(XmlGetAttribute(XmlFont, "mn:BackColor").value());
  WhenNumeric(XmlFont, "mn:BackColor", [&](double v) {
    const int32_t magnitude = ToInt32(std::abs(v));
    font->Transparent(StartsWith(back, "-"));
    if (magnitude != 1) font->BackColor(magnitude);
  });
  WhenNumeric(XmlFont, "mn:Alignment", [&](double v) { font->Alignment(std::to_string(ToByte(v))); });
  return font;
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
  if (Name() != DefaultName()) font.append_attribute("mn:Name") = Name().c_str();
  if (Size() != DefaultSize()) font.append_attribute("mn:Size") = std::to_string(Size()).c_str();
  if (Color() != DefaultColor()) font.append_attribute("mn:Color") = std::to_string(Color()).c_str();
  const bool transparent_differs = Transparent() != DefaultTransparent();
  const bool back_differs = BackColor() != DefaultBackColor();
  if (back_differs) {
    font.append_attribute("mn:BackColor") = ((Transparent() ? "-" : "") + std::to_string(BackColor())).c_str();
  } else if (transparent_differs) {
    font.append_attribute("mn:BackColor") = Transparent() ? "-1" : "";
  }
  if (Bold() != DefaultBold()) font.append_attribute("mn:B") = flag(Bold());
  if (Italic() != DefaultItalic()) font.append_attribute("mn:I") = flag(Italic());
  if (Underline() != DefaultUnderline()) font.append_attribute("mn:U") = flag(Underline());
  if (StrikeThrough() != DefaultStrikeThrough()) font.append_attribute("mn:S") = flag(StrikeThrough());
  if (Alignment() != DefaultAlignment()) font.append_attribute("mn:Alignment") = Alignment().c_str();

  if (!font.first_attribute()) {
    oXmlParent.remove_child(font);
    return {};
  }
  return font;
}

}  // namespace mandor
