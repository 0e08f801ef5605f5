#include "mandor/values/values.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/values/amount.h"
#include "mandor/xml/internal/workbook.h"

namespace mandor::values {

namespace {

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return text;
}

std::string SlotKey(std::string_view document_id, std::string_view name) {
  std::string key(document_id);
  key += '\n';
  key += FoldCase(name);
  return key;
}

// The prefix of an element's name with its colon ("ss:" for "ss:Cell"), so
// that a created child is in the same namespace as its parent.
std::string PrefixOf(const pugi::xml_node& element) {
  const std::string_view name = element.name();
  const size_t colon = name.find(':');
  return colon == std::string_view::npos ? std::string() : std::string(name.substr(0, colon + 1));
}

// Sets an attribute, appending it when missing; leaves it alone when it
// already holds the value, so that an unchanged value leaves the file as it was.
void SetAttribute(pugi::xml_node element, const char* name, const std::string& value) {
  pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) attribute = element.append_attribute(name);
  if (value != attribute.value()) attribute.set_value(value.c_str());
}

// Edit distance of two texts, in bytes.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t up = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = up;
    }
  }
  return row[b.size()];
}

// The part of a field's name that makes it a quantity, the one value a text
// marking keeps.
constexpr const char* kQuantityMark = "Qté";

std::string ColumnOf(const CChamp& field) {
  if (const auto ruler = field.oRegleV()) return ruler->Nom;
  return field.NomRegleV();
}

}  // namespace

std::vector<std::shared_ptr<CChamp>> AllFields(const Mandor& document) {
  std::vector<std::shared_ptr<CChamp>> fields;
  std::unordered_set<const CChamp*> seen;
  const auto add = [&](const Collection<CChamp>& collection) {
    for (const std::shared_ptr<CChamp>& field : collection) {
      if (field && seen.insert(field.get()).second) fields.push_back(field);
    }
  };
  add(document.Champs);
  for (const std::shared_ptr<CPage>& page : document.Pages) {
    if (page) add(page->Champs);
  }
  add(document.ChampsRecurrents);
  add(document.champsDataContrat);
  return fields;
}

ValuesError::ValuesError(std::vector<std::string> problems)
    : std::runtime_error(Joined(problems)), problems_(std::move(problems)) {}

struct ValueBook::Slot {
  Place place = Place::kNone;
  pugi::xml_node node;       // the Cell (kCell, kPageCell) or the mn:iCell (kDataContract)
};

struct ValueBook::Index {
  WorkbookDocument workbook;
  std::string path;
  std::unordered_map<std::string, Slot> slots;  // SlotKey(document Id, field name)
  bool text_marking = false;
  bool stores_quantities = false;
};

ValueBook::ValueBook() : index_(std::make_unique<Index>()) {}
ValueBook::~ValueBook() = default;

std::unique_ptr<ValueBook> ValueBook::ForCatalogue(std::shared_ptr<cMarquage> catalogue) {
  if (!catalogue) throw ValuesError({"no catalogue"});
  std::unique_ptr<ValueBook> book(new ValueBook());
  book->catalogue_ = catalogue;
  for (const auto& document : *catalogue) book->documents_.push_back(document);
  Index& index = *book->index_;
  index.path = catalogue->FullPath();
  if (!index.workbook.Load(index.path)) throw ValuesError({"cannot load the catalogue " + index.path});

  const pugi::xml_node root = index.workbook.Root();
  const pugi::xml_node header = root.child("mn:MANDOR");
  const std::string sheet_name = header.attribute("mn:Name").value();
  // The cells of the marking worksheet (every worksheet's when none bears the
  // catalogue's name).
  std::vector<pugi::xml_node> sheets;
  for (pugi::xml_node sheet = root.child("Worksheet"); sheet; sheet = sheet.next_sibling("Worksheet")) {
    if (sheet_name == sheet.attribute("ss:Name").value()) sheets.push_back(sheet);
  }
  if (sheets.empty()) {
    for (pugi::xml_node sheet = root.child("Worksheet"); sheet; sheet = sheet.next_sibling("Worksheet")) {
      sheets.push_back(sheet);
    }
  }
  const auto add = [&](const pugi::xml_node& i_cell, const char* document_id, Place place, pugi::xml_node node) {
    index.slots.emplace(SlotKey(document_id, i_cell.attribute("mn:Name").value()), Slot{place, node});
  };
  for (const pugi::xml_node& sheet : sheets) {
    for (pugi::xml_node row = sheet.child("Table").child("Row"); row; row = row.next_sibling("Row")) {
      for (pugi::xml_node cell = row.child("Cell"); cell; cell = cell.next_sibling("Cell")) {
        for (pugi::xml_node i_cell = cell.child("mn:iCell"); i_cell; i_cell = i_cell.next_sibling("mn:iCell")) {
          add(i_cell, i_cell.attribute("mn:ID").value(), Place::kCell, cell);
        }
      }
    }
  }
  for (pugi::xml_node image = header.child("mn:Image"); image; image = image.next_sibling("mn:Image")) {
    const char* id = image.attribute("mn:ID").value();
    for (pugi::xml_node page = image.child("mn:iPage"); page; page = page.next_sibling("mn:iPage")) {
      for (pugi::xml_node cell = page.child("Cell"); cell; cell = cell.next_sibling("Cell")) {
        for (pugi::xml_node i_cell = cell.child("mn:iCell"); i_cell; i_cell = i_cell.next_sibling("mn:iCell")) {
          add(i_cell, id, Place::kPageCell, cell);
        }
      }
    }
    const pugi::xml_node contract = image.child("mn:DataContrat");
    for (pugi::xml_node i_cell = contract.child("mn:iCell"); i_cell; i_cell = i_cell.next_sibling("mn:iCell")) {
      add(i_cell, id, Place::kDataContract, i_cell);
    }
  }
  return book;
}

