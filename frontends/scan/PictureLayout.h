#pragma once

#include <cstddef>
#include <cstdint>

namespace frontend {

// The format of a picture's rows. Top row first, without gaps, each row starting at a byte. One channel of 1
// bit (1 is black, the leftmost pixel is the most significant bit, the row's last byte is padded with 0) or
// of 8 bits (255 is white), or three of 8 bits (red, green, blue).
struct PictureLayout {
  std::uint32_t width = 0;   // pixels
  std::uint32_t height = 0;  // rows
  std::uint32_t channels = 1;
  std::uint32_t bitsPerChannel = 8;
  std::uint32_t resolution = 0;  // dots per inch, both directions

  std::size_t rowBytes() const { return (std::size_t{width} * channels * bitsPerChannel + 7) / 8; }
  std::uint64_t bytes() const { return std::uint64_t{rowBytes()} * height; }

  friend bool operator==(const PictureLayout&, const PictureLayout&) = default;
};

}  // namespace frontend
