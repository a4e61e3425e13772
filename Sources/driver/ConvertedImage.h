#pragma once

#include <cstdint>

// The raster of the last successful scan as the device sent it, top row first, without padding between rows.
// Does not own the pixels: the driver that it belongs to does.
struct ConvertedImage {
  unsigned char* pixels = nullptr;  // from malloc; null while there is no image
  std::uint32_t length = 0;         // bytes at `pixels`
  std::uint32_t rowWidthPixels = 0;
  std::uint32_t rowCount = 0;
  // Written twice: setting the colour mode sets it (1 or 3), the conversion overwrites it with the value of
  // the image (0, 1 or 3).
  std::uint32_t bytesPerPixel = 3;
};