std::unique_ptr<ValueBook> ValueBook::ForTextMarking(std::shared_ptr<Mandor> document, bool stores_quantities) {
  if (!document) throw ValuesError({"no document"});
  std::unique_ptr<ValueBook> book(new ValueBook());
  book->documents_.push_back(std::move(document));
  book->index_->text_marking = true;
  book->index_->stores_quantities = stores_quantities;
  return book;
}

const ValueBook::Slot* ValueBook::SlotOf(const Mandor& document, const CChamp& field) const {
  static const Slot kValeur{Place::kValeur, {}};
  static const Slot kNone{Place::kNone, {}};
  // A text marking keeps quantities only; the value text the other fields
  // read back is the last quantity, which the writer carries from field to
  // field, not a value of theirs.
  if (index_->text_marking) return field.Nom().find(kQuantityMark) != std::string::npos ? &kValeur : &kNone;
  const auto found = index_->slots.find(SlotKey(document.Id, field.Nom()));
  return found == index_->slots.end() ? &kNone : &found->second;
}

FieldValue ValueBook::ValueOf(const std::shared_ptr<Mandor>& document, const std::shared_ptr<CChamp>& field) const {
  FieldValue value;
  value.document = document;
  value.field = field;
  if (!document || !field) return value;
  const Slot& slot = *SlotOf(*document, *field);
  value.place = slot.place;
  value.decimals = field->Décimales();
  // A cell of no column with no decimals (a page total, which the reader
  // gives 0 decimals and the writer then stores as "mn:Dec" 0) has the
  // document's.
  if ((slot.place == Place::kCell || slot.place == Place::kPageCell) && value.decimals == 0 && !field->oRegleV()) {
    value.decimals = document->Decimales;
  }
  switch (slot.place) {
    case Place::kCell:
    case Place::kPageCell: {
      const pugi::xml_node data = slot.node.child((PrefixOf(slot.node) + "Data").c_str());
      const std::string_view text = data.text().get();
      if (std::string_view(data.attribute("ss:Type").value()) == "Number") {
        double number = 0;
        const std::string trimmed = Trim(text);
        const auto [ptr, ec] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), number);
        if (ec == std::errc() && ptr == trimmed.data() + trimmed.size()) {
          value.number_cell = true;
          value.number = number;
          value.text = LocaleNumberText(number, CurrentPlatform().locale());
          break;
        }
      }
      value.text = text;
      value.number = ReadAmount(value.text);
      break;
    }
    case Place::kDataContract:
      value.text = slot.node.attribute("mn:Value").value();
      value.number = ReadAmount(value.text);
      break;
    case Place::kValeur:
      value.text = field->valeur();
      value.number = ReadAmount(value.text);
      break;
    case Place::kNone:
      break;
  }
  return value;
}

std::vector<FieldValue> ValueBook::Values(const std::shared_ptr<Mandor>& document) const {
  std::vector<FieldValue> values;
  if (!document) return values;
  for (const auto& field : AllFields(*document)) values.push_back(ValueOf(document, field));
  return values;
}

