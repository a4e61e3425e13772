#include <png.h>

#include <cmath>
#include <csetjmp>

#include "PictureWriter.h"

namespace frontend {
namespace {

constexpr double inchesPerMetre = 1 / 0.0254;
constexpr png_fixed_point gamma22 = 45455;  // 1 / 2.2
// Measured on scans: higher levels take twice the time for a few percent.
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

void setHeader(png_structp png, png_infop info, const PictureLayout& layout,
               const PictureSettings& settings) {
  const int color = layout.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(png, info, layout.width, layout.height, static_cast<int>(layout.bitsPerChannel), color,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  const auto perMetre = static_cast<png_uint_32>(std::lround(layout.resolution * inchesPerMetre));
  png_set_pHYs(png, info, perMetre, perMetre, PNG_RESOLUTION_METER);
  // Gray has no primaries for sRGB to name: its tone curve says it all, the same as in the profile of the
  // other formats. Black and white need neither.
  if (layout.channels == 3) png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
  if (layout.channels == 1 && layout.bitsPerChannel == 8) png_set_gAMA_fixed(png, info, gamma22);
  png_text text{};
  text.compression = PNG_TEXT_COMPRESSION_NONE;
  text.key = const_cast<char*>("Software");
  text.text = const_cast<char*>(settings.software.c_str());
  png_set_text(png, info, &text, 1);
  png_set_compression_level(png, compressionLevel);
}

// The library reports errors by longjmp(): between setjmp() and its calls no object may need a destructor.
class PngWriter final : public PictureWriter {
 public:
  PngWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, noteError, dropWarning);
    info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
    if (info_ == nullptr) {
      sink.fail("the PNG library ran out of memory");
    } else {
      png_set_write_fn(png_, &sink, writeBytes, flushNothing);
    }
  }
  ~PngWriter() override { png_destroy_write_struct(&png_, &info_); }
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  void beginPage(const PictureLayout& layout) override {
    if (!sink_.good() || setjmp(png_jmpbuf(png_)) != 0) return;
    setHeader(png_, info_, layout, settings_);
    png_write_info(png_, info_);
    // In a PNG of 1 bit, 1 is white.
    if (layout.bitsPerChannel == 1) png_set_invert_mono(png_);
  }
  void writeRow(const std::uint8_t* row) override {
    if (!sink_.good() || setjmp(png_jmpbuf(png_)) != 0) return;
    png_write_row(png_, row);
  }
  void endPage() override {
    if (!sink_.good() || setjmp(png_jmpbuf(png_)) != 0) return;
    png_write_end(png_, info_);
  }
  void finish() override {}

 private:
  ByteSink& sink_;
  PictureSettings settings_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

std::unique_ptr<PictureWriter> makePngWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PngWriter>(sink, settings);
}

}  // namespace frontend
