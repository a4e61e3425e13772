#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "PixelRows.h"
#include "TiffStream.h"

namespace platform {

// The values of the tag PhotometricInterpretation (TIFF 6.0).
enum class Photometric : std::uint16_t { whiteIsZero = 0, blackIsZero = 1, rgb = 2 };

struct TiffResolution {
  double horizontal;  // dots per inch
  double vertical;
};

// The description of a picture in a TIFF file.
struct TiffPicture {
  std::uint32_t width;   // pixels
  std::uint32_t height;  // rows
  std::uint32_t bitsPerSample;
  std::uint32_t samplesPerPixel;
  Photometric photometric;
  std::optional<TiffResolution> resolution;
};

// The one place that defines how this system writes TIFF 6.0: big-endian, one picture, uncompressed,
// contiguous samples, strips of moderate size, tags for the description above and for the strips, no others.
// The same picture gives the same bytes on every machine.

// An upper bound of the file's length. Nothing for what a TIFF file cannot hold or this system does not
// write: no pixels, samples of neither 1 nor 8 bits, more than 32-bit offsets can address. Any thread.
std::optional<std::uint64_t> tiffSizeBound(const TiffPicture& picture);

// Writes a picture that tiffSizeBound() accepts. False if a write failed or the TIFF library ran out of
// memory; its messages go to the log, under `name`. Any thread; one at a time for a stream.
bool encodeTIFF(const TiffPicture& picture, PixelRows& rows, TiffStream& stream, const std::string& name);

}  // namespace platform
