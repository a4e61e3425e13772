#include <png.h>

#include "ImageFile.h"
#include "Paper.h"

namespace virtualscanner {
namespace {

// Frees libpng's buffers on every exit path.
struct PngImage : png_image {
  PngImage() : png_image{} { version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(this); }
  PngImage(const PngImage&) = delete;
  PngImage& operator=(const PngImage&) = delete;
};

}  // namespace

Image readPng(std::FILE* file, const std::string& path) {
  PngImage png;
  if (png_image_begin_read_from_stdio(&png, file) == 0) throw PaperError(path + ": " + png.message);
  checkImageSize(png.width, png.height, path);
  png.format = PNG_FORMAT_RGB;
  Image image{png.width, png.height, std::vector<std::uint8_t>(PNG_IMAGE_SIZE(png))};
  const png_color background{255, 255, 255};
  if (png_image_finish_read(&png, &background, image.rgb.data(), 0, nullptr) == 0) {
    throw PaperError(path + ": " + png.message);
  }
  return image;
}

}  // namespace virtualscanner
