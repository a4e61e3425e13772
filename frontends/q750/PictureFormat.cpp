#include "PictureFormat.h"

#include <algorithm>

#include "CommandError.h"

namespace frontend {
namespace {

std::string lowerCase(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return text;
}

// What follows the last point of the file's name, without the point; a leading point hides a file and ends no
// name.
std::string extensionOf(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::size_t point = name.rfind('.');
  return point == std::string::npos || point == 0 ? "" : lowerCase(name.substr(point + 1));
}

}  // namespace

PictureFormat formatNamed(const std::string& name) {
  if (name == "tiff") return PictureFormat::tiff;
  if (name == "png") return PictureFormat::png;
  if (name == "pnm") return PictureFormat::pnm;
  throw UsageError("--format " + name + ": there is no such format. Choose tiff, png or pnm.");
}

PictureFormat formatOfFile(const std::string& path, ColorMode mode) {
  const std::string extension = extensionOf(path);
  if (extension == "tiff" || extension == "tif") return PictureFormat::tiff;
  if (extension == "png") return PictureFormat::png;
  if (extension == "pnm") return PictureFormat::pnm;
  if (extension == "ppm" && mode == ColorMode::gray) {
    throw UsageError(path + ": a .ppm file holds colour. Name it .pgm, or scan with --mode color.");
  }
  if (extension == "pgm" && mode == ColorMode::color) {
    throw UsageError(path + ": a .pgm file holds grey. Name it .ppm, or scan with --mode gray.");
  }
  if (extension == "ppm" || extension == "pgm") return PictureFormat::pnm;
  throw UsageError(path +
                   ": the name does not tell the picture's format. Let it end in .tiff, .png or .pnm, or add "
                   "--format tiff, png or pnm.");
}

}  // namespace frontend
