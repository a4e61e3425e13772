#include "ScanPlan.h"

#include <algorithm>
#include <charconv>

#include "Area.h"
#include "Bed.h"
#include "CommandError.h"

namespace frontend {
namespace {

ColorMode modeNamed(const std::string& name) {
  if (name == "color" || name == "colour") return ColorMode::color;
  if (name == "gray" || name == "grey") return ColorMode::gray;
  throw UsageError("--mode " + name + ": there is no such mode. Choose color or gray.");
}

std::uint32_t resolutionNamed(const std::string& text) {
  std::uint32_t resolution = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, resolution);
  if (error == std::errc() && rest == end && isBedResolution(resolution)) return resolution;
  throw UsageError("--resolution " + text +
                   ": the scanner cannot do that. Choose 75, 150, 200, 300, 400 or 600 dots per inch.");
}

PictureFormat formatFor(const ScanOptions& options, ColorMode mode, bool toStandardOutput) {
  if (!toStandardOutput) {
    return options.format.empty() ? formatOfFile(options.output, mode) : formatNamed(options.format);
  }
  const PictureFormat format = options.format.empty() ? PictureFormat::pnm : formatNamed(options.format);
  if (format == PictureFormat::tiff) {
    throw UsageError("A TIFF cannot be written to standard output. Choose --format png or pnm, or a file.");
  }
  return format;
}

std::string dotsPerInch(std::uint32_t resolution) {
  return std::to_string(resolution) + " dots per inch";
}

}  // namespace

ScanPlan planScan(const ScanOptions& options) {
  if (options.output.empty()) throw UsageError("--output: the name is empty. Give the name of a file, or -.");
  ScanPlan plan;
  plan.settings.mode = modeNamed(options.mode);
  const std::uint32_t asked = resolutionNamed(options.resolution);
  plan.settings.resolution = trueResolution(plan.settings.mode, asked);
  if (plan.settings.resolution != asked) {
    plan.notes.push_back("The scanner delivers colour at " + dotsPerInch(plan.settings.resolution) +
                         " at most: scanning at that instead of " + std::to_string(asked) +
                         ". Use --mode gray for more.");
  }
  plan.toStandardOutput = options.output == "-" || options.output == "/dev/stdout";
  plan.format = formatFor(options, plan.settings.mode, plan.toStandardOutput);
  plan.settings.area = wholeBed(plan.settings.resolution);
  if (options.area.empty()) return plan;

  const PlacedArea placed = placeOnBed(parseArea(options.area), plan.settings.resolution);
  plan.settings.area = placed.area;
  if (placed.clipped) {
    plan.notes.push_back("The area reaches past the glass: scanning the part that lies on it, " +
                         std::to_string(placed.area.width) + " x " + std::to_string(placed.area.height) +
                         " pixels.");
  }
  return plan;
}

}  // namespace frontend
