#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <vector>

#include "PictureWriter.h"

namespace frontend {
namespace {

// As for PNG. LZW would make a noisy scan larger than no compression does.
constexpr int compressionLevel = 4;

ByteSink& sinkOf(thandle_t handle) {
  return *static_cast<ByteSink*>(handle);
}

// Readers cannot be served: the writer never reads back.
tmsize_t readNothing(thandle_t /*handle*/, void* /*bytes*/, tmsize_t /*count*/) {
  return 0;
}

tmsize_t writeBytes(thandle_t handle, void* bytes, tmsize_t count) {
  return sinkOf(handle).write(bytes, static_cast<std::size_t>(count)) ? count : -1;
}

toff_t seekTo(thandle_t handle, toff_t offset, int whence) {
  ByteSink& sink = sinkOf(handle);
  if (whence == SEEK_CUR) offset += sink.position();
  if (whence == SEEK_END) offset += sink.size();
  return sink.seek(offset) ? offset : static_cast<toff_t>(-1);
}

int closeNothing(thandle_t /*handle*/) {
  return 0;
}

toff_t sizeOf(thandle_t handle) {
  return sinkOf(handle).size();
}

int noteError(TIFF* /*tiff*/, void* user, const char* /*module*/, const char* format, va_list arguments) {
  char text[200];
  std::vsnprintf(text, sizeof text, format, arguments);
  static_cast<ByteSink*>(user)->fail(text);
  return 1;
}

int dropWarning(TIFF* /*tiff*/, void* /*user*/, const char* /*module*/, const char* /*format*/,
                va_list /*arguments*/) {
  return 1;
}

// Large enough to compress well, small enough that a reader needs little at a time.
std::uint32_t rowsPerStrip(const Raster& raster) {
  constexpr std::size_t stripBytes = 256 * 1024;
  return static_cast<std::uint32_t>(std::max<std::size_t>(stripBytes / raster.rowBytes(), 1));
}

using TiffHandle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffHandle openTiff(ByteSink& sink) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                 TIFFOpenOptionsFree);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, &sink);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, nullptr);
  // Little-endian wherever it runs: the same picture is the same file.
  return {TIFFClientOpenExt("picture", "wl", &sink, readNothing, writeBytes, seekTo, closeNothing, sizeOf,
                            nullptr, nullptr, options.get()),
          TIFFClose};
}

void setTags(TIFF* tiff, const Raster& raster, const PictureNotes& notes) {
  const bool color = raster.bytesPerPixel == 3;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, raster.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, raster.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, raster.bytesPerPixel);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, color ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, compressionLevel);
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip(raster));
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(notes.resolution));
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(notes.resolution));
  TIFFSetField(tiff, TIFFTAG_MAKE, "Quenvar");
  TIFFSetField(tiff, TIFFTAG_MODEL, "Q750");
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, notes.software.c_str());
}

}  // namespace

void writeTiff(ByteSink& sink, const Raster& raster, const PictureNotes& notes) {
  const TiffHandle tiff = openTiff(sink);
  if (tiff == nullptr) return sink.fail("the TIFF library gave up");
  setTags(tiff.get(), raster, notes);
  // The library changes the row that it is given while it takes differences.
  std::vector<std::uint8_t> row(raster.rowBytes());
  for (std::uint32_t index = 0; index < raster.height && sink.good(); ++index) {
    row.assign(raster.row(index), raster.row(index) + raster.rowBytes());
    if (TIFFWriteScanline(tiff.get(), row.data(), index, 0) != 1) sink.fail("the TIFF library gave up");
  }
  // Closing writes what is left but tells no failure.
  if (sink.good() && TIFFFlush(tiff.get()) != 1) sink.fail("the TIFF library gave up");
}

}  // namespace frontend
