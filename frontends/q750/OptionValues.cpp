#include "OptionValues.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "Bed.h"
#include "Choices.h"
#include "PictureWriter.h"
#include "ScanLimits.h"

namespace frontend::optionvalue {
namespace {

constexpr double roundingError = 1e-6;  // of hundredths

// The number that is all of the text, or nothing.
template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

}  // namespace

PictureMode mode(const std::string& text) {
  const std::string name = lowerCase(text);
  if (name == "colour") return PictureMode::color;
  if (name == "grey") return PictureMode::gray;
  if (const auto index = indexIn(modeNames, name)) return static_cast<PictureMode>(*index);
  throw ValueError("unknown mode. Choose " + listOf(modeNames) + ".");
}

std::uint32_t resolution(const std::string& text) {
  const auto resolution = numberIn<std::uint32_t>(text);
  if (resolution && isBedResolution(*resolution)) return *resolution;
  throw ValueError("not supported by the scanner. Choose " + listOfResolutions() + " dots per inch.");
}

std::uint8_t threshold(const std::string& text) {
  if (text.ends_with('%')) {
    const auto percent = numberIn<double>(std::string_view(text).substr(0, text.size() - 1));
    if (percent && *percent >= 0 && *percent <= 100)
      return static_cast<std::uint8_t>(std::lround(*percent * limits::highestThreshold / 100));
  } else if (const auto gray = numberIn<std::uint8_t>(text)) {
    return *gray;
  }
  throw ValueError("expected a grey level from 0 to " + std::to_string(limits::highestThreshold) +
                   ", or 0% to 100%, for example " + std::to_string(limits::defaultThresholdPercent) + "%.");
}

std::int32_t tonePercent(const std::string& text) {
  const auto percent = numberIn<std::int32_t>(text);
  if (percent && *percent >= limits::lowestTonePercent && *percent <= limits::highestTonePercent)
    return *percent;
  throw ValueError("expected a whole number from " + std::to_string(limits::lowestTonePercent) + " to " +
                   std::to_string(limits::highestTonePercent) + ".");
}

std::uint32_t gamma(const std::string& text) {
  const double value = numberIn<double>(text).value_or(0) * 100;
  // Not a number, which from_chars() reads too, is in no range.
  const bool inRange = value >= limits::lowestGammaHundredths && value <= limits::highestGammaHundredths;
  if (inRange && std::abs(value - std::round(value)) < roundingError)
    return static_cast<std::uint32_t>(std::lround(value));
  throw ValueError("expected a number from " + hundredths(limits::lowestGammaHundredths) + " to " +
                   hundredths(limits::highestGammaHundredths) + " with at most two decimals, for example " +
                   hundredths(180) + ".");
}

std::uint32_t pages(const std::string& text) {
  const auto pages = numberIn<std::uint32_t>(text);
  if (pages && *pages >= 1 && *pages <= mostPages) return *pages;
  throw ValueError("expected a number from 1 to " + std::to_string(mostPages) +
                   ", or none to scan until the answer is q.");
}

PictureFormat format(const std::string& text) {
  if (const auto format = formatNamed(lowerCase(text))) return *format;
  throw ValueError("unknown format. Choose " + listOf(pictureFormatNames) + ".");
}

Rotation rotation(const std::string& text) {
  if (const auto index = indexIn(rotationNames, text)) return static_cast<Rotation>(*index);
  throw ValueError("pages can be turned by quarter turns only. Choose " + listOf(rotationNames) +
                   " degrees.");
}

Quality quality(const std::string& text) {
  if (lowerCase(text) == losslessName) return {defaultQuality, true};
  const auto number = numberIn<int>(text);
  if (number && *number >= lowestQuality && *number <= highestQuality) return {*number, false};
  throw ValueError("expected a number from " + std::to_string(lowestQuality) + " to " +
                   std::to_string(highestQuality) + ", or " + std::string(losslessName) + " for PDF.");
}

std::string progress(const std::string& text) {
  if (const auto index = indexIn(progressNames, lowerCase(text))) return std::string(progressNames[*index]);
  throw ValueError("unknown style. Choose " + listOf(progressNames) + ".");
}

std::chrono::milliseconds timeout(const std::string& text) {
  if (const auto value = limits::timeoutFromSeconds(text)) return *value;
  throw ValueError("expected seconds from " + inSeconds(limits::shortestTimeout) + " to " +
                   inSeconds(limits::longestTimeout) + ", for example " + inSeconds(limits::defaultTimeout) +
                   ".");
}

}  // namespace frontend::optionvalue
