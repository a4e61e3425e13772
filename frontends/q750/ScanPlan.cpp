#include "ScanPlan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "Area.h"
#include "Bed.h"
#include "Choices.h"
#include "CommandError.h"
#include "CreationTime.h"
#include "FileName.h"
#include "PaperSize.h"
#include "ScanLimits.h"
#include "Version.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

// A paper may exceed the bed by half a millimetre without a note: A4 is 0.1 mm longer than the bed.
constexpr std::uint32_t unnoticedPartsOfAnInch = 50;

// The number that is all of the text, or nothing.
template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

PictureMode modeFrom(const std::string& name) {
  if (name == "colour") return PictureMode::color;
  if (name == "grey") return PictureMode::gray;
  const auto found = std::find(modeNames.begin(), modeNames.end(), name);
  if (found != modeNames.end()) return static_cast<PictureMode>(found - modeNames.begin());
  throw UsageError("--mode " + name + ": unknown mode. Choose " + listOf(modeNames) + ".");
}

std::uint32_t resolutionFrom(const std::string& text) {
  const auto resolution = numberIn<std::uint32_t>(text);
  if (resolution && isBedResolution(*resolution)) return *resolution;
  throw UsageError("--resolution " + text + ": not supported by the scanner. Choose " + listOfResolutions() +
                   " dots per inch.");
}

std::uint8_t thresholdFrom(const std::string& text) {
  if (text.ends_with('%')) {
    const auto percent = numberIn<double>(std::string_view(text).substr(0, text.size() - 1));
    if (percent && *percent >= 0 && *percent <= 100)
      return static_cast<std::uint8_t>(std::lround(*percent * limits::highestThreshold / 100));
  } else if (const auto gray = numberIn<std::uint8_t>(text)) {
    return *gray;
  }
  throw UsageError("--threshold " + text + ": expected a grey level from 0 to " +
                   std::to_string(limits::highestThreshold) + ", or 0% to 100%, for example " +
                   std::to_string(limits::defaultThresholdPercent) + "%.");
}

std::optional<std::uint8_t> thresholdFor(const ScanOptions& options, PictureMode mode) {
  if (mode == PictureMode::lineart)
    return options.threshold.empty() ? limits::defaultThreshold : thresholdFrom(options.threshold);
  if (options.threshold.empty()) return std::nullopt;
  throw UsageError("--threshold applies to --mode lineart only. Add that mode, or leave --threshold out.");
}

PictureFormat formatFromOption(const std::string& name) {
  if (const auto format = formatNamed(name)) return *format;
  throw UsageError("--format " + name + ": unknown format. Choose " + listOf(pictureFormatNames) + ".");
}

PictureFormat formatFromFileName(const std::string& path, PictureMode mode) {
  const auto type = fileTypeOf(path);
  if (!type) {
    throw UsageError(path + ": the extension is not that of a picture format. Add --format " +
                     listOf(pictureFormatNames) + ", or choose a name such as page.tiff.");
  }
  if (type->mode && *type->mode != mode) {
    throw UsageError(path + ": a ." + extensionOf(path) + " file holds " + describe(*type->mode) +
                     ". Name it ." + std::string(pnmExtensionFor(mode)) + ", or scan with --mode " +
                     nameOf(*type->mode) + ".");
  }
  return type->format;
}

PictureFormat formatFor(const ScanOptions& options, PictureMode mode, bool toStandardOutput) {
  if (!options.format.empty()) return formatFromOption(options.format);
  return toStandardOutput ? PictureFormat::pnm : formatFromFileName(options.output, mode);
}

void setFormat(ScanPlan& plan, const ScanOptions& options, PictureMode mode) {
  plan.output = options.output;
  plan.toStandardOutput = options.output == "-" || options.output == "/dev/stdout";
  plan.format = formatFor(options, mode, plan.toStandardOutput);
  // Its encoder goes back to fill in offsets, which a pipe does not allow.
  if (plan.toStandardOutput && plan.format == PictureFormat::tiff) {
    const auto others = std::span(pictureFormatNames).subspan(1);
    throw UsageError("TIFF cannot be written to standard output. Choose --format " + listOf(others) +
                     ", or a file.");
  }
  if (mode == PictureMode::lineart && plan.format == PictureFormat::jpeg)
    plan.notes.emplace_back("JPEG cannot store bilevel images: the picture is saved as grey.");
}

void setQuality(PictureSettings& settings, const std::string& quality, PictureFormat format) {
  if (quality.empty()) return;
  if (format != PictureFormat::jpeg && format != PictureFormat::pdf)
    throw UsageError("--quality applies to JPEG and PDF only. Leave it out: the other formats are lossless.");
  if (quality == losslessName && format == PictureFormat::pdf) {
    settings.lossless = true;
    return;
  }
  const auto number = numberIn<int>(quality);
  if (!number || *number < lowestQuality || *number > highestQuality) {
    throw UsageError("--quality " + quality + ": expected a number from " + std::to_string(lowestQuality) +
                     " to " + std::to_string(highestQuality) +
                     (format == PictureFormat::pdf ? ", or " + std::string(losslessName) + "." : "."));
  }
  settings.quality = *number;
}

