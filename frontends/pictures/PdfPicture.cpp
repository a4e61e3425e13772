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

// Collects what an encoder passes on through a C library, which no exception may cross.
class OutputInMemory {
 public:
  bool append(std::string& to, const std::uint8_t* bytes, std::size_t count) noexcept {
    try {
      to.append(reinterpret_cast<const char*>(bytes), count);
      return true;
    } catch (const std::exception&) {
      outOfMemory_ = true;
      return false;
    }
  }
  // `failure` is the encoder's.
  void throwIfFailed(const std::string& failure) const {
    if (outOfMemory_) throw std::bad_alloc();
    if (!failure.empty()) throw std::runtime_error(failure);
  }

 private:
  bool outOfMemory_ = false;
};

class JpegPicture final : public PdfPictureEncoder {
 public:
  JpegPicture(const PictureLayout& layout, int quality)
      : picture_{layout, "/Filter /DCTDecode", {}},
        encoder_(layout, {quality, "", ""},  // the profile is the document's
                 [this](const std::uint8_t* bytes, std::size_t count) {
                   return output_.append(picture_.bytes, bytes, count);
                 }) {
    output_.throwIfFailed(encoder_.failure());
  }

  void writeRow(const std::uint8_t* row) override {
    encoder_.writeRow(row);
    output_.throwIfFailed(encoder_.failure());
  }
  PdfPicture finish() override {
    encoder_.finish();
    output_.throwIfFailed(encoder_.failure());
    return std::move(picture_);
  }

 private:
  PdfPicture picture_;
  OutputInMemory output_;
  JpegEncoder encoder_;  // last: its constructor may already append
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
class PngPicture final : public PdfPictureEncoder {
 public:
  explicit PngPicture(const PictureLayout& layout)
      : picture_{layout,
                 "/Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                     std::to_string(layout.channels) + " /BitsPerComponent 8 /Columns " +
                     std::to_string(layout.width) + " >>",
                 {}},
        encoder_(layout, "", [this](const std::uint8_t* bytes, std::size_t count) {
          return output_.append(picture_.bytes, bytes, count);
        }) {
    output_.throwIfFailed(encoder_.failure());
  }

  void writeRow(const std::uint8_t* row) override {
    encoder_.writeRow(row);
    output_.throwIfFailed(encoder_.failure());
  }
  PdfPicture finish() override {
    encoder_.finish();
    output_.throwIfFailed(encoder_.failure());
    keepImageData(picture_.bytes);
    return std::move(picture_);
  }

 private:
  PdfPicture picture_;
  OutputInMemory output_;
  PngEncoder encoder_;  // last: its constructor already appends
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
