#include <algorithm>

#include "ImageFile.h"
#include "Paper.h"

namespace virtualscanner {
namespace {

// Reads the netpbm formats: white space and # comments between the numbers of the header, one white space
// before a binary raster, one picture (the first) of a file.
class PnmReader {
 public:
  PnmReader(std::FILE* file, const std::string& path) : file_(file), path_(path) {}

  Image read() {
    readHeader();
    Image image{width_, height_, {}};
    image.rgb.reserve(std::min<std::size_t>(std::size_t{width_} * height_ * 3, std::size_t{1} << 20));
    for (std::uint32_t row = 0; row < height_; ++row) readRow(image);
    return image;
  }

 private:
  bool isBitmap() const { return format_ == 1 || format_ == 4; }
  bool isBinary() const { return format_ >= 4; }
  std::uint32_t samplesPerPixel() const { return format_ == 3 || format_ == 6 ? 3 : 1; }

  [[noreturn]] void damaged(const char* what) const { throw PaperError(path_ + ": " + what); }

  int nextByte() {
    const int byte = std::getc(file_);
    if (byte == EOF) damaged(std::ferror(file_) != 0 ? "cannot be read" : "the picture is cut short");
    return byte;
  }

  static bool isBlank(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }
  static bool isDigit(int byte) { return byte >= '0' && byte <= '9'; }

  int skipToNumber() {
    for (;;) {
      int byte = nextByte();
      if (byte == '#') {
        while (byte != '\n') byte = nextByte();
      }
      if (!isBlank(byte)) return byte;
    }
  }

  // Also takes the byte after the number, behind which a binary raster begins, unless the file ends there.
  std::uint32_t number(const char* what) {
    int byte = skipToNumber();
    if (!isDigit(byte)) damaged(what);
    std::uint32_t value = 0;
    for (; isDigit(byte); byte = std::getc(file_)) {
      value = value * 10 + static_cast<std::uint32_t>(byte - '0');
      if (value > 1'000'000) damaged(what);
    }
    if (byte == '#')
      std::ungetc(byte, file_);
    else if (byte != EOF && !isBlank(byte))
      damaged(what);
    return value;
  }

  void readHeader() {
    nextByte();
    format_ = nextByte() - '0';
    width_ = number("the header has no valid width");
    height_ = number("the header has no valid height");
    checkImageSize(width_, height_, path_);
    if (isBitmap()) return;
    maximum_ = number("the header has no valid maximum value");
    if (maximum_ < 1 || maximum_ > 65535) damaged("the maximum value is not within 1 to 65535");
  }

  std::uint8_t scaled(std::uint32_t sample) const {
    const std::uint32_t bounded = std::min(sample, maximum_);
    return static_cast<std::uint8_t>((bounded * 255 + maximum_ / 2) / maximum_);
  }

  std::uint8_t sample() {
    if (!isBinary()) return scaled(number("a sample is not a number"));
    const auto high = static_cast<std::uint32_t>(nextByte());
    return scaled(maximum_ < 256 ? high : high << 8 | static_cast<std::uint32_t>(nextByte()));
  }

  // In bitmaps 1 is black. Text bitmaps need no white space between the digits.
  std::uint8_t bit(std::uint32_t column) {
    if (isBinary()) {
      if (column % 8 == 0) bits_ = nextByte();
      return (bits_ >> (7 - column % 8) & 1) != 0 ? 0 : 255;
    }
    const int digit = skipToNumber();
    if (digit != '0' && digit != '1') damaged("a sample is neither 0 nor 1");
    return digit == '1' ? 0 : 255;
  }

  void readRow(Image& image) {
    for (std::uint32_t column = 0; column < width_; ++column) {
      if (samplesPerPixel() == 3) {
        for (int channel = 0; channel < 3; ++channel) image.rgb.push_back(sample());
      } else {
        image.rgb.insert(image.rgb.end(), 3, isBitmap() ? bit(column) : sample());
      }
    }
  }

  std::FILE* file_;
  const std::string& path_;
  int format_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  std::uint32_t maximum_ = 1;
  int bits_ = 0;
};

}  // namespace

Image readPnm(std::FILE* file, const std::string& path) {
  return PnmReader(file, path).read();
}

}  // namespace virtualscanner
