#pragma once

#include <cstdint>

namespace virtualscanner {

// The glass, 8.5 x 11.69 inches, measured in 1/2400 inch from its top left corner. In this unit the centre of
// every pixel at every resolution of the device is an integer, so that no rounding can shift a picture.
inline constexpr std::int64_t unitsPerInch = 2400;
inline constexpr std::int64_t glassWidth = 20400;
inline constexpr std::int64_t glassHeight = 28056;

// Dots per inch that the device can scan at.
inline constexpr std::uint32_t resolutions[] = {75, 150, 200, 300, 400, 600};

constexpr bool isResolution(std::int64_t dotsPerInch) {
  for (const std::uint32_t resolution : resolutions) {
    if (dotsPerInch == resolution) return true;
  }
  return false;
}

// Where the centre of a pixel lies, in either direction, for a column or row counted from the corner of the
// glass; negative before the corner. `resolution` is one of `resolutions`.
constexpr std::int64_t pixelCentre(std::uint32_t resolution, std::int64_t index) {
  return (2 * index + 1) * (unitsPerInch / 2 / resolution);
}

// The first pixel whose centre is not before a place, which is not negative.
constexpr std::int64_t firstPixelFrom(std::int64_t place, std::uint32_t resolution) {
  const std::int64_t halfPixel = unitsPerInch / 2 / resolution;
  return (place + halfPixel - 1) / (2 * halfPixel);
}

}  // namespace virtualscanner
