#include <gtest/gtest.h>

#include <vector>

#include "Rotation.h"

namespace {

using namespace frontend;
using Bytes = std::vector<std::uint8_t>;

Bytes turned(const Bytes& picture, const PictureLayout& layout, Rotation rotation) {
  const PictureLayout result = rotated(layout, rotation);
  const auto rows = makeRotatedRows(picture, layout, rotation);
  Bytes bytes;
  for (std::uint32_t row = 0; row < result.height; ++row) {
    const std::uint8_t* next = rows->next();
    bytes.insert(bytes.end(), next, next + result.rowBytes());
  }
  return bytes;
}

TEST(ARotation, TurnsBytesClockwise) {
  const PictureLayout layout{3, 2, 1, 8, 300};
  const Bytes picture = {1, 2, 3,  //
                         4, 5, 6};
  EXPECT_EQ(turned(picture, layout, Rotation::quarter), (Bytes{4, 1,  //
                                                               5, 2,  //
                                                               6, 3}));
  EXPECT_EQ(turned(picture, layout, Rotation::half), (Bytes{6, 5, 4,  //
                                                            3, 2, 1}));
  EXPECT_EQ(turned(picture, layout, Rotation::threeQuarters), (Bytes{3, 6,  //
                                                                     2, 5,  //
                                                                     1, 4}));
}

TEST(ARotation, KeepsTheChannelsOfAPixelTogether) {
  const PictureLayout layout{2, 1, 3, 8, 300};
  const Bytes picture = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(turned(picture, layout, Rotation::quarter), picture);
  EXPECT_EQ(turned(picture, layout, Rotation::half), (Bytes{4, 5, 6, 1, 2, 3}));
  EXPECT_EQ(turned(picture, layout, Rotation::threeQuarters), (Bytes{4, 5, 6, 1, 2, 3}));
}

TEST(ARotation, TurnsBitsAndPadsTheirRowsAnew) {
  const PictureLayout layout{10, 2, 1, 1, 300};
  const Bytes picture = {0b11110000, 0b01'000000,  //
                         0b10101010, 0b10'000000};
  EXPECT_EQ(turned(picture, layout, Rotation::half), (Bytes{0b01010101, 0b01'000000,  //
                                                            0b10000011, 0b11'000000}));
  EXPECT_EQ(turned(picture, layout, Rotation::quarter),
            (Bytes{0b11'000000, 0b01'000000, 0b11'000000, 0b01'000000, 0b10'000000, 0, 0b10'000000, 0,
                   0b10'000000, 0b01'000000}));
}

TEST(ARotation, SwapsWidthAndHeightAndKeepsTheResolution) {
  const PictureLayout layout{3, 2, 3, 8, 600};
  EXPECT_EQ(rotated(layout, Rotation::none), layout);
  EXPECT_EQ(rotated(layout, Rotation::half), layout);
  EXPECT_EQ(rotated(layout, Rotation::quarter), (PictureLayout{2, 3, 3, 8, 600}));
  EXPECT_EQ(rotated(layout, Rotation::threeQuarters), (PictureLayout{2, 3, 3, 8, 600}));
}

int pixel(const Bytes& picture, const PictureLayout& layout, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* row = picture.data() + y * layout.rowBytes();
  if (layout.bitsPerChannel == 1) return row[x / 8] >> (7 - x % 8) & 1;
  const std::uint8_t* channels = row + x * layout.channels;
  return layout.channels == 1 ? *channels : channels[0] << 16 | channels[1] << 8 | channels[2];
}

// Rows without pattern, their padding bits 0.
Bytes noise(const PictureLayout& layout) {
  Bytes picture(static_cast<std::size_t>(layout.bytes()));
  std::uint32_t state = 1;
  for (std::uint8_t& byte : picture)
    byte = static_cast<std::uint8_t>((state = state * 1664525 + 1013904223) >> 24);
  if (layout.bitsPerChannel == 8) return picture;
  const auto spare = static_cast<unsigned>(layout.rowBytes() * 8 - layout.width);
  for (std::uint32_t y = 1; y <= layout.height; ++y) {
    std::uint8_t& last = picture[y * layout.rowBytes() - 1];
    last = static_cast<std::uint8_t>(last >> spare << spare);
  }
  return picture;
}

// Where the pixel at (x, y) of the turned picture was.
int origin(const Bytes& picture, const PictureLayout& layout, Rotation rotation, std::uint32_t x,
           std::uint32_t y) {
  const std::uint32_t right = layout.width - 1, bottom = layout.height - 1;
  if (rotation == Rotation::quarter) return pixel(picture, layout, y, bottom - x);
  if (rotation == Rotation::half) return pixel(picture, layout, right - x, bottom - y);
  return pixel(picture, layout, right - y, x);
}

class EveryTurn : public testing::TestWithParam<Rotation> {};

// Around the sizes of bytes and tiles.
TEST_P(EveryTurn, MovesEveryPixelOfEverySize) {
  for (const auto& [channels, bits] : {std::pair{1U, 1U}, {1U, 8U}, {3U, 8U}}) {
    for (const std::uint32_t width : {1U, 7U, 8U, 9U, 63U, 64U, 65U, 130U}) {
      for (const std::uint32_t height : {1U, 8U, 15U, 64U, 129U}) {
        const PictureLayout layout{width, height, channels, bits, 300};
        const Bytes picture = noise(layout);
        const PictureLayout result = rotated(layout, GetParam());
        const Bytes bytes = turned(picture, layout, GetParam());
        int wrong = 0;
        for (std::uint32_t y = 0; y < result.height; ++y) {
          for (std::uint32_t x = 0; x < result.width; ++x)
            wrong += pixel(bytes, result, x, y) != origin(picture, layout, GetParam(), x, y);
        }
        ASSERT_EQ(wrong, 0) << width << " x " << height << " x " << channels * bits;
      }
    }
  }
}

// Which includes the padding bits.
TEST_P(EveryTurn, IsUndoneByTheRestOfTheCircle) {
  const auto rest = static_cast<Rotation>(4 - static_cast<int>(GetParam()));
  for (const PictureLayout& layout : {PictureLayout{67, 131, 1, 1, 300}, PictureLayout{67, 131, 1, 8, 300},
                                      PictureLayout{67, 131, 3, 8, 300}}) {
    const Bytes picture = noise(layout);
    EXPECT_EQ(turned(turned(picture, layout, GetParam()), rotated(layout, GetParam()), rest), picture);
  }
}

INSTANTIATE_TEST_SUITE_P(Clockwise, EveryTurn,
                         testing::Values(Rotation::quarter, Rotation::half, Rotation::threeQuarters),
                         [](const auto& row) { return std::to_string(static_cast<int>(row.param) * 90); });

}  // namespace
