// Writing a field into the XML catalogue: the "mn:iCell" element of a field
// of the worksheet, of a page or of the recurrent fields, and the element of
// a data-contract field. A field stores a position of its own only where it
// differs from what its rulers give, so that a field sitting exactly on its
// rulers carries none.

#include <optional>
#include <string>

#include <pugixml.hpp>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

namespace {

// Element to write on; Error 91 when the caller has none, as assigning an
// attribute of a missing element is.
void RequireElement(const pugi::xml_node& node) {
  if (!node || node.type() != pugi::node_element)
    ThrowError(kObjectNotSet, "Object variable not set (the field's XML element)");
}

}  // namespace

void CChamp::MajXmlNodeFromChampProperties(pugi::xml_node& node) {
  RequireElement(node);
  pugi::xml_node parent = node.parent();
  RequireElement(parent);
  const std::shared_ptr<Mandor> doc = Document();

  // The element is rebuilt from scratch on every save: an attribute that is
  // not written below is absent. Each name below is written once, so each is
  // appended without looking for it among those already written.
  parent.remove_child(node);
  node = XmlCreateElement(parent, "mn:iCell");
  RequireElement(node);
  const auto append = [&node](const char* name, const std::string& value) {
    node.append_attribute(name).set_value(value.c_str());
  };

  append("mn:Name", Nom());
  append("mn:ID", doc->Id);
  append("mn:Page", std::to_string(Page));

  const double width = static_cast<double>(Position_pixel_Right) - static_cast<double>(Position_pixel_Left);
  const double height = static_cast<double>(Position_pixel_Bottom) - static_cast<double>(Position_pixel_Top);
  if (regle_v_) {
    if (Position_pixel_Left != regle_v_->Position_pixel_X) append("mn:X", XmlNumberText(Position_pixel_Left));
    if (width != static_cast<double>(regle_v_->WidthChamp())) append("mn:W", XmlNumberText(width));
  } else {
    append("mn:X", XmlNumberText(Position_pixel_Left));
    append("mn:W", XmlNumberText(width));
  }
  if (regle_h_) {
    if (Position_pixel_Top != regle_h_->Position_pixel_Y) append("mn:Y", XmlNumberText(Position_pixel_Top));
    if (height != static_cast<double>(regle_h_->hauteur_pixel)) append("mn:H", XmlNumberText(height));
  } else {
    append("mn:Y", XmlNumberText(Position_pixel_Top));
    append("mn:H", XmlNumberText(height));
  }

  append("mn:iPrint", imprimable_ == -1 ? "1" : "0");
  append("mn:Type", std::to_string(type_champ_));
  if (décimales_ != doc->Decimales) append("mn:Dec", std::to_string(décimales_));
  if (!SubName.empty()) {
    append("mn:SubName", SubName);
    // Readers look the secondary name up as "mn:subName"; written under that
    // spelling too, it survives a read and a save.
    append("mn:subName", SubName);
  }
  if (!TextView(kFormule).empty()) append("mn:Formula", Text(kFormule));
  if (type_champ_ == 3) {
    append("mn:SubType", std::to_string(accrochage_v_type_));
  } else if (accrochage_v_type_ >= 1) {
    append("mn:V_Type", std::to_string(accrochage_v_type_));
  }
  if (Accrochage_H_Type > 0) append("mn:H_Type", std::to_string(Accrochage_H_Type));
  if (const std::string referant = Text(kChampRecurrentDeRef); !referant.empty()) {
    append("mn:Referant", referant);
  }

  if (const std::shared_ptr<CFont> font = GetFontClassFromFontProperties()) font->GetXmlFontFromFontClass(node);
}

