// `mandor print`: the values of a document as a PDF to print on the paper
// form (default), over the scanned page (--over-image), or a calibration
// test sheet (--test-sheet). The drawing is mandor/print/print.h; this file
// holds the command's options and its report.
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_PRINT_CMD_H_
#define MANDOR_CLI_PRINT_CMD_H_

#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

#include "mandor/print/print.h"

namespace mandor_cli {

struct PrintCommandOptions {
  std::string path;
  std::string doc_id;
  std::string pages;   // "1,3-5"
  std::string output;  // FILE.pdf
  bool over_image = false;
  bool test_sheet = false;
  std::string offset;  // "X,Y" in cm
  std::string values;  // CSV of values for this print
  bool no_compute = false;
};

// Adds the `print` subcommand with its options to `app`.
CLI::App* AddPrintCommand(CLI::App& app, PrintCommandOptions& options);

// The values printed besides those of the model and of --values: computed
// values, unless no_compute. Empty here: the model's values are printed as
// they stand until a values module is plugged in at this point.
mandor::print::ValueSource ComputedValues(mandor::Mandor& document, bool no_compute);

// Runs the command: the report line on `out`, each warning on `err` as
// "mandor: warning: ...". Returns 0 when the PDF was written (warnings or
// not); throws UsageError / CommandFailure (cli/marking.h) otherwise.
int RunPrint(const PrintCommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_PRINT_CMD_H_
