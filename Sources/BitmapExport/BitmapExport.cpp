#include "BitmapExport.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ExportEnvironment.h"
#include "ImageToolkit.h"

namespace {

using platform::noErr;

// Bounds of an off-screen image are signed 16-bit numbers.
constexpr std::int32_t largestSize = 32767;

constexpr std::int32_t noImage = -1;
enum FailedStep : std::int32_t { opening = 1, input, depth, output, resolution, exporting };

struct Layout {
  std::uint32_t space;
  std::int16_t imageDepth;   // bits per pixel off screen
  std::int16_t colorTable;   // 0: none
  std::int32_t exportDepth;  // as the exporter counts
};

constexpr Layout layouts[] = {
    {bitmapSpaceRGB24, 32, 0, 24},
    {bitmapSpaceGrey8, 8, platform::greyTable8, 40},
    {bitmapSpaceOneBit, 1, 0, 33},
};

const Layout* layoutOf(std::uint32_t space) {
  for (const Layout& layout : layouts)
    if (layout.space == space) return &layout;
  return nullptr;
}

std::int32_t packedOneBitRow(const CMBitmap& bitmap) {
  return (bitmap.width + 7) / 8;
}

bool isInRange(const CMBitmap& bitmap) {
  return bitmap.width >= 1 && bitmap.width <= largestSize && bitmap.height >= 1 &&
         bitmap.height <= largestSize &&
         (bitmap.space != bitmapSpaceOneBit || bitmap.rowBytes >= packedOneBitRow(bitmap));
}

// The two bits above the lower 14 of a row length are flags, unless the row length needs more than 14 bits.
std::size_t strideOf(std::uint32_t rowBytes, std::size_t needed) {
  const std::uint32_t withoutFlags = rowBytes & 0x3FFF;
  return withoutFlags >= needed ? withoutFlags : rowBytes;
}

void stageColor(const unsigned char* source, const CMBitmap& bitmap, std::uint8_t* base, std::size_t stride) {
  for (std::int32_t row = 0; row < bitmap.height; ++row) {
    std::uint8_t* to = base + static_cast<std::size_t>(row) * stride;
    for (std::int32_t column = 0; column < bitmap.width; ++column, source += 3, to += 4) {
      to[0] = 0;  // the unused first byte of a 32-bit pixel
      std::memcpy(to + 1, source, 3);
    }
  }
}

void stageRows(const unsigned char* source, std::size_t sourceStride, std::size_t copied, std::int32_t height,
               std::uint8_t* base, std::size_t stride) {
  for (std::size_t row = 0; row < static_cast<std::size_t>(height); ++row)
    std::memcpy(base + row * stride, source + row * sourceStride, copied);
}

void stage(const unsigned char* source, const CMBitmap& bitmap, std::uint8_t* base, std::uint32_t rowBytes) {
  const auto width = static_cast<std::size_t>(bitmap.width);
  if (bitmap.space == bitmapSpaceRGB24) {
    stageColor(source, bitmap, base, rowBytes);
  } else if (bitmap.space == bitmapSpaceGrey8) {
    stageRows(source, width, width, bitmap.height, base, strideOf(rowBytes, width));
  } else {
    const auto sourceStride = static_cast<std::size_t>(bitmap.rowBytes);
    const std::size_t stride = strideOf(rowBytes, static_cast<std::size_t>(packedOneBitRow(bitmap)));
    stageRows(source, sourceStride, std::min(sourceStride, stride), bitmap.height, base, stride);
  }
}

// One conversion: releases everything it obtains from the toolkit on every path, except the export component.
class Conversion {
 public:
  explicit Conversion(platform::ImageToolkit& toolkit)
      : toolkit_(toolkit), exported_(toolkit.newHandle(0)), saved_(toolkit.getGWorld()) {}
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;
  ~Conversion() {
    toolkit_.setGWorld(saved_);
    if (exported_ != nullptr) toolkit_.disposeHandle(exported_);
    if (image_ != nullptr) toolkit_.disposeGWorld(image_);
  }

  // Allocates the off-screen image and copies the pixels into it.
  std::int32_t stageImage(const unsigned char* pixels, const CMBitmap& bitmap, const Layout& layout) {
    const platform::Rect bounds{.top = 0,
                                .left = 0,
                                .bottom = static_cast<std::int16_t>(bitmap.height),
                                .right = static_cast<std::int16_t>(bitmap.width)};
    const platform::ColorTable* colors =
        layout.colorTable == 0 ? nullptr : toolkit_.getCTable(layout.colorTable);
    const platform::OSErr error = toolkit_.newGWorld(&image_, layout.imageDepth, bounds, colors);
    if (error != noErr) return error;
    if (image_ == nullptr || !image_->lockPixels()) return noImage;
    std::uint8_t* base = image_->getPixBaseAddr();
    stage(pixels, bitmap, base, image_->getPixRowBytes());
    image_->unlockPixels();
    return noErr;
  }

  // The number of the step that failed, or 0.
  std::int32_t exportImage(std::int32_t exportDepth, std::uint32_t horizontal, std::uint32_t vertical) {
    toolkit_.setPort(image_);
    component_ = toolkit_.openADefaultComponent(platform::kGraphicsExporterType, platform::kTIFFFileType);
    if (component_ == nullptr) return opening;
    // From here on, a failure leaves the component open permanently, by design: only a successful conversion
    // closes it.
    if (component_->setInputGWorld(image_) != noErr) return input;
    if (component_->setDepth(exportDepth) != noErr) return depth;
    if (component_->setOutputHandle(exported_) != noErr) return output;
    if (component_->setResolution(platform::long2Fix(horizontal), platform::long2Fix(vertical)) != noErr)
      return resolution;
    return component_->doExport() == noErr ? 0 : exporting;
  }

  // Replaces the caller's block by one with the exported file. The old one is freed first: it is lost if
  // there is no memory for the new one.
  std::int32_t handOver(unsigned char** tiff, std::uint32_t* length) {
    std::free(*tiff);
    *tiff = nullptr;
    const std::size_t size = exported_->bytes.size();
    void* block = exportEnvironment().allocateZeroed(std::max<std::size_t>(size, 1), 1);
    if (block == nullptr) return platform::memFullErr;
    if (size > 0) std::memcpy(block, exported_->bytes.data(), size);
    *tiff = static_cast<unsigned char*>(block);
    *length = static_cast<std::uint32_t>(size);
    toolkit_.closeComponent(component_);
    return noErr;
  }

 private:
  platform::ImageToolkit& toolkit_;
  platform::Handle exported_;
  platform::CurrentPort saved_;
  platform::GWorld* image_ = nullptr;
  platform::GraphicsExport* component_ = nullptr;
};

}  // namespace

std::int32_t ConvertCMBitmapToTIFF(const unsigned char* pixels, const CMBitmap* bitmap, unsigned char** tiff,
                                   std::uint32_t* length, ScanningParamBlock* /*parameters*/,
                                   std::uint32_t horizontalResolution, std::uint32_t verticalResolution) {
  if (pixels == nullptr || bitmap == nullptr || tiff == nullptr || length == nullptr)
    return platform::paramErr;
  Conversion conversion(platform::imageToolkit());
  const Layout* layout = layoutOf(bitmap->space);
  if (layout == nullptr) return platform::paramErr;
  if (!isInRange(*bitmap)) return noImage;

  std::int32_t result = conversion.stageImage(pixels, *bitmap, *layout);
  if (result == noErr)
    result = conversion.exportImage(layout->exportDepth, horizontalResolution, verticalResolution);
  if (result == noErr) result = conversion.handOver(tiff, length);
  return result;
}
