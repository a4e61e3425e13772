#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Color.h"

namespace virtualscanner {

// Fills `count` pixels, three bytes each, red first, with one colour.
inline void fillPixels(std::uint8_t* rgb, std::int64_t count, Color color) {
  if (color.red == color.green && color.green == color.blue) {
    std::memset(rgb, color.red, static_cast<std::size_t>(count) * 3);
    return;
  }
  for (std::uint8_t* end = rgb + count * 3; rgb != end; rgb += 3) {
    rgb[0] = color.red;
    rgb[1] = color.green;
    rgb[2] = color.blue;
  }
}

// How many pixels at the front of `count`, which is at least 1, have the colour of the first.
inline std::size_t runLength(const std::uint8_t* rgb, std::size_t count) {
  constexpr std::size_t block = 64;  // pixels that are compared with their right neighbours at once
  std::size_t length = 1;
  while (length + block <= count && std::memcmp(rgb + (length - 1) * 3, rgb + length * 3, block * 3) == 0) {
    length += block;
  }
  while (length < count && std::memcmp(rgb, rgb + length * 3, 3) == 0) ++length;
  return length;
}

}  // namespace virtualscanner