void CChamp::MajXmlNodeDataContratFromChampProperties(pugi::xml_node& node) {
  RequireElement(node);
  const std::shared_ptr<Mandor> doc = Document();

  // The element is updated in place, so an attribute written only on a
  // condition is removed when the condition fails: a stale value left behind
  // would be read back instead of the field's own (decimals set back to the
  // document's, a field moved back onto its ruler).
  const auto set_or_remove = [&node](const char* name, bool write, const std::string& value) {
    if (write) {
      XmlSetAttribute(node, name, value);
    } else {
      node.remove_attribute(name);
    }
  };

  XmlSetAttribute(node, "mn:Name", Nom());
  XmlSetAttribute(node, "mn:ID", doc->Id);
  XmlSetAttribute(node, "mn:Page", std::to_string(Page));

  // Attributes go in pairs by ruler: "mn:X" and "mn:H" under the vertical
  // ruler, "mn:Y" and "mn:W" under the horizontal one. A measure is left out
  // only when the rulers give it back on reading: the height from the
  // horizontal ruler, the width from the vertical one. A data-contract field
  // is read without horizontal ruler, so its height is always kept here.
  const double width = static_cast<double>(Position_pixel_Right) - static_cast<double>(Position_pixel_Left);
  const double height = static_cast<double>(Position_pixel_Bottom) - static_cast<double>(Position_pixel_Top);
  const bool height_from_ruler = regle_h_ && height == static_cast<double>(regle_h_->hauteur_pixel);
  const bool width_from_ruler = regle_v_ && width == static_cast<double>(regle_v_->WidthChamp());
  if (regle_v_) {
    set_or_remove("mn:X", Position_pixel_Left != regle_v_->Position_pixel_X, XmlNumberText(Position_pixel_Left));
    set_or_remove("mn:H", !height_from_ruler, XmlNumberText(height));
  } else {
    XmlSetAttribute(node, "mn:X", XmlNumberText(Position_pixel_Left));
    XmlSetAttribute(node, "mn:H", XmlNumberText(height));
  }
  if (regle_h_) {
    set_or_remove("mn:Y", Position_pixel_Top != regle_h_->Position_pixel_Y, XmlNumberText(Position_pixel_Top));
    set_or_remove("mn:W", !width_from_ruler, XmlNumberText(width));
  } else {
    XmlSetAttribute(node, "mn:Y", XmlNumberText(Position_pixel_Top));
    XmlSetAttribute(node, "mn:W", XmlNumberText(width));
  }

  XmlSetAttribute(node, "mn:iPrint", imprimable_ == -1 ? "1" : "0");
  XmlSetAttribute(node, "mn:Type", std::to_string(type_champ_));
  set_or_remove("mn:Dec", décimales_ != doc->Decimales, std::to_string(décimales_));
  set_or_remove("mn:SubName", !SubName.empty(), SubName);
  set_or_remove("mn:subName", !SubName.empty(), SubName);
  // The formula is rewritten only while the value is one a formula can have
  // given (empty or a number); a text typed over it leaves the formula of
  // the file as it stands. A cleared formula is removed.
  const std::string valeur = Text(kValeur);
  if (TextView(kFormule).empty()) {
    node.remove_attribute("mn:Formula");
  } else if (valeur.empty() || IsNumericText(valeur, CurrentPlatform().locale())) {
    XmlSetAttribute(node, "mn:Formula", Text(kFormule));
  }
  set_or_remove("mn:V_Type", accrochage_v_type_ > 0, std::to_string(accrochage_v_type_));

  XmlSetAttribute(node, "mn:Label", Text(kLabel));
  XmlSetAttribute(node, "mn:Optional", is_optional_ ? "1" : "0");
  XmlSetAttribute(node, "mn:Groupe", Text(kGroupe));
  XmlSetAttribute(node, "mn:ToReport", Text(kToReport));
  // A field that never received a value (one read from a file that keeps
  // its value only here) leaves the stored value alone instead of blanking it;
  // a value given and then cleared is written empty.
  if (!valeur.empty() || !TextView(kInitialValue).empty()) {
    XmlSetAttribute(node, "mn:Value", valeur);
  } else {
    XmlGetAttribute(node, "mn:Value");
  }

  // The field's own font when it has one, else the font it would take from
  // its vertical ruler, else the catalogue's.
  std::shared_ptr<CFont> font = GetFontClassFromFontProperties();
  if (!font && regle_v_) font = regle_v_->GetFontClassFromProperties();
  if (!font) {
    if (const std::shared_ptr<cMarquage> catalogue = doc->oOwnerMarquage()) font = catalogue->Font;
  }
  if (font) font->GetXmlFontFromFontClass(node);
}

}  // namespace mandor
