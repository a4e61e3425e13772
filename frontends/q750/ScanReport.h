#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CommandLine.h"
#include "ExitCode.h"
#include "PictureLayout.h"
#include "ProgressDisplay.h"

namespace frontend {

// The style that was asked for, as one of progressNames. Throws UsageError for an unknown one.
std::string progressName(const ScanOptions& options);

// The style for --progress; "auto" depends on whether there is a terminal and on the other options. Throws
// UsageError for an unknown name, and for a style that contradicts the other options.
ProgressStyle progressStyle(const ScanOptions& options, bool terminal);

// Reports the events of a scan to its user, as sentences or as one JSON object per line (q750(1) describes
// them). Decides nothing and reads no device. One thread.
class ScanReport {
 public:
  // `quiet` suppresses notes and saved(), except in JSON, and never the prompt.
  ScanReport(ProgressStyle style, bool quiet, std::size_t columns, TextOutput output, TimeSource now);

  void note(const std::string& text);
  void scannerChosen(const std::string& name);
  void pageBegins(std::uint32_t page);
  // After pageBegins(), like the next two.
  void layoutKnown(const PictureLayout& layout);
  void progress(const ScanProgress& progress);
  // Leaves the cursor on a new line.
  void pageEnds();
  // Asks for the page to be placed on the scanner, or for the last one again where that can be replaced.
  void prompt(std::uint32_t page, bool canScanAgain);
  void saved(const std::string& name, const PictureLayout& layout, std::uint32_t pages);

 private:
  bool json() const { return style_ == ProgressStyle::json; }
  void log(const std::string& text);

  ProgressStyle style_;
  bool quiet_;
  std::size_t columns_;
  TextOutput output_;
  TimeSource now_;
  std::uint32_t page_ = 1;
  std::optional<ProgressDisplay> display_;
};

// The JSON object that reports why the program failed, on a line.
std::string errorAsJson(ExitCode code, const std::string& message);

}  // namespace frontend
