#include "RotatedWriter.h"

#include <utility>
#include <vector>

namespace frontend {
namespace {

class RotatedWriter final : public PictureWriter {
 public:
  RotatedWriter(std::unique_ptr<PictureWriter> writer, Rotation rotation)
      : writer_(std::move(writer)), rotation_(rotation) {}

  void beginPage(const PictureLayout& layout) override {
    layout_ = layout;
    page_.clear();
    page_.reserve(static_cast<std::size_t>(layout.bytes()));
    writer_->beginPage(rotated(layout, rotation_));
  }
  void writeRow(const std::uint8_t* row) override {
    page_.insert(page_.end(), row, row + layout_.rowBytes());
  }
  void endPage() override {
    const auto rows = makeRotatedRows(page_, layout_, rotation_);
    const std::uint32_t height = rotated(layout_, rotation_).height;
    for (std::uint32_t row = 0; row < height; ++row) writer_->writeRow(rows->next());
    writer_->endPage();
  }
  void abandonPage() override { writer_->abandonPage(); }
  void setPageAside() override { writer_->setPageAside(); }
  std::uint32_t shrink(Shortage shortage) override { return writer_->shrink(shortage); }
  void finish() override { writer_->finish(); }

 private:
  std::unique_ptr<PictureWriter> writer_;
  Rotation rotation_;
  PictureLayout layout_;
  std::vector<std::uint8_t> page_;  // unturned
};

}  // namespace

std::unique_ptr<PictureWriter> makeRotatedWriter(std::unique_ptr<PictureWriter> writer, Rotation rotation) {
  return std::make_unique<RotatedWriter>(std::move(writer), rotation);
}

}  // namespace frontend
