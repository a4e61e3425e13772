#include "PngEncoder.h"
#include "StreamedWriter.h"

namespace frontend {
namespace {

class PngWriter final : public StreamedWriter {
 public:
  PngWriter(ByteSink& sink, const PictureSettings& settings)
      : StreamedWriter(sink), software_(settings.software) {}

 private:
  std::unique_ptr<StreamEncoder> encoderFor(const PictureLayout& layout,
                                            StreamEncoder::Output output) override {
    return std::make_unique<PngEncoder>(layout, software_, std::move(output));
  }

  std::string software_;
};

}  // namespace

std::unique_ptr<PictureWriter> makePngWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PngWriter>(sink, settings);
}

}  // namespace frontend
