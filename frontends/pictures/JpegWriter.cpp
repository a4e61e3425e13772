#include "ColorProfile.h"
#include "JpegEncoder.h"
#include "StreamedWriter.h"

namespace frontend {
namespace {

class JpegWriter final : public StreamedWriter {
 public:
  JpegWriter(ByteSink& sink, const PictureSettings& settings) : StreamedWriter(sink), settings_(settings) {}

 private:
  std::unique_ptr<StreamEncoder> encoderFor(const PictureLayout& layout,
                                            StreamEncoder::Output output) override {
    // Lineart is gray here.
    const PictureLayout stored{layout.width, layout.height, layout.channels, 8, layout.resolution};
    const JpegSettings settings{settings_.quality, settings_.software, colorProfileOf(stored)};
    return std::make_unique<JpegEncoder>(layout, settings, std::move(output));
  }

  PictureSettings settings_;
};

}  // namespace

std::unique_ptr<PictureWriter> makeJpegWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<JpegWriter>(sink, settings);
}

}  // namespace frontend
