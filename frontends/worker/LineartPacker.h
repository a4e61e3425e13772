#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace frontend {

// Turns the gray bytes of a picture into lineart while they arrive: one bit a pixel, 1 is black, the leftmost
// pixel in the top bit, the last byte of each row filled with 0. Keeps the bits of one byte. One thread.
class LineartPacker {
 public:
  // Rows of `width` pixels, at least 1; gray values below `threshold` become black.
  LineartPacker(std::uint32_t width, std::uint8_t threshold) : width_(width), threshold_(threshold) {}

  // Appends every byte that is complete now to `packed`. Throws std::bad_alloc.
  void pack(const std::uint8_t* gray, std::size_t count, std::vector<std::uint8_t>& packed);

 private:
  std::uint32_t width_;
  std::uint8_t threshold_;
  std::uint32_t column_ = 0;  // of the next pixel
  std::uint8_t bits_ = 0;     // of the byte that is not complete
};

}  // namespace frontend
