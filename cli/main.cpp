// mandor: inspect, check, compare, convert, calibrate and preview markings
// from the shell. See `mandor --help`.
//
// Each command is a CLI11 subcommand registered in Run() with its options and
// the function that does its work. Whatever is common to every command lives
// here once: the options that may stand before or after the command, usage
// errors (status 2, one line and a hint), failures (status 1 and the reason),
// the check that standard output took everything written to it, and the
// escaping of control characters on both standard streams (cli/output.h).

#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/check_cmd.h"
#include "cli/cli_platform.h"
#include "cli/commands.h"
#include "cli/diff_cmd.h"
#include "cli/marking.h"
#include "cli/output.h"
#include "cli/print_cmd.h"
#include "cli/values_cmd.h"
#include "mandor/mandor.h"
#include "mandor/version.h"

namespace {

using mandor_cli::Options;

// The exit statuses, the same for every command (also in the README).
constexpr const char* kExitStatus =
    "Exit status:\n"
    "  0  done (check: every marking loaded; diff: no difference)\n"
    "  1  the work failed: a marking did not load, a file or standard output could not be read or written, "
    "an existing file was not replaced, check --strict found warnings, diff found differences\n"
    "  2  a usage error (one line and a hint)";

// A command: its CLI11 subcommand and the function that runs it.
struct Command {
  CLI::App* app;
  std::function<int()> run;
};

// The command named on the command line (the first word that is neither an
// option nor the value of --locale), or "".
std::string CommandWord(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--locale") {
      ++i;
      continue;
    }
    if (!arg.empty() && arg[0] == '-') continue;
    return arg;
  }
  return "";
}

std::string CommandList(const std::vector<Command>& commands) {
  std::string list;
  for (const Command& command : commands) list += (list.empty() ? "" : ", ") + command.app->get_name();
  return list;
}

bool IsCommand(const std::vector<Command>& commands, const std::string& word) {
  for (const Command& command : commands) {
    if (command.app->get_name() == word) return true;
  }
  return false;
}

// The options every command takes, so that they may stand before or after it.
void AddCommonOptions(CLI::App& app, std::string& locale, bool& yes) {
  app.add_option("--locale", locale,
                 "Regional settings: a locale name such as fr, en, fr_FR, de_CH.UTF-8 (any case) giving the "
                 "decimal separator and the boolean texts; the default follows LC_ALL, LC_NUMERIC and LANG, "
                 "and is French when they name no real locale (C, POSIX, unset)")
      ->check([](const std::string& name) {
        return mandor::Locale::FromName(name) ? std::string()
                                               : "not a known locale name: " + name + " (try fr or en)";
      });
  app.add_flag("-y,--yes", yes,
               "Answer Yes to the questions of the library and replace existing files (the default answer is No)");
}

void AddDocOption(CLI::App& app, Options& options, const std::string& what) {
  app.add_option("--doc", options.doc_id, "Image ID (mn1, mn2, ...) of the catalogue document to " + what);
}

CLI::App* AddPath(CLI::App* app, Options& options) {
  app->add_option("PATH", options.path, mandor_cli::kPathHelp)->required();
  return app;
}

// Writes the reason standard output failed, unless a reader such as `head`
// simply stopped reading after it had what it wanted.
void ReportOutputFailure(const mandor_cli::StandardStream& out) {
  if (out.error() == EPIPE && out.written() > 0) return;
  std::cerr << "mandor: cannot write to standard output"
            << (out.error() != 0 ? std::string(": ") + std::strerror(out.error()) : std::string()) << "\n";
}

