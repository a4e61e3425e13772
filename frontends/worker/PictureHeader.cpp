#include "PictureHeader.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace frontend {
namespace {

constexpr std::size_t magicSize = 2;
constexpr int sizeLine = 3;  // the second line is a comment
constexpr int maximumLine = 4;
constexpr std::size_t longestHeader = 4096;  // a long comment is valid, an endless one is not

// Removes the next decimal number of a line, with the blanks before it, from its front.
std::optional<std::uint32_t> takeNumber(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
  std::uint32_t number = 0;
  const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  if (error != std::errc()) return std::nullopt;
  line.remove_prefix(static_cast<std::size_t>(rest - line.data()));
  return number;
}

}  // namespace

std::size_t PictureHeader::feed(const std::uint8_t* bytes, std::size_t count) {
  std::size_t taken = 0;
  while (state_ == State::incomplete && taken < count) take(static_cast<char>(bytes[taken++]));
  return state_ == State::wrong ? count : taken;
}

// Each part is checked as soon as it is complete: a device that sends something else may never send
// a line feed.
void PictureHeader::take(char character) {
  text_ += character;
  if (text_.size() == magicSize) return readMagic();
  if (text_.size() >= longestHeader) return complain("it begins with no header");
  if (character != '\n') return;
  ++lineFeeds_;
  if (lineFeeds_ == sizeLine) readSize();
  if (lineFeeds_ == maximumLine) readMaximum();
}

void PictureHeader::readMagic() {
  if (text_[0] != 'P') return complain("it begins with no header");
  if (text_[1] != '5' && text_[1] != '6') return complain("its format is unknown");
  bytesPerPixel_ = text_[1] == '6' ? 3 : 1;
}

void PictureHeader::readSize() {
  std::string_view line = lastLine();
  const auto width = takeNumber(line);
  const auto height = takeNumber(line);
  if (!width || !height || *width == 0 || *height == 0) return complain("its header gives no size");
  width_ = *width;
  height_ = *height;
  if (width_ > largestSide || height_ > largestSide || rasterBytes() > largestRaster) {
    complain("its header gives an impossible size");
  }
}

void PictureHeader::readMaximum() {
  std::string_view line = lastLine();
  if (!takeNumber(line)) return complain("its header is damaged");
  state_ = State::complete;
}

std::string_view PictureHeader::lastLine() const {
  const std::string_view text = std::string_view(text_).substr(0, text_.size() - 1);
  return text.substr(text.rfind('\n') + 1);
}

void PictureHeader::complain(const char* why) {
  complaint_ = why;
  state_ = State::wrong;
}

}  // namespace frontend
