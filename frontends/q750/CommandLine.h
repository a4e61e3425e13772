#pragma once

#include <cstdint>
#include <string>

#include "ScanRequest.h"

namespace frontend {

// The options of "q750 list" as they were given.
struct ListOptions {
  bool json = false;
};

// The options of "q750 scan" as they were given.
struct ScanOptions {
  std::string device;  // empty: the only one there is
  std::string output;  // "-": standard output
  std::string format;  // empty: as the output's name tells
  std::string resolution = "300";
  std::string mode = "color";
  std::string threshold;  // empty: the middle
  std::string area;       // empty: the whole glass
  std::string paper;      // empty: as the area tells
  std::string quality;    // empty: the usual one
  std::uint32_t pages = 1;
  std::string progress = "auto";
  std::string timeout;  // seconds; empty: the usual ones
  bool quiet = false;
  bool verbose = false;
  VirtualScannerOptions virtualScanner;
};

// The options of "q750 doctor" as they were given.
struct DoctorOptions {
  std::string device;  // empty: all that are there
  std::string timeout = "5";
  VirtualScannerOptions virtualScanner;
};

// The options of "q750 virtual" as they were given.
struct ServeOptions {
  std::string listen = "127.0.0.1:3240";
  VirtualScannerOptions virtualScanner;
};

struct CommandLine {
  enum class Command : std::uint8_t { show, list, scan, doctor, serve };

  Command command = Command::show;
  std::string text;  // for show: help or version
  ListOptions list;
  ScanOptions scan;
  DoctorOptions doctor;
  ServeOptions serve;
};

// Takes the command line apart. Does not look at what values mean (ScanPlan.h does). Throws UsageError.
CommandLine parseCommandLine(int argc, const char* const* argv);

}  // namespace frontend
