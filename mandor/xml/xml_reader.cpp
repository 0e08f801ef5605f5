// The reading passes of a catalogue workbook: the header (mn:MANDOR and its
// documents, columns, pages, recurrent and data-contract fields), the VAT
// rate, and the marking worksheet's rows and cells.
//
// The workbook is read into a document of its own that is dropped once the
// read is over, so attributes and font elements are read without adding the
// missing ones, as XmlGetAttribute and XmlGetNode would: a missing attribute
// reads as "" and a missing mn:iFont as a font with no attribute set, which is
// what the added empty ones would give, without their cost in time and
// memory. Numbers may be written with "." or "," whatever the running locale.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

namespace {

std::string Attr(const pugi::xml_node& element, const char* name) { return element.attribute(name).value(); }

// The attributes of a field element ("mn:iCell"), read in one walk over them
// by FieldAttributes(element).
enum FieldAttribute { kId, kName, kPage, kX, kY, kW, kH, kIPrint, kType, kVType, kSubType, kHType, kDec, kSubName, kFormula, kReferant, kLabel, kOptional, kGroupe, kToReport, kValue };

ElementAttributes FieldAttributes(const pugi::xml_node& element) {
  static const AttributeNames names{"mn:ID", "mn:Name", "mn:Page", "mn:X", "mn:Y", "mn:W", "mn:H", "mn:iPrint", "mn:Type", "mn:V_Type", "mn:SubType", "mn:H_Type", "mn:Dec", "mn:subName", "mn:Formula", "mn:Referant", "mn:Label", "mn:Optional", "mn:Groupe", "mn:ToReport", "mn:Value"};
  return ElementAttributes(element, names);
}

// The attributes of a row's "mn:iRow" elements.
enum RowAttribute { kRowId, kRowName, kRowIPrint, kRowY, kRowH, kRowPage };
const AttributeNames& RowAttributeNames() {
  static const AttributeNames names{"mn:ID", "mn:Name", "mn:iPrint", "mn:Y", "mn:H", "mn:Page"};
  return names;
}

// The first child element called name, as the query "name" selects it.
pugi::xml_node FirstChildElement(const pugi::xml_node& parent, const char* name) {
  for (pugi::xml_node child = parent.child(name); child; child = child.next_sibling(name)) {
    if (child.type() == pugi::node_element) return child;
  }
  return {};
}

// The child XmlGetNode(parent, "mn:iFont") would give, without creating it
// when missing (a null node then, which reads as an empty font).
pugi::xml_node FontElement(const pugi::xml_node& parent) {
  if (pugi::xml_node font = parent.child("mn:iFont")) return font;
  return parent.child("iFont");
}

bool IsNumber(std::string_view text) {
  if (text.empty()) return false;  // most optional attributes are absent
  return WholeNumber(text) || IsNumericText(NombreVersLocal(text), CurrentPlatform().locale());
}

// Conversions of a required number: Error 13 when the text is not numeric,
// Error 6 when it is out of range.
double Real(std::string_view text) {
  if (const std::optional<double> whole = WholeNumber(text)) return *whole;
  return ToDouble(NombreVersLocal(text), CurrentPlatform().locale());
}
float Single(std::string_view text) { return ToSingle(Real(text)); }
int16_t Integer(std::string_view text) { return ToInt16(Real(text)); }

// The child elements of parent called name whose "mn:ID" is id, in order, as
// "name[@mn:ID='id']" selects them.
std::vector<pugi::xml_node> ChildrenWithId(const pugi::xml_node& parent, const char* name, const std::string& id) {
  std::vector<pugi::xml_node> found;
  for (pugi::xml_node child = parent.child(name); child; child = child.next_sibling(name)) {
    if (id == child.attribute("mn:ID").value()) found.push_back(child);
  }
  return found;
}

// Rulers by name for one document being read. Regles_V and Regles_H are keyed
// by the rulers' Ids ("001", "00001"), while fields name their vertical ruler
// and rows their "mn:RefersTo" ruler by Nom; a name look-up through the keyed
// collections would never find them. Each side is indexed when first asked,
// and again when its rulers have changed since: the horizontal one only
// serves rows without a name of their own.
class RulerIndex {
 public:
  std::shared_ptr<CRegle> Vertical(const Mandor& document, std::string_view name) {
    return vertical_.Find(document.Regles_V, name);
  }
  std::shared_ptr<CRegle> Horizontal(const Mandor& document, std::string_view name) {
    return horizontal_.Find(document.Regles_H, name);
  }

