#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace frontend {

// Reads the header of the picture from bytes in pieces of any size, with the line structure that the
// library's conversion takes for granted: magic, one comment line, "width height", maximum value, each ended
// by a line feed; then the raster. Accepts binary gray and color (P5, P6) in sizes that a scan can have.
// Keeps nothing of the raster. Throws std::bad_alloc. One thread.
class PictureHeader {
 public:
  enum class State : std::uint8_t { incomplete, complete, wrong };

  // Returns how many of these bytes belong to the header; the rest is raster. 0 once it is complete; all of
  // them once it is wrong.
  std::size_t feed(const std::uint8_t* bytes, std::size_t count);

  State state() const { return state_; }
  // The rest is valid once complete.
  std::uint32_t width() const { return width_; }    // 1 to largestSide
  std::uint32_t height() const { return height_; }  // 1 to largestSide
  std::uint32_t bytesPerPixel() const { return bytesPerPixel_; }
  std::uint64_t rowBytes() const { return std::uint64_t{width_} * bytesPerPixel_; }
  std::uint64_t rasterBytes() const { return rowBytes() * height_; }  // at most largestRaster
  // What is wrong with it, as a clause; empty unless something is.
  const std::string& complaint() const { return complaint_; }

  static constexpr std::uint32_t largestSide = 65535;
  static constexpr std::uint64_t largestRaster = 256u * 1024 * 1024;

 private:
  void take(char character);
  void readMagic();
  void readSize();
  void readMaximum();
  // The line that the latest line feed ended, without it.
  std::string_view lastLine() const;
  void complain(const char* why);

  State state_ = State::incomplete;
  std::string text_;
  int lineFeeds_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  std::uint32_t bytesPerPixel_ = 0;
  std::string complaint_;
};

}  // namespace frontend
