#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <sstream>

#include "CommandError.h"
#include "ExitCode.h"
#include "PaperSize.h"
#include "Version.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

constexpr std::uint32_t largestPacketSize = 256u * 1024 * 1024;
constexpr std::uint32_t longestWarmUpMs = 3600 * 1000;
constexpr std::uint32_t mostPages = 9999;
constexpr std::size_t helpColumn = 30;
constexpr char virtualGroup[] = "For the virtual scanner";

constexpr char areaHelp[] =
    "Areas: LEFTxTOP+WIDTHxHEIGHT, measured from the top left corner of the glass.\n"
    "  A unit (mm, in or px) follows every number, or the last one alone and holds for all:\n"
    "    10x20+50x80mm   10mmx20mm+2inx3in   0.5x0.5+4x6in   0x0+640x480px\n"
    "  px are pixels of the picture. What reaches past the glass (215.9 x 296.9 mm) is left out.\n";

constexpr char outputHelp[] =
    "The picture appears under its name only when it is whole; what stood there before is replaced then.\n";

constexpr char pagesHelp[] =
    "Between the pages it asks for the next one: Enter scans it, q ends with the pages so far. A TIFF or "
    "PDF\n"
    "holds all of them; of other formats each page is a file with its number in its name, in place of %d\n"
    "(or %03d) or before the extension: page-1.png, page-2.png, ...\n";

constexpr char doctorHelp[] =
    "Looks for scanners, whether you may use them and whether the parts of this program are in place, and\n"
    "scans a few pixels with each real scanner, or with the virtual one where there is none. Each line says\n"
    "whether all is well (ok), what is good to know (note) or what to do (attention). The exit code is that\n"
    "of the first line that asks for attention.\n";

constexpr char listenHelp[] =
    "Other programs, of this machine or another one, then find the scanner on their USB: it travels over\n"
    "USB/IP, which the Linux kernel attaches with the two commands that are shown. Detach it with\n"
    "usbip detach -p 00; usbip port tells the number. Ctrl-C ends it, which unplugs the scanner.\n"
    "\n"
    "Whoever can reach the address can use the scanner and sees what is on its glass: nothing asks who they\n"
    "are, and nothing is encrypted. Listen on another address than 127.0.0.1 or [::1] only in a network "
    "that\n"
    "you trust.\n";

void addVirtualOptions(CLI::App& command, VirtualScannerOptions& options, const std::string& group) {
  command
      .add_option("--virtual-paper", options.paper,
                  "A PNG or PNM file to lay on the glass, instead of a test chart")
      ->type_name("FILE")
      ->group(group);
  command
      .add_option("--virtual-fault", options.faults,
                  "Let something go wrong, for testing; may be given several times")
      ->type_name("NAME[:N]")
      ->allow_extra_args(false)
      ->group(group);
  command.add_option("--virtual-packet-size", options.packetSize, "Image bytes in one packet, for testing")
      ->type_name("BYTES")
      ->check(CLI::Range(1u, largestPacketSize).description(""))
      ->group(group);
}

void addVirtualTimes(CLI::App& command, VirtualScannerOptions& options, const std::string& group) {
  command
      .add_option("--virtual-warm-up", options.warmUpMs,
                  "How long it takes until the first byte of a picture")
      ->type_name("MILLISECONDS")
      ->check(CLI::Range(0u, longestWarmUpMs).description(""))
      ->group(group);
  command.add_option("--virtual-speed", options.bytesPerSecond, "Bytes of the picture in a second")
      ->type_name("BYTES")
      ->check(CLI::Range(1u, std::numeric_limits<std::uint32_t>::max()).description(""))
      ->group(group);
  command
      .add_flag("--virtual-real-time", options.realTime,
                "Let its time-outs take their time, as those of a real scanner")
      ->group(group);
}

void addPictureOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("-r,--resolution", options.resolution,
                  "75, 150, 200, 300, 400 or 600 dots per inch (colour up to 300); otherwise 300")
      ->type_name("N");
  scan.add_option("-m,--mode", options.mode, "color, gray or lineart (black and white); otherwise color")
      ->type_name("MODE");
  scan.add_option("--threshold", options.threshold,
                  "For lineart: greys below it become black; 0 to 255, or 0% to 100%; otherwise 50%")
      ->type_name("N");
  scan.add_option("-a,--area", options.area, "The part of the glass to scan, see below; otherwise all of it")
      ->type_name("AREA");
  scan.add_option("-p,--paper", options.paper, "The same for a paper in the top left corner, see below")
      ->type_name("NAME");
}

void addScanOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("-o,--output", options.output, "Where the picture goes: a file, or - for standard output")
      ->type_name("FILE")
      ->required();
  scan.add_option("--format", options.format,
                  "tiff, png, jpeg, pnm or pdf; otherwise as the file's name tells")
      ->type_name("FORMAT");
  scan.add_option("--quality", options.quality,
                  "Of JPEG and of the pictures in a PDF: 1 to 100, or lossless (PDF); otherwise 90")
      ->type_name("N");
  scan.add_option("-d,--device", options.device,
                  "The scanner, as q750 list names it; otherwise the only one there is")
      ->type_name("NAME");
  addPictureOptions(scan, options);
  scan.add_option("--pages", options.pages, "Scan up to so many pages, asking for each; see below")
      ->type_name("N")
      ->check(CLI::Range(1u, mostPages).description(""));
  scan.add_option("--progress", options.progress, "auto, bar, plain, json or none; otherwise auto")
      ->type_name("STYLE");
  scan.add_option("--timeout", options.timeout,
                  "Give up when the scanner is silent for so long; otherwise 30")
      ->type_name("SECONDS");
  scan.add_flag("-q,--quiet", options.quiet, "Say nothing but what went wrong");
  scan.add_flag("-v,--verbose", options.verbose, "Show the library's log");
  addVirtualOptions(scan, options.virtualScanner, virtualGroup);
  addVirtualTimes(scan, options.virtualScanner, virtualGroup);
  scan.footer(std::string(areaHelp) + "\nPapers:\n" + paperHelp() + "\n" + outputHelp + "\n" + pagesHelp +
              "\nFaults, each with its usual N:\n" + faultHelp() + "\n" + exitCodeTable());
}

void addDoctorOptions(CLI::App& doctor, DoctorOptions& options) {
  doctor
      .add_option("-d,--device", options.device,
                  "The scanner to look at, as q750 list names it; otherwise all that are there")
      ->type_name("NAME");
  doctor
      .add_option("--timeout", options.timeout,
                  "How long a scanner may be silent during the test scan; otherwise 5")
      ->type_name("SECONDS");
  addVirtualOptions(doctor, options.virtualScanner, virtualGroup);
  addVirtualTimes(doctor, options.virtualScanner, virtualGroup);
  doctor.footer(std::string(doctorHelp) + "\n" + exitCodeTable());
}

void addServeOptions(CLI::App& serve, ServeOptions& options) {
  serve
      .add_option("--listen", options.listen,
                  "Where to listen, an IPv6 address in brackets; port 0 is any free one; otherwise "
                  "127.0.0.1:3240")
      ->type_name("ADDRESS:PORT");
  addVirtualOptions(serve, options.virtualScanner, "Options");
  serve.footer(std::string(listenHelp) + "\nFaults, each with its usual N:\n" + faultHelp() + "\n" +
               exitCodeTable());
}

CommandLine::Command commandOf(const CLI::App& app) {
  const std::string name = app.get_subcommands().front()->get_name();
  if (name == "list") return CommandLine::Command::list;
  if (name == "scan") return CommandLine::Command::scan;
  if (name == "doctor") return CommandLine::Command::doctor;
  return CommandLine::Command::serve;
}

[[noreturn]] void complain(const CLI::App& app, const CLI::ParseError& error) {
  std::string command = "q750";
  for (const CLI::App* parsed : app.get_subcommands()) command += " " + parsed->get_name();
  throw UsageError(std::string(error.what()) + ". Try " + command + " --help.");
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
  list->add_flag("--json", result.list.json, "As JSON, for programs");
  addScanOptions(*app.add_subcommand("scan", "Scan pages into a TIFF, PNG, JPEG, PNM or PDF file"),
                 result.scan);
  addDoctorOptions(*app.add_subcommand("doctor", "Find out why scanning does not work"), result.doctor);
  addServeOptions(*app.add_subcommand("virtual", "Offer a virtual scanner to the USB of Linux machines"),
                  result.serve);
  app.footer("q750 scan --help tells more about scanning.\n\n" + exitCodeTable());
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    std::ostringstream shown;
    std::ostringstream complaint;
    if (app.exit(end, shown, complaint) != 0) complain(app, end);
    result.text = shown.str();
    return result;
  }
  result.command = commandOf(app);
  return result;
}

}  // namespace frontend
