#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <sstream>
#include <utility>

#include "CommandError.h"
#include "CommandOptions.h"
#include "HelpText.h"
#include "ListenAddress.h"
#include "NearestName.h"
#include "UsbipFormat.h"
#include "Version.h"

// This source and CommandOptions.cpp alone include the parser's headers, which take seconds to compile
// (CMakeLists.txt).
namespace frontend {
namespace {

constexpr std::size_t helpColumn = 30;

// Lists an option that may be given without its name once, among the options.
class HelpFormatter : public CLI::Formatter {
  std::string make_positionals(const CLI::App* /*app*/) const override { return ""; }
};

// Those that fit every scan replace the program's own; the others are for the plan to use.
void useDefaults(ScanOptions& options, UserDefaults defaults) {
  options.resolution = defaults.valueOr("resolution", options.resolution);
  options.mode = defaults.valueOr("mode", options.mode);
  options.rotation = defaults.valueOr("rotate", options.rotation);
  options.timeout = defaults.valueOr("timeout", options.timeout);
  options.defaults = std::move(defaults);
}

CommandLine::Command commandOf(const CLI::App& app) {
  const std::string name = app.get_subcommands().front()->get_name();
  if (name == "list") return CommandLine::Command::list;
  if (name == "scan") return CommandLine::Command::scan;
  if (name == "doctor") return CommandLine::Command::doctor;
  return CommandLine::Command::serve;
}

std::string unknownCommand(const CLI::App& app, const std::string& typed) {
  const std::vector<const CLI::App*> commands = app.get_subcommands(nullptr);
  std::vector<std::string_view> names;
  for (const CLI::App* command : commands) names.emplace_back(command->get_name());
  const auto nearest = nearestName(typed, names);
  return typed + ": unknown command. " +
         (nearest ? "Did you mean " + std::string(*nearest) + "?" : "Choose " + listOf(names) + ".");
}

// What is wrong, as a sentence; the parser's own one where it serves.
std::string reasonOf(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<CLI::App*> parsed = app.get_subcommands();
  if (parsed.empty()) {
    const std::vector<std::string> rest = app.remaining();
    if (!rest.empty() && !rest.front().starts_with('-')) return unknownCommand(app, rest.front());
    return error.what() + std::string(".");
  }
  for (const CLI::Option* option : parsed.front()->get_options()) {
    if (option->count() > 1 && option->get_expected_max() == 1)
      return option->get_name() + " is given twice.";
  }
  return error.what() + std::string(".");
}

[[noreturn]] void throwUsageError(const CLI::App& app, const CLI::ParseError& error) {
  std::string command = "q750";
  for (const CLI::App* parsed : app.get_subcommands()) command += " " + parsed->get_name();
  throw UsageError(reasonOf(app, error) + " Try " + command + " --help.");
}

}  // namespace

std::string defaultListenAddress() {
  return virtualscanner::textOf({"127.0.0.1", virtualscanner::usbip::defaultPort});
}

CommandLine parseCommandLine(int argc, const char* const* argv, const DefaultsReader& readDefaults) {
  CommandLine result;
  if (argc > 1 && std::string_view(argv[1]) == "share") {
    result.command = CommandLine::Command::share;
    result.share.assign(argv + 2, argv + argc);
    return result;
  }
  // Before the options are described: the help gives the defaults that apply.
  if (argc > 1 && std::string_view(argv[1]) == "scan") useDefaults(result.scan, readDefaults());
  CLI::App app("Scan pages with the Quenvar Q750.", "q750");
  app.formatter(std::make_shared<HelpFormatter>());
  app.get_formatter()->column_width(helpColumn);
  app.set_version_flag("--version", std::string("q750 ") + version, "Show the version and exit");
  app.set_help_flag("-h,--help", "Show this help and exit");
  app.require_subcommand(1);
  addListOptions(*app.add_subcommand("list", "List the scanners"), result.list);
  addScanOptions(*app.add_subcommand("scan", "Scan pages to a TIFF, PNG, JPEG, PNM or PDF file"),
                 result.scan);
  addDoctorOptions(*app.add_subcommand("doctor", "Find out why scanning does not work"), result.doctor);
  addServeOptions(*app.add_subcommand("virtual", "Offer a virtual scanner to Linux machines over USB/IP"),
                  result.serve);
  app.add_subcommand("share", "Share the scanner with other programs and devices");
  app.footer(help::ofProgram());
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    // The parser reports help and version as errors too, with exit code 0.
    std::ostringstream output;
    std::ostringstream errors;
    if (app.exit(end, output, errors) != 0) throwUsageError(app, end);
    result.text = output.str();
    return result;
  }
  result.command = commandOf(app);
  return result;
}

}  // namespace frontend