 private:
  struct ByName {
    long count = -1;  // the rulers' count when indexed
    Collection<CRegle> rulers;  // keyed by Nom: the first ruler of a name

    std::shared_ptr<CRegle> Find(const Collection<CRegle>& all, std::string_view name) {
      if (count != all.Count()) {
        count = all.Count();
        rulers.Clear();
        for (const auto& regle : all) {
          if (regle) rulers.TryAdd(regle, regle->Nom);
        }
      }
      const std::shared_ptr<CRegle>* found = rulers.Find(name);
      return found ? *found : nullptr;
    }
  };
  ByName vertical_;
  ByName horizontal_;
};

}  // namespace

// One read of a catalogue workbook into the catalogue's next state: the
// documents, the name and the folder, and the VAT rate it brings. The
// catalogue's own state changes only at Commit. The documents read link to
// the catalogue's font and currencies as they are read, so these two take
// the workbook's at once, and get their former values back if the read
// fails (throws) before Commit.
class CatalogueReader {
 public:
  CatalogueReader(cMarquage& catalogue, const std::string& file)
      : catalogue_(catalogue), next_(catalogue.state_), font_(catalogue.Font), devises_(catalogue.oDevises) {
    next_.SetFullPath(file);
  }
  ~CatalogueReader() {
    if (committed_) return;
    catalogue_.Font = std::move(font_);
    catalogue_.oDevises = std::move(devises_);
  }
  CatalogueReader(const CatalogueReader&) = delete;
  CatalogueReader& operator=(const CatalogueReader&) = delete;

  void Read(const pugi::xml_node& root);

  void Commit() {
    std::swap(catalogue_.state_, next_);
    if (tva_) {
      for (const auto& document : catalogue_.state_.documents) document->TVA = *tva_;
    }
    committed_ = true;
  }

 private:
  std::shared_ptr<CFont> GetFont(pugi::xml_node oXmlFont, std::shared_ptr<CFont> oParentFont1,
                                 std::shared_ptr<CFont> oParentFont2) {
    return CFont::ReadXmlFont(oXmlFont, std::move(oParentFont1), std::move(oParentFont2));
  }
  void XML_ReadMandor(pugi::xml_node oNode);
  void XML_ReadTVA(pugi::xml_node oNode);
  void XML_ReadTable(pugi::xml_node oNode);
  void XML_ReadColumns(pugi::xml_node oImage, const std::shared_ptr<Mandor>& oMandor);
  void XML_ReadPages(pugi::xml_node oImage, const std::shared_ptr<Mandor>& oMandor);
  void XML_ReadChampsRecurrents(const std::vector<pugi::xml_node>& oNodes, const std::shared_ptr<Mandor>& oMandor);
  void XML_ReadDataContrat(pugi::xml_node oNode, const std::shared_ptr<Mandor>& oMandor);
  std::shared_ptr<CRegle> XML_ReadRowRuler(const ElementAttributes& oIRow, pugi::xml_node oIlm,
                                           const std::shared_ptr<Mandor>& oMandor, size_t number);
  void XML_ReadCells(const std::vector<pugi::xml_node>& oCells, const std::shared_ptr<Mandor>& oMandor,
                     const std::shared_ptr<CRegle>& oRegleH);
  // A field from the attributes of its element, read once for the table
  // walk and the field.
  void XML_ReadCell(const ElementAttributes& oICell, const std::shared_ptr<Mandor>& oMandor, long lPosition,
                    const std::shared_ptr<CRegle>& oRegleH);
  std::shared_ptr<CChamp> XML_ReadChamp(const ElementAttributes& oNode, const std::shared_ptr<Mandor>& oMandor,
                                        long lCounter, bool bRecurrent, bool bDataContrat,
                                        const std::shared_ptr<CRegle>& oRegleH);
  RulerIndex& IndexFor(const Mandor& document) {
    // The fields of one document come in runs: the last index found is tried first.
    if (last_document_ != &document) {
      last_index_ = &indexes_[&document];  // nodes stay put as the map grows
      last_document_ = &document;
    }
    return *last_index_;
  }

