#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ScanSettings.h"

namespace frontend {

enum class PictureFormat : std::uint8_t { tiff, png, pnm };

// "tiff", "png" or "pnm". Throws UsageError for any other.
PictureFormat formatNamed(const std::string& name);

// The format that the end of a file's name tells: .tiff .tif .png .pnm .ppm .pgm, in any case. Throws
// UsageError for any other, and where .ppm (colour) or .pgm (grey) contradicts the mode.
PictureFormat formatOfFile(const std::string& path, ColorMode mode);

}  // namespace frontend
