#include "TiffEncoder.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>

#include "Log.h"

namespace platform {
namespace {

// Rows are gathered into strips of about this size: few enough to cost nothing, small enough for any reader.
constexpr std::uint64_t stripSize = 262144;

// Less than the TIFF library moves in one call on a 32-bit machine.
constexpr std::uint64_t largestPiece = std::uint64_t{1} << 30;

// Offsets in a TIFF 6.0 file are 32 bits wide.
constexpr std::uint64_t largestFile = 0xFFFFFFFF;
// More than the header, the directory and its values take, without the two arrays that have an
// entry per strip.
constexpr std::uint64_t fixedOverhead = 1024;
// An offset and a byte count.
constexpr std::uint64_t overheadPerStrip = 8;

// Big-endian on every machine, so that all write the same bytes.
constexpr char bigEndianForWriting[] = "wb";

std::uint64_t bytesPerRowOf(const TiffPicture& picture) {
  return packedRowBytes(picture.width, picture.samplesPerPixel, picture.bitsPerSample);
}

// Of a picture that tiffSizeBound() accepts.
std::uint32_t rowsPerStripOf(const TiffPicture& picture) {
  return static_cast<std::uint32_t>(
      std::clamp<std::uint64_t>(stripSize / bytesPerRowOf(picture), 1, picture.height));
}

TiffStream& streamOf(thandle_t handle) {
  return *static_cast<TiffStream*>(handle);
}

// A file that is opened for writing only is never read.
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

// The messages of this one handle go to the log; handlers that the rest of the process installed
// are left alone.
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

bool setTags(TIFF* tiff, const TiffPicture& picture) {
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width) == 1 &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height) == 1 &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, picture.bitsPerSample) == 1 &&
         TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.samplesPerPixel) == 1 &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, static_cast<std::uint16_t>(picture.photometric)) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStripOf(picture)) == 1;
}

bool setResolution(TIFF* tiff, const std::optional<TiffResolution>& resolution) {
  if (!resolution) return true;
  return TIFFSetField(tiff, TIFFTAG_XRESOLUTION, resolution->horizontal) == 1 &&
         TIFFSetField(tiff, TIFFTAG_YRESOLUTION, resolution->vertical) == 1 &&
         TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1;
}

// Raw strips: the library writes the caller's own memory, neither copied nor changed.
bool appendToStrip(TIFF* tiff, std::uint32_t strip, const PixelRows::Piece& piece) {
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

bool writeStrips(TIFF* tiff, PixelRows& rows, std::uint32_t height, std::uint32_t rowsPerStrip) {
  const std::uint64_t picture = rows.bytesPerRow() * height;
  const std::uint64_t wholeStrip = rows.bytesPerRow() * rowsPerStrip;
  for (std::uint64_t offset = 0; offset < picture;) {
    const std::uint64_t strip = offset / wholeStrip;
    const std::uint64_t stripEnd = std::min(picture, (strip + 1) * wholeStrip);
    const PixelRows::Piece piece =
        rows.at(static_cast<std::uint32_t>(offset / rows.bytesPerRow()), offset % rows.bytesPerRow(),
                std::min(stripEnd - offset, largestPiece));
    if (!appendToStrip(tiff, static_cast<std::uint32_t>(strip), piece)) return false;
    offset += piece.count;
  }
  return true;
}

}  // namespace

std::optional<std::uint64_t> tiffSizeBound(const TiffPicture& picture) {
  if (picture.bitsPerSample != 1 && picture.bitsPerSample != 8) return std::nullopt;
  if (picture.width == 0 || picture.height == 0 || picture.samplesPerPixel == 0) return std::nullopt;
  const std::uint64_t bytesPerRow = bytesPerRowOf(picture);
  if (bytesPerRow > largestFile / picture.height) return std::nullopt;

  const std::uint64_t rowsPerStrip = rowsPerStripOf(picture);
  const std::uint64_t strips = (picture.height + rowsPerStrip - 1) / rowsPerStrip;
  const std::uint64_t size = bytesPerRow * picture.height + fixedOverhead + strips * overheadPerStrip;
  if (size > largestFile) return std::nullopt;
  return size;
}

bool encodeTIFF(const TiffPicture& picture, PixelRows& rows, TiffStream& stream, const std::string& name) {
  {
    const TiffHandle tiff = openTiff(stream, name);
    if (!tiff || !setTags(tiff.get(), picture) || !setResolution(tiff.get(), picture.resolution) ||
        !writeStrips(tiff.get(), rows, picture.height, rowsPerStripOf(picture)) ||
        TIFFWriteDirectory(tiff.get()) != 1) {
      return false;
    }
  }
  return stream.finish();
}

}  // namespace platform