  cMarquage& catalogue_;
  cMarquage::State next_;
  std::shared_ptr<CFont> font_;       // the catalogue's before the read
  std::shared_ptr<Devises> devises_;  // idem
  std::optional<float> tva_;
  bool committed_ = false;
  std::unordered_map<const Mandor*, RulerIndex> indexes_;
  const Mandor* last_document_ = nullptr;
  RulerIndex* last_index_ = nullptr;
};

// Header pass. Any failure here (a non-numeric "mn:Orientation" or "mn:H", a
// duplicate document ID) is fatal to the read and reaches the caller.
void CatalogueReader::XML_ReadMandor(pugi::xml_node oNode) {
  catalogue_.Font = GetFont(FontElement(oNode), nullptr, nullptr);
  next_.name = Attr(oNode, "mn:Name");
  std::string decimals = "2";
  const std::string header_dec = Attr(oNode, "mn:Dec");
  if (IsNumber(header_dec)) decimals = std::to_string(Integer(header_dec));

  for (const pugi::xml_node& image : XmlSelectNodes(oNode, "mn:Image")) {
    std::shared_ptr<Mandor> document = catalogue_.DocumentFromNode(image, next_.folder);
    next_.documents.Add(document, document->Id);
    document->Orientation = Integer(Attr(image, "mn:Orientation"));
    document->HauteurChamp = Single(Attr(image, "mn:H"));

    std::string devise = Attr(image, "mn:Devise");
    if (devise.empty()) devise = "EUR";
    if (IsNumber(devise)) {
      document->iDevise(Integer(devise));
    } else {
      if (!catalogue_.oDevises) catalogue_.oDevises = std::make_shared<Devises>();
      document->iDevise(catalogue_.oDevises->FindPos(devise));
      document->Devise(devise);
    }

    const std::string image_dec = Attr(image, "mn:Dec");
    document->Decimales = Integer(IsNumber(image_dec) ? image_dec : decimals);
    document->Font(GetFont(FontElement(image), catalogue_.Font, nullptr));

    XML_ReadColumns(image, document);
    XML_ReadPages(image, document);
    XML_ReadChampsRecurrents(XmlSelectNodes(image, "mn:ChampsRecurrents/mn:iCell"), document);
    if (pugi::xml_node contract = XmlSelectNode(image, "mn:DataContrat")) XML_ReadDataContrat(contract, document);
  }
}

// Every document gets the one VAT rate of the set. A rate that is missing
// or not a number leaves the documents' TVA as it was rather than failing
// the whole catalogue.
void CatalogueReader::XML_ReadTVA(pugi::xml_node oNode) {
  const std::string text = XmlGetNode(oNode, "TVA").text().get();
  if (!IsNumber(text)) return;
  tva_ = Single(text);
}

