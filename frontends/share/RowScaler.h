#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "PictureLayout.h"

namespace frontend::share {

// Converts the rows that the scanner delivers to those of the picture that a client requested: scaled up
// where the picture has a higher resolution, the same otherwise, followed by white ones below the bed.
//
// Scaling is bilinear between the centers of pixels, in integers: the same rows give the same picture
// everywhere, a plain area stays plain, and no value leaves the range of its neighbours. Every row is written
// as soon as the rows that it depends on have arrived. Keeps two rows of the scanner and one of the picture.
// One thread; throws only std::bad_alloc.
class RowScaler {
 public:
  // Takes a row of the picture, which is valid during the call.
  using WriteRow = std::function<void(const std::uint8_t* row)>;

  // The layouts have the same channels and depth, and the same width if the resolutions are equal; rows are
  // scaled up only, and only those of 8 bits a channel. The picture has at least as many rows as the scanner
  // delivers, scaled.
  RowScaler(const PictureLayout& delivered, const PictureLayout& picture, WriteRow writeRow);

  // Takes the next row of the scanner, of delivered.rowBytes() bytes, which are not used after the call, and
  // writes the rows of the picture that are complete now: after the last row, all the rest. Rows beyond the
  // delivered layout are ignored.
  void add(const std::uint8_t* row);

 private:
  // Where a row or a column of the picture lies between two of the scanner.
  struct Place {
    std::uint32_t first;   // the upper or left one
    std::uint32_t second;  // the other; the same at the far edge
    std::uint32_t weight;  // of the second, in 1/256
  };

  static Place placeOf(std::uint32_t index, std::uint32_t from, std::uint32_t to, std::uint32_t count);
  void scaleRow(const Place& place);
  void blendRows(const Place& place);

  PictureLayout delivered_;
  PictureLayout picture_;
  WriteRow writeRow_;
  std::uint32_t scaledRows_;              // of the picture: those that are not below the bed
  std::uint32_t taken_ = 0;               // of the scanner
  std::uint32_t written_ = 0;             // of the picture
  std::vector<std::uint8_t> rows_[2];     // the last two of the scanner, by whether their number is odd
  std::vector<Place> columns_;            // for each of the picture
  std::vector<std::uint16_t> blended_;    // between two rows of the scanner, in 1/256
  std::vector<std::uint8_t> pictureRow_;  // scaled or white
};

}  // namespace frontend::share
