#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform {

// A picture in memory, described as the platform's bitmap class describes it. Does not own its pixels, which
// must outlive it. Samples are contiguous (not planar), without alpha, first row first.
struct Bitmap {
  const std::uint8_t* pixels;
  std::size_t pixelBytes;         // the bytes that `pixels` really points to; what a row lacks reads as zero
  std::uint32_t width;            // pixels
  std::uint32_t height;           // rows
  std::uint32_t bitsPerSample;    // 1 or 8
  std::uint32_t samplesPerPixel;  // 1 or 3
  std::uint32_t bytesPerRow;
  const char* colorSpaceName;  // one of the three below, or null for none
};

inline constexpr char kNSDeviceBlackColorSpace[] = "NSDeviceBlackColorSpace";  // 0 is white
inline constexpr char kNSDeviceWhiteColorSpace[] = "NSDeviceWhiteColorSpace";  // 0 is black
inline constexpr char kNSDeviceRGBColorSpace[] = "NSDeviceRGBColorSpace";

// Writes the bitmap as a TIFF 6.0 file to `path`: uncompressed, contiguous samples, tags for width, height,
// bits per sample, samples per pixel, photometric interpretation and what a strip layout needs, no other.
// Atomic and private as a TemporaryFile. False, with the old file unchanged and no temporary left, if the
// bitmap cannot be stored (no colour space, no pixels, more than TIFF can hold) or the file cannot be
// written. The TIFF library's messages go to the log. Any thread. Never throws.
bool writeTIFF(const Bitmap& bitmap, const std::string& path);

}  // namespace platform
