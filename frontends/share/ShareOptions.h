#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ScanLimits.h"
#include "ScanRequest.h"
#include "ShareConfig.h"
#include "Tone.h"

namespace frontend::share {

inline constexpr std::uint16_t defaultPort = 8750;

// The command line is invalid; what() is a sentence.
class ShareUsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// How to run the server: the command line, and the configuration for what that leaves unset.
struct ShareOptions {
  std::string text;                   // not empty: help or version, to be printed instead of serving
  std::string config;                 // a file; empty: none
  std::string device;                 // empty: the first real one
  std::optional<std::uint16_t> port;  // 0: any free one; nothing: defaultPort
  std::string name;                   // empty: from the model and the machine
  std::vector<std::string> bind;      // empty: this machine only
  std::optional<ShareConfig::Announce> announce;  // nothing: on
  std::string certificate;                        // files; both or none
  std::string key;
  bool isVirtual = false;
  VirtualScannerOptions virtualScanner;
  std::optional<std::chrono::milliseconds> timeout;  // nothing: limits::defaultTimeout
  // From the configuration only.
  std::vector<std::string> serverNames;
  std::vector<std::string> allow;
  Tone tone;
};

// Parses the command line. Throws ShareUsageError.
ShareOptions parseShareOptions(int argc, const char* const* argv, const std::string& version);

// The options, with those that are unset taken from the configuration. Throws ShareUsageError for a
// configuration with complaints, and for options that contradict each other.
ShareOptions completed(ShareOptions options, const ShareConfig& config);

}  // namespace frontend::share