void CatalogueReader::XML_ReadColumns(pugi::xml_node oImage, const std::shared_ptr<Mandor>& oMandor) {
  try {
    const std::vector<pugi::xml_node> columns = XmlSelectNodes(oImage, "mn:iCol");
    for (size_t i = 0; i < columns.size(); ++i) {
      const pugi::xml_node& column = columns[i];
      auto regle = std::make_shared<CRegle>();
      regle->Nom = Attr(column, "mn:Name");
      regle->oOwnerMandor(oMandor);
      regle->Décimales = Integer(Attr(column, "mn:Dec"));
      regle->Imprimable = Attr(column, "mn:iPrint") != "0" ? -1 : 0;
      regle->Position_pixel_X = Single(Attr(column, "mn:X"));
      regle->WidthChamp(Single(Attr(column, "mn:W")));
      regle->Id = ZeroPadded(static_cast<long>(i) + 1, 3);
      regle->SetPropertiesFromFontClass(GetFont(XmlSelectNode(column, "mn:iFont"), oMandor->Font(), nullptr));
      oMandor->Regles_V.Add(regle, regle->Id);
    }
  } catch (const std::exception& error) {
    // The document keeps the columns read so far.
    CurrentPlatform().Message(error.what(), kDefaultMessageTitle, MessageStyle::kPlain);
  }
}

void CatalogueReader::XML_ReadPages(pugi::xml_node oImage, const std::shared_ptr<Mandor>& oMandor) {
  for (const pugi::xml_node& xml_page : XmlSelectNodes(oImage, "mn:iPage")) {
    auto page = std::make_shared<CPage>();
    page->oOwnerMandor = oMandor;
    page->Id = std::to_string(ToInt32(Real(Attr(xml_page, "mn:ID"))));
    // A page without size attributes is an A4 sheet scanned at 200 dpi.
    const std::string height = Attr(xml_page, "mn:Height");
    const std::string width = Attr(xml_page, "mn:Width");
    const std::string x_res = Attr(xml_page, "mn:XRes");
    const std::string y_res = Attr(xml_page, "mn:YRes");
    page->Height = Single(height.empty() ? "2339" : height);
    page->Width = Single(width.empty() ? "1653" : width);
    page->hResolution(x_res.empty() ? int16_t{200} : Integer(x_res));
    page->vResolution(y_res.empty() ? int16_t{200} : Integer(y_res));
    oMandor->Pages.Add(page, "page_" + page->Id);
    XML_ReadCells(XmlSelectNodes(xml_page, "Cell"), oMandor, nullptr);
  }
}

// Recurrent fields go into Champs, and also into ChampsRecurrents: the
// writer rebuilds "mn:ChampsRecurrents" from ChampsRecurrents, so a field
// kept only in Champs would vanish from the catalogue at the next save.
void CatalogueReader::XML_ReadChampsRecurrents(const std::vector<pugi::xml_node>& oNodes,
                                         const std::shared_ptr<Mandor>& oMandor) {
  for (size_t i = 0; i < oNodes.size(); ++i) {
    std::shared_ptr<CChamp> champ =
        XML_ReadChamp(FieldAttributes(oNodes[i]), oMandor, static_cast<long>(i), true, false, nullptr);
    oMandor->Champs.Add(champ, champ->Nom());
    if (!oMandor->ChampsRecurrents.Contains(champ->Nom())) oMandor->ChampsRecurrents.Add(champ, champ->Nom());
  }
}

// A failure here (a duplicate name, a page that does not exist) is fatal to
// the read, as in the header pass.
void CatalogueReader::XML_ReadDataContrat(pugi::xml_node oNode, const std::shared_ptr<Mandor>& oMandor) {
  long counter = 0;
  for (pugi::xml_node cell = oNode.child("mn:iCell"); cell; cell = cell.next_sibling("mn:iCell")) {
    std::shared_ptr<CChamp> champ = XML_ReadChamp(FieldAttributes(cell), oMandor, counter++, false, true, nullptr);
    const std::shared_ptr<CPage>& page = oMandor->Pages.Item(static_cast<long>(champ->Page));
    oMandor->Champs.Add(champ, champ->Nom());
    oMandor->champsDataContrat.Add(champ, champ->Nom());
    page->Champs.Add(champ, champ->Nom());
    champ->oOwnerPage = page;
  }
}

