#pragma once

#include <cstdint>

namespace platform {

// The rows of a picture as a TIFF file holds them: one after the other, each of as many whole bytes as its
// samples need. Implementations decide where the samples are and in which layout. One thread at a time;
// nothing throws or blocks.
class PixelRows {
 public:
  // Adjacent bytes of the picture, valid until the next call of at(). `bytes` is null if the picture has
  // none: they read as zero.
  struct Piece {
    const std::uint8_t* bytes;
    std::uint64_t count;
  };

  // The length of each row.
  virtual std::uint64_t bytesPerRow() const = 0;
  // The piece that begins at this byte of this row, 1 to `limit` bytes long, as many as are in one place. It
  // may continue into the rows that follow; the caller chooses a limit that ends within the picture.
  virtual Piece at(std::uint32_t row, std::uint64_t column, std::uint64_t limit) = 0;

 protected:
  ~PixelRows() = default;
};

// Whole bytes that the samples of one row need.
inline std::uint64_t packedRowBytes(std::uint32_t width, std::uint32_t samplesPerPixel,
                                    std::uint32_t bitsPerSample) {
  return (std::uint64_t{width} * samplesPerPixel * bitsPerSample + 7) / 8;
}

}  // namespace platform
