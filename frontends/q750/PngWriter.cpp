#include <png.h>

#include <cmath>
#include <csetjmp>

#include "PictureWriter.h"

namespace frontend {
namespace {

constexpr double inchesPerMetre = 1 / 0.0254;
// Best for scans by measure: higher levels take twice the time for a few percent.
constexpr int compressionLevel = 4;

void writeBytes(png_structp png, png_bytep bytes, std::size_t count) {
  if (!static_cast<ByteSink*>(png_get_io_ptr(png))->write(bytes, count)) png_error(png, "write failed");
}

void flushNothing(png_structp /*png*/) {}

[[noreturn]] void noteError(png_structp png, png_const_charp message) {
  static_cast<ByteSink*>(png_get_error_ptr(png))->fail(message);
  png_longjmp(png, 1);
}

void dropWarning(png_structp /*png*/, png_const_charp /*message*/) {}

void setHeader(png_structp png, png_infop info, const Raster& raster, const PictureNotes& notes) {
  const int color = raster.bytesPerPixel == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(png, info, raster.width, raster.height, 8, color, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  const auto perMetre = static_cast<png_uint_32>(std::lround(notes.resolution * inchesPerMetre));
  png_set_pHYs(png, info, perMetre, perMetre, PNG_RESOLUTION_METER);
  png_text text{};
  text.compression = PNG_TEXT_COMPRESSION_NONE;
  text.key = const_cast<char*>("Software");
  text.text = const_cast<char*>(notes.software.c_str());
  png_set_text(png, info, &text, 1);
  png_set_compression_level(png, compressionLevel);
}

// The library leaves by longjmp: nothing here may need a destructor.
void writeRows(png_structp png, png_infop info, ByteSink& sink, const Raster& raster,
               const PictureNotes& notes) {
  if (setjmp(png_jmpbuf(png)) != 0) return;
  setHeader(png, info, raster, notes);
  png_write_info(png, info);
  for (std::uint32_t row = 0; row < raster.height && sink.good(); ++row) png_write_row(png, raster.row(row));
  if (sink.good()) png_write_end(png, info);
}

}  // namespace

void writePng(ByteSink& sink, const Raster& raster, const PictureNotes& notes) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, noteError, dropWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  if (info == nullptr) {
    sink.fail("the PNG library gave up");
  } else {
    png_set_write_fn(png, &sink, writeBytes, flushNothing);
    writeRows(png, info, sink, raster, notes);
  }
  png_destroy_write_struct(&png, &info);
}

}  // namespace frontend
