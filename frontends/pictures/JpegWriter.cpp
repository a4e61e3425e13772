#include <optional>

#include "JpegEncoder.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

class JpegWriter final : public PictureWriter {
 public:
  JpegWriter(ByteSink& sink, const PictureNotes& notes) : sink_(sink), notes_(notes) {}

  void beginPage(const PictureLayout& layout) override {
    encoder_.emplace(
        layout, notes_.quality, notes_.software,
        [this](const std::uint8_t* bytes, std::size_t count) { return sink_.write(bytes, count); });
    tellFailure();
  }
  void writeRow(const std::uint8_t* row) override {
    encoder_->writeRow(row);
    tellFailure();
  }
  void endPage() override {
    encoder_->finish();
    tellFailure();
  }
  void finish() override {}

 private:
  void tellFailure() {
    if (!encoder_->failure().empty()) sink_.fail(encoder_->failure().c_str());
  }

  ByteSink& sink_;
  PictureNotes notes_;
  std::optional<JpegEncoder> encoder_;
};

}  // namespace

std::unique_ptr<PictureWriter> makeJpegWriter(ByteSink& sink, const PictureNotes& notes) {
  return std::make_unique<JpegWriter>(sink, notes);
}

}  // namespace frontend
