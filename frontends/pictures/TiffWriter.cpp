#include <fcntl.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "ColorProfile.h"
#include "PageJournal.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

// As for PNG. LZW makes a noisy scan larger than it is uncompressed.
constexpr int compressionLevel = 4;

// What the library writes to and reads from.
struct TiffStream {
  ByteSink& sink;
  PageJournal journal{sink};
  bool libraryFailed = false;  // by itself, not for the sink

  void fail(const char* reason) {
    libraryFailed = libraryFailed || sink.good();
    sink.fail(reason);
  }
};

TiffStream& streamOf(thandle_t handle) {
  return *static_cast<TiffStream*>(handle);
}

ByteSink& sinkOf(thandle_t handle) {
  return streamOf(handle).sink;
}

// Linking a page to the one before reads that page's directory. A failure must end the sink: the library
// takes a document whose header it cannot read for an empty one, and begins anew.
tmsize_t readBytes(thandle_t handle, void* bytes, tmsize_t count) {
  return static_cast<tmsize_t>(sinkOf(handle).read(bytes, static_cast<std::size_t>(count)));
}

// The library also writes from buffers for which it has found no memory.
tmsize_t writeBytes(thandle_t handle, void* bytes, tmsize_t count) {
  if (bytes == nullptr && count > 0) {
    errno = ENOMEM;
    streamOf(handle).fail("out of memory");
    return -1;
  }
  return streamOf(handle).journal.write(bytes, static_cast<std::size_t>(count)) ? count : -1;
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
  static_cast<TiffStream*>(user)->fail(text);
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

// Of a page that is not to be written. In the mode for reading, closing does not write the rest of it.
void closeUnwritten(TIFF* tiff) {
  TIFFSetMode(tiff, O_RDONLY);
  TIFFClose(tiff);
}

using TiffHandle = std::unique_ptr<TIFF, decltype(&closeUnwritten)>;

// `mode` as for TIFFOpen().
TiffHandle openTiff(TiffStream& stream, const char* mode) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                 TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, &stream);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, nullptr);
  return {TIFFClientOpenExt("picture", mode, &stream, readBytes, writeBytes, seekTo, closeNothing, sizeOf,
                            nullptr, nullptr, options.get()),
          closeUnwritten};
}

// Sets the fields of the current directory up to the first one that the library does not accept, and
// remembers that: the library reports some refusals by the result alone, and a field that finds no memory
// leaves a directory on which the next one would crash.
class Fields {
 public:
  explicit Fields(TIFF* tiff) : tiff_(tiff) {}

  template <typename... Values>
  void set(std::uint32_t tag, Values... values) {
    accepted_ = accepted_ && TIFFSetField(tiff_, tag, values...) == 1;
  }
  bool accepted() const { return accepted_; }

 private:
  TIFF* tiff_;
  bool accepted_ = true;
};

void setCompression(Fields& fields, const PictureLayout& layout) {
  if (layout.bitsPerChannel == 1) {
    fields.set(TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    fields.set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    // Group 4 starts every strip from a white reference row: one strip compresses best.
    fields.set(TIFFTAG_ROWSPERSTRIP, layout.height);
    return;
  }
  fields.set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  fields.set(TIFFTAG_ZIPQUALITY, compressionLevel);
  fields.set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  fields.set(TIFFTAG_PHOTOMETRIC, layout.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  fields.set(TIFFTAG_ROWSPERSTRIP, rowsPerStrip(layout));
}

void setTags(Fields& fields, const PictureLayout& layout, const std::string& software) {
  fields.set(TIFFTAG_IMAGEWIDTH, layout.width);
  fields.set(TIFFTAG_IMAGELENGTH, layout.height);
  fields.set(TIFFTAG_BITSPERSAMPLE, layout.bitsPerChannel);
  fields.set(TIFFTAG_SAMPLESPERPIXEL, layout.channels);
  fields.set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  fields.set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  fields.set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  fields.set(TIFFTAG_XRESOLUTION, static_cast<double>(layout.resolution));
  fields.set(TIFFTAG_YRESOLUTION, static_cast<double>(layout.resolution));
  fields.set(TIFFTAG_MAKE, "Quenvar");
  fields.set(TIFFTAG_MODEL, "Q750");
  fields.set(TIFFTAG_SOFTWARE, software.c_str());
  const std::string& profile = colorProfileOf(layout);
  if (!profile.empty())
    fields.set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()), profile.data());
  setCompression(fields, layout);
}

