#include <string>

#include "PictureWriter.h"

namespace frontend {
namespace {

// Rows are collected up to this size: one system call for each row of a few hundred bytes would cost more
// than copying it. Small enough to stay in the cache, and for a reader of a pipe to see the picture grow.
constexpr std::size_t bufferSize = 64 * 1024;

class PnmWriter final : public PictureWriter {
 public:
  PnmWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {
    buffer_.reserve(bufferSize);
  }

  void beginPage(const PictureLayout& layout) override {
    layout_ = layout;
    const bool lineart = layout.bitsPerChannel == 1;
    buffer_ = std::string(lineart                ? "P4"
                          : layout.channels == 3 ? "P6"
                                                 : "P5") +
              "\n# " + settings_.software + ", " + std::to_string(layout.resolution) + " dots per inch\n" +
              std::to_string(layout.width) + " " + std::to_string(layout.height) + "\n" +
              (lineart ? "" : "255\n");
  }
  void writeRow(const std::uint8_t* row) override {
    const std::size_t size = layout_.rowBytes();
    if (buffer_.size() + size > bufferSize) flush();
    if (size > bufferSize) {
      sink_.write(row, size);
    } else {
      buffer_.append(reinterpret_cast<const char*>(row), size);
    }
  }
  void endPage() override { flush(); }
  void flush() override {
    if (!buffer_.empty()) sink_.write(buffer_.data(), buffer_.size());
    buffer_.clear();
  }
  void finish() override {}

 private:
  ByteSink& sink_;
  PictureSettings settings_;
  PictureLayout layout_;
  std::string buffer_;
};

}  // namespace

std::unique_ptr<PictureWriter> makePnmWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PnmWriter>(sink, settings);
}

}  // namespace frontend
