#include "ScanReport.h"

#include <algorithm>
#include <utility>

#include "Choices.h"
#include "CommandError.h"
#include "JsonObject.h"
#include "OptionValues.h"

namespace frontend {
namespace {

PictureMode modeOf(const PictureLayout& layout) {
  if (layout.bitsPerChannel == 1) return PictureMode::lineart;
  return layout.channels == 3 ? PictureMode::color : PictureMode::gray;
}

JsonObject event(const char* name) {
  JsonObject object;
  object.text("event", name);
  return object;
}

void addLayout(JsonObject& object, const PictureLayout& layout) {
  object.number("width", layout.width)
      .number("height", layout.height)
      .text("mode", nameOf(modeOf(layout)))
      .number("resolution", layout.resolution);
}

}  // namespace

std::string progressName(const ScanOptions& options) {
  if (!options.progress.empty()) return valueOf("--progress", options.progress, optionvalue::progress);
  const std::string automatic(progressNames.front());
  // A default must not contradict these two.
  if (options.quiet || options.verbose) return automatic;
  return lowerCase(options.defaults.valueOr("progress", automatic));
}

ProgressStyle progressStyle(const ScanOptions& options, bool terminal) {
  const std::string name = progressName(options);
  if (name == "bar") return ProgressStyle::bar;
  if (name == "plain") return ProgressStyle::plain;
  if (name == "none") return ProgressStyle::none;
  if (name == "json") {
    if (options.verbose)
      throw UsageError("--verbose prints lines that are not JSON. Leave out --verbose or --progress json.");
    return ProgressStyle::json;
  }
  if (options.quiet) return ProgressStyle::none;
  // Log lines and a bar would overwrite each other.
  return terminal && !options.verbose ? ProgressStyle::bar : ProgressStyle::plain;
}

ScanReport::ScanReport(ProgressStyle style, bool quiet, std::size_t columns, TextOutput output,
                       TimeSource now)
    : style_(style), quiet_(quiet), columns_(columns), output_(std::move(output)), now_(std::move(now)) {}

void ScanReport::log(const std::string& text) {
  if (!quiet_) output_("q750: " + text + "\n");
}

void ScanReport::note(const std::string& text) {
  if (json()) return output_(event("note").text("message", text).line());
  log(text);
}

void ScanReport::scannerChosen(const std::string& name) {
  if (json()) output_(event("scanner").text("device", name).line());
}

void ScanReport::pageBegins(std::uint32_t page) {
  page_ = page;
  display_.emplace(style_, columns_, output_, now_, page);
  if (json()) output_(event("page").number("page", page).line());
  display_->wait();
}

void ScanReport::layoutKnown(const PictureLayout& layout) {
  if (!json()) return;
  JsonObject object = event("picture");
  object.number("page", page_);
  addLayout(object, layout);
  output_(object.line());
}

void ScanReport::progress(const ScanProgress& progress) {
  display_->update(progress);
}

void ScanReport::pageEnds() {
  display_.reset();
}

void ScanReport::prompt(std::uint32_t page, bool canScanAgain) {
  if (json()) return output_(event("prompt").number("page", page).line());
  const char* again = canScanAgain ? "r to scan the last page again, " : "";
  output_("Place the next page on the scanner and press Enter (" + std::string(again) +
          "q to save and quit): ");
}

void ScanReport::saved(const std::string& name, const PictureLayout& layout, std::uint32_t pages) {
  if (json()) {
    JsonObject object = event("saved");
    object.text("file", name).number("pages", pages);
    addLayout(object, layout);
    return output_(object.line());
  }
  const std::string count = pages == 1 ? "" : std::to_string(pages) + " pages of ";
  log(name + ": " + count + std::to_string(layout.width) + " x " + std::to_string(layout.height) +
      " pixels, " + describe(modeOf(layout)) + ", " + std::to_string(layout.resolution) + " dots per inch");
}

std::string errorAsJson(ExitCode code, const std::string& message) {
  return event("error")
      .text("status", nameOf(code))
      .number("exit_code", static_cast<std::uint64_t>(code))
      .text("message", message)
      .line();
}

}  // namespace frontend
