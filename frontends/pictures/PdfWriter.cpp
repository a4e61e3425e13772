#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_String.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <utility>
#include <vector>

#include "JpegEncoder.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

constexpr int pointsPerInch = 72;
constexpr int compressionLevel = 4;  // as for PNG

// The compressed picture of one page.
struct Page {
  PictureLayout layout;
  bool jpeg = false;
  std::string bytes;
};

// Deflate of rows, those of 8 bits as horizontal differences (ISO 32000-1, 7.4.4.4, predictor 2).
class DeflatedRows {
 public:
  DeflatedRows(const PictureLayout& layout, std::string& output)
      : layout_(layout),
        end_("page", nullptr, output),
        deflate_("deflate", &end_, Pl_Flate::a_deflate),
        row_(layout.rowBytes()) {
    Pl_Flate::setCompressionLevel(compressionLevel);
  }

  void writeRow(const std::uint8_t* row) {
    const bool bits = layout_.bitsPerChannel == 1;
    for (std::size_t i = 0; i < row_.size(); ++i) {
      // In a PDF, 1 is white.
      if (bits) row_[i] = static_cast<std::uint8_t>(~row[i]);
      if (!bits)
        row_[i] =
            static_cast<std::uint8_t>(i < layout_.channels ? row[i] : row[i] - row[i - layout_.channels]);
    }
    deflate_.write(row_.data(), row_.size());
  }
  void finish() { deflate_.finish(); }

 private:
  PictureLayout layout_;
  Pl_String end_;
  Pl_Flate deflate_;
  std::vector<std::uint8_t> row_;
};

// Passes the finished document to the sink.
class SinkPipeline final : public Pipeline {
 public:
  explicit SinkPipeline(ByteSink& sink) : Pipeline("file", nullptr), sink_(sink) {}
  void write(const unsigned char* bytes, std::size_t count) override { sink_.write(bytes, count); }
  void finish() override {}

 private:
  ByteSink& sink_;
};

std::string points(std::uint32_t pixels, std::uint32_t resolution) {
  char text[40];
  const std::uint64_t thousandths =
      (std::uint64_t{pixels} * pointsPerInch * 1000 + resolution / 2) / resolution;
  std::snprintf(text, sizeof text, "%u.%03u", static_cast<unsigned>(thousandths / 1000),
                static_cast<unsigned>(thousandths % 1000));
  return text;
}

QPDFObjectHandle imageOf(QPDF& document, const Page& page) {
  const PictureLayout& layout = page.layout;
  // The buffer borrows the bytes: a copy would double the memory that the document takes.
  auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(page.bytes.data()));
  QPDFObjectHandle image = document.newStream(std::make_shared<Buffer>(bytes, page.bytes.size()));
  const std::string columns = std::to_string(layout.width);
  const std::string channels = std::to_string(layout.channels);
  std::string dictionary =
      "<< /Type /XObject /Subtype /Image /Width " + columns + " /Height " + std::to_string(layout.height) +
      " /ColorSpace " + (layout.channels == 3 ? "/DeviceRGB" : "/DeviceGray") + " /BitsPerComponent " +
      std::to_string(layout.bitsPerChannel) + " /Filter " + (page.jpeg ? "/DCTDecode" : "/FlateDecode");
  if (!page.jpeg && layout.bitsPerChannel == 8) {
    dictionary += " /DecodeParms << /Predictor 2 /Colors " + channels + " /BitsPerComponent 8 /Columns " +
                  columns + " >>";
  }
  image.replaceDict(QPDFObjectHandle::parse(dictionary + " >>"));
  return image;
}

void addPage(QPDF& document, const Page& page) {
  const std::string width = points(page.layout.width, page.layout.resolution);
  const std::string height = points(page.layout.height, page.layout.resolution);
  QPDFObjectHandle sheet = QPDFObjectHandle::parse("<< /Type /Page /MediaBox [ 0 0 " + width + " " + height +
                                                   " ] /Resources << /XObject << >> >> >>");
  sheet.getKey("/Resources").getKey("/XObject").replaceKey("/Page", imageOf(document, page));
  sheet.replaceKey("/Contents", document.newStream("q " + width + " 0 0 " + height + " 0 0 cm /Page Do Q\n"));
  QPDFPageDocumentHelper(document).addPage(document.makeIndirectObject(sheet), false);
}

