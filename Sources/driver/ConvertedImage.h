#pragma once

#include <cstdint>

// The raster of the last successful scan as the device sent it, top row first, without padding between rows.
// Only describes: the driver that it belongs to owns the pixels.
struct ConvertedImage {
  unsigned char* pixels = nullptr;  // from malloc; null while there is no image
  std::uint32_t length = 0;         // bytes at `pixels`
  std::uint32_t rowWidthPixels = 0;
  std::uint32_t rowCount = 0;
  // Has two writers: the colour mode sets it (1 or 3), the conversion overwrites it with that of the image
  // (0, 1 or 3).
  std::uint32_t bytesPerPixel = 3;
};