int Run(int argc, char** argv, mandor_cli::StandardStream& standard_output) {
  Options options;
  std::string locale;
  bool yes = false;

  CLI::App app{"mandor: inspect, check, compare, convert, calibrate and preview markings of scanned tender "
               "documents.",
               "mandor"};
  app.set_version_flag("--version", std::string("mandor ") + MANDOR_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  AddCommonOptions(app, locale, yes);
  app.footer(std::string("PATH is a text marking (.xnf, .cnf) or a catalogue workbook (any other file).\n"
                         "Every message of the library is printed on standard error as one line \"[TITLE] TEXT\";\n"
                         "control characters read from files are shown as \\u00XX.\n") +
             kExitStatus + "\nRun 'mandor COMMAND --help' for the options of a command.");

  std::vector<Command> commands;
  auto add = [&](CLI::App* sub, std::function<int()> run) { commands.push_back({sub, std::move(run)}); };

  CLI::App* info = AddPath(app.add_subcommand("info", "A short summary per document: name, type, pages, rulers, "
                                                      "fields, calibration inputs, currency, fonts"),
                           options);
  AddDocOption(*info, options, "describe; default: all");
  info->add_flag("--json", options.json, "One JSON object with the same summary");
  add(info, [&] { return mandor_cli::RunInfo(options, std::cout); });

  CLI::App* dump = AddPath(app.add_subcommand("dump", "The whole model as JSON on standard output (see docs/json.md)"),
                           options);
  AddDocOption(*dump, options, "dump; default: all");
  dump->add_flag("--calage", options.calage, "Compute the calibration parameters of each document first");
  add(dump, [&] { return mandor_cli::RunDump(options, std::cout); });

  CLI::App* check = app.add_subcommand("check", "Load markings and catalogues and report; folders are searched "
                                                "for .xnf, .cnf and .xml files");
  mandor_cli::AddCheckOptions(*check, options);
  add(check, [&] { return mandor_cli::RunCheck(options, std::cout); });

  CLI::App* diff = app.add_subcommand("diff", "Compare two markings, or documents of catalogues, field by field "
                                              "(added, removed, moved, re-anchored, font, formula, value)");
  mandor_cli::AddDiffOptions(*diff, options);
  add(diff, [&] { return mandor_cli::RunDiff(options, std::cout); });

  CLI::App* convert = AddPath(app.add_subcommand("convert", "Write the document as OUT: '.xnf' with the extended "
                                                            "writer, '.cnf' with the standard writer"),
                              options);
  convert->add_option("OUT", options.out,
                      "The text marking to write; its folder and its name (less .xnf/.cnf) become the "
                      "document's folder and name. An existing OUT is replaced only with --yes")
      ->required();
  AddDocOption(*convert, options, "write; default: the first");
  add(convert, [&] { return mandor_cli::RunConvert(options, std::cout, std::cerr); });

  CLI::App* save = app.add_subcommand("save", "Read a catalogue and write every document back into it, keeping the "
                                              "previous file as CATALOGUE.bak");
  save->add_option("CATALOGUE", options.path, "The catalogue workbook")->required();
  AddDocOption(*save, options, "write back; default: all");
  save->add_flag("--no-backup", options.no_backup, "Keep no CATALOGUE.bak");
  save->add_flag("-n,--dry-run", options.dry_run, "Say what would change, write nothing");
  add(save, [&] { return mandor_cli::RunSave(options, std::cout); });

  CLI::App* render = AddPath(app.add_subcommand("render", "A picture of one page: rulers, fields with their names "
                                                          "and values, over the page image NAME-N.png, NAME.png, "
                                                          "NAME.pdf or NAME.tif beside the marking when there is one"),
                             options);
  render->add_option("--page", options.page, "The page to draw, counted from 1 as `mandor info` lists them")
      ->capture_default_str();
  render->add_option("-o,--output", options.output, "The picture to write: FILE.svg or FILE.png")->required();
  render->add_option("--scale", options.scale, "Size of the picture relative to the page's pixels")
      ->capture_default_str();
  AddDocOption(*render, options, "draw; default: the first");
  add(render, [&] { return mandor_cli::RunRender(options, std::cout); });

  mandor_cli::PrintCommandOptions print_options;
  add(mandor_cli::AddPrintCommand(app, print_options),
      [&] { return mandor_cli::RunPrint(print_options, std::cout, std::cerr); });

  mandor_cli::ValuesOptions values_options;
  for (CLI::App* sub : mandor_cli::AddValuesCommands(app, values_options)) {
    add(sub, [&] { return mandor_cli::RunValuesCommand(values_options, std::cout, std::cerr); });
  }

  for (const Command& command : commands) AddCommonOptions(*command.app, locale, yes);

  const std::string word = CommandWord(argc, argv);
  auto hint = [&] {
    return "Run 'mandor " + (IsCommand(commands, word) ? word + " " : std::string()) + "--help' for usage.";
  };
  if (!word.empty() && !IsCommand(commands, word)) {
    std::cerr << "mandor: unknown command \"" << word << "\" (commands: " << CommandList(commands) << ")\n"
              << hint() << "\n";
    return 2;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {  // --help, --version
    return app.exit(e, std::cout, std::cerr);
  } catch (const CLI::ParseError& e) {
    std::cerr << "mandor: " << e.what() << "\n" << hint() << "\n";
    return 2;
  }

  auto platform = std::make_shared<mandor_cli::CliPlatform>(std::cerr, yes);
  if (!locale.empty()) platform->SetLocale(*mandor::Locale::FromName(locale));
  mandor::SetPlatform(platform);

  try {
    for (const Command& command : commands) {
      if (*command.app) {
        const int status = command.run();
        if (!standard_output.Flush()) {
          ReportOutputFailure(standard_output);
          return 1;
        }
        return status;
      }
    }
  } catch (const mandor_cli::UsageError& e) {
    std::cerr << "mandor: " << e.what() << "\n" << hint() << "\n";
    return 2;
  } catch (const mandor_cli::OutputFailure&) {
    ReportOutputFailure(standard_output);
    return 1;
  } catch (const mandor_cli::CommandFailure& e) {
    std::cerr << "mandor: " << e.what() << "\n";
    return 1;
  } catch (const mandor::Error& e) {
    std::cerr << "mandor: " << e.what() << " (error " << e.number() << ")\n";
    return 1;
  }
  return 2;  // not reached: CLI11 requires one command
}

}  // namespace

int main(int argc, char** argv) {
  // A closed pipe is a failed write (EPIPE), reported like any other, not a
  // silent death.
  signal(SIGPIPE, SIG_IGN);
  mandor_cli::StandardStream out(std::cout, STDOUT_FILENO);
  mandor_cli::StandardStream err(std::cerr, STDERR_FILENO);
  int status = 1;
  try {
    status = Run(argc, argv, out);
  } catch (const std::exception& e) {
    std::cerr << "mandor: " << e.what() << "\n";
  } catch (...) {
    std::cerr << "mandor: unexpected failure\n";
  }
  // --help and --version also write to standard output.
  if (!out.Flush() && status == 0) {
    ReportOutputFailure(out);
    status = 1;
  }
  return status;
}
