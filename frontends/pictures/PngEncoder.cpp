#include "PngEncoder.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <utility>
#include <vector>

#include "PngRowFilter.h"

namespace frontend {
namespace {

constexpr double inchesPerMetre = 1 / 0.0254;
constexpr png_fixed_point gamma22 = 45455;  // 1 / 2.2
// Measured on scans: lower levels take a tenth less time for 6 % more on pages of text, higher ones twice the
// time for a few percent less.
constexpr int compressionLevel = 6;

}  // namespace

// The library reports errors by a callback that must not return. It leaves by longjmp(), which skips
// destructors: the functions that call setjmp() therefore hold nothing that needs one, and every buffer
// belongs to the object.
struct PngEncoder::State {
  PictureLayout layout;
  std::string software;
  Output output;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::vector<std::uint8_t> previous;  // row; empty before the first, and for lineart
  bool ended = false;
  std::string failure;

  State(const PictureLayout& pictureLayout, std::string program, Output out)
      : layout(pictureLayout), software(std::move(program)), output(std::move(out)) {}
  ~State() { png_destroy_write_struct(&png, &info); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  static void writeBytes(png_structp png, png_bytep bytes, std::size_t count) {
    State& state = *static_cast<State*>(png_get_io_ptr(png));
    if (state.output(bytes, count)) return;
    state.ended = true;
    png_longjmp(png, 1);
  }
  static void flushNothing(png_structp /*png*/) {}
  [[noreturn]] static void noteError(png_structp png, png_const_charp message) {
    State& state = *static_cast<State*>(png_get_error_ptr(png));
    state.failure = message;
    state.ended = true;
    png_longjmp(png, 1);
  }
  static void dropWarning(png_structp /*png*/, png_const_charp /*message*/) {}

  void begin() {
    png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, noteError, dropWarning);
    info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
      failure = "the PNG library ran out of memory";
      ended = true;
      return;
    }
    png_set_write_fn(png, this, writeBytes, flushNothing);
    if (setjmp(png_jmpbuf(png)) != 0) return;
    setHeader();
    png_write_info(png, info);
    // In a PNG of 1 bit, 1 is white.
    if (layout.bitsPerChannel == 1) png_set_invert_mono(png);
  }
  void setHeader() {
    const int color = layout.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
    png_set_IHDR(png, info, layout.width, layout.height, static_cast<int>(layout.bitsPerChannel), color,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const auto perMetre = static_cast<png_uint_32>(std::lround(layout.resolution * inchesPerMetre));
    png_set_pHYs(png, info, perMetre, perMetre, PNG_RESOLUTION_METER);
    // Gray has no primaries, so sRGB does not apply: its tone curve is enough, the same as in the profile of
    // the other formats. Black and white need neither.
    if (layout.channels == 3) png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    if (layout.channels == 1 && layout.bitsPerChannel == 8) png_set_gAMA_fixed(png, info, gamma22);
    png_text text{};
    text.compression = PNG_TEXT_COMPRESSION_NONE;
    text.key = const_cast<char*>("Software");
    text.text = const_cast<char*>(software.c_str());
    png_set_text(png, info, &text, 1);
    png_set_compression_level(png, compressionLevel);
  }
  void writeRow(const std::uint8_t* row) {
    if (ended || setjmp(png_jmpbuf(png)) != 0) return;
    // The library chooses for the first row, which is when it makes room for the filters that need a previous
    // one.
    if (!previous.empty())
      png_set_filter(png, PNG_FILTER_TYPE_BASE,
                     bestPngFilter(row, previous.data(), previous.size(), layout.channels));
    png_write_row(png, row);
  }
  void finish() {
    if (ended || setjmp(png_jmpbuf(png)) != 0) return;
    png_write_end(png, info);
  }
};

PngEncoder::PngEncoder(const PictureLayout& layout, const std::string& software, Output output)
    : state_(std::make_unique<State>(layout, software, std::move(output))) {
  state_->begin();
}

PngEncoder::~PngEncoder() = default;

void PngEncoder::writeRow(const std::uint8_t* row) {
  state_->writeRow(row);
  if (state_->layout.bitsPerChannel == 8) state_->previous.assign(row, row + state_->layout.rowBytes());
}

void PngEncoder::finish() {
  state_->finish();
}

const std::string& PngEncoder::failure() const {
  return state_->failure;
}

}  // namespace frontend
