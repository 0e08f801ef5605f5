#include "cli/values_json.h"

#include <exception>

#include "mandor/values/values.h"

namespace mandor_cli {

using mandor::values::ValueBook;

Json DocumentValuesJson(const std::shared_ptr<mandor::cMarquage>& catalogue,
                        const std::shared_ptr<mandor::Mandor>& document) {
  // One book per catalogue for the whole dump: the workbook is loaded once.
  static std::shared_ptr<mandor::cMarquage> book_catalogue;
  static std::unique_ptr<ValueBook> book;
  Json json = Json::object();
  if (!document) return json;
  try {
    if (!catalogue) {
      book = ValueBook::ForTextMarking(document, true);
      book_catalogue.reset();
    } else if (!book || book_catalogue != catalogue) {
      book = ValueBook::ForCatalogue(catalogue);
      book_catalogue = catalogue;
    }
  } catch (const std::exception&) {
    return json;
  }
  for (const mandor::values::FieldValue& value : book->Values(document)) {
    Json entry = Json::object();
    entry["texte"] = value.text;
    entry["nombre"] = value.number ? Json(*value.number) : Json(nullptr);
    if (!json.contains(value.field->Nom())) json[value.field->Nom()] = std::move(entry);
  }
  return json;
}

}  // namespace mandor_cli
