#include "Area.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

#include "Bed.h"
#include "CommandError.h"

namespace frontend {
namespace {

constexpr double largestLength = 100000;
constexpr std::int64_t largestCut = 1000000;  // keeps products with cutPixels within 32 bits

[[noreturn]] void throwError(std::string_view text, const std::string& why) {
  throw UsageError("--area " + std::string(text) + ": " + why +
                   ". Use LEFTxTOP+WIDTHxHEIGHT with mm, in or px, for example 10x20+50x80mm.");
}

// Parses one area from left to right.
class AreaReader {
 public:
  explicit AreaReader(std::string_view text) : text_(text), rest_(text) {}

  double number() {
    const std::size_t length = std::min(rest_.find_first_not_of("0123456789."), rest_.size());
    const std::string_view digits = rest_.substr(0, length);
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + length, value);
    const bool whole = error == std::errc() && end == digits.data() + length;
    if (!whole || digits.front() == '.' || digits.back() == '.')
      throwError(text_, "a number is missing or malformed");
    if (value > largestLength) throwError(text_, "a number is too large");
    rest_.remove_prefix(length);
    return value;
  }

  std::optional<LengthUnit> unit() {
    if (take("mm")) return LengthUnit::millimetres;
    if (take("in")) return LengthUnit::inches;
    if (take("px")) return LengthUnit::pixels;
    return std::nullopt;
  }

  void separator(std::string_view separator) {
    if (!take(separator)) {
      throwError(text_, rest_.empty() ? "it is incomplete"
                                      : "expected \"" + std::string(separator) + "\" before \"" +
                                            std::string(rest_) + "\"");
    }
  }

  bool atEnd() const { return rest_.empty(); }
  std::string_view rest() const { return rest_; }

 private:
  bool take(std::string_view token) {
    if (!rest_.starts_with(token)) return false;
    rest_.remove_prefix(token.size());
    return true;
  }

  std::string_view text_;
  std::string_view rest_;
};

std::int64_t pixelsOf(const Length& length, std::uint32_t resolution) {
  switch (length.unit) {
    case LengthUnit::millimetres:
      return std::llround(length.value / millimetresPerInch * resolution);
    case LengthUnit::inches:
      return std::llround(length.value * resolution);
    case LengthUnit::pixels:
      break;
  }
  return std::llround(length.value);
}

std::string bedInWords() {
  char text[100];
  std::snprintf(text, sizeof text, "%.1f x %.1f mm (%.1f x %.2f in)", bedWidthInches * millimetresPerInch,
                bedHeightInches * millimetresPerInch, bedWidthInches, bedHeightInches);
  return text;
}

}  // namespace

AreaRequest parseArea(std::string_view text) {
  AreaReader reader(text);
  double values[4];
  std::optional<LengthUnit> units[4];
  constexpr const char* separators[] = {"x", "+", "x"};
  for (int i = 0; i < 4; ++i) {
    values[i] = reader.number();
    units[i] = reader.unit();
    if (i < 3) reader.separator(separators[i]);
  }
  if (!reader.atEnd()) throwError(text, "unexpected \"" + std::string(reader.rest()) + "\"");
  if (!units[3]) throwError(text, "the unit is missing");
  const auto given = std::count_if(units, units + 3, [](const auto& unit) { return unit.has_value(); });
  if (given != 0 && given != 3) throwError(text, "give a unit to every number, or to the last one only");

  Length lengths[4];
  for (int i = 0; i < 4; ++i) {
    lengths[i] = {values[i], units[i].value_or(*units[3])};
    const bool fraction = lengths[i].value != std::floor(lengths[i].value);
    if (lengths[i].unit == LengthUnit::pixels && fraction) throwError(text, "pixels must be whole numbers");
  }
  return {lengths[0], lengths[1], lengths[2], lengths[3]};
}

PlacedArea placeOnBed(const AreaRequest& request, std::uint32_t resolution) {
  const PixelArea bed = wholeBed(resolution);
  const std::int64_t left = pixelsOf(request.left, resolution);
  const std::int64_t top = pixelsOf(request.top, resolution);
  const std::int64_t width = pixelsOf(request.width, resolution);
  const std::int64_t height = pixelsOf(request.height, resolution);
  if (width < 1 || height < 1) {
    throw UsageError("The area is smaller than one pixel at " + std::to_string(resolution) +
                     " dots per inch. Give a larger width and height.");
  }
  if (left >= bed.width || top >= bed.height) {
    throw UsageError("The area lies outside the scan bed, which is " + bedInWords() +
                     ". Give a left and top edge within it.");
  }
  const std::int64_t right = std::min<std::int64_t>(left + width, bed.width);
  const std::int64_t bottom = std::min<std::int64_t>(top + height, bed.height);
  const PixelArea area{static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top),
                       static_cast<std::uint32_t>(right - left), static_cast<std::uint32_t>(bottom - top)};
  const std::int64_t cut = std::max(width - area.width, height - area.height);
  return {area, static_cast<std::uint32_t>(std::min<std::int64_t>(cut, largestCut))};
}

}  // namespace frontend
