#include "ImagePaper.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "PixelRuns.h"

namespace virtualscanner {

ImagePaper::ImagePaper(Image image)
    : image_(std::move(image)), fillsHeight_(image_.width * glassHeight <= image_.height * glassWidth) {}

Color ImagePaper::colorAt(std::int64_t x, std::int64_t y) const {
  if (x < 0 || y < 0 || x >= glassWidth || y >= glassHeight) return white;
  // In integers, so that a scan at the resolution of the picture returns its pixels unchanged.
  const std::int64_t column = x * pixels() / units();
  const std::int64_t row = y * pixels() / units();
  if (column >= image_.width || row >= image_.height) return white;
  return image_.at(static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row));
}

// By runs: all columns whose centres lie in one pixel of the picture have its colour.
void ImagePaper::paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                          std::uint8_t* rgb) const {
  std::memset(rgb, 255, std::size_t{width} * 3);
  const std::int64_t y = pixelCentre(resolution, row);
  if (y < 0 || y >= glassHeight || y * pixels() / units() >= image_.height) return;
  const auto imageRow = static_cast<std::uint32_t>(y * pixels() / units());
  const std::int64_t end = std::min(left + width, firstPixelFrom(glassWidth, resolution));
  for (std::int64_t column = std::max<std::int64_t>(left, 0); column < end;) {
    const std::int64_t imageColumn = pixelCentre(resolution, column) * pixels() / units();
    if (imageColumn >= image_.width) return;
    const std::int64_t nextPlace = ((imageColumn + 1) * units() + pixels() - 1) / pixels();
    const std::int64_t next = std::min(end, firstPixelFrom(nextPlace, resolution));
    fillPixels(rgb + (column - left) * 3, next - column,
               image_.at(static_cast<std::uint32_t>(imageColumn), imageRow));
    column = next;
  }
}

}  // namespace virtualscanner
