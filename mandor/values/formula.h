// The formula language of field values (docs/formulas.md): the four
// operations and parentheses over numbers, other fields by name (the longest
// known name wins, so names may hold spaces), the document's VAT rate "TVA",
// SOMME(column) and #REPORT(column) over the lines of a column, and
// LETTRES(x), an amount in French words.
//
// ComputeFormulas works on plain descriptions of a document's fields, so it
// knows nothing of catalogues or text markings: the caller (values.h) reads
// the fields, computes, and writes the results back. It evaluates every
// formula once, in dependency order, and is linear in the number of fields
// and in the length of their formulas.
//
// Thread-safety: the functions are reentrant; nothing is shared.
#ifndef MANDOR_VALUES_FORMULA_H_
#define MANDOR_VALUES_FORMULA_H_

#include <optional>
#include <string>
#include <vector>

namespace mandor::values {

// One field as the formulas see it.
struct FormulaField {
  std::string name;
  std::string formula;           // empty: the field is an input
  int decimals = 0;              // results are rounded to this many places
  int page = 0;                  // page number, for SOMME and #REPORT
  std::string column;            // vertical ruler name ("" for none)
  std::string text;              // current value
  std::optional<double> number;  // numeric reading of text
};

// The result of one field's formula.
struct FormulaResult {
  bool has_formula = false;
  std::string error;  // why the field could not be computed; empty when it was
  // The error is in the formula itself, whatever the values: it does not
  // parse, names an unknown field, function or column, or is on a cycle.
  bool malformed = false;
  std::optional<double> number;  // numeric result, rounded to the field's decimals
  std::string text;              // text result (LETTRES); empty for numbers
};

struct FormulaContext {
  double tva = 0;                // the document's VAT rate, in percent
  std::string currency = "EUR";  // currency code for LETTRES
};

// Computes every field that has a formula; results[i] belongs to fields[i].
// Errors are per field: the other fields are computed.
std::vector<FormulaResult> ComputeFormulas(const std::vector<FormulaField>& fields, const FormulaContext& context);

// x rounded half away from zero to `decimals` places (taken as |decimals|),
// on its decimal text as a spreadsheet shows it.
double RoundToDecimals(double x, int decimals);

}  // namespace mandor::values

#endif  // MANDOR_VALUES_FORMULA_H_