// The rows of one document in the table pass.
struct DocumentRows {
  std::shared_ptr<Mandor> document;
  // The rows holding an "mn:iRow" of the document, in order: the first such
  // "mn:iRow" of each and the row's place in the table.
  std::vector<pugi::xml_node> i_rows;
  std::vector<size_t> row_numbers;
  std::vector<std::shared_ptr<CRegle>> rulers;  // the ruler each row made (null for none)
  size_t next = 0;                     // the next of them the cell walk comes to
  // The cell walk's "Cell" and "mn:iCell" pairs of the document in the current row.
  std::vector<std::pair<pugi::xml_node, ElementAttributes>> cells;
};

// Table pass. The rows are walked twice for all the documents that share
// them, each "mn:iRow" and "mn:iCell" going to the document its "mn:ID"
// names: the first walk makes the rulers of the rows, the second reads the
// cells, so that a "mn:RefersTo" may name a line further down as well as
// one above. An error in one row leaves that row (or what is left of
// it) out of that document, and the rest is read.
void CatalogueReader::XML_ReadTable(pugi::xml_node oNode) {
  std::vector<DocumentRows> reading;
  std::unordered_map<std::string_view, size_t> by_id;
  for (const auto& document : next_.documents) {
    by_id.emplace(document->Id, reading.size());
    reading.push_back(DocumentRows{document, {}, {}, {}, 0, {}});
  }
  const auto reading_of = [&](std::string_view id) -> DocumentRows* {
    auto it = by_id.find(id);
    return it == by_id.end() ? nullptr : &reading[it->second];
  };

  std::vector<pugi::xml_node> rows;
  for (pugi::xml_node row = oNode.child("Row"); row; row = row.next_sibling("Row")) {
    const pugi::xml_node first_i_row = row.child("mn:iRow");
    const pugi::xml_node ilm = first_i_row ? row.child("mn:ILM") : pugi::xml_node();
    for (pugi::xml_node i_row = first_i_row; i_row; i_row = i_row.next_sibling("mn:iRow")) {
      const ElementAttributes attributes(i_row, RowAttributeNames());
      DocumentRows* of = reading_of(attributes[kRowId]);
      // A row with two "mn:iRow" of one document counts once, with the first.
      if (!of || (!of->row_numbers.empty() && of->row_numbers.back() == rows.size())) continue;
      of->rulers.push_back(XML_ReadRowRuler(attributes, ilm, of->document, of->i_rows.size()));
      of->i_rows.push_back(i_row);
      of->row_numbers.push_back(rows.size());
    }
    rows.push_back(row);
  }

  // The workbook is dropped after the read: each row is taken out of it
  // once read (with the whitespace before it, which shares its memory
  // pages), so that the whole table and the whole model are never held at
  // once.
  for (size_t number = 0; number < rows.size(); ++number) {
    const pugi::xml_node& row = rows[number];
    const auto reads_this_row = [number](const DocumentRows& of) {
      return of.next < of.row_numbers.size() && of.row_numbers[of.next] == number;
    };
    for (DocumentRows& of : reading) of.cells.clear();
    for (pugi::xml_node cell = row.child("Cell"); cell; cell = cell.next_sibling("Cell")) {
      for (pugi::xml_node i_cell = cell.child("mn:iCell"); i_cell; i_cell = i_cell.next_sibling("mn:iCell")) {
        ElementAttributes attributes = FieldAttributes(i_cell);
        DocumentRows* of = reading_of(attributes[kId]);
        if (of && reads_this_row(*of)) of->cells.emplace_back(cell, attributes);
      }
    }
    for (size_t d = 0; d < reading.size(); ++d) {
      DocumentRows& of = reading[d];
      if (!reads_this_row(of)) continue;
      const size_t r = of.next++;
      try {
        std::shared_ptr<CRegle> regle = of.rulers[r];
        if (!regle) regle = IndexFor(*of.document).Horizontal(*of.document, Attr(of.i_rows[r], "mn:RefersTo"));
        // A field's position is that of its cell among the row's cells of
        // the document.
        long position = -1;
        pugi::xml_node last_cell;
        for (const auto& [cell, i_cell] : of.cells) {
          if (cell != last_cell) ++position;
          last_cell = cell;
          XML_ReadCell(i_cell, of.document, position, regle);
        }
      } catch (const std::exception&) {
      }
    }
    pugi::xml_node table = row.parent();
    if (pugi::xml_node before = row.previous_sibling(); before.type() == pugi::node_pcdata) table.remove_child(before);
    table.remove_child(row);
  }
}

