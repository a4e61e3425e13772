#pragma once

#include <cstddef>
#include <cstdint>

namespace frontend {

// A picture in memory, top row first, no padding between rows; one byte a pixel (grey, 255 is white) or three
// (red, green, blue). Only a view: whoever hands it out owns the pixels and says how long they live.
struct Raster {
  const std::uint8_t* pixels = nullptr;
  std::uint32_t width = 0;          // pixels
  std::uint32_t height = 0;         // rows
  std::uint32_t bytesPerPixel = 0;  // 1 or 3

  bool empty() const { return pixels == nullptr || width == 0 || height == 0; }
  std::size_t rowBytes() const { return std::size_t{width} * bytesPerPixel; }
  std::size_t bytes() const { return rowBytes() * height; }
  const std::uint8_t* row(std::uint32_t index) const { return pixels + index * rowBytes(); }
};

}  // namespace frontend
