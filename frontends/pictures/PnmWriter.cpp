#include "PictureWriter.h"

namespace frontend {
namespace {

class PnmWriter final : public PictureWriter {
 public:
  PnmWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {}

  void beginPage(const PictureLayout& layout) override {
    layout_ = layout;
    const bool lineart = layout.bitsPerChannel == 1;
    const std::string header = std::string(lineart                ? "P4"
                                           : layout.channels == 3 ? "P6"
                                                                  : "P5") +
                               "\n# " + settings_.software + ", " + std::to_string(layout.resolution) +
                               " dots per inch\n" + std::to_string(layout.width) + " " +
                               std::to_string(layout.height) + "\n" + (lineart ? "" : "255\n");
    sink_.write(header.data(), header.size());
  }
  void writeRow(const std::uint8_t* row) override { sink_.write(row, layout_.rowBytes()); }
  void endPage() override {}
  void finish() override {}

 private:
  ByteSink& sink_;
  PictureSettings settings_;
  PictureLayout layout_;
};

}  // namespace

std::unique_ptr<PictureWriter> makePnmWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PnmWriter>(sink, settings);
}

}  // namespace frontend
