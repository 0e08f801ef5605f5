// The JSON form of a marking written by `mandor dump`: one object with the
// catalogue (or null), every document with its public data, properties and
// collections, and the messages the library showed while the command ran.
// Members keep their names from the object model, in interface order; the
// format is described in docs/json.md. Each kind of object has one Fill
// function in json_dump.cpp (FillField, FillRuler, ...): the one place where
// its members are written, whether whole or streamed.
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_JSON_DUMP_H_
#define MANDOR_CLI_JSON_DUMP_H_

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
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

// The value on one line, UTF-8 (an invalid byte replaced), then a line break.
void WriteJsonLine(std::ostream& out, const Json& json);

// Writes JSON as nlohmann's dump(2) would write the whole document, but
// piece by piece, so that a large model is never held twice in memory:
// objects and arrays are opened and closed around members and elements that
// are written as they come. The document ends with a line break. Throws
// OutputFailure (cli/marking.h) as soon as `out` fails.
class JsonStreamWriter {
 public:
  explicit JsonStreamWriter(std::ostream& out);
  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginArray() { Begin('['); }
  void EndArray() { End(']'); }
  // The name of the next member of the open object.
  void Key(std::string_view name);
  // A whole value: the next element of the open array, the value of the
  // member just named, or the whole document.
  void Value(const Json& value);

 private:
  struct Level {
    long count = 0;  // members or elements written
  };
  void Begin(char bracket);
  void End(char bracket);
  void Next();
  void Indent(size_t depth);

  std::ostream& out_;
  std::vector<Level> open_;
  bool after_key_ = false;
};

// {"catalogue": ..., "documents": [...], "messages": [...]}, indented by
// two, UTF-8 (an invalid byte replaced rather than failing), streamed.
void WriteDump(std::ostream& out, const std::shared_ptr<mandor::cMarquage>& catalogue,
               const std::vector<std::shared_ptr<mandor::Mandor>>& documents,
               const std::vector<RecordedMessage>& messages);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_JSON_DUMP_H_
