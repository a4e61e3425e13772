#include "Bitmap.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "Log.h"
#include "RasterRows.h"
#include "TemporaryFile.h"
#include "TiffStream.h"

namespace platform {
namespace {

// Rows are gathered into strips of about this size: few enough to cost nothing, small enough for any reader.
constexpr std::uint64_t stripSize = 262144;

// Below what the TIFF library moves in one call on a 32-bit machine.
constexpr std::uint64_t largestPiece = std::uint64_t{1} << 30;

// Offsets in a TIFF 6.0 file are 32 bits wide.
constexpr std::uint64_t largestFile = 0xFFFFFFFF;
// More than everything takes that is neither pixels nor an array with an entry per strip.
constexpr std::uint64_t fixedOverhead = 1024;
// An offset and a byte count.
constexpr std::uint64_t overheadPerStrip = 8;

// Big-endian on every machine, so that all write the same bytes.
constexpr char bigEndianForWriting[] = "wb";

std::optional<std::uint16_t> photometricOf(const Bitmap& bitmap) {
  struct Space {
    const char* name;
    std::uint32_t samplesPerPixel;
    std::uint16_t photometric;
  };
  static constexpr std::array<Space, 3> spaces{{
      {kNSDeviceBlackColorSpace, 1, PHOTOMETRIC_MINISWHITE},
      {kNSDeviceWhiteColorSpace, 1, PHOTOMETRIC_MINISBLACK},
      {kNSDeviceRGBColorSpace, 3, PHOTOMETRIC_RGB},
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

struct Layout {
  std::uint16_t photometric;
  std::uint32_t rowsPerStrip;
};

// Nothing for what a TIFF file cannot hold, so that no byte is written of one that could not be finished.
std::optional<Layout> layoutOf(const Bitmap& bitmap, const RasterRows& rows) {
  const std::optional<std::uint16_t> photometric = photometricOf(bitmap);
  if (!photometric || (bitmap.bitsPerSample != 1 && bitmap.bitsPerSample != 8)) return std::nullopt;
  if (bitmap.width == 0 || bitmap.height == 0) return std::nullopt;
  if (rows.bytesPerRow() > largestFile / bitmap.height) return std::nullopt;

  const std::uint64_t rowsPerStrip =
      std::clamp<std::uint64_t>(stripSize / rows.bytesPerRow(), 1, bitmap.height);
  const std::uint64_t strips = (bitmap.height + rowsPerStrip - 1) / rowsPerStrip;
  const std::uint64_t overhead = fixedOverhead + strips * overheadPerStrip;
  if (rows.bytesPerRow() * bitmap.height + overhead > largestFile) return std::nullopt;
  return Layout{*photometric, static_cast<std::uint32_t>(rowsPerStrip)};
}

TiffStream& streamOf(thandle_t handle) {
  return *static_cast<TiffStream*>(handle);
}

// A file that is opened for writing alone is never read back.
tmsize_t readNothing(thandle_t /*handle*/, void* /*bytes*/, tmsize_t /*count*/) {
  return 0;
}

tmsize_t writeStream(thandle_t handle, void* bytes, tmsize_t count) {
  if (count < 0) return 0;
  return static_cast<tmsize_t>(
      streamOf(handle).write(static_cast<const std::uint8_t*>(bytes), static_cast<std::size_t>(count)));
}

toff_t seekStream(thandle_t handle, toff_t offset, int whence) {
  TiffStream& stream = streamOf(handle);
  // A step back arrives as a huge unsigned offset, which wraps to the right place.
  if (whence == SEEK_CUR) offset += stream.position();
  if (whence == SEEK_END) offset += stream.size();
  stream.seek(offset);
  return offset;
}

int closeStream(thandle_t /*handle*/) {
  return 0;
}

toff_t sizeOfStream(thandle_t handle) {
  return streamOf(handle).size();
}

int logMessage(TIFF* /*tiff*/, void* /*userData*/, const char* module, const char* format,
               va_list arguments) {
  std::array<char, 1024> text{};
  static_cast<void>(std::vsnprintf(text.data(), text.size(), format, arguments));
  logFormat("%s: %s", module == nullptr ? "TIFF" : module, text.data());
  constexpr int handled = 1;
  return handled;
}

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

// The messages of this one handle go to the log; what the rest of the process set up for its own stays.
TiffHandle openTiff(TiffStream& stream, const std::string& name) {
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             TIFFOpenOptionsFree);
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), logMessage, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), logMessage, nullptr);
  return TiffHandle(TIFFClientOpenExt(name.c_str(), bigEndianForWriting, &stream, readNothing, writeStream,
                                      seekStream, closeStream, sizeOfStream, nullptr, nullptr,
                                      options.get()));
}

bool setTags(TIFF* tiff, const Bitmap& bitmap, const Layout& layout) {
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width) == 1 &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height) == 1 &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bitmap.bitsPerSample) == 1 &&
         TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, bitmap.samplesPerPixel) == 1 &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, layout.rowsPerStrip) == 1;
}

// Raw strips: the library writes the caller's own memory, neither copied nor changed.
bool appendToStrip(TIFF* tiff, std::uint32_t strip, const RasterRows::Piece& piece) {
  if (piece.bytes != nullptr) {
    const auto count = static_cast<tmsize_t>(piece.count);
    return TIFFWriteRawStrip(tiff, strip, const_cast<std::uint8_t*>(piece.bytes), count) == count;
  }
  for (std::uint64_t left = piece.count; left > 0;) {
    const std::uint64_t portion = std::min<std::uint64_t>(left, TiffStream::zerosSize);
    const auto count = static_cast<tmsize_t>(portion);
    if (TIFFWriteRawStrip(tiff, strip, const_cast<std::uint8_t*>(TiffStream::zeros()), count) != count)
      return false;
    left -= portion;
  }
  return true;
}

bool writeStrips(TIFF* tiff, const RasterRows& rows, std::uint32_t height, std::uint32_t rowsPerStrip) {
  const std::uint64_t picture = rows.bytesPerRow() * height;
  const std::uint64_t wholeStrip = rows.bytesPerRow() * rowsPerStrip;
  for (std::uint64_t offset = 0; offset < picture;) {
    const std::uint64_t strip = offset / wholeStrip;
    const std::uint64_t stripEnd = std::min(picture, (strip + 1) * wholeStrip);
    const RasterRows::Piece piece =
        rows.at(static_cast<std::uint32_t>(offset / rows.bytesPerRow()), offset % rows.bytesPerRow(),
                std::min(stripEnd - offset, largestPiece));
    if (!appendToStrip(tiff, static_cast<std::uint32_t>(strip), piece)) return false;
    offset += piece.count;
  }
  return true;
}

bool writeInto(TemporaryFile& file, const std::string& name, const Bitmap& bitmap, const RasterRows& rows,
               const Layout& layout) {
  TiffStream stream(file);
  {
    const TiffHandle tiff = openTiff(stream, name);
    if (!tiff || !setTags(tiff.get(), bitmap, layout) ||
        !writeStrips(tiff.get(), rows, bitmap.height, layout.rowsPerStrip) ||
        TIFFWriteDirectory(tiff.get()) != 1) {
      return false;
    }
  }
  return stream.finish();
}

}  // namespace

bool writeTIFF(const Bitmap& bitmap, const std::string& path) try {
  const RasterRows rows(bitmap);
  const std::optional<Layout> layout = layoutOf(bitmap, rows);
  if (!layout) return false;
  TemporaryFile file(path);
  return file.isOpen() && writeInto(file, path, bitmap, rows, *layout) && file.replaceTarget();
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace platform