// The ruler of the document that row `number` of its rows makes, from the
// attributes of its "mn:iRow" and the row's "mn:ILM" (null for a row without
// a name, or one that cannot be read).
std::shared_ptr<CRegle> CatalogueReader::XML_ReadRowRuler(const ElementAttributes& oIRow, pugi::xml_node oIlm,
                                                    const std::shared_ptr<Mandor>& oMandor, size_t number) {
  try {
    auto regle = std::make_shared<CRegle>();
    const std::string_view name = oIRow[kRowName];
    regle->Imprimable = oIRow[kRowIPrint] != "0" ? -1 : 0;
    regle->SetPropertiesFromFontClass(GetFont(FontElement(oIRow.element()), oMandor->Font(), nullptr));
    if (name.empty()) return nullptr;

    regle->Nom = name;
    regle->oOwnerMandor(oMandor);
    RunIgnoringErrors([&] { regle->Position_pixel_Y = Single(oIRow[kRowY]); });
    const std::string_view height = oIRow[kRowH];
    regle->hauteur_pixel = IsNumber(height) ? Single(height) : oMandor->HauteurChamp;
    std::shared_ptr<CPage> page;
    RunIgnoringErrors([&] { page = oMandor->Pages.Item(static_cast<long>(Integer(oIRow[kRowPage]))); });
    if (page) regle->Page(page);
    if (oIlm) {
      static const AttributeNames ilm_names{"mn:Type", "mn:Level"};
      const ElementAttributes ilm(oIlm, ilm_names);
      regle->TypeLigne = ilm[0];
      RunIgnoringErrors([&] { regle->Level = Integer(ilm[1]); });
    }
    regle->Id = ZeroPadded(static_cast<long>(number) + 1, 5);
    const KeyIndex::HashedKey key(regle->Id);  // hashed once for both collections
    if (page) page->Regles_H.Add(regle, key);
    oMandor->Regles_H.Add(regle, key);
    return regle;
  } catch (const std::exception&) {
    return nullptr;
  }
}

// The page-level cells of a page: every "mn:iCell" of the document in them.
void CatalogueReader::XML_ReadCells(const std::vector<pugi::xml_node>& oCells, const std::shared_ptr<Mandor>& oMandor,
                              const std::shared_ptr<CRegle>& oRegleH) {
  for (size_t position = 0; position < oCells.size(); ++position) {
    for (const pugi::xml_node& i_cell : ChildrenWithId(oCells[position], "mn:iCell", oMandor->Id)) {
      XML_ReadCell(FieldAttributes(i_cell), oMandor, static_cast<long>(position), oRegleH);
    }
  }
}

// A field whose name is already used in the document or on its page is left
// out (the collections refuse a second entry under one key); the other
// fields are read. A field whose page does not exist stays in the document's
// Champs only.
void CatalogueReader::XML_ReadCell(const ElementAttributes& oICell, const std::shared_ptr<Mandor>& oMandor, long lPosition,
                             const std::shared_ptr<CRegle>& oRegleH) {
  std::shared_ptr<CChamp> champ = XML_ReadChamp(oICell, oMandor, lPosition, false, false, oRegleH);
  const std::string name = champ->Nom();
  const KeyIndex::HashedKey key(name);  // hashed once for both collections
  if (!oMandor->Champs.TryAdd(champ, key)) return;
  if (champ->Page >= 1 && champ->Page <= oMandor->Pages.Count()) {
    const std::shared_ptr<CPage>& page = oMandor->Pages.Item(champ->Page);
    if (page) {
      if (!page->Champs.TryAdd(champ, key)) {
        oMandor->Champs.Remove(oMandor->Champs.Count());  // the last, just added: no shift
        return;
      }
      champ->oOwnerPage = page;
    }
  }
}

