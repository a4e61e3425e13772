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

// All columns whose centres lie in one pixel of the picture have its colour. What the picture does not cover
// is one run at either end.
template <typename Fill>
void ImagePaper::forEachRun(std::uint32_t resolution, std::int64_t row, std::int64_t left,
                            std::uint32_t width, Fill fill) const {
  const std::int64_t y = pixelCentre(resolution, row);
  const bool covered = y >= 0 && y < glassHeight && y * pixels() / units() < image_.height;
  const auto imageRow = static_cast<std::uint32_t>(covered ? y * pixels() / units() : 0);
  const std::int64_t end = std::min(left + width, firstPixelFrom(glassWidth, resolution));
  std::int64_t column = std::clamp<std::int64_t>(-left, 0, width) + left;
  fill(0, column - left, white);
  while (covered && column < end) {
    const std::int64_t imageColumn = pixelCentre(resolution, column) * pixels() / units();
    if (imageColumn >= image_.width) break;
    const std::int64_t nextPlace = ((imageColumn + 1) * units() + pixels() - 1) / pixels();
    const std::int64_t next = std::min(end, firstPixelFrom(nextPlace, resolution));
    fill(column - left, next - column, image_.at(static_cast<std::uint32_t>(imageColumn), imageRow));
    column = next;
  }
  fill(column - left, left + width - column, white);
}

void ImagePaper::paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                          std::uint8_t* rgb) const {
  forEachRun(resolution, row, left, width, [rgb](std::int64_t first, std::int64_t count, Color color) {
    fillPixels(rgb + first * 3, count, color);
  });
}

bool ImagePaper::paintGreyRow(std::uint32_t resolution, std::int64_t row, std::int64_t left,
                              std::uint32_t width, std::uint8_t* grey) const {
  forEachRun(resolution, row, left, width, [grey](std::int64_t first, std::int64_t count, Color color) {
    std::memset(grey + first, greyOf(color), static_cast<std::size_t>(count));
  });
  return true;
}

}  // namespace virtualscanner
