#pragma once

#include <cstdint>

#include "ColorMode.h"
#include "ScanLimits.h"

namespace frontend {

// A rectangle on the bed, in pixels of the scan's resolution, from the top left corner.
struct PixelArea {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  friend bool operator==(const PixelArea&, const PixelArea&) = default;
};

// The settings of one scan. `resolution` is one that the mode truly has (Bed.h); `area` is not empty and lies
// on the bed.
struct ScanSettings {
  std::uint32_t resolution = limits::defaultResolution;  // dots per inch, both directions
  ColorMode mode = limits::defaultMode;
  PixelArea area;

  std::uint32_t bytesPerPixel() const { return mode == ColorMode::color ? 3 : 1; }
  std::uint64_t rasterBytes() const { return std::uint64_t{area.width} * area.height * bytesPerPixel(); }
};

}  // namespace frontend
