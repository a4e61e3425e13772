#include <optional>

#include "ColorProfile.h"
#include "JpegEncoder.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

// Borrows the sink; owns the encoder, whose output is the sink.
class JpegWriter final : public PictureWriter {
 public:
  JpegWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {}

  void beginPage(const PictureLayout& layout) override {
    // Lineart is gray here.
    const PictureLayout stored{layout.width, layout.height, layout.channels, 8, layout.resolution};
    encoder_.emplace(
        layout, JpegSettings{settings_.quality, settings_.software, colorProfileOf(stored)},
        [this](const std::uint8_t* bytes, std::size_t count) { return sink_.write(bytes, count); });
    reportFailure();
  }
  void writeRow(const std::uint8_t* row) override {
    encoder_->writeRow(row);
    reportFailure();
  }
  void endPage() override {
    encoder_->finish();
    reportFailure();
  }
  void finish() override {}

 private:
  void reportFailure() {
    if (!encoder_->failure().empty()) sink_.fail(encoder_->failure().c_str());
  }

  ByteSink& sink_;
  PictureSettings settings_;
  std::optional<JpegEncoder> encoder_;
};

}  // namespace

std::unique_ptr<PictureWriter> makeJpegWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<JpegWriter>(sink, settings);
}

}  // namespace frontend
