// mandor: inspect, check, convert, calibrate and preview markings from the
// shell. See `mandor --help`.

#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/cli_platform.h"
#include "cli/commands.h"
#include "cli/marking.h"
#include "cli/print_cmd.h"
#include "cli/values_cmd.h"
#include "mandor/mandor.h"

#ifndef MANDOR_VERSION
#define MANDOR_VERSION "unknown"
#endif

namespace {

using mandor_cli::Options;

const std::vector<std::string> kCommands = {"info", "dump", "check", "convert", "save", "render", "print"};

constexpr const char* kPathHelp =
    "A marking ending in .xnf (extended text layout) or .cnf (standard text layout), or a catalogue "
    "workbook (any other file)";

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

bool IsCommand(const std::string& word) {
  for (const std::string& command : kCommands) {
    if (word == command) return true;
  }
  for (const std::string& command : mandor_cli::ValuesCommandNames()) {
    if (word == command) return true;
  }
  return false;
}

std::string UsageHint(const std::string& command) {
  return "Run 'mandor " + (IsCommand(command) ? command + " " : std::string()) + "--help' for usage.";
}

// The options every command takes, so that they may stand before or after it.
void AddCommonOptions(CLI::App& app, std::string& locale, bool& yes) {
  app.add_option("--locale", locale,
                 "Regional settings: 'fr' (decimal comma, Vrai/Faux) or 'en' (decimal point, True/False); "
                 "the default follows LC_ALL, LC_NUMERIC and LANG")
      ->check(CLI::IsMember({"fr", "en"}));
  app.add_flag("-y,--yes", yes, "Answer Yes to the questions of the library (the default answer is No)");
}

void AddDocOption(CLI::App& app, Options& options, const std::string& what) {
  app.add_option("--doc", options.doc_id, "Image ID (mn1, mn2, ...) of the catalogue document to " + what);
}

int Run(int argc, char** argv) {
  Options options;
  std::string locale;
  bool yes = false;

  CLI::App app{"mandor: inspect, check, convert, calibrate and preview markings of scanned tender documents.",
               "mandor"};
  app.set_version_flag("--version", std::string("mandor ") + MANDOR_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  AddCommonOptions(app, locale, yes);
  app.footer(
      "PATH is a text marking (.xnf, .cnf) or a catalogue workbook (any other file).\n"
      "Every message of the library is printed on standard error as one line \"[TITLE] TEXT\".\n"
      "Exit status: 0 done, 1 the marking did not load or the work failed, 2 a usage error.\n"
      "Run 'mandor COMMAND --help' for the options of a command.");

  CLI::App* info = app.add_subcommand("info", "A short summary per document: name, type, pages, rulers, fields, "
                                              "calibration inputs, currency, fonts");
  info->add_option("PATH", options.path, kPathHelp)->required();
  AddDocOption(*info, options, "describe; default: all");

  CLI::App* dump = app.add_subcommand("dump", "The whole model as JSON on standard output (see docs/json.md)");
  dump->add_option("PATH", options.path, kPathHelp)->required();
  AddDocOption(*dump, options, "dump; default: all");
  dump->add_flag("--calage", options.calage, "Compute the calibration parameters of each document first");

  CLI::App* check = app.add_subcommand("check", "Load the marking and report; exit status 0 when it loaded, 1 when "
                                                "it did not");
  check->add_option("PATH", options.path, kPathHelp)->required();

  CLI::App* convert = app.add_subcommand(
      "convert", "Write the document as OUT: '.xnf' with the extended writer, '.cnf' with the standard writer");
  convert->add_option("PATH", options.path, kPathHelp)->required();
  convert->add_option("OUT", options.out,
                      "The text marking to write; its folder and its name (less .xnf/.cnf) become the "
                      "document's folder and name")
      ->required();
  AddDocOption(*convert, options, "write; default: the first");

  CLI::App* save = app.add_subcommand("save", "Read a catalogue and write every document back into it");
  save->add_option("CATALOGUE", options.path, "The catalogue workbook")->required();
  AddDocOption(*save, options, "write back; default: all");

  CLI::App* render = app.add_subcommand(
      "render", "A picture of one page: rulers, fields with their names and values, over the page image "
                "<name>-<N>.png, <name>.png, <name>.pdf or <name>.tif beside the marking when there is one");
  render->add_option("PATH", options.path, kPathHelp)->required();
  render->add_option("--page", options.page, "The page to draw, counted from 1 as `mandor info` lists them")->capture_default_str();
  render->add_option("-o,--output", options.output, "The picture to write: FILE.svg or FILE.png")->required();
  render->add_option("--scale", options.scale, "Size of the picture relative to the page's pixels")
      ->capture_default_str();
  AddDocOption(*render, options, "draw; default: the first");

  mandor_cli::PrintCommandOptions print_options;
  CLI::App* print = mandor_cli::AddPrintCommand(app, print_options);

  for (CLI::App* command : {info, dump, check, convert, save, render, print}) AddCommonOptions(*command, locale, yes);
  mandor_cli::ValuesOptions values_options;
  for (CLI::App* command : mandor_cli::AddValuesCommands(app, values_options)) AddCommonOptions(*command, locale, yes);

  const std::string word = CommandWord(argc, argv);
  if (!word.empty() && !IsCommand(word)) {
    std::cerr << "mandor: unknown command \"" << word
              << "\" (commands: info, dump, check, convert, save, render, print, set, fill, compute)\n"
              << UsageHint("") << "\n";
    return 2;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {  // --help, --version
    return app.exit(e, std::cout, std::cerr);
  } catch (const CLI::ParseError& e) {
    std::cerr << "mandor: " << e.what() << "\n" << UsageHint(word) << "\n";
    return 2;
  }

  auto platform = std::make_shared<mandor_cli::CliPlatform>(std::cerr, yes);
  if (locale == "fr") platform->SetLocale(mandor::Locale::Comma());
  if (locale == "en") platform->SetLocale(mandor::Locale::Point());
  mandor::SetPlatform(platform);

  try {
    if (*info) return mandor_cli::RunInfo(options, std::cout);
    if (*dump) return mandor_cli::RunDump(options, *platform, std::cout);
    if (*check) return mandor_cli::RunCheck(options, *platform, std::cout);
    if (*convert) return mandor_cli::RunConvert(options, std::cout, std::cerr);
    if (*save) return mandor_cli::RunSave(options, std::cout);
    if (*render) return mandor_cli::RunRender(options, std::cout);
    if (*print) return mandor_cli::RunPrint(print_options, std::cout, std::cerr);
    if (int status = mandor_cli::RunValuesCommand(values_options, std::cout, std::cerr); status >= 0) return status;
  } catch (const mandor_cli::UsageError& e) {
    std::cerr << "mandor: " << e.what() << "\n" << UsageHint(word) << "\n";
    return 2;
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
  try {
    return Run(argc, argv);
  } catch (const std::exception& e) {
    std::cerr << "mandor: " << e.what() << "\n";
  } catch (...) {
    std::cerr << "mandor: unexpected failure\n";
  }
  return 1;
}
