// The JSON form of a marking written by `mandor dump`: one object with the
// catalogue (or null), every document with its public data, properties and
// collections, and the messages the library showed while the command ran.
// Members keep their names from the object model, in interface order; the
// format is described in docs/json.md.
#ifndef MANDOR_CLI_JSON_DUMP_H_
#define MANDOR_CLI_JSON_DUMP_H_

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/cli_platform.h"
#include "mandor/mandor.h"

namespace mandor_cli {

using Json = nlohmann::ordered_json;

// A 32-bit float as the JSON number whose shortest text reads back to the
// same float (0.1f is 0.1, not 0.100000001490116); null when not finite.
Json FloatJson(float value);

// FONT: the effective attributes and "Has", the names of those set on the
// font itself. null for a missing font.
Json FontJson(const std::shared_ptr<mandor::CFont>& font);

Json RulerJson(const mandor::CRegle& ruler);
Json FieldJson(const mandor::CChamp& field);
Json PageJson(const mandor::CPage& page);
Json DocumentJson(const mandor::Mandor& document);
Json CatalogueJson(const mandor::cMarquage& catalogue);
Json MessageJson(const RecordedMessage& message);

// {"catalogue": ..., "documents": [...], "messages": [...]}.
Json DumpJson(const std::shared_ptr<mandor::cMarquage>& catalogue,
              const std::vector<std::shared_ptr<mandor::Mandor>>& documents,
              const std::vector<RecordedMessage>& messages);

// The text written on standard output: indented by two, UTF-8, with any
// invalid UTF-8 byte replaced rather than failing.
std::string DumpText(const Json& json);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_JSON_DUMP_H_
