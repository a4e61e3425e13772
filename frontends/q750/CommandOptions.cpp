#include "CommandOptions.h"

#include <CLI/CLI.hpp>

#include "Bed.h"
#include "HelpText.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

constexpr char virtualGroup[] = "For the virtual scanner";

std::string defaultIs(const std::string& value) {
  return " (default: " + value + ")";
}

// The user's own default, or else the program's.
std::string defaultOf(const ScanOptions& options, std::string_view name, const std::string& otherwise) {
  return defaultIs(options.defaults.valueOr(name, otherwise));
}

std::string rangeOf(std::int64_t least, std::int64_t most) {
  return std::to_string(least) + " to " + std::to_string(most);
}

// Without the description that the parser would put into the help.
CLI::Validator range(std::uint32_t least, std::uint32_t most) {
  return CLI::Range(least, most).description("");
}

std::string timeoutRange() {
  return inSeconds(limits::shortestTimeout) + " to " + inSeconds(limits::longestTimeout);
}

// Distinguishes an empty name from none at all, which the parser's own conversion to std::optional does not.
void addDeviceOption(CLI::App& command, std::optional<std::string>& device, const std::string& description) {
  command
      .add_option_function<std::string>(
          "-d,--device", [&device](const std::string& name) { device = name; }, description)
      ->type_name("NAME");
}

void addVirtualOptions(CLI::App& command, VirtualScannerOptions& options, const std::string& group) {
  command
      .add_option("--virtual-paper", options.paper,
                  "The PNG, JPEG or PNM file to put on the glass (default: a test chart)")
      ->type_name("FILE")
      ->group(group);
  command
      .add_option("--virtual-fault", options.faults,
                  "Inject a fault, for testing; may be given several times")
      ->type_name("NAME[:N]")
      ->allow_extra_args(false)
      ->group(group);
  command
      .add_option("--virtual-packet-size", options.packetSize,
                  "Image bytes per packet, for testing: " + rangeOf(1, limits::largestVirtualPacket))
      ->type_name("BYTES")
      ->check(range(1, limits::largestVirtualPacket))
      ->group(group);
}

void addVirtualTimes(CLI::App& command, VirtualScannerOptions& options, const std::string& group) {
  constexpr auto longestWarmUpMs = static_cast<std::uint32_t>(limits::longestVirtualWarmUp.count());
  command
      .add_option("--virtual-warm-up", options.warmUpMs,
                  "Delay before the first byte of a picture: " + rangeOf(0, longestWarmUpMs) + defaultIs("0"))
      ->type_name("MILLISECONDS")
      ->check(range(0, longestWarmUpMs))
      ->group(group);
  command
      .add_option("--virtual-speed", options.bytesPerSecond,
                  "Bytes of the picture per second: " + rangeOf(1, limits::highestVirtualSpeed) +
                      defaultIs("no limit"))
      ->type_name("BYTES")
      ->check(range(1, limits::highestVirtualSpeed))
      ->group(group);
  command
      .add_flag("--virtual-real-time", options.realTime, "Let time-outs take as long as with a real scanner")
      ->group(group);
}

void addToneOptions(CLI::App& scan, ScanOptions& options) {
  constexpr Tone neutral;
  const std::string range = rangeOf(limits::lowestTonePercent, limits::highestTonePercent);
  scan.add_option("--brightness", options.brightness,
                  "In color and gray, above 0 is lighter: " + range +
                      defaultOf(options, "brightness", std::to_string(neutral.brightness)))
      ->type_name("N");
  scan.add_option("--contrast", options.contrast,
                  "In color and gray, above 0 is more: " + range +
                      defaultOf(options, "contrast", std::to_string(neutral.contrast)))
      ->type_name("N");
  scan.add_option(
          "--gamma", options.gamma,
          "In color and gray, above 1 lightens the midtones: " + hundredths(limits::lowestGammaHundredths) +
              " to " + hundredths(limits::highestGammaHundredths) +
              defaultOf(options, "gamma", hundredths(neutral.gammaHundredths)))
      ->type_name("N");
}

void addPictureOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("-r,--resolution", options.resolution,
                  listOfResolutions() + " dots per inch, colour at most " +
                      std::to_string(highestColorResolution) + defaultIs(options.resolution))
      ->type_name("N");
  scan.add_option("-m,--mode", options.mode,
                  listOf(modeNames) + ", which is black and white" + defaultIs(options.mode))
      ->type_name("MODE");
  scan.add_option("--threshold", options.threshold,
                  "In lineart, greys below this value become black: " + rangeOf(0, limits::highestThreshold) +
                      ", or 0% to 100%" +
                      defaultOf(options, "threshold", std::to_string(limits::defaultThresholdPercent) + "%"))
      ->type_name("N");
  addToneOptions(scan, options);
  const std::string paper = options.defaults.valueOr("paper", "");
  scan.add_option(
          "-a,--area", options.area,
          "The part of the bed to scan, see below" + defaultIs(paper.empty() ? "all" : "that of the paper"))
      ->type_name("AREA");
  scan.add_option("-p,--paper", options.paper,
                  "A paper size in the top left corner instead of an area, see below" +
                      (paper.empty() ? "" : defaultIs(paper)))
      ->type_name("NAME");
  scan.add_option(
          "--rotate", options.rotation,
          "Turn the pages clockwise by " + listOf(rotationNames) + " degrees" + defaultIs(options.rotation))
      ->type_name("DEGREES");
}

void addOutputOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("-o,--output,FILE", options.output,
                  "The file to write, or - for standard output; -o may be left out")
      ->type_name("FILE")
      ->required();
  scan.add_option("--format", options.format,
                  listOf(pictureFormatNames) + defaultIs("by the extension of the file"))
      ->type_name("FORMAT");
  scan.add_option("--quality", options.quality,
                  "The quality of JPEG, also in a PDF: " + rangeOf(lowestQuality, highestQuality) + ", or " +
                      std::string(losslessName) + " for PDF" +
                      defaultOf(options, "quality", std::to_string(defaultQuality)))
      ->type_name("N");
}

void addPageOptions(CLI::App& scan, ScanOptions& options) {
  scan.add_option("--pages", options.pages,
                  "Scan up to N pages, or until q if N is left out, with a prompt between them, see below: " +
                      rangeOf(1, mostPages) + defaultIs(options.pages))
      ->type_name("[N]")
      ->expected(0, 1);
  scan.add_option(
          "--first-page", options.firstPage,
          "The number of the first page in file names: " + rangeOf(0, highestFirstPage) + defaultIs("1"))
      ->type_name("N")
      ->check(range(0, highestFirstPage));
  scan.add_flag("--append", options.append, "Add the pages to a TIFF or PDF file that may exist already");
  scan.add_flag("--no-clobber", options.noClobber, "Never replace an existing file");
}

}  // namespace

void addListOptions(CLI::App& list, ListOptions& options) {
  list.add_flag("--json", options.json, "Print JSON, for programs");
}

void addScanOptions(CLI::App& scan, ScanOptions& options) {
  addOutputOptions(scan, options);
  addDeviceOption(
      scan, options.device,
      "The scanner, by its name in q750 list" + defaultOf(options, "device", "the only real one"));
  addPictureOptions(scan, options);
  addPageOptions(scan, options);
  scan.add_option("--progress", options.progress,
                  listOf(progressNames) + defaultOf(options, "progress", std::string(progressNames.front())))
      ->type_name("STYLE");
  scan.add_option(
          "--timeout", options.timeout,
          "Give up when the scanner is silent for longer: " + timeoutRange() + defaultIs(options.timeout))
      ->type_name("SECONDS");
  scan.add_flag("-q,--quiet", options.quiet, "Print errors only");
  scan.add_flag("-v,--verbose", options.verbose, "Print the log of the driver library");
  addVirtualOptions(scan, options.virtualScanner, virtualGroup);
  addVirtualTimes(scan, options.virtualScanner, virtualGroup);
  scan.footer(help::ofScan(options.defaults));
}

void addDoctorOptions(CLI::App& doctor, DoctorOptions& options) {
  addDeviceOption(doctor, options.device,
                  "The scanner to check, by its name in q750 list" + defaultIs("all"));
  doctor
      .add_option("--timeout", options.timeout,
                  "How long a scanner may be silent during the test scan: " + timeoutRange() +
                      defaultIs(options.timeout))
      ->type_name("SECONDS");
  doctor.add_flag("--json", options.json, "Print JSON, for programs");
  addVirtualOptions(doctor, options.virtualScanner, virtualGroup);
  addVirtualTimes(doctor, options.virtualScanner, virtualGroup);
  doctor.footer(help::ofDoctor());
}

void addServeOptions(CLI::App& serve, ServeOptions& options) {
  serve
      .add_option(
          "--listen", options.listen,
          "Where to listen: IPv6 addresses in brackets, port 0 for any free one" + defaultIs(options.listen))
      ->type_name("ADDRESS:PORT");
  addVirtualOptions(serve, options.virtualScanner, "Options");
  serve.footer(help::ofVirtual());
}

}  // namespace frontend
