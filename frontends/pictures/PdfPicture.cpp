#include "PdfPicture.h"

#include <new>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_String.hh>
#include <stdexcept>
#include <utility>
#include <vector>

#include "JpegEncoder.h"

namespace frontend {
namespace {

constexpr int compressionLevel = 4;  // as for PNG

class JpegPicture final : public PdfPictureEncoder {
 public:
  JpegPicture(const PictureLayout& layout, int quality)
      : picture_{layout, "/Filter /DCTDecode", {}},
        encoder_(layout, quality, "",
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

// Deflate of rows, those of 8 bits as horizontal differences (ISO 32000-1, 7.4.4.4, predictor 2).
class DeflatedPicture final : public PdfPictureEncoder {
 public:
  explicit DeflatedPicture(const PictureLayout& layout)
      : picture_{layout, "/Filter /FlateDecode", {}},
        end_("page", nullptr, picture_.bytes),
        deflate_("deflate", &end_, Pl_Flate::a_deflate),
        row_(layout.rowBytes()) {
    Pl_Flate::setCompressionLevel(compressionLevel);
    if (layout.bitsPerChannel == 1) return;
    picture_.filter += " /DecodeParms << /Predictor 2 /Colors " + std::to_string(layout.channels) +
                       " /BitsPerComponent 8 /Columns " + std::to_string(layout.width) + " >>";
  }

  void writeRow(const std::uint8_t* row) override {
    const bool bits = picture_.layout.bitsPerChannel == 1;
    const std::size_t channels = picture_.layout.channels;
    for (std::size_t i = 0; i < row_.size(); ++i) {
      // In a PDF, 1 is white.
      if (bits) row_[i] = static_cast<std::uint8_t>(~row[i]);
      if (!bits) row_[i] = static_cast<std::uint8_t>(i < channels ? row[i] : row[i] - row[i - channels]);
    }
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

}  // namespace

std::unique_ptr<PdfPictureEncoder> makePdfPictureEncoder(const PictureLayout& layout,
                                                         const PictureSettings& settings) {
  if (layout.bitsPerChannel == 8 && !settings.lossless)
    return std::make_unique<JpegPicture>(layout, settings.quality);
  return std::make_unique<DeflatedPicture>(layout);
}

}  // namespace frontend
