#pragma once

#include <cstdint>
#include <vector>

#include "PPM2TIFFWrapper.h"

// What the library reads in the header of a picture, whose data outlives the object. Numbers that are
// missing are 0.
struct PpmHeader {
  explicit PpmHeader(platform::Data* data) { parsePPM(data, &width, &height, &raster, &format, &maximum); }

  std::uint32_t samples() const { return static_cast<std::uint32_t>(sppFromFormat(format)); }
  // Modulo 2^32, as in the library.
  std::uint32_t rasterBytes() const { return width * samples() * height; }
  // What the picture holds of it, and zeros for the rest.
  std::vector<unsigned char> expectedRaster() const {
    std::vector<unsigned char> bytes(raster.begin(), raster.end());
    bytes.resize(rasterBytes());
    return bytes;
  }

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int format = 0;
  int maximum = 0;
  RasterView raster;
};