std::uint32_t pagesFrom(const std::string& text) {
  if (text.empty()) return mostPages;
  const auto pages = numberIn<std::uint32_t>(text);
  if (pages && *pages >= 1 && *pages <= mostPages) return *pages;
  throw UsageError("--pages " + text + ": expected a number from 1 to " + std::to_string(mostPages) +
                   ", or none to scan until the answer is q.");
}

void setNames(ScanPlan& plan, const ScanOptions& options) {
  const std::string invalid = invalidPlaceIn(options.output);
  if (!plan.toStandardOutput && !invalid.empty()) {
    throw UsageError(options.output + ": \"" + invalid +
                     "\" has no meaning in a name. Write %d or %03d for the number of the page, and %% for a "
                     "percent sign.");
  }
  plan.noClobber = options.noClobber;
  plan.firstPage = options.firstPage.value_or(1);
  if (options.firstPage && (plan.toStandardOutput || !(plan.filePerPage || hasPlaceForNumber(plan.output)))) {
    throw UsageError(
        "--first-page numbers files, and there is no number in the name. Add %d to it, or leave out "
        "--first-page.");
  }
}

void setPages(ScanPlan& plan, std::uint32_t pages) {
  plan.pages = pages;
  plan.pictureSettings.multiPage = pages > 1;
  plan.filePerPage = pages > 1 && !plan.toStandardOutput && !holdsPages(plan.format);
  const bool onePageOnly = plan.format == PictureFormat::png || plan.format == PictureFormat::jpeg;
  if (pages > 1 && plan.toStandardOutput && onePageOnly) {
    throw UsageError(
        "Several pages of PNG or JPEG cannot be written to standard output. Choose --format pdf or pnm, or a "
        "file.");
  }
}

std::string dotsPerInch(std::uint32_t resolution) {
  return std::to_string(resolution) + " dots per inch";
}

void setResolution(ScanSettings& settings, std::uint32_t requested, std::vector<std::string>& notes) {
  settings.resolution = trueResolution(settings.mode, requested);
  if (settings.resolution == requested) return;
  notes.push_back("The scanner's highest resolution in colour is " + dotsPerInch(settings.resolution) +
                  ": scanning at that instead of " + std::to_string(requested) +
                  ". Use --mode gray for more.");
}

std::string cutNote(const std::string& reason, const PixelArea& area) {
  return reason + ": scanning the part inside it, " + std::to_string(area.width) + " x " +
         std::to_string(area.height) + " pixels.";
}

void setArea(ScanPlan& plan, const ScanOptions& options) {
  ScanSettings& settings = plan.request.settings;
  settings.area = wholeBed(settings.resolution);
  if (!options.area.empty() && !options.paper.empty())
    throw UsageError("--area and --paper exclude each other. Give one of them.");
  if (!options.paper.empty()) {
    const PlacedArea placed = placeOnBed(areaOfPaper(options.paper), settings.resolution);
    settings.area = placed.area;
    if (placed.cutPixels * unnoticedPartsOfAnInch > settings.resolution)
      plan.notes.push_back(cutNote("The paper is larger than the scan bed", placed.area));
  } else if (!options.area.empty()) {
    const PlacedArea placed = placeOnBed(parseArea(options.area), settings.resolution);
    settings.area = placed.area;
    if (placed.cutPixels > 0)
      plan.notes.push_back(cutNote("The area extends beyond the scan bed", placed.area));
  }
}

}  // namespace

std::chrono::milliseconds timeoutOf(const std::string& timeout) {
  if (const auto value = limits::timeoutFromSeconds(timeout)) return *value;
  throw UsageError("--timeout " + timeout + ": expected seconds from " + inSeconds(limits::shortestTimeout) +
                   " to " + inSeconds(limits::longestTimeout) + ", for example " +
                   inSeconds(limits::defaultTimeout) + ".");
}

ScanPlan planScan(const ScanOptions& options) {
  if (options.output.empty())
    throw UsageError("--output: the name is empty. Give the name of a file, or - for standard output.");
  const PictureMode mode = modeFrom(options.mode);
  ScanPlan plan;
  plan.request.settings.mode = mode == PictureMode::color ? ColorMode::color : ColorMode::gray;
  plan.request.threshold = thresholdFor(options, mode);
  setResolution(plan.request.settings, resolutionFrom(options.resolution), plan.notes);
  setFormat(plan, options, mode);
  plan.pictureSettings.software = std::string("q750 ") + version;
  plan.pictureSettings.created = creationTime();
  setQuality(plan.pictureSettings, options.quality, plan.format);
  setPages(plan, pagesFrom(options.pages));
  setNames(plan, options);
  setArea(plan, options);
  plan.request.timeout = timeoutOf(options.timeout);
  plan.request.verbose = options.verbose;
  plan.request.virtualScanner = checkedOptions(options.virtualScanner);
  return plan;
}

}  // namespace frontend
