#include "PdfPicture.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "Group4Encoder.h"
#include "JpegEncoder.h"
#include "PngEncoder.h"

namespace frontend {
namespace {

// A picture that one of the file formats' encoders compresses.
class EncodedPicture : public PdfPictureEncoder {
 public:
  void writeRow(const std::uint8_t* row) final {
    encoder_->writeRow(row);
    throwIfFailed();
  }
  PdfPicture finish() override {
    encoder_->finish();
    throwIfFailed();
    return std::move(picture_);
  }

 protected:
  EncodedPicture(const PictureLayout& layout, std::string filter) : picture_{layout, std::move(filter), {}} {}

  // Called through a C library, which no exception may cross.
  StreamEncoder::Output output() {
    return [this](const std::uint8_t* bytes, std::size_t count) noexcept {
      try {
        picture_.bytes.append(reinterpret_cast<const char*>(bytes), count);
        return true;
      } catch (const std::exception&) {
        outOfMemory_ = true;
        return false;
      }
    };
  }
  // The encoder for output(), which its constructor may already have called.
  void encodeWith(std::unique_ptr<StreamEncoder> encoder) {
    encoder_ = std::move(encoder);
    throwIfFailed();
  }

 private:
  void throwIfFailed() const {
    if (outOfMemory_) throw std::bad_alloc();
    if (!encoder_->failure().empty()) throw std::runtime_error(encoder_->failure());
  }

  PdfPicture picture_;
  bool outOfMemory_ = false;
  std::unique_ptr<StreamEncoder> encoder_;
};

class JpegPicture final : public EncodedPicture {
 public:
  JpegPicture(const PictureLayout& layout, int quality) : EncodedPicture(layout, "/Filter /DCTDecode") {
    const JpegSettings settings{quality, "", ""};  // the profile is the document's
    encodeWith(std::make_unique<JpegEncoder>(layout, settings, output()));
  }
};

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = at; i < at + 4; ++i) number = number << 8 | static_cast<std::uint8_t>(bytes[i]);
  return number;
}

// The contents of the IDAT chunks of a PNG, in place. | signature:8 | and chunks | length:4 | type:4 |
// content | CRC:4 |
void keepImageData(std::string& png) {
  std::size_t kept = 0;
  for (std::size_t at = 8; at + 12 <= png.size();) {
    const std::size_t length = bigEndian(png, at);
    if (png.compare(at + 4, 4, "IDAT") == 0) {
      std::copy_n(png.begin() + static_cast<std::ptrdiff_t>(at + 8), length,
                  png.begin() + static_cast<std::ptrdiff_t>(kept));
      kept += length;
    }
    at += 12 + length;
  }
  png.resize(kept);
}

// The compressed rows of a PNG, which PDF takes as they are (ISO 32000-1, 7.4.4.4, predictor 15).
class PngPicture final : public EncodedPicture {
 public:
  explicit PngPicture(const PictureLayout& layout)
      : EncodedPicture(layout, "/Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                                   std::to_string(layout.channels) + " /BitsPerComponent 8 /Columns " +
                                   std::to_string(layout.width) + " >>") {
    encodeWith(std::make_unique<PngEncoder>(layout, "", output()));
  }

  PdfPicture finish() override {
    PdfPicture picture = EncodedPicture::finish();
    keepImageData(picture.bytes);
    return picture;
  }
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
  if (settings.lossless) return std::make_unique<PngPicture>(layout);
  return std::make_unique<JpegPicture>(layout, settings.quality);
}

}  // namespace frontend
