#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "RecordingLogSink.h"
#include "TiffEncoder.h"

using platform::Photometric;
using platform::PixelRows;
using platform::TiffPicture;
using platform::tiffSizeBound;
using platform::TiffStream;

namespace {

TiffPicture grey(std::uint32_t width, std::uint32_t height) {
  return {width, height, 8, 1, Photometric::blackIsZero, std::nullopt};
}

// Rows without pixels.
class EmptyRows final : public PixelRows {
 public:
  explicit EmptyRows(std::uint64_t bytesPerRow) : bytesPerRow_(bytesPerRow) {}
  std::uint64_t bytesPerRow() const override { return bytesPerRow_; }
  Piece at(std::uint32_t /*row*/, std::uint64_t /*column*/, std::uint64_t limit) override {
    return {nullptr, limit};
  }

 private:
  std::uint64_t bytesPerRow_;
};

// The length of the file of a picture with nothing but zeros.
std::uint64_t encodedSize(const TiffPicture& picture) {
  TiffStream stream([](std::uint64_t, const std::uint8_t*, std::size_t) { return true; });
  EmptyRows rows(platform::packedRowBytes(picture.width, picture.samplesPerPixel, picture.bitsPerSample));
  EXPECT_TRUE(encodeTIFF(picture, rows, stream, "picture"));
  return stream.size();
}

TEST(TiffSizeBound, IsNeverBelowTheSizeOfTheFile) {
  for (const std::uint32_t width : {1U, 7U, 1000U, 32767U, 300000U}) {
    for (const std::uint32_t height : {1U, 3U, 1000U, 10000U}) {
      TiffPicture picture = grey(width, height);
      picture.resolution = platform::TiffResolution{300, 150.5};
      const std::uint64_t size = encodedSize(picture);
      EXPECT_GE(*tiffSizeBound(picture), size);
      EXPECT_LE(*tiffSizeBound(picture) - size, 1024U);
    }
  }
}

TEST(TiffSizeBound, IsNoneForWhatIsNotWritten) {
  EXPECT_FALSE(tiffSizeBound(grey(0, 1)));
  EXPECT_FALSE(tiffSizeBound(grey(1, 0)));
  EXPECT_FALSE(tiffSizeBound(grey(65536, 65536)));
  EXPECT_FALSE(tiffSizeBound(grey(0xFFFFFFFF, 0xFFFFFFFF)));
  EXPECT_FALSE(tiffSizeBound({1, 1, 16, 1, Photometric::blackIsZero, std::nullopt}));
  EXPECT_FALSE(tiffSizeBound({1, 1, 8, 0, Photometric::blackIsZero, std::nullopt}));
  EXPECT_TRUE(tiffSizeBound(grey(65535, 65000)));
}

TEST(EncodeTIFF, FailsAndLogsWhereAWriteFails) {
  RecordingLogSink log;
  TiffStream stream([](std::uint64_t, const std::uint8_t*, std::size_t) { return false; });
  EmptyRows rows(100000);
  EXPECT_FALSE(encodeTIFF(grey(100000, 10), rows, stream, "picture"));
}

TEST(EncodeTIFF, FailsWhereNothingButTheLastPieceCannotBeWritten) {
  RecordingLogSink log;
  int pieces = 0;
  TiffStream counter([&pieces](std::uint64_t, const std::uint8_t*, std::size_t) { return ++pieces > 0; });
  EmptyRows rows(10);
  EXPECT_TRUE(encodeTIFF(grey(10, 10), rows, counter, "picture"));
  ASSERT_GT(pieces, 0);
  int left = pieces;
  TiffStream stream([&left](std::uint64_t, const std::uint8_t*, std::size_t) { return --left > 0; });
  EXPECT_FALSE(encodeTIFF(grey(10, 10), rows, stream, "picture"));
}

}  // namespace
