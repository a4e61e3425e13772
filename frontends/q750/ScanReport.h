#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CommandLine.h"
#include "ExitCode.h"
#include "PictureLayout.h"
#include "ProgressDisplay.h"

namespace frontend {

// "auto", "bar", "plain", "json" or "none"; auto depends on whether there is a terminal and on the other
// options. Throws UsageError for any other.
ProgressStyle progressStyle(const ScanOptions& options, bool terminal);

// What a scan tells its user while it runs, on standard error: in sentences, or as one JSON object a line, as
// the manual page describes.
class ScanReport {
 public:
  // `quiet` leaves notes and what was saved unsaid, but in JSON.
  ScanReport(ProgressStyle style, bool quiet, std::size_t columns, TextOutput output, Clock clock);

  void note(const std::string& text);
  void scannerChosen(const std::string& name);
  void pageBegins(std::uint32_t page);
  void layoutKnown(const PictureLayout& layout);
  void progress(const ScanProgress& progress);
  // Leaves the cursor on a line of its own.
  void pageEnds();
  // Asks for the page.
  void prompt(std::uint32_t page);
  void saved(const std::string& name, const PictureLayout& layout, std::uint32_t pages);

 private:
  bool json() const { return style_ == ProgressStyle::json; }
  void say(const std::string& text);

  ProgressStyle style_;
  bool quiet_;
  std::size_t columns_;
  TextOutput output_;
  Clock clock_;
  std::uint32_t page_ = 1;
  std::optional<ProgressDisplay> display_;
};

// The JSON object that tells why the program failed.
std::string failureAsJson(ExitCode code, const std::string& message);

}  // namespace frontend
