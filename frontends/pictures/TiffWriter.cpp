#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <vector>

#include "PictureWriter.h"

namespace frontend {
namespace {

// As for PNG. LZW makes a noisy scan larger than it is uncompressed.
constexpr int compressionLevel = 4;

ByteSink& sinkOf(thandle_t handle) {
  return *static_cast<ByteSink*>(handle);
}

// Linking a page to the one before reads that page's directory.
tmsize_t readBytes(thandle_t handle, void* bytes, tmsize_t count) {
  return static_cast<tmsize_t>(sinkOf(handle).read(bytes, static_cast<std::size_t>(count)));
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

// Large enough to compress well, small enough for readers that decode a strip at a time.
std::uint32_t rowsPerStrip(const PictureLayout& layout) {
  constexpr std::size_t stripBytes = 256 * 1024;
  return static_cast<std::uint32_t>(std::max<std::size_t>(stripBytes / layout.rowBytes(), 1));
}

using TiffHandle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffHandle openTiff(ByteSink& sink) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                 TIFFOpenOptionsFree);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, &sink);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, nullptr);
  // Little-endian on every machine: the same picture gives the same file.
  return {TIFFClientOpenExt("picture", "wl", &sink, readBytes, writeBytes, seekTo, closeNothing, sizeOf,
                            nullptr, nullptr, options.get()),
          TIFFClose};
}

void setCompression(TIFF* tiff, const PictureLayout& layout) {
  if (layout.bitsPerChannel == 1) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    // Group 4 starts every strip from a white reference row: one strip compresses best.
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, layout.height);
    return;
  }
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, compressionLevel);
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip(layout));
}

void setTags(TIFF* tiff, const PictureLayout& layout, const std::string& software) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, layout.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, layout.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, layout.bitsPerChannel);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, layout.channels);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(layout.resolution));
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(layout.resolution));
  TIFFSetField(tiff, TIFFTAG_MAKE, "Quenvar");
  TIFFSetField(tiff, TIFFTAG_MODEL, "Q750");
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, software.c_str());
  setCompression(tiff, layout);
}

class TiffWriter final : public PictureWriter {
 public:
  TiffWriter(ByteSink& sink, const PictureSettings& settings)
      : sink_(sink), settings_(settings), tiff_(openTiff(sink)) {
    require(tiff_ != nullptr);
  }

  void beginPage(const PictureLayout& layout) override {
    if (!sink_.good()) return;
    sizeBefore_ = sink_.size();
    setTags(tiff_.get(), layout, settings_.software);
    if (settings_.multiPage) {
      TIFFSetField(tiff_.get(), TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
      TIFFSetField(tiff_.get(), TIFFTAG_PAGENUMBER, static_cast<int>(pages_), 0);  // 0: total unknown
    }
    row_.resize(layout.rowBytes());
    rows_ = 0;
  }
  void writeRow(const std::uint8_t* row) override {
    if (!sink_.good()) return;
    // The library computes the differences in place.
    row_.assign(row, row + row_.size());
    require(TIFFWriteScanline(tiff_.get(), row_.data(), rows_++, 0) == 1);
  }
  void endPage() override {
    if (!sink_.good()) return;
    ++pages_;
    // Closing would write the rest too, but reports no error.
    require(settings_.multiPage ? TIFFWriteDirectory(tiff_.get()) == 1 : TIFFFlush(tiff_.get()) == 1);
  }
  void abandonPage() override {
    // The pages before it are complete in the file, and the last of them links to no other: what closing the
    // library's handle would still write must not reach the file.
    sink_.discardWrites(true);
    tiff_.reset();
    sink_.discardWrites(false);
    sink_.truncate(sizeBefore_);
  }
  void finish() override { tiff_.reset(); }

 private:
  void require(bool worked) {
    if (!worked) sink_.fail("the TIFF library reported an error");
  }

  ByteSink& sink_;
  PictureSettings settings_;
  TiffHandle tiff_;
  std::uint64_t sizeBefore_ = 0;  // of the file, without the current page
  std::uint32_t pages_ = 0;
  std::uint32_t rows_ = 0;
  std::vector<std::uint8_t> row_;
};

}  // namespace

std::unique_ptr<PictureWriter> makeTiffWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<TiffWriter>(sink, settings);
}

}  // namespace frontend
