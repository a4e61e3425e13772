#pragma once

#include <cstdint>
#include <string>

#include "Devices.h"

namespace frontend {

// The options of "q750 scan" as they were given.
struct ScanOptions {
  std::string device;  // empty: the only one there is
  std::string output;  // "-": standard output
  std::string format;  // empty: as the output's name tells
  std::string resolution = "300";
  std::string mode = "color";
  std::string area;  // empty: the whole glass
  bool quiet = false;
  bool verbose = false;
  VirtualDeviceOptions virtualDevice;
};

// The options of "q750 virtual" as they were given.
struct VirtualOptions {
  std::string listen = "127.0.0.1:3240";
  VirtualDeviceOptions virtualDevice;
};

struct CommandLine {
  enum class Command : std::uint8_t { show, list, scan, serve };

  Command command = Command::show;
  std::string text;  // for show: help or version
  ScanOptions scan;
  VirtualOptions serve;
};

// Takes the command line apart. Does not look at what values mean (ScanPlan.h does). Throws UsageError.
CommandLine parseCommandLine(int argc, const char* const* argv);

}  // namespace frontend
