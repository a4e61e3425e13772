#include "ImagePaper.h"

#include <utility>

namespace virtualscanner {

ImagePaper::ImagePaper(Image image)
    : image_(std::move(image)), fillsHeight_(image_.width * glassHeight <= image_.height * glassWidth) {}

Color ImagePaper::colorAt(std::int64_t x, std::int64_t y) const {
  if (x < 0 || y < 0 || x >= glassWidth || y >= glassHeight) return white;
  // In whole numbers, so that a picture of a page at some resolution comes back from a scan at it unchanged.
  const std::int64_t pixels = fillsHeight_ ? image_.height : image_.width;
  const std::int64_t units = fillsHeight_ ? glassHeight : glassWidth;
  const std::int64_t column = x * pixels / units;
  const std::int64_t row = y * pixels / units;
  if (column >= image_.width || row >= image_.height) return white;
  return image_.at(static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row));
}

}  // namespace virtualscanner
