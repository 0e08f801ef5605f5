// The "Valeurs" member `mandor dump` adds to each document (docs/json.md):
// what every field holds, as mandor/values reads it.
//
// Thread-safety: none; one thread at a time, like the model.
#ifndef MANDOR_CLI_VALUES_JSON_H_
#define MANDOR_CLI_VALUES_JSON_H_

#include <memory>

#include "cli/json_dump.h"
#include "mandor/mandor.h"
#include "mandor/values/values.h"

namespace mandor_cli {

// The book a dump reads values from: the catalogue's (its workbook loaded
// once for all its documents) when catalogue is given, else the text
// marking's document. Null when the values cannot be read; the dump then
// shows none.
std::unique_ptr<mandor::values::ValueBook> DumpValueBook(const std::shared_ptr<mandor::cMarquage>& catalogue,
                                                         const std::shared_ptr<mandor::Mandor>& document);

// Writes {"<field name>": {"texte": ..., "nombre": ... or null}, ...} for
// every field of the document (each name once, the first field of that
// name), in the order of mandor::values::AllFields, one field at a time;
// {} without a book.
void StreamDocumentValues(JsonStreamWriter& writer, const mandor::values::ValueBook* book,
                          const std::shared_ptr<mandor::Mandor>& document);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_VALUES_JSON_H_
