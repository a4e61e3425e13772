#include "PdfPicture.h"

#include <new>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_String.hh>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Group4Encoder.h"
#include "JpegEncoder.h"

namespace frontend {
namespace {

constexpr int compressionLevel = 4;  // as for PNG

class JpegPicture final : public PdfPictureEncoder {
 public:
  JpegPicture(const PictureLayout& layout, int quality)
      : picture_{layout, "/Filter /DCTDecode", {}},
        encoder_(layout, {quality, "", ""},  // the profile is the document's
                 [this](const std::uint8_t* bytes, std::size_t count) { return append(bytes, count); }) {
    throwIfFailed();
  }

  void writeRow(const std::uint8_t* row) override {
    encoder_.writeRow(row);
    throwIfFailed();
  }
  PdfPicture finish() override {
    encoder_.finish();
    throwIfFailed();
    return std::move(picture_);
  }

 private:
  // Called through a C library, which no exception may cross.
  bool append(const std::uint8_t* bytes, std::size_t count) noexcept {
    try {
      picture_.bytes.append(reinterpret_cast<const char*>(bytes), count);
      return true;
    } catch (const std::exception&) {
      outOfMemory_ = true;
      return false;
    }
  }
  void throwIfFailed() const {
    if (outOfMemory_) throw std::bad_alloc();
    if (!encoder_.failure().empty()) throw std::runtime_error(encoder_.failure());
  }

  PdfPicture picture_;
  bool outOfMemory_ = false;
  JpegEncoder encoder_;  // last: its constructor may already append
};

// Deflate of the horizontal differences of rows (ISO 32000-1, 7.4.4.4, predictor 2).
class DeflatedPicture final : public PdfPictureEncoder {
 public:
  explicit DeflatedPicture(const PictureLayout& layout)
      : picture_{layout,
                 "/Filter /FlateDecode /DecodeParms << /Predictor 2 /Colors " +
                     std::to_string(layout.channels) + " /BitsPerComponent 8 /Columns " +
                     std::to_string(layout.width) + " >>",
                 {}},
        end_("page", nullptr, picture_.bytes),
        deflate_("deflate", &end_, Pl_Flate::a_deflate),
        row_(layout.rowBytes()) {
    Pl_Flate::setCompressionLevel(compressionLevel);
  }

  void writeRow(const std::uint8_t* row) override {
    const std::size_t channels = picture_.layout.channels;
    for (std::size_t i = 0; i < row_.size(); ++i)
      row_[i] = static_cast<std::uint8_t>(i < channels ? row[i] : row[i] - row[i - channels]);
    deflate_.write(row_.data(), row_.size());
  }
  PdfPicture finish() override {
    deflate_.finish();
    return std::move(picture_);
  }

 private:
  PdfPicture picture_;
  Pl_String end_;
  Pl_Flate deflate_;
  std::vector<std::uint8_t> row_;
};

// Group 4, whose black runs are the ones of a row. BlackIs1 is about the decoded samples: false makes black
// 0, as it is in the color space of the page.
class FaxPicture final : public PdfPictureEncoder {
 public:
  explicit FaxPicture(const PictureLayout& layout) : layout_(layout), encoder_(layout) {}

  void writeRow(const std::uint8_t* row) override { encoder_.writeRow(row); }
  PdfPicture finish() override {
    return {layout_,
            "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /BlackIs1 false /Columns " +
                std::to_string(layout_.width) + " /Rows " + std::to_string(layout_.height) + " >>",
            encoder_.finish()};
  }

 private:
  PictureLayout layout_;
  Group4Encoder encoder_;
};

}  // namespace

std::unique_ptr<PdfPictureEncoder> makePdfPictureEncoder(const PictureLayout& layout,
                                                         const PictureSettings& settings) {
  if (layout.bitsPerChannel == 1) return std::make_unique<FaxPicture>(layout);
  if (settings.lossless) return std::make_unique<DeflatedPicture>(layout);
  return std::make_unique<JpegPicture>(layout, settings.quality);
}

}  // namespace frontend
