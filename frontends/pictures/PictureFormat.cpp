#include "PictureFormat.h"

#include <algorithm>

#include "FileName.h"

namespace frontend {
namespace {

struct Extension {
  std::string_view name;
  FileType type;
};

// The extensions that are not the name of a format. Programs that open a .pgm expect gray, whatever the file
// contains: the three extensions of PNM stand for one mode each, and only .pnm for all of them.
constexpr Extension otherExtensions[] = {
    {"tif", {PictureFormat::tiff, std::nullopt}},
    {"ppm", {PictureFormat::pnm, PictureMode::color}},
    {"pgm", {PictureFormat::pnm, PictureMode::gray}},
    {"pbm", {PictureFormat::pnm, PictureMode::lineart}},
};

}  // namespace

std::optional<PictureFormat> formatNamed(std::string_view name) {
  if (name == "jpg") return PictureFormat::jpeg;
  const auto found = std::find(pictureFormatNames.begin(), pictureFormatNames.end(), name);
  if (found == pictureFormatNames.end()) return std::nullopt;
  return static_cast<PictureFormat>(found - pictureFormatNames.begin());
}

std::optional<FileType> fileTypeOf(const std::string& path) {
  const std::string extension = extensionOf(path);
  if (const auto format = formatNamed(extension)) return FileType{*format, std::nullopt};
  for (const Extension& other : otherExtensions) {
    if (other.name == extension) return other.type;
  }
  return std::nullopt;
}

std::string_view pnmExtensionFor(PictureMode mode) {
  for (const Extension& other : otherExtensions) {
    if (other.type.mode == mode) return other.name;
  }
  return "pnm";
}

bool holdsPages(PictureFormat format) {
  return format == PictureFormat::tiff || format == PictureFormat::pdf;
}

}  // namespace frontend