// One field. Each property is read on its own: a bad value in one attribute
// leaves that property at its former value and the rest is still read.
std::shared_ptr<CChamp> CatalogueReader::XML_ReadChamp(const ElementAttributes& attr, const std::shared_ptr<Mandor>& oMandor,
                                                 long lCounter, bool bRecurrent, bool bDataContrat,
                                                 const std::shared_ptr<CRegle>& oRegleH) {
  // The field's font is the one read below, so the default one is not made.
  auto champ = std::make_shared<CChamp>(nullptr);
  champ->Nom(std::string(attr[kName]));
  champ->oOwnerMandor(oMandor);
  RunIgnoringErrors([&] { champ->Page = Integer(attr[kPage]); });
  champ->Id = ZeroPadded(lCounter, 5);

  // Rulers, found by name (the name setters look them up by key, which
  // finds nothing here).
  std::shared_ptr<CRegle> regle_v = IndexFor(*oMandor).Vertical(*oMandor, champ->NomRegleV());
  champ->HangOn(regle_v, oRegleH);

  // Own position where given, else the rulers'.
  float left = 0, top = 0, width = 0, height = 0;
  const std::string_view x = attr[kX], y = attr[kY];
  const std::string_view w = attr[kW], h = attr[kH];
  RunIgnoringErrors([&] { height = !h.empty() ? Single(h) : (oRegleH ? oRegleH->hauteur_pixel : 0.0f); });
  RunIgnoringErrors([&] { width = !w.empty() ? Single(w) : (regle_v ? regle_v->WidthChamp() : 0.0f); });
  RunIgnoringErrors([&] { left = !x.empty() ? Single(x) : (regle_v ? regle_v->Position_pixel_X : 0.0f); });
  RunIgnoringErrors([&] { top = !y.empty() ? Single(y) : (oRegleH ? oRegleH->Position_pixel_Y : 0.0f); });
  champ->Position_pixel_Left = left;
  champ->Position_pixel_Top = top;
  champ->Position_pixel_Right = left + width;
  champ->Position_pixel_Bottom = top + height;

  // Printable when "1"; when empty, when every ruler it hangs on is printable.
  const std::string_view print = attr[kIPrint];
  bool printable = print == "1";
  if (print.empty()) {
    printable = (!regle_v || regle_v->Imprimable != 0) && (!oRegleH || oRegleH->Imprimable != 0);
  }
  champ->Imprimable(printable ? -1 : 0);

  const std::string_view type = attr[kType];
  if (!type.empty()) RunIgnoringErrors([&] { champ->Type_Champ(Integer(type)); });
  const std::string_view v_type = attr[kVType];
  if (IsNumber(v_type)) RunIgnoringErrors([&] { champ->Accrochage_V_Type(Integer(v_type)); });
  const std::string_view sub_type = attr[kSubType];
  if (IsNumber(sub_type)) RunIgnoringErrors([&] { champ->Accrochage_V_Type(Integer(sub_type)); });
  const std::string_view h_type = attr[kHType];
  if (IsNumber(h_type)) RunIgnoringErrors([&] { champ->Accrochage_H_Type = Integer(h_type); });

  const std::string_view dec = attr[kDec];
  if (!dec.empty()) {
    RunIgnoringErrors([&] { champ->Décimales(Integer(dec)); });
  } else if (regle_v) {
    champ->Décimales(regle_v->Décimales);
  }

  // The secondary name is read from "mn:subName" although the writer writes
  // "mn:SubName": both spellings are part of the file format.
  champ->SubName = attr[kSubName];
  // A new field has neither a formula nor a referent, and is not recurrent
  // yet: setting either to "" would change nothing.
  if (!attr[kFormula].empty()) champ->Formule(std::string(attr[kFormula]));
  if (!attr[kReferant].empty()) champ->ChampRecurrentDeRef(std::string(attr[kReferant]));

  // The font is read against the parents the field will have, so that an
  // override equal to the built-in default but not to the rulers' is kept;
  // with those parents already set it is only attached.
  const auto parents = champ->FontParents();
  RunIgnoringErrors(
      [&] { champ->Font(GetFont(FirstChildElement(attr.element(), "mn:iFont"), parents.first, parents.second)); });
  // A font that cannot be read leaves the field the default one.
  if (!champ->Font()) champ->Font(std::make_shared<CFont>());

  if (bRecurrent) champ->Recurrent(true);
  if (bDataContrat) {
    champ->IsDataContrat(true);
    champ->Label(std::string(attr[kLabel]));
    champ->IsOptional(attr[kOptional] == "1");
    champ->Groupe(std::string(attr[kGroupe]));
    champ->ToReport(std::string(attr[kToReport]));
    // The value is written with the field; reading it back keeps it across
    // a read and a save.
    champ->InitialValue(std::string(attr[kValue]));
  }
  return champ;
}

