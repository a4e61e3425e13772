#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ScanLimits.h"
#include "ScanRequest.h"

namespace frontend::share {

inline constexpr std::uint16_t defaultPort = 8750;

// The command line is invalid; what() is a sentence.
class ShareUsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The options of q750-share.
struct ShareOptions {
  std::string text;                  // not empty: help or version, to be printed instead of serving
  std::string device;                // empty: the first real one
  std::uint16_t port = defaultPort;  // 0: any free one
  std::string name;                  // empty: by the model and the machine
  std::vector<std::string> bind;     // empty: this machine only
  bool announce = false;             // also if only this machine is served
  std::string certificate;           // files; both or none
  std::string key;
  bool isVirtual = false;
  VirtualScannerOptions virtualScanner;
  std::chrono::milliseconds timeout = limits::defaultTimeout;
};

// Parses the command line. Throws ShareUsageError.
ShareOptions parseShareOptions(int argc, const char* const* argv, const std::string& version);

}  // namespace frontend::share
