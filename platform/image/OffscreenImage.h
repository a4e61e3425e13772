#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "ImageToolkit.h"

namespace platform {

// An off-screen image in ordinary memory, which it owns. Its rows are multiples of 4 bytes long, and their
// length carries no flags. One thread at a time.
class OffscreenImage final : public GWorld {
 public:
  struct FreeBlock {
    void operator()(std::uint8_t* block) const { std::free(block); }
  };
  using Pixels = std::unique_ptr<std::uint8_t, FreeBlock>;

  static std::uint32_t rowBytesOf(std::uint32_t depth, std::uint32_t width) {
    return static_cast<std::uint32_t>((std::uint64_t{width} * depth + 31) / 32 * 4);
  }

  // pixels holds rowBytesOf(depth, width) * height bytes.
  OffscreenImage(std::uint32_t depth, std::uint32_t width, std::uint32_t height, Pixels pixels)
      : depth_(depth), width_(width), height_(height), pixels_(std::move(pixels)) {}

  bool lockPixels() override { return true; }
  void unlockPixels() override {}
  std::uint8_t* getPixBaseAddr() override { return pixels_.get(); }
  std::uint32_t getPixRowBytes() override { return rowBytes(); }

  const std::uint8_t* pixels() const { return pixels_.get(); }
  std::uint32_t rowBytes() const { return rowBytesOf(depth_, width_); }
  std::uint32_t depth() const { return depth_; }    // bits per pixel: 1, 8 or 32
  std::uint32_t width() const { return width_; }    // pixels
  std::uint32_t height() const { return height_; }  // rows

 private:
  std::uint32_t depth_;
  std::uint32_t width_;
  std::uint32_t height_;
  Pixels pixels_;
};

}  // namespace platform
