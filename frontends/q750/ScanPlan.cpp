#include "ScanPlan.h"

#include <optional>

#include "Area.h"
#include "Bed.h"
#include "Choices.h"
#include "CommandError.h"
#include "CreationTime.h"
#include "FileName.h"
#include "OptionValues.h"
#include "PaperSize.h"
#include "ScanLimits.h"
#include "Version.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

// A paper may exceed the bed by half a millimetre without a note: A4 is 0.1 mm longer than the bed.
constexpr std::uint32_t unnoticedPartsOfAnInch = 50;

std::optional<std::uint8_t> thresholdFor(const ScanOptions& options, PictureMode mode) {
  if (mode == PictureMode::lineart)
    return options.threshold.empty() ? limits::defaultThreshold
                                     : valueOf("--threshold", options.threshold, optionvalue::threshold);
  if (options.threshold.empty()) return std::nullopt;
  throw UsageError("--threshold applies to --mode lineart only. Add that mode, or leave --threshold out.");
}

// Completes the options by the user's defaults where these fit the rest: what would be refused as an option
// has to be left out as a default.
ScanOptions withDefaults(ScanOptions options, PictureMode mode) {
  const auto complete = [&options](std::string& option, const char* name) {
    if (option.empty()) option = options.defaults.valueOr(name, "");
  };
  if (mode == PictureMode::lineart) {
    complete(options.threshold, "threshold");
  } else {
    complete(options.brightness, "brightness");
    complete(options.contrast, "contrast");
    complete(options.gamma, "gamma");
  }
  if (options.area.empty()) complete(options.paper, "paper");
  const std::string device = options.defaults.valueOr("device", "");
  if (!options.device && !device.empty() && !anyUsed(options.virtualScanner)) options.device = device;
  return options;
}

void requireTones(const char* option, PictureMode mode) {
  if (mode != PictureMode::lineart) return;
  throw UsageError(std::string(option) +
                   " applies to --mode color and gray only. Choose one of them, or leave " + option +
                   " out.");
}

// Neutral values are accepted in every mode.
Tone toneFor(const ScanOptions& options, PictureMode mode) {
  Tone tone;
  if (!options.brightness.empty())
    tone.brightness = valueOf("--brightness", options.brightness, optionvalue::tonePercent);
  if (!options.contrast.empty())
    tone.contrast = valueOf("--contrast", options.contrast, optionvalue::tonePercent);
  if (!options.gamma.empty()) tone.gammaHundredths = valueOf("--gamma", options.gamma, optionvalue::gamma);
  constexpr Tone neutral;
  if (tone.brightness != neutral.brightness) requireTones("--brightness", mode);
  if (tone.contrast != neutral.contrast) requireTones("--contrast", mode);
  if (tone.gammaHundredths != neutral.gammaHundredths) requireTones("--gamma", mode);
  return tone;
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
  if (!options.format.empty()) return valueOf("--format", options.format, optionvalue::format);
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

// The user's default where the format has a quality, and this one.
void setDefaultQuality(PictureSettings& settings, const std::string& quality, PictureFormat format) {
  if (quality.empty() || (format != PictureFormat::jpeg && format != PictureFormat::pdf)) return;
  const Quality value = optionvalue::quality(quality);
  if (value.lossless && format == PictureFormat::jpeg) return;
  settings.quality = value.number;
  settings.lossless = value.lossless;
}

void setQuality(PictureSettings& settings, const std::string& quality, PictureFormat format) {
  if (quality.empty()) return;
  if (format != PictureFormat::jpeg && format != PictureFormat::pdf)
    throw UsageError("--quality applies to JPEG and PDF only. Leave it out: the other formats are lossless.");
  const Quality value = valueOf("--quality", quality, optionvalue::quality);
  if (value.lossless && format == PictureFormat::jpeg)
    throw UsageError("--quality " + quality + ": expected a number from " + std::to_string(lowestQuality) +
                     " to " + std::to_string(highestQuality) + ".");
  settings.quality = value.number;
  settings.lossless = value.lossless;
}

void setNames(ScanPlan& plan, const ScanOptions& options) {
  const std::string invalid = invalidPlaceIn(options.output);
  if (!plan.toStandardOutput && !invalid.empty()) {
    throw UsageError(options.output + ": \"" + invalid +
                     "\" has no meaning in a name. Write %d or %03d for the number of the page, and %% for a "
                     "percent sign.");
  }
  plan.append = options.append;
  if (plan.append && (plan.toStandardOutput || !holdsPages(plan.format)))
    throw UsageError("--append adds pages to a TIFF or PDF file. Choose one, or leave out --append.");
  if (plan.append && options.noClobber)
    throw UsageError("--append and --no-clobber exclude each other. Give one of them.");
  plan.pictureSettings.multiPage |= plan.append;
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
    const PlacedArea placed = placeOnBed(valueOf("--paper", options.paper, areaOfPaper), settings.resolution);
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
  return valueOf("--timeout", timeout, optionvalue::timeout);
}

ScanPlan planScan(const ScanOptions& given) {
  if (given.output.empty())
    throw UsageError("--output: the name is empty. Give the name of a file, or - for standard output.");
  const PictureMode mode = valueOf("--mode", given.mode, optionvalue::mode);
  const ScanOptions options = withDefaults(given, mode);
  ScanPlan plan;
  plan.device = options.device;
  plan.request.settings.mode = mode == PictureMode::color ? ColorMode::color : ColorMode::gray;
  plan.request.threshold = thresholdFor(options, mode);
  plan.request.tone = toneFor(options, mode);
  setResolution(plan.request.settings, valueOf("--resolution", options.resolution, optionvalue::resolution),
                plan.notes);
  setFormat(plan, options, mode);
  plan.pictureSettings.software = std::string("q750 ") + version;
  plan.pictureSettings.rotation = valueOf("--rotate", options.rotation, optionvalue::rotation);
  plan.pictureSettings.created = creationTime();
  setDefaultQuality(plan.pictureSettings, options.defaults.valueOr("quality", ""), plan.format);
  setQuality(plan.pictureSettings, options.quality, plan.format);
  setPages(plan, options.pages.empty() ? mostPages : valueOf("--pages", options.pages, optionvalue::pages));
  setNames(plan, options);
  setArea(plan, options);
  plan.request.timeout = timeoutOf(options.timeout);
  plan.request.verbose = options.verbose;
  plan.request.virtualScanner = checkedOptions(options.virtualScanner);
  return plan;
}

}  // namespace frontend
