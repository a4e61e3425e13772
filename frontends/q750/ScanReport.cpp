#include "ScanReport.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "CommandError.h"
#include "JsonLine.h"

namespace frontend {
namespace {

const char* kindOf(const PictureLayout& layout) {
  if (layout.bitsPerChannel == 1) return "black and white";
  return layout.channels == 3 ? "colour" : "grey";
}

const char* modeOf(const PictureLayout& layout) {
  if (layout.bitsPerChannel == 1) return "lineart";
  return layout.channels == 3 ? "color" : "gray";
}

}  // namespace

ProgressStyle progressStyle(const ScanOptions& options, bool terminal) {
  const std::string& name = options.progress;
  if (name == "bar") return ProgressStyle::bar;
  if (name == "plain") return ProgressStyle::plain;
  if (name == "none") return ProgressStyle::none;
  if (name == "json") {
    if (options.verbose)
      throw UsageError("--verbose shows lines that are no JSON. Leave it or --progress json out.");
    return ProgressStyle::json;
  }
  if (name != "auto")
    throw UsageError("--progress " + name +
                     ": there is no such style. Choose auto, bar, plain, json or none.");
  if (options.quiet) return ProgressStyle::none;
  // Log lines and a bar would overwrite each other.
  return terminal && !options.verbose ? ProgressStyle::bar : ProgressStyle::plain;
}

ScanReport::ScanReport(ProgressStyle style, bool quiet, std::size_t columns, TextOutput output, Clock clock)
    : style_(style), quiet_(quiet), columns_(columns), output_(std::move(output)), clock_(std::move(clock)) {}

void ScanReport::say(const std::string& text) {
  if (!quiet_) output_("q750: " + text + "\n");
}

void ScanReport::note(const std::string& text) {
  if (json()) return output_(jsonLine({{"event", "note"}, {"message", text}}));
  say(text);
}

void ScanReport::scannerChosen(const std::string& name) {
  if (json()) output_(jsonLine({{"event", "scanner"}, {"device", name}}));
}

void ScanReport::pageBegins(std::uint32_t page) {
  page_ = page;
  display_.emplace(style_, columns_, output_, clock_, page);
  if (json()) output_(jsonLine({{"event", "page"}, {"page", page}}));
}

void ScanReport::layoutKnown(const PictureLayout& layout) {
  if (!json()) return;
  output_(jsonLine({{"event", "picture"},
                    {"page", page_},
                    {"width", layout.width},
                    {"height", layout.height},
                    {"mode", modeOf(layout)},
                    {"resolution", layout.resolution}}));
}

void ScanReport::progress(const ScanProgress& progress) {
  display_->update(progress);
}

void ScanReport::pageEnds() {
  display_.reset();
}

void ScanReport::prompt(std::uint32_t page) {
  if (json()) return output_(jsonLine({{"event", "prompt"}, {"page", page}}));
  output_("Lay the next page on the glass and press Enter (q to finish): ");
}

void ScanReport::saved(const std::string& name, const PictureLayout& layout, std::uint32_t pages) {
  if (json()) {
    return output_(jsonLine({{"event", "saved"},
                             {"file", name},
                             {"pages", pages},
                             {"width", layout.width},
                             {"height", layout.height},
                             {"mode", modeOf(layout)},
                             {"resolution", layout.resolution}}));
  }
  const std::string count = pages == 1 ? "" : std::to_string(pages) + " pages of ";
  say(name + ": " + count + std::to_string(layout.width) + " x " + std::to_string(layout.height) +
      " pixels, " + kindOf(layout) + ", " + std::to_string(layout.resolution) + " dots per inch");
}

std::string failureAsJson(ExitCode code, const std::string& message) {
  return jsonLine({{"event", "error"},
                   {"status", nameOf(code)},
                   {"exit_code", static_cast<int>(code)},
                   {"message", message}});
}

}  // namespace frontend
