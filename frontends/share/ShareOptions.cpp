#include "ShareOptions.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <sstream>

#include "ListenSockets.h"
#include "ShareIdentity.h"

namespace frontend::share {
namespace {

constexpr std::size_t helpColumn = 30;
constexpr char virtualGroup[] = "For the virtual scanner";

constexpr char footer[] =
    "Phones, tablets and computers find the scanner without a driver, by eSCL (AirScan, Mopria scan). The\n"
    "program runs until Ctrl-C and prints a line for each request and each scan.\n"
    "\n"
    "Without --bind only programs on this machine can scan. Anyone who can reach an address that is given\n"
    "can use the scanner and see what is on its glass: there is no authentication, and no encryption "
    "without\n"
    "--certificate. Serve only networks that you trust. --bind :: serves all of them.\n";

std::string range(std::uint32_t least, std::uint32_t most) {
  return std::to_string(least) + " to " + std::to_string(most);
}

// Without the description that the parser would put into the help.
CLI::Validator inRange(std::uint32_t least, std::uint32_t most) {
  return CLI::Range(least, most).description("");
}

void addServerOptions(CLI::App& app, ShareOptions& options) {
  app.add_option("-d,--device", options.device,
                 "The scanner, by its name in q750 list (default: the first real one)")
      ->type_name("NAME");
  constexpr std::uint32_t highestPort = std::numeric_limits<std::uint16_t>::max();
  app.add_option("--port", options.port,
                 "Where to listen, 0 for any free one: " + range(0, highestPort) +
                     " (default: " + std::to_string(defaultPort) + ")")
      ->type_name("N")
      ->check(inRange(0, highestPort));
  app.add_option("--name", options.name,
                 "The name under which people find the scanner (default: its model and this machine's name)")
      ->type_name("TEXT");
  app.add_option("--bind", options.bind,
                 "Where to listen; may be given several times (default: this machine only)")
      ->type_name("ADDRESS")
      ->allow_extra_args(false);
  app.add_option("--config", options.config, "Read the settings that are not given here from this file")
      ->type_name("FILE");
  app.add_flag_function(
      "--announce", [&options](std::int64_t) { options.announce = ShareConfig::Announce::local; },
      "Let programs find the scanner automatically even if only this machine can use it");
  app.add_option("--certificate", options.certificate, "Serve over TLS with this certificate, in PEM")
      ->type_name("FILE");
  app.add_option("--key", options.key, "The private key of the certificate, in PEM")->type_name("FILE");
  app.add_option_function<std::string>(
         "--timeout",
         [&options](const std::string& text) {
           const auto timeout = limits::timeoutFromSeconds(text);
           if (!timeout)
             throw CLI::ValidationError("--timeout " + text + ": not a number of seconds in range");
           options.timeout = *timeout;
         },
         "Give up when the scanner is silent for longer (default: " +
             std::to_string(
                 std::chrono::duration_cast<std::chrono::seconds>(limits::defaultTimeout).count()) +
             ")")
      ->type_name("SECONDS");
}

void addVirtualOptions(CLI::App& app, ShareOptions& options) {
  VirtualScannerOptions& given = options.virtualScanner;
  app.add_flag("--virtual", options.isVirtual, "Share the virtual scanner, for testing");
  app.add_option("--virtual-paper", given.paper,
                 "The PNG, JPEG or PNM file to put on the glass (default: a test chart)")
      ->type_name("FILE")
      ->group(virtualGroup);
  app.add_option("--virtual-fault", given.faults, "Inject a fault, for testing; may be given several times")
      ->type_name("NAME[:N]")
      ->allow_extra_args(false)
      ->group(virtualGroup);
  app.add_option("--virtual-packet-size", given.packetSize,
                 "Image bytes per packet, for testing: " + range(1, limits::largestVirtualPacket))
      ->type_name("BYTES")
      ->check(inRange(1, limits::largestVirtualPacket))
      ->group(virtualGroup);
  constexpr auto longestWarmUpMs = static_cast<std::uint32_t>(limits::longestVirtualWarmUp.count());
  app.add_option("--virtual-warm-up", given.warmUpMs,
                 "Delay before the first byte of a picture: " + range(0, longestWarmUpMs) + " (default: 0)")
      ->type_name("MILLISECONDS")
      ->check(inRange(0, longestWarmUpMs))
      ->group(virtualGroup);
  app.add_option(
         "--virtual-speed", given.bytesPerSecond,
         "Bytes of the picture per second: " + range(1, limits::highestVirtualSpeed) + " (default: no limit)")
      ->type_name("BYTES")
      ->check(inRange(1, limits::highestVirtualSpeed))
      ->group(virtualGroup);
  app.add_flag("--virtual-real-time", given.realTime, "Let time-outs take as long as with a real scanner")
      ->group(virtualGroup);
}

bool anyUsed(const VirtualScannerOptions& options) {
  return !options.paper.empty() || !options.faults.empty() || options.packetSize != 0 || options.realTime ||
         options.warmUpMs != 0 || options.bytesPerSecond != 0;
}

void check(const ShareOptions& options) {
  if (options.certificate.empty() != options.key.empty())
    throw ShareUsageError("--certificate and --key belong together. Give both or neither.");
  for (const std::string& address : options.bind) {
    if (!isListenAddress(address))
      throw ShareUsageError("--bind " + address + ": not an address. Use one such as 192.168.1.5 or ::1.");
  }
  if (!options.name.empty() && !isShareName(options.name))
    throw ShareUsageError("--name: expected a text in UTF-8 without control characters.");
  if (!options.isVirtual && anyUsed(options.virtualScanner))
    throw ShareUsageError("The options of the virtual scanner need --virtual.");
}

template <typename Option, typename Setting>
void complete(Option& option, const Option& open, const Setting& setting) {
  if (option == open && setting) option = *setting;
}

}  // namespace

ShareOptions parseShareOptions(int argc, const char* const* argv, const std::string& version) {
  ShareOptions options;
  CLI::App app("Share the Quenvar Q750 with other programs and devices.", "q750 share");
  app.get_formatter()->column_width(helpColumn);
  app.set_version_flag("--version", version, "Show the version and exit");
  app.set_help_flag("-h,--help", "Show this help and exit");
  addServerOptions(app, options);
  addVirtualOptions(app, options);
  app.footer(footer);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    // The parser reports help and version as errors too, with exit code 0.
    std::ostringstream output;
    std::ostringstream errors;
    if (app.exit(end, output, errors) != 0)
      throw ShareUsageError(end.what() + std::string(". Try q750 share --help."));
    options.text = output.str();
    return options;
  }
  if (options.isVirtual && !options.device.empty())
    throw ShareUsageError("--virtual and --device exclude each other. Give one of them.");
  return options;
}

ShareOptions completed(ShareOptions options, const ShareConfig& config) {
  if (!config.complaints.empty()) {
    std::string all;
    for (const std::string& complaint : config.complaints) all += (all.empty() ? "" : "\n") + complaint;
    throw ShareUsageError(all);
  }
  if (!options.isVirtual) complete(options.device, {}, config.device);
  complete(options.port, {}, config.port);
  complete(options.name, {}, config.name);
  if (options.bind.empty()) options.bind = config.bind;
  complete(options.announce, {}, config.announce);
  // The two belong together: one from the command line is not combined with the other from the file.
  if (options.certificate.empty() && options.key.empty()) {
    complete(options.certificate, {}, config.certificate);
    complete(options.key, {}, config.key);
  }
  complete(options.timeout, {}, config.timeout);
  options.serverNames = config.serverNames;
  options.allow = config.allow;
  options.tone.gammaHundredths = config.gammaHundredths.value_or(Tone().gammaHundredths);
  check(options);
  return options;
}

}  // namespace frontend::share
