#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Choices.h"
#include "ScanLimits.h"
#include "ScanRequest.h"
#include "UserDefaults.h"

// The options of the commands. Ranges and defaults that other front ends share are in ScanLimits.h; those of
// the command line alone are here.
namespace frontend {

inline constexpr std::uint32_t highestFirstPage = 999999;
// Shorter than that of a scan: users run the doctor when the scanner does not respond.
inline constexpr std::chrono::milliseconds defaultDoctorTimeout = std::chrono::seconds(5);

// The options of "q750 list".
struct ListOptions {
  bool json = false;
};

// The options of "q750 scan" as they were given; ScanPlan.h interprets them.
struct ScanOptions {
  std::optional<std::string> device;  // nothing: the only real one
  std::string output;                 // "-": standard output
  std::string format;                 // empty: by the extension of the output
  std::string resolution = std::to_string(limits::defaultResolution);
  std::string mode = nameOf(defaultMode);
  std::string threshold;   // empty: the default, or none outside lineart
  std::string brightness;  // empty: neutral, like the next two
  std::string contrast;
  std::string gamma;
  std::string area;   // empty: the whole bed
  std::string paper;  // empty: by the area
  std::string rotation{rotationNames.front()};
  std::string quality;      // empty: the default
  std::string pages = "1";  // empty: until the user has had enough
  std::optional<std::uint32_t> firstPage;
  bool append = false;
  bool noClobber = false;
  std::string progress;  // empty: the default
  std::string timeout = inSeconds(limits::defaultTimeout);
  bool quiet = false;
  bool verbose = false;
  VirtualScannerOptions virtualScanner;
  UserDefaults defaults;  // for what is empty above, where they fit the rest
};

// The options of "q750 doctor".
struct DoctorOptions {
  std::optional<std::string> device;  // nothing: all real ones
  std::string timeout = inSeconds(defaultDoctorTimeout);
  bool json = false;
  VirtualScannerOptions virtualScanner;
};

// Where "q750 virtual" listens by default: on the loopback interface, at the port that clients try first.
std::string defaultListenAddress();

// The options of "q750 virtual".
struct ServeOptions {
  std::string listen = defaultListenAddress();
  VirtualScannerOptions virtualScanner;
};

struct CommandLine {
  enum class Command : std::uint8_t { print, list, scan, doctor, serve, share };

  Command command = Command::print;
  std::string text;  // for print: help or version
  ListOptions list;
  ScanOptions scan;
  DoctorOptions doctor;
  ServeOptions serve;
  std::vector<std::string> share;  // the arguments of "q750 share", which its own program parses
};

using DefaultsReader = std::function<UserDefaults()>;

// Parses the command line. Checks names and numbers of options, and leaves the meaning of their values to the
// commands. Calls `readDefaults` for the command whose options have defaults of the user. Throws UsageError.
CommandLine parseCommandLine(
    int argc, const char* const* argv, const DefaultsReader& readDefaults = [] { return UserDefaults(); });

}  // namespace frontend
