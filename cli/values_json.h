// The "Valeurs" member `mandor dump` adds to each document (docs/json.md):
// what every field holds, as mandor/values reads it.
#ifndef MANDOR_CLI_VALUES_JSON_H_
#define MANDOR_CLI_VALUES_JSON_H_

#include <memory>

#include "cli/json_dump.h"
#include "mandor/mandor.h"

namespace mandor_cli {

// {"<field name>": {"texte": ..., "nombre": ... or null}, ...} for every
// field of the document (each name once, the first field of that name), in
// the order of mandor::values::AllFields. The catalogue (null for a text
// marking) is the one the document belongs to; its workbook is loaded once
// for all its documents.
Json DocumentValuesJson(const std::shared_ptr<mandor::cMarquage>& catalogue,
                        const std::shared_ptr<mandor::Mandor>& document);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_VALUES_JSON_H_
