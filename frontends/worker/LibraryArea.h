#pragma once

#include <cstdint>

#include "ScanSettings.h"

namespace frontend {

// An area as the exported interface takes it: edges in 1/1200 inch.
struct LibraryArea {
  std::uint32_t left;
  std::uint32_t top;
  std::uint32_t right;
  std::uint32_t bottom;
};

// The edges that the library turns into exactly these pixels. It multiplies left, top and the differences
// right - left and bottom - top by resolution / 1200.0 and truncates the products: an edge that falls a hair
// short of its pixel would lose it. Any resolution from 1 to 1200 and any area that fits the bed.
LibraryArea libraryArea(const PixelArea& area, std::uint32_t resolution);

}  // namespace frontend
