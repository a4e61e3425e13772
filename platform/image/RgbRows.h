#pragma once

#include <cstdint>
#include <vector>

#include "OffscreenImage.h"
#include "PixelRows.h"

namespace platform {

// The rows of an image of 32 bits per pixel as RGB of 24 bits. Borrows the image.
class RgbRows final : public PixelRows {
 public:
  explicit RgbRows(const OffscreenImage& image);

  std::uint64_t bytesPerRow() const override { return row_.size(); }
  Piece at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) override;

 private:
  const OffscreenImage& image_;
  std::vector<std::uint8_t> row_;
};

}  // namespace platform
