#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "BitmapExport.h"
#include "Fields.h"

// A bitmap and its description, made of an input:
//
//   | width:2 | height:2 | row bytes:2 | colour space:4 | resolution across:4 | resolution down:4 | pixels |
//
// The pixels are padded with zeros, or cut, to exactly as many as the description promises: the reader has no
// other way to determine their number.
struct BitmapInput {
  explicit BitmapInput(Bytes bytes) : fields_(bytes) {
    if (isTooLarge()) return;
    pixels.resize(static_cast<std::size_t>(std::max<std::int64_t>(pixelBytes(), 1)));
    const Bytes given = fields_.rest();
    std::copy_n(given.begin(), std::min(given.size(), pixels.size()), pixels.begin());
  }

  // Larger bitmaps only take time.
  bool isTooLarge() const { return pixelBytes() > 4096; }
  bool isPacked() const {
    return bitmap.space != bitmapSpaceOneBit || bitmap.rowBytes == (bitmap.width + 7) / 8;
  }

 private:
  Fields fields_;  // before what is taken from it
  std::int32_t size() { return static_cast<std::int16_t>(fields_.number(2)); }
  std::int64_t pixelBytes() const {
    const std::int64_t samples = bitmap.space == bitmapSpaceRGB24 ? 3 : 1;
    return bitmap.height * (bitmap.space == bitmapSpaceOneBit ? bitmap.rowBytes : bitmap.width * samples);
  }

 public:
  CMBitmap bitmap{nullptr, size(), size(), size(), fields_.number(4)};
  std::uint32_t across = fields_.number(4);
  std::uint32_t down = fields_.number(4);
  std::vector<unsigned char> pixels;
};
