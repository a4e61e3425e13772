#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "Bed.h"
#include "EsclNames.h"
#include "RowScaler.h"

namespace {

using namespace frontend;
using frontend::share::RowScaler;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using Row = std::vector<std::uint8_t>;
using Rows = std::vector<Row>;

PictureLayout gray(std::uint32_t width, std::uint32_t height, std::uint32_t resolution) {
  return {width, height, 1, 8, resolution};
}

PictureLayout color(std::uint32_t width, std::uint32_t height, std::uint32_t resolution) {
  return {width, height, 3, 8, resolution};
}

// A scaler that keeps what it writes.
struct KeptPicture {
  KeptPicture(const PictureLayout& delivered, const PictureLayout& picture)
      : scaler(delivered, picture, [this, bytes = picture.rowBytes()](const std::uint8_t* row) {
          rows.emplace_back(row, row + bytes);
        }) {}

  Rows rows;
  RowScaler scaler;
};

Rows scaled(const PictureLayout& delivered, const PictureLayout& picture, const Rows& rows) {
  KeptPicture kept(delivered, picture);
  for (const Row& row : rows) {
    EXPECT_EQ(row.size(), delivered.rowBytes());
    kept.scaler.add(row.data());
  }
  return kept.rows;
}

TEST(RowScaler, PassesRowsOfTheSameSizeThrough) {
  EXPECT_THAT(scaled(color(1, 2, 300), color(1, 2, 300), {{1, 2, 3}, {4, 5, 6}}),
              ElementsAre(Row{1, 2, 3}, Row{4, 5, 6}));
}

TEST(RowScaler, AddsWhiteRowsBelowTheBed) {
  EXPECT_THAT(scaled(gray(2, 1, 75), gray(2, 3, 75), {{1, 2}}),
              ElementsAre(Row{1, 2}, Row{255, 255}, Row{255, 255}));
  EXPECT_THAT(scaled({9, 1, 1, 1, 75}, {9, 2, 1, 1, 75}, {{0xFF, 0x80}}),
              ElementsAre(Row{0xFF, 0x80}, Row{0, 0}))
      << "0 is white in lineart";
}

TEST(RowScaler, DoublesBetweenTheCentersOfPixels) {
  // The columns of the picture are at -1/4, 1/4, 3/4 and 5/4 of the scanner's.
  EXPECT_THAT(scaled(gray(2, 1, 300), gray(4, 2, 600), {{0, 100}}),
              ElementsAre(Row{0, 25, 75, 100}, Row{0, 25, 75, 100}));
  EXPECT_THAT(scaled(gray(1, 2, 300), gray(2, 4, 600), {{0}, {100}}),
              ElementsAre(Row{0, 0}, Row{25, 25}, Row{75, 75}, Row{100, 100}));
  EXPECT_THAT(scaled(gray(2, 2, 300), gray(4, 4, 600), {{0, 0}, {0, 160}}),
              ElementsAre(Row{0, 0, 0, 0}, Row{0, 10, 30, 40}, Row{0, 30, 90, 120}, Row{0, 40, 120, 160}));
}

TEST(RowScaler, MakesFourOfThree) {
  // At -1/8, 5/8, 11/8 and 17/8.
  EXPECT_THAT(scaled(gray(3, 1, 300), gray(4, 1, 400), {{0, 80, 160}}), ElementsAre(Row{0, 50, 110, 160}));
  EXPECT_THAT(scaled(gray(1, 3, 300), gray(1, 4, 400), {{0}, {80}, {160}}),
              ElementsAre(Row{0}, Row{50}, Row{110}, Row{160}));
}

TEST(RowScaler, RoundsToTheNearest) {
  EXPECT_THAT(scaled(gray(2, 1, 300), gray(4, 2, 600), {{0, 1}}), Each(Row{0, 0, 1, 1}));
  EXPECT_THAT(scaled(gray(2, 1, 300), gray(4, 2, 600), {{0, 2}}), Each(Row{0, 1, 2, 2}));  // 0.5 and 1.5
}

TEST(RowScaler, KeepsChannelsApart) {
  EXPECT_THAT(scaled(color(2, 1, 300), color(4, 1, 600), {{0, 100, 200, 100, 100, 0}}),
              ElementsAre(Row{0, 100, 200, 25, 100, 150, 75, 100, 50, 100, 100, 0}));
}

TEST(RowScaler, ContinuesTheEdgeWhereThePictureIsRoundedUp) {
  EXPECT_THAT(scaled(gray(2, 2, 300), gray(3, 3, 400), {{0, 80}, {0, 80}}),
              ElementsAre(Row{0, 50, 80}, Row{0, 50, 80}, Row{0, 50, 80}));
  EXPECT_THAT(scaled(gray(1, 1, 300), gray(2, 2, 600), {{7}}), ElementsAre(Row{7, 7}, Row{7, 7}));
}

TEST(RowScaler, AddsWhiteRowsBelowTheScaledOnes) {
  EXPECT_THAT(scaled(gray(1, 1, 300), gray(2, 4, 600), {{7}}),
              ElementsAre(Row{7, 7}, Row{7, 7}, Row{255, 255}, Row{255, 255}));
}

TEST(RowScaler, WritesEachRowAsSoonAsItCan) {
  KeptPicture picture(gray(1, 3, 300), gray(2, 8, 600));
  const auto addAndCount = [&](std::uint8_t value) {
    picture.scaler.add(&value);
    return picture.rows.size();
  };
  EXPECT_THAT(picture.rows, IsEmpty());
  EXPECT_EQ(addAndCount(10), 1U);
  EXPECT_EQ(addAndCount(20), 3U);
  EXPECT_EQ(addAndCount(30), 8U) << "the rest, two of them white";
  EXPECT_EQ(addAndCount(40), 8U) << "a row too many";
}

TEST(RowScaler, KeepsAPlainAreaPlain) {
  for (const std::uint32_t resolution : {400U, 600U}) {
    for (std::uint32_t value = 0; value <= 255; ++value) {
      const Row row(11, static_cast<std::uint8_t>(value));
      const Rows rows =
          scaled(gray(11, 2, 300), gray(11 * resolution / 300, 2 * resolution / 300, resolution), {row, row});
      for (const Row& one : rows) EXPECT_THAT(one, Each(value)) << resolution;
    }
  }
}

// A picture in which every neighbour differs.
Rows speckled(std::uint32_t width, std::uint32_t height) {
  Rows rows(height, Row(width));
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x) rows[y][x] = static_cast<std::uint8_t>((x * 97 + y * 61) % 256);
  return rows;
}

