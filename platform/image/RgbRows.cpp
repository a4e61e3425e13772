#include "RgbRows.h"

#include <algorithm>
#include <cstddef>

namespace platform {

RgbRows::RgbRows(const OffscreenImage& image)
    : image_(image), row_(static_cast<std::size_t>(packedRowBytes(image.width(), 3, 8))) {}

PixelRows::Piece RgbRows::at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) {
  const std::uint8_t* pixel = image_.pixels() + std::size_t{row} * image_.rowBytes();
  for (std::size_t to = 0; to < row_.size(); to += 3, pixel += 4) std::copy(pixel + 1, pixel + 4, &row_[to]);
  return {row_.data() + static_cast<std::size_t>(column),
          std::min<std::uint64_t>(limit, row_.size() - column)};
}

}  // namespace platform
