#include "ScanPlan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "Area.h"
#include "Bed.h"
#include "Choices.h"
#include "CommandError.h"
#include "FileName.h"
#include "PaperSize.h"
#include "Version.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

constexpr double longestTimeout = 86400;
constexpr double shortestTimeout = 0.1;
// Less than this of a paper beyond the glass is nothing to tell of: an A4 is a hair longer than the glass.
constexpr std::uint32_t pixelsPerUnseenEdge = 50;  // of an inch: half a millimetre

// The number that is all of the text, or nothing.
template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

PictureMode modeNamed(const std::string& name) {
  if (name == "color" || name == "colour") return PictureMode::color;
  if (name == "gray" || name == "grey") return PictureMode::gray;
  if (name == "lineart") return PictureMode::lineart;
  throw UsageError("--mode " + name + ": there is no such mode. Choose color, gray or lineart.");
}

std::uint32_t resolutionNamed(const std::string& text) {
  const auto resolution = numberIn<std::uint32_t>(text);
  if (resolution && isBedResolution(*resolution)) return *resolution;
  throw UsageError("--resolution " + text +
                   ": the scanner cannot do that. Choose 75, 150, 200, 300, 400 or 600 dots per inch.");
}

std::uint8_t thresholdIn(const std::string& text) {
  if (text.ends_with('%')) {
    const auto percent = numberIn<double>(std::string_view(text).substr(0, text.size() - 1));
    if (percent && *percent >= 0 && *percent <= 100)
      return static_cast<std::uint8_t>(std::lround(*percent * 255 / 100));
  } else if (const auto grey = numberIn<std::uint8_t>(text)) {
    return *grey;
  }
  throw UsageError("--threshold " + text + ": write a grey of 0 to 255, or 0% to 100%, for example 50%.");
}

std::optional<std::uint8_t> thresholdFor(const ScanOptions& options, PictureMode mode) {
  if (mode == PictureMode::lineart) return thresholdIn(options.threshold.empty() ? "50%" : options.threshold);
  if (options.threshold.empty()) return std::nullopt;
  throw UsageError("--threshold is for black and white. Add --mode lineart, or leave it out.");
}

PictureFormat formatFromOption(const std::string& name) {
  if (const auto format = formatNamed(name)) return *format;
  throw UsageError("--format " + name + ": there is no such format. Choose tiff, png, jpeg, pnm or pdf.");
}

PictureFormat formatFromFileName(const std::string& path, PictureMode mode) {
  const auto type = fileTypeOf(path);
  if (!type) {
    throw UsageError(
        path +
        ": the name does not tell the picture's format. Let it end in .tiff, .png, .jpg, .pnm or "
        ".pdf, or add --format tiff, png, jpeg, pnm or pdf.");
  }
  if (type->mode && *type->mode != mode) {
    throw UsageError(path + ": a ." + extensionOf(path) + " file holds " + describe(*type->mode) +
                     ". Name it ." + std::string(pnmExtensionFor(mode)) + ", or scan with --mode " +
                     nameOf(*type->mode) + ".");
  }
  return type->format;
}

PictureFormat formatFor(const ScanOptions& options, PictureMode mode, bool toStandardOutput) {
  if (!toStandardOutput && options.format.empty()) return formatFromFileName(options.output, mode);
  const PictureFormat format = options.format.empty() ? PictureFormat::pnm : formatFromOption(options.format);
  if (toStandardOutput && format == PictureFormat::tiff) {
    throw UsageError(
        "A TIFF cannot be written to standard output. Choose --format png, jpeg, pnm or pdf, or a file.");
  }
  return format;
}

void setQuality(PictureSettings& settings, const std::string& quality, PictureFormat format) {
  if (quality.empty()) return;
  if (format != PictureFormat::jpeg && format != PictureFormat::pdf)
    throw UsageError("--quality is for JPEG and PDF. Leave it out: other formats lose nothing.");
  if (quality == "lossless" && format == PictureFormat::pdf) {
    settings.lossless = true;
    return;
  }
  const auto number = numberIn<int>(quality);
  if (!number || *number < 1 || *number > 100) {
    throw UsageError("--quality " + quality + ": write a number from 1 to 100" +
                     (format == PictureFormat::pdf ? ", or lossless." : "."));
  }
  settings.quality = *number;
}

