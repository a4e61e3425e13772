#include <gtest/gtest.h>

#include "Bed.h"
#include "EsclNames.h"
#include "TicketRegion.h"

namespace {

using namespace frontend;
using namespace frontend::share;

struct RegionRow {
  TicketRegion region;
  std::uint32_t resolution;
  PixelArea onBed;
  std::uint32_t rows;
};

// The bed has 637.5 x 876.75 pixels at 75 dots per inch, and 2550 x 3507 at 300.
const RegionRow rowsOfTheTable[] = {
    {{0, 0, 2550, 3508}, 75, {0, 0, 637, 876}, 877},
    {{0, 0, 2550, 3508}, 150, {0, 0, 1275, 1753}, 1754},
    {{0, 0, 2550, 3508}, 200, {0, 0, 1700, 2338}, 2339},
    {{0, 0, 2550, 3508}, 300, {0, 0, 2550, 3507}, 3508},
    {{0, 0, 2550, 3508}, 400, {0, 0, 3400, 4676}, 4677},
    {{0, 0, 2550, 3508}, 600, {0, 0, 5100, 7014}, 7016},
    {{0, 0, 2550, 3507}, 300, {0, 0, 2550, 3507}, 3507},
    {{0, 0, 1, 1}, 300, {0, 0, 1, 1}, 1},
    {{0, 0, 1, 1}, 75, {0, 0, 1, 1}, 1},               // a quarter of a pixel
    {{2, 2, 2, 2}, 75, {1, 1, 1, 1}, 1},               // halves round up
    {{1, 1, 6, 6}, 75, {0, 0, 2, 2}, 2},               // 0.25 and 1.5
    {{1, 1, 1, 1}, 400, {1, 1, 1, 1}, 1},              // 1.33
    {{2, 2, 2, 2}, 400, {3, 3, 3, 3}, 3},              // 2.67
    {{2549, 3506, 1, 1}, 75, {636, 875, 1, 1}, 1},     // in the partial pixel at the corner
    {{2549, 3506, 1, 1}, 300, {2549, 3506, 1, 1}, 1},  // in the last pixel
    {{2549, 3506, 9, 9}, 300, {2549, 3506, 1, 1}, 2},  // and one white row
    {{2549, 3506, 9, 9}, 600, {5098, 7012, 2, 2}, 4},
    {{0, 3000, 0xFFFFFFFF, 0xFFFFFFFF}, 600, {0, 6000, 5100, 1014}, 1016},
};

TEST(TicketRegion, HasThePixelsOfTheTable) {
  for (const RegionRow& row : rowsOfTheTable) {
    const PicturePlace place = placeOnBed(row.region, row.resolution);
    const auto& [left, top, width, height] = row.region;
    EXPECT_EQ(place.onBed, row.onBed)
        << left << " " << top << " " << width << " " << height << " at " << row.resolution;
    EXPECT_EQ(place.rows, row.rows) << left << " " << top << " " << width << " " << height;
  }
}

TEST(TicketRegion, IsOnTheBedWhereverItBegins) {
  for (const std::uint32_t resolution : bedResolutions) {
    const PixelArea bed = wholeBed(resolution);
    for (std::uint32_t i = 0; i < escl::bedWidth; ++i) {
      const auto [area, rows] = placeOnBed(TicketRegion{i, i, escl::bedWidth - i, 3508 - i}, resolution);
      ASSERT_LE(area.left + area.width, bed.width) << i;
      ASSERT_LE(area.top + area.height, bed.height) << i;
      ASSERT_GE(area.width * area.height, 1U) << i;
      ASSERT_GE(rows, area.height) << i;
      ASSERT_LE(rows, area.height + resolution / 150 + 1) << i;  // below the bed
    }
  }
}

TEST(TicketRegion, IsTheWholeBedWithoutOne) {
  EXPECT_EQ(placeOnBed(std::nullopt, 75).onBed, wholeBed(75));
  EXPECT_EQ(placeOnBed(std::nullopt, 75).rows, 876U);
}

TEST(TicketRegion, TouchesTheBedIfItsCornerDoes) {
  EXPECT_TRUE(touchesBed({2549, 3506, 1, 1}));
  EXPECT_FALSE(touchesBed({2550, 0, 1, 1}));
  EXPECT_FALSE(touchesBed({0, 3507, 1, 1}));
}

TEST(TicketRegion, FitsTheBedUpToOneUnit) {
  EXPECT_TRUE(fitsBed({1, 1, 2550, 3507}));
  EXPECT_FALSE(fitsBed({1, 1, 2551, 3507}));
  EXPECT_FALSE(fitsBed({1, 1, 2550, 3508}));
  EXPECT_FALSE(fitsBed({1, 1, 0xFFFFFFFF, 1}));
}

}  // namespace
