#pragma once

#include <array>
#include <cstdint>

#include "ScanSettings.h"

// What the glass of the Q750 and its optics can do: 8.5 x 11.69 inches at one of six resolutions.
namespace frontend {

inline constexpr double bedWidthInches = 8.5;
inline constexpr double bedHeightInches = 11.69;
inline constexpr std::array<std::uint32_t, 6> bedResolutions = {75, 150, 200, 300, 400, 600};
// Above this the scanner delivers colour at this resolution, whatever it is asked for.
inline constexpr std::uint32_t highestColorResolution = 300;

bool isBedResolution(std::uint32_t resolution);

// The resolution at which the scanner really scans.
std::uint32_t trueResolution(ColorMode mode, std::uint32_t resolution);

// The whole glass at one of its resolutions, partial pixels at the far edges left out.
PixelArea wholeBed(std::uint32_t resolution);

}  // namespace frontend
