#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "PictureLayout.h"

namespace frontend {

// How far a picture is turned clockwise between the scanner and its file. Pixels are moved, never computed
// anew.
enum class Rotation : std::uint8_t { none, quarter, half, threeQuarters };

// The layout of a picture once it is turned; the resolution stays.
PictureLayout rotated(const PictureLayout& layout, Rotation rotation);

// Reads an unturned picture as the rows of the turned one. Borrows the picture, whose padding bits are 0. One
// thread. Reading all rows in order takes as long as a few copies of the picture: quarter turns are made in
// bands of rows, so that both pictures are read and written in pieces that fit the cache.
class RotatedRows {
 public:
  virtual ~RotatedRows() = default;

  // The bytes of the next row of the turned picture, valid until the next call. Called rotated().height
  // times. Never fails.
  virtual const std::uint8_t* next() = 0;
};

// The rows of the picture for a rotation but none. `picture` holds layout.bytes() bytes and outlives them.
// Throws std::bad_alloc.
std::unique_ptr<RotatedRows> makeRotatedRows(const std::vector<std::uint8_t>& picture,
                                             const PictureLayout& layout, Rotation rotation);

}  // namespace frontend
