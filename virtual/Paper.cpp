#include "Paper.h"

#include <utility>

#include "ImageFile.h"
#include "ImagePaper.h"
#include "TestChart.h"

namespace virtualscanner {
namespace {

class PlainPaper final : public Paper {
 public:
  explicit PlainPaper(Color color) : color_(color) {}
  Color colorAt(std::int64_t x, std::int64_t y) const override {
    return x >= 0 && y >= 0 && x < glassWidth && y < glassHeight ? color_ : white;
  }

 private:
  Color color_;
};

}  // namespace

std::shared_ptr<const Paper> Paper::testChart() {
  // All scanners share one chart, which is immutable.
  static const std::shared_ptr<const Paper> chart = std::make_shared<TestChart>();
  return chart;
}

std::shared_ptr<const Paper> Paper::plain(Color color) {
  return std::make_shared<PlainPaper>(color);
}

std::shared_ptr<const Paper> Paper::fromFile(const std::string& path) {
  return std::make_shared<ImagePaper>(readImageFile(path));
}

std::shared_ptr<const Paper> Paper::fromFile(platform::OwnedDescriptor file, const std::string& path) {
  return std::make_shared<ImagePaper>(readImageFile(std::move(file), path));
}

void Paper::paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                     std::uint8_t* rgb) const {
  for (std::uint32_t column = 0; column < width; ++column) {
    const Color color = pixelAt(resolution, left + column, row);
    *rgb++ = color.red;
    *rgb++ = color.green;
    *rgb++ = color.blue;
  }
}

}  // namespace virtualscanner
