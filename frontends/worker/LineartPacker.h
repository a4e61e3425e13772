#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace frontend {

// Turns the grey bytes of a picture into lineart as they come: one bit a pixel, 1 is black, the leftmost
// pixel in the top bit, each row's last byte filled with 0.
class LineartPacker {
 public:
  // Rows of `width` pixels, at least 1; grey values below `threshold` become black.
  LineartPacker(std::uint32_t width, std::uint8_t threshold) : width_(width), threshold_(threshold) {}

  // Appends every byte that is whole now. The rest is kept for the next bytes.
  void pack(const std::uint8_t* grey, std::size_t count, std::vector<std::uint8_t>& packed);

 private:
  std::uint32_t width_;
  std::uint8_t threshold_;
  std::uint32_t column_ = 0;  // of the next pixel
  std::uint8_t bits_ = 0;     // of the byte that is not whole
};

}  // namespace frontend