void ValueBook::Restore(const std::vector<FieldValue>& values) {
  for (const FieldValue& value : values) {
    if (!value.document || !value.field || value.text.empty()) continue;
    const Slot* slot = SlotOf(*value.document, *value.field);
    if (!slot || (slot->place != Place::kCell && slot->place != Place::kPageCell)) continue;
    Store(value.document, value.field, value.text, value.number_cell ? value.number : std::nullopt);
  }
}

void ValueBook::Store(const std::shared_ptr<Mandor>& document, const std::shared_ptr<CChamp>& field,
                      const std::string& text, std::optional<double> number) {
  const Slot& slot = *SlotOf(*document, *field);
  switch (slot.place) {
    case Place::kCell:
    case Place::kPageCell: {
      pugi::xml_node cell = slot.node;
      const std::string data_name = PrefixOf(cell) + "Data";
      pugi::xml_node data = cell.child(data_name.c_str());
      if (!data) data = cell.prepend_child(data_name.c_str());
      const bool as_number = number && FitsNumberCell(*number);
      SetAttribute(data, "ss:Type", as_number ? "Number" : "String");
      const std::string content = as_number ? CellNumberText(*number) : text;
      if (content != data.text().get()) data.text().set(content.c_str());
      break;
    }
    case Place::kDataContract:
      SetAttribute(slot.node, "mn:Value", text);
      break;
    case Place::kValeur:
      field->valeur(false, text);
      break;
    case Place::kNone:
      break;
  }
}

void ValueBook::ShowInModel(const std::shared_ptr<Mandor>& document, const Locale& locale) const {
  if (!document) return;
  for (const FieldValue& value : Values(document)) {
    if (value.place == Place::kNone || value.text.empty()) continue;
    value.field->valeur(false, DisplayText(*document, value.field, value, locale));
  }
}

std::vector<std::string> ValueBook::NearestNames(const std::string& name, const std::string& doc_id,
                                                 size_t count) const {
  const std::string folded = FoldCase(name);
  std::vector<std::pair<size_t, std::string>> scored;
  std::unordered_map<std::string, bool> seen;
  for (const auto& document : documents_) {
    if (!doc_id.empty() && !EqualsIgnoreCase(document->Id, doc_id)) continue;
    for (const auto& field : AllFields(*document)) {
      if (!seen.emplace(field->Nom(), true).second) continue;
      scored.emplace_back(Distance(folded, FoldCase(field->Nom())), field->Nom());
    }
  }
  std::sort(scored.begin(), scored.end());
  std::vector<std::string> nearest;
  for (size_t i = 0; i < scored.size() && i < count; ++i) nearest.push_back(scored[i].second);
  return nearest;
}

std::vector<ComputedField> ValueBook::Set(const std::vector<Assignment>& assignments, const std::string& doc_id) {
  std::vector<std::shared_ptr<Mandor>> selected;
  for (const auto& document : documents_) {
    if (doc_id.empty() || EqualsIgnoreCase(document->Id, doc_id)) selected.push_back(document);
  }
  if (selected.empty()) throw ValuesError({"no document " + doc_id});

  struct Change {
    std::shared_ptr<Mandor> document;
    std::shared_ptr<CChamp> field;
    std::string text;
    std::optional<double> number;
  };
  // The fields of each selected document by name (a text marking may hold
  // one name on several pages: each copy gets the value).
  std::vector<std::unordered_multimap<std::string, std::shared_ptr<CChamp>>> by_name(selected.size());
  for (size_t d = 0; d < selected.size(); ++d) {
    for (const auto& field : AllFields(*selected[d])) by_name[d].emplace(FoldCase(field->Nom()), field);
  }
  std::vector<Change> changes;
  std::vector<std::string> problems;
  // Nearest names cost a walk over every field: only the first unknown
  // names get them, so that a file of wrong names stays quick to refuse.
  size_t suggestions_left = 20;
  for (const Assignment& a : assignments) {
    const std::string where = a.origin.empty() ? "" : a.origin + ": ";
    const std::optional<double> number = ReadAmount(a.value);
    bool known = false;
    const std::string key = FoldCase(a.name);
    for (size_t d = 0; d < selected.size(); ++d) {
      const std::shared_ptr<Mandor>& document = selected[d];
      const auto [first, last] = by_name[d].equal_range(key);
      for (auto it = first; it != last; ++it) {
        known = true;
        const std::shared_ptr<CChamp> field = it->second;
        const std::string who = where + field->Nom() + (index_->text_marking ? "" : " (" + document->Id + ")");
        const FieldValue current = ValueOf(document, field);
        if (!TrimView(field->Formule()).empty()) {
          problems.push_back(who + " is computed by its formula \"" + field->Formule() + "\" and cannot be set");
          continue;
        }
        if (index_->text_marking && !index_->stores_quantities) {
          problems.push_back(who + ": a standard (.cnf) text marking has no place for values");
          continue;
        }
        if (index_->text_marking && current.place == Place::kNone) {
          problems.push_back(who + ": a text marking stores only quantities (fields whose name holds \"Qté\")");
          continue;
        }
        if (current.place == Place::kNone) {
          problems.push_back(who + " is a recurrent field: the catalogue has no place for its value");
          continue;
        }
        if (current.place == Place::kValeur) {
          if (!number && !TrimView(a.value).empty()) {
            problems.push_back(who + ": \"" + a.value + "\" is not a quantity");
            continue;
          }
        }
        if (number && !FitsNumberCell(*number) && current.place != Place::kDataContract) {
          problems.push_back(who + ": " + a.value + " is too large for a number cell (1E15 or more)");
          continue;
        }
        if (current.number_cell && !number && !TrimView(a.value).empty()) {
          problems.push_back(who + " holds a number: \"" + a.value + "\" is not one");
          continue;
        }
        std::string text = a.value;
        if (current.place == Place::kValeur && number) text = LocaleNumberText(*number, CurrentPlatform().locale());
        changes.push_back(Change{document, field, text, current.place == Place::kDataContract ? std::nullopt : number});
      }
    }
    if (!known) {
      std::string message = where + "unknown name \"" + a.name + "\"";
      const std::vector<std::string> nearest =
          suggestions_left > 0 ? NearestNames(a.name, doc_id) : std::vector<std::string>();
      if (suggestions_left > 0) --suggestions_left;
      if (!nearest.empty()) {
        message += "; nearest known names:";
        for (size_t i = 0; i < nearest.size(); ++i) message += (i ? ", " : " ") + nearest[i];
      }
      problems.push_back(message);
    }
  }
  if (!problems.empty()) throw ValuesError(std::move(problems));
  for (const Change& change : changes) Store(change.document, change.field, change.text, change.number);
  return Compute();
}

