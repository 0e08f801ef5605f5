// Opening what the user names on the command line: a text marking (a file
// ending ".xnf", read with the extended reader, or ".cnf", read with the
// standard reader) or a catalogue workbook (any other file). The document of
// a text marking takes its folder and name from the path; a catalogue's
// documents come from cMarquage::XML_ReadCNF. Also the two kinds of failure
// of a command: a usage error (exit status 2) and a failure of the work
// itself (exit status 1).
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_MARKING_H_
#define MANDOR_CLI_MARKING_H_

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "mandor/mandor.h"
#include "mandor/values/values.h"

namespace mandor_cli {

// A mistake on the command line (no such file, bad option value): the
// program prints it with a usage hint and exits with status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command could not do its work (a marking that does not load, a file
// that cannot be written): the program prints it and exits with status 1.
class CommandFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};


enum class MarkingKind { kExtended, kStandard, kCatalogue };

// ".xnf" and ".cnf" (in any case) name text markings; anything else is a catalogue.
MarkingKind KindOfPath(const std::string& path);

// The folder (with its trailing "/", "./" for a bare file name) and the file
// name of a path.
struct PathParts {
  std::string folder;
  std::string file;
};
PathParts SplitPath(const std::string& path);

// The file name less its last 4 characters (".xnf", ".cnf"): the document
// name of a text marking.
std::string DocumentNameOf(const std::string& file);

struct Marking {
  std::string path;
  MarkingKind kind = MarkingKind::kCatalogue;
  bool loaded = false;
  std::string failure;  // why it did not load (empty when the library said it)
  std::shared_ptr<mandor::cMarquage> catalogue;  // catalogues only
  std::vector<std::shared_ptr<mandor::Mandor>> documents;
};

// Reads the marking at path. A marking that is missing, a folder, or that
// the library cannot read comes back with loaded == false and the reason in
// `failure` (empty when the library's messages said it). Once per run, a
// warning on standard error when a loaded marking's outside decimal
// separator (SepDecExt) is not the locale's.
Marking OpenMarking(const std::string& path);

// Like OpenMarking, but a marking that does not load is a CommandFailure.
Marking OpenLoadedMarking(const std::string& path);

// The documents a command works on: the one whose Id is doc_id (a UsageError
// when there is none, or when doc_id is given for a text marking), else all
// of them, or only the first when just one is wanted. A CommandFailure when
// there is no document at all.
std::vector<std::shared_ptr<mandor::Mandor>> SelectDocuments(const Marking& marking, const std::string& doc_id,
                                                             bool only_one);

// Every distinct field of the document (each once, wherever it is listed).
using mandor::values::AllFields;

// Problems worth telling about in a marking that loaded: fields on missing
// rulers or recurrent fields, outside their page, upside down; pages of 0 dpi.
std::vector<std::string> Warnings(const mandor::Mandor& doc);

// "1 field", "3 fields".
std::string Count(long count, const std::string& noun);

// "extended text marking (.xnf)", "standard text marking (.cnf)", "catalogue".
const char* KindName(MarkingKind kind);

// "Arial 10 bold italic": a field's font through its own properties
// ("no font" when it has none).
std::string FieldFontText(const mandor::CChamp& field);

// A float as the locale writes it: "2,5" or "2.5".
std::string Num(float value);

// "text" in double quotes.
std::string Quoted(const std::string& text);

// "what a user calls this document": its Id in a catalogue, else its quoted name.
std::string DocumentLabel(const mandor::Mandor& doc);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_MARKING_H_
