#include "LibtiffImageToolkit.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "Bitmap.h"
#include "OffscreenImage.h"
#include "RasterRows.h"
#include "RgbRows.h"
#include "TiffEncoder.h"
#include "TiffStream.h"

namespace platform {
namespace {

// The three kinds of images that there are, and what each becomes in a file. The polarity is that of the
// rasters that the library delivers: in grey images 0 is black, in 1-bit images 1 is.
struct ImageKind {
  std::uint32_t depth;
  std::int32_t exportDepth;
  std::uint32_t bitsPerSample;
  std::uint32_t samplesPerPixel;
  Photometric photometric;
};

constexpr ImageKind imageKinds[] = {
    {32, 24, 8, 3, Photometric::rgb},
    {8, 40, 8, 1, Photometric::blackIsZero},
    {1, 33, 1, 1, Photometric::whiteIsZero},
};

const ImageKind* kindOfDepth(std::int32_t depth) {
  for (const ImageKind& kind : imageKinds)
    if (static_cast<std::int32_t>(kind.depth) == depth) return &kind;
  return nullptr;
}

const ImageKind* kindOfExportDepth(std::int32_t depth) {
  for (const ImageKind& kind : imageKinds)
    if (kind.exportDepth == depth) return &kind;
  return nullptr;
}

TiffPicture pictureOf(const ImageKind& kind, std::uint32_t width, std::uint32_t height) {
  return {.width = width,
          .height = height,
          .bitsPerSample = kind.bitsPerSample,
          .samplesPerPixel = kind.samplesPerPixel,
          .photometric = kind.photometric,
          .resolution = std::nullopt};
}

// Puts bytes into a vector without growing its capacity, which is the bound of the file's size.
bool putAt(std::vector<std::uint8_t>& content, std::uint64_t offset, const std::uint8_t* bytes,
           std::size_t count) {
  if (offset > content.capacity() || count > content.capacity() - offset) return false;
  const auto start = static_cast<std::size_t>(offset);
  if (start > content.size()) content.resize(start);
  const std::size_t over = std::min(count, content.size() - start);
  if (over > 0) std::memcpy(content.data() + start, bytes, over);
  content.insert(content.end(), bytes + over, bytes + count);
  return true;
}

bool writeRows(const TiffPicture& picture, PixelRows& rows, std::vector<std::uint8_t>& content) {
  TiffStream stream([&content](std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
    return putAt(content, offset, bytes, count);
  });
  return encodeTIFF(picture, rows, stream, "exported image");
}

bool writeImage(const TiffPicture& picture, const OffscreenImage& image, std::vector<std::uint8_t>& content) {
  if (image.depth() == 32) {
    RgbRows rows(image);
    return writeRows(picture, rows, content);
  }
  const Bitmap bitmap{.pixels = image.pixels(),
                      .pixelBytes = std::size_t{image.rowBytes()} * image.height(),
                      .width = image.width(),
                      .height = image.height(),
                      .bitsPerSample = picture.bitsPerSample,
                      .samplesPerPixel = picture.samplesPerPixel,
                      .bytesPerRow = image.rowBytes(),
                      .colorSpaceName = nullptr};
  RasterRows rows(bitmap);
  return writeRows(picture, rows, content);
}

class TiffExport final : public GraphicsExport {
 public:
  OSErr setInputGWorld(GWorld* image) override {
    image_ = static_cast<OffscreenImage*>(image);
    return image == nullptr ? paramErr : noErr;
  }
  OSErr setDepth(std::int32_t depth) override {
    kind_ = kindOfExportDepth(depth);
    return kind_ == nullptr ? paramErr : noErr;
  }
  OSErr setOutputHandle(Handle handle) override {
    handle_ = handle;
    return handle == nullptr ? paramErr : noErr;
  }
  OSErr setResolution(Fixed horizontal, Fixed vertical) override {
    if (horizontal < 0 || vertical < 0) return paramErr;
    resolution_.reset();
    // Readers would divide by a resolution of 0; without the tags they treat it as unknown.
    if (horizontal > 0 && vertical > 0) resolution_ = {dotsPerInch(horizontal), dotsPerInch(vertical)};
    return noErr;
  }
  OSErr doExport() override {
    if (image_ == nullptr || handle_ == nullptr || kind_ == nullptr || kind_->depth != image_->depth())
      return paramErr;
    TiffPicture picture = pictureOf(*kind_, image_->width(), image_->height());
    picture.resolution = resolution_;
    return exportAs(picture);
  }