std::vector<ComputedField> ValueBook::Compute() {
  std::vector<ComputedField> computed;
  for (const auto& document : documents_) {
    std::vector<FormulaField> fields;
    std::vector<std::shared_ptr<CChamp>> champs;
    for (const auto& field : AllFields(*document)) {
      const FieldValue value = ValueOf(document, field);
      fields.push_back(FormulaField{field->Nom(), field->Formule(), value.decimals, field->Page, ColumnOf(*field),
                                    value.text, value.number});
      champs.push_back(field);
    }
    FormulaContext context;
    context.tva = document->TVA;
    if (!document->Devise().empty()) context.currency = document->Devise();
    std::vector<FormulaResult> results = ComputeFormulas(fields, context);
    for (size_t i = 0; i < results.size(); ++i) {
      if (!results[i].has_formula) continue;
      const FormulaResult& result = results[i];
      const std::string text =
          result.number ? LocaleNumberText(*result.number, CurrentPlatform().locale()) : result.text;
      Store(document, champs[i], text, result.number);
      computed.push_back(ComputedField{document, champs[i], result});
    }
  }
  return computed;
}

bool ValueBook::Save() {
  if (!index_->text_marking) {
    index_->workbook.Save(index_->path);
    return true;
  }
  const std::shared_ptr<Mandor>& document = documents_.front();
  if (!index_->stores_quantities) return false;
  const std::string name = document->Nom_Document();
  bool with_quantities = true;
  document->SauvegarderMarquageEx(false, with_quantities);
  if (document->Nom_Document().empty()) {
    // A failed write clears the name (and says why through the platform).
    try {
      document->Nom_Document(name);
    } catch (const std::exception&) {
    }
    return false;
  }
  return true;
}

std::string DisplayText(const Mandor& document, const std::shared_ptr<CChamp>& field, const FieldValue& value,
                        const Locale& locale, Picture picture) {
  if (!value.number || !field) return value.text;
  const auto picture_of = [&](const std::shared_ptr<CChamp>& f) {
    return picture == Picture::kPrint ? document.FormatNombreSortie(f) : document.FormatNombre(f);
  };
  if (value.decimals == field->Décimales()) return FormatNumber(*value.number, picture_of(field), locale);
  // The picture for other decimals, from a stand-in field.
  auto stand_in = std::make_shared<CChamp>();
  stand_in->bPropage = false;
  stand_in->Décimales(static_cast<int16_t>(value.decimals));
  return FormatNumber(*value.number, picture_of(stand_in), locale);
}

}  // namespace mandor::values
