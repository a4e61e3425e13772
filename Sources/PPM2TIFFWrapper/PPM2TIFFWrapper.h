#pragma once

#include <cstdint>
#include <span>

#include "Data.h"

/// @file
/// Converts the picture that the device sends (a file of the PPM family, its header in fixed lines) to a bare
/// raster for the host, and writes a TIFF (TIFF 6.0, uncompressed) of it to the file "/tmp/scan.tiff". Not a
/// general PPM reader: text and binary formats are treated alike, nothing is validated. Missing data reads as
/// zero. One thread at a time; nothing throws.
///
/// A format is the digit after "P" in the file's first line: 1 and 4 are 1-bit, 2 and 5 grey, 3 and 6 RGB.
/// All other formats are empty: no samples, no bits, no colour space, no raster.

/// The raster inside the PPM data, up to the end of the data: longer or shorter than width and height
/// require. Valid for as long as the data that it points into.
using RasterView = std::span<const std::uint8_t>;

/// Samples per pixel: 1 or 3, or 0 for an empty format.
int sppFromFormat(int format);
/// Bits per sample: 1 or 8, or 0 for an empty format.
int bpsFromFormat(int format);
/// "NSDeviceRGBColorSpace", "NSDeviceWhiteColorSpace" (0 is black) or "NSDeviceBlackColorSpace" (0 is white).
/// Null for an empty format, and if the system version cannot be read.
const char* colorSpaceNameFromFormat(int format);

/// Parses the header and logs the whole buffer and the numbers found. `data` may be null: no bytes. A missing
/// line feed means the end of the data. A missing number leaves its target unchanged; one out of the range of
/// an int saturates; a negative one is stored modulo 2^32.
void parsePPM(platform::Data* data, std::uint32_t* width, std::uint32_t* height, RasterView* raster,
              int* format, int* maxValue);

/// Writes the TIFF, whose failure is not reported, and copies the raster to a new block. The earlier
/// block in *rasterCopy, which must not hold `raster`, is freed first. The caller frees the block with
/// free(): it is width x height x samples bytes long, computed modulo 2^32, zero past the end of
/// `raster`; never null, even if empty. Returns 0, or -108 if there is no memory for it; *rasterCopy is
/// then null and *rasterLength unchanged.
int createTIFF(std::uint32_t width, std::uint32_t height, RasterView raster, int format, int maxValue,
               unsigned char** rasterCopy, std::uint32_t* rasterLength);

/// The whole conversion: parsePPM(), then createTIFF(). `data` may be null; *rasterCopy as for createTIFF();
/// *samplesPerPixel is 0 for an empty format. The two resolutions are ignored. Returns 0, or 1 if there is no
/// memory for the raster or an address is null (then nothing is done).
extern "C" std::int32_t ConvertPPMToTIFF(platform::Data* data, unsigned char** rasterCopy,
                                         std::uint32_t* rasterLength, std::uint32_t xResolution,
                                         std::uint32_t yResolution, std::uint32_t* width,
                                         std::uint32_t* height, std::uint32_t* samplesPerPixel);
