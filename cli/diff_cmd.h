// `mandor diff A B`: compares two markings, or documents of catalogues,
// field by field under the fields' names: fields added or removed, moved
// (page or pixel rectangle), re-anchored (rulers or anchoring types), with
// another font, formula or value (what the model holds, `valeur`). The
// check of a migration .cnf -> .xnf -> catalogue. Exit status 1 when they
// differ.
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_DIFF_CMD_H_
#define MANDOR_CLI_DIFF_CMD_H_

#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/commands.h"
#include "mandor/mandor.h"

namespace mandor_cli {

struct FieldDifference {
  std::string field;  // the field's name (Nom), as in A (as in B when added)
  std::string kind;   // "added", "removed", "moved", "re-anchored", "font", "formula", "value"
  std::string a;      // what A has ("" for added)
  std::string b;      // what B has ("" for removed)
};

// The differences from a to b: for each field of a in order, removed or
// its changes in the order above; then the fields only b has, in b's order.
std::vector<FieldDifference> DiffDocuments(const mandor::Mandor& a, const mandor::Mandor& b);

void AddDiffOptions(CLI::App& diff, Options& options);
int RunDiff(const Options& options, std::ostream& out);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_DIFF_CMD_H_
