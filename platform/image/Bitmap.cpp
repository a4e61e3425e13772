#include "Bitmap.h"

#include <array>
#include <cstring>
#include <new>
#include <optional>

#include "RasterRows.h"
#include "TemporaryFile.h"
#include "TiffEncoder.h"
#include "TiffStream.h"

namespace platform {
namespace {

std::optional<Photometric> photometricOf(const Bitmap& bitmap) {
  struct Space {
    const char* name;
    std::uint32_t samplesPerPixel;
    Photometric photometric;
  };
  static constexpr std::array<Space, 3> spaces{{
      {kNSDeviceBlackColorSpace, 1, Photometric::whiteIsZero},
      {kNSDeviceWhiteColorSpace, 1, Photometric::blackIsZero},
      {kNSDeviceRGBColorSpace, 3, Photometric::rgb},
  }};
  if (bitmap.colorSpaceName == nullptr) return std::nullopt;
  for (const Space& space : spaces) {
    if (std::strcmp(bitmap.colorSpaceName, space.name) == 0 &&
        bitmap.samplesPerPixel == space.samplesPerPixel) {
      return space.photometric;
    }
  }
  return std::nullopt;
}

}  // namespace

bool writeTIFF(const Bitmap& bitmap, const std::string& path) try {
  const std::optional<Photometric> photometric = photometricOf(bitmap);
  if (!photometric) return false;
  const TiffPicture picture{.width = bitmap.width,
                            .height = bitmap.height,
                            .bitsPerSample = bitmap.bitsPerSample,
                            .samplesPerPixel = bitmap.samplesPerPixel,
                            .photometric = *photometric,
                            .resolution = std::nullopt};
  // A file that could not be completed is not begun.
  if (!tiffSizeBound(picture)) return false;
  TemporaryFile file(path);
  if (!file.isOpen()) return false;
  TiffStream stream(file);
  RasterRows rows(bitmap);
  return encodeTIFF(picture, rows, stream, path) && file.replaceTarget();
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace platform