class PdfWriter final : public PictureWriter {
 public:
  PdfWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {}

  void beginPage(const PictureLayout& layout) override {
    Page& page = pages_.emplace_back();
    page.layout = layout;
    page.jpeg = layout.bitsPerChannel == 8 && !settings_.lossless;
    bytes_.clear();
    if (page.jpeg) {
      jpeg_.emplace(layout, settings_.quality, "",
                    [this](const std::uint8_t* bytes, std::size_t count) { return append(bytes, count); });
    } else {
      guarded([&] { deflate_.emplace(layout, bytes_); });
    }
  }
  void writeRow(const std::uint8_t* row) override {
    if (!sink_.good()) return;
    if (jpeg_) jpeg_->writeRow(row);
    if (deflate_) guarded([&] { deflate_->writeRow(row); });
  }
  void endPage() override {
    if (jpeg_) jpeg_->finish();
    if (jpeg_ && !jpeg_->failure().empty()) sink_.fail(jpeg_->failure().c_str());
    if (deflate_) guarded([&] { deflate_->finish(); });
    jpeg_.reset();
    deflate_.reset();
    if (std::exchange(outOfMemory_, false)) throw std::bad_alloc();
    pages_.back().bytes = std::move(bytes_);
    endedPages_ = pages_.size();
    aside_.reset();
  }
  void abandonPage() override {
    jpeg_.reset();
    deflate_.reset();
    pages_.resize(endedPages_);
    if (aside_) pages_.push_back(*std::exchange(aside_, std::nullopt));
    endedPages_ = pages_.size();
  }
  void setPageAside() override {
    aside_ = std::move(pages_.back());
    pages_.pop_back();
    endedPages_ = pages_.size();
  }
  std::uint32_t shrink() override {
    // What the disk took is an upper bound for the pages that it has room for.
    const std::uint64_t room = sink_.size();
    std::uint64_t needed = 0;
    std::size_t fitting = 0;
    while (fitting + 1 < pages_.size() && (needed += pages_[fitting].bytes.size()) <= room) ++fitting;
    pages_.resize(fitting);
    endedPages_ = fitting;
    if (sink_.truncate(0)) sink_.seek(0);
    return static_cast<std::uint32_t>(fitting);
  }
  void finish() override {
    if (sink_.good()) guarded([&] { writeDocument(); });
  }

 private:
  // Called through a C library, which no exception may cross.
  bool append(const std::uint8_t* bytes, std::size_t count) noexcept {
    try {
      bytes_.append(reinterpret_cast<const char*>(bytes), count);
      return true;
    } catch (const std::exception&) {
      outOfMemory_ = true;
      return false;
    }
  }

  template <typename Work>
  void guarded(const Work& work) {
    try {
      work();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) {
      sink_.fail(error.what());
    }
  }

  // Only now, since the cross-reference table of a PDF needs the length of every page.
  void writeDocument() {
    QPDF document;
    document.emptyPDF();
    for (const Page& page : pages_) addPage(document, page);
    QPDFObjectHandle information = QPDFObjectHandle::newDictionary();
    information.replaceKey("/Producer", QPDFObjectHandle::newUnicodeString(settings_.software));
    document.getTrailer().replaceKey("/Info", document.makeIndirectObject(information));

    SinkPipeline pipeline(sink_);
    QPDFWriter writer(document);
    writer.setOutputPipeline(&pipeline);
    writer.setStreamDataMode(qpdf_s_preserve);
    writer.setObjectStreamMode(qpdf_o_disable);
    writer.setMinimumPDFVersion("1.4");
    writer.setDeterministicID(true);
    writer.write();
  }

  ByteSink& sink_;
  PictureSettings settings_;
  std::vector<Page> pages_;
  std::size_t endedPages_ = 0;  // the complete ones of them
  std::optional<Page> aside_;
  std::string bytes_;  // of the current page
  std::optional<JpegEncoder> jpeg_;
  std::optional<DeflatedRows> deflate_;
  bool outOfMemory_ = false;
};

}  // namespace

std::unique_ptr<PictureWriter> makePdfWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PdfWriter>(sink, settings);
}

}  // namespace frontend
