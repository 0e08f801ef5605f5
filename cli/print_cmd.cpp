#include "cli/print_cmd.h"

#include <exception>
#include <map>
#include <optional>
#include <set>
#include <memory>
#include <stdexcept>
#include <vector>

#include "cli/marking.h"
#include "cli/values_cmd.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"
#include "mandor/values/csv.h"
#include "mandor/values/values.h"

namespace mandor_cli {

namespace print = mandor::print;

CLI::App* AddPrintCommand(CLI::App& app, PrintCommandOptions& options) {
  CLI::App* command = app.add_subcommand(
      "print", "The values of a document as a PDF at the calibrated places: on the paper form (default), over the "
               "scanned page (--over-image) or a calibration test sheet (--test-sheet); see docs/print.md");
  command->add_option("PATH", options.path,
                      "A marking ending in .xnf or .cnf, or a catalogue workbook (any other file)")
      ->required();
  command->add_option("--doc", options.doc_id, "Image ID (mn1, mn2, ...) of the catalogue document to print; "
                                               "default: the first");
  command->add_option("-o,--output", options.output, "The PDF to write: FILE.pdf")->required();
  command->add_option("--pages", options.pages, "The pages to print, counted from 1: 1,3-5 (default: all)");
  auto* over = command->add_flag("--over-image", options.over_image,
                                 "Draw the values over the page image (<name>-<N>.png, <name>.pdf or <name>.tif "
                                 "beside the marking)");
  auto* test = command->add_flag("--test-sheet", options.test_sheet,
                                 "A test sheet: centimetre grid, crosshairs at the calibration points, every "
                                 "field's rectangle and name, the offsets in use");
  over->excludes(test);
  command->add_option("--offset", options.offset,
                      "Printer offset X,Y in cm (e.g. 0.3,-0.2), instead of the marking's "
                      "imprimante_OrigineX_cm/Y_cm; positive X moves right, positive Y down");
  command->add_option("--values", options.values,
                      "A CSV file of values for this print only: one 'field name;value' line per field");
  command->add_flag("--no-compute", options.no_compute, "Print the values as they stand, without computing formulas");
  return command;
}

// The values of a CSV file (the files `mandor fill` reads), for this print
// only. A malformed line is a usage error naming it.
std::map<std::string, std::string> ValuesForThisPrint(const std::string& path, const mandor::Mandor& document) {
  std::string bytes;
  try {
    bytes = mandor::CurrentPlatform().ReadFileBytes(path);
  } catch (const std::exception& e) {
    throw UsageError("cannot read the values " + path + ": " + e.what());
  }
  std::set<std::string> known;
  for (const auto& field : mandor::values::AllFields(document)) known.insert(mandor::LowerCase(field->Nom()));
  const mandor::values::CsvResult csv = mandor::values::ReadValueFile(
      bytes, [&](const std::string& name) { return known.count(mandor::LowerCase(name)) > 0; });
  if (!csv.errors.empty()) {
    std::string text = path + ": malformed values:";
    for (const std::string& error : csv.errors) text += "\n  " + error;
    throw CommandFailure(text);
  }
  std::map<std::string, std::string> values;
  for (const mandor::values::NameValue& pair : csv.pairs) values[pair.name] = pair.value;
  return values;
}

// The values the marking holds (its worksheet cells for a catalogue), with
// the formulas computed unless as_stored.
print::ValueSource ComputedValues(const Marking& marking, const std::shared_ptr<mandor::Mandor>& document,
                                  bool as_stored) {
  auto shown = std::make_shared<const std::map<const mandor::CChamp*, std::string>>(
      ShownValues(marking, document, as_stored));
  return [shown](const mandor::CChamp& field) -> std::optional<std::string> {
    const auto found = shown->find(&field);
    if (found == shown->end()) return std::nullopt;
    return found->second;
  };
}

int RunPrint(const PrintCommandOptions& options, std::ostream& out, std::ostream& err) {
  if (!mandor::EndsWith(mandor::LowerCase(options.output), ".pdf")) {
    throw UsageError("the output must end with \".pdf\": " + options.output);
  }
  print::PrintOptions print_options;
  print_options.mode = options.test_sheet   ? print::PrintMode::kTestSheet
                       : options.over_image ? print::PrintMode::kOverImage
                                            : print::PrintMode::kOnForm;
  try {
    if (!options.pages.empty()) print_options.pages = print::ParsePageList(options.pages);
    if (!options.offset.empty()) print_options.offset = print::ParseOffset(options.offset);
  } catch (const std::invalid_argument& e) {
    throw UsageError(e.what());
  }
  const Marking marking = OpenLoadedMarking(options.path);
  const std::shared_ptr<mandor::Mandor> document = SelectDocuments(marking, options.doc_id, true).front();
  if (!options.values.empty()) print_options.values = ValuesForThisPrint(options.values, *document);
  print_options.value_of = ComputedValues(marking, document, options.no_compute);

  print::PrintReport report;
  try {
    report = print::PrintToPdf(*document, print_options, options.output);
  } catch (const print::PrintFailure& e) {
    for (const std::string& warning : e.warnings()) err << "mandor: warning: " << warning << "\n";
    throw CommandFailure(e.what());
  }
  for (const std::string& warning : report.warnings) err << "mandor: warning: " << warning << "\n";
  const char* mode = options.test_sheet ? "test sheet" : options.over_image ? "over the image" : "on the form";
  out << "wrote " << options.output << " (" << report.pages << " page" << (report.pages == 1 ? "" : "s") << " of "
      << (document->Id.empty() ? std::string() : document->Id + " ") << "\"" << document->Nom_Document() << "\", "
      << mode;
  if (!options.test_sheet) out << ", " << report.fields << " value" << (report.fields == 1 ? "" : "s");
  out << ")\n";
  return 0;
}

}  // namespace mandor_cli
