#include "RasterRows.h"

#include <algorithm>

namespace platform {

RasterRows::RasterRows(const Bitmap& bitmap)
    : bitmap_(bitmap),
      bytesPerRow_(packedRowBytes(bitmap.width, bitmap.samplesPerPixel, bitmap.bitsPerSample)) {}

PixelRows::Piece RasterRows::at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) {
  const bool seamless = bitmap_.bytesPerRow == bytesPerRow_;
  const std::uint64_t held = std::min<std::uint64_t>(bytesPerRow_, bitmap_.bytesPerRow);
  const std::uint64_t start = std::uint64_t{row} * bitmap_.bytesPerRow + column;
  if (start >= bitmap_.pixelBytes) return {nullptr, limit};
  const std::uint64_t available = bitmap_.pixelBytes - start;
  if (seamless) return {bitmap_.pixels + start, std::min(limit, available)};
  if (column >= held) return {nullptr, std::min(limit, bytesPerRow_ - column)};
  return {bitmap_.pixels + start, std::min({limit, held - column, available})};
}

}  // namespace platform
