#pragma once

#include <cstddef>
#include <cstdint>

#include "Bitmap.h"
#include "PixelRows.h"

namespace platform {

// The rows of a bitmap, whatever the bitmap's own row length. Copies nothing, allocates nothing.
// Borrows the bitmap.
class RasterRows final : public PixelRows {
 public:
  explicit RasterRows(const Bitmap& bitmap);

  std::uint64_t bytesPerRow() const override { return bytesPerRow_; }
  Piece at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) override;

 private:
  const Bitmap& bitmap_;
  std::uint64_t bytesPerRow_;
};

}  // namespace platform