class TiffWriter final : public PictureWriter {
 public:
  TiffWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {
    if (settings.appendTo >= 0) copyExisting();
    open();
    if (settings.appendTo >= 0 && tiff_) existingPages_ = TIFFNumberOfDirectories(tiff_.get());
  }
  ~TiffWriter() override { dropHandle(); }

  void beginPage(const PictureLayout& layout) override {
    if (!sink_.good()) return;
    if (!tiff_) open();
    if (!sink_.good()) return;
    stream_.journal.beginPage();
    Fields fields(tiff_.get());
    setTags(fields, layout, settings_.software);
    if (settings_.multiPage) {
      fields.set(TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
      fields.set(TIFFTAG_PAGENUMBER, static_cast<int>(existingPages_ + pages() - 1), 0);  // 0: total unknown
    }
    require(fields.accepted());
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
    // Closing would write the rest too, but reports no error.
    require(settings_.multiPage ? TIFFWriteDirectory(tiff_.get()) == 1 : TIFFFlush(tiff_.get()) == 1);
    if (sink_.good()) endedPages_ = pages();
    if (sink_.good()) aside_.reset();
  }
  void abandonPage() override {
    dropHandle();
    // Also where only the page's directory is missing: the page before it may link to it already.
    if (pages() > endedPages_) stream_.journal.undoPage();
    if (!aside_) return;
    stream_.journal.putBack(*aside_);
    aside_.reset();
    endedPages_ = pages();
  }
  void setPageAside() override {
    dropHandle();
    PageJournal::Page page = stream_.journal.takePage();
    if (!sink_.good()) return;
    aside_ = std::move(page);
    endedPages_ = pages();
  }
  std::uint32_t shrink(Shortage /*shortage*/) override {
    dropHandle();
    if (pages() > 0) stream_.journal.undoPage();
    return endedPages_ = pages();
  }
  void finish() override { dropHandle(); }  // all pages are written

 private:
  std::uint32_t pages() const { return stream_.journal.pages(); }
  void open() {
    sink_.seek(0);  // where the library looks for a header
    // Little-endian on every machine: the same picture gives the same file.
    tiff_ = openTiff(stream_, pages() == 0 && settings_.appendTo < 0 ? "wl" : "a");
    require(tiff_ != nullptr);
  }
  void copyExisting() {
    std::vector<char> piece(1 << 20);
    for (off_t at = 0;;) {
      const ssize_t count = pread(settings_.appendTo, piece.data(), piece.size(), at);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) sink_.fail("the existing document cannot be read");
      if (count <= 0 || !sink_.write(piece.data(), static_cast<std::size_t>(count))) return;
      at += count;
    }
  }
  // Of what the library has not written yet nothing reaches the file. A handle whose library has failed stays
  // allocated: after an allocation that failed, freeing it may crash and take the pages before along.
  void dropHandle() {
    if (stream_.libraryFailed) static_cast<void>(tiff_.release());
    stream_.libraryFailed = false;
    tiff_.reset();
  }
  void require(bool worked) {
    if (!worked) stream_.fail("the TIFF library reported an error");
  }

  ByteSink& sink_;
  PictureSettings settings_;
  TiffStream stream_{sink_};
  TiffHandle tiff_{nullptr, closeUnwritten};
  std::uint32_t existingPages_ = 0;  // ahead of those of the journal
  std::uint32_t endedPages_ = 0;     // the complete ones of the journal's pages
  std::optional<PageJournal::Page> aside_;
  std::uint32_t rows_ = 0;
  std::vector<std::uint8_t> row_;
};

}  // namespace

std::unique_ptr<PictureWriter> makeTiffWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<TiffWriter>(sink, settings);
}

}  // namespace frontend
