// `mandor check`: loads markings and catalogues, named one by one or found
// in folders, and reports per file whether it loaded, its documents and the
// warnings worth a look, as text or as one JSON object per line. On a
// terminal it shows which file it is on and for how long.
//
// Threading: the check runs on the command's one thread; only the progress
// line on a terminal is drawn by a second thread, which shares the current
// file name and start time with it under a mutex.
#ifndef MANDOR_CLI_CHECK_CMD_H_
#define MANDOR_CLI_CHECK_CMD_H_

#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/commands.h"

namespace mandor_cli {

void AddCheckOptions(CLI::App& check, Options& options);
int RunCheck(const Options& options, std::ostream& out);

// The files check looks at for `paths`: each file as given, and the .xnf,
// .cnf and .xml files (any case) under each folder, recursively, in name
// order. A path that is neither stays as given, to be reported missing.
std::vector<std::string> FilesToCheck(const std::vector<std::string>& paths);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_CHECK_CMD_H_
