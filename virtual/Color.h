#pragma once

#include <cstdint>

namespace virtualscanner {

// One pixel, eight bits per channel; 255 is full intensity.
struct Color {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;

  friend constexpr bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color black{0, 0, 0};
inline constexpr Color white{255, 255, 255};

// The grey level of a colour: luma in integers, rounded to nearest, so that every machine agrees.
constexpr std::uint8_t greyOf(Color color) {
  return static_cast<std::uint8_t>((299 * color.red + 587 * color.green + 114 * color.blue + 500) / 1000);
}

}  // namespace virtualscanner
