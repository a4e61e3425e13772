#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "ColorMode.h"

// The ranges and defaults of scan options, the same in every front end. Help texts, manual pages, completions
// and sample configurations are built from these constants or compared with them by tests. What the scanner
// itself can do is in Bed.h.
namespace frontend::limits {

// The time-out for silence: the longest time without a byte from the scanner, its warm-up before the
// first byte included.
inline constexpr std::chrono::milliseconds shortestTimeout{100};
inline constexpr std::chrono::milliseconds longestTimeout = std::chrono::hours(24);
inline constexpr std::chrono::milliseconds defaultTimeout = std::chrono::seconds(30);

// Reads a time-out as users write it, in decimal seconds ("2.5"), rounded to a millisecond. Nothing if the
// text is not a number or out of range.
std::optional<std::chrono::milliseconds> timeoutFromSeconds(std::string_view text);

inline constexpr std::uint32_t defaultResolution = 300;  // dots per inch
inline constexpr ColorMode defaultMode = ColorMode::color;

// Gray values below the threshold become black in lineart, the others white. Its lowest value is 0.
inline constexpr std::uint8_t highestThreshold = 255;
inline constexpr std::uint32_t defaultThresholdPercent = 50;
inline constexpr std::uint8_t defaultThreshold = (defaultThresholdPercent * highestThreshold + 50) / 100;

// Brightness and contrast in percent, gamma in hundredths; Tone.h has the neutral values.
inline constexpr std::int32_t lowestTonePercent = -100;
inline constexpr std::int32_t highestTonePercent = 100;
inline constexpr std::uint32_t lowestGammaHundredths = 10;
inline constexpr std::uint32_t highestGammaHundredths = 500;

// Limits of the virtual scanner. Its warm-up may be 0, a packet holds at least one byte, and a speed of 0
// bytes per second means no limit.
inline constexpr std::chrono::milliseconds longestVirtualWarmUp = std::chrono::hours(1);
inline constexpr std::uint32_t largestVirtualPacket = 256 * 1024 * 1024;  // image bytes
inline constexpr std::uint32_t highestVirtualSpeed = std::numeric_limits<std::uint32_t>::max();
inline constexpr std::size_t mostVirtualFaults = 100;  // in one scan

}  // namespace frontend::limits
