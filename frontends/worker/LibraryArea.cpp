#include "LibraryArea.h"

namespace frontend {
namespace {

constexpr double unitsPerInch = 1200.0;

// The smallest length in 1/1200 inch that the library converts to this many pixels.
std::uint32_t unitsFor(std::uint32_t pixels, std::uint32_t resolution) {
  const double factor = resolution / unitsPerInch;
  auto units = static_cast<std::uint32_t>(std::uint64_t{pixels} * 1200 / resolution);
  while (units * factor < pixels) ++units;
  return units;
}

}  // namespace

LibraryArea libraryArea(const PixelArea& area, std::uint32_t resolution) {
  const std::uint32_t left = unitsFor(area.left, resolution);
  const std::uint32_t top = unitsFor(area.top, resolution);
  return {left, top, left + unitsFor(area.width, resolution), top + unitsFor(area.height, resolution)};
}

}  // namespace frontend
