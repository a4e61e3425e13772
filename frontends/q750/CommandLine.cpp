#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "CommandError.h"
#include "ExitCode.h"
#include "Version.h"

namespace frontend {
namespace {

constexpr std::uint32_t largestPacketSize = 256u * 1024 * 1024;
constexpr std::size_t helpColumn = 30;

constexpr char areaHelp[] =
    "Areas: LEFTxTOP+WIDTHxHEIGHT, measured from the top left corner of the glass.\n"
    "  A unit (mm, in or px) follows every number, or the last one alone and holds for all:\n"
    "    10x20+50x80mm   10mmx20mm+2inx3in   0.5x0.5+4x6in   0x0+640x480px\n"
    "  px are pixels of the picture. What reaches past the glass (215.9 x 296.9 mm) is left out.\n";

constexpr char outputHelp[] =
    "The picture appears under its name only when it is whole; what stood there before is replaced then.\n";

constexpr char listenHelp[] =
    "Other programs, of this machine or another one, then find the scanner on their USB: it travels over\n"
    "USB/IP, which the Linux kernel attaches with the two commands that are shown. Detach it with\n"
    "usbip detach -p 00; usbip port tells the number. Ctrl-C ends it, which unplugs the scanner.\n"
    "\n"
    "Whoever can reach the address can use the scanner and sees what is on its glass: nothing asks who they\n"
    "are, and nothing is encrypted. Listen on another address than 127.0.0.1 or [::1] only in a network "
    "that\n"
    "you trust.\n";

void addVirtualOptions(CLI::App& command, VirtualDeviceOptions& options, const std::string& group) {
  command
      .add_option("--paper", options.paper, "A PNG or PNM file to lay on the glass, instead of a test chart")
      ->type_name("FILE")
      ->group(group);
  command
      .add_option("--fault", options.faults,
                  "Let something go wrong, for testing; may be given several times")
      ->type_name("NAME[:N]")
      ->allow_extra_args(false)
      ->group(group);
  command.add_option("--packet-size", options.packetSize, "Image bytes in one packet, for testing")
      ->type_name("BYTES")
      ->check(CLI::Range(1u, largestPacketSize).description(""))
      ->group(group);
}

void addScanOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("-o,--output", options.output, "Where the picture goes: a file, or - for standard output")
      ->type_name("FILE")
      ->required();
  scan.add_option("--format", options.format, "tiff, png or pnm; otherwise as the file's name tells")
      ->type_name("FORMAT");
  scan.add_option("-d,--device", options.device,
                  "The scanner, as q750 list names it; otherwise the only one there is")
      ->type_name("NAME");
  scan.add_option("-r,--resolution", options.resolution,
                  "75, 150, 200, 300, 400 or 600 dots per inch (colour up to 300); otherwise 300")
      ->type_name("N");
  scan.add_option("-m,--mode", options.mode, "color or gray; otherwise color")->type_name("MODE");
  scan.add_option("-a,--area", options.area, "The part of the glass to scan, see below; otherwise all of it")
      ->type_name("AREA");
  scan.add_flag("-q,--quiet", options.quiet, "Say nothing but what went wrong");
  scan.add_flag("-v,--verbose", options.verbose, "Show the library's log");
  addVirtualOptions(scan, options.virtualDevice, "For the virtual scanner");
  scan.footer(std::string(areaHelp) + "\n" + outputHelp + "\nFaults, each with its usual N:\n" + faultHelp() +
              "\n" + exitCodeTable());
}

void addServeOptions(CLI::App& serve, VirtualOptions& options) {
  serve
      .add_option("--listen", options.listen,
                  "Where to listen, an IPv6 address in brackets; port 0 is any free one; otherwise "
                  "127.0.0.1:3240")
      ->type_name("ADDRESS:PORT");
  addVirtualOptions(serve, options.virtualDevice, "Options");
  serve.footer(std::string(listenHelp) + "\nFaults, each with its usual N:\n" + faultHelp() + "\n" +
               exitCodeTable());
}

}  // namespace

CommandLine parseCommandLine(int argc, const char* const* argv) {
  CommandLine result;
  CLI::App app("Scans pages with the Quenvar Q750.", "q750");
  app.get_formatter()->column_width(helpColumn);
  app.set_version_flag("--version", std::string("q750 ") + version, "Show the version and end");
  app.set_help_flag("-h,--help", "Show this help and end");
  app.require_subcommand(1);
  CLI::App* list = app.add_subcommand("list", "Show the scanners that can be scanned from");
  CLI::App* scan = app.add_subcommand("scan", "Scan a page into a TIFF, PNG or PNM file");
  addScanOptions(*scan, result.scan);
  CLI::App* serve = app.add_subcommand("virtual", "Offer a virtual scanner to the USB of Linux machines");
  addServeOptions(*serve, result.serve);
  app.footer("q750 scan --help tells more about scanning.\n\n" + exitCodeTable());
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    std::ostringstream shown;
    std::ostringstream complaint;
    if (app.exit(end, shown, complaint) != 0) {
      std::string command = "q750";
      if (scan->parsed()) command += " scan";
      if (serve->parsed()) command += " virtual";
      throw UsageError(std::string(end.what()) + ". Try " + command + " --help.");
    }
    result.text = shown.str();
    return result;
  }
  result.command = list->parsed()    ? CommandLine::Command::list
                   : serve->parsed() ? CommandLine::Command::serve
                                     : CommandLine::Command::scan;
  return result;
}

}  // namespace frontend
