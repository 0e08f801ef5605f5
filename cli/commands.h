// The commands of the `mandor` program. Each takes the parsed options,
// writes its report or its data on `out` (standard output) and returns the
// exit status; mistakes on the command line throw UsageError and failures
// of the work throw CommandFailure (cli/marking.h). Messages of the library
// go through the installed CliPlatform (CurrentCliPlatform()).
//
// Threading: every command runs on the program's one thread.
#ifndef MANDOR_CLI_COMMANDS_H_
#define MANDOR_CLI_COMMANDS_H_

#include <ostream>
#include <string>
#include <vector>

#include "cli/cli_platform.h"

namespace mandor_cli {

inline constexpr const char* kPathHelp =
    "A marking ending in .xnf (extended text layout) or .cnf (standard text layout), or a catalogue "
    "workbook (any other file)";

struct Options {
  std::string path;    // the marking or catalogue
  std::vector<std::string> paths;  // check: markings, catalogues and folders
  std::string out;     // convert: the file to write; diff: the second marking
  std::string doc_id;  // --doc
  std::string doc_id2;  // diff --doc2: the document of the second catalogue
  bool calage = false;  // dump --calage
  bool json = false;    // --json
  bool strict = false;  // check --strict
  bool no_backup = false;  // save --no-backup
  bool dry_run = false;    // -n, --dry-run
  int page = 1;        // render --page
  std::string output;  // render -o
  double scale = 1.0;  // render --scale
};

int RunInfo(const Options& options, std::ostream& out);
int RunDump(const Options& options, std::ostream& out);
// Warnings of its own (a document kind the standard layout cannot hold) go to `err`.
int RunConvert(const Options& options, std::ostream& out, std::ostream& err);
int RunSave(const Options& options, std::ostream& out);
int RunRender(const Options& options, std::ostream& out);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_COMMANDS_H_
