#pragma once

#include <cstddef>
#include <cstdint>

#include "Bitmap.h"

namespace platform {

// The rows of a bitmap as a TIFF file holds them: one after the other, each of as many whole bytes as its
// samples need, whatever the bitmap's own row length. Copies nothing, allocates nothing.
class RasterRows {
 public:
  // The longest piece that stands in one place. bytes is null where the bitmap has none: they read as zero.
  struct Piece {
    const std::uint8_t* bytes;
    std::uint64_t count;
  };

  explicit RasterRows(const Bitmap& bitmap);

  std::uint64_t bytesPerRow() const { return bytesPerRow_; }
  // The piece that begins at this byte of this row, at most `limit` bytes (not 0) long. It may go on into the
  // rows that follow; the caller keeps it below the end of the picture.
  Piece at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) const;

 private:
  const Bitmap& bitmap_;
  std::uint64_t bytesPerRow_;
};

}  // namespace platform
