#include "cli/values_cmd.h"

#include <exception>

#include "cli/json_dump.h"
#include "cli/marking.h"
#include "mandor/util/internal/text.h"
#include "mandor/values/amount.h"
#include "mandor/values/csv.h"
#include "mandor/values/values.h"

namespace mandor_cli {

namespace {

using mandor::values::Assignment;
using mandor::values::ValueBook;
using mandor::values::ValuesError;

constexpr const char* kPathHelp =
    "A catalogue workbook, or a text marking (.xnf keeps quantities only; .cnf keeps no values)";

std::unique_ptr<ValueBook> BookOf(const Marking& marking) {
  try {
    if (marking.kind == MarkingKind::kCatalogue) return ValueBook::ForCatalogue(marking.catalogue);
    if (marking.documents.empty()) throw CommandFailure(marking.path + ": no document");
    return ValueBook::ForTextMarking(marking.documents.front(), marking.kind == MarkingKind::kExtended);
  } catch (const ValuesError& e) {
    throw CommandFailure(e.what());
  }
}

// The problems of a ValuesError, one a line, as the failure of the command.
[[noreturn]] void Fail(const ValuesError& e, const std::string& what) {
  std::string text = what + " (nothing written):";
  for (const std::string& problem : e.problems()) text += "\n  " + problem;
  throw CommandFailure(text);
}

void WriteBook(ValueBook& book, const std::string& path) {
  if (!book.Save()) throw CommandFailure("could not write " + path);
}

// Reports the formulas that failed on err; returns how many did.
size_t ReportFailures(const std::vector<mandor::values::ComputedField>& computed, std::ostream& err) {
  size_t failures = 0;
  for (const auto& c : computed) {
    if (c.result.error.empty()) continue;
    ++failures;
    err << "mandor: " << c.document->Id << (c.document->Id.empty() ? "" : " ") << c.field->Nom() << ": "
        << c.result.error << "\n";
  }
  return failures;
}

// Sets the values in the loaded marking (its --doc already checked), then
// writes it.
int RunSet(const ValuesOptions& options, const Marking& marking, std::vector<Assignment> assignments, std::ostream& out,
           std::ostream& err) {
  std::unique_ptr<ValueBook> book = BookOf(marking);
  // The texts before, to tell what a dry run would change.
  std::map<const mandor::CChamp*, std::string> before;
  if (options.dry_run) {
    for (const auto& document : book->Documents()) {
      for (const auto& value : book->Values(document)) before.emplace(value.field.get(), value.text);
    }
  }
  std::vector<mandor::values::ComputedField> computed;
  try {
    computed = book->Set(assignments, options.doc_id);
  } catch (const ValuesError& e) {
    Fail(e, "bad values");
  }
  // A formula that does not parse (or names what does not exist, or is on a
  // cycle) is bad input like a bad value: nothing is written.
  std::string malformed;
  for (const auto& c : computed) {
    if (!c.result.malformed) continue;
    malformed += "\n  " + c.document->Id + (c.document->Id.empty() ? "" : " ") + c.field->Nom() + ": " + c.result.error;
  }
  if (!malformed.empty()) throw CommandFailure("formulas that cannot be computed (nothing written):" + malformed);
  const size_t failures = ReportFailures(computed, err);
  if (options.dry_run) {
    size_t changes = 0;
    for (const auto& document : book->Documents()) {
      for (const auto& value : book->Values(document)) {
        const auto old = before.find(value.field.get());
        const std::string was = old == before.end() ? std::string() : old->second;
        if (was == value.text) continue;
        ++changes;
        out << "  " << (document->Id.empty() ? std::string() : document->Id + " ") << value.field->Nom() << ": \""
            << was << "\" -> \"" << value.text << "\"\n";
      }
    }
    out << "dry run: " << changes << " value" << (changes == 1 ? "" : "s") << " would change in " << options.path
        << "; nothing written\n";
    return 0;
  }
  WriteBook(*book, options.path);
  out << "set " << assignments.size() << " value" << (assignments.size() == 1 ? "" : "s") << ", computed "
      << computed.size() - failures << " field" << (computed.size() - failures == 1 ? "" : "s");
  if (failures) out << " (" << failures << " could not be computed)";
  out << ": wrote " << options.path << "\n";
  return 0;
}

int RunCompute(const ValuesOptions& options, std::ostream& out, std::ostream& err) {
  const Marking marking = OpenLoadedMarking(options.path);
  const auto documents = SelectDocuments(marking, options.doc_id, false);
  std::unique_ptr<ValueBook> book = BookOf(marking);
  const auto computed = book->Compute();
  const mandor::Locale& locale = mandor::CurrentPlatform().locale();
  Json json_documents = Json::array();
  size_t failures = 0;
  for (const auto& document : documents) {
    Json fields = Json::array();
    if (!options.json) out << (document->Id.empty() ? document->Nom_Document() : document->Id) << "\n";
    for (const auto& c : computed) {
      if (c.document != document) continue;
      mandor::values::FieldValue value = book->ValueOf(document, c.field);
      if (value.place == mandor::values::Place::kNone) {
        // A field whose marking keeps no value (a text marking's amounts):
        // what was computed is shown all the same.
        value.number = c.result.number;
        value.text = c.result.number ? mandor::values::LocaleNumberText(*c.result.number, locale) : c.result.text;
      }
      const std::string shown = mandor::values::DisplayText(*document, c.field, value, locale);
      if (!c.result.error.empty()) ++failures;
      if (options.json) {
        Json field = Json::object();
        field["Nom"] = c.field->Nom();
        field["Formule"] = c.field->Formule();
        field["texte"] = c.result.error.empty() ? Json(shown) : Json(nullptr);
        field["nombre"] = c.result.number ? Json(*c.result.number) : Json(nullptr);
        field["erreur"] = c.result.error.empty() ? Json(nullptr) : Json(c.result.error);
        fields.push_back(std::move(field));
      } else if (c.result.error.empty()) {
        out << "  " << c.field->Nom() << " = " << shown << "\n";
      } else {
        out << "  " << c.field->Nom() << ": error: " << c.result.error << "\n";
      }
    }
    if (options.json) {
      Json entry = Json::object();
      entry["Id"] = document->Id;
      entry["Nom_Document"] = document->Nom_Document();
      entry["champs"] = std::move(fields);
      json_documents.push_back(std::move(entry));
    }
  }
  if (options.json) {
    Json json = Json::object();
    json["documents"] = std::move(json_documents);
    JsonStreamWriter(out).Value(json);
  }
  if (failures) err << "mandor: " << failures << " field" << (failures == 1 ? "" : "s") << " could not be computed\n";
  return failures ? 1 : 0;
}

}  // namespace

void ShowValues(const Marking& marking, const std::shared_ptr<mandor::Mandor>& document) {
  try {
    std::unique_ptr<ValueBook> book = BookOf(marking);
    book->ShowInModel(document, mandor::CurrentPlatform().locale());
  } catch (const std::exception&) {
    // A picture without values is still a picture of the marking.
  }
}

std::map<const mandor::CChamp*, std::string> ShownValues(const Marking& marking,
                                                          const std::shared_ptr<mandor::Mandor>& document,
                                                          bool as_stored) {
  std::map<const mandor::CChamp*, std::string> shown;
  try {
    std::unique_ptr<ValueBook> book = BookOf(marking);
    if (!as_stored) book->Compute();
    const mandor::Locale& locale = mandor::CurrentPlatform().locale();
    for (const mandor::values::FieldValue& value : book->Values(document)) {
      if (value.place == mandor::values::Place::kNone || !value.field) continue;
      shown[value.field.get()] = mandor::values::DisplayText(*document, value.field, value, locale,
                                                             mandor::values::Picture::kPrint);
    }
  } catch (const std::exception&) {
    // Without its book the document still prints the values the model holds.
  }
  return shown;
}

const std::vector<std::string>& ValuesCommandNames() {
  static const std::vector<std::string> names = {"set", "fill", "compute"};
  return names;
}

std::vector<CLI::App*> AddValuesCommands(CLI::App& app, ValuesOptions& options) {
  const auto add_command = [&](const char* name, const char* help, const char* doc_help) {
    CLI::App* command = app.add_subcommand(name, help);
    command->add_option("PATH", options.path, kPathHelp)->required();
    command->add_option("--doc", options.doc_id, std::string("Image ID (mn1, mn2, ...) of the ") + doc_help);
    return command;
  };
  const char* const kDocToSet = "catalogue document; default: all";
  options.set = add_command(
      "set", "Set field values (NAME=VALUE ...), recompute the formulas and write the marking back", kDocToSet);
  options.set->add_option("ASSIGNMENTS", options.assignments, "NAME=VALUE: a field's name and its new value")
      ->required();

  options.fill = add_command(
      "fill", "Set field values from a CSV file (name and value, ';' or ',' separated), recompute and write back",
      kDocToSet);
  options.fill->add_option("--values", options.values_file, "The CSV file: UTF-8 or Windows-1252, header optional")
      ->required();
  for (CLI::App* command : {options.set, options.fill}) {
    command->add_flag("-n,--dry-run", options.dry_run, "Say what would change, write nothing");
  }

  options.compute =
      add_command("compute", "Compute the formulas and print their results (nothing is written; see docs/formulas.md)",
                  "document to print; default: all");
  options.compute->add_flag("--json", options.json, "Print the results as JSON");
  return {options.set, options.fill, options.compute};
}

int RunValuesCommand(const ValuesOptions& options, std::ostream& out, std::ostream& err) {
  if (options.set && *options.set) {
    std::vector<Assignment> assignments;
    for (const std::string& text : options.assignments) {
      const size_t equals = text.find('=');
      if (equals == std::string::npos || equals == 0) {
        throw UsageError("expected NAME=VALUE, got \"" + text + "\"");
      }
      assignments.push_back(Assignment{text.substr(0, equals), text.substr(equals + 1), ""});
    }
    const Marking marking = OpenLoadedMarking(options.path);
    SelectDocuments(marking, options.doc_id, false);  // checks --doc
    return RunSet(options, marking, std::move(assignments), out, err);
  }
  if (options.fill && *options.fill) {
    if (!mandor::CurrentPlatform().FileExists(options.values_file)) {
      throw UsageError("no such file: " + options.values_file);
    }
    std::string bytes;
    try {
      bytes = mandor::CurrentPlatform().ReadFileBytes(options.values_file);
    } catch (const std::exception& e) {
      throw CommandFailure("cannot read " + options.values_file + ": " + e.what());
    }
    const Marking marking = OpenLoadedMarking(options.path);
    const auto documents = SelectDocuments(marking, options.doc_id, false);
    const auto is_known = [&](const std::string& name) {
      for (const auto& document : documents) {
        for (const auto& field : mandor::values::AllFields(*document)) {
          if (mandor::EqualsIgnoreCase(field->Nom(), name)) return true;
        }
      }
      return false;
    };
    const mandor::values::CsvResult csv = mandor::values::ReadValueFile(bytes, is_known);
    if (!csv.errors.empty()) {
      std::string text = options.values_file + " is malformed (nothing written):";
      for (const std::string& error : csv.errors) text += "\n  " + error;
      throw CommandFailure(text);
    }
    std::vector<Assignment> assignments;
    for (const auto& pair : csv.pairs) {
      assignments.push_back(Assignment{pair.name, pair.value, "line " + std::to_string(pair.line)});
    }
    return RunSet(options, marking, std::move(assignments), out, err);
  }
  if (options.compute && *options.compute) return RunCompute(options, out, err);
  return -1;
}

}  // namespace mandor_cli
