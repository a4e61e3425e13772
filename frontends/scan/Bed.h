#pragma once

#include <array>
#include <cstdint>

#include "ColorMode.h"
#include "ScanSettings.h"

// What the scanner can do: a bed of 8.5 x 11.69 inches, scanned at one of six resolutions.
namespace frontend {

inline constexpr double millimetresPerInch = 25.4;

// In hundredths of an inch, so that no rounding can cost a row.
inline constexpr std::uint32_t bedWidthInHundredths = 850;
inline constexpr std::uint32_t bedHeightInHundredths = 1169;
inline constexpr double bedWidthInches = bedWidthInHundredths / 100.0;
inline constexpr double bedHeightInches = bedHeightInHundredths / 100.0;

// In dots per inch, in ascending order. Above the highest color resolution the scanner delivers color at that
// resolution, whatever is requested.
inline constexpr std::array<std::uint32_t, 6> bedResolutions = {75, 150, 200, 300, 400, 600};
inline constexpr std::uint32_t highestColorResolution = 300;

bool isBedResolution(std::uint32_t resolution);

// The resolution at which the scanner really scans.
std::uint32_t trueResolution(ColorMode mode, std::uint32_t resolution);

// The whole bed at one of its resolutions, without the partial pixels at the far edges.
PixelArea wholeBed(std::uint32_t resolution);

}  // namespace frontend