void CatalogueReader::Read(const pugi::xml_node& root) {
  if (pugi::xml_node header = XmlSelectNode(root, "Workbook/mn:MANDOR")) XML_ReadMandor(header);
  constexpr std::string_view kProperties = "Workbook/CustomDocumentProperties";
  if (pugi::xml_node properties = XmlSelectNode(root, kProperties)) XML_ReadTVA(properties);
  // The name goes into the query as an XPath literal; a name holding "'"
  // is quoted with '"' instead so that the query stays well-formed.
  const char quote = next_.name.find('\'') == std::string::npos ? '\'' : '"';
  const std::string table_query =
      std::string("Workbook/Worksheet[@ss:Name=") + quote + next_.name + quote + "]/Table";
  if (pugi::xml_node table = XmlSelectNode(root, table_query)) XML_ReadTable(table);
}

std::shared_ptr<cMarquage> cMarquage::XML_ReadCNF(const std::string& sFile) {
  WorkbookDocument workbook;
  if (!workbook.Load(sFile)) return nullptr;
  CatalogueReader reader(*this, sFile);
  reader.Read(workbook.document());
  reader.Commit();
  return shared_from_this();
}

std::shared_ptr<Mandor> cMarquage::DocumentFromNode(const pugi::xml_node& oNode, std::string sPath) {
  if (sPath.empty() || (sPath.back() != '\\' && sPath.back() != '/')) sPath += '\\';
  auto document = std::make_shared<Mandor>();
  document->Id = XmlGetAttribute(oNode, "mn:ID").value();
  const std::string image_name = XmlGetAttribute(oNode, "mn:Name").value();
  const long length = static_cast<long>(CharLength(image_name));
  if (length < 4) ThrowError(kInvalidArgument);
  document->Nom_Document(Left(image_name, length - 4));
  const std::string type = XmlGetAttribute(oNode, "mn:Type").value();
  if (type == "DET" || type == "DQE") {
    document->Type_Document = document->DOCUMENT_DETAIL();
  } else if (type == "BPX" || type == "BPU") {
    document->Type_Document = document->DOCUMENT_PRIX();
  } else if (type == "AE" || type == "PC") {
    document->Type_Document = document->DOCUMENT_AE();
  } else {
    // A code outside the table gives no kind: the one Nom_Document derived
    // from the file name ("..._ae" would make an engagement act) is dropped.
    document->Type_Document.clear();
  }
  document->Répertoire_Document = sPath;
  document->oOwnerMarquage(shared_from_this());
  return document;
}

std::shared_ptr<Mandor> cMarquage::AddItemWithNode(pugi::xml_node oNode, std::string sPath) {
  std::shared_ptr<Mandor> document = DocumentFromNode(oNode, std::move(sPath));
  state_.documents.Add(document, document->Id);
  return document;
}

}  // namespace mandor
