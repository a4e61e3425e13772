#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "PictureFormat.h"
#include "ScanLimits.h"

// The values between which options choose, in the order in which the help, the messages, the manual page
// and the completions list them. The resolutions are in Bed.h, the formats in PictureFormat.h, the
// papers in PaperSize.h.
namespace frontend {

// Of --mode, in the order of PictureMode; JSON reports them too.
inline constexpr std::array<std::string_view, 3> modeNames = {"color", "gray", "lineart"};
inline constexpr PictureMode defaultMode = PictureMode::color;
static_assert(limits::defaultMode == ColorMode::color);
// Of --progress, the default first.
inline constexpr std::array<std::string_view, 5> progressNames = {"auto", "bar", "plain", "json", "none"};
// Of --pages.
inline constexpr std::uint32_t mostPages = 9999;
// Of --rotate, in the order of Rotation, the default first.
inline constexpr std::array<std::string_view, 4> rotationNames = {"0", "90", "180", "270"};
// Of --quality, besides its numbers.
inline constexpr std::string_view losslessName = "lossless";

std::string nameOf(PictureMode mode);
// The mode in a sentence: "colour", "grey", "black and white".
std::string describe(PictureMode mode);

// With the letters of ASCII in lower case, as all choices are written.
std::string lowerCase(std::string_view text);
// Where the text is among the choices, or nothing.
std::optional<std::size_t> indexIn(std::span<const std::string_view> choices, std::string_view text);

// "tiff, png or pdf".
std::string listOf(std::span<const std::string_view> choices);
// "75, 150, 200, 300, 400 or 600".
std::string listOfResolutions();
// "2.20", as --gamma takes it.
std::string hundredths(std::uint32_t value);
// "0.1", as --timeout takes it.
std::string inSeconds(std::chrono::milliseconds time);

}  // namespace frontend
