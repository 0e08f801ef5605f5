// The commands that fill in a tender: `set` (NAME=VALUE pairs), `fill` (a
// CSV file of names and values) and `compute` (the formulas), on top of
// mandor/values.
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_VALUES_CMD_H_
#define MANDOR_CLI_VALUES_CMD_H_

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/marking.h"
#include "mandor/mandor.h"

namespace mandor_cli {

struct ValuesOptions {
  std::string path;
  std::string doc_id;
  std::vector<std::string> assignments;  // set: NAME=VALUE
  std::string values_file;               // fill --values
  bool json = false;                     // compute --json
  bool dry_run = false;                  // set, fill -n: say what would change, write nothing
  CLI::App* set = nullptr;
  CLI::App* fill = nullptr;
  CLI::App* compute = nullptr;
};

// The names of the three commands.
const std::vector<std::string>& ValuesCommandNames();

// Adds set, fill and compute to app; returns them for the common options.
std::vector<CLI::App*> AddValuesCommands(CLI::App& app, ValuesOptions& options);

// Runs the values command the command line chose; -1 when it chose another.
// Bad values throw CommandFailure, command-line mistakes UsageError.
int RunValuesCommand(const ValuesOptions& options, std::ostream& out, std::ostream& err);

// Gives every field of the document the text its stored value shows as its
// valeur, so that `render` draws the values the marking holds (computed
// fields as `set`, `fill` or the program that filled the workbook last
// stored them). Nothing is written.
void ShowValues(const Marking& marking, const std::shared_ptr<mandor::Mandor>& document);

// The text each field of the document prints (the form's number picture,
// FormatNombreSortie), by field, from the values the
// marking holds, with the formulas computed first unless as_stored (nothing
// is written). Fields with no place for a value are left out, so that a
// caller falls back on the model's own. A book that cannot be read gives
// no texts.
std::map<const mandor::CChamp*, std::string> ShownValues(const Marking& marking,
                                                          const std::shared_ptr<mandor::Mandor>& document,
                                                          bool as_stored);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_VALUES_CMD_H_
