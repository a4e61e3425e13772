#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "BitmapExport.h"
#include "ExportEnvironment.h"

using Bytes = std::vector<std::uint8_t>;

// Exports with the variables that a host would have.
class ExportTest : public testing::Test {
 protected:
  ~ExportTest() override {
    std::free(tiff);
    exportEnvironment() = designed_;
  }

  std::int32_t convert(std::uint32_t space, std::int32_t width, std::int32_t height, const Bytes& pixels,
                       std::int32_t rowBytes = 0) {
    const CMBitmap bitmap{nullptr, width, height, rowBytes, space};
    return ConvertCMBitmapToTIFF(pixels.data(), &bitmap, &tiff, &length, nullptr, horizontal, vertical);
  }
  // The caller's block, as an earlier export left it.
  void holdBlock(const std::string& content) {
    std::free(tiff);
    tiff = static_cast<unsigned char*>(std::malloc(content.size()));
    std::memcpy(tiff, content.data(), content.size());
    length = static_cast<std::uint32_t>(content.size());
  }
  // From now on there is no memory for a block; refusedBytes is the size that was requested.
  static void refuseBlocks() {
    exportEnvironment().allocateZeroed = [](std::size_t count, std::size_t size) -> void* {
      refusedBytes = count * size;
      return nullptr;
    };
  }
  std::string block() const {
    return tiff == nullptr ? "" : std::string(reinterpret_cast<const char*>(tiff), length);
  }

  static inline std::size_t refusedBytes = 0;

  unsigned char* tiff = nullptr;
  std::uint32_t length = 77;
  std::uint32_t horizontal = 300;
  std::uint32_t vertical = 150;

 private:
  const ExportEnvironment designed_ = exportEnvironment();
};
