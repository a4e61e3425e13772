#pragma once

#include <cstdint>

namespace frontend {

enum class ColorMode : std::uint8_t { color, gray };

// A rectangle on the glass, in pixels of the scan's resolution, from the top left corner.
struct PixelArea {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  friend bool operator==(const PixelArea&, const PixelArea&) = default;
};

// What one scan is asked for. `resolution` is one that the mode truly has (Bed.h), `area` is not empty and on
// the glass.
struct ScanSettings {
  std::uint32_t resolution = 300;  // dots per inch, both directions
  ColorMode mode = ColorMode::color;
  PixelArea area;

  std::uint32_t bytesPerPixel() const { return mode == ColorMode::color ? 3 : 1; }
  std::uint64_t rasterBytes() const { return std::uint64_t{area.width} * area.height * bytesPerPixel(); }
};

}  // namespace frontend