// The two pixels of the scanner, of `count`, on both sides of the center of this one of the picture.
std::array<std::size_t, 2> neighbours(std::size_t index, std::uint32_t resolution, std::size_t count) {
  const double center = (static_cast<double>(index) + 0.5) * 300 / resolution - 0.5;
  const auto inside = [=](double place) {
    return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(count - 1)));
  };
  return {inside(std::floor(center)), inside(std::floor(center) + 1)};
}

void expectBetweenNeighbours(const Rows& picture, const Rows& source, std::uint32_t resolution) {
  for (std::size_t y = 0; y < picture.size(); ++y) {
    const auto [upper, lower] = neighbours(y, resolution, source.size());
    for (std::size_t x = 0; x < picture[y].size(); ++x) {
      const auto [left, right] = neighbours(x, resolution, source[0].size());
      const auto [lowest, highest] =
          std::minmax({source[upper][left], source[upper][right], source[lower][left], source[lower][right]});
      EXPECT_GE(picture[y][x], lowest) << x << " " << y;
      EXPECT_LE(picture[y][x], highest) << x << " " << y;
    }
  }
}

TEST(RowScaler, StaysBetweenItsNeighboursAndHasTheExactSize) {
  for (const std::uint32_t resolution : {400U, 600U}) {
    for (std::uint32_t width = 1; width <= 9; ++width) {
      const std::uint32_t height = 10 - width;
      const auto size = [=](std::uint32_t pixels) { return (pixels * resolution + 150) / 300; };
      const Rows source = speckled(width, height);
      const Rows picture =
          scaled(gray(width, height, 300), gray(size(width), size(height), resolution), source);
      EXPECT_EQ(picture.size(), size(height));
      expectBetweenNeighbours(picture, source, resolution);
    }
  }
}

TEST(RowScaler, MakesAnA4PageOfTheWholeBed) {
  for (const std::uint32_t resolution : {400U, 600U}) {
    const std::uint32_t asked = (share::escl::advertisedHeight * resolution + 150) / 300;
    const PictureLayout delivered = gray(1, share::escl::bedHeight, 300);
    std::uint32_t rows = 0;
    std::uint32_t whiteRows = 0;
    RowScaler scaler(delivered, gray(1, asked, resolution), [&](const std::uint8_t* row) {
      ++rows;
      whiteRows += *row == 255;
    });
    const std::uint8_t black = 0;
    for (std::uint32_t i = 0; i < delivered.height; ++i) scaler.add(&black);
    EXPECT_EQ(rows, asked);
    EXPECT_EQ(whiteRows, asked - wholeBed(resolution).height);
  }
}

}  // namespace