void setPages(ScanPlan& plan, std::uint32_t pages) {
  plan.pages = pages;
  plan.pictureSettings.multiPage = pages > 1;
  plan.filePerPage = pages > 1 && !plan.toStandardOutput && !holdsPages(plan.format);
  const bool oneOnly = plan.format == PictureFormat::png || plan.format == PictureFormat::jpeg;
  if (pages > 1 && plan.toStandardOutput && oneOnly) {
    throw UsageError(
        "Standard output takes one picture of this format. Choose --format pdf or pnm, or a file, for "
        "several pages.");
  }
}

std::string dotsPerInch(std::uint32_t resolution) {
  return std::to_string(resolution) + " dots per inch";
}

std::string pixels(const PixelArea& area) {
  return std::to_string(area.width) + " x " + std::to_string(area.height) + " pixels";
}

void setResolution(ScanPlan& plan, std::uint32_t asked) {
  ScanSettings& settings = plan.request.settings;
  settings.resolution = trueResolution(settings.mode, asked);
  if (settings.resolution == asked) return;
  plan.notes.push_back("The scanner delivers colour at " + dotsPerInch(settings.resolution) +
                       " at most: scanning at that instead of " + std::to_string(asked) +
                       ". Use --mode gray for more.");
}

void setArea(ScanPlan& plan, const ScanOptions& options) {
  ScanSettings& settings = plan.request.settings;
  settings.area = wholeBed(settings.resolution);
  if (!options.area.empty() && !options.paper.empty())
    throw UsageError("--area and --paper both say what to scan. Give one of them.");
  if (!options.paper.empty()) {
    const PlacedArea placed = placeOnBed(areaOfPaper(options.paper), settings.resolution);
    settings.area = placed.area;
    if (placed.cutPixels * pixelsPerUnseenEdge > settings.resolution) {
      plan.notes.push_back("The paper is larger than the glass: scanning the part that lies on it, " +
                           pixels(placed.area) + ".");
    }
  } else if (!options.area.empty()) {
    const PlacedArea placed = placeOnBed(parseArea(options.area), settings.resolution);
    settings.area = placed.area;
    if (placed.cutPixels > 0) {
      plan.notes.push_back("The area reaches past the glass: scanning the part that lies on it, " +
                           pixels(placed.area) + ".");
    }
  }
}

}  // namespace

std::chrono::milliseconds timeoutOf(const std::string& timeout) {
  const auto seconds = numberIn<double>(timeout);
  if (!seconds || !(*seconds >= shortestTimeout && *seconds <= longestTimeout))
    throw UsageError("--timeout " + timeout + ": write seconds from 0.1 to 86400, for example 30.");
  return std::chrono::milliseconds(std::llround(*seconds * 1000));
}

ScanPlan planScan(const ScanOptions& options) {
  if (options.output.empty()) throw UsageError("--output: the name is empty. Give the name of a file, or -.");
  const PictureMode mode = modeNamed(options.mode);
  ScanPlan plan;
  plan.output = options.output;
  plan.request.settings.mode = mode == PictureMode::color ? ColorMode::color : ColorMode::gray;
  plan.request.threshold = thresholdFor(options, mode);
  setResolution(plan, resolutionNamed(options.resolution));
  plan.toStandardOutput = options.output == "-" || options.output == "/dev/stdout";
  plan.format = formatFor(options, mode, plan.toStandardOutput);
  plan.pictureSettings.software = std::string("q750 ") + version;
  setQuality(plan.pictureSettings, options.quality, plan.format);
  setPages(plan, options.pages);
  setArea(plan, options);
  if (mode == PictureMode::lineart && plan.format == PictureFormat::jpeg)
    plan.notes.emplace_back("A JPEG knows no black and white: the picture is saved as grey.");
  if (!options.timeout.empty()) plan.request.timeout = timeoutOf(options.timeout);
  plan.request.verbose = options.verbose;
  plan.request.virtualScanner = checkedOptions(options.virtualScanner);
  return plan;
}

}  // namespace frontend
