#include <optional>

#include "PictureWriter.h"
#include "PngEncoder.h"

namespace frontend {
namespace {

// Borrows the sink; owns the encoder, whose output is the sink.
class PngWriter final : public PictureWriter {
 public:
  PngWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {}

  void beginPage(const PictureLayout& layout) override {
    encoder_.emplace(layout, settings_.software, [this](const std::uint8_t* bytes, std::size_t count) {
      return sink_.write(bytes, count);
    });
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
  std::optional<PngEncoder> encoder_;
};

}  // namespace

std::unique_ptr<PictureWriter> makePngWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PngWriter>(sink, settings);
}

}  // namespace frontend
