#pragma once

#include <cstdint>
#include <cstring>

#include "Color.h"

namespace virtualscanner {

// Makes `count` pixels, three bytes each, red first, one colour.
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

}  // namespace virtualscanner