 private:
  static double dotsPerInch(Fixed resolution) { return resolution / 65536.0; }

  OSErr exportAs(const TiffPicture& picture) try {
    const std::optional<std::uint64_t> bound = tiffSizeBound(picture);
    std::vector<std::uint8_t>& content = handle_->bytes;
    content.clear();
    if (!bound || *bound > content.max_size()) return memFullErr;
    content.reserve(static_cast<std::size_t>(*bound));
    return writeImage(picture, *image_, content) ? noErr : memFullErr;
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }

  OffscreenImage* image_ = nullptr;
  const ImageKind* kind_ = nullptr;
  Handle handle_ = nullptr;
  std::optional<TiffResolution> resolution_;
};

constexpr ColorTable greys{greyTable8};

thread_local CurrentPort currentPort{nullptr, 0};

}  // namespace

Handle LibtiffImageToolkit::newHandle(std::size_t size) try {
  return new RelocatableBlock{std::vector<std::uint8_t>(size)};
} catch (const std::bad_alloc&) {
  return nullptr;
}

void LibtiffImageToolkit::disposeHandle(Handle handle) {
  delete handle;
}

CurrentPort LibtiffImageToolkit::getGWorld() {
  return currentPort;
}

void LibtiffImageToolkit::setGWorld(const CurrentPort& port) {
  currentPort = port;
}

void LibtiffImageToolkit::setPort(GWorld* port) {
  currentPort.port = port;
}

const ColorTable* LibtiffImageToolkit::getCTable(std::int16_t id) {
  return id == greyTable8 ? &greys : nullptr;
}

OSErr LibtiffImageToolkit::newGWorld(GWorld** image, std::int16_t depth, const Rect& bounds,
                                     const ColorTable* colors) {
  *image = nullptr;
  const ImageKind* kind = kindOfDepth(depth);
  if (kind == nullptr) return cDepthErr;
  if (bounds.right <= bounds.left || bounds.bottom <= bounds.top) return paramErr;
  if (depth == 8 && (colors == nullptr || colors->id != greyTable8)) return paramErr;

  const auto width = static_cast<std::uint32_t>(bounds.right - bounds.left);
  const auto height = static_cast<std::uint32_t>(bounds.bottom - bounds.top);
  const std::uint64_t size = std::uint64_t{OffscreenImage::rowBytesOf(kind->depth, width)} * height;
  if (!tiffSizeBound(pictureOf(*kind, width, height)) || size > std::numeric_limits<std::size_t>::max())
    return memFullErr;
  OffscreenImage::Pixels pixels(
      static_cast<std::uint8_t*>(allocateZeroed_(static_cast<std::size_t>(size), 1)));
  if (!pixels) return memFullErr;
  *image = new (std::nothrow) OffscreenImage(kind->depth, width, height, std::move(pixels));
  return *image == nullptr ? memFullErr : noErr;
}

void LibtiffImageToolkit::disposeGWorld(GWorld* image) {
  delete static_cast<OffscreenImage*>(image);
}

GraphicsExport* LibtiffImageToolkit::openADefaultComponent(OSType type, OSType subtype) {
  if (type != kGraphicsExporterType || subtype != kTIFFFileType) return nullptr;
  return new (std::nothrow) TiffExport();
}

void LibtiffImageToolkit::closeComponent(GraphicsExport* component) {
  delete static_cast<TiffExport*>(component);
}

}  // namespace platform
