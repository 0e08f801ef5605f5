// Opening what the user names on the command line: a text marking (a file
// ending ".xnf", read with the extended reader, or ".cnf", read with the
// standard reader) or a catalogue workbook (any other file). The document of
// a text marking takes its folder and name from the path; a catalogue's
// documents come from cMarquage::XML_ReadCNF. Also the two kinds of failure
// of a command: a usage error (exit status 2) and a failure of the work
// itself (exit status 1).
#ifndef MANDOR_CLI_MARKING_H_
#define MANDOR_CLI_MARKING_H_

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "mandor/mandor.h"

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

// Reads the marking at path. A missing file is a UsageError; a marking the
// library cannot read comes back with loaded == false (its messages have
// already gone through the platform).
Marking OpenMarking(const std::string& path);

// Like OpenMarking, but a marking that does not load is a CommandFailure.
Marking OpenLoadedMarking(const std::string& path);

// The documents a command works on: the one whose Id is doc_id (a UsageError
// when there is none, or when doc_id is given for a text marking), else all
// of them, or only the first when just one is wanted. A CommandFailure when
// there is no document at all.
std::vector<std::shared_ptr<mandor::Mandor>> SelectDocuments(const Marking& marking, const std::string& doc_id,
                                                             bool only_one);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_MARKING_H_
