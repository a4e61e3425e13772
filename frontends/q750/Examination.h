#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ExitCode.h"
#include "ScanOutcome.h"
#include "Scanners.h"

namespace frontend {

// One thing that was looked at.
struct Finding {
  enum class Level : std::uint8_t { ok, note, attention };

  Level level;
  std::string text;
  ExitCode code = ExitCode::good;  // of what asks for attention
};

// "ok         ..." and so on, a line.
std::string lineOf(const Finding& finding);

// Looks at what scanning needs, in an order in which the first attention is the one to begin with. Each
// finding is handed out as soon as it is known. Knows nothing of the system: `Means` does.
class Examination {
 public:
  struct Means {
    std::function<ScannersThere()> scanners;
    std::function<std::string()> worker;        // the path of the program that scans; empty for none
    std::function<bool()> deviceRuleInstalled;  // whether the system gives users access to the scanner
    std::function<ScanOutcome(const std::string& scanner)> tryScan;  // a few pixels
    std::function<void(const Finding&)> tell;
  };

  explicit Examination(Means means) : means_(std::move(means)) {}

  // `device` is the name of the one scanner to look at, or empty for all. The exit code is that of the first
  // attention.
  ExitCode run(const std::string& device);

 private:
  void tell(Finding::Level level, const std::string& text, ExitCode code = ExitCode::good);
  bool lookAtWorker();
  void lookAtRule();
  std::vector<std::string> lookForScanners(const std::string& device);
  bool lookAtAccess(const ScannerEntry& scanner);
  void trial(const std::string& scanner);

  Means means_;
  ExitCode code_ = ExitCode::good;
};

}  // namespace frontend
