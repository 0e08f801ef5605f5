#include "cli/values_json.h"

#include <exception>
#include <string>
#include <unordered_set>

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

void StreamDocumentValues(JsonStreamWriter& writer, const ValueBook* book,
                          const std::shared_ptr<mandor::Mandor>& document) {
  writer.BeginObject();
  if (book && document) {
    std::unordered_set<std::string> written;
    for (const mandor::values::FieldValue& value : book->Values(document)) {
      if (!written.insert(value.field->Nom()).second) continue;
      Json entry = Json::object();
      entry["texte"] = value.text;
      entry["nombre"] = value.number ? Json(*value.number) : Json(nullptr);
      writer.Key(value.field->Nom());
      writer.Value(entry);
    }
  }
  writer.EndObject();
}

}  // namespace mandor_cli
