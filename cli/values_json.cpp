#include "cli/values_json.h"

#include <exception>

namespace mandor_cli {

using mandor::values::ValueBook;

std::unique_ptr<ValueBook> DumpValueBook(const std::shared_ptr<mandor::cMarquage>& catalogue,
                                         const std::shared_ptr<mandor::Mandor>& document) {
  try {
    if (catalogue) return ValueBook::ForCatalogue(catalogue);
    if (document) return ValueBook::ForTextMarking(document, true);
  } catch (const std::exception&) {
    // A dump without values still shows the whole model.
  }
  return nullptr;
}

Json DocumentValuesJson(const ValueBook* book, const std::shared_ptr<mandor::Mandor>& document) {
  Json json = Json::object();
  if (!book || !document) return json;
  for (const mandor::values::FieldValue& value : book->Values(document)) {
    Json entry = Json::object();
    entry["texte"] = value.text;
    entry["nombre"] = value.number ? Json(*value.number) : Json(nullptr);
    if (!json.contains(value.field->Nom())) json[value.field->Nom()] = std::move(entry);
  }
  return json;
}

}  // namespace mandor_cli
