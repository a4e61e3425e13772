#pragma once

#include <cstdint>
#include <string>

namespace frontend {

// What one pixel of a picture is: red, green and blue; grey; black or white.
enum class PictureMode : std::uint8_t { color, gray, lineart };

enum class PictureFormat : std::uint8_t { tiff, png, jpeg, pnm, pdf };

// "tiff", "png", "jpeg" ("jpg"), "pnm" or "pdf". Throws FormatError for any other.
PictureFormat formatNamed(const std::string& name);

// The format that the end of a file's name tells: .tiff .tif .png .jpeg .jpg .pnm .ppm .pgm .pbm .pdf, in any
// case. Throws FormatError for any other, and where .ppm (colour), .pgm (grey) or .pbm (black and white)
// contradicts the mode.
PictureFormat formatOfFile(const std::string& path, PictureMode mode);

// Whether one file of the format holds several pages.
bool holdsPages(PictureFormat format);

}  // namespace frontend
