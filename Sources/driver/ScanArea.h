#pragma once

#include <cstdint>

// The area and pixel layout of the next scan, by default the whole page in colour. Lengths in pixels at the
// resolution of their direction. A plain value: the numbers are those that the host set, unchecked.
struct ScanArea {
  std::int32_t xResolution = 600;  // dots per inch
  std::int32_t yResolution = 600;
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t width = 5100;
  std::int32_t height = 7014;
  std::uint32_t bitDepth = 24;  // bits per pixel: 24 colour, 8 grey
  std::uint32_t colorFlag = 1;  // 1 colour, 0 grey
};
